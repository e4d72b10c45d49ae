// Start-up, reset and shut-down: which values each of them restores.
#include <gtest/gtest.h>

#include "support/fixture.h"
#include "tarn/tarn.h"

namespace {

// A switch of each kind and coefficients viewing parameter-block fields, with a changed and the initial value.
const struct Change {
  int index, k;
  double changed, initial;
  bool setting;
  const char* what;
} kChanges[] = {
    {0, 0, 0.0, 1.0, true, "TVL CORF"},
    {7, 1, 3.0, 2.0, true, "EPA PHASE"},
    {11, 1, 7.0, 5.0, true, "DRIVEABILITYINDEXE EOHVOL"},
    {51, 1, 2.5, 1.7, true, "CARBOB3 EOHARO"},
    {42, 0, 2.0, 0.0, true, "ND86FROMPERCENTOFF TYPCOR"},
    {0, 1, 99.0, 114.6, false, "TVL P1"},
    {53, 12, 4.0, 0.0, false, "EVAPORATIVE NPTS"},
    {50, 14, 1.0, 0.0, false, "CARBOB2 ALTOXY"},
};

class Lifecycle : public tarn::testing::LibraryTest {};

TEST_F(Lifecycle, EachRestartRestoresItsOwnShare) {
  const struct {
    const char* what;
    int (*restart)();
    bool settingsKept, parametersKept;
  } steps[] = {
      {"reset", TARNReset, true, false},
      {"parameter start-up", [] { return TARNInitialize(nullptr) ? 0 : -1; }, true, false},
      {"coefficient reset", gfx_tarnInitializeCoefs, false, true},
      {"start-up", [] { return gfx_tarnInitializeAllocate(nullptr); }, false, false},
      {"shut-down", [] { return TARNUninitialize(), gfx_tarnFree() + gfx_tarnFree(); }, true, true},
  };
  for (const auto& step : steps) {
    for (const Change& c : kChanges) ASSERT_EQ(gfx_tarnSetCoefValue(c.index, c.k, c.changed), 0);
    EXPECT_EQ(step.restart(), 0) << step.what;
    for (const Change& c : kChanges) {
      double value = -1.0;
      EXPECT_EQ(gfx_tarnGetCoef(c.index, c.k, nullptr, &value), 0);
      const bool kept = c.setting ? step.settingsKept : step.parametersKept;
      EXPECT_EQ(value, kept ? c.changed : c.initial) << c.what << " after " << step.what;
    }
  }
}

}  // namespace
