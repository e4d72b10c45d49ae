// Blending distillation curves: gfx_FindPoints' bisection and gfx_D86 through TBP, repairs, derivatives.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "support/fixture.h"
#include "support/temperature.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using Curve = std::vector<double>;

class D86BlendTest : public tarn::testing::LibraryTest {};

// Bisection tolerance 1e-7 x bracket is about 1e-4 degrees here; the TBP-basis blend a few thousandths.
constexpr double kSearch = 1e-3, kBlend = 5e-3;

// Linear curves: A is T = 100 + 2p, B is T = 200 + 2p (p in percent).
const Curve kA = {100, 120, 160, 200, 240, 280, 300};
const Curve kBoth = {100, 120, 160, 200, 240, 280, 300, 200, 220, 260, 300, 340, 380, 400};
const double kHalves[2] = {0.5, 0.5};

const Curve kGasoline = {91.3, 124.7, 161.2, 208.9, 262.3, 331.6, 402.1};

// The conversion routines of each method number (null: method 4 copies).
using Routine = int (*)(char, const double*, double*);
const Routine kForward[6] = {gfx_HC94F, gfx_THREEA11F, gfx_SIXORDERF, gfx_ETHYLSF, nullptr, gfx_ETHYLSF};
const Routine kReverse[6] = {gfx_HC94R, gfx_THREEA11R, gfx_SIXORDERR, gfx_ETHYLSR, nullptr, gfx_ETHYLSR_REV};

Curve blend(const Curve& fractions, Curve curves, int method, char unit, int* status = nullptr,
            std::vector<double>* derivs = nullptr) {
  Curve out(7, -1.0);
  const int n = static_cast<int>(fractions.size());
  if (derivs != nullptr) derivs->assign(n * 56, -1.0);
  const int s = gfx_D86(n, fractions.data(), curves.data(), out.data(), derivs != nullptr ? derivs->data() : nullptr,
                        method, derivs != nullptr, unit);
  if (status != nullptr) *status = s;
  return out;
}

// gfx_D86's derivative rows rebuilt from public blocks: convert (keeping rejected curves), blend by FindPoints,
// convert back, clamp to the unperturbed IBP/FBP range; forward differences with step |x| DDelta (min 1e-7).
// A fraction step leaving the sum's window, or a point step the method refuses, leaves the unperturbed blend.
Curve referenceDerivatives(const Curve& fractions, const Curve& curves, int method, char unit) {
  const int n = static_cast<int>(fractions.size());
  const auto forwardOrKeep = [&](const double* d86, double* tbp) {
    if (kForward[method] == nullptr || kForward[method](unit, d86, tbp) != 0) std::copy(d86, d86 + 7, tbp);
  };
  const auto reverse = [&](const double* tbp, double* d86) {
    if (kReverse[method] != nullptr) return kReverse[method](unit, tbp, d86);
    std::copy(tbp, tbp + 7, d86);
    return 0;
  };
  double low = 1e20, high = -1e20;
  for (int i = 0; i < n; ++i) {
    if (fractions[i] < gfx_getCorParms("GENERICD86", "MinVol")) continue;
    low = std::min(low, curves[7 * i]);
    high = std::max(high, curves[7 * i + 6]);
  }
  Curve tbp(7 * n), blended(7), base(7), derivs(56 * n);
  for (int i = 0; i < n; ++i) forwardOrKeep(&curves[7 * i], &tbp[7 * i]);
  EXPECT_EQ(gfx_FindPoints(n, tbp.data(), fractions.data(), blended.data()), 0);
  EXPECT_EQ(reverse(blended.data(), base.data()), 0);
  base[0] = std::max(base[0], low);
  base[6] = std::min(base[6], high);
  const auto row = [&](const Curve& f, const Curve& t, double h, double* out) {
    Curve b = blended, d86 = base;
    gfx_FindPoints(n, t.data(), f.data(), b.data());
    if (reverse(b.data(), d86.data()) == 0) {
      d86[0] = std::max(d86[0], low);
      d86[6] = std::min(d86[6], high);
    }
    for (int j = 0; j < 7; ++j) out[j] = (d86[j] - base[j]) / h;
  };
  const double step = std::max(1e-7, gfx_getCorParms("GENERICD86", "DDelta"));
  const auto stepFor = [step](double x) { return std::fabs(x * step) < 1e-7 ? step : std::fabs(x * step); };
  for (int i = 0; i < n; ++i) {
    Curve f = fractions;
    f[i] += stepFor(f[i]);
    row(f, tbp, stepFor(fractions[i]), &derivs[56 * i]);
    for (int p = 0; p < 7; ++p) {
      Curve c = curves, t = tbp;
      c[7 * i + p] += stepFor(c[7 * i + p]);
      if (kForward[method] == nullptr) {
        std::copy(&c[7 * i], &c[7 * i] + 7, &t[7 * i]);
      } else {
        kForward[method](unit, &c[7 * i], &t[7 * i]);
      }
      row(fractions, t, stepFor(curves[7 * i + p]), &derivs[56 * i + 7 * (p + 1)]);
    }
  }
  return derivs;
}

