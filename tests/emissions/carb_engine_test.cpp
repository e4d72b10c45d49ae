// The predictive-model engine on a small synthetic model with three
// technology groups, a snap band and a floor, whose results follow in closed
// form; and its behaviour without a regression table.
#include <gtest/gtest.h>

#include <cmath>

#include "emissions/predictive_engine.h"
#include "support/fixture.h"

namespace {

namespace pm = tarn::emissions::predictive;

// Two properties a, b, standardized as themselves. Terms: a, b, a*b.
// Group g has three regressions: exhaust 1 = c[g]*a, exhaust 2 = d[g]*b
// (group 3 sees b raised to the floor 3), toxic = ln k[g] + e[g]*a*b.
constexpr double c[3] = {0.1, -0.2, 0.05};
constexpr double d[3] = {0.03, 0.07, -0.04};
constexpr double e[3] = {0.02, -0.01, 0.03};
constexpr double k[3] = {1.5, 4.0, 0.5};
constexpr double w1[3] = {0.2, 0.3, 0.5};
constexpr double w2[3] = {0.6, 0.3, 0.1};
constexpr double t[3] = {0.25, 0.25, 0.5};
constexpr double kFloorB = 3.0;

const pm::StandardizationSet kSet{{0, 0}, {1, 1}, {false, false}, {0, 0}};
constexpr pm::Term kTerms[3] = {{0, -1}, {1, -1}, {0, 1}};
constexpr pm::Regression kRegressions[9] = {{0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0},
                                            {0, 0}, {0, 0}, {0, 1}, {0, 0}};
// Row = term, column = regression (group 1: 0-2, group 2: 3-5, group 3: 6-8).
constexpr double kCoefficients[3][9] = {
    {c[0], 0, 0, c[1], 0, 0, c[2], 0, 0},
    {0, d[0], 0, 0, d[1], 0, 0, d[2], 0},
    {0, 0, e[0], 0, 0, e[1], 0, 0, e[2]},
};
const double kIntercepts[9] = {0, 0, std::log(k[0]), 0, 0, std::log(k[1]), 0, 0, std::log(k[2])};
constexpr double kPotency[1] = {2.0};
constexpr double kFlat[2] = {0, 0};
constexpr double kAveraging[2] = {1, 1};

pm::ModelData syntheticModel() {
  pm::ModelData m{};
  m.propertyCount = 2;
  const int flagged[6] = {0, 1, 1, 1, 1, 1};
  for (int i = 0; i < 6; ++i) m.flaggedProperty[i] = flagged[i];
  m.perturbed[0] = m.perturbed[1] = true;
  m.flatReference = kFlat;
  m.averagingReference = kAveraging;
  m.snapCount = 1;
  m.snap[0] = {0, 0.9, 1.1, 1.0};
  m.floorCount = 1;
  m.floor[0] = {1, kFloorB, 0, {0, 0}, {0, 0}};
  m.variantCount = 2;
  m.variant[1] = {1, {0}};
  m.setCount = 1;
  m.sets = &kSet;
  m.termCount = 3;
  m.terms = kTerms;
  m.regressionCount = 9;
  m.regressions = kRegressions;
  m.interceptPartCount = 1;
  m.intercepts = kIntercepts;
  m.coefficients = &kCoefficients[0][0];
  m.groupCount = 3;
  static pm::TechnologyGroup groups[3];
  for (int g = 0; g < 3; ++g) groups[g] = {{3 * g, 3 * g + 1}, {w1[g], w2[g]}, {3 * g + 2}, t[g]};
  m.groups = groups;
  m.toxicSpeciesCount = 1;
  m.potency = kPotency;
  return m;
}

class PredictiveEngineTest : public tarn::testing::LibraryTest {};

TEST_F(PredictiveEngineTest, ThreeGroupModelFollowsItsClosedForm) {
  const pm::ModelData model = syntheticModel();
  const double lower[2] = {0, 0}, upper[2] = {5, 2};
  const pm::Limits limits = pm::limitsFromTable(model, lower, upper);
  pm::WorkingState& s = pm::workingState();
  pm::setFlags(model, "F", s);  // b keeps its default flat flag
  s.properties[0] = 1.05;       // snaps to 1.0
  s.properties[1] = 2.0;        // below the floor 3 of group 3's second exhaust regression
  double deriv[6];
  pm::evaluateWithSensitivities(model, limits, s, deriv);

  auto percent = [](double dy) { return 100 * (std::exp(dy) - 1); };
  double r0 = 0, r1 = 0, cand = 0, ref = 0, dr1 = 0;
  for (int g = 0; g < 3; ++g) {
    r0 += w1[g] * percent(c[g] * 1.0);
    r1 += w2[g] * percent(d[g] * (g == 2 ? kFloorB : 2.0));
    cand += t[g] * 2.0 * k[g] * std::exp(e[g] * 1.0 * 2.0);
    ref += t[g] * 2.0 * k[g];
    if (g < 2) dr1 += w2[g] * 100 * d[g] * std::exp(d[g] * 2.0);
  }
  EXPECT_NEAR(s.results[0], r0, 1e-12);
  EXPECT_NEAR(s.results[1], r1, 1e-12);
  EXPECT_NEAR(s.results[2], (cand / ref - 1) * 100, 1e-12);
  EXPECT_EQ(s.outOfRangeCount, 0);

  // a inside the snap band: no exhaust sensitivity. b at its upper limit 2:
  // a one-sided difference, and group 3 (held at the floor) adds nothing.
  EXPECT_EQ(deriv[0], 0.0);
  EXPECT_EQ(deriv[1], 0.0);
  EXPECT_NEAR(deriv[4], dr1, 1e-4 * std::fabs(dr1));
  EXPECT_EQ(deriv[3], 0.0);

  // The averaging reference (flag 'A' on a) moves the reference to a = 1: no
  // change left in the first exhaust result.
  pm::setFlags(model, "A", s);
  EXPECT_EQ(s.flag[0], 'A');
  EXPECT_EQ(s.flag[1], 'F');
  pm::evaluate(model, limits, s);
  EXPECT_EQ(s.results[0], 0.0);

  // Beyond the limits widened by 1.0001, a property is counted.
  s.properties[1] = 2.0003;
  pm::evaluate(model, limits, s);
  EXPECT_EQ(s.outOfRangeCount, 1);
  EXPECT_EQ(s.outOfRange[1], 1);
}

TEST_F(PredictiveEngineTest, ModelWithoutRegressionTableCountsAndReportsMissing) {
  pm::ModelData model = syntheticModel();
  model.coefficients = nullptr;
  model.flatReference = model.averagingReference = nullptr;
  const double lower[2] = {0, 0}, upper[2] = {5, 2};
  pm::WorkingState& s = pm::workingState();
  pm::setFlags(model, nullptr, s);
  s.properties[0] = 6.0;
  s.properties[1] = 1.0;
  double deriv[6] = {9, 9, 9, 9, 9, 9};
  pm::evaluateWithSensitivities(model, pm::limitsFromTable(model, lower, upper), s, deriv);
  for (double r : s.results) EXPECT_EQ(r, 1e30);
  for (double v : deriv) EXPECT_EQ(v, 0.0);
  EXPECT_EQ(s.baseOutOfRangeCount, 1);
  EXPECT_EQ(s.properties[0], 6.0);
}

}  // namespace
