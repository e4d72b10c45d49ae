// Recipe files: CSV (one row per component, headers carrying their units)
// or JSON (a list of components), read into a blend model. What the file
// says beyond the model (its basis, the quantities as written, how the
// product kind was decided) is kept alongside it.
#pragma once

#include <string>
#include <vector>

#include "model.h"
#include "tarn/blend.h"
#include "text/labfile.h"

struct tarnblend_recipe {
  std::string source;
  int basis = TARNBLEND_BASIS_VOLUME;
  std::string quantityUnit;        // as the file writes it, canonical spelling ("bbl", "t", "")
  std::vector<double> quantities;  // volume or mass of each component as written
  int productFrom = TARNBLEND_PRODUCT_DEFAULT;
  std::vector<std::string> notes;
  tarnblend_model* model = nullptr;  // owned

  tarnblend_recipe() = default;
  tarnblend_recipe(const tarnblend_recipe&) = delete;
  tarnblend_recipe& operator=(const tarnblend_recipe&) = delete;
  ~tarnblend_recipe() { delete model; }
};

namespace tarnblend {

// Reads a recipe (CSV or JSON, told apart by its first character) into a new
// model. product is TARNBLEND_GASOLINE ... or 0 for the recipe's own kind;
// temperatureUnit the unit of temperature columns written without one ("" to
// refuse them). Throws lab::FileError naming the file, line and column.
void readRecipe(const lab::Text& text, int product, const std::string& temperatureUnit, tarnblend_recipe& recipe);

}  // namespace tarnblend
