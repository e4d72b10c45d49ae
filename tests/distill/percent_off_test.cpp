// Percent-off conversions: D86 curve <-> percent evaporated at fixed
// temperatures on the standard and configurable point sets, their repairs,
// derivatives and the oxygenate adapter.
#include <gtest/gtest.h>

#include <vector>

#include "distill/percent_off.h"
#include "params/params.h"
#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using Values = std::vector<double>;
using Routine = int (*)(char, const double*, double*);

class PercentOffTest : public tarn::testing::LibraryTest {};

double toC(double f) { return (f - 32.0) / 1.8; }

// A TBP curve straight in percent, 40 + 3.6 p F: the ten percents read off it
// lie on one line, so remapping them back recovers its inner points exactly.
Values straightTbp(char unit) {
  Values t;
  for (double p : {0.0, 10.0, 30.0, 50.0, 70.0, 90.0, 100.0}) {
    const double f = 40.0 + 3.6 * p;
    t.push_back(unit == 'C' ? toC(f) : f);
  }
  return t;
}

Values apply(Routine r, char unit, const Values& in) {
  Values out(7);
  EXPECT_EQ(r(unit, in.data(), out.data()), 0);
  return out;
}

Values toPercentOff(int method, Values curve, char unit) {
  Values percents(10, -1.0);
  EXPECT_EQ(gfx_D86toPercentOff(method, curve.data(), percents.data(), unit, 0, nullptr), 0);
  return percents;
}

Values fromPercentOff(int method, Values percents, char unit, int* status = nullptr) {
  Values curve(7, -1.0);
  const int s = gfx_D86FromPercentOff(method, 0, percents.data(), curve.data(), unit, nullptr);
  if (status != nullptr) *status = s;
  return curve;
}

TEST_F(PercentOffTest, RoundTripsRecoverTheInnerPointsForEveryMethod) {
  for (char unit : {'F', 'C'}) {
    if (unit == 'C') ConvertD86TempPt();
    const Values tbp = straightTbp(unit);
    // For each method a D86 curve whose forward conversion is the straight
    // TBP curve, and the inner points the reverse conversion then gives.
    struct Case { int method; Values d86; Values expected; double tolerance; };
    const Values hc94 = apply(gfx_HC94R, unit, tbp), threeA11 = apply(gfx_THREEA11R, unit, tbp);
    const Values sixOrder = apply(gfx_SIXORDERR_REV, unit, tbp), ethyls = apply(gfx_ETHYLSR_REV, unit, tbp);
    const Case cases[] = {{0, hc94, hc94, 1e-6},
                          {1, threeA11, threeA11, 1e-6},
                          {2, sixOrder, apply(gfx_SIXORDERR, unit, tbp), 5e-3},
                          {3, ethyls, apply(gfx_ETHYLSR, unit, tbp), 5e-3},
                          {4, tbp, tbp, 1e-6},
                          {5, ethyls, ethyls, 5e-3}};
    for (const Case& c : cases) {
      int status = -1;
      const Values back = fromPercentOff(c.method, toPercentOff(c.method, c.d86, unit), unit, &status);
      ASSERT_EQ(status, 0) << c.method << unit;
      for (int k = 1; k < 6; ++k) {
        EXPECT_NEAR(back[k], c.expected[k], c.tolerance) << "method " << c.method << unit << " point " << k;
      }
      // The TBP ends are the first and last temperature points.
      EXPECT_LT(back[0], back[1]);
    }
  }
}

TEST_F(PercentOffTest, MethodFourMapsTheCurveItself) {
  // Temperatures 30, 70, 100, 140, 180, 250, 330, 360, 390, 450 F.
  const Values got = toPercentOff(4, {90, 125, 160, 210, 260, 330, 400}, 'F');
  const Values want = {0, 0, 10.0 * 10 / 35, 10 + 20.0 * 15 / 35, 38, 66, 90,
                       90 + 10.0 * 30 / 70, 90 + 10.0 * 60 / 70, 100};
  for (int i = 0; i < 10; ++i) EXPECT_NEAR(got[i], want[i], 1e-12) << i;
  // Above 5 the forward direction refuses; the reverse one maps unchanged.
  Values curve = {90, 125, 160, 210, 260, 330, 400}, percents(10);
  EXPECT_EQ(gfx_D86toPercentOff(6, curve.data(), percents.data(), 'F', 0, nullptr), 2);
  EXPECT_EQ(fromPercentOff(6, want, 'F'), fromPercentOff(4, want, 'F'));
}

