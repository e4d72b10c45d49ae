// Correlation coefficients: names, defaults and store rules against a
// transcription of the published lists, the fields they share with each other
// and with keyword access, and the failure codes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "frame/transcription.h"
#include "params/params.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"

namespace {

using tarn::testing::expandList;

// Each word is NAME or NAME:<rule><default>. Rules: i integer (truncated),
// r real, w real kept whole, o read-only, n count with limit (the number
// after n), g T20 quantile. A bare NAME is a real whose default is the
// parameter block's. Transcribed from the published coefficient lists.
const char* const kPublished[57] = {
    "CORF:i1 P{1..4}", "CORF:i1",  // 0
    "T50:i1 T90:i1 ARO:i1 OLF:i1 SUL:i1 BNZ:i1",
    "T50:i1 T90:i1 ARO:i1 OLF:i1 SUL:i1 BNZ:i1 EVAP:i1",
    "T50:i1 T90:i1 ARO:i1 OLF:i1 SUL:i1 BNZ:i1 EVAP:i1",
    "TYPCOR:i0 CORF:i1 P{1..10}", "TYPCOR:i0 CORF:i1 P{1..10}",  // 5
    "AREA:i1 PHASE:i2 SEASON:i1 EQUATION:i1 FUELTYPE:i1 CTYPE:i0 COUNTRY:i0",
    "P1:r1.25", "P1:r1.25", "CORF:i1 P1 P2 EF", "CORF:i1 EOHVOL:w5",  // 8
    "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1",  // 12
    "", "", "", "", "", "",  // 18
    "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1 P{1..7}", "CORF:i1 P{1..3}",  // 24
    "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1",  // 29
    "CORF:i1 N1 P{1..13}", "CORF:i1 N1 P{1..13}", "CORF:i1 N1 P{1..13}", "",  // 35
    "P{1..12} Perturb", "P{1..12} Perturb",  // 39
    "TYPCOR:i0 CORF:i1 P{1..25} T{1..13} NTEMP:n14 NPOFF:n26",
    "TYPCOR:i0 CORF:i1 P{1..25} T{1..13} NTEMP:n14 NPOFF:n26",
    "CORF:i1 ESTRM:i0", "", "", "", "", "", "",  // 43
    "CORF:i1 EOHARO EOHBNZ EOHOLF EOHEHO EOHSUL EOHSPG GASSPG EOHVOL:r5 O2OPT:i1 RNDO2:i0 "
    "RNDRST:i0 REPORT:i0 OLFPEN:i0 ALTOXY:i0",  // 50
    "CORF:i1 EOHARO:r1.7 EOHBNZ:r0.06 EOHOLF:r0.5 EOHEHO:r34.7 EOHSUL:r10 EOHSPG:r0.788 "
    "GASSPG:r0.718 EOHVOL:r5 O2OPT:i1 RNDO2:i0 RNDRST:i0 REPORT:i0 OLFPEN:i0",
    "P1:o68.94757 P2:o7", "P{00..11}:r1e30 NPTS:i0", "CORF:i1 P{1..4}",  // 52
    "CORF:i1 EOHARO EOHBNZ EOHOLF EOHEHO EOHSUL EOHSPG GASSPG EOHVOL:r5 P{1..6}",
    "P1:g P2:g P3:g",
};

struct PublishedCoefficient {
  std::string name;
  char rule = 'r';
  double number = NAN;  // default, or the limit of rule n
};

std::vector<PublishedCoefficient> published(int index) {
  std::vector<PublishedCoefficient> list;
  for (const std::string& word : expandList(kPublished[index])) {
    PublishedCoefficient c;
    const auto colon = word.find(':');
    c.name = word.substr(0, colon);
    if (colon != std::string::npos) {
      c.rule = word[colon + 1];
      if (colon + 2 < word.size()) c.number = std::stod(word.substr(colon + 2));
    }
    list.push_back(c);
  }
  return list;
}

const double kQuantileDefaults[3] = {-1.281551566, -0.841621234, -0.524400513};

// What a coefficient must read after value was set into it (in a freshly
// started library), by its published rule.
double expectedAfterSet(const PublishedCoefficient& c, int k, double before, double value) {
  switch (c.rule) {
    case 'i':
    case 'w': return std::trunc(value);
    case 'o': return before;
    case 'n': return std::trunc(value) < c.number ? std::trunc(std::trunc(value) + 0.5) : 1.0;
    case 'g': {
      // The quantiles must stay in order above P1, or the group is restored.
      double q[3] = {kQuantileDefaults[0], kQuantileDefaults[1], kQuantileDefaults[2]};
      q[k] = value;
      return (q[1] > q[0] && q[2] > q[0]) ? value : kQuantileDefaults[k];
    }
    default: return value;
  }
}

// Entries published as one exponent, one MTM set and one point group per pair
// of conversions: the two indices and the first shared position.
const int kShared[][3] = {{8, 9, 0}, {39, 40, 0}, {5, 6, 2}, {41, 42, 2}};

std::pair<int, int> sharedWith(int index, int k) {
  for (const auto& s : kShared) {
    for (int side = 0; side < 2; ++side) {
      if (s[side] == index && k >= s[2]) return {s[1 - side], k};
    }
  }
  return {-1, -1};
}

double coefficient(int index, int k) {
  double value = NAN;
  EXPECT_EQ(gfx_tarnGetCoef(index, k, nullptr, &value), 0);
  return value;
}

std::map<std::pair<int, int>, double> allCoefficients() {
  std::map<std::pair<int, int>, double> values;
  for (int index = 0; index < 57; ++index) {
    int count = 0;
    gfx_tarnGetCoefCount(index, &count);
    for (int k = 0; k < count; ++k) values[{index, k}] = coefficient(index, k);
  }
  return values;
}

class Coefficients : public tarn::testing::LibraryTest {
 protected:
  static void restart() {
    TARNReset();
    gfx_tarnInitializeCoefs();
  }
};

// Which coefficients reach a keyword field (index, first position, group,
// keywords), transcribed from the published coefficient and keyword lists.
const struct KeywordView {
  int index, firstK;
  const char* group;
  const char* keywords;
} kKeywordViews[] = {
    {0, 1, "TVL20", "P{1..4}"},           {5, 2, "D86FROMPERCENTOFF", "P{1..10}"},
    {6, 2, "D86TOPERCENTOFF", "P{1..10}"}, {8, 0, "REIDVAPORPRESSURE", "P1"},
    {9, 0, "REIDVAPORPRESSURE", "P1"},    {10, 1, "DRIVEABILITYINDEX", "P1 P2 EF"},
    {27, 1, "CETANEIMPROVER", "P{1..7}"}, {28, 1, "CFPPIMPROVER", "P{1..3}"},
    {35, 1, "T10INDEX", "N1 P{1..13}"},   {36, 1, "T50INDEX", "N1 P{1..13}"},
    {37, 1, "T90INDEX", "N1 P{1..13}"},   {39, 0, "MTM", "P{1..12} Perturb"},
    {40, 0, "MTM", "P{1..12} Perturb"},
    {41, 2, "ND86TOPERCENTOFF", "P{1..25} T{1..13} NTEMP NPOFF"},
    {42, 2, "ND86FROMPERCENTOFF", "P{1..25} T{1..13} NTEMP NPOFF"},
    {50, 1, "CARBOB2", "ARO BNZ OLF EHO SUL ETOHSPG GASSPG"},
    {50, 14, "CARBOB2", "ALTOXY"},        {52, 0, "VAPORLOCKINDEX", "P1 P2"},
    {53, 0, "EVAPORATIVE", "P{00..11} NPTS"}, {54, 1, "E200E300EPA", "P{1..4}"},
    {55, 1, "RBOB", "ARO BNZ OLF EHO SUL ETOHSPG GASSPG"},
    {55, 9, "RBOB", "P{1..6}"},           {56, 0, "T20GAUSSIAN", "P1 P2 P3"},
};

// Every keyword value of the parameter block, in listing order.
std::vector<double> allKeywordValues() {
  std::vector<double> values;
  int count = 0;
  gfx_getCorParmsCount(&count);
  for (int k = 0; k < count; ++k) {
    char group[TARN_KEYWORD_SIZE], parameter[TARN_KEYWORD_SIZE];
    gfx_getCorParmsKeywords(k, group, nullptr, parameter);
    values.push_back(gfx_getCorParms(group, parameter));
  }
  return values;
}

// A set through each coefficient, by its published rule, shows in it (and in
// the entry published as sharing its field), through its keyword if it has
// one, and nowhere else among the coefficients and keyword values.
TEST_F(Coefficients, NamesDefaultsStoreRulesAndSharedFieldsAreThePublishedOnes) {
  std::map<std::pair<int, int>, std::pair<std::string, std::string>> keywordOf;
  for (const KeywordView& view : kKeywordViews) {
    int k = view.firstK;
    for (const std::string& keyword : expandList(view.keywords)) keywordOf[{view.index, k++}] = {view.group, keyword};
  }
  std::size_t viewed = 0;
  for (int index = 0; index < 57; ++index) {
    const auto expected = published(index);
    int count = -1;
    ASSERT_EQ(gfx_tarnGetCoefCount(index, &count), 0);
    ASSERT_EQ(count, static_cast<int>(expected.size())) << index;
    for (int k = 0; k < count; ++k) {
      const PublishedCoefficient& c = expected[k];
      SCOPED_TRACE(std::to_string(index) + " " + c.name);
      restart();
      char name[TARN_COEF_NAME_SIZE];
      double value = NAN;
      ASSERT_EQ(gfx_tarnGetCoef(index, k, name, &value), 0);
      EXPECT_EQ(name, c.name);
      if (c.rule != 'n' && c.rule != 'g' && !std::isnan(c.number)) { EXPECT_DOUBLE_EQ(value, c.number); }
      const auto keyword = keywordOf.find({index, k});
      viewed += keyword != keywordOf.end();
      for (double set : {6.7, -6.7}) {
        restart();
        const auto before = allCoefficients();
        const auto keywordsBefore = allKeywordValues();
        ASSERT_EQ(gfx_tarnSetCoefValue(index, k, set), 0);
        const double stored = coefficient(index, k);
        EXPECT_DOUBLE_EQ(stored, expectedAfterSet(c, k, before.at({index, k}), set)) << set;
        const auto partner = sharedWith(index, k);
        for (const auto& [key, now] : allCoefficients()) {
          if (key == std::make_pair(index, k)) continue;
          EXPECT_EQ(now, key == partner ? stored : before.at(key)) << key.second << " of " << key.first;
        }
        const auto keywordsAfter = allKeywordValues();
        int changed = 0;
        for (std::size_t i = 0; i < keywordsBefore.size(); ++i) changed += keywordsBefore[i] != keywordsAfter[i];
        const bool shows = keyword != keywordOf.end() && stored != before.at({index, k});
        EXPECT_EQ(changed, shows ? 1 : 0) << set;
        if (shows) { EXPECT_EQ(gfx_getCorParms(keyword->second.first.c_str(), keyword->second.second.c_str()), stored); }
      }
    }
  }
  EXPECT_EQ(viewed, keywordOf.size()) << "the transcription names coefficients that do not exist";
}

TEST_F(Coefficients, CountsLimitThenRoundSwitchesIgnoreWhatNoIntHoldsQuantilesKeepTheirRatio) {
  // n = trunc(value); below the limit (14 for NTEMP, 26 for NPOFF) the stored
  // count is trunc(n + 0.5), at or beyond it 1. Both rows view one field.
  const double cases[][3] = {{13.9, 13, 13}, {14.0, 1, 14}, {25.7, 1, 25}, {26.0, 1, 1},
                             {-3.0, -2, -2}, {-0.9, 0, 0},  {1e300, 1, 1}, {INFINITY, 1, 1}};
  for (const auto& c : cases) {
    ASSERT_EQ(gfx_tarnSetCoefValue(41, 40, c[0]), 0);  // NTEMP through ND86TOPERCENTOFF
    ASSERT_EQ(gfx_tarnSetCoefValue(42, 41, c[0]), 0);  // NPOFF through ND86FROMPERCENTOFF
    EXPECT_EQ(coefficient(42, 40), c[1]) << c[0];
    EXPECT_EQ(coefficient(41, 41), c[2]) << c[0];
  }
  gfx_tarnSetCoefValue(41, 40, 5.0);
  ASSERT_EQ(gfx_tarnSetCoefValue(7, 1, 2.9), 0);  // EPA PHASE
  for (double bad : {double(NAN), double(INFINITY), -double(INFINITY), 3e9, -3e9, -1e300}) {
    EXPECT_EQ(gfx_tarnSetCoefValue(7, 1, bad), 0);
    if (!(bad > 0)) { EXPECT_EQ(gfx_tarnSetCoefValue(41, 40, bad), 0); }  // large counts store 1
    EXPECT_EQ(coefficient(41, 40), 5.0) << bad;
    EXPECT_EQ(coefficient(7, 1), 2.0) << bad;
  }
  ASSERT_EQ(gfx_tarnSetCoefValue(7, 1, 2147483647.9), 0);
  EXPECT_EQ(coefficient(7, 1), 2147483647.0);

  // The T20 ratio, read by the correlation, follows its quantiles.
  ASSERT_EQ(gfx_tarnSetCoefValue(56, 1, -0.9), 0);
  EXPECT_DOUBLE_EQ(tarn::params().t20Gaussian.ratio, (-0.9 + 1.281551566) / (-0.524400513 + 1.281551566));
  ASSERT_EQ(gfx_tarnSetCoefValue(56, 2, -2.0), 0);  // below P1: the group is restored
  EXPECT_EQ(coefficient(56, 1), -0.841621234);
  EXPECT_EQ(tarn::params().t20Gaussian.ratio, 0.5810337716059414);
}

}  // namespace
