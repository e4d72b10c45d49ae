// The blend model as an optimiser calls it: set the volumes of a 10-component
// gasoline, then every blended property with its derivatives with respect to
// every volume (tarnblend_model_evaluate_at). The model is built once.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <vector>

#include "gasoline_streams.h"
#include "tarn/blend.h"
#include "tarn/tarn.h"

namespace {

void BM_BlendModel(benchmark::State& state) {
  const bool derivatives = state.range(0) != 0;
  gfx_tarnInitializeAllocate(nullptr);
  std::vector<double> volumes;
  tarnblend_model* model = benchdata::gasolineModel(volumes);
  int count = 0;
  tarnblend_model_property_count(model, &count);
  const int n = static_cast<int>(volumes.size());
  std::vector<double> values(static_cast<std::size_t>(count)), jacobian(static_cast<std::size_t>(count * n));
  std::size_t step = 0;
  for (auto _ : state) {
    // The optimiser moves one volume a little at each call.
    volumes[step++ % volumes.size()] *= 1.0001;
    const int status =
        tarnblend_model_evaluate_at(model, volumes.data(), n, values.data(), derivatives ? jacobian.data() : nullptr);
    benchmark::DoNotOptimize(status);
    benchmark::ClobberMemory();
  }
  state.counters["properties"] = count;
  tarnblend_model_free(model);
}
BENCHMARK(BM_BlendModel)->Arg(0)->Arg(1)->ArgNames({"derivatives"})->Unit(benchmark::kMicrosecond);

}  // namespace
