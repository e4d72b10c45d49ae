// Linear blending of one property by volume or by mass.
#include "common/missing.h"
#include "tarn/blending.h"

using tarn::kMissing;

extern "C" TARN_API double TARN_CALL gfx_LinearByVolume(const double* volumes, int n, const double* values) {
  if (volumes == nullptr || values == nullptr) return kMissing;
  double volume = 0.0, weighted = 0.0;
  for (int i = 0; i < n; ++i) {
    volume += volumes[i];
    weighted += volumes[i] * values[i];
  }
  // A zero total volume divides by zero on purpose: callers rely on the bare mean.
  return weighted / volume;
}

extern "C" TARN_API double TARN_CALL gfx_LinearByMass(const double* volumes, int n, const double* gravities,
                                                      const double* values) {
  if (volumes == nullptr || gravities == nullptr || values == nullptr) return kMissing;
  double mass = 0.0, weighted = 0.0;
  for (int i = 0; i < n; ++i) {
    const double m = volumes[i] * gravities[i];
    mass += m;
    weighted += m * values[i];
  }
  // Written so that a NaN mass also counts as unusable.
  if (!(mass > 0.0)) return kMissing;
  return weighted / mass;
}
