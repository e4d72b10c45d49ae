// Repairs of out-of-order input that the D86 correlations apply, with the
// TARN ChangeData switch on, to the caller's arrays.
#pragma once

#include "distill/conversion.h"

namespace tarn::distill {

// Pushes each point that lies below its predecessor up to 0.5 above it.
void repairCurveOrder(double* curve, int count);

// Holds each percent but the last in [0, 100 - 0.1 x (places to the last)]
// and pushes the next one up to 0.1 above it where it is not above.
void repairPercentOff(double* percents, int count);

// Forward conversion of a seven-point curve with a method; a curve the method
// rejects is passed on as it is.
void convertForwardOrKeep(const ConversionMethod& method, char unit, const double* d86, double* tbp);

}  // namespace tarn::distill
