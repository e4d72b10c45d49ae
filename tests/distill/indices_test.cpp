// Distillation indices: order, divisor and gap rules, repairs of the inverses (values: catalogue_rows.csv).
#include <gtest/gtest.h>

#include <cmath>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using IndicesTest = tarn::testing::LibraryTest;

TEST_F(IndicesTest, OrderDivisorAndGapRulesAndRepairs) {
  double d[3] = {7, 7, 7};
  EXPECT_EQ(gfx_D86BV1(3, 'F', 130, 210, 330, d), 1.0);  // no such index
  EXPECT_EQ(d[2], 7.0);
  EXPECT_EQ(gfx_D86BV1(1, 'F', 130, 210, 330, d), gfx_T50Index('F', 130, 210, 330));

  EXPECT_EQ(gfx_T50Index('F', 220, 210, 330), 1e30);
  EXPECT_EQ(gfx_D86one90Blend('F', 0.0, 0, nullptr), 1e30);  // the exponential inverses reject indices <= 0
  EXPECT_EQ(gfx_D86one10Blend('F', -1.0, 0, nullptr), 1e30);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_NEAR(gfx_D86one90Blend('F', 0.0, 0, nullptr), 32.5719 * std::log(0.0001) + 185, 1e-9);
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

TEST_F(IndicesTest, VolatilityIndicesAgainstPublishedForms) {
  // TVL2 is TV/L 20 (ASTM D4814) with T20 in its checks only.
  double d[2] = {};
  EXPECT_EQ(gfx_TVL2(0, 'C', 9.0, 52.0, 70.0, 95.0, nullptr), gfx_TVL(0, 'C', 9.0, 52.0, 95.0, nullptr));
  EXPECT_EQ(gfx_TVL2(0, 'F', 1.4, 125, 150, 203, nullptr), 1e30);
  EXPECT_EQ(gfx_TVL2(0, 'F', 9, 125, 150, 140, nullptr), 1e30);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_TVL2(0, 'F', 1.4, 125, 150, 203, nullptr), gfx_TVL(0, 'F', 1.5, 125, 203, nullptr));
  // T20 below T10 is pushed to 125.5, and then T50 to 126.
  EXPECT_EQ(gfx_TVL2(0, 'F', 9, 125, 120, 100, nullptr), gfx_TVL(0, 'F', 9, 125, 126, nullptr));

  EXPECT_NEAR(gfx_VaporLockIndex(1, 'P', 1.0, 30.0, d), 68.94757 + 7 * 30.0, 1e-12);  // psi
}

}  // namespace
