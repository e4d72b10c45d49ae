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

TEST(PowerIndex, ZeroIndexAndGravity) {
  // The general power index is exercised through the cloud and flash point
  // pairs (a and d not 1, c = 460: hand values, round trips, absolute zero)
  // and through the vapour-pressure index (b = 0 above). Left here: y = 0
  // gives 0 rather than -c, with a zero slope.
  double d = 9.0;
  EXPECT_EQ(gfx_PowerIndexReverse(1, 2, 3, 1, 0, 1, &d), 0.0);
  EXPECT_EQ(d, 0.0);
  // Water is 10 API by definition; the slopes are checked through the cetane indices.
  EXPECT_DOUBLE_EQ(gfx_APIfromSPG(1.0, 0, nullptr), 10.0);
  EXPECT_NEAR(gfx_SPGfromAPI(gfx_APIfromSPG(0.85, 0, nullptr), 0, nullptr), 0.85, 1e-14);
}

}  // namespace
