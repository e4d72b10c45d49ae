// Coefficients: names, defaults, store rules and shared fields against the published lists; failure codes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "frame/transcription.h"
#include "params/params.h"
#include "support/catalogue_rows.h"
#include "support/data.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"

namespace {

using tarn::testing::coefficient;
using tarn::testing::expandList;

struct PublishedCoefficient {
  std::string name;
  char rule = 'r';
  double number = NAN;  // default, or the limit of rule n
};

// The published coefficient lists and the keywords they view (published_catalogue.csv, columns 7 and 8).
const std::vector<std::vector<std::string>>& publishedCatalogue() {
  static const auto rows = tarn::testing::dataTable("published_catalogue.csv", 9);
  return rows;
}

// Each word is NAME or NAME:<rule><default>.
std::vector<PublishedCoefficient> published(int index) {
  std::vector<PublishedCoefficient> list;
  for (const std::string& word : expandList(publishedCatalogue()[index][7])) {
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

// What a coefficient must read after value was set into it (in a freshly started library), by its published rule.
double expectedAfterSet(const PublishedCoefficient& c, int k, double before, double value) {
  switch (c.rule) {
    case 'i':
    case 'w':
      return std::trunc(value);
    case 'o':
      return before;
    case 'n':
      return std::trunc(value) < c.number ? std::trunc(std::trunc(value) + 0.5) : 1.0;
    case 'g': {
      // The quantiles must stay in order above P1, or the group is restored.
      double q[3] = {kQuantileDefaults[0], kQuantileDefaults[1], kQuantileDefaults[2]};
      q[k] = value;
      return (q[1] > q[0] && q[2] > q[0]) ? value : kQuantileDefaults[k];
    }
    default:
      return value;
  }
}

// One exponent, MTM set or point group shared per conversion pair: both indices and the first shared position.
const int kShared[][3] = {{8, 9, 0}, {39, 40, 0}, {5, 6, 2}, {41, 42, 2}};

std::pair<int, int> sharedWith(int index, int k) {
  for (const auto& s : kShared) {
    for (int side = 0; side < 2; ++side) {
      if (s[side] == index && k >= s[2]) return {s[1 - side], k};
    }
  }
  return {-1, -1};
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

// A set shows, by its published rule, in the coefficient, its partner and its keyword, and nowhere else.
TEST_F(Coefficients, NamesDefaultsStoreRulesAndSharedFieldsAreThePublishedOnes) {
  // Which coefficients view a keyword field: "first k, group, keywords".
  std::map<std::pair<int, int>, std::pair<std::string, std::string>> keywordOf;
  for (int index = 0; index < 57; ++index) {
    std::istringstream views(publishedCatalogue()[index][8]);
    for (std::string view; std::getline(views, view, '|');) {
      std::istringstream in(view);
      int k = 0;
      std::string group, keywords;
      in >> k >> group;
      std::getline(in, keywords);
      for (const std::string& keyword : expandList(keywords)) {
        keywordOf[{index, k++}] = {group, keyword};
      }
    }
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
      if (c.rule != 'n' && c.rule != 'g' && !std::isnan(c.number)) {
        EXPECT_DOUBLE_EQ(value, c.number);
      }
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
        if (shows) {
          EXPECT_EQ(gfx_getCorParms(keyword->second.first.c_str(), keyword->second.second.c_str()), stored);
        }
      }
    }
  }
  EXPECT_EQ(viewed, keywordOf.size()) << "the transcription names coefficients that do not exist";
}

TEST_F(Coefficients, CountsLimitThenRoundSwitchesIgnoreWhatNoIntHoldsQuantilesKeepTheirRatio) {
  // n = trunc(value); below the limit (NTEMP 14, NPOFF 26) stored as trunc(n + 0.5), else 1; one shared field.
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
    if (!(bad > 0)) {
      EXPECT_EQ(gfx_tarnSetCoefValue(41, 40, bad), 0);
    }  // large counts store 1
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
