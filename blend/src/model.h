// The blend model behind a tarnblend_model handle: the recipe (components,
// their volumes and properties in base units, the recipe unit of each
// property, the options), the results of the last evaluation (values,
// statuses, reasons, the derivative matrix, notes) and of the last grade
// check. Evaluation itself lives in evaluate.cpp and its helpers.
#pragma once

#include <array>
#include <string>
#include <unordered_map>
#include <vector>

#include "inputs.h"
#include "properties.h"
#include "tarn/blend.h"
#include "units.h"

namespace tarnblend {

struct Component {
  std::string name;
  double volume = 0.0;
  std::array<double, kInputCount> values;  // base units; kMissing where missing
};

struct Result {
  double value = kMissing;  // in the property's unit after evaluation
  int status = TARNBLEND_NOT_COMPUTED;
  std::string reason, note;
  std::string cause;  // the first failure a dependent failure goes back to ("" when this is it)
};

struct CheckRow {
  int property = -1;
  double minimum = kMissing, maximum = kMissing, value = kMissing, margin = kMissing;
  int verdict = TARNBLEND_UNCHECKED;
  std::string unit, reason;
};

// Scratch of one evaluation, kept with the model so that re-evaluating at new
// volumes reuses it instead of allocating.
struct Workspace {
  std::vector<double> w, fractions, values, weights, indices, curves, derivs, shifted, widened;
  std::vector<double> packedVolumes, packedValues, packedWeights;
  std::array<std::vector<double>, 4> columns;
  std::vector<int> members;
};

class Model {
 public:
  explicit Model(int product);

  int product() const { return product_; }
  void setProduct(int product);

  // ---- Recipe ----
  int addComponent(const std::string& name);
  int componentCount() const { return static_cast<int>(components_.size()); }
  const Component& component(int i) const;
  void setValue(int component, Input input, double value, const Unit* unit);
  double value(int component, Input input) const { return this->component(component).values[static_cast<int>(input)]; }
  bool given(Input input) const { return given_[static_cast<int>(input)]; }
  void setVolume(int component, double volume);
  void setVolumes(const double* volumes, int n);
  void setMass(int component, double mass);

  // Recipe unit of an input (its default until one is given or set).
  const Unit& recipeUnit(Input input) const;
  void setRecipeUnit(Input input, const Unit& unit);
  // The unit a blended property is reported in: its input's recipe unit or,
  // when the recipe has no column for that temperature, the unit of its other
  // temperature columns (a recipe in degrees C reports an absent pour point in C).
  const Unit& propertyUnit(Property property) const;
  std::string propertyUnitLabel(Property property) const;

  // ---- Options ----
  int d86Method() const { return d86Method_; }
  double dpure() const { return dpure_; }
  void setOption(const std::string& name, double value);
  double option(const std::string& name) const;

  // ---- Which properties an evaluation computes ----
  // Limits evaluation to the listed properties (indexes in properties())
  // and what they are computed from; an empty list asks for all of them.
  void setNeeded(const int* indexes, int count);
  bool wanted(Property p) const { return wanted_[static_cast<int>(p)]; }

  // ---- Results ----
  const std::vector<Property>& properties() const { return properties_; }
  int findProperty(const std::string& key) const;  // index in properties(), or -1
  Result& result(Property p) { return results_[static_cast<int>(p)]; }
  const Result& result(Property p) const { return results_[static_cast<int>(p)]; }
  double* gradient(Property p) { return jacobian_.data() + static_cast<std::size_t>(p) * components_.size(); }
  const double* gradient(Property p) const {
    return jacobian_.data() + static_cast<std::size_t>(p) * components_.size();
  }
  bool evaluated() const { return evaluated_; }
  bool hasDerivatives() const { return hasDerivatives_; }
  void evaluate(bool derivatives);
  std::vector<std::string>& notes() { return notes_; }
  const std::vector<std::string>& notes() const { return notes_; }
  // Method text of a property, with libtarn's current constants (kept until
  // the next call for the same property).
  const std::string& method(Property p) const;

  std::vector<CheckRow>& checks() { return checks_; }
  const std::vector<CheckRow>& checks() const { return checks_; }
  Workspace& workspace() { return work_; }

 private:
  void changed() { evaluated_ = false; }

  int product_;
  std::vector<Component> components_;
  std::unordered_map<std::string, int> byName_;
  std::array<const Unit*, kInputCount> units_{};
  std::array<bool, kInputCount> given_{};
  int d86Method_ = 0;
  double dpure_ = 10.0;
  std::vector<Property> properties_;
  bool wanted_[kPropertyCount];
  std::array<Result, kPropertyCount> results_;
  std::vector<double> jacobian_;  // kPropertyCount x component count
  bool evaluated_ = false, hasDerivatives_ = false;
  std::vector<std::string> notes_;
  mutable std::array<std::string, kPropertyCount> methods_;
  std::vector<CheckRow> checks_;
  Workspace work_;
};

// Evaluates every property of the model's list (evaluate.cpp).
void evaluateModel(Model& model, bool derivatives);

// How a property is computed, with libtarn's current constants (methods.cpp).
std::string methodText(const Model& model, Property property);

// A component's name in a message: 'Name', with tabs, line ends and other
// control characters written as \xNN (names come from files and callers).
std::string quoted(const std::string& name);

// A number as short text (up to 6 significant digits) for messages.
std::string shortNumber(double value);

}  // namespace tarnblend

// The handle behind tarnblend_model (api.cpp; the recipe readers create models too).
struct tarnblend_model {
  explicit tarnblend_model(int product) : model(product) {}
  tarnblend::Model model;
};
