// Fuzzes the distillation curve engine (tarn/distill.h) and the percent-off
// temperature points (tarn/corparms.h): curve reads, blends of several curves
// and their point searches, the D86/TBP conversion methods, the percent-off
// conversions with their point counts changed by keyword, the layout helpers
// and the distillation indices, in sequences on a library whose settings
// (ChangeData, point counts, point sets, any constant) carry over. Input:
// operations, each a selector byte followed by what it reads.
//
// Invariants of every call:
// - nothing is written outside the caller's arrays, and an array passed as
//   const comes back bit for bit (a curve given by pointer only changes
//   under ChangeData or when a 30 % or 70 % point is missing);
// - the status is one the header documents; a failure it documents as
//   leaving the output alone leaves it alone; derivatives come only when
//   asked for (where the header says so);
// - with every input usual (within its range or at its ends) and the
//   constants at their defaults, a result is a number or the missing value
//   1e30, and a status of 0 comes with outputs that are numbers;
// - what the physics or the layout says: a curve read lies inside the curve,
//   the estimated 30 % and 70 % points between their neighbours, the
//   five-point layout is the seven-point curve without its 30 % and 70 %
//   points, THREEA11's reverse undoes its forward, and the percent-off
//   points convert and reset to their stated values.
#include <string>

#include "fuzz_support.h"
#include "tarn/distill.h"

