#include "labfile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

namespace tarnblend::lab {
namespace {

std::string hexByte(unsigned char c) {
  char buffer[8];
  std::snprintf(buffer, sizeof buffer, "\\x%02X", c);
  return buffer;
}

// Length of the UTF-8 sequence starting at text[i], or 0 when the bytes there
// are not a well-formed sequence (overlong forms, surrogates and code points
// past U+10FFFF included).
std::size_t sequenceLength(std::string_view text, std::size_t i) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char c = byte(i);
  if (c < 0x80) return 1;
  std::size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // range of the second byte
  if (c >= 0xC2 && c <= 0xDF) {
    length = 2;
  } else if (c >= 0xE0 && c <= 0xEF) {
    length = 3;
    if (c == 0xE0) low = 0xA0;
    if (c == 0xED) high = 0x9F;
  } else if (c >= 0xF0 && c <= 0xF4) {
    length = 4;
    if (c == 0xF0) low = 0x90;
    if (c == 0xF4) high = 0x8F;
  } else {
    return 0;
  }
  if (i + length > text.size()) return 0;
  if (byte(i + 1) < low || byte(i + 1) > high) return 0;
  for (std::size_t k = 2; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
  }
  return length;
}

// Control characters a text file has no business holding: C0 controls but
// tab, line feed and carriage return; DEL; the C1 controls U+0080..U+009F
// (terminals read some of them as escape sequences).
bool isControl(std::string_view text, std::size_t i, std::size_t length) {
  const auto c = static_cast<unsigned char>(text[i]);
  if (length == 1) return (c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0x7F;
  return length == 2 && c == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0;
}

bool isBlank(std::string_view text, std::size_t i, std::size_t& length) {
  if (text[i] == ' ' || text[i] == '\t') {
    length = 1;
    return true;
  }
  // U+00A0 no-break space, which spreadsheets write around numbers.
  if (i + 1 < text.size() && static_cast<unsigned char>(text[i]) == 0xC2 &&
      static_cast<unsigned char>(text[i + 1]) == 0xA0) {
    length = 2;
    return true;
  }
  return false;
}

// Line and column (characters, from 1) of a byte offset.
std::pair<std::size_t, std::size_t> lineAndColumn(std::string_view text, std::size_t offset) {
  std::size_t line = 1, column = 1;
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\n' || (c == '\r' && (i + 1 >= text.size() || text[i + 1] != '\n'))) {
      ++line;
      column = 1;
    } else if (c != '\r' && (static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      ++column;
    }
  }
  return {line, column};
}

}  // namespace

std::string printable(std::string_view text, std::size_t limit) {
  std::string out;
  std::size_t characters = 0;
  for (std::size_t i = 0; i < text.size();) {
    if (characters == limit) return out + "\xE2\x80\xA6";  // ellipsis
    const std::size_t length = sequenceLength(text, i);
    if (length == 0 || isControl(text, i, length) || static_cast<unsigned char>(text[i]) < 0x20) {
      out += hexByte(static_cast<unsigned char>(text[i]));
      ++i;
    } else {
      out.append(text.substr(i, length));
      i += length;
    }
    ++characters;
  }
  return out;
}

Text::Text(std::string bytes, std::string source) : source_(printable(source, 200)), bytes_(std::move(bytes)) {
  std::string_view all = bytes_;
  auto startsWith = [&](const char* prefix, std::size_t n) { return all.substr(0, n) == std::string_view(prefix, n); };
  if (startsWith("\xFF\xFE\x00\x00", 4) || startsWith("\x00\x00\xFE\xFF", 4)) {
    throw FileError(source_ + ":1:1: the file is UTF-32 text: save it as UTF-8");
  }
  if (startsWith("\xFF\xFE", 2) || startsWith("\xFE\xFF", 2)) {
    throw FileError(source_ +
                    ":1:1: the file is UTF-16 text (\"Unicode text\"): save it as UTF-8 (in Excel: CSV UTF-8)");
  }
  body_ = startsWith("\xEF\xBB\xBF", 3) ? all.substr(3) : all;
  for (std::size_t i = 0; i < body_.size();) {
    const std::size_t length = sequenceLength(body_, i);
    if (length == 0) {
      fail(i, "the file is not UTF-8 text (byte " + hexByte(static_cast<unsigned char>(body_[i])).substr(2) +
                  " here): save it as UTF-8 (in Excel: CSV UTF-8)");
    }
    if (isControl(body_, i, length)) {
      const auto c = static_cast<unsigned char>(body_[i + length - 1]);
      fail(i, "binary data or a control character (byte " + hexByte(c).substr(2) + "): not a text file");
    }
    i += length;
  }
}