TEST_F(D86BlendTest, TwoLinearCurvesBlendToTheHandComputedPoints) {
  // At 50/50 the percent is (P_A + P_B)/2, each P in [0, 100]: 10 % at 140 (B not boiling), 30 % at 210,
  // 50 % at 250, 70 % at 290, 90 % at 360 (A gone).
  Curve out(7), out2(7);
  const Curve want = {100, 140, 210, 250, 290, 360, 400};
  ASSERT_EQ(gfx_FindPoints(2, kBoth.data(), kHalves, out.data()), 0);
  for (int k = 0; k < 7; ++k) EXPECT_NEAR(out[k], want[k], kSearch) << "point " << k;
  // gfx_FindPoints2 gives the same bits for fractions summing to 1 (it forms slopes every step).
  ASSERT_EQ(gfx_FindPoints2(2, kBoth.data(), kHalves, out2.data()), 0);
  EXPECT_EQ(out2, out);
  // Ends as 5 % and 95 %: 5 % off is 10 % of A (120 F), 95 % is 90 % of B (380 F, A gone by 320).
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MnVolIBP", 5.0), 0);
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MxVolFBP", 95.0), 0);
  ASSERT_EQ(gfx_FindPoints(2, kBoth.data(), kHalves, out.data()), 0);
  EXPECT_NEAR(out[0], 120.0, kSearch);
  EXPECT_NEAR(out[6], 380.0, kSearch);
}

TEST_F(D86BlendTest, FractionsMustSumToOneExceptForFindPoints2) {
  Curve out(7, -1.0);
  const double over[2] = {0.5, 0.501}, inside[2] = {0.5, 0.5009}, withNegative[2] = {1.0, -0.2}, doubled = 2.0;
  EXPECT_EQ(gfx_FindPoints(2, kBoth.data(), over, out.data()), 1);
  EXPECT_EQ(out, Curve(7, -1.0));
  EXPECT_EQ(gfx_FindPoints(2, kBoth.data(), inside, out.data()), 0);
  EXPECT_EQ(gfx_FindPoints(2, kBoth.data(), withNegative, out.data()), 0);  // negatives do not count
  // FindPoints2 takes fractions as given: A at fraction 2 reads twice its percent, 10 % where A has 5 %.
  EXPECT_EQ(gfx_FindPoints(1, kA.data(), &doubled, out.data()), 1);
  EXPECT_EQ(gfx_FindPoints2(1, kA.data(), &doubled, out.data()), 0);
  EXPECT_NEAR(out[1], 110.0, kSearch);
}

TEST_F(D86BlendTest, SmallComponentsWidenTheBracketOnlyAboveMinVol) {
  const Curve both = {40, 60, 80, 100, 120, 140, 160, 100, 120, 160, 200, 240, 280, 500};
  const double fractions[2] = {0.05, 0.95};
  Curve out(7);
  ASSERT_EQ(gfx_FindPoints(2, both.data(), fractions, out.data()), 0);
  EXPECT_EQ(out[0], 40.0);
  EXPECT_EQ(out[6], 500.0);
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MinVol", 0.05), 0);  // must exceed, not equal
  ASSERT_EQ(gfx_FindPoints(2, both.data(), fractions, out.data()), 0);
  EXPECT_EQ(out[0], 100.0);
}

