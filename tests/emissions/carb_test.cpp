// CARB Phase 2 predictive model (gfx_WCARB).
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/emissions.h"

namespace {

using Vec = std::vector<double>;

struct CarbRun {
  int count;
  double out[3];
  double deriv[24];
};
CarbRun run(Vec fuel, const char* flags = "FFFFFF", int want = 0) {
  CarbRun r{};
  r.count = gfx_WCARB(want, flags, fuel.data(), r.out, r.deriv);
  return r;
}
Vec with(Vec fuel, int property, double value) {
  fuel[property] = value;
  return fuel;
}

// RVP T50 T90 aromatics olefins oxygen sulfur benzene: the flat reference.
const Vec kFlat{7.0, 210, 300, 25, 6, 2.0, 40, 1.0};

class CarbTest : public tarn::testing::LibraryTest {};

TEST_F(CarbTest, ReferenceFuelsGiveNoChange) {
  const struct { Vec fuel; const char* flags; } cases[] = {
      {kFlat, "FFFFFF"},        {{7.0, 200, 290, 22, 4, 2.0, 30, 0.8}, "AAAAAA"},
      {with(kFlat, 1, 200), "AFFFFF"}, {kFlat, "aXFFFF"},  // only an upper-case A selects averaging
      {kFlat, nullptr}, {with(kFlat, 1, 200), "A"},        // missing letters stay flat
      {with(kFlat, 0, 9.5), "FFFFFF"}};                    // RVP is not a model property
  for (const auto& c : cases) {
    const CarbRun r = run(c.fuel, c.flags);
    EXPECT_EQ(Vec(r.out, r.out + 3), Vec(3, 0.0)) << (c.flags ? c.flags : "null");
    EXPECT_EQ(r.count, 0);
  }
}

// The flat reference with 30 % aromatics, worked through the equations. No floor is active (oxygen floor 0.0359*30 +
// 0.677 = 1.75 < 2; T90 floor 323.8 - 0.9712*30 - 7.276*2 = 280.1 < 300), so ln(Ecand/Eref) of each regression is the
// sum of coefficient * change of its aromatics terms.
TEST_F(CarbTest, NonTrivialFuelMatchesHandDerivation) {
  const CarbRun r = run(with(kFlat, 3, 30));
  auto percent = [](double dy) { return 100.0 * (std::exp(dy) - 1.0); };
  const double dz3A = 5 / 9.4918766, dz3B = 5 / 7.8486738;  // aromatics step, sets A, B
  const double z2A = (300 - 315.83981) / 25.694736, z2B = (300 - 311.3688) / 22.98844;
  const double z5B = (2 - 1.266843) / 1.310604, z6A = (40 - 193.57425) / 130.37466;
  const double z3Bref = (25 - 28.604567) / 7.8486738, z3Bcand = (30 - 28.604567) / 7.8486738;
  // Result 0: regression 0 (z3, z2*z3) and 6 (z3, z5*z3), weights 0.174/0.826.
  const double dy0 = dz3A * (0.05428291 - 0.0097818 * z2A);
  const double dy6 = dz3B * (0.004154304 - 0.00579379 * z5B);
  EXPECT_NEAR(r.out[0], 0.174 * percent(dy0) + 0.826 * percent(dy6), 1e-6);
  // Result 1: regression 1 (z3, z2*z3, z3*z6) and 7 (z3, z2*z3, z3*z3).
  const double dy1 = dz3A * (-0.03844685 + 0.01822595 * z2A - 0.04053717 * z6A);
  const double dy7 = dz3B * (0.001368326 + 0.012076013 * z2B) - 0.01197286 * (z3Bcand * z3Bcand - z3Bref * z3Bref);
  EXPECT_NEAR(r.out[1], 0.198 * percent(dy1) + 0.802 * percent(dy7), 1e-6);
}

TEST_F(CarbTest, OxygenBandAndLimitEdges) {
  const Vec fuel{7.0, 195, 315, 28, 8, 2.0, 60, 0.9};
  const double atTwo = run(fuel, "FAFAFA").out[2];
  // Inside the single-precision band [1.801, 2.199) oxygen counts as 2.0.
  for (double o : {1.801, 2.1989998}) EXPECT_EQ(run(with(fuel, 5, o), "FAFAFA").out[2], atTwo) << o;
  for (double o : {1.8009, 2.199}) EXPECT_NE(run(with(fuel, 5, o), "FAFAFA").out[2], atTwo) << o;
  // Limits widened by 1.0001 (their values are checked with gfx_getCorLimits); benzene against its own bound 1.20012.
  const struct { int property; double inside, outside; } edges[] = {
      {6, 80.005, 80.01}, {7, 1.2001, 1.2002}, {1, 220.02, 220.03}, {4, 0.0, -0.001}};
  for (const auto& e : edges) {
    EXPECT_EQ(run(with(kFlat, e.property, e.inside)).count, 0) << e.property;
    EXPECT_EQ(run(with(kFlat, e.property, e.outside)).count, 1) << e.property;
  }
  // An out-of-range fuel is still evaluated. Intended: with sensitivities the
  // count is that of the last perturbed evaluation, benzene at its upper step.
  const Vec rich{7.0, 230, 340, 35, 12, 3.0, 90, 1.3};
  EXPECT_EQ(run(rich, "AAAAAA").count, 7);
  EXPECT_TRUE(std::isfinite(run(rich, "AAAAAA").out[2]));
  EXPECT_EQ(run(rich, "AAAAAA", 1).count, 6);
}

TEST_F(CarbTest, SensitivitiesInCelsius) {
  // The derivative-contract walk checks the sensitivities in F. Celsius
  // temperatures are converted and the T50 and T90 rows scaled per degree C.
  const CarbRun inF = run({7.0, 212, 302, 27, 7, 2.5, 35, 0.9}, "FAFAFA", 1);
  ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", -1.0), 0);
  const CarbRun inC = run({7.0, 100, 150, 27, 7, 2.5, 35, 0.9}, "FAFAFA", 1);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(inC.out[k], inF.out[k], 1e-12);
  for (int i = 0; i < 24; ++i) {
    const double factor = (i >= 3 && i < 9) ? 1.8 : 1.0;
    EXPECT_NEAR(inC.deriv[i], factor * inF.deriv[i], 1e-6 * (1 + std::fabs(inF.deriv[i]))) << i;
  }
  ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", 1.0), 0);
  // Without a request the array is not touched; a null one is tolerated.
  // (At and beyond a limit the differences are held inside the range: the
  // derivative-contract walk checks them.)
  const Vec atLimit{7.0, 195, 315, 28, 8, 1.2, 80, 0.9};
  double deriv[24], out[3];
  std::fill(deriv, deriv + 24, -7.0);
  gfx_WCARB(0, "FAFAFA", atLimit.data(), out, deriv);
  EXPECT_EQ(Vec(deriv, deriv + 24), Vec(24, -7.0));
  EXPECT_EQ(gfx_WCARB(1, "FAFAFA", atLimit.data(), out, nullptr), 0);
  EXPECT_EQ(gfx_WCARB(0, "FAFAFA", nullptr, out, nullptr), -1);
}

}  // namespace
