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

using tarn::testing::centralJacobian;
using tarn::testing::expectJacobianNear;

class CarbTest : public tarn::testing::LibraryTest {
 protected:
  struct Result {
    int count;
    double out[3];
    double deriv[24];
  };
  static Result run(std::vector<double> fuel, const char* flags = "FFFFFF", int want = 0) {
    Result r{};
    r.count = gfx_WCARB(want, flags, fuel.data(), r.out, r.deriv);
    return r;
  }
  static std::vector<double> results(const std::vector<double>& fuel, const char* flags) {
    Result r = run(fuel, flags);
    return {r.out[0], r.out[1], r.out[2]};
  }
  // The flat-limit reference fuel.
  const std::vector<double> flat{7.0, 210, 300, 25, 6, 2.0, 40, 1.0};
  const std::vector<double> averaging{7.0, 200, 290, 22, 4, 2.0, 30, 0.8};
};

TEST_F(CarbTest, ReferenceFuelsGiveNoChange) {
  for (const auto& [fuel, flags] : {std::pair{flat, "FFFFFF"}, std::pair{averaging, "AAAAAA"}}) {
    const Result r = run(fuel, flags);
    EXPECT_EQ(r.count, 0);
    for (double v : r.out) EXPECT_EQ(v, 0.0) << flags;
  }
  // Each flag picks its own property's reference: T50 averaging, the rest flat.
  std::vector<double> mixed = flat;
  mixed[1] = 200;
  for (double v : run(mixed, "AFFFFF").out) EXPECT_EQ(v, 0.0);
  // Only an upper-case A selects averaging.
  for (double v : run(flat, "aXFFFF").out) EXPECT_EQ(v, 0.0);
  // A null or short flag string leaves the missing flags flat.
  for (double v : run(flat, nullptr).out) EXPECT_EQ(v, 0.0);
  for (double v : run(mixed, "A").out) EXPECT_EQ(v, 0.0);
  // RVP is not a model property: any RVP gives the reference result.
  std::vector<double> volatileFuel = flat;
  volatileFuel[0] = 9.5;
  for (double v : run(volatileFuel).out) EXPECT_EQ(v, 0.0);
}