TEST_F(D86BlendTest, DocumentedQuirksOfTheSearch) {
  // Intended: the search answers its last midpoint. Tolerance 0.02 x 200 degrees is 4 %: 10 % on A from
  // [100, 300] visits 200 (50 %), 150 (25 %), 125 (12.5 %, within 4 of 10) and answers 112.5.
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 0.02), 0);
  const double one = 1.0, fractions[2] = {0.7, 0.3};
  Curve out(7);
  ASSERT_EQ(gfx_FindPoints(1, kA.data(), &one, out.data()), 0);
  EXPECT_EQ(out[1], 112.5);
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 1e-7), 0);
  // Intended: an out-of-order component's 1e30 percent drives every search to its bracket's bottom.
  const Curve bad = {100, 120, 160, 200, 240, 280, 300, 200, 220, 220, 300, 340, 380, 400};
  EXPECT_EQ(gfx_FindPoints(2, bad.data(), fractions, out.data()), 0);
  for (int k = 1; k < 6; ++k) EXPECT_NEAR(out[k], 100.0, kSearch) << k;
}

TEST_F(D86BlendTest, OneComponentOrTwoIdenticalOnesComeBackThroughTheirMethod) {
  for (int method = 0; method <= 5; ++method) {
    for (char unit : {'F', 'C'}) {
      const Curve curve = unit == 'C' ? tarn::testing::celsiusOf(kGasoline) : kGasoline;
      Curve expected = curve, tbp(7), both = curve;
      if (kForward[method] != nullptr) {
        kForward[method](unit, curve.data(), tbp.data());
        kReverse[method](unit, tbp.data(), expected.data());
      }
      expected[0] = std::max(expected[0], curve[0]);  // held inside the component's own ends
      expected[6] = std::min(expected[6], curve[6]);
      both.insert(both.end(), curve.begin(), curve.end());
      int status = -1, status2 = -1;
      const Curve one = blend({1.0}, curve, method, unit, &status),
                  two = blend({0.5, 0.5}, both, method, unit, &status2);
      ASSERT_EQ(status + status2, 0) << method;
      for (int k = 0; k < 7; ++k) {
        EXPECT_NEAR(one[k], expected[k], kBlend) << "method " << method << unit << " point " << k;
        EXPECT_NEAR(two[k], one[k], kBlend) << "method " << method << unit << " point " << k;
      }
    }
  }
}

