// Distillation-derived indices: published forms, repairs, inverses. Their
// derivatives in both units are checked by the derivative-contract walk.
#include <gtest/gtest.h>

#include <cmath>

#include "support/fixture.h"
#include "support/temperature.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using tarn::testing::celsiusOf;

class IndicesTest : public tarn::testing::LibraryTest {};

TEST_F(IndicesTest, ThreePointIndicesAndTheirOrderDivisorAndGapRules) {
  // T10 130, T50 210, T90 330 F: base (2 x 210 + 130 + 330)/4 = 220 and
  // spread 200 in each polynomial, evaluated by hand with the default sets.
  EXPECT_NEAR(gfx_T10Index('F', 130, 210, 330), 130.12138578512395, 1e-9);
  EXPECT_NEAR(gfx_T50Index('F', 130, 210, 330), 248.23312925619848, 1e-9);
  EXPECT_NEAR(gfx_T90Index('F', 130, 210, 330), 281.4396072727268, 1e-9);
  EXPECT_NEAR(gfx_T50Index('C', celsiusOf(130), celsiusOf(210), celsiusOf(330)), celsiusOf(248.23312925619848), 1e-9);
  double d[3] = {7, 7, 7};
  EXPECT_EQ(gfx_D86BV1(3, 'F', 130, 210, 330, d), 1.0);  // no such index
  EXPECT_EQ(d[2], 7.0);
  EXPECT_EQ(gfx_D86BV1(1, 'F', 130, 210, 330, d), gfx_T50Index('F', 130, 210, 330));

  EXPECT_EQ(gfx_T50Index('F', 220, 210, 330), 1e30);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_T10Index('F', 220, 210, 330), 1e30);  // always rejects
  EXPECT_EQ(gfx_T50Index('F', 220, 210, 330), gfx_T50Index('F', 220, 220.5, 330));
  EXPECT_EQ(gfx_T90Index('F', 130, 340, 330), gfx_T90Index('F', 130, 340, 340.5));
  // Intended: the T90 index moves a close lower point by the T50 set's gap.
  ASSERT_EQ(gfx_setCorParms("T90INDEX", "N1", 10.0), 0);
  ASSERT_EQ(gfx_setCorParms("T50INDEX", "N1", 4.0), 0);
  EXPECT_EQ(gfx_T90Index('F', 207, 210, 330), gfx_T90Index('F', 206, 210, 330));
  EXPECT_NE(gfx_T90Index('F', 207, 210, 330), gfx_T90Index('F', 200, 210, 330));
  // Intended: all three fail when the T10 set's divisor is 0.
  ASSERT_EQ(gfx_setCorParms("T10INDEX", "P2", 0.0), 0);
  EXPECT_EQ(gfx_T90Index('F', 130, 210, 330), 1e30);
}

TEST_F(IndicesTest, ExponentialIndicesInvertAndScaleTheirDerivatives) {
  for (double t : {40.0, 140.0, 300.0}) {
    double dIndex = 0, dBlend = 0;
    const double index = gfx_D86one10Index('C', t, 1, &dIndex);
    EXPECT_NEAR(gfx_D86one10Blend('C', index, 1, &dBlend), t, 1e-9);
    EXPECT_NEAR(dIndex * dBlend, 1.0, 1e-12);
    const double index90 = gfx_D86one90Index('C', t, 1, &dIndex);
    // The 90 % inverse is its own fit: 32.5719 against 1/0.030701 = 32.5722.
    const double backF = 185 + 32.5719 * 0.030701 * (tarn::testing::fahrenheitOf(t) - 185);
    EXPECT_NEAR(gfx_D86one90Blend('C', index90, 1, &dBlend), celsiusOf(backF), 1e-9);
  }
  EXPECT_NEAR(gfx_D86one10Index('F', 250, 0, nullptr), 1.0, 1e-15);
  EXPECT_EQ(gfx_D86one90Blend('F', 0.0, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_D86one10Blend('F', -1.0, 0, nullptr), 1e30);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_NEAR(gfx_D86one90Blend('F', 0.0, 0, nullptr), 32.5719 * std::log(0.0001) + 185, 1e-9);
}

TEST_F(IndicesTest, VolatilityIndicesAgainstPublishedForms) {
  // ASTM D4814: TV/L20 = 114.6 - 4.1 RVP + 0.20 T10 + 0.17 T50 (F).
  EXPECT_NEAR(gfx_TVL(0, 'F', 9.0, 125.6, 203.0, nullptr), 114.6 - 36.9 + 25.12 + 34.51, 1e-9);
  double d[4] = {};
  const double c = gfx_TVL(1, 'C', 9.0, 52.0, 95.0, d);
  EXPECT_NEAR(c, celsiusOf(114.6 - 36.9 + 0.2 * 125.6 + 0.17 * 203.0), 1e-9);
  // Intended: only the RVP slope is divided by 1.8; the others are exact.
  EXPECT_NEAR(d[0], -4.1 / 1.8, 1e-15);
  EXPECT_EQ(gfx_TVL2(1, 'C', 9.0, 52.0, 70.0, 95.0, d), c);
  EXPECT_EQ(d[2], 0.0);  // T20 only takes part in the checks
  EXPECT_EQ(d[3], 0.17);
  EXPECT_EQ(gfx_TVL2(0, 'F', 1.4, 125, 150, 203, nullptr), 1e30);
  EXPECT_EQ(gfx_TVL2(0, 'F', 9, 125, 150, 140, nullptr), 1e30);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_TVL2(0, 'F', 1.4, 125, 150, 203, nullptr), gfx_TVL(0, 'F', 1.5, 125, 203, nullptr));
  // T20 below T10 is pushed to 125.5, and then T50 to 126.
  EXPECT_EQ(gfx_TVL2(0, 'F', 9, 125, 120, 100, nullptr), gfx_TVL(0, 'F', 9, 125, 126, nullptr));

  // EN 228: VLI = 10 VP(kPa) + 7 E70; 70 kPa and 35 % at 70 C give 945.
  EXPECT_NEAR(gfx_VaporLockIndex(1, 'K', 70.0, 35.0, d), 945.0, 1e-4);
  EXPECT_NEAR(gfx_VaporLockIndex(1, 'P', 1.0, 30.0, d), 68.94757 + 7 * 30.0, 1e-12);  // psi
  double t20[2] = {};
  EXPECT_NEAR(gfx_T20Gaussian(120, 160, 1, t20), 120 + 40 * 0.5810337716059414, 1e-12);
  EXPECT_EQ(t20[1], 0.5810337716059414);
}

}  // namespace
