// Diesel ignition quality: cetane indices from gravity or density and the
// distillation temperatures, and the cetane gain of an improver additive.
// Temperatures are used in degrees F; a 'C' caller is converted on entry and
// its temperature derivatives are scaled per degree C.
#include <cmath>

#include "common/missing.h"
#include "common/units.h"
#include "params/params.h"
#include "tarn/props.h"

namespace tarn::props {
namespace {

// Value a non-positive gravity, temperature or logarithm argument is
// replaced by when ChangeData repairs it, and the gap by which an
// out-of-order distillation point is pushed above its predecessor.
constexpr double kRepairValue = 0.0001;
constexpr double kRepairGap = 0.5;

// T10 <= T50 <= T90, checked in the caller's unit. Returns false when the
// points are out of order and ChangeData is off; with it on, T50 and then T90
// are pushed above their predecessor.
bool orderDistillationPoints(double t10, double& t50, double& t90) {
  const bool repair = params().changeData;
  if (t10 > t50) {
    if (!repair) return false;
    t50 = t10 + kRepairGap;
  }
  if (t50 > t90) {
    if (!repair) return false;
    t90 = t50 + kRepairGap;
  }
  return true;
}

// Cetane gain of an improver, P1 (API/P2)^P3 (T/P4)^P5 ln(P7 dose + P6), with
// its derivatives with respect to spg, temperature and dose.
double improverGain(const CetaneImproverParams& group, char unit, double spg, double temperature, double dose,
                    int wantDerivatives, double* derivatives) {
  const double p1 = group.p[0], p2 = group.p[1], p3 = group.p[2], p4 = group.p[3];
  const double p5 = group.p[4], p6 = group.p[5], p7 = group.p[6];
  if (p7 * dose + p6 <= 0.0 && params().changeData) {
    // Move the dose to just inside the domain of the logarithm.
    if (p7 > 0.0) {
      dose = kRepairValue - p6 / p7;
    } else if (p7 < 0.0) {
      dose = -p6 / p7 - kRepairValue;
    } else {
      return kMissing;
    }
  }
  // Without ChangeData a dose outside the logarithm's domain is computed as
  // it stands and gives a non-finite gain.
  if (p2 == 0.0 || p4 == 0.0) return kMissing;

  const double fahrenheit = toFahrenheit(temperature, unit);
  double apiPerSpg = 0.0;
  const double api = gfx_APIfromSPG(spg, 1, &apiPerSpg);
  const double apiTerm = std::pow(api / p2, p3);
  const double temperatureTerm = std::pow(fahrenheit / p4, p5);
  // A negative base of either power is out of domain: a gravity above 1.076
  // (API below 0, a missing gravity among them) or a temperature below 0 F.
  if (std::isnan(apiTerm) || std::isnan(temperatureTerm)) return kMissing;
  const double argument = p7 * dose + p6;
  const double logTerm = std::log(argument);
  if (wantDerivatives && derivatives != nullptr) {
    derivatives[0] = p3 * p1 / p2 * std::pow(api / p2, p3 - 1.0) * temperatureTerm * logTerm * apiPerSpg;
    derivatives[1] = perCallerDegree(apiTerm * p5 * p1 / p4 * std::pow(fahrenheit / p4, p5 - 1.0) * logTerm, unit);
    derivatives[2] = apiTerm * p1 * p7 / argument * temperatureTerm;
  }
  return p1 * apiTerm * temperatureTerm * logTerm;
}

}  // namespace
}  // namespace tarn::props

using tarn::kMissing;
using tarn::params;

// Two-variable cetane index from specific gravity and mid-boiling point.
extern "C" TARN_API double TARN_CALL gfx_CetaneIndex2(int wantDerivatives, char unit, double spg,
                                                      double midBoilingTemperature, double* derivatives) {
  const double* a = params().cetaneIndex2;
  const bool repair = params().changeData;
  double mid = tarn::toFahrenheit(midBoilingTemperature, unit);
  // Intended order: a gravity that needs repair skips the temperature check.
  if (spg <= 0.0) {
    if (!repair) return kMissing;
    spg = tarn::props::kRepairValue;
  } else if (mid <= 0.0) {
    if (!repair) return kMissing;
    mid = tarn::props::kRepairValue;
  }
  double apiPerSpg = 0.0;
  const double api = gfx_APIfromSPG(spg, 1, &apiPerSpg);
  const double logMid = std::log10(mid);
  const double index = a[0] + a[1] * api * api + a[2] * api * logMid + a[3] * logMid * logMid - a[4] * mid * mid;
  if (wantDerivatives && derivatives != nullptr) {
    derivatives[0] = (2.0 * a[1] * api + a[2] * logMid) * apiPerSpg;
    derivatives[1] =
        tarn::perCallerDegree((2.0 * a[3] * logMid + a[2] * api) / (std::log(10.0) * mid) - 2.0 * a[4] * mid, unit);
  }
  return index;
}

