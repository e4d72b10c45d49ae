// D86 <-> TBP conversion methods: published conversions, the polynomial fits
// against a second transcription of their coefficients, round trips through
// the exact inverses, order checks, caps, the pure component and the solver.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "distill/conversion.h"
#include "params/params.h"
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

// Kerosene D86 curve and its TBP curve by the point-by-point method on
// absolute temperature (Riazi-Daubert 1987) and by the segment method
// anchored at 50 % (Daubert 1994, API Technical Data Book): M. R. Riazi,
// Characterization and Properties of Petroleum Fractions, ASTM MNL50 (2005),
// Table 3.8. The published seventh point is the 95 % point, so only the first
// six are compared; the table is printed to 0.1 C.
TEST_F(ConversionTest, KeroseneMatchesPublishedTbpCurvesInCelsiusAndFahrenheit) {
  const Curve d86C = {165.6, 176.7, 193.3, 206.7, 222.8, 242.8, 260.0};
  const Curve published[2] = {{134.1, 160.6, 188.2, 208.9, 230.2, 254.7},   // THREEA11
                              {133.1, 158.1, 189.2, 210.6, 232.9, 258.1}};  // HC94
  Curve d86F;
  for (double t : d86C) d86F.push_back(tarn::testing::fahrenheitOf(t));
  const Routine routines[2] = {gfx_THREEA11F, gfx_HC94F};
  for (int r = 0; r < 2; ++r) {
    int statusC = -1, statusF = -1;
    const Curve inC = convert(routines[r], 'C', d86C, &statusC);
    const Curve inF = convert(routines[r], 'F', d86F, &statusF);
    ASSERT_EQ(statusC + statusF, 0);
    for (int k = 0; k < 6; ++k) {
      EXPECT_NEAR(inC[k], published[r][k], 0.15) << r << " point " << k;
      EXPECT_NEAR(celsiusOf(inF[k]), inC[k], 1e-9) << r << " point " << k;
    }
  }
}

// A second transcription of the published polynomial fits, written as signed
// equations, independent of the stored magnitudes and of the sign tables of
// the conversion code. Segments in the order 30->50, 10->30, IBP->10 (each
// subtracted), 50->70, 70->90, 90->FBP (each added).
const Curve kEthylsF50 = {-8.276823, -0.036756, 0.0002847396, -4.87029e-7, 3.44717e-10};
const std::vector<Curve> kEthylsFSegments = {
    {1.150026, 1.838948, -0.011966, 5.69705e-5, -7.11055e-8},
    {0.753774, 2.266544, -0.020664, 0.0001202845, -2.25014e-7},
    {1.390825, 2.670939, -0.046882, 0.0006857394, -3.6831e-6},
    {1.045109, 1.641218, -0.00924479, 4.318466e-5, -4.76815e-8},
    {-0.553017, 1.606578, -0.010132, 5.685363e-5, -9.21212e-8},
    {0.188129, 1.220885, -0.00251309, -3.97977e-5, 7.68519e-7}};
const Curve kEthylsR50 = {2.823647, 0.115675, -0.000643807, 1.14227e-6, -7.67885e-10};
const std::vector<Curve> kEthylsRSegments = {
    {0.313107, 0.416492, 0.00482198, -3.2025e-6, -4.60357e-8},
    {1.207502, 0.244584, 0.005890756, -1.1785e-6, -6.38411e-8},
    {-0.097356, 0.264105, 0.007275218, -4.3202e-5, 9.90435e-8},
    {0.160688, 0.48625, 0.005410961, -1.42771e-5, -1.24269e-8},
    {1.231607, 0.476099, 0.007407557, -3.42779e-5, 3.94706e-8},
    {0.238281, 0.705632, 0.007788113, -8.72152e-5, 2.29106e-7}};
