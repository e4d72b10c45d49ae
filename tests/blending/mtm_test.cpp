// The MTM octane correction and its reverse: worked values of the forward
// correction, the slopes kept on purpose, and the reverse undoing the forward
// correction (which pins the reverse's values). Their slopes at an ordinary
// blend are checked by evaluation by index.
#include <gtest/gtest.h>

#include <vector>

#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/blending.h"
#include "tarn/corparms.h"

namespace {

using Routine = int (*)(const double*, double, double, double*, int, double*);
using Vector = std::vector<double>;

class MtmTest : public tarn::testing::LibraryTest {};

// Inputs (q0, a, b, q1): the order of the slopes.
Vector run(Routine f, const Vector& v, Vector* slopes = nullptr) {
  const double q[2] = {v[0], v[3]};
  Vector out(2);
  if (slopes) slopes->assign(8, 0.0);
  f(q, v[1], v[2], out.data(), slopes != nullptr, slopes ? slopes->data() : nullptr);
  return out;
}

TEST_F(MtmTest, WorkedValues) {
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

TEST_F(MtmTest, SlopesKeptOnPurpose) {
  Vector s;
  // Above 100 % the slopes ignore the renormalisation.
  for (Routine f : {gfx_MTMF, gfx_MTMR}) {
    const Vector v = {95, 60, 60, 85};
    const Vector numeric = tarn::testing::centralJacobian([f](const Vector& w) { return run(f, w); }, v, 2);
    run(f, v, &s);
    EXPECT_FALSE(tarn::testing::derivativeNear(s[2], numeric[2]));
  }
  // TMON above TRON floors the sensitivity at 0, so the octanes come back
  // uncorrected, yet the cross slopes still carry (R - r0)*cq, -(M - m0)*cm.
  EXPECT_EQ(run(gfx_MTMR, {88, 0, 0, 92}, &s), (Vector{88, 92}));
  EXPECT_NEAR(s[6], -2 * 0.02, 1e-15);
  EXPECT_NEAR(s[1], -2 * 0.0388, 1e-15);
}

TEST_F(MtmTest, ReverseUndoesForwardOnRealisticBlends) {
  // Whenever RON >= MON the round trip is exact but for rounding, and the
  // octane slopes of the two are inverse matrices.
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
