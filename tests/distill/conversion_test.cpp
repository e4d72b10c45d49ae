// D86 <-> TBP: published conversions, fits, round trips, order checks, caps, pure components, the solver.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "distill/conversion.h"
#include "params/params.h"
#include "support/catalogue_rows.h"
#include "support/fixture.h"
#include "support/temperature.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using tarn::testing::celsiusOf;
using Curve = std::vector<double>;
using Routine = int (*)(char, const double*, double*);

class ConversionTest : public tarn::testing::LibraryTest {};

Curve convert(Routine routine, char unit, const Curve& in, int* status = nullptr) {
  Curve out(7, -1.0);
  const int s = routine(unit, in.data(), out.data());
  if (status != nullptr) *status = s;
  return out;
}

// Realistic D86 curves in degrees F: naphtha, gasoline, kerosene, diesel.
const std::vector<Curve> kCurves = {{100, 135, 170, 205, 240, 285, 340},
                                    {90, 125, 160, 210, 260, 330, 400},
                                    {330, 350, 380, 405, 435, 470, 520},
                                    {360, 430, 480, 520, 560, 620, 680}};

// Published curves and the polynomial fits evaluated apart from the library (tests/data/conversions.csv).
TEST_F(ConversionTest, RoutinesMatchPublishedCurvesAndIndependentlyEvaluatedFits) {
  const std::map<std::string, Routine> routines = {{"THREEA11F", gfx_THREEA11F}, {"HC94F", gfx_HC94F},
                                                   {"ETHYLSF", gfx_ETHYLSF},     {"SIXORDERF", gfx_SIXORDERF},
                                                   {"ETHYLSR", gfx_ETHYLSR},     {"SIXORDERR", gfx_SIXORDERR}};
  const auto rows = tarn::testing::dataTable("conversions.csv", 6);
  ASSERT_EQ(rows.size(), 12u);
  for (const auto& row : rows) {
    SCOPED_TRACE(row[0] + " " + row[1] + ": " + row[5]);
    int status = -1;
    const Curve got = convert(routines.at(row[0]), row[1][0], tarn::testing::numbersOf(row[2]), &status);
    EXPECT_EQ(status, 0);
    const Curve want = tarn::testing::numbersOf(row[3]);
    for (int k = 0; k < 7; ++k) {
      if (!std::isnan(want[k])) {
        EXPECT_NEAR(got[k], want[k], std::stod(row[4])) << "point " << k;
      }
    }
  }
}

TEST_F(ConversionTest, ForwardThenExactInverseReturnsTheCurveInBothUnits) {
  struct Pair {
    Routine forward, inverse;
    double tolerance;
  };
  // The numerical inverses stop on a step of 1e-6; the algebraic ones are exact.
  const Pair pairs[] = {{gfx_HC94F, gfx_HC94R, 1e-9},
                        {gfx_THREEA11F, gfx_THREEA11R, 1e-9},
                        {gfx_SIXORDERF, gfx_SIXORDERR_REV, 1e-5},
                        {gfx_ETHYLSF, gfx_ETHYLSR_REV, 1e-5}};
  for (const Pair& pair : pairs) {
    for (const Curve& curveF : kCurves) {
      for (char unit : {'F', 'C'}) {
        const Curve d86 = unit == 'C' ? celsiusOf(curveF) : curveF;
        const Curve tbp = convert(pair.forward, unit, d86);
        EXPECT_GT(std::fabs(tbp[0] - d86[0]), 1.0);  // a real conversion, not a copy
        int status = -1;
        const Curve back = convert(pair.inverse, unit, tbp, &status);
        ASSERT_EQ(status, 0);
        for (int k = 0; k < 7; ++k) {
          EXPECT_NEAR(back[k], d86[k], pair.tolerance * (std::fabs(d86[k]) + 1.0)) << curveF[0] << unit << k;
        }
      }
    }
  }
}

