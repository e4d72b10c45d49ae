// Evaluation by index: gfx_tarnGenCalc, its batch form, gfx_tarnGenCalcComplex
// and the central switch they share. Each looks the row up once and hands it
// on.
#include "frame/dispatch.h"

#include <algorithm>
#include <cmath>

#include "common/guard.h"
#include "common/missing.h"
#include "common/scratch.h"
#include "frame/nan_rule.h"
#include "tarn/tarn.h"

using tarn::frame::CorrelationRow;

namespace {

bool anyNaN(const double* values, std::size_t count) {
  bool found = false;
  for (std::size_t i = 0; i < count; ++i) found = found || std::isnan(values[i]);
  return found;
}

// The arrays are all there: the row's own evaluation under its NaN rule.
bool callable(const double* inputs, const double* outputs, int derivFlag, const double* derivs) {
  return inputs != nullptr && outputs != nullptr && (derivFlag == 0 || derivs != nullptr);
}

int calculateRow(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag, double* derivs) {
  if (inputs == nullptr || outputs == nullptr) return TARN_STATUS_NOT_CALCULABLE;
  if (derivFlag != 0 && derivs == nullptr) return TARN_STATUS_NO_DERIVATIVE_ARRAY;
  return row.evaluate(row.index, derivFlag, 0, inputs, outputs, derivs);
}

int typeOf(const CorrelationRow* row) { return row != nullptr ? row->type : TARN_TYPE_UNKNOWN; }

}  // namespace

int tarn_CalcCorrelation(int index, double* inputs, double* outputs, int derivFlag, double* derivs) {
  const CorrelationRow* row = tarn::frame::findCorrelation(index);
  if (row == nullptr) return TARN_STATUS_BAD_CORRELATION;
  return calculateRow(*row, inputs, outputs, derivFlag, derivs);
}

namespace tarn::frame {

int reportComputedNaN(const CorrelationRow& row, const double* given, int status, double* outputs, int derivFlag,
                      double* derivs) {
  const std::size_t inputCount = static_cast<std::size_t>(row.inputs.count);
  const std::size_t outputCount = static_cast<std::size_t>(row.outputs.count);
  const std::size_t derivCount = derivFlag != 0 ? inputCount * outputCount : 0;
  if (anyNaN(given, inputCount)) return status;
  double inputs[kMostInputs];
  double ownOutputs[kMostOutputs] = {};
  double ownDerivs[kMostDerivatives] = {};
  std::copy(given, given + inputCount, inputs);
  // The same call as the caller's, derivative array or none, so that the row
  // takes the same branches.
  row.compute(row, inputs, ownOutputs, derivFlag, derivs != nullptr ? ownDerivs : nullptr);
  bool undefined = false;
  for (std::size_t k = 0; k < outputCount; ++k) {
    if (std::isnan(outputs[k]) && std::isnan(ownOutputs[k])) {
      outputs[k] = tarn::kMissing;
      undefined = true;
    }
  }
  for (std::size_t i = 0; i < derivCount; ++i) {
    if (std::isnan(derivs[i]) && std::isnan(ownDerivs[i])) {
      derivs[i] = 0.0;
      undefined = true;
    }
  }
  return undefined && status == TARN_STATUS_OK ? TARN_STATUS_UNDEFINED : status;
}

namespace {

// Type 1: the slope of output 0 to input 0 by a forward difference against
// the output the caller already holds. The step is formed as a difference of
// representable numbers so that it is exactly the step taken.
int singleValueSlope(const CorrelationRow* row, int derivFlag, double* inputs, double* outputs, double* derivs) {
  if (derivFlag == 0) return TARN_STATUS_OK;
  if (derivs == nullptr) return TARN_STATUS_NO_DERIVATIVE_ARRAY;
  if (inputs == nullptr || outputs == nullptr || row == nullptr) {
    return TARN_STATUS_NOT_CALCULABLE;
  }
  return guarded(TARN_STATUS_NOT_CALCULABLE, [&] {
    ScratchArray<double, 32> x(static_cast<std::size_t>(row->inputs.count));
    ScratchArray<double, 32> y(static_cast<std::size_t>(row->outputs.count));
    for (int j = 0; j < row->inputs.count; ++j) x[j] = inputs[j];
    const double moved = (std::fabs(inputs[0]) + 1.0) * 0.001 + inputs[0];
    const double step = moved - inputs[0];
    x[0] = moved;
    const bool ok = calculateRow(*row, x.data(), y.data(), 0, nullptr) == TARN_STATUS_OK;
    derivs[0] = ok ? (y[0] - outputs[0]) / step : 0.0;
    return static_cast<int>(TARN_STATUS_OK);
  });
}

}  // namespace

int calculateByType(int type, bool complex, const CorrelationRow* row, int derivFlag, double* inputs, double* outputs,
                    double* derivs) {
  switch (type) {
    case TARN_TYPE_SINGLE_VALUE:
      return singleValueSlope(row, derivFlag, inputs, outputs, derivs);
    case TARN_TYPE_COMPLEX:
      if (!complex) return TARN_STATUS_NOT_CALCULABLE;
      [[fallthrough]];
    case TARN_TYPE_PROPERTY_VALUE:
    case TARN_TYPE_PROPERTY_VALUE_ALT:
      // Nothing to compute on the built-in side.
      if (derivFlag == 0 || derivs != nullptr) return TARN_STATUS_OK;
      return TARN_STATUS_NO_DERIVATIVE_ARRAY;
    case TARN_TYPE_GENERAL:
    case TARN_TYPE_DISTILLATION_INDEX:
    case TARN_TYPE_INDEX_TO_PROPERTY:
    case TARN_TYPE_PROPERTY_TO_INDEX:
      if (row == nullptr) return TARN_STATUS_BAD_CORRELATION;
      return calculateRow(*row, inputs, outputs, derivFlag, derivs);
    default:
      return TARN_STATUS_NOT_CALCULABLE;
  }
}

}  // namespace tarn::frame

