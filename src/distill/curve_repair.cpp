// Input repairs shared by the D86 correlations.
#include "distill/curve_repair.h"

#include <algorithm>

#include "distill/curve.h"

namespace tarn::distill {
namespace {
constexpr double kCurvePush = 0.5;    // degrees, in the caller's unit
constexpr double kPercentPush = 0.1;  // percent
constexpr double kAllEvaporated = 100.0;
}  // namespace

void repairCurveOrder(double* curve, int count) {
  for (int k = 1; k < count; ++k) {
    if (curve[k - 1] > curve[k]) curve[k] = curve[k - 1] + kCurvePush;
  }
}

void repairPercentOff(double* p, int count) {
  for (int k = 0; k + 1 < count; ++k) {
    if (p[k] < 0.0) p[k] = 0.0;
    const double ceiling = kAllEvaporated - (count - 1 - k) * kPercentPush;
    if (p[k] > ceiling) p[k] = ceiling;
    // The last value is only pushed, never held (intended).
    if (p[k] >= p[k + 1]) p[k + 1] = p[k] + kPercentPush;
  }
}

void convertForwardOrKeep(const ConversionMethod& method, char unit, const double* d86, double* tbp) {
  if (method.forward(unit, d86, tbp) != 0) std::copy(d86, d86 + kCurvePoints, tbp);
}

}  // namespace tarn::distill
