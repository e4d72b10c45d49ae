#include "numbers.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "text/csv.h"

namespace tarncli {

bool isMissing(double value) { return value >= kMissing; }

std::optional<double> parseNumber(const std::string& text) { return csv::parseNumber(text); }

bool isMissingText(const std::string& text) {
  std::string lower = csv::trim(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower.empty() || lower == "na" || lower == "n/a" || lower == "missing";
}

std::string exact(double value) {
  if (isMissing(value)) return "";
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string rounded(double value, int decimals) {
  if (isMissing(value)) return "missing";
  if (!std::isfinite(value)) return std::isnan(value) ? "nan" : (value > 0 ? "inf" : "-inf");
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
  std::string text = buffer;
  if (text[0] == '-' && text.find_first_not_of("0.", 1) == std::string::npos) text.erase(0, 1);
  return text;
}

std::string significant(double value) {
  if (isMissing(value)) return "missing";
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.8g", value);
  return buffer;
}

}  // namespace tarncli
