// CARB Phase 2 predictive model (gfx_WCARB).
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "support/derivatives.h"
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

class CarbTest : public tarn::testing::LibraryTest {
 protected:
  const Vec flat{7.0, 210, 300, 25, 6, 2.0, 40, 1.0};
  const Vec averaging{7.0, 200, 290, 22, 4, 2.0, 30, 0.8};
};

TEST_F(CarbTest, ReferenceFuelsGiveNoChange) {
  const struct {
    Vec fuel;
    const char* flags;
  } cases[] = {{flat, "FFFFFF"}, {averaging, "AAAAAA"}, {with(flat, 1, 200), "AFFFFF"},
               {flat, "aXFFFF"},  // only an upper-case A selects averaging
               {flat, nullptr},   {with(flat, 1, 200), "A"},  // missing letters stay flat
               {with(flat, 0, 9.5), "FFFFFF"}};  // RVP is not a model property
  for (const auto& c : cases) {
    const CarbRun r = run(c.fuel, c.flags);
    EXPECT_EQ(r.count, 0);
    for (double v : r.out) EXPECT_EQ(v, 0.0) << (c.flags ? c.flags : "null");
  }
}

// The flat reference with 30 % aromatics, worked through the equations. No
// floor is active (oxygen floor 0.0359*30 + 0.677 = 1.75 < 2; T90 floor
// 323.8 - 0.9712*30 - 7.276*2 = 280.1 < 300), so ln(Ecand/Eref) of each
// regression is the sum of coefficient * change of its aromatics terms.
TEST_F(CarbTest, NonTrivialFuelMatchesHandDerivation) {
  const CarbRun r = run(with(flat, 3, 30));
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
  const double dy7 = dz3B * (0.001368326 + 0.012076013 * z2B) -
                     0.01197286 * (z3Bcand * z3Bcand - z3Bref * z3Bref);
  EXPECT_NEAR(r.out[1], 0.198 * percent(dy1) + 0.802 * percent(dy7), 1e-6);
  EXPECT_NEAR(r.out[0], 0.60975707, 1e-6);
  EXPECT_NEAR(r.out[1], -0.08315316, 1e-6);
}

TEST_F(CarbTest, OxygenBandAndLimitEdges) {
  const Vec fuel{7.0, 195, 315, 28, 8, 2.0, 60, 0.9};
  const CarbRun atTwo = run(fuel, "FAFAFA");
  // Inside the single-precision band [1.801, 2.199) oxygen counts as 2.0.
  for (double o : {1.9, 2.1, 1.801, 2.1989998}) EXPECT_EQ(run(with(fuel, 5, o), "FAFAFA").out[2], atTwo.out[2]) << o;
  for (double o : {1.8, 2.2, 1.8009, 2.199}) EXPECT_NE(run(with(fuel, 5, o), "FAFAFA").out[2], atTwo.out[2]) << o;

  // Limits widened by 1.0001; benzene against its own bound 1.20012.
  const struct {
    int property;
    double inside, outside;
  } edges[] = {{6, 80.005, 80.01}, {7, 1.2001, 1.2002}, {5, 2.7002, 2.7003},
               {0, 20.001, 20.003}, {1, 220.02, 220.03}, {4, 0.0, -0.001}};
  for (const auto& e : edges) {
    EXPECT_EQ(run(with(flat, e.property, e.inside)).count, 0) << e.property;
    EXPECT_EQ(run(with(flat, e.property, e.outside)).count, 1) << e.property;
  }
  // An out-of-range fuel is still evaluated. With sensitivities the count is
  // that of the last perturbed evaluation, benzene at its upper step.
  const Vec rich{7.0, 230, 340, 35, 12, 3.0, 90, 1.3};
  EXPECT_EQ(run(rich, "AAAAAA").count, 7);
  EXPECT_TRUE(std::isfinite(run(rich, "AAAAAA").out[2]));
  EXPECT_EQ(run(rich, "AAAAAA", 1).count, 6);
}

TEST_F(CarbTest, CelsiusTemperaturesAreConvertedAndTheirSensitivitiesScaled) {
  const CarbRun inF = run({7.0, 212, 302, 27, 7, 2.5, 35, 0.9}, "FAFAFA", 1);
  ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", -1.0), 0);
  const CarbRun inC = run({7.0, 100, 150, 27, 7, 2.5, 35, 0.9}, "FAFAFA", 1);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(inC.out[k], inF.out[k], 1e-12);
  for (int i = 0; i < 24; ++i) {
    const double factor = (i >= 3 && i < 9) ? 1.8 : 1.0;  // the T50 and T90 rows
    EXPECT_NEAR(inC.deriv[i], factor * inF.deriv[i], 1e-6 * (1 + std::fabs(inF.deriv[i]))) << i;
  }
}

