// Numbers as the tool reads and writes them. The library's missing value
// 1e30 is written as an empty cell (CSV), null (JSON) or "missing" (tables).
#pragma once

#include <optional>
#include <string>

#include "text/csv.h"

namespace tarncli {

// The delimited-text reader the tool shares with the blend library.
namespace csv = tarnblend::csv;

inline constexpr double kMissing = 1e30;

// True for the library's missing value (any value of 1e30 or more counts).
bool isMissing(double value);

// A whole, finite decimal number (leading and trailing blanks allowed), or
// nothing when the text is anything else.
std::optional<double> parseNumber(const std::string& text);

// True for the texts that mean "no value": empty, NA, N/A, missing (any case).
bool isMissingText(const std::string& text);

// The shortest text that reads back as the same double; "" when missing.
std::string exact(double value);

// A rounded text for tables: fixed decimals, or "missing".
std::string rounded(double value, int decimals);

// About eight significant digits, for tables of arbitrary quantities.
std::string significant(double value);

}  // namespace tarncli
