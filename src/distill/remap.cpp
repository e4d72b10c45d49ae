// Remapping between curves and percent-off vectors.
#include "distill/remap.h"

#include <algorithm>
#include <cmath>

#include "distill/curve.h"
#include "distill/interpolation.h"
#include "tarn/distill.h"

namespace tarn::distill {
namespace {

// Percent-off values rising by more than this factor from one temperature to
// the next mark a curving stretch, read with a quadratic.
constexpr double kCurvatureFactor = 1.02;
// Points below this percentage look forward for curvature, the others back.
constexpr double kMidCurve = 50.0;
constexpr double kNoneEvaporated = 0.0;
constexpr double kAllEvaporated = 100.0;

bool curvesUpward(double below, double at) { return at > kCurvatureFactor * below; }

}  // namespace

PointSets standardPointSets() {
  return PointSets{percentGrid(), kCurvePoints, percentOffTemperatures(), kPercentOffPoints};
}

PointSets configurablePointSets() {
  const ConfigurablePointSets& sets = params().nd86;
  return PointSets{sets.t, sets.ntemp, sets.p, sets.npoff};
}

void curveToPercentOff(const PointSets& sets, const double* curve, double* percentOff) {
  const double* g = sets.percents;
  const double* t = sets.temperatures;
  const int last = sets.curvePoints - 1;
  if (curve[0] == curve[last]) {
    for (int i = 0; i < sets.percentOffPoints; ++i) {
      percentOff[i] = curve[0] > t[i] ? kNoneEvaporated : kAllEvaporated;
    }
    return;
  }
  for (int i = 0; i < sets.percentOffPoints; ++i) {
    if (t[i] < curve[0]) {
      percentOff[i] = g[0];
    } else if (t[i] >= curve[last]) {
      percentOff[i] = g[last];
    } else {
      int k = 1;
      while (k < last && !(t[i] <= curve[k])) ++k;
      percentOff[i] = gfx_Interpolate(curve[k - 1], curve[k], g[k - 1], g[k], t[i]);
    }
  }
}

void percentOffToCurve(const PointSets& sets, const double* percentOff, double* curve, bool zeroFirst) {
  const int n = sets.percentOffPoints;
  const int last = sets.curvePoints - 1;
  const double* t = sets.temperatures;
  double s[kMaxConfigurablePercentOffPoints];
  std::copy(percentOff, percentOff + n, s);
  s[n - 1] = kAllEvaporated;
  if (zeroFirst) s[0] = kNoneEvaporated;

  curve[0] = t[0];
  curve[last] = t[n - 1];
  for (int j = 1; j < last; ++j) {
    const double q = sets.percents[j];
    if (s[0] >= q) {
      curve[j] = t[0];
      continue;
    }
    if (q > s[n - 1]) {
      curve[j] = t[n - 1];
      continue;
    }
    // s[k - 1] < q <= s[k]
    int k = 1;
    while (k < n - 1 && !(q <= s[k])) ++k;

    double value = std::nan("");
    if (q < kMidCurve) {
      // Lower half: look forward over k - 1, k, k + 1. Near the top there is
      // no point after k; the test then fails.
      if (k + 1 < n && curvesUpward(s[k - 1], s[k]) && curvesUpward(s[k], s[k + 1])) {
        value = InvertQuadratic3Pt(s + k - 1, t + k - 1, q);
      }
    } else if (k > 1 && curvesUpward(s[k - 2], s[k - 1]) && curvesUpward(s[k - 1], s[k])) {
      // Upper half: look back over k - 2, k - 1, k.
      value = InvertQuadratic3Pt(s + k - 2, t + k - 2, q);
    }
    // The line is also the answer where the quadratic has no real root.
    curve[j] = std::isfinite(value) ? value : gfx_Interpolate(s[k - 1], s[k], t[k - 1], t[k], q);
  }
}

int RemapD86Curve(int pointCount, const double* source, double* target, int direction) {
  if (pointCount != kCurvePoints || source == nullptr || target == nullptr) return 1;
  const PointSets sets = standardPointSets();
  if (direction == 1) {
    curveToPercentOff(sets, source, target);
  } else {
    percentOffToCurve(sets, source, target, /*zeroFirst=*/false);
  }
  return 0;
}

}  // namespace tarn::distill
