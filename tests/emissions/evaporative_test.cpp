// Percent evaporated at set temperatures (gfx_Evaporative).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/emissions.h"

namespace {

using tarn::testing::centralJacobian;
using tarn::testing::expectJacobianNear;
using Vec = std::vector<double>;

constexpr double kSentinel = -777.0;

class EvaporativeTest : public tarn::testing::LibraryTest {
 protected:
  static void configure(const Vec& temperatures) {
    for (std::size_t i = 0; i < temperatures.size(); ++i) {
      const std::string key = (i < 10 ? "P0" : "P1") + std::to_string(i % 10);
      ASSERT_EQ(gfx_setCorParms("EVAPORATIVE", key.c_str(), temperatures[i]), 0);
    }
    ASSERT_EQ(gfx_setCorParms("EVAPORATIVE", "NPTS", static_cast<double>(temperatures.size())), 0);
  }
  const Vec curve{100, 140, 180, 220, 260, 300, 340};
};

TEST_F(EvaporativeTest, InterpolatesInTheCurveAndClampsOutsideIt) {
  configure({200, 340, 99, 100, 339});
  Vec c = curve, out(5, kSentinel);
  EXPECT_EQ(gfx_Evaporative(0, c.data(), out.data(), nullptr), 0);
  // 200 lies between 180 (30 %) and 220 (50 %): 30 + 20 * 20/40 = 40.
  EXPECT_EQ(out[0], 40.0);
  EXPECT_EQ(out[1], 100.0);  // at the end point
  EXPECT_EQ(out[2], 0.0);    // below the initial point
  EXPECT_EQ(out[3], 0.0);    // at the initial point: the grid's 0 %
  EXPECT_NEAR(out[4], 90 + 10 * 39.0 / 40, 1e-12);

  // The percent grid is the parameter block's: a 1 % initial point moves
  // the first segment.
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MnVolIBP", 1.0), 0);
  configure({120});
  EXPECT_EQ(gfx_Evaporative(0, c.data(), out.data(), nullptr), 0);
  EXPECT_NEAR(out[0], 1 + 9 * 20.0 / 40, 1e-12);
}

TEST_F(EvaporativeTest, SensitivitiesInsideMatchCentralDifferencesAndExtendOutside) {
  configure({200, 150, 339, 99, 345});
  const int n = 5;
  Vec c = curve, out(n), d(7 * n, kSentinel);
  ASSERT_EQ(gfx_Evaporative(1, c.data(), out.data(), d.data()), 0);
  auto f = [](const Vec& x) {
    Vec copy = x, o(5);
    gfx_Evaporative(0, copy.data(), o.data(), nullptr);
    return o;
  };
  const Vec numeric = centralJacobian(f, curve, n);
  for (int j = 0; j < 7; ++j) {
    for (int i = 0; i < 3; ++i) {  // the three temperatures inside the curve
      EXPECT_TRUE(tarn::testing::derivativeNear(d[j * n + i], numeric[j * n + i], 1e-6, 1e-8))
          << "point " << j << " temperature " << i;
    }
  }
  // Below the curve the value is 0 but the sensitivities are those of the
  // first segment extended: a = 10/40, b = a/40, T - curve0 = -1.
  EXPECT_EQ(out[3], 0.0);
  EXPECT_NEAR(d[0 * n + 3], -1 * (0.25 / 40) - 0.25, 1e-15);
  EXPECT_NEAR(d[1 * n + 3], 1 * (0.25 / 40), 1e-15);
  // Above it, those of the last segment (300 -> 340, 90 -> 100 %).
  EXPECT_EQ(out[4], 100.0);
  EXPECT_NEAR(d[5 * n + 4], 45 * (0.25 / 40) - 0.25, 1e-15);
  EXPECT_NEAR(d[6 * n + 4], -45 * (0.25 / 40), 1e-15);
  for (int j : {2, 3, 4}) EXPECT_EQ(d[j * n + 3], 0.0);
}

TEST_F(EvaporativeTest, FlatCurveEvaporatesAtOnce) {
  configure({200, 200.5, 1e30, 150});
  const Vec flat{200.2, 200.3, 200.4, 200.5, 200.6, 200.8, 201.1};
  Vec c = flat, out(4, kSentinel), d(28, kSentinel);
  EXPECT_EQ(gfx_Evaporative(1, c.data(), out.data(), d.data()), 0);
  EXPECT_EQ(out[0], 0.0);    // below the boiling point
  EXPECT_EQ(out[1], 100.0);
  EXPECT_EQ(out[2], kSentinel);  // unset: left alone
  EXPECT_EQ(out[3], 0.0);
  for (double v : d) EXPECT_EQ(v, 0.0);
}

TEST_F(EvaporativeTest, DecreasingCurveFailsUnlessRepairIsOn) {
  configure({200, 250});
  Vec bad{100, 140, 130, 220, 260, 300, 340};
  Vec c = bad, out(2, kSentinel);
  EXPECT_EQ(gfx_Evaporative(0, c.data(), out.data(), nullptr), 2);
  EXPECT_EQ(out, Vec(2, 1e30));
  EXPECT_EQ(c, bad);

  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1), 0);
  EXPECT_EQ(gfx_Evaporative(0, c.data(), out.data(), nullptr), 0);
  EXPECT_EQ(c[2], 141.0);  // lifted above its predecessor, in the caller's curve
  EXPECT_NEAR(out[0], 30 + 20 * (200 - 141.0) / 79, 1e-12);
  // A repaired point is compared with the next one in its repaired place.
  Vec cascade{100, 240, 200, 220, 260, 300, 340};
  EXPECT_EQ(gfx_Evaporative(0, cascade.data(), out.data(), nullptr), 0);
  EXPECT_EQ(cascade, (Vec{100, 240, 241, 242, 260, 300, 340}));
}

TEST_F(EvaporativeTest, UnsetTemperaturesAndCounts) {
  Vec c = curve, out(3, kSentinel);
  // Nothing configured: status 1, nothing written.
  EXPECT_EQ(gfx_Evaporative(0, c.data(), out.data(), nullptr), 1);
  EXPECT_EQ(out, Vec(3, kSentinel));

  // Only the last temperature unset: success, its output missing.
  configure({200, 250, 1e30});
  EXPECT_EQ(gfx_Evaporative(0, c.data(), out.data(), nullptr), 0);
  EXPECT_EQ(out[0], 40.0);
  EXPECT_EQ(out[2], 1e30);
  // An earlier one unset: status 2, that output missing, the others not computed.
  configure({1e30, 250, 300});
  out.assign(3, kSentinel);
  EXPECT_EQ(gfx_Evaporative(0, c.data(), out.data(), nullptr), 2);
  EXPECT_EQ(out[0], 1e30);
  EXPECT_EQ(out[1], kSentinel);
  // Any value above 1e10 counts as unset.
  configure({2e10, 250, 300});
  EXPECT_EQ(gfx_Evaporative(0, c.data(), out.data(), nullptr), 2);

  // A count beyond the twelve configurable temperatures uses the twelve.
  ASSERT_EQ(gfx_setCorParms("EVAPORATIVE", "NPTS", 20), 0);
  Vec wide(12, kSentinel), d(7 * 12, kSentinel);
  EXPECT_EQ(gfx_Evaporative(1, c.data(), wide.data(), d.data()), 2);
  EXPECT_EQ(gfx_Evaporative(1, nullptr, wide.data(), d.data()), 2);
}

}  // namespace
