// Fuzzes evaluation by index, batches and the lifecycle calls, settings
// carrying over: documented statuses only, NaN out only from NaN in, a batch
// bit for bit one evaluation per row, start-up restores the defaults.
#include "frame/catalogue.h"
#include "fuzz_support.h"
#include "support/catalogue_rows.h"
#include "support/statuses.h"

namespace {

using namespace tarn::fuzz;

// Usual inputs: within half their value of the correlation's realistic row.
Range rangeOf(int index, int j) {
  const auto& rows = tarn::testing::realisticRows();
  if (index < 0 || index >= static_cast<int>(rows.size()) || j >= static_cast<int>(rows[index].inputs.size())) {
    return {0.0, 100.0};
  }
  const double x = rows[index].inputs[j];
  return {x - 0.5 * std::fabs(x), x + 0.5 * std::fabs(x)};
}

// The percent-off and curve correlations (inputs in increasing order).
bool isCurve(int index) { return isOneOf(index, {5, 6, 41, 42, 49, 53}); }

// Derivatives written whatever the flag: MTMF, MTMR, CT10BLEND..CRVP, rows 6 and 49.
int derivativesWrittenWithoutFlag(int index, int size) {
  if (index == 39 || index == 40) return 8;
  if (index >= 44 && index <= 48) return 3;
  return index == 6 || index == 49 ? size : 0;
}

// May rewrite its inputs, as its catalogue row says.
bool mayRewriteInputs(int index, bool changeData) {
  using tarn::frame::InputRewrite;
  const InputRewrite rewrite = tarn::frame::findCorrelation(index)->rewritesInputs;
  return rewrite == InputRewrite::Always || (changeData && rewrite == InputRewrite::WhenRepairing);
}

// A coefficient of this or another correlation, or any keyword.
void changeSetting(ByteReader& in, int index) {
  const std::uint8_t kind = in.u8();
  if (kind % 2 != 0) return tarn::fuzz::changeSetting(in);
  gfx_tarnSetCoefValue(kind % 4 == 0 ? index : in.index(57), in.index(44), in.value(-5.0, 30.0));
  Session::get().constantsChanged();
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
  Array inputs(n), outputs(m), derivs(static_cast<std::size_t>(n) * m);
  for (int j = 0; j < n; ++j) inputs[j] = in.value(rangeOf(index, j));
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

  TARN_FUZZ_CHECK(before.unchanged() && guardsIntact(inputs, outputs, derivs),
                  "correlation %d wrote outside its arrays or changed byte %ld of the block", index,
                  before.firstDifference());
  if (!known || nullArrays) {
    TARN_FUZZ_CHECK(
        status == TARN_STATUS_NOT_CALCULABLE && outputs.arrayUntouched(0, m) && derivs.arrayUntouched(0, derivs.size()),
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
  // NaN only from NaN in, or where the three-point indices report it.
  if (anyNaNInput || tarn::testing::reportsNaNAsComputed(index)) return;
  for (int k = 0; k < m; ++k) {
    const double y = outputs[k];
    TARN_FUZZ_CHECK(outputs.isMarker(k) || (!std::isnan(y) && (status != 0 || !usual || std::isfinite(y))),
                    "correlation %d: output %d is %g with status %d", index, k, outputs[k], status);
  }
  for (std::size_t i = 0; status == 0 && derivFlag != 0 && i < derivs.size(); ++i) {
    TARN_FUZZ_CHECK(derivs.isMarker(i) || !std::isnan(derivs[i]), "correlation %d: NaN derivative %zu", index, i);
  }
}

// A batch is bit for bit one evaluation per row and counts the failed rows.
void batch(ByteReader& in) {
  const int index = in.index(TARN_CORRELATION_COUNT);
  const int rows = static_cast<int>(in.u8() % 10) - 1;
  const int derivFlag = in.u8() % 2;
  const int n = countOf(gfx_tarnGetCorrelationInpPropCount, index, 4);
  const int m = countOf(gfx_tarnGetCorrelationOutPropCount, index, 4);
  const std::size_t r = static_cast<std::size_t>(std::max(rows, 0));
  Array inputs(r * n), outputs(r * m), derivs(r * n * m);
  Fenced<int> statuses(r);
  for (std::size_t i = 0; i < r * n; ++i) inputs[i] = in.value(rangeOf(index, static_cast<int>(i % n)));
  const auto given = inputs.copy();
  const int failed =
      gfx_tarnGenCalcBatch(index, derivFlag, rows, inputs.data(), outputs.data(), derivs.data(), statuses.data());
  TARN_FUZZ_CHECK(inputs.same(given) && guardsIntact(inputs, outputs, derivs, statuses), "batch of %d", index);
  if (rows < 0) {
    TARN_FUZZ_CHECK(failed == TARN_STATUS_NOT_CALCULABLE, "batch of %d rows: %d", rows, failed);
    return;
  }
  int counted = 0;
  for (std::size_t row = 0; row < r; ++row) {
    Array x(n), y(m), d(static_cast<std::size_t>(n) * m);
    std::copy(given.begin() + row * n, given.begin() + (row + 1) * n, x.data());
    const int status = gfx_tarnGenCalc(index, derivFlag, 0, x.data(), y.data(), d.data());
    counted += status != 0;
    TARN_FUZZ_CHECK(statuses[row] == status &&
                        std::memcmp(y.data(), outputs.data() + row * m, m * sizeof(double)) == 0 &&
                        std::memcmp(d.data(), derivs.data() + row * n * m, n * m * sizeof(double)) == 0,
                    "batch row %zu of correlation %d differs from its own evaluation", row, index);
  }
  TARN_FUZZ_CHECK(failed == counted, "batch of %d counted %d failed rows, not %d", index, failed, counted);
}

// Only the variable-size correlations have an output count of their own;
// the property derivatives of user libraries do nothing here.
void outputCounts(ByteReader& in) {
  const int index = in.index(TARN_CORRELATION_COUNT), count = tarn_GetActualNumberOutput(index);
  TARN_FUZZ_CHECK(count == -1 || isOneOf(index, {41, 42, 53}), "output count of %d: %d", index, count);
  Array x(4), d(4);
  TARN_FUZZ_CHECK(gfx_tarnCalcPropDeriv(index, in.index(4), 4, x.data(), d.data()) == 0 && x.untouched() &&
                      d.untouched() && guardsIntact(x, d),
                  "CalcPropDeriv did something");
}

// A start restores every default (but the CARB unit), a reset every parameter.
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
      break;
    case 2:
      TARN_FUZZ_CHECK(gfx_tarnInitializeAllocate(nullptr) == 0, "gfx_tarnInitializeAllocate");
      block.carbUnit = defaults.carbUnit;
      TARN_FUZZ_CHECK(std::memcmp(&block, &defaults, sizeof block) == 0, "start-up left a setting as it was");
      Session::get().constantsChanged(false);
      break;
    case 3:
      TARN_FUZZ_CHECK(gfx_tarnInitializeCoefs() == 0, "gfx_tarnInitializeCoefs");
      break;
    case 4:
      TARN_FUZZ_CHECK(gfx_tarnFree() == 0 && before.unchanged(), "gfx_tarnFree");
      break;
    default:
      TARNUninitialize();
      TARN_FUZZ_CHECK(before.unchanged(), "TARNUninitialize changed the block");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return runOperations(data, size, 8, [](ByteReader& in, std::uint8_t selector) {
    switch (selector % 8) {
      case 4:
        batch(in);
        break;
      case 5:
        outputCounts(in);
        break;
      case 6:
        lifecycle(in);
        break;
      case 7:
        changeSetting(in, in.index(TARN_CORRELATION_COUNT));
        break;
      default:
        evaluate(in);
    }
  });
}
