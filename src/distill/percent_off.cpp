// Percent-off correlations: a D86 curve to the percent evaporated at fixed
// temperatures and back, on the standard and the configurable point sets,
// each through a TBP curve, with forward-difference derivatives.
#include "distill/percent_off.h"

#include <algorithm>
#include <cmath>

#include "blending/oxygenate.h"
#include "common/missing.h"
#include "common/units.h"
#include "distill/conversion.h"
#include "distill/curve.h"
#include "distill/curve_repair.h"
#include "distill/remap.h"
#include "tarn/distill.h"

namespace tarn::distill {
namespace {

// Relative steps of the derivatives: curve -> percents and percents ->
// curve use different steps (intended).
constexpr double kToPercentOffStep = 0.001;
constexpr double kFromPercentOffStep = 0.0001;
constexpr int kNotConfigured = -999;
constexpr int kBadMethod = 2;

double relativeStep(double x, double step) { return (std::fabs(x) + 1.0) * step; }

using blending::hasNoOxygenate;
constexpr double kAllVolume = blending::kWholeBlend;

// Curve -> TBP curve -> percents. A curve of other than seven points only
// reaches here with method 4, which takes it as it is.
void curveToPercentOffWith(const ConversionMethod& method, const PointSets& sets, char unit, const double* curve,
                           double* percentOff) {
  double tbp[kMaxConfigurableCurvePoints];
  if (sets.curvePoints == kCurvePoints) {
    convertForwardOrKeep(method, unit, curve, tbp);
  } else {
    std::copy(curve, curve + sets.curvePoints, tbp);
  }
  curveToPercentOff(sets, tbp, percentOff);
}

// Percents -> TBP curve -> curve. No method (null) maps the TBP curve
// unchanged, like method 4.
int percentOffToCurveWith(const ConversionMethod* method, const PointSets& sets, char unit, const double* percentOff,
                          double* curve, bool zeroFirst) {
  double tbp[kMaxConfigurableCurvePoints];
  percentOffToCurve(sets, percentOff, tbp, zeroFirst);
  if (method == nullptr || method->reverse == copyCurve) {
    std::copy(tbp, tbp + sets.curvePoints, curve);
    return 0;
  }
  if (sets.curvePoints != kCurvePoints) return 1;
  return method->reverse(unit, tbp, curve);
}

// Derivatives of curve -> percents: row i for curve point i.
void toPercentOffDerivatives(const ConversionMethod& method, const PointSets& sets, char unit, const double* curve,
                             const double* base, double* derivs) {
  double perturbedCurve[kMaxConfigurableCurvePoints];
  double perturbed[kMaxConfigurablePercentOffPoints];
  std::copy(curve, curve + sets.curvePoints, perturbedCurve);
  for (int i = 0; i < sets.curvePoints; ++i) {
    const double h = relativeStep(curve[i], kToPercentOffStep);
    perturbedCurve[i] = curve[i] + h;
    curveToPercentOffWith(method, sets, unit, perturbedCurve, perturbed);
    perturbedCurve[i] = curve[i];
    for (int j = 0; j < sets.percentOffPoints; ++j) {
      derivs[i * sets.percentOffPoints + j] = (perturbed[j] - base[j]) / h;
    }
  }
}

// Percents -> curve with derivatives; the result is the status of the last
// conversion.
int fromPercentOff(const ConversionMethod* method, const PointSets& sets, char unit, const double* percentOff,
                   double* curve, bool zeroFirst, bool wantDerivatives, double* derivs) {
  double base[kMaxConfigurableCurvePoints];
  int status = percentOffToCurveWith(method, sets, unit, percentOff, base, zeroFirst);
  if (status != 0) return status;
  std::copy(base, base + sets.curvePoints, curve);
  if (!wantDerivatives || derivs == nullptr) return status;

  double perturbedPercents[kMaxConfigurablePercentOffPoints];
  std::copy(percentOff, percentOff + sets.percentOffPoints, perturbedPercents);
  for (int i = 0; i < sets.percentOffPoints; ++i) {
    const double h = relativeStep(percentOff[i], kFromPercentOffStep);
    perturbedPercents[i] = percentOff[i] + h;
    double perturbed[kMaxConfigurableCurvePoints];
    std::copy(base, base + sets.curvePoints, perturbed);
    status = percentOffToCurveWith(method, sets, unit, perturbedPercents, perturbed, zeroFirst);
    perturbedPercents[i] = percentOff[i];
    for (int j = 0; j < sets.curvePoints; ++j) {
      derivs[i * sets.curvePoints + j] = (perturbed[j] - base[j]) / h;
    }
  }
  return status;
}

bool configuredCountsValid(const PointSets& sets) {
  return sets.curvePoints >= 1 && sets.curvePoints <= kMaxConfigurableCurvePoints && sets.percentOffPoints >= 1 &&
         sets.percentOffPoints <= kMaxConfigurablePercentOffPoints;
}

}  // namespace

int d86FromPercentOffWithoutOxygenate(AdapterSettings settings, double* x, double* outputs, int derivFlag,
                                      double* derivs) {
  constexpr int kInputs = 21, kOutputs = kCurvePoints;
  constexpr int kVolume = 10, kOxygenate = 11;
  if (x == nullptr || outputs == nullptr) return 1;
  const int method = settings.method;
  const char unit = settings.unit;
  const auto clearDerivatives = [derivs] {
    if (derivs != nullptr) std::fill(derivs, derivs + kInputs * kOutputs, 0.0);
  };
  clearDerivatives();

  const double volume = x[kVolume];
  if (hasNoOxygenate(volume)) {
    return gfx_D86FromPercentOff(method, derivFlag, x, outputs, unit, derivs);
  }
  if (kAllVolume - volume <= 0.0) {
    double oxygenate[kPercentOffPoints];
    std::copy(x + kOxygenate, x + kOxygenate + kPercentOffPoints, oxygenate);
    const int status = gfx_D86FromPercentOff(method, derivFlag, oxygenate, outputs, unit, derivs);
    clearDerivatives();
    return status;
  }
  // The removal takes x11 as the oxygenate volume, and so also as the first
  // percent's oxygenate share (x0 becomes (100 x0 - x11^2)/(100 - x11)),
  // where every other step uses x10: intended.
  for (int i = 0; i < kPercentOffPoints; ++i) {
    x[i] = (kAllVolume * x[i] - x[kOxygenate] * x[kOxygenate + i]) / (kAllVolume - x[kOxygenate]);
  }
  const int status = gfx_D86FromPercentOff(method, derivFlag, x, outputs, unit, derivs);
  if (status != 0 || derivFlag == 0 || derivs == nullptr) return status;

  // Row 10 (the oxygenate volume) by the chain rule through the removal;
  // rows 0..9 scaled by d(removed)/d(blend); rows 11..20 stay 0.
  for (int j = 0; j < kOutputs; ++j) {
    double sum = 0.0;
    for (int i = 0; i < kPercentOffPoints; ++i) {
      sum += (x[i] - x[kOxygenate + i]) / (kAllVolume - volume) * derivs[i * kOutputs + j];
    }
    derivs[kVolume * kOutputs + j] = sum;
  }
  for (int k = 0; k < kPercentOffPoints * kOutputs; ++k) derivs[k] *= kAllVolume / (kAllVolume - volume);
  return 0;
}

}  // namespace tarn::distill

