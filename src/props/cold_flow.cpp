// Cloud point, flash point and pour point blending indices and their
// reverses, and the response of the cold filter plugging point to a flow
// improver. Temperatures are handled in degrees F (Rankine = F + 460 where
// the correlation needs an absolute temperature); a 'C' caller is converted
// on entry and on exit.
#include <cmath>

#include "common/missing.h"
#include "common/units.h"
#include "params/params.h"
#include "tarn/props.h"

namespace tarn::props {
namespace {

// Power-law index pairs: index = a * (R * d)^b with R the temperature in
// Rankine. The reverse without a derivative raises to the printed reciprocal
// exponent rather than 1/b, so both are kept.
struct PowerLawPair {
  double a;
  double b;
  double d;
  double reverseExponent;
};

constexpr PowerLawPair kCloudPoint1{1.0, 1.8181818181818181, 1.0, 0.55};
constexpr PowerLawPair kCloudPoint3{1e-10, 16.666666666666668, 0.01, 0.06};
constexpr PowerLawPair kFlashPoint1{100000.0, -1.6666666666666667, 1.0, -0.6};

double powerLawIndex(const PowerLawPair& pair, char unit, double temperature, int wantDerivative, double* derivative) {
  const double fahrenheit = toFahrenheit(temperature, unit);
  // At or below absolute zero the forward function writes no derivative, yet
  // the caller's derivative variable is still rescaled in place for 'C': a
  // long-standing behaviour kept on purpose.
  const double index =
      gfx_PowerIndexForward(pair.a, pair.b, kRankineOffset, pair.d, fahrenheit, wantDerivative, derivative);
  if (wantDerivative && derivative != nullptr) *derivative = perCallerDegree(*derivative, unit);
  return index;
}

double powerLawTemperature(const PowerLawPair& pair, char unit, double index, int wantDerivative, double* derivative) {
  if (wantDerivative && derivative != nullptr) {
    const double fahrenheit = gfx_PowerIndexReverse(pair.a, pair.b, kRankineOffset, pair.d, index, 1, derivative);
    // Rescaled for 'C' even when the reverse left it untouched (undefined
    // index), mirroring the forward function.
    *derivative = callerDegreesPer(*derivative, unit);
    return fromFahrenheit(fahrenheit, unit);
  }
  double fahrenheit;
  if (index / pair.a < 0.0) {
    fahrenheit = kMissing;
  } else if (index == 0.0) {
    fahrenheit = 0.0;  // intended: an index of 0 reads as 0 F, not absolute zero
  } else {
    fahrenheit = std::pow(index / pair.a, pair.reverseExponent) / pair.d - kRankineOffset;
  }
  // Intended: every result is converted for 'C', the missing value included.
  return fromFahrenheit(fahrenheit, unit);
}

// Smallest admissible step above a domain bound used when ChangeData repairs
// an input.
constexpr double kRepairStep = 0.0001;

}  // namespace
}  // namespace tarn::props

using tarn::kMissing;
using tarn::params;
using tarn::props::kRepairStep;

extern "C" TARN_API double TARN_CALL gfx_CloudPointIndex1(char unit, double cloudPoint, int wantDerivative,
                                                          double* derivative) {
  return tarn::props::powerLawIndex(tarn::props::kCloudPoint1, unit, cloudPoint, wantDerivative, derivative);
}

extern "C" TARN_API double TARN_CALL gfx_CloudPoint1(char unit, double index, int wantDerivative, double* derivative) {
  return tarn::props::powerLawTemperature(tarn::props::kCloudPoint1, unit, index, wantDerivative, derivative);
}

extern "C" TARN_API double TARN_CALL gfx_CloudPointIndex3(char unit, double cloudPoint, int wantDerivative,
                                                          double* derivative) {
  return tarn::props::powerLawIndex(tarn::props::kCloudPoint3, unit, cloudPoint, wantDerivative, derivative);
}

extern "C" TARN_API double TARN_CALL gfx_CloudPoint3(char unit, double index, int wantDerivative, double* derivative) {
  return tarn::props::powerLawTemperature(tarn::props::kCloudPoint3, unit, index, wantDerivative, derivative);
}

