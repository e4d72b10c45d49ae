// The NaN rule of evaluation by index: NaN never comes out of inputs that
// are all numbers. An infinite or huge input, or an overflow inside a model,
// gives a result that is undefined, reported as such (the missing value in
// each output that is NaN, 0 for a NaN derivative, status 1 where the row
// said 0). Only elements the row wrote are examined; what it left as the
// caller had it is not a result. Derivatives are examined only when asked
// for, since only then does the caller's array have the catalogue's size.
// A row whose NaN rule is Kept (T10INDEX, T50INDEX, T90INDEX: an undefined
// index of NaN is reported as computed, intended) is evaluated as it is.
//
// The rule is instantiated per catalogue row with its counts (catalogue.cpp),
// so that the common case, every value of the caller finite, costs a few
// subtractions before and after the row's evaluator and no copy.
#pragma once

#include <cmath>
#include <cstddef>

#include "frame/catalogue.h"

namespace tarn::frame {

// NaN when one of the N values is NaN or infinite, else 0: one branch-free
// pass instead of a test per value.
template <std::size_t N>
inline double probeNaN(const double* values) {
  double probe = 0.0;
  for (std::size_t i = 0; i < N; ++i) probe += values[i] - values[i];
  return probe;
}

// The rule where a value the caller passed is NaN or infinite: inputs with
// NaN are evaluated as they are; otherwise the arrays are copied first so
// that only the elements the row wrote count.
int evaluateBesideCallerNaN(const CorrelationRow& row, double* inputs, double* outputs,
                            int derivFlag, double* derivs);

// After a row that met only finite values: each NaN it left is its own.
// Returns the status to report.
int clearComputedNaN(int status, double* outputs, std::size_t outputCount, double* derivs,
                     std::size_t derivCount);

// Evaluates a row (computing with Compute, with In inputs and Out outputs)
// under its NaN rule.
template <Evaluator Compute, NaNRule Rule, std::size_t In, std::size_t Out>
int evaluateUnderNaNRule(const CorrelationRow& row, double* inputs, double* outputs,
                         int derivFlag, double* derivs) {
  if constexpr (Rule == NaNRule::Kept) {
    return Compute(row, inputs, outputs, derivFlag, derivs);
  } else {
    if (std::isnan(probeNaN<In>(inputs) + probeNaN<Out>(outputs) +
                   (derivFlag != 0 ? probeNaN<In * Out>(derivs) : 0.0))) {
      return evaluateBesideCallerNaN(row, inputs, outputs, derivFlag, derivs);
    }
    const int status = Compute(row, inputs, outputs, derivFlag, derivs);
    if (std::isnan(probeNaN<Out>(outputs) +
                   (derivFlag != 0 ? probeNaN<In * Out>(derivs) : 0.0))) {
      return clearComputedNaN(status, outputs, Out, derivs, derivFlag != 0 ? In * Out : 0);
    }
    return status;
  }
}

}  // namespace tarn::frame
