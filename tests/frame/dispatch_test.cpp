// Evaluation by index: every correlation against a direct call of what it
// wraps (under default settings and again with every unit flag, method and
// ethanol setting changed), every derivative against central differences of
// gfx_tarnGenCalc itself, the special steps branch by branch, and the type
// handling of the entry points.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "frame/dispatch.h"
#include "support/catalogue_calls.h"
#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/blending.h"
#include "tarn/distill.h"
#include "tarn/emissions.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

namespace {

using tarn::testing::centralJacobian;
using tarn::testing::expectJacobianNear;

constexpr double kUnset = -7.25;  // fills arrays so that untouched entries show

int inputCount(int index) {
  int n = 0;
  gfx_tarnGetCorrelationInpPropCount(index, &n);
  return n;
}
int outputCount(int index) {
  int n = 0;
  gfx_tarnGetCorrelationOutPropCount(index, &n);
  return n;
}

struct Result {
  int status = 0;
  std::vector<double> x, out, d;  // x: the inputs as the call left them
};

Result genCalc(int index, std::vector<double> x, int derivFlag = 1) {
  Result r;
  r.out.assign(outputCount(index), kUnset);
  r.d.assign(x.size() * r.out.size(), kUnset);
  r.status = gfx_tarnGenCalc(index, derivFlag, 0, x.data(), r.out.data(), r.d.data());
  r.x = x;
  return r;
}

using tarn::testing::CallSettings;

struct Wrapped {
  int index;
  std::vector<double> x;
  tarn::testing::DirectCall direct;
};

// One realistic evaluation per correlation, with the call it must amount to.
const std::vector<Wrapped>& wrappedCalls() {
  static const std::vector<Wrapped> calls = [] {
    std::vector<Wrapped> all;
    tarn::testing::visitCatalogueCalls([&](int index, std::vector<double> x, auto direct) {
      all.push_back({index, std::move(x), direct});
    });
    return all;
  }();
  return calls;
}

bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

class DispatchTest : public tarn::testing::LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    ASSERT_TRUE(tarn::testing::configureEvaporativeTemperatures());
  }

  void expectAllMatchDirectCalls(const CallSettings& setup) {
    ASSERT_EQ(wrappedCalls().size(), 57u);
    for (int index = 0; index < 57; ++index) {
      const Wrapped& w = wrappedCalls()[index];
      ASSERT_EQ(w.index, index);
      ASSERT_EQ(static_cast<int>(w.x.size()), inputCount(index)) << index;
      const Result viaIndex = genCalc(index, w.x);
      Result direct;
      direct.x = w.x;
      direct.out.assign(viaIndex.out.size(), kUnset);
      direct.d.assign(viaIndex.d.size(), kUnset);
      direct.status = w.direct(setup, 1, direct.x.data(), direct.out.data(), direct.d.data());
      EXPECT_EQ(viaIndex.status, direct.status) << index;
      for (std::size_t k = 0; k < direct.out.size(); ++k) {
        EXPECT_TRUE(same(viaIndex.out[k], direct.out[k]))
            << index << " output " << k << ": " << viaIndex.out[k] << " vs " << direct.out[k];
      }
      for (std::size_t k = 0; k < direct.d.size(); ++k) {
        EXPECT_NEAR(viaIndex.d[k], direct.d[k], 1e-12 * (1 + std::fabs(direct.d[k])))
            << index << " derivative " << k;
      }
    }
  }
};

TEST_F(DispatchTest, EveryCorrelationIsTheFunctionItWrapsUnderDefaultSettings) {
  expectAllMatchDirectCalls({'F', 0, 5.0});
}

TEST_F(DispatchTest, EveryCorrelationFollowsItsOwnUnitMethodAndEthanolSettings) {
  // CORF 0 (Celsius) everywhere it exists, except on POURPOINT1: it follows
  // POURPOINTINDEX1's flag. Method 4 on the percent-off rows; 7 vol % ethanol.
  for (int index = 0; index < 57; ++index) {
    for (int k = 0; k < 2; ++k) {
      char name[TARN_COEF_NAME_SIZE] = "";
      double value = 0.0;
      if (index != 17 && gfx_tarnGetCoef(index, k, name, &value) == 0 &&
          std::string(name) == "CORF") {
        ASSERT_EQ(gfx_tarnSetCoefValue(index, k, 0.0), 0);
      }
    }
  }
  for (const int index : {5, 6, 41, 42}) ASSERT_EQ(gfx_tarnSetCoefValue(index, 0, 4.0), 0);
  for (const int index : {11, 50, 51, 55}) {
    ASSERT_EQ(gfx_tarnSetCoefValue(index, index == 11 ? 1 : 8, 7.0), 0);
  }
  expectAllMatchDirectCalls({'C', 4, 7.0});
}

