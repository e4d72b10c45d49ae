// CARB Phase 2 and 3 models and their adapters (sensitivities: derivative_contract_test).
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "emissions/carb_models.h"
#include "emissions/predictive_engine.h"
#include "params/params.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/emissions.h"
#include "tarn/tarn.h"

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
// Phase 3: RVP T50 T90 aromatics olefins oxygen (oxygen2) sulfur benzene, in range.
const Vec kCarb3Fuel{7.0, 200, 300, 22, 4, 2.0, 2.0, 15, 0.7};
const Vec kCarb4Fuel{7.0, 200, 300, 22, 4, 2.0, 15, 0.7};

int carb3(int property, double value, const char* options = "FFFFFFY", Vec fuel = kCarb3Fuel) {
  double out[3];
  return gfx_WCARB3(0, options, with(fuel, property, value).data(), out, nullptr);
}
int carb4(int property, double value, const char* options) {
  double out[3];
  return gfx_WCARB4(0, options, with(kCarb4Fuel, property, value).data(), out, nullptr, nullptr);
}

using CarbTest = tarn::testing::LibraryTest;

TEST_F(CarbTest, ReferenceFuelsGiveNoChangeAndANonTrivialFuelMatchesTheEquations) {
  const struct {
    Vec fuel;
    const char* flags;
  } flat[] = {{kFlat, "FFFFFF"},
              {{7.0, 200, 290, 22, 4, 2.0, 30, 0.8}, "AAAAAA"},
              {with(kFlat, 1, 200), "AFFFFF"},
              {kFlat, "aXFFFF"},  // only an upper-case A selects averaging
              {kFlat, nullptr},
              {with(kFlat, 1, 200), "A"},        // missing letters stay flat
              {with(kFlat, 0, 9.5), "FFFFFF"}};  // RVP is not a model property
  for (const auto& c : flat) {
    const CarbRun r = run(c.fuel, c.flags);
    EXPECT_EQ(Vec(r.out, r.out + 3), Vec(3, 0.0)) << (c.flags ? c.flags : "null");
    EXPECT_EQ(r.count, 0);
  }
  // The flat reference with 30 % aromatics, worked through the equations. No floor is active (oxygen floor
  // 0.0359*30 + 0.677 = 1.75 < 2; T90 floor 323.8 - 0.9712*30 - 7.276*2 = 280.1 < 300), so ln(Ecand/Eref) of
  // each regression is the sum of coefficient * change of its aromatics terms.
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

TEST_F(CarbTest, OxygenBandLimitEdgesAndSensitivitiesInCelsius) {
  const Vec fuel{7.0, 195, 315, 28, 8, 2.0, 60, 0.9};
  const double atTwo = run(fuel, "FAFAFA").out[2];
  // Inside the single-precision band [1.801, 2.199) oxygen counts as 2.0.
  for (double o : {1.801, 2.1989998}) EXPECT_EQ(run(with(fuel, 5, o), "FAFAFA").out[2], atTwo) << o;
  for (double o : {1.8009, 2.199}) EXPECT_NE(run(with(fuel, 5, o), "FAFAFA").out[2], atTwo) << o;
  // Limits widened by 1.0001 (values: limits_test); benzene against its own bound 1.20012.
  const struct {
    int property;
    double inside, outside;
  } edges[] = {{6, 80.005, 80.01}, {7, 1.2001, 1.2002}, {1, 220.02, 220.03}, {4, 0.0, -0.001}};
  for (const auto& e : edges) {
    EXPECT_EQ(run(with(kFlat, e.property, e.inside)).count, 0) << e.property;
    EXPECT_EQ(run(with(kFlat, e.property, e.outside)).count, 1) << e.property;
  }
  // Out of range still evaluated; intended: with sensitivities the count is the last perturbed one's.
  const Vec rich{7.0, 230, 340, 35, 12, 3.0, 90, 1.3};
  EXPECT_EQ(run(rich, "AAAAAA").count, 7);
  EXPECT_TRUE(std::isfinite(run(rich, "AAAAAA").out[2]));
  EXPECT_EQ(run(rich, "AAAAAA", 1).count, 6);
  // Without a request the array is not touched; a null one is tolerated.
  CarbRun untouched{};
  std::fill(untouched.deriv, untouched.deriv + 24, -7.0);
  gfx_WCARB(0, "FAFAFA", fuel.data(), untouched.out, untouched.deriv);
  EXPECT_EQ(Vec(untouched.deriv, untouched.deriv + 24), Vec(24, -7.0));
  EXPECT_EQ(gfx_WCARB(1, "FAFAFA", fuel.data(), untouched.out, nullptr), 0);
  EXPECT_EQ(gfx_WCARB(0, "FAFAFA", nullptr, untouched.out, nullptr), -1);
  // Celsius temperatures are converted and the T50 and T90 rows scaled per degree C.
  const CarbRun inF = run({7.0, 212, 302, 27, 7, 2.5, 35, 0.9}, "FAFAFA", 1);
  ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", -1.0), 0);
  const CarbRun inC = run({7.0, 100, 150, 27, 7, 2.5, 35, 0.9}, "FAFAFA", 1);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(inC.out[k], inF.out[k], 1e-12);
  for (int i = 0; i < 24; ++i) {
    const double factor = (i >= 3 && i < 9) ? 1.8 : 1.0;
    EXPECT_NEAR(inC.deriv[i], factor * inF.deriv[i], 1e-6 * (1 + std::fabs(inF.deriv[i]))) << i;
  }
}

TEST_F(CarbTest, Phase3RoundsAsReportedAndModeLettersSetTheRvpCeilings) {
  EXPECT_EQ(tarn::emissions::roundHalfAwayFromZero(1.005, 2), 1.01);  // stored just below 1.005
  // Rounded into / out of range (limits x1.0001; RVP ceiling 7.2 in 'Y'); olefins -0.05 rounds away from 0.
  const struct {
    int property;
    double inside, outside;
  } edges[] = {{0, 7.2049, 7.205}, {4, -0.04, -0.05}, {8, 1.2049, 1.205}};
  for (const auto& e : edges) {
    EXPECT_EQ(carb3(e.property, e.inside), 0) << e.property;
    EXPECT_EQ(carb3(e.property, e.outside), 1) << e.property;
  }
  EXPECT_EQ(carb3(6, 9.0), 0);  // the second oxygen value is the rounded first
  EXPECT_EQ(carb3(5, 3.55), 2);
  EXPECT_EQ(carb3(5, 3.54), 0);
  // gfx_WCARB3: 'Y' 7.2; 'N', any other letter or a short string 30; floor 6.4.
  EXPECT_EQ(carb3(0, 8.0, "FFFFFFY"), 1);
  for (const char* options : {"FFFFFFN", "FFFFFFy", "FFF"}) EXPECT_EQ(carb3(0, 8.0, options), 0) << options;
  EXPECT_EQ(carb3(0, 6.3, "FFFFFFN"), 1);
  // gfx_WCARB4: 'Y' 7.2, other letters 7.0, 'N' 30, floor 6.4, single precision x1.0001/0.9999, no rounding.
  const struct {
    int property;
    double value;
    const char* options;
    int count;
  } cases[] = {{0, 7.2007, "FFFFFFY", 0}, {0, 7.2008, "FFFFFFY", 1}, {0, 7.0007, "FFFFFFZ", 0},
               {0, 7.0008, "FFFFFFZ", 1}, {0, 7.1, "FFFFFFQ", 1},    {0, 30.0, "FFFFFFN", 0},
               {0, 30.01, "FFFFFFN", 1},  {0, 6.3993, "FFFFFFN", 1}, {1, 220.022, "FFFFFFN", 0},
               {1, 220.023, "FFFFFFN", 1}};
  for (const auto& c : cases) EXPECT_EQ(carb4(c.property, c.value, c.options), c.count) << c.value << c.options;
  // One flag per input, from the fuel itself even with sensitivities.
  int flags[8] = {7, 7, 7, 7, 7, 7, 7, 7};
  const Vec fuel{7.5, 200, 340, 22, -1, 4.0, 15, 1.3};
  double out[3], deriv[24];
  EXPECT_EQ(gfx_WCARB4(1, "FFFFFFZ", fuel.data(), out, deriv, flags), 5);
  EXPECT_EQ(Vec(flags, flags + 8), (Vec{1, 0, 1, 0, 1, 1, 0, 1}));
  // T50 rounds in degrees F: 104.4 C = 219.92 F -> 220; 104.9 C -> 221.
  ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", -1), 0);
  const Vec celsius{7.0, 104.4, 148.9, 22, 4, 2.0, 2.0, 15, 0.7};
  EXPECT_EQ(carb3(1, 104.4, "FFFFFFY", celsius), 0);
  EXPECT_EQ(carb3(1, 104.9, "FFFFFFY", celsius), 1);
}

TEST_F(CarbTest, Phase3AveragingFlagsGiveMissingResultsAndLeaveInputsAlone) {
  ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", -1), 0);
  Vec in3{7.2049, 93.3, 148.9, 22, 4, 2.0, 2.0, 15, 0.7}, in4{7.0, 93.3, 148.9, 22, 4, 2.0, 15, 0.7};
  const Vec copy3 = in3, copy4 = in4;
  double out[3];
  Vec deriv(28, -7.0), cleared(27, 0.0);
  cleared.push_back(-7.0);  // guard cell past the sensitivities
  EXPECT_EQ(gfx_WCARB3(1, "AAAAAAY", in3.data(), out, deriv.data()), 0);
  EXPECT_EQ(in3, copy3);
  EXPECT_EQ(Vec(out, out + 3), Vec(3, 1e30));
  EXPECT_EQ(deriv, cleared);
  EXPECT_EQ(gfx_WCARB4(0, "AAAAAAY", in4.data(), out, nullptr, nullptr), 0);
  EXPECT_EQ(in4, copy4);
  EXPECT_EQ(Vec(out, out + 3), Vec(3, 1e30));
  EXPECT_EQ(gfx_WCARB3(0, "FFFFFFY", nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(gfx_WCARB4(0, "FFFFFFY", kCarb4Fuel.data(), nullptr, nullptr, nullptr), -1);
}

TEST_F(CarbTest, AdaptersZeroMissingInputsAndReadTheirSelectors) {
  using namespace tarn::emissions;
  // Intended: missing aromatics/benzene zeroed in the caller's array, T90/sulfur blocks cleared; guards catch overruns.
  Vec in{1e30, 195, 315, 1e30, 8, 1.2, 60, 1e30}, zeroed = in;
  zeroed[0] = zeroed[3] = zeroed[7] = 0.0;
  double direct[24], out[3];
  gfx_WCARB(1, "FFFFFF", zeroed.data(), out, direct);
  Vec buffer(30, -7.0);
  double* deriv = buffer.data() + 3;
  EXPECT_EQ(gfx_tarnGenCalc(2, 1, 0, in.data(), out, deriv), 0);
  EXPECT_EQ(in, zeroed);
  for (int i = 0; i < 24; ++i) EXPECT_EQ(deriv[i], (i / 3 == 2 || i / 3 == 6) ? 0.0 : direct[i]) << i;
  for (int g : {0, 1, 2, 27, 28, 29}) EXPECT_EQ(buffer[g], -7.0);

  // Selector 1 'F', else 'A'; the seventh the mode (CARB3: 1 'N' else 'Y'; CARB3M: 1 'N', 2 'Y', else 'Z').
  const auto& state = predictive::workingState();
  tarn::CorrelationSettings& s = tarn::params().settings;
  Vec in3{8.0, 200, 300, 22, 4, 2.0, 2.0, 15, 0.7};
  s.carb3[2] = 3;
  s.carb3[6] = 0;
  EXPECT_EQ(gfx_tarnGenCalc(3, 0, 0, in3.data(), out, nullptr), 0);
  EXPECT_EQ(state.baseOutOfRangeCount, 1);
  EXPECT_EQ(state.flag[3], 'A');
  const struct {
    int selector;
    double rvp;
    int count;
  } cases[] = {{1, 7.3, 0}, {2, 7.1, 0}, {2, 7.3, 1}, {3, 7.1, 1}};
  for (const auto& c : cases) {
    s.carb3m[6] = c.selector;
    Vec in4{c.rvp, 200, 300, 22, 4, 2.0, 15, 1e30};
    EXPECT_EQ(gfx_tarnGenCalc(4, 0, 0, in4.data(), out, nullptr), 0);
    EXPECT_EQ(in4[7], 0.0);
    EXPECT_EQ(state.baseOutOfRangeCount, c.count) << c.selector << " " << c.rvp;
  }
}

}  // namespace
