// Ethanol blendstock models: gfx_WCARBOB, gfx_WCARBOB2, gfx_WRBOB,
// gfx_WCARBOB2CalcOffset and the CARBOB2 catalogue adapter.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "emissions/adapters.h"
#include "params/params.h"
#include "support/derivatives.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/emissions.h"
#include "tarn/tarn.h"

namespace {

using tarn::testing::centralJacobian;
using tarn::testing::expectJacobianNear;
using Vec = std::vector<double>;

constexpr double kSentinel = -777.0;

class EthanolTest : public tarn::testing::LibraryTest {
 protected:
  // Blendstock: RVP, T50, T90, aromatics, benzene, olefins, sulfur.
  const Vec blendstock{8.0, 200, 320, 30, 1.0, 10, 50};

  static Vec carbob2(char unit, double ethanol, const Vec& in, const double* params = nullptr,
                     int* status = nullptr) {
    Vec out(9, kSentinel);
    const int s = gfx_WCARBOB2(0, unit, ethanol, in.data(), out.data(), nullptr, params);
    if (status != nullptr) *status = s;
    return out;
  }
  static Vec rbob(char unit, double ethanol, const Vec& in, const double* params = nullptr,
                  int* status = nullptr) {
    Vec out(10, kSentinel);
    const int s = gfx_WRBOB(0, unit, ethanol, in.data(), out.data(), nullptr, params);
    if (status != nullptr) *status = s;
    return out;
  }
};

TEST_F(EthanolTest, T50SwitchesEquationAtNinePercentEthanol) {
  // Blendstock RVP 8, T50 200, T90 320.
  // Below 9 %: 21.93 + 14.875 E - 10.238*8 + 0.672*200 + 0.02579*320
  //   - (0.8313 E + 0.3103*8 - 0.06623*200 + 0.05519*320) E + 0.03607*8*320
  //   = 179.48988 at E = 8.999.
  // From 9 % on: 559.276 - 0.5431*8 - 4.1884*200 - 0.3957*320 + 0.01482*200^2
  //   - 0.05309*200*8 + 0.02884*320*8 = 172.3136, whatever E.
  double out[3], deriv[12];
  const double below[4] = {8, 200, 320, 8.999};
  EXPECT_EQ(gfx_WCARBOB(1, 'F', below, out, deriv), 0);
  EXPECT_NEAR(out[1], 179.4898847687, 1e-9);
  EXPECT_NEAR(out[0], 0.961 * 8 + 1.446, 1e-12);
  EXPECT_NEAR(out[2], 0.964 * 320 + 1.493 + 0.0468 * 200 - 0.473 * 8.999, 1e-12);
  EXPECT_NE(deriv[3 * 3 + 1], 0.0);  // T50 depends on E below 9 %
  const double at[4] = {8, 200, 320, 9.0};
  EXPECT_EQ(gfx_WCARBOB(1, 'F', at, out, deriv), 0);
  EXPECT_NEAR(out[1], 172.3136, 1e-9);
  EXPECT_EQ(deriv[3 * 3 + 1], 0.0);
  EXPECT_EQ(deriv[3 * 3 + 0], 0.0);  // RVP never depends on E
  EXPECT_EQ(deriv[3 * 3 + 2], -0.473);

  // The same switch inside the full model.
  EXPECT_NEAR(carbob2('F', 8.999, blendstock)[1], 179.4898847687, 1e-9);
  EXPECT_NEAR(carbob2('F', 9.0, blendstock)[1], 172.3136, 1e-9);
}

TEST_F(EthanolTest, VolatilityModelFlagsEthanolOutsideItsRangeButStillBlends) {
  double out[3] = {0, 0, 0}, again[3];
  const double low[4] = {8, 200, 320, 3.5};
  EXPECT_EQ(gfx_WCARBOB(0, 'F', low, out, nullptr), 1);
  EXPECT_NEAR(out[0], 9.134, 1e-12);
  for (double e : {3.6, 11.0}) {
    const double in[4] = {8, 200, 320, e};
    EXPECT_EQ(gfx_WCARBOB(0, 'F', in, out, nullptr), 0) << e;
  }
  const double high[4] = {8, 200, 320, 11.01};
  EXPECT_EQ(gfx_WCARBOB(0, 'F', high, out, nullptr), 1);
  // The unit argument is ignored: temperatures are degrees F.
  EXPECT_EQ(gfx_WCARBOB(0, 'C', high, again, nullptr), 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(again[i], out[i]);
  EXPECT_EQ(gfx_WCARBOB(0, 'F', nullptr, out, nullptr), -1);
}

TEST_F(EthanolTest, FullModelBlendsBetweenFourAndTenPercentAndPassesThroughOutside) {
  int status = 99;
  // At 10 %: aromatics (90*30 + 1.7*10)/100 = 27.17; oxygen
  // (100 - 1.7 - 0.06 - 0.5)/100 * 34.7 * 10 * 0.788 / (90*0.718 + 10*0.788)
  // = 3.6862944; sulfur (90*0.718*50 + 10*10*0.788)/(0.788*10 + 90*0.718)
  // = 45.652414.
  Vec out = carbob2('F', 10.0, blendstock, nullptr, &status);
  EXPECT_EQ(status, 0);
  EXPECT_NEAR(out[3], 27.17, 1e-12);
  EXPECT_NEAR(out[4], (90 * 1.0 + 0.06 * 10) / 100, 1e-12);
  EXPECT_NEAR(out[6], (90 * 10 + 0.5 * 10) / 100, 1e-12);
  EXPECT_NEAR(out[5], 3.686294433103448, 1e-12);
  EXPECT_EQ(out[7], out[5]);
  EXPECT_NEAR(out[8], 45.65241379310345, 1e-12);
  carbob2('F', 4.0, blendstock, nullptr, &status);
  EXPECT_EQ(status, 0);

  const struct {
    double ethanol;
    int status;
  } outside[] = {{3.99, -1}, {0.0, 0}, {-2.0, -1}, {10.01, 1}};
  for (const auto& c : outside) {
    out = carbob2('F', c.ethanol, blendstock, nullptr, &status);
    EXPECT_EQ(status, c.status) << c.ethanol;
    const Vec expected{8.0, 200, 320, 30, 1.0, 0.0, 10, 0.0, 50};
    EXPECT_EQ(out, expected) << c.ethanol;
  }

  // ALTOXY of 1 or more passes through without writing the oxygen outputs,
  // whether it comes from the group or from the override array.
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ALTOXY", 1.9), 0);
  out = carbob2('F', 10.0, blendstock, nullptr, &status);
  EXPECT_EQ(status, 0);
  const Vec passed{8.0, 200, 320, 30, 1.0, kSentinel, 10, kSentinel, 50};
  EXPECT_EQ(out, passed);
  const double blendAnyway[9] = {1e30, 1e30, 1e30, 1e30, 1e30, 1e30, 1e30, 1e30, 0.99};
  EXPECT_NEAR(carbob2('F', 10.0, blendstock, blendAnyway)[5], 3.6862944, 1e-6);
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ALTOXY", 0), 0);
  const double passAnyway[9] = {1e30, 1e30, 1e30, 1e30, 1e30, 1e30, 1e30, 1e30, 1.0};
  EXPECT_EQ(carbob2('F', 7.0, blendstock, passAnyway), passed);
}

TEST_F(EthanolTest, CompositionComesFromTheGroupUnlessOverridden) {
  // A non-positive ethanol oxygen is the blend's oxygen, sign reversed.
  const double negativeEho[9] = {1e30, 1e30, -2.7, 1e30, 1e30, 1e30, 1e30, 1e30, 1e30};
  Vec out = carbob2('F', 10.0, blendstock, negativeEho);
  EXPECT_EQ(out[5], 2.7);
  EXPECT_EQ(out[7], 2.7);
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "EHO", 0.0), 0);
  EXPECT_EQ(carbob2('F', 10.0, blendstock)[5], 0.0);
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "EHO", 34.7), 0);

  // Group values by keyword; overrides of 1e29 or more keep them.
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ARO", 11.7), 0);
  EXPECT_NEAR(carbob2('F', 10.0, blendstock)[3], (90 * 30 + 11.7 * 10) / 100.0, 1e-12);
  const double keep[9] = {1e29, 2e30, 1e30, 1e30, 1e30, 1e30, 1e30, 1e30, 1e30};
  EXPECT_NEAR(carbob2('F', 10.0, blendstock, keep)[3], (90 * 30 + 11.7 * 10) / 100.0, 1e-12);
  const double own[9] = {0.0, 0.0, 30.0, 0.0, 0.0, 0.8, 0.7, 1e30, 1e30};
  out = carbob2('F', 10.0, blendstock, own);
  EXPECT_NEAR(out[3], 27.0, 1e-12);
  EXPECT_NEAR(out[5], 30.0 * 10 * 0.8 / (90 * 0.7 + 10 * 0.8), 1e-12);
  // Sulfur weighting keeps its fixed gravities whatever GASSPG/ETOHSPG are.
  EXPECT_NEAR(out[8], (90 * 0.718 * 50 + 10 * 0.0 * 0.788) / (0.788 * 10 + 90 * 0.718), 1e-12);
}