std::string Text::where(std::size_t offset) const {
  const auto [line, column] = lineAndColumn(body_, offset);
  return source_ + ":" + std::to_string(line) + ":" + std::to_string(column);
}

void Text::fail(std::size_t offset, const std::string& message) const {
  throw FileError(where(offset) + ": " + message);
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw FileError(printable(path, 200) + ":1:1: cannot open the file");
  std::ostringstream bytes;
  bytes << in.rdbuf();
  if (in.bad()) throw FileError(printable(path, 200) + ":1:1: cannot read the file");
  return std::move(bytes).str();
}

bool looksLikeJson(const Text& text) {
  for (char c : text.body()) {
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
    return c == '{' || c == '[';
  }
  return false;
}

std::string_view trim(std::string_view text) {
  std::size_t length = 0;
  std::size_t first = 0;
  while (first < text.size() && isBlank(text, first, length)) first += length;
  std::size_t last = text.size();
  while (last > first) {
    if (text[last - 1] == ' ' || text[last - 1] == '\t') {
      --last;
    } else if (last - first >= 2 && static_cast<unsigned char>(text[last - 2]) == 0xC2 &&
               static_cast<unsigned char>(text[last - 1]) == 0xA0) {
      last -= 2;
    } else {
      break;
    }
  }
  return text.substr(first, last - first);
}

// ---- CSV -------------------------------------------------------------------

namespace {

std::size_t lineEnd(std::string_view body, std::size_t at) {
  const std::size_t end = body.find_first_of("\r\n", at);
  return end == std::string_view::npos ? body.size() : end;
}

std::size_t nextLine(std::string_view body, std::size_t end) {
  if (end >= body.size()) return body.size();
  return body[end] == '\r' && end + 1 < body.size() && body[end + 1] == '\n' ? end + 2 : end + 1;
}

}  // namespace

CsvReader::CsvReader(const Text& text) : text_(text), body_(text.body()) {
  // The separator is the one of ',', ';' and tab that the first line that
  // is neither blank nor a comment (the header) uses most; a tie goes to ','.
  for (std::size_t at = 0; at < body_.size(); at = nextLine(body_, lineEnd(body_, at))) {
    const std::string_view line = body_.substr(at, lineEnd(body_, at) - at);
    const std::string_view content = trim(line);
    if (content.empty() || content[0] == '#') continue;
    std::size_t commas = 0, semicolons = 0, tabs = 0;
    bool quoted = false;
    for (char c : line) {
      if (c == '"') quoted = !quoted;
      if (quoted) continue;
      commas += c == ',';
      semicolons += c == ';';
      tabs += c == '\t';
    }
    if (semicolons > commas && semicolons >= tabs)
      separator_ = ';';
    else if (tabs > commas && tabs > semicolons)
      separator_ = '\t';
    break;
  }
}

