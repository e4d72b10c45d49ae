// Correlation coefficients: names and defaults against a transcription of the
// published lists, the store rule of every entry, the views they share with
// keyword access, and the failure codes.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "frame/transcription.h"
#include "params/keywords.h"
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
    "CORF:i1 P{1..4}",
    "CORF:i1",
    "T50:i1 T90:i1 ARO:i1 OLF:i1 SUL:i1 BNZ:i1",
    "T50:i1 T90:i1 ARO:i1 OLF:i1 SUL:i1 BNZ:i1 EVAP:i1",
    "T50:i1 T90:i1 ARO:i1 OLF:i1 SUL:i1 BNZ:i1 EVAP:i1",
    "TYPCOR:i0 CORF:i1 P{1..10}",
    "TYPCOR:i0 CORF:i1 P{1..10}",
    "AREA:i1 PHASE:i2 SEASON:i1 EQUATION:i1 FUELTYPE:i1 CTYPE:i0 COUNTRY:i0",
    "P1:r1.25",
    "P1:r1.25",
    "CORF:i1 P1 P2 EF",
    "CORF:i1 EOHVOL:w5",
    "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1",
    "", "", "", "", "", "",
    "CORF:i1", "CORF:i1", "CORF:i1",
    "CORF:i1 P{1..7}",
    "CORF:i1 P{1..3}",
    "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1", "CORF:i1",
    "CORF:i1 N1 P{1..13}", "CORF:i1 N1 P{1..13}", "CORF:i1 N1 P{1..13}",
    "",
    "P{1..12} Perturb",
    "P{1..12} Perturb",
    "TYPCOR:i0 CORF:i1 P{1..25} T{1..13} NTEMP:n14 NPOFF:n26",
    "TYPCOR:i0 CORF:i1 P{1..25} T{1..13} NTEMP:n14 NPOFF:n26",
    "CORF:i1 ESTRM:i0",
    "", "", "", "", "", "",
    "CORF:i1 EOHARO EOHBNZ EOHOLF EOHEHO EOHSUL EOHSPG GASSPG EOHVOL:r5 O2OPT:i1 RNDO2:i0 "
    "RNDRST:i0 REPORT:i0 OLFPEN:i0 ALTOXY:i0",
    "CORF:i1 EOHARO:r1.7 EOHBNZ:r0.06 EOHOLF:r0.5 EOHEHO:r34.7 EOHSUL:r10 EOHSPG:r0.788 "
    "GASSPG:r0.718 EOHVOL:r5 O2OPT:i1 RNDO2:i0 RNDRST:i0 REPORT:i0 OLFPEN:i0",
    "P1:o68.94757 P2:o7",
    "P{00..11}:r1e30 NPTS:i0",
    "CORF:i1 P{1..4}",
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

double coefficient(int index, int k) {
  double value = NAN;
  EXPECT_EQ(gfx_tarnGetCoef(index, k, nullptr, &value), 0);
  return value;
}

// What a coefficient must read after value was set into it (in a freshly
// started library), by its published rule.
double expectedAfterSet(const PublishedCoefficient& c, int k, double before, double value) {
  switch (c.rule) {
    case 'i':
    case 'w': return std::trunc(value);
    case 'o': return before;
    case 'n': {
      const double n = std::trunc(value);
      return n < c.number ? std::trunc(n + 0.5) : 1.0;
    }
    case 'g': {
      // The quantiles must stay in order above P1, or the group is restored.
      double q[3] = {kQuantileDefaults[0], kQuantileDefaults[1], kQuantileDefaults[2]};
      q[k] = value;
      return (q[1] > q[0] && q[2] > q[0]) ? value : kQuantileDefaults[k];
    }
    default: return value;
  }
}

class Coefficients : public tarn::testing::LibraryTest {
 protected:
  static void restart() {
    TARNReset();
    gfx_tarnInitializeCoefs();
  }
};

