// Fuzzes the single-property correlations (tarn/props.h) and the blending
// rules (tarn/blending.h), called directly, in sequences on a library whose
// settings (ChangeData, any constant) carry over. Input: operations, each a
// selector byte followed by what it reads.
//
// Invariants of every call:
// - a derivative is written only when asked for and only where its pointer
//   points (a null one with the flag set is skipped), nothing outside the
//   caller's arrays, and arrays passed as const come back bit for bit;
// - with every input usual (the ranges of refinery streams) and the
//   constants at their defaults, a result is a number or 1e30;
// - each property-to-index conversion and its reverse give the property
//   back; MTMR undoes MTMF;
// - a blend of identical components is that component (linear by volume and
//   by mass, Healy, freeze point, interaction blending without
//   interactions); statuses are those documented, and a blend refused with
//   its status writes nothing.
#include "fuzz_support.h"
#include "tarn/blending.h"
#include "tarn/props.h"

namespace {

using namespace tarn::fuzz;
using Array = Fenced<double>;

// Relative agreement, for round trips and identities.
bool near(double a, double b, double tolerance = 1e-7) {
  return std::fabs(a - b) <= tolerance * (std::fabs(a) + std::fabs(b) + 1e-3);
}

// Calls f with a fenced derivative array of `size`, given or null, and
// checks what it wrote; returns the result.
template <class Call>
double withDerivatives(const char* what, int flag, bool nullArray, int size, bool usual, Call f,
                       bool writesWheneverGiven = false) {
  Array d(4);
  const double value = f(nullArray ? nullptr : d.data());
  TARN_FUZZ_CHECK(d.guardsIntact() && d.arrayUntouched(size, 4), "%s wrote past its %d derivatives", what, size);
  TARN_FUZZ_CHECK(flag != 0 || writesWheneverGiven || d.arrayUntouched(0, 4), "%s: derivatives without the flag", what);
  TARN_FUZZ_CHECK(!usual || numberOrMissing(value), "%s: %.17g", what, value);
  return value;
}

// Property <-> index pairs of one variable: the usual property range, and
// the two directions (the reverse one of the same shape).
struct Pair {
  const char* name;
  double low, high;
  double (*forward)(char, double, int, double*);
  double (*reverse)(char, double, int, double*);
  bool derivativeWheneverGiven;  // the reverse writes its derivative whenever the pointer is given
};
template <double (*F)(double, int, double*)>
double unitless(char, double x, int flag, double* d) {
  return F(x, flag, d);
}
constexpr Pair kPairs[] = {
    {"RVP", 0.5, 20, unitless<gfx_RVPIndex>, unitless<gfx_RVP>, false},
    {"API", 0.6, 1.05, unitless<gfx_APIfromSPG>, unitless<gfx_SPGfromAPI>, false},
    {"viscosity 1", 1.0, 3000, unitless<gfx_ViscosityIndex1>, unitless<gfx_Viscosity1>, false},
    {"viscosity 2", 0.3, 3000, unitless<gfx_ViscosityIndex2>, unitless<gfx_Viscosity2>, false},
    {"viscosity 3", 0.3, 3000, unitless<gfx_ViscosityIndex3>, unitless<gfx_Viscosity3>, false},
    {"cloud point 1", -60, 40, gfx_CloudPointIndex1, gfx_CloudPoint1, false},
    {"cloud point 3", -60, 40, gfx_CloudPointIndex3, gfx_CloudPoint3, false},
    {"flash point", 20, 250, gfx_FlashPointIndex1, gfx_FlashPoint1, false},
    {"pour point 1", -70, 40, gfx_PourPointIndex1, gfx_PourPoint1, false},
    {"pour point 2", 1, 40, gfx_PourPointIndex2, gfx_PourPoint2, true},
};

void propertyPairs(ByteReader& in) {
  const Pair& pair = kPairs[in.u8() % (sizeof kPairs / sizeof kPairs[0])];
  const char unit = unitByte(in);
  const int flag = in.u8() % 3 == 0 ? 0 : 1;
  const bool nullArray = in.u8() % 8 == 0;
  const double property = in.value(pair.low, pair.high);  // the temperature ranges suit both units
  const bool usual = usualInputs(in);
  const double index = withDerivatives(pair.name, flag, nullArray, 1, usual,
                                       [&](double* d) { return pair.forward(unit, property, flag, d); });
  const double back = withDerivatives(pair.name, flag, nullArray, 1, usual,
                                      [&](double* d) { return pair.reverse(unit, index, flag, d); },
                                      pair.derivativeWheneverGiven);
  TARN_FUZZ_CHECK(!usual || index == 1e30 || back == 1e30 || near(back, property, 1e-6),
                  "%s: %.17g to index %.17g and back to %.17g", pair.name, property, index, back);
  const double octane = in.value(40.0, 120.0);
  withDerivatives("OctaneIndex", flag, nullArray, 1, usualInputs(in),
                  [&](double* d) { return gfx_OctaneIndex(octane, flag, d); });
}

// The power-law index and its reverse with any coefficients.
void powerLaw(ByteReader& in) {
  double c[5];  // a, b, c, d, x
  in.values(c, 5, 0.1, 3.0);
  const int flag = in.u8() % 2;
  const bool usual = usualInputs(in);
  const double y = withDerivatives("PowerIndexForward", flag, false, 1, usual,
                                   [&](double* d) { return gfx_PowerIndexForward(c[0], c[1], c[2], c[3], c[4], flag, d); });
  const double x = withDerivatives("PowerIndexReverse", flag, false, 1, usual,
                                   [&](double* d) { return gfx_PowerIndexReverse(c[0], c[1], c[2], c[3], y, flag, d); });
  TARN_FUZZ_CHECK(!usual || y == 1e30 || near(x, c[4], 1e-6), "power law: %.17g to %.17g and back to %.17g", c[4], y, x);
}

// The several-input correlations: cetane, cold filter plugging, drivability.
void severalInputs(ByteReader& in) {
  const char unit = unitByte(in);
  const int flag = in.u8() % 2;
  const bool nullArray = in.u8() % 8 == 0;
  const double spg = in.value(0.75, 0.95), density = in.value(0.75, 0.95), dose = in.value(0.0, 2000.0);
  double t[3];
  in.values(t, 3, 300.0, 700.0);
  std::sort(t, t + (in.u8() % 4 == 0 ? 0 : 3));
  const double cetane = in.value(30.0, 60.0), cfpp = in.value(-30.0, 10.0), oxygenate = in.value(0.0, 15.0);
  double g[3];  // gasoline T10, T50, T90
  in.values(g, 3, 100.0, 350.0);
  const bool usual = usualInputs(in);
  const auto call = [&](const char* what, int size, auto f) { withDerivatives(what, flag, nullArray, size, usual, f); };
  call("CetaneIndex2", 2, [&](double* d) { return gfx_CetaneIndex2(flag, unit, spg, t[1], d); });
  call("CetaneIndex4", 4, [&](double* d) { return gfx_CetaneIndex4(flag, unit, density, t[0], t[1], t[2], d); });
  call("CetaneIndex5", 4, [&](double* d) { return gfx_CetaneIndex5(flag, unit, density, t[0], t[1], t[2], d); });
  call("CetaneImprover", 3, [&](double* d) { return gfx_CetaneImprover(flag, unit, spg, t[1], dose, d); });
  call("CetaneImprover2", 4, [&](double* d) { return gfx_CetaneImprover2(flag, unit, spg, t[1], dose, cetane, d); });
  call("CFPPImprover", 2, [&](double* d) { return gfx_CFPPImprover(flag, unit, cfpp, dose, d); });
  call("DON", 2, [&](double* d) { return gfx_DON(flag, cetane + 50.0, cetane + 40.0, d); });
  call("DriveabilityIndex", 3, [&](double* d) { return gfx_DriveabilityIndex(flag, unit, g[0], g[1], g[2], d); });
  call("DriveabilityIndexE", 3,
       [&](double* d) { return gfx_DriveabilityIndexE(flag, unit, g[0], g[1], g[2], d, oxygenate); });
}

// Blends of n components, with an identity check where every component is
// the same.
void blends(ByteReader& in) {
  const int n = static_cast<int>(in.u8() % 21) - 2;
  const int rows = std::max(n, 0);
  const bool identical = in.u8() % 4 == 0;
  Array volumes(rows), gravities(rows), values(rows), x(rows), ron(rows), mon(rows), ole(rows), aro(rows), T(rows);
  Array matrix(static_cast<std::size_t>(rows) * rows);
  const auto fill = [&](Array& a, double low, double high) {
    for (int i = 0; i < rows; ++i) a[i] = identical && i > 0 ? a[0] : in.value(low, high);
  };
  in.values(volumes.data(), rows, 0.0, 1000.0);
  in.values(x.data(), rows, 0.0, 1.0);
  fill(gravities, 0.65, 0.95), fill(values, 0.0, 100.0), fill(ron, 70.0, 110.0), fill(mon, 65.0, 100.0);
  fill(ole, 0.0, 30.0), fill(aro, 0.0, 50.0), fill(T, -80.0, 20.0);
  const bool noInteractions = in.u8() % 2 == 0;
  for (std::size_t k = 0; k < matrix.size(); ++k) matrix[k] = noInteractions ? 0.0 : in.value(-10.0, 10.0);
  const int flag = in.u8() % 3;  // Interactive and Healy know modes 1 and 2
  const char unit = unitByte(in);
  const bool usual = usualInputs(in);
  double totalVolume = 0.0, totalMass = 0.0, fractionSum = 0.0;
  for (int i = 0; i < rows; ++i) {
    totalVolume += volumes[i], totalMass += volumes[i] * gravities[i], fractionSum += x[i];
  }
  const auto given = std::vector<std::vector<double>>{volumes.copy(), gravities.copy(), values.copy(), ron.copy(),
                                                      mon.copy(), ole.copy(), aro.copy(), T.copy(), matrix.copy()};

  const double byVolume = gfx_LinearByVolume(volumes.data(), n, values.data());
  const double byMass = gfx_LinearByMass(volumes.data(), n, gravities.data(), values.data());
  TARN_FUZZ_CHECK(!usual || totalVolume <= 0.0 || numberOrMissing(byVolume), "LinearByVolume %.17g", byVolume);
  TARN_FUZZ_CHECK(!usual || totalMass > 0.0 || byMass == 1e30, "LinearByMass of no mass: %.17g", byMass);
  TARN_FUZZ_CHECK(!usual || !identical || totalVolume <= 0.0 || near(byVolume, values[0]),
                  "volume blend of identical components %.17g, not %.17g", byVolume, values[0]);
  TARN_FUZZ_CHECK(!usual || !identical || totalMass <= 0.0 || near(byMass, values[0]),
                  "mass blend of identical components %.17g, not %.17g", byMass, values[0]);

  // Fractions that sum to one for the rules that take fractions.
  for (int i = 0; fractionSum > 0.0 && i < rows; ++i) x[i] /= fractionSum;
  const auto fractions = x.copy();
  Array interactive(2 * rows), healy(10 * rows), freeze(2 * rows), out(2);
  const double blended = gfx_Interactive(flag, x.data(), n, matrix.data(), values.data(), interactive.data());
  TARN_FUZZ_CHECK(!usual || !noInteractions || !identical || fractionSum <= 0.0 || near(blended, values[0]),
                  "interaction blend of identical components %.17g, not %.17g", blended, values[0]);
  TARN_FUZZ_CHECK(flag != 0 || interactive.arrayUntouched(0, interactive.size()), "Interactive: unasked derivatives");

  const int status = gfx_Healy(flag, x.data(), n, ron.data(), mon.data(), ole.data(), aro.data(), out.data(), healy.data());
  TARN_FUZZ_CHECK(isOneOf(status, {0, 2}) && (status == 0 || (out.arrayUntouched(0, 2) && healy.arrayUntouched(0, healy.size()))),
                  "Healy: %d", status);
  TARN_FUZZ_CHECK(flag != 0 || healy.arrayUntouched(0, healy.size()), "Healy: unasked derivatives");
  TARN_FUZZ_CHECK(status != 0 || !usual || (std::isfinite(out[0]) && std::isfinite(out[1])), "Healy: not numbers");
  TARN_FUZZ_CHECK(status != 0 || !usual || !identical || (near(out[0], ron[0]) && near(out[1], mon[0])),
                  "Healy of identical components %.17g, %.17g, not %.17g, %.17g", out[0], out[1], ron[0], mon[0]);

  const double point = gfx_Freeze(flag, unit, fractions.data(), n, T.data(), freeze.data());
  TARN_FUZZ_CHECK(flag != 0 || freeze.arrayUntouched(0, freeze.size()), "Freeze: unasked derivatives");
  TARN_FUZZ_CHECK(!usual || numberOrMissing(point), "Freeze: %.17g", point);
  TARN_FUZZ_CHECK(!usual || !identical || point == 1e30 || near(point, T[0]),
                  "freeze point of identical components %.17g, not %.17g", point, T[0]);

  const Array* const constArrays[] = {&volumes, &gravities, &values, &ron, &mon, &ole, &aro, &T, &matrix};
  for (std::size_t k = 0; k < given.size(); ++k) {
    TARN_FUZZ_CHECK(constArrays[k]->same(given[k]) && constArrays[k]->guardsIntact(), "a blend changed input %zu", k);
  }
  TARN_FUZZ_CHECK(guardsIntact(x, interactive, healy, freeze, out), "a blend wrote outside");
}

// The octane corrections and the curve transform.
void octaneAndCurves(ByteReader& in) {
  Array q(2), corrected(2), back(2), d(8), s(8);
  q[0] = in.value(80.0, 105.0);
  q[1] = q[0] - in.value(5.0, 15.0);
  const double olefins = in.value(0.0, 30.0), aromatics = in.value(0.0, 50.0);
  const int flag = in.u8() % 2;
  const bool usual = usualInputs(in);
  const auto givenQ = q.copy();
  TARN_FUZZ_CHECK(gfx_MTMF(q.data(), olefins, aromatics, corrected.data(), flag, d.data()) == 0, "MTMF");
  TARN_FUZZ_CHECK(gfx_MTMR(corrected.data(), olefins, aromatics, back.data(), flag, s.data()) == 0, "MTMR");
  TARN_FUZZ_CHECK(q.same(givenQ) && guardsIntact(q, corrected, back, d, s), "MTM wrote outside or changed its input");
  TARN_FUZZ_CHECK(flag != 0 || (d.arrayUntouched(0, 8) && s.arrayUntouched(0, 8)), "MTM: unasked derivatives");
  TARN_FUZZ_CHECK(!usual || (near(back[0], q[0], 1e-6) && near(back[1], q[1], 1e-6)),
                  "MTMR(MTMF(%.17g, %.17g)) = %.17g, %.17g", q[0], q[1], back[0], back[1]);

  Array curve(7), out(7);
  curve[0] = in.value(60.0, 450.0);
  for (int p = 1; p < 7; ++p) curve[p] = curve[p - 1] + in.value(in.u8() % 8 == 0 ? -30.0 : 0.0, 90.0);
  const auto givenCurve = curve.copy();
  const int status = gfx_ChesapeakF(unitByte(in), in.raw<std::int32_t>(), curve.data(), out.data());
  bool decreasing = false;  // NaN counts as out of order
  for (int p = 1; p < 7; ++p) decreasing = decreasing || !(curve[p] >= curve[p - 1]);
  TARN_FUZZ_CHECK(status == (decreasing ? 1 : 0) && curve.same(givenCurve) && guardsIntact(curve, out) &&
                      (status == 0 || out.arrayUntouched(0, 7)),
                  "ChesapeakF: %d", status);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return runOperations(data, size, 16, [](ByteReader& in, std::uint8_t selector) {
    switch (selector % 6) {
      case 0: propertyPairs(in); break;
      case 1: powerLaw(in); break;
      case 2: severalInputs(in); break;
      case 3: blends(in); break;
      case 4: octaneAndCurves(in); break;
      default: changeSomeSetting(in);
    }
  });
}
