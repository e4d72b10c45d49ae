// The conversion-method table and the checks, unit handling and solver that
// the D86 <-> TBP methods share.
#include "distill/conversion.h"

#include <algorithm>
#include <cmath>

#include "common/missing.h"
#include "common/units.h"
#include "distill/curve.h"
#include "tarn/distill.h"

namespace tarn::distill {

int copyCurve(char /*unit*/, const double* in, double* out) {
  if (in == nullptr || out == nullptr) return 1;
  std::copy(in, in + kCurvePoints, out);
  return 0;
}

const ConversionMethod* conversionMethod(int method) {
  static constexpr ConversionMethod kMethods[] = {
      {gfx_HC94F, gfx_HC94R},          // 0
      {gfx_THREEA11F, gfx_THREEA11R},  // 1
      {gfx_SIXORDERF, gfx_SIXORDERR},  // 2
      {gfx_ETHYLSF, gfx_ETHYLSR},      // 3
      {copyCurve, copyCurve},          // 4: no conversion
      {gfx_ETHYLSF, gfx_ETHYLSR_REV},  // 5
  };
  constexpr int kCount = static_cast<int>(sizeof(kMethods) / sizeof(kMethods[0]));
  if (method < 0 || method >= kCount) return nullptr;
  return &kMethods[method];
}

double SolvePolynomialNewton(const double* c, int n, double x0) {
  if (c == nullptr || n < 1) return kMissing;
  constexpr double kFlatSlope = 0.01;
  constexpr double kSettledStep = 0.001;
  constexpr double kTinyStep = 1e-6;
  constexpr int kMaxUpdates = 20;

  // The slope is the secant from the origin, not the derivative: it changes
  // the iteration path and is intended.
  const auto step = [c, n](double x) {
    double slope = c[n];
    for (int k = n - 1; k >= 1; --k) slope = slope * x + c[k];
    const double f = c[0] + x * slope;
    return f / (slope == 0.0 ? kFlatSlope : slope);
  };

  double previous = x0;
  double x = x0 - step(x0);
  double previousStep = 0.0;
  for (int updates = 0;; ++updates) {
    const double size = std::fabs(x - previous);
    if (size <= kSettledStep && size >= previousStep) break;
    if (updates >= kMaxUpdates || size <= kTinyStep) break;
    previousStep = size;
    previous = x;
    x -= step(x);
  }
  return std::isfinite(x) ? x : kMissing;
}

Preparation prepareConversion(char unit, const double* in, bool strict, double* fahrenheit) {
  if (in == nullptr) return Preparation::Rejected;
  const bool ordered = strict ? isStrictlyIncreasing(in, kCurvePoints) : isNonDecreasing(in, kCurvePoints);
  if (!ordered) return Preparation::Rejected;
  if (in[kFbp] - in[kIbp] < params().genericD86.dPure) return Preparation::Pure;
  for (int k = 0; k < kCurvePoints; ++k) fahrenheit[k] = toFahrenheit(in[k], unit);
  return Preparation::Convert;
}

void enforceMinimumGap(double* t, double gap) {
  if (t[1] - t[0] < gap && t[0] > 0.0) t[0] = t[1] - gap;
  for (int k = 2; k < kCurvePoints; ++k) {
    if (t[k] - t[k - 1] < gap && t[k] > 0.0) t[k] = t[k - 1] + gap;
  }
}

void storeInUnit(const double* fahrenheit, char unit, double* out) {
  for (int k = 0; k < kCurvePoints; ++k) out[k] = fromFahrenheit(fahrenheit[k], unit);
}

}  // namespace tarn::distill