// Deliberate differences between a reported derivative and the slope of the
// value, one per line: the entries left out, or a looser tolerance.
struct Deviation {
  std::vector<int> skipped;  // entries of the input-major array not compared
  double relative;
  const char* reason;
};
const std::map<int, Deviation> kDeviations = {
    {5, {{}, 5e-2, "forward differences, relative step 1e-4"}},
    {6, {{}, 5e-2, "forward differences, relative step 1e-3"}},
    {35, {{}, 5e-2, "forward differences, relative step 1e-3"}},
    {36, {{}, 5e-2, "forward differences, relative step 1e-3"}},
    {37, {{}, 5e-2, "forward differences, relative step 1e-3"}},
    {39, {{1, 2, 3, 4, 5, 6, 7}, 1e-5, "MTMF hands its derivatives on in its own order"}},
    {41, {{}, 5e-2, "forward differences, relative step 1e-3"}},
    {42, {{}, 5e-2, "forward differences, relative step 1e-4"}},
    {44, {{2}, 1e-5, "no slope to the oxygenate's own value"}},
    {45, {{2}, 1e-5, "no slope to the oxygenate's own value"}},
    {46, {{2}, 1e-5, "no slope to the oxygenate's own value"}},
    {47, {{1, 2}, 1e-5, "volume slope divided by 1 - x1; none to the oxygenate's value"}},
    {48, {{1, 2}, 1e-5, "volume slope divided by 1 - x1; none to the oxygenate's value"}},
    {49, {{}, 5e-2, "forward differences, relative step 1e-4"}},
    {2, {{}, 1e-4, "central differences of the model, relative step 1e-6"}},
    {3, {{}, 1e-4, "central differences of the model, relative step 1e-6"}},
    {4, {{}, 1e-4, "central differences of the model, relative step 1e-6"}},
    {7, {{}, 1e-4, "central differences of the model"}},
};

TEST_F(DispatchTest, EveryDerivativeIsTheSlopeOfTheEvaluatedValue) {
  for (const Wrapped& w : wrappedCalls()) {
    const int index = w.index;
    // The variable-size rows use only their configured points; the slack
    // inputs of CARBOB2 that are not given (missing) have no slope.
    int usedInputs = static_cast<int>(w.x.size());
    if (index == 41) usedInputs = 7;
    if (index == 42) usedInputs = 10;
    if (index == 50) usedInputs = 8;
    const int actual = tarn_GetActualNumberOutput(index);
    const std::size_t outputs = actual > 0 ? actual : outputCount(index);

    const Result reported = genCalc(index, w.x);
    ASSERT_EQ(reported.status, 0) << index;
    const auto evaluate = [&](const std::vector<double>& x) {
      std::vector<double> full = w.x;
      std::copy(x.begin(), x.end(), full.begin());
      return genCalc(index, full, 0).out;
    };
    const std::vector<double> head(w.x.begin(), w.x.begin() + usedInputs);
    const std::vector<double> numeric = centralJacobian(evaluate, head, outputs);
    std::vector<double> slopes(reported.d.begin(), reported.d.begin() + numeric.size());

    const auto deviation = kDeviations.find(index);
    double relative = 1e-5, absolute = 1e-7;
    std::vector<double> expected = numeric;
    if (deviation != kDeviations.end()) {
      relative = absolute = deviation->second.relative;
      for (const int k : deviation->second.skipped) slopes[k] = expected[k] = 0.0;
    }
    expectJacobianNear(slopes, expected, outputs, relative, absolute,
                       "correlation " + std::to_string(index));
  }
}

// Special steps, each branch with the input that takes it. Arrays start at
// kUnset; a nan among the expected derivatives means "left as it was".
struct Branch {
  const char* what;
  int index;
  int derivFlag;
  std::vector<double> x;
  int status;
  std::vector<double> out, d, xAfter;
};

