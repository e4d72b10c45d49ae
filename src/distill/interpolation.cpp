// Two-point interpolation, reading a curve in either direction, the
// log-linear estimate of missing 30 % and 70 % points, the quadratic
// inversion used when a percent-off vector curves, and the changes between
// the seven-point and five-point layouts.
#include "distill/interpolation.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "common/missing.h"
#include "distill/curve.h"
#include "tarn/distill.h"

namespace tarn::distill {
namespace {

// The log-linear curve model T(p) = T_anchor + a (p - 1) + b log10(p), with p
// counted from the anchor end (1 at the anchor, 10 at its neighbour, 50 at
// the middle), through the anchor, its neighbour and the 50 % point; the
// value at p = 30.
double logLinearEstimate(double anchor, double neighbour, double middle) {
  const double log50 = std::log10(50.0);
  const double log30 = std::log10(30.0);
  const double a = (middle - (neighbour - anchor) * log50 - anchor) / (49.0 - 9.0 * log50);
  return log30 * (neighbour - 9.0 * a - anchor) + 30.0 * a + (anchor - a);
}

// Seven-point positions kept by the five-point layout.
constexpr int kFivePointSource[5] = {0, 1, 3, 5, 6};
// Derivative rows kept: the fraction row and the rows of the kept points.
constexpr int kFivePointRows[6] = {0, 1, 2, 4, 6, 7};

}  // namespace

bool isStrictlyIncreasing(const double* curve, int count) {
  for (int k = 1; k < count; ++k) {
    if (!(curve[k - 1] < curve[k])) return false;
  }
  return true;
}

bool isNonDecreasing(const double* curve, int count) {
  for (int k = 1; k < count; ++k) {
    if (!(curve[k - 1] <= curve[k])) return false;
  }
  return true;
}

double percentAtTemperature(const double* curve, const double* grid, int count, double t) {
  const int last = count - 1;
  if (t < curve[0]) {
    return clampPercent(grid[0] + (grid[1] - grid[0]) / (curve[1] - curve[0]) * (t - curve[0]));
  }
  if (t >= curve[last]) {
    return clampPercent(grid[last - 1] +
                        (grid[last] - grid[last - 1]) / (curve[last] - curve[last - 1]) * (t - curve[last - 1]));
  }
  for (int k = 1; k < count; ++k) {
    if (t <= curve[k]) return gfx_Interpolate(curve[k - 1], curve[k], grid[k - 1], grid[k], t);
  }
  return std::numeric_limits<double>::quiet_NaN();  // only a NaN temperature gets here
}

double InvertQuadratic3Pt(const double* p, const double* T, double q) {
  const double t0 = T[0], t1 = T[1], t2 = T[2];
  const double p0 = p[0], p1 = p[1], p2 = p[2];
  const double d = t2 * t2 * t0 + t0 * t0 * t1 + t1 * t1 * t2 - t2 * t2 * t1 - t0 * t0 * t2 - t1 * t1 * t0;
  const double k2 = (p0 * t1 + p2 * t0 + p1 * t2 - p2 * t1 - p0 * t2 - p1 * t0) / d;
  const double k1 = (t2 * t2 * p0 + t0 * t0 * p1 + t1 * t1 * p2 - t2 * t2 * p1 - t0 * t0 * p2 - t1 * t1 * p0) / d;
  const double k0 = (p1 * t0 * t2 * t2 + t0 * t0 * t1 * p2 + t1 * t1 * p0 * t2 - t2 * t2 * t1 * p0 - p1 * t2 * t0 * t0 -
                     t1 * t1 * p2 * t0) /
                    d;
  constexpr double kNegligible = 1e-7;
  if (std::fabs(k2) > kNegligible) {
    return (std::sqrt(k1 * k1 - 4.0 * k2 * (k0 - q)) - k1) / (2.0 * k2);
  }
  if (std::fabs(k1) > kNegligible) return (q - k0) / k1;
  return t1;
}

}  // namespace tarn::distill

using tarn::distill::kCurvePoints;

extern "C" TARN_API double TARN_CALL gfx_Interpolate(double x0, double x1, double y0, double y1, double x) {
  if (x0 == x1) return x0 > x ? y0 : y1;
  return (y1 - y0) / (x1 - x0) * (x - x0) + y0;
}

extern "C" TARN_API double TARN_CALL gfx_Extrapolate(double x0, double x1, double y0, double y1, double lower,
                                                     double upper, double x) {
  const double y = (y1 - y0) / (x1 - x0) * (x - x0) + y0;
  if (lower > y) return lower;
  return std::min(upper, y);
}