// The flat reference fuel with 30 % aromatics instead of 25, worked through
// the model's equations. Only the aromatics terms change; none of the floors
// is active (oxygen floor 0.0359*30 + 0.677 = 1.75 < 2, T90 floor
// 323.8 - 0.9712*30 - 7.276*2 = 280.1 < 300), so every group uses the plain
// candidate. For each model ln(Ecand/Eref) = sum of coefficient * change of
// its terms.
TEST_F(CarbTest, NonTrivialFuelMatchesHandDerivation) {
  std::vector<double> fuel = flat;
  fuel[3] = 30;
  const Result r = run(fuel);
  auto percent = [](double dy) { return 100.0 * (std::exp(dy) - 1.0); };

  // Standardized reference values and the aromatics step in sets A and B.
  const double dz3A = 5 / 9.4918766, dz3B = 5 / 7.8486738;
  const double z2A = (300 - 315.83981) / 25.694736, z2B = (300 - 311.3688) / 22.98844;
  const double z5B = (2 - 1.266843) / 1.310604, z6A = (40 - 193.57425) / 130.37466;
  const double z3Bref = (25 - 28.604567) / 7.8486738, z3Bcand = (30 - 28.604567) / 7.8486738;

  // Result 0: group 1 model 0 (z3, z2*z3), group 2 model 6 (z3, z5*z3).
  const double dy0 = dz3A * (0.05428291 - 0.0097818 * z2A);
  const double dy6 = dz3B * (0.004154304 - 0.00579379 * z5B);
  EXPECT_NEAR(r.out[0], 0.174 * percent(dy0) + 0.826 * percent(dy6), 1e-6);
  EXPECT_NEAR(r.out[0], 0.60975707, 1e-6);

  // Result 1: model 1 (z3, z2*z3, z3*z6), model 7 (z3, z2*z3, z3*z3).
  const double dy1 = dz3A * (-0.03844685 + 0.01822595 * z2A - 0.04053717 * z6A);
  const double dy7 = dz3B * (0.001368326 + 0.012076013 * z2B) -
                     0.01197286 * (z3Bcand * z3Bcand - z3Bref * z3Bref);
  EXPECT_NEAR(r.out[1], 0.198 * percent(dy1) + 0.802 * percent(dy7), 1e-6);
  EXPECT_NEAR(r.out[1], -0.08315316, 1e-6);

  // Result 2 needs the absolute toxic emissions of the reference fuel: the
  // toxic models are linear in z, so y = intercepts + sum of coefficient * z.
  const double zA[8] = {0, (210 - 211.33809) / 17.374327, z2A, (25 - 30.967806) / 9.4918766,
                        (6 - 8.3467197) / 5.8737679, (2 - 0.912512) / 1.249609, z6A,
                        (1 - 1.365963) / 0.44476801};
  const double zB[8] = {0, (210 - 208.18668) / 18.149553, z2B, z3Bref,
                        (6 - 7.0017719) / 4.9880028, z5B, (40 - 174.03612) / 137.35655,
                        (1 - 1.092985) / 0.56330299};
  const double y2 = 2.9937382 + 0.1524752 * zA[3] - 0.034762 * zA[5] + 0.0723141 * zA[6] +
                    0.12359491 * zA[7];
  const double y3 = 0.6682575 + 0.165206 * zA[2] + 0.150707 * zA[4];
  const double y4 = 2.0419166 - 0.09754 * zA[3] + 0.153291 * zA[5] - 0.18011 * zA[6];
  const double y5 = 1.0411767 - 0.10224 * zA[3];
  const double y8 = -0.063752465 + 2.0786119 + 0.052416 * zB[1] + 0.169401 * zB[3] +
                    0.02158 * zB[4] + 0.022392 * zB[5] + 0.140432 * zB[6] + 0.14534111 * zB[7];
  const double y9 = -0.12764946 + 0.058141 * zB[1] + 0.089544 * zB[2] - 0.04862 * zB[3] +
                    0.135542 * zB[4] + 0.060078 * zB[6];
  const double y10 = 0.5690701 + 0.081896 * zB[2] - 0.07248 * zB[3] + 0.073394 * zB[5] -
                     0.04472 * zB[6];
  const double y11 = -0.19880085 - 0.30841807 + 0.08131 * zB[1] + 0.070103 * zB[2] -
                     0.06631 * zB[3] + 0.084501 * zB[5];
  using std::exp;
  // Potency weights 0.17, 1, 0.035, 0.016 (benzene, butadiene, formaldehyde,
  // acetaldehyde); model 3 (butadiene, group 1) has no aromatics term.
  const double w1Ref = 0.17 * exp(y2) + exp(y3) + 0.035 * exp(y4) + 0.016 * exp(y5);
  const double w2Ref = 0.17 * exp(y8) + exp(y9) + 0.035 * exp(y10) + 0.016 * exp(y11);
  const double w1Cand = 0.17 * exp(y2 + 0.1524752 * dz3A) + exp(y3) +
                        0.035 * exp(y4 - 0.09754 * dz3A) + 0.016 * exp(y5 - 0.10224 * dz3A);
  const double w2Cand = 0.17 * exp(y8 + 0.169401 * dz3B) + exp(y9 - 0.04862 * dz3B) +
                        0.035 * exp(y10 - 0.07248 * dz3B) + 0.016 * exp(y11 - 0.06631 * dz3B);
  EXPECT_NEAR(r.out[2], ((0.089 * w1Cand + 0.911 * w2Cand) / (0.089 * w1Ref + 0.911 * w2Ref) - 1) * 100,
              1e-6);
  EXPECT_NEAR(r.out[2], 4.5477486, 1e-6);
}

TEST_F(CarbTest, OxygenNearTwoPercentCountsAsTwo) {
  std::vector<double> fuel{7.0, 195, 315, 28, 8, 2.0, 60, 0.9};
  const Result atTwo = run(fuel, "FAFAFA");
  for (double oxygen : {1.9, 2.1, 1.801, 2.1989998}) {
    fuel[5] = oxygen;
    const Result r = run(fuel, "FAFAFA");
    for (int k = 0; k < 3; ++k) EXPECT_EQ(r.out[k], atTwo.out[k]) << oxygen;
  }
  // The band's single-precision edges lie just inside 1.801 and 2.199.
  for (double oxygen : {1.8, 2.2, 1.8009, 2.199}) {
    fuel[5] = oxygen;
    const Result r = run(fuel, "FAFAFA");
    EXPECT_NE(r.out[0], atTwo.out[0]) << oxygen;
    EXPECT_NE(r.out[2], atTwo.out[2]) << oxygen;
  }
}

