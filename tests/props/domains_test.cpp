// Single-property correlations at their domain edges, with and without ChangeData (worked values by index).
#include <gtest/gtest.h>

#include <cmath>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/props.h"

namespace {

using PropertyDomains = tarn::testing::LibraryTest;

bool changeData() { return gfx_setCorParms("TARN", "ChangeData", 1.0) == 0; }

TEST_F(PropertyDomains, CetaneIndicesAndImprover) {
  for (auto index : {gfx_CetaneIndex4, gfx_CetaneIndex5}) {
    EXPECT_NE(index(0, 'C', 0.85, 250.0, 250.0, 250.0, nullptr), 1e30);  // equal points are in order
    EXPECT_EQ(index(0, 'C', 0.85, 200.0, 260.0, 259.0, nullptr), 1e30);
  }
  EXPECT_EQ(gfx_CetaneIndex2(0, 'C', 0.85, -17.7777777777777777, nullptr), 1e30);  // 0 F
  // The second improver curve has its own group and adds the base cetane.
  ASSERT_EQ(gfx_setCorParms("CETANEIMPROVER2", "P1", 0.34804), 0);
  EXPECT_NEAR(gfx_CetaneImprover2(0, 'F', 0.85, 500.0, 0.1, 40.0, nullptr), 40.0 + 2 * 5.421694, 2e-6);
  const double emptying = -1.0 / 17.5523;  // the dose that empties the logarithm
  EXPECT_FALSE(std::isfinite(gfx_CetaneImprover(0, 'F', 0.85, 500.0, emptying, nullptr)));
  ASSERT_TRUE(changeData());
  for (auto index : {gfx_CetaneIndex4, gfx_CetaneIndex5}) {
    // T50 is pushed to T10 + 0.5 in the caller's unit, then T90 above it.
    EXPECT_EQ(index(0, 'C', 0.85, 250.0, 240.0, 250.0, nullptr), index(0, 'C', 0.85, 250.0, 250.5, 251.0, nullptr));
  }
  // Intended: a repaired gravity skips the temperature check, so 0 F is kept.
  EXPECT_FALSE(std::isfinite(gfx_CetaneIndex2(0, 'F', -1.0, 0.0, nullptr)));
  EXPECT_TRUE(std::isfinite(gfx_CetaneIndex2(0, 'F', 0.0001, 0.0, nullptr)));
  // The dose is moved just inside the domain, on either side.
  EXPECT_EQ(gfx_CetaneImprover(0, 'F', 0.85, 500.0, -3.0, nullptr),
            gfx_CetaneImprover(0, 'F', 0.85, 500.0, 0.0001 + emptying, nullptr));
  ASSERT_EQ(gfx_setCorParms("CETANEIMPROVER", "P7", -17.5523), 0);
  EXPECT_EQ(gfx_CetaneImprover(0, 'F', 0.85, 500.0, 3.0, nullptr),
            gfx_CetaneImprover(0, 'F', 0.85, 500.0, -emptying - 0.0001, nullptr));
  ASSERT_EQ(gfx_setCorParms("CETANEIMPROVER", "P7", 0.0) + gfx_setCorParms("CETANEIMPROVER", "P6", -1.0), 0);
  EXPECT_EQ(gfx_CetaneImprover(0, 'F', 0.85, 500.0, 0.1, nullptr), 1e30);  // no dose moves it inside
}

TEST_F(PropertyDomains, ColdFlowAndFlashPoints) {
  EXPECT_EQ(gfx_CloudPointIndex3('F', -460.0, 0, nullptr), 0.0);  // absolute zero
  EXPECT_EQ(gfx_CloudPointIndex3('C', -274.0, 0, nullptr), 1e30);
  for (int want : {0, 1}) {
    // Intended: an index of 0 reads as 0 F, and a Celsius caller gets even the missing value converted.
    double d = 0.0;
    EXPECT_NEAR(gfx_FlashPoint1('C', 0.0, want, &d), -17.777777777777779, 1e-12);
    EXPECT_EQ(gfx_FlashPoint1('C', -1.0, want, &d), (1e30 - 32.0) * 5.0 / 9.0);
  }
  // Pour point pair 2 (outside the catalogue): exp(0.0354662 * 10 + 2.197062).
  EXPECT_NEAR(gfx_PourPointIndex2('F', 10.0, 0, nullptr), 12.82920, 1e-5);
  // Pair 1 rejects -460 F itself, pair 2 0 F itself, the reverses non-positive indices.
  const double b = -73.0883, a = 12.885, c = 2.197062, k = 0.0354662;
  EXPECT_EQ(gfx_PourPointIndex1('F', -460.0, 0, nullptr), 1e30);
  EXPECT_NEAR(gfx_PourPointIndex1('F', -459.0, 0, nullptr), std::exp(b), 1e-40);  // ln 1 = 0
  EXPECT_EQ(gfx_PourPointIndex2('C', -17.7777777777777777, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_PourPoint1('F', 0.0, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_PourPoint2('C', -3.0, 0, nullptr), 1e30);
  ASSERT_TRUE(changeData());  // each moved to 0.0001 inside
  EXPECT_NEAR(gfx_PourPointIndex1('F', -460.0, 0, nullptr), std::exp(a * std::log(0.0001) + b), 1e-80);
  EXPECT_NEAR(gfx_PourPointIndex2('F', -10.0, 0, nullptr), std::exp(k * 0.0001 + c), 1e-12);
  EXPECT_NEAR(gfx_PourPoint1('F', -5.0, 0, nullptr), std::exp((std::log(0.0001) - b) / a) - 460.0, 1e-9);
  EXPECT_NEAR(gfx_PourPoint2('C', 0.0, 0, nullptr), ((std::log(0.0001) - c) / k - 32.0) * 5.0 / 9.0, 1e-9);
}

TEST_F(PropertyDomains, OctaneVapourPressureGravityAndDrivability) {
  // Octane index: 43.196 + 0.00137 x^2.1 | 50.896 + 6.1e-9 x^4.75 | -103.32 + 17.3621 x^0.5; a threshold
  // goes to the segment above (76.85: 56.4185, not 55.6863; 95.937: 66.73732, not 66.73632).
  const double octane[][3] = {
      {100.0, 70.301, 1e-12}, {76.849, 55.6860, 1e-4}, {76.85, 56.4185, 1e-4}, {95.937, 66.73732, 1e-5}};
  for (const auto& o : octane) EXPECT_NEAR(gfx_OctaneIndex(o[0], 0, nullptr), o[1], o[2]) << o[0];
  // Vapour pressure inputs are clamped into [0.01, 1e10]; the slope is that at the bound.
  double d = 0.0;
  EXPECT_NEAR(gfx_RVPIndex(-5.0, 1, &d), 0.0031622776601683794, 1e-15);
  EXPECT_NEAR(d, 1.25 * std::pow(0.01, 0.25), 1e-15);
  EXPECT_NEAR(gfx_RVPIndex(1e12, 0, nullptr), std::pow(1e10, 1.25), 1e-3 * std::pow(1e10, 1.25));
  EXPECT_NEAR(gfx_RVP(-3.0, 0, nullptr), std::pow(0.01, 0.8), 1e-15);
  ASSERT_EQ(gfx_setCorParms("REIDVAPORPRESSURE", "", 0.0), 0);
  EXPECT_EQ(gfx_RVP(5.0, 1, &d), 1e30);  // an exponent of 0 leaves the reverse undefined
  // The power index at y = 0 gives 0 rather than -c, with a zero slope.
  EXPECT_EQ(gfx_PowerIndexReverse(1, 2, 3, 1, 0, 1, &d), 0.0);
  EXPECT_EQ(d, 0.0);
  EXPECT_DOUBLE_EQ(gfx_APIfromSPG(1.0, 0, nullptr), 10.0);  // water is 10 API by definition
  EXPECT_NEAR(gfx_SPGfromAPI(gfx_APIfromSPG(0.85, 0, nullptr), 0, nullptr), 0.85, 1e-14);
  // The drivability weights (here P2 and EF) are read from the block at each call.
  ASSERT_EQ(gfx_setCorParms("DRIVEABILITYINDEX", "P2", 2.0) + gfx_setCorParms("DRIVEABILITYINDEX", "EF", 3.6), 0);
  EXPECT_NEAR(gfx_DriveabilityIndexE(0, 'C', 50.0, 100.0, 170.0, nullptr, 10.0), 445.0 + 20.0, 1e-9);
}

TEST_F(PropertyDomains, ViscosityAgreesWithRefutasAndOnlyVariantOneRejectsItsBound) {
  // VBN = 74.98240 - 1.466650 VBI, VBI = 14.534 ln ln(v + 0.8) + 10.975 (published constants rounded).
  for (double nu : {1.0, 5.0, 10.0, 100.0, 1000.0}) {
    const double refutas = 14.534 * std::log(std::log(nu + 0.8)) + 10.975;
    EXPECT_NEAR(gfx_ViscosityIndex3(nu, 0, nullptr), 74.98240 - 1.466650 * refutas, 5e-5) << nu;
  }
  // Intended: variant 1 rejects its bound 0.92; 2 and 3 compute the double log of 1 there and reject only below.
  EXPECT_EQ(gfx_ViscosityIndex1(0.92, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_ViscosityIndex2(0.2, 0, nullptr), -HUGE_VAL);
  EXPECT_EQ(gfx_ViscosityIndex3(0.2, 0, nullptr), HUGE_VAL);
  EXPECT_EQ(gfx_ViscosityIndex2(0.19, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_ViscosityIndex3(0.19, 0, nullptr), 1e30);
  ASSERT_TRUE(changeData());
  EXPECT_NEAR(gfx_ViscosityIndex1(0.92, 0, nullptr), std::log10(std::log10(1.0001)), 1e-9);
  EXPECT_EQ(gfx_ViscosityIndex2(0.2, 0, nullptr), -HUGE_VAL);  // the bound itself is not repaired
  EXPECT_EQ(gfx_ViscosityIndex3(0.1, 0, nullptr), gfx_ViscosityIndex3(0.2001, 0, nullptr));
}

}  // namespace
