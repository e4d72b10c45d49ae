// Start-up, reset and shut-down: which values each of them restores.
#include <gtest/gtest.h>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"

namespace {

double coefficient(int index, int k) {
  double value = 0.0;
  EXPECT_EQ(gfx_tarnGetCoef(index, k, nullptr, &value), 0);
  return value;
}

class Lifecycle : public tarn::testing::LibraryTest {
 protected:
  // Changes a switch of each kind and a coefficient that views a keyword field.
  static void changeEverything() {
    gfx_tarnSetCoefValue(0, 0, 0.0);     // TVL CORF
    gfx_tarnSetCoefValue(0, 1, 99.0);    // TVL P1 = keyword TVL20 P1
    gfx_tarnSetCoefValue(7, 1, 3.0);     // EPA PHASE
    gfx_tarnSetCoefValue(11, 1, 7.0);    // DRIVEABILITYINDEXE EOHVOL
    gfx_tarnSetCoefValue(51, 1, 2.5);    // CARBOB3 EOHARO
    gfx_tarnSetCoefValue(42, 0, 2.0);    // ND86FROMPERCENTOFF TYPCOR
    gfx_tarnSetCoefValue(53, 12, 4.0);   // EVAPORATIVE NPTS
    gfx_tarnSetCoefValue(50, 14, 1.0);   // CARBOB2 ALTOXY
  }
};

TEST_F(Lifecycle, ResetRestoresParametersAndLeavesSwitches) {
  changeEverything();
  EXPECT_EQ(TARNReset(), 0);
  // Coefficients that view parameters follow the reset ...
  EXPECT_EQ(coefficient(0, 1), 114.6);
  EXPECT_EQ(coefficient(53, 12), 0.0);
  EXPECT_EQ(coefficient(50, 14), 0.0);
  // ... the settings only coefficients reach stay as the host set them.
  EXPECT_EQ(coefficient(0, 0), 0.0);
  EXPECT_EQ(coefficient(7, 1), 3.0);
  EXPECT_EQ(coefficient(11, 1), 7.0);
  EXPECT_EQ(coefficient(51, 1), 2.5);
  EXPECT_EQ(coefficient(42, 0), 2.0);
  // Start-up of the parameter block alone leaves them too.
  EXPECT_TRUE(TARNInitialize(nullptr));
  EXPECT_EQ(coefficient(7, 1), 3.0);
}

TEST_F(Lifecycle, InitializeCoefsRestoresSwitchesOnly) {
  changeEverything();
  EXPECT_EQ(gfx_tarnInitializeCoefs(), 0);
  EXPECT_EQ(coefficient(0, 0), 1.0);
  EXPECT_EQ(coefficient(7, 1), 2.0);
  EXPECT_EQ(coefficient(11, 1), 5.0);
  EXPECT_EQ(coefficient(51, 1), 1.7);
  EXPECT_EQ(coefficient(42, 0), 0.0);
  // Parameter-block fields are not its business.
  EXPECT_EQ(coefficient(0, 1), 99.0);
  EXPECT_EQ(coefficient(53, 12), 4.0);
  EXPECT_EQ(coefficient(50, 14), 1.0);
}

TEST_F(Lifecycle, StartUpRestoresEverythingAndShutDownKeepsIt) {
  changeEverything();
  EXPECT_EQ(gfx_tarnInitializeAllocate(nullptr), 0);
  EXPECT_EQ(coefficient(0, 0), 1.0);
  EXPECT_EQ(coefficient(0, 1), 114.6);
  changeEverything();
  TARNUninitialize();
  EXPECT_EQ(gfx_tarnFree(), 0);
  EXPECT_EQ(gfx_tarnFree(), 0);
  EXPECT_EQ(coefficient(7, 1), 3.0);
  EXPECT_EQ(coefficient(0, 1), 99.0);
}

}  // namespace
