// Catalogue adapters of the CARB predictive models.
#include <gtest/gtest.h>

#include <vector>

#include "emissions/adapters.h"
#include "emissions/predictive_engine.h"
#include "params/params.h"
#include "support/fixture.h"
#include "tarn/emissions.h"

namespace {

using Vec = std::vector<double>;
using tarn::emissions::carb3CatalogueAdapter;
using tarn::emissions::carb3mCatalogueAdapter;
using tarn::emissions::carbCatalogueAdapter;

constexpr double kSentinel = -777.0;

class CarbAdapterTest : public tarn::testing::LibraryTest {
 protected:
  tarn::CorrelationSettings& settings() { return tarn::params().settings; }
  const Vec flat{7.0, 210, 300, 25, 6, 2.0, 40, 1.0};
  const Vec averaging{7.0, 200, 290, 22, 4, 2.0, 30, 0.8};
};

TEST_F(CarbAdapterTest, SelectorOneIsFlatAnyOtherValueAveraging) {
  double out[3];
  Vec in = averaging;
  for (int& s : settings().carb) s = 2;
  EXPECT_EQ(carbCatalogueAdapter(in.data(), out, 0, nullptr), 0);
  for (double v : out) EXPECT_EQ(v, 0.0);
  for (int& s : settings().carb) s = 1;
  in = flat;
  EXPECT_EQ(carbCatalogueAdapter(in.data(), out, 0, nullptr), 0);
  for (double v : out) EXPECT_EQ(v, 0.0);
  // Only T50 on averaging (selector 0): T50 200 with everything else flat.
  settings().carb[0] = 0;
  in[1] = 200;
  EXPECT_EQ(carbCatalogueAdapter(in.data(), out, 0, nullptr), 0);
  for (double v : out) EXPECT_EQ(v, 0.0);
  // The model's out-of-range count is dropped.
  Vec rich{7.0, 230, 340, 35, 12, 3.0, 90, 1.3};
  EXPECT_EQ(carbCatalogueAdapter(rich.data(), out, 0, nullptr), 0);
}

TEST_F(CarbAdapterTest, MissingInputsBecomeZeroAndClearThePreviousSensitivityBlock) {
  Vec in{7.0, 195, 315, 1e30, 8, 1.2, 60, 1e30};
  Vec zeroed = in;
  zeroed[3] = zeroed[7] = 0.0;
  double direct[24], directOut[3];
  gfx_WCARB(1, "FFFFFF", zeroed.data(), directOut, direct);

  // Guard cells around the derivative block catch writes outside it.
  Vec buffer(3 + 24 + 3, kSentinel);
  double* deriv = buffer.data() + 3;
  double out[3];
  EXPECT_EQ(carbCatalogueAdapter(in.data(), out, 1, deriv), 0);
  EXPECT_EQ(in, zeroed);  // changed in the caller's array
  for (int k = 0; k < 3; ++k) EXPECT_EQ(out[k], directOut[k]);
  for (int j = 0; j < 8; ++j) {
    // Aromatics (3) and benzene (7) are missing: the blocks of their
    // predecessors T90 (2) and sulfur (6) are cleared, their own kept.
    const bool cleared = j == 2 || j == 6;
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(deriv[3 * j + k], cleared ? 0.0 : direct[3 * j + k]) << j;
    }
  }
  EXPECT_NE(direct[3 * 2], 0.0);
  EXPECT_NE(direct[3 * 7 + 2], 0.0);
  for (int g : {0, 1, 2, 27, 28, 29}) EXPECT_EQ(buffer[g], kSentinel);

  // A missing first input clears nothing (there is no block before it).
  Vec first = flat;
  first[0] = 1e30;
  std::fill(buffer.begin(), buffer.end(), kSentinel);
  EXPECT_EQ(carbCatalogueAdapter(first.data(), out, 1, deriv), 0);
  EXPECT_EQ(first[0], 0.0);
  for (int g : {0, 1, 2}) EXPECT_EQ(buffer[g], kSentinel);
  gfx_WCARB(1, "FFFFFF", first.data(), directOut, direct);
  for (int i = 0; i < 24; ++i) EXPECT_EQ(deriv[i], direct[i]);

  // Without a derivative request nothing is written to the array.
  Vec again{7.0, 195, 315, 1e30, 8, 1.2, 60, 1.0};
  std::fill(buffer.begin(), buffer.end(), kSentinel);
  EXPECT_EQ(carbCatalogueAdapter(again.data(), out, 0, deriv), 0);
  for (double v : buffer) EXPECT_EQ(v, kSentinel);
}

TEST_F(CarbAdapterTest, Phase3AdaptersBuildTheirOptionStrings) {
  namespace pm = tarn::emissions::predictive;
  const pm::WorkingState& state = pm::workingState();
  double out[3], deriv[27];

  // CARB3: the seventh selector 1 is 'N' (wide RVP ceiling), else 'Y' (7.2).
  Vec in3{8.0, 200, 300, 22, 4, 2.0, 2.0, 15, 0.7};
  settings().carb3[6] = 1;
  EXPECT_EQ(carb3CatalogueAdapter(in3.data(), out, 1, deriv), 0);
  EXPECT_EQ(state.baseOutOfRangeCount, 0);
  settings().carb3[6] = 0;
  settings().carb3[2] = 3;
  EXPECT_EQ(carb3CatalogueAdapter(in3.data(), out, 1, deriv), 0);
  EXPECT_EQ(state.baseOutOfRangeCount, 1);
  EXPECT_EQ(state.flag[3], 'A');  // aromatics on averaging
  EXPECT_EQ(state.flag[1], 'F');
  for (double v : out) EXPECT_EQ(v, 1e30);
  for (double v : deriv) EXPECT_EQ(v, 0.0);

  // CARB3M: 1 'N' (30), 2 'Y' (7.2), anything else 'Z' (7.0).
  const struct {
    int selector;
    double rvp;
    int count;
  } cases[] = {{1, 7.3, 0}, {2, 7.1, 0}, {2, 7.3, 1}, {3, 7.1, 1}, {0, 7.1, 1}, {3, 6.9, 0}};
  for (const auto& c : cases) {
    settings().carb3m[6] = c.selector;
    Vec in4{c.rvp, 200, 300, 22, 4, 2.0, 15, 0.7};
    EXPECT_EQ(carb3mCatalogueAdapter(in4.data(), out, 0, nullptr), 0);
    EXPECT_EQ(state.baseOutOfRangeCount, c.count) << c.selector << " " << c.rvp;
  }

  // Missing inputs are zeroed in the caller's array (oxygen 0 is in range,
  // RVP 0 is below the floor).
  Vec missing{1e30, 200, 300, 22, 4, 1e30, 1e30, 15, 0.7};
  EXPECT_EQ(carb3CatalogueAdapter(missing.data(), out, 0, nullptr), 0);
  EXPECT_EQ(missing, (Vec{0, 200, 300, 22, 4, 0, 0, 15, 0.7}));
  EXPECT_EQ(state.baseOutOfRangeCount, 1);
}

}  // namespace
