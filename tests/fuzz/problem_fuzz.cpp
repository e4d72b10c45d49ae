// Fuzzes the optimiser's problem-file reader (tarnblend_problem_read).
// Input: an options byte (bits 0-1: no recipe, the gasoline or the diesel
// example), the problem file, after a NUL the grade file fuzz.grade. A
// problem is read with bounded limits, or refused with one clean line.
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>

#define TARN_FUZZ_OWN_INITIALIZE  // prepares the folder and the recipes
#include "fuzz_support.h"
#include "tarn/optimize.h"

namespace {

using namespace tarn::fuzz;

std::string folder, problemPath;
tarnblend_recipe* recipes[2] = {nullptr, nullptr};

void write(const std::string& path, const char* bytes, std::size_t size) {
  std::ofstream(path, std::ios::binary).write(bytes, static_cast<std::streamsize>(size));
}

// A file named with a slash: a path out of the folder or through it.
bool namesAPath(const std::string& text) {
  if (text.find('/') == std::string::npos && text.find("u002") == std::string::npos) return false;
  const auto root = nlohmann::json::parse(text, nullptr, false);
  if (!root.is_object()) return false;
  const auto slash = [](const nlohmann::json& v) {
    return v.is_string() && v.get<std::string>().find('/') != std::string::npos;
  };
  if (root.contains("recipe") && slash(root["recipe"])) return true;
  if (!root.contains("products") || !root["products"].is_array()) return false;
  for (const auto& product : root["products"]) {
    if (product.is_object() && product.contains("grade") && slash(product["grade"])) return true;
  }
  return false;
}

void checkProblem(const tarnblend_problem* problem) {
  int products = 0, limits = 0;
  TARN_FUZZ_CHECK(
      tarnblend_problem_product_count(problem, &products) == 0 && products > 0 &&
          tarnblend_problem_solution(problem, nullptr, nullptr, nullptr, nullptr, nullptr) == TARNBLEND_ERROR_STATE,
      "%d products, or a problem just read has a solution", products);
  for (int p = 0; p < products && tarnblend_problem_limit_count(problem, p, &limits) == 0; ++p) {
    for (int k = 0; k < limits; ++k) {
      const char* key = nullptr;
      double low = 0.0, high = 0.0;
      tarnblend_problem_limit(problem, p, k, &key, nullptr, &low, &high, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr);
      const bool open[2] = {low == TARN_MISSING, high == TARN_MISSING};
      TARN_FUZZ_CHECK(key && *key && !(open[0] && open[1]) && (open[0] || std::isfinite(low)) &&
                          (open[1] || std::isfinite(high)) && (open[0] || open[1] || low <= high),
                      "limit %s of product %d: %g to %g", key ? key : "(null)", p, low, high);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  TARN_FUZZ_CHECK(gfx_tarnInitializeAllocate(nullptr) == TARN_STATUS_OK, "the library did not start");
  char made[] = "/tmp/tarn-fuzz-problem-XXXXXX";
  TARN_FUZZ_CHECK(mkdtemp(made) != nullptr, "no temporary folder");
  folder = made;
  problemPath = folder + "/fuzz.json";
  const char* names[2] = {"gasoline-components.csv", "diesel-components.csv"};
  for (int k = 0; k < 2; ++k) {
    std::ifstream in(std::string(TARN_FUZZ_EXAMPLES) + "/" + names[k], std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    write(folder + "/" + names[k], bytes.data(), bytes.size());
    TARN_FUZZ_CHECK(tarnblend_recipe_read((folder + "/" + names[k]).c_str(), 0, nullptr, &recipes[k]) == 0,
                    "example recipe %s", names[k]);
  }
  Session::replayIfAsked();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::uint8_t options = size > 0 ? data[0] : 0;
  const std::string input(reinterpret_cast<const char*>(data) + (size > 0), size > 0 ? size - 1 : 0);
  const std::size_t end = std::min(input.find('\0'), input.size());
  const std::string text = input.substr(0, end);
  if (namesAPath(text)) return -1;  // not kept in the corpus
  write(problemPath, text.data(), text.size());
  if (end < input.size()) write(folder + "/fuzz.grade", input.data() + end + 1, input.size() - end - 1);

  tarnblend_model* recipe = nullptr;
  if (options % 4 == 1 || options % 4 == 2) tarnblend_recipe_model(recipes[options % 4 - 1], &recipe);
  tarnblend_problem* problem = nullptr;
  const int status = tarnblend_problem_read(problemPath.c_str(), recipe, &problem);
  if (status == TARNBLEND_OK) {
    checkProblem(problem);
  } else {
    TARN_FUZZ_CHECK(status == TARNBLEND_ERROR_FILE && problem == nullptr, "status %d: %s", status,
                    tarnblend_last_error());
    checkMessage(tarnblend_last_error(), problemPath + ":");
  }
  tarnblend_problem_free(problem);
  return 0;
}
