// Ethanol blendstock models: the properties of a finished gasoline from those
// of its blendstock (BOB) and the ethanol added to it. The volatility
// equations are regressions for blends of 3.6 to 11 vol % ethanol; the
// composition properties blend by volume, oxygen and sulfur by mass.
#include <cmath>

#include "blending/oxygenate.h"
#include "common/missing.h"
#include "common/units.h"
#include "emissions/catalogue_adapters.h"
#include "params/params.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

// Volatility of the blend: RVP (psi), T50 and T90 (degrees F) from the
// blendstock's R, T5 = T50, T9 = T90 and the ethanol content E (vol %).
// slope[j][i] = d(result i)/d(input j) for inputs R, T5, T9, E.
struct VolatilityBlend {
  double value[3];
  double slope[4][3];
};

// Above this ethanol content T50 follows the high-ethanol equation.
constexpr double kHighEthanolT50From = 9.0;

VolatilityBlend blendVolatility(double R, double T5, double T9, double E) {
  VolatilityBlend b{};
  b.value[0] = 0.961 * R + 1.446;
  b.slope[0][0] = 0.961;

  if (E < kHighEthanolT50From) {
    b.value[1] = 21.93 + 14.875 * E - 10.238 * R + 0.672 * T5 + 0.02579 * T9 -
                 (0.8313 * E + 0.3103 * R - 0.06623 * T5 + 0.05519 * T9) * E + 0.03607 * R * T9;
    b.slope[0][1] = 0.03607 * T9 - (0.3103 * E + 10.238);
    b.slope[1][1] = 0.06623 * E + 0.672;
    b.slope[2][1] = 0.02579 - 0.05519 * E + 0.03607 * R;
    b.slope[3][1] = 14.875 - 1.6626 * E - 0.3103 * R + 0.06623 * T5 - 0.05519 * T9;
  } else {
    b.value[1] =
        559.276 - 0.5431 * R - 4.1884 * T5 - 0.3957 * T9 + 0.01482 * T5 * T5 - 0.05309 * T5 * R + 0.02884 * T9 * R;
    b.slope[0][1] = 0.02884 * T9 - (0.05309 * T5 + 0.5431);
    b.slope[1][1] = 0.02964 * T5 - 4.1884 - 0.05309 * R;
    b.slope[2][1] = 0.02884 * R - 0.3957;
    b.slope[3][1] = 0.0;
  }

  b.value[2] = 0.964 * T9 + 1.493 + 0.0468 * T5 - 0.473 * E;
  b.slope[1][2] = 0.0468;
  b.slope[2][2] = 0.964;
  b.slope[3][2] = -0.473;
  return b;
}

// Blendstock inputs of the full model and the outputs they pass through to
// when nothing is blended: RVP, T50, T90, aromatics, benzene, olefins, sulfur.
constexpr int kBlendstockCount = 7;
constexpr int kBlendOutputCount = 9;
constexpr int kPassThroughOutput[kBlendstockCount] = {0, 1, 2, 3, 4, 6, 8};
enum BlendOutput { kOutRvp, kOutT50, kOutT90, kOutAro, kOutBnz, kOutOxy, kOutOlf, kOutOxy2, kOutSul };

// The sulfur of the blend is mass-weighted with these fixed gravities, not
// with the configured GASSPG/ETOHSPG; the difference from the oxygen formula
// is intended.
constexpr double kSulfurBlendstockGravity = 0.718;
constexpr double kSulfurEthanolGravity = 0.788;

// Ethanol content range of the full model (vol %).
constexpr double kMinimumEthanol = 4.0;
constexpr double kMaximumEthanol = 10.0;
// Range of the volatility model on its own.
constexpr double kVolatilityMinimumEthanol = 3.6;
constexpr double kVolatilityMaximumEthanol = 11.0;

// Values of the standard ethanol from which the fixed dilution offsets are
// computed (5 vol % of it).
constexpr double kStandardEthanolPercent = 5.0;
constexpr EthanolBlendParams kStandardEthanol{1.7, 0.06, 0.5, 34.7, 10.0, 0.718, 0.788};

double overrideOr(const double* overrides, int k, double configured) {
  if (overrides == nullptr || isMissingOrAbove(overrides[k])) return configured;
  return overrides[k];
}

