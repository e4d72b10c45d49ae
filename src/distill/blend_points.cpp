// Volume blending of distillation curves. The blend's percent evaporated at
// a temperature is the fraction-weighted sum of the components' percents
// (read off each curve by linear interpolation, extended beyond the ends);
// each grid percentage is then located by bisection in temperature.
#include "distill/blend_points.h"

#include <algorithm>
#include <cmath>

#include "common/guard.h"
#include "common/missing.h"
#include "common/scratch.h"
#include "distill/curve.h"
#include "tarn/distill.h"

namespace tarn::distill {
namespace {

// Bracket start values: any real curve lies inside them.
constexpr double kBracketLow = 9999.0;
constexpr double kBracketHigh = -9999.0;
// Window for the sum of the fractions.
constexpr double kSumLow = 0.999;
constexpr double kSumHigh = 1.001;
constexpr int kMaxEvaluations = 100;
constexpr double kSmallestTolerance = 1e-14;
constexpr double kAllEvaporated = 100.0;

class BlendPercent {
 public:
  BlendPercent(int n, const double* curves, const double* fractions, const double* grid,
               double divisor, const unsigned char* increasing)
      : n_(n),
        curves_(curves),
        fractions_(fractions),
        grid_(grid),
        divisor_(divisor),
        increasing_(increasing) {}

  // Blended percent evaporated at temperature t. A component whose curve is
  // not strictly increasing adds fraction x 1e30: one bad curve spoils the
  // blend instead of failing it (intended).
  double operator()(double t) const {
    double sum = 0.0;
    for (int i = 0; i < n_; ++i) {
      const double* curve = curves_ + static_cast<long>(i) * kCurvePoints;
      const bool usable = increasing_ != nullptr ? increasing_[i] != 0
                                                 : isStrictlyIncreasing(curve, kCurvePoints);
      const double percent =
          usable ? percentAtTemperature(curve, grid_, kCurvePoints, t) : kMissing;
      sum += fractions_[i] * percent;
    }
    return sum / divisor_;
  }

 private:
  int n_;
  const double* curves_;
  const double* fractions_;
  const double* grid_;
  double divisor_;
  const unsigned char* increasing_;  // per component, or null to test at each call
};

// Temperature in [lo, hi] at which the blend reaches percent q. Ends on the
// bracket width, on the evaluation count or on the percent tolerance, and
// answers the last midpoint rather than the last evaluated point (intended,
// also when the evaluated point already met the target).
double bisect(const BlendPercent& percentAt, double q, double lo, double hi, double tol,
              double percentTol) {
  double t = (lo + hi) / 2.0;
  if (std::fabs(q) <= percentTol) return t;
  int evaluations = 0;
  double p = 0.0;
  do {
    if (hi - lo < tol || evaluations == kMaxEvaluations) break;
    p = percentAt(t);
    ++evaluations;
    if (q > p) {
      lo = t;
    } else if (p > q) {
      hi = t;
    }
    t = (lo + hi) / 2.0;
  } while (std::fabs(p - q) > percentTol);
  return t;
}

}  // namespace

int blendCurvePoints(int n, const double* curves, const double* fractions, double* out,
                     FractionRule rule, unsigned char* increasing) {
  const GenericD86Params& settings = params().genericD86;
  const double tol = std::max(kSmallestTolerance, settings.bTol);
  double grid[kCurvePoints];
  std::copy(percentGrid(), percentGrid() + kCurvePoints, grid);

  double tlo = kBracketLow, thi = kBracketHigh, total = 0.0;
  for (int i = 0; i < n; ++i) {
    const double* curve = curves + static_cast<long>(i) * kCurvePoints;
    if (fractions[i] > 0.0) {
      total += fractions[i];
      if (fractions[i] > settings.minVol) {
        tlo = std::min(tlo, curve[kIbp]);
        thi = std::max(thi, curve[kFbp]);
      }
    }
  }
  double divisor = 1.0;
  if (rule == FractionRule::Normalised) {
    if (!(kSumLow < total && total < kSumHigh)) return 1;
    divisor = total;
  }

  if (increasing != nullptr) {
    for (int i = 0; i < n; ++i) {
      increasing[i] = isStrictlyIncreasing(curves + static_cast<long>(i) * kCurvePoints, kCurvePoints);
    }
  }
  // Components with a zero or negative fraction still enter the sum.
  const BlendPercent percentAt(n, curves, fractions, grid, divisor, increasing);
  const double percentTol = std::fabs(thi - tlo) * tol;
  double points[kCurvePoints];
  points[kIbp] = grid[kIbp] > 0.0 ? bisect(percentAt, grid[kIbp], tlo, thi, tol, percentTol) : tlo;
  points[kFbp] = grid[kFbp] < kAllEvaporated
                     ? bisect(percentAt, grid[kFbp], tlo, thi, tol, percentTol)
                     : thi;
  // Each inner point is searched upwards from the one below it.
  for (int k = 1; k < kFbp; ++k) {
    points[k] = bisect(percentAt, grid[k], points[k - 1], thi, tol, percentTol);
  }
  std::copy(points, points + kCurvePoints, out);
  return 0;
}

}  // namespace tarn::distill

extern "C" TARN_API int TARN_CALL gfx_FindPoints(int n, const double* curves,
                                                 const double* fractions, double* out) {
  if (curves == nullptr || fractions == nullptr || out == nullptr) return 1;
  return tarn::guarded(1, [&] {
    tarn::ScratchArray<unsigned char, 256> increasing(n > 0 ? static_cast<std::size_t>(n) : 0);
    return tarn::distill::blendCurvePoints(n, curves, fractions, out,
                                           tarn::distill::FractionRule::Normalised,
                                           increasing.data());
  });
}

extern "C" TARN_API int TARN_CALL gfx_FindPoints2(int n, const double* curves,
                                                  const double* fractions, double* out) {
  if (curves == nullptr || fractions == nullptr || out == nullptr) return 0;
  // No scratch: this search allocates nothing at any size.
  tarn::distill::blendCurvePoints(n, curves, fractions, out, tarn::distill::FractionRule::AsGiven,
                                  nullptr);
  return 0;
}
