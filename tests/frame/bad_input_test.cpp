// Bad input through evaluation by index: every built-in correlation, every
// input position in turn set to the missing value, NaN, +-infinity, zero and
// a huge value, with and without derivatives. The status must be one the
// correlation documents, and NaN must not appear in a result unless the
// caller passed NaN or a documented rule lets it through: T10INDEX, T50INDEX
// and T90INDEX report an undefined index of NaN with status 0. (The cetane
// improver's logarithm of a dose at or below -P6/P7 with ChangeData off is
// NaN by its own rule; through evaluation by index that is status 1.)
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "emissions/epa_adapter.h"
#include "support/fixture.h"
#include "support/statuses.h"
#include "tarn/corparms.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

namespace {

using tarn::testing::documentedStatuses;
using tarn::testing::LibraryTest;
using tarn::testing::reportsNaNAsComputed;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

struct BadValue {
  double value;
  const char* name;
};
const BadValue kBadValues[] = {{1e30, "missing"}, {kNaN, "NaN"},  {kInf, "+inf"},
                               {-kInf, "-inf"},   {0.0, "zero"}, {1e300, "huge"}};

// Physical values a gasoline or diesel stream may have, by input property id
// (temperatures in degrees F).
const std::map<std::string, double> kTypical = {
    {"RVP", 8.0},   {"T10", 130.0}, {"T20", 150.0}, {"T30", 170.0}, {"T50", 210.0},
    {"T70", 260.0}, {"T90", 320.0}, {"IBP", 95.0},  {"FBP", 400.0}, {"ARO", 25.0},
    {"OLF", 10.0},  {"OLE", 10.0},  {"OXY", 2.0},   {"SUL", 30.0},  {"BNZ", 0.8},
    {"EHO", 2.0},   {"MTO", 0.0},   {"ETO", 10.0},  {"TMO", 0.0},   {"E20", 45.0},
    {"E30", 85.0},  {"E70", 30.0},  {"SPG", 0.85},  {"IMPVOL", 0.1}, {"IMPDRATE", 200.0},
    {"CLDPNT", 20.0}, {"POURPNT", 10.0}, {"VISC", 5.0}, {"FLSHPNT", 140.0}, {"RON", 92.0},
    {"MON", 82.0},  {"VOLETOH", 10.0}, {"OBSRVP", 8.0}, {"OBST50", 210.0}, {"OBST90", 320.0},
    {"SRVP", 0.0},  {"ST50", 0.0},  {"ST90", 0.0},  {"SARO", 0.0},  {"SBNZ", 0.0},
    {"SOLF", 0.0},  {"SSUL", 0.0}};

// Diesel distillation for the cetane correlations.
const std::map<std::string, double> kDiesel = {{"T10", 430.0}, {"T50", 520.0}, {"T90", 620.0}};

// Correlations whose inputs are the results of another one (an index, a
// percent-off vector, a corrected octane): that one is evaluated first.
const std::map<int, int> kFedBy = {{5, 6},   {8, 9},   {14, 12}, {15, 13}, {17, 16}, {19, 18},
                                   {21, 20}, {23, 22}, {30, 29}, {32, 31}, {34, 33}, {40, 39},
                                   {42, 41}, {47, 13}, {48, 9},  {49, 6}};

std::vector<std::string> ids(int index, bool inputs) {
  int count = 0;
  (inputs ? gfx_tarnGetCorrelationInpPropCount : gfx_tarnGetCorrelationOutPropCount)(index, &count);
  std::vector<std::string> out;
  for (int k = 0; k < count; ++k) {
    char id[TARN_PROPERTY_ID_SIZE] = {};
    (inputs ? gfx_tarnGetCorrelationInpPropId : gfx_tarnGetCorrelationOutPropId)(index, k, id);
    out.emplace_back(id);
  }
  return out;
}

std::string withoutSuffix(const std::string& id) {
  const std::string suffix = "_No_Ethanol";
  return id.size() > suffix.size() && id.compare(id.size() - suffix.size(), suffix.size(), suffix) == 0
             ? id.substr(0, id.size() - suffix.size())
             : id;
}

// A valid input vector for a correlation.
std::vector<double> baseline(int index) {
  std::map<std::string, double> values = kTypical;
  if (index >= 24 && index <= 27) {
    for (const auto& [id, v] : kDiesel) values[id] = v;
  }
  const std::vector<std::string> names = ids(index, true);
  if (index == 41) {  // the configured curve: 7 points at 0, 10, 30 ... 100 %
    std::vector<double> curve = {95, 130, 170, 210, 260, 320, 400};
    curve.resize(names.size(), 0.0);
    return curve;
  }
  const auto feeder = kFedBy.find(index);
  if (feeder != kFedBy.end()) {
    std::vector<double> in = baseline(feeder->second);
    const std::vector<std::string> outNames = ids(feeder->second, false);
    std::vector<double> out(outNames.size(), 0.0), d(in.size() * outNames.size() + 8, 0.0);
    EXPECT_EQ(gfx_tarnGenCalc(feeder->second, 0, 0, in.data(), out.data(), d.data()), 0);
    for (std::size_t k = 0; k < outNames.size(); ++k) values[outNames[k]] = out[k];
  }
  std::vector<double> x;
  for (const std::string& id : names) {
    const auto found = values.find(withoutSuffix(id));
    x.push_back(found != values.end() ? found->second : 0.0);
  }
  return x;
}

bool anyNaN(const std::vector<double>& v) {
  for (double x : v) {
    if (std::isnan(x)) return true;
  }
  return false;
}

TEST_F(LibraryTest, EveryCorrelationAnswersBadInputsWithADocumentedStatusAndNoNaN) {
  // A configured evaporative temperature, so that EVAPORATIVE computes.
  ASSERT_EQ(gfx_setCorParms("EVAPORATIVE", "P00", 200.0), 0);
  ASSERT_EQ(gfx_setCorParms("EVAPORATIVE", "NPTS", 1.0), 0);
  for (int index = 0; index < TARN_CORRELATION_COUNT; ++index) {
    const std::vector<double> good = baseline(index);
    const std::size_t n = good.size(), m = ids(index, false).size();
    const std::set<int> allowed = documentedStatuses(index);
    {
      std::vector<double> in = good, out(m, 0.0), d(n * m, 0.0);
      const int status = gfx_tarnGenCalc(index, 1, 0, in.data(), out.data(), d.data());
      ASSERT_EQ(status, 0) << "baseline of correlation " << index;
      ASSERT_FALSE(anyNaN(out) || anyNaN(d)) << "baseline of correlation " << index;
    }
    for (std::size_t j = 0; j < n; ++j) {
      for (const BadValue& bad : kBadValues) {
        for (int derivFlag : {0, 1}) {
          std::vector<double> in = good, out(m, 0.0), d(n * m, 0.0);
          in[j] = bad.value;
          const int status = gfx_tarnGenCalc(index, derivFlag, 0, in.data(), out.data(), d.data());
          const std::string where = "correlation " + std::to_string(index) + " input " +
                                    std::to_string(j) + " = " + bad.name +
                                    (derivFlag ? " with derivatives" : "");
          EXPECT_EQ(allowed.count(status), 1u) << where << ": status " << status;
          if (std::isnan(bad.value)) continue;
          if (reportsNaNAsComputed(index)) continue;
          EXPECT_FALSE(anyNaN(out)) << where << ": NaN output, status " << status;
          if (derivFlag && status == 0) {
            EXPECT_FALSE(anyNaN(d)) << where << ": NaN derivative";
          }
        }
      }
    }
  }
}

}  // namespace

