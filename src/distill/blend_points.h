// The volume blend of several distillation curves, found by bisection on the
// blended percent evaporated.
#pragma once

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

// Seven-point curve of the blend of n seven-point curves (n x 7) with the
// given volume fractions, written to out. Returns 0, or 1 with out untouched
// when the rule is Normalised and the positive fractions miss the window.
// `shapes` is scratch for n components, or null to work everything out at
// each evaluation; the result is the same. Allocates nothing.
int blendCurvePoints(int n, const double* curves, const double* fractions, double* out,
                     FractionRule rule, ComponentShape* shapes);

}  // namespace tarn::distill
