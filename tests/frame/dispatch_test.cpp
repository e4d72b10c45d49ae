// Evaluation by index: every correlation against a direct call of what it
// wraps (under default settings and again with every unit flag, method and
// ethanol setting changed), every derivative against central differences of
// gfx_tarnGenCalc itself, the special steps branch by branch, and the type
// handling of the entry points.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "frame/dispatch.h"
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

// The settings a direct call must use: the unit, percent-off method and
// ethanol content that the correlation's coefficients hold.
struct Settings {
  char unit;
  int method;
  double ethanol;
};

using DirectCall = std::function<int(const Settings&, double* x, double* out, double* d)>;

int one(double* out, double value) {
  out[0] = value;
  return value == 1e30 ? 1 : 0;
}

struct Wrapped {
  int index;
  std::vector<double> x;
  DirectCall direct;
};

const std::vector<double> kCurve = {95, 130, 160, 200, 250, 320, 400};
const std::vector<double> kPercents = {0.5, 2, 6, 18, 36, 60, 87, 93, 97, 99.5};

std::vector<double> padded(std::vector<double> v, std::size_t size, double fill = 0.0) {
  v.resize(size, fill);
  return v;
}

// One realistic evaluation per correlation, with the call it must amount to.
const std::vector<Wrapped>& wrappedCalls() {
  static const std::vector<Wrapped> calls = {
      {0, {9, 130, 210}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_TVL(1, s.unit, x[0], x[1], x[2], d)); }},
      {1, {9, 130, 170, 210}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_TVL2(1, s.unit, x[0], x[1], x[2], x[3], d)); }},
      {2, {7.5, 200, 300, 25, 6, 2.3, 40, 0.9}, [](auto&, double* x, double* o, double* d) { gfx_WCARB(1, "FFFFFF", x, o, d); return 0; }},
      {3, {7.0, 200, 300, 25, 6, 2.3, 2.3, 15, 0.8}, [](auto&, double* x, double* o, double* d) { gfx_WCARB3(1, "FFFFFFN", x, o, d); return 0; }},
      {4, {6.8, 200, 300, 25, 6, 2.3, 15, 0.8}, [](auto&, double* x, double* o, double* d) { int f[8]; gfx_WCARB4(1, "FFFFFFN", x, o, d, f); return 0; }},
      {5, kPercents, [](auto& s, double* x, double* o, double* d) { return gfx_D86FromPercentOff(s.method, 1, x, o, s.unit, d); }},
      {6, kCurve, [](auto& s, double* x, double* o, double* d) { return gfx_D86toPercentOff(s.method, x, o, s.unit, 1, d); }},
      {7, {0, 0, 3.5, 0, 30, 7.2, 50, 85, 25, 6, 0.7}, [](auto&, double* x, double* o, double* d) { gfx_WEPA(1, "B2SCR0U", x, o, d); return 0; }},
      {8, {14}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_RVP(x[0], 1, d)); }},
      {9, {9}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_RVPIndex(x[0], 1, d)); }},
      {10, {130, 210, 320}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_DriveabilityIndex(1, s.unit, x[0], x[1], x[2], d)); }},
      {11, {130, 210, 320}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_DriveabilityIndexE(1, s.unit, x[0], x[1], x[2], d, s.ethanol)); }},
      {12, {130}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_D86one10Index(s.unit, x[0], 1, d)); }},
      {13, {320}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_D86one90Index(s.unit, x[0], 1, d)); }},
      {14, {6.3}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_D86one10Blend(s.unit, x[0], 1, d)); }},
      {15, {50}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_D86one90Blend(s.unit, x[0], 1, d)); }},
      {16, {10}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_PourPointIndex1(s.unit, x[0], 1, d)); }},
      {17, {480}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_PourPoint1(s.unit, x[0], 1, d)); }},
      {18, {5}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_ViscosityIndex1(x[0], 1, d)); }},
      {19, {0.2}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_Viscosity1(x[0], 1, d)); }},
      {20, {5}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_ViscosityIndex2(x[0], 1, d)); }},
      {21, {0.2}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_Viscosity2(x[0], 1, d)); }},
      {22, {10}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_ViscosityIndex3(x[0], 1, d)); }},
      {23, {20}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_Viscosity3(x[0], 1, d)); }},
      {24, {0.85, 500}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_CetaneIndex2(1, s.unit, x[0], x[1], d)); }},
      {25, {0.85, 420, 500, 600}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_CetaneIndex4(1, s.unit, x[0], x[1], x[2], x[3], d)); }},
      {26, {0.85, 420, 500, 600}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_CetaneIndex5(1, s.unit, x[0], x[1], x[2], x[3], d)); }},
      {27, {0.85, 500, 0.1}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_CetaneImprover(1, s.unit, x[0], x[1], x[2], d)); }},
      {28, {10, 0.05}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_CFPPImprover(1, s.unit, x[0], x[1], d)); }},
      {29, {10}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_CloudPointIndex1(s.unit, x[0], 1, d)); }},
      {30, {70000}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_CloudPoint1(s.unit, x[0], 1, d)); }},
      {31, {10}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_CloudPointIndex3(s.unit, x[0], 1, d)); }},
      {32, {16}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_CloudPoint3(s.unit, x[0], 1, d)); }},
      {33, {140}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_FlashPointIndex1(s.unit, x[0], 1, d)); }},
      {34, {2.3}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_FlashPoint1(s.unit, x[0], 1, d)); }},
      {35, {130, 210, 320}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_D86BV1(0, s.unit, x[0], x[1], x[2], d)); }},
      {36, {130, 210, 320}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_D86BV1(1, s.unit, x[0], x[1], x[2], d)); }},
      {37, {130, 210, 320}, [](auto& s, double* x, double* o, double* d) { return one(o, gfx_D86BV1(2, s.unit, x[0], x[1], x[2], d)); }},
      {38, {95, 85}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_DON(1, x[0], x[1], d)); }},
      // MTMF hands its derivatives on in its own order (see the special steps).
      {39, {95, 85, 10, 30}, [](auto&, double* x, double* o, double* d) {
         double s[8];
         const int status = gfx_MTMF(x, x[2], x[3], o, 1, s);
         const double order[8] = {s[0], s[3], s[1], s[2], s[4], s[5], s[6], s[7]};
         std::memcpy(d, order, sizeof order);
         return status; }},
      {40, {96, 86, 10, 30}, [](auto&, double* x, double* o, double* d) {
         double s[8];
         const int status = gfx_MTMR(x, x[2], x[3], o, 1, s);
         const double inputMajor[8] = {s[0], s[1], s[6], s[7], s[2], s[3], s[4], s[5]};
         std::memcpy(d, inputMajor, sizeof inputMajor);
         return status; }},
      {41, padded(kCurve, 13), [](auto& s, double* x, double* o, double* d) { return gfx_ND86toPercentOff(s.method, x, o, s.unit, 1, d); }},
      {42, padded(kPercents, 25), [](auto& s, double* x, double* o, double* d) { return gfx_ND86FromPercentOff(s.method, 1, x, o, s.unit, d); }},
      {43, {7.5, 210, 320, 10}, [](auto& s, double* x, double* o, double* d) { return gfx_WCARBOB(1, s.unit, x, o, d); }},
      // The oxygenate corrections: the rest of the blend, (100 x0 - x1 x2)/(100 - x1).
      {44, {150, 10, 160}, [](auto&, double*, double* o, double* d) { o[0] = 13400.0 / 90; d[0] = 100.0 / 90; d[1] = (o[0] - 160) / 90; d[2] = 0; return 0; }},
      {45, {210, 10, 170}, [](auto&, double*, double* o, double* d) { o[0] = 19300.0 / 90; d[0] = 100.0 / 90; d[1] = (o[0] - 170) / 90; d[2] = 0; return 0; }},
      {46, {320, 10, 175}, [](auto&, double*, double* o, double* d) { o[0] = 30250.0 / 90; d[0] = 100.0 / 90; d[1] = (o[0] - 175) / 90; d[2] = 0; return 0; }},
      {47, {50, 10, 40}, [](auto& s, double*, double* o, double* d) {
         const double y = 4600.0 / 90;
         o[0] = gfx_D86one90Blend(s.unit, y, 1, d);
         d[1] = (y - 40) / (1.0 - 10) * d[0];
         d[0] *= 100.0 / 90;
         d[2] = 0;
         return 0; }},
      {48, {14, 10, 20}, [](auto&, double*, double* o, double* d) {
         const double y = 1200.0 / 90;
         o[0] = gfx_RVP(y, 1, d);
         d[1] = (y - 20) / (1.0 - 10) * d[0];
         d[0] *= 100.0 / 90;
         d[2] = 0;
         return 0; }},
      // Without oxygenate: the blend's own percents converted like D86FROMPERCENTOFF.
      {49, padded(padded(kPercents, 10), 21, 0.1), [](auto& s, double* x, double* o, double* d) {
         std::fill(d, d + 21 * 7, 0.0);
         return gfx_D86FromPercentOff(s.method, 1, x, o, s.unit, d); }},
      // The slack of RVP given, the others not.
      {50, padded({7.5, 210, 320, 25, 0.8, 8, 20, 0.3}, 14, 1e30), [](auto& s, double* x, double* o, double* d) {
         const int status = gfx_WCARBOB2(1, s.unit, s.ethanol, x, o, d, nullptr);
         o[0] += 0.3;
         for (int k = 0; k < 9; ++k) d[63 + k] = k == 0 ? 1.0 : 0.0;
         return status; }},
      // The CARBOB3 ethanol, read ARO, BNZ, OLF, EHO, SUL, GASSPG, EOHSPG.
      {51, {7.5, 210, 320, 25, 0.8, 8, 20}, [](auto& s, double* x, double* o, double* d) {
         const double settings[9] = {1.7, 0.06, 0.5, 34.7, 10.0, 0.718, 0.788, 1e30, 0.0};
         return gfx_WCARBOB2(1, s.unit, s.ethanol, x, o, d, settings); }},
      {52, {60, 30}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_VaporLockIndex(1, 'K', x[0], x[1], d)); }},
      {53, kCurve, [](auto&, double* x, double* o, double* d) { return gfx_Evaporative(1, x, o, d); }},
      {54, {210, 320}, [](auto& s, double* x, double* o, double* d) { return gfx_E200E300EPA(s.unit, x, o, 1, d); }},
      {55, {7.5, 210, 320, 25, 0.8, 8, 20}, [](auto& s, double* x, double* o, double* d) {
         const double settings[13] = {1.7, 0.06, 34.7, 0.5, 10.0, 0.788, 0.718, 147.91, 0.49, 155.47, 0.22, 0.0, 1.0};
         return gfx_WRBOB(1, s.unit, s.ethanol, x, o, d, settings); }},
      {56, {130, 160}, [](auto&, double* x, double* o, double* d) { return one(o, gfx_T20Gaussian(x[0], x[1], 1, d)); }},
  };
  return calls;
}

bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

class DispatchTest : public tarn::testing::LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    // Three evaporation temperatures, so that EVAPORATIVE has outputs.
    const double temperatures[3] = {150, 215, 300};
    for (int k = 0; k < 3; ++k) ASSERT_EQ(gfx_tarnSetCoefValue(53, k, temperatures[k]), 0);
    ASSERT_EQ(gfx_tarnSetCoefValue(53, 12, 3), 0);
  }

  void expectAllMatchDirectCalls(const Settings& setup) {
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
      direct.status = w.direct(setup, direct.x.data(), direct.out.data(), direct.d.data());
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
