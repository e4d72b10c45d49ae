// Octane blending index and the drivability index's parameters.
#include <gtest/gtest.h>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/props.h"

namespace {

class OctaneTest : public tarn::testing::LibraryTest {};

TEST_F(OctaneTest, OctaneIndexSegmentsAndTheirThresholds) {
  // Lower form 43.196 + 0.00137 x^2.1, middle 50.896 + 6.1e-9 x^4.75, upper
  // -103.32 + 17.3621 x^0.5 (70.301 at 100). A threshold belongs to the
  // segment above it: 76.85 takes the middle form (56.4185; the lower one
  // gives 55.6863), 95.937 the upper one (66.73732; the middle one gives 66.73632).
  EXPECT_NEAR(gfx_OctaneIndex(100.0, 0, nullptr), 70.301, 1e-12);
  EXPECT_NEAR(gfx_OctaneIndex(76.849, 0, nullptr), 55.6860, 1e-4);
  EXPECT_NEAR(gfx_OctaneIndex(76.85, 0, nullptr), 56.4185, 1e-4);
  EXPECT_NEAR(gfx_OctaneIndex(95.937, 0, nullptr), 66.73732, 1e-5);
}

// The published forms (ASTM D4814) are checked by index with the catalogue's
// worked values; here the weights are read from the block at each call.
TEST_F(OctaneTest, DrivabilityReadsItsWeightsAtEachCall) {
  ASSERT_EQ(gfx_setCorParms("DRIVEABILITYINDEX", "P2", 2.0), 0);
  ASSERT_EQ(gfx_setCorParms("DRIVEABILITYINDEX", "EF", 3.6), 0);
  EXPECT_NEAR(gfx_DriveabilityIndexE(0, 'C', 50.0, 100.0, 170.0, nullptr, 10.0), 445.0 + 20.0, 1e-9);
}

}  // namespace
