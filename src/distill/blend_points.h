// The volume blend of several distillation curves, found by bisection on the
// blended percent evaporated.
#pragma once

#include <cmath>
#include <limits>

#include "common/missing.h"
#include "distill/curve.h"

namespace tarn::distill {

enum class FractionRule {
  Normalised,  // fractions must sum to within (0.999, 1.001); percents divided by the sum
  AsGiven,     // fractions used as they are, no check
};

// What the search works out once per component instead of at every
// evaluation: whether its curve is strictly increasing, and the slope of
// each segment (percent per degree, the quotient interpolation would form).
struct ComponentShape {
  double slope[kCurvePoints - 1];
  bool increasing;
};

void describeShape(const double* curve, const double* grid, ComponentShape& shape);

// Percent evaporated at t on a strictly increasing curve, from its shape:
// the same arithmetic as percentAtTemperature, with each quotient formed
// once per search.
inline double percentFromShape(const double* curve, const double* grid, const ComponentShape& shape, double t) {
  constexpr int last = kCurvePoints - 1;
  if (t < curve[0]) return clampPercent(grid[0] + shape.slope[0] * (t - curve[0]));
  if (t >= curve[last]) {
    return clampPercent(grid[last - 1] + shape.slope[last - 1] * (t - curve[last - 1]));
  }
  for (int k = 1; k < kCurvePoints; ++k) {
    if (t <= curve[k]) return shape.slope[k - 1] * (t - curve[k - 1]) + grid[k - 1];
  }
  return std::numeric_limits<double>::quiet_NaN();  // only a NaN temperature gets here
}

// The blend's percent evaporated at a temperature: the fraction-weighted sum
// of the components' percents, divided by `divisor`.
class BlendPercent {
 public:
  BlendPercent(int n, const double* curves, const double* fractions, const double* grid, double divisor,
               const ComponentShape* shapes)
      : n_(n), curves_(curves), fractions_(fractions), grid_(grid), divisor_(divisor), shapes_(shapes) {}

  // A component whose curve is not strictly increasing adds fraction x 1e30:
  // one bad curve spoils the blend instead of failing it (intended).
  double operator()(double t) const {
    double sum = 0.0;
    for (int i = 0; i < n_; ++i) {
      const double* curve = curves_ + static_cast<long>(i) * kCurvePoints;
      double percent;
      if (shapes_ != nullptr) {
        percent = shapes_[i].increasing ? percentFromShape(curve, grid_, shapes_[i], t) : kMissing;
      } else {
        percent =
            isStrictlyIncreasing(curve, kCurvePoints) ? percentAtTemperature(curve, grid_, kCurvePoints, t) : kMissing;
      }
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
  const ComponentShape* shapes_;  // per component, or null to work out at each call
};

// Temperature in [lo, hi] at which the blend reaches percent q. Ends on the
// bracket width, on 100 evaluations or on the percent tolerance, and answers
// the last midpoint rather than the last evaluated point (intended, also
// when the evaluated point already met the target). The answer depends on
// percentAt only through the comparisons of its values with q and with
// percentTol, so any reading that compares the same way gives the same
// answer to the last bit.
template <class PercentAt>
double bisectPercent(const PercentAt& percentAt, double q, double lo, double hi, double tol, double percentTol) {
  constexpr int kMaxEvaluations = 100;
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

// Where the search for a blend's points looks: the lowest IBP and highest
// FBP of the components whose fraction is above 0 and above MinVol (start
// values 9999 and -9999), the sum of the positive fractions, and the
// tolerances.
struct SearchLimits {
  double low = 9999.0;
  double high = -9999.0;
  double total = 0.0;
  double tol = 0.0;         // degrees: max(1e-14, BTol)
  double percentTol = 0.0;  // percent: |high - low| tol
};

// True when a fraction widens the search's temperature limits.
bool widensLimits(double fraction);

SearchLimits searchLimits(int n, const double* curves, const double* fractions);

// The tolerances of limits whose low, high and total are set.
void setTolerances(SearchLimits& limits);

// True when the sum of the positive fractions lies inside (0.999, 1.001).
bool totalInWindow(double total);

// The seven points of a blend: the IBP and FBP searched in the limits (or
// taken as the limits when the grid's ends are 0 and 100), then each inner
// point upwards from the one below it; locate(q, lo, hi, point) answers the
// temperature in [lo, hi] where the blend reaches q.
template <class Locate>
void searchBlendPoints(const double* grid, const SearchLimits& limits, Locate&& locate, double* out) {
  constexpr double kAllEvaporated = 100.0;
  out[kIbp] = grid[kIbp] > 0.0 ? locate(grid[kIbp], limits.low, limits.high, kIbp) : limits.low;
  out[kFbp] = grid[kFbp] < kAllEvaporated ? locate(grid[kFbp], limits.low, limits.high, kFbp) : limits.high;
  for (int k = 1; k < kFbp; ++k) out[k] = locate(grid[k], out[k - 1], limits.high, k);
}

// Seven-point curve of the blend of n seven-point curves (n x 7) with the
// given volume fractions, written to out. Returns 0, or 1 with out untouched
// when the rule is Normalised and the positive fractions miss the window.
// `shapes` is scratch for n components, or null to work everything out at
// each evaluation; the result is the same. Allocates nothing.
int blendCurvePoints(int n, const double* curves, const double* fractions, double* out, FractionRule rule,
                     ComponentShape* shapes);

}  // namespace tarn::distill
