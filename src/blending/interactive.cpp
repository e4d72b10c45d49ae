// Interaction blending: a linear mix of the component values plus a pairwise
// interaction coefficient times the product of the two fractions.
#include <cstddef>

#include "common/missing.h"
#include "tarn/blending.h"

extern "C" TARN_API double TARN_CALL gfx_Interactive(int derivMode, const double* x, int n, const double* I,
                                                     const double* p, double* d) {
  if (n <= 0) return 0.0;
  if (x == nullptr || I == nullptr || p == nullptr) return tarn::kMissing;
  const std::size_t count = static_cast<std::size_t>(n);

  double linear = 0.0, pairs = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    linear += x[i] * p[i];
    for (std::size_t j = i + 1; j < count; ++j) pairs += x[i] * I[i * count + j] * x[j];
  }
  const double result = pairs + linear;
  if (derivMode == 0 || d == nullptr) return result;

  // Intended: the slopes read the matrix with row stride n + 1 where the value
  // uses n, so they agree with the value only for interactions in row 0.
  const std::size_t stride = count + 1;
  for (std::size_t i = 0; i < count; ++i) {
    double slope = p[i];
    for (std::size_t j = i + 1; j < count; ++j) slope += I[i * stride + j] * x[j];
    for (std::size_t j = 0; j < i; ++j) slope += I[j * stride + i] * x[j];
    d[2 * i] = slope;
    d[2 * i + 1] = x[i];
  }
  // Intended: only mode 1 turns the fraction slopes into those of fractions
  // renormalised to sum to one; every other mode keeps the plain partials.
  if (derivMode == 1) {
    const double homogeneous = 2.0 * pairs + linear;
    for (std::size_t i = 0; i < count; ++i) d[2 * i] -= homogeneous;
  }
  return result;
}
