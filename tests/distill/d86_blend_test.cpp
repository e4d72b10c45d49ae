// gfx_D86: blends of D86 curves through the TBP basis, their repairs and
// their finite-difference derivatives.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using Curve = std::vector<double>;

class D86BlendTest : public tarn::testing::LibraryTest {};

// The blend search at its default tolerance lands within a few thousandths of
// a degree.
constexpr double kSearch = 5e-3;

const Curve kGasoline = {91.3, 124.7, 161.2, 208.9, 262.3, 331.6, 402.1};
const Curve kReformate = {118.4, 176.2, 226.9, 258.3, 284.7, 322.5, 391.8};
const Curve kNaphtha = {86.1, 109.5, 130.3, 151.9, 176.4, 214.8, 263.3};

Curve inCelsius(const Curve& f) {
  Curve c;
  for (double t : f) c.push_back((t - 32.0) / 1.8);
  return c;
}

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

TEST_F(D86BlendTest, OneComponentOrTwoIdenticalOnesComeBackThroughTheirMethod) {
  using Routine = int (*)(char, const double*, double*);
  const Routine forward[6] = {gfx_HC94F, gfx_THREEA11F, gfx_SIXORDERF, gfx_ETHYLSF, nullptr, gfx_ETHYLSF};
  const Routine reverse[6] = {gfx_HC94R, gfx_THREEA11R, gfx_SIXORDERR, gfx_ETHYLSR, nullptr, gfx_ETHYLSR_REV};
  for (int method = 0; method <= 5; ++method) {
    for (char unit : {'F', 'C'}) {
      const Curve curve = unit == 'C' ? inCelsius(kGasoline) : kGasoline;
      Curve expected = curve;
      if (forward[method] != nullptr) {
        Curve tbp(7);
        forward[method](unit, curve.data(), tbp.data());
        reverse[method](unit, tbp.data(), expected.data());
      }
      expected[0] = std::max(expected[0], curve[0]);  // held inside the component's own ends
      expected[6] = std::min(expected[6], curve[6]);
      Curve both = curve;
      both.insert(both.end(), curve.begin(), curve.end());
      int status = -1;
      const Curve one = blend({1.0}, curve, method, unit, &status);
      ASSERT_EQ(status, 0) << method;
      const Curve two = blend({0.5, 0.5}, both, method, unit, &status);
      ASSERT_EQ(status, 0) << method;
      for (int k = 0; k < 7; ++k) {
        EXPECT_NEAR(one[k], expected[k], kSearch) << "method " << method << unit << " point " << k;
        EXPECT_NEAR(two[k], one[k], kSearch) << "method " << method << unit << " point " << k;
      }
    }
  }
}

TEST_F(D86BlendTest, DerivativesMatchCentralDifferencesOfTheBlend) {
  // A tight search tolerance keeps the central differences clean.
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 1e-14), 0);
  const Curve fractions = {0.25, 0.45, 0.30};
  Curve inputs = fractions;
  for (const Curve* c : {&kGasoline, &kReformate, &kNaphtha}) inputs.insert(inputs.end(), c->begin(), c->end());
  for (int method : {0, 1, 5}) {
    const auto function = [method](const std::vector<double>& x) {
      return blend({x[0], x[1], x[2]}, Curve(x.begin() + 3, x.end()), method, 'F');
    };
    std::vector<double> derivs;
    int status = -1;
    blend(fractions, Curve(inputs.begin() + 3, inputs.end()), method, 'F', &status, &derivs);
    ASSERT_EQ(status, 0);
    const std::vector<double> numeric = tarn::testing::centralJacobian(function, inputs, 7);
    // The library's rows are per component (fraction, seven points); the
    // central Jacobian's rows are the three fractions, then the points.
    std::vector<double> reordered;
    for (int i = 0; i < 3; ++i) reordered.insert(reordered.end(), derivs.begin() + 56 * i, derivs.begin() + 56 * i + 7);
    for (int i = 0; i < 3; ++i) reordered.insert(reordered.end(), derivs.begin() + 56 * i + 7, derivs.begin() + 56 * (i + 1));
    // Forward differences with a relative step of 0.001 against central ones.
    tarn::testing::expectJacobianNear(reordered, numeric, 7, 2e-2, 2e-3,
                                      "method " + std::to_string(method));
  }
}

TEST_F(D86BlendTest, AFractionStepOutOfTheSumWindowGivesAZeroRow) {
  // A single component at fraction 1: the step 0.001 takes the sum to 1.001,
  // outside the window, so the blend stays as it was.
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 1e-14), 0);
  std::vector<double> derivs;
  int status = -1;
  blend({1.0}, kGasoline, 1, 'F', &status, &derivs);
  ASSERT_EQ(status, 0);
  for (int j = 0; j < 7; ++j) EXPECT_EQ(derivs[j], 0.0);
  // Its own points move the blend one for one (exact inverse).
  for (int p = 0; p < 7; ++p) EXPECT_NEAR(derivs[7 * (p + 1) + p], 1.0, 1e-3) << p;
}

TEST_F(D86BlendTest, RepairsRejectionsAndFilledPointsReachTheCaller) {
  const Curve fractions = {1.0};
  Curve curve = {300, 280, 350, 380, 410, 450, 500};
  Curve out(7, -1.0);
  EXPECT_EQ(gfx_D86(1, fractions.data(), curve.data(), out.data(), nullptr, 0, 0, 'F'), 1);
  EXPECT_EQ(out, Curve(7, -1.0));
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_D86(1, fractions.data(), curve.data(), out.data(), nullptr, 0, 0, 'F'), 0);
  EXPECT_EQ(curve[1], 300.5);  // repaired in the caller's array

  // A missing 30 % point is filled in the caller's array.
  Curve gap = kGasoline;
  gap[2] = 1e30;
  EXPECT_EQ(gfx_D86(1, fractions.data(), gap.data(), out.data(), nullptr, 0, 0, 'F'), 0);
  EXPECT_GT(gap[2], gap[1]);
  EXPECT_LT(gap[2], gap[3]);

  Curve good = kGasoline;
  for (int method : {6, -1}) {
    EXPECT_EQ(gfx_D86(1, fractions.data(), good.data(), out.data(), nullptr, method, 0, 'F'), 1);
  }
  const double notOne = 0.9;
  EXPECT_EQ(gfx_D86(1, &notOne, good.data(), out.data(), nullptr, 0, 0, 'F'), 1);
  EXPECT_EQ(gfx_D86(0, fractions.data(), good.data(), out.data(), nullptr, 0, 0, 'F'), 1);
  EXPECT_EQ(gfx_D86(1, nullptr, good.data(), out.data(), nullptr, 0, 0, 'F'), 1);
}

TEST_F(D86BlendTest, LargeBlendsUseTheHeapFallback) {
  const int n = 100;  // above the inline capacity of the work area
  Curve fractions(n, 1.0 / n), curves;
  for (int i = 0; i < n; ++i) curves.insert(curves.end(), kGasoline.begin(), kGasoline.end());
  Curve out(7);
  std::vector<double> derivs(56 * n);
  ASSERT_EQ(gfx_D86(n, fractions.data(), curves.data(), out.data(), derivs.data(), 4, 1, 'F'), 0);
  for (int k = 0; k < 7; ++k) EXPECT_NEAR(out[k], kGasoline[k], kSearch);
}

}  // namespace
