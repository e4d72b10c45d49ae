// The missing value and the comparisons made against it.
#pragma once

namespace tarn {

// An input, output or parameter that is absent or could not be computed.
inline constexpr double kMissing = 1e30;

// Parameter overrides at or above this value keep the configured value, and
// curve points above it count as not given.
inline constexpr double kMissingThreshold = 1e29;

// True only for the exact missing value, which is what the catalogue turns
// into status 1.
inline bool isMissing(double value) { return value == kMissing; }

// True for the missing value and anything of its magnitude (overrides and
// curve points use this looser test).
inline bool isMissingOrAbove(double value) { return value >= kMissingThreshold; }

}  // namespace tarn
