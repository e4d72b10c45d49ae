// The derivative rows of gfx_D86 blend the same TBP curves once per row,
// each time with one component changed: its fraction, or its curve. BlendRows
// answers each of those blends exactly as blendCurvePoints would, to the last
// bit, without reading every component at every step of the search.
//
// The blend's percent evaporated is a piecewise-linear function of
// temperature. Worked out once for the unperturbed components (their kinks
// sorted, the line between each pair of neighbouring kinks summed), the
// percent of a row is that sum with the changed component's old line taken
// out and its new one put in: a few operations wherever the search looks.
// Around each point's temperature in the unperturbed blend, the lines that
// reach the target give the search's decisions; where a value falls within
// rounding of a decision (the percent tolerance, or the target itself), the
// blend is read component by component as blendCurvePoints reads it. The
// search then takes the same steps, and answers the same midpoint.
#pragma once

#include "common/scratch.h"
#include "distill/blend_points.h"

namespace tarn::distill {

// One component's percent evaporated as a function of temperature: eight
// pieces, 0 up to kink 0, the line of segment m from kink m to kink m + 1,
// 100 beyond kink 6.
struct PercentLines {
  double kink[kCurvePoints];
  double intercept[kCurvePoints + 1];
  double slope[kCurvePoints + 1];
  double interceptSize;  // sum of |intercept|, and of |slope|: for the rounding bound
  double slopeSize;
};

// A kink of one component's lines, in the sorted kinks of a blend.
struct Kink {
  double t;
  int component;
};

class BlendRows {
 public:
  // The unperturbed blend: n TBP curves (n x 7) and their fractions, which
  // each row changes in place and restores, the components' shapes as
  // blendCurvePoints left them, and the blend's seven points. Allocates
  // nothing up to 64 components.
  BlendRows(int n, const double* curves, const double* fractions, ComponentShape* shapes, const double* blended);

  // The blend with component i's fraction and curve as they now stand (every
  // other component as it was) into out: 0, or 1 with out untouched when the
  // fractions miss their window. Leaves the shapes as it found them.
  int blend(int i, double* out);

 private:
  bool usable(int i, double fraction, const ComponentShape& shape) const;

  int n_;
  const double* curves_;
  const double* fractions_;
  ComponentShape* shapes_;
  double blended_[kCurvePoints];
  double grid_[kCurvePoints];
  bool allUsable_ = true;  // every unperturbed curve increasing, every number finite
  int negativeFractions_ = 0;

  // The search limits without each component: the lowest and second-lowest
  // IBP (and highest FBP) among the components that widen them.
  double lowest_[2] = {9999.0, 9999.0}, highest_[2] = {-9999.0, -9999.0};
  int lowestComponent_ = -1, highestComponent_ = -1;
  double total_ = 0.0;
  double largestTemperature_ = 0.0;
  double interceptSize_ = 0.0, slopeSize_ = 0.0;  // fraction-weighted

  ScratchArray<double, 64> baseFractions_;
  ScratchArray<PercentLines, 64> lines_;
  // The sum of the lines, piece j lying between kinks j - 1 and j.
  int kinkCount_ = 0;
  ScratchArray<Kink, 7 * 64> kinks_;
  ScratchArray<double, 7 * 64 + 1> intercepts_;
  ScratchArray<double, 7 * 64 + 1> slopes_;
};

}  // namespace tarn::distill
