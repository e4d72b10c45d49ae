// Reading and writing comma-separated values: quoted fields may hold commas,
// doubled quotes and line breaks; a record ends at a line end outside quotes.
#pragma once

#include <istream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarncli::csv {

struct Record {
  std::vector<std::string> fields;
  int line = 0;  // line number (from 1) where the record starts
};

class Reader {
 public:
  // source names the input in error messages.
  Reader(std::istream& in, std::string source) : in_(in), source_(std::move(source)) {}
  // The next record, skipping blank lines and lines starting with '#';
  // nothing at the end of the input. Throws InputError on an unterminated
  // quote.
  std::optional<Record> next();

 private:
  std::istream& in_;
  std::string source_;
  int line_ = 0;
};

// A field quoted when it needs to be.
std::string quote(const std::string& field);

// One record, fields quoted where needed, ending in a line break.
std::string line(const std::vector<std::string>& fields);

// Whitespace trimmed from both ends.
std::string trim(const std::string& text);

}  // namespace tarncli::csv
