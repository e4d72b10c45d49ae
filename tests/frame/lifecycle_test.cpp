// Start-up, reset and shut-down: which values each of them restores.
#include <gtest/gtest.h>

#include "support/fixture.h"
#include "tarn/tarn.h"

namespace {

// A switch of each kind (settings only coefficients reach) and coefficients
// that view parameter-block fields, with a changed and the initial value.
const struct Change {
  int index, k;
  double changed, initial;
  bool setting;
  const char* what;
} kChanges[] = {
    {0, 0, 0.0, 1.0, true, "TVL CORF"},          {7, 1, 3.0, 2.0, true, "EPA PHASE"},
    {11, 1, 7.0, 5.0, true, "DRIVEABILITYINDEXE EOHVOL"},
    {51, 1, 2.5, 1.7, true, "CARBOB3 EOHARO"},   {42, 0, 2.0, 0.0, true, "ND86FROMPERCENTOFF TYPCOR"},
    {0, 1, 99.0, 114.6, false, "TVL P1"},        {53, 12, 4.0, 0.0, false, "EVAPORATIVE NPTS"},
    {50, 14, 1.0, 0.0, false, "CARBOB2 ALTOXY"},
};

void changeAll() {
  for (const Change& c : kChanges) ASSERT_EQ(gfx_tarnSetCoefValue(c.index, c.k, c.changed), 0);
}

void expectKept(const char* after, bool settingsKept, bool parametersKept) {
  for (const Change& c : kChanges) {
    double value = -1.0;
    EXPECT_EQ(gfx_tarnGetCoef(c.index, c.k, nullptr, &value), 0);
    const bool kept = c.setting ? settingsKept : parametersKept;
    EXPECT_EQ(value, kept ? c.changed : c.initial) << c.what << " after " << after;
  }
}

class Lifecycle : public tarn::testing::LibraryTest {};

TEST_F(Lifecycle, EachRestartRestoresItsOwnShare) {
  changeAll();
  EXPECT_EQ(TARNReset(), 0);
  expectKept("reset", true, false);
  changeAll();
  EXPECT_TRUE(TARNInitialize(nullptr));
  expectKept("parameter start-up", true, false);
  changeAll();
  EXPECT_EQ(gfx_tarnInitializeCoefs(), 0);
  expectKept("coefficient reset", false, true);
  changeAll();
  EXPECT_EQ(gfx_tarnInitializeAllocate(nullptr), 0);
  expectKept("start-up", false, false);
  changeAll();
  TARNUninitialize();
  EXPECT_EQ(gfx_tarnFree(), 0);
  EXPECT_EQ(gfx_tarnFree(), 0);
  expectKept("shut-down", true, true);
}

}  // namespace