TEST_F(EthanolTest, CelsiusTemperaturesRoundTripThroughFahrenheit) {
  const Vec inC{8.0, (200 - 32) / 1.8, (320 - 32) / 1.8, 30, 1.0, 10, 50};
  const Vec f = carbob2('F', 7.0, blendstock);
  const Vec c = carbob2('C', 7.0, inC);
  EXPECT_NEAR(c[1], (f[1] - 32) / 1.8, 1e-9);
  EXPECT_NEAR(c[2], (f[2] - 32) / 1.8, 1e-9);
  EXPECT_NEAR(c[0], f[0], 1e-12);

  double dF[63], dC[63], out[9];
  gfx_WCARBOB2(1, 'F', 7.0, blendstock.data(), out, dF, nullptr);
  gfx_WCARBOB2(1, 'C', 7.0, inC.data(), out, dC, nullptr);
  EXPECT_NEAR(dC[0 * 9 + 1], dF[0 * 9 + 1] / 1.8, 1e-12);  // T50 per psi, in degrees C
  EXPECT_NEAR(dC[1 * 9 + 1], dF[1 * 9 + 1], 1e-12);        // T50 per T50: unit-free
  EXPECT_NEAR(dC[2 * 9 + 2], dF[2 * 9 + 2], 1e-12);
}

