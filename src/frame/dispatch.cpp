// Evaluation by index: gfx_tarnGenCalc, gfx_tarnGenCalcComplex and the
// central switch they share.
#include "frame/dispatch.h"

#include <cmath>
#include <cstring>

#include "common/guard.h"
#include "common/missing.h"
#include "common/scratch.h"
#include "frame/catalogue.h"
#include "frame/evaluation_steps.h"
#include "tarn/tarn.h"

using tarn::frame::CorrelationRow;

namespace {

// The largest number of outputs and of derivatives of a catalogue row
// (ND86TOPERCENTOFF: 25 outputs, 13 x 25 derivatives).
constexpr std::size_t kMostOutputs = 25;
constexpr std::size_t kMostDerivatives = 13 * 25;

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// T10INDEX, T50INDEX and T90INDEX report an undefined index of NaN as
// computed (intended).
bool reportsNaNAsComputed(const CorrelationRow& row) {
  using tarn::frame::evaluateThreePointIndex;
  return row.evaluate == &evaluateThreePointIndex<0> || row.evaluate == &evaluateThreePointIndex<1> ||
         row.evaluate == &evaluateThreePointIndex<2>;
}

// Evaluates a row so that NaN never comes out of inputs that are all
// numbers: an infinite or huge input, or an overflow inside a model, gives a
// result that is undefined, reported as such (the missing value in each
// output that is NaN, 0 for a NaN derivative, status 1 where the row said
// 0). Only elements the row wrote are examined; what it left as the caller
// had it is not a result. Derivatives are examined only when asked for,
// since only then does the caller's array have the catalogue's size.
int evaluateWithoutNaN(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag,
                       double* derivs) {
  const std::size_t inputCount = static_cast<std::size_t>(row.inputs.count);
  const std::size_t outputCount = static_cast<std::size_t>(row.outputs.count);
  bool anyNaNInput = false;
  for (std::size_t j = 0; j < inputCount; ++j) anyNaNInput = anyNaNInput || std::isnan(inputs[j]);
  const std::size_t derivCount = derivFlag != 0 ? inputCount * outputCount : 0;
  if (anyNaNInput || reportsNaNAsComputed(row) || outputCount > kMostOutputs ||
      derivCount > kMostDerivatives) {
    return row.evaluate(row, inputs, outputs, derivFlag, derivs);
  }

  double outputsBefore[kMostOutputs];
  double derivsBefore[kMostDerivatives];
  std::memcpy(outputsBefore, outputs, outputCount * sizeof(double));
  if (derivCount > 0) std::memcpy(derivsBefore, derivs, derivCount * sizeof(double));

  int status = row.evaluate(row, inputs, outputs, derivFlag, derivs);
  bool undefined = false;
  for (std::size_t k = 0; k < outputCount; ++k) {
    if (std::isnan(outputs[k]) && !sameBits(outputs[k], outputsBefore[k])) {
      outputs[k] = tarn::kMissing;
      undefined = true;
    }
  }
  for (std::size_t i = 0; i < derivCount; ++i) {
    if (std::isnan(derivs[i]) && !sameBits(derivs[i], derivsBefore[i])) {
      derivs[i] = 0.0;
      undefined = true;
    }
  }
  if (undefined && status == TARN_STATUS_OK) status = TARN_STATUS_UNDEFINED;
  return status;
}

}  // namespace

int tarn_CalcCorrelation(int index, double* inputs, double* outputs, int derivFlag,
                         double* derivs) {
  // Compared unsigned, so a negative index is refused too.
  if (static_cast<unsigned>(index) >= static_cast<unsigned>(tarn::frame::kCatalogueSize)) {
    return TARN_STATUS_BAD_CORRELATION;
  }
  if (inputs == nullptr || outputs == nullptr) return TARN_STATUS_NOT_CALCULABLE;
  if (derivFlag != 0 && derivs == nullptr) return TARN_STATUS_NO_DERIVATIVE_ARRAY;
  const CorrelationRow& row = tarn::frame::catalogue()[index];
  if (row.evaluate == nullptr) return TARN_STATUS_NOT_CALCULABLE;
  return evaluateWithoutNaN(row, inputs, outputs, derivFlag, derivs);
}

