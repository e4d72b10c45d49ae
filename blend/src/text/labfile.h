// Files as laboratories and spreadsheets write them: the text checked as
// UTF-8 (a byte-order mark dropped, UTF-16, binary data and other encodings
// refused with their position, never echoed), CSV with the separator found
// from the header line (',' or ';' or tab; ';' and tab files may write
// decimal commas), JSON read with positions, and numbers read the way lab
// reports write them. Every fault is a FileError whose message starts with
// "file:line:column: ".
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarnblend::lab {

// A fault in a file; the message names the file, line and column.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Text safe to put in a one-line message: at most `limit` characters,
// control characters (tab and line ends included) and bytes that are not UTF-8 written as \xNN.
std::string printable(std::string_view text, std::size_t limit = 40);

// The contents of one file, checked to be UTF-8 text.
class Text {
 public:
  // source names the file in messages ("recipe.csv", "standard input").
  // Throws FileError for UTF-16 or UTF-32 text, binary data (NUL or other
  // control bytes), and bytes that are not UTF-8.
  Text(std::string bytes, std::string source);

  const std::string& source() const { return source_; }
  // The text after the byte-order mark, if there was one.
  std::string_view body() const { return body_; }

  // "source:line:column" of a byte offset into body(); the column counts
  // characters from 1.
  std::string where(std::size_t offset) const;
  [[noreturn]] void fail(std::size_t offset, const std::string& message) const;

 private:
  std::string source_;
  std::string bytes_;
  std::string_view body_;
};

// Reads a whole file; throws FileError naming it when it cannot be read.
std::string readFile(const std::string& path);

// Whether the text looks like JSON (its first non-blank character is '{' or '[').
bool looksLikeJson(const Text& text);

// ---- CSV -----------------------------------------------------------------

struct Record {
  std::vector<std::string> fields;   // unquoted, not trimmed
  std::vector<std::size_t> offsets;  // byte offset of each field in the body
  std::size_t offset = 0;            // of the record
};

// Records of a CSV text. Blank lines, lines of separators only (spreadsheets
// pad rows) and lines whose first cell starts with '#' are skipped; the
// comment lines are kept for the reader that wants them.
class CsvReader {
 public:
  explicit CsvReader(const Text& text);

  // The next record, or false at the end. Throws FileError for a quoted
  // field that is not closed, or text after a closing quote.
  bool next(Record& record);

  char separator() const { return separator_; }
  // True when numbers may use a decimal comma (';' and tab separated files).
  bool decimalComma() const { return separator_ != ','; }
  // Text of the comment lines read so far, without the '#', trimmed.
  const std::vector<std::string>& comments() const { return comments_; }

 private:
  const Text& text_;
  std::string_view body_;
  std::size_t at_ = 0;
  char separator_ = ',';
  std::vector<std::string> comments_;
};

// Blanks (spaces, tabs, no-break spaces) trimmed from both ends.
std::string_view trim(std::string_view text);

// ---- Numbers ---------------------------------------------------------------

enum class NumberText { Value, Missing, NotANumber, TooLarge };

// Reads a cell as a number: blanks around it allowed, a leading '+', a
// decimal comma where decimalComma is set (one comma and no point). Empty,
// "NA", "N/A", "n.a.", "-" and "missing" (any case) are Missing. A number
// beyond the range of a double is TooLarge.
NumberText readNumber(std::string_view text, bool decimalComma, double& value);

// ---- JSON ------------------------------------------------------------------

// What a JSON scan reports, with the byte offset where each item starts.
class JsonVisitor {
 public:
  virtual ~JsonVisitor() = default;
  virtual void startObject(std::size_t offset) = 0;
  virtual void endObject() = 0;
  virtual void startArray(std::size_t offset) = 0;
  virtual void endArray() = 0;
  virtual void key(const std::string& name, std::size_t offset) = 0;
  virtual void null(std::size_t offset) = 0;
  virtual void boolean(bool value, std::size_t offset) = 0;
  virtual void number(double value, std::size_t offset) = 0;
  virtual void string(const std::string& value, std::size_t offset) = 0;
};

// Scans a JSON text into the visitor. Throws FileError at the position of a
// syntax error or of a string holding control characters; a visitor throws
// its own FileError.
void scanJson(const Text& text, JsonVisitor& visitor);

}  // namespace tarnblend::lab
