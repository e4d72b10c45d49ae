// Keyword access to the parameter block: defaults, store rules, matching.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "params/keywords.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"

namespace {

using Key = std::pair<std::string, std::string>;

void addRun(std::map<Key, double>& out, const std::string& group, const std::string& prefix, int first,
            std::vector<double> values, int digits = 0) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    std::string number = std::to_string(first + static_cast<int>(i));
    while (static_cast<int>(number.size()) < digits) number.insert(0, "0");
    out[{group, prefix + number}] = values[i];
  }
}

// Every keyword pair with the value it must read back after a reset,
// transcribed from the published parameter list (not from the code).
std::map<Key, double> expectedDefaults() {
  std::map<Key, double> d = {
      {{"TARN", "ChangeData"}, -1.0}, {{"TARN", "CARB_CORF"}, 1.0},  // off reads -1, 'F' reads 1
      {{"DRIVEABILITYINDEX", "P1"}, 1.5}, {{"DRIVEABILITYINDEX", "P2"}, 3.0}, {{"DRIVEABILITYINDEX", "EF"}, 2.4},
      {{"MTM", "Perturb"}, 0.001}, {{"EVAPORATIVE", "NPTS"}, 0.0}, {{"CARBOB2", "ALTOXY"}, 0.0},
      {{"GENERICD86", "MinVol"}, 0.0}, {{"GENERICD86", "MnVolIBP"}, 0.0}, {{"GENERICD86", "MxVolFBP"}, 100.0},
      {{"GENERICD86", "DDelta"}, 0.001}, {{"GENERICD86", "BTol"}, 1e-7}, {{"GENERICD86", "DPure"}, 0.0},
      {{"ND86FROMPERCENTOFF", "NTEMP"}, 7.0}, {{"ND86FROMPERCENTOFF", "NPOFF"}, 10.0}, {{"HC94", "X1"}, 100.0}};
  for (const char* g : {"CETANEIMPROVER", "CETANEIMPROVER2"}) {
    addRun(d, g, "P", 1, {0.17402, 10.0, 1.444, 100.0, 1.0052, 1.0, 17.5523});
  }
  addRun(d, "TVL20", "P", 1, {114.6, 4.1, 0.2, 0.17});
  addRun(d, "CFPPIMPROVER", "P", 1, {0.95, -1.0, -1.39});
  addRun(d, "T10INDEX", "P", 1, {2.0, 4.0, -238.1, 4.545, -0.0169, 2.0, 2.296e-5, 3.0, -0.018, -1623.0, 80600.0, 2.0, 9.381});
  addRun(d, "T50INDEX", "P", 1, {2.0, 4.0, 260.6, -4.217, 0.02652, 2.0, -3.642e-5, 3.0, -0.03424, -2123.0, 99260.0, 2.0, 15.23});
  addRun(d, "T90INDEX", "P", 1, {2.0, 4.0, 260.9, 0.7815, -0.009082, 2.0, 2.291e-5, 3.0, 0.05184, 4037.0, -211200.0, 2.0, -25.17});
  for (const char* g : {"T10INDEX", "T50INDEX", "T90INDEX"}) d[{g, "N1"}] = 0.0018;
  addRun(d, "MTM", "P", 1, {0.02, 0.0388, 0.0031, -0.0008, 0.0006, -0.0016, 0.0002, -0.0027, 0.03, -0.0075, 90.0, 90.0});
  addRun(d, "VAPORLOCKINDEX", "P", 1, {68.94757, 7.0});
  const std::vector<double> temperatures = {30, 70, 100, 140, 180, 250, 330, 360, 390, 450};
  addRun(d, "D86FROMPERCENTOFF", "P", 1, temperatures);
  addRun(d, "EVAPORATIVE", "P", 0, std::vector<double>(12, 1e30), 2);
  for (const char* g : {"CARBOB2", "RBOB"}) {
    const std::pair<const char*, double> blend[] = {{"ARO", 1.7}, {"BNZ", 0.06}, {"OLF", 0.5}, {"EHO", 34.7},
                                                    {"SUL", 10.0}, {"GASSPG", 0.718}, {"ETOHSPG", 0.788}};
    for (const auto& [name, value] : blend) d[{g, name}] = value;
  }
  std::vector<double> nd86P = temperatures, nd86T = {0, 10, 30, 50, 70, 90, 100};
  nd86P.resize(25, 0.0);
  nd86T.resize(13, 0.0);
  addRun(d, "ND86FROMPERCENTOFF", "P", 1, nd86P);
  addRun(d, "ND86FROMPERCENTOFF", "T", 1, nd86T);
  addRun(d, "E200E300EPA", "P", 1, {147.91, 0.49, 155.47, 0.22});
  addRun(d, "RBOB", "P", 1, {147.91, 0.49, 155.47, 0.22, 0.0, 1.0});
  addRun(d, "T20GAUSSIAN", "P", 1, {-1.281551566, -0.841621234, -0.524400513});
  return d;
}

