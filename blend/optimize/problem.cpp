#include "problem.h"

#include <cmath>
#include <tuple>

namespace tarn::optimize {

void check(int status) {
  if (status != TARNBLEND_OK) throw ProblemError(status, tarnblend_last_error());
}

namespace {

const char* const kModelOptions[] = {"D86METHOD", "DPURE"};

// Whether a unit conversion turns the scale around (API gravity against
// density): a minimum in one is then a maximum in the other.
bool reverses(const std::string& from, const std::string& to, double at) {
  const double step = std::max(1.0, std::fabs(at)) * 1e-3;
  return convert(at + step, from, to) < convert(at, from, to);
}

}  // namespace

double convert(double value, const std::string& from, const std::string& to) {
  if (from == to || missing(value)) return value;
  double result = 0.0;
  check(tarnblend_unit_convert(value, from.c_str(), to.c_str(), &result));
  return result;
}

Problem::Problem(const tarnblend_model* source) {
  if (source == nullptr) return;
  check(tarnblend_model_product(source, &recipe.product));
  int count = 0;
  check(tarnblend_model_component_count(source, &count));
  for (int i = 0; i < count; ++i) {
    const char* name = nullptr;
    double volume = 0.0;
    check(tarnblend_model_component_name(source, i, &name));
    check(tarnblend_model_volume(source, i, &volume));
    recipe.names.emplace_back(name);
    recipe.volumes.push_back(volume);
    components.push_back({name, kMissing, 0.0, kUnlimited, volume});
  }
  int keys = 0;
  check(tarnblend_input_count(&keys));
  for (int k = 0; k < keys; ++k) {
    const char* key = nullptr;
    const char* unit = nullptr;
    int given = 0;
    check(tarnblend_input_info(k, &key, nullptr, nullptr, nullptr));
    check(tarnblend_model_unit(source, key, &unit));
    check(tarnblend_model_input_given(source, key, &given));
    // Every unit is kept, given or not: blended temperatures the recipe has
    // no column for follow the unit of its D86 points.
    RecipeCopy::Input input{key, unit, {}};
    for (int i = 0; given && i < count; ++i) {
      double value = kMissing;
      check(tarnblend_model_get_property(source, i, key, &value));
      input.values.push_back(value);
    }
    recipe.inputs.push_back(std::move(input));
  }
  check(tarnblend_model_option(source, kModelOptions[0], &recipe.d86Method));
  check(tarnblend_model_option(source, kModelOptions[1], &recipe.dPure));
}

ModelHandle makeModel(const RecipeCopy& recipe, int kind) {
  tarnblend_model* raw = nullptr;
  check(tarnblend_model_create(kind, &raw));
  ModelHandle model(raw);
  check(tarnblend_model_set_option(raw, kModelOptions[0], recipe.d86Method));
  check(tarnblend_model_set_option(raw, kModelOptions[1], recipe.dPure));
  for (std::size_t i = 0; i < recipe.names.size(); ++i) {
    check(tarnblend_model_add_component(raw, recipe.names[i].c_str(), nullptr));
    check(tarnblend_model_set_volume(raw, static_cast<int>(i), recipe.volumes[i]));
  }
  for (const RecipeCopy::Input& input : recipe.inputs) {
    check(tarnblend_model_set_unit(raw, input.key.c_str(), input.unit.c_str()));
    if (input.values.empty()) continue;  // not given by the recipe
    for (std::size_t i = 0; i < input.values.size(); ++i) {
      check(tarnblend_model_set_property(raw, static_cast<int>(i), input.key.c_str(), input.values[i],
                                         input.unit.c_str()));
    }
  }
  return model;
}

int Problem::findComponent(const std::string& name) const {
  for (std::size_t i = 0; i < components.size(); ++i) {
    if (components[i].name == name) return static_cast<int>(i);
  }
  return -1;
}

int Problem::addProduct(const std::string& name, int kind) {
  if (name.empty()) throw ProblemError(TARNBLEND_ERROR_VALUE, "a product needs a name");
  for (const Product& p : products) {
    if (p.name == name) throw ProblemError(TARNBLEND_ERROR_DUPLICATE, "product '" + name + "' is given twice");
  }
  if (kind == TARNBLEND_ANY_PRODUCT) kind = recipe.product;
  Product product;
  product.name = name;
  product.kind = kind;
  product.model = makeModel(recipe, kind);
  products.push_back(std::move(product));
  changed();
  return static_cast<int>(products.size()) - 1;
}

void Problem::setGrade(int index, const tarnblend_grade* grade) {
  Product& product = this->product(index);
  const char* name = nullptr;
  const char* gradeClass = nullptr;
  int kind = 0;
  check(tarnblend_grade_info(grade, &name, &gradeClass, &kind));
  if (kind != TARNBLEND_ANY_PRODUCT && kind != product.kind) {
    throw ProblemError(TARNBLEND_ERROR_PRODUCT, std::string("grade ") + name + " is for " +
                                                    tarnblend_product_name(kind) + ", product '" + product.name +
                                                    "' is " + tarnblend_product_name(product.kind));
  }
  std::vector<Limit> kept;
  for (Limit& limit : product.limits) {
    if (!limit.fromGrade) kept.push_back(std::move(limit));
  }
  product.limits.clear();
  int count = 0;
  check(tarnblend_grade_limit_count(grade, &count));
  for (int k = 0; k < count; ++k) {
    const char* key = nullptr;
    const char* unit = nullptr;
    const char* source = nullptr;
    double minimum = kMissing, maximum = kMissing;
    check(tarnblend_grade_limit(grade, k, &key, &minimum, &maximum, &unit, &source));
    addLimit(index, key, minimum, maximum, unit ? unit : "", false, source ? source : "", true);
  }
  for (Limit& limit : kept) product.limits.push_back(std::move(limit));
  product.grade = name;
  product.gradeClass = gradeClass ? gradeClass : "";
  changed();
}

void Problem::addLimit(int index, const std::string& key, double minimum, double maximum, const std::string& unit,
                       bool target, const std::string& source, bool fromGrade) {
  Product& product = this->product(index);
  if (missing(minimum)) minimum = kMissing;
  if (missing(maximum)) maximum = kMissing;
  if (std::isinf(minimum) || std::isinf(maximum)) {
    throw ProblemError(TARNBLEND_ERROR_VALUE, "limit on " + key + ": bounds must be finite numbers");
  }
  if (minimum == kMissing && maximum == kMissing) {
    throw ProblemError(TARNBLEND_ERROR_VALUE, "limit on " + key + " has neither a minimum nor a maximum");
  }
  if (minimum != kMissing && maximum != kMissing && minimum > maximum) {
    throw ProblemError(TARNBLEND_ERROR_VALUE, "limit on " + key + ": minimum above maximum");
  }
  Limit limit;
  limit.minimum = minimum;
  limit.maximum = maximum;
  limit.target = target;
  limit.fromGrade = fromGrade;
  limit.source = source;
  check(tarnblend_model_property_find(product.model.get(), key.c_str(), &limit.property));
  const char* propertyKey = nullptr;
  const char* propertyUnit = nullptr;
  check(tarnblend_model_property_info(product.model.get(), limit.property, &propertyKey, nullptr, &propertyUnit,
                                      nullptr, nullptr, nullptr));
  limit.key = propertyKey;
  limit.propertyUnit = propertyUnit ? propertyUnit : "";
  limit.unit = unit.empty() ? limit.propertyUnit : unit;
  if (!unit.empty()) {
    int dimension = 0;
    check(tarnblend_unit_parse(unit.c_str(), nullptr, &dimension));
  }
  double low = convert(minimum, limit.unit, limit.propertyUnit);
  double high = convert(maximum, limit.unit, limit.propertyUnit);
  const double any = minimum != kMissing ? minimum : maximum;
  if (limit.unit != limit.propertyUnit && reverses(limit.unit, limit.propertyUnit, any)) std::swap(low, high);
  limit.low = low == kMissing ? -kUnlimited : low;
  limit.high = high == kMissing ? kUnlimited : high;
  product.limits.push_back(std::move(limit));
  changed();
}

namespace {

// A bound given as TARN_MISSING is open; anything else must be a finite
// number no smaller than `least` (NaN and infinity are refused: a
// spreadsheet's error value is not "no limit").
double bound(double value, double open, double least, const std::string& what) {
  if (value >= 1e29 && std::isfinite(value)) return open;
  if (!std::isfinite(value) || value < least) {
    throw ProblemError(TARNBLEND_ERROR_VALUE,
                       what + (least == 0.0 ? " must be a finite number, not negative" : " must be a finite number"));
  }
  return value;
}

void ordered(double minimum, double maximum, const std::string& what) {
  if (minimum > maximum) throw ProblemError(TARNBLEND_ERROR_VALUE, what + ": minimum above maximum");
}

}  // namespace

Product& Problem::product(int index) {
  if (index < 0 || index >= static_cast<int>(products.size())) {
    throw ProblemError(TARNBLEND_ERROR_ARGUMENT, "no product " + std::to_string(index) + " (the problem has " +
                                                     std::to_string(products.size()) + ")");
  }
  return products[static_cast<std::size_t>(index)];
}

Component& Problem::component(int index) {
  if (index < 0 || index >= static_cast<int>(components.size())) {
    throw ProblemError(TARNBLEND_ERROR_ARGUMENT, "no component " + std::to_string(index) + " (the problem has " +
                                                     std::to_string(components.size()) + ")");
  }
  return components[static_cast<std::size_t>(index)];
}

void Problem::setCost(int index, double cost) {
  Component& c = component(index);
  c.cost = bound(cost, kMissing, -kUnlimited, "the cost of " + c.name);
  changed();
}

// A volume range: TARN_MISSING bounds are 0 and unlimited.
static std::pair<double, double> volumeRange(double minimum, double maximum, const std::string& what) {
  const double low = bound(minimum, 0.0, 0.0, what), high = bound(maximum, kUnlimited, 0.0, what);
  ordered(low, high, what);
  return {low, high};
}

void Problem::setAvailability(int index, double minimum, double maximum) {
  Component& c = component(index);
  std::tie(c.minimum, c.maximum) = volumeRange(minimum, maximum, "the availability of " + c.name);
  changed();
}

void Problem::setDemand(int index, double minimum, double maximum) {
  Product& p = product(index);
  std::tie(p.demandMin, p.demandMax) = volumeRange(minimum, maximum, "the demand of " + p.name);
  changed();
}

void Problem::setPrice(int index, double price) {
  Product& p = product(index);
  p.price = bound(price, kMissing, -kUnlimited, "the price of " + p.name);
  changed();
}

void Problem::setShare(int index, int componentIndex, double minimumPercent, double maximumPercent) {
  Product& p = product(index);
  const Component& c = component(componentIndex);
  const std::string what = "the share of " + c.name + " in " + p.name;
  const double low = bound(minimumPercent, 0.0, 0.0, what), high = bound(maximumPercent, 100.0, 0.0, what);
  if (high > 100.0) throw ProblemError(TARNBLEND_ERROR_VALUE, what + " is a vol% of at most 100");
  ordered(low, high, what);
  for (Share& s : p.shares) {
    if (s.component == componentIndex) {
      s.minimum = low / 100.0;
      s.maximum = high / 100.0;
      changed();
      return;
    }
  }
  p.shares.push_back({componentIndex, low / 100.0, high / 100.0});
  changed();
}

void Problem::addRatio(int index, int numerator, int denominator, double minimum, double maximum) {
  Product& p = product(index);
  const std::string what = "the ratio of " + component(numerator).name + " to " + component(denominator).name;
  if (numerator == denominator) throw ProblemError(TARNBLEND_ERROR_VALUE, what + " is always 1");
  const double low = bound(minimum, -kUnlimited, 0.0, what), high = bound(maximum, kUnlimited, 0.0, what);
  if (!std::isfinite(low) && !std::isfinite(high)) {
    throw ProblemError(TARNBLEND_ERROR_VALUE, what + " has neither a minimum nor a maximum");
  }
  ordered(low, high, what);
  p.ratios.push_back({numerator, denominator, low, high});
  changed();
}

}  // namespace tarn::optimize
