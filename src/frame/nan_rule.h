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
// The rule is instantiated per catalogue row (catalogue.cpp). The common
// case costs one look at the results: the row runs on the caller's arrays,
// and only when a NaN may be among its results is it run again, on copies,
// to tell the NaN it computed from the caller's.
#pragma once

#include <cmath>
#include <cstddef>

#include "common/missing.h"
#include "frame/catalogue.h"
#include "params/params.h"

namespace tarn::frame {

// The largest numbers of inputs, outputs and derivatives of a catalogue row
// (ND86FROMPERCENTOFF: 25 inputs; ND86TOPERCENTOFF: 25 outputs, 13 x 25
// derivatives): the room the second run of a row needs.
inline constexpr std::size_t kMostInputs = 25;
inline constexpr std::size_t kMostOutputs = 25;
inline constexpr std::size_t kMostDerivatives = 13 * 25;

// The sum of N values as a tree of halves, neighbours added first: its
// depth, not N, is what the result waits for, and each value is read on its
// own (a wide read across values the row has just written one by one may
// have to wait for the writes to reach the cache).
template <std::size_t N>
inline double treeSum(const double* values) {
  if constexpr (N == 1) {
    return values[0];
  } else {
    return treeSum<N / 2>(values) + treeSum<N - N / 2>(values + N / 2);
  }
}

// Adds the upper half of 2 Width running sums onto the lower, down to one.
template <std::size_t Width>
inline void foldLanes(double* lane) {
  if constexpr (Width > 0) {
    for (std::size_t l = 0; l < Width; ++l) lane[l] += lane[l + Width];
    foldLanes<Width / 2>(lane);
  }
}

// False when none of the N values is NaN. Their sum is NaN when one of them
// is; infinities of both signs may make it NaN as well, which only costs the
// careful look that follows. Up to 31 values (the outputs, the slopes of
// the smaller rows) are summed as a tree; longer arrays (the derivatives of
// the blend models, written well before the row returns) in sixteen running
// sums, lane l taking every value whose position is l modulo 16, which the
// compiler may pair into wide reads.
template <std::size_t N>
inline bool mayHoldNaN(const double* values) {
  if constexpr (N == 0) {
    return false;
  } else if constexpr (N < 32) {
    return std::isnan(treeSum<N>(values));
  } else {
    constexpr std::size_t kLanes = 16;
    constexpr std::size_t kWhole = N - N % kLanes;  // the values every lane has its share of
    double lane[kLanes];
    for (std::size_t l = 0; l < kLanes; ++l) lane[l] = values[l];
    for (std::size_t i = kLanes; i < kWhole; i += kLanes) {
      for (std::size_t l = 0; l < kLanes; ++l) lane[l] += values[i + l];
    }
    for (std::size_t l = 0; l < N - kWhole; ++l) lane[l] += values[kWhole + l];
    foldLanes<kLanes / 2>(lane);
    return std::isnan(lane[0]);
  }
}

// The same for a count known only at run time.
inline bool mayHoldNaN(const double* values, std::size_t count) {
  if (count < 32) {
    double sum = 0.0;
    for (std::size_t i = 0; i < count; ++i) sum += values[i];
    return std::isnan(sum);
  }
  double lane[4] = {0.0, 0.0, 0.0, 0.0};
  std::size_t i = 0;
  for (; i + 4 <= count; i += 4) {
    for (std::size_t l = 0; l < 4; ++l) lane[l] += values[i + l];
  }
  for (std::size_t l = 0; i + l < count; ++l) lane[l] += values[i + l];
  return std::isnan((lane[0] + lane[1]) + (lane[2] + lane[3]));
}

// The outputs a row of a variable size writes: its configured count, at
// most the catalogue's; none while nothing is configured (the row then
// answers with its status alone).
inline std::size_t producedOutputs(const OutputCount& produced, std::size_t most) {
  if (*produced.gate <= 0 || *produced.count <= 0) return 0;
  const std::size_t count = static_cast<std::size_t>(*produced.count);
  return count < most ? count : most;
}

// After a row whose results may hold NaN: given holds the inputs as the
// caller passed them. With NaN among them the results stand as they are.
// Otherwise the row runs again on copies whose outputs and derivatives hold
// numbers, and each result that is NaN in both runs is the row's own:
// undefined. Returns the status to report.
int reportComputedNaN(const CorrelationRow& row, const double* given, int status, double* outputs, int derivFlag,
                      double* derivs);

// Evaluates row I of the catalogue Rows under its NaN rule.
template <const CorrelationRow (&Rows)[kCatalogueSize], int I>
int evaluateUnderNaNRule(double* inputs, double* outputs, int derivFlag, double* derivs) {
  constexpr const CorrelationRow& row = Rows[I];
  constexpr Evaluator compute = row.compute;
  constexpr std::size_t In = static_cast<std::size_t>(row.inputs.count);
  constexpr std::size_t Out = static_cast<std::size_t>(row.outputs.count);
  static_assert(In <= kMostInputs && Out <= kMostOutputs && In * Out <= kMostDerivatives);
  if constexpr (row.nanRule == NaNRule::Kept) {
    return compute(row, inputs, outputs, derivFlag, derivs);
  } else {
    // A row that rewrites its inputs would run again on what it wrote: keep
    // them as given. Each is read on its own, as the caller wrote it: a wide
    // read across values written one by one would wait for the writes to
    // reach the cache.
    double kept[row.rewritesInputs != InputRewrite::Never ? In : 1];
    const double* given = inputs;
    if constexpr (row.rewritesInputs != InputRewrite::Never) {
      if (row.rewritesInputs == InputRewrite::Always || params().changeData) {
        const volatile double* written = inputs;
        for (std::size_t j = 0; j < In; ++j) kept[j] = written[j];
        given = kept;
      }
    }
    // The slopes to slack values, the trailing rows of the derivatives, are
    // those of offsets added to outputs: the constants 1 and 0.
    constexpr std::size_t Sloped = In - static_cast<std::size_t>(row.slackCount);
    if constexpr (row.value != nullptr) {
      // One comparison finds both the missing value (status 1) and NaN.
      constexpr SingleValue value = row.value;
      const double result = value(row, inputs, derivFlag, derivs);
      outputs[0] = result;
      const bool slopesClear = derivFlag == 0 || !mayHoldNaN<Sloped>(derivs);
      if (result < kMissing && slopesClear) return 0;
      const int status = isMissing(result) ? 1 : 0;
      if (!std::isnan(result) && slopesClear) return status;
      return reportComputedNaN(row, given, status, outputs, derivFlag, derivs);
    }
    const int status = compute(row, inputs, outputs, derivFlag, derivs);
    bool clear;
    if constexpr (!row.outputCount.variable) {
      clear = !mayHoldNaN<Out>(outputs) && (derivFlag == 0 || !mayHoldNaN<Sloped * Out>(derivs));
    } else {
      static_assert(Sloped == In, "a row of a variable size has no slack values");
      // Only what the configured count lets the row write (its derivatives
      // are laid out by that count).
      const std::size_t produced = producedOutputs(row.outputCount, Out);
      clear = !mayHoldNaN(outputs, produced) && (derivFlag == 0 || !mayHoldNaN(derivs, In * produced));
    }
    if (clear) return status;
    return reportComputedNaN(row, given, status, outputs, derivFlag, derivs);
  }
}

}  // namespace tarn::frame