class KeywordTest : public tarn::testing::LibraryTest {};

TEST_F(KeywordTest, EveryKeywordReadsItsDefaultAfterReset) {
  // Disturb a field of every kind first so that the reset has work to do.
  gfx_setCorParms("TARN", "ChangeData", 1);
  gfx_setCorParms("GENERICD86", "MxVolFBP", 97);
  gfx_setCorParms("EVAPORATIVE", "P05", 150);
  gfx_setCorParms("ND86FROMPERCENTOFF", "NPOFF", 3);
  ASSERT_EQ(TARNReset(), 0);
  const auto expected = expectedDefaults();
  for (const auto& [key, value] : expected) {
    EXPECT_DOUBLE_EQ(gfx_getCorParms(key.first.c_str(), key.second.c_str()), value) << key.first << " " << key.second;
  }
  EXPECT_DOUBLE_EQ(gfx_getCorParms("REIDVAPORPRESSURE", "whatever"), 1.25);
  // Both names of a shared group reach the same fields.
  EXPECT_DOUBLE_EQ(gfx_getCorParms("D86TOPERCENTOFF", "P10"), 450.0);
  EXPECT_DOUBLE_EQ(gfx_getCorParms("ND86TOPERCENTOFF", "T7"), 100.0);
  // The library's table lists exactly the keywords above, no more, no fewer.
  std::size_t listed = 0;
  char name[16];
  for (std::size_t i = 0; i < tarn::keywords::tableSize(); ++i) {
    const auto& entry = tarn::keywords::table()[i];
    if (entry.name == nullptr) continue;  // REIDVAPORPRESSURE takes any text
    for (int k = 0; k < (entry.count == 0 ? 1 : entry.count); ++k, ++listed) {
      tarn::keywords::parameterName(entry, k, name, sizeof name);
      EXPECT_EQ(expected.count({entry.group, name}), 1u) << entry.group << " " << name;
    }
  }
  EXPECT_EQ(listed, expected.size());
}

