// D86 <-> TBP conversion methods: published conversions, the polynomial
// coefficient tables against a second transcription, round trips through the
// exact inverses, order checks, caps, the pure component and the solver.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "distill/conversion.h"
#include "params/params.h"
#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"

namespace {

using Curve = std::vector<double>;
using Routine = int (*)(char, const double*, double*);

class ConversionTest : public tarn::testing::LibraryTest {};

double toC(double f) { return (f - 32.0) / 1.8; }
double toF(double c) { return c * 1.8 + 32.0; }
Curve inCelsius(const Curve& f) {
  Curve c;
  for (double t : f) c.push_back(toC(t));
  return c;
}

Curve convert(Routine routine, char unit, const Curve& in, int* status = nullptr) {
  Curve out(7, -1.0);
  const int s = routine(unit, in.data(), out.data());
  if (status != nullptr) *status = s;
  return out;
}

// Realistic D86 curves in degrees F (IBP, 10, 30, 50, 70, 90 %, FBP):
// naphtha, gasoline, kerosene, diesel.
const std::vector<Curve> kCurves = {{100, 135, 170, 205, 240, 285, 340},
                                    {90, 125, 160, 210, 260, 330, 400},
                                    {330, 350, 380, 405, 435, 470, 520},
                                    {360, 430, 480, 520, 560, 620, 680}};
const Routine kAllRoutines[] = {gfx_HC94F,     gfx_HC94R,     gfx_THREEA11F, gfx_THREEA11R,
                                gfx_SIXORDERF, gfx_SIXORDERR, gfx_SIXORDERR_REV,
                                gfx_ETHYLSF,   gfx_ETHYLSR,   gfx_ETHYLSR_REV};

// ---- Published conversions -------------------------------------------------

// Kerosene D86 curve and its TBP curve by the point-by-point method on
// absolute temperature (Riazi-Daubert 1987) and by the segment method
// anchored at 50 % (Daubert 1994, API Technical Data Book): M. R. Riazi,
// Characterization and Properties of Petroleum Fractions, ASTM MNL50 (2005),
// Table 3.8. The published seventh point is the 95 % point, so only the first
// six are compared; the table is printed to 0.1 C.
TEST_F(ConversionTest, KeroseneMatchesPublishedTbpCurvesInCelsiusAndFahrenheit) {
  const Curve d86C = {165.6, 176.7, 193.3, 206.7, 222.8, 242.8, 260.0};
  const Curve threeA11C = {134.1, 160.6, 188.2, 208.9, 230.2, 254.7};
  const Curve hc94C = {133.1, 158.1, 189.2, 210.6, 232.9, 258.1};
  Curve d86F;
  for (double t : d86C) d86F.push_back(toF(t));

  struct Case { Routine routine; const Curve* published; const char* name; };
  for (const Case& c : {Case{gfx_THREEA11F, &threeA11C, "THREEA11"}, Case{gfx_HC94F, &hc94C, "HC94"}}) {
    int status = -1;
    const Curve inC = convert(c.routine, 'C', d86C, &status);
    ASSERT_EQ(status, 0) << c.name;
    const Curve inF = convert(c.routine, 'F', d86F, &status);
    ASSERT_EQ(status, 0) << c.name;
    for (int k = 0; k < 6; ++k) {
      EXPECT_NEAR(inC[k], (*c.published)[k], 0.15) << c.name << " point " << k;
      EXPECT_NEAR(inF[k], toF((*c.published)[k]), 0.15 * 1.8) << c.name << " point " << k;
      EXPECT_NEAR(inF[k], toF(inC[k]), 1e-9) << c.name << " point " << k;
    }
  }
}

// ---- Coefficient tables ----------------------------------------------------
// A second transcription of the published fits, written as signed equations,
// independent of the stored magnitudes and of the sign tables of the
// conversion code.

double poly(const std::vector<double>& c, double x, int firstPower = 0) {
  double sum = 0.0, power = std::pow(x, firstPower);
  for (double ci : c) {
    sum += ci * power;
    power *= x;
  }
  return sum;
}

const std::vector<double> kEthylsF50 = {-8.276823, -0.036756, 0.0002847396, -4.87029e-7, 3.44717e-10};
const std::vector<std::vector<double>> kEthylsFSegments = {
    {1.150026, 1.838948, -0.011966, 5.69705e-5, -7.11055e-8},         // 30 -> 50, subtracted
    {0.753774, 2.266544, -0.020664, 0.0001202845, -2.25014e-7},       // 10 -> 30, subtracted
    {1.390825, 2.670939, -0.046882, 0.0006857394, -3.6831e-6},        // IBP -> 10, subtracted
    {1.045109, 1.641218, -0.00924479, 4.318466e-5, -4.76815e-8},      // 50 -> 70, added
    {-0.553017, 1.606578, -0.010132, 5.685363e-5, -9.21212e-8},       // 70 -> 90, added
    {0.188129, 1.220885, -0.00251309, -3.97977e-5, 7.68519e-7}};      // 90 -> FBP, added
const std::vector<double> kEthylsR50 = {2.823647, 0.115675, -0.000643807, 1.14227e-6, -7.67885e-10};
const std::vector<std::vector<double>> kEthylsRSegments = {
    {0.313107, 0.416492, 0.00482198, -3.2025e-6, -4.60357e-8},
    {1.207502, 0.244584, 0.005890756, -1.1785e-6, -6.38411e-8},
    {-0.097356, 0.264105, 0.007275218, -4.3202e-5, 9.90435e-8},
    {0.160688, 0.48625, 0.005410961, -1.42771e-5, -1.24269e-8},
    {1.231607, 0.476099, 0.007407557, -3.42779e-5, 3.94706e-8},
    {0.238281, 0.705632, 0.007788113, -8.72152e-5, 2.29106e-7}};
const std::vector<double> kSixF50 = {-24.5738, 0.277544, -0.0018795, 6.56031e-6, -1.14018e-8,
                                     9.68698e-12, -3.13186e-15};
const std::vector<std::vector<double>> kSixFSegments = {  // powers 1..6
    {2.04624, -0.0225, 0.000279179, -2.31541e-6, 1.07892e-8, -1.98323e-11},
    {2.34422, -0.0241584, 0.0001896945, -8.95962e-7, 3.10959e-9, -5.53478e-12},
    {2.84582, -0.0571924, 0.00104465, -1.01842e-5, 4.9828e-8, -9.53795e-11},
    {1.79075, -0.0163738, 0.000191835, -1.54753e-6, 7.18894e-9, -1.31073e-11},
    {1.64169, -0.0145976, 0.000169881, -1.26118e-6, 5.40098e-9, -9.248e-12},
    {1.20092, 0.00661377, -0.000650227, 1.63615e-5, -1.71884e-7, 6.8672e-10}};
const std::vector<double> kSixR50 = {20.07479, 0.8046995, 0.00128824, -4.50624e-6, 7.75228e-9,
                                     -6.51315e-12, 2.08664e-15};
const std::vector<std::vector<double>> kSixRSegments = {  // powers 1..7
    {0.406111, 0.00993675, -0.00021322, 3.25309e-6, -2.41937e-8, 8.2966e-11, -1.06763e-13},
    {0.246081, 0.0183541, -0.000536556, 8.65085e-6, -6.68831e-8, 2.43369e-10, -3.38171e-13},
    {0.251719, 0.00805896, -6.0163e-5, 2.4197e-7, -3.57557e-10, -7.5618e-13, 2.28664e-15},
    {0.505929, 0.00765639, -0.000142754, 2.23652e-6, -1.7465e-8, 6.23097e-11, -8.29563e-14},
    {0.627292, 0.00175175, 6.23439e-5, -8.48437e-7, 4.76086e-9, -1.48021e-11, 2.11613e-14},
    {0.749814, 0.00527672, -2.41578e-5, -5.40199e-7, 4.73387e-9, -1.37621e-11, 1.33108e-14}};

void expectMagnitudes(const double* stored, const std::vector<double>& signedValues,
                      const std::string& what) {
  for (std::size_t n = 0; n < signedValues.size(); ++n) {
    EXPECT_EQ(stored[n], std::fabs(signedValues[n])) << what << " term " << n;
  }
}

TEST_F(ConversionTest, StoredPolynomialCoefficientsAreThePublishedMagnitudes) {
  const tarn::ParameterBlock& b = tarn::params();
  expectMagnitudes(b.ethylsForward.row[0], kEthylsF50, "ETHYLS forward 50 %");
  expectMagnitudes(b.ethylsReverse.row[0], kEthylsR50, "ETHYLS reverse 50 %");
  expectMagnitudes(b.sixOrderForward.point50, kSixF50, "SIXORDER forward 50 %");
  expectMagnitudes(b.sixOrderReverse.row[0], kSixR50, "SIXORDER reverse 50 %");
  for (int s = 0; s < 6; ++s) {
    const std::string seg = " segment " + std::to_string(s);
    expectMagnitudes(b.ethylsForward.row[s + 1], kEthylsFSegments[s], "ETHYLS forward" + seg);
    expectMagnitudes(b.ethylsReverse.row[s + 1], kEthylsRSegments[s], "ETHYLS reverse" + seg);
    expectMagnitudes(b.sixOrderForward.segment[s], kSixFSegments[s], "SIXORDER forward" + seg);
    expectMagnitudes(b.sixOrderReverse.row[s + 1], kSixRSegments[s], "SIXORDER reverse" + seg);
  }
  EXPECT_EQ(b.ethylsForward.ibpCap, 100.0);
  EXPECT_EQ(b.ethylsForward.fbpCap, 100.0);
  EXPECT_EQ(b.sixOrderForward.ibpCap, 150.0);
  EXPECT_EQ(b.sixOrderForward.fbpCap, 100.0);
  EXPECT_EQ(b.ethylsForward.gap, 0.0018);
  EXPECT_EQ(b.sixOrderForward.gap, 0.0018);

  // A reset restores a fit that a caller changed.
  tarn::params().sixOrderReverse.row[3][6] = 0.0;
  TARNReset();
  EXPECT_EQ(tarn::params().sixOrderReverse.row[3][6], 2.28664e-15);
}

// Points of the curve built outwards from 50 %: the segment order of both fits.
struct SegmentOrder { int inner, outer; };
constexpr SegmentOrder kOrder[6] = {{3, 2}, {2, 1}, {1, 0}, {3, 4}, {4, 5}, {5, 6}};

Curve referenceSegmentFit(const Curve& x, double point50,
                          const std::vector<std::vector<double>>& segments, int firstPower,
                          double ibpCap = 1e9, double fbpCap = 1e9) {
  Curve y(7);
  y[3] = point50;
  for (int s = 0; s < 6; ++s) {
    const int in = kOrder[s].inner, out = kOrder[s].outer;
    double delta = std::fabs(x[out] - x[in]);
    if (s == 2) delta = std::fmin(ibpCap, delta);
    if (s == 5) delta = std::fmin(fbpCap, delta);
    const double p = poly(segments[s], delta, firstPower);
    y[out] = out > in ? y[in] + p : y[in] - p;
  }
  return y;
}

TEST_F(ConversionTest, PolynomialFitsEvaluateThePublishedEquationsWithTheirSigns) {
  for (const Curve& d86 : kCurves) {
    const double d50 = d86[3];
    const Curve ethylsF =
        referenceSegmentFit(d86, d50 + poly(kEthylsF50, d50), kEthylsFSegments, 0, 100, 100);
    const Curve sixF = referenceSegmentFit(d86, d50 + poly(kSixF50, d50), kSixFSegments, 1, 150, 100);
    const Curve& tbp = ethylsF;  // any increasing TBP-like curve for the reverse fits
    const Curve ethylsR = referenceSegmentFit(tbp, tbp[3] + poly(kEthylsR50, tbp[3]), kEthylsRSegments, 0);
    const Curve sixR = referenceSegmentFit(tbp, poly(kSixR50, tbp[3]), kSixRSegments, 1);

    const Curve gotEthylsF = convert(gfx_ETHYLSF, 'F', d86);
    const Curve gotSixF = convert(gfx_SIXORDERF, 'F', d86);
    const Curve gotEthylsR = convert(gfx_ETHYLSR, 'F', tbp);
    const Curve gotSixR = convert(gfx_SIXORDERR, 'F', tbp);
    for (int k = 0; k < 7; ++k) {
      EXPECT_NEAR(gotEthylsF[k], ethylsF[k], 1e-9 * std::fabs(ethylsF[k])) << d86[0] << " ETHYLSF " << k;
      EXPECT_NEAR(gotSixF[k], sixF[k], 1e-9 * std::fabs(sixF[k])) << d86[0] << " SIXORDERF " << k;
      EXPECT_NEAR(gotEthylsR[k], ethylsR[k], 1e-9 * std::fabs(ethylsR[k])) << d86[0] << " ETHYLSR " << k;
      EXPECT_NEAR(gotSixR[k], sixR[k], 1e-9 * std::fabs(sixR[k])) << d86[0] << " SIXORDERR " << k;
    }
  }
}

// ---- Round trips -----------------------------------------------------------

TEST_F(ConversionTest, ForwardThenExactInverseReturnsTheCurveInBothUnits) {
  struct Pair { Routine forward, inverse; double tolerance; };
  // The numerical inverses stop on a step of 1e-6; the algebraic ones are exact.
  const Pair pairs[] = {{gfx_HC94F, gfx_HC94R, 1e-9}, {gfx_THREEA11F, gfx_THREEA11R, 1e-9},
                        {gfx_SIXORDERF, gfx_SIXORDERR_REV, 1e-5}, {gfx_ETHYLSF, gfx_ETHYLSR_REV, 1e-5}};
  for (const Pair& pair : pairs) {
    for (const Curve& curveF : kCurves) {
      for (char unit : {'F', 'C'}) {
        const Curve d86 = unit == 'C' ? inCelsius(curveF) : curveF;
        int status = -1;
        const Curve tbp = convert(pair.forward, unit, d86, &status);
        ASSERT_EQ(status, 0);
        EXPECT_GT(std::fabs(tbp[0] - d86[0]), 1.0);  // a real conversion, not a copy
        const Curve back = convert(pair.inverse, unit, tbp, &status);
        ASSERT_EQ(status, 0);
        for (int k = 0; k < 7; ++k) {
          EXPECT_NEAR(back[k], d86[k], pair.tolerance * (std::fabs(d86[k]) + 1.0))
              << curveF[0] << " " << unit << " point " << k;
        }
      }
    }
  }
}

// ---- Order checks, gaps, caps, pure components -----------------------------

TEST_F(ConversionTest, ForwardRoutinesWidenAFlatSegmentThatStrictReversesReject) {
  const Curve flat = {150, 150, 180, 180, 250, 300, 350};
  const Curve descending = {100, 140, 139, 200, 250, 300, 350};
  for (Routine forward : {gfx_HC94F, gfx_THREEA11F, gfx_SIXORDERF, gfx_ETHYLSF}) {
    int status = -1;
    convert(forward, 'F', flat, &status);
    EXPECT_EQ(status, 0);
    Curve out(7, -1.0);
    EXPECT_EQ(forward('F', descending.data(), out.data()), 1);
    EXPECT_EQ(out, Curve(7, -1.0));  // untouched
  }
  // The gap moves the IBP down from T10 and T50 up from T30: HC94 then sees
  // two segments exactly 0.0018 wide.
  const tarn::Hc94Params& c = tarn::params().hc94;
  const Curve tbp = convert(gfx_HC94F, 'F', flat);
  EXPECT_NEAR(tbp[1] - tbp[0], c.a[6] * std::pow(0.0018, c.b[6]), 1e-9);
  EXPECT_NEAR(tbp[3] - tbp[2], c.a[4] * std::pow(0.0018, c.b[4]), 1e-9);
  // A point at or below 0 F is not moved: the flat IBP segment stays 0 wide,
  // which ETHYLS maps to a TBP point of exactly 0.
  EXPECT_EQ(convert(gfx_ETHYLSF, 'F', {0, 0, 40, 80, 120, 160, 200})[0], 0.0);

  for (Routine strict : {gfx_HC94R, gfx_SIXORDERR, gfx_SIXORDERR_REV, gfx_ETHYLSR, gfx_ETHYLSR_REV}) {
    int status = -1;
    convert(strict, 'F', flat, &status);
    EXPECT_EQ(status, 1);
  }
  int status = -1;
  convert(gfx_THREEA11R, 'F', flat, &status);
  EXPECT_EQ(status, 0);  // the one reverse routine that accepts equal neighbours
}

TEST_F(ConversionTest, CapsLimitTheSegmentDifferencesOfTheForwardFits) {
  // HC94: a 30 -> 50 difference of 300 is used as 250.
  const Curve wide = {100, 130, 160, 460, 490, 520, 550};
  Curve capped = wide;
  capped[2] = 460 - 250;
  EXPECT_NEAR(convert(gfx_HC94F, 'F', wide)[2], convert(gfx_HC94F, 'F', capped)[2], 1e-9);
  // X1 (the 90 -> FBP cap) is the one HC94 setting reachable by keyword.
  const Curve longTail = {100, 130, 160, 190, 220, 250, 400};
  const double before = convert(gfx_HC94F, 'F', longTail)[6];
  ASSERT_EQ(gfx_setCorParms("HC94", "X1", 150.0), 0);
  EXPECT_GT(convert(gfx_HC94F, 'F', longTail)[6], before);

  // SIXORDER caps IBP -> 10 at 150 and 90 -> FBP at 100; ETHYLS both at 100.
  const Curve tails = {100, 280, 300, 320, 340, 360, 500};
  for (auto [routine, ibpCap] : {std::pair<Routine, double>{gfx_SIXORDERF, 150}, {gfx_ETHYLSF, 100}}) {
    Curve atCaps = tails;
    atCaps[0] = 280 - ibpCap;
    atCaps[6] = 360 + 100;
    const Curve got = convert(routine, 'F', tails), want = convert(routine, 'F', atCaps);
    EXPECT_NEAR(got[0], want[0], 1e-9);
    EXPECT_NEAR(got[6], want[6], 1e-9);
  }
}

TEST_F(ConversionTest, PureComponentIsCopiedInTheCallersUnitByEveryRoutine) {
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "DPure", 5.0), 0);
  const Curve narrow = {78.0, 78.5, 79.0, 79.5, 80.0, 81.0, 82.9};  // FBP - IBP = 4.9
  for (Routine r : kAllRoutines) {
    for (char unit : {'F', 'C'}) {
      int status = -1;
      EXPECT_EQ(convert(r, unit, narrow, &status), narrow);
      EXPECT_EQ(status, 0);
    }
    // The order check comes first: a narrow curve out of order is rejected.
    Curve bad = narrow;
    std::swap(bad[1], bad[2]);
    int status = -1;
    convert(r, 'F', bad, &status);
    EXPECT_EQ(status, 1);
  }
  // With DPure at its default of 0 the same curve is converted.
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "DPure", 0.0), 0);
  EXPECT_NE(convert(gfx_HC94F, 'F', narrow), narrow);
}

