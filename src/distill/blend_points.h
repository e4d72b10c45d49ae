// The volume blend of several distillation curves, found by bisection on the
// blended percent evaporated.
#pragma once

namespace tarn::distill {

enum class FractionRule {
  Normalised,  // fractions must sum to within (0.999, 1.001); percents divided by the sum
  AsGiven,     // fractions used as they are, no check
};

// Seven-point curve of the blend of n seven-point curves (n x 7) with the
// given volume fractions, written to out. Returns 0, or 1 with out untouched
// when the rule is Normalised and the positive fractions miss the window.
// `increasing` is scratch for n flags (whether each curve is strictly
// increasing, worked out once instead of at every evaluation), or null.
// Allocates nothing.
int blendCurvePoints(int n, const double* curves, const double* fractions, double* out,
                     FractionRule rule, unsigned char* increasing);

}  // namespace tarn::distill
