// The listing of the parameter keywords: what it names must be exactly what
// gfx_setCorParms and gfx_getCorParms recognise, and what a reset restores.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"

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
  std::vector<double> started;
  int d86Points = 0;
  for (int k = 0; k < count; ++k) {
    const Listed entry = listed(k);
    const char *group = entry.correlation.c_str(), *parameter = entry.parameter.c_str();
    EXPECT_TRUE(seen.insert({entry.correlation, entry.parameter}).second) << group << " " << parameter << " twice";
    // Writing back what is read succeeds under every rule (the refusing ones
    // hold positive defaults) and leaves the field as it was.
    const double value = gfx_getCorParms(group, parameter);
    started.push_back(value);
    EXPECT_EQ(gfx_setCorParms(group, parameter, value), 0) << group << " " << parameter;
    EXPECT_EQ(gfx_getCorParms(group, parameter), value);
    if (!entry.alias.empty()) {
      EXPECT_EQ(gfx_getCorParms(entry.alias.c_str(), parameter), value);
    }
    if (entry.correlation == "D86FROMPERCENTOFF") d86Points += entry.alias == "D86TOPERCENTOFF";
    gfx_setCorParms(group, parameter, value == 0 ? 1 : -value);  // disturbed for the reset below
  }
  EXPECT_EQ(d86Points, 10);
  // Shared groups are listed once, with their second keyword.
  EXPECT_EQ(seen.count({"D86TOPERCENTOFF", "P1"}), 0u);
  EXPECT_EQ(seen.count({"ND86FROMPERCENTOFF", "NPOFF"}), 1u);
  EXPECT_EQ(seen.count({"EVAPORATIVE", "P00"}), 1u);
  EXPECT_EQ(seen.count({"REIDVAPORPRESSURE", "*"}), 1u);
  EXPECT_EQ(seen.count({"HC94", "X1"}), 1u);
  EXPECT_EQ(seen.count({"HC94", "A0"}), 0u);  // held by the group, not reachable by keyword
  // A reset brings every field back to what a freshly started library reads.
  ASSERT_EQ(TARNReset(), 0);
  for (int k = 0; k < count; ++k) {
    const Listed entry = listed(k);
    EXPECT_EQ(gfx_getCorParms(entry.correlation.c_str(), entry.parameter.c_str()), started[k])
        << entry.correlation << " " << entry.parameter;
  }
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
