// Percent-off conversions at fixed temperatures, the remapping, repairs, derivative flags, the oxygenate adapter.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "distill/percent_off.h"
#include "distill/remap.h"
#include "params/params.h"
#include "support/fixture.h"
#include "support/temperature.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using Values = std::vector<double>;
using Routine = int (*)(char, const double*, double*);

class PercentOffTest : public tarn::testing::LibraryTest {};

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

Values fromPercentOff(int method, Values percents, char unit) {
  Values curve(7, -1.0);
  EXPECT_EQ(gfx_D86FromPercentOff(method, 0, percents.data(), curve.data(), unit, nullptr), 0) << method << unit;
  return curve;
}

Values remap(const Values& in, int toPercentOff) {
  Values out(toPercentOff ? 10 : 7, -1.0);
  EXPECT_EQ(tarn::distill::RemapD86Curve(7, in.data(), out.data(), toPercentOff), 0);
  return out;
}

TEST_F(PercentOffTest, RoundTripsRecoverTheInnerPointsForEveryMethod) {
  for (char unit : {'F', 'C'}) {
    if (unit == 'C') ConvertD86TempPt();
    // A TBP curve straight in percent (40 + 3.6 p F) is recovered by remapping, per method, both ways.
    const Values tbpF = {40, 76, 148, 220, 292, 364, 400};
    const Values tbp = unit == 'C' ? tarn::testing::celsiusOf(tbpF) : tbpF;
    const Values hc94 = apply(gfx_HC94R, unit, tbp), threeA11 = apply(gfx_THREEA11R, unit, tbp);
    const Values sixOrder = apply(gfx_SIXORDERR_REV, unit, tbp), ethyls = apply(gfx_ETHYLSR_REV, unit, tbp);
    const struct {
      int method;
      Values d86, expected;
      double tolerance;
    } cases[] = {{0, hc94, hc94, 1e-6},
                 {1, threeA11, threeA11, 1e-6},
                 {2, sixOrder, apply(gfx_SIXORDERR, unit, tbp), 5e-3},
                 {3, ethyls, apply(gfx_ETHYLSR, unit, tbp), 5e-3},
                 {4, tbp, tbp, 1e-6},
                 {5, ethyls, ethyls, 5e-3}};
    for (const auto& c : cases) {
      const Values back = fromPercentOff(c.method, toPercentOff(c.method, c.d86, unit), unit);
      for (int k = 1; k < 6; ++k) EXPECT_NEAR(back[k], c.expected[k], c.tolerance) << c.method << unit << k;
      EXPECT_LT(back[0], back[1]);  // the TBP ends are the first and last temperatures
    }
  }
}

TEST_F(PercentOffTest, ChangeDataRepairsTheCallersArrays) {
  Values curve = {300, 280, 350, 380, 410, 450, 500}, percents(10);
  EXPECT_EQ(gfx_D86toPercentOff(4, curve.data(), percents.data(), 'F', 0, nullptr), 0);
  EXPECT_EQ(curve[1], 280.0);  // converted as given
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_D86toPercentOff(4, curve.data(), percents.data(), 'F', 0, nullptr), 0);
  EXPECT_EQ(curve[1], 300.5);
  // Method 4 maps the curve itself; above 5 the forward direction refuses, the reverse maps as 4.
  EXPECT_EQ(gfx_D86toPercentOff(6, curve.data(), percents.data(), 'F', 0, nullptr), 2);
  EXPECT_EQ(fromPercentOff(6, percents, 'F'), fromPercentOff(4, percents, 'F'));
  // Percents are held in [0, 100] and pushed 0.1 above their predecessor; the last is only pushed, never held.
  Values full(10, 100.0), mixed = {-3, 20, 15, 40, 50, 60, 70, 80, 90, 95}, out(7);
  gfx_D86FromPercentOff(4, 0, full.data(), out.data(), 'F', nullptr);
  for (int k = 0; k < 9; ++k) EXPECT_NEAR(full[k], 99.1 + 0.1 * k, 1e-12) << k;
  EXPECT_EQ(full[9], 100.0);
  gfx_D86FromPercentOff(4, 0, mixed.data(), out.data(), 'F', nullptr);
  EXPECT_EQ(mixed[0], 0.0);
  EXPECT_NEAR(mixed[2], 20.1, 1e-12);
}

TEST_F(PercentOffTest, DerivativeFlagsAndConfigurablePointSets) {
  // Intended: curve -> percents writes derivatives whenever an array is given; the other directions follow the flag.
  Values curve = {90, 125, 160, 210, 260, 330, 400}, percents(25, -1.0), out(13, -1.0), d(70, -1.0);
  ASSERT_EQ(gfx_D86toPercentOff(1, curve.data(), percents.data(), 'F', 0, d.data()), 0);
  EXPECT_NE(d[3 * 10 + 4], -1.0);
  d.assign(70, -1.0);
  ASSERT_EQ(gfx_D86FromPercentOff(1, 0, percents.data(), out.data(), 'F', d.data()), 0);
  ASSERT_EQ(gfx_ND86toPercentOff(1, curve.data(), percents.data(), 'F', 0, d.data()), 0);
  EXPECT_EQ(d, Values(70, -1.0));

  // Five curve points on the configurable set: only method 4 can take them.
  ASSERT_EQ(gfx_setCorParms("ND86FROMPERCENTOFF", "NTEMP", 5), 0);
  const double five[5] = {0, 10, 50, 90, 100};
  for (int k = 0; k < 5; ++k) tarn::params().nd86.t[k] = five[k];
  Values fivePoint = {90, 125, 210, 330, 400};
  EXPECT_EQ(gfx_ND86toPercentOff(0, fivePoint.data(), percents.data(), 'F', 0, nullptr), 2);
  ASSERT_EQ(gfx_ND86toPercentOff(4, fivePoint.data(), percents.data(), 'F', 1, d.data()), 0);
  EXPECT_NEAR(percents[4], 10 + 40.0 * 55 / 85, 1e-12);  // 180 F between 125 and 210
  EXPECT_EQ(gfx_ND86FromPercentOff(1, 0, percents.data(), out.data(), 'F', nullptr), 1);
  EXPECT_EQ(gfx_ND86FromPercentOff(4, 0, percents.data(), out.data(), 'F', nullptr), 0);
  ASSERT_EQ(gfx_setCorParms("ND86FROMPERCENTOFF", "NPOFF", 0), 0);
  EXPECT_EQ(gfx_ND86toPercentOff(4, fivePoint.data(), percents.data(), 'F', 0, nullptr), -999);
  EXPECT_EQ(gfx_ND86FromPercentOff(4, 0, percents.data(), out.data(), 'F', nullptr), -999);
}

