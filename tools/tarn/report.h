// The blend report: a recipe's blend properties computed the way a refinery
// planner computes them, each through the library's own correlation.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "recipe.h"

namespace tarncli {

struct Figure {
  std::string key;          // short name: RVP, T50, E200, DI ...
  std::string description;
  double value = 0.0;       // in the report's units; 1e30 when it could not be computed
  std::string unit;         // "" for a pure number
  int decimals = 2;
  std::string method;       // how it was computed
  std::string note;         // why it is missing, or a warning about it
};

struct Section {
  std::string title;
  std::vector<Figure> figures;
};

struct Share {
  std::string name;
  double quantity = 0.0;
  double volumeFraction = 0.0;
};

struct Curve {
  std::string name;
  std::array<double, 7> points{};  // report units
  bool isBlend = false;
};

struct BlendOptions {
  int d86Method = 0;  // distillation conversion method number of the curve blend
};

struct Report {
  std::string source;
  std::string basis;          // "volume" or "mass"
  std::string quantityUnit;
  double totalQuantity = 0.0;
  std::string temperatureUnit;  // "F" or "C"
  std::string pressureUnit;     // "psi" or "kPa"
  std::vector<Share> components;
  std::vector<Section> sections;
  std::vector<Curve> curves;    // components with a full curve, then the blend (when computed)
  std::array<double, 7> percentGrid{};  // percent evaporated of the seven curve points
  std::vector<std::string> notes;

  // The figure with this key, or null.
  const Figure* find(const std::string& key) const;
};

// Names of the distillation conversion methods, by number.
const std::vector<std::string>& d86MethodNames();

Report blendReport(const Recipe& recipe, const BlendOptions& options);

}  // namespace tarncli