// ---- The solver and the method table ---------------------------------------

TEST(SolvePolynomialNewton, UsesTheSecantSlopeAndItsStoppingRules) {
  using tarn::distill::SolvePolynomialNewton;
  EXPECT_EQ(SolvePolynomialNewton(nullptr, 2, 1.0), 1e30);
  const double line[] = {-1.0005, 1.0};
  EXPECT_EQ(SolvePolynomialNewton(line, 0, 1.0), 1e30);
  // A first step of at most 0.001 ends the search at once.
  EXPECT_NEAR(SolvePolynomialNewton(line, 1, 1.0), 1.0005, 1e-15);
  // A zero slope is replaced by 0.01: the constant 0.02 moves x by -2 per
  // step, once and then 20 further times.
  const double flat[] = {0.02, 0.0};
  EXPECT_NEAR(SolvePolynomialNewton(flat, 1, 0.0), -42.0, 1e-12);
  // x^2 + x - 6 from 1: with the secant slope 1 + x each step is x -> 6/(1 + x),
  // which closes in on the root 2 by a factor 2/3 per step and is cut off
  // after 20 further steps, about 3e-4 short. Newton's slope 1 + 2x would
  // have converged to rounding.
  const double quadratic[] = {-6.0, 1.0, 1.0};
  const double root = SolvePolynomialNewton(quadratic, 2, 1.0);
  EXPECT_GT(std::fabs(root - 2.0), 1e-5);
  EXPECT_LT(std::fabs(root - 2.0), 1e-2);
}

TEST(ConversionMethodTable, NumbersSelectTheDocumentedRoutines) {
  using tarn::distill::conversionMethod;
  using tarn::distill::copyCurve;
  const Routine forward[] = {gfx_HC94F, gfx_THREEA11F, gfx_SIXORDERF, gfx_ETHYLSF, copyCurve, gfx_ETHYLSF};
  const Routine reverse[] = {gfx_HC94R, gfx_THREEA11R, gfx_SIXORDERR, gfx_ETHYLSR, copyCurve, gfx_ETHYLSR_REV};
  for (int m = 0; m < 6; ++m) {
    EXPECT_EQ(conversionMethod(m)->forward, forward[m]) << m;
    EXPECT_EQ(conversionMethod(m)->reverse, reverse[m]) << m;
  }
  EXPECT_EQ(conversionMethod(6), nullptr);
  EXPECT_EQ(conversionMethod(-1), nullptr);
}

}  // namespace
