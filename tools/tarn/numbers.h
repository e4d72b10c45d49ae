// Numbers as the tool reads and writes them. The library's missing value
// 1e30 is written as an empty cell (CSV), null (JSON) or "missing" (tables).
#pragma once

#include <optional>
#include <string>

#include "text/csv.h"
#include "text/labfile.h"

namespace tarncli {

// CSV writing, and the file reading the tool shares with the blend library.
namespace csv = tarnblend::csv;
namespace lab = tarnblend::lab;

inline constexpr double kMissing = 1e30;

// A result this large is the missing value or arithmetic on it (a 'C'
// caller gets (1e30 - 32) / 1.8, TVL of a missing T10 2e29): never a figure.
inline constexpr double kUndefinedMagnitude = 1e29;

// True for the library's missing value and anything of its magnitude (1e29
// or more), and for NaN: none of them is a figure.
bool isMissing(double value);

// A whole, finite decimal number (leading and trailing blanks allowed), or
// nothing when the text is anything else.
std::optional<double> parseNumber(const std::string& text);

// True for the texts that mean "no value": empty, NA, N/A, n.a., -, missing (any case).
bool isMissingText(const std::string& text);

// The shortest text that reads back as the same double; "" when missing.
std::string exact(double value);

// A rounded text for tables: fixed decimals, or "missing".
std::string rounded(double value, int decimals);

// About eight significant digits, for tables of arbitrary quantities.
std::string significant(double value);

// A recipe quantity (volume or mass) with about eight significant digits:
// never missing, however large.
std::string quantityText(double value);

}  // namespace tarncli
