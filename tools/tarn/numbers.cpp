#include "numbers.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "text/csv.h"

namespace tarncli {

bool isMissing(double value) { return !(value < kUndefinedMagnitude); }

std::optional<double> parseNumber(const std::string& text) {
  double value = 0.0;
  if (lab::readNumber(text, false, value) != lab::NumberText::Value) return std::nullopt;
  return value;
}

bool isMissingText(const std::string& text) {
  double value = 0.0;
  return lab::readNumber(text, false, value) == lab::NumberText::Missing;
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

std::string quantityText(double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.8g", value);
  return buffer;
}

}  // namespace tarncli