TEST_F(ConversionTest, ForwardRoutinesWidenAFlatSegmentThatStrictReversesReject) {
  const Curve flat = {150, 150, 180, 180, 250, 300, 350}, descending = {100, 140, 139, 200, 250, 300, 350};
  // THREEA11R is the one reverse routine that accepts equal neighbours.
  const std::pair<Routine, int> flatStatus[] = {
      {gfx_HC94F, 0}, {gfx_THREEA11F, 0}, {gfx_SIXORDERF, 0},     {gfx_ETHYLSF, 0}, {gfx_THREEA11R, 0},
      {gfx_HC94R, 1}, {gfx_SIXORDERR, 1}, {gfx_SIXORDERR_REV, 1}, {gfx_ETHYLSR, 1}, {gfx_ETHYLSR_REV, 1}};
  for (const auto& [routine, expected] : flatStatus) {
    int status = -1, descendingStatus = -1;
    convert(routine, 'F', flat, &status);
    EXPECT_EQ(status, expected);
    EXPECT_EQ(convert(routine, 'F', descending, &descendingStatus), Curve(7, -1.0));  // untouched
    EXPECT_EQ(descendingStatus, 1);
  }
  // The gap moves the IBP down from T10 and T50 up from T30: HC94 then sees two segments exactly 0.0018 wide.
  const Curve tbp = convert(gfx_HC94F, 'F', flat);
  const tarn::Hc94Params& c = tarn::params().hc94;
  EXPECT_NEAR(tbp[1] - tbp[0], c.a[6] * std::pow(0.0018, c.b[6]), 1e-9);
  EXPECT_NEAR(tbp[3] - tbp[2], c.a[4] * std::pow(0.0018, c.b[4]), 1e-9);
  // Intended: a point at or below 0 F is not moved, and ETHYLS maps the flat IBP segment to a TBP point of exactly 0.
  EXPECT_EQ(convert(gfx_ETHYLSF, 'F', {0, 0, 40, 80, 120, 160, 200})[0], 0.0);
}

TEST_F(ConversionTest, Hc94CapsItsSegmentDifferences) {
  // A 30 -> 50 difference of 300 is used as 250; X1 (the 90 -> FBP cap) is the one HC94 setting reachable by keyword.
  EXPECT_NEAR(convert(gfx_HC94F, 'F', {100, 130, 160, 460, 490, 520, 550})[2],
              convert(gfx_HC94F, 'F', {100, 130, 210, 460, 490, 520, 550})[2], 1e-9);
  const Curve longTail = {100, 130, 160, 190, 220, 250, 400};
  const double before = convert(gfx_HC94F, 'F', longTail)[6];
  ASSERT_EQ(gfx_setCorParms("HC94", "X1", 150.0), 0);
  EXPECT_GT(convert(gfx_HC94F, 'F', longTail)[6], before);
}

TEST_F(ConversionTest, PureComponentIsCopiedInTheCallersUnitByEveryRoutine) {
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "DPure", 5.0), 0);
  const Curve narrow = {78.0, 78.5, 79.0, 79.5, 80.0, 81.0, 82.9};  // FBP - IBP = 4.9
  const Curve disordered = {78.0, 79.0, 78.5, 79.5, 80.0, 81.0, 82.9};
  for (Routine r : {gfx_HC94F, gfx_HC94R, gfx_THREEA11F, gfx_THREEA11R, gfx_SIXORDERF, gfx_SIXORDERR, gfx_SIXORDERR_REV,
                    gfx_ETHYLSF, gfx_ETHYLSR, gfx_ETHYLSR_REV}) {
    int status = -1;
    for (char unit : {'F', 'C'}) EXPECT_EQ(convert(r, unit, narrow), narrow);
    convert(r, 'F', disordered, &status);
    EXPECT_EQ(status, 1);  // the order check comes first
  }
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "DPure", 0.0), 0);
  EXPECT_NE(convert(gfx_HC94F, 'F', narrow), narrow);
}

TEST(SolvePolynomialNewton, UsesTheSecantSlopeAndItsStoppingRules) {
  using tarn::distill::SolvePolynomialNewton;
  EXPECT_EQ(SolvePolynomialNewton(nullptr, 2, 1.0), 1e30);
  // A zero slope is replaced by 0.01: the constant 0.02 moves x by -2 per step, once and then 20 further times.
  const double flat[] = {0.02, 0.0};
  EXPECT_NEAR(SolvePolynomialNewton(flat, 1, 0.0), -42.0, 1e-12);
  // Intended: x^2 + x - 6 from 1 with secant slope 1 + x steps x -> 6/(1 + x), closing on 2 by 2/3 per step;
  // cut off after 20 more steps, about 3e-4 short (Newton's slope would converge).
  const double quadratic[] = {-6.0, 1.0, 1.0};
  const double root = SolvePolynomialNewton(quadratic, 2, 1.0);
  EXPECT_GT(std::fabs(root - 2.0), 1e-5);
  EXPECT_LT(std::fabs(root - 2.0), 1e-2);
}

}  // namespace
