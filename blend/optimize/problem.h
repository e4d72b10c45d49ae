// The blend optimiser's problem: shared components with cost and
// availability, products with limits, targets, demand, price, shares and
// ratios; and the results of the last solve. The blended properties come
// from one blend model per product, reached through tarn/blend.h only.
#pragma once

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "firewall.h"
#include "tarn/optimize.h"

namespace tarn::optimize {

inline constexpr double kMissing = 1e30;
inline constexpr double kUnlimited = std::numeric_limits<double>::infinity();

inline bool missing(double value) { return !(value < 1e29) || value != value; }

// A refused request: the library's status code and its one-line message.
using ProblemError = tarnblend::Error;

struct ModelDeleter {
  void operator()(tarnblend_model* model) const { tarnblend_model_free(model); }
};
using ModelHandle = std::unique_ptr<tarnblend_model, ModelDeleter>;

// What the recipe says of its components, copied so that the problem does
// not depend on the caller's model staying alive.
struct RecipeCopy {
  int product = TARNBLEND_GASOLINE;
  std::vector<std::string> names;
  std::vector<double> volumes;
  struct Input {
    std::string key, unit;
    std::vector<double> values;  // per component (TARN_MISSING where missing); empty when not given
  };
  std::vector<Input> inputs;
  double d86Method = 0.0, dPure = 10.0;
};

struct Component {
  std::string name;
  double cost = kMissing;  // per unit volume; kMissing when none was given
  double minimum = 0.0, maximum = kUnlimited;
  double recipeVolume = 0.0;
};

// A limit (or target) as the user gave it, and as it applies to the
// product's model: bounds converted into the property's recipe unit.
struct Limit {
  std::string key, unit, source;
  double minimum = kMissing, maximum = kMissing;  // as given
  bool target = false;
  bool fromGrade = false;
  int property = -1;                            // index in the product's model
  double low = -kUnlimited, high = kUnlimited;  // in the property's unit
  std::string propertyUnit;
};

struct Share {
  int component;
  double minimum, maximum;  // fractions of the product's volume
};

struct Ratio {
  int numerator, denominator;
  double minimum, maximum;  // -inf / +inf when open
};

struct Product {
  std::string name;
  int kind = TARNBLEND_GASOLINE;
  std::string grade, gradeClass;
  std::vector<Limit> limits;  // grade limits first, then extra limits and targets in order given
  double demandMin = 0.0, demandMax = kUnlimited;
  double price = kMissing;
  std::vector<Share> shares;
  std::vector<Ratio> ratios;
  ModelHandle model;
};

// Results of the last solve, per row of the user's problem.
struct LimitResult {
  double value = kMissing, margin = kMissing, shadow = 0.0;
  int binding = TARNBLEND_FREE;
};

struct Relaxation {
  int product, limit, side;
  double together, alone;
};

struct Results {
  int outcome = TARNBLEND_UNSOLVED;
  int objective = TARNBLEND_OBJECTIVE_AUTO;  // the one used
  std::string solverStatus, summary;
  int iterations = 0;
  double objectiveValue = kMissing;
  std::vector<std::vector<double>> volumes;      // [product][component]
  std::vector<std::vector<LimitResult>> limits;  // [product][limit]
  std::vector<double> productValue;              // d objective / d demand
  std::vector<int> productBinding;
  std::vector<double> componentValue;  // d objective / d availability
  std::vector<int> componentBinding;
  std::vector<Relaxation> relaxations;
  std::vector<std::string> notes;
};

struct Problem {
  RecipeCopy recipe;
  std::vector<Component> components;
  std::vector<Product> products;
  int objective = TARNBLEND_OBJECTIVE_AUTO;
  int starts = 2;  // 1: the proportional start only; 2: and an even split unless only linear limits bind
  std::string volumeUnit, currency;  // labels for reports ("bbl", "USD"); no conversion
  Results results;

  explicit Problem(const tarnblend_model* source);

  int findComponent(const std::string& name) const;  // -1 when none
  int addProduct(const std::string& name, int kind);
  void setGrade(int product, const tarnblend_grade* grade);
  void addLimit(int product, const std::string& key, double minimum, double maximum, const std::string& unit,
                bool target, const std::string& source = "", bool fromGrade = false);
  // Setters that check their numbers (kMissing or NaN: none / open).
  void setCost(int component, double cost);
  void setAvailability(int component, double minimum, double maximum);
  void setDemand(int product, double minimum, double maximum);
  void setPrice(int product, double price);
  void setShare(int product, int component, double minimumPercent, double maximumPercent);
  void addRatio(int product, int numerator, int denominator, double minimum, double maximum);
  Product& product(int index);
  Component& component(int index);
  // Marks the results out of date after any change.
  void changed() { results = Results{}; }
};

// A model of product kind `kind` holding the recipe's components and
// properties (volumes as the recipe has them).
ModelHandle makeModel(const RecipeCopy& recipe, int kind);

// Converts a value between two units of one dimension (throws on failure).
double convert(double value, const std::string& from, const std::string& to);

// Reads a problem file (JSON text) onto a problem built over `recipe`
// (which may be null when the file lists the components' properties).
std::unique_ptr<Problem> parseProblem(const std::string& text, const std::string& origin, const std::string& folder,
                                      const tarnblend_model* recipe);

// Solves and fills problem.results.
void solve(Problem& problem);

// Throws ProblemError carrying the blend library's status and last message
// when status is not TARNBLEND_OK.
void check(int status);

}  // namespace tarn::optimize