void expectBranch(const Branch& b) {
  SCOPED_TRACE(b.what);
  const Result r = genCalc(b.index, b.x, b.derivFlag);
  EXPECT_EQ(r.status, b.status);
  for (std::size_t k = 0; k < b.out.size(); ++k) {
    EXPECT_TRUE(same(r.out[k], b.out[k])) << k << ": " << r.out[k];
  }
  for (std::size_t k = 0; k < b.d.size(); ++k) {
    EXPECT_DOUBLE_EQ(r.d[k], std::isnan(b.d[k]) ? kUnset : b.d[k]) << "derivative " << k;
  }
  if (!b.xAfter.empty()) {
    EXPECT_EQ(r.x, b.xAfter);
  }
}

TEST_F(DispatchTest, OxygenateStepsTakeEachBranchAndWriteSlopesWhateverTheFlag) {
  const double nan = std::nan("");
  const double t90At = gfx_D86one90Blend('F', 50, 0, nullptr);
  const double rvpAt = gfx_RVP(14, 0, nullptr);
  const Branch branches[] = {
      {"CT50 no oxygenate", 45, 0, {210, 0.1, 170}, 0, {210}, {1, 0, 0}, {}},
      {"CT50 oxygenate missing", 45, 0, {210, 1e30, 170}, 0, {210}, {1, 0, 0}, {}},
      {"CT50 all oxygenate", 45, 0, {210, 100, 170}, 0, {170}, {0, 0, 0}, {}},
      {"CT50 blend, no slopes asked", 45, 0, {210, 10, 170}, 0, {19300.0 / 90}, {nan, nan, 0}, {}},
      {"CT10 blend", 44, 1, {150, 10, 160}, 0, {13400.0 / 90}, {100.0 / 90, (13400.0 / 90 - 160) / 90, 0}, {}},
      {"CD86ONE90 no oxygenate", 47, 0, {50, 0.05, 40}, 0, {t90At}, {nan, 0, 0}, {50, 0.05, 40}},
      {"CD86ONE90 all oxygenate", 47, 0, {40, 100, 50}, 0, {t90At}, {0, 0, 0}, {40, 100, 50}},
      {"CD86ONE90 undefined index", 47, 0, {0, 0.05, 40}, 1, {1e30}, {0, 0, 0}, {}},
      {"CD86ONE90 blend rewrites the index", 47, 0, {50, 10, 40}, 0, {}, {nan, nan, 0}, {4600.0 / 90, 10, 40}},
      {"CRVP no oxygenate", 48, 0, {14, 0.1, 20}, 0, {rvpAt}, {nan, 0, 0}, {}},
      {"CRVP all oxygenate clears one slope", 48, 0, {20, 100, 14}, 0, {rvpAt}, {0, nan, 0}, {}},
      {"CRVP blend rewrites the index", 48, 0, {14, 10, 20}, 0, {}, {nan, nan, 0}, {1200.0 / 90, 10, 20}},
      {"CARBOB no ethanol", 43, 1, {7.5, 210, 320, 0.1}, 0, {7.5, 210, 320}, {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}, {}},
      {"CARBOB ethanol missing", 43, 0, {7.5, 210, 320, 1e30}, 0, {7.5, 210, 320}, {nan}, {}},
      {"RVP of a missing index", 8, 0, {2e30}, 1, {1e30}, {}, {}},
      {"T10INDEX out of order", 35, 0, {220, 210, 320}, 1, {1e30}, {}, {}},
      {"T50INDEX not a number", 36, 0, {130, 210, HUGE_VAL}, 0, {nan}, {}, {}},
  };
  for (const Branch& b : branches) expectBranch(b);

  // The slope to the oxygenate volume is the true one times (100 - x1)/(1 - x1).
  const auto t90 = [](double volume) {
    double x[3] = {50, volume, 40}, out[1], d[3];
    gfx_tarnGenCalc(47, 0, 0, x, out, d);
    return out[0];
  };
  const Result blend = genCalc(47, {50, 10, 40});
  EXPECT_NEAR(blend.d[1], tarn::testing::centralDifference(t90, 10) * 90 / -9, 1e-6);

  // With an RVP exponent of 0 the RVP is undefined: CRVP says so only when
  // it removed an oxygenate.
  ASSERT_EQ(gfx_tarnSetCoefValue(8, 0, 0.0), 0);
  expectBranch({"CRVP undefined, no oxygenate", 48, 1, {14, 0.1, 20}, 0, {1e30}, {nan, 0, 0}, {}});
  expectBranch({"CRVP undefined, blend", 48, 1, {14, 10, 20}, 1, {1e30}, {0, 0, 0}, {}});
}