TEST_F(PercentOffTest, ChangeDataRepairsTheCallersArrays) {
  Values curve = {300, 280, 350, 380, 410, 450, 500}, percents(10);
  EXPECT_EQ(gfx_D86toPercentOff(4, curve.data(), percents.data(), 'F', 0, nullptr), 0);
  EXPECT_EQ(curve[1], 280.0);  // converted as given
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_D86toPercentOff(4, curve.data(), percents.data(), 'F', 0, nullptr), 0);
  EXPECT_EQ(curve[1], 300.5);

  Values full(10, 100.0), out(7);
  gfx_D86FromPercentOff(4, 0, full.data(), out.data(), 'F', nullptr);
  for (int k = 0; k < 9; ++k) EXPECT_NEAR(full[k], 99.1 + 0.1 * k, 1e-12) << k;
  EXPECT_EQ(full[9], 100.0);
  Values mixed = {-3, 20, 15, 40, 50, 60, 70, 80, 90, 95};
  gfx_D86FromPercentOff(4, 0, mixed.data(), out.data(), 'F', nullptr);
  EXPECT_EQ(mixed[0], 0.0);
  EXPECT_NEAR(mixed[2], 20.1, 1e-12);
}

TEST_F(PercentOffTest, DerivativesMatchCentralDifferencesWithTheirOwnFlagRules) {
  const Values d86 = apply(gfx_THREEA11R, 'F', straightTbp('F'));
  const auto to = [](const Values& x) { return toPercentOff(1, x, 'F'); };
  Values curve = d86, percents(10), derivs(70, -1.0);
  // An array given with the flag off still gets the derivatives.
  ASSERT_EQ(gfx_D86toPercentOff(1, curve.data(), percents.data(), 'F', 0, derivs.data()), 0);
  tarn::testing::expectJacobianNear(derivs, tarn::testing::centralJacobian(to, d86, 10), 10, 2e-2, 1e-3, "to");

  // The reverse direction on a curving vector (on a straight one the quadratic
  // inversion sits at its switch to the line).
  percents = toPercentOff(1, {91.3, 124.7, 161.2, 208.9, 262.3, 331.6, 402.1}, 'F');
  const auto from = [](const Values& x) { return fromPercentOff(1, x, 'F'); };
  Values back(7), fromDerivs(70, -1.0);
  ASSERT_EQ(gfx_D86FromPercentOff(1, 0, percents.data(), back.data(), 'F', fromDerivs.data()), 0);
  EXPECT_EQ(fromDerivs, Values(70, -1.0));  // no flag, no derivatives
  ASSERT_EQ(gfx_D86FromPercentOff(1, 1, percents.data(), back.data(), 'F', fromDerivs.data()), 0);
  tarn::testing::expectJacobianNear(fromDerivs, tarn::testing::centralJacobian(from, percents, 7), 7, 2e-2, 1e-3, "from");
}