namespace {

using namespace tarn::fuzz;
using Array = Fenced<double>;

// count curves of `points` temperatures, mostly non-decreasing: usual ones
// are the D86 or TBP curves of refinery streams (60 to 450 F at the start,
// rising by at most 90 F a point), in degrees C when unit is 'C'.
Array curves(ByteReader& in, int count, int points, char unit) {
  const auto inUnit = [unit](double fahrenheit) { return unit == 'C' ? (fahrenheit - 32.0) / 1.8 : fahrenheit; };
  Array a(static_cast<std::size_t>(count) * points);
  for (int c = 0; c < count; ++c) {
    const bool increasing = in.u8() % 8 != 0;
    double t = in.value(60.0, 450.0);
    for (int p = 0; p < points; ++p, t += increasing ? in.value(0.0, 90.0) : 0.0) {
      a[c * points + p] = inUnit(increasing ? t : in.value(60.0, 750.0));
    }
  }
  return a;
}

// A count of curves from -4 to most: the caller's arrays hold max(n, 0).
int curveCount(ByteReader& in, int most) { return static_cast<int>(in.u8() % (most + 5)) - 4; }

bool increasing(const double* x, int n) {
  for (int i = 1; i < n; ++i) {
    if (!(x[i] > x[i - 1])) return false;
  }
  return true;
}

bool repairing() { return tarn::params().changeData; }

void reads(ByteReader& in) {
  double v[7];  // x0, x1, y0, y1, lower, upper, x
  in.values(v, 7, -100.0, 800.0);
  const bool usual = usualInputs(in);
  const double line = gfx_Interpolate(v[0], v[1], v[2], v[3], v[6]);
  const double held = gfx_Extrapolate(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
  TARN_FUZZ_CHECK(!usual || v[0] == v[1] || (std::isfinite(line) && (v[4] > v[5] || (held >= v[4] && held <= v[5]))),
                  "line %.17g, held %.17g", line, held);
  Array curve = curves(in, 1, 7, 'F');
  const int mode = in.u8() % 3;
  const double at = in.value(-100.0, 800.0);
  const bool usualRead = usualInputs(in);
  const auto given = curve.copy();
  const double read = gfx_DistillCurve(curve.data(), mode, at);
  TARN_FUZZ_CHECK(curve.same(given) && curve.guardsIntact(), "curve read changed its curve");
  if (!increasing(curve.data(), 7)) {
    TARN_FUZZ_CHECK(read == 1e30, "read %.17g off a curve that does not increase", read);
  } else if (usualRead) {
    TARN_FUZZ_CHECK(mode == 1 ? read >= 0.0 && read <= 100.0 : read >= curve[0] && read <= curve[6],
                    "read %.17g outside the curve (mode %d)", read, mode);
  }
}

// FindPoints, FindPoints2 and D86 on the same n curves.
void blends(ByteReader& in) {
  const int n = curveCount(in, 12);
  const int rows = std::max(n, 0);
  const char unit = unitByte(in);
  Array curveSet = curves(in, rows, 7, unit), fractions(rows);
  in.values(fractions.data(), rows, 0.0, 1.0);
  double sum = 0.0;
  for (int i = 0; i < rows; ++i) sum += fractions[i];
  for (int i = 0; in.u8() % 4 != 0 && sum > 0.0 && i < rows; ++i) fractions[i] /= sum;
  const int method = in.u8() % 8 - 1;
  const int derivFlag = in.u8() % 2;
  const bool usual = usualInputs(in);
  const auto givenCurves = curveSet.copy(), givenFractions = fractions.copy();

  Array out(7), looseOut(7), blended(7), derivs(static_cast<std::size_t>(rows) * 56);
  int s = gfx_FindPoints(n, curveSet.data(), fractions.data(), out.data());
  TARN_FUZZ_CHECK(isOneOf(s, {0, 1}) && (s == 0 || out.arrayUntouched(0, 7)), "FindPoints: %d", s);
  TARN_FUZZ_CHECK(s != 0 || !usual || allFinite(out), "FindPoints: status 0 without numbers");
  TARN_FUZZ_CHECK(gfx_FindPoints2(n, curveSet.data(), fractions.data(), looseOut.data()) == 0, "FindPoints2");
  TARN_FUZZ_CHECK(curveSet.same(givenCurves) && fractions.same(givenFractions), "a point search changed its inputs");

  s = gfx_D86(n, fractions.data(), curveSet.data(), blended.data(), derivs.data(), method, derivFlag, unit);
  TARN_FUZZ_CHECK(isOneOf(s, {0, 1}), "D86: %d", s);
  TARN_FUZZ_CHECK(fractions.same(givenFractions) && (repairing() || !usual || curveSet.same(givenCurves)),
                  "D86 changed its fractions, or its curves without a repair");
  TARN_FUZZ_CHECK(derivFlag != 0 || derivs.arrayUntouched(0, derivs.size()), "D86 derivatives without the flag");
  // Its derivative rows are not checked for numbers: a component curve with
  // a flat stretch gives NaN rows with status 0 (reported, not yet fixed).
  TARN_FUZZ_CHECK(s != 0 || !usual || allFinite(blended),
                  "D86: status 0 without numbers (n %d, method %d, unit %c, flag %d): %s", n, method, unit, derivFlag,
                  describe(givenCurves, givenFractions, blended).c_str());
  TARN_FUZZ_CHECK(guardsIntact(curveSet, fractions, out, looseOut, blended, derivs), "a blend wrote outside");
}

// Estimates of the 30 % and 70 % points, and the five/seven-point layouts.
void layouts(ByteReader& in) {
  Array five = curves(in, 1, 5, 'F');
  const bool usual = usualInputs(in);
  double t30 = 0.0, t70 = 0.0;
  TARN_FUZZ_CHECK(gfx_TBPLogInterpolate(five.data(), &t30, &t70) == 0 && five.guardsIntact(), "estimate");
  TARN_FUZZ_CHECK(!usual || !increasing(five.data(), 5) ||
                      (t30 >= five[1] && t30 <= five[2] && t70 >= five[2] && t70 <= five[3]),
                  "estimates %.17g, %.17g outside their neighbours", t30, t70);

  Array seven = curves(in, 1, 7, 'F');
  const std::uint8_t missing = in.u8();
  if (missing & 1) seven[2] = 1e30;
  if (missing & 2) seven[4] = 1e30;
  const auto given = seven.copy();
  TARN_FUZZ_CHECK(gfx_TBPLogInterpolate2(seven.data()) == 0 && seven.guardsIntact(), "fill");
  for (int p = 0; p < 7; ++p) {
    TARN_FUZZ_CHECK(given[p] > 1e29 || sameBits(seven[p], given[p]), "fill changed point %d", p);
  }

  // Seven to five points: the curve without its 30 % and 70 % points; to
  // another array or in place, with the derivative blocks alongside.
  static constexpr int kKept[5] = {0, 1, 3, 5, 6};
  const int n = curveCount(in, 6);
  const int rows = std::max(n, 0);
  const std::uint8_t where = in.u8();
  Array contracted(5), derivs(static_cast<std::size_t>(rows) * 56), outDerivs(static_cast<std::size_t>(rows) * 30);
  in.values(derivs.data(), static_cast<int>(derivs.size()), -1.0, 1.0);
  Array curve = curves(in, 1, 7, 'F');
  const auto full = curve.copy();
  gfx_D86Contract7Pt(n, where & 1 ? nullptr : curve.data(), derivs.data(), where & 2 ? nullptr : contracted.data(),
                     where & 4 ? nullptr : outDerivs.data());
  TARN_FUZZ_CHECK(guardsIntact(curve, contracted, derivs, outDerivs), "contraction wrote outside");
  for (int k = 0; !(where & 1) && k < 5; ++k) {
    TARN_FUZZ_CHECK(sameBits(where & 2 ? curve[k] : contracted[k], full[kKept[k]]), "contracted point %d", k);
  }

  // Five to seven points, the 30 % and 70 % points missing.
  Array narrow(static_cast<std::size_t>(rows) * 7), wide(static_cast<std::size_t>(rows) * 7);
  in.values(narrow.data(), rows * 5, 0.0, 700.0);
  const auto given5 = narrow.copy();
  const bool inPlace = in.u8() % 2 == 0;
  gfx_D86Expand5Pt(n, narrow.data(), inPlace ? nullptr : wide.data());
  const Array& expanded = inPlace ? narrow : wide;
  TARN_FUZZ_CHECK(guardsIntact(narrow, wide), "expansion wrote outside");
  for (int c = 0; c < rows; ++c) {
    for (int k = 0; k < 5; ++k) {
      TARN_FUZZ_CHECK(sameBits(expanded.data()[c * 7 + kKept[k]], given5[c * 5 + k]), "expanded %d of %d", k, c);
    }
    TARN_FUZZ_CHECK(expanded.data()[c * 7 + 2] == 1e30 && expanded.data()[c * 7 + 4] == 1e30, "30/70 not missing");
  }
}

void conversions(ByteReader& in) {
  using Conversion = int (*)(char, const double*, double*);
  static constexpr Conversion kMethods[] = {gfx_HC94F,    gfx_HC94R,         gfx_THREEA11F, gfx_THREEA11R,
                                            gfx_SIXORDERF, gfx_SIXORDERR,     gfx_SIXORDERR_REV,
                                            gfx_ETHYLSF,  gfx_ETHYLSR,       gfx_ETHYLSR_REV};
  const int method = in.u8() % 10;
  const Conversion convert = kMethods[method];
  const char unit = unitByte(in);
  Array from = curves(in, 1, 7, unit), to(7), back(7);
  const bool usual = usualInputs(in);
  const auto given = from.copy();
  const int s = convert(unit, from.data(), to.data());
  TARN_FUZZ_CHECK(isOneOf(s, {0, 1}) && from.same(given) && (s == 0 || to.arrayUntouched(0, 7)), "conversion: %d", s);
  TARN_FUZZ_CHECK(s != 0 || !usual || allFinite(to),
                  "conversion %d ('%c'): status 0 without numbers: %g %g %g %g %g %g %g -> %g %g %g %g %g %g %g", method,
                  unit, from[0], from[1], from[2], from[3], from[4], from[5], from[6], to[0], to[1], to[2], to[3], to[4],
                  to[5], to[6]);
  // THREEA11 converts point by point, so its forward result need not rise;
  // where it does, the reverse gives the curve back (up to the minimum gap
  // the forward routine opens between equal points).
  if (convert == gfx_THREEA11F && s == 0 && usual && std::is_sorted(to.data(), to.data() + 7)) {
    TARN_FUZZ_CHECK(gfx_THREEA11R(unit, to.data(), back.data()) == 0, "THREEA11 reverse refused its forward");
    for (int p = 0; p < 7; ++p) {
      TARN_FUZZ_CHECK(std::fabs(back[p] - from[p]) <= 0.02 + 1e-9 * std::fabs(from[p]), "THREEA11 round trip %d", p);
    }
  }
  TARN_FUZZ_CHECK(guardsIntact(from, to, back), "conversion wrote outside");
}

// The fixed and the configurable percent-off conversions, the latter after
// an optional change of their point counts (any value: out-of-range counts
// must be refused).
void percentOff(ByteReader& in) {
  const int method = in.u8() % 8 - 1;
  const int derivFlag = in.u8() % 2;
  const char unit = unitByte(in);
  const bool nullDerivs = in.u8() % 8 == 0;
  if (in.u8() % 2 == 0) gfx_setCorParms("ND86FROMPERCENTOFF", "NTEMP", in.value(-3.0, 15.0));
  if (in.u8() % 2 == 0) gfx_setCorParms("ND86TOPERCENTOFF", "NPOFF", in.value(-3.0, 27.0));
  const int ntemp = tarn::params().nd86.ntemp, npoff = tarn::params().nd86.npoff;
  const bool countsUsable = ntemp >= 1 && ntemp <= 13 && npoff >= 1 && npoff <= 25;
  Array curve = curves(in, 1, 13, unit), percents(25), toDerivs(70), fromDerivs(70);
  in.values(percents.data(), 25, 0.0, 100.0);
  std::sort(percents.data(), percents.data() + 10);
  const bool usual = usualInputs(in);
  const auto givenCurve = curve.copy(), givenPercents = percents.copy();
  Array off(25), back(13);

  // D86toPercentOff fills its derivatives whenever it is given an array.
  int s = gfx_D86toPercentOff(method, curve.data(), off.data(), unit, derivFlag, nullDerivs ? nullptr : toDerivs.data());
  TARN_FUZZ_CHECK(isOneOf(s, {0, 1, 2}) && (s != 0 || !usual || (allNumbers(off) && allFinite(toDerivs))),
                  "D86toPercentOff: %d", s);
  s = gfx_D86FromPercentOff(method, derivFlag, percents.data(), back.data(), unit,
                            nullDerivs ? nullptr : fromDerivs.data());
  TARN_FUZZ_CHECK(isOneOf(s, {0, 1}) && (derivFlag != 0 || fromDerivs.arrayUntouched(0, 70)),
                  "D86FromPercentOff: %d", s);
  TARN_FUZZ_CHECK(repairing() || !usual || (curve.same(givenCurve) && percents.same(givenPercents)),
                  "a percent-off conversion changed its input without a repair");

  Array nOff(25), nBack(13), nDerivs(13 * 25);
  double* const d = nullDerivs ? nullptr : nDerivs.data();
  s = gfx_ND86toPercentOff(method, curve.data(), nOff.data(), unit, derivFlag, d);
  TARN_FUZZ_CHECK(countsUsable ? isOneOf(s, {0, 1, 2}) : s == TARN_STATUS_NOT_CALCULABLE && nOff.arrayUntouched(0, 25),
                  "ND86toPercentOff with counts %d, %d: %d", ntemp, npoff, s);
  const int t = gfx_ND86FromPercentOff(method, derivFlag, percents.data(), nBack.data(), unit, d);
  TARN_FUZZ_CHECK(countsUsable ? isOneOf(t, {0, 1}) : t == TARN_STATUS_NOT_CALCULABLE && nBack.arrayUntouched(0, 13),
                  "ND86FromPercentOff with counts %d, %d: %d", ntemp, npoff, t);
  TARN_FUZZ_CHECK(derivFlag != 0 || nDerivs.arrayUntouched(0, nDerivs.size()), "ND86 derivatives without the flag");
  TARN_FUZZ_CHECK(guardsIntact(curve, percents, toDerivs, fromDerivs, off, back, nOff, nBack, nDerivs),
                  "a percent-off conversion wrote outside");
}

// The distillation indices: values that are numbers or 1e30, derivatives
// only when asked for.
void indices(ByteReader& in) {
  const char unit = unitByte(in);
  const int flag = in.u8() % 2;
  double t[4];
  in.values(t, 4, 50.0, 700.0);
  if (in.u8() % 4 != 0) std::sort(t, t + 4);
  const double rvp = in.value(1.0, 15.0), e70 = in.value(0.0, 80.0), index = in.value(0.0, 40.0);
  const int which = in.u8() % 4 == 3 ? in.raw<std::int32_t>() : in.u8() % 3;
  const bool usual = usualInputs(in);
  // Each call gets fresh derivatives: written only with the flag, and no
  // further than its inputs reach.
  const auto expect = [&](const char* what, int written, auto call) {
    Array d(4);
    const double value = call(d.data());
    TARN_FUZZ_CHECK(!usual || numberOrMissing(value), "%s: %.17g", what, value);
    TARN_FUZZ_CHECK(flag != 0 || d.arrayUntouched(0, 4), "%s: derivatives without the flag", what);
    TARN_FUZZ_CHECK(d.guardsIntact() && d.arrayUntouched(written, 4), "%s wrote past its derivatives", what);
    return value;
  };
  const double bv = expect("D86BV1", 3, [&](double* d) { return gfx_D86BV1(which, unit, t[0], t[1], t[2], flag ? d : nullptr); });
  TARN_FUZZ_CHECK((which >= 0 && which <= 2) || bv == 1.0, "D86BV1(%d): %.17g", which, bv);
  expect("T10Index", 0, [&](double*) { return gfx_T10Index(unit, t[0], t[1], t[2]); });
  expect("T50Index", 0, [&](double*) { return gfx_T50Index(unit, t[0], t[1], t[2]); });
  expect("T90Index", 0, [&](double*) { return gfx_T90Index(unit, t[0], t[1], t[2]); });
  expect("D86one10Index", 1, [&](double* d) { return gfx_D86one10Index(unit, t[0], flag, d); });
  expect("D86one90Index", 1, [&](double* d) { return gfx_D86one90Index(unit, t[2], flag, d); });
  expect("D86one10Blend", 1, [&](double* d) { return gfx_D86one10Blend(unit, index, flag, d); });
  expect("D86one90Blend", 1, [&](double* d) { return gfx_D86one90Blend(unit, index, flag, d); });
  expect("T20Gaussian", 2, [&](double* d) { return gfx_T20Gaussian(t[0], t[2], flag, d); });
  expect("TVL", 3, [&](double* d) { return gfx_TVL(flag, unit, rvp, t[0], t[2], d); });
  expect("TVL2", 4, [&](double* d) { return gfx_TVL2(flag, unit, rvp, t[0], t[1], t[2], d); });
  const char pressureUnit = in.u8() % 2 == 0 ? 'P' : 'K';
  expect("VaporLockIndex", 2, [&](double* d) { return gfx_VaporLockIndex(flag, pressureUnit, rvp, e70, d); });
}

// Settings that change how the operations above behave.
void settings(ByteReader& in) {
  static constexpr double kPoints[10] = {30, 70, 100, 140, 180, 250, 330, 360, 390, 450};
  double* const points = tarn::params().d86TempPoints;
  double before[10];
  std::copy(points, points + 10, before);
  switch (in.u8() % 4) {
    case 0: gfx_setCorParms("TARN", "ChangeData", in.u8() % 2 == 0 ? 1.0 : -1.0); break;
    case 1: changeSetting(in); break;
    case 2:
      TARN_FUZZ_CHECK(ConvertD86TempPt() == 0, "ConvertD86TempPt");
      for (int i = 0; i < 10; ++i) {
        const double expected = (before[i] - 32.0) * 5.0 / 9.0;
        TARN_FUZZ_CHECK(!std::isfinite(expected) || std::fabs(points[i] - expected) <= 1e-12 * (std::fabs(expected) + 1.0),
                        "point %d converted from %.17g to %.17g", i, before[i], points[i]);
      }
      break;
    default:
      TARN_FUZZ_CHECK(ResetD86TempPt() == 0 && std::equal(points, points + 10, kPoints), "ResetD86TempPt");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return runOperations(data, size, 16, [](ByteReader& in, std::uint8_t selector) {
    switch (selector % 7) {
      case 0: reads(in); break;
      case 1: blends(in); break;
      case 2: layouts(in); break;
      case 3: conversions(in); break;
      case 4: percentOff(in); break;
      case 5: indices(in); break;
      default: settings(in);
    }
  });
}
