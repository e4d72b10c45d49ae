// Grades: a blend that fails a published limit passes after a change of
// recipe; limits written in other units than the recipe's are converted;
// user grade files in CSV and JSON, and their faults named by place.
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "blend_support.h"

namespace {

using namespace blendtest;

struct GradeFree {
  void operator()(tarnblend_grade* g) const { tarnblend_grade_free(g); }
};
using Grade = std::unique_ptr<tarnblend_grade, GradeFree>;

class GradeTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(gfx_tarnInitializeAllocate(nullptr), 0); }
};

Grade open(const char* name, const char* gradeClass) {
  tarnblend_grade* g = nullptr;
  EXPECT_EQ(tarnblend_grade_open(name, gradeClass, &g), TARNBLEND_OK) << tarnblend_last_error();
  return Grade(g);
}

struct Row {
  int property = -2, verdict = -1;
  double minimum = 0, maximum = 0, value = 0, margin = 0;
  std::string unit, reason;
};

// The check row of a property key (the first limit on it).
Row row(tarnblend_model* m, const tarnblend_grade* g, const std::string& key) {
  int count = 0;
  tarnblend_grade_limit_count(g, &count);
  for (int k = 0; k < count; ++k) {
    const char* limitKey = "";
    tarnblend_grade_limit(g, k, &limitKey, nullptr, nullptr, nullptr, nullptr);
    if (key != limitKey) continue;
    Row r;
    const char *unit = "", *reason = "";
    tarnblend_model_check_row(m, k, &r.property, &r.minimum, &r.maximum, &r.value, &r.margin, &r.verdict, &unit, &reason);
    r.unit = unit;
    r.reason = reason;
    return r;
  }
  ADD_FAILURE() << "no limit on " << key;
  return Row();
}

std::string temporaryFile(const std::string& content, const char* suffix) {
  const std::string path = std::string(::testing::TempDir()) + "grade" + suffix;
  std::ofstream(path) << content;
  return path;
}

TEST_F(GradeTest, RecipeFailsOnRvpAndPassesWithoutButane) {
  Model m = build(TARNBLEND_GASOLINE, kGasoline);
  // The sample in kPa: the federal 9.0 psi limit is compared as 62.05 kPa.
  ASSERT_EQ(tarnblend_model_set_unit(m.get(), "RVP", "kPa"), TARNBLEND_OK);
  const Grade summer = open("us-conventional", nullptr);
  int failures = -1, unchecked = -1;
  ASSERT_EQ(tarnblend_model_check(m.get(), summer.get(), &failures, &unchecked), TARNBLEND_OK);
  const double rvp = value(m.get(), "RVP");
  Row r = row(m.get(), summer.get(), "RVP");
  EXPECT_EQ(r.unit, "kPa");
  EXPECT_NEAR(r.maximum, 9.0 * 6.894757, 1e-9);
  EXPECT_NEAR(r.margin, r.maximum - rvp, 1e-9);
  if (rvp > r.maximum) {
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(r.verdict, TARNBLEND_FAIL);
  }
  EXPECT_EQ(row(m.get(), summer.get(), "SUL").verdict, TARNBLEND_PASS);
  // The full-ethanol sample fails by more; without butane the blend passes.
  ASSERT_EQ(tarnblend_model_set_volume(m.get(), 5, 1100), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_check(m.get(), summer.get(), &failures, &unchecked), TARNBLEND_OK);
  EXPECT_EQ(failures, 1);
  EXPECT_EQ(row(m.get(), summer.get(), "RVP").verdict, TARNBLEND_FAIL);
  EXPECT_LT(row(m.get(), summer.get(), "RVP").margin, 0.0);
  ASSERT_EQ(tarnblend_model_set_volume(m.get(), 0, 0), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_check(m.get(), summer.get(), &failures, &unchecked), TARNBLEND_OK);
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(unchecked, 0);
  EXPECT_GT(row(m.get(), summer.get(), "RVP").margin, 0.0);

  // A grade for another product is refused; a limit the blend cannot compute
  // is left unchecked with the reason.
  const Grade diesel = open("EN590", "B");
  EXPECT_EQ(tarnblend_model_check(m.get(), diesel.get(), &failures, &unchecked), TARNBLEND_ERROR_PRODUCT);
  EXPECT_STREQ(tarnblend_last_error(), "grade EN590 is for diesel, the blend is gasoline");
  const Grade en228 = open("EN 228", "a");
  ASSERT_EQ(tarnblend_model_check(m.get(), en228.get(), &failures, &unchecked), TARNBLEND_OK);
  EXPECT_EQ(row(m.get(), en228.get(), "RON").verdict, TARNBLEND_FAIL);  // 94.0 against 95.0
  // 720 to 775 kg/m3 in the recipe's specific gravity, 210 C in degrees F.
  Row density = row(m.get(), en228.get(), "DEN");
  EXPECT_EQ(density.unit, "SPG");
  EXPECT_NEAR(density.minimum, 720 / 999.016, 1e-12);
  EXPECT_NEAR(row(m.get(), en228.get(), "FBP").maximum, 410, 1e-9);
}

