// E200/E300 from T50/T90, and the percent/absolute conversion of the EPA emission quantities over its baseline table.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/emissions.h"

namespace {

using Values = std::vector<double>;

class EpaConversionsTest : public tarn::testing::LibraryTest {};

// E200/E300 in both units, with their slopes, are checked by index; here the
// coefficients are read at each call.
TEST_F(EpaConversionsTest, E200E300ReadTheirCoefficientsAtEachCall) {
  const double t[2] = {200.0, 330.0};
  double out[2];
  ASSERT_EQ(gfx_setCorParms("E200E300EPA", "P2", 0.5), 0);
  ASSERT_EQ(gfx_E200E300EPA('F', t, out, 0, nullptr), 0);
  EXPECT_NEAR(out[0], 47.91, 1e-10);  // 147.91 - 0.5 * 200
  EXPECT_EQ(gfx_E200E300EPA('F', nullptr, out, 0, nullptr), -1);
}

// Converts with option texts; each length travels after its text.
int convert(const std::string& region, const std::string& phase, const std::string& season, int direction,
            const std::string& cls, const double in[5], double out[5]) {
  return EPAPERCENT2ABS(region.c_str(), int(region.size()), phase.c_str(), int(phase.size()), season.c_str(),
                        int(season.size()), &direction, cls.c_str(), int(cls.size()), &in[0], &in[1], &in[2],
                        &in[3], &in[4], &out[0], &out[1], &out[2], &out[3], &out[4]);
}

TEST_F(EpaConversionsTest, BaselineRowsRoundTripsAndRejects) {
  const double percent[5] = {-12.5, 3.25, -7.0, 40.0, -0.125}, zero[5] = {0, 0, 0, 0, 0};
  for (std::string row : {"B1SU", "C1Sc", "B2SC", "C2SU", "B1WX", "c2wU"}) {
    SCOPED_TRACE(row);
    const std::string r(1, row[0]), p(1, row[1]), s(1, row[2]), c(1, row[3]);
    double absolute[5], back[5], base[5];
    ASSERT_EQ(convert(r, p, s, 0, c, percent, absolute), 0);
    ASSERT_EQ(convert(r, p, s, 1, c, absolute, back), 0);
    ASSERT_EQ(convert(r, p, s, 0, c, zero, base), 0);
    for (int k = 0; k < 5; ++k) {
      EXPECT_NEAR(back[k], percent[k], 1e-12);
      EXPECT_NEAR(absolute[k], base[k] * (1.0 + percent[k] / 100.0), 1e-12 * base[k]);
    }
  }
  // Baseline emissions, mg/mile (40 CFR 80.45 Tables 3 to 5): winter (class not read), and summer where class 'C'
  // adds non-exhaust to exhaust benzene (26.10 + 9.6591).
  double out[5], u[5], c[5];
  ASSERT_EQ(convert("c", "2", "w", 0, "X", zero, out), 0);
  EXPECT_EQ(Values(out, out + 5), (Values{1341, 120.549055, 1540, 77.62, 120.549055}));
  ASSERT_EQ(convert("B", "1", "S", 0, "U", zero, u) + convert("B", "1", "S", 0, "C", zero, c), 0);
  EXPECT_EQ((Values{u[3], u[4], c[0], c[3]}), (Values{26.1, 38.9463, 1306.48, 35.7591}));
  ASSERT_EQ(convert("Bxx", "2nd", "Summer", 0, "Uxx", zero, out), 0);  // first letters only
  EXPECT_EQ(out[0], 1466.31373);

  // Rejected rows leave the outputs alone; a text of length 0 has no letter.
  for (double& v : out) v = -1.0;
  const char* rejects[][4] = {{"B", "1", "S", "X"}, {"A", "1", "W", "U"}, {"B", "3", "W", "U"}, {"B", "1", "F", "U"},
                              {"", "1", "S", "U"}};
  for (const auto& r : rejects) EXPECT_EQ(convert(r[0], r[1], r[2], 0, r[3], zero, out), -1) << r[0] << r[1] << r[2];
  EXPECT_EQ(Values(out, out + 5), Values(5, -1.0));
}

}  // namespace
