// Cloud, flash and pour point indices and their reverses at the edges of
// their domains. Worked values are checked by index (catalogue_rows.csv),
// round trips and derivatives in consistency_test.cpp.
#include <gtest/gtest.h>

#include <cmath>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/props.h"

namespace {

class ColdFlowTest : public tarn::testing::LibraryTest {};

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
  // Pour point pair 2 (outside the catalogue): 10 F gives
  // exp(0.0354662 * 10 + 2.197062) = exp(2.551724) = 12.82920. Pair 1 rejects
  // -460 F itself, pair 2 0 F itself, the reverses non-positive indices.
  EXPECT_NEAR(gfx_PourPointIndex2('F', 10.0, 0, nullptr), 12.82920, 1e-5);
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
