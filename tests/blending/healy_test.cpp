// Healy octane blending: worked blends, the fraction window, and the ten
// slopes per component against central differences.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/blending.h"
#include "tarn/corparms.h"

namespace {

using Vector = std::vector<double>;

class HealyTest : public tarn::testing::LibraryTest {};

// Inputs per component (x, RON, MON, olefins, aromatics): the slope layout.
// With `renormalise` the fractions are scaled to sum to one before the call.
Vector healy(const Vector& v, bool renormalise, Vector* d = nullptr) {
  const int n = static_cast<int>(v.size() / 5);
  Vector in[5], out(2);
  for (std::size_t i = 0; i < v.size(); ++i) in[i % 5].push_back(v[i]);
  double sum = 0;
  for (double f : in[0]) sum += f;
  if (renormalise) for (double& f : in[0]) f /= sum;
  if (d) d->assign(10 * n, 0.0);
  EXPECT_EQ(gfx_Healy(d != nullptr, in[0].data(), n, in[1].data(), in[2].data(), in[3].data(), in[4].data(),
                      out.data(), d ? d->data() : nullptr), 0);
  return out;
}

TEST_F(HealyTest, WorkedBlendsAndSlopes) {
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
  // Fraction slopes keep the sum at one, so they are those of the blend of
  // renormalised fractions, not of one fraction moving alone.
  auto renormalised = [](const Vector& w) { return healy(w, true); };
  tarn::testing::expectJacobianNear(d, tarn::testing::centralJacobian(renormalised, v, 2), 2);
}

TEST_F(HealyTest, FractionsOffOneAreRepairedOrRefused) {
  const double ron[] = {100, 90}, mon[] = {90, 80}, ole[] = {5, 5}, aro[] = {20, 20};
  double x[] = {2, 2}, out[2], d[20], modeTwo[20], none[20] = {};
  ASSERT_EQ(gfx_Healy(1, x, 2, ron, mon, ole, aro, out, d), 0);
  EXPECT_EQ(x[0], 0.5);  // normalised in the caller's array
  EXPECT_NEAR(out[0], 95, 1e-12);  // sensitivity 10 on both sides: no correction
  // Modes 1 and 2 give the same slopes; any other mode writes none.
  gfx_Healy(2, x, 2, ron, mon, ole, aro, out, modeTwo);
  gfx_Healy(3, x, 2, ron, mon, ole, aro, out, none);
  EXPECT_TRUE(std::equal(d, d + 20, modeTwo));
  EXPECT_EQ(std::count(none, none + 20, 0.0), 20);
  // Inside the window fractions are used as given, so a lone component shows
  // spreads: sum xR = 99.95, sum xS = 9.995, sum xSR = 999.5, olefin spread
  // 24.9875 - 4.9975^2, aromatic spread 399.8 - 19.99^2.
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

}  // namespace
