// Fuzzes the emission models (tarn/emissions.h) with any option strings,
// overrides, point settings and model names. A model without its table or
// refused answers 1e30 with zero sensitivities; EPA letters convert back.
#include <memory>

#include "fuzz_support.h"
#include "tarn/emissions.h"

namespace {

using namespace tarn::fuzz;

// A text argument: null (rarely), letters the models read or any bytes, in
// a heap block of exactly its length and terminator.
struct Text {
  explicit Text(ByteReader& in) {
    static constexpr char kLetters[] = "ABCNRSUWYZabcnrsuwyz12 ";
    const std::uint8_t kind = in.u8();
    const std::size_t length = in.u8() % 10;
    if (kind % 16 == 0) return;
    bytes.assign(length + 1, '\0');
    for (std::size_t i = 0; i < length; ++i) {
      const std::uint8_t b = in.u8();
      bytes[i] = kind % 2 == 0 ? kLetters[b % (sizeof kLetters - 1)] : static_cast<char>(b);
    }
  }
  const char* get() const { return bytes.empty() ? nullptr : bytes.data(); }
  std::vector<char> bytes;
};

// Usual ranges (psi, F, vol %, wt %, ppm), outputs, results, no table, T50/T90 in unit.
struct Model {
  const char* name;
  std::vector<Range> ranges;
  int outputs, lowest, highest;
  bool noTable, inUnit;
  int (*call)(int want, const char* options, char unit, double ethanol, const double* x, double* out, double* deriv,
              const double* overrides, int* outOfRange);
};
#define TARN_MODEL(name, outputs, lowest, highest, noTable, inUnit, call, ...)                                         \
  Model {                                                                                                              \
    name, {__VA_ARGS__}, outputs, lowest, highest, noTable, inUnit,                                                    \
        [](int w, const char* o, char u, double e, const double* x, double* out, double* d, const double* p, int* r) { \
          return (void)o, (void)u, (void)e, (void)p, (void)r, call;                                                    \
        }                                                                                                              \
  }
#define GASOLINE \
  {5, 10}, {150, 250}, {250, 360}, {5, 50}, { 0, 25 }  // RVP, T50, T90, ARO, OLF
const Model kModels[] = {
    TARN_MODEL("WCARB", 3, 0, 8, false, false, gfx_WCARB(w, o, x, out, d), GASOLINE, {0, 3.7}, {0, 500}, {0, 2}),
    TARN_MODEL("WCARB3", 3, 0, 9, true, false, gfx_WCARB3(w, o, x, out, d), GASOLINE, {0, 3.7}, {0, 3.7}, {0, 500},
               {0, 2}),
    TARN_MODEL("WCARB4", 3, 0, 8, true, false, gfx_WCARB4(w, o, x, out, d, r), GASOLINE, {0, 3.7}, {0, 500}, {0, 2}),
    TARN_MODEL("WCARBOB", 3, -1, 1, false, true, gfx_WCARBOB(w, u, x, out, d), {5, 10}, {150, 250}, {250, 360},
               {0, 15}),
    TARN_MODEL("WCARBOB2", 9, -1, 1, false, true, gfx_WCARBOB2(w, u, e, x, out, d, p), {5, 10}, {150, 250}, {250, 360},
               {5, 50}, {0, 2}, {0, 25}, {0, 500}),
    TARN_MODEL("WRBOB", 10, -1, 1, false, true, gfx_WRBOB(w, u, e, x, out, d, p), {5, 10}, {150, 250}, {250, 360},
               {5, 50}, {0, 2}, {0, 25}, {0, 500}),
    // The EPA model: oxygenates (wt %), sulfur, RVP, E200, E300, ARO, OLF, BNZ.
    TARN_MODEL("WEPA", 5, -1, 11, false, false, gfx_WEPA(w, o, x, out, d), {0, 2.7}, {0, 2.7}, {0, 3.7}, {0, 2.7},
               {0, 500}, {6, 10}, {30, 70}, {70, 95}, {5, 50}, {0, 25}, {0, 2}),
};
#undef GASOLINE
#undef TARN_MODEL

// Blendstock overrides: ARO, BNZ, OXY, OLF, SUL, two SGs, ALTOXY or E200/E300 lines, RVP.
constexpr Range kOverrides[13] = {{0, 1},     {0, 0.1}, {30, 35},   {0, 1},   {0, 10}, {0.78, 0.8}, {0.7, 0.78},
                                  {100, 200}, {0, 1.2}, {100, 200}, {0, 0.5}, {-1, 1}, {0.9, 1.1}};

void models(ByteReader& in) {
  const Model& model = kModels[in.u8() % (sizeof kModels / sizeof kModels[0])];
  const int want = in.u8() % 2;
  const char unit = in.u8() % 4 == 0 ? 'C' : 'F';
  const Text options(in);
  const double ethanol = in.value(0.0, 15.0);
  const int n = static_cast<int>(model.ranges.size());
  Array x(n), out(model.outputs), deriv(static_cast<std::size_t>(n) * model.outputs), overrides(13);
  for (int j = 0; j < n; ++j) x[j] = in.value(model.ranges[j]);
  if (unit == 'C' && model.inUnit) {
    for (int j = 1; j <= 2; ++j) x[j] = (x[j] - 32.0) / 1.8;
  }
  for (int k = 0; k < 13; ++k) overrides[k] = in.u8() % 2 ? 1e30 : in.value(kOverrides[k]);
  if (model.outputs == 9) overrides[8] = in.u8() % 2 ? 1e30 : in.value(0.0, 1.0);  // CARBOB2's ALTOXY
  const bool given = in.u8() % 2 == 0;
  Fenced<int> outOfRange(8);
  const bool usual = usualInputs(in);
  const auto givenX = x.copy(), givenOverrides = overrides.copy();
  const int result = model.call(want, options.get(), unit, ethanol, x.data(), out.data(), deriv.data(),
                                given ? overrides.data() : nullptr, in.u8() % 2 ? outOfRange.data() : nullptr);
  TARN_FUZZ_CHECK(result >= model.lowest && result <= model.highest && x.same(givenX) &&
                      overrides.same(givenOverrides) && guardsIntact(x, out, deriv, overrides, outOfRange) &&
                      (want != 0 || deriv.untouched()),
                  "%s: %d, or it wrote what it should not", model.name, result);
  const bool missing = model.noTable || (model.highest == 11 && result == -1);
  TARN_FUZZ_CHECK(missing ? all(out, [](double v) { return v == 1e30; }) &&
                                (want == 0 || all(deriv, [](double v) { return v == 0.0; }))
                          : !usual || (all(out, numberOrMissing) && all(deriv, numberOrMissing)),
                  "%s: results not %s", model.name, missing ? "missing without a table or refused" : "numbers");
  int flagged = 0;
  for (int j = 0; j < 8 && !outOfRange.isMarker(0); ++j) flagged += outOfRange[j];
  TARN_FUZZ_CHECK(outOfRange.isMarker(0) || flagged == result, "%s flags %d inputs, counts %d", model.name, flagged,
                  result);

  Array offsets(4), factors(4);
  const std::unique_ptr<double[]> neverRead(new double[0]);
  const std::uint8_t nulls = in.u8();
  TARN_FUZZ_CHECK(gfx_WCARBOB2CalcOffset(nulls & 1 ? nullptr : offsets.data(), nulls & 2 ? nullptr : factors.data(),
                                         neverRead.get()) == 0 &&
                      guardsIntact(offsets, factors) &&
                      (!usual || (all(offsets, numberOrMissing) && all(factors, numberOrMissing))),
                  "dilution offsets");
}

// Percent evaporated at the EVAPORATIVE temperatures, after changing them.
void evaporative(ByteReader& in) {
  if (in.u8() % 2 == 0) gfx_setCorParms("EVAPORATIVE", "NPTS", in.value(-2.0, 14.0));
  if (in.u8() % 2 == 0) {
    const std::string name = "P" + std::to_string(in.u8() % 12 + 100).substr(1);
    gfx_setCorParms("EVAPORATIVE", name.c_str(), in.u8() % 4 == 0 ? 1e30 : in.value(100.0, 400.0));
  }
  const int want = in.u8() % 2;
  Array curve(7), out(12), deriv(7 * 12);
  curve[0] = in.value(60.0, 120.0);
  for (int p = 1; p < 7; ++p) curve[p] = curve[p - 1] + in.value(in.u8() % 8 == 0 ? -20.0 : 0.0, 80.0);
  const bool usual = usualInputs(in);
  const auto given = curve.copy();
  const int result = gfx_Evaporative(want, curve.data(), out.data(), deriv.data());
  const int points = std::clamp(tarn::params().evaporative.npts, 0, 12);
  TARN_FUZZ_CHECK(isOneOf(result, {0, 1, 2}) && guardsIntact(curve, out, deriv) &&
                      (tarn::params().changeData || curve.same(given)) && (result != 1 || out.untouched()) &&
                      out.arrayUntouched(points, 12) && (want != 0 || deriv.untouched()),
                  "Evaporative: %d with %d points, or wrote what it should not", result, points);
  const bool flat = std::fabs(given[0] - given[6]) < 1.0;  // a pure component leaves unset outputs
  for (int i = 0; result == 0 && usual && i < points; ++i) {
    TARN_FUZZ_CHECK(out[i] == 1e30 || (out[i] >= 0 && out[i] <= 100) || (flat && out.isMarker(i)), "point %d", i);
  }
}

// The EPA distillation points; percent changes to absolute emissions and
// back with any letters and lengths.
void epa(ByteReader& in) {
  const int want = in.u8() % 2;
  const char unit = in.u8() % 4 == 0 ? 'C' : 'F';
  Array t(2), e(2), d(4);
  t[0] = in.value(150.0, 250.0), t[1] = in.value(250.0, 360.0);
  for (int j = 0; unit == 'C' && j < 2; ++j) t[j] = (t[j] - 32.0) / 1.8;
  const bool usualT = usualInputs(in);
  TARN_FUZZ_CHECK(gfx_E200E300EPA(unit, t.data(), e.data(), want, d.data()) == 0 && guardsIntact(t, e, d) &&
                      (want != 0 || d.untouched()) && (!usualT || (all(e, numberOrMissing) && all(d, numberOrMissing))),
                  "E200E300EPA");

  const Text texts[4] = {Text(in), Text(in), Text(in), Text(in)};  // region, phase, season, baseline
  int lengths[4];
  for (int k = 0; k < 4; ++k) {
    lengths[k] = in.u8() % 8 == 0 ? static_cast<int>(in.u8()) - 128 : static_cast<int>(texts[k].bytes.size()) - 1;
  }
  Array percents(5), absolute(5), back(5);
  in.values(percents.data(), 5, -50.0, 50.0);
  const auto convert = [&](int direction, Array& from, Array& to) {
    return EPAPERCENT2ABS(texts[0].get(), lengths[0], texts[1].get(), lengths[1], texts[2].get(), lengths[2],
                          &direction, texts[3].get(), lengths[3], &from[0], &from[1], &from[2], &from[3], &from[4],
                          &to[0], &to[1], &to[2], &to[3], &to[4]);
  };
  const int forward = convert(0, percents, absolute);
  TARN_FUZZ_CHECK(forward == 0 ? convert(1, absolute, back) == 0 : forward == -1 && absolute.untouched(),
                  "EPAPERCENT2ABS: %d, or it refused its own letters", forward);
  TARN_FUZZ_CHECK(guardsIntact(percents, absolute, back), "EPAPERCENT2ABS wrote outside");
}

// gfx_getCorLimits' answers: letters the input chose.
char answers[4];
int asked;
void TARN_CALL answer(char* buffer, int length, const int* question) {
  ++asked;
  TARN_FUZZ_CHECK(length == 5 && std::all_of(buffer, buffer + 5, [](char c) { return c == ' '; }),
                  "limits asked question %d with a buffer of %d not blank", *question, length);
  std::memcpy(buffer, answers, sizeof answers);
}

void limits(ByteReader& in) {
  static const char* const kNames[] = {"EPA", "CARB", "CARB3", "epa", "Carb3", "CARB4", ""};
  const Text named(in);
  const std::uint8_t choice = in.u8();
  const char* model = choice % 8 < 7 ? kNames[choice % 8] : named.get();
  for (char& c : answers) c = "SRWCNY \0"[in.u8() % 8];
  const int n = in.u8() % 16;
  const bool withAnswer = in.u8() % 8 != 0;
  Array lower(n), upper(n);
  asked = 0;
  const int result = gfx_getCorLimits(model, withAnswer ? answer : nullptr, lower.data(), upper.data(), n);
  TARN_FUZZ_CHECK(result == 0 ? true : result == -1 && asked == 0 && lower.untouched() && upper.untouched(),
                  "limits of %s: %d", model, result);
  TARN_FUZZ_CHECK(guardsIntact(lower, upper), "limits wrote outside");
  for (int j = 0; j < n && !lower.isMarker(j); ++j) {
    TARN_FUZZ_CHECK(lower[j] <= upper[j], "limits of %s: input %d from %.17g to %.17g", model, j, lower[j], upper[j]);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return runOperations(data, size, 16, [](ByteReader& in, std::uint8_t selector) {
    switch (selector % 5) {
      case 0:
        models(in);
        break;
      case 1:
        evaporative(in);
        break;
      case 2:
        epa(in);
        break;
      case 3:
        limits(in);
        break;
      default:
        if (in.u8() % 4 == 0) gfx_setCorParms("TARN", "CARB_CORF", in.u8() % 2 ? 1.0 : -1.0);
        changeSetting(in);
    }
  });
}
