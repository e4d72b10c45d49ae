// Reid vapour pressure and its blending index, and the generic power-law
// index they rest on.
#include <cmath>

#include "common/missing.h"
#include "params/params.h"
#include "props/catalogue_adapters.h"
#include "tarn/props.h"

namespace tarn::props {
namespace {

// Vapour pressures and indices are clamped into this range before use; the
// derivative is then the slope at the bound, not zero.
constexpr double kLowerClamp = 0.01;
constexpr double kUpperClamp = 1e10;

double clampVapourPressure(double v) {
  if (v <= kLowerClamp) return kLowerClamp;
  if (v > kUpperClamp) return kUpperClamp;
  return v;
}

}  // namespace
}  // namespace tarn::props

using tarn::kMissing;

extern "C" TARN_API double TARN_CALL gfx_RVPIndex(double rvp, int wantDerivative, double* derivative) {
  const double e = tarn::params().rvpExponent;
  const double v = tarn::props::clampVapourPressure(rvp);
  // NaN passes the clamp unchanged and yields NaN, like any other arithmetic.
  const double index = std::pow(v, e);
  if (wantDerivative && derivative != nullptr) *derivative = e * std::pow(v, e - 1.0);
  return index;
}

extern "C" TARN_API double TARN_CALL gfx_RVP(double index, int wantDerivative, double* derivative) {
  const double e = tarn::params().rvpExponent;
  const double v = tarn::props::clampVapourPressure(index);
  if (wantDerivative && derivative != nullptr) {
    return gfx_PowerIndexReverse(1.0, e, 0.0, 1.0, v, 1, derivative);
  }
  if (e == 0.0) return kMissing;
  return std::pow(v, 1.0 / e);
}

extern "C" TARN_API double TARN_CALL gfx_PowerIndexForward(double a, double b, double c, double d, double x,
                                                           int wantDerivative, double* derivative) {
  const double s = c + x;
  const double base = s * d;
  if (base == 0.0) return 0.0;
  if (base < 0.0) return kMissing;
  const double result = a * std::pow(base, b);
  // A null pointer is tolerated even when the flag asks for a derivative.
  if (wantDerivative && derivative != nullptr) *derivative = result * b / s;
  return result;
}

extern "C" TARN_API double TARN_CALL gfx_PowerIndexReverse(double a, double b, double c, double d, double y,
                                                           int wantDerivative, double* derivative) {
  if (a == 0.0 || b == 0.0 || d == 0.0) return kMissing;
  const double base = y / a;
  if (base < 0.0) return kMissing;
  if (y == 0.0) {
    if (wantDerivative && derivative != nullptr) *derivative = 0.0;
    return 0.0;
  }
  if (wantDerivative && derivative != nullptr) {
    *derivative = std::pow(base, (1.0 - b) / b) / (b * d * a);
  }
  return std::pow(base, 1.0 / b) / d - c;
}

namespace tarn::props {

double rvpOfCatalogueIndex(double index, int derivFlag, double* derivs) {
  const double result = gfx_RVP(index, derivFlag, derivs);
  return index >= kMissing ? kMissing : result;
}

}  // namespace tarn::props
