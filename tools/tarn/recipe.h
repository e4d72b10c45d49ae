// A blend recipe read from CSV: one row per component with its quantity and
// the properties it has, headers carrying their units ("T50[F]", "RVP[kPa]",
// "ARO[vol%]"). The components, volumes and properties go into a blend model
// of the tarnblend library, which keeps each property in the recipe's unit;
// the reader checks what a lab file can get wrong and names the line.
#pragma once

#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarn/blend.h"

namespace tarncli {

enum class Basis { Volume, Mass };

struct ModelDeleter {
  void operator()(tarnblend_model* model) const { tarnblend_model_free(model); }
};
using ModelHandle = std::unique_ptr<tarnblend_model, ModelDeleter>;

struct Recipe {
  std::string source;                 // file name, or "built-in sample"
  Basis basis = Basis::Volume;
  std::string quantityUnit;           // as written in the header ("" when none)
  std::vector<double> quantities;     // volume or mass of each component, as written
  ModelHandle model;                  // components, volumes, properties
};

// Reads a recipe into a model of the product kind. unitsOption ('F' or 'C')
// gives the unit of temperature columns whose header has none. Throws
// InputError naming the line, column and component of the first fault.
Recipe readRecipe(std::istream& in, const std::string& source, std::optional<char> unitsOption, int product);

// The built-in sample: a summer gasoline of six components, as CSV.
const char* sampleRecipe();

}  // namespace tarncli
