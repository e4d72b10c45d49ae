// Cloud, flash and pour point indices, their reverses, and the CFPP improver.
// Round trips and derivatives are in consistency_test.cpp.
#include <gtest/gtest.h>

#include <cmath>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/props.h"

namespace {

class ColdFlowTest : public tarn::testing::LibraryTest {};

TEST_F(ColdFlowTest, IndicesMatchHandValues) {
  // Power laws a (R d)^b with R = T + 460.
  // 0 F: 460^(1/0.55) = exp(1.8181818 * 6.1312265) = exp(11.1476845) = 69402.94
  EXPECT_NEAR(gfx_CloudPointIndex1('F', 0.0, 0, nullptr), 69402.941, 1e-3);
  // 20 F: 1e-10 (480 * 0.01)^(1/0.06) = 1e-10 * 4.8^16.6667 = 22.5954
  EXPECT_NEAR(gfx_CloudPointIndex3('F', 20.0, 0, nullptr), 22.5954, 1e-4);
  // 60 C = 140 F: 1e5 * 600^(-1/0.6) = 1e5 / (600 * 71.1379) = 2.34287
  EXPECT_NEAR(gfx_FlashPointIndex1('C', 60.0, 0, nullptr), 2.34287, 1e-5);
  // 40 F: exp(12.885 ln 500 - 73.0883) = exp(6.9869253) = 1082.388;
  // 10 F: exp(0.0354662 * 10 + 2.197062) = exp(2.551724) = 12.82920.
  EXPECT_NEAR(gfx_PourPointIndex1('F', 40.0, 0, nullptr), 1082.388, 1e-3);
  EXPECT_NEAR(gfx_PourPointIndex2('F', 10.0, 0, nullptr), 12.82920, 1e-5);
  // -10 C = 14 F: 0.95 * 14 - 1.0 * 0.05 - 1.39 = 11.86 F = -11.1889 C.
  EXPECT_NEAR(gfx_CFPPImprover(0, 'C', -10.0, 0.05, nullptr), -11.188888888888889, 1e-12);
}

TEST_F(ColdFlowTest, DomainEdgesWithChangeDataOffAndOn) {
  // The cloud and flash point pairs share one forward and one reverse.
  EXPECT_EQ(gfx_CloudPointIndex3('F', -460.0, 0, nullptr), 0.0);  // absolute zero
  EXPECT_EQ(gfx_CloudPointIndex3('C', -274.0, 0, nullptr), 1e30);
  for (int want : {0, 1}) {
    // Intended: an index of 0 reads as 0 F (not absolute zero), and a
    // Celsius caller gets even the missing value converted.
    double d = 0.0;
    EXPECT_NEAR(gfx_FlashPoint1('C', 0.0, want, &d), -17.777777777777779, 1e-12);
    EXPECT_EQ(gfx_FlashPoint1('C', -1.0, want, &d), (1e30 - 32.0) * 5.0 / 9.0);
  }
  // Pour point pair 1 rejects -460 F itself, pair 2 0 F itself, the reverses
  // non-positive indices.
  const double b = -73.0883, a = 12.885, c = 2.197062, k = 0.0354662;
  EXPECT_EQ(gfx_PourPointIndex1('F', -460.0, 0, nullptr), 1e30);
  EXPECT_NEAR(gfx_PourPointIndex1('F', -459.0, 0, nullptr), std::exp(b), 1e-40);  // ln 1 = 0
  EXPECT_EQ(gfx_PourPointIndex2('C', -17.7777777777777777, 0, nullptr), 1e30);
  EXPECT_NEAR(gfx_PourPointIndex2('F', 1e-9, 0, nullptr), std::exp(c), 1e-9);
  EXPECT_EQ(gfx_PourPoint1('F', 0.0, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_PourPoint2('C', -3.0, 0, nullptr), 1e30);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_NEAR(gfx_PourPointIndex1('F', -460.0, 0, nullptr), std::exp(a * std::log(0.0001) + b), 1e-80);
  EXPECT_NEAR(gfx_PourPointIndex2('F', -10.0, 0, nullptr), std::exp(k * 0.0001 + c), 1e-12);
  EXPECT_NEAR(gfx_PourPoint1('F', -5.0, 0, nullptr), std::exp((std::log(0.0001) - b) / a) - 460.0, 1e-9);
  EXPECT_NEAR(gfx_PourPoint2('C', 0.0, 0, nullptr), ((std::log(0.0001) - c) / k - 32.0) * 5.0 / 9.0, 1e-9);
}

}  // namespace
