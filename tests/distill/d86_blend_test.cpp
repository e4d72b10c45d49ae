// Blending distillation curves: the volume bisection of gfx_FindPoints and
// gfx_D86 through the TBP basis, their repairs and finite-difference
// derivatives.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/derivatives.h"
#include "support/fixture.h"
#include "support/temperature.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using Curve = std::vector<double>;

class D86BlendTest : public tarn::testing::LibraryTest {};

// The bisection ends within the default tolerance of 1e-7 x bracket width in
// percent, about 1e-4 degrees on the linear curves; the TBP-basis blend lands
// within a few thousandths of a degree.
constexpr double kSearch = 1e-3, kBlend = 5e-3;

// Linear curves: A is T = 100 + 2p, B is T = 200 + 2p (p in percent).
const Curve kA = {100, 120, 160, 200, 240, 280, 300};
const Curve kBoth = {100, 120, 160, 200, 240, 280, 300, 200, 220, 260, 300, 340, 380, 400};
const double kHalves[2] = {0.5, 0.5};

const Curve kGasoline = {91.3, 124.7, 161.2, 208.9, 262.3, 331.6, 402.1};
const Curve kReformate = {118.4, 176.2, 226.9, 258.3, 284.7, 322.5, 391.8};
const Curve kNaphtha = {86.1, 109.5, 130.3, 151.9, 176.4, 214.8, 263.3};

Curve blend(const Curve& fractions, Curve curves, int method, char unit, int* status = nullptr,
            std::vector<double>* derivs = nullptr) {
  Curve out(7, -1.0);
  const int n = static_cast<int>(fractions.size());
  if (derivs != nullptr) derivs->assign(n * 56, -1.0);
  const int s = gfx_D86(n, fractions.data(), curves.data(), out.data(),
                        derivs != nullptr ? derivs->data() : nullptr, method, derivs != nullptr, unit);
  if (status != nullptr) *status = s;
  return out;
}

TEST_F(D86BlendTest, TwoLinearCurvesBlendToTheHandComputedPoints) {
  // At 50/50 the blend's percent is (P_A + P_B)/2 with each P held in [0, 100]:
  // 10 % at 140 (B not yet boiling), 30 % at 210, 50 % at 250, 70 % at 290,
  // 90 % at 360 (A all gone).
  Curve out(7), out2(7);
  const Curve want = {100, 140, 210, 250, 290, 360, 400};
  ASSERT_EQ(gfx_FindPoints(2, kBoth.data(), kHalves, out.data()), 0);
  for (int k = 0; k < 7; ++k) EXPECT_NEAR(out[k], want[k], kSearch) << "point " << k;
  // gfx_FindPoints2 gives the same, to the last bit, for fractions that sum
  // to 1 (it forms each segment's slope at every step, gfx_FindPoints once).
  ASSERT_EQ(gfx_FindPoints2(2, kBoth.data(), kHalves, out2.data()), 0);
  EXPECT_EQ(out2, out);
  // With the ends standing for 5 % and 95 %, 5 % off needs 10 % of A (at 120,
  // B not boiling yet) and 95 % needs 90 % of B (at 380, A gone by 320).
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
  // FindPoints2 takes the fractions as they are: A alone at fraction 2 reads
  // as twice its percent, so its 10 % point is where A has 5 % off.
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
  // Intended: the search answers its last midpoint. Tolerance 0.02 over a
  // 200-degree bracket is 4 %: searching 10 % on A from [100, 300] visits 200
  // (50 %), 150 (25 %), 125 (12.5 %, within 4 of 10) and answers 112.5.
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 0.02), 0);
  const double one = 1.0, fractions[2] = {0.7, 0.3};
  Curve out(7);
  ASSERT_EQ(gfx_FindPoints(1, kA.data(), &one, out.data()), 0);
  EXPECT_EQ(out[1], 112.5);
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 1e-7), 0);
  // Intended: an out-of-order component spoils the blend without failing it;
  // its 1e30 percent drives every search to the bottom of its bracket.
  const Curve bad = {100, 120, 160, 200, 240, 280, 300, 200, 220, 220, 300, 340, 380, 400};
  EXPECT_EQ(gfx_FindPoints(2, bad.data(), fractions, out.data()), 0);
  for (int k = 1; k < 6; ++k) EXPECT_NEAR(out[k], 100.0, kSearch) << k;
}

