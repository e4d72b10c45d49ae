// gfx_Evaporative (values: catalogue_rows.csv; sensitivities, extended beyond the curve: derivative walk).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/emissions.h"

namespace {

using Vec = std::vector<double>;
constexpr double S = -777.0;  // sentinel: not written

class EvaporativeTest : public tarn::testing::LibraryTest {
 protected:
  static void configure(const Vec& temperatures) {
    for (std::size_t i = 0; i < temperatures.size(); ++i) {
      const std::string key = (i < 10 ? "P0" : "P1") + std::to_string(i % 10);
      ASSERT_EQ(gfx_setCorParms("EVAPORATIVE", key.c_str(), temperatures[i]), 0);
    }
    ASSERT_EQ(gfx_setCorParms("EVAPORATIVE", "NPTS", double(temperatures.size())), 0);
  }
  Vec curve{100, 140, 180, 220, 260, 300, 340};
};

TEST_F(EvaporativeTest, GridFlatAndDecreasingCurves) {
  // The percent grid is the parameter block's (initial point 1 % here).
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MnVolIBP", 1.0), 0);
  configure({120});
  Vec out(4, S), d(28, S);
  ASSERT_EQ(gfx_Evaporative(0, curve.data(), out.data(), nullptr), 0);
  EXPECT_NEAR(out[0], 1 + 9 * 20.0 / 40, 1e-12);
  // A flat curve evaporates at once; an unset temperature is left alone.
  configure({200, 200.5, 1e30, 150});
  Vec flat{200.2, 200.3, 200.4, 200.5, 200.6, 200.8, 201.1};
  EXPECT_EQ(gfx_Evaporative(1, flat.data(), out.data(), d.data()), 0);
  EXPECT_EQ(out, (Vec{0, 100, S, 0}));
  EXPECT_EQ(d, Vec(28, 0.0));
  // A decreasing curve fails unless ChangeData lifts each point above its repaired predecessor, in the caller's curve.
  configure({200, 250});
  const Vec bad{100, 240, 200, 220, 260, 300, 340};
  Vec c = bad;
  EXPECT_EQ(gfx_Evaporative(0, c.data(), out.data(), nullptr), 2);
  EXPECT_EQ(Vec(out.begin(), out.begin() + 2), Vec(2, 1e30));
  EXPECT_EQ(c, bad);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1), 0);
  EXPECT_EQ(gfx_Evaporative(0, c.data(), out.data(), nullptr), 0);
  EXPECT_EQ(c, (Vec{100, 240, 241, 242, 260, 300, 340}));
  EXPECT_NEAR(out[0], 1 + 9 * 100.0 / 140, 1e-12);
}

TEST_F(EvaporativeTest, UnsetTemperaturesAndCounts) {
  Vec out(3, S);
  EXPECT_EQ(gfx_Evaporative(0, curve.data(), out.data(), nullptr), 1);  // none configured
  EXPECT_EQ(out, Vec(3, S));
  configure({200, 250, 1e30});  // only the last unset: its output missing
  EXPECT_EQ(gfx_Evaporative(0, curve.data(), out.data(), nullptr), 0);
  EXPECT_EQ(out, (Vec{40, 65, 1e30}));
  configure({2e10, 250, 300});  // an earlier one unset (above 1e10): failure
  out.assign(3, S);
  EXPECT_EQ(gfx_Evaporative(0, curve.data(), out.data(), nullptr), 2);
  EXPECT_EQ(out, (Vec{1e30, S, S}));
  // A count beyond the twelve temperatures uses the twelve.
  ASSERT_EQ(gfx_setCorParms("EVAPORATIVE", "NPTS", 20), 0);
  Vec wide(12, S), d(7 * 12, S);
  EXPECT_EQ(gfx_Evaporative(1, curve.data(), wide.data(), d.data()), 2);
  EXPECT_EQ(gfx_Evaporative(1, nullptr, wide.data(), d.data()), 2);
}

}  // namespace
