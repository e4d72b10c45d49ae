// Volume blending of distillation curves. The blend's percent evaporated at
// a temperature is the fraction-weighted sum of the components' percents
// (read off each curve by linear interpolation, extended beyond the ends);
// each grid percentage is then located by bisection in temperature.
#include "distill/blend_points.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "common/guard.h"
#include "common/missing.h"
#include "common/scratch.h"
#include "distill/curve.h"
#include "tarn/distill.h"

namespace tarn::distill {
namespace {

// Window for the sum of the fractions.
constexpr double kSumLow = 0.999;
constexpr double kSumHigh = 1.001;
constexpr double kSmallestTolerance = 1e-14;

}  // namespace

void describeShape(const double* curve, const double* grid, ComponentShape& shape) {
  shape.increasing = isStrictlyIncreasing(curve, kCurvePoints);
  for (int k = 1; k < kCurvePoints; ++k) {
    shape.slope[k - 1] = (grid[k] - grid[k - 1]) / (curve[k] - curve[k - 1]);
  }
}

bool widensLimits(double fraction) { return fraction > 0.0 && fraction > params().genericD86.minVol; }

SearchLimits searchLimits(int n, const double* curves, const double* fractions) {
  SearchLimits limits;
  for (int i = 0; i < n; ++i) {
    const double* curve = curves + static_cast<long>(i) * kCurvePoints;
    if (fractions[i] > 0.0) limits.total += fractions[i];
    if (widensLimits(fractions[i])) {
      limits.low = std::min(limits.low, curve[kIbp]);
      limits.high = std::max(limits.high, curve[kFbp]);
    }
  }
  setTolerances(limits);
  return limits;
}

void setTolerances(SearchLimits& limits) {
  limits.tol = std::max(kSmallestTolerance, params().genericD86.bTol);
  limits.percentTol = std::fabs(limits.high - limits.low) * limits.tol;
}

bool totalInWindow(double total) { return kSumLow < total && total < kSumHigh; }

int blendCurvePoints(int n, const double* curves, const double* fractions, double* out, FractionRule rule,
                     ComponentShape* shapes) {
  double grid[kCurvePoints];
  std::copy(percentGrid(), percentGrid() + kCurvePoints, grid);
  const SearchLimits limits = searchLimits(n, curves, fractions);
  double divisor = 1.0;
  if (rule == FractionRule::Normalised) {
    if (!totalInWindow(limits.total)) return 1;
    divisor = limits.total;
  }
  if (shapes != nullptr) {
    for (int i = 0; i < n; ++i) {
      describeShape(curves + static_cast<long>(i) * kCurvePoints, grid, shapes[i]);
    }
  }
  // Components with a zero or negative fraction still enter the sum.
  const BlendPercent percentAt(n, curves, fractions, grid, divisor, shapes);
  double points[kCurvePoints];
  searchBlendPoints(
      grid, limits,
      [&](double q, double lo, double hi, int) {
        return bisectPercent(percentAt, q, lo, hi, limits.tol, limits.percentTol);
      },
      points);
  std::copy(points, points + kCurvePoints, out);
  return 0;
}

}  // namespace tarn::distill

extern "C" TARN_API int TARN_CALL gfx_FindPoints(int n, const double* curves, const double* fractions, double* out) {
  if (curves == nullptr || fractions == nullptr || out == nullptr) return 1;
  return tarn::guarded(1, [&] {
    tarn::ScratchArray<tarn::distill::ComponentShape, 64> shapes(n > 0 ? static_cast<std::size_t>(n) : 0);
    return tarn::distill::blendCurvePoints(n, curves, fractions, out, tarn::distill::FractionRule::Normalised,
                                           shapes.data());
  });
}

extern "C" TARN_API int TARN_CALL gfx_FindPoints2(int n, const double* curves, const double* fractions, double* out) {
  if (curves == nullptr || fractions == nullptr || out == nullptr) return 0;
  // No scratch: this search allocates nothing at any size.
  tarn::distill::blendCurvePoints(n, curves, fractions, out, tarn::distill::FractionRule::AsGiven, nullptr);
  return 0;
}