TEST_F(EthanolTest, SensitivitiesMatchCentralDifferences) {
  for (double ethanol : {5.0, 9.5}) {
    const Vec x{8.0, 200, 320, ethanol};
    double out[3], d[12];
    gfx_WCARBOB(1, 'F', x.data(), out, d);
    auto f = [](const Vec& v) {
      double o[3];
      gfx_WCARBOB(0, 'F', v.data(), o, nullptr);
      return Vec(o, o + 3);
    };
    expectJacobianNear(Vec(d, d + 12), centralJacobian(f, x, 3), 3, 1e-6, 1e-7, "WCARBOB");
  }
  for (char unit : {'F', 'C'}) {
    for (double ethanol : {6.0, 9.5}) {
      const Vec x = unit == 'F' ? blendstock : Vec{8.0, 93.3, 160, 30, 1.0, 10, 50};
      double out[10], d[70];
      gfx_WCARBOB2(1, unit, ethanol, x.data(), out, d, nullptr);
      auto blend = [unit, ethanol](const Vec& v) {
        double o[9];
        gfx_WCARBOB2(0, unit, ethanol, v.data(), o, nullptr, nullptr);
        return Vec(o, o + 9);
      };
      expectJacobianNear(Vec(d, d + 63), centralJacobian(blend, x, 9), 9, 1e-6, 1e-7, "WCARBOB2");

      gfx_WRBOB(1, unit, ethanol, x.data(), out, d, nullptr);
      auto rbobModel = [unit, ethanol](const Vec& v) {
        double o[10];
        gfx_WRBOB(0, unit, ethanol, v.data(), o, nullptr, nullptr);
        return Vec(o, o + 10);
      };
      expectJacobianNear(Vec(d, d + 70), centralJacobian(rbobModel, x, 10), 10, 1e-6, 1e-7,
                         std::string("WRBOB ") + unit);
    }
  }
}