namespace tarn::frame {
namespace {

// Type 1: the slope of output 0 to input 0 by a forward difference against
// the output the caller already holds. The step is formed as a difference of
// representable numbers so that it is exactly the step taken.
int singleValueSlope(int index, int derivFlag, double* inputs, double* outputs, double* derivs) {
  if (derivFlag == 0) return TARN_STATUS_OK;
  if (derivs == nullptr) return TARN_STATUS_NO_DERIVATIVE_ARRAY;
  if (inputs == nullptr || outputs == nullptr) return TARN_STATUS_NOT_CALCULABLE;
  const CorrelationRow* row = findCorrelation(index);
  if (row == nullptr) return TARN_STATUS_NOT_CALCULABLE;
  return guarded(TARN_STATUS_NOT_CALCULABLE, [&] {
    ScratchArray<double, 32> x(static_cast<std::size_t>(row->inputs.count));
    ScratchArray<double, 32> y(static_cast<std::size_t>(row->outputs.count));
    for (int j = 0; j < row->inputs.count; ++j) x[j] = inputs[j];
    const double moved = (std::fabs(inputs[0]) + 1.0) * 0.001 + inputs[0];
    const double step = moved - inputs[0];
    x[0] = moved;
    const bool ok = tarn_CalcCorrelation(index, x.data(), y.data(), 0, nullptr) == TARN_STATUS_OK;
    derivs[0] = ok ? (y[0] - outputs[0]) / step : 0.0;
    return TARN_STATUS_OK;
  });
}

}  // namespace

int calculateByType(int type, bool complex, int index, int derivFlag, double* inputs,
                    double* outputs, double* derivs) {
  switch (type) {
    case TARN_TYPE_SINGLE_VALUE:
      return singleValueSlope(index, derivFlag, inputs, outputs, derivs);
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
      return tarn_CalcCorrelation(index, inputs, outputs, derivFlag, derivs);
    default:
      return TARN_STATUS_NOT_CALCULABLE;
  }
}

}  // namespace tarn::frame

namespace {

int correlationType(int index) {
  int type = TARN_TYPE_UNKNOWN;
  gfx_tarnGetCorrelationType(index, &type);  // an unknown index leaves -9999
  return type;
}

}  // namespace

extern "C" TARN_API int TARN_CALL gfx_tarnGenCalc(int index, int derivFlag, int /*direction*/,
                                                  double* inputs, double* outputs,
                                                  double* derivs) {
  return tarn::frame::calculateByType(correlationType(index), false, index, derivFlag, inputs,
                                      outputs, derivs);
}

extern "C" TARN_API int TARN_CALL gfx_tarnGenCalcComplex(int index, int derivFlag,
                                                         int /*direction*/, int /*property*/,
                                                         double* inputs, double* outputs,
                                                         double* derivs) {
  return tarn::frame::calculateByType(correlationType(index), true, index, derivFlag, inputs,
                                      outputs, derivs);
}

extern "C" TARN_API int TARN_CALL tarn_GetActualNumberOutput(int index) {
  const tarn::ParameterBlock& p = tarn::params();
  switch (index) {
    case 41:  // ND86TOPERCENTOFF
      return p.nd86.npoff > 0 ? p.nd86.npoff : -1;
    case 42:  // ND86FROMPERCENTOFF: reported while the percent-off count is set (intended)
      return p.nd86.npoff > 0 ? p.nd86.ntemp : -1;
    case 53:  // EVAPORATIVE
      return p.evaporative.npts > 0 ? p.evaporative.npts : -1;
    default:
      return -1;
  }
}

extern "C" TARN_API int TARN_CALL gfx_tarnCalcPropDeriv(int, int, int, double*, double*) {
  return TARN_STATUS_OK;
}
