// Shapes shared by the distillation routines: the seven-point curve, the
// percent-off vector and the process-wide point sets they refer to.
#pragma once

#include "params/params.h"

namespace tarn::distill {

// A seven-point curve: IBP, 10, 30, 50, 70, 90 % and FBP evaporated.
inline constexpr int kCurvePoints = 7;
inline constexpr int kIbp = 0;
inline constexpr int kT50 = 3;
inline constexpr int kFbp = 6;

// A percent-off vector: percent evaporated at the ten temperature points.
inline constexpr int kPercentOffPoints = 10;

// Largest configurable point sets of the N-point conversions.
inline constexpr int kMaxConfigurableCurvePoints = 13;
inline constexpr int kMaxConfigurablePercentOffPoints = 25;

// The percentages of the seven curve points, read at call time (the ends
// are the MnVolIBP and MxVolFBP settings).
inline const double* percentGrid() { return params().d86PercentGrid; }

// The ten temperatures of the percent-off vector, read at call time.
inline const double* percentOffTemperatures() { return params().d86TempPoints; }

// Percent evaporated at temperature t on a curve of `count` points at the
// percentages `grid`: the first segment is extended below the first point
// and the last above the last, both held in [0, 100]; inside, linear
// interpolation. The caller has checked that the curve is strictly
// increasing.
double percentAtTemperature(const double* curve, const double* grid, int count, double t);

// True when every point is strictly above the one before it.
bool isStrictlyIncreasing(const double* curve, int count);

// True when no point is below the one before it (NaN fails).
bool isNonDecreasing(const double* curve, int count);

}  // namespace tarn::distill
