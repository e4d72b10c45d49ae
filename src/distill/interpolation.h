// Small numeric pieces of the curve engine that other distillation routines
// share but the host does not see.
#pragma once

namespace tarn::distill {

// The temperature at which the quadratic percent = K2 T^2 + K1 T + K0 through
// the three points (T[i], p[i]) reaches percent q. Falls back to the line
// when the curvature is negligible and to T[1] when the line is flat too. A
// negative discriminant or coincident temperatures give NaN; callers that
// cannot use NaN fall back to linear interpolation.
double InvertQuadratic3Pt(const double* p, const double* T, double q);

}  // namespace tarn::distill
