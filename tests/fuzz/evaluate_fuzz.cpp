// Fuzzes gfx_tarnGenCalc and gfx_tarnGenCalcComplex: any index, flag and
// inputs, after a few settings a host may change, with caller arrays of the
// catalogue's sizes fenced by guard bytes. Input: a settings count, the
// index, the settings, the call shape, then one value per input.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "frame/catalogue.h"
#include "fuzz_support.h"
#include "params/fields.h"
#include "support/statuses.h"
#include "tarn/corparms.h"

namespace {

using namespace tarn::fuzz;

// Realistic ranges by input property id (temperatures in degrees F, or
// degrees C when a unit flag was switched); ids not listed take [0, 100].
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
    {"T10NDX", 0.1, 30}, {"T90NDX", 0.1, 30}};

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
    return;
  }
  static const std::vector<const tarn::fields::Field*> keywords = [] {
    std::vector<const tarn::fields::Field*> rows;  // the rows a keyword reaches, in table order
    for (std::size_t i = 0; i < tarn::fields::tableSize(); ++i) {
      const tarn::fields::Field& field = tarn::fields::table()[i];
      if (field.access != tarn::fields::Access::None) rows.push_back(&field);
    }
    return rows;
  }();
  const tarn::fields::Field& keyword = *keywords[in.u8() % keywords.size()];
  char name[16];
  const int count = keyword.slot.count;
  tarn::fields::elementName(keyword, count == 1 ? 0 : in.u8() % count, name, sizeof name);
  gfx_setCorParms(keyword.group, name, kind % 4 == 1 ? in.value(-5.0, 30.0) : in.value(0.0, 500.0));
}

Range rangeOf(int index, int k) {
  char id[TARN_PROPERTY_ID_SIZE] = {};
  const std::string name = gfx_tarnGetCorrelationInpPropId(index, k, id) == 0 ? id : "";
  const std::string base = name.substr(0, name.find("_No_Ethanol"));
  const auto found = std::find_if(std::begin(kRanges), std::end(kRanges), [&](const Range& r) { return base == r.id; });
  return found != std::end(kRanges) ? *found : Range{"", 0.0, 100.0};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  startFresh();
  ByteReader in(data, size);
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
  TARN_FUZZ_CHECK(inputs.guardsIntact() && outputs.guardsIntact() && derivs.guardsIntact(),
                  "correlation %d wrote outside its arrays", index);
  if (!known || nullArrays) {
    TARN_FUZZ_CHECK(status == TARN_STATUS_NOT_CALCULABLE && outputs.arrayUntouched(0, m) &&
                        derivs.arrayUntouched(0, derivs.size()),
                    "correlation %d: status %d, or it wrote although it failed", index, status);
    return 0;
  }
  if (derivFlag != 0 && nullDerivs) {
    TARN_FUZZ_CHECK(status == TARN_STATUS_NO_DERIVATIVE_ARRAY, "correlation %d: status %d", index, status);
    return 0;
  }
  TARN_FUZZ_CHECK(tarn::testing::documentedStatuses(index).count(status) == 1,
                  "correlation %d returned the undocumented status %d", index, status);
  TARN_FUZZ_CHECK(derivFlag != 0 || derivs.arrayUntouched(derivativesWrittenWithoutFlag(index, n * m), derivs.size()),
                  "correlation %d wrote derivatives without the flag", index);
  for (int j = 0; j < n && !mayRewriteInputs(index, changeData); ++j) {
    TARN_FUZZ_CHECK(sameBits(inputs[j], given[j]), "correlation %d rewrote input %d", index, j);
  }
  // NaN comes out only where NaN went in, or where the three-point
  // distillation indices report it as computed. Elements left as the caller
  // had them are not results.
  if (anyNaNInput || tarn::testing::reportsNaNAsComputed(index)) return 0;
  for (int k = 0; k < m; ++k) {
    TARN_FUZZ_CHECK(outputs.isMarker(k) || !std::isnan(outputs[k]), "correlation %d: NaN output %d with status %d",
                    index, k, status);
  }
  for (std::size_t i = 0; status == 0 && derivFlag != 0 && i < derivs.size(); ++i) {
    TARN_FUZZ_CHECK(derivs.isMarker(i) || !std::isnan(derivs[i]), "correlation %d: NaN derivative %zu", index, i);
  }
  return 0;
}