bool CsvReader::next(Record& record) {
  while (at_ < body_.size()) {
    const std::size_t end = lineEnd(body_, at_);
    const std::string_view line = body_.substr(at_, end - at_);
    const std::string_view content = trim(line);
    bool separatorsOnly = true;
    for (char c : content) separatorsOnly = separatorsOnly && (c == separator_ || c == ' ' || c == '\t');
    if (separatorsOnly) {
      at_ = nextLine(body_, end);
      continue;
    }
    if (content[0] == '#') {
      std::string_view comment = content.substr(1);
      while (!comment.empty() && (comment.back() == separator_ || comment.back() == ' ' || comment.back() == '\t')) {
        comment.remove_suffix(1);
      }
      comments_.emplace_back(trim(comment));
      at_ = nextLine(body_, end);
      continue;
    }
    break;
  }
  if (at_ >= body_.size()) return false;

  record.offset = at_;
  std::size_t count = 0;
  auto field = [&](std::size_t offset) -> std::string& {
    if (record.fields.size() <= count) {
      record.fields.emplace_back();
      record.offsets.emplace_back();
    }
    record.fields[count].clear();
    record.offsets[count] = offset;
    return record.fields[count++];
  };
  std::size_t i = at_;
  for (;;) {
    std::string& text = field(i);
    // A field is quoted when its first non-blank character is a quote.
    std::size_t start = i;
    while (start < body_.size() && (body_[start] == ' ' || body_[start] == '\t') && body_[start] != separator_) ++start;
    if (start < body_.size() && body_[start] == '"') {
      const std::size_t open = start;
      std::size_t k = start + 1;
      for (;;) {
        const std::size_t quote = body_.find('"', k);
        if (quote == std::string_view::npos) text_.fail(open, "a quoted field is not closed");
        text.append(body_.substr(k, quote - k));
        if (quote + 1 < body_.size() && body_[quote + 1] == '"') {
          text += '"';
          k = quote + 2;
          continue;
        }
        k = quote + 1;
        break;
      }
      while (k < body_.size() && (body_[k] == ' ' || body_[k] == '\t') && body_[k] != separator_) ++k;
      if (k < body_.size() && body_[k] != separator_ && body_[k] != '\r' && body_[k] != '\n') {
        text_.fail(k, "text after the closing quote of a field (a quote inside a quoted field is written \"\")");
      }
      i = k;
    } else {
      std::size_t k = i;
      while (k < body_.size() && body_[k] != separator_ && body_[k] != '\r' && body_[k] != '\n') ++k;
      text.append(body_.substr(i, k - i));
      i = k;
    }
    if (i < body_.size() && body_[i] == separator_) {
      ++i;
      continue;
    }
    break;
  }
  record.fields.resize(count);
  record.offsets.resize(count);
  at_ = nextLine(body_, i);
  return true;
}

// ---- Numbers -----------------------------------------------------------------

NumberText readNumber(std::string_view text, bool decimalComma, double& value) {
  const std::string_view cell = trim(text);
  if (cell.empty() || cell == "-") return NumberText::Missing;
  if (cell.size() <= 7) {
    std::string lower(cell);
    for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    if (lower == "na" || lower == "n/a" || lower == "n.a." || lower == "missing") return NumberText::Missing;
  }
  char buffer[64];
  if (cell.size() >= sizeof buffer) return NumberText::NotANumber;
  std::size_t n = 0;
  bool point = false;
  int commas = 0;
  for (char c : cell) {
    point = point || c == '.';
    if (c == ',') {
      ++commas;
      c = '.';
    }
    buffer[n++] = c;
  }
  if (commas > 0 && (!decimalComma || commas > 1 || point)) return NumberText::NotANumber;
  const char* first = buffer;
  const char* last = buffer + n;
  if (*first == '+') {  // from_chars takes no leading plus
    ++first;
    if (first == last || *first == '+' || *first == '-') return NumberText::NotANumber;
  }
  double parsed = 0.0;
  const auto [end, error] = std::from_chars(first, last, parsed, std::chars_format::general);
  if (end != last) return NumberText::NotANumber;
  if (error == std::errc::result_out_of_range) {
    // Beyond a double: too large, or so small that it is zero.
    const std::string_view digits(first, static_cast<std::size_t>(last - first));
    const auto exponent = digits.find_first_of("eE");
    if (exponent != std::string_view::npos && exponent + 1 < digits.size() && digits[exponent + 1] == '-') {
      value = digits[0] == '-' ? -0.0 : 0.0;
      return NumberText::Value;
    }
    return NumberText::TooLarge;
  }
  if (error != std::errc() || !std::isfinite(parsed)) return NumberText::NotANumber;
  value = parsed;
  return NumberText::Value;
}

// ---- JSON ----------------------------------------------------------------------

