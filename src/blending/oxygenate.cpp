// The oxygenate corrections of the catalogue: blended distillation points,
// the T90 index and the RVP index of a gasoline taken back to its
// hydrocarbon part.
#include "blending/oxygenate.h"

#include "blending/catalogue_adapters.h"
#include "tarn/distill.h"
#include "tarn/props.h"

namespace tarn::blending {
namespace {

// CD86ONE90BLEND and CRVP: the blend index without the oxygenate, turned
// into its property by toProperty(index, derivFlag, derivative). The CRVP
// form answers status 0 on the no-oxygenate branch whatever the result, and
// on the all-oxygenate branch clears only the slope to the blend index
// (both intended).
template <class ToProperty>
int oxygenateFreeIndex(ToProperty toProperty, bool rvpForm, double* x, double* out, int derivFlag, double* d) {
  putDerivative(d, 2, 0.0);
  const double volume = x[1];
  if (hasNoOxygenate(volume)) {
    out[0] = toProperty(x[0], derivFlag, d);
    putDerivative(d, 1, 0.0);
    if (rvpForm || !isMissing(out[0])) return 0;
    putDerivative(d, 0, 0.0);
    return 1;
  }
  if (kWholeBlend - volume <= 0.0) {
    out[0] = toProperty(x[2], derivFlag, d);
    putDerivative(d, 0, 0.0);
    if (!rvpForm) putDerivative(d, 1, 0.0);
    return 0;
  }
  const double index = withoutOxygenate(x[0], volume, x[2]);
  x[0] = index;  // the caller sees the oxygenate-free index (intended)
  out[0] = toProperty(index, derivFlag, d);
  if (isMissing(out[0])) {
    putDerivative(d, 0, 0.0);
    putDerivative(d, 1, 0.0);
    return 1;
  }
  if (derivFlag == 0 || d == nullptr) return 0;
  const double slope = d[0];
  // The slope to the oxygenate volume divides by 1 - volume where everything
  // else divides by 100 - volume; hosts rely on this value (intended).
  d[1] = (index - x[2]) / (1.0 - volume) * slope;
  d[0] = kWholeBlend / (kWholeBlend - volume) * slope;
  return 0;
}

}  // namespace

int oxygenateFreePointAdapter(AdapterSettings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  const double volume = inputs[1];
  putDerivative(derivs, 2, 0.0);
  if (hasNoOxygenate(volume)) {
    outputs[0] = inputs[0];
    putDerivative(derivs, 0, 1.0);
    putDerivative(derivs, 1, 0.0);
  } else if (kWholeBlend - volume <= 0.0) {
    outputs[0] = inputs[2];
    putDerivative(derivs, 0, 0.0);
    putDerivative(derivs, 1, 0.0);
  } else {
    outputs[0] = withoutOxygenate(inputs[0], volume, inputs[2]);
    if (derivFlag != 0) {
      putDerivative(derivs, 0, kWholeBlend / (kWholeBlend - volume));
      putDerivative(derivs, 1, (outputs[0] - inputs[2]) / (kWholeBlend - volume));
    }
  }
  return 0;
}

int oxygenateFreeT90Adapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  auto toT90 = [unit = settings.unit](double index, int flag, double* d) {
    return gfx_D86one90Blend(unit, index, flag, d);
  };
  return oxygenateFreeIndex(toT90, /*rvpForm=*/false, inputs, outputs, derivFlag, derivs);
}

int oxygenateFreeRvpAdapter(AdapterSettings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  return oxygenateFreeIndex(gfx_RVP, /*rvpForm=*/true, inputs, outputs, derivFlag, derivs);
}

}  // namespace tarn::blending
