// User grade files, read with the rules of recipe files (UTF-8 text checked,
// CSV dialects and decimal commas, JSON with positions): CSV with the
// columns property, min, max, unit and optionally source, or JSON
// {"name": ..., "product": ..., "limits": [{"property": ..., "min": ...,
// "max": ..., "unit": ..., "source": ...}, ...]}. Every fault names the file,
// line and column.
#include <cmath>
#include <string>

#include "firewall.h"
#include "grades.h"
#include "text/labfile.h"

namespace tarnblend {
namespace {

using lab::Text;

std::string shown(std::string_view text) { return "'" + lab::printable(text) + "'"; }

std::string upperCase(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  return out;
}

std::string lowerCase(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return out;
}

// Adds a limit; a refusal of the key, unit or bounds is placed at the cell
// that holds what was refused.
void addLimit(const Text& text, Grade& grade, const std::string& key, double minimum, double maximum,
              const std::string& unit, const std::string& source, const std::size_t (&at)[4]) {
  try {
    grade.addLimit(key, minimum, maximum, unit, source);
  } catch (const Error& e) {
    const int cell = e.status() == TARNBLEND_ERROR_PROPERTY ? 0 : e.status() == TARNBLEND_ERROR_UNIT ? 3 : 1;
    text.fail(at[cell], e.what());
  }
}

// ---- CSV -------------------------------------------------------------------

Grade readCsvGrade(const Text& text, const std::string& name) {
  constexpr const char* kColumns[5] = {"PROPERTY", "MIN", "MAX", "UNIT", "SOURCE"};
  lab::CsvReader reader(text);
  lab::Record record;
  if (!reader.next(record)) text.fail(text.body().size(), "the grade file is empty");
  int columns[5] = {-1, -1, -1, -1, -1};
  for (std::size_t c = 0; c < record.fields.size(); ++c) {
    const std::string header = upperCase(lab::trim(record.fields[c]));
    int k = 0;
    while (k < 5 && header != kColumns[k]) ++k;
    if (k == 5 && header.empty()) continue;  // a spreadsheet's empty trailing header cell
    if (k == 5) {
      text.fail(record.offsets[c], "unknown column " + shown(lab::trim(record.fields[c])) +
                                       " (columns: property, min, max, unit, source)");
    }
    if (columns[k] >= 0)
      text.fail(record.offsets[c], "column " + shown(lab::trim(record.fields[c])) + " appears twice");
    columns[k] = static_cast<int>(c);
  }
  for (int k = 0; k < 4; ++k) {
    if (columns[k] < 0) {
      text.fail(record.offset,
                "no column '" + lowerCase(kColumns[k]) + "' (columns: property, min, max, unit, source)");
    }
  }
  Grade grade;
  grade.name = name;
  while (reader.next(record)) {
    std::size_t at[5];
    std::string cells[5];
    for (int k = 0; k < 5; ++k) {
      const auto c = static_cast<std::size_t>(columns[k]);
      const bool present = columns[k] >= 0 && c < record.fields.size();
      at[k] = present ? record.offsets[c] : record.offset;
      cells[k] = present ? std::string(lab::trim(record.fields[c])) : "";
    }
    double bounds[2] = {kMissing, kMissing};
    for (int k = 1; k <= 2; ++k) {
      double value = 0.0;
      switch (lab::readNumber(cells[k], reader.decimalComma(), value)) {
        case lab::NumberText::Value:
          bounds[k - 1] = value;
          break;
        case lab::NumberText::Missing:
          break;
        case lab::NumberText::TooLarge:
        case lab::NumberText::NotANumber:
          text.fail(at[k], std::string(k == 1 ? "min" : "max") + " is not a number: " + shown(cells[k]));
      }
    }
    const std::size_t places[4] = {at[0], at[1], at[2], at[3]};
    addLimit(text, grade, upperCase(cells[0]), bounds[0], bounds[1], cells[3], cells[4], places);
  }
  return grade;
}

// ---- JSON ----------------------------------------------------------------------

class JsonGrade : public lab::JsonVisitor {
 public:
  JsonGrade(const Text& text, Grade& grade) : text_(text), grade_(grade) {}

