// Vapour-pressure index, the power-law index it rests on, and gravity
// conversions.
#include <gtest/gtest.h>

#include <cmath>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/props.h"

namespace {

class VapourPressureTest : public tarn::testing::LibraryTest {};

TEST_F(VapourPressureTest, IndexAndPressureRoundTripClampAndExponent) {
  for (double rvp : {0.5, 4.2, 15.0, 60.0}) {
    double dIndex = 0.0, dRvp = 0.0;
    const double index = gfx_RVPIndex(rvp, 1, &dIndex);
    EXPECT_NEAR(index, std::pow(rvp, 1.25), 1e-12 * index);
    EXPECT_NEAR(gfx_RVP(index, 1, &dRvp), rvp, 1e-12 * rvp);
    EXPECT_NEAR(gfx_RVP(index, 0, nullptr), rvp, 1e-12 * rvp);
    EXPECT_NEAR(dIndex * dRvp, 1.0, 1e-12);
  }
  // Inputs are clamped into [0.01, 1e10]; the derivative is the slope at the
  // bound, not zero.
  double d = 0.0;
  EXPECT_NEAR(gfx_RVPIndex(-5.0, 1, &d), 0.0031622776601683794, 1e-15);
  EXPECT_NEAR(d, 1.25 * std::pow(0.01, 0.25), 1e-15);
  EXPECT_NEAR(gfx_RVPIndex(1e12, 0, nullptr), std::pow(1e10, 1.25), 1e-3 * std::pow(1e10, 1.25));
  EXPECT_NEAR(gfx_RVP(-3.0, 0, nullptr), std::pow(0.01, 0.8), 1e-15);
  // The exponent is read at each call; 0 leaves the reverse undefined.
  ASSERT_EQ(gfx_setCorParms("REIDVAPORPRESSURE", "", 1.3), 0);
  EXPECT_NEAR(gfx_RVPIndex(8.0, 0, nullptr), std::pow(8.0, 1.3), 1e-12);
  ASSERT_EQ(gfx_setCorParms("REIDVAPORPRESSURE", "", 0.0), 0);
  EXPECT_EQ(gfx_RVP(5.0, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_RVP(5.0, 1, &d), 1e30);
}

TEST(PowerIndex, ForwardAndReverseAreInversesWithTheirDomainEdges) {
  // 2 ((460 + 40) 0.5)^1.7, slope 1.7 y / 500.
  double dForward = 0.0, dReverse = 0.0;
  const double y = gfx_PowerIndexForward(2.0, 1.7, 460.0, 0.5, 40.0, 1, &dForward);
  EXPECT_NEAR(y, 2.0 * std::pow(250.0, 1.7), 1e-9 * y);
  EXPECT_NEAR(dForward, 1.7 * y / 500.0, 1e-9 * y);
  EXPECT_NEAR(gfx_PowerIndexReverse(2.0, 1.7, 460.0, 0.5, y, 1, &dReverse), 40.0, 1e-9);
  EXPECT_NEAR(gfx_PowerIndexReverse(2.0, 1.7, 460.0, 0.5, y, 0, nullptr), 40.0, 1e-9);
  EXPECT_NEAR(dForward * dReverse, 1.0, 1e-12);
  double untouched = 9.0;
  EXPECT_EQ(gfx_PowerIndexForward(1, 2, 5, 1, -5, 1, &untouched), 0.0);  // c + x = 0
  EXPECT_EQ(gfx_PowerIndexForward(1, 2, 5, 1, -6, 1, &untouched), 1e30);
  EXPECT_EQ(untouched, 9.0);
  EXPECT_EQ(gfx_PowerIndexReverse(1, 0, 0, 1, 4, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_PowerIndexReverse(-1, 2, 0, 1, 4, 0, nullptr), 1e30);  // y/a < 0
  EXPECT_EQ(gfx_PowerIndexReverse(1, 2, 3, 1, 0, 1, &untouched), 0.0);  // y = 0 gives 0, not -c
  EXPECT_EQ(untouched, 0.0);
  // Water is 10 API by definition; the slopes are checked through the cetane indices.
  EXPECT_DOUBLE_EQ(gfx_APIfromSPG(1.0, 0, nullptr), 10.0);
  EXPECT_NEAR(gfx_SPGfromAPI(gfx_APIfromSPG(0.85, 0, nullptr), 0, nullptr), 0.85, 1e-14);
}

}  // namespace
