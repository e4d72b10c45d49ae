// The Chesapeak transform: a point-by-point linear map of a seven-point D86
// curve (IBP, 10, 30, 50, 70, 90, FBP), each point shifted by a slope times
// the width of its neighbouring segment.
#include "common/units.h"
#include "params/params.h"
#include "tarn/blending.h"

namespace tarn::blending {
namespace {

constexpr int kCurvePoints = 7;

bool isNonDecreasing(const double* curve) {
  for (int i = 1; i < kCurvePoints; ++i) {
    if (!(curve[i] >= curve[i - 1])) return false;
  }
  return true;
}

// The point above `lower`, pushed up to lower + gap when it sits closer than
// the gap (only a positive point is moved).
double atLeastGapAbove(double point, double lower, double gap) {
  return (point - lower < gap && point > 0.0) ? lower + gap : point;
}

}  // namespace
}  // namespace tarn::blending

extern "C" TARN_API int TARN_CALL gfx_ChesapeakF(char unit, int /*unused*/, const double* curve, double* out) {
  using namespace tarn::blending;
  if (curve == nullptr || out == nullptr) return 1;
  if (!isNonDecreasing(curve)) return 1;

  double t[kCurvePoints];
  for (int i = 0; i < kCurvePoints; ++i) t[i] = tarn::toFahrenheit(curve[i], unit);
  const double ibp = t[0], d10 = t[1], d30 = t[2], d50 = t[3], d70 = t[4], d90 = t[5], fbp = t[6];

  // Gap first, then (slope, constant) for each of the seven outputs.
  const double* k = tarn::params().chesapeakF;
  const double gap = k[0];
  const double ibpAdjusted = (d10 - ibp < gap && ibp > 0.0) ? d10 - gap : ibp;
  const double d30Adjusted = atLeastGapAbove(d30, d10, gap);
  const double d50Adjusted = atLeastGapAbove(d50, d30Adjusted, gap);
  const double d70Adjusted = atLeastGapAbove(d70, d50Adjusted, gap);
  const double d90Adjusted = atLeastGapAbove(d90, d70Adjusted, gap);
  const double fbpAdjusted = atLeastGapAbove(fbp, d90Adjusted, gap);

  double r[kCurvePoints];
  r[0] = k[1] * (d10 - ibpAdjusted) + ibp - k[2];
  r[1] = k[3] * (d30Adjusted - d10) + d10 - k[4];
  r[2] = k[5] * (d50Adjusted - d30Adjusted) + d30 - k[6];
  r[3] = k[7] * d50 + k[8];
  r[4] = k[9] * (d70Adjusted - d50Adjusted) + d70 - k[10];
  // Intended: the 90 % and final points add their constants where the lower
  // points subtract theirs.
  r[5] = k[11] * (d90Adjusted - d70Adjusted) + d90 + k[12];
  r[6] = k[13] * (fbpAdjusted - d90Adjusted) + fbp + k[14];

  for (int i = 0; i < kCurvePoints; ++i) out[i] = tarn::fromFahrenheit(r[i], unit);
  return 0;
}