namespace {

// An input iterator over the text that publishes how far the parser has
// read, so each event of the parser can be placed in the file.
class TrackingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  TrackingIterator(const char* at, const char** reached) : at_(at), reached_(reached) {}
  reference operator*() const { return *at_; }
  TrackingIterator& operator++() {
    *reached_ = ++at_;
    return *this;
  }
  TrackingIterator operator++(int) {
    TrackingIterator before = *this;
    ++*this;
    return before;
  }
  bool operator==(const TrackingIterator& other) const { return at_ == other.at_; }
  bool operator!=(const TrackingIterator& other) const { return at_ != other.at_; }

 private:
  const char* at_;
  const char** reached_;
};

// Turns the parser's events into the visitor's, each with the offset where
// its token starts: the first character after the previous token that is
// not blank, ':' or ','.
class Events : public nlohmann::json_sax<nlohmann::json> {
 public:
  Events(const Text& text, JsonVisitor& visitor, const char** reached)
      : text_(text), body_(text.body()), visitor_(visitor), reached_(reached) {}

  bool null() override {
    visitor_.null(start());
    return true;
  }
  bool boolean(bool value) override {
    visitor_.boolean(value, start());
    return true;
  }
  bool number_integer(number_integer_t value) override {
    visitor_.number(static_cast<double>(value), start());
    return true;
  }
  bool number_unsigned(number_unsigned_t value) override {
    visitor_.number(static_cast<double>(value), start());
    return true;
  }
  bool number_float(number_float_t value, const string_t&) override {
    visitor_.number(value, start());
    return true;
  }
  bool string(string_t& value) override {
    const std::size_t at = start();
    checkText(value, at);
    visitor_.string(value, at);
    return true;
  }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override {
    visitor_.startObject(start());
    return true;
  }
  bool key(string_t& value) override {
    const std::size_t at = start();
    checkText(value, at);
    visitor_.key(value, at);
    return true;
  }
  bool end_object() override {
    start();
    visitor_.endObject();
    return true;
  }
  bool start_array(std::size_t) override {
    visitor_.startArray(start());
    return true;
  }
  bool end_array() override {
    start();
    visitor_.endArray();
    return true;
  }
  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& e) override {
    // The parser's message reads "[json.exception.parse_error.101] parse
    // error at line 1, column 5: syntax error while parsing value - ...";
    // the part after the position is kept, the position is ours.
    std::string what = e.what();
    const auto colon = what.find(": ", what.find("column"));
    what = colon == std::string::npos ? "malformed JSON" : what.substr(colon + 2);
    const auto lastRead = what.find("; last read:");
    if (lastRead != std::string::npos) what.erase(lastRead);
    // The offending token starts after the last good one (separators
    // skipped), and no later than the last character the parser read.
    const std::size_t last = position > 0 ? position - 1 : 0;
    text_.fail(std::min(start(), last), "malformed JSON: " + what);
  }

 private:
  std::size_t start() {
    const std::size_t reached = static_cast<std::size_t>(*reached_ - body_.data());
    std::size_t at = previous_;
    while (at < reached && (body_[at] == ' ' || body_[at] == '\t' || body_[at] == '\r' || body_[at] == '\n' ||
                            body_[at] == ':' || body_[at] == ',')) {
      ++at;
    }
    previous_ = reached;
    return at;
  }

  // Escapes such as \u001b decode into control characters, which a recipe
  // has no use for and a terminal would act on.
  void checkText(const std::string& value, std::size_t at) const {
    for (std::size_t i = 0; i < value.size(); ++i) {
      const auto c = static_cast<unsigned char>(value[i]);
      const bool c1 = c == 0xC2 && i + 1 < value.size() && static_cast<unsigned char>(value[i + 1]) < 0xA0;
      if ((c < 0x20 && c != '\t') || c == 0x7F || c1) {
        text_.fail(at, "a string holds a control character (" + printable(value, 40) + ")");
      }
    }
  }

  const Text& text_;
  std::string_view body_;
  JsonVisitor& visitor_;
  const char** reached_;
  std::size_t previous_ = 0;
};

}  // namespace

void scanJson(const Text& text, JsonVisitor& visitor) {
  const std::string_view body = text.body();
  const char* reached = body.data();
  Events events(text, visitor, &reached);
  TrackingIterator first(body.data(), &reached), last(body.data() + body.size(), &reached);
  nlohmann::json::sax_parse(first, last, &events);
}

}  // namespace tarnblend::lab
