// Temperature conversions for expected values, independent of the library's unit helpers.
#pragma once

#include <vector>

namespace tarn::testing {

inline double celsiusOf(double fahrenheit) { return (fahrenheit - 32.0) / 1.8; }
inline double fahrenheitOf(double celsius) { return celsius * 1.8 + 32.0; }

inline std::vector<double> celsiusOf(std::vector<double> fahrenheit) {
  for (double& t : fahrenheit) t = celsiusOf(t);
  return fahrenheit;
}

}  // namespace tarn::testing