TEST_F(CarbTest, SensitivitiesAreCentralDifferencesClampedToTheLimits) {
  const char* flags = "FAFAFA";
  auto model = [&](const Vec& x) {
    const CarbRun r = run(x, flags);
    return Vec(r.out, r.out + 3);
  };
  // An interior fuel, and one with the T50, T90 and oxygen floors active.
  for (const Vec& fuel : {Vec{7.0, 195, 315, 28, 8, 1.2, 60, 0.9}, Vec{7.0, 170, 250, 20, 3, 0.5, 10, 0.5}}) {
    const CarbRun r = run(fuel, flags, 1);
    tarn::testing::expectJacobianNear(Vec(r.deriv, r.deriv + 24),
                                      tarn::testing::centralJacobian(model, fuel, 3), 3, 1e-4, 1e-6);
  }
  // At a limit the difference is one-sided: sulfur 80 uses [80 - h, 80].
  const Vec atLimit{7.0, 195, 315, 28, 8, 1.2, 80, 0.9};
  const CarbRun r = run(atLimit, flags, 1), below = run(with(atLimit, 6, 80 - 81e-6), flags);
  for (int k = 0; k < 3; ++k) {
    EXPECT_NEAR(r.deriv[18 + k], (r.out[k] - below.out[k]) / 81e-6, 1e-6 * (1 + std::fabs(r.deriv[18 + k])));
  }
  // Without a request the array is not touched; a null one is tolerated.
  double deriv[24], out[3];
  std::fill(deriv, deriv + 24, -7.0);
  gfx_WCARB(0, flags, atLimit.data(), out, deriv);
  for (double d : deriv) EXPECT_EQ(d, -7.0);
  EXPECT_EQ(gfx_WCARB(1, flags, atLimit.data(), out, nullptr), 0);
  EXPECT_EQ(gfx_WCARB(0, flags, nullptr, out, nullptr), -1);
}

// Results recorded bit for bit from the first implementation of the model;
// any restructuring of it must reproduce them exactly. The cases cover the
// averaging references, active floors, out-of-range properties and Celsius.
struct Recorded {
  const char* flags;
  char unit;
  double in[8];
  int count;
  double out[3];
  double deriv[24];
};
const Recorded kRecorded[] = {
    {"FFFFFF", 'F', {7, 170, 250, 20, 3, 0.5, 10, 0.5}, 0,
     {-0x1.9b103dd9dac98p+0, -0x1.ddf25fe542b0dp+2, -0x1.eca13a255a278p+4},
     {0x0p+0, 0x0p+0, 0x0p+0, -0x1.8fd1fa55e6e2p-6, 0x1.e216ebbedc932p-5, 0x1.43103de2f2356p-3,
      -0x1.0c9d5fbcd6abfp-5, -0x1.275f28a1903fep-9, 0x1.084f51275b82ap-3, 0x1.718b5c71730b7p-3,
      0x1.3e5895950f73ap-3, 0x1.22de0bdb3551ap-1, 0x1.f55ba278b42c8p-2, -0x1.568fde3070612p-3,
      0x1.bdac2fff26751p-1, 0x1.946ff1a0c68acp-3, -0x1.619f55c970731p+0, 0x1.2d8f42bd8dbp-1,
      0x1.05f2e13e4e781p-5, 0x1.1f3d91f467ce6p-4, 0x1.50f32b2ccc054p-5, 0x0p+0, 0x0p+0,
      0x1.379f0c9ab0eb5p+3}},
    {"AAAAAA", 'F', {9, 230, 340, 35, 12, 3, 90, 1.3}, 6,
     {0x1.d15470f97802ap+2, 0x1.04db819470b5ep+5, 0x1.02740ee6e0476p+6},
     {0x0p+0, 0x0p+0, 0x0p+0, 0x1.628b6a0b3b781p-8, 0x1.9bae539fb5e6p-1, 0x1.932195c57fd0cp-2,
      -0x1.97815fb660dd1p-6, 0x1.0bc3fd71eedd8p-1, 0x1.2f0c15973def6p-2, 0x1.b16727254e5dbp-5,
      0x1.6ab241b0349c8p-4, 0x1.6861330116513p+0, 0x1.0f4edddd3ce2dp-1, -0x1.d7f98b20a5d8fp-3,
      0x1.08adad2f81261p+1, 0x1.7c2379e6de356p+0, 0x1.f5efe83c3f7dbp-3, 0x1.59baaa9134c64p+0,
      0x1.1b57f4b1bf22bp-5, 0x1.7767371bcf942p-4, 0x1.b58023a6a3a88p-4, -0x0p+0, -0x0p+0,
      0x1.7c45c2b4fbebap+4}},
    {"FAFAFA", 'C', {7.5, 95, 150, 27, 7, 2.5, 35, 0.9}, 0,
     {0x1.da1967690dc7cp+0, -0x1.acdb6b150e28cp+1, 0x1.fea5cb5a005bbp+2},
     {0x0p+0, 0x0p+0, 0x0p+0, -0x1.d2c1a9469bffap-7, 0x1.2c33e1531b71bp-1, 0x1.d58d8c4cc0069p-2,
      -0x1.956e558388679p-5, 0x1.da6879ff0a42cp-3, 0x1.78d75fc09dd03p-2, 0x1.98b9359565617p-4,
      0x1.f77ae74525d44p-7, 0x1.d2949362b0c4p-1, 0x1.033eaeca371f7p-1, -0x1.66356f1453ea7p-3,
      0x1.64b9f539d0eb5p+0, 0x1.54d8d15dd93d9p+0, -0x1.64ccb1dddb788p+0, 0x1.df70965aa496dp-1,
      0x1.0e78e7708be3fp-5, 0x1.1a05458bb864dp-4, 0x1.10581d32415d9p-4, 0x0p+0, 0x0p+0,
      0x1.e639dac96cbb6p+3}},
};

TEST_F(CarbTest, ResultsAreBitIdenticalToTheRecordedOnes) {
  for (const Recorded& rec : kRecorded) {
    ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", rec.unit == 'F' ? 1.0 : -1.0), 0);
    double out[3], deriv[24];
    EXPECT_EQ(gfx_WCARB(1, rec.flags, rec.in, out, deriv), rec.count) << rec.flags;
    EXPECT_EQ(std::memcmp(out, rec.out, sizeof out), 0) << rec.flags;
    EXPECT_EQ(std::memcmp(deriv, rec.deriv, sizeof deriv), 0) << rec.flags;
  }
}

}  // namespace
