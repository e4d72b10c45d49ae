// Fuzzes the blend library's recipe reader (tarnblend_recipe_parse) with
// arbitrary bytes as CSV or JSON, and evaluates what it accepts.
//
// Input: one byte of options (bits 0-1 the caller's product kind, bit 2 a
// temperature unit for unlabelled columns), then the file. Invariants: the
// reader answers OK with a model of at least one component whose results
// are each a finite figure or the missing value, or TARNBLEND_ERROR_FILE with
// no recipe and one line naming the file, free of control characters (no
// byte of the file reaches a terminal raw).
#include <cmath>
#include <string>

#include "fuzz_support.h"
#include "tarn/blend.h"

namespace {

void checkMessage(const std::string& message) {
  TARN_FUZZ_CHECK(message.rfind("fuzz.csv:", 0) == 0, "message '%s' does not name the file", message.c_str());
  for (std::size_t i = 0; i < message.size(); ++i) {
    const auto c = static_cast<unsigned char>(message[i]);
    const bool c1 = c == 0xC2 && i + 1 < message.size() && static_cast<unsigned char>(message[i + 1]) < 0xA0;
    TARN_FUZZ_CHECK(c >= 0x20 && c != 0x7F && !c1, "control byte 0x%02X at %zu of the message", c, i);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool started = gfx_tarnInitializeAllocate(nullptr) == TARN_STATUS_OK;
  TARN_FUZZ_CHECK(started, "the library did not start");
  const std::uint8_t options = size > 0 ? data[0] : 0;
  const char* text = size > 0 ? reinterpret_cast<const char*>(data + 1) : "";
  tarnblend_recipe* recipe = nullptr;
  const int status = tarnblend_recipe_parse(text, size > 0 ? size - 1 : 0, "fuzz.csv", options & 3,
                                            options & 4 ? "C" : nullptr, &recipe);
  if (status != TARNBLEND_OK) {
    TARN_FUZZ_CHECK(status == TARNBLEND_ERROR_FILE, "status %d", status);
    TARN_FUZZ_CHECK(recipe == nullptr, "a refused recipe was handed out");
    checkMessage(tarnblend_last_error());
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
