#include "csv.h"

#include <charconv>
#include <cmath>

namespace tarnblend::csv {

std::string trim(const std::string& text) {
  const char* blanks = " \t\r\n";
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string::npos) return "";
  const auto last = text.find_last_not_of(blanks);
  return text.substr(first, last - first + 1);
}

std::optional<Record> Reader::next() {
  std::string physical;
  while (std::getline(in_, physical)) {
    ++line_;
    if (!physical.empty() && physical.back() == '\r') physical.pop_back();
    if (line_ == 1 && physical.rfind("\xEF\xBB\xBF", 0) == 0) physical.erase(0, 3);
    const std::string trimmed = trim(physical);
    if (trimmed.empty() || trimmed[0] == '#') continue;

    Record record;
    record.line = line_;
    std::string field;
    bool quoted = false;
    for (;;) {
      for (std::size_t i = 0; i < physical.size(); ++i) {
        const char c = physical[i];
        if (quoted) {
          if (c == '"' && i + 1 < physical.size() && physical[i + 1] == '"') {
            field += '"';
            ++i;
          } else if (c == '"') {
            quoted = false;
          } else {
            field += c;
          }
        } else if (c == '"') {
          quoted = true;
        } else if (c == separator_) {
          record.fields.push_back(field);
          field.clear();
        } else {
          field += c;
        }
      }
      if (!quoted) break;
      // A quoted field runs on over the line break.
      if (!std::getline(in_, physical)) {
        throw SyntaxError(source_ + ":" + std::to_string(record.line) + ": a quoted field is not closed");
      }
      ++line_;
      if (!physical.empty() && physical.back() == '\r') physical.pop_back();
      field += '\n';
    }
    record.fields.push_back(field);
    return record;
  }
  return std::nullopt;
}

std::string quote(const std::string& field) {
  if (field.find_first_of(",\"\n\r") == std::string::npos) return field;
  std::string out = "\"";
  for (char c : field) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + "\"";
}

std::string line(const std::vector<std::string>& fields) {
  std::string out;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) out += ',';
    out += quote(fields[i]);
  }
  return out + "\n";
}

std::optional<double> parseNumber(const std::string& text, bool decimalComma) {
  std::string trimmed = trim(text);
  if (decimalComma) {
    for (char& c : trimmed) {
      if (c == ',') c = '.';
    }
  }
  if (trimmed.empty()) return std::nullopt;
  const char* first = trimmed.data();
  const char* last = first + trimmed.size();
  if (*first == '+') ++first;  // from_chars does not take a leading plus
  double value = 0.0;
  const auto [end, error] = std::from_chars(first, last, value);
  if (error != std::errc() || end != last || !std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace tarnblend::csv
