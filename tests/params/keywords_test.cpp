// Keyword access: the listing, store rules, matching, the CARB unit and the temperature points.
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"

namespace {

using Key = std::pair<std::string, std::string>;
using KeywordTest = tarn::testing::LibraryTest;

struct Listed {
  std::string correlation, alias, parameter;
};

Listed listed(int k) {
  char correlation[TARN_KEYWORD_SIZE], alias[TARN_KEYWORD_SIZE], parameter[TARN_KEYWORD_SIZE];
  EXPECT_EQ(gfx_getCorParmsKeywords(k, correlation, alias, parameter), 0) << k;
  return {correlation, alias, parameter};
}

TEST_F(KeywordTest, EveryListedKeywordReachesOneFieldUnderEachOfItsNames) {
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
    // Writing back what is read succeeds under every rule and leaves the field as it was.
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

TEST_F(KeywordTest, KeywordListingRefusesPositionsOutsideTheTable) {
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

TEST_F(KeywordTest, StoreRules) {
  // Each store in turn: its status and what the field reads afterwards.
  const struct {
    const char *group, *name;
    double value;
    int status;
    double after;
  } steps[] = {// Switches read back as signs; not > 0 is off.
               {"TARN", "ChangeData", 0.5, 0, 1},
               {"TARN", "ChangeData", 0, 0, -1},
               // Refused unless the stored value is positive: -5 goes in, then nothing until a reset (not T50INDEX P2).
               {"CETANEIMPROVER", "P2", -5, 0, -5},
               {"CETANEIMPROVER", "P2", 10, 1, -5},
               {"CETANEIMPROVER2", "P4", 0, 0, 0},
               {"CETANEIMPROVER2", "P4", 4, 1, 0},
               {"T10INDEX", "P2", 0, 0, 0},
               {"T10INDEX", "P2", 4, 1, 0},
               {"T50INDEX", "P2", 0, 0, 0},
               {"T50INDEX", "P2", 4, 0, 4},
               // Counts round after their limit test (25.4 > 25); NPTS has no limit; ALTOXY truncates; huge refused.
               {"ND86FROMPERCENTOFF", "NPOFF", 24.6, 0, 25},
               {"ND86FROMPERCENTOFF", "NPOFF", 25.4, 1, 25},
               {"ND86TOPERCENTOFF", "NPOFF", -3, 0, -2},  // trunc(-2.5)
               {"ND86FROMPERCENTOFF", "NTEMP", 13.0, 0, 13},
               {"ND86FROMPERCENTOFF", "NTEMP", 13.2, 1, 13},
               {"ND86FROMPERCENTOFF", "NTEMP", -INFINITY, 1, 13},
               {"EVAPORATIVE", "NPTS", 40.5, 0, 41},
               {"EVAPORATIVE", "NPTS", 1e300, 1, 41},
               {"CARBOB2", "ALTOXY", -1.9, 0, -1},
               {"CARBOB2", "ALTOXY", NAN, 1, -1},
               // A Gaussian quantile that leaves P3 below P1 is refused and restores the whole group.
               {"T20GAUSSIAN", "P2", -0.9, 0, -0.9},
               {"T20GAUSSIAN", "P3", -2.0, 1, -0.524400513}};
  for (const auto& step : steps) {
    EXPECT_EQ(gfx_setCorParms(step.group, step.name, step.value), step.status) << step.group << " " << step.name;
    EXPECT_EQ(gfx_getCorParms(step.group, step.name), step.after) << step.group << " " << step.name;
  }
  EXPECT_EQ(gfx_getCorParms("T20GAUSSIAN", "P2"), -0.841621234);
}

TEST_F(KeywordTest, MatchingOfGroupAndParameterKeywords) {
  // The group keyword ignores case, the parameter keyword does not.
  EXPECT_EQ(gfx_setCorParms("reidvaporpressure", "anything", 1.3), 0);
  EXPECT_DOUBLE_EQ(gfx_getCorParms("ReidVaporPressure", ""), 1.3);
  EXPECT_EQ(gfx_setCorParms("tarn", "ChangeData", 1), 0);
  EXPECT_EQ(gfx_setCorParms("TARN", "changedata", 1), 1);
  // Whole words only, on both sides; EVAPORATIVE numbers have two digits.
  for (const auto& [group, name] : std::vector<Key>{{"TVL", "P1"},
                                                    {"TVL200", "P1"},
                                                    {"TVL20", "P"},
                                                    {"TVL20", "P5"},
                                                    {"TVL20", "P01"},
                                                    {"EVAPORATIVE", "P5"},
                                                    {"EVAPORATIVE", "P12"},
                                                    {"HC94", "X2"}}) {  // HC94 answers X1 only
    EXPECT_EQ(gfx_setCorParms(group.c_str(), name.c_str(), 1), 1) << group << " " << name;
  }
  EXPECT_EQ(gfx_getCorParms("HC94", "A1"), 1e30);
  EXPECT_EQ(gfx_getCorParms("TVL20", "P1"), 114.6);
  EXPECT_EQ(gfx_setCorParms(nullptr, "P1", 1), 1);
  EXPECT_EQ(gfx_setCorParms("REIDVAPORPRESSURE", nullptr, 2), 1);
  EXPECT_EQ(gfx_getCorParms(nullptr, nullptr), 1e30);
  // Longer than 79 characters: unknown, however it begins.
  EXPECT_EQ(gfx_setCorParms(("TVL20" + std::string(74, ' ')).c_str(), "P1", 1), 1);
  EXPECT_EQ(gfx_getCorParms(("TVL20" + std::string(5000, 'X')).c_str(), "P1"), 1e30);
}

TEST_F(KeywordTest, CarbUnitAndTemperaturePoints) {
  // The CARB unit survives start-up but not a reset.
  gfx_setCorParms("TARN", "CARB_CORF", 0);
  EXPECT_EQ(gfx_tarnInitializeAllocate(nullptr), 0);
  EXPECT_EQ(gfx_getCorParms("TARN", "CARB_CORF"), -1.0);
  EXPECT_EQ(TARNReset(), 0);
  EXPECT_EQ(gfx_getCorParms("TARN", "CARB_CORF"), 1.0);
  // The ten points convert to C at each call without memory; only they are restored; the configurable set stays F.
  gfx_setCorParms("MTM", "P1", 0.5);
  EXPECT_EQ(ConvertD86TempPt() + ConvertD86TempPt(), 0);
  EXPECT_NEAR(gfx_getCorParms("D86FROMPERCENTOFF", "P1"), -18.3950617284, 1e-9);  // (-1.111 - 32) / 1.8
  EXPECT_EQ(gfx_getCorParms("ND86FROMPERCENTOFF", "P1"), 30.0);
  EXPECT_EQ(ResetD86TempPt(), 0);
  EXPECT_EQ(gfx_getCorParms("D86FROMPERCENTOFF", "P6"), 250.0);
  EXPECT_EQ(gfx_getCorParms("MTM", "P1"), 0.5);
}

}  // namespace
