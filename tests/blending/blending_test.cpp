// Blending rules: worked values, slopes outside the catalogue, MTM undoing itself, kept behaviours.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/blending.h"
#include "tarn/corparms.h"

namespace {

using tarn::testing::centralJacobian;
using tarn::testing::expectJacobianNear;
using Vector = std::vector<double>;
using BlendingTest = tarn::testing::LibraryTest;

TEST_F(BlendingTest, LinearByVolumeAndByMass) {
  const double volumes[] = {20, 30, 50}, gravities[] = {0.70, 0.75, 0.80}, values[] = {90, 94, 100};
  EXPECT_NEAR(gfx_LinearByVolume(volumes, 3, values), 96.2, 1e-12);
  // Masses 14, 22.5, 40: (1260 + 2115 + 4000)/76.5.
  EXPECT_NEAR(gfx_LinearByMass(volumes, 3, gravities, values), 7375.0 / 76.5, 1e-12);
  const double none[] = {0, 0, 0};
  EXPECT_EQ(gfx_LinearByMass(volumes, 3, none, values), 1e30);
  EXPECT_FALSE(std::isfinite(gfx_LinearByVolume(none, 3, values)));  // intended: the bare mean
}

TEST_F(BlendingTest, ChesapeakMovesEachPointBySlopeTimesSegment) {
  const double curve[7] = {90, 120, 150, 200, 250, 320, 400};
  const double expected[7] = {-0.2506 * 30 + 90 - 58,    -0.6068 * 30 + 120 - 29, -0.716 * 50 + 150 - 17,
                              0.957648 * 200 + 2.603229, 0.228 * 50 + 250 - 2,    0.05 * 70 + 320 + 5,
                              -0.285 * 80 + 400 + 11.5};  // last two add
  double out[7], celsius[7];
  ASSERT_EQ(gfx_ChesapeakF('F', 0, curve, out), 0);
  for (int i = 0; i < 7; ++i) EXPECT_NEAR(out[i], expected[i], 1e-9) << i;
  for (int i = 0; i < 7; ++i) celsius[i] = (curve[i] - 32) * 5 / 9;
  ASSERT_EQ(gfx_ChesapeakF('C', 0, celsius, out), 0);
  for (int i = 0; i < 7; ++i) EXPECT_NEAR(out[i], (expected[i] - 32) * 5 / 9, 1e-9) << i;
  // IBP = 10 % = 30 %: IBP' = 119.9982, 30 %' = 120.0018; the 50 % segment starts at the adjusted 30 %.
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

TEST_F(BlendingTest, InteractionSlopesAndTheirModes) {
  Vector d;
  EXPECT_EQ(interactive(1, {0, 4, 0, 0}, {0.5, 90, 0.5, 100}, &d)[0], 96);  // 95 + 0.5*4*0.5
  EXPECT_EQ(d, (Vector{-5, 0.5, 5, 0.5}));  // minus 2Q + L = 97 for renormalised fractions
  // Any other mode gives plain partials; with interactions in row 0 only they are the slopes of the value.
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

TEST_F(BlendingTest, FreezePointCubeRootRule) {
  Vector dF;
  // -60 + 0.5^(1/3)*20 F; the absent -10 F component does not count.
  EXPECT_NEAR(freeze('F', {0.5, -60, 0.5, -40, 0, -10})[0], -44.125989, 1e-6);
  EXPECT_NEAR(freeze('C', {0.5, -460.0 / 9, 0.5, -40, 0, -10})[0], (-44.125989 - 32) / 1.8, 1e-6);
  const Vector v = {0.3, -58, 0.25, -47.5, 0.45, -66};
  freeze('C', v, &dF);
  expectJacobianNear(dF, centralJacobian([](const Vector& w) { return freeze('C', w); }, v, 1), 1);
  // Intended: a component both lowest and highest gets 1 - x^(1/3), the blend still follows it.
  EXPECT_EQ(freeze('F', {1, -52}, &dF)[0], -52);
  EXPECT_EQ(dF[1], 0);
  freeze('F', {0.5, -52, 0.5, -52}, &dF);  // equal points: the first is both
  EXPECT_EQ(dF, (Vector{0, 1 - std::cbrt(0.5), 0, 0}));
  EXPECT_EQ(freeze('F', {0, -60, -0.2, -40}, &dF)[0], 1e30);  // nobody present
  EXPECT_EQ(dF, Vector(4, 0.0));
}

// Per component (x, RON, MON, olefins, aromatics); `renormalise` scales fractions to sum to one first.
Vector healy(const Vector& v, bool renormalise, Vector* d = nullptr) {
  const int n = static_cast<int>(v.size() / 5);
  Vector in[5], out(2);
  for (std::size_t i = 0; i < v.size(); ++i) in[i % 5].push_back(v[i]);
  double sum = 0;
  for (double f : in[0]) sum += f;
  if (renormalise)
    for (double& f : in[0]) f /= sum;
  if (d) d->assign(10 * n, 0.0);
  EXPECT_EQ(gfx_Healy(d != nullptr, in[0].data(), n, in[1].data(), in[2].data(), in[3].data(), in[4].data(), out.data(),
                      d ? d->data() : nullptr),
            0);
  return out;
}

TEST_F(BlendingTest, HealyWorkedBlendAndSlopes) {
  // x = (0.5, 0.3, 0.2), RON (98, 92, 85), MON (88, 84, 80), sensitivities (10, 8, 5):
  //   sum xR = 93.6, sum xM = 85.2, sum xS = 8.4, sum xSR = 795.8, sum xSM = 721.6
  //   olefins (10, 20, 0): sum xO = 11, sum xO^2 = 170, spread 49
  //   aromatics (30, 20, 10): sum xA = 23, sum xA^2 = 590, spread 61
  //   RON = 93.6 + 0.05411*(795.8 - 786.24) + 0.00098*49 - 0.00074*61 = 94.1201716
  //   MON = 85.2 + 0.03908*(721.6 - 715.68) - 0.00703*61^2*0.0001 = 85.428737737
  const Vector v = {0.5, 98, 88, 10, 30, 0.3, 92, 84, 20, 20, 0.2, 85, 80, 0, 10};
  Vector d;
  const Vector out = healy(v, false, &d);
  EXPECT_NEAR(out[0], 94.1201716, 1e-9);
  EXPECT_NEAR(out[1], 85.428737737, 1e-9);
  // Fraction slopes keep the sum at one: those of the renormalised blend, not of one fraction alone.
  auto renormalised = [](const Vector& w) { return healy(w, true); };
  expectJacobianNear(d, centralJacobian(renormalised, v, 2), 2);
}

TEST_F(BlendingTest, HealyFractionsOffOneAreRepairedOrRefused) {
  const double ron[] = {100, 90}, mon[] = {90, 80}, ole[] = {5, 5}, aro[] = {20, 20};
  double x[] = {2, 2}, out[2], d[20], modeTwo[20], none[20] = {};
  ASSERT_EQ(gfx_Healy(1, x, 2, ron, mon, ole, aro, out, d), 0);
  EXPECT_EQ(x[0], 0.5);            // normalised in the caller's array
  EXPECT_NEAR(out[0], 95, 1e-12);  // sensitivity 10 on both sides: no correction
  // Modes 1 and 2 give the same slopes; any other mode writes none.
  gfx_Healy(2, x, 2, ron, mon, ole, aro, out, modeTwo);
  gfx_Healy(3, x, 2, ron, mon, ole, aro, out, none);
  EXPECT_TRUE(std::equal(d, d + 20, modeTwo));
  EXPECT_EQ(std::count(none, none + 20, 0.0), 20);
  // Inside the window a lone component shows spreads: sum xR 99.95, xS 9.995, xSR 999.5,
  // olefin spread 24.9875 - 4.9975^2, aromatic spread 399.8 - 19.99^2.
  double nearOne[] = {0.9995, 0}, empty[] = {0, 0};
  ASSERT_EQ(gfx_Healy(0, nearOne, 2, ron, mon, ole, aro, out, nullptr), 0);
  EXPECT_NEAR(out[0], 99.95 + 0.05411 * 0.49975 + 0.00098 * 0.01249375 - 0.00074 * 0.1999, 1e-12);
  EXPECT_EQ(gfx_Healy(1, empty, 2, ron, mon, ole, aro, out, d), 2);
  // Intended: with ChangeData on, fractions off one are refused, nothing written.
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1), 0);
  x[0] = x[1] = 2;
  out[0] = -1;
  EXPECT_EQ(gfx_Healy(1, x, 2, ron, mon, ole, aro, out, d), 2);
  EXPECT_EQ(x[0], 2);
  EXPECT_EQ(out[0], -1);
}

using Routine = int (*)(const double*, double, double, double*, int, double*);

// Inputs (q0, a, b, q1): the order of the slopes.
Vector run(Routine f, const Vector& v, Vector* slopes = nullptr) {
  const double q[2] = {v[0], v[3]};
  Vector out(2);
  if (slopes) slopes->assign(8, 0.0);
  f(q, v[1], v[2], out.data(), slopes != nullptr, slopes ? slopes->data() : nullptr);
  return out;
}

TEST_F(BlendingTest, MtmWorkedValues) {
  // RON 95, MON 85, no olefins or aromatics: D = 1 - 0.02*5 - 0.0388*5 = 0.706, k = 10/D.
  EXPECT_NEAR(run(gfx_MTMF, {95, 0, 0, 85})[0], 95 + 0.1 * 10 / 0.706, 1e-12);
  EXPECT_NEAR(run(gfx_MTMF, {95, 0, 0, 85})[1], 85 - 0.194 * 10 / 0.706, 1e-12);
  // Equal octanes (k = 0) and a + b = 100 (z = 0): only g*x*y acts.
  EXPECT_NEAR(run(gfx_MTMF, {95, 40, 60, 95})[1], 95 + 0.0027 * 2400, 1e-12);
  // Intended: at 120 % x = 60/120 = 0.5 and y = 60/(0.5 + 60), not 0.5.
  EXPECT_NEAR(run(gfx_MTMF, {90, 60, 60, 90})[0], 90 - 0.0002 * 0.5 * (60 / 60.5), 1e-13);
  // P11 and P12 are the reference octanes: a blend sitting on them is not corrected.
  ASSERT_EQ(gfx_setCorParms("MTM", "P11", 95) + gfx_setCorParms("MTM", "P12", 85), 0);
  EXPECT_EQ(run(gfx_MTMF, {95, 0, 0, 85}), (Vector{95, 85}));
}

TEST_F(BlendingTest, MtmSlopesKeptOnPurpose) {
  Vector s;
  // Above 100 % the slopes ignore the renormalisation.
  for (Routine f : {gfx_MTMF, gfx_MTMR}) {
    const Vector v = {95, 60, 60, 85};
    const Vector numeric = centralJacobian([f](const Vector& w) { return run(f, w); }, v, 2);
    run(f, v, &s);
    EXPECT_FALSE(tarn::testing::derivativeNear(s[2], numeric[2]));
  }
  // TMON above TRON floors sensitivity at 0: octanes uncorrected, cross slopes still (R - r0)*cq, -(M - m0)*cm.
  EXPECT_EQ(run(gfx_MTMR, {88, 0, 0, 92}, &s), (Vector{88, 92}));
  EXPECT_NEAR(s[6], -2 * 0.02, 1e-15);
  EXPECT_NEAR(s[1], -2 * 0.0388, 1e-15);
}

TEST_F(BlendingTest, MtmReverseUndoesForwardOnRealisticBlends) {
  // With RON >= MON the round trip is exact and the two octane slope matrices are inverses.
  Vector f, r;
  for (double ron : {86.0, 91.0, 95.5, 100.0})
    for (double mon : {78.0, 83.0, 86.0})
      for (double ole : {0.0, 8.0, 25.0}) {
        const Vector t = run(gfx_MTMF, {ron, ole, 45.0 - ole, mon}, &f);
        const Vector back = run(gfx_MTMR, {t[0], ole, 45.0 - ole, t[1]}, &r);
        EXPECT_NEAR(back[0], ron, 1e-9);
        EXPECT_NEAR(back[1], mon, 1e-9);
        EXPECT_NEAR(r[0] * f[0] + r[6] * f[1], 1.0, 1e-9);
        EXPECT_NEAR(r[1] * f[6] + r[7] * f[7], 1.0, 1e-9);
      }
}

}  // namespace