// ---- Faults the fuzz targets and the matrix above found ------------------

// A selector stored at the int limit was offset by its first value in int
// arithmetic (signed overflow); every such selector is an unknown option.
TEST_F(LibraryTest, EpaSelectorsAtTheIntLimitsAreUnknownOptionsWithoutOverflow) {
  for (double limit : {-2147483648.0, 2147483647.0}) {
    for (int k = 0; k < 7; ++k) ASSERT_EQ(gfx_tarnSetCoefValue(7, k, limit), 0);
    char options[8];
    tarn::emissions::epaOptionsFromSelectors(options);
    EXPECT_STREQ(options, "       ");
    std::vector<double> in = baseline(7), out(5, 0.0), d(55, 0.0);
    EXPECT_EQ(documentedStatuses(7).count(gfx_tarnGenCalc(7, 1, 0, in.data(), out.data(), d.data())), 1u);
  }
}

// (API/P2)^P3 of a negative API (a gravity above 1.076, or a missing one),
// or (T/P4)^P5 of a temperature below 0 F, gave NaN; out of domain is 1e30.
TEST_F(LibraryTest, CetaneImproverOfANegativeApiOrTemperatureIsMissing) {
  const struct {
    double spg, temperature;
  } cases[] = {{1e30, 520.0}, {1.2, 520.0}, {0.85, -10.0}};
  for (const auto& c : cases) {
    EXPECT_EQ(gfx_CetaneImprover(0, 'F', c.spg, c.temperature, 0.1, nullptr), 1e30) << c.spg;
    EXPECT_EQ(gfx_CetaneImprover2(0, 'F', c.spg, c.temperature, 0.1, 45.0, nullptr), 1e30) << c.spg;
    std::vector<double> in = {c.spg, c.temperature, 0.1}, out(1, 0.0), d(3, 0.0);
    EXPECT_EQ(gfx_tarnGenCalc(27, 1, 0, in.data(), out.data(), d.data()), 1);
    EXPECT_EQ(out[0], 1e30);
  }
}

