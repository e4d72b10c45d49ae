// Linear, interaction and freeze point blending and the Chesapeak curve
// transform: worked values, slopes against central differences, and the
// behaviours kept on purpose.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/blending.h"

namespace {

using tarn::testing::centralJacobian;
using tarn::testing::expectJacobianNear;
using Vector = std::vector<double>;

class BlendingRulesTest : public tarn::testing::LibraryTest {};

TEST_F(BlendingRulesTest, LinearByVolumeAndByMass) {
  const double volumes[] = {20, 30, 50}, gravities[] = {0.70, 0.75, 0.80}, values[] = {90, 94, 100};
  EXPECT_NEAR(gfx_LinearByVolume(volumes, 3, values), 96.2, 1e-12);
  // Masses 14, 22.5, 40: (1260 + 2115 + 4000)/76.5.
  EXPECT_NEAR(gfx_LinearByMass(volumes, 3, gravities, values), 7375.0 / 76.5, 1e-12);
  const double none[] = {0, 0, 0};
  EXPECT_EQ(gfx_LinearByMass(volumes, 3, none, values), 1e30);
  EXPECT_FALSE(std::isfinite(gfx_LinearByVolume(none, 3, values)));  // intended: the bare mean
}

TEST_F(BlendingRulesTest, ChesapeakMovesEachPointBySlopeTimesSegment) {
  const double curve[7] = {90, 120, 150, 200, 250, 320, 400};
  const double expected[7] = {-0.2506 * 30 + 90 - 58, -0.6068 * 30 + 120 - 29, -0.716 * 50 + 150 - 17,
                              0.957648 * 200 + 2.603229, 0.228 * 50 + 250 - 2,
                              0.05 * 70 + 320 + 5, -0.285 * 80 + 400 + 11.5};  // last two add
  double out[7], celsius[7];
  ASSERT_EQ(gfx_ChesapeakF('F', 0, curve, out), 0);
  for (int i = 0; i < 7; ++i) EXPECT_NEAR(out[i], expected[i], 1e-9) << i;
  for (int i = 0; i < 7; ++i) celsius[i] = (curve[i] - 32) * 5 / 9;
  ASSERT_EQ(gfx_ChesapeakF('C', 0, celsius, out), 0);
  for (int i = 0; i < 7; ++i) EXPECT_NEAR(out[i], (expected[i] - 32) * 5 / 9, 1e-9) << i;
  // IBP = 10 % = 30 %: IBP' = 119.9982, 30 %' = 120.0018; the 50 % segment
  // starts at the adjusted 30 % point, its base is the raw one.
  const double flat[7] = {120, 120, 120, 200, 250, 320, 400};
  ASSERT_EQ(gfx_ChesapeakF('F', 0, flat, out), 0);
  EXPECT_NEAR(out[0], -0.2506 * 0.0018 + 120 - 58, 1e-12);
  EXPECT_NEAR(out[2], -0.716 * (200 - 120.0018) + 120 - 17, 1e-12);
  const double disordered[7] = {90, 130, 120, 200, 250, 320, 400};
  EXPECT_EQ(gfx_ChesapeakF('F', 0, disordered, out), 1);
}

// Inputs per component (fraction, property), the slope layout of both rules.
Vector interactive(int mode, const Vector& I, const Vector& v, Vector* d = nullptr) {
  Vector x, p;
  for (std::size_t i = 0; i < v.size(); i += 2) x.push_back(v[i]), p.push_back(v[i + 1]);
  if (d) d->assign(v.size(), 0.0);
  return {gfx_Interactive(mode, x.data(), static_cast<int>(x.size()), I.data(), p.data(), d ? d->data() : nullptr)};
}

TEST_F(BlendingRulesTest, InteractionSlopesAndTheirModes) {
  Vector d;
  EXPECT_EQ(interactive(1, {0, 4, 0, 0}, {0.5, 90, 0.5, 100}, &d)[0], 96);  // 95 + 0.5*4*0.5
  EXPECT_EQ(d, (Vector{-5, 0.5, 5, 0.5}));  // minus 2Q + L = 97 for renormalised fractions
  // Any other mode gives plain partials; with interactions in row 0 only they
  // are the slopes of the value.
  const Vector rowZero = {9, 2.5, -1.5, 0, 0, 0, 0, 0, 0}, v = {0.2, 88, 0.3, 92, 0.5, 97};
  interactive(-1, rowZero, v, &d);
  expectJacobianNear(d, centralJacobian([&](const Vector& w) { return interactive(0, rowZero, w); }, v, 1), 1);
  // Intended: an interaction in row 1 is missed by the slopes (stride n + 1).
  interactive(2, {0, 0, 0, 0, 0, 3, 0, 0, 0}, v, &d);
  EXPECT_EQ(d[2], 92);  // the value's slope is 92 + 3*0.5
  EXPECT_EQ(interactive(1, rowZero, {}, &d)[0], 0);
}

Vector freeze(char unit, const Vector& v, Vector* d = nullptr) {
  Vector x, t;
  for (std::size_t i = 0; i < v.size(); i += 2) x.push_back(v[i]), t.push_back(v[i + 1]);
  if (d) d->assign(v.size(), -1.0);
  return {gfx_Freeze(d != nullptr, unit, x.data(), static_cast<int>(x.size()), t.data(), d ? d->data() : nullptr)};
}

TEST_F(BlendingRulesTest, FreezePointCubeRootRule) {
  Vector dF;
  // -60 + 0.5^(1/3)*20 F; the absent -10 F component does not count.
  EXPECT_NEAR(freeze('F', {0.5, -60, 0.5, -40, 0, -10})[0], -44.125989, 1e-6);
  EXPECT_NEAR(freeze('C', {0.5, -460.0 / 9, 0.5, -40, 0, -10})[0], (-44.125989 - 32) / 1.8, 1e-6);
  const Vector v = {0.3, -58, 0.25, -47.5, 0.45, -66};
  freeze('C', v, &dF);
  expectJacobianNear(dF, centralJacobian([](const Vector& w) { return freeze('C', w); }, v, 1), 1);
  // Intended: a component both lowest and highest gets 1 - x^(1/3), though
  // the blend follows its freeze point one for one.
  EXPECT_EQ(freeze('F', {1, -52}, &dF)[0], -52);
  EXPECT_EQ(dF[1], 0);
  freeze('F', {0.5, -52, 0.5, -52}, &dF);  // equal points: the first is both
  EXPECT_EQ(dF, (Vector{0, 1 - std::cbrt(0.5), 0, 0}));
  EXPECT_EQ(freeze('F', {0, -60, -0.2, -40}, &dF)[0], 1e30);  // nobody present
  EXPECT_EQ(dF, Vector(4, 0.0));
}

}  // namespace
