// Distillation blending: gfx_D86, the heaviest call of the library (a blend
// of n D86 curves, with and without the n x 8 rows of finite-difference
// derivatives), and gfx_FindPoints, the TBP blend search inside it.
#include <benchmark/benchmark.h>

#include <vector>

#include "paired.h"
#include "tarn/distill.h"

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

// Blends with and without derivatives timed in alternating blocks; the
// ratio is the cost of one derivative row (8 per component) to that of the
// blend without derivatives.
void BM_D86(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  Blend plain(n), differentiated(n);
  const auto blend = [n](Blend& b, int derivFlag) {
    return [&b, n, derivFlag] {
      const int status =
          gfx_D86(n, b.fractions.data(), b.curves.data(), b.out.data(), b.derivs.data(), /*method=*/0, derivFlag, 'F');
      benchmark::DoNotOptimize(status);
      benchmark::ClobberMemory();
    };
  };
  tarn::bench::timePaired(state, "values", blend(plain, 0), "derivatives", blend(differentiated, 1), 8.0 * n);
}
BENCHMARK(BM_D86)->Arg(1)->Arg(3)->Arg(10)->Arg(20)->Arg(50)->ArgNames({"n"})->Unit(benchmark::kMicrosecond);

// The search on curves already on the TBP basis (the D86 curves serve).
void BM_FindPoints(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  Blend blend(n);
  for (auto _ : state) {
    const int status = gfx_FindPoints(n, blend.curves.data(), blend.fractions.data(), blend.out.data());
    benchmark::DoNotOptimize(status);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_FindPoints)->Arg(1)->Arg(3)->Arg(10)->Arg(30)->ArgNames({"n"});

}  // namespace