TEST_F(DispatchTest, SettingsOrdersAndDerivativeCopiesOfTheEthanolAndOctaneRows) {
  // CARBOB3 reports EHO and OXY as one value.
  const Result carbob3 = genCalc(51, {7.5, 210, 320, 25, 0.8, 8, 20});
  EXPECT_EQ(carbob3.out[5], carbob3.out[7]);
  // RBOB reads its own group: a changed RVP multiplier (P6) shows in out[0].
  const double before = genCalc(55, {7.5, 210, 320, 25, 0.8, 8, 20}).out[0];
  ASSERT_EQ(gfx_tarnSetCoefValue(55, 14, 2.0), 0);
  EXPECT_DOUBLE_EQ(genCalc(55, {7.5, 210, 320, 25, 0.8, 8, 20}).out[0], 2.0 * before);

  // MTMF and MTMR copy all eight entries even without a request (zeros then),
  // and skip the copy when there is no array.
  for (const int index : {39, 40}) {
    const Result r = genCalc(index, {95, 85, 10, 30}, 0);
    EXPECT_EQ(r.d, std::vector<double>(8, 0.0)) << index;
    double x[4] = {95, 85, 10, 30}, out[2];
    EXPECT_EQ(gfx_tarnGenCalc(index, 0, 0, x, out, nullptr), 0);
  }
  // MTMF's entry 1 is the slope of TMON to the olefins, not to RON.
  const Result mtmf = genCalc(39, {95, 85, 10, 30});
  const auto tmon = [](double olefins) {
    double x[4] = {95, 85, olefins, 30}, out[2], d[8];
    gfx_tarnGenCalc(39, 0, 0, x, out, d);
    return out[1];
  };
  EXPECT_TRUE(tarn::testing::derivativeNear(mtmf.d[1], tarn::testing::centralDifference(tmon, 10)));
}