extern "C" TARN_API double TARN_CALL gfx_FlashPointIndex1(char unit, double flashPoint, int wantDerivative,
                                                          double* derivative) {
  return tarn::props::powerLawIndex(tarn::props::kFlashPoint1, unit, flashPoint, wantDerivative, derivative);
}

extern "C" TARN_API double TARN_CALL gfx_FlashPoint1(char unit, double index, int wantDerivative, double* derivative) {
  return tarn::props::powerLawTemperature(tarn::props::kFlashPoint1, unit, index, wantDerivative, derivative);
}

// Pour point pair 1: index = exp(a ln(offset + T) + b), T in degrees F.
extern "C" TARN_API double TARN_CALL gfx_PourPointIndex1(char unit, double pourPoint, int wantDerivative,
                                                         double* derivative) {
  const double b = params().pourPoint1[0];
  const double a = params().pourPoint1[1];
  const double offset = params().pourPoint1[2];
  double fahrenheit = tarn::toFahrenheit(pourPoint, unit);
  if (fahrenheit <= -offset) {
    if (!params().changeData) return kMissing;
    fahrenheit = kRepairStep - offset;
  }
  const double shifted = offset + fahrenheit;
  const double index = std::exp(a * std::log(shifted) + b);
  if (wantDerivative && derivative != nullptr) {
    *derivative = tarn::perCallerDegree(a * index / shifted, unit);
  }
  return index;
}

extern "C" TARN_API double TARN_CALL gfx_PourPoint1(char unit, double index, int wantDerivative, double* derivative) {
  const double b = params().pourPoint1[0];
  const double a = params().pourPoint1[1];
  const double offset = params().pourPoint1[2];
  if (index <= 0.0) {
    if (!params().changeData) return kMissing;
    index = kRepairStep;
  }
  if (a == 0.0) return kMissing;
  const double fahrenheit = std::exp((std::log(index) - b) / a) - offset;
  if (wantDerivative && derivative != nullptr) {
    *derivative = tarn::callerDegreesPer(std::pow(index, 1.0 / a - 1.0) / (std::exp(b / a) * a), unit);
  }
  return tarn::fromFahrenheit(fahrenheit, unit);
}

// Pour point pair 2: index = exp(k T + c), T in degrees F; pour points at or
// below 0 F are outside its domain.
extern "C" TARN_API double TARN_CALL gfx_PourPointIndex2(char unit, double pourPoint, int wantDerivative,
                                                         double* derivative) {
  const double c = params().pourPoint2[0];
  const double k = params().pourPoint2[1];
  double fahrenheit = tarn::toFahrenheit(pourPoint, unit);
  if (fahrenheit <= 0.0) {
    if (!params().changeData) return kMissing;
    fahrenheit = kRepairStep;
  }
  const double index = std::exp(k * fahrenheit + c);
  if (wantDerivative && derivative != nullptr) *derivative = tarn::perCallerDegree(k * index, unit);
  return index;
}

extern "C" TARN_API double TARN_CALL gfx_PourPoint2(char unit, double index, int /*wantDerivative*/,
                                                    double* derivative) {
  const double c = params().pourPoint2[0];
  const double k = params().pourPoint2[1];
  if (index <= 0.0) {
    if (!params().changeData) return kMissing;
    index = kRepairStep;
  }
  if (k == 0.0) return kMissing;
  const double fahrenheit = (std::log(index) - c) / k;
  // Intended: this reverse writes its derivative whenever it has somewhere to
  // write it, whatever the request flag says.
  if (derivative != nullptr) *derivative = tarn::callerDegreesPer(1.0 / (k * index), unit);
  return tarn::fromFahrenheit(fahrenheit, unit);
}

// Treated CFPP = P1 * CFPP + P2 * dose + P3 in degrees F.
extern "C" TARN_API double TARN_CALL gfx_CFPPImprover(int wantDerivatives, char unit, double cfpp, double dose,
                                                      double* derivatives) {
  const double* p = params().cfppImprover;
  const double treated = p[0] * tarn::toFahrenheit(cfpp, unit) + p[1] * dose + p[2];
  if (wantDerivatives && derivatives != nullptr) {
    derivatives[0] = p[0];  // a temperature against a temperature: the same in both units
    derivatives[1] = tarn::callerDegreesPer(p[1], unit);
  }
  return tarn::fromFahrenheit(treated, unit);
}