const Curve kSixF50 = {-24.5738, 0.277544, -0.0018795, 6.56031e-6, -1.14018e-8, 9.68698e-12, -3.13186e-15};
const std::vector<Curve> kSixFSegments = {  // powers 1..6
    {2.04624, -0.0225, 0.000279179, -2.31541e-6, 1.07892e-8, -1.98323e-11},
    {2.34422, -0.0241584, 0.0001896945, -8.95962e-7, 3.10959e-9, -5.53478e-12},
    {2.84582, -0.0571924, 0.00104465, -1.01842e-5, 4.9828e-8, -9.53795e-11},
    {1.79075, -0.0163738, 0.000191835, -1.54753e-6, 7.18894e-9, -1.31073e-11},
    {1.64169, -0.0145976, 0.000169881, -1.26118e-6, 5.40098e-9, -9.248e-12},
    {1.20092, 0.00661377, -0.000650227, 1.63615e-5, -1.71884e-7, 6.8672e-10}};
const Curve kSixR50 = {20.07479, 0.8046995, 0.00128824, -4.50624e-6, 7.75228e-9, -6.51315e-12, 2.08664e-15};
const std::vector<Curve> kSixRSegments = {  // powers 1..7
    {0.406111, 0.00993675, -0.00021322, 3.25309e-6, -2.41937e-8, 8.2966e-11, -1.06763e-13},
    {0.246081, 0.0183541, -0.000536556, 8.65085e-6, -6.68831e-8, 2.43369e-10, -3.38171e-13},
    {0.251719, 0.00805896, -6.0163e-5, 2.4197e-7, -3.57557e-10, -7.5618e-13, 2.28664e-15},
    {0.505929, 0.00765639, -0.000142754, 2.23652e-6, -1.7465e-8, 6.23097e-11, -8.29563e-14},
    {0.627292, 0.00175175, 6.23439e-5, -8.48437e-7, 4.76086e-9, -1.48021e-11, 2.11613e-14},
    {0.749814, 0.00527672, -2.41578e-5, -5.40199e-7, 4.73387e-9, -1.37621e-11, 1.33108e-14}};

double poly(const Curve& c, double x, int firstPower = 0) {
  double sum = 0.0, power = std::pow(x, firstPower);
  for (double ci : c) sum += ci * power, power *= x;
  return sum;
}

// The curve built outwards from 50 %, each segment difference capped.
Curve segmentFit(const Curve& x, double point50, const std::vector<Curve>& segments, int firstPower,
                 double ibpCap = 1e9, double fbpCap = 1e9) {
  const int inner[6] = {3, 2, 1, 3, 4, 5}, outer[6] = {2, 1, 0, 4, 5, 6};
  Curve y(7);
  y[3] = point50;
  for (int s = 0; s < 6; ++s) {
    double delta = std::fabs(x[outer[s]] - x[inner[s]]);
    if (s == 2) delta = std::fmin(ibpCap, delta);
    if (s == 5) delta = std::fmin(fbpCap, delta);
    y[outer[s]] = y[inner[s]] + (s < 3 ? -1 : 1) * poly(segments[s], delta, firstPower);
  }
  return y;
}

TEST_F(ConversionTest, PolynomialFitsEvaluateThePublishedEquationsWithTheirSigns) {
  // The last curve's IBP -> 10 and 90 -> FBP differences exceed the caps of
  // the forward fits (SIXORDER 150 and 100, ETHYLS 100 and 100).
  std::vector<Curve> curves = kCurves;
  curves.push_back({100, 280, 300, 320, 340, 360, 500});
  for (const Curve& d86 : curves) {
    const double d50 = d86[3];
    const Curve& tbp = d86;  // any increasing curve serves the reverse fits
    const Curve want[4] = {segmentFit(d86, d50 + poly(kEthylsF50, d50), kEthylsFSegments, 0, 100, 100),
                           segmentFit(d86, d50 + poly(kSixF50, d50), kSixFSegments, 1, 150, 100),
                           segmentFit(tbp, tbp[3] + poly(kEthylsR50, tbp[3]), kEthylsRSegments, 0),
                           segmentFit(tbp, poly(kSixR50, tbp[3]), kSixRSegments, 1)};
    const Routine routines[4] = {gfx_ETHYLSF, gfx_SIXORDERF, gfx_ETHYLSR, gfx_SIXORDERR};
    for (int r = 0; r < 4; ++r) {
      const Curve got = convert(routines[r], 'F', d86);
      for (int k = 0; k < 7; ++k) EXPECT_NEAR(got[k], want[r][k], 1e-9 * std::fabs(want[r][k])) << r << " " << k;
    }
  }
}