// Copies the blendstock to the outputs it stands for, with unit sensitivities.
void passThrough(const double* in, double* out, double* deriv) {
  for (int j = 0; j < kBlendstockCount; ++j) out[kPassThroughOutput[j]] = in[j];
  if (deriv == nullptr) return;
  for (int i = 0; i < kBlendstockCount * kBlendOutputCount; ++i) deriv[i] = 0.0;
  for (int j = 0; j < kBlendstockCount; ++j) deriv[j * kBlendOutputCount + kPassThroughOutput[j]] = 1.0;
}

// EHO and OXY are one oxygen content: a rounding apart, the catalogue
// reports them equal.
void reportOxygenOnce(double* outputs) {
  if (std::fabs(outputs[kOutOxy] - outputs[kOutOxy2]) < 0.0001) {
    outputs[kOutOxy] = outputs[kOutOxy2];
  }
}

}  // namespace

int carbobCatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  if (!blending::hasNoOxygenate(inputs[3])) {
    return gfx_WCARBOB(derivFlag, settings.unit, inputs, outputs, derivs);
  }
  // Without ethanol the blend is the blendstock: outputs 0..2 are inputs 0..2.
  for (int k = 0; k < 3; ++k) outputs[k] = inputs[k];
  if (derivFlag != 0 && derivs != nullptr) {
    for (int k = 0; k < 12; ++k) derivs[k] = 0.0;
    derivs[0] = derivs[4] = derivs[8] = 1.0;
  }
  return 0;
}

// The CARBOB2 catalogue entry: the model with the CARBOB2 group's ethanol
// (inputs 0-6), plus additive offsets for the seven blended outputs (inputs
// 7-13). In pass-through mode each output is its blendstock value plus its
// offset.
int carbob2CatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  constexpr int kOffsetFirst = kBlendstockCount;
  const bool wantDerivatives = derivFlag != 0 && derivs != nullptr;

  if (params().carbob2Altoxy < 1) {
    const int status =
        gfx_WCARBOB2(derivFlag, settings.unit, params().settings.carbob2.eohvol, inputs, outputs, derivs, nullptr);
    reportOxygenOnce(outputs);
    for (int k = 0; k < kBlendstockCount; ++k) {
      const double offset = inputs[kOffsetFirst + k];
      if (!(offset < kMissing)) continue;  // no offset: output and its row as the model left them
      const int target = kPassThroughOutput[k];
      outputs[target] += offset;
      if (wantDerivatives) {
        double* row = derivs + (kOffsetFirst + k) * kBlendOutputCount;
        for (int i = 0; i < kBlendOutputCount; ++i) row[i] = 0.0;
        row[target] = 1.0;
      }
    }
    return status;
  }

  if (wantDerivatives) {
    for (int i = 0; i < 2 * kBlendstockCount * kBlendOutputCount; ++i) derivs[i] = 0.0;
  }
  for (int k = 0; k < kBlendstockCount; ++k) {
    const double offset = inputs[kOffsetFirst + k];
    const int target = kPassThroughOutput[k];
    if (offset < kMissing) outputs[target] = inputs[k] + offset;
    if (wantDerivatives) {
      // Unit sensitivity to the blendstock and to the offset, given or not.
      derivs[k * kBlendOutputCount + target] = 1.0;
      derivs[(kOffsetFirst + k) * kBlendOutputCount + target] = 1.0;
    }
  }
  return 0;
}

int carbob3CatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  const CorrelationSettings& own = params().settings;
  const double* ethanol = own.carbob3Ethanol;  // ARO BNZ OLF EHO SUL GASSPG ETOHSPG
  // The blend model reads ARO, BNZ, EHO, OLF, SUL, ETOHSPG, GASSPG, -, ALTOXY.
  // CARBOB3 hands over olefins and oxygen, and the two gravities, the other
  // way round; hosts tuned to CARBOB3 rely on this order (intended). It has
  // no pass-through switch: ALTOXY 0 always blends.
  const double blendSettings[9] = {ethanol[0], ethanol[1], ethanol[2], ethanol[3], ethanol[4],
                                   ethanol[5], ethanol[6], kMissing,   0.0};
  const int status = gfx_WCARBOB2(derivFlag, settings.unit, own.carbob3.eohvol, inputs, outputs, derivs, blendSettings);
  reportOxygenOnce(outputs);
  return status;
}

int rbobCatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  const ParameterBlock& p = params();
  const EthanolBlendParams& ethanol = p.rbob;
  // The model's order: oxygen before olefins, ethanol gravity before blendstock
  // gravity, then E200 and E300 lines and the RVP transform.
  const double rbobSettings[13] = {ethanol.aro,     ethanol.bnz,    ethanol.eho, ethanol.olf, ethanol.sul,
                                   ethanol.etohspg, ethanol.gasspg, p.rbobP[0],  p.rbobP[1],  p.rbobP[2],
                                   p.rbobP[3],      p.rbobP[4],     p.rbobP[5]};
  return gfx_WRBOB(derivFlag, settings.unit, p.settings.rbobEohvol, inputs, outputs, derivs, rbobSettings);
}

}  // namespace tarn::emissions

using namespace tarn;
using namespace tarn::emissions;

extern "C" TARN_API int TARN_CALL gfx_WCARBOB(int wantDerivatives, char unit, const double* in, double* out,
                                              double* deriv) {
  (void)unit;  // this model always works in degrees F
  if (in == nullptr || out == nullptr) return -1;
  const double ethanol = in[3];
  const VolatilityBlend blend = blendVolatility(in[0], in[1], in[2], ethanol);
  for (int i = 0; i < 3; ++i) out[i] = blend.value[i];
  if (wantDerivatives != 0 && deriv != nullptr) {
    for (int j = 0; j < 4; ++j) {
      for (int i = 0; i < 3; ++i) deriv[3 * j + i] = blend.slope[j][i];
    }
  }
  return (ethanol < kVolatilityMinimumEthanol || ethanol > kVolatilityMaximumEthanol) ? 1 : 0;
}

