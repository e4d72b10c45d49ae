// Fuzzes the emission models (tarn/emissions.h): the CARB predictive models
// with arbitrary flag and option strings, the ethanol blendstock models with
// and without parameter overrides, the percent-evaporated points under any
// point settings, the EPA conversions and complex model, and the models'
// valid ranges with any model name and any answers. Input: operations, each
// a selector byte followed by what it reads; settings carry over.
//
// Invariants of every call:
// - nothing is written outside the caller's arrays, and an array passed as
//   const comes back bit for bit; a text argument lies in a heap block of
//   exactly its length (with its terminator), so a read past it is caught;
// - the result is one the header documents (an out-of-range count no larger
//   than the number of inputs, or its failure code), and a failure that the
//   header says writes nothing writes nothing;
// - sensitivities only when asked for; the models whose regression table is
//   not available answer 1e30 and sensitivities of 0, exactly;
// - with every input usual and the constants at their defaults, results are
//   numbers or 1e30;
// - percent changes and absolute emissions convert into each other both ways
//   and back; a valid range has its lower end below its upper end.
#include <memory>
#include <string>

#include "fuzz_support.h"
#include "tarn/emissions.h"

namespace {

using namespace tarn::fuzz;
using Array = Fenced<double>;

// A text argument: null (rarely), or letters the models read, or any bytes,
// in a heap block of exactly its length plus the terminator.
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

// Inputs of a model: one usual range per input.
struct Range {
  double low, high;
};
Array modelInputs(ByteReader& in, std::initializer_list<Range> ranges) {
  Array a(ranges.size());
  std::size_t i = 0;
  for (const Range& r : ranges) a[i++] = in.value(r.low, r.high);
  return a;
}
// RVP (psi), T50, T90 (F), aromatics, olefins (vol %), oxygen (wt %), sulfur
// (ppm), benzene (vol %): the ranges of gasolines.
constexpr Range kRvp{5, 10}, kT50{150, 250}, kT90{250, 360}, kAro{5, 50}, kOlf{0, 25}, kOxy{0, 3.7},
    kSul{0, 500}, kBnz{0, 2};

// The CARB models: out 3, sensitivities inputs x 3.
void carb(ByteReader& in) {
  const int model = in.u8() % 3;
  const int want = in.u8() % 2;
  const Text options(in);
  Array x = model == 1 ? modelInputs(in, {kRvp, kT50, kT90, kAro, kOlf, kOxy, kOxy, kSul, kBnz})
                       : modelInputs(in, {kRvp, kT50, kT90, kAro, kOlf, kOxy, kSul, kBnz});
  const int n = static_cast<int>(x.size());
  const bool usual = usualInputs(in);
  Array out(3), deriv(n * 3);
  Fenced<int> outOfRange(8);
  const auto given = x.copy();
  const int result = model == 0   ? gfx_WCARB(want, options.get(), x.data(), out.data(), deriv.data())
                     : model == 1 ? gfx_WCARB3(want, options.get(), x.data(), out.data(), deriv.data())
                                  : gfx_WCARB4(want, options.get(), x.data(), out.data(), deriv.data(),
                                               in.u8() % 2 ? outOfRange.data() : nullptr);
  TARN_FUZZ_CHECK(result >= 0 && result <= n && x.same(given) && guardsIntact(x, out, deriv, outOfRange),
                  "CARB model %d: %d", model, result);
  TARN_FUZZ_CHECK(want != 0 || deriv.arrayUntouched(0, deriv.size()), "CARB model %d: unasked sensitivities", model);
  if (model == 0) {
    TARN_FUZZ_CHECK(!usual || (allNumbers(out) && allNumbers(deriv)), "CARB: results not numbers");
    return;
  }
  // Phase 3 has no regression table here: missing results, no sensitivity.
  for (int k = 0; k < 3; ++k) TARN_FUZZ_CHECK(out[k] == 1e30, "CARB phase 3 result %d: %.17g", k, out[k]);
  for (int j = 0; want != 0 && j < n * 3; ++j) TARN_FUZZ_CHECK(deriv[j] == 0.0, "CARB phase 3 sensitivity %d", j);
  if (model == 2 && !outOfRange.isMarker(0)) {
    int flagged = 0;
    for (int j = 0; j < 8; ++j) flagged += outOfRange[j];
    TARN_FUZZ_CHECK(flagged == result, "CARB4 flags %d inputs out of range but counts %d", flagged, result);
  }
}

// The ethanol blendstock models: CARBOB (4 -> 3), CARBOB2 (7 -> 9), RBOB
// (7 -> 10), each with or without parameter overrides, and the dilution
// offsets.
void ethanol(ByteReader& in) {
  const int model = in.u8() % 3;
  const int want = in.u8() % 2;
  const char unit = in.u8() % 4 == 0 ? 'C' : 'F';
  const double ethanolPct = in.value(0.0, 15.0);
  Array x = model == 0 ? modelInputs(in, {kRvp, kT50, kT90, {0, 15}})
                       : modelInputs(in, {kRvp, kT50, kT90, kAro, kBnz, kOlf, kSul});
  if (unit == 'C') {
    for (int j = 1; j <= 2; ++j) x[j] = (x[j] - 32.0) / 1.8;
  }
  // Overrides, each kept (1e30) or a value of the ethanol and gasoline
  // blended: its aromatics, benzene, oxygen, olefins, sulfur, the two
  // specific gravities, then CARBOB2's ALTOXY or RBOB's E200 and E300 lines
  // and RVP correction (an E200 slope of 1 or more passes the blendstock
  // through).
  static constexpr Range kOverrides[13] = {{0, 1},   {0, 0.1}, {30, 35},  {0, 1},   {0, 10},    {0.78, 0.8}, {0.7, 0.78},
                                           {100, 200}, {0, 1.2}, {100, 200}, {0, 0.5}, {-1, 1}, {0.9, 1.1}};
  const bool overrides = in.u8() % 2 == 0;
  Array params(model == 2 ? 13 : 9);
  for (std::size_t k = 0; k < params.size(); ++k) {
    params[k] = in.u8() % 2 ? 1e30 : in.value(kOverrides[k].low, kOverrides[k].high);
  }
  if (model == 1) params[8] = in.u8() % 2 ? 1e30 : in.value(0.0, 1.0);  // ALTOXY
  const bool usual = usualInputs(in);
  const int outputs = model == 0 ? 3 : model == 1 ? 9 : 10;
  Array out(outputs), deriv(x.size() * outputs);
  const auto givenX = x.copy(), givenParams = params.copy();
  const double* p = overrides ? params.data() : nullptr;
  const int result = model == 0   ? gfx_WCARBOB(want, unit, x.data(), out.data(), deriv.data())
                     : model == 1 ? gfx_WCARBOB2(want, unit, ethanolPct, x.data(), out.data(), deriv.data(), p)
                                  : gfx_WRBOB(want, unit, ethanolPct, x.data(), out.data(), deriv.data(), p);
  TARN_FUZZ_CHECK(isOneOf(result, {-1, 0, 1}) && x.same(givenX) && params.same(givenParams) &&
                      guardsIntact(x, params, out, deriv),
                  "ethanol model %d: %d", model, result);
  TARN_FUZZ_CHECK(want != 0 || deriv.arrayUntouched(0, deriv.size()), "ethanol model %d: unasked sensitivities", model);
  TARN_FUZZ_CHECK(!usual || (allNumbers(out) && allNumbers(deriv)),
                  "ethanol model %d ('%c', %g %%, overrides %d): results not numbers: %s", model, unit, ethanolPct,
                  overrides, describe(givenX, givenParams, out, deriv).c_str());

  Array offsets(4), factors(4);
  const std::unique_ptr<double[]> neverRead(new double[0]);
  const std::uint8_t nulls = in.u8();
  TARN_FUZZ_CHECK(gfx_WCARBOB2CalcOffset(nulls & 1 ? nullptr : offsets.data(), nulls & 2 ? nullptr : factors.data(),
                                         neverRead.get()) == 0 &&
                      guardsIntact(offsets, factors) && (!usual || (allNumbers(offsets) && allNumbers(factors))),
                  "dilution offsets");
}

// Percent evaporated at the EVAPORATIVE temperatures, after changing them.
void evaporative(ByteReader& in) {
  if (in.u8() % 2 == 0) gfx_setCorParms("EVAPORATIVE", "NPTS", in.value(-2.0, 14.0));
  if (in.u8() % 2 == 0) {
    char name[8];
    std::snprintf(name, sizeof name, "P%02d", in.u8() % 12);
    gfx_setCorParms("EVAPORATIVE", name, in.u8() % 4 == 0 ? 1e30 : in.value(100.0, 400.0));
  }
  const int want = in.u8() % 2;
  Array curve(7), out(12), deriv(7 * 12);
  curve[0] = in.value(60.0, 120.0);
  for (int p = 1; p < 7; ++p) curve[p] = curve[p - 1] + in.value(in.u8() % 8 == 0 ? -20.0 : 0.0, 80.0);
  const bool usual = usualInputs(in);
  const auto given = curve.copy();
  const int result = gfx_Evaporative(want, curve.data(), out.data(), deriv.data());
  const int npts = tarn::params().evaporative.npts;
  TARN_FUZZ_CHECK(isOneOf(result, {0, 1, 2}) && guardsIntact(curve, out, deriv), "Evaporative: %d", result);
  TARN_FUZZ_CHECK(tarn::params().changeData || curve.same(given), "Evaporative repaired without ChangeData");
  TARN_FUZZ_CHECK(result != 1 || out.arrayUntouched(0, 12), "Evaporative wrote with no temperature set");
  TARN_FUZZ_CHECK(out.arrayUntouched(std::clamp(npts, 0, 12), 12) && (want != 0 || deriv.arrayUntouched(0, 84)),
                  "Evaporative wrote past its %d points or unasked sensitivities", npts);
  const bool flat = std::fabs(given[0] - given[6]) < 1.0;  // a pure component keeps unset outputs as they were
  for (int i = 0; result == 0 && usual && i < std::clamp(npts, 0, 12); ++i) {
    TARN_FUZZ_CHECK(out[i] == 1e30 || (out[i] >= 0.0 && out[i] <= 100.0) || (flat && out.isMarker(i)),
                    "Evaporative point %d: %.17g", i, out[i]);
  }
}

// The EPA distillation points, the conversions between percent changes and
// absolute emissions, and the complex model.
void epa(ByteReader& in) {
  const int want = in.u8() % 2;
  const char unit = in.u8() % 4 == 0 ? 'C' : 'F';
  Array t = modelInputs(in, {kT50, kT90}), e(2), d(4);
  if (unit == 'C') {
    for (int j = 0; j < 2; ++j) t[j] = (t[j] - 32.0) / 1.8;
  }
  const bool usualT = usualInputs(in);
  TARN_FUZZ_CHECK(gfx_E200E300EPA(unit, t.data(), e.data(), want, d.data()) == 0 && guardsIntact(t, e, d) &&
                      (want != 0 || d.arrayUntouched(0, 4)) && (!usualT || (allNumbers(e) && allNumbers(d))),
                  "E200E300EPA");

  // Percent to absolute and back, with the letters and lengths as given.
  Text region(in), phase(in), season(in), baseline(in);
  const auto length = [&in](const Text& text) {
    return in.u8() % 8 == 0 ? static_cast<int>(in.u8()) - 128 : static_cast<int>(text.bytes.size()) - 1;
  };
  const int lengths[4] = {length(region), length(phase), length(season), length(baseline)};
  Array percents(5), absolute(5), back(5);
  in.values(percents.data(), 5, -50.0, 50.0);
  const bool usualPercents = usualInputs(in);
  const auto convert = [&](int direction, Array& from, Array& to) {
    return EPAPERCENT2ABS(region.get(), lengths[0], phase.get(), lengths[1], season.get(), lengths[2], &direction,
                          baseline.get(), lengths[3], &from[0], &from[1], &from[2], &from[3], &from[4], &to[0],
                          &to[1], &to[2], &to[3], &to[4]);
  };
  const int forward = convert(0, percents, absolute);
  TARN_FUZZ_CHECK(isOneOf(forward, {0, -1}) && (forward == 0 || absolute.arrayUntouched(0, 5)), "EPAPERCENT2ABS: %d",
                  forward);
  if (forward == 0) {
    TARN_FUZZ_CHECK(convert(1, absolute, back) == 0, "EPAPERCENT2ABS refused its own letters");
    for (int k = 0; usualPercents && k < 5; ++k) {
      TARN_FUZZ_CHECK(std::fabs(back[k] - percents[k]) <= 1e-9 * (std::fabs(percents[k]) + 1.0),
                      "EPA quantity %d: %.17g percent came back as %.17g", k, percents[k], back[k]);
    }
  }
  TARN_FUZZ_CHECK(guardsIntact(percents, absolute, back), "EPAPERCENT2ABS wrote outside");

  // The complex model.
  const Text options(in);
  Array x = modelInputs(in, {{0, 2.7}, {0, 2.7}, {0, 3.7}, {0, 2.7}, kSul, {6, 10}, {30, 70}, {70, 95}, kAro, kOlf, kBnz});
  const bool usual = usualInputs(in);
  Array out(5), deriv(55);
  const auto given = x.copy();
  const int result = gfx_WEPA(want, options.get(), x.data(), out.data(), deriv.data());
  TARN_FUZZ_CHECK(result >= -1 && result <= 11 && x.same(given) && guardsIntact(x, out, deriv), "WEPA: %d", result);
  TARN_FUZZ_CHECK(want != 0 || deriv.arrayUntouched(0, 55), "WEPA: unasked sensitivities");
  for (int k = 0; result == -1 && k < 5; ++k) TARN_FUZZ_CHECK(out[k] == 1e30, "refused WEPA result %d", k);
  for (int j = 0; result == -1 && want != 0 && j < 55; ++j) TARN_FUZZ_CHECK(deriv[j] == 0.0, "refused WEPA slope");
  TARN_FUZZ_CHECK(!usual || (allNumbers(out) && allNumbers(deriv)), "WEPA: results not numbers");
}

// gfx_getCorLimits' answers: letters the input chose; what it was asked.
char answers[4];
int asked;
void TARN_CALL answer(char* buffer, int length, const int* question) {
  ++asked;
  TARN_FUZZ_CHECK(length == 5 && std::all_of(buffer, buffer + 5, [](char c) { return c == ' '; }),
                  "limits asked question %d with a buffer of %d not blank", *question, length);
  std::memcpy(buffer, answers, sizeof answers);
}

void limits(ByteReader& in) {
  static const char* const kModels[] = {"EPA", "CARB", "CARB3", "epa", "Carb3", "CARB4", ""};
  const Text named(in);
  const std::uint8_t choice = in.u8();
  const char* model = choice % 8 < 7 ? kModels[choice % 8] : named.get();
  for (char& c : answers) c = "SRWCNY \0"[in.u8() % 8];
  const int n = in.u8() % 16;
  const bool withAnswer = in.u8() % 8 != 0;
  Array lower(n), upper(n);
  asked = 0;
  const int result = gfx_getCorLimits(model, withAnswer ? answer : nullptr, lower.data(), upper.data(), n);
  TARN_FUZZ_CHECK(isOneOf(result, {0, -1}) && guardsIntact(lower, upper), "limits of %s: %d", model, result);
  if (result == -1) {
    TARN_FUZZ_CHECK(asked == 0 && lower.arrayUntouched(0, n) && upper.arrayUntouched(0, n), "refused limits wrote");
    return;
  }
  for (int j = 0; j < n && !lower.isMarker(j); ++j) {
    TARN_FUZZ_CHECK(lower[j] <= upper[j], "limits of %s: input %d from %.17g to %.17g", model, j, lower[j], upper[j]);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return runOperations(data, size, 16, [](ByteReader& in, std::uint8_t selector) {
    switch (selector % 6) {
      case 0: carb(in); break;
      case 1: ethanol(in); break;
      case 2: evaporative(in); break;
      case 3: epa(in); break;
      case 4: limits(in); break;
      default:
        if (in.u8() % 4 == 0) gfx_setCorParms("TARN", "CARB_CORF", in.u8() % 2 ? 1.0 : -1.0);
        changeSomeSetting(in);
    }
  });
}
