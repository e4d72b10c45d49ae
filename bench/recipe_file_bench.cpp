// Reading recipe files: a CSV (semicolons and decimal commas, the heavier
// dialect) and a JSON recipe of n components, each with the sample gasoline's
// eighteen properties. Reading is linear in the rows: the 200,000-row case
// should take about ten times the 20,000-row one.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "tarn/blend.h"

namespace {

const char* const kRow = "51,6;30;30,5;31;31,5;32;32,5;33;93,8;89,6;0;0,5;0;5;0;0;0,584";

std::string csvRecipe(int n) {
  std::string text =
      "NAME;VOLUME[bbl];RVP[psi];IBP[F];T10[F];T30[F];T50[F];T70[F];T90[F];FBP[F];RON;MON;ARO[vol%];"
      "OLF[vol%];BNZ[vol%];SUL[ppm];EHO[wt%];ETOH[vol%];SPG\n";
  char name[32];
  for (int i = 0; i < n; ++i) {
    std::snprintf(name, sizeof name, "Component %d;%d;", i, 1 + i % 97);
    text += name;
    text += kRow;
    text += '\n';
  }
  return text;
}

std::string jsonRecipe(int n) {
  std::string text =
      "{\"units\": {\"RVP\": \"psi\", \"IBP\": \"F\", \"T10\": \"F\", \"T50\": \"F\", \"T90\": \"F\", "
      "\"FBP\": \"F\", \"SUL\": \"ppm\", \"ARO\": \"vol%\"}, \"components\": [\n";
  char row[256];
  for (int i = 0; i < n; ++i) {
    std::snprintf(row, sizeof row,
                  "%s{\"name\": \"Component %d\", \"VOLUME\": %d, \"RVP\": 51.6, \"IBP\": 30, \"T10\": 30.5, "
                  "\"T50\": 31.5, \"T90\": 32.5, \"FBP\": 33, \"RON\": 93.8, \"MON\": 89.6, \"SUL\": 5, \"ARO\": 0, "
                  "\"SPG\": 0.584}\n",
                  i ? "," : "", i, 1 + i % 97);
    text += row;
  }
  return text + "]}\n";
}

template <std::string (*Make)(int)>
void BM_ReadRecipe(benchmark::State& state) {
  const std::string text = Make(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    tarnblend_recipe* recipe = nullptr;
    if (tarnblend_recipe_parse(text.data(), text.size(), "bench", 0, nullptr, &recipe) != TARNBLEND_OK) {
      state.SkipWithError(tarnblend_last_error());
      break;
    }
    tarnblend_recipe_free(recipe);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

BENCHMARK_TEMPLATE(BM_ReadRecipe, csvRecipe)->Arg(20000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_ReadRecipe, jsonRecipe)->Arg(20000)->Arg(200000)->Unit(benchmark::kMillisecond);

}  // namespace
