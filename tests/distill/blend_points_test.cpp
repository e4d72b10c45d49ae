// Volume blending of distillation curves by bisection.
#include <gtest/gtest.h>

#include <vector>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

class BlendPointsTest : public tarn::testing::LibraryTest {};

using Curve = std::vector<double>;

// The search ends within the default tolerance of 1e-7 x bracket width in
// percent, which leaves about 1e-4 degrees.
constexpr double kSearch = 1e-3;

// Linear curves: A is T = 100 + 2p, B is T = 200 + 2p (p in percent).
const Curve kA = {100, 120, 160, 200, 240, 280, 300};
const Curve kBoth = {100, 120, 160, 200, 240, 280, 300, 200, 220, 260, 300, 340, 380, 400};
const double kHalves[2] = {0.5, 0.5};

void expectCurveNear(const Curve& got, const Curve& want, double tolerance) {
  for (std::size_t k = 0; k < want.size(); ++k) EXPECT_NEAR(got[k], want[k], tolerance) << "point " << k;
}

TEST_F(BlendPointsTest, TwoLinearCurvesBlendToTheHandComputedPoints) {
  // At 50/50 the blend's percent is (P_A + P_B)/2 with each P held in [0, 100]:
  // 10 % at 140 (B not yet boiling), 30 % at 210, 50 % at 250, 70 % at 290,
  // 90 % at 360 (A all gone).
  Curve out(7), out2(7);
  ASSERT_EQ(gfx_FindPoints(2, kBoth.data(), kHalves, out.data()), 0);
  expectCurveNear(out, {100, 140, 210, 250, 290, 360, 400}, kSearch);
  ASSERT_EQ(gfx_FindPoints2(2, kBoth.data(), kHalves, out2.data()), 0);
  expectCurveNear(out2, out, 1e-12);
  // With the ends standing for 5 % and 95 %, 5 % off needs 10 % of A (at 120,
  // B not boiling yet) and 95 % needs 90 % of B (at 380, A gone by 320).
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MnVolIBP", 5.0), 0);
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MxVolFBP", 95.0), 0);
  ASSERT_EQ(gfx_FindPoints(2, kBoth.data(), kHalves, out.data()), 0);
  EXPECT_NEAR(out[0], 120.0, kSearch);
  EXPECT_NEAR(out[6], 380.0, kSearch);
}

TEST_F(BlendPointsTest, FractionsMustSumToOneExceptForFindPoints2) {
  Curve out(7, -1.0);
  const double over[2] = {0.5, 0.501}, inside[2] = {0.5, 0.5009}, withNegative[2] = {1.0, -0.2};
  EXPECT_EQ(gfx_FindPoints(2, kBoth.data(), over, out.data()), 1);
  EXPECT_EQ(out, Curve(7, -1.0));
  EXPECT_EQ(gfx_FindPoints(2, kBoth.data(), inside, out.data()), 0);
  EXPECT_EQ(gfx_FindPoints(2, kBoth.data(), withNegative, out.data()), 0);  // negatives do not count
  // FindPoints2 takes the fractions as they are: A alone at fraction 2 reads
  // as twice its percent, so its 10 % point is where A has 5 % off.
  const double doubled = 2.0;
  EXPECT_EQ(gfx_FindPoints(1, kA.data(), &doubled, out.data()), 1);
  EXPECT_EQ(gfx_FindPoints2(1, kA.data(), &doubled, out.data()), 0);
  EXPECT_NEAR(out[1], 110.0, kSearch);
}

TEST_F(BlendPointsTest, SmallComponentsWidenTheBracketOnlyAboveMinVol) {
  const Curve both = {40, 60, 80, 100, 120, 140, 160, 100, 120, 160, 200, 240, 280, 500};
  const double fractions[2] = {0.05, 0.95};
  Curve out(7);
  ASSERT_EQ(gfx_FindPoints(2, both.data(), fractions, out.data()), 0);
  EXPECT_EQ(out[0], 40.0);
  EXPECT_EQ(out[6], 500.0);
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MinVol", 0.05), 0);  // must exceed, not equal
  ASSERT_EQ(gfx_FindPoints(2, both.data(), fractions, out.data()), 0);
  EXPECT_EQ(out[0], 100.0);
}

TEST_F(BlendPointsTest, DocumentedQuirksOfTheSearch) {
  // Intended: the search answers its last midpoint. Tolerance 0.02 over a
  // 200-degree bracket is 4 %: searching 10 % on A from [100, 300] visits 200
  // (50 %), 150 (25 %), 125 (12.5 %, within 4 of 10) and answers 112.5.
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 0.02), 0);
  const double one = 1.0;
  Curve out(7);
  ASSERT_EQ(gfx_FindPoints(1, kA.data(), &one, out.data()), 0);
  EXPECT_EQ(out[1], 112.5);
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 1e-7), 0);
  // Intended: an out-of-order component spoils the blend without failing it;
  // its 1e30 percent drives every search to the bottom of its bracket.
  const Curve bad = {100, 120, 160, 200, 240, 280, 300, 200, 220, 220, 300, 340, 380, 400};
  const double fractions[2] = {0.7, 0.3};
  EXPECT_EQ(gfx_FindPoints(2, bad.data(), fractions, out.data()), 0);
  for (int k = 1; k < 6; ++k) EXPECT_NEAR(out[k], 100.0, kSearch) << k;
}

}  // namespace
