// Curve interpolation: lines, reading curves both ways, log-linear estimates, quadratic inversion, layouts.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "distill/interpolation.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

class InterpolationTest : public tarn::testing::LibraryTest {};

TEST(Interpolate, LinesStepsAndHeldExtrapolationAndQuadraticInversion) {
  EXPECT_DOUBLE_EQ(gfx_Interpolate(10, 20, 100, 200, 30), 300.0);  // not held
  // Equal abscissae: a step, y0 below x0 and y1 at or above it.
  EXPECT_EQ(gfx_Interpolate(10, 10, 1, 2, 9.99), 1.0);
  EXPECT_EQ(gfx_Interpolate(10, 10, 1, 2, 10), 2.0);
  EXPECT_DOUBLE_EQ(gfx_Extrapolate(10, 20, 100, 200, 0, 1000, 30), 300.0);
  EXPECT_EQ(gfx_Extrapolate(10, 20, 100, 200, 0, 250, 30), 250.0);
  EXPECT_EQ(gfx_Extrapolate(10, 20, 100, 200, 50, 250, 0), 50.0);

  using tarn::distill::InvertQuadratic3Pt;
  const double T[3] = {100, 140, 180};
  auto pq = [](double t) { return 0.002 * t * t - 0.3 * t + 20.0; };
  const double p[3] = {pq(100), pq(140), pq(180)}, line[3] = {10, 30, 50}, level[3] = {30, 30, 30};
  EXPECT_NEAR(InvertQuadratic3Pt(p, T, pq(150)), 150.0, 1e-9);
  EXPECT_NEAR(InvertQuadratic3Pt(line, T, 40), 160.0, 1e-9);  // percent = 0.5 T - 40
  EXPECT_EQ(InvertQuadratic3Pt(level, T, 40), 140.0);
}

TEST_F(InterpolationTest, DistillCurveReadsBothWaysWithItsEndRules) {
  const double curve[7] = {100, 120, 160, 200, 240, 300, 380}, flat[7] = {100, 120, 120, 200, 240, 300, 380};
  // Mode 1: temperature -> percent, held at 0 and 100; modes 0 and 2: percent -> temperature, no extension.
  const struct {
    int mode;
    double x, want;
  } reads[] = {{1, 180, 40}, {1, 340, 95}, {1, 20, 0},    {1, 500, 100},
               {2, 40, 180}, {0, 95, 340}, {2, 150, 380}, {2, -5, 100}};
  for (const auto& r : reads) EXPECT_DOUBLE_EQ(gfx_DistillCurve(curve, r.mode, r.x), r.want) << r.mode << " " << r.x;
  // Equal neighbours make the curve unusable in both directions.
  EXPECT_EQ(gfx_DistillCurve(flat, 1, 150), 1e30);
  EXPECT_EQ(gfx_DistillCurve(flat, 2, 50), 1e30);
  EXPECT_EQ(gfx_DistillCurve(nullptr, 1, 150), 1e30);
  // With the IBP at 5 % the first segment's extension below the IBP stays positive.
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "MnVolIBP", 5.0), 0);
  EXPECT_DOUBLE_EQ(gfx_DistillCurve(curve, 1, 96), 4.0);
  EXPECT_DOUBLE_EQ(gfx_DistillCurve(curve, 2, 7.5), 110.0);
}

// T(p) = anchor + a (p - 1) + b log10(p), p counted from the anchor end.
double model(double anchor, double a, double b, double p) { return anchor + a * (p - 1.0) + b * std::log10(p); }

TEST_F(InterpolationTest, MissingThirtyAndSeventyPointsFollowTheLogLinearModel) {
  // Lower half anchored at the IBP (a = 0.5, b = 40), upper at the FBP counted down from 100 (a = -0.5,
  // b = -40); two five-point curves widened in place, then completed.
  std::vector<double> buffer = {100, model(100, 0.5, 40, 10),   model(100, 0.5, 40, 50),   260, 300, 90,
                                130, model(300, -0.5, -40, 50), model(300, -0.5, -40, 10), 300};
  buffer.resize(14, -1.0);
  gfx_D86Expand5Pt(2, buffer.data(), nullptr);  // the 30 and 70 % points left missing
  EXPECT_EQ(gfx_TBPLogInterpolate2(buffer.data()), 0);
  EXPECT_EQ(gfx_TBPLogInterpolate2(buffer.data() + 7), 0);
  EXPECT_NEAR(buffer[2], model(100, 0.5, 40, 30), 1e-9);
  EXPECT_NEAR(buffer[11], model(300, -0.5, -40, 30), 1e-9);
  const double five[5] = {100, buffer[1], buffer[3], 260, 300};
  double t30 = 0, t70 = 0;
  EXPECT_EQ(gfx_TBPLogInterpolate(five, &t30, &t70), 0);  // the same estimates
  EXPECT_NEAR(t30, buffer[2], 1e-9);
  EXPECT_NEAR(t70, buffer[4], 1e-9);

  // An estimate beyond its neighbours becomes their mean (overshoots at 30 %, undershoots at 70 %).
  double steep[7] = {100, 250, 1e30, 260, 1e30, 270, 400};
  gfx_TBPLogInterpolate2(steep);
  EXPECT_EQ(steep[2], 255.0);
  EXPECT_EQ(steep[4], 265.0);
  double steepFive[5] = {100, 250, 260, 270, 400}, out[7];
  gfx_D86Expand5Pt(1, steepFive, out);  // into a separate array
  EXPECT_EQ(out[5], 270.0);
}

TEST(D86Contract7Pt, KeepsFivePointsAndTheirDerivativeRows) {
  // Entry (block b, row r, column c) holds 100 b + 10 r + c; rows 0, 1, 2, 4, 6, 7 and columns 0, 1, 3, 5, 6
  // are kept, out of place and then in place.
  std::vector<double> derivs(2 * 8 * 7), outDerivs(2 * 6 * 5), five(5), kept = {10, 11, 15, 19, 20};
  for (int i = 0; i < 2 * 8 * 7; ++i) derivs[i] = 100 * (i / 56) + 10 * (i / 7 % 8) + i % 7;
  double curve[7] = {10, 11, 13, 15, 17, 19, 20};
  gfx_D86Contract7Pt(2, curve, derivs.data(), five.data(), outDerivs.data());
  gfx_D86Contract7Pt(2, curve, derivs.data(), nullptr, nullptr);
  EXPECT_EQ(five, kept);
  EXPECT_EQ(std::vector<double>(curve, curve + 5), kept);
  const int rows[6] = {0, 1, 2, 4, 6, 7}, cols[5] = {0, 1, 3, 5, 6};
  for (int i = 0; i < 2 * 6 * 5; ++i) {
    EXPECT_EQ(outDerivs[i], 100 * (i / 30) + 10 * rows[i / 5 % 6] + cols[i % 5]) << i;
    EXPECT_EQ(derivs[i], outDerivs[i]) << i;
  }
}

}  // namespace
