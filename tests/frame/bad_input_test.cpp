// Every correlation and input set to missing, NaN, +-inf, 0, huge, and the fuzz-found faults: documented statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "emissions/catalogue_adapters.h"
#include "frame/catalogue.h"
#include "frame/evaluation.h"
#include "support/statuses.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

namespace {

using namespace tarn::testing;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

std::vector<double> inputsOf(int index) { return realisticRows()[index].inputs; }

using tarn::frame::InputRewrite;

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

bool anyNaN(const std::vector<double>& v) {
  return std::any_of(v.begin(), v.end(), [](double x) { return std::isnan(x); });
}

using BadInput = EvaluationTest;

TEST_F(BadInput, EveryCorrelationAnswersBadInputsWithADocumentedStatusAndNoNaN) {
  const double bad[] = {1e30, kNaN, kInf, -kInf, 0.0, 1e300};
  for (const CatalogueRow& call : realisticRows()) {
    const int index = call.index;
    ASSERT_EQ(genCalc(index, call.inputs).status, 0) << "realistic row of correlation " << index;
    const std::set<int> allowed = documentedStatuses(index);
    for (std::size_t j = 0; j < call.inputs.size(); ++j) {
      for (double value : bad) {
        for (int derivFlag : {0, 1}) {
          std::vector<double> x = call.inputs;
          x[j] = value;
          const Result r = genCalc(index, x, derivFlag, 0.0);
          const auto where = [&] {
            return "correlation " + std::to_string(index) + " input " + std::to_string(j) + " = " +
                   std::to_string(value) + (derivFlag ? " with derivatives" : "");
          };
          EXPECT_EQ(allowed.count(r.status), 1u) << where() << ": status " << r.status;
          // A second run on copies relies on the rows the catalogue says keep their inputs keeping them.
          if (tarn::frame::findCorrelation(index)->rewritesInputs != InputRewrite::Always) {
            EXPECT_TRUE(std::equal(x.begin(), x.end(), r.x.begin(), sameBits)) << where();
          }
          // What the caller left in the arrays (NaN) does not change the answer.
          const auto sameOrLeft = [](double withNaN, double withZero) {
            return same(withNaN, withZero) || (withZero == 0.0 && std::isnan(withNaN));
          };
          for (const double fill : {kNaN, -kNaN}) {
            const Result n = genCalc(index, x, derivFlag, fill);
            EXPECT_EQ(n.status, r.status) << where() << ", arrays holding NaN";
            for (std::size_t k = 0; k < r.out.size(); ++k) {
              EXPECT_TRUE(sameOrLeft(n.out[k], r.out[k])) << where() << ", output " << k;
            }
            for (std::size_t k = 0; derivFlag && k < r.d.size(); ++k) {
              EXPECT_TRUE(sameOrLeft(n.d[k], r.d[k])) << where() << ", derivative " << k;
            }
          }
          if (std::isnan(value) || reportsNaNAsComputed(index)) continue;
          EXPECT_FALSE(anyNaN(r.out)) << where() << ": NaN output, status " << r.status;
          if (derivFlag && r.status == 0) {
            EXPECT_FALSE(anyNaN(r.d)) << where() << ": NaN derivative";
          }
        }
      }
    }
  }
}

// A selector at the int limit overflowed when offset by its first value; it is an unknown option.
TEST_F(BadInput, EpaSelectorsAtTheIntLimitsAreUnknownOptionsWithoutOverflow) {
  for (double limit : {-2147483648.0, 2147483647.0}) {
    for (int k = 0; k < 7; ++k) ASSERT_EQ(gfx_tarnSetCoefValue(7, k, limit), 0);
    char options[8];
    tarn::emissions::epaOptionsFromSelectors(options);
    EXPECT_STREQ(options, "       ");
    EXPECT_EQ(documentedStatuses(7).count(genCalc(7, inputsOf(7)).status), 1u);
  }
}

// (API/P2)^P3 of a negative API or (T/P4)^P5 below 0 F gave NaN; out of domain is 1e30.
TEST_F(BadInput, CetaneImproverOfANegativeApiOrTemperatureIsMissing) {
  for (const auto& [spg, temperature] : {std::pair{1e30, 520.0}, {1.2, 520.0}, {0.85, -10.0}}) {
    EXPECT_EQ(gfx_CetaneImprover(0, 'F', spg, temperature, 0.1, nullptr), 1e30) << spg;
    EXPECT_EQ(gfx_CetaneImprover2(0, 'F', spg, temperature, 0.1, 45.0, nullptr), 1e30) << spg;
    const Result c = genCalc(27, {spg, temperature, 0.1});
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(c.out[0], 1e30);
  }
}

// Infinite or huge inputs gave NaN with status 0; now 1e30 and status 1 (NaN derivative 0), NaN rule kept.
TEST_F(BadInput, NaNComputedFromNumbersIsReportedAsUndefined) {
  const struct {
    int index, position;
    double value;
    int status;
  } cases[] = {{2, 1, kInf, 1},     // CARB, T50
               {7, 5, 1e300, 1},    // EPA, RVP
               {39, 0, -kInf, 1},   // MTMF, RON
               {56, 0, kInf, 1},    // T20GAUSS, T10
               {27, 2, -kInf, 1},   // CETANEIMPROVER, dose: the logarithm's own NaN
               {35, 2, 1e300, 0}};  // T10INDEX: NaN with status 0 (its rule)
  for (const auto& c : cases) {
    std::vector<double> x = inputsOf(c.index);
    x[c.position] = c.value;
    const Result r = genCalc(c.index, x);
    EXPECT_EQ(r.status, c.status) << c.index;
    EXPECT_EQ(anyNaN(r.out), c.status == 0) << c.index;
    if (c.status == 1) {
      EXPECT_NE(std::find(r.out.begin(), r.out.end(), 1e30), r.out.end()) << c.index;
      EXPECT_FALSE(anyNaN(r.d)) << c.index;
    }
  }
  const Result evaporative = genCalc(53, inputsOf(53), 1, kNaN);  // three of twelve outputs configured
  EXPECT_EQ(evaporative.status, 0);
  EXPECT_FALSE(std::isnan(evaporative.out[0]));
  EXPECT_TRUE(std::isnan(evaporative.out[11]));
}

}  // namespace
