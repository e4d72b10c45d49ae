// The optimiser's C interface: refusals, placed file faults, results after a solve (optima: test_optimize.py).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "blend/blend_support.h"
#include "tarn/optimize.h"

namespace {

using blendtest::kDiesel;
using blendtest::kGasoline;
using blendtest::refused;

struct ProblemFree {
  void operator()(tarnblend_problem* p) const { tarnblend_problem_free(p); }
};
using Problem = std::unique_ptr<tarnblend_problem, ProblemFree>;

class Optimizer : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(gfx_tarnInitializeAllocate(nullptr), 0); }
  void TearDown() override { gfx_tarnFree(); }

  // The sample gasoline with costs, one product of 8000 (its total is 10000).
  Problem gasoline(const std::string& table = kGasoline) {
    const blendtest::Model model = blendtest::build(TARNBLEND_GASOLINE, table);
    tarnblend_problem* raw = nullptr;
    EXPECT_EQ(tarnblend_problem_create(model.get(), &raw), TARNBLEND_OK) << tarnblend_last_error();
    Problem p(raw);
    const double costs[] = {30, 60, 85, 75, 95, 80};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(tarnblend_problem_set_cost(raw, i, costs[i]), TARNBLEND_OK);
    EXPECT_EQ(tarnblend_problem_add_product(raw, "Regular", TARNBLEND_ANY_PRODUCT, nullptr), TARNBLEND_OK);
    EXPECT_EQ(tarnblend_problem_set_demand(raw, 0, 8000, 8000), TARNBLEND_OK);
    return p;
  }
};

TEST_F(Optimizer, RefusedRequestsNameTheirFault) {
  Problem p = gasoline();
  tarnblend_problem* q = p.get();
  const double nan = std::nan(""), inf = INFINITY, none = TARN_MISSING;
  tarnblend_problem* empty = nullptr;
  tarnblend_grade* diesel = nullptr;
  ASSERT_EQ(tarnblend_grade_open("EN590", "C", &diesel), TARNBLEND_OK);
  int i = 0;
  refused(tarnblend_problem_create(nullptr, &empty), TARNBLEND_ERROR_ARGUMENT, "recipe is a null pointer");
  refused(tarnblend_problem_set_cost(q, 0, nan), TARNBLEND_ERROR_VALUE, "cost of Butane");
  refused(tarnblend_problem_set_cost(q, 6, 10), TARNBLEND_ERROR_ARGUMENT, "no component 6");
  refused(tarnblend_problem_set_availability(q, 0, -1, 10), TARNBLEND_ERROR_VALUE, "not negative");
  refused(tarnblend_problem_set_availability(q, 0, 20, 10), TARNBLEND_ERROR_VALUE, "minimum above");
  refused(tarnblend_problem_set_availability(q, 0, 0, inf), TARNBLEND_ERROR_VALUE, "finite");
  refused(tarnblend_problem_set_demand(q, 1, 10, 20), TARNBLEND_ERROR_ARGUMENT, "no product 1");
  refused(tarnblend_problem_add_product(q, "Regular", 0, nullptr), TARNBLEND_ERROR_DUPLICATE, "twice");
  refused(tarnblend_problem_add_product(q, "X", 7, nullptr), TARNBLEND_ERROR_ARGUMENT, "kind 7");
  refused(tarnblend_problem_add_limit(q, 0, "RVPX", 1, none, nullptr), TARNBLEND_ERROR_PROPERTY, "RVPX");
  refused(tarnblend_problem_add_limit(q, 0, "RVP", none, 9, "furlong"), TARNBLEND_ERROR_UNIT, "furlong");
  refused(tarnblend_problem_add_limit(q, 0, "RVP", nan, none, nullptr), TARNBLEND_ERROR_VALUE, "neither a minimum");
  refused(tarnblend_problem_add_limit(q, 0, "CN", 40, none, nullptr), TARNBLEND_ERROR_PROPERTY, "CN");
  refused(tarnblend_problem_add_target(q, 0, "RVP", inf, nullptr), TARNBLEND_ERROR_VALUE, "target");
  refused(tarnblend_problem_set_share(q, 0, 5, 5, 120), TARNBLEND_ERROR_VALUE, "at most 100");
  refused(tarnblend_problem_add_ratio(q, 0, 2, 2, 0.5, 1), TARNBLEND_ERROR_VALUE, "always 1");
  refused(tarnblend_problem_add_ratio(q, 0, 2, 3, none, none), TARNBLEND_ERROR_VALUE, "neither");
  refused(tarnblend_problem_set_objective(q, 9), TARNBLEND_ERROR_ARGUMENT, "objective 9");
  refused(tarnblend_problem_component_find(q, "Naphtha", nullptr), TARNBLEND_ERROR_ARGUMENT, "null");
  refused(tarnblend_problem_component_find(q, "Naphtha", &i), TARNBLEND_ERROR_NOT_FOUND,
          "components: Butane, Light straight run");
  refused(tarnblend_problem_set_grade(q, 0, diesel), TARNBLEND_ERROR_PRODUCT, "grade EN590 is for diesel");
  tarnblend_grade_free(diesel);
  // Results exist only after a solve.
  refused(tarnblend_problem_solution(q, nullptr, nullptr, nullptr, nullptr, nullptr), TARNBLEND_ERROR_STATE,
          "not solved");
}

