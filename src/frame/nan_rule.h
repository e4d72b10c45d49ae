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
// The rule is instantiated per catalogue row with its counts (catalogue.cpp).
// The common case costs one look at the results: the row runs on the
// caller's arrays, and only when a NaN is among its results is the row run
// again, on copies, to tell the NaN it computed from the caller's.
#pragma once

#include <cmath>
#include <cstddef>

#include "frame/catalogue.h"

namespace tarn::frame {

// The largest numbers of inputs, outputs and derivatives of a catalogue row
// (ND86FROMPERCENTOFF: 25 inputs; ND86TOPERCENTOFF: 25 outputs, 13 x 25
// derivatives): the room the second run of a row needs.
inline constexpr std::size_t kMostInputs = 25;
inline constexpr std::size_t kMostOutputs = 25;
inline constexpr std::size_t kMostDerivatives = 13 * 25;

// False when none of the N values is NaN. Their sum is NaN when one of them
// is; infinities of both signs may make it NaN as well, which only costs the
// careful look that follows. Long arrays (the derivatives of the blend
// models) are summed in sixteen running sums, so that the additions do not
// wait on one another.
template <std::size_t N>
inline bool mayHoldNaN(const double* values) {
  constexpr std::size_t kLanes = N >= 32 ? 16 : N >= 8 ? 4 : 1;
  constexpr std::size_t kWhole = N - N % kLanes;  // the values the sums share out evenly
  if constexpr (N == 0) {
    return false;
  } else {
    double lane[kLanes];
    for (std::size_t l = 0; l < kLanes; ++l) lane[l] = values[l];
    for (std::size_t i = kLanes; i < kWhole; i += kLanes) {
      for (std::size_t l = 0; l < kLanes; ++l) lane[l] += values[i + l];
    }
    if constexpr (N % kLanes != 0) {
      for (std::size_t i = kWhole; i < N; ++i) lane[i - kWhole] += values[i];
    }
    for (std::size_t width = kLanes / 2; width > 0; width /= 2) {
      for (std::size_t l = 0; l < width; ++l) lane[l] += lane[l + width];
    }
    return std::isnan(lane[0]);
  }
}

// After a row whose results may hold NaN: given holds the inputs as the
// caller passed them. With NaN among them the results stand as they are.
// Otherwise the row runs again on copies whose outputs and derivatives hold
// numbers, and each result that is NaN in both runs is the row's own:
// undefined. Returns the status to report.
int reportComputedNaN(const CorrelationRow& row, const double* given, int status, double* outputs,
                      int derivFlag, double* derivs);

// Evaluates a row (computing with Compute, with In inputs and Out outputs)
// under its NaN rule.
template <Evaluator Compute, NaNRule Rule, bool RewritesInputs, std::size_t In, std::size_t Out>
int evaluateUnderNaNRule(const CorrelationRow& row, double* inputs, double* outputs,
                         int derivFlag, double* derivs) {
  if constexpr (Rule == NaNRule::Kept) {
    return Compute(row, inputs, outputs, derivFlag, derivs);
  } else {
    static_assert(In <= kMostInputs && Out <= kMostOutputs && In * Out <= kMostDerivatives);
    // A row that rewrites its inputs would run again on what it wrote: keep
    // them as given. Each is read on its own, as the caller wrote it: a wide
    // read across values written one by one would wait for the writes to
    // reach the cache.
    double kept[RewritesInputs ? In : 1];
    const double* given = inputs;
    if constexpr (RewritesInputs) {
      const volatile double* written = inputs;
      for (std::size_t j = 0; j < In; ++j) kept[j] = written[j];
      given = kept;
    }
    const int status = Compute(row, inputs, outputs, derivFlag, derivs);
    if (!mayHoldNaN<Out>(outputs) && (derivFlag == 0 || !mayHoldNaN<In * Out>(derivs))) {
      return status;
    }
    return reportComputedNaN(row, given, status, outputs, derivFlag, derivs);
  }
}

}  // namespace tarn::frame