TEST_F(CarbTest, PropertiesBeyondTheirLimitsAreCountedNotRejected) {
  auto countWith = [&](int property, double value, int want = 0) {
    std::vector<double> fuel = flat;
    fuel[property] = value;
    return run(fuel, "FFFFFF", want).count;
  };
  EXPECT_EQ(countWith(6, 80.005), 0);  // sulfur: 80 widened by 1.0001
  EXPECT_EQ(countWith(6, 80.01), 1);
  EXPECT_EQ(countWith(7, 1.2001), 0);  // benzene against its own bound 1.20012
  EXPECT_EQ(countWith(7, 1.2002), 1);
  EXPECT_EQ(countWith(5, 2.7002), 0);  // oxygen: single-precision 2.7 widened
  EXPECT_EQ(countWith(5, 2.7003), 1);
  EXPECT_EQ(countWith(0, 20.001), 0);
  EXPECT_EQ(countWith(0, 20.003), 1);
  EXPECT_EQ(countWith(4, -0.001), 1);  // below the lower limit 0
  EXPECT_EQ(countWith(1, 220.02), 0);
  EXPECT_EQ(countWith(1, 220.03), 1);

  // Results are still computed for an out-of-range fuel.
  std::vector<double> rich{7.0, 230, 340, 35, 12, 3.0, 90, 1.3};
  const Result r = run(rich, "AAAAAA");
  EXPECT_EQ(r.count, 7);
  for (double v : r.out) EXPECT_TRUE(std::isfinite(v));
  // With sensitivities the count is that of the last perturbed evaluation,
  // where benzene sits at its upper limit: only benzene drops out.
  EXPECT_EQ(run(rich, "AAAAAA", 1).count, 6);
  EXPECT_EQ(countWith(7, 1.3, 1), 0);
  EXPECT_EQ(countWith(3, 31, 1), 1);
}

TEST_F(CarbTest, CelsiusTemperaturesAreConvertedAndTheirSensitivitiesScaled) {
  const std::vector<double> fahrenheit{7.0, 212, 302, 27, 7, 2.5, 35, 0.9};
  const Result inF = run(fahrenheit, "FAFAFA", 1);
  ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", -1.0), 0);
  const Result inC = run({7.0, 100, 150, 27, 7, 2.5, 35, 0.9}, "FAFAFA", 1);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(inC.out[k], inF.out[k], 1e-12);
  for (int i = 0; i < 24; ++i) {
    const bool temperatureRow = i >= 3 && i < 9;
    EXPECT_NEAR(inC.deriv[i], (temperatureRow ? 1.8 : 1.0) * inF.deriv[i],
                1e-6 * (1 + std::fabs(inF.deriv[i])))
        << i;
  }
  // Back to 'F': the same array is now read as Fahrenheit.
  ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", 1.0), 0);
  EXPECT_NE(run({7.0, 100, 150, 27, 7, 2.5, 35, 0.9}, "FAFAFA").out[0], inF.out[0]);
}

TEST_F(CarbTest, SensitivitiesAreCentralDifferencesClampedToTheLimits) {
  auto model = [](const char* flags) {
    return [flags](const std::vector<double>& x) {
      std::vector<double> copy = x;
      double out[3];
      gfx_WCARB(0, flags, copy.data(), out, nullptr);
      return std::vector<double>{out[0], out[1], out[2]};
    };
  };
  // Interior fuels away from the oxygen band and the floors; one with the
  // T50, T90 and oxygen floors active.
  const std::vector<std::pair<std::vector<double>, const char*>> fuels = {
      {{7.0, 195, 315, 28, 8, 1.2, 60, 0.9}, "FAFAFA"},
      {{8.0, 205, 295, 21, 3, 2.5, 25, 0.6}, "AAAAAA"},
      {{7.0, 170, 250, 20, 3, 0.5, 10, 0.5}, "FFFFFF"},
  };
  for (const auto& [fuel, flags] : fuels) {
    std::vector<double> x = fuel;
    Result r = run(x, flags, 1);
    std::vector<double> reported(r.deriv, r.deriv + 24);
    std::vector<double> numeric = centralJacobian(model(flags), fuel, 3);
    expectJacobianNear(reported, numeric, 3, 1e-4, 1e-6, flags);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(reported[k], 0.0);  // RVP row
  }

  // At a limit the difference is one-sided: sulfur at 80 uses [80 - h, 80].
  std::vector<double> fuel{7.0, 195, 315, 28, 8, 1.2, 80, 0.9};
  const Result r = run(fuel, "FFFFFF", 1);
  const double h = 81 * 1e-6;
  std::vector<double> below = fuel;
  below[6] = 80 - h;
  const Result low = run(below);
  const Result base = run(fuel);
  for (int k = 0; k < 3; ++k) {
    EXPECT_NEAR(r.deriv[18 + k], (base.out[k] - low.out[k]) / h, 1e-6 * (1 + std::fabs(r.deriv[18 + k])));
    EXPECT_EQ(r.out[k], base.out[k]);  // base results come back after the perturbations
  }

  // Without a request the derivative array is not touched.
  double untouched[24];
  for (double& d : untouched) d = -7.0;
  double out[3];
  gfx_WCARB(0, "FFFFFF", fuel.data(), out, untouched);
  for (double d : untouched) EXPECT_EQ(d, -7.0);
}