TEST_F(Optimizer, ProblemsThatCannotBePosedSayWhy) {
  const auto solveRefused = [](const Problem& p, int status, const char* words) {
    int outcome = -5;
    refused(tarnblend_problem_solve(p.get(), &outcome), status, words);
    EXPECT_EQ(outcome, -5) << "no outcome is written for a refused solve";
  };
  Problem cost = gasoline(), demand = gasoline(), price = gasoline();
  tarnblend_problem_set_cost(cost.get(), 3, TARN_MISSING);
  solveRefused(cost, TARNBLEND_ERROR_VALUE, "'FCC naphtha' has no cost");
  tarnblend_problem_set_demand(demand.get(), 0, TARN_MISSING, TARN_MISSING);
  solveRefused(demand, TARNBLEND_ERROR_VALUE, "'Regular' has no demand");
  tarnblend_problem_set_price(price.get(), 0, 100);
  tarnblend_problem_add_product(price.get(), "Premium", 0, nullptr);
  tarnblend_problem_set_demand(price.get(), 1, 100, 200);
  solveRefused(price, TARNBLEND_ERROR_VALUE, "'Premium' has no price");
  // No component gives a D86 point: the distillation cannot be computed with or without any of them.
  Problem noCurves =
      gasoline("NAME,VOLUME,RVP[psi],ARO[vol%]\nA,1,9,10\nB,1,8,20\nC,1,7,30\nD,1,6,40\nE,1,5,50\nF,1,4,60\n");
  tarnblend_problem_add_limit(noCurves.get(), 0, "T50", 170, TARN_MISSING, "F");
  solveRefused(noCurves, TARNBLEND_ERROR_STATE, "T50 is limited but cannot be computed");
}

TEST_F(Optimizer, AComponentLackingALimitedInputIsKeptOutOfThatProductOnly) {
  // Isomerate has no RVP: it may go into the product without an RVP limit, not into the one with.
  std::string table = kGasoline;
  table += "Isomerate,1000,,90,100,105,110,115,125,150,87.5,85.5,0,0,0,0.5,0,0,0.655\n";
  Problem p = gasoline(table);
  tarnblend_problem* q = p.get();
  ASSERT_EQ(tarnblend_problem_set_cost(q, 6, 1.0), TARNBLEND_OK);  // cheap: used wherever it may go
  ASSERT_EQ(tarnblend_problem_add_limit(q, 0, "RVP", TARN_MISSING, 9.0, "psi"), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_problem_add_product(q, "Naphtha", 0, nullptr), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_problem_set_demand(q, 1, 1000, 1000), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_problem_add_limit(q, 1, "ARO", TARN_MISSING, 30, nullptr), TARNBLEND_OK);
  int outcome = -1, notes = 0;
  ASSERT_EQ(tarnblend_problem_solve(q, &outcome), TARNBLEND_OK) << tarnblend_last_error();
  ASSERT_EQ(outcome, TARNBLEND_OPTIMAL);
  double regular[7], naphtha[7];
  ASSERT_EQ(tarnblend_problem_volumes(q, 0, regular, 7), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_problem_volumes(q, 1, naphtha, 7), TARNBLEND_OK);
  EXPECT_EQ(regular[6], 0.0);
  EXPECT_GT(naphtha[6], 100.0);
  ASSERT_EQ(tarnblend_problem_note_count(q, &notes), TARNBLEND_OK);
  ASSERT_EQ(notes, 1);
  const char* note = "";
  tarnblend_problem_note(q, 0, &note);
  EXPECT_STREQ(note, "Isomerate is kept out of Regular: it lacks an input of RVP, which is limited");
  // A change makes the results out of date.
  ASSERT_EQ(tarnblend_problem_set_cost(q, 0, 31), TARNBLEND_OK);
  refused(tarnblend_problem_volumes(q, 0, regular, 7), TARNBLEND_ERROR_STATE, "not solved");
}

