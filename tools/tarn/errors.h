// Failures of the command-line tool. Each carries a one-line message naming
// what is wrong; main() prints it and exits with the matching code.
#pragma once

#include <stdexcept>
#include <string>

namespace tarncli {

// Exit codes: 0 success, 1 the library reported a failed calculation,
// 2 bad command line or bad input (recipe, CSV, values, files), 3 the blend
// fails a limit of the grade asked for.
inline constexpr int kExitCalculationFailed = 1;
inline constexpr int kExitBadInput = 2;
inline constexpr int kExitOffSpec = 3;

// Bad command line or bad input.
struct InputError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The library refused or could not complete a calculation.
struct CalculationError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace tarncli
