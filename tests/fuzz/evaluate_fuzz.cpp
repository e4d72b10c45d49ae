// Fuzzes evaluation by index: gfx_tarnGenCalc and gfx_tarnGenCalcComplex with
// any index, flag and inputs, gfx_tarnGenCalcBatch against them row by row,
// the variable output counts, and the lifecycle calls, in sequences on a
// library whose settings (coefficients, any keyword) carry over, with caller
// arrays of the catalogue's sizes fenced by guard bytes. Input: operations,
// each a selector byte followed by what it reads.
//
// Invariants: the status is one the correlation documents; nothing is
// written outside the caller's arrays, no derivative without the flag (but
// where the catalogue says otherwise), no input rewritten (but where it says
// so) and the parameter block untouched; NaN comes out only where NaN went
// in; with usual inputs (within the ranges of their properties) and the
// constants at their defaults no output with status 0 is infinite; a batch
// gives bit for bit what one evaluation per row gives; start-up restores the
// defaults and a reset the parameters.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>
#include <vector>

#include "frame/catalogue.h"
#include "fuzz_support.h"
#include "support/statuses.h"
#include "tarn/corparms.h"

namespace {

using namespace tarn::fuzz;

// Realistic ranges by input property id (temperatures in degrees F, or
// degrees C when a unit flag was switched); the distillation points T1..T13
// of the configurable curve take [60, 700], the inputs of an index to
// property correlation the indices of its forward correlation's range, and
// other ids [0, 100] (percents).
constexpr struct Range {
  const char* id;
  double low, high;
} kRanges[] = {
    {"RVP", 2, 15},      {"OBSRVP", 2, 15},    {"SRVP", -2, 2},      {"IBP", 60, 120},    {"T10", 90, 480},
    {"T20", 100, 250},   {"T30", 120, 280},    {"T50", 150, 560},    {"T70", 180, 340},   {"T90", 250, 650},
    {"FBP", 350, 700},   {"OBST50", 150, 260}, {"OBST90", 250, 380}, {"SPG", 0.65, 1.0},  {"VISC", 0.5, 3000},
    {"CLDPNT", -60, 40}, {"POURPNT", -70, 40}, {"FLSHPNT", 20, 250}, {"IMPDRATE", 0, 2000}, {"IMPVOL", 0, 1},
    {"RON", 70, 110},    {"MON", 65, 100},     {"TRON", 70, 110},    {"TMON", 65, 100},   {"SUL", 0, 1000},
    {"E20", 20, 80},     {"E30", 60, 99},      {"E70", 5, 70},       {"VOLETOH", 0, 15},  {"RVPNDX", 1, 40},
    {"T10NDX", 0.1, 30}, {"T90NDX", 0.1, 30},  {"ARO", 5, 50},       {"OLF", 0, 25},      {"OLE", 0, 30},
    {"BNZ", 0, 2},       {"OXY", 0, 3.7},      {"EHO", 0, 3.7},      {"MTO", 0, 2.7},     {"ETO", 0, 2.7},
    {"TMO", 0, 2.7},     {"ST50", -5, 5},      {"ST90", -5, 5},      {"SARO", -5, 5},     {"SBNZ", -1, 1},
    {"SOLF", -5, 5},     {"SSUL", -5, 5}};

// The percent-off and curve correlations, whose inputs a realistic caller
// passes in increasing order.
bool isCurve(int index) { return isOneOf(index, {5, 6, 41, 42, 49, 53}); }

// Writes the derivative array whatever the flag: MTMF, MTMR (8 entries),
// CT10BLEND..CRVP (3 entries), and D86TOPERCENTOFF and CD86FROMPERCENTOFF
// (all of it) when an array is given.
int derivativesWrittenWithoutFlag(int index, int size) {
  if (index == 39 || index == 40) return 8;
  if (index >= 44 && index <= 48) return 3;
  return index == 6 || index == 49 ? size : 0;
}

// May rewrite its inputs in place, as its catalogue row says (a second run
// of a row on copies relies on the others keeping them): the oxygenate
// removal of CD86ONE90BLEND, CRVP and CD86FROMPERCENTOFF, the missing inputs
// of the regression models, the filling of missing 30 % and 70 % points of
// D86TOPERCENTOFF and ND86TOPERCENTOFF, and the curve repairs of ChangeData.
bool mayRewriteInputs(int index, bool changeData) {
  using tarn::frame::InputRewrite;
  const InputRewrite rewrite = tarn::frame::findCorrelation(index)->rewritesInputs;
  return rewrite == InputRewrite::Always || (changeData && rewrite == InputRewrite::WhenRepairing);
}

// A coefficient of this or another correlation, or any keyword of the
// parameter block (ChangeData, the point counts, model constants ...).
void changeSetting(ByteReader& in, int index) {
  const std::uint8_t kind = in.u8();
  if (kind % 2 == 0) {
    gfx_tarnSetCoefValue(kind % 4 == 0 ? index : in.index(57), in.index(44), in.value(-5.0, 30.0));
    Session::get().constantsChanged();
  } else {
    tarn::fuzz::changeSetting(in);
  }
}

Range rangeOf(int index, int k) {
  char id[TARN_PROPERTY_ID_SIZE] = {};
  const std::string name = gfx_tarnGetCorrelationInpPropId(index, k, id) == 0 ? id : "";
  const std::string base = name.substr(0, name.find("_No_Ethanol"));
  const auto found = std::find_if(std::begin(kRanges), std::end(kRanges), [&](const Range& r) { return base == r.id; });
  if (found != std::end(kRanges)) return *found;
  if (base.size() >= 2 && base[0] == 'T' && std::isdigit(static_cast<unsigned char>(base[1]))) return {"", 60, 700};
  int type = 0;
  for (int forward = 0; gfx_tarnGetCorrelationType(index, &type) == 0 && type == TARN_TYPE_INDEX_TO_PROPERTY &&
                        forward < TARN_CORRELATION_COUNT;
       ++forward) {
    int pair = -1;
    if (gfx_tarnGetIndexPair(forward, &pair) != 0 || pair != index ||
        countOf(gfx_tarnGetCorrelationInpPropCount, forward, 0) != 1 ||
        countOf(gfx_tarnGetCorrelationOutPropCount, forward, 0) != 1) {
      continue;
    }
    // The indices of the properties across their range, where defined.
    const Range property = rangeOf(forward, 0);
    Range indices{"", 1e300, -1e300};
    for (int step = 0; step <= 16; ++step) {
      double x = property.low + (property.high - property.low) * step / 16.0, y = 0.0;
      if (gfx_tarnGenCalc(forward, 0, 0, &x, &y, nullptr) != 0) continue;
      indices.low = std::min(indices.low, y), indices.high = std::max(indices.high, y);
    }
    return indices.low <= indices.high ? indices : Range{"", 0.0, 100.0};
  }
  return {"", 0.0, 100.0};
}

// One evaluation by index, after up to three settings.
void evaluate(ByteReader& in) {
  const int settings = in.u8() % 4;
  const int index = in.index(TARN_CORRELATION_COUNT);
  for (int s = 0; s < settings; ++s) changeSetting(in, index);

  const std::uint8_t shape = in.u8();
  const int derivFlag = shape % 3 == 2 ? -7 : shape % 3;  // any non-zero flag asks for derivatives
  const bool complex = (shape / 3) % 2 == 1;
  const bool nullDerivs = (shape / 6) % 4 == 1;
  const bool nullArrays = (shape / 6) % 16 == 2;
  const bool sorted = (shape / 96) % 2 == 1;

  const bool known = index >= 0 && index < TARN_CORRELATION_COUNT;
  const int n = countOf(gfx_tarnGetCorrelationInpPropCount, index, 4);
  const int m = countOf(gfx_tarnGetCorrelationOutPropCount, index, 4);
  Fenced<double> inputs(n), outputs(m), derivs(static_cast<std::size_t>(n) * m);
  for (int j = 0; j < n; ++j) inputs[j] = in.value(rangeOf(index, j).low, rangeOf(index, j).high);
  if (sorted && isCurve(index)) std::sort(inputs.data(), inputs.data() + std::min(n, 10));
  const bool usual = usualInputs(in);
  const bool anyNaNInput = std::any_of(inputs.data(), inputs.data() + n, [](double x) { return std::isnan(x); });
  const std::vector<double> given(inputs.data(), inputs.data() + n);

  const bool changeData = tarn::params().changeData;
  const ParameterSnapshot before;
  double* inputArray = nullArrays ? nullptr : inputs.data();
  double* outputArray = nullArrays ? nullptr : outputs.data();
  double* derivArray = nullDerivs ? nullptr : derivs.data();
  const int status = complex ? gfx_tarnGenCalcComplex(index, derivFlag, 0, 3, inputArray, outputArray, derivArray)
                             : gfx_tarnGenCalc(index, derivFlag, 0, inputArray, outputArray, derivArray);

  TARN_FUZZ_CHECK(before.unchanged(), "correlation %d changed byte %ld of the block", index, before.firstDifference());
  TARN_FUZZ_CHECK(guardsIntact(inputs, outputs, derivs), "correlation %d wrote outside its arrays", index);
  if (!known || nullArrays) {
    TARN_FUZZ_CHECK(status == TARN_STATUS_NOT_CALCULABLE && outputs.arrayUntouched(0, m) &&
                        derivs.arrayUntouched(0, derivs.size()),
                    "correlation %d: status %d, or it wrote although it failed", index, status);
    return;
  }
  if (derivFlag != 0 && nullDerivs) {
    TARN_FUZZ_CHECK(status == TARN_STATUS_NO_DERIVATIVE_ARRAY, "correlation %d: status %d", index, status);
    return;
  }
  TARN_FUZZ_CHECK(tarn::testing::documentedStatuses(index).count(status) == 1,
                  "correlation %d returned the undocumented status %d", index, status);
  TARN_FUZZ_CHECK(derivFlag != 0 || derivs.arrayUntouched(derivativesWrittenWithoutFlag(index, n * m), derivs.size()),
                  "correlation %d wrote derivatives without the flag", index);
  for (int j = 0; j < n && !mayRewriteInputs(index, changeData); ++j) {
    TARN_FUZZ_CHECK(sameBits(inputs[j], given[j]), "correlation %d rewrote input %d", index, j);
  }
  // NaN comes out only where NaN went in, or where the three-point
  // distillation indices report it as computed; no infinity with status 0
  // from usual inputs. Elements left as the caller had them are not results.
  if (anyNaNInput || tarn::testing::reportsNaNAsComputed(index)) return;
  for (int k = 0; k < m; ++k) {
    TARN_FUZZ_CHECK(outputs.isMarker(k) || !std::isnan(outputs[k]), "correlation %d: NaN output %d with status %d",
                    index, k, status);
    TARN_FUZZ_CHECK(status != 0 || !usual || outputs.isMarker(k) || std::isfinite(outputs[k]),
                    "correlation %d: output %d is %g with status 0", index, k, outputs[k]);
  }
  for (std::size_t i = 0; status == 0 && derivFlag != 0 && i < derivs.size(); ++i) {
    TARN_FUZZ_CHECK(derivs.isMarker(i) || !std::isnan(derivs[i]), "correlation %d: NaN derivative %zu", index, i);
  }
}

// A batch of rows gives bit for bit what one evaluation per row gives (on a
// copy of the row's inputs, into arrays filled alike), and counts the rows
// that failed; the caller's inputs stay as they were.
void batch(ByteReader& in) {
  const int index = in.index(TARN_CORRELATION_COUNT);
  const int rows = static_cast<int>(in.u8() % 10) - 1;
  const int derivFlag = in.u8() % 2;
  const int n = countOf(gfx_tarnGetCorrelationInpPropCount, index, 4);
  const int m = countOf(gfx_tarnGetCorrelationOutPropCount, index, 4);
  const std::size_t r = static_cast<std::size_t>(std::max(rows, 0));
  Fenced<double> inputs(r * n), outputs(r * m), derivs(r * n * m);
  Fenced<int> statuses(r);
  for (std::size_t i = 0; i < r * n; ++i) inputs[i] = in.value(rangeOf(index, static_cast<int>(i % n)).low,
                                                               rangeOf(index, static_cast<int>(i % n)).high);
  const auto given = inputs.copy();
  const int failed = gfx_tarnGenCalcBatch(index, derivFlag, rows, inputs.data(), outputs.data(), derivs.data(),
                                          statuses.data());
  TARN_FUZZ_CHECK(inputs.same(given) && guardsIntact(inputs, outputs, derivs, statuses), "batch of %d", index);
  if (rows < 0) {
    TARN_FUZZ_CHECK(failed == TARN_STATUS_NOT_CALCULABLE, "batch of %d rows: %d", rows, failed);
    return;
  }
  int counted = 0;
  for (std::size_t row = 0; row < r; ++row) {
    Fenced<double> x(n), y(m), d(static_cast<std::size_t>(n) * m);
    std::copy(given.begin() + row * n, given.begin() + (row + 1) * n, x.data());
    const int status = gfx_tarnGenCalc(index, derivFlag, 0, x.data(), y.data(), d.data());
    counted += status != 0;
    TARN_FUZZ_CHECK(statuses[row] == status && std::memcmp(y.data(), outputs.data() + row * m, m * sizeof(double)) == 0 &&
                        std::memcmp(d.data(), derivs.data() + row * n * m, n * m * sizeof(double)) == 0,
                    "batch row %zu of correlation %d differs from its own evaluation", row, index);
  }
  TARN_FUZZ_CHECK(failed == counted, "batch of %d counted %d failed rows, not %d", index, failed, counted);
}

// The variable output counts follow their settings; the property
// derivatives of user libraries do nothing here.
void outputCounts(ByteReader& in) {
  const int index = in.index(TARN_CORRELATION_COUNT);
  const auto& block = tarn::params();
  const int npoff = block.nd86.npoff, ntemp = block.nd86.ntemp, npts = block.evaporative.npts;
  const int expected = index == 41   ? (npoff > 0 ? npoff : -1)
                       : index == 42 ? (npoff > 0 ? ntemp : -1)  // whatever NTEMP is
                       : index == 53 ? (npts > 0 ? npts : -1)
                                     : -1;
  TARN_FUZZ_CHECK(tarn_GetActualNumberOutput(index) == expected, "output count of %d: %d, not %d", index,
                  tarn_GetActualNumberOutput(index), expected);
  Fenced<double> x(4), d(4);
  TARN_FUZZ_CHECK(gfx_tarnCalcPropDeriv(index, in.index(4), 4, x.data(), d.data()) == 0 && x.arrayUntouched(0, 4) &&
                      d.arrayUntouched(0, 4) && guardsIntact(x, d),
                  "CalcPropDeriv did something");
}

// Start, reset and stop in any order: a start restores every default (the
// CARB unit excepted), a reset every parameter, a stop changes nothing.
void lifecycle(ByteReader& in) {
  const tarn::ParameterBlock& defaults = Session::get().defaults();
  tarn::ParameterBlock& block = tarn::params();
  const ParameterSnapshot before;
  switch (in.u8() % 6) {
    case 0:
      TARN_FUZZ_CHECK(TARNInitialize(nullptr), "TARNInitialize");
      break;
    case 1:
      TARN_FUZZ_CHECK(TARNReset() == 0 && block.carbUnit == 'F' && block.rvpExponent == defaults.rvpExponent &&
                          block.changeData == defaults.changeData && block.evaporative.npts == 0,
                      "TARNReset left a parameter as it was");
      return;
    case 2:
      TARN_FUZZ_CHECK(gfx_tarnInitializeAllocate(nullptr) == 0, "gfx_tarnInitializeAllocate");
      block.carbUnit = defaults.carbUnit;  // a unit chosen before start-up survives it
      TARN_FUZZ_CHECK(std::memcmp(&block, &defaults, sizeof block) == 0, "start-up left a setting as it was");
      Session::get().constantsRestored();
      return;
    case 3:
      TARN_FUZZ_CHECK(gfx_tarnInitializeCoefs() == 0, "gfx_tarnInitializeCoefs");
      return;
    case 4:
      TARN_FUZZ_CHECK(gfx_tarnFree() == 0 && before.unchanged(), "gfx_tarnFree");
      return;
    default:
      TARNUninitialize();
      TARN_FUZZ_CHECK(before.unchanged(), "TARNUninitialize changed the block");
      return;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return runOperations(data, size, 8, [](ByteReader& in, std::uint8_t selector) {
    switch (selector % 8) {
      case 0: case 1: case 2: case 3: evaluate(in); break;
      case 4: batch(in); break;
      case 5: outputCounts(in); break;
      case 6: lifecycle(in); break;
      default: changeSetting(in, in.index(TARN_CORRELATION_COUNT));
    }
  });
}
