// Specific gravity and API gravity: API = 141.5/SG - 131.5.
#include "tarn/props.h"

namespace {
constexpr double kApiNumerator = 141.5;
constexpr double kApiOffset = 131.5;
}  // namespace

// Neither conversion guards its divisor: SG 0 or API -131.5 give infinities,
// as the arithmetic does.
extern "C" TARN_API double TARN_CALL gfx_APIfromSPG(double spg, int wantDerivative, double* derivative) {
  if (wantDerivative && derivative != nullptr) *derivative = -kApiNumerator / (spg * spg);
  return kApiNumerator / spg - kApiOffset;
}

extern "C" TARN_API double TARN_CALL gfx_SPGfromAPI(double api, int wantDerivative, double* derivative) {
  const double spg = kApiNumerator / (api + kApiOffset);
  if (wantDerivative && derivative != nullptr) *derivative = -spg / (api + kApiOffset);
  return spg;
}