TEST_F(D86BlendTest, OneComponentOrTwoIdenticalOnesComeBackThroughTheirMethod) {
  using Routine = int (*)(char, const double*, double*);
  const Routine forward[6] = {gfx_HC94F, gfx_THREEA11F, gfx_SIXORDERF, gfx_ETHYLSF, nullptr, gfx_ETHYLSF};
  const Routine reverse[6] = {gfx_HC94R, gfx_THREEA11R, gfx_SIXORDERR, gfx_ETHYLSR, nullptr, gfx_ETHYLSR_REV};
  for (int method = 0; method <= 5; ++method) {
    for (char unit : {'F', 'C'}) {
      const Curve curve = unit == 'C' ? tarn::testing::celsiusOf(kGasoline) : kGasoline;
      Curve expected = curve, tbp(7), both = curve;
      if (forward[method] != nullptr) {
        forward[method](unit, curve.data(), tbp.data());
        reverse[method](unit, tbp.data(), expected.data());
      }
      expected[0] = std::max(expected[0], curve[0]);  // held inside the component's own ends
      expected[6] = std::min(expected[6], curve[6]);
      both.insert(both.end(), curve.begin(), curve.end());
      int status = -1, status2 = -1;
      const Curve one = blend({1.0}, curve, method, unit, &status), two = blend({0.5, 0.5}, both, method, unit, &status2);
      ASSERT_EQ(status + status2, 0) << method;
      for (int k = 0; k < 7; ++k) {
        EXPECT_NEAR(one[k], expected[k], kBlend) << "method " << method << unit << " point " << k;
        EXPECT_NEAR(two[k], one[k], kBlend) << "method " << method << unit << " point " << k;
      }
    }
  }
}

TEST_F(D86BlendTest, DerivativesMatchCentralDifferencesOfTheBlend) {
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 1e-14), 0);  // clean central differences
  const Curve fractions = {0.25, 0.45, 0.30};
  Curve inputs = fractions;
  for (const Curve* c : {&kGasoline, &kReformate, &kNaphtha}) inputs.insert(inputs.end(), c->begin(), c->end());
  for (int method : {0, 1, 5}) {
    const auto function = [method](const std::vector<double>& x) {
      return blend({x[0], x[1], x[2]}, Curve(x.begin() + 3, x.end()), method, 'F');
    };
    std::vector<double> derivs, reordered;
    int status = -1;
    blend(fractions, Curve(inputs.begin() + 3, inputs.end()), method, 'F', &status, &derivs);
    ASSERT_EQ(status, 0);
    // The library's rows are per component (fraction, seven points); the
    // central Jacobian's rows are the three fractions, then the points.
    for (int i = 0; i < 3; ++i) reordered.insert(reordered.end(), derivs.begin() + 56 * i, derivs.begin() + 56 * i + 7);
    for (int i = 0; i < 3; ++i) reordered.insert(reordered.end(), derivs.begin() + 56 * i + 7, derivs.begin() + 56 * (i + 1));
    // Forward differences with a relative step of 0.001 against central ones.
    tarn::testing::expectJacobianNear(reordered, tarn::testing::centralJacobian(function, inputs, 7), 7, 2e-2,
                                      2e-3, "method " + std::to_string(method));
  }
  // Intended: for a lone component the fraction step takes the sum out of
  // its window, so that row is 0; its own points move the blend one for one.
  std::vector<double> derivs;
  blend({1.0}, kGasoline, 1, 'F', nullptr, &derivs);
  for (int j = 0; j < 7; ++j) EXPECT_EQ(derivs[j], 0.0);
  for (int p = 0; p < 7; ++p) EXPECT_NEAR(derivs[7 * (p + 1) + p], 1.0, 1e-3) << p;
}

TEST_F(D86BlendTest, RepairsRejectionsAndLargeBlends) {
  const double one = 1.0, notOne = 0.9;
  Curve curve = {300, 280, 350, 380, 410, 450, 500}, out(7, -1.0), good = kGasoline;
  EXPECT_EQ(gfx_D86(1, &one, curve.data(), out.data(), nullptr, 0, 0, 'F'), 1);
  EXPECT_EQ(out, Curve(7, -1.0));
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_D86(1, &one, curve.data(), out.data(), nullptr, 0, 0, 'F'), 0);
  EXPECT_EQ(curve[1], 300.5);  // repaired in the caller's array
  EXPECT_EQ(gfx_D86(1, &one, good.data(), out.data(), nullptr, 6, 0, 'F'), 1);  // no method 6
  EXPECT_EQ(gfx_D86(1, &notOne, good.data(), out.data(), nullptr, 0, 0, 'F'), 1);
  // Above the inline capacity of the work area the heap takes over.
  const int n = 100;
  Curve fractions(n, 1.0 / n), curves, derivs(56 * n);
  for (int i = 0; i < n; ++i) curves.insert(curves.end(), kGasoline.begin(), kGasoline.end());
  ASSERT_EQ(gfx_D86(n, fractions.data(), curves.data(), out.data(), derivs.data(), 4, 1, 'F'), 0);
  for (int k = 0; k < 7; ++k) EXPECT_NEAR(out[k], kGasoline[k], kBlend);
}

}  // namespace