extern "C" TARN_API double TARN_CALL gfx_DistillCurve(const double* curve, int mode, double value) {
  if (curve == nullptr || !tarn::distill::isStrictlyIncreasing(curve, kCurvePoints)) {
    return tarn::kMissing;
  }
  const double* grid = tarn::distill::percentGrid();
  if (mode == 1) return tarn::distill::percentAtTemperature(curve, grid, kCurvePoints, value);
  // Percent to temperature: no extension beyond the end points.
  if (value < grid[0]) return curve[0];
  if (value >= grid[kCurvePoints - 1]) return curve[kCurvePoints - 1];
  for (int k = 1; k < kCurvePoints; ++k) {
    if (value <= grid[k]) return gfx_Interpolate(grid[k - 1], grid[k], curve[k - 1], curve[k], value);
  }
  return std::numeric_limits<double>::quiet_NaN();  // only a NaN percent gets here
}

extern "C" TARN_API int TARN_CALL gfx_TBPLogInterpolate(const double* curve5, double* out30, double* out70) {
  if (curve5 == nullptr) return 0;
  const double ibp = curve5[0], t10 = curve5[1], t50 = curve5[2], t90 = curve5[3], fbp = curve5[4];
  if (out30 != nullptr) {
    double t30 = tarn::distill::logLinearEstimate(ibp, t10, t50);
    // An estimate equal to either neighbour is kept; only one strictly
    // outside them is replaced (intended, the 70 % test below is stricter).
    if (t30 < t10 || t30 > t50) t30 = (t10 + t50) / 2.0;
    *out30 = t30;
  }
  if (out70 != nullptr) {
    double t70 = tarn::distill::logLinearEstimate(fbp, t90, t50);
    if (!(t50 < t70 && t70 < t90)) t70 = (t50 + t90) / 2.0;
    *out70 = t70;
  }
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_TBPLogInterpolate2(double* curve) {
  if (curve == nullptr) return 0;
  if (curve[2] > tarn::kMissingThreshold) {
    double t30 = tarn::distill::logLinearEstimate(curve[0], curve[1], curve[3]);
    if (t30 < curve[1] || t30 > curve[3]) t30 = (curve[1] + curve[3]) / 2.0;
    curve[2] = t30;
  }
  if (curve[4] > tarn::kMissingThreshold) {
    double t70 = tarn::distill::logLinearEstimate(curve[6], curve[5], curve[3]);
    if (!(curve[3] <= t70 && t70 <= curve[5])) t70 = (curve[5] + curve[3]) / 2.0;
    curve[4] = t70;
  }
  return 0;
}

extern "C" TARN_API void TARN_CALL gfx_D86Contract7Pt(int n, double* curve, double* derivs, double* outCurve,
                                                      double* outDerivs) {
  using tarn::distill::kFivePointRows;
  using tarn::distill::kFivePointSource;
  if (curve != nullptr) {
    double* target = outCurve != nullptr ? outCurve : curve;
    // In place every source position is at or after its target: a forward
    // walk reads each value before it is overwritten.
    for (int k = 0; k < 5; ++k) target[k] = curve[kFivePointSource[k]];
  }
  if (derivs == nullptr || n < 1) return;
  double* target = outDerivs != nullptr ? outDerivs : derivs;
  for (int block = 0; block < n; ++block) {
    const double* source = derivs + static_cast<long>(block) * 8 * kCurvePoints;
    double* rows = target + static_cast<long>(block) * 6 * 5;
    for (int r = 0; r < 6; ++r) {
      for (int c = 0; c < 5; ++c) {
        rows[r * 5 + c] = source[kFivePointRows[r] * kCurvePoints + kFivePointSource[c]];
      }
    }
  }
}

extern "C" TARN_API void TARN_CALL gfx_D86Expand5Pt(int n, double* curves, double* out) {
  if (n <= 0 || curves == nullptr) return;
  double* target = out != nullptr ? out : curves;
  // Backwards, so that widening in place never overwrites a curve not yet read.
  for (int i = n - 1; i >= 0; --i) {
    double five[5];
    std::copy(curves + 5L * i, curves + 5L * i + 5, five);
    double* seven = target + 7L * i;
    seven[0] = five[0];
    seven[1] = five[1];
    seven[2] = tarn::kMissing;
    seven[3] = five[2];
    seven[4] = tarn::kMissing;
    seven[5] = five[3];
    seven[6] = five[4];
  }
}
