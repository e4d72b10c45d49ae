// gfx_D86, the heaviest call of the library: a blend of n D86 curves, with
// and without the n x 8 rows of finite-difference derivatives.
#include <benchmark/benchmark.h>

#include <vector>

#include "tarn/distill.h"
#include "tarn/tarn.h"

namespace {

// n gasoline-range component curves, from light to heavy, in equal parts.
struct Blend {
  explicit Blend(int n) : fractions(n, 1.0 / n), curves(7 * n), out(7), derivs(56 * n) {
    const double base[7] = {92.0, 128.0, 165.0, 212.0, 258.0, 327.0, 398.0};
    for (int i = 0; i < n; ++i) {
      const double shift = n > 1 ? 60.0 * i / (n - 1) - 30.0 : 0.0;
      for (int k = 0; k < 7; ++k) curves[7 * i + k] = base[k] + shift * (1.0 + 0.1 * k);
    }
  }
  std::vector<double> fractions, curves, out, derivs;
};

void BM_D86(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const int derivFlag = static_cast<int>(state.range(1));
  Blend blend(n);
  for (auto _ : state) {
    const int status = gfx_D86(n, blend.fractions.data(), blend.curves.data(), blend.out.data(),
                               blend.derivs.data(), /*method=*/0, derivFlag, 'F');
    benchmark::DoNotOptimize(status);
    benchmark::DoNotOptimize(blend.out.data());
  }
  state.SetLabel(derivFlag != 0 ? "with derivatives" : "values only");
}

BENCHMARK(BM_D86)->ArgsProduct({{1, 3, 10, 30}, {0, 1}})->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  if (gfx_tarnInitializeAllocate(nullptr) != 0) return 1;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  gfx_tarnFree();
  return 0;
}
