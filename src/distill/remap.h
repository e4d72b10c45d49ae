// The bridge between a distillation curve (temperatures at fixed percents)
// and a percent-off vector (percents at fixed temperatures).
#pragma once

namespace tarn::distill {

// A pair of point sets: the percentages of the curve points and the
// temperatures of the percent-off values.
struct PointSets {
  const double* percents;  // curve point percentages
  int curvePoints;
  const double* temperatures;  // percent-off temperatures
  int percentOffPoints;
};

// The standard sets: the seven-point grid and the ten temperature points.
PointSets standardPointSets();

// The configurable sets of the N-point conversions (counts as stored; the
// caller checks them).
PointSets configurablePointSets();

// Curve -> percent-off vector: the percent evaporated at each temperature,
// by linear interpolation on the curve, held at the end percentages outside
// it. A curve whose ends are equal (a pure component) gives 0 below its
// boiling point and 100 from it on.
void curveToPercentOff(const PointSets& sets, const double* curve, double* percentOff);

// Percent-off vector -> curve. The last percent is taken as 100 (and the
// first as 0 when zeroFirst), the curve ends are the first and last
// temperatures, and each inner point comes from linear interpolation, or
// from a quadratic through three percent-off points where the vector curves
// upwards by more than 2 % per point.
void percentOffToCurve(const PointSets& sets, const double* percentOff, double* curve, bool zeroFirst);

// The seven-point remapping on the standard sets: direction 1 curve ->
// percent-off vector (source 7 points, target 10), any other direction
// percent-off vector -> curve (source 10, target 7). The source is left as
// given. Returns 0, or 1 for a point count other than 7 or a null array.
int RemapD86Curve(int pointCount, const double* source, double* target, int direction);

}  // namespace tarn::distill
