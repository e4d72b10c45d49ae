// Healy octane blending of n components, with and without the ten
// derivatives per component.
#include <benchmark/benchmark.h>

#include <vector>

#include "tarn/blending.h"

namespace {

void BM_Healy(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const int derivMode = static_cast<int>(state.range(1));
  std::vector<double> x(n, 1.0 / n), ron(n), mon(n), ole(n), aro(n), d(10 * n);
  for (int i = 0; i < n; ++i) {
    ron[i] = 88.0 + 14.0 * i / n;
    mon[i] = ron[i] - 6.0 - 6.0 * i / n;
    ole[i] = 25.0 * (n - i) / n;
    aro[i] = 10.0 + 30.0 * i / n;
  }
  double out[2];
  for (auto _ : state) {
    const int status = gfx_Healy(derivMode, x.data(), n, ron.data(), mon.data(), ole.data(), aro.data(), out, d.data());
    benchmark::DoNotOptimize(status);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_Healy)->ArgsProduct({{2, 10, 100}, {0, 1}})->ArgNames({"n", "derivatives"});

}  // namespace
