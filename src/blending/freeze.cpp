// Freeze point blending for jet and kerosene: the blend freezes at the lowest
// freeze point of the components present, moved towards the highest by the
// cube root of the fraction of the component that has it.
#include <cmath>
#include <cstddef>

#include "common/missing.h"
#include "common/units.h"
#include "tarn/blending.h"

namespace tarn::blending {
namespace {

// Where the lowest and highest freeze points (degrees F) of the components
// present sit; -1 when no component is present.
struct FreezeRange {
  std::ptrdiff_t lowest = -1, highest = -1;
  double low = 9999.0, high = -9999.0;
};

// Strict comparisons: among equal freeze points the first component keeps
// the place.
FreezeRange findRange(const double* x, const double* t, std::size_t count, char unit) {
  FreezeRange r;
  for (std::size_t i = 0; i < count; ++i) {
    if (!(x[i] > 0.0)) continue;
    const double f = toFahrenheit(t[i], unit);
    if (f < r.low) {
      r.low = f;
      r.lowest = static_cast<std::ptrdiff_t>(i);
    }
    if (f > r.high) {
      r.high = f;
      r.highest = static_cast<std::ptrdiff_t>(i);
    }
  }
  return r;
}

}  // namespace
}  // namespace tarn::blending

extern "C" TARN_API double TARN_CALL gfx_Freeze(int derivFlag, char unit, const double* x, int n, const double* T,
                                                double* d) {
  using namespace tarn::blending;
  const std::size_t count = n > 0 ? static_cast<std::size_t>(n) : 0;
  const bool wantDerivatives = derivFlag != 0 && d != nullptr;
  if (wantDerivatives) {
    for (std::size_t k = 0; k < 2 * count; ++k) d[k] = 0.0;
  }
  if (x == nullptr || T == nullptr) return tarn::kMissing;

  // The temperatures are converted to degrees F as they are read, so the
  // blend needs no scratch copy whatever the number of components.
  const FreezeRange r = findRange(x, T, count, unit);
  if (r.lowest < 0 || r.highest < 0) return tarn::kMissing;

  const double spread = r.high - r.low;
  const double share = std::cbrt(x[r.highest]);
  const double blend = r.low + share * spread;
  if (!wantDerivatives) return tarn::fromFahrenheit(blend, unit);

  const auto lowest = static_cast<std::size_t>(r.lowest);
  const auto highest = static_cast<std::size_t>(r.highest);
  d[2 * highest] = tarn::callerDegreesPer(spread / (3.0 * share * share), unit);
  // Intended: the lowest point is tested first, so a component that is both
  // lowest and highest gets 1 - x^(1/3).
  d[2 * highest + 1] = share;
  d[2 * lowest + 1] = 1.0 - share;
  return tarn::fromFahrenheit(blend, unit);
}
