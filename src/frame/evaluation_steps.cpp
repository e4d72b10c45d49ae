// The special steps of evaluation by index.
#include "frame/evaluation_steps.h"

#include <cmath>

#include "common/missing.h"
#include "params/params.h"
#include "tarn/blending.h"
#include "tarn/distill.h"
#include "tarn/emissions.h"
#include "tarn/props.h"

namespace tarn::frame {
namespace {

// An oxygenate volume percent at or below this counts as none.
constexpr double kNoOxygenate = 0.101;

// Writes one derivative entry when the caller gave an array. These steps
// write some entries whatever the derivative flag.
void put(double* derivs, int k, double value) {
  if (derivs != nullptr) derivs[k] = value;
}

bool hasNoOxygenate(double volume) { return volume <= kNoOxygenate || isMissing(volume); }

// A blend value with the oxygenate taken out: the value of the rest of the
// blend, from the blend value, the oxygenate's volume percent and its own value.
double withoutOxygenate(double blend, double volume, double own) {
  return (100.0 * blend - volume * own) / (100.0 - volume);
}

// CD86ONE90BLEND and CRVP: the blend index without the oxygenate, turned
// into its property by toProperty(index, derivFlag, derivative). The CRVP
// form answers status 0 on the no-oxygenate branch whatever the result, and
// on the all-oxygenate branch clears only the slope to the blend index
// (both intended).
template <class ToProperty>
int oxygenateFreeIndex(ToProperty toProperty, bool rvpForm, double* x, double* out, int derivFlag,
                       double* d) {
  put(d, 2, 0.0);
  const double volume = x[1];
  if (hasNoOxygenate(volume)) {
    out[0] = toProperty(x[0], derivFlag, d);
    put(d, 1, 0.0);
    if (rvpForm || !isMissing(out[0])) return 0;
    put(d, 0, 0.0);
    return 1;
  }
  if (100.0 - volume <= 0.0) {
    out[0] = toProperty(x[2], derivFlag, d);
    put(d, 0, 0.0);
    if (!rvpForm) put(d, 1, 0.0);
    return 0;
  }
  const double index = withoutOxygenate(x[0], volume, x[2]);
  x[0] = index;  // the caller sees the oxygenate-free index (intended)
  out[0] = toProperty(index, derivFlag, d);
  if (isMissing(out[0])) {
    put(d, 0, 0.0);
    put(d, 1, 0.0);
    return 1;
  }
  if (derivFlag == 0 || d == nullptr) return 0;
  const double slope = d[0];
  // The slope to the oxygenate volume divides by 1 - volume where everything
  // else divides by 100 - volume; hosts rely on this value (intended).
  d[1] = (index - x[2]) / (1.0 - volume) * slope;
  d[0] = 100.0 / (100.0 - volume) * slope;
  return 0;
}

}  // namespace

char unitOf(const CorrelationRow& row) { return static_cast<char>(unitFlag(row)); }

int storeSingle(double* outputs, double result) {
  outputs[0] = result;
  return isMissing(result) ? 1 : 0;
}

int evaluateRvp(const CorrelationRow&, double* inputs, double* outputs, int derivFlag,
                double* derivs) {
  const double result = gfx_RVP(inputs[0], derivFlag, derivs);
  if (isMissing(result) || inputs[0] >= kMissing) {
    outputs[0] = kMissing;
    return 1;
  }
  outputs[0] = result;
  return 0;
}

template <int Which>
int evaluateThreePointIndex(const CorrelationRow& row, double* inputs, double* outputs,
                            int derivFlag, double* derivs) {
  const double result = gfx_D86BV1(Which, unitOf(row), inputs[0], inputs[1], inputs[2],
                                   derivFlag != 0 ? derivs : nullptr);
  outputs[0] = result;
  if (std::isnan(result)) return 0;  // an undefined index of NaN is not reported (intended)
  return isMissing(result) ? 1 : 0;
}
template int evaluateThreePointIndex<0>(const CorrelationRow&, double*, double*, int, double*);
template int evaluateThreePointIndex<1>(const CorrelationRow&, double*, double*, int, double*);
template int evaluateThreePointIndex<2>(const CorrelationRow&, double*, double*, int, double*);

int evaluateMtmf(const CorrelationRow&, double* inputs, double* outputs, int derivFlag,
                 double* derivs) {
  double s[8] = {};
  const int status = gfx_MTMF(inputs, inputs[2], inputs[3], outputs, derivFlag, s);
  if (derivs != nullptr) {
    // This order, not the input-major one, is what hosts of MTMF read (intended).
    const int order[8] = {0, 3, 1, 2, 4, 5, 6, 7};
    for (int k = 0; k < 8; ++k) derivs[k] = s[order[k]];
  }
  return status;
}

int evaluateMtmr(const CorrelationRow&, double* inputs, double* outputs, int derivFlag,
                 double* derivs) {
  double s[8] = {};
  const int status = gfx_MTMR(inputs, inputs[2], inputs[3], outputs, derivFlag, s);
  if (derivs != nullptr) {
    // The correlation's pairs per TRON, OLE, ARO, TMON, input-major in catalogue order.
    const int order[8] = {0, 1, 6, 7, 2, 3, 4, 5};
    for (int k = 0; k < 8; ++k) derivs[k] = s[order[k]];
  }
  return status;
}

int evaluateOxygenateFreePoint(const CorrelationRow&, double* inputs, double* outputs,
                               int derivFlag, double* derivs) {
  const double volume = inputs[1];
  put(derivs, 2, 0.0);
  if (hasNoOxygenate(volume)) {
    outputs[0] = inputs[0];
    put(derivs, 0, 1.0);
    put(derivs, 1, 0.0);
  } else if (100.0 - volume <= 0.0) {
    outputs[0] = inputs[2];
    put(derivs, 0, 0.0);
    put(derivs, 1, 0.0);
  } else {
    outputs[0] = withoutOxygenate(inputs[0], volume, inputs[2]);
    if (derivFlag != 0) {
      put(derivs, 0, 100.0 / (100.0 - volume));
      put(derivs, 1, (outputs[0] - inputs[2]) / (100.0 - volume));
    }
  }
  return 0;
}

int evaluateCarbob(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag,
                   double* derivs) {
  const double ethanol = inputs[3];
  if (ethanol > kNoOxygenate && !isMissing(ethanol)) {
    return gfx_WCARBOB(derivFlag, unitOf(row), inputs, outputs, derivs);
  }
  // Without ethanol the blend is the blendstock: outputs 0..2 are inputs 0..2.
  for (int k = 0; k < 3; ++k) outputs[k] = inputs[k];
  if (derivFlag != 0 && derivs != nullptr) {
    for (int k = 0; k < 12; ++k) derivs[k] = 0.0;
    derivs[0] = derivs[4] = derivs[8] = 1.0;
  }
  return 0;
}

int evaluateOxygenateFreeT90(const CorrelationRow& row, double* inputs, double* outputs,
                             int derivFlag, double* derivs) {
  const char unit = unitOf(row);
  auto toT90 = [unit](double index, int flag, double* d) {
    return gfx_D86one90Blend(unit, index, flag, d);
  };
  return oxygenateFreeIndex(toT90, /*rvpForm=*/false, inputs, outputs, derivFlag, derivs);
}

int evaluateOxygenateFreeRvp(const CorrelationRow&, double* inputs, double* outputs,
                             int derivFlag, double* derivs) {
  return oxygenateFreeIndex(gfx_RVP, /*rvpForm=*/true, inputs, outputs, derivFlag, derivs);
}

int evaluateCarbob3(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag,
                    double* derivs) {
  const CorrelationSettings& settings = params().settings;
  const EthanolBlendParams& ethanol = settings.carbob3Blend;
  // The blend model reads ARO, BNZ, EHO, OLF, SUL, ETOHSPG, GASSPG, -, ALTOXY.
  // CARBOB3 hands over olefins and oxygen, and the two gravities, the other
  // way round; hosts tuned to CARBOB3 rely on this order (intended). It has
  // no pass-through switch: ALTOXY 0 always blends.
  const double blendSettings[9] = {ethanol.aro, ethanol.bnz, ethanol.olf,
                                   ethanol.eho, ethanol.sul, ethanol.gasspg,
                                   ethanol.etohspg, kMissing, 0.0};
  const int status = gfx_WCARBOB2(derivFlag, unitOf(row), settings.carbob3.eohvol, inputs,
                                  outputs, derivs, blendSettings);
  // EHO and OXY are one oxygen content: a rounding apart they are made equal.
  if (std::fabs(outputs[5] - outputs[7]) < 0.0001) outputs[5] = outputs[7];
  return status;
}

int evaluateRbob(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag,
                 double* derivs) {
  const ParameterBlock& p = params();
  const EthanolBlendParams& ethanol = p.rbob;
  // The model's order: oxygen before olefins, ethanol gravity before blendstock
  // gravity, then E200 and E300 lines and the RVP transform.
  const double rbobSettings[13] = {ethanol.aro,     ethanol.bnz,    ethanol.eho, ethanol.olf,
                                   ethanol.sul,     ethanol.etohspg, ethanol.gasspg,
                                   p.rbobP[0],      p.rbobP[1],     p.rbobP[2],  p.rbobP[3],
                                   p.rbobP[4],      p.rbobP[5]};
  return gfx_WRBOB(derivFlag, unitOf(row), p.settings.rbobEohvol, inputs, outputs, derivs,
                   rbobSettings);
}

}  // namespace tarn::frame