namespace distill = tarn::distill;

extern "C" TARN_API int TARN_CALL gfx_D86toPercentOff(int method, double* curve, double* percentOff, char unit,
                                                      int derivFlag, double* derivs) {
  if (curve == nullptr || percentOff == nullptr) return 1;
  if (gfx_TBPLogInterpolate2(curve) != 0) return 1;
  const distill::ConversionMethod* conversion = distill::conversionMethod(method);
  if (conversion == nullptr) return distill::kBadMethod;
  if (tarn::params().changeData) distill::repairCurveOrder(curve, distill::kCurvePoints);

  const distill::PointSets sets = distill::standardPointSets();
  distill::curveToPercentOffWith(*conversion, sets, unit, curve, percentOff);
  // Derivatives whenever an array is given, whatever the flag (intended).
  static_cast<void>(derivFlag);
  if (derivs != nullptr) {
    distill::toPercentOffDerivatives(*conversion, sets, unit, curve, percentOff, derivs);
  }
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_D86FromPercentOff(int method, int derivFlag, double* percentOff, double* curve,
                                                        char unit, double* derivs) {
  if (percentOff == nullptr || curve == nullptr) return 1;
  if (tarn::params().changeData) distill::repairPercentOff(percentOff, distill::kPercentOffPoints);
  return distill::fromPercentOff(distill::conversionMethod(method), distill::standardPointSets(), unit, percentOff,
                                 curve, /*zeroFirst=*/false, derivFlag != 0, derivs);
}

extern "C" TARN_API int TARN_CALL gfx_ND86toPercentOff(int method, double* curve, double* percentOff, char unit,
                                                       int derivFlag, double* derivs) {
  const distill::PointSets sets = distill::configurablePointSets();
  if (!distill::configuredCountsValid(sets)) return distill::kNotConfigured;
  if (curve == nullptr || percentOff == nullptr) return 1;
  const distill::ConversionMethod* conversion = distill::conversionMethod(method);
  if (conversion == nullptr) return distill::kBadMethod;
  // The conversion methods work on the seven standard points only.
  if (conversion->forward != distill::copyCurve && sets.curvePoints != distill::kCurvePoints) {
    return distill::kBadMethod;
  }
  if (tarn::params().changeData) {
    distill::repairCurveOrder(curve, sets.curvePoints);
    for (int k = 0; k < sets.curvePoints; ++k) curve[k] = std::max(0.0, curve[k]);
  }
  distill::curveToPercentOffWith(*conversion, sets, unit, curve, percentOff);
  if (derivFlag != 0 && derivs != nullptr) {
    distill::toPercentOffDerivatives(*conversion, sets, unit, curve, percentOff, derivs);
  }
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_ND86FromPercentOff(int method, int derivFlag, double* percentOff, double* curve,
                                                         char unit, double* derivs) {
  const distill::PointSets sets = distill::configurablePointSets();
  if (!distill::configuredCountsValid(sets)) return distill::kNotConfigured;
  if (percentOff == nullptr || curve == nullptr) return 1;
  if (tarn::params().changeData) distill::repairPercentOff(percentOff, sets.percentOffPoints);
  return distill::fromPercentOff(distill::conversionMethod(method), sets, unit, percentOff, curve,
                                 /*zeroFirst=*/true, derivFlag != 0, derivs);
}