TEST_F(Coefficients, NamesCountsAndDefaultsMatchThePublishedLists) {
  for (int index = 0; index < 57; ++index) {
    const auto expected = published(index);
    SCOPED_TRACE(index);
    int count = -1;
    ASSERT_EQ(gfx_tarnGetCoefCount(index, &count), 0);
    ASSERT_EQ(count, static_cast<int>(expected.size()));
    for (int k = 0; k < count; ++k) {
      char name[TARN_COEF_NAME_SIZE];
      double value = NAN;
      ASSERT_EQ(gfx_tarnGetCoef(index, k, name, &value), 0);
      EXPECT_EQ(name, expected[k].name) << "k " << k;
      const char rule = expected[k].rule;
      if (rule != 'n' && rule != 'g' && !std::isnan(expected[k].number)) {
        EXPECT_DOUBLE_EQ(value, expected[k].number) << expected[k].name;
      }
    }
  }
  // The worked example: EPA's fourth coefficient.
  char name[TARN_COEF_NAME_SIZE];
  double value = 0;
  EXPECT_EQ(gfx_tarnGetCoef(7, 3, name, &value), 0);
  EXPECT_STREQ(name, "EQUATION");
  EXPECT_EQ(value, 1.0);
}

// The entry that another correlation shares with (index, k), published as
// one exponent, one MTM set and one point group per pair of conversions;
// {-1, -1} when there is none.
std::pair<int, int> sharedWith(int index, int k) {
  switch (index) {
    case 8: return {9, k};
    case 9: return {8, k};
    case 39: return {40, k};
    case 40: return {39, k};
    case 5: return k >= 2 ? std::make_pair(6, k) : std::make_pair(-1, -1);
    case 6: return k >= 2 ? std::make_pair(5, k) : std::make_pair(-1, -1);
    case 41: return k >= 2 ? std::make_pair(42, k) : std::make_pair(-1, -1);
    case 42: return k >= 2 ? std::make_pair(41, k) : std::make_pair(-1, -1);
    default: return {-1, -1};
  }
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

TEST_F(Coefficients, EveryEntryStoresByItsRuleAndTouchesNoOther) {
  for (int index = 0; index < 57; ++index) {
    const auto expected = published(index);
    for (int k = 0; k < static_cast<int>(expected.size()); ++k) {
      for (double value : {6.7, -6.7}) {
        SCOPED_TRACE(std::to_string(index) + " " + expected[k].name + " " + std::to_string(value));
        restart();
        const auto before = allCoefficients();
        ASSERT_EQ(gfx_tarnSetCoefValue(index, k, value), 0);
        const double stored = coefficient(index, k);
        EXPECT_DOUBLE_EQ(stored, expectedAfterSet(expected[k], k, before.at({index, k}), value));
        const auto partner = sharedWith(index, k);
        for (const auto& [key, now] : allCoefficients()) {
          if (key == std::make_pair(index, k)) continue;
          EXPECT_EQ(now, key == partner ? stored : before.at(key))
              << "coefficient " << key.second << " of " << key.first;
        }
      }
    }
  }
}

TEST_F(Coefficients, CountsAreLimitedThenRoundedAndShared) {
  struct Case {
    double value, ntemp, npoff;
  };
  // n = trunc(value); below the limit (14 for NTEMP, 26 for NPOFF) the stored
  // count is trunc(n + 0.5), at or beyond it 1.
  const Case cases[] = {
      {13.9, 13, 13}, {14.0, 1, 14}, {25.7, 1, 25}, {26.0, 1, 1}, {-3.0, -2, -2},
      {-0.9, 0, 0},   {-1.0, 0, 0},  {1e300, 1, 1}, {INFINITY, 1, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    ASSERT_EQ(gfx_tarnSetCoefValue(41, 40, c.value), 0);  // NTEMP through ND86TOPERCENTOFF
    ASSERT_EQ(gfx_tarnSetCoefValue(42, 41, c.value), 0);  // NPOFF through ND86FROMPERCENTOFF
    EXPECT_EQ(coefficient(42, 40), c.ntemp);
    EXPECT_EQ(coefficient(41, 41), c.npoff);
    EXPECT_EQ(gfx_getCorParms("ND86FROMPERCENTOFF", "NTEMP"), c.ntemp);
  }
  // Nothing an int cannot hold is stored.
  gfx_tarnSetCoefValue(41, 40, 5.0);
  for (double bad : {double(NAN), -double(INFINITY), -1e300}) {
    EXPECT_EQ(gfx_tarnSetCoefValue(41, 40, bad), 0);
    EXPECT_EQ(coefficient(41, 40), 5.0);
  }
}

TEST_F(Coefficients, SwitchesIgnoreWhatNoIntHoldsAndQuantilesKeepTheirRatio) {
  ASSERT_EQ(gfx_tarnSetCoefValue(7, 1, 2.9), 0);  // EPA PHASE
  for (double bad : {double(NAN), double(INFINITY), -double(INFINITY), 3e9, -3e9}) {
    EXPECT_EQ(gfx_tarnSetCoefValue(7, 1, bad), 0);
    EXPECT_EQ(coefficient(7, 1), 2.0);
  }
  ASSERT_EQ(gfx_tarnSetCoefValue(7, 1, 2147483647.9), 0);
  EXPECT_EQ(coefficient(7, 1), 2147483647.0);

  // The T20 ratio, read by the correlation, follows its quantiles.
  ASSERT_EQ(gfx_tarnSetCoefValue(56, 1, -0.9), 0);
  EXPECT_DOUBLE_EQ(tarn::params().t20Gaussian.ratio,
                   (-0.9 + 1.281551566) / (-0.524400513 + 1.281551566));
  ASSERT_EQ(gfx_tarnSetCoefValue(56, 2, -2.0), 0);  // below P1: the group is restored
  EXPECT_EQ(coefficient(56, 1), -0.841621234);
  EXPECT_EQ(tarn::params().t20Gaussian.ratio, 0.5810337716059414);
}

TEST_F(Coefficients, FailuresAreCheckedCountFirstAndWriteNothing) {
  int count = -1;
  EXPECT_EQ(gfx_tarnGetCoefCount(57, &count), -4);
  EXPECT_EQ(gfx_tarnGetCoefCount(-1, &count), -4);
  EXPECT_EQ(count, -1);
  char name[TARN_COEF_NAME_SIZE] = "same";
  double value = 42.0;
  EXPECT_EQ(gfx_tarnGetCoef(18, 0, name, &value), -8);  // VISCOSITYINDEX1 has none
  EXPECT_EQ(gfx_tarnGetCoef(0, 5, name, &value), -8);
  EXPECT_EQ(gfx_tarnGetCoef(0, -1, name, &value), -8);
  EXPECT_EQ(gfx_tarnGetCoef(57, -1, name, &value), -4);  // the index fails before k
  EXPECT_STREQ(name, "same");
  EXPECT_EQ(value, 42.0);
  EXPECT_EQ(gfx_tarnSetCoefValue(18, 0, 1.0), -8);
  EXPECT_EQ(gfx_tarnSetCoefValue(-5, 100, 1.0), -4);
  EXPECT_EQ(gfx_tarnSetCoefValue(0, 5, 1.0), -8);
  EXPECT_EQ(coefficient(0, 4), 0.17);  // TVL P4 untouched by the refused position
  // Null name or value pointers are tolerated.
  EXPECT_EQ(gfx_tarnGetCoef(0, 0, nullptr, nullptr), 0);
  EXPECT_EQ(gfx_tarnGetCoefCount(0, nullptr), 0);
}

// ---- Views shared with keyword access ---------------------------------------

struct KeywordView {
  int index;
  int firstK;
  const char* group;
  const char* keywords;
};

// Which coefficients reach a keyword field, transcribed from the published
// coefficient and keyword lists.
const KeywordView kKeywordViews[] = {
    {0, 1, "TVL20", "P{1..4}"},
    {5, 2, "D86FROMPERCENTOFF", "P{1..10}"},
    {6, 2, "D86TOPERCENTOFF", "P{1..10}"},
    {8, 0, "REIDVAPORPRESSURE", "P1"},
    {9, 0, "REIDVAPORPRESSURE", "P1"},
    {10, 1, "DRIVEABILITYINDEX", "P1 P2 EF"},
    {27, 1, "CETANEIMPROVER", "P{1..7}"},
    {28, 1, "CFPPIMPROVER", "P{1..3}"},
    {35, 1, "T10INDEX", "N1 P{1..13}"},
    {36, 1, "T50INDEX", "N1 P{1..13}"},
    {37, 1, "T90INDEX", "N1 P{1..13}"},
    {39, 0, "MTM", "P{1..12} Perturb"},
    {40, 0, "MTM", "P{1..12} Perturb"},
    {41, 2, "ND86TOPERCENTOFF", "P{1..25} T{1..13} NTEMP NPOFF"},
    {42, 2, "ND86FROMPERCENTOFF", "P{1..25} T{1..13} NTEMP NPOFF"},
    {50, 1, "CARBOB2", "ARO BNZ OLF EHO SUL ETOHSPG GASSPG"},
    {50, 14, "CARBOB2", "ALTOXY"},
    {52, 0, "VAPORLOCKINDEX", "P1 P2"},
    {53, 0, "EVAPORATIVE", "P{00..11} NPTS"},
    {54, 1, "E200E300EPA", "P{1..4}"},
    {55, 1, "RBOB", "ARO BNZ OLF EHO SUL ETOHSPG GASSPG"},
    {55, 9, "RBOB", "P{1..6}"},
    {56, 0, "T20GAUSSIAN", "P1 P2 P3"},
};

using Keyword = std::pair<std::string, std::string>;

std::map<std::pair<int, int>, Keyword> keywordOfCoefficient() {
  std::map<std::pair<int, int>, Keyword> map;
  for (const KeywordView& view : kKeywordViews) {
    int k = view.firstK;
    for (const std::string& keyword : expandList(view.keywords)) map[{view.index, k++}] = {view.group, keyword};
  }
  return map;
}

// Every keyword value of the parameter block, in table order.
std::vector<double> allKeywordValues() {
  std::vector<double> values;
  char name[16];
  for (std::size_t i = 0; i < tarn::keywords::tableSize(); ++i) {
    const auto& entry = tarn::keywords::table()[i];
    const int count = entry.count == 0 ? 1 : entry.count;
    for (int k = 0; k < count; ++k) {
      tarn::keywords::parameterName(entry, k, name, sizeof name);
      values.push_back(gfx_getCorParms(entry.group, entry.name ? name : "any"));
    }
  }
  return values;
}

int changedCount(const std::vector<double>& before, const std::vector<double>& after) {
  int changed = 0;
  for (std::size_t i = 0; i < before.size(); ++i) changed += before[i] != after[i];
  return changed;
}

// A value distinct from the current one that every rule accepts (the T20
// quantiles must stay above P1).
double probe(int index, int k, double current, double step) {
  if (index == 56) return current + (k == 0 ? -step / 8 : step / 8);
  return current >= 1e29 ? 40.0 + step : current + step;
}

TEST_F(Coefficients, KeywordAndCoefficientSeeTheSameFieldsAndOnlyThose) {
  const auto map = keywordOfCoefficient();
  std::size_t mapped = 0;
  for (int index = 0; index < 57; ++index) {
    int count = 0;
    gfx_tarnGetCoefCount(index, &count);
    for (int k = 0; k < count; ++k) {
      char name[TARN_COEF_NAME_SIZE];
      gfx_tarnGetCoef(index, k, name, nullptr);
      SCOPED_TRACE(std::to_string(index) + " " + name);
      const auto found = map.find({index, k});
      const bool readOnly = index == 52;

      // A coefficient set shows through its keyword, and through no other.
      restart();
      const auto before = allKeywordValues();
      const double value = probe(index, k, coefficient(index, k), 2.0);
      ASSERT_EQ(gfx_tarnSetCoefValue(index, k, value), 0);
      const auto after = allKeywordValues();
      if (found == map.end()) {
        EXPECT_EQ(changedCount(before, after), 0) << "a setting aliases a keyword field";
        continue;
      }
      ++mapped;
      const Keyword& keyword = found->second;
      EXPECT_EQ(changedCount(before, after), readOnly ? 0 : 1);
      if (!readOnly) {
        EXPECT_EQ(gfx_getCorParms(keyword.first.c_str(), keyword.second.c_str()), value);
      }

      // And a keyword set shows through the coefficient.
      restart();
      const double other = probe(index, k, coefficient(index, k), 1.0);
      ASSERT_EQ(gfx_setCorParms(keyword.first.c_str(), keyword.second.c_str(), other), 0);
      EXPECT_EQ(coefficient(index, k), other);
    }
  }
  EXPECT_EQ(mapped, map.size()) << "the transcription names coefficients that do not exist";
}

}  // namespace