TEST_F(PercentOffTest, OxygenateAdapterRemovesTheOxygenateWithTheSettingsOfD86FromPercentOff) {
  // The blend's ten percents, the oxygenate's volume, the oxygenate's percents.
  const Values allOxygenate = {2, 9, 17, 30, 44, 63, 87, 92, 96, 99, 100, 5, 20, 40, 60, 80, 100, 100, 100, 100, 100};
  const Values oxygenate(allOxygenate.begin() + 11, allOxygenate.end());
  // Method and unit are those of D86FROMPERCENTOFF (its TYPCOR and CORF).
  ASSERT_EQ(gfx_tarnSetCoefValue(5, 0, 1), 0);
  ASSERT_EQ(gfx_tarnSetCoefValue(5, 1, 0), 0);  // Celsius
  ConvertD86TempPt();
  Values x = allOxygenate, out(7), d(147, -1.0), direct(7);
  ASSERT_EQ(gfx_tarnGenCalc(49, 1, 0, x.data(), out.data(), d.data()), 0);
  gfx_D86FromPercentOff(1, 0, Values(oxygenate).data(), direct.data(), 'C', nullptr);
  EXPECT_EQ(out, direct);  // its own curve, no derivatives
  EXPECT_EQ(d, Values(147, 0.0));
  x = allOxygenate;
  x[10] = 10.0;
  ASSERT_EQ(gfx_tarnGenCalc(49, 1, 0, x.data(), out.data(), d.data()), 0);
  // Intended: the removal divides by 100 - x11 and weighs each oxygenate percent by x11, not by the volume x10.
  EXPECT_NEAR(x[0], (100 * 2 - 5 * 5) / 95.0, 1e-12);
  EXPECT_NEAR(x[3], (100 * 30 - 5 * 60) / 95.0, 1e-12);
  gfx_D86FromPercentOff(1, 0, Values(x.begin(), x.begin() + 10).data(), direct.data(), 'C', nullptr);
  EXPECT_EQ(out, direct);  // its slopes: the derivative walk
}

TEST_F(PercentOffTest, RemapToPercentOffHoldsTheEndsAndBoilsPureComponentsAtOnce) {
  EXPECT_EQ(remap(Values(7, 250.0), 1), (Values{0, 0, 0, 0, 0, 100, 100, 100, 100, 100}));
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MnVolIBP", 2.0), 0);
  EXPECT_EQ(remap({90, 125, 160, 210, 260, 330, 400}, 1)[0], 2.0);  // the grid's end below the curve
  Values out(7);
  EXPECT_EQ(tarn::distill::RemapD86Curve(5, Values(10, 50.0).data(), out.data(), 0), 1);  // seven points only
}

TEST_F(PercentOffTest, RemapToCurveUsesALineOrAQuadraticWhereTheVectorCurves) {
  // 10 % lies between 4 % (70 F) and 16 % (100 F), the next value rising by less than 2 %: the line gives
  // 70 + 6/12 * 30. The ends are the first and last temperatures.
  const Values line = remap({0, 4, 16, 16.2, 40, 50, 60, 70, 80, 100}, 0);
  EXPECT_NEAR(line[1], 85.0, 1e-12);
  EXPECT_EQ(line[0], 30.0);
  EXPECT_EQ(line[6], 450.0);
  EXPECT_EQ(remap({12, 20, 30, 40, 50, 60, 70, 80, 90, 95}, 0)[1], 30.0);  // already past 10 %
  // Percent = 0.001 T^2 at 30 .. 250 F: quadratics through three values give 10, 30, 50 % exactly.
  Values percents = {0.9, 4.9, 10, 19.6, 32.4, 62.5, 80, 90, 95, 97};
  const Values curve = remap(percents, 0);
  EXPECT_NEAR(curve[1], 100.0, 1e-9);
  EXPECT_NEAR(curve[2], std::sqrt(30000.0), 1e-9);
  EXPECT_NEAR(curve[3], std::sqrt(50000.0), 1e-9);
  EXPECT_EQ(percents[9], 97.0);  // read as 100 but left as given
  // No eleventh value near the top: 10 % and 30 % between 5 % (390 F) and 100 % (450 F) use the line.
  const Values top = remap({0, 0, 0, 0, 0, 0, 0, 0, 5, 50}, 0);
  EXPECT_NEAR(top[1], 390 + 5.0 / 95 * 60, 1e-9);
  EXPECT_NEAR(top[2], 390 + 25.0 / 95 * 60, 1e-9);
  for (double t : top) EXPECT_TRUE(std::isfinite(t));
}

}  // namespace
