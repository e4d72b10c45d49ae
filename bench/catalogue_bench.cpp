// Every built-in correlation evaluated by index (gfx_tarnGenCalc) next to the
// direct call of the function it wraps, with and without derivatives, on the
// realistic rows the catalogue tests use, timed in alternating blocks
// (paired.h).
// Names read catalogue/<family>/<id>/<values|derivatives>; the counters
// direct_ns, index_ns and ratio are the figures, "index" orders the report's
// tables and "inputs" picks out the single-input correlations.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

#include "direct_calls.h"
#include "paired.h"
#include "support/catalogue_rows.h"
#include "tarn/tarn.h"

namespace {

using tarn::bench::CallSettings;

// The settings the library starts with: every CORF Fahrenheit, method 0,
// 5 vol % ethanol.
constexpr CallSettings kDefaults{'F', 0, 5.0};

// The subsystem of the function a correlation wraps.
const char* family(int index) {
  switch (index) {
    case 2:
    case 3:
    case 4:
    case 7:
    case 43:
    case 50:
    case 51:
    case 53:
    case 54:
    case 55:
      return "emissions";
    case 39:
    case 40:
      return "blending";
    case 8:
    case 9:
    case 10:
    case 11:
    case 38:
    case 48:
      return "props";
    default:
      return (index >= 16 && index <= 34) ? "props" : "distill";
  }
}

// Arrays of one evaluation. The inputs are copied afresh before every call
// on both sides, since some rows rewrite them in place.
struct Row {
  Row(int index, const std::vector<double>& inputs) : given(inputs), x(inputs) {
    int outputs = 0;
    gfx_tarnGetCorrelationOutPropCount(index, &outputs);
    out.assign(static_cast<std::size_t>(outputs), 0.0);
    // MTMF and MTMR write eight derivatives, the oxygenate rows three, whatever the flag.
    d.assign(std::max<std::size_t>(8, inputs.size() * out.size()), 0.0);
  }
  std::vector<double> given, x, out, d;
};

// One call on a row, as the timing loop makes it.
template <class Call>
auto onRow(Row& row, Call call) {
  return [&row, call] {
    std::copy(row.given.begin(), row.given.end(), row.x.begin());
    int status = call(row.x.data(), row.out.data(), row.d.data());
    benchmark::DoNotOptimize(status);
    benchmark::ClobberMemory();
  };
}

// The settings the realistic rows name (EVAPORATIVE's temperatures), made
// again before each catalogue benchmark: the blend and optimiser benchmarks
// start the library afresh, and their runs fall between ours.
bool applyRealisticSettings() {
  for (const auto& row : tarn::testing::realisticRows()) {
    if (!tarn::testing::applySettings(row)) return false;
  }
  return true;
}

template <class Direct>
void registerRow(int index, const std::vector<double>& inputs, Direct direct) {
  char id[TARN_ID_SIZE] = "";
  gfx_tarnGetCorrelationId(index, id);
  for (const int flag : {0, 1}) {
    const std::string name =
        std::string("catalogue/") + family(index) + "/" + id + "/" + (flag != 0 ? "derivatives" : "values");
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
      if (!applyRealisticSettings()) state.SkipWithError("a realistic row's setting was refused");
      Row viaDirect(index, inputs), viaIndex(index, inputs);
      tarn::bench::timePaired(
          state, "direct",
          onRow(viaDirect,
                [direct, flag](double* x, double* out, double* d) { return direct(kDefaults, flag, x, out, d); }),
          "index", onRow(viaIndex, [index, flag](double* x, double* out, double* d) {
            return gfx_tarnGenCalc(index, flag, 0, x, out, d);
          }));
      state.counters["index"] = index;
      state.counters["inputs"] = static_cast<double>(inputs.size());
    });
  }
}

// RVPINDEX over a million rows: the batch entry point against gfx_tarnGenCalc
// called row by row. The counter "rows" turns the time into a cost per row.
constexpr int kManyRows = 1000000;

struct ManyRows {
  ManyRows() : inputs(kManyRows), outputs(kManyRows), derivs(kManyRows), statuses(kManyRows) {
    for (int r = 0; r < kManyRows; ++r) inputs[r] = 5.0 + 10.0 * r / kManyRows;
  }
  std::vector<double> inputs, outputs, derivs;
  std::vector<int> statuses;
};

void BM_RvpIndexBatch(benchmark::State& state) {
  const int flag = static_cast<int>(state.range(0));
  ManyRows rows;
  for (auto _ : state) {
    const int failed = gfx_tarnGenCalcBatch(9, flag, kManyRows, rows.inputs.data(), rows.outputs.data(),
                                            rows.derivs.data(), rows.statuses.data());
    benchmark::DoNotOptimize(failed);
    benchmark::ClobberMemory();
  }
  state.counters["rows"] = kManyRows;
}
BENCHMARK(BM_RvpIndexBatch)->Arg(0)->Arg(1)->ArgNames({"derivatives"})->Unit(benchmark::kMillisecond);

void BM_RvpIndexRowByRow(benchmark::State& state) {
  const int flag = static_cast<int>(state.range(0));
  ManyRows rows;
  for (auto _ : state) {
    for (int r = 0; r < kManyRows; ++r) {
      double x = rows.inputs[r];
      rows.statuses[r] = gfx_tarnGenCalc(9, flag, 0, &x, &rows.outputs[r], &rows.derivs[r]);
    }
    benchmark::ClobberMemory();
  }
  state.counters["rows"] = kManyRows;
}
BENCHMARK(BM_RvpIndexRowByRow)->Arg(0)->Arg(1)->ArgNames({"derivatives"})->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (gfx_tarnInitializeAllocate(nullptr) != 0) return 1;
  const auto& rows = tarn::testing::realisticRows();
  if (rows.size() != 57 || !applyRealisticSettings()) return 1;
  tarn::bench::visitDirectCalls([&](int index, auto direct) { registerRow(index, rows[index].inputs, direct); });
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  gfx_tarnFree();
  return 0;
}