// Models computed NaN from infinite or huge inputs and returned it with
// status 0. Such a result is now undefined: 1e30 and status 1, a NaN
// derivative 0. The three-point indices keep their NaN rule, and outputs a
// correlation leaves alone keep the caller's values without changing the
// status.
TEST_F(LibraryTest, NaNComputedFromNumbersIsReportedAsUndefined) {
  const struct {
    int index, position;
    double value;
    int status;
  } cases[] = {{2, 1, kInf, 1},        // CARB, T50
               {7, 5, 1e300, 1},       // EPA, RVP
               {39, 0, -kInf, 1},      // MTMF, RON
               {56, 0, kInf, 1},       // T20GAUSS, T10
               {27, 2, -kInf, 1},      // CETANEIMPROVER, dose: the logarithm's own NaN
               {35, 2, 1e300, 0}};     // T10INDEX: NaN with status 0 (its rule)
  for (const auto& c : cases) {
    std::vector<double> in = baseline(c.index);
    const std::size_t m = ids(c.index, false).size();
    std::vector<double> out(m, 0.0), d(in.size() * m, 0.0);
    in[c.position] = c.value;
    EXPECT_EQ(gfx_tarnGenCalc(c.index, 1, 0, in.data(), out.data(), d.data()), c.status) << c.index;
    EXPECT_EQ(anyNaN(out), c.status == 0) << c.index;
    if (c.status == 1) {
      EXPECT_NE(std::find(out.begin(), out.end(), 1e30), out.end()) << c.index;
      EXPECT_FALSE(anyNaN(d)) << c.index;
    }
  }

  ASSERT_EQ(gfx_setCorParms("EVAPORATIVE", "P00", 200.0), 0);
  ASSERT_EQ(gfx_setCorParms("EVAPORATIVE", "NPTS", 1.0), 0);
  std::vector<double> curve = baseline(53), out(12, kNaN), d(84, kNaN);
  EXPECT_EQ(gfx_tarnGenCalc(53, 1, 0, curve.data(), out.data(), d.data()), 0);
  EXPECT_FALSE(std::isnan(out[0]));
  EXPECT_TRUE(std::isnan(out[11]));
}
