// gfx_D86: the volume blend of several D86 curves. Each curve is converted
// to a TBP curve, the TBP curves are blended by volume, and the blend is
// converted back; derivatives come from forward differences that reuse the
// unperturbed TBP curves, and whose blends (BlendRows) read only the changed
// component's curve at most steps of their search.
#include <algorithm>
#include <cmath>

#include "common/guard.h"
#include "common/scratch.h"
#include "distill/blend_points.h"
#include "distill/blend_rows.h"
#include "distill/conversion.h"
#include "distill/curve.h"
#include "distill/curve_repair.h"
#include "tarn/distill.h"

namespace tarn::distill {
namespace {

// Blends up to this many components without touching the heap.
constexpr std::size_t kInlineComponents = 64;
constexpr double kSmallestStep = 1e-7;

// Finite-difference step for a value x with relative step `step`: |x step|,
// or `step` itself where that is below 1e-7.
double differenceStep(double x, double step) {
  const double h = std::fabs(x * step);
  return h < kSmallestStep ? step : h;
}

// The blend is held inside the lowest IBP and the highest FBP of the
// components whose fraction is at least MinVol (the blend search itself
// needs a fraction above MinVol and above 0).
struct Bracket {
  double low = 1e20;
  double high = -1e20;
};

Bracket d86Bracket(int n, const double* fractions, const double* curves) {
  const double minVol = params().genericD86.minVol;
  Bracket b;
  for (int i = 0; i < n; ++i) {
    if (fractions[i] >= minVol) {
      b.low = std::min(b.low, curves[i * kCurvePoints + kIbp]);
      b.high = std::max(b.high, curves[i * kCurvePoints + kFbp]);
    }
  }
  return b;
}

void clamp(double* curve, const Bracket& b) {
  curve[kIbp] = std::max(curve[kIbp], b.low);
  curve[kFbp] = std::min(curve[kFbp], b.high);
}

// One derivative row: the blend with one component changed, converted back,
// clamped, as (perturbed - base)/h. A blend whose fractions miss the window
// keeps the unperturbed blend, so that row comes out 0 (intended).
struct Rows {
  BlendRows* blends;
  const double* blended;  // the unperturbed blend, TBP
  const double* base;     // and D86
  const ConversionMethod* method;
  char unit;
  Bracket bracket;  // of the unperturbed blend
};

int derivativeRow(const Rows& rows, int component, double h, double* row) {
  double blended[kCurvePoints];
  std::copy(rows.blended, rows.blended + kCurvePoints, blended);
  rows.blends->blend(component, blended);
  double perturbed[kCurvePoints];
  std::copy(rows.base, rows.base + kCurvePoints, perturbed);
  const int status = rows.method->reverse(rows.unit, blended, perturbed);
  // The clamp keeps the bracket of the unperturbed blend: a perturbed IBP or
  // FBP does not move its own limit, so where the limit is active the row
  // shows the reverse conversion's slope on one side and 0 on the other.
  if (status == 0) clamp(perturbed, rows.bracket);
  for (int j = 0; j < kCurvePoints; ++j) row[j] = (perturbed[j] - rows.base[j]) / h;
  return status;
}

int blendD86Curves(int n, const double* fractions, double* curves, double* out, double* derivs, int methodNumber,
                   int derivFlag, char unit) {
  const std::size_t count = static_cast<std::size_t>(n);
  ScratchArray<double, kInlineComponents*(kCurvePoints + 1)> work(count * (kCurvePoints + 1));
  ScratchArray<ComponentShape, kInlineComponents> shapes(count);
  double* tbp = work.data();
  double* workFractions = tbp + count * kCurvePoints;
  std::copy(fractions, fractions + n, workFractions);
  const double step = std::max(kSmallestStep, params().genericD86.dDelta);

  for (int i = 0; i < n; ++i) {
    if (gfx_TBPLogInterpolate2(curves + i * kCurvePoints) != 0) return 1;
  }
  for (int i = 0; i < n; ++i) {
    double* curve = curves + i * kCurvePoints;
    if (params().changeData) {
      repairCurveOrder(curve, kCurvePoints);
    } else if (!isNonDecreasing(curve, kCurvePoints)) {
      return 1;
    }
  }
  const ConversionMethod* method = conversionMethod(methodNumber);
  if (method == nullptr) return 1;

  const Bracket bracket = d86Bracket(n, workFractions, curves);
  for (int i = 0; i < n; ++i) {
    convertForwardOrKeep(*method, unit, curves + i * kCurvePoints, tbp + i * kCurvePoints);
  }
  double blended[kCurvePoints];
  if (blendCurvePoints(n, tbp, workFractions, blended, FractionRule::Normalised, shapes.data()) != 0) {
    return 1;
  }
  double base[kCurvePoints];
  int status = method->reverse(unit, blended, base);
  if (status != 0) return status;
  clamp(base, bracket);
  std::copy(base, base + kCurvePoints, out);
  if (derivFlag == 0 || derivs == nullptr) return 0;

  BlendRows blends(n, tbp, workFractions, shapes.data(), blended);
  const Rows rows{&blends, blended, base, method, unit, bracket};
  for (int i = 0; i < n; ++i) {
    double* block = derivs + static_cast<std::size_t>(i) * 8 * kCurvePoints;
    // Row 0: the fraction, on the unchanged TBP curves.
    const double fraction = workFractions[i];
    double h = differenceStep(fraction, step);
    workFractions[i] = fraction + h;
    status = derivativeRow(rows, i, h, block);
    workFractions[i] = fraction;

    // Rows 1..7: the points; only this component is converted again. A step
    // that lifts a point above its upper neighbour (a flat or nearly flat
    // stretch of the curve) puts the curve out of order: the forward method
    // refuses it and leaves the component's TBP curve as it was, so the blend
    // does not move and the row is 0, as for a fraction step out of its window.
    double* curve = curves + i * kCurvePoints;
    double* componentTbp = tbp + i * kCurvePoints;
    double savedTbp[kCurvePoints];
    std::copy(componentTbp, componentTbp + kCurvePoints, savedTbp);
    for (int p = 0; p < kCurvePoints; ++p) {
      const double x = curve[p];
      h = differenceStep(x, step);
      curve[p] = x + h;
      method->forward(unit, curve, componentTbp);
      status = derivativeRow(rows, i, h, block + (p + 1) * kCurvePoints);
      curve[p] = x;
      std::copy(savedTbp, savedTbp + kCurvePoints, componentTbp);
    }
  }
  return status;
}

}  // namespace
}  // namespace tarn::distill

extern "C" TARN_API int TARN_CALL gfx_D86(int n, const double* fractions, double* curves, double* out, double* derivs,
                                          int method, int derivFlag, char unit) {
  if (n < 1 || fractions == nullptr || curves == nullptr || out == nullptr) return 1;
  return tarn::guarded(
      1, [&] { return tarn::distill::blendD86Curves(n, fractions, curves, out, derivs, method, derivFlag, unit); });
}