namespace {

// Out of line and kept in its own shape: GCC would otherwise clone it
// without its unused argument, and the entry point would shuffle its
// arguments for the clone on every call.
#if defined(__has_cpp_attribute) && __has_cpp_attribute(gnu::noipa)
#define TARN_OUT_OF_LINE [[gnu::noipa]]
#else
#define TARN_OUT_OF_LINE [[gnu::noinline]]
#endif

// The refusals and the type handling, out of line so that the common call
// below stays a few instructions long. It takes the arguments of
// gfx_tarnGenCalc as they come, as the rows' evaluations do.
TARN_OUT_OF_LINE int otherCalculation(int index, int derivFlag, int /*direction*/, double* inputs, double* outputs,
                                      double* derivs) {
  const CorrelationRow* row = tarn::frame::findCorrelation(index);
  return tarn::frame::calculateByType(typeOf(row), false, row, derivFlag, inputs, outputs, derivs);
}

}  // namespace

// Every built-in row has a computed type, so a call with its arrays in place
// goes straight to the row's evaluation.
extern "C" TARN_API int TARN_CALL gfx_tarnGenCalc(int index, int derivFlag, int direction, double* inputs,
                                                  double* outputs, double* derivs) {
  if (tarn::frame::inCatalogue(index) && callable(inputs, outputs, derivFlag, derivs)) {
    const tarn::frame::RowEvaluation evaluate = tarn::frame::kRowEvaluations.byIndex[index];
    return evaluate(index, derivFlag, direction, inputs, outputs, derivs);
  }
  return otherCalculation(index, derivFlag, direction, inputs, outputs, derivs);
}

extern "C" TARN_API int TARN_CALL gfx_tarnGenCalcBatch(int index, int derivFlag, int rows, const double* inputs,
                                                       double* outputs, double* derivs, int* statuses) {
  if (rows < 0 || (rows > 0 && (inputs == nullptr || outputs == nullptr))) {
    return TARN_STATUS_NOT_CALCULABLE;
  }
  const CorrelationRow* row = tarn::frame::findCorrelation(index);
  const std::size_t inputCount = row != nullptr ? static_cast<std::size_t>(row->inputs.count) : 0;
  const std::size_t outputCount = row != nullptr ? static_cast<std::size_t>(row->outputs.count) : 0;
  // What gfx_tarnGenCalc checks per call holds for every row alike.
  const bool evaluated = row != nullptr && (derivFlag == 0 || derivs != nullptr);
  return tarn::guarded(TARN_STATUS_NOT_CALCULABLE, [&] {
    // Each row is evaluated on a copy of its inputs: the caller's stay as given.
    tarn::ScratchArray<double, 32> x(inputCount);
    int failed = 0;
    for (std::size_t r = 0; r < static_cast<std::size_t>(rows); ++r) {
      std::copy(inputs + r * inputCount, inputs + (r + 1) * inputCount, x.data());
      double* out = outputs + r * outputCount;
      double* d = derivs != nullptr ? derivs + r * inputCount * outputCount : nullptr;
      const int status = evaluated ? row->evaluate(index, derivFlag, 0, x.data(), out, d)
                                   : otherCalculation(index, derivFlag, 0, x.data(), out, d);
      if (statuses != nullptr) statuses[r] = status;
      if (status != TARN_STATUS_OK) ++failed;
    }
    return failed;
  });
}

extern "C" TARN_API int TARN_CALL gfx_tarnGenCalcComplex(int index, int derivFlag, int /*direction*/, int /*property*/,
                                                         double* inputs, double* outputs, double* derivs) {
  const CorrelationRow* row = tarn::frame::findCorrelation(index);
  return tarn::frame::calculateByType(typeOf(row), true, row, derivFlag, inputs, outputs, derivs);
}

// The rows of a variable size say which fields hold their count.
extern "C" TARN_API int TARN_CALL tarn_GetActualNumberOutput(int index) {
  const CorrelationRow* row = tarn::frame::findCorrelation(index);
  if (row == nullptr || !row->outputCount.variable) return -1;
  return *row->outputCount.gate > 0 ? *row->outputCount.count : -1;
}

extern "C" TARN_API int TARN_CALL gfx_tarnCalcPropDeriv(int, int, int, double*, double*) { return TARN_STATUS_OK; }