TEST_F(EthanolTest, RbobAddsRvpTransformAndEvaporationPointsWithItsOwnGroup) {
  const Vec blended = carbob2('F', 10.0, blendstock);
  Vec out = rbob('F', 10.0, blendstock);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(out[i], blended[i]) << i;
  EXPECT_EQ(out[7], blended[8]);  // sulfur takes the second oxygen's place
  EXPECT_NEAR(out[8], 147.91 - 0.49 * blended[1], 1e-12);
  EXPECT_NEAR(out[9], 155.47 - 0.22 * blended[2], 1e-12);

  // RBOB P1..P6: E200 intercept and slope, E300 intercept and slope, RVP
  // addend and multiplier.
  ASSERT_EQ(gfx_setCorParms("RBOB", "P1", 150.0), 0);
  ASSERT_EQ(gfx_setCorParms("RBOB", "P3", 160.0), 0);
  ASSERT_EQ(gfx_setCorParms("RBOB", "P4", 0.3), 0);
  ASSERT_EQ(gfx_setCorParms("RBOB", "P5", 0.5), 0);
  ASSERT_EQ(gfx_setCorParms("RBOB", "P6", 0.9), 0);
  out = rbob('F', 10.0, blendstock);
  EXPECT_NEAR(out[0], 0.9 * blended[0] + 0.5, 1e-12);
  EXPECT_NEAR(out[8], 150.0 - 0.49 * blended[1], 1e-12);
  EXPECT_NEAR(out[9], 160.0 - 0.3 * blended[2], 1e-12);

  // The CARBOB2 group does not reach this model; the RBOB group does.
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ARO", 50.0), 0);
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ALTOXY", 3), 0);
  EXPECT_NEAR(rbob('F', 10.0, blendstock)[3], 27.17, 1e-12);
  ASSERT_EQ(gfx_setCorParms("RBOB", "ARO", 11.7), 0);
  EXPECT_NEAR(rbob('F', 10.0, blendstock)[3], (90 * 30 + 11.7 * 10) / 100.0, 1e-12);

  // Out-of-range ethanol: the blend model's status comes back at once and
  // the outputs stay as the blend model left them (sulfur still in place 8).
  int status = 0;
  out = rbob('F', 3.0, blendstock, nullptr, &status);
  EXPECT_EQ(status, -1);
  EXPECT_EQ(out[0], 8.0);
  EXPECT_EQ(out[7], 0.0);
  EXPECT_EQ(out[8], 50.0);
  EXPECT_EQ(out[9], kSentinel);
}

TEST_F(EthanolTest, RbobE200SlopeOfOneOrMorePassesTheBlendstockThrough) {
  // The E200 slope is the blend model's ALTOXY switch (intended coupling).
  double overrides[13];
  for (double& v : overrides) v = 1e30;
  overrides[8] = 1.2;
  double out[10], d[70];
  for (double& v : out) v = kSentinel;
  EXPECT_EQ(gfx_WRBOB(1, 'C', 10.0, blendstock.data(), out, d, overrides), 0);
  EXPECT_EQ(out[0], 8.0);  // multiplier 1, addend 0 on the unblended RVP
  for (int i : {1, 2, 3, 4}) EXPECT_EQ(out[i], blendstock[i]);
  EXPECT_EQ(out[5], kSentinel);  // oxygen is not written in pass-through
  EXPECT_EQ(out[6], blendstock[5]);
  EXPECT_EQ(out[7], blendstock[6]);
  EXPECT_NEAR(out[8], 147.91 - 1.2 * (200 * 1.8 + 32), 1e-9);  // T50 read in degrees C
  EXPECT_NEAR(out[9], 155.47 - 0.22 * (320 * 1.8 + 32), 1e-9);
  EXPECT_EQ(d[1 * 10 + 8], -1.2 * 1.8);
  EXPECT_NEAR(d[2 * 10 + 9], -0.22 * 1.8, 1e-15);
  EXPECT_EQ(d[6 * 10 + 7], 1.0);

  // The same through the group value.
  ASSERT_EQ(gfx_setCorParms("RBOB", "P2", 1.0), 0);
  EXPECT_EQ(rbob('F', 10.0, blendstock)[3], 30.0);
  ASSERT_EQ(gfx_setCorParms("RBOB", "P2", 0.99), 0);
  EXPECT_NEAR(rbob('F', 10.0, blendstock)[3], 27.17, 1e-12);
}

