// Distillation-derived indices.
#include <gtest/gtest.h>

#include <cmath>

#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using tarn::testing::centralDifference;
using tarn::testing::derivativeNear;

class IndicesTest : public tarn::testing::LibraryTest {};

double toC(double f) { return (f - 32.0) / 1.8; }

TEST_F(IndicesTest, ThreePointIndicesMatchHandComputedValues) {
  // T10 130, T50 210, T90 330 F: base (2 x 210 + 130 + 330)/4 = 220 and
  // spread 200 in each polynomial, evaluated by hand with the default sets.
  EXPECT_NEAR(gfx_T10Index('F', 130, 210, 330), 130.12138578512395, 1e-9);
  EXPECT_NEAR(gfx_T50Index('F', 130, 210, 330), 248.23312925619848, 1e-9);
  EXPECT_NEAR(gfx_T90Index('F', 130, 210, 330), 281.4396072727268, 1e-9);
  // In C the points go in as C and the index comes out as C.
  EXPECT_NEAR(gfx_T50Index('C', toC(130), toC(210), toC(330)), toC(248.23312925619848), 1e-9);
  for (int which = 0; which < 3; ++which) {
    double d[3] = {};
    const double value = gfx_D86BV1(which, 'F', 130, 210, 330, d);
    EXPECT_EQ(value, which == 0 ? gfx_T10Index('F', 130, 210, 330)
                                : which == 1 ? gfx_T50Index('F', 130, 210, 330)
                                             : gfx_T90Index('F', 130, 210, 330));
    const double x[3] = {130, 210, 330};
    for (int j = 0; j < 3; ++j) {
      const double numeric = centralDifference([&](double v) {
        double y[3] = {x[0], x[1], x[2]};
        y[j] = v;
        return gfx_D86BV1(which, 'F', y[0], y[1], y[2], nullptr);
      }, x[j]);
      EXPECT_TRUE(derivativeNear(d[j], numeric, 1e-2, 1e-3)) << which << " " << j;
    }
  }
  double untouched[3] = {7, 7, 7};
  EXPECT_EQ(gfx_D86BV1(3, 'F', 130, 210, 330, untouched), 1.0);
  EXPECT_EQ(untouched[0], 7.0);
}

TEST_F(IndicesTest, OrderDivisorAndGapRulesDifferBetweenTheThreeIndices) {
  EXPECT_EQ(gfx_T50Index('F', 220, 210, 330), 1e30);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_T10Index('F', 220, 210, 330), 1e30);  // always rejects
  EXPECT_EQ(gfx_T50Index('F', 220, 210, 330), gfx_T50Index('F', 220, 220.5, 330));
  EXPECT_EQ(gfx_T90Index('F', 130, 340, 330), gfx_T90Index('F', 130, 340, 340.5));

  // The T90 index moves a close lower point by the T50 set's gap.
  ASSERT_EQ(gfx_setCorParms("T90INDEX", "N1", 10.0), 0);
  ASSERT_EQ(gfx_setCorParms("T50INDEX", "N1", 4.0), 0);
  EXPECT_EQ(gfx_T90Index('F', 207, 210, 330), gfx_T90Index('F', 206, 210, 330));
  EXPECT_NE(gfx_T90Index('F', 207, 210, 330), gfx_T90Index('F', 200, 210, 330));

  // All three fail when the T10 set's divisor is 0.
  ASSERT_EQ(gfx_setCorParms("T10INDEX", "P2", 0.0), 0);
  EXPECT_EQ(gfx_T50Index('F', 130, 210, 330), 1e30);
  EXPECT_EQ(gfx_T90Index('F', 130, 210, 330), 1e30);
}

