// Paired timing for ratios on a shared machine: two calls are timed in
// alternating blocks of about 100 microseconds each, so that a change in the
// machine's load falls on both. The counters are medians over the blocks.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace tarn::bench {

inline double median(std::vector<double> v) {
  if (v.empty()) return 0.0;
  std::sort(v.begin(), v.end());
  const std::size_t m = v.size() / 2;
  return v.size() % 2 != 0 ? v[m] : (v[m - 1] + v[m]) / 2.0;
}

// Nanoseconds per call of `calls` calls of fn.
template <class Fn>
double perCall(Fn& fn, long calls) {
  const auto start = std::chrono::steady_clock::now();
  for (long k = 0; k < calls; ++k) fn();
  const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
  return spent.count() / static_cast<double>(calls);
}

// Calls of fn that take about a block's time.
template <class Fn>
long blockCalls(Fn& fn) {
  constexpr double kBlockNs = 1e5;
  long calls = 1;
  while (perCall(fn, calls) * static_cast<double>(calls) < kBlockNs / 4) calls *= 2;
  return std::max(1L, static_cast<long>(kBlockNs / perCall(fn, calls)));
}

// Times `base` and `other` in alternating blocks. Counters: <baseName>_ns
// and <otherName>_ns per call, and ratio = (other per call / otherScale) /
// (base per call), each the median over the blocks.
template <class Base, class Other>
void timePaired(benchmark::State& state, const std::string& baseName, Base base, const std::string& otherName,
                Other other, double otherScale = 1.0) {
  const long baseCalls = blockCalls(base), otherCalls = blockCalls(other);
  std::vector<double> baseNs, otherNs, ratios;
  bool baseFirst = true;
  for (auto _ : state) {
    double b, o;
    if (baseFirst) {
      b = perCall(base, baseCalls);
      o = perCall(other, otherCalls);
    } else {
      o = perCall(other, otherCalls);
      b = perCall(base, baseCalls);
    }
    baseFirst = !baseFirst;
    baseNs.push_back(b);
    otherNs.push_back(o);
    ratios.push_back(o / otherScale / b);
  }
  state.counters[baseName + "_ns"] = median(baseNs);
  state.counters[otherName + "_ns"] = median(otherNs);
  state.counters["ratio"] = median(ratios);
}

}  // namespace tarn::bench