TEST_F(CarbTest, NullArraysAreRefused) {
  double out[3] = {5, 5, 5};
  EXPECT_EQ(gfx_WCARB(0, "FFFFFF", nullptr, out, nullptr), -1);
  EXPECT_EQ(out[0], 5);
  EXPECT_EQ(gfx_WCARB(0, "FFFFFF", flat.data(), nullptr, nullptr), -1);
  // A derivative request without an array computes the values only.
  EXPECT_EQ(gfx_WCARB(1, "FFFFFF", flat.data(), out, nullptr), 0);
  EXPECT_EQ(out[0], 0.0);
}

// Values recorded, bit for bit, from the first implementation of the model;
// any restructuring of the model must reproduce them exactly.
struct Recorded {
  const char* flags;
  char unit;
  double in[8];
  int count;
  double out[3];
  double deriv[24];
};
const Recorded kRecorded[] = {
    {"AFAFAF", 'F', {8, 190, 320, 33, 9, 1.2, 60, 1.1}, 1,
     {0x1.8702a564cec76p+1, 0x1.cfd45db17d25p+1, 0x1.2f426d366a845p+4},
     {0x0p+0, 0x0p+0, 0x0p+0, -0x1.0922c4df3d285p-9, 0x1.6d089aebf6f74p-3, 0x1.1da4d60ab8d57p-2,
      -0x1.2d85af6b14479p-5, 0x1.d8ac48f954389p-3, 0x1.bbf6ba89673f3p-3, 0x1.f63395b3a6c73p-4,
      -0x1.360cf7d9fa715p-6, 0x1.0cea93dfc514bp+0, 0x1.05f8166b2a687p-1, -0x1.7cc89f82128a2p-3,
      0x1.7e64634b3fad1p+0, 0x1.bc46ae96b6db2p-3, -0x1.7573fe23f1c5p-1, 0x1.d5916a1123c27p-1,
      0x1.10b89bc70cbfap-5, 0x1.20ad5f6178699p-4, 0x1.37d0eb0f90cf6p-4, 0x0p+0, 0x0p+0,
      0x1.198180032fd43p+4}},
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
    {"FFFFFF", 'F', {6.8, 205, 310, 28, 5, 2.1, 70, 1.15}, 0,
     {0x1.394de111312a3p-1, 0x1.c17a175745f7ap+0, 0x1.92dd0ea60242ep+2},
     {0x0p+0, 0x0p+0, 0x0p+0, -0x1.49a9b77e29e61p-8, 0x1.798e91c9bcaafp-2, 0x1.00d5a8baf6fd3p-2,
      -0x1.bdd27dd6b86e8p-6, 0x1.56f1e8da74a8bp-3, 0x1.82e41be83a23p-3, 0x1.daa79558bd0aep-4,
      0x1.1d84566cd0e28p-6, 0x1.f727822861ae9p-1, 0x1.001dd2406eb06p-1, -0x1.77d905f43d1f6p-3,
      0x1.4f9abd4f445b9p+0, 0x0p+0, 0x0p+0, 0x0p+0, 0x1.0b41eb4448248p-5, 0x1.271a9dd316253p-4,
      0x1.16587ed5c2adfp-4, 0x0p+0, 0x0p+0, 0x1.f9d6968d845a2p+3}},
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
