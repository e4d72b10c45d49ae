// Vapour-pressure index, power-law indices and gravity conversions.
#include <gtest/gtest.h>

#include <cmath>

#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/props.h"

namespace {

using tarn::testing::centralDifference;
using tarn::testing::derivativeNear;

class VapourPressureTest : public tarn::testing::LibraryTest {};

TEST_F(VapourPressureTest, IndexAndPressureRoundTripWithTheirDerivatives) {
  for (double rvp : {0.5, 1.0, 4.2, 7.0, 8.0, 11.5, 15.0, 60.0}) {
    double dIndex = 0.0, dRvp = 0.0;
    const double index = gfx_RVPIndex(rvp, 1, &dIndex);
    EXPECT_NEAR(index, std::pow(rvp, 1.25), 1e-12 * index);
    EXPECT_NEAR(gfx_RVP(index, 1, &dRvp), rvp, 1e-12 * rvp);
    EXPECT_NEAR(gfx_RVP(index, 0, nullptr), rvp, 1e-12 * rvp);
    EXPECT_TRUE(derivativeNear(dIndex, centralDifference([](double x) { return gfx_RVPIndex(x, 0, nullptr); }, rvp)));
    EXPECT_TRUE(derivativeNear(dRvp, centralDifference([](double x) { return gfx_RVP(x, 0, nullptr); }, index)));
    EXPECT_NEAR(dIndex * dRvp, 1.0, 1e-12);  // inverse functions
  }
}

TEST_F(VapourPressureTest, ExponentIsReadAtEveryCall) {
  ASSERT_EQ(gfx_setCorParms("reidvaporpressure", "anything", 1.3), 0);
  EXPECT_NEAR(gfx_RVPIndex(8.0, 0, nullptr), std::pow(8.0, 1.3), 1e-12);
  EXPECT_NEAR(gfx_RVP(std::pow(8.0, 1.3), 0, nullptr), 8.0, 1e-12);
  // An exponent of 0 leaves the reverse undefined with or without derivative.
  ASSERT_EQ(gfx_setCorParms("REIDVAPORPRESSURE", "", 0.0), 0);
  double d = -7.0;
  EXPECT_EQ(gfx_RVP(5.0, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_RVP(5.0, 1, &d), 1e30);
  // A negative exponent gives the finite reciprocal power, not a failure.
  ASSERT_EQ(gfx_setCorParms("REIDVAPORPRESSURE", "", -2.0), 0);
  EXPECT_NEAR(gfx_RVP(4.0, 0, nullptr), 0.5, 1e-15);
}

TEST_F(VapourPressureTest, InputsAreClampedAndDerivativeIsTheSlopeAtTheBound) {
  const double atFloor = std::pow(0.01, 1.25);  // 0.003162...
  EXPECT_NEAR(gfx_RVPIndex(0.0, 0, nullptr), atFloor, 1e-15);
  EXPECT_NEAR(gfx_RVPIndex(-5.0, 0, nullptr), atFloor, 1e-15);
  EXPECT_NEAR(atFloor, 0.0031622776601683794, 1e-15);
  double d = 0.0;
  gfx_RVPIndex(-5.0, 1, &d);
  EXPECT_NEAR(d, 1.25 * std::pow(0.01, 0.25), 1e-15);  // not zero
  EXPECT_NEAR(gfx_RVPIndex(1e12, 0, nullptr), std::pow(1e10, 1.25), 1e-3 * std::pow(1e10, 1.25));
  EXPECT_NEAR(gfx_RVP(-3.0, 0, nullptr), std::pow(0.01, 0.8), 1e-15);
  // The flag decides: no write without it.
  d = 42.0;
  gfx_RVPIndex(8.0, 0, &d);
  gfx_RVP(8.0, 0, &d);
  EXPECT_EQ(d, 42.0);
}

TEST(PowerIndex, ForwardAndReverseAreInversesWithZeroAndNegativeBases) {
  double dForward = 0.0, dReverse = 0.0;
  // Index a*((c + x)*d)^b with a shifted, scaled base.
  const double y = gfx_PowerIndexForward(2.0, 1.7, 460.0, 0.5, 40.0, 1, &dForward);
  EXPECT_NEAR(y, 2.0 * std::pow(250.0, 1.7), 1e-9 * y);
  EXPECT_NEAR(gfx_PowerIndexReverse(2.0, 1.7, 460.0, 0.5, y, 1, &dReverse), 40.0, 1e-9);
  EXPECT_NEAR(dForward * dReverse, 1.0, 1e-12);
  EXPECT_TRUE(derivativeNear(dForward, centralDifference([](double x) {
    return gfx_PowerIndexForward(2.0, 1.7, 460.0, 0.5, x, 0, nullptr); }, 40.0)));

  double untouched = 9.0;
  EXPECT_EQ(gfx_PowerIndexForward(1, 2, 5, 1, -5, 1, &untouched), 0.0);  // c + x = 0
  EXPECT_EQ(gfx_PowerIndexForward(1, 2, 5, 1, -6, 1, &untouched), 1e30);
  EXPECT_EQ(gfx_PowerIndexForward(1, 2, 5, -1, 1, 1, &untouched), 1e30);
  EXPECT_EQ(untouched, 9.0);

  EXPECT_EQ(gfx_PowerIndexReverse(0, 2, 0, 1, 4, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_PowerIndexReverse(1, 0, 0, 1, 4, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_PowerIndexReverse(1, 2, 0, 0, 4, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_PowerIndexReverse(-1, 2, 0, 1, 4, 0, nullptr), 1e30);  // y/a < 0
  double d = 5.0;
  EXPECT_EQ(gfx_PowerIndexReverse(1, 2, 3, 1, 0, 1, &d), 0.0);  // y = 0 gives 0, not -c
  EXPECT_EQ(d, 0.0);
}

TEST(Gravity, ApiAndSpecificGravityConvertBothWays) {
  EXPECT_DOUBLE_EQ(gfx_APIfromSPG(1.0, 0, nullptr), 10.0);
  EXPECT_DOUBLE_EQ(gfx_SPGfromAPI(10.0, 0, nullptr), 1.0);
  for (double spg : {0.65, 0.72, 0.85, 0.95}) {
    double dApi = 0.0, dSpg = 0.0;
    const double api = gfx_APIfromSPG(spg, 1, &dApi);
    EXPECT_NEAR(gfx_SPGfromAPI(api, 1, &dSpg), spg, 1e-14);
    EXPECT_NEAR(dApi * dSpg, 1.0, 1e-12);
    EXPECT_TRUE(derivativeNear(dApi, centralDifference([](double s) { return gfx_APIfromSPG(s, 0, nullptr); }, spg)));
  }
}

}  // namespace
