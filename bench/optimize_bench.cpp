// The blend optimiser on a refinery-sized problem: ten gasoline streams
// shared by two products (regular and premium), each with 16 limits on
// volatility, distillation, octane and composition, greatest margin. The
// problem is built once; each iteration is one tarnblend_problem_solve,
// from two starts (the default: the better optimum kept) or from the
// proportional start only. Reports IPOPT's iterations per solve.
#include <benchmark/benchmark.h>

#include <vector>

#include "gasoline_streams.h"
#include "tarn/optimize.h"
#include "tarn/tarn.h"

namespace {

const char* const kPool = R"({
  "components": [
    {"name": "Butane", "cost": 38, "max": 1500},
    {"name": "Light straight run", "cost": 71, "max": 3000},
    {"name": "Reformate", "cost": 92, "max": 6000},
    {"name": "FCC naphtha", "cost": 86, "max": 6500},
    {"name": "Alkylate", "cost": 101, "max": 3000},
    {"name": "Ethanol", "cost": 88, "max": 2500},
    {"name": "Isomerate", "cost": 84, "max": 2500},
    {"name": "Heavy reformate", "cost": 95, "max": 1500},
    {"name": "Light FCC naphtha", "cost": 83, "max": 2000},
    {"name": "Hydrocracked naphtha", "cost": 74, "max": 2000}
  ],
  "products": [
    {"name": "Regular", "demand": {"min": 9000, "max": 15000}, "price": 98,
     "limits": [{"property": "RVP", "max": 9.0}, {"property": "AKI", "min": 87}, {"property": "RON", "min": 91},
                {"property": "MON", "min": 82}, {"property": "ARO", "max": 35}, {"property": "OLF", "max": 18},
                {"property": "BNZ", "max": 1.0}, {"property": "SUL", "max": 30}, {"property": "OXY", "max": 3.8},
                {"property": "ETOH", "max": 10}, {"property": "DEN", "min": 720, "max": 775, "unit": "kg/m3"},
                {"property": "T10", "max": 158}, {"property": "T50", "min": 170, "max": 250},
                {"property": "T90", "max": 365}, {"property": "E70", "min": 20, "max": 50},
                {"property": "FBP", "max": 437}]},
    {"name": "Premium", "demand": {"min": 3000, "max": 6000}, "price": 109,
     "limits": [{"property": "RVP", "max": 8.5}, {"property": "AKI", "min": 91}, {"property": "RON", "min": 95},
                {"property": "MON", "min": 85}, {"property": "ARO", "max": 35}, {"property": "OLF", "max": 15},
                {"property": "BNZ", "max": 0.8}, {"property": "SUL", "max": 10}, {"property": "OXY", "max": 3.8},
                {"property": "ETOH", "max": 10}, {"property": "DEN", "min": 720, "max": 775, "unit": "kg/m3"},
                {"property": "T50", "min": 170, "max": 240}, {"property": "T90", "max": 360},
                {"property": "E100", "min": 46, "max": 72}, {"property": "E150", "min": 75},
                {"property": "T10", "max": 158}]}
  ]
})";

void BM_OptimizeGasolinePool(benchmark::State& state) {
  const int starts = static_cast<int>(state.range(0));
  gfx_tarnInitializeAllocate(nullptr);
  std::vector<double> volumes;
  tarnblend_model* model = benchdata::gasolineModel(volumes);
  tarnblend_problem* problem = nullptr;
  if (tarnblend_problem_parse(kPool, "pool", model, &problem) != TARNBLEND_OK) {
    state.SkipWithError(tarnblend_last_error());
    tarnblend_model_free(model);
    return;
  }
  tarnblend_problem_set_starts(problem, starts);
  int outcome = -1, iterations = 0, solves = 0;
  double total = 0.0;
  for (auto _ : state) {
    tarnblend_problem_solve(problem, &outcome);
    tarnblend_problem_solution(problem, nullptr, nullptr, nullptr, &iterations, nullptr);
    total += iterations;
    ++solves;
  }
  if (outcome != TARNBLEND_OPTIMAL) state.SkipWithError("the pool problem did not solve to its optimum");
  state.counters["iterations"] = solves ? total / solves : 0.0;
  tarnblend_problem_free(problem);
  tarnblend_model_free(model);
}
BENCHMARK(BM_OptimizeGasolinePool)->Arg(2)->Arg(1)->ArgNames({"starts"})->Unit(benchmark::kMillisecond);

}  // namespace