TEST_F(DispatchTest, EntryPointsAnswerEachTypeAndRefuseBadCalls) {
  double x[4] = {9, 0, 0, 0}, out[2] = {0, 0}, d[8] = {};
  EXPECT_EQ(gfx_tarnGenCalc(57, 0, 0, x, out, d), TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(gfx_tarnGenCalcComplex(-1, 0, 0, 0, x, out, d), TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(tarn_CalcCorrelation(57, x, out, 0, d), TARN_STATUS_BAD_CORRELATION);
  EXPECT_EQ(tarn_CalcCorrelation(-1, x, out, 0, d), TARN_STATUS_BAD_CORRELATION);
  EXPECT_EQ(gfx_tarnGenCalc(9, 1, 0, x, out, nullptr), TARN_STATUS_NO_DERIVATIVE_ARRAY);
  EXPECT_EQ(gfx_tarnGenCalc(9, 0, 0, nullptr, out, nullptr), TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(gfx_tarnGenCalc(9, 0, 0, x, nullptr, nullptr), TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(gfx_tarnCalcPropDeriv(9, 1, 1, x, d), 0);

  // The types no built-in correlation has, by the shared type handling.
  using tarn::frame::calculateByType;
  struct TypeCase {
    int type;
    bool complex;
    int derivFlag;
    double* derivs;
    int status;
  };
  const TypeCase cases[] = {
      {0, false, 0, nullptr, 0},   {0, false, 1, d, 0},       {-1, true, 1, nullptr, -8888},
      {-3, false, 0, d, -999},     {-3, true, 1, d, 0},       {-3, true, 1, nullptr, -8888},
      {-2, true, 0, d, -999},      {1, false, 0, nullptr, 0}, {1, false, 1, nullptr, -8888},
      {2, false, 0, d, -999},      {-9999, true, 0, d, -999},
  };
  for (const TypeCase& c : cases) {
    out[0] = 42;
    EXPECT_EQ(calculateByType(c.type, c.complex, 9, c.derivFlag, x, out, c.derivs), c.status)
        << c.type << (c.complex ? " complex" : "");
    EXPECT_EQ(out[0], 42);  // nothing computed
  }
  // Type 1: a forward difference of the re-evaluated correlation against the
  // output the caller holds.
  out[0] = gfx_RVPIndex(9, 0, nullptr);
  EXPECT_EQ(calculateByType(1, false, 9, 1, x, out, d), 0);
  const double step = (std::fabs(9.0) + 1) * 0.001;
  EXPECT_NEAR(d[0], (gfx_RVPIndex(9 + step, 0, nullptr) - out[0]) / step, 1e-9);
}

TEST_F(DispatchTest, BatchEvaluationIsRowByRowEvaluation) {
  // Per correlation three rows: the realistic one, 1 % higher, and one with
  // its first input missing. Blocks follow the catalogue's counts, also where
  // fewer outputs are configured (41, 42, 53); inputs are left as given.
  for (const Wrapped& w : wrappedCalls()) {
    const std::size_t in = w.x.size(), out = outputCount(w.index);
    std::vector<std::vector<double>> rows = {w.x, w.x, w.x};
    for (double& v : rows[1]) v *= 1.01;
    rows[2][0] = 1e30;
    std::vector<double> inputs;
    for (const auto& row : rows) inputs.insert(inputs.end(), row.begin(), row.end());
    const std::vector<double> given = inputs;
    for (const int flag : {0, 1}) {
      std::vector<double> outputs(3 * out, kUnset), derivs(3 * in * out, kUnset);
      std::vector<int> statuses(3, 42);
      const int failed = gfx_tarnGenCalcBatch(w.index, flag, 3, inputs.data(), outputs.data(),
                                              derivs.data(), statuses.data());
      EXPECT_EQ(inputs, given) << w.index;
      int expectedFailed = 0;
      for (std::size_t r = 0; r < 3; ++r) {
        const Result one = genCalc(w.index, rows[r], flag);
        expectedFailed += one.status != 0;
        EXPECT_EQ(statuses[r], one.status) << w.index << " row " << r;
        EXPECT_TRUE(std::equal(one.out.begin(), one.out.end(), outputs.begin() + r * out, same));
        EXPECT_TRUE(std::equal(one.d.begin(), one.d.end(), derivs.begin() + r * in * out, same))
            << w.index << " row " << r;
      }
      EXPECT_EQ(failed, expectedFailed) << w.index;
    }
  }
  // Refusals evaluate nothing; per-row codes are those of gfx_tarnGenCalc.
  double x[2] = {9, 10}, out[2] = {0, 0};
  int statuses[2] = {0, 0};
  EXPECT_EQ(gfx_tarnGenCalcBatch(9, 0, -1, x, out, nullptr, statuses), -999);
  EXPECT_EQ(gfx_tarnGenCalcBatch(9, 0, 2, nullptr, out, nullptr, statuses), -999);
  EXPECT_EQ(gfx_tarnGenCalcBatch(57, 0, 2, x, out, nullptr, statuses), 2);
  EXPECT_EQ(statuses[1], TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(gfx_tarnGenCalcBatch(9, 1, 2, x, out, nullptr, nullptr), 2);  // -8888 per row
  EXPECT_EQ(gfx_tarnGenCalcBatch(9, 0, 2, x, out, nullptr, nullptr), 0);
  EXPECT_EQ(out[1], gfx_RVPIndex(10, 0, nullptr));
}

TEST_F(DispatchTest, ActualOutputCountsFollowTheConfiguredPoints) {
  EXPECT_EQ(tarn_GetActualNumberOutput(41), 10);
  EXPECT_EQ(tarn_GetActualNumberOutput(42), 7);
  EXPECT_EQ(tarn_GetActualNumberOutput(53), 3);
  EXPECT_EQ(tarn_GetActualNumberOutput(5), -1);
  EXPECT_EQ(tarn_GetActualNumberOutput(57), -1);
  ASSERT_EQ(gfx_tarnSetCoefValue(42, 40, 12), 0);  // NTEMP
  EXPECT_EQ(tarn_GetActualNumberOutput(42), 12);
  ASSERT_EQ(gfx_tarnSetCoefValue(41, 41, 0), 0);  // NPOFF: also hides NTEMP
  EXPECT_EQ(tarn_GetActualNumberOutput(41), -1);
  EXPECT_EQ(tarn_GetActualNumberOutput(42), -1);
  ASSERT_EQ(gfx_tarnSetCoefValue(53, 12, 0), 0);
  EXPECT_EQ(tarn_GetActualNumberOutput(53), -1);
}

}  // namespace