TEST_F(ConversionTest, ForwardThenExactInverseReturnsTheCurveInBothUnits) {
  struct Pair { Routine forward, inverse; double tolerance; };
  // The numerical inverses stop on a step of 1e-6; the algebraic ones are exact.
  const Pair pairs[] = {{gfx_HC94F, gfx_HC94R, 1e-9}, {gfx_THREEA11F, gfx_THREEA11R, 1e-9},
                        {gfx_SIXORDERF, gfx_SIXORDERR_REV, 1e-5}, {gfx_ETHYLSF, gfx_ETHYLSR_REV, 1e-5}};
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
  const Curve flat = {150, 150, 180, 180, 250, 300, 350};
  const Curve descending = {100, 140, 139, 200, 250, 300, 350};
  for (Routine forward : {gfx_HC94F, gfx_THREEA11F, gfx_SIXORDERF, gfx_ETHYLSF}) {
    int status = -1;
    convert(forward, 'F', flat, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(convert(forward, 'F', descending, &status), Curve(7, -1.0));  // untouched
    EXPECT_EQ(status, 1);
  }
  for (Routine strict : {gfx_HC94R, gfx_SIXORDERR, gfx_SIXORDERR_REV, gfx_ETHYLSR, gfx_ETHYLSR_REV}) {
    int status = -1;
    convert(strict, 'F', flat, &status);
    EXPECT_EQ(status, 1);
  }
  int status = -1;
  convert(gfx_THREEA11R, 'F', flat, &status);
  EXPECT_EQ(status, 0);  // the one reverse routine that accepts equal neighbours
  // The gap moves the IBP down from T10 and T50 up from T30: HC94 then sees
  // two segments exactly 0.0018 wide.
  const Curve tbp = convert(gfx_HC94F, 'F', flat);
  const tarn::Hc94Params& c = tarn::params().hc94;
  EXPECT_NEAR(tbp[1] - tbp[0], c.a[6] * std::pow(0.0018, c.b[6]), 1e-9);
  EXPECT_NEAR(tbp[3] - tbp[2], c.a[4] * std::pow(0.0018, c.b[4]), 1e-9);
  // Intended: a point at or below 0 F is not moved, and ETHYLS maps the flat
  // IBP segment to a TBP point of exactly 0.
  EXPECT_EQ(convert(gfx_ETHYLSF, 'F', {0, 0, 40, 80, 120, 160, 200})[0], 0.0);
}

TEST_F(ConversionTest, Hc94CapsItsSegmentDifferences) {
  // A 30 -> 50 difference of 300 is used as 250; X1 (the 90 -> FBP cap) is
  // the one HC94 setting reachable by keyword.
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
  Curve disordered = narrow;
  std::swap(disordered[1], disordered[2]);
  for (Routine r : {gfx_HC94F, gfx_HC94R, gfx_THREEA11F, gfx_THREEA11R, gfx_SIXORDERF, gfx_SIXORDERR,
                    gfx_SIXORDERR_REV, gfx_ETHYLSF, gfx_ETHYLSR, gfx_ETHYLSR_REV}) {
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
  // A zero slope is replaced by 0.01: the constant 0.02 moves x by -2 per
  // step, once and then 20 further times.
  const double flat[] = {0.02, 0.0};
  EXPECT_NEAR(SolvePolynomialNewton(flat, 1, 0.0), -42.0, 1e-12);
  // Intended: x^2 + x - 6 from 1 with the secant slope 1 + x steps x -> 6/(1 + x),
  // closing in on the root 2 by a factor 2/3 per step until cut off after 20
  // further steps, about 3e-4 short (Newton's slope would converge).
  const double quadratic[] = {-6.0, 1.0, 1.0};
  const double root = SolvePolynomialNewton(quadratic, 2, 1.0);
  EXPECT_GT(std::fabs(root - 2.0), 1e-5);
  EXPECT_LT(std::fabs(root - 2.0), 1e-2);
}

}  // namespace
