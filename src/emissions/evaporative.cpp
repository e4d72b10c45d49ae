// Percent evaporated at set temperatures (E200, E300 and the like) from a
// seven-point D86 curve, by linear interpolation between curve points.
#include <cmath>

#include "common/missing.h"
#include "params/params.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

constexpr int kCurvePoints = 7;
constexpr int kMaxTemperatures = 12;
// A configured temperature above this counts as not set.
constexpr double kUnsetAbove = 1e10;
// A curve whose ends are closer than this is treated as a pure component.
constexpr double kFlatCurveSpan = 1.0;
// Gap by which a repaired point is lifted above its predecessor.
constexpr double kRepairGap = 1.0;

enum Status { kOk = 0, kNothingConfigured = 1, kUnusable = 2 };

bool isUnset(double temperature) { return temperature > kUnsetAbove; }

}  // namespace
}  // namespace tarn::emissions

extern "C" TARN_API int TARN_CALL gfx_Evaporative(int wantDerivatives, double* curve, double* out, double* deriv) {
  using namespace tarn::emissions;
  const tarn::ParameterBlock& block = tarn::params();
  int n = block.evaporative.npts;
  if (n < 1) return kNothingConfigured;
  if (n > kMaxTemperatures) n = kMaxTemperatures;  // there are only twelve set temperatures
  if (curve == nullptr || out == nullptr) return kUnusable;
  const double* T = block.evaporative.p;
  const double* P = block.d86PercentGrid;
  double* d = (wantDerivatives != 0) ? deriv : nullptr;
  if (d != nullptr) {
    for (int i = 0; i < kCurvePoints * n; ++i) d[i] = 0.0;
  }

  // A pure component evaporates all at once at its boiling point.
  if (std::fabs(curve[0] - curve[kCurvePoints - 1]) < kFlatCurveSpan) {
    for (int i = 0; i < n; ++i) {
      if (!isUnset(T[i])) out[i] = curve[0] > T[i] ? 0.0 : 100.0;
    }
    return kOk;
  }

  // The last configured temperature is not required here; an unset one is
  // reported as missing below.
  bool missingTemperature = false;
  for (int i = 0; i < n - 1; ++i) {
    if (isUnset(T[i])) {
      out[i] = tarn::kMissing;
      missingTemperature = true;
    }
  }

  for (int k = 1; k < kCurvePoints; ++k) {
    if (curve[k - 1] > curve[k]) {
      if (block.changeData) {
        curve[k] = curve[k - 1] + kRepairGap;
      } else {
        for (int i = 0; i < n; ++i) out[i] = tarn::kMissing;
        return kUnusable;
      }
    }
  }
  if (missingTemperature) return kUnusable;

  // Segment s runs from curve point s to s + 1: a = percent per degree,
  // b = a per degree (for the sensitivities to the segment's end points).
  double a[kCurvePoints - 1], b[kCurvePoints - 1];
  for (int s = 0; s < kCurvePoints - 1; ++s) {
    const double width = curve[s + 1] - curve[s];
    // A segment of zero width is never interpolated in; its slopes are taken
    // as 0 so that an extrapolated sensitivity stays finite.
    a[s] = width != 0.0 ? (P[s + 1] - P[s]) / width : 0.0;
    b[s] = width != 0.0 ? a[s] / width : 0.0;
  }

  for (int i = 0; i < n; ++i) {
    if (isUnset(T[i])) {
      out[i] = tarn::kMissing;
      continue;
    }
    int s = 0;
    while (s < kCurvePoints - 1 && !(curve[s] <= T[i] && T[i] < curve[s + 1])) ++s;
    if (s < kCurvePoints - 1) {
      out[i] = (T[i] - curve[s]) * a[s] + P[s];
    } else if (T[i] < curve[0]) {
      out[i] = 0.0;
      s = 0;
    } else {
      out[i] = 100.0;
      s = kCurvePoints - 2;
    }
    // Beyond the curve the value is clamped but the sensitivities are those
    // of the end segment extended; this is intended.
    if (d != nullptr) {
      const double along = T[i] - curve[s];
      d[s * n + i] = along * b[s] - a[s];
      d[(s + 1) * n + i] = -along * b[s];
    }
  }
  return kOk;
}
