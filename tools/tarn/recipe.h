// A blend recipe, read by the blend library's recipe reader (CSV or JSON as
// labs and spreadsheets write them) into a blend model; what the file says
// beyond the model (basis, quantities as written, reader notes) comes along.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tarn/blend.h"

namespace tarncli {

enum class Basis { Volume, Mass };

struct RecipeDeleter {
  void operator()(tarnblend_recipe* recipe) const { tarnblend_recipe_free(recipe); }
};

struct Recipe {
  std::unique_ptr<tarnblend_recipe, RecipeDeleter> file;
  tarnblend_model* model = nullptr;  // owned by file
  std::string source;                // file name, "standard input" or "built-in sample"
  Basis basis = Basis::Volume;
  std::string quantityUnit;        // as the reader spells it ("" when none)
  std::vector<double> quantities;  // volume or mass of each component, as written
  std::vector<std::string> notes;  // the reader's remarks
};

// Reads the recipe at path ("-" standard input, "" the built-in sample of the
// product kind) into
// a model. product: 0 for the recipe's own kind, else TARNBLEND_GASOLINE ...
// temperatureUnit: unit of temperature columns written without one ("" to
// refuse them). Throws InputError with the reader's one-line message
// (file:line:column: ...).
Recipe readRecipe(const std::string& path, int product, const std::string& temperatureUnit);

// The built-in sample of a product kind, as CSV: a summer E10 gasoline of six
// components (gasoline or 0), a winter diesel of four streams, a jet fuel of three.
const char* sampleRecipe(int product);

}  // namespace tarncli
