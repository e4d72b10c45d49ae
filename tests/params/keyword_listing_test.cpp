// The listing of the parameter keywords: what it names must be exactly what
// gfx_setCorParms and gfx_getCorParms recognise.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <utility>

#include "support/fixture.h"
#include "tarn/corparms.h"

namespace {

using tarn::testing::LibraryTest;

struct Listed {
  std::string correlation, alias, parameter;
};

Listed listed(int k) {
  char correlation[TARN_KEYWORD_SIZE], alias[TARN_KEYWORD_SIZE], parameter[TARN_KEYWORD_SIZE];
  EXPECT_EQ(gfx_getCorParmsKeywords(k, correlation, alias, parameter), 0) << k;
  return {correlation, alias, parameter};
}

TEST_F(LibraryTest, EveryListedKeywordReachesOneFieldUnderEachOfItsNames) {
  int count = 0;
  ASSERT_EQ(gfx_getCorParmsCount(&count), 0);
  ASSERT_GT(count, 150);
  std::set<std::pair<std::string, std::string>> seen;
  for (int k = 0; k < count; ++k) {
    const Listed entry = listed(k);
    EXPECT_TRUE(seen.insert({entry.correlation, entry.parameter}).second)
        << entry.correlation << " " << entry.parameter << " listed twice";
    // Writing back what is read succeeds under every rule (the refusing ones
    // hold positive defaults) and leaves the field as it was.
    const double value = gfx_getCorParms(entry.correlation.c_str(), entry.parameter.c_str());
    EXPECT_EQ(gfx_setCorParms(entry.correlation.c_str(), entry.parameter.c_str(), value), 0)
        << entry.correlation << " " << entry.parameter;
    EXPECT_EQ(gfx_getCorParms(entry.correlation.c_str(), entry.parameter.c_str()), value);
    if (!entry.alias.empty()) {
      EXPECT_EQ(gfx_getCorParms(entry.alias.c_str(), entry.parameter.c_str()), value);
    }
  }
  // Shared groups are listed once, with their second keyword.
  EXPECT_EQ(seen.count({"D86TOPERCENTOFF", "P1"}), 0u);
  EXPECT_EQ(seen.count({"ND86FROMPERCENTOFF", "NPOFF"}), 1u);
  EXPECT_EQ(seen.count({"EVAPORATIVE", "P00"}), 1u);
  EXPECT_EQ(seen.count({"REIDVAPORPRESSURE", "*"}), 1u);
  EXPECT_EQ(seen.count({"HC94", "X1"}), 1u);
  EXPECT_EQ(seen.count({"HC94", "A0"}), 0u);  // held by the group, not reachable by keyword
  int d86Points = 0;
  for (int k = 0; k < count; ++k) {
    const Listed entry = listed(k);
    if (entry.correlation == "D86FROMPERCENTOFF") {
      EXPECT_EQ(entry.alias, "D86TOPERCENTOFF");
      ++d86Points;
    }
  }
  EXPECT_EQ(d86Points, 10);
}

TEST_F(LibraryTest, KeywordListingRefusesPositionsOutsideTheTable) {
  int count = 0;
  gfx_getCorParmsCount(&count);
  char buffer[TARN_KEYWORD_SIZE] = "untouched";
  for (int k : {-1, count, count + 100}) {
    EXPECT_EQ(gfx_getCorParmsKeywords(k, buffer, buffer, buffer), 1) << k;
    EXPECT_STREQ(buffer, "untouched");
  }
  EXPECT_EQ(gfx_getCorParmsKeywords(0, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(gfx_getCorParmsCount(nullptr), 0);
}

}  // namespace