TEST_F(EthanolTest, DilutionOffsetsUseTheStandardEthanolWhateverIsPassed) {
  const double e = 0.05;
  const double expectedFactors[4] = {0.95, 0.95, 0.95, 0.95 * 0.718 / (e * 0.788 + 0.95 * 0.718)};
  const double expectedOffsets[4] = {e * 1.7, e * 0.06, e * 0.5,
                                     e * 10 * 0.788 / (0.718 * 0.95 + e * 0.788)};
  const double ignored[7] = {10.0, 5, 5, 5, 5, 0.5, 0.5};
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ARO", 25.0), 0);
  for (const double* params : {static_cast<const double*>(nullptr), ignored}) {
    double offsets[4], factors[4];
    EXPECT_EQ(gfx_WCARBOB2CalcOffset(offsets, factors, params), 0);
    for (int i = 0; i < 4; ++i) {
      EXPECT_NEAR(factors[i], expectedFactors[i], 1e-15) << i;
      EXPECT_NEAR(offsets[i], expectedOffsets[i], 1e-15) << i;
    }
  }
  EXPECT_EQ(gfx_WCARBOB2CalcOffset(nullptr, nullptr, nullptr), 0);
}

TEST_F(EthanolTest, CatalogueAdapterAddsOffsetsInBothModes) {
  // Inputs: blendstock, then offsets for RVP, T50, T90, aromatics, benzene,
  // olefins, sulfur.
  Vec in = blendstock;
  const Vec offsets{0.5, 1e30, -2.0, 1e30, 0.1, 0.0, 3.0};
  in.insert(in.end(), offsets.begin(), offsets.end());
  Vec out(9, kSentinel), d(126, kSentinel);
  tarn::params().settings.carbob2.eohvol = 10.0;

  EXPECT_EQ(tarn::emissions::carbob2CatalogueAdapter(in.data(), out.data(), 1, d.data()), 0);
  const Vec blended = carbob2('F', 10.0, blendstock);
  const int target[7] = {0, 1, 2, 3, 4, 6, 8};
  for (int k = 0; k < 7; ++k) {
    const double offset = offsets[k];
    const int t = target[k];
    if (offset < 1e30) {
      EXPECT_NEAR(out[t], blended[t] + offset, 1e-12) << k;
      for (int i = 0; i < 9; ++i) EXPECT_EQ(d[(7 + k) * 9 + i], i == t ? 1.0 : 0.0) << k;
    } else {
      EXPECT_EQ(out[t], blended[t]) << k;  // no offset: output and row as they were
      for (int i = 0; i < 9; ++i) EXPECT_EQ(d[(7 + k) * 9 + i], kSentinel) << k;
    }
  }
  EXPECT_NEAR(d[6 * 9 + 8], 0.718 * 90 / (0.788 * 10 + 0.718 * 90), 1e-15);

  // Unit and ethanol content come from the correlation's coefficients.
  tarn::params().settings.carbob2.eohvol = 3.0;
  EXPECT_EQ(tarn::emissions::carbob2CatalogueAdapter(in.data(), out.data(), 0, nullptr), -1);
  tarn::params().settings.carbob2.eohvol = 7.0;
  tarn::params().settings.corf[50] = 0;
  Vec inC = in;
  inC[1] = (200 - 32) / 1.8;
  inC[2] = (320 - 32) / 1.8;
  EXPECT_EQ(tarn::emissions::carbob2CatalogueAdapter(inC.data(), out.data(), 0, nullptr), 0);
  EXPECT_NEAR(out[2], (carbob2('F', 7.0, blendstock)[2] - 32) / 1.8 - 2.0, 1e-9);

  // Pass-through mode: each output is its blendstock value plus its offset;
  // without an offset it is not written, yet both unit sensitivities are set.
  ASSERT_EQ(gfx_setCorParms("CARBOB2", "ALTOXY", 1), 0);
  std::fill(out.begin(), out.end(), kSentinel);
  std::fill(d.begin(), d.end(), kSentinel);
  EXPECT_EQ(tarn::emissions::carbob2CatalogueAdapter(in.data(), out.data(), 1, d.data()), 0);
  for (int k = 0; k < 7; ++k) {
    const int t = target[k];
    EXPECT_EQ(out[t], offsets[k] < 1e30 ? in[k] + offsets[k] : kSentinel) << k;
    for (int i = 0; i < 9; ++i) {
      EXPECT_EQ(d[k * 9 + i], i == t ? 1.0 : 0.0);
      EXPECT_EQ(d[(7 + k) * 9 + i], i == t ? 1.0 : 0.0);
    }
  }
  EXPECT_EQ(out[5], kSentinel);
  EXPECT_EQ(out[7], kSentinel);
}

}  // namespace
