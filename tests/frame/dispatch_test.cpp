// Evaluation by index: worked values, special-step branches, entry-point types, the batch form.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "frame/catalogue.h"
#include "frame/dispatch.h"
#include "frame/evaluation.h"
#include "tarn/distill.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

namespace {

using namespace tarn::testing;

constexpr double kUnset = -7.25;  // genCalc's fill

using DispatchTest = EvaluationTest;

// Each catalogue row against its worked value; no slopes unrequested except rows that write them on purpose.
TEST_F(DispatchTest, EveryWorkedValueComesOutOfItsCorrelationWithoutSlopes) {
  // MTMF, MTMR, oxygenate rows and two percent-off rows write slopes whatever the flag.
  const std::vector<int> slopesAnyway = {6, 39, 40, 44, 45, 46, 47, 48, 49};
  int checked = 0;
  for (const CatalogueRow& row : catalogueRows()) {
    if (row.expected.empty()) continue;
    SCOPED_TRACE(std::to_string(row.index) + " " + row.unit + ": " + row.source);
    TARNReset();
    gfx_tarnInitializeCoefs();
    setEveryUnitFlag(row.unit == 'C' ? 0.0 : 1.0);
    ASSERT_TRUE(applySettings(row));
    const Result r = genCalc(row.index, row.inputs, 0);
    EXPECT_EQ(r.status, 0);
    ASSERT_EQ(r.out.size(), row.expected.size());
    for (std::size_t k = 0; k < r.out.size(); ++k) {
      if (std::isnan(row.expected[k])) continue;
      EXPECT_NEAR(r.out[k], row.expected[k], row.tolerance * std::fabs(row.expected[k])) << k;
      ++checked;
    }
    if (std::count(slopesAnyway.begin(), slopesAnyway.end(), row.index) == 0) {
      EXPECT_EQ(r.d, std::vector<double>(r.d.size(), -7.25)) << "slopes without a request";
    }
  }
  EXPECT_GT(checked, 90);
}

TEST_F(DispatchTest, BorrowedUnitFlagsFollowTheirSourceAlone) {
  // POURPOINT1 computes in the unit of POURPOINTINDEX1, CD86ONE90BLEND in that of D86ONE90BLEND.
  for (const auto& [borrower, source] : {std::pair{17, 16}, {47, 15}}) {
    ASSERT_EQ(gfx_tarnSetCoefValue(source, 0, 0.0), 0);
    EXPECT_EQ(tarn::frame::unitOf(tarn::frame::catalogue()[borrower]), 'C') << borrower;
    ASSERT_EQ(gfx_tarnSetCoefValue(source, 0, 1.0), 0);
    EXPECT_EQ(tarn::frame::unitOf(tarn::frame::catalogue()[borrower]), 'F') << borrower;
  }
}

// The percent-off rows convert with their own TYPCOR, and it changes them.
TEST_F(DispatchTest, PercentOffRowsConvertWithTheirOwnMethod) {
  using Conversion = int (*)(std::vector<double> & x, std::vector<double> & out);
  const std::pair<int, Conversion> rows[] = {
      {5, [](auto& x, auto& out) { return gfx_D86FromPercentOff(1, 0, x.data(), out.data(), 'F', nullptr); }},
      {6, [](auto& x, auto& out) { return gfx_D86toPercentOff(1, x.data(), out.data(), 'F', 0, nullptr); }},
      {41, [](auto& x, auto& out) { return gfx_ND86toPercentOff(1, x.data(), out.data(), 'F', 0, nullptr); }},
      {42, [](auto& x, auto& out) { return gfx_ND86FromPercentOff(1, 0, x.data(), out.data(), 'F', nullptr); }},
  };
  for (const auto& [index, threeA11] : rows) {
    std::vector<double> x = realisticRows()[index].inputs;
    const Result hc94 = genCalc(index, x, 0);
    ASSERT_EQ(gfx_tarnSetCoefValue(index, 0, 1.0), 0);  // TYPCOR 1: THREEA11
    const Result viaIndex = genCalc(index, x, 0);
    std::vector<double> direct(viaIndex.out.size(), -7.25);
    EXPECT_EQ(viaIndex.status, threeA11(x, direct)) << index;
    EXPECT_EQ(viaIndex.out, direct) << index;
    EXPECT_NE(viaIndex.out, hc94.out) << index;
  }
}

// Each special-step branch; arrays start at kUnset, a nan expected derivative means left as it was.
struct Branch {
  const char* what;
  int index;
  int derivFlag;
  std::vector<double> x;
  int status;
  std::vector<double> out, d, xAfter;
};

void expectBranch(const Branch& b) {
  SCOPED_TRACE(b.what);
  const Result r = genCalc(b.index, b.x, b.derivFlag);
  EXPECT_EQ(r.status, b.status);
  for (std::size_t k = 0; k < b.out.size(); ++k) EXPECT_TRUE(same(r.out[k], b.out[k])) << k << ": " << r.out[k];
  for (std::size_t k = 0; k < b.d.size(); ++k) {
    EXPECT_DOUBLE_EQ(r.d[k], std::isnan(b.d[k]) ? kUnset : b.d[k]) << "derivative " << k;
  }
  EXPECT_TRUE(b.xAfter.empty() || r.x == b.xAfter) << "inputs as left";
}

TEST_F(DispatchTest, SpecialStepsTakeEachBranchAndWriteSlopesWhateverTheFlag) {
  const double nan = std::nan("");
  const double t90At = gfx_D86one90Blend('F', 50, 0, nullptr);
  const double rvpAt = gfx_RVP(14, 0, nullptr);
  const Branch branches[] = {
      {"CT50 no oxygenate", 45, 0, {210, 0.1, 170}, 0, {210}, {1, 0, 0}, {}},
      {"CT50 oxygenate missing", 45, 0, {210, 1e30, 170}, 0, {210}, {1, 0, 0}, {}},
      {"CT50 all oxygenate", 45, 0, {210, 100, 170}, 0, {170}, {0, 0, 0}, {}},
      {"CT50 blend, no slopes asked", 45, 0, {210, 10, 170}, 0, {19300.0 / 90}, {nan, nan, 0}, {}},
      {"CT10 blend", 44, 1, {150, 10, 160}, 0, {13400.0 / 90}, {100.0 / 90, (13400.0 / 90 - 160) / 90, 0}, {}},
      {"CD86ONE90 no oxygenate", 47, 0, {50, 0.05, 40}, 0, {t90At}, {nan, 0, 0}, {50, 0.05, 40}},
      {"CD86ONE90 all oxygenate", 47, 0, {40, 100, 50}, 0, {t90At}, {0, 0, 0}, {40, 100, 50}},
      {"CD86ONE90 undefined index", 47, 0, {0, 0.05, 40}, 1, {1e30}, {0, 0, 0}, {}},
      {"CD86ONE90 blend rewrites the index", 47, 0, {50, 10, 40}, 0, {}, {nan, nan, 0}, {4600.0 / 90, 10, 40}},
      {"CRVP no oxygenate", 48, 0, {14, 0.1, 20}, 0, {rvpAt}, {nan, 0, 0}, {}},
      {"CRVP all oxygenate clears one slope", 48, 0, {20, 100, 14}, 0, {rvpAt}, {0, nan, 0}, {}},
      {"CRVP blend rewrites the index", 48, 0, {14, 10, 20}, 0, {}, {nan, nan, 0}, {1200.0 / 90, 10, 20}},
      {"CARBOB no ethanol", 43, 1, {7.5, 210, 320, 0.1}, 0, {7.5, 210, 320}, {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}, {}},
      {"CARBOB ethanol missing", 43, 0, {7.5, 210, 320, 1e30}, 0, {7.5, 210, 320}, {nan}, {}},
      {"RVP of a missing index", 8, 0, {2e30}, 1, {1e30}, {}, {}},
      {"T10INDEX out of order", 35, 0, {220, 210, 320}, 1, {1e30}, {}, {}},
      {"T50INDEX not a number", 36, 0, {130, 210, HUGE_VAL}, 0, {nan}, {}, {}},
      // MTMF and MTMR copy all eight entries even without a request.
      {"MTMF without the flag", 39, 0, {95, 85, 10, 30}, 0, {}, std::vector<double>(8, 0.0), {}},
      {"MTMR without the flag", 40, 0, {95, 85, 10, 30}, 0, {}, std::vector<double>(8, 0.0), {}},
  };
  for (const Branch& b : branches) expectBranch(b);

  // CARBOB3 reports EHO and OXY as one value; RBOB reads its own RVP multiplier (P6).
  const Result carbob3 = genCalc(51, {7.5, 210, 320, 25, 0.8, 8, 20});
  EXPECT_EQ(carbob3.out[5], carbob3.out[7]);
  const double rbob = genCalc(55, {7.5, 210, 320, 25, 0.8, 8, 20}).out[0];
  ASSERT_EQ(gfx_tarnSetCoefValue(55, 14, 2.0), 0);
  EXPECT_DOUBLE_EQ(genCalc(55, {7.5, 210, 320, 25, 0.8, 8, 20}).out[0], 2.0 * rbob);

  // With an RVP exponent of 0 the RVP is undefined: CRVP says so only when it removed an oxygenate.
  ASSERT_EQ(gfx_tarnSetCoefValue(8, 0, 0.0), 0);
  expectBranch({"CRVP undefined, no oxygenate", 48, 1, {14, 0.1, 20}, 0, {1e30}, {nan, 0, 0}, {}});
  expectBranch({"CRVP undefined, blend", 48, 1, {14, 10, 20}, 1, {1e30}, {0, 0, 0}, {}});
}

TEST_F(DispatchTest, EntryPointsAnswerEachTypeAndRefuseBadCalls) {
  double x[4] = {9, 0, 0, 0}, out[2] = {0, 0}, d[8] = {};
  EXPECT_EQ(gfx_tarnGenCalc(57, 0, 0, x, out, d), TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(gfx_tarnGenCalcComplex(-1, 0, 0, 0, x, out, d), TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(tarn_CalcCorrelation(57, x, out, 0, d), TARN_STATUS_BAD_CORRELATION);
  EXPECT_EQ(tarn_CalcCorrelation(-1, x, out, 0, d), TARN_STATUS_BAD_CORRELATION);
  EXPECT_EQ(gfx_tarnGenCalc(9, 1, 0, x, out, nullptr), TARN_STATUS_NO_DERIVATIVE_ARRAY);
  EXPECT_EQ(gfx_tarnGenCalc(9, 0, 0, nullptr, out, nullptr), TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(gfx_tarnGenCalc(9, 0, 0, x, nullptr, nullptr), TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(gfx_tarnGenCalc(39, 0, 0, x, out, nullptr), 0);  // MTMF copies no slopes without an array
  EXPECT_EQ(gfx_tarnCalcPropDeriv(9, 1, 1, x, d), 0);

  // Types no correlation has: {type, complex entry, flag, derivative array given, status}.
  const int cases[][5] = {{0, 0, 0, 0, 0},     {0, 0, 1, 1, 0},      {-1, 1, 1, 0, -8888},  {-3, 0, 0, 1, -999},
                          {-3, 1, 1, 1, 0},    {-3, 1, 1, 0, -8888}, {-2, 1, 0, 1, -999},   {1, 0, 0, 0, 0},
                          {1, 0, 1, 0, -8888}, {2, 0, 0, 1, -999},   {-9999, 1, 0, 1, -999}};
  const tarn::frame::CorrelationRow* rvpIndex = tarn::frame::findCorrelation(9);
  for (const auto& c : cases) {
    out[0] = 42;
    EXPECT_EQ(tarn::frame::calculateByType(c[0], c[1] != 0, rvpIndex, c[2], x, out, c[3] ? d : nullptr), c[4])
        << c[0] << (c[1] ? " complex" : "");
    EXPECT_EQ(out[0], 42);  // nothing computed
  }
  // Type 1: a forward difference of the re-evaluated correlation against the output the caller holds.
  out[0] = gfx_RVPIndex(9, 0, nullptr);
  EXPECT_EQ(tarn::frame::calculateByType(1, false, rvpIndex, 1, x, out, d), 0);
  const double step = (std::fabs(9.0) + 1) * 0.001;
  EXPECT_NEAR(d[0], (gfx_RVPIndex(9 + step, 0, nullptr) - out[0]) / step, 1e-9);
}

TEST_F(DispatchTest, BatchEvaluationIsRowByRowEvaluationAndCountsFailedRows) {
  // The realistic row and one missing its first input, also with fewer outputs configured (41, 42, 53).
  for (const CatalogueRow& w : realisticRows()) {
    std::vector<double> missing = w.inputs, inputs = w.inputs;
    missing[0] = 1e30;
    inputs.insert(inputs.end(), missing.begin(), missing.end());
    const std::vector<double> given = inputs;
    for (const int flag : {0, 1}) {
      const Result rows[2] = {genCalc(w.index, w.inputs, flag), genCalc(w.index, missing, flag)};
      const std::size_t out = rows[0].out.size(), d = rows[0].d.size();
      std::vector<double> outputs(2 * out, kUnset), derivs(2 * d, kUnset);
      int statuses[2] = {42, 42};
      EXPECT_EQ(gfx_tarnGenCalcBatch(w.index, flag, 2, inputs.data(), outputs.data(), derivs.data(), statuses),
                (rows[0].status != 0) + (rows[1].status != 0))
          << w.index;
      EXPECT_EQ(inputs, given) << w.index;
      for (std::size_t r = 0; r < 2; ++r) {
        EXPECT_EQ(statuses[r], rows[r].status) << w.index << " row " << r;
        EXPECT_TRUE(std::equal(rows[r].out.begin(), rows[r].out.end(), outputs.begin() + r * out, same));
        EXPECT_TRUE(std::equal(rows[r].d.begin(), rows[r].d.end(), derivs.begin() + r * d, same)) << w.index;
      }
    }
  }
  // Refusals evaluate nothing; per-row codes are those of gfx_tarnGenCalc.
  double x[2] = {9, 10}, out[2] = {0, 0};
  int statuses[2] = {0, 0};
  EXPECT_EQ(gfx_tarnGenCalcBatch(9, 0, -1, x, out, nullptr, statuses), -999);
  EXPECT_EQ(gfx_tarnGenCalcBatch(9, 0, 2, nullptr, out, nullptr, statuses), -999);
  EXPECT_EQ(gfx_tarnGenCalcBatch(57, 0, 2, x, out, nullptr, statuses), 2);
  EXPECT_EQ(statuses[1], TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(gfx_tarnGenCalcBatch(9, 1, 2, x, out, nullptr, nullptr), 2);  // -8888 per row
  EXPECT_EQ(gfx_tarnGenCalcBatch(9, 0, 2, x, out, nullptr, nullptr), 0);
  EXPECT_EQ(out[1], gfx_RVPIndex(10, 0, nullptr));
}

TEST_F(DispatchTest, ActualOutputCountsFollowTheConfiguredPoints) {
  EXPECT_EQ(tarn_GetActualNumberOutput(41), 10);
  EXPECT_EQ(tarn_GetActualNumberOutput(42), 7);
  EXPECT_EQ(tarn_GetActualNumberOutput(53), 3);
  EXPECT_EQ(tarn_GetActualNumberOutput(5), -1);
  EXPECT_EQ(tarn_GetActualNumberOutput(57), -1);
  ASSERT_EQ(gfx_tarnSetCoefValue(42, 40, 12), 0);  // NTEMP
  EXPECT_EQ(tarn_GetActualNumberOutput(42), 12);
  ASSERT_EQ(gfx_tarnSetCoefValue(41, 41, 0), 0);  // NPOFF: also hides NTEMP
  EXPECT_EQ(tarn_GetActualNumberOutput(41), -1);
  EXPECT_EQ(tarn_GetActualNumberOutput(42), -1);
  ASSERT_EQ(gfx_tarnSetCoefValue(53, 12, 0), 0);
  EXPECT_EQ(tarn_GetActualNumberOutput(53), -1);
}

}  // namespace
