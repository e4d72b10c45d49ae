// Reading and writing delimiter-separated values as labs and spreadsheets
// write them: quoted fields may hold the separator, doubled quotes and line
// breaks; a record ends at a line end outside quotes; a UTF-8 byte-order
// mark before the first record is skipped. Shared by the blend library's
// file readers and the tarn tool.
#pragma once

#include <istream>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tarnblend::csv {

// A malformed file; the message names the source and the line.
struct SyntaxError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Record {
  std::vector<std::string> fields;
  int line = 0;  // line number (from 1) where the record starts
};

class Reader {
 public:
  // source names the input in error messages.
  Reader(std::istream& in, std::string source, char separator = ',')
      : in_(in), source_(std::move(source)), separator_(separator) {}
  // The next record, skipping blank lines and lines starting with '#';
  // nothing at the end of the input. Throws SyntaxError on an unterminated
  // quote.
  std::optional<Record> next();
  void setSeparator(char separator) { separator_ = separator; }

 private:
  std::istream& in_;
  std::string source_;
  char separator_;
  int line_ = 0;
};

// A field quoted when it needs to be.
std::string quote(const std::string& field);

// One record, fields quoted where needed, ending in a line break.
std::string line(const std::vector<std::string>& fields);

// Whitespace trimmed from both ends.
std::string trim(const std::string& text);

// A whole, finite decimal number (blanks around it allowed; with
// decimalComma a ',' stands for the decimal point), or nothing.
std::optional<double> parseNumber(const std::string& text, bool decimalComma = false);

}  // namespace tarnblend::csv