TEST_F(GradeTest, BuiltinGradesOpenInEveryClassWithSources) {
  int count = 0;
  ASSERT_EQ(tarnblend_grade_count(&count), TARNBLEND_OK);
  EXPECT_GE(count, 7);
  for (int k = 0; k < count; ++k) {
    const char *name = "", *classes = "";
    ASSERT_EQ(tarnblend_grade_builtin(k, &name, nullptr, nullptr, &classes, nullptr), TARNBLEND_OK);
    std::vector<std::string> list;
    std::string text = classes;
    for (std::size_t start = 0; start <= text.size();) {
      const std::size_t comma = std::min(text.find(',', start), text.size());
      list.push_back(text.substr(start, comma - start));
      start = comma + 1;
    }
    for (const std::string& c : list) {
      const Grade g = open(name, c.c_str());
      int limits = 0;
      tarnblend_grade_limit_count(g.get(), &limits);
      EXPECT_GT(limits, 0) << name << " " << c;
      for (int l = 0; l < limits; ++l) {
        const char* source = "";
        tarnblend_grade_limit(g.get(), l, nullptr, nullptr, nullptr, nullptr, &source);
        EXPECT_STRNE(source, "") << name << " " << c << " limit " << l;
      }
    }
  }
  tarnblend_grade* g = nullptr;
  EXPECT_EQ(tarnblend_grade_open("EN228", "Z", &g), TARNBLEND_ERROR_NOT_FOUND);
  EXPECT_STREQ(tarnblend_last_error(), "EN228 has no class 'Z' (classes: A,D,D1)");
  EXPECT_EQ(tarnblend_grade_open("EN590", nullptr, &g), TARNBLEND_ERROR_NOT_FOUND);
  EXPECT_EQ(tarnblend_grade_open("EN999", nullptr, &g), TARNBLEND_ERROR_NOT_FOUND);
  EXPECT_EQ(g, nullptr);
  // The arctic classes replace the general density range.
  const Grade arctic = open("EN590", "2");
  int limits = 0;
  tarnblend_grade_limit_count(arctic.get(), &limits);
  int densities = 0;
  for (int l = 0; l < limits; ++l) {
    const char* key = "";
    double minimum = 0, maximum = 0;
    tarnblend_grade_limit(arctic.get(), l, &key, &minimum, &maximum, nullptr, nullptr);
    if (std::string(key) != "DEN") continue;
    ++densities;
    EXPECT_EQ(minimum, 800);
    EXPECT_EQ(maximum, 840);
  }
  EXPECT_EQ(densities, 1);
}

TEST_F(GradeTest, UserGradeFilesAndTheirFaults) {
  Model m = build(TARNBLEND_DIESEL, kDiesel);
  const std::string csv = temporaryFile(
      "\xEF\xBB\xBFproperty;min;max;unit;source\n"
      "FLASH;131;;F;site rule\n"
      "SUL;;0,0015;wt%;site rule\n"
      "CI4;40;;;\n",
      ".csv");
  const std::string json = temporaryFile(
      R"({"name": "site diesel", "product": "diesel", "limits": [
           {"property": "DEN", "min": 0.82, "max": 0.845, "unit": "g/mL", "source": "site"},
           {"property": "CFPP", "max": 14, "unit": "F"}]})",
      ".json");
  for (const std::string& path : {csv, json}) {
    tarnblend_grade* raw = nullptr;
    ASSERT_EQ(tarnblend_grade_read(path.c_str(), &raw), TARNBLEND_OK) << tarnblend_last_error();
    const Grade g(raw);
    int failures = -1, unchecked = -1;
    ASSERT_EQ(tarnblend_model_check(m.get(), g.get(), &failures, &unchecked), TARNBLEND_OK);
    EXPECT_EQ(unchecked, 0);
    if (path == csv) {
      EXPECT_NEAR(row(m.get(), g.get(), "FLASH").minimum, 55.0, 1e-9);  // 131 F
      EXPECT_NEAR(row(m.get(), g.get(), "SUL").maximum, 15.0, 1e-9);    // 0.0015 wt% in mg/kg
    } else {
      EXPECT_NEAR(row(m.get(), g.get(), "DEN").maximum, 845.0, 1e-9);
      EXPECT_NEAR(row(m.get(), g.get(), "CFPP").maximum, -10.0, 1e-9);
    }
  }
  const struct {
    const char* content;
    const char* suffix;
    const char* message;
  } faults[] = {
      {"property,min,max,unit\nRVP,,9,furlong\n", ".csv", ":2:8: RVP takes psi, kPa, bar, not 'furlong'"},
      {"property,min,max,unit\nOCTANE,90,,\n", ".csv", ":2:1: unknown property 'OCTANE'"},
      {"property,min,max,unit\nRON,ninety,,\n", ".csv", ":2:5: min is not a number: 'ninety'"},
      {"property,min,max,unit\nRON,,,\n", ".csv", ":2:5: RON: a limit needs a minimum or a maximum"},
      {"property,min,max\nRON,95,\n", ".csv", ":1: no column 'unit'"},
      {"{\"limits\": [\n  {\"property\": \"RON\", \"min\": 95,}\n]}", ".json", ":2:33: malformed JSON: syntax error while parsing object key"},
      {"{\"limits\": [{\"property\": \"RON\", \"min\": \"95\"}]}", ".json", ":1:40: \"min\" is not a number: '95'"},
      // Read with the recipe files' rules: text checked, never echoed.
      {"property,min,max,unit\nRON,95,,\x01\x02\n", ".csv", ":2:9: binary data or a control character (byte 01)"},
      {"property,min,max,unit\nFLASH,55,,\xB0" "C\n", ".csv", ":2:11: the file is not UTF-8 text (byte B0 here)"},
  };
  for (const auto& f : faults) {
    const std::string path = temporaryFile(f.content, f.suffix);
    tarnblend_grade* raw = nullptr;
    EXPECT_EQ(tarnblend_grade_read(path.c_str(), &raw), TARNBLEND_ERROR_FILE) << f.content;
    EXPECT_EQ(raw, nullptr);
    const std::string message = tarnblend_last_error();
    EXPECT_EQ(message.rfind(path, 0), 0u) << message;
    EXPECT_NE(message.find(f.message), std::string::npos) << message;
    std::remove(path.c_str());
  }
  std::remove(csv.c_str());
  std::remove(json.c_str());
}

}  // namespace
