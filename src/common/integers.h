// Conversions of doubles to the int settings of the parameter block.
#pragma once

#include <climits>

namespace tarn {

// trunc(value) as an int, or false when it does not fit (NaN, infinities,
// magnitudes beyond int), so that no undefined conversion ever happens.
inline bool truncateToInt(double value, int& out) {
  if (!(value > static_cast<double>(INT_MIN) - 1.0 && value < static_cast<double>(INT_MAX) + 1.0)) {
    return false;
  }
  out = static_cast<int>(value);
  return true;
}

}  // namespace tarn
