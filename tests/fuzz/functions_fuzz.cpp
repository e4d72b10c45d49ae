// Fuzzes the single-property correlations (tarn/props.h) and the blending
// rules (tarn/blending.h): a property to index and back gives the property,
// a blend of identical components is that component.
#include "fuzz_support.h"
#include "tarn/blending.h"
#include "tarn/props.h"

namespace {

using namespace tarn::fuzz;

// Relative agreement, for round trips and identities.
bool near(double a, double b, double tolerance = 1e-7) {
  return std::fabs(a - b) <= tolerance * (std::fabs(a) + std::fabs(b) + 1e-3);
}

// Property <-> index pairs: the reverse takes the forward's inputs, the last
// replaced by its result (temperature ranges suit both units).
#define RESULT \
  { 0, 0 }  // the forward's result
const DirectCall kPairs[][2] = {
    {TARN_DIRECT("RVPIndex", 1, false, gfx_RVPIndex(x[0], f, d), {0.5, 20}),
     TARN_DIRECT("RVP", 1, false, gfx_RVP(x[0], f, d), RESULT)},
    {TARN_DIRECT("APIfromSPG", 1, false, gfx_APIfromSPG(x[0], f, d), {0.6, 1.05}),
     TARN_DIRECT("SPGfromAPI", 1, false, gfx_SPGfromAPI(x[0], f, d), RESULT)},
    {TARN_DIRECT("ViscosityIndex1", 1, false, gfx_ViscosityIndex1(x[0], f, d), {1, 3000}),
     TARN_DIRECT("Viscosity1", 1, false, gfx_Viscosity1(x[0], f, d), RESULT)},
    {TARN_DIRECT("ViscosityIndex2", 1, false, gfx_ViscosityIndex2(x[0], f, d), {0.3, 3000}),
     TARN_DIRECT("Viscosity2", 1, false, gfx_Viscosity2(x[0], f, d), RESULT)},
    {TARN_DIRECT("ViscosityIndex3", 1, false, gfx_ViscosityIndex3(x[0], f, d), {0.3, 3000}),
     TARN_DIRECT("Viscosity3", 1, false, gfx_Viscosity3(x[0], f, d), RESULT)},
    {TARN_DIRECT("CloudPointIndex1", 1, false, gfx_CloudPointIndex1(u, x[0], f, d), {-60, 40}),
     TARN_DIRECT("CloudPoint1", 1, false, gfx_CloudPoint1(u, x[0], f, d), RESULT)},
    {TARN_DIRECT("CloudPointIndex3", 1, false, gfx_CloudPointIndex3(u, x[0], f, d), {-60, 40}),
     TARN_DIRECT("CloudPoint3", 1, false, gfx_CloudPoint3(u, x[0], f, d), RESULT)},
    {TARN_DIRECT("FlashPointIndex1", 1, false, gfx_FlashPointIndex1(u, x[0], f, d), {20, 250}),
     TARN_DIRECT("FlashPoint1", 1, false, gfx_FlashPoint1(u, x[0], f, d), RESULT)},
    {TARN_DIRECT("PourPointIndex1", 1, false, gfx_PourPointIndex1(u, x[0], f, d), {-70, 40}),
     TARN_DIRECT("PourPoint1", 1, false, gfx_PourPoint1(u, x[0], f, d), RESULT)},
    {TARN_DIRECT("PourPointIndex2", 1, false, gfx_PourPointIndex2(u, x[0], f, d), {1, 40}),
     TARN_DIRECT("PourPoint2", 1, true, gfx_PourPoint2(u, x[0], f, d), RESULT)},
    {TARN_DIRECT("PowerIndexForward", 1, false, gfx_PowerIndexForward(x[0], x[1], x[2], x[3], x[4], f, d), {0.1, 3},
                 {0.1, 3}, {0.1, 3}, {0.1, 3}, {0.1, 3}),
     TARN_DIRECT("PowerIndexReverse", 1, false, gfx_PowerIndexReverse(x[0], x[1], x[2], x[3], x[4], f, d), {0.1, 3},
                 {0.1, 3}, {0.1, 3}, {0.1, 3}, RESULT)},
};
#undef RESULT
constexpr int kPairCount = sizeof kPairs / sizeof kPairs[0];

// Cetane, cold filter plugging, octane, drivability (distillate 300-700 F,
// gasoline 100-350 F).
#define DISTILLATE \
  {300, 500}, {350, 600}, { 400, 700 }
#define GASOLINE \
  {100, 200}, {150, 280}, { 200, 350 }
const DirectCall kSingles[] = {
    TARN_DIRECT("OctaneIndex", 1, false, gfx_OctaneIndex(x[0], f, d), {40, 120}),
    TARN_DIRECT("CetaneIndex2", 2, false, gfx_CetaneIndex2(f, u, x[0], x[1], d), {0.75, 0.95}, {350, 600}),
    TARN_DIRECT("CetaneIndex4", 4, false, gfx_CetaneIndex4(f, u, x[0], x[1], x[2], x[3], d), {0.75, 0.95}, DISTILLATE),
    TARN_DIRECT("CetaneIndex5", 4, false, gfx_CetaneIndex5(f, u, x[0], x[1], x[2], x[3], d), {0.75, 0.95}, DISTILLATE),
    TARN_DIRECT("CetaneImprover", 3, false, gfx_CetaneImprover(f, u, x[0], x[1], x[2], d), {0.75, 0.95}, {350, 600},
                {0, 2000}),
    TARN_DIRECT("CetaneImprover2", 4, false, gfx_CetaneImprover2(f, u, x[0], x[1], x[2], x[3], d), {0.75, 0.95},
                {350, 600}, {0, 2000}, {30, 60}),
    TARN_DIRECT("CFPPImprover", 2, false, gfx_CFPPImprover(f, u, x[0], x[1], d), {-30, 10}, {0, 2000}),
    TARN_DIRECT("DON", 2, false, gfx_DON(f, x[0], x[1], d), {80, 110}, {70, 100}),
    TARN_DIRECT("DriveabilityIndex", 3, false, gfx_DriveabilityIndex(f, u, x[0], x[1], x[2], d), GASOLINE),
    TARN_DIRECT("DriveabilityIndexE", 3, false, gfx_DriveabilityIndexE(f, u, x[0], x[1], x[2], d, x[3]), GASOLINE,
                {0, 15}),
};
#undef DISTILLATE
#undef GASOLINE

// A forward conversion or a several-input correlation; a pair there and back.
void direct(ByteReader& in) {
  constexpr int kSingleCount = sizeof kSingles / sizeof kSingles[0];
  const int k = in.u8() % (kPairCount + kSingleCount);
  double x[8];
  runDirect(in, k < kPairCount ? kPairs[k][0] : kSingles[k - kPairCount], x);
}

void roundTrip(ByteReader& in) {
  const DirectCall* pair = kPairs[in.u8() % kPairCount];
  const int unit = static_cast<unsigned char>(unitByte(in));
  const std::size_t last = pair[0].ranges.size() - 1;
  double x[8], back[8];
  const auto [index, usual] = runDirect(in, pair[0], x, nullptr, unit);
  std::copy(x, x + last, back);
  back[last] = index;
  const double property = runDirect(in, pair[1], back, back, unit, usual).first;
  TARN_FUZZ_CHECK(!usual || index == 1e30 || property == 1e30 || near(property, x[last], 1e-6),
                  "%s: %.17g to %.17g and back to %.17g", pair[0].name, x[last], index, property);
}

// Blends of n components; identities where every component is the same.
void blends(ByteReader& in) {
  const int n = static_cast<int>(in.u8() % 21) - 2, rows = std::max(n, 0);
  const bool identical = in.u8() % 4 == 0, noInteractions = in.u8() % 2 == 0;
  Array volumes(rows), gravities(rows), values(rows), x(rows), ron(rows), mon(rows), ole(rows), aro(rows), T(rows);
  Array matrix(static_cast<std::size_t>(rows) * rows);
  const auto fill = [&](Array& a, double low, double high, bool same) {
    for (int i = 0; i < rows; ++i) a[i] = same && i > 0 ? a[0] : in.value(low, high);
  };
  fill(volumes, 0.0, 1000.0, false), fill(x, 0.0, 1.0, false), fill(gravities, 0.65, 0.95, identical);
  fill(values, 0.0, 100.0, identical), fill(ron, 70.0, 110.0, identical), fill(mon, 65.0, 100.0, identical);
  fill(ole, 0.0, 30.0, identical), fill(aro, 0.0, 50.0, identical), fill(T, -80.0, 20.0, identical);
  for (std::size_t k = 0; k < matrix.size(); ++k) matrix[k] = noInteractions ? 0.0 : in.value(-10.0, 10.0);
  const int flag = in.u8() % 3;  // Interactive and Healy know modes 1 and 2
  const char unit = unitByte(in);
  const bool usual = usualInputs(in);
  double volume = 0.0, mass = 0.0, fractionSum = 0.0;
  for (int i = 0; i < rows; ++i) volume += volumes[i], mass += volumes[i] * gravities[i], fractionSum += x[i];
  for (int i = 0; fractionSum > 0.0 && i < rows; ++i) x[i] /= fractionSum;  // fractions that sum to one
  const Array* const constArrays[] = {&volumes, &gravities, &values, &x, &ron, &mon, &ole, &aro, &T, &matrix};
  std::vector<std::vector<double>> given;
  for (const Array* a : constArrays) given.push_back(a->copy());
  const bool same = usual && identical;

  const double byVolume = gfx_LinearByVolume(volumes.data(), n, values.data());
  const double byMass = gfx_LinearByMass(volumes.data(), n, gravities.data(), values.data());
  TARN_FUZZ_CHECK(!usual || volume <= 0.0 || numberOrMissing(byVolume), "LinearByVolume %.17g", byVolume);
  TARN_FUZZ_CHECK(!usual || mass > 0.0 || byMass == 1e30, "LinearByMass of no mass: %.17g", byMass);
  TARN_FUZZ_CHECK(!same || ((volume <= 0.0 || near(byVolume, values[0])) && (mass <= 0.0 || near(byMass, values[0]))),
                  "linear blends of identical components %.17g, %.17g, not %.17g", byVolume, byMass, values[0]);

  Array interactive(2 * rows), healy(10 * rows), freeze(2 * rows), out(2);
  const double blended = gfx_Interactive(flag, x.data(), n, matrix.data(), values.data(), interactive.data());
  TARN_FUZZ_CHECK(!same || !noInteractions || fractionSum <= 0.0 || near(blended, values[0]),
                  "interaction blend of identical components %.17g, not %.17g", blended, values[0]);
  const int status =
      gfx_Healy(flag, x.data(), n, ron.data(), mon.data(), ole.data(), aro.data(), out.data(), healy.data());
  TARN_FUZZ_CHECK(status == 0 ? !usual || all(out, isFinite) : status == 2 && out.untouched() && healy.untouched(),
                  "Healy: %d", status);
  TARN_FUZZ_CHECK(status != 0 || !same || (near(out[0], ron[0]) && near(out[1], mon[0])),
                  "Healy of identical components %.17g, %.17g, not %.17g, %.17g", out[0], out[1], ron[0], mon[0]);
  const double point = gfx_Freeze(flag, unit, x.data(), n, T.data(), freeze.data());
  TARN_FUZZ_CHECK(!usual || numberOrMissing(point), "Freeze: %.17g", point);
  TARN_FUZZ_CHECK(!same || point == 1e30 || near(point, T[0]), "freeze point of identical components %.17g", point);

  for (std::size_t k = 0; k < given.size(); ++k) {
    TARN_FUZZ_CHECK(constArrays[k]->same(given[k]) && constArrays[k]->guardsIntact(), "a blend changed input %zu", k);
  }
  TARN_FUZZ_CHECK(guardsIntact(interactive, healy, freeze, out) &&
                      (flag != 0 || (interactive.untouched() && healy.untouched() && freeze.untouched())),
                  "a blend wrote outside, or derivatives without the flag");
}

// The octane corrections and the curve transform, on inputs of any order.
void octaneAndCurves(ByteReader& in) {
  Array q(2), corrected(2), back(2), d(8), r(8), curve(7), out(7);
  q[0] = in.value(80.0, 105.0);
  q[1] = q[0] - in.value(5.0, 15.0);
  const double olefins = in.value(0.0, 30.0), aromatics = in.value(0.0, 50.0);
  const int flag = in.u8() % 2;
  curve[0] = in.value(60.0, 450.0);
  for (int p = 1; p < 7; ++p) curve[p] = curve[p - 1] + in.value(in.u8() % 8 == 0 ? -30.0 : 0.0, 90.0);
  const auto givenQ = q.copy(), givenCurve = curve.copy();
  TARN_FUZZ_CHECK(gfx_MTMF(q.data(), olefins, aromatics, corrected.data(), flag, d.data()) == 0 &&
                      gfx_MTMR(corrected.data(), olefins, aromatics, back.data(), flag, r.data()) == 0,
                  "MTMF or MTMR failed");
  const int status = gfx_ChesapeakF(unitByte(in), in.raw<std::int32_t>(), curve.data(), out.data());
  TARN_FUZZ_CHECK(q.same(givenQ) && curve.same(givenCurve) && (flag != 0 || (d.untouched() && r.untouched())) &&
                      (status == 0 || (status == 1 && out.untouched())) &&
                      guardsIntact(q, corrected, back, d, r, curve, out),
                  "MTM or ChesapeakF wrote outside, unasked derivatives or a refused curve, or changed its input");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return runOperations(data, size, 16, [](ByteReader& in, std::uint8_t selector) {
    static void (*const kOperations[])(ByteReader&) = {direct, roundTrip, blends, octaneAndCurves, changeSetting};
    kOperations[selector % 5](in);
  });
}