// Four-variable cetane index (density, T10, T50, T90), normalised around its
// reference point in degrees C.
extern "C" TARN_API double TARN_CALL gfx_CetaneIndex4(int wantDerivatives, char unit, double density, double t10,
                                                      double t50, double t90, double* derivatives) {
  if (!tarn::props::orderDistillationPoints(t10, t50, t90)) return kMissing;
  const double* c = params().cetaneIndex4;
  const double d0 = c[0], kB = c[1], one = c[2], r10 = c[3], r50 = c[4], r90 = c[5];
  const double c0 = c[6], c10 = c[7], c50 = c[8], c50B = c[9], c90 = c[10], c90B = c[11];
  const double cQ = c[12], cB = c[13], cB2 = c[14];

  const double densityTerm = std::exp((density - d0) * kB);
  const double b = densityTerm - one;
  // Distances from the reference temperatures, in degrees C.
  const double n10 = tarn::fahrenheitIntervalToCelsius(tarn::toFahrenheit(t10, unit) - r10);
  const double n50 = tarn::fahrenheitIntervalToCelsius(tarn::toFahrenheit(t50, unit) - r50);
  const double n90 = tarn::fahrenheitIntervalToCelsius(tarn::toFahrenheit(t90, unit) - r90);

  const double index = c0 + c10 * n10 + (c50 + c50B * b) * n50 + (c90 - c90B * b) * n90 + cQ * (n10 * n10 - n90 * n90) +
                       cB * b + cB2 * b * b;
  if (wantDerivatives && derivatives != nullptr) {
    derivatives[0] = (c50B * n50 - c90B * n90 + cB + 2.0 * cB2 * b) * kB * densityTerm;
    // The distances are in degrees C: their slopes become slopes per degree F
    // and then per caller degree.
    using tarn::perCallerDegree;
    using tarn::perFahrenheitFromPerCelsius;
    derivatives[1] = perCallerDegree(perFahrenheitFromPerCelsius(2.0 * cQ * n10 + c10), unit);
    derivatives[2] = perCallerDegree(perFahrenheitFromPerCelsius(c50B * b + c50), unit);
    derivatives[3] = perCallerDegree(perFahrenheitFromPerCelsius(c90 - c90B * b - 2.0 * cQ * n90), unit);
  }
  return index;
}

// Linear cetane index in density, T10, T50 and T90 (degrees F).
extern "C" TARN_API double TARN_CALL gfx_CetaneIndex5(int wantDerivatives, char unit, double density, double t10,
                                                      double t50, double t90, double* derivatives) {
  if (!tarn::props::orderDistillationPoints(t10, t50, t90)) return kMissing;
  const double* c = params().cetaneIndex5;
  const double index = c[1] * tarn::toFahrenheit(t10, unit) + c[0] * density + c[2] * tarn::toFahrenheit(t50, unit) +
                       c[3] * tarn::toFahrenheit(t90, unit) + c[4];
  if (wantDerivatives && derivatives != nullptr) {
    derivatives[0] = c[0];
    derivatives[1] = tarn::perCallerDegree(c[1], unit);
    derivatives[2] = tarn::perCallerDegree(c[2], unit);
    derivatives[3] = tarn::perCallerDegree(c[3], unit);
  }
  return index;
}

extern "C" TARN_API double TARN_CALL gfx_CetaneImprover(int wantDerivatives, char unit, double spg, double temperature,
                                                        double dose, double* derivatives) {
  return tarn::props::improverGain(params().cetaneImprover, unit, spg, temperature, dose, wantDerivatives, derivatives);
}

extern "C" TARN_API double TARN_CALL gfx_CetaneImprover2(int wantDerivatives, char unit, double spg, double temperature,
                                                         double dose, double baseCetane, double* derivatives) {
  const double gain =
      tarn::props::improverGain(params().cetaneImprover2, unit, spg, temperature, dose, wantDerivatives, derivatives);
  if (tarn::isMissing(gain)) return kMissing;
  if (wantDerivatives && derivatives != nullptr) derivatives[3] = 1.0;
  return baseCetane + gain;
}
