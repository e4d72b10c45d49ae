// The blend report: what the tarnblend library computes for a recipe, laid
// out for the tool's tables, JSON, CSV and plot. No blending happens here.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "recipe.h"
#include "tarn/blend.h"

namespace tarncli {

struct Figure {
  std::string key;  // short name: RVP, T50, E200, DI ...
  std::string description;
  double value = 0.0;  // in the report's units; 1e30 when it could not be computed
  std::string unit;    // "" for a pure number
  int decimals = 2;
  std::string method;  // how it was computed
  std::string reason;  // why it is not computed ("" when it is)
  std::string note;    // a remark on a computed value
  bool estimate = false;
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
  std::array<double, 7> points{};   // report units; missing where a point is neither given nor estimable
  std::array<bool, 7> estimated{};  // points the curve model estimated (T30, T70 left out of the recipe)
  double volumePercent = 0.0;       // the component's share of the blend
  bool isBlend = false;
};

// One limit of a grade checked against the blend.
struct LimitCheck {
  std::string key, unit, source, verdict, reason;                  // verdict PASS, FAIL or "not checked"
  double minimum = 0.0, maximum = 0.0, value = 0.0, margin = 0.0;  // 1e30 where none
  bool estimate = false;  // the value checked is an estimate, not a blended measurement
};

struct GradeCheck {
  std::string grade, gradeClass;
  std::vector<LimitCheck> limits;
  int failures = 0, unchecked = 0;
};

struct BlendOptions {
  int d86Method = 0;                  // distillation conversion method number of the curve blend
  bool libraryPureThreshold = false;  // use libtarn's GENERICD86 DPure rather than the blend library's
  std::string grade, gradeClass;      // built-in grade name or grade file; "" for none
};

struct Report {
  std::string source;
  std::string product;
  std::string basis;  // "volume" or "mass"
  std::string quantityUnit;
  double totalQuantity = 0.0;
  std::string temperatureUnit;  // "F" or "C"
  std::string pressureUnit;     // "psi", "kPa" or "bar"
  std::vector<Share> components;
  std::vector<Section> sections;
  std::vector<Curve>
      curves;  // components taking part that have two or more curve points, then the blend (when computed)
  std::array<double, 7> percentGrid{};  // percent evaporated of the seven curve points
  std::vector<std::string> notes;
  bool checked = false;
  GradeCheck check;

  // The figure with this key, or null.
  const Figure* find(const std::string& key) const;
};

// Names of the distillation conversion methods, by number.
const std::vector<std::string>& d86MethodNames();

// Evaluates the recipe's model (and checks it against the grade asked for).
// Throws InputError for an unknown grade or class.
Report blendReport(Recipe& recipe, const BlendOptions& options);

struct GradeDeleter {
  void operator()(tarnblend_grade* grade) const;
};
using GradeHandle = std::unique_ptr<tarnblend_grade, GradeDeleter>;

// A built-in grade by name (with its class, "" for the default), or a grade
// file: a name that is an existing file or reads as a path (a '/' or a '.';
// no built-in grade has either) is a file. Throws InputError for a class
// given with a file, an unknown grade or class, or a file that cannot be read.
GradeHandle openGrade(const std::string& grade, const std::string& gradeClass);
bool isGradeFile(const std::string& grade);

}  // namespace tarncli
