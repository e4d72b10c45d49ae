// Fuzzes tarnblend_recipe_parse. Input: an options byte (bits 0-1 product
// kind, bit 2 the unlabelled temperature unit), then the file. Accepted
// recipes evaluate to figures or the missing value; refusals are one line.
#include <cmath>
#include <string>

#include "fuzz_support.h"
#include "tarn/blend.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool started = gfx_tarnInitializeAllocate(nullptr) == TARN_STATUS_OK;
  TARN_FUZZ_CHECK(started, "the library did not start");
  const std::uint8_t options = size > 0 ? data[0] : 0;
  const char* text = size > 0 ? reinterpret_cast<const char*>(data + 1) : "";
  tarnblend_recipe* recipe = nullptr;
  const int status = tarnblend_recipe_parse(text, size > 0 ? size - 1 : 0, "fuzz.csv", options & 3,
                                            options & 4 ? "C" : nullptr, &recipe);
  if (status != TARNBLEND_OK) {
    TARN_FUZZ_CHECK(status == TARNBLEND_ERROR_FILE && recipe == nullptr, "status %d", status);
    tarn::fuzz::checkMessage(tarnblend_last_error(), "fuzz.csv:");
    return 0;
  }
  tarnblend_model* model = nullptr;
  int components = 0, properties = 0;
  tarnblend_recipe_model(recipe, &model);
  tarnblend_model_component_count(model, &components);
  TARN_FUZZ_CHECK(components > 0, "an accepted recipe without components");
  if (tarnblend_model_evaluate(model, 1) == TARNBLEND_OK) {
    tarnblend_model_property_count(model, &properties);
    for (int k = 0; k < properties; ++k) {
      double value = 0.0;
      int result = 0;
      tarnblend_model_result(model, k, &value, &result, nullptr, nullptr, nullptr);
      TARN_FUZZ_CHECK(std::isfinite(value) && (result == TARNBLEND_COMPUTED) == (value != TARN_MISSING),
                      "property %d: value %g with status %d", k, value, result);
    }
  }
  tarnblend_recipe_free(recipe);
  return 0;
}
