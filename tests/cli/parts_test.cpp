// Parts of the tool that every command relies on: the CSV writer and the reading of numbers.
#include <gtest/gtest.h>

#include "errors.h"
#include "numbers.h"
#include "text/csv.h"

namespace {

// What the writer quotes reads back unchanged through the file reader.
TEST(CsvWriter, QuotedFieldsReadBack) {
  const std::vector<std::string> awkward = {"a,b", "say \"x\"", "plain", "", "two\nlines"};
  const tarncli::lab::Text text(tarncli::csv::line(awkward) + tarncli::csv::line({"last", "1"}), "written");
  tarncli::lab::CsvReader reader(text);
  tarncli::lab::Record record;
  ASSERT_TRUE(reader.next(record));
  EXPECT_EQ(record.fields, awkward);
  ASSERT_TRUE(reader.next(record));
  EXPECT_EQ(record.fields, (std::vector<std::string>{"last", "1"}));
  EXPECT_FALSE(reader.next(record));
}

TEST(Numbers, OnlyWholeFiniteNumbersAreRead) {
  using tarncli::parseNumber;
  EXPECT_EQ(parseNumber(" 12.5 "), 12.5);
  EXPECT_EQ(parseNumber("+3"), 3.0);
  EXPECT_EQ(parseNumber("-1e3"), -1000.0);
  for (const char* bad : {"", "1.2.3", "12abc", "1,5", "nan", "inf", "1e999", "--1", "0x10"}) {
    EXPECT_FALSE(parseNumber(bad)) << bad;
  }
  for (const char* missing : {"", " NA ", "n/a", "Missing", "-"}) EXPECT_TRUE(tarncli::isMissingText(missing));
  EXPECT_FALSE(tarncli::isMissingText("0"));
  // Written numbers read back to the same double; missing is an empty cell.
  for (double v : {0.1, 1.0 / 3.0, -2.5e-17, 123456789.125}) EXPECT_EQ(parseNumber(tarncli::exact(v)), v);
  EXPECT_EQ(tarncli::exact(1e30), "");
  EXPECT_EQ(tarncli::rounded(-0.0001, 2), "0.00");
  EXPECT_EQ(tarncli::rounded(1e30, 2), "missing");
}

}  // namespace