TEST_F(IndicesTest, ExponentialIndicesInvertAndScaleTheirDerivatives) {
  for (char unit : {'F', 'C'}) {
    for (double t : {40.0, 140.0, 300.0}) {
      double dIndex = 0, dBlend = 0;
      const double index = gfx_D86one10Index(unit, t, 1, &dIndex);
      EXPECT_NEAR(gfx_D86one10Blend(unit, index, 1, &dBlend), t, 1e-9);
      EXPECT_NEAR(dIndex * dBlend, 1.0, 1e-12);
      EXPECT_TRUE(derivativeNear(dIndex, centralDifference([unit](double x) {
        return gfx_D86one10Index(unit, x, 0, nullptr); }, t)));
      const double index90 = gfx_D86one90Index(unit, t, 1, &dIndex);
      EXPECT_TRUE(derivativeNear(dIndex, centralDifference([unit](double x) {
        return gfx_D86one90Index(unit, x, 0, nullptr); }, t)));
      // The 90 % inverse is its own fit: 32.5719 against 1/0.030701 = 32.5722.
      const double tF = unit == 'C' ? t * 1.8 + 32 : t;
      const double backF = 185 + 32.5719 * 0.030701 * (tF - 185);
      EXPECT_NEAR(gfx_D86one90Blend(unit, index90, 1, &dBlend), unit == 'C' ? toC(backF) : backF, 1e-9);
      EXPECT_TRUE(derivativeNear(dBlend, centralDifference([unit](double x) {
        return gfx_D86one90Blend(unit, x, 0, nullptr); }, index90)));
    }
  }
  EXPECT_NEAR(gfx_D86one10Index('F', 250, 0, nullptr), 1.0, 1e-15);
  EXPECT_EQ(gfx_D86one90Blend('F', 0.0, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_D86one10Blend('F', -1.0, 0, nullptr), 1e30);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_NEAR(gfx_D86one90Blend('F', 0.0, 0, nullptr), 32.5719 * std::log(0.0001) + 185, 1e-9);
}

TEST_F(IndicesTest, GaussianTwentyPercentPoint) {
  double d[2] = {};
  EXPECT_NEAR(gfx_T20Gaussian(120, 160, 1, d), 120 + 40 * 0.5810337716059414, 1e-12);
  EXPECT_NEAR(d[0] + d[1], 1.0, 1e-15);
  EXPECT_EQ(d[1], 0.5810337716059414);
}

TEST_F(IndicesTest, VapourLiquidTemperatureAndItsFourInputVariant) {
  // ASTM D4814: TV/L20 = 114.6 - 4.1 RVP + 0.20 T10 + 0.17 T50 (F).
  EXPECT_NEAR(gfx_TVL(0, 'F', 9.0, 125.6, 203.0, nullptr), 114.6 - 36.9 + 25.12 + 34.51, 1e-9);
  double d[3] = {};
  const double c = gfx_TVL(1, 'C', 9.0, 52.0, 95.0, d);
  EXPECT_NEAR(c, toC(114.6 - 36.9 + 0.2 * 125.6 + 0.17 * 203.0), 1e-9);
  // Only the RVP slope is divided by 1.8, and all three are exact.
  EXPECT_NEAR(d[0], -4.1 / 1.8, 1e-15);
  EXPECT_EQ(d[1], 0.2);
  EXPECT_TRUE(derivativeNear(d[1], centralDifference([](double x) { return gfx_TVL(0, 'C', 9, x, 95, nullptr); }, 52)));

  double d2[4] = {};
  EXPECT_EQ(gfx_TVL2(1, 'C', 9.0, 52.0, 70.0, 95.0, d2), c);
  EXPECT_EQ(d2[2], 0.0);  // T20 only takes part in the checks
  EXPECT_EQ(d2[3], 0.17);
  EXPECT_EQ(gfx_TVL2(0, 'F', 1.4, 125, 150, 203, nullptr), 1e30);
  EXPECT_EQ(gfx_TVL2(0, 'F', 9, 125, 120, 203, nullptr), 1e30);
  EXPECT_EQ(gfx_TVL2(0, 'F', 9, 125, 150, 140, nullptr), 1e30);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_TVL2(0, 'F', 1.4, 125, 150, 203, nullptr), gfx_TVL(0, 'F', 1.5, 125, 203, nullptr));
  // T20 below T10 is pushed to 125.5, and then T50 to 126.
  EXPECT_EQ(gfx_TVL2(0, 'F', 9, 125, 120, 100, nullptr), gfx_TVL(0, 'F', 9, 125, 126, nullptr));
}

TEST_F(IndicesTest, VapourLockIndexInPsiAndKilopascal) {
  double d[2] = {};
  EXPECT_NEAR(gfx_VaporLockIndex(1, 'P', 1.0, 30.0, d), 68.94757 + 7 * 30.0, 1e-12);
  EXPECT_EQ(d[0], 68.94757);
  EXPECT_EQ(d[1], 7.0);
  // EN 228: VLI = 10 VP(kPa) + 7 E70; 70 kPa and 35 % at 70 C give 945. The
  // catalogue calls with 'K'.
  EXPECT_NEAR(gfx_VaporLockIndex(1, 'K', 70.0, 35.0, d), 945.0, 1e-4);
  EXPECT_NEAR(d[0], 10.0, 1e-6);
}

}  // namespace
