// Remapping between seven-point curves and percent-off vectors.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "distill/remap.h"
#include "support/fixture.h"
#include "tarn/corparms.h"

namespace {

using tarn::distill::RemapD86Curve;
using Values = std::vector<double>;

class RemapTest : public tarn::testing::LibraryTest {};

Values toPercentOff(const Values& curve) {
  Values out(10, -1.0);
  EXPECT_EQ(RemapD86Curve(7, curve.data(), out.data(), 1), 0);
  return out;
}

Values toCurve(const Values& percents) {
  Values out(7, -1.0);
  EXPECT_EQ(RemapD86Curve(7, percents.data(), out.data(), 0), 0);
  return out;
}

TEST_F(RemapTest, CurveToPercentOffHoldsTheEndsAndBoilsPureComponentsAtOnce) {
  // A pure component boils at once: 0 below its boiling point, 100 from it on.
  EXPECT_EQ(toPercentOff(Values(7, 250.0)), (Values{0, 0, 0, 0, 0, 100, 100, 100, 100, 100}));

  // The grid ends apply outside the curve.
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MnVolIBP", 2.0), 0);
  EXPECT_EQ(toPercentOff({90, 125, 160, 210, 260, 330, 400})[0], 2.0);
}

TEST_F(RemapTest, PercentOffToCurveUsesTheLineWhereTheVectorDoesNotCurve) {
  // 10 % lies between 4 % (70 F) and 16 % (100 F); the next value rises by
  // less than 2 %, so the line gives 70 + 6/12 * 30.
  const Values curve = toCurve({0, 4, 16, 16.2, 40, 50, 60, 70, 80, 100});
  EXPECT_NEAR(curve[1], 85.0, 1e-12);
  EXPECT_EQ(curve[0], 30.0);   // first temperature
  EXPECT_EQ(curve[6], 450.0);  // last temperature
  // A first value already at 10 % puts the 10 % point at the first temperature.
  EXPECT_EQ(toCurve({12, 20, 30, 40, 50, 60, 70, 80, 90, 95})[1], 30.0);
}

TEST_F(RemapTest, PercentOffToCurveReadsCurvingStretchesWithAQuadratic) {
  // Percent = 0.001 T^2 at 30 .. 250 F: the 10, 30 and 50 % points come from
  // quadratics through three of these values and are exact.
  const Values percents = {0.9, 4.9, 10, 19.6, 32.4, 62.5, 80, 90, 95, 100};
  const Values curve = toCurve(percents);
  EXPECT_NEAR(curve[1], 100.0, 1e-9);
  EXPECT_NEAR(curve[2], std::sqrt(30000.0), 1e-9);
  EXPECT_NEAR(curve[3], std::sqrt(50000.0), 1e-9);
  // The source is left as given although the last value is read as 100.
  Values source = percents;
  source[9] = 97.0;
  const Values before = source;
  toCurve(source);
  EXPECT_EQ(source, before);
}

TEST_F(RemapTest, ForwardCurvatureTestNearTheTopHasNoEleventhValue) {
  // 10 % and 30 % both fall between the last two values (5 % at 390 F, 100 %
  // at 450 F): with no value after the last the test fails and the line is used.
  const Values curve = toCurve({0, 0, 0, 0, 0, 0, 0, 0, 5, 50});
  EXPECT_NEAR(curve[1], 390 + 5.0 / 95 * 60, 1e-9);
  EXPECT_NEAR(curve[2], 390 + 25.0 / 95 * 60, 1e-9);
  // The upper points look back and use the quadratic; they stay finite.
  for (double t : curve) EXPECT_TRUE(std::isfinite(t));
}

TEST_F(RemapTest, OnlySevenPointCurvesAreRemapped) {
  Values out(7);
  const Values source(10, 50.0);
  EXPECT_EQ(RemapD86Curve(5, source.data(), out.data(), 0), 1);
}

}  // namespace
