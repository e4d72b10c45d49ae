// Ethanol blendstock models and the CARBOB2 adapter (worked blends: catalogue_rows.csv).
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "params/params.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/emissions.h"

namespace {

using Vec = std::vector<double>;
constexpr double S = -777.0;  // sentinel: not written

// Blendstock: RVP, T50, T90, aromatics, benzene, olefins, sulfur.
const Vec kBob{8.0, 200, 320, 30, 1.0, 10, 50};

Vec carbob2(double ethanol, const double* params = nullptr, int* status = nullptr, char unit = 'F',
            const Vec& in = kBob) {
  Vec out(9, S);
  const int s = gfx_WCARBOB2(0, unit, ethanol, in.data(), out.data(), nullptr, params);
  if (status != nullptr) *status = s;
  return out;
}
// An override array that keeps every configured value except one.
Vec overriding(int size, int k, double value) {
  Vec p(size, 1e30);
  p[k] = value;
  return p;
}

class EthanolTest : public tarn::testing::LibraryTest {};

TEST_F(EthanolTest, EthanolRangesCompositionAndOverrides) {
  // Volatility model: flags outside [3.6, 11] but blends anyway; unit ignored.
  double out[3], outC[3];
  for (const auto& [e, code] :
       std::initializer_list<std::pair<double, int>>{{3.5, 1}, {3.6, 0}, {11.0, 0}, {11.01, 1}}) {
    const double in[4] = {8, 200, 320, e};
    EXPECT_EQ(gfx_WCARBOB(0, 'F', in, out, nullptr), code) << e;
    EXPECT_EQ(gfx_WCARBOB(0, 'C', in, outC, nullptr), code);
    EXPECT_EQ(outC[1], out[1]);
  }
  // Full model: blends on [4, 10] (its values: by index), passes through outside with oxygen 0.
  int status = 9;
  for (double e : {4.0, 10.0}) EXPECT_EQ((carbob2(e, nullptr, &status), status), 0) << e;
  for (const auto& [e, code] :
       std::initializer_list<std::pair<double, int>>{{3.99, -1}, {0.0, 0}, {-2.0, -1}, {10.01, 1}}) {
    EXPECT_EQ(carbob2(e, nullptr, &status), (Vec{8.0, 200, 320, 30, 1.0, 0.0, 10, 0.0, 50})) << e;
    EXPECT_EQ(status, code) << e;
  }
  // A non-positive ethanol oxygen gives the blend's oxygen, sign reversed.
  EXPECT_EQ(carbob2(10.0, overriding(9, 2, -2.7).data())[5], 2.7);
  // Group values by keyword; overrides of 1e29 or more keep them.
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ARO", 11.7), 0);
  EXPECT_NEAR(carbob2(10.0, overriding(9, 0, 1e29).data())[3], (90 * 30 + 11.7 * 10) / 100.0, 1e-12);
  // ALTOXY 1 or more (group or override) passes through, oxygen not written.
  const Vec passed{8.0, 200, 320, 30, 1.0, S, 10, S, 50};
  EXPECT_EQ(carbob2(7.0, overriding(9, 8, 1.0).data()), passed);
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ALTOXY", 1.9), 0);
  EXPECT_EQ(carbob2(7.0), passed);
  EXPECT_NE(carbob2(7.0, overriding(9, 8, 0.99).data())[5], S);
}

TEST_F(EthanolTest, RbobUsesItsOwnGroupAndCouplesTheE200SlopeToPassThrough) {
  const Vec blended = carbob2(10.0);
  // P1..P6: E200 intercept and slope, E300 intercept and slope, RVP addend and multiplier.
  const double p[6] = {150.0, 0.49, 160.0, 0.3, 0.5, 0.9};
  for (int i = 0; i < 6; ++i) ASSERT_EQ(gfx_setCorParms("RBOB", ("P" + std::to_string(i + 1)).c_str(), p[i]), 0);
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ARO", 50.0), 0);  // not this model's group
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ALTOXY", 3), 0);
  Vec out(10, S);
  gfx_WRBOB(0, 'F', 10.0, kBob.data(), out.data(), nullptr, nullptr);
  EXPECT_EQ(out, (Vec{0.9 * blended[0] + 0.5, blended[1], blended[2], blended[3], blended[4], blended[5], blended[6],
                      blended[8], 150.0 - 0.49 * blended[1], 160.0 - 0.3 * blended[2]}));
  // Intended: the E200 slope is ALTOXY, so 1.2 passes the blendstock through; RVP, E200, E300 still computed.
  double d[70];
  out.assign(10, S);
  EXPECT_EQ(gfx_WRBOB(1, 'C', 10.0, kBob.data(), out.data(), d, overriding(13, 8, 1.2).data()), 0);
  EXPECT_EQ(out, (Vec{0.9 * 8.0 + 0.5, 200, 320, 30, 1.0, S, 10, 50, 150.0 - 1.2 * (200 * 1.8 + 32),
                      160.0 - 0.3 * (320 * 1.8 + 32)}));
  EXPECT_EQ(d[1 * 10 + 8], -1.2 * 1.8);
  // A failing blend returns at once, outputs as the blend model left them.
  out.assign(10, S);
  EXPECT_EQ(gfx_WRBOB(0, 'F', 3.0, kBob.data(), out.data(), nullptr, nullptr), -1);
  EXPECT_EQ(out[8], 50.0);
  EXPECT_EQ(out[9], S);
}

TEST_F(EthanolTest, OffsetsAndTheCatalogueAdapter) {
  // Offsets reproduce the default 5 % blend; intended: always with the standard ethanol.
  const Vec standard = carbob2(5.0);
  const double ignored[7] = {10.0, 5, 5, 5, 5, 0.5, 0.5};
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ARO", 25.0), 0);
  double o[4], f[4];
  EXPECT_EQ(gfx_WCARBOB2CalcOffset(o, f, ignored), 0);
  const int use[4][3] = {{0, 3, 3}, {1, 4, 4}, {2, 5, 6}, {3, 6, 8}};  // offset, blendstock input, output
  for (const auto& u : use) EXPECT_NEAR(f[u[0]] * kBob[u[1]] + o[u[0]], standard[u[2]], 1e-12) << u[0];
  EXPECT_NEAR(f[0], 0.95, 1e-15);
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ARO", 1.7), 0);

  // Adapter inputs 7-13 offset outputs 0, 1, 2, 3, 4, 6, 8; ethanol content and unit from the coefficients.
  const int target[7] = {0, 1, 2, 3, 4, 6, 8};
  Vec in = kBob, out(9, S), d(126, S);
  for (double offset : {0.5, 1e30, -2.0, 1e30, 0.1, 0.0, 3.0}) in.push_back(offset);
  tarn::params().settings.carbob2.eohvol = 3.0;
  EXPECT_EQ(gfx_tarnGenCalc(50, 0, 0, in.data(), out.data(), nullptr), -1);
  tarn::params().settings.carbob2.eohvol = 10.0;
  tarn::params().settings.corf[50] = 0;
  EXPECT_EQ(gfx_tarnGenCalc(50, 0, 0, in.data(), out.data(), nullptr), 0);
  EXPECT_NEAR(out[2], carbob2(10.0, nullptr, nullptr, 'C', in)[2] - 2.0, 1e-12);
  // Pass-through: blendstock plus offset where given, unit sensitivities to both either way.
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ALTOXY", 1), 0);
  out.assign(9, S);
  EXPECT_EQ(gfx_tarnGenCalc(50, 1, 0, in.data(), out.data(), d.data()), 0);
  EXPECT_EQ(out, (Vec{8.5, S, 318, S, 1.1, S, 10, S, 53}));
  for (int k = 0; k < 14; ++k) {
    for (int i = 0; i < 9; ++i) EXPECT_EQ(d[k * 9 + i], i == target[k % 7] ? 1.0 : 0.0) << k << " " << i;
  }
}

}  // namespace
