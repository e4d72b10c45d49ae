// Gasoline octane and volatility indices: the piecewise power-law octane
// blending index, the average of two octane numbers, and the drivability
// index from the 10, 50 and 90 % distillation temperatures.
#include <cmath>

#include "common/units.h"
#include "params/params.h"
#include "tarn/props.h"

using tarn::params;

// Three power-law segments a + k x^p: below the low threshold, from it up to
// the high threshold, and from the high threshold up.
extern "C" TARN_API double TARN_CALL gfx_OctaneIndex(double octane, int wantDerivative, double* derivative) {
  const double* c = params().octaneIndex;
  const double lowThreshold = c[0], highThreshold = c[4];
  const double* segment = octane < lowThreshold ? c + 1 : octane >= highThreshold ? c + 8 : c + 5;
  const double a = segment[0], k = segment[1], p = segment[2];
  if (wantDerivative && derivative != nullptr) *derivative = p * k * std::pow(octane, p - 1.0);
  return a + k * std::pow(octane, p);
}

extern "C" TARN_API double TARN_CALL gfx_DON(int wantDerivatives, double a, double b, double* derivatives) {
  if (wantDerivatives && derivatives != nullptr) {
    derivatives[0] = 0.5;
    derivatives[1] = 0.5;
  }
  return (a + b) * 0.5;
}

// DI = P1 T10 + P2 T50 + T90 computed in degrees F. A 'C' caller gets the
// result converted back as if it were a temperature (intended; it is not the
// Celsius form of the index, which the oxygenate variant gives). The
// derivatives are therefore the same in both units.
extern "C" TARN_API double TARN_CALL gfx_DriveabilityIndex(int wantDerivatives, char unit, double t10, double t50,
                                                           double t90, double* derivatives) {
  const double p1 = params().driveability.p1, p2 = params().driveability.p2;
  const double index =
      p1 * tarn::toFahrenheit(t10, unit) + p2 * tarn::toFahrenheit(t50, unit) + tarn::toFahrenheit(t90, unit);
  if (wantDerivatives && derivatives != nullptr) {
    derivatives[0] = p1;
    derivatives[1] = p2;
    derivatives[2] = 1.0;
  }
  return tarn::fromFahrenheit(index, unit);
}

// DI = P1 T10 + P2 T50 + T90 + E oxygenate in the caller's own unit, with E
// the oxygenate factor per degree F or per degree C.
extern "C" TARN_API double TARN_CALL gfx_DriveabilityIndexE(int wantDerivatives, char unit, double t10, double t50,
                                                            double t90, double* derivatives, double oxygenate) {
  const double p1 = params().driveability.p1, p2 = params().driveability.p2;
  const double oxygenateFactor = tarn::callerDegreesPer(params().driveability.ef, unit);
  if (wantDerivatives && derivatives != nullptr) {
    derivatives[0] = p1;
    derivatives[1] = p2;
    derivatives[2] = 1.0;
  }
  return p1 * t10 + p2 * t50 + t90 + oxygenateFactor * oxygenate;
}
