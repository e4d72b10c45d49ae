// CARB Phase 3 model interfaces (gfx_WCARB3, gfx_WCARB4) and the CARB catalogue adapters.
#include <gtest/gtest.h>

#include <vector>

#include "tarn/tarn.h"
#include "emissions/carb_models.h"
#include "emissions/predictive_engine.h"
#include "params/params.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/emissions.h"

namespace {

using Vec = std::vector<double>;

// RVP T50 T90 aromatics olefins oxygen (oxygen2) sulfur benzene, in range.
const Vec kCarb3Fuel{7.0, 200, 300, 22, 4, 2.0, 2.0, 15, 0.7};
const Vec kCarb4Fuel{7.0, 200, 300, 22, 4, 2.0, 15, 0.7};

int carb3(int property, double value, const char* options = "FFFFFFY", Vec fuel = kCarb3Fuel) {
  fuel[property] = value;
  double out[3];
  return gfx_WCARB3(0, options, fuel.data(), out, nullptr);
}
int carb4(int property, double value, const char* options, int* flags = nullptr) {
  Vec fuel = kCarb4Fuel;
  fuel[property] = value;
  double out[3];
  return gfx_WCARB4(0, options, fuel.data(), out, nullptr, flags);
}

class CarbPhase3Test : public tarn::testing::LibraryTest {};

TEST_F(CarbPhase3Test, Carb3RoundsAsReportedBeforeCounting) {
  EXPECT_EQ(tarn::emissions::roundHalfAwayFromZero(1.005, 2), 1.01);  // stored just below 1.005
  // Each pair: rounded into range / rounded out of it (limits widened by
  // 1.0001; RVP ceiling 7.2 in mode 'Y'); olefins -0.05 rounds away from zero.
  const struct { int property; double inside, outside; } edges[] = {
      {0, 7.2049, 7.205}, {4, -0.04, -0.05}, {8, 1.2049, 1.205}};
  for (const auto& e : edges) {
    EXPECT_EQ(carb3(e.property, e.inside), 0) << e.property;
    EXPECT_EQ(carb3(e.property, e.outside), 1) << e.property;
  }
  // The second oxygen value is the rounded first.
  EXPECT_EQ(carb3(6, 9.0), 0);
  EXPECT_EQ(carb3(5, 3.55), 2);
  EXPECT_EQ(carb3(5, 3.54), 0);
  // T50 rounds in degrees F: 104.4 C = 219.92 F -> 220; 104.9 C -> 221.
  ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", -1), 0);
  const Vec celsius{7.0, 104.4, 148.9, 22, 4, 2.0, 2.0, 15, 0.7};
  EXPECT_EQ(carb3(1, 104.4, "FFFFFFY", celsius), 0);
  EXPECT_EQ(carb3(1, 104.9, "FFFFFFY", celsius), 1);
}

TEST_F(CarbPhase3Test, ModeLettersSetTheRvpCeilings) {
  // gfx_WCARB3: 'Y' 7.2; 'N', any other letter or a short string 30; floor 6.4.
  EXPECT_EQ(carb3(0, 8.0, "FFFFFFY"), 1);
  for (const char* options : {"FFFFFFN", "FFFFFFy", "FFF"}) EXPECT_EQ(carb3(0, 8.0, options), 0) << options;
  EXPECT_EQ(carb3(0, 6.3, "FFFFFFN"), 1);
  // gfx_WCARB4: 'Y' 7.2, 'Z' and any other letter 7.0, 'N' 30, floor 6.4,
  // all single-precision and widened by 1.0001 / 0.9999; no rounding.
  const struct { double rvp; const char* options; int count; } cases[] = {
      {7.2007, "FFFFFFY", 0}, {7.2008, "FFFFFFY", 1}, {7.0007, "FFFFFFZ", 0}, {7.0008, "FFFFFFZ", 1},
      {7.1, "FFFFFFQ", 1},    {30.0, "FFFFFFN", 0},    {30.01, "FFFFFFN", 1},  {6.3993, "FFFFFFN", 1}};
  for (const auto& c : cases) EXPECT_EQ(carb4(0, c.rvp, c.options), c.count) << c.rvp << c.options;
  EXPECT_EQ(carb4(1, 220.022, "FFFFFFN"), 0);
  EXPECT_EQ(carb4(1, 220.023, "FFFFFFN"), 1);
  // One flag per input, from the fuel itself even with sensitivities.
  int flags[8] = {7, 7, 7, 7, 7, 7, 7, 7};
  const Vec fuel{7.5, 200, 340, 22, -1, 4.0, 15, 1.3};
  double out[3], deriv[24];
  EXPECT_EQ(gfx_WCARB4(1, "FFFFFFZ", fuel.data(), out, deriv, flags), 5);
  EXPECT_EQ(Vec(flags, flags + 8), (Vec{1, 0, 1, 0, 1, 1, 0, 1}));
}

TEST_F(CarbPhase3Test, AveragingFlagsGiveMissingResultsAndLeaveInputsAlone) {
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

TEST_F(CarbPhase3Test, AdaptersZeroMissingInputsAndReadTheirSelectors) {
  using namespace tarn::emissions;
  // Intended: aromatics (3) and benzene (7) missing are zeroed in the caller's array, and the sensitivity blocks of
  // their predecessors T90 (2) and sulfur (6) cleared, their own kept. A missing first input clears nothing: guard
  // cells catch writes outside the block.
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

  // Selector 1 gives 'F', others 'A'; the seventh selector the mode letter (CARB3: 1 'N' else 'Y';
  // CARB3M: 1 'N', 2 'Y', else 'Z'), seen through the count the adapter drops.
  const auto& state = predictive::workingState();
  tarn::CorrelationSettings& s = tarn::params().settings;
  Vec in3{8.0, 200, 300, 22, 4, 2.0, 2.0, 15, 0.7};
  s.carb3[2] = 3;
  s.carb3[6] = 0;
  EXPECT_EQ(gfx_tarnGenCalc(3, 0, 0, in3.data(), out, nullptr), 0);
  EXPECT_EQ(state.baseOutOfRangeCount, 1);
  EXPECT_EQ(state.flag[3], 'A');
  const struct { int selector; double rvp; int count; } cases[] = {
      {1, 7.3, 0}, {2, 7.1, 0}, {2, 7.3, 1}, {3, 7.1, 1}};
  for (const auto& c : cases) {
    s.carb3m[6] = c.selector;
    Vec in4{c.rvp, 200, 300, 22, 4, 2.0, 15, 1e30};
    EXPECT_EQ(gfx_tarnGenCalc(4, 0, 0, in4.data(), out, nullptr), 0);
    EXPECT_EQ(in4[7], 0.0);
    EXPECT_EQ(state.baseOutOfRangeCount, c.count) << c.selector << " " << c.rvp;
  }
}

}  // namespace