  void startObject(std::size_t offset) override {
    if (depth_ == 0) {
      root_ = true;
    } else if (depth_ == 2 && section_ == Section::Limits) {
      limit_ = Limit();
      limit_.at[0] = limit_.at[1] = limit_.at[3] = offset;
    } else {
      unexpected(offset, "an object");
    }
    ++depth_;
  }
  void endObject() override {
    --depth_;
    if (depth_ == 2) {
      if (!limit_.hasProperty) text_.fail(limit_.at[0], "a limit has no \"property\"");
      addLimit(text_, grade_, limit_.property, limit_.minimum, limit_.maximum, limit_.unit, limit_.source, limit_.at);
    }
  }
  void startArray(std::size_t offset) override {
    if (depth_ != 1 || section_ != Section::Limits) unexpected(offset, "a list");
    sawLimits_ = true;
    ++depth_;
  }
  void endArray() override {
    --depth_;
    section_ = Section::None;
  }
  void key(const std::string& name, std::size_t offset) override {
    key_ = upperCase(name);
    keyOffset_ = offset;
    if (depth_ == 1) {
      section_ = key_ == "LIMITS"    ? Section::Limits
                 : key_ == "NAME"    ? Section::Name
                 : key_ == "PRODUCT" ? Section::Product
                 : key_ == "CLASS" || key_ == "TITLE" || key_ == "DESCRIPTION" || key_ == "COMMENT" || key_ == "SOURCE"
                     ? Section::Text
                     : Section::Unknown;
      if (section_ == Section::Unknown) {
        text_.fail(offset, "unknown key " + shown(name) + " (a grade has name, product, limits)");
      }
    } else if (key_ != "PROPERTY" && key_ != "MIN" && key_ != "MAX" && key_ != "UNIT" && key_ != "SOURCE") {
      text_.fail(offset, "unknown key " + shown(name) + " of a limit (property, min, max, unit, source)");
    }
  }
  void null(std::size_t offset) override { scalar(Kind::Null, 0.0, "", offset); }
  void boolean(bool, std::size_t offset) override { unexpected(offset, "true or false"); }
  void number(double value, std::size_t offset) override { scalar(Kind::Number, value, "", offset); }
  void string(const std::string& value, std::size_t offset) override { scalar(Kind::Text, 0.0, value, offset); }

  void finish() const {
    if (!root_) text_.fail(0, "a grade in JSON is an object with a \"limits\" list");
    if (!sawLimits_) text_.fail(0, "the grade has no \"limits\" list");
  }

 private:
  enum class Section { None, Name, Product, Text, Limits, Unknown };
  enum class Kind { Null, Number, Text };
  struct Limit {
    std::string property, unit, source;
    double minimum = kMissing, maximum = kMissing;
    bool hasProperty = false;
    std::size_t at[4] = {0, 0, 0, 0};  // property, min, max, unit
  };

  void scalar(Kind kind, double value, const std::string& text, std::size_t offset) {
    if (depth_ == 1) {
      if (section_ == Section::Name && kind == Kind::Text)
        grade_.name = text;
      else if (section_ == Section::Product && kind == Kind::Text)
        product(text, offset);
      else if (section_ != Section::Text || kind == Kind::Number)
        unexpected(offset, "this value");
      section_ = Section::None;
      return;
    }
    if (depth_ != 3) unexpected(offset, "a value");
    if (key_ == "MIN" || key_ == "MAX") {
      if (kind == Kind::Text) text_.fail(offset, "\"" + lowerCase(key_) + "\" is not a number: " + shown(text));
      (key_ == "MIN" ? limit_.minimum : limit_.maximum) = kind == Kind::Number ? value : kMissing;
      limit_.at[key_ == "MIN" ? 1 : 2] = offset;
      return;
    }
    if (kind == Kind::Number) text_.fail(offset, "\"" + lowerCase(key_) + "\" is text, not a number");
    if (key_ == "PROPERTY") {
      limit_.property = upperCase(text);
      limit_.hasProperty = kind == Kind::Text;
      limit_.at[0] = offset;
    } else if (key_ == "UNIT") {
      limit_.unit = text;
      limit_.at[3] = offset;
    } else {
      limit_.source = text;
    }
  }

  void product(const std::string& text, std::size_t offset) {
    int kind = 0;
    if (tarnblend_product_parse(text.c_str(), &kind) != TARNBLEND_OK) {
      text_.fail(offset, "unknown product kind " + shown(text) + " (gasoline, diesel or jet)");
    }
    grade_.product = kind;
  }

  [[noreturn]] void unexpected(std::size_t offset, const char* what) const {
    text_.fail(offset, std::string(what) +
                           " is not expected here (a grade is {\"name\": text, \"product\": text, "
                           "\"limits\": [{\"property\": ..., \"min\": number, ...}]})");
  }

  const Text& text_;
  Grade& grade_;
  int depth_ = 0;
  Section section_ = Section::None;
  bool root_ = false, sawLimits_ = false;
  std::string key_;
  std::size_t keyOffset_ = 0;
  Limit limit_;
};

}  // namespace

Grade readGradeFile(const std::string& path) {
  try {
    const Text text(lab::readFile(path), path);
    const std::string fileName = path.substr(path.find_last_of('/') + 1);
    if (!lab::looksLikeJson(text)) return readCsvGrade(text, fileName);
    Grade grade;
    grade.name = path;
    JsonGrade json(text, grade);
    lab::scanJson(text, json);
    json.finish();
    return grade;
  } catch (const lab::FileError& e) {
    throw Error(TARNBLEND_ERROR_FILE, e.what());
  }
}

}  // namespace tarnblend