// After a solve the model matches a fresh one at the recipe; no second start when only linear limits bind.
TEST_F(Optimizer, TheModelIsLeftWholeAtTheRecipeAndASecondStartOnlyWhereNonLinearLimitsBind) {
  const struct {
    const char* key;  // limited with RVP max 9 psi (or below every component's)
    double minimum, maximum, rvp;
    int outcome;
    bool second;
  } cases[] = {{"SUL", TARN_MISSING, 10.0, 9.0, TARNBLEND_OPTIMAL, false},  // sulfur by mass, RVP by its index
               {"AKI", 88.0, TARN_MISSING, 9.0, TARNBLEND_OPTIMAL, true},   // Healy's interactions
               {"T90", TARN_MISSING, 310.0, 9.0, TARNBLEND_OPTIMAL, true},  // a point of the curve
               {"AKI", 92.0, TARN_MISSING, 4.0, TARNBLEND_INFEASIBLE, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    int outcome[2] = {-1, -1}, iterations[2] = {0, 0};
    double objective[2] = {0, 0}, volumes[6];
    tarnblend_model* solved = nullptr;
    Problem p[2] = {gasoline(), gasoline()};
    for (int starts : {1, 2}) {
      tarnblend_problem* q = p[starts - 1].get();
      ASSERT_EQ(tarnblend_problem_add_limit(q, 0, "RVP", TARN_MISSING, c.rvp, "psi"), TARNBLEND_OK);
      ASSERT_EQ(tarnblend_problem_add_limit(q, 0, c.key, c.minimum, c.maximum, nullptr), TARNBLEND_OK);
      ASSERT_EQ(tarnblend_problem_set_starts(q, starts), TARNBLEND_OK);
      ASSERT_EQ(tarnblend_problem_solve(q, &outcome[starts - 1]), TARNBLEND_OK) << tarnblend_last_error();
      tarnblend_problem_solution(q, nullptr, nullptr, nullptr, &iterations[starts - 1], &objective[starts - 1]);
      ASSERT_EQ(tarnblend_problem_volumes(q, 0, volumes, 6), TARNBLEND_OK);
      ASSERT_EQ(tarnblend_problem_model(q, 0, &solved), TARNBLEND_OK);
    }
    ASSERT_EQ(outcome[1], c.outcome);
    if (c.outcome == TARNBLEND_OPTIMAL) {
      EXPECT_EQ(iterations[1] > iterations[0], c.second) << iterations[0] << " and " << iterations[1];
      EXPECT_NEAR(objective[1], objective[0], 1e-6 * objective[0]);
    }
    const blendtest::Model fresh = blendtest::build(TARNBLEND_GASOLINE, kGasoline);
    const std::vector<double> expected = blendtest::evaluateAt(fresh.get(), {volumes, volumes + 6}, false).values;
    std::vector<double> found(expected.size()), jacobian(expected.size() * 6);
    const int count = static_cast<int>(expected.size());
    ASSERT_EQ(tarnblend_model_values(solved, found.data(), nullptr, count), TARNBLEND_OK);
    for (std::size_t k = 0; k < expected.size(); ++k)
      EXPECT_NEAR(found[k], expected[k], 1e-9 * (1 + std::fabs(expected[k])));
    EXPECT_EQ(blendtest::figure(solved, "EPA.NOX").status, TARNBLEND_COMPUTED);
    EXPECT_EQ(tarnblend_model_jacobian(solved, jacobian.data(), count, 6), TARNBLEND_OK) << tarnblend_last_error();
  }
}

// API = 141.5 / SG - 131.5 (SG 60/60 F), density = SG x 999.016 kg/m3.
TEST_F(Optimizer, LimitsInAnotherUnitAreConvertedAndAGravityMinimumBecomesADensityMaximum) {
  const blendtest::Model model = blendtest::build(TARNBLEND_DIESEL, kDiesel);
  tarnblend_problem* raw = nullptr;
  ASSERT_EQ(tarnblend_problem_create(model.get(), &raw), TARNBLEND_OK);
  Problem p(raw);
  ASSERT_EQ(tarnblend_problem_add_product(raw, "Diesel", TARNBLEND_ANY_PRODUCT, nullptr), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_problem_add_limit(raw, 0, "DEN", 35.0, TARN_MISSING, "API"), TARNBLEND_OK);
  ASSERT_EQ(tarnblend_problem_add_limit(raw, 0, "FLASH", 131.0, TARN_MISSING, "F"), TARNBLEND_OK);
  const struct {
    double minimum, maximum;
    const char* unit;
  } expected[] = {{TARN_MISSING, 141.5 / (35.0 + 131.5) * 999.016, "kg/m3"}, {55.0, TARN_MISSING, "C"}};
  for (int k = 0; k < 2; ++k) {
    double minimum = 0, maximum = 0;
    const char* unit = "";
    ASSERT_EQ(tarnblend_problem_limit(raw, 0, k, nullptr, nullptr, &minimum, &maximum, nullptr, nullptr, nullptr,
                                      nullptr, &unit, nullptr),
              TARNBLEND_OK);
    EXPECT_NEAR(minimum, expected[k].minimum, 1e-12 * expected[k].minimum);
    EXPECT_NEAR(maximum, expected[k].maximum, 1e-12 * expected[k].maximum);
    EXPECT_STREQ(unit, expected[k].unit);
  }
}

// A problem file with each fault the reader places: the line and column of malformed JSON, the path of a wrong entry.
TEST_F(Optimizer, ProblemFileFaultsArePlaced) {
  const std::string components = R"("components": [{"name": "A", "cost": 1, "properties": {"RVP": 9, "ARO": 10}},
                                                   {"name": "B", "cost": 2, "properties": {"RVP": 5, "ARO": 40}}],)";
  struct Case {
    std::string text, words;
  };
  const Case cases[] = {
      {"{\n  \"products\": [\n    {\"name\": \"X\",, }\n  ]\n}", "problem.json:3:18: malformed JSON"},
      {"{" + components + R"("products": [{"name": "X", "demnad": 5}]})",
       "products[0]: unknown key 'demnad' (known: name, product, grade"},
      {"{" + components + R"("products": [{"name": "X", "shares": [{"component": "C", "max": 5}]}]})",
       "products[0].shares[0].component: no component named 'C'"},
      {"{" + components + R"("products": [{"name": "X", "limits": [{"property": "RVP", "max": "9"}]}]})",
       "products[0].limits[0].max: expected a number"},
      {"{" + components + R"("products": [{"name": "X", "grade": "EN999"}]})", "products[0].grade: "},
      {"{" + components + R"("objective": "cheapest", "products": [{"name": "X"}]})", "unknown objective 'cheapest'"},
      {R"({"components": [{"name": "A"}], "products": [{"name": "X"}]})",
       "components[0]: component 'A' is not in the recipe and has no \"properties\""},
      {"{" + components + R"("products": []})", "products: the problem has no product"},
      // Found by fuzzing: an out-of-range number lost its place; control and non-UTF-8 bytes reached the message.
      {R"({"products": [{"name": "X", "price": 1e999}]})", "problem.json:1:42: malformed JSON: number overflow"},
      {"{" + components + R"("products": [{"name": "X", "shares": [{"component": "B\t", "max": 5}]}]})",
       "no component named 'B\\x09'"},
      {"{\"a\": \"\xff\"}", "ill-formed UTF-8 byte; last read: '\"\\xFF'"},
  };
  const std::string path = ::testing::TempDir() + "problem.json";
  for (const Case& c : cases) {
    std::ofstream(path) << c.text;
    tarnblend_problem* raw = nullptr;
    const int status = tarnblend_problem_read(path.c_str(), nullptr, &raw);
    tarnblend_problem_free(raw);
    EXPECT_EQ(raw, nullptr);
    refused(status, TARNBLEND_ERROR_FILE, c.words);
  }
  std::remove(path.c_str());
}

}  // namespace