extern "C" TARN_API int TARN_CALL gfx_WCARBOB2(int wantDerivatives, char unit, double ethanolPct, const double* in,
                                               double* out, double* deriv, const double* overrides) {
  if (in == nullptr || out == nullptr) return -1;
  const EthanolBlendParams& group = params().carbob2;
  const double aro = overrideOr(overrides, 0, group.aro);
  const double bnz = overrideOr(overrides, 1, group.bnz);
  const double eho = overrideOr(overrides, 2, group.eho);
  const double olf = overrideOr(overrides, 3, group.olf);
  const double sul = overrideOr(overrides, 4, group.sul);
  const double etohspg = overrideOr(overrides, 5, group.etohspg);
  const double gasspg = overrideOr(overrides, 6, group.gasspg);
  // Compared as a real so that any value truncating to 1 or more passes through.
  const double altoxy = overrideOr(overrides, 8, params().carbob2Altoxy);
  double* d = (wantDerivatives != 0) ? deriv : nullptr;

  if (altoxy >= 1.0) {
    passThrough(in, out, d);
    return 0;
  }
  const double E = ethanolPct;
  if (E < kMinimumEthanol || E > kMaximumEthanol) {
    passThrough(in, out, d);
    out[kOutOxy] = out[kOutOxy2] = 0.0;
    if (E == 0.0) return 0;
    return E < kMinimumEthanol ? -1 : 1;
  }

  const double w = 100.0 - E;
  const VolatilityBlend blend = blendVolatility(in[0], toFahrenheit(in[1], unit), toFahrenheit(in[2], unit), E);
  out[kOutRvp] = blend.value[0];
  out[kOutT50] = fromFahrenheit(blend.value[1], unit);
  out[kOutT90] = fromFahrenheit(blend.value[2], unit);
  out[kOutAro] = (w * in[3] + aro * E) / 100.0;
  out[kOutBnz] = (w * in[4] + bnz * E) / 100.0;
  out[kOutOlf] = (w * in[5] + olf * E) / 100.0;
  // A non-positive ethanol oxygen is the blend's oxygen itself, negated.
  const double oxygen =
      eho > 0.0 ? ((100.0 - aro - bnz - olf) / 100.0) * eho * E * etohspg / (w * gasspg + E * etohspg) : -eho;
  out[kOutOxy] = out[kOutOxy2] = oxygen;
  const double sulfurWeight = w * kSulfurBlendstockGravity;
  const double sulfurDenominator = kSulfurEthanolGravity * E + sulfurWeight;
  out[kOutSul] = (sulfurWeight * in[6] + sul * E * kSulfurEthanolGravity) / sulfurDenominator;

  if (d != nullptr) {
    for (int i = 0; i < kBlendstockCount * kBlendOutputCount; ++i) d[i] = 0.0;
    auto at = [d](int input, int output) -> double& { return d[input * kBlendOutputCount + output]; };
    at(0, kOutRvp) = blend.slope[0][0];
    // Temperatures in and out share the caller's unit, so only the slope of a
    // temperature against RVP changes with the unit.
    at(0, kOutT50) = callerDegreesPer(blend.slope[0][1], unit);
    at(1, kOutT50) = blend.slope[1][1];
    at(2, kOutT50) = blend.slope[2][1];
    at(1, kOutT90) = blend.slope[1][2];
    at(2, kOutT90) = blend.slope[2][2];
    const double dilution = 1.0 - E / 100.0;
    at(3, kOutAro) = dilution;
    at(4, kOutBnz) = dilution;
    at(5, kOutOlf) = dilution;
    at(6, kOutSul) = sulfurWeight / sulfurDenominator;
  }
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_WRBOB(int wantDerivatives, char unit, double ethanolPct, const double* in,
                                            double* out, double* deriv, const double* overrides) {
  if (in == nullptr || out == nullptr) return -1;
  const EthanolBlendParams& group = params().rbob;
  const double* coefficients = params().rbobP;  // E200 a, b, E300 a, b, RVP addend, multiplier
  const double e200Intercept = overrideOr(overrides, 7, coefficients[0]);
  const double e200Slope = overrideOr(overrides, 8, coefficients[1]);
  const double e300Intercept = overrideOr(overrides, 9, coefficients[2]);
  const double e300Slope = overrideOr(overrides, 10, coefficients[3]);
  const double rvpAddend = overrideOr(overrides, 11, coefficients[4]);
  const double rvpMultiplier = overrideOr(overrides, 12, coefficients[5]);
  // The E200 slope travels in the ALTOXY place of the blend model: a slope of
  // 1 or more passes the blendstock through. This coupling is intended.
  const double blendSettings[9] = {overrideOr(overrides, 0, group.aro),
                                   overrideOr(overrides, 1, group.bnz),
                                   overrideOr(overrides, 2, group.eho),
                                   overrideOr(overrides, 3, group.olf),
                                   overrideOr(overrides, 4, group.sul),
                                   overrideOr(overrides, 5, group.etohspg),
                                   overrideOr(overrides, 6, group.gasspg),
                                   e200Intercept,
                                   e200Slope};

  const bool derivativesWanted = wantDerivatives != 0 && deriv != nullptr;
  double blendDeriv[kBlendstockCount * kBlendOutputCount];
  const int status = gfx_WCARBOB2(derivativesWanted ? 1 : 0, unit, ethanolPct, in, out, blendDeriv, blendSettings);
  if (status != 0) return status;

  const double sulfur = out[kOutSul];
  out[0] = rvpMultiplier * out[kOutRvp] + rvpAddend;
  out[7] = sulfur;
  out[8] = e200Intercept - e200Slope * toFahrenheit(out[kOutT50], unit);
  out[9] = e300Intercept - e300Slope * toFahrenheit(out[kOutT90], unit);

  if (derivativesWanted) {
    const double perDegree = perCallerDegree(1.0, unit);
    for (int j = 0; j < kBlendstockCount; ++j) {
      const double* row = blendDeriv + j * kBlendOutputCount;
      double* target = deriv + j * 10;
      target[0] = rvpMultiplier * row[kOutRvp];
      for (int i = 1; i <= 6; ++i) target[i] = row[i];
      target[7] = row[kOutSul];
      target[8] = -e200Slope * row[kOutT50] * perDegree;
      target[9] = -e300Slope * row[kOutT90] * perDegree;
    }
  }
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_WCARBOB2CalcOffset(double* offsets, double* factors, const double* overrides) {
  (void)overrides;  // the offsets are those of the standard ethanol, whatever is passed
  const double e = kStandardEthanolPercent / 100.0;
  const EthanolBlendParams& eth = kStandardEthanol;
  const double keep = 1.0 - e;
  if (factors != nullptr) {
    factors[0] = factors[1] = factors[2] = keep;
    factors[3] = keep * eth.gasspg / (e * eth.etohspg + keep * eth.gasspg);
  }
  if (offsets != nullptr) {
    offsets[0] = e * eth.aro;
    offsets[1] = e * eth.bnz;
    offsets[2] = e * eth.olf;
    offsets[3] = e * eth.sul * eth.etohspg / (eth.gasspg * keep + e * eth.etohspg);
  }
  return 0;
}