TEST_F(KeywordTest, StoreRules) {
  // Switches and the unit letter read back as signs.
  EXPECT_EQ(gfx_setCorParms("TARN", "ChangeData", 0.5), 0);
  EXPECT_EQ(gfx_getCorParms("TARN", "ChangeData"), 1.0);
  EXPECT_EQ(gfx_setCorParms("TARN", "ChangeData", 0.0), 0);  // not > 0: off
  EXPECT_EQ(gfx_getCorParms("TARN", "ChangeData"), -1.0);
  EXPECT_EQ(gfx_setCorParms("TARN", "CARB_CORF", -1), 0);
  EXPECT_EQ(gfx_getCorParms("TARN", "CARB_CORF"), -1.0);
  // Refused unless the stored value is positive (the new one is not checked):
  // -5 goes in, then nothing more until a reset. Only those fields carry it.
  EXPECT_EQ(gfx_setCorParms("CETANEIMPROVER", "P2", -5), 0);
  EXPECT_EQ(gfx_setCorParms("CETANEIMPROVER", "P2", 10), 1);
  EXPECT_EQ(gfx_getCorParms("CETANEIMPROVER", "P2"), -5.0);
  for (const Key& key : std::vector<Key>{{"CETANEIMPROVER2", "P4"}, {"T10INDEX", "P2"}, {"T50INDEX", "P2"}}) {
    EXPECT_EQ(gfx_setCorParms(key.first.c_str(), key.second.c_str(), 0.0), 0);
    EXPECT_EQ(gfx_setCorParms(key.first.c_str(), key.second.c_str(), 4.0), key.first == "T50INDEX" ? 0 : 1);
  }
  // Counts round after their limit test; NPTS rounds with no limit; ALTOXY
  // truncates; values no integer can hold are refused.
  EXPECT_EQ(gfx_setCorParms("ND86FROMPERCENTOFF", "NPOFF", 24.6), 0);
  EXPECT_EQ(gfx_getCorParms("ND86FROMPERCENTOFF", "NPOFF"), 25.0);
  EXPECT_EQ(gfx_setCorParms("ND86FROMPERCENTOFF", "NPOFF", 25.4), 1);  // tested before rounding
  EXPECT_EQ(gfx_setCorParms("ND86TOPERCENTOFF", "NPOFF", -3), 0);
  EXPECT_EQ(gfx_getCorParms("ND86FROMPERCENTOFF", "NPOFF"), -2.0);  // trunc(-2.5)
  EXPECT_EQ(gfx_setCorParms("ND86FROMPERCENTOFF", "NTEMP", 13.0), 0);
  EXPECT_EQ(gfx_setCorParms("ND86FROMPERCENTOFF", "NTEMP", 13.2), 1);
  EXPECT_EQ(gfx_setCorParms("EVAPORATIVE", "NPTS", 40.5), 0);
  EXPECT_EQ(gfx_getCorParms("EVAPORATIVE", "NPTS"), 41.0);
  EXPECT_EQ(gfx_setCorParms("CARBOB2", "ALTOXY", -1.9), 0);
  EXPECT_EQ(gfx_getCorParms("CARBOB2", "ALTOXY"), -1.0);
  EXPECT_EQ(gfx_setCorParms("CARBOB2", "ALTOXY", NAN), 1);
  EXPECT_EQ(gfx_setCorParms("EVAPORATIVE", "NPTS", 1e300), 1);
  EXPECT_EQ(gfx_setCorParms("ND86FROMPERCENTOFF", "NTEMP", -INFINITY), 1);
  EXPECT_EQ(gfx_getCorParms("CARBOB2", "ALTOXY"), -1.0);
  // A Gaussian quantile that leaves P3 below P1 is refused and restores the group.
  EXPECT_EQ(gfx_setCorParms("T20GAUSSIAN", "P2", -0.9), 0);
  EXPECT_EQ(gfx_setCorParms("T20GAUSSIAN", "P3", -2.0), 1);
  EXPECT_DOUBLE_EQ(gfx_getCorParms("T20GAUSSIAN", "P2"), -0.841621234);
}

TEST_F(KeywordTest, MatchingOfGroupAndParameterKeywords) {
  // The group keyword ignores case, the parameter keyword does not.
  EXPECT_EQ(gfx_setCorParms("reidvaporpressure", "anything", 1.3), 0);
  EXPECT_DOUBLE_EQ(gfx_getCorParms("ReidVaporPressure", ""), 1.3);
  EXPECT_EQ(gfx_setCorParms("tarn", "ChangeData", 1), 0);
  EXPECT_EQ(gfx_setCorParms("TARN", "changedata", 1), 1);
  // Whole words only, on both sides; EVAPORATIVE numbers have two digits.
  for (const auto& [group, name] : std::vector<Key>{{"TVL", "P1"}, {"TVL200", "P1"}, {"TVL20", "P"}, {"TVL20", "P5"},
                                                    {"TVL20", "P01"}, {"EVAPORATIVE", "P5"}, {"EVAPORATIVE", "P12"},
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
  // The ten temperature points convert to C at each call, without memory of
  // the last; only they are restored, and the configurable set stays in F.
  gfx_setCorParms("MTM", "P1", 0.5);
  EXPECT_EQ(ConvertD86TempPt() + ConvertD86TempPt(), 0);
  EXPECT_NEAR(gfx_getCorParms("D86FROMPERCENTOFF", "P1"), -18.3950617284, 1e-9);  // (-1.111 - 32) / 1.8
  EXPECT_EQ(gfx_getCorParms("ND86FROMPERCENTOFF", "P1"), 30.0);
  EXPECT_EQ(ResetD86TempPt(), 0);
  EXPECT_EQ(gfx_getCorParms("D86FROMPERCENTOFF", "P6"), 250.0);
  EXPECT_EQ(gfx_getCorParms("MTM", "P1"), 0.5);
}

}  // namespace