TEST_F(D86BlendTest, DerivativeRowsAreTheProcedureToTheLastBit) {
  // A lone gasoline, every method and unit, is held at its own IBP/FBP; its fraction row is 0 (intended).
  for (int method = 0; method <= 5; ++method) {
    for (char unit : {'F', 'C'}) {
      const Curve curve = unit == 'C' ? tarn::testing::celsiusOf(kGasoline) : kGasoline;
      std::vector<double> derivs;
      blend({1.0}, curve, method, unit, nullptr, &derivs);
      EXPECT_EQ(derivs, referenceDerivatives({1.0}, curve, method, unit)) << method << unit;
      EXPECT_EQ(Curve(derivs.begin(), derivs.begin() + 7), Curve(7, 0.0));
    }
  }
  // Method 0: the IBP row's IBP entry is the round trip's own slope, not 1; the FBP entry is 0.
  std::vector<double> derivs;
  ASSERT_EQ(blend({1.0}, kGasoline, 0, 'F', nullptr, &derivs)[0], kGasoline[0]);
  EXPECT_NEAR(derivs[7], 0.99965, 1e-5);
  EXPECT_EQ(derivs[7 * 7 + 6], 0.0);

  // Random blends, every method and unit: >64 components, twins, below MinVol, negative fractions, fine tolerance.
  std::mt19937 random(20);
  const auto uniform = [&random](double lo, double hi) {
    return std::uniform_real_distribution<double>(lo, hi)(random);
  };
  const std::vector<std::pair<const char*, double>> settings[] = {
      {}, {{"BTol", 1e-14}}, {{"MnVolIBP", 2}, {"MxVolFBP", 98}}, {{"MinVol", 0.05}}};
  int cases = 0, compared = 0;
  for (const auto& setting : settings) {
    for (const auto& [name, value] : setting) ASSERT_EQ(gfx_setCorParms("GENERICD86", name, value), 0);
    for (const int n : {1, 2, 3, 8, 21, 70}) {
      const int method = cases % 6;
      const char unit = cases++ % 4 < 2 ? 'F' : 'C';
      Curve fractions(n), curves;
      for (int i = 0; i < n; ++i) {
        fractions[i] = i % 5 == 4 ? 0.01 : uniform(0.1, 1.0);
        double t = uniform(70, 160);
        for (int p = 0; p < 7; ++p) curves.push_back(t += uniform(2, 60));
      }
      if (n > 3) std::copy(curves.begin(), curves.begin() + 7, curves.begin() + 14);  // a twin
      if (n == 21) fractions[5] = -0.05;
      double positive = 0.0;  // the window counts the positive fractions only
      for (double f : fractions) positive += std::max(f, 0.0);
      for (double& f : fractions) f /= positive;
      if (unit == 'C') curves = tarn::testing::celsiusOf(curves);
      int status = -1;
      blend(fractions, curves, method, unit, &status, &derivs);
      if (status != 0) continue;  // the blend converted back out of order
      EXPECT_EQ(derivs, referenceDerivatives(fractions, curves, method, unit)) << n << " components, case " << cases;
      ++compared;
    }
  }
  EXPECT_GE(compared, 20);
}

// Found by fuzzing: flat-ended curves gave NaN or -1000/degree rows; out-of-order steps keep the TBP curve.
TEST_F(D86BlendTest, FlatCurveStretchGaveNaNDerivativeRowsWithStatusZero) {
  const struct {
    Curve fractions, curves;
    std::vector<int> zeroRows;  // point rows whose step breaks the order
  } cases[] = {
      {{0.5, 0.5},
       {60, 80.1, 100.2, 170.1, 170.1, 170.1, 170.1, 60, 80.1, 100.2, 120.3, 140.4, 160.5, 180.7},
       {4, 5, 6}},
      {{0.9, 0.1}, {112, 162, 214, 246, 277, 322, 392, 173, 173, 173, 173, 173, 173, 173}, {9, 10, 11, 12, 13, 14}},
  };
  for (const auto& c : cases) {
    for (int method : {0, 1, 2, 3, 5}) {
      int status = -1;
      std::vector<double> derivs;
      blend(c.fractions, c.curves, method, 'F', &status, &derivs);
      ASSERT_EQ(status, 0) << method;
      EXPECT_TRUE(std::all_of(derivs.begin(), derivs.end(), [](double d) { return std::isfinite(d); })) << method;
      for (int row : c.zeroRows) EXPECT_EQ(Curve(&derivs[7 * row], &derivs[7 * row + 7]), Curve(7, 0.0)) << row;
      EXPECT_EQ(derivs, referenceDerivatives(c.fractions, c.curves, method, 'F')) << method;
    }
  }
}

TEST_F(D86BlendTest, RepairsAndRejections) {
  const double one = 1.0, notOne = 0.9;
  Curve curve = {300, 280, 350, 380, 410, 450, 500}, out(7, -1.0), good = kGasoline;
  EXPECT_EQ(gfx_D86(1, &one, curve.data(), out.data(), nullptr, 0, 0, 'F'), 1);
  EXPECT_EQ(out, Curve(7, -1.0));
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_D86(1, &one, curve.data(), out.data(), nullptr, 0, 0, 'F'), 0);
  EXPECT_EQ(curve[1], 300.5);                                                   // repaired in the caller's array
  EXPECT_EQ(gfx_D86(1, &one, good.data(), out.data(), nullptr, 6, 0, 'F'), 1);  // no method 6
  EXPECT_EQ(gfx_D86(1, &notOne, good.data(), out.data(), nullptr, 0, 0, 'F'), 1);
  // (Beyond the 64 components kept on the stack: the random blends above.)
}

}  // namespace
