// CARB Phase 3 model interfaces (gfx_WCARB3, gfx_WCARB4): rounding, RVP
// ceilings, out-of-range counts and flags, units, and the documented missing
// results while their regression tables are absent.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "emissions/carb_models.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/emissions.h"

namespace {

using Vec = std::vector<double>;
using tarn::emissions::roundHalfAwayFromZero;

class CarbPhase3Test : public tarn::testing::LibraryTest {
 protected:
  // RVP T50 T90 aromatics olefins oxygen oxygen2 sulfur benzene, all in range.
  const Vec carb3Fuel{7.0, 200, 300, 22, 4, 2.0, 2.0, 15, 0.7};
  // RVP T50 T90 aromatics olefins oxygen sulfur benzene.
  const Vec carb4Fuel{7.0, 200, 300, 22, 4, 2.0, 15, 0.7};

  static int carb3Count(Vec fuel, const char* options = "FFFFFFY") {
    double out[3];
    return gfx_WCARB3(0, options, fuel.data(), out, nullptr);
  }
  int carb3With(int property, double value, const char* options = "FFFFFFY") const {
    Vec fuel = carb3Fuel;
    fuel[property] = value;
    return carb3Count(fuel, options);
  }
  int carb4With(int property, double value, const char* options, int* flags = nullptr) const {
    Vec fuel = carb4Fuel;
    fuel[property] = value;
    double out[3];
    return gfx_WCARB4(0, options, fuel.data(), out, nullptr, flags);
  }
};

TEST_F(CarbPhase3Test, RoundingIsHalfAwayFromZeroAtTheReportedPrecision) {
  EXPECT_EQ(roundHalfAwayFromZero(7.125, 2), 7.13);
  EXPECT_EQ(roundHalfAwayFromZero(1.005, 2), 1.01);  // stored just below 1.005
  EXPECT_EQ(roundHalfAwayFromZero(-1.005, 2), -1.01);
  EXPECT_EQ(roundHalfAwayFromZero(7.1249, 2), 7.12);
  EXPECT_EQ(roundHalfAwayFromZero(2.45, 1), 2.5);
  EXPECT_EQ(roundHalfAwayFromZero(-2.45, 1), -2.5);
  EXPECT_EQ(roundHalfAwayFromZero(212.5, 0), 213.0);
  EXPECT_EQ(roundHalfAwayFromZero(-0.5, 0), -1.0);
  EXPECT_EQ(roundHalfAwayFromZero(0.4999, 0), 0.0);
  EXPECT_EQ(roundHalfAwayFromZero(0.0, 2), 0.0);
  EXPECT_TRUE(std::signbit(roundHalfAwayFromZero(-0.0, 2)));  // zero left alone
  EXPECT_TRUE(std::isnan(roundHalfAwayFromZero(std::nan(""), 1)));
  EXPECT_EQ(roundHalfAwayFromZero(1e30, 2), 1e30);
}

TEST_F(CarbPhase3Test, Carb3CountsTheRoundedInputs) {
  EXPECT_EQ(carb3Count(carb3Fuel), 0);
  // RVP to 0.01 against the 7.2 ceiling widened to 7.20072.
  EXPECT_EQ(carb3With(0, 7.2049), 0);
  EXPECT_EQ(carb3With(0, 7.205), 1);
  // Aromatics to 0.1: 35.004 would exceed 35.0035 unrounded.
  EXPECT_EQ(carb3With(3, 35.004), 0);
  EXPECT_EQ(carb3With(3, 35.05), 1);
  // Negative values round away from zero: -0.04 becomes -0.0 (in range),
  // -0.05 becomes -0.1 (out).
  EXPECT_EQ(carb3With(4, -0.04), 0);
  EXPECT_EQ(carb3With(4, -0.05), 1);
  // Sulfur to whole ppm against 60.006.
  EXPECT_EQ(carb3With(7, 60.4), 0);
  EXPECT_EQ(carb3With(7, 60.5), 1);
  // Benzene to 0.01.
  EXPECT_EQ(carb3With(8, 1.2049), 0);
  EXPECT_EQ(carb3With(8, 1.205), 1);
  // The second oxygen value is replaced by the rounded first.
  EXPECT_EQ(carb3With(6, 9.0), 0);
  EXPECT_EQ(carb3With(5, 3.55), 2);  // 3.6 counted twice
  EXPECT_EQ(carb3With(5, 3.54), 0);

  // T50 is rounded in degrees F after conversion: 104.4 C = 219.92 F -> 220,
  // 104.9 C = 220.82 F -> 221 (above 220.022).
  ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", -1), 0);
  Vec celsius = carb3Fuel;
  celsius[1] = 104.4;
  celsius[2] = 148.9;
  EXPECT_EQ(carb3Count(celsius), 0);
  celsius[1] = 104.9;
  EXPECT_EQ(carb3Count(celsius), 1);
}

TEST_F(CarbPhase3Test, Carb3ModeLetterSetsTheRvpCeiling) {
  EXPECT_EQ(carb3With(0, 8.0, "FFFFFFY"), 1);
  EXPECT_EQ(carb3With(0, 8.0, "FFFFFFN"), 0);
  // Any other letter, a lower-case y, or a string ending early: as 'N'.
  EXPECT_EQ(carb3With(0, 8.0, "FFFFFFX"), 0);
  EXPECT_EQ(carb3With(0, 8.0, "FFFFFFy"), 0);
  EXPECT_EQ(carb3With(0, 8.0, "FFF"), 0);
  EXPECT_EQ(carb3With(0, 8.0, nullptr), 0);
  EXPECT_EQ(carb3With(0, 30.5, "FFFFFFN"), 1);
  EXPECT_EQ(carb3With(0, 6.3, "FFFFFFN"), 1);  // the floor holds in both modes
}

TEST_F(CarbPhase3Test, Carb4RvpCeilingsFloorAndFlags) {
  // 'Y' 7.2 (single precision, widened to 7.20072), 'Z' 7.0 (7.0007), 'N' 30.
  EXPECT_EQ(carb4With(0, 7.2007, "FFFFFFY"), 0);
  EXPECT_EQ(carb4With(0, 7.2008, "FFFFFFY"), 1);
  EXPECT_EQ(carb4With(0, 7.0007, "FFFFFFZ"), 0);
  EXPECT_EQ(carb4With(0, 7.0008, "FFFFFFZ"), 1);
  EXPECT_EQ(carb4With(0, 7.1, "FFFFFFQ"), 1);  // any other letter: 'Z'
  EXPECT_EQ(carb4With(0, 7.1, "FFFFFF"), 1);
  EXPECT_EQ(carb4With(0, 29.9, "FFFFFFN"), 0);
  EXPECT_EQ(carb4With(0, 30.01, "FFFFFFN"), 1);
  // Floor 6.4 narrowed to 6.39936.
  EXPECT_EQ(carb4With(0, 6.3994, "FFFFFFN"), 0);
  EXPECT_EQ(carb4With(0, 6.3993, "FFFFFFN"), 1);
  // T50 above 220.022; no rounding in this model.
  EXPECT_EQ(carb4With(1, 220.022, "FFFFFFN"), 0);
  EXPECT_EQ(carb4With(1, 220.023, "FFFFFFN"), 1);
  EXPECT_EQ(carb4With(6, 60.01, "FFFFFFN"), 1);

  // One flag per input, set afresh at every call.
  int flags[8];
  for (int& f : flags) f = 7;
  const Vec fuel{7.5, 200, 340, 22, -1, 4.0, 15, 1.3};
  double out[3], deriv[24];
  EXPECT_EQ(gfx_WCARB4(1, "FFFFFFZ", fuel.data(), out, deriv, flags), 5);
  const int expected[8] = {1, 0, 1, 0, 1, 1, 0, 1};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(flags[i], expected[i]) << i;
  EXPECT_EQ(carb4With(0, 7.0, "FFFFFFZ", flags), 0);
  for (int f : flags) EXPECT_EQ(f, 0);
  // A null flag array is allowed.
  EXPECT_EQ(gfx_WCARB4(0, "FFFFFFZ", fuel.data(), out, nullptr, nullptr), 5);
}

TEST_F(CarbPhase3Test, ResultsAreMissingAndInputsUntouchedOnEveryPath) {
  for (double unitSetting : {1.0, -1.0}) {
    ASSERT_EQ(gfx_setCorParms("TARN", "CARB_CORF", unitSetting), 0);
    for (int want : {0, 1}) {
      Vec in3 = carb3Fuel, in4 = carb4Fuel;
      in3[1] = in4[1] = 93.3;  // degrees C or F, out of range in neither
      in3[2] = in4[2] = 148.9;
      in3[0] = 7.2049;         // rounded inside the model only
      const Vec copy3 = in3, copy4 = in4;
      double out[3] = {0, 0, 0}, deriv[27];
      for (double& d : deriv) d = -7.0;
      EXPECT_EQ(gfx_WCARB3(want, "AAAAAAY", in3.data(), out, deriv), 0);
      EXPECT_EQ(in3, copy3);
      for (double v : out) EXPECT_EQ(v, 1e30);
      for (double d : deriv) EXPECT_EQ(d, want ? 0.0 : -7.0);

      for (double& d : deriv) d = -7.0;
      int flags[8];
      EXPECT_EQ(gfx_WCARB4(want, "AAAAAAY", in4.data(), out, deriv, flags), 0);
      EXPECT_EQ(in4, copy4);
      for (double v : out) EXPECT_EQ(v, 1e30);
      for (int i = 0; i < 27; ++i) EXPECT_EQ(deriv[i], want && i < 24 ? 0.0 : -7.0);
    }
  }
  // Null arrays are refused before anything is read or written.
  double out[3] = {5, 5, 5};
  EXPECT_EQ(gfx_WCARB3(0, "FFFFFFY", nullptr, out, nullptr), -1);
  EXPECT_EQ(gfx_WCARB4(0, "FFFFFFY", carb4Fuel.data(), nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(out[0], 5);
}

TEST_F(CarbPhase3Test, CountWithSensitivitiesIsThatOfTheFuelItself) {
  Vec fuel = carb4Fuel;
  fuel[7] = 1.3;
  double out[3], deriv[24];
  int flags[8];
  EXPECT_EQ(gfx_WCARB4(1, "FFFFFFN", fuel.data(), out, deriv, flags), 1);
  EXPECT_EQ(flags[7], 1);
  Vec fuel3 = carb3Fuel;
  fuel3[8] = 1.3;
  double deriv3[27];
  EXPECT_EQ(gfx_WCARB3(1, "FFFFFFN", fuel3.data(), out, deriv3), 1);
}

}  // namespace
