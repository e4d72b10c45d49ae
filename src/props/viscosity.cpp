// Kinematic viscosity blending indices: the double logarithm
// log10(log10(viscosity + c)) blends linearly. Variants 1 and 2 are the
// plain double log with different additive constants; variant 3 is its
// linear rescaling A - B log10(log10(viscosity + c)), the viscosity blending
// number.
#include <cmath>

#include "common/missing.h"
#include "params/params.h"
#include "tarn/props.h"

namespace tarn::props {
namespace {

const double kLn10 = std::log(10.0);

// Viscosity + c must exceed 1 for the double logarithm. Variant 1 rejects or
// repairs at the bound itself; variants 2 and 3 only strictly below it, so at
// exactly the bound they return the double log of 1 (minus infinity): this
// difference is intended.
enum class Bound { Inclusive, Exclusive };

// Applies the domain rule; returns false when the viscosity is rejected.
bool admitViscosity(double& viscosity, double c, Bound bound) {
  const double lowest = 1.0 - c;
  const bool outside = bound == Bound::Inclusive ? viscosity <= lowest : viscosity < lowest;
  if (!outside) return true;
  if (!params().changeData) return false;
  viscosity = lowest + 0.0001;
  return true;
}

// log10(log10(viscosity + c)), and its derivative into *slope when slope
// is not null (a logarithm and a division that a caller without derivatives
// does not pay for).
double doubleLog(double viscosity, double c, double* slope) {
  const double shifted = viscosity + c;
  if (slope != nullptr) *slope = 1.0 / (std::log(shifted) * kLn10 * shifted);
  return std::log10(std::log10(shifted));
}

// The viscosity whose double log is the index, and its derivative into
// *slope when slope is not null.
double inverseDoubleLog(double index, double c, double* slope) {
  const double inner = std::pow(10.0, index);
  if (slope != nullptr) *slope = std::pow(10.0, inner + index) * kLn10 * kLn10;
  return std::pow(10.0, inner) - c;
}

double plainIndex(double viscosity, double c, Bound bound, int wantDerivative, double* derivative) {
  if (!admitViscosity(viscosity, c, bound)) return kMissing;
  return doubleLog(viscosity, c, wantDerivative ? derivative : nullptr);
}

double plainViscosity(double index, double c, int wantDerivative, double* derivative) {
  return inverseDoubleLog(index, c, wantDerivative ? derivative : nullptr);
}

}  // namespace
}  // namespace tarn::props

using tarn::params;
using tarn::props::Bound;

extern "C" TARN_API double TARN_CALL gfx_ViscosityIndex1(double viscosity, int wantDerivative, double* derivative) {
  return tarn::props::plainIndex(viscosity, params().viscosity1[0], Bound::Inclusive, wantDerivative, derivative);
}

extern "C" TARN_API double TARN_CALL gfx_Viscosity1(double index, int wantDerivative, double* derivative) {
  return tarn::props::plainViscosity(index, params().viscosity1[0], wantDerivative, derivative);
}

extern "C" TARN_API double TARN_CALL gfx_ViscosityIndex2(double viscosity, int wantDerivative, double* derivative) {
  return tarn::props::plainIndex(viscosity, params().viscosity2[0], Bound::Exclusive, wantDerivative, derivative);
}

extern "C" TARN_API double TARN_CALL gfx_Viscosity2(double index, int wantDerivative, double* derivative) {
  return tarn::props::plainViscosity(index, params().viscosity2[0], wantDerivative, derivative);
}

// Viscosity blending number A - B log10(log10(viscosity + c)).
extern "C" TARN_API double TARN_CALL gfx_ViscosityIndex3(double viscosity, int wantDerivative, double* derivative) {
  const double a = params().viscosity3[0], b = params().viscosity3[1], c = params().viscosity3[2];
  if (!tarn::props::admitViscosity(viscosity, c, Bound::Exclusive)) return tarn::kMissing;
  const bool slopeWanted = wantDerivative && derivative != nullptr;
  double slope = 0.0;
  const double doubleLog = tarn::props::doubleLog(viscosity, c, slopeWanted ? &slope : nullptr);
  if (slopeWanted) *derivative = -b * slope;
  return a - b * doubleLog;
}

extern "C" TARN_API double TARN_CALL gfx_Viscosity3(double index, int wantDerivative, double* derivative) {
  const double a = params().viscosity3[0], b = params().viscosity3[1], c = params().viscosity3[2];
  const bool slopeWanted = wantDerivative && derivative != nullptr;
  double slope = 0.0;
  const double viscosity = tarn::props::inverseDoubleLog((a - index) / b, c, slopeWanted ? &slope : nullptr);
  if (slopeWanted) *derivative = -slope / b;
  return viscosity;
}
