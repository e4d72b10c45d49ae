// Cetane indices and the cetane improver response at the edges of their
// domains; their worked values are checked by index (catalogue_rows.csv).
#include <gtest/gtest.h>

#include <cmath>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/props.h"

namespace {

class CetaneTest : public tarn::testing::LibraryTest {};

TEST_F(CetaneTest, DomainChecksWithChangeDataOffAndOn) {
  for (auto index : {gfx_CetaneIndex4, gfx_CetaneIndex5}) {
    EXPECT_NE(index(0, 'C', 0.85, 250.0, 250.0, 250.0, nullptr), 1e30);  // equal points are in order
    EXPECT_EQ(index(0, 'C', 0.85, 200.0, 260.0, 259.0, nullptr), 1e30);
  }
  EXPECT_EQ(gfx_CetaneIndex2(0, 'C', 0.85, -17.7777777777777777, nullptr), 1e30);  // 0 F
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  for (auto index : {gfx_CetaneIndex4, gfx_CetaneIndex5}) {
    // T50 is pushed to T10 + 0.5 in the caller's unit, then T90 above it.
    EXPECT_EQ(index(0, 'C', 0.85, 250.0, 240.0, 250.0, nullptr), index(0, 'C', 0.85, 250.0, 250.5, 251.0, nullptr));
  }
  // Intended: a repaired gravity skips the temperature check, so 0 F is kept
  // and the logarithm is unbounded.
  EXPECT_FALSE(std::isfinite(gfx_CetaneIndex2(0, 'F', -1.0, 0.0, nullptr)));
  EXPECT_TRUE(std::isfinite(gfx_CetaneIndex2(0, 'F', 0.0001, 0.0, nullptr)));
}

TEST_F(CetaneTest, ImproverGainAndItsDoseDomain) {
  // The improver's gain (5.421694 at 0.85, 500 F and dose 0.1) is checked by
  // index; the second curve has its own group and adds the base cetane.
  ASSERT_EQ(gfx_setCorParms("CETANEIMPROVER2", "P1", 0.34804), 0);
  EXPECT_NEAR(gfx_CetaneImprover2(0, 'F', 0.85, 500.0, 0.1, 40.0, nullptr), 40.0 + 2 * 5.421694, 2e-6);
  EXPECT_NEAR(gfx_CetaneImprover(0, 'F', 0.85, 500.0, 0.1, nullptr), 5.421694, 1e-6);

  // A dose that empties the logarithm is computed as it stands without
  // ChangeData, and moved just inside the domain (on either side) with it.
  const double emptying = -1.0 / 17.5523;
  EXPECT_FALSE(std::isfinite(gfx_CetaneImprover(0, 'F', 0.85, 500.0, emptying, nullptr)));
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_EQ(gfx_CetaneImprover(0, 'F', 0.85, 500.0, -3.0, nullptr),
            gfx_CetaneImprover(0, 'F', 0.85, 500.0, 0.0001 + emptying, nullptr));
  ASSERT_EQ(gfx_setCorParms("CETANEIMPROVER", "P7", -17.5523), 0);
  EXPECT_EQ(gfx_CetaneImprover(0, 'F', 0.85, 500.0, 3.0, nullptr),
            gfx_CetaneImprover(0, 'F', 0.85, 500.0, -emptying - 0.0001, nullptr));
  ASSERT_EQ(gfx_setCorParms("CETANEIMPROVER", "P7", 0.0), 0);  // no dose moves it inside
  ASSERT_EQ(gfx_setCorParms("CETANEIMPROVER", "P6", -1.0), 0);
  EXPECT_EQ(gfx_CetaneImprover(0, 'F', 0.85, 500.0, 0.1, nullptr), 1e30);
}

}  // namespace
