// Grades: published limits against the sample blends, built-in grades and their sources, user grade files.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "blend_support.h"
#include "support/fixture.h"

namespace {

using namespace blendtest;

struct GradeFree {
  void operator()(tarnblend_grade* g) const { tarnblend_grade_free(g); }
};
using Grade = std::unique_ptr<tarnblend_grade, GradeFree>;

using GradeTest = tarn::testing::LibraryTest;

Grade open(const char* name, const char* gradeClass) {
  tarnblend_grade* g = nullptr;
  EXPECT_EQ(tarnblend_grade_open(name, gradeClass, &g), TARNBLEND_OK) << tarnblend_last_error();
  return Grade(g);
}

struct Row {
  int verdict = -1;
  double minimum = 0, maximum = 0, margin = 0;
  std::string unit;
};

// The check row of a property key (the first limit on it).
Row row(tarnblend_model* m, const tarnblend_grade* g, const std::string& key) {
  int count = 0;
  tarnblend_grade_limit_count(g, &count);
  for (int k = 0; k < count; ++k) {
    const char *limitKey = "", *unit = "";
    tarnblend_grade_limit(g, k, &limitKey, nullptr, nullptr, nullptr, nullptr);
    if (key != limitKey) continue;
    Row r;
    tarnblend_model_check_row(m, k, nullptr, &r.minimum, &r.maximum, nullptr, &r.margin, &r.verdict, &unit, nullptr);
    r.unit = unit;
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

// Published limits in the recipe's units; full-ethanol gasoline fails the federal RVP cap, passes without butane.
TEST_F(GradeTest, PublishedLimitsInTheRecipeUnits) {
  Model gasoline = build(TARNBLEND_GASOLINE, kGasoline), diesel = build(TARNBLEND_DIESEL, kDiesel);
  ASSERT_EQ(tarnblend_model_set_unit(gasoline.get(), "RVP", "kPa"), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_set_volume(gasoline.get(), 5, 1100), TARNBLEND_OK);
  const double none = TARN_MISSING;
  const struct {
    tarnblend_model* model;
    const char *grade, *gradeClass, *key;
    double minimum, maximum;
    int verdict, failures;
  } cases[] = {
      {gasoline.get(), "us-conventional", nullptr, "RVP", none, 9.0 * 6.894757, TARNBLEND_FAIL, 1},  // CFR 1090.215
      {gasoline.get(), "us-conventional", nullptr, "SUL", none, 80, TARNBLEND_PASS, 1},
      {gasoline.get(), "EN 228", "a", "RON", 95, none, TARNBLEND_FAIL, -1},
      {gasoline.get(), "EN 228", "a", "DEN", 720 / 999.016, 775 / 999.016, TARNBLEND_PASS, -1},
      {gasoline.get(), "EN 228", "a", "FBP", none, 410, TARNBLEND_PASS, -1},  // 210 C
      {diesel.get(), "EN590", "2", "DEN", 800, 840, -1, -1},                  // the arctic range replaces 820-845
      {diesel.get(), "EN590", "C", "FLASH", 55, none, TARNBLEND_PASS, -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.grade) + " " + c.key);
    const Grade g = open(c.grade, c.gradeClass);
    int failures = -1, unchecked = -1;
    ASSERT_EQ(tarnblend_model_check(c.model, g.get(), &failures, &unchecked), TARNBLEND_OK);
    if (c.failures >= 0) {
      EXPECT_EQ(failures, c.failures);
    }
    const Row r = row(c.model, g.get(), c.key);
    EXPECT_NEAR(r.minimum, c.minimum, 1e-9 * std::fabs(c.minimum));
    EXPECT_NEAR(r.maximum, c.maximum, 1e-9 * std::fabs(c.maximum));
    if (c.verdict >= 0) {
      EXPECT_EQ(r.verdict, c.verdict);
    }
    if (r.verdict != TARNBLEND_UNCHECKED && (c.minimum == none || c.maximum == none)) {
      const double value = figure(c.model, c.key).value;
      EXPECT_NEAR(r.margin, c.maximum != none ? c.maximum - value : value - c.minimum, 1e-9);
    }
  }
  const Grade summer = open("us-conventional", nullptr);
  int failures = -1, unchecked = -1;
  ASSERT_EQ(tarnblend_model_set_volume(gasoline.get(), 0, 0), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_model_check(gasoline.get(), summer.get(), &failures, &unchecked), TARNBLEND_OK);
  EXPECT_EQ(failures + unchecked, 0);
  EXPECT_EQ(row(gasoline.get(), summer.get(), "RVP").unit, "kPa");
  // A grade for another product is refused.
  EXPECT_EQ(tarnblend_model_check(diesel.get(), summer.get(), &failures, &unchecked), TARNBLEND_ERROR_PRODUCT);
  EXPECT_STREQ(tarnblend_last_error(), "grade US-CONVENTIONAL is for gasoline, the blend is diesel");
}

// Each built-in grade and class opens with a source per limit; unknown ones are refused.
TEST_F(GradeTest, BuiltinGradesOpenInEveryClassWithSources) {
  int count = 0;
  ASSERT_EQ(tarnblend_grade_count(&count), TARNBLEND_OK);
  EXPECT_GE(count, 7);
  for (int k = 0; k < count; ++k) {
    const char *name = "", *classes = "";
    ASSERT_EQ(tarnblend_grade_builtin(k, &name, nullptr, nullptr, &classes, nullptr), TARNBLEND_OK);
    std::stringstream list(std::string(classes) + ",");  // a grade without classes opens with ""
    for (std::string c; std::getline(list, c, ',');) {
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
      {"{\"limits\": [\n  {\"property\": \"RON\", \"min\": 95,}\n]}", ".json",
       ":2:33: malformed JSON: syntax error while parsing object key"},
      {"{\"limits\": [{\"property\": \"RON\", \"min\": \"95\"}]}", ".json", ":1:40: \"min\" is not a number: '95'"},
      // Read with the recipe files' rules: text checked, never echoed.
      {"property,min,max,unit\nRON,95,,\x01\x02\n", ".csv", ":2:9: binary data or a control character (byte 01)"},
      {"property,min,max,unit\nFLASH,55,,\xB0"
       "C\n",
       ".csv", ":2:11: the file is not UTF-8 text (byte B0 here)"},
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
