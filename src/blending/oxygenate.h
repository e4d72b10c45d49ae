// The rest of a blend without its oxygenate: a blended property value (or
// blending index) of a gasoline that holds an oxygenate, taken back to the
// value of the hydrocarbon part by a volume balance.
#pragma once

#include "common/missing.h"

namespace tarn::blending {

// An oxygenate content (vol %) at or below this counts as none.
inline constexpr double kNoOxygenate = 0.101;
// The whole blend, vol %.
inline constexpr double kWholeBlend = 100.0;

// No oxygenate to take out: a content at or below kNoOxygenate, or missing.
inline bool hasNoOxygenate(double volume) { return volume <= kNoOxygenate || isMissing(volume); }

// The value of the rest of the blend, from the blend's value, the
// oxygenate's volume percent and the oxygenate's own value.
inline double withoutOxygenate(double blend, double volume, double own) {
  return (kWholeBlend * blend - volume * own) / (kWholeBlend - volume);
}

}  // namespace tarn::blending
