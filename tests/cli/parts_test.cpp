// Parts of the tool that every command relies on: the CSV reader and the
// reading of numbers.
#include <gtest/gtest.h>

#include <sstream>

#include "text/csv.h"
#include "errors.h"
#include "numbers.h"

namespace {

using tarncli::csv::Reader;

TEST(CsvReader, QuotedFieldsCommentsAndLineEnds) {
  std::istringstream in(
      "# a comment\r\n"
      "NAME,VOLUME\r\n"
      "\r\n"
      "\"Naphtha, heavy\",\"1\"\"5\"\n"
      "\"two\nlines\",3\n"
      "last,\n");
  Reader reader(in, "recipe.csv");
  EXPECT_EQ(reader.next()->fields, (std::vector<std::string>{"NAME", "VOLUME"}));
  const auto quoted = reader.next();
  EXPECT_EQ(quoted->line, 4);
  EXPECT_EQ(quoted->fields, (std::vector<std::string>{"Naphtha, heavy", "1\"5"}));
  const auto multiline = reader.next();
  EXPECT_EQ(multiline->fields[0], "two\nlines");
  EXPECT_EQ(reader.next()->fields, (std::vector<std::string>{"last", ""}));
  EXPECT_FALSE(reader.next());
  // What the writer quotes reads back unchanged.
  const std::vector<std::string> awkward = {"a,b", "say \"x\"", "plain", ""};
  std::istringstream back(tarncli::csv::line(awkward));
  Reader again(back, "written");
  EXPECT_EQ(again.next()->fields, awkward);
}

TEST(Numbers, OnlyWholeFiniteNumbersAreRead) {
  using tarncli::parseNumber;
  EXPECT_EQ(parseNumber(" 12.5 "), 12.5);
  EXPECT_EQ(parseNumber("+3"), 3.0);
  EXPECT_EQ(parseNumber("-1e3"), -1000.0);
  for (const char* bad : {"", "1.2.3", "12abc", "1,5", "nan", "inf", "1e999", "--1", "0x10"}) {
    EXPECT_FALSE(parseNumber(bad)) << bad;
  }
  for (const char* missing : {"", " NA ", "n/a", "Missing"}) EXPECT_TRUE(tarncli::isMissingText(missing));
  EXPECT_FALSE(tarncli::isMissingText("0"));
  // Written numbers read back to the same double; missing is an empty cell.
  for (double v : {0.1, 1.0 / 3.0, -2.5e-17, 123456789.125}) EXPECT_EQ(parseNumber(tarncli::exact(v)), v);
  EXPECT_EQ(tarncli::exact(1e30), "");
  EXPECT_EQ(tarncli::rounded(-0.0001, 2), "0.00");
  EXPECT_EQ(tarncli::rounded(1e30, 2), "missing");
}

}  // namespace