TEST_F(PercentOffTest, ConfigurablePointSetsFollowTheirCountsAndPoints) {
  Values curve = {90, 125, 160, 210, 260, 330, 400}, percents(25, -1.0), out(13, -1.0);
  // Defaults: the standard sets.
  ASSERT_EQ(gfx_ND86toPercentOff(0, curve.data(), percents.data(), 'F', 0, nullptr), 0);
  const Values standard = toPercentOff(0, curve, 'F');
  for (int i = 0; i < 10; ++i) EXPECT_EQ(percents[i], standard[i]);
  EXPECT_EQ(percents[10], -1.0);
  ASSERT_EQ(gfx_ND86FromPercentOff(0, 0, percents.data(), out.data(), 'F', nullptr), 0);
  EXPECT_EQ(Values(out.begin(), out.begin() + 7), fromPercentOff(0, standard, 'F'));

  // Five curve points: only method 4 can take them.
  ASSERT_EQ(gfx_setCorParms("ND86FROMPERCENTOFF", "NTEMP", 5), 0);
  const double five[5] = {0, 10, 50, 90, 100};
  for (int k = 0; k < 5; ++k) tarn::params().nd86.t[k] = five[k];
  Values fivePoint = {90, 125, 210, 330, 400};
  EXPECT_EQ(gfx_ND86toPercentOff(0, fivePoint.data(), percents.data(), 'F', 0, nullptr), 2);
  Values d(50, -1.0);
  ASSERT_EQ(gfx_ND86toPercentOff(4, fivePoint.data(), percents.data(), 'F', 1, d.data()), 0);
  EXPECT_NEAR(percents[4], 10 + 40.0 * 55 / 85, 1e-12);  // 180 F between 125 and 210
  EXPECT_NEAR(d[2 * 10 + 4], -40.0 * 55 / 85 / 85, 1e-3);  // moving the 50 % point
  EXPECT_EQ(gfx_ND86FromPercentOff(1, 0, percents.data(), out.data(), 'F', nullptr), 1);
  EXPECT_EQ(gfx_ND86FromPercentOff(4, 0, percents.data(), out.data(), 'F', nullptr), 0);

  ASSERT_EQ(gfx_setCorParms("ND86FROMPERCENTOFF", "NPOFF", 0), 0);
  EXPECT_EQ(gfx_ND86toPercentOff(4, fivePoint.data(), percents.data(), 'F', 0, nullptr), -999);
  EXPECT_EQ(gfx_ND86FromPercentOff(4, 0, percents.data(), out.data(), 'F', nullptr), -999);
}

TEST_F(PercentOffTest, OxygenateAdapterRemovesTheOxygenateAsSpecifiedBySettings) {
  using tarn::distill::d86FromPercentOffWithoutOxygenate;
  const Values blendPercents = {2, 9, 17, 30, 44, 63, 87, 92, 96, 99};
  const Values oxygenate = {5, 20, 40, 60, 80, 100, 100, 100, 100, 100};
  auto inputs = [&](double volume) {
    Values x = blendPercents;
    x.push_back(volume);
    x.insert(x.end(), oxygenate.begin(), oxygenate.end());
    return x;
  };
  // Method and unit are those of D86FROMPERCENTOFF.
  tarn::params().settings.typcor[5] = 1;
  tarn::params().settings.corf[5] = 0;  // Celsius
  ConvertD86TempPt();
  Values out(7), d(147, -1.0);

  Values x = inputs(0.1);  // negligible: converted as it is
  ASSERT_EQ(d86FromPercentOffWithoutOxygenate(x.data(), out.data(), 1, d.data()), 0);
  Values direct(7), directD(70);
  gfx_D86FromPercentOff(1, 1, Values(blendPercents).data(), direct.data(), 'C', directD.data());
  EXPECT_EQ(out, direct);
  EXPECT_EQ(Values(d.begin(), d.begin() + 70), directD);
  for (int k = 70; k < 147; ++k) EXPECT_EQ(d[k], 0.0);

  x = inputs(100.0);  // all oxygenate: its own curve, no derivatives
  ASSERT_EQ(d86FromPercentOffWithoutOxygenate(x.data(), out.data(), 1, d.data()), 0);
  gfx_D86FromPercentOff(1, 0, Values(oxygenate).data(), direct.data(), 'C', nullptr);
  EXPECT_EQ(out, direct);
  EXPECT_EQ(d, Values(147, 0.0));

  x = inputs(10.0);
  ASSERT_EQ(d86FromPercentOffWithoutOxygenate(x.data(), out.data(), 1, d.data()), 0);
  // The removal divides by 100 - x11 and weighs each oxygenate percent by x11.
  EXPECT_NEAR(x[0], (100 * 2 - 5 * 5) / 95.0, 1e-12);
  EXPECT_NEAR(x[3], (100 * 30 - 5 * 60) / 95.0, 1e-12);
  Values removed(x.begin(), x.begin() + 10);
  gfx_D86FromPercentOff(1, 1, removed.data(), direct.data(), 'C', directD.data());
  EXPECT_EQ(out, direct);
  for (int k = 0; k < 70; ++k) EXPECT_NEAR(d[k], directD[k] * 100 / 90, 1e-12);
  for (int k = 77; k < 147; ++k) EXPECT_EQ(d[k], 0.0);
}

}  // namespace
