#include "model.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <iterator>

#include "firewall.h"
#include "text/labfile.h"

namespace tarnblend {
namespace {

std::string upper(const std::string& text) {
  std::string out;
  for (char c : text) out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

void requireProduct(int product) {
  if (product != TARNBLEND_GASOLINE && product != TARNBLEND_DIESEL && product != TARNBLEND_JET) {
    throw Error(TARNBLEND_ERROR_ARGUMENT,
                "unknown product kind " + std::to_string(product) + " (1 gasoline, 2 diesel, 3 jet)");
  }
}

// The reason of a property left out of an evaluation limited to others.
constexpr const char* kNotAskedFor = "not evaluated: the model was asked for other properties only";

std::string withUnit(double value, const Unit& unit) {
  return shortNumber(value) + (unit.name[0] ? std::string(" ") + unit.name : "");
}

}  // namespace

std::string quoted(const std::string& name) { return "'" + lab::printable(name, std::string::npos) + "'"; }

std::string shortNumber(double value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.6g", value);
  return buffer;
}

Model::Model(int product) : product_(product) {
  requireProduct(product);
  setProduct(product);
}

void Model::setProduct(int product) {
  requireProduct(product);
  product_ = product;
  properties_.clear();
  for (int p = 0; p < kPropertyCount; ++p) {
    if (propertyInfo(p).products & productBit(product)) properties_.push_back(static_cast<Property>(p));
  }
  std::fill(std::begin(wanted_), std::end(wanted_), true);
  checks_.clear();
  changed();
}

void Model::setNeeded(const int* indexes, int count) {
  if (count < 0 || (count > 0 && indexes == nullptr)) {
    throw Error(TARNBLEND_ERROR_ARGUMENT, "a list of " + std::to_string(count) + " properties needs " +
                                              (count < 0 ? "a count of 0 or more" : "its indexes"));
  }
  bool wanted[kPropertyCount] = {};
  for (int k = 0; k < count; ++k) {
    if (indexes[k] < 0 || indexes[k] >= static_cast<int>(properties_.size())) {
      throw Error(TARNBLEND_ERROR_ARGUMENT, "property " + std::to_string(indexes[k]) + " is not in the model (it has " +
                                                std::to_string(properties_.size()) + ")");
    }
    wanted[static_cast<int>(properties_[static_cast<std::size_t>(indexes[k])])] = true;
  }
  if (count == 0) std::fill(std::begin(wanted), std::end(wanted), true);
  closeOverInputs(wanted);
  // The same list again keeps the last evaluation.
  if (std::equal(std::begin(wanted), std::end(wanted), std::begin(wanted_))) return;
  std::copy(std::begin(wanted), std::end(wanted), std::begin(wanted_));
  changed();
}

const Component& Model::component(int i) const {
  if (i < 0 || i >= componentCount()) {
    throw Error(TARNBLEND_ERROR_ARGUMENT, "component " + std::to_string(i) + " is not in the model (it has " +
                                              std::to_string(componentCount()) + ")");
  }
  return components_[static_cast<std::size_t>(i)];
}

int Model::addComponent(const std::string& name) {
  if (name.empty()) throw Error(TARNBLEND_ERROR_VALUE, "a component has no name");
  if (byName_.count(name)) throw Error(TARNBLEND_ERROR_DUPLICATE, "component " + quoted(name) + " appears twice");
  Component c;
  c.name = name;
  c.values.fill(kMissing);
  components_.push_back(c);
  byName_[name] = componentCount() - 1;
  changed();
  return componentCount() - 1;
}

const Unit& Model::recipeUnit(Input input) const {
  const Unit* unit = units_[static_cast<int>(input)];
  return unit ? *unit : *unitNamed(inputInfo(input).defaultUnit);
}

void Model::setRecipeUnit(Input input, const Unit& unit) {
  const InputInfo& info = inputInfo(input);
  if (unit.dimension != info.dimension) {
    throw Error(TARNBLEND_ERROR_UNIT,
                std::string(info.key) + " takes " + unitList(info.dimension) + ", not '" + unit.name + "'");
  }
  units_[static_cast<int>(input)] = &unit;
  changed();
}

const Unit& Model::propertyUnit(Property property) const {
  const PropertyInfo& info = propertyInfo(property);
  const auto reported = [this](Input input) -> const Unit& {
    if (const Unit* unit = units_[static_cast<int>(input)]) return *unit;
    // Temperatures only: sulfur in ppm says nothing of the unit of oxygen.
    for (const Unit* unit : units_) {
      if (unit != nullptr && unit->dimension == Dimension::Temperature &&
          inputInfo(input).dimension == Dimension::Temperature)
        return *unit;
    }
    return recipeUnit(input);
  };
  switch (info.unitSource) {
    case UnitSource::Input:
      return reported(info.input);
    case UnitSource::Curve:
      return reported(Input::T50);
    case UnitSource::CurveLabel:
    case UnitSource::Fixed:
      break;
  }
  return baseUnit(info.dimension);
}

std::string Model::propertyUnitLabel(Property property) const {
  if (propertyInfo(property).unitSource == UnitSource::CurveLabel) return recipeUnit(Input::T50).name;
  return propertyUnit(property).name;
}

void Model::setValue(int i, Input input, double value, const Unit* unit) {
  const Component& c = component(i);
  const InputInfo& info = inputInfo(input);
  const Unit& from = unit ? *unit : recipeUnit(input);
  if (from.dimension != info.dimension) {
    throw Error(TARNBLEND_ERROR_UNIT, std::string(info.key) + " of " + quoted(c.name) + " is given in '" + from.name +
                                          "', which is not " + unitList(info.dimension));
  }
  double base = kMissing;
  if (!std::isnan(value) && value != kMissing) {
    if (!std::isfinite(value)) {
      throw Error(TARNBLEND_ERROR_VALUE, std::string(info.key) + " of " + quoted(c.name) + " is not finite");
    }
    base = toBase(from, value);
    if (!(base >= info.low && base <= info.high)) {
      const Unit& shown = unit ? *unit : recipeUnit(input);
      throw Error(TARNBLEND_ERROR_VALUE, std::string(info.key) + " of " + quoted(c.name) + " (" +
                                             withUnit(value, from) + ") must lie between " +
                                             withUnit(fromBase(shown, info.low), shown) + " and " +
                                             withUnit(fromBase(shown, info.high), shown));
    }
  }
  if (!given_[static_cast<int>(input)] && unit && !units_[static_cast<int>(input)])
    units_[static_cast<int>(input)] = unit;
  given_[static_cast<int>(input)] = true;
  components_[static_cast<std::size_t>(i)].values[static_cast<int>(input)] = base;
  changed();
}

void Model::setVolume(int i, double volume) {
  const Component& c = component(i);
  if (!std::isfinite(volume)) throw Error(TARNBLEND_ERROR_VALUE, "volume of " + quoted(c.name) + " is not finite");
  if (volume < 0.0) throw Error(TARNBLEND_ERROR_VALUE, "volume of " + quoted(c.name) + " is negative");
  components_[static_cast<std::size_t>(i)].volume = volume;
  changed();
}

void Model::setVolumes(const double* volumes, int n) {
  requirePointer(volumes, "volumes");
  if (n != componentCount()) {
    throw Error(TARNBLEND_ERROR_ARGUMENT,
                "expected " + std::to_string(componentCount()) + " volumes, got " + std::to_string(n));
  }
  for (int i = 0; i < n; ++i) {
    if (!(volumes[i] >= 0.0) || !std::isfinite(volumes[i])) {
      throw Error(TARNBLEND_ERROR_VALUE, "volume of " + quoted(components_[static_cast<std::size_t>(i)].name) +
                                             (volumes[i] < 0.0 ? " is negative" : " is not finite"));
    }
  }
  for (int i = 0; i < n; ++i) components_[static_cast<std::size_t>(i)].volume = volumes[i];
  changed();
}

void Model::setMass(int i, double mass) {
  const Component& c = component(i);
  if (!std::isfinite(mass)) throw Error(TARNBLEND_ERROR_VALUE, "mass of " + quoted(c.name) + " is not finite");
  if (mass < 0.0) throw Error(TARNBLEND_ERROR_VALUE, "mass of " + quoted(c.name) + " is negative");
  const double density = c.values[static_cast<int>(Input::DEN)];
  if (isMissing(density)) {
    throw Error(TARNBLEND_ERROR_VALUE, "DEN of " + quoted(c.name) + " is missing: a mass needs it to find the volume");
  }
  setVolume(i, mass / (density / kWaterDensity));
}

void Model::setOption(const std::string& name, double value) {
  const std::string key = upper(name);
  if (key == "D86METHOD") {
    if (!(value >= 0.0 && value <= 5.0) || value != std::floor(value)) {
      throw Error(TARNBLEND_ERROR_VALUE,
                  "D86METHOD must be 0 to 5 (HC94, THREEA11, SIXORDER, ETHYLS, none, "
                  "ETHYLS with the exact inverse), not " +
                      shortNumber(value));
    }
    d86Method_ = static_cast<int>(value);
  } else if (key == "DPURE") {
    if (!std::isfinite(value)) throw Error(TARNBLEND_ERROR_VALUE, "DPURE must be a finite number of degrees F");
    dpure_ = value;
  } else {
    throw Error(TARNBLEND_ERROR_NOT_FOUND, "unknown option '" + name + "' (options: D86METHOD, DPURE)");
  }
  changed();
}

double Model::option(const std::string& name) const {
  const std::string key = upper(name);
  if (key == "D86METHOD") return d86Method_;
  if (key == "DPURE") return dpure_;
  throw Error(TARNBLEND_ERROR_NOT_FOUND, "unknown option '" + name + "' (options: D86METHOD, DPURE)");
}

int Model::findProperty(const std::string& key) const {
  const std::string wanted = upper(key);
  for (std::size_t k = 0; k < properties_.size(); ++k) {
    if (wanted == propertyInfo(properties_[k]).key) return static_cast<int>(k);
  }
  return -1;
}

void Model::evaluate(bool derivatives) {
  jacobian_.assign(static_cast<std::size_t>(kPropertyCount) * components_.size(), kMissing);
  notes_.clear();
  for (int p = 0; p < kPropertyCount; ++p) {
    Result& r = results_[static_cast<std::size_t>(p)];
    r.value = kMissing;
    r.status = TARNBLEND_NOT_COMPUTED;
    r.reason = wanted_[p] ? "" : kNotAskedFor;
    r.note.clear();
    r.cause.clear();
  }
  evaluated_ = true;
  hasDerivatives_ = derivatives;
  evaluateModel(*this, derivatives);
}

const std::string& Model::method(Property p) const {
  std::string& text = methods_[static_cast<int>(p)];
  text = methodText(*this, p);
  return text;
}

}  // namespace tarnblend
