// Fuzzes the distillation curves (tarn/distill.h) and percent-off points
// (tarn/corparms.h). Invariants besides runDirect's: a curve changes only
// under ChangeData, a curve read lies inside the curve, the estimated 30 %
// and 70 % points between their neighbours, gfx_D86's derivative rows numbers.
#include <numeric>

#include "fuzz_support.h"
#include "tarn/distill.h"

namespace {

using namespace tarn::fuzz;

// Curves of refinery streams, mostly rising (from 60-450 F by at most 90 F a
// point), in C when unit is 'C'.
Array curves(ByteReader& in, int count, int points, char unit = 'F') {
  Array a(static_cast<std::size_t>(count) * points);
  for (int c = 0; c < count; ++c) {
    const bool rising = in.u8() % 8 != 0;
    double t = in.value(60.0, 450.0);
    for (int p = 0; p < points; ++p, t += rising ? in.value(0.0, 90.0) : 0.0) {
      const double f = rising ? t : in.value(60.0, 750.0);
      a[c * points + p] = unit == 'C' ? (f - 32.0) / 1.8 : f;
    }
  }
  return a;
}

int curveCount(ByteReader& in, int most) { return static_cast<int>(in.u8() % (most + 5)) - 4; }

bool increasing(const double* x, int n) {
  for (int i = 1; i < n; ++i)
    if (!(x[i] > x[i - 1])) return false;
  return true;
}

bool repairing() { return tarn::params().changeData; }

void reads(ByteReader& in) {
  double v[7];  // x0, x1, y0, y1, lower, upper, x
  in.values(v, 7, -100.0, 800.0);
  gfx_Interpolate(v[0], v[1], v[2], v[3], v[6]);
  gfx_Extrapolate(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
  Array curve = curves(in, 1, 7);
  const int mode = in.u8() % 3;
  const double at = in.value(-100.0, 800.0);
  const bool usualRead = usualInputs(in);
  const auto given = curve.copy();
  const double read = gfx_DistillCurve(curve.data(), mode, at);
  TARN_FUZZ_CHECK(curve.same(given) && curve.guardsIntact() &&
                      (increasing(curve.data(), 7) ? !usualRead || (mode == 1 ? read >= 0.0 && read <= 100.0
                                                                              : read >= curve[0] && read <= curve[6])
                                                   : read == 1e30),
                  "read %.17g (mode %d)", read, mode);
}

// FindPoints, FindPoints2 and D86 on the same n curves.
void blends(ByteReader& in) {
  const int n = curveCount(in, 12), rows = std::max(n, 0);
  const char unit = unitByte(in);
  Array curveSet = curves(in, rows, 7, unit), fractions(rows);
  in.values(fractions.data(), rows, 0.0, 1.0);
  const double sum = std::accumulate(fractions.data(), fractions.data() + rows, 0.0);
  for (int i = 0; in.u8() % 4 != 0 && sum > 0.0 && i < rows; ++i) fractions[i] /= sum;
  const int method = in.u8() % 8 - 1, flag = in.u8() % 2;
  const bool usual = usualInputs(in);
  const auto givenCurves = curveSet.copy(), givenFractions = fractions.copy();

  Array out(7), looseOut(7), blended(7), derivs(static_cast<std::size_t>(rows) * 56);
  int s = gfx_FindPoints(n, curveSet.data(), fractions.data(), out.data());
  TARN_FUZZ_CHECK(s == 0 ? !usual || all(out, isFinite) : s == 1 && out.untouched(), "FindPoints: %d", s);
  TARN_FUZZ_CHECK(gfx_FindPoints2(n, curveSet.data(), fractions.data(), looseOut.data()) == 0, "FindPoints2");
  TARN_FUZZ_CHECK(curveSet.same(givenCurves) && fractions.same(givenFractions), "a point search changed its inputs");

  s = gfx_D86(n, fractions.data(), curveSet.data(), blended.data(), derivs.data(), method, flag, unit);
  TARN_FUZZ_CHECK(isOneOf(s, {0, 1}) && fractions.same(givenFractions) &&
                      (repairing() || !usual || curveSet.same(givenCurves)) && (flag != 0 || derivs.untouched()),
                  "D86: %d, or changed its inputs, or derivatives without the flag", s);
  TARN_FUZZ_CHECK(s != 0 || !usual || (all(blended, isFinite) && (flag == 0 || all(derivs, isFinite))),
                  "D86 (n %d, method %d, unit %c): status 0 without numbers", n, method, unit);
  TARN_FUZZ_CHECK(guardsIntact(curveSet, fractions, out, looseOut, blended, derivs), "a blend wrote outside");
}

// Estimates of the 30 % and 70 % points; the five/seven-point layouts.
void layouts(ByteReader& in) {
  Array five = curves(in, 1, 5);
  const bool usual = usualInputs(in);
  double t30 = 0.0, t70 = 0.0;
  TARN_FUZZ_CHECK(gfx_TBPLogInterpolate(five.data(), &t30, &t70) == 0 && five.guardsIntact(), "estimate");
  TARN_FUZZ_CHECK(
      !usual || !increasing(five.data(), 5) || (t30 >= five[1] && t30 <= five[2] && t70 >= five[2] && t70 <= five[3]),
      "estimates %.17g, %.17g outside their neighbours", t30, t70);

  Array seven = curves(in, 1, 7);
  const std::uint8_t shape = in.u8();
  if (shape & 1) seven[2] = 1e30;
  if (shape & 2) seven[4] = 1e30;
  const auto given = seven.copy();
  TARN_FUZZ_CHECK(gfx_TBPLogInterpolate2(seven.data()) == 0 && seven.guardsIntact(), "fill");
  for (int p = 0; p < 7; ++p) TARN_FUZZ_CHECK(given[p] > 1e29 || sameBits(seven[p], given[p]), "fill moved %d", p);

  // Seven to five points and back, with the derivative blocks.
  const int n = curveCount(in, 6), rows = std::max(n, 0);
  Array contracted(5), derivs(static_cast<std::size_t>(rows) * 56), outDerivs(static_cast<std::size_t>(rows) * 30);
  Array narrow(static_cast<std::size_t>(rows) * 7), wide(static_cast<std::size_t>(rows) * 7);
  in.values(derivs.data(), static_cast<int>(derivs.size()), -1.0, 1.0);
  in.values(narrow.data(), rows * 5, 0.0, 700.0);
  gfx_D86Contract7Pt(n, shape & 4 ? nullptr : seven.data(), derivs.data(), shape & 8 ? nullptr : contracted.data(),
                     shape & 16 ? nullptr : outDerivs.data());
  gfx_D86Expand5Pt(n, narrow.data(), shape & 32 ? nullptr : wide.data());
  TARN_FUZZ_CHECK(guardsIntact(seven, contracted, derivs, outDerivs, narrow, wide), "a layout wrote outside");
}

void conversions(ByteReader& in) {
  using Conversion = int (*)(char, const double*, double*);
  static constexpr Conversion kMethods[] = {gfx_HC94F,     gfx_HC94R,      gfx_THREEA11F,     gfx_THREEA11R,
                                            gfx_SIXORDERF, gfx_SIXORDERR,  gfx_SIXORDERR_REV, gfx_ETHYLSF,
                                            gfx_ETHYLSR,   gfx_ETHYLSR_REV};
  const Conversion convert = kMethods[in.u8() % 10];
  const char unit = unitByte(in);
  Array from = curves(in, 1, 7, unit), to(7);
  const bool usual = usualInputs(in);
  const auto given = from.copy();
  const int s = convert(unit, from.data(), to.data());
  TARN_FUZZ_CHECK(
      from.same(given) && guardsIntact(from, to) && (s == 0 ? !usual || all(to, isFinite) : s == 1 && to.untouched()),
      "conversion ('%c'): %d", unit, s);
}

// The fixed and configurable percent-off conversions, after any change of
// the point counts (refused out of range, writing nothing); their statuses
// and results are the evaluation target's (rows 6, 7, 41, 42), here arrays.
void percentOff(ByteReader& in) {
  const int method = in.u8() % 8 - 1, flag = in.u8() % 2;
  const char unit = unitByte(in);
  const bool nullDerivs = in.u8() % 8 == 0;
  if (in.u8() % 2 == 0) gfx_setCorParms("ND86FROMPERCENTOFF", "NTEMP", in.value(-3.0, 15.0));
  if (in.u8() % 2 == 0) gfx_setCorParms("ND86TOPERCENTOFF", "NPOFF", in.value(-3.0, 27.0));
  const int ntemp = tarn::params().nd86.ntemp, npoff = tarn::params().nd86.npoff;
  const bool countsUsable = ntemp >= 1 && ntemp <= 13 && npoff >= 1 && npoff <= 25;
  Array curve = curves(in, 1, 13, unit), percents(25), off(25), back(13), nOff(25), nBack(13);
  in.values(percents.data(), 25, 0.0, 100.0);
  std::sort(percents.data(), percents.data() + 10);
  const bool usual = usualInputs(in);
  const auto givenCurve = curve.copy(), givenPercents = percents.copy();
  Array toDerivs(70), fromDerivs(70), nDerivs(13 * 25);
  const auto derivs = [nullDerivs](Array& a) { return nullDerivs ? nullptr : a.data(); };

  gfx_D86toPercentOff(method, curve.data(), off.data(), unit, flag, derivs(toDerivs));  // writes whenever given
  gfx_D86FromPercentOff(method, flag, percents.data(), back.data(), unit, derivs(fromDerivs));
  TARN_FUZZ_CHECK(flag != 0 || fromDerivs.untouched(), "D86FromPercentOff: derivatives without the flag");
  const int s = gfx_ND86toPercentOff(method, curve.data(), nOff.data(), unit, flag, derivs(nDerivs));
  const int t = gfx_ND86FromPercentOff(method, flag, percents.data(), nBack.data(), unit, derivs(nDerivs));
  TARN_FUZZ_CHECK(
      (countsUsable || (s == TARN_STATUS_NOT_CALCULABLE && t == s && nOff.untouched() && nBack.untouched())) &&
          (flag != 0 || nDerivs.untouched()),
      "ND86 with counts %d, %d: %d, %d, or unasked derivatives", ntemp, npoff, s, t);
  TARN_FUZZ_CHECK(repairing() || !usual || (curve.same(givenCurve) && percents.same(givenPercents)),
                  "a percent-off conversion changed its input without a repair");
  TARN_FUZZ_CHECK(guardsIntact(curve, percents, toDerivs, fromDerivs, off, back, nOff, nBack, nDerivs),
                  "a percent-off conversion wrote outside");
}

// The distillation indices (temperatures in F, or C with that unit byte).
#define T10_T50_T90 \
  {50, 400}, {100, 500}, { 200, 700 }
const DirectCall kIndices[] = {
    TARN_DIRECT("T10Index", 0, false, gfx_T10Index(u, x[0], x[1], x[2]), T10_T50_T90),
    TARN_DIRECT("T50Index", 0, false, gfx_T50Index(u, x[0], x[1], x[2]), T10_T50_T90),
    TARN_DIRECT("T90Index", 0, false, gfx_T90Index(u, x[0], x[1], x[2]), T10_T50_T90),
    // D86BV1 writes three slopes whenever given an array; x[3] is its index.
    TARN_DIRECT("D86BV1", 3, false, gfx_D86BV1(static_cast<int>(x[3]), u, x[0], x[1], x[2], f ? d : nullptr),
                T10_T50_T90),
    TARN_DIRECT("D86one10Index", 1, false, gfx_D86one10Index(u, x[0], f, d), {50, 700}),
    TARN_DIRECT("D86one90Index", 1, false, gfx_D86one90Index(u, x[0], f, d), {50, 700}),
    TARN_DIRECT("D86one10Blend", 1, false, gfx_D86one10Blend(u, x[0], f, d), {0, 40}),
    TARN_DIRECT("D86one90Blend", 1, false, gfx_D86one90Blend(u, x[0], f, d), {0, 40}),
    TARN_DIRECT("T20Gaussian", 2, false, gfx_T20Gaussian(x[0], x[1], f, d), {50, 400}, {100, 500}),
    TARN_DIRECT("TVL", 3, false, gfx_TVL(f, u, x[0], x[1], x[2], d), {1, 15}, {50, 400}, {100, 500}),
    TARN_DIRECT("TVL2", 4, false, gfx_TVL2(f, u, x[0], x[1], x[2], x[3], d), {1, 15}, {50, 400}, {70, 450}, {100, 500}),
    TARN_DIRECT("VaporLockIndex", 2, false, gfx_VaporLockIndex(f, u == 'C' ? 'K' : 'P', x[0], x[1], d), {1, 15},
                {0, 80}),
};
#undef T10_T50_T90

void indices(ByteReader& in) {
  const std::size_t k = in.u8() % (sizeof kIndices / sizeof kIndices[0]);
  double x[8] = {0, 0, 0, static_cast<double>(in.u8() % 4 == 3 ? in.raw<std::int32_t>() : in.u8() % 3)};
  const double value = runDirect(in, kIndices[k], x).first;
  TARN_FUZZ_CHECK(k != 3 || (x[3] >= 0 && x[3] <= 2) || value == 1.0, "D86BV1(%g): %.17g", x[3], value);
}

// Settings; a reset of the percent-off temperatures restores their values.
void settings(ByteReader& in) {
  static constexpr double kPoints[10] = {30, 70, 100, 140, 180, 250, 330, 360, 390, 450};
  switch (in.u8() % 3) {
    case 0:
      changeSetting(in);
      break;
    case 1:
      TARN_FUZZ_CHECK(ConvertD86TempPt() == 0, "ConvertD86TempPt");
      break;
    default:
      TARN_FUZZ_CHECK(ResetD86TempPt() == 0 && std::equal(kPoints, kPoints + 10, tarn::params().d86TempPoints),
                      "ResetD86TempPt");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return runOperations(data, size, 16, [](ByteReader& in, std::uint8_t selector) {
    static void (*const kOperations[])(ByteReader&) = {reads,      blends,  layouts, conversions,
                                                       percentOff, indices, settings};
    kOperations[selector % 7](in);
  });
}
