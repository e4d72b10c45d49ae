// Cetane indices and the cetane improver response.
#include <gtest/gtest.h>

#include <cmath>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/props.h"

namespace {

class CetaneTest : public tarn::testing::LibraryTest {};

TEST_F(CetaneTest, IndicesMatchPublishedAndHandValues) {
  // ASTM D4737 procedure A: at density 0.850 and T10/T50/T90 = 215/260/310 C
  // (419/500/590 F) every normalised term is zero and the index is 45.2.
  EXPECT_NEAR(gfx_CetaneIndex4(0, 'F', 0.85, 419.0, 500.0, 590.0, nullptr), 45.2, 1e-12);
  // Density 0.80, each point 18 C above its reference: B = exp(-3.5 * -0.05) - 1
  // = 0.1912462; 45.2 + 18 * (0.0892 + 0.131 + 0.901 B + 0.0523 - 0.42 B)
  // + 107 B + 60 B^2 (the squares cancel) = 74.41866.
  EXPECT_NEAR(gfx_CetaneIndex4(0, 'C', 0.80, 233.0, 278.0, 328.0, nullptr), 74.41866, 1e-5);
  // 0.09668 * 400 - 386.26 * 0.85 + 0.06751 * 500 + 0.01028 * 600 + 291.83 = 42.104
  EXPECT_NEAR(gfx_CetaneIndex5(0, 'F', 0.85, 400.0, 500.0, 600.0, nullptr), 42.104, 1e-9);
  // spg 0.85: API 34.970588; 500 F: log10 = 2.69897. -420.34 + 0.016 API^2
  // + 0.192 API L + 65.01 L^2 - 0.0001809 * 500^2 = 45.68529
  EXPECT_NEAR(gfx_CetaneIndex2(0, 'F', 0.85, 500.0, nullptr), 45.68529, 1e-5);
  EXPECT_NEAR(gfx_CetaneIndex2(0, 'C', 0.85, 260.0, nullptr), 45.68529, 1e-5);
}

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
  // 0.17402 * (34.970588 / 10)^1.444 * (500 / 100)^1.0052 * ln(17.5523 * 0.1 + 1)
  // = 0.17402 * 6.0968715 * 5.0420210 * 1.0135009 = 5.421694
  EXPECT_NEAR(gfx_CetaneImprover(0, 'C', 0.85, 260.0, 0.1, nullptr), 5.421694, 1e-6);
  // The second curve has its own group and adds the base cetane.
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
