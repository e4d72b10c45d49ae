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

Values remap(const Values& in, int toPercentOff) {
  Values out(toPercentOff ? 10 : 7, -1.0);
  EXPECT_EQ(RemapD86Curve(7, in.data(), out.data(), toPercentOff), 0);
  return out;
}

TEST_F(RemapTest, CurveToPercentOffHoldsTheEndsAndBoilsPureComponentsAtOnce) {
  EXPECT_EQ(remap(Values(7, 250.0), 1), (Values{0, 0, 0, 0, 0, 100, 100, 100, 100, 100}));
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MnVolIBP", 2.0), 0);
  EXPECT_EQ(remap({90, 125, 160, 210, 260, 330, 400}, 1)[0], 2.0);  // the grid's end below the curve
  Values out(7);
  EXPECT_EQ(RemapD86Curve(5, Values(10, 50.0).data(), out.data(), 0), 1);  // seven points only
}

TEST_F(RemapTest, PercentOffToCurveUsesALineOrAQuadraticWhereTheVectorCurves) {
  // 10 % lies between 4 % (70 F) and 16 % (100 F); the next value rises by
  // less than 2 %, so the line gives 70 + 6/12 * 30. The ends are the first
  // and last temperatures.
  const Values line = remap({0, 4, 16, 16.2, 40, 50, 60, 70, 80, 100}, 0);
  EXPECT_NEAR(line[1], 85.0, 1e-12);
  EXPECT_EQ(line[0], 30.0);
  EXPECT_EQ(line[6], 450.0);
  EXPECT_EQ(remap({12, 20, 30, 40, 50, 60, 70, 80, 90, 95}, 0)[1], 30.0);  // already past 10 %
  // Percent = 0.001 T^2 at 30 .. 250 F: the 10, 30 and 50 % points come from
  // quadratics through three of these values and are exact.
  Values percents = {0.9, 4.9, 10, 19.6, 32.4, 62.5, 80, 90, 95, 97};
  const Values curve = remap(percents, 0);
  EXPECT_NEAR(curve[1], 100.0, 1e-9);
  EXPECT_NEAR(curve[2], std::sqrt(30000.0), 1e-9);
  EXPECT_NEAR(curve[3], std::sqrt(50000.0), 1e-9);
  EXPECT_EQ(percents[9], 97.0);  // read as 100 but left as given
  // Near the top there is no eleventh value to test the curvature against:
  // 10 % and 30 % between 5 % at 390 F and 100 % at 450 F come from the line.
  const Values top = remap({0, 0, 0, 0, 0, 0, 0, 0, 5, 50}, 0);
  EXPECT_NEAR(top[1], 390 + 5.0 / 95 * 60, 1e-9);
  EXPECT_NEAR(top[2], 390 + 25.0 / 95 * 60, 1e-9);
  for (double t : top) EXPECT_TRUE(std::isfinite(t));
}

}  // namespace
