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
const Curve kB = {200, 220, 260, 300, 340, 380, 400};

Curve concat(const Curve& a, const Curve& b) {
  Curve c = a;
  c.insert(c.end(), b.begin(), b.end());
  return c;
}

void expectCurveNear(const Curve& got, const Curve& want, double tolerance) {
  ASSERT_EQ(got.size(), want.size());
  for (std::size_t k = 0; k < want.size(); ++k) EXPECT_NEAR(got[k], want[k], tolerance) << "point " << k;
}

TEST_F(BlendPointsTest, TwoLinearCurvesBlendToTheHandComputedPoints) {
  // At 50/50 the blend's percent is (P_A + P_B)/2 with each P held in [0, 100]:
  // 10 % at 140 (B not yet boiling), 30 % at 210, 50 % at 250, 70 % at 290,
  // 90 % at 360 (A all gone).
  const Curve both = concat(kA, kB);
  const double halves[2] = {0.5, 0.5};
  Curve out(7);
  ASSERT_EQ(gfx_FindPoints(2, both.data(), halves, out.data()), 0);
  expectCurveNear(out, {100, 140, 210, 250, 290, 360, 400}, kSearch);
  // gfx_FindPoints2 gives the same for fractions that sum to 1.
  Curve out2(7);
  ASSERT_EQ(gfx_FindPoints2(2, both.data(), halves, out2.data()), 0);
  expectCurveNear(out2, out, 1e-12);
}

TEST_F(BlendPointsTest, FractionsMustSumToOneExceptForFindPoints2) {
  const Curve both = concat(kA, kB);
  Curve out(7, -1.0);
  const double over[2] = {0.5, 0.501};  // 1.001: outside
  EXPECT_EQ(gfx_FindPoints(2, both.data(), over, out.data()), 1);
  EXPECT_EQ(out, Curve(7, -1.0));
  const double inside[2] = {0.5, 0.5009};
  EXPECT_EQ(gfx_FindPoints(2, both.data(), inside, out.data()), 0);
  // Negative fractions do not count towards the sum.
  const double withNegative[2] = {1.0, -0.2};
  EXPECT_EQ(gfx_FindPoints(2, both.data(), withNegative, out.data()), 0);
  EXPECT_EQ(gfx_FindPoints(0, both.data(), inside, out.data()), 1);

  // FindPoints2 takes the fractions as they are: A alone at fraction 2 reads
  // as twice its percent, so its 10 % point is where A has 5 % off.
  const double doubled = 2.0;
  EXPECT_EQ(gfx_FindPoints(1, kA.data(), &doubled, out.data()), 1);
  EXPECT_EQ(gfx_FindPoints2(1, kA.data(), &doubled, out.data()), 0);
  EXPECT_NEAR(out[1], 110.0, kSearch);
  EXPECT_NEAR(out[3], 150.0, kSearch);
}

TEST_F(BlendPointsTest, SmallComponentsWidenTheBracketOnlyAboveMinVol) {
  // A light component of 5 % with IBP 40 and a heavy one with FBP 500.
  const Curve light = {40, 60, 80, 100, 120, 140, 160};
  const Curve heavy = {100, 120, 160, 200, 240, 280, 500};
  const Curve both = concat(light, heavy);
  const double fractions[2] = {0.05, 0.95};
  Curve out(7);
  ASSERT_EQ(gfx_FindPoints(2, both.data(), fractions, out.data()), 0);
  EXPECT_EQ(out[0], 40.0);
  EXPECT_EQ(out[6], 500.0);
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MinVol", 0.05), 0);  // must exceed, not equal
  ASSERT_EQ(gfx_FindPoints(2, both.data(), fractions, out.data()), 0);
  EXPECT_EQ(out[0], 100.0);
}

TEST_F(BlendPointsTest, EndPercentagesInsideTheCurveAreSearchedLikeInnerPoints) {
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MnVolIBP", 5.0), 0);
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MxVolFBP", 95.0), 0);
  // The curves' ends now stand for 5 % and 95 %. At 50/50, 5 % off needs 10 %
  // of A (at 120 F, B not boiling yet) and 95 % needs 90 % of B (at 380 F,
  // A all gone by its extension to 100 % at 320 F).
  const Curve both = concat(kA, kB);
  const double halves[2] = {0.5, 0.5};
  Curve out(7);
  ASSERT_EQ(gfx_FindPoints(2, both.data(), halves, out.data()), 0);
  EXPECT_NEAR(out[0], 120.0, kSearch);
  EXPECT_NEAR(out[6], 380.0, kSearch);
}

TEST_F(BlendPointsTest, BisectionAnswersItsLastMidpoint) {
  // Tolerance 0.02 over a 200-degree bracket: percent tolerance 4. Searching
  // 10 % on A from [100, 300]: 200 (50 %), 150 (25 %), 125 (12.5 %, within 4
  // of 10) -> the next midpoint 112.5 is the answer, not 125 or the exact 120.
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 0.02), 0);
  const double one = 1.0;
  Curve out(7);
  ASSERT_EQ(gfx_FindPoints(1, kA.data(), &one, out.data()), 0);
  EXPECT_EQ(out[1], 112.5);
  // A target within the percent tolerance of 0 is not searched at all: with a
  // tolerance of 1 every percent up to 200 is, and each point is the
  // midpoint of its bracket [point below, FBP].
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 1.0), 0);
  ASSERT_EQ(gfx_FindPoints(1, kA.data(), &one, out.data()), 0);
  EXPECT_EQ(out[1], 200.0);
  EXPECT_EQ(out[2], 250.0);
  EXPECT_EQ(out[5], 293.75);
}

TEST_F(BlendPointsTest, AnOutOfOrderComponentSpoilsTheBlendWithoutFailingIt) {
  const Curve bad = {200, 220, 220, 300, 340, 380, 400};  // equal neighbours
  const Curve both = concat(kA, bad);
  const double fractions[2] = {0.7, 0.3};
  Curve out(7);
  EXPECT_EQ(gfx_FindPoints(2, both.data(), fractions, out.data()), 0);
  // Its 1e30 percent swamps the sum: every search runs down to the bottom
  // of its bracket.
  for (int k = 1; k < 6; ++k) EXPECT_NEAR(out[k], 100.0, kSearch) << k;
  EXPECT_EQ(out[6], 400.0);
}

}  // namespace
