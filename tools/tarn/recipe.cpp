#include "recipe.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "text/csv.h"
#include "errors.h"
#include "numbers.h"

namespace tarncli {
namespace {

using P = Property;
using D = Dimension;

constexpr PropertyInfo kProperties[kPropertyCount] = {
    {P::RVP, "RVP", D::Pressure, "Reid vapour pressure"},
    {P::IBP, "IBP", D::Temperature, "D86 initial boiling point"},
    {P::T10, "T10", D::Temperature, "D86 10 % evaporated"},
    {P::T30, "T30", D::Temperature, "D86 30 % evaporated"},
    {P::T50, "T50", D::Temperature, "D86 50 % evaporated"},
    {P::T70, "T70", D::Temperature, "D86 70 % evaporated"},
    {P::T90, "T90", D::Temperature, "D86 90 % evaporated"},
    {P::FBP, "FBP", D::Temperature, "D86 final boiling point"},
    {P::RON, "RON", D::None, "research octane number"},
    {P::MON, "MON", D::None, "motor octane number"},
    {P::ARO, "ARO", D::VolumePercent, "aromatics"},
    {P::OLF, "OLF", D::VolumePercent, "olefins"},
    {P::BNZ, "BNZ", D::VolumePercent, "benzene"},
    {P::SUL, "SUL", D::PartsPerMillion, "sulfur"},
    {P::OXY, "OXY", D::MassPercent, "oxygen"},
    {P::EHO, "EHO", D::MassPercent, "oxygen from ethanol"},
    {P::MTO, "MTO", D::MassPercent, "oxygen from MTBE"},
    {P::ETO, "ETO", D::MassPercent, "oxygen from ETBE"},
    {P::TMO, "TMO", D::MassPercent, "oxygen from TAME"},
    {P::ETOH, "ETOH", D::VolumePercent, "ethanol"},
    {P::SPG, "SPG", D::None, "specific gravity 60/60 F"},
};

constexpr P kOxygenates[] = {P::EHO, P::MTO, P::ETO, P::TMO};

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

struct Header {
  std::string name;  // upper case
  std::string unit;  // as written, trimmed ("" when none)
};

Header splitHeader(const std::string& raw, int line) {
  const std::string text = csv::trim(raw);
  const auto open = text.find('[');
  if (open == std::string::npos) {
    if (text.find(']') != std::string::npos) throw InputError("line " + std::to_string(line) + ": column '" + text + "' has a stray ']'");
    return {upper(text), ""};
  }
  if (text.back() != ']') {
    throw InputError("line " + std::to_string(line) + ": column '" + text + "' must end its unit with ']'");
  }
  return {upper(csv::trim(text.substr(0, open))), csv::trim(text.substr(open + 1, text.size() - open - 2))};
}

// Canonical unit of a dimension from what the header says, or "" when the
// text is not a unit of that dimension.
std::string canonicalUnit(Dimension dimension, const std::string& written) {
  std::string u = upper(written);
  u.erase(std::remove(u.begin(), u.end(), ' '), u.end());
  switch (dimension) {
    case D::Temperature:
      if (u == "F" || u == "DEGF" || u == "\xC2\xB0" "F") return "F";
      if (u == "C" || u == "DEGC" || u == "\xC2\xB0" "C") return "C";
      return "";
    case D::Pressure:
      if (u == "PSI" || u == "PSIA") return "psi";
      if (u == "KPA") return "kPa";
      return "";
    case D::VolumePercent: return u == "VOL%" || u == "%VOL" || u == "V%" ? "vol%" : "";
    case D::MassPercent: return u == "WT%" || u == "MASS%" || u == "%WT" || u == "M%" ? "wt%" : "";
    case D::PartsPerMillion: return u == "PPM" || u == "MG/KG" || u == "PPMW" || u == "WPPM" ? "ppm" : "";
    case D::None: return u.empty() ? "-" : "";
  }
  return "";
}

const char* expectedUnits(Dimension dimension) {
  switch (dimension) {
    case D::Temperature: return "F or C";
    case D::Pressure: return "psi or kPa";
    case D::VolumePercent: return "vol%";
    case D::MassPercent: return "wt%";
    case D::PartsPerMillion: return "ppm";
    case D::None: return "no unit";
  }
  return "";
}

struct Column {
  enum class Role { Name, Quantity, Property } role;
  Property property = P::RVP;
  std::string unit;  // canonical
  std::string header;
};

// Range a value must lie in, with its description, or none.
bool outOfRange(Property p, double value, std::string& rule) {
  switch (info(p).dimension) {
    case D::VolumePercent:
    case D::MassPercent:
      rule = "between 0 and 100";
      return value < 0.0 || value > 100.0;
    case D::PartsPerMillion:
      rule = "between 0 and 1000000";
      return value < 0.0 || value > 1e6;
    case D::Pressure:
      rule = "at least 0";
      return value < 0.0;
    case D::Temperature:
      rule = "above absolute zero";
      return value < -459.67;
    case D::None:
      if (p == P::SPG) {
        rule = "a specific gravity between 0.3 and 1.5";
        return value < 0.3 || value > 1.5;
      }
      rule = "an octane number between 0 and 150";
      return value < 0.0 || value > 150.0;
  }
  return false;
}

}  // namespace

const PropertyInfo& info(Property property) { return kProperties[static_cast<std::size_t>(property)]; }

double fahrenheitFromCelsius(double celsius) { return celsius * 1.8 + 32.0; }
double celsiusFromFahrenheit(double fahrenheit) { return (fahrenheit - 32.0) / 1.8; }
double psiFromKilopascal(double kilopascal) { return kilopascal / 6.894757; }
double kilopascalFromPsi(double psi) { return psi * 6.894757; }

std::vector<double> Recipe::volumes() const {
  std::vector<double> out;
  for (const Component& c : components) {
    out.push_back(basis == Basis::Volume ? c.quantity : c.quantity / c[P::SPG]);
  }
  return out;
}

Recipe readRecipe(std::istream& in, const std::string& source, std::optional<char> unitsOption) {
  csv::Reader reader(in, source);
  const auto headerRecord = reader.next();
  if (!headerRecord) throw InputError(source + ": the recipe is empty");
  const int headerLine = headerRecord->line;
  auto where = [&](int line) { return source + ":" + std::to_string(line) + ": "; };

  Recipe recipe;
  recipe.source = source;
  std::vector<Column> columns;
  std::optional<int> nameColumn, quantityColumn;
  std::string temperatureUnit, temperatureHeader;

  for (const std::string& raw : headerRecord->fields) {
    const Header h = splitHeader(raw, headerLine);
    Column column;
    column.header = csv::trim(raw);
    for (const Column& seen : columns) {
      if (splitHeader(seen.header, headerLine).name == h.name) {
        throw InputError(where(headerLine) + "column " + h.name + " appears twice");
      }
    }
    if (h.name == "NAME" || h.name == "COMPONENT") {
      column.role = Column::Role::Name;
      nameColumn = static_cast<int>(columns.size());
    } else if (h.name == "VOLUME" || h.name == "MASS") {
      if (quantityColumn) {
        throw InputError(where(headerLine) + "the recipe gives both VOLUME and MASS: choose one basis");
      }
      column.role = Column::Role::Quantity;
      recipe.basis = h.name == "VOLUME" ? Basis::Volume : Basis::Mass;
      recipe.quantityUnit = h.unit;
      quantityColumn = static_cast<int>(columns.size());
    } else {
      const PropertyInfo* found = nullptr;
      for (const PropertyInfo& p : kProperties) {
        if (h.name == p.column) found = &p;
      }
      if (found == nullptr) {
        std::string known = "NAME, VOLUME or MASS";
        for (const PropertyInfo& p : kProperties) known += std::string(", ") + p.column;
        throw InputError(where(headerLine) + "unknown column '" + column.header + "' (known: " + known + ")");
      }
      column.role = Column::Role::Property;
      column.property = found->property;
      std::string unit = h.unit;
      if (found->dimension == D::Temperature && unit.empty()) {
        if (!unitsOption) {
          throw InputError(where(headerLine) + "column " + h.name + " has no unit: write " + h.name + "[F] or " +
                           h.name + "[C], or give --units F|C");
        }
        unit = std::string(1, *unitsOption);
      }
      column.unit = canonicalUnit(found->dimension, unit);
      if (column.unit.empty()) {
        if (unit.empty()) {
          const std::string hint = found->dimension == D::Pressure
                                       ? h.name + "[psi] or " + h.name + "[kPa]"
                                       : h.name + "[" + canonicalUnit(found->dimension, expectedUnits(found->dimension)) + "]";
          throw InputError(where(headerLine) + "column " + h.name + " has no unit: write " + hint);
        }
        throw InputError(where(headerLine) + "column " + h.name + " is in '" + unit + "', which is not " +
                         expectedUnits(found->dimension));
      }
      if (found->dimension == D::Temperature) {
        if (unitsOption && column.unit[0] != *unitsOption) {
          throw InputError(where(headerLine) + "column " + h.name + " is in " + column.unit + " but --units says " +
                           std::string(1, *unitsOption));
        }
        if (!temperatureUnit.empty() && temperatureUnit != column.unit) {
          throw InputError(where(headerLine) + "mixed temperature units: " + temperatureHeader + " in " +
                           temperatureUnit + ", " + h.name + " in " + column.unit);
        }
        temperatureUnit = column.unit;
        temperatureHeader = h.name;
      }
      if (found->dimension == D::Pressure) recipe.pressureUnit = column.unit;
      recipe.given[static_cast<std::size_t>(found->property)] = true;
    }
    columns.push_back(column);
  }
  if (!nameColumn) throw InputError(where(headerLine) + "the recipe has no NAME column");
  if (!quantityColumn) {
    throw InputError(where(headerLine) + "the recipe has no VOLUME or MASS column (the blending basis)");
  }
  if (!temperatureUnit.empty()) recipe.temperatureUnit = temperatureUnit[0];
  else if (unitsOption) recipe.temperatureUnit = *unitsOption;

  bool anyOxygenate = false;
  for (P p : kOxygenates) anyOxygenate = anyOxygenate || recipe.has(p);
  if (anyOxygenate && recipe.has(P::OXY)) {
    throw InputError(where(headerLine) + "the recipe gives OXY and oxygen by oxygenate (EHO, MTO, ETO, TMO): give one of them");
  }
  if (recipe.basis == Basis::Mass && !recipe.has(P::SPG)) {
    throw InputError(where(headerLine) + "a recipe by MASS needs an SPG column to find the volumes");
  }

  while (const auto record = reader.next()) {
    const int line = record->line;
    if (record->fields.size() != columns.size()) {
      throw InputError(where(line) + "expected " + std::to_string(columns.size()) + " cells, found " +
                       std::to_string(record->fields.size()));
    }
    Component component;
    component.values.fill(kMissing);
    component.name = csv::trim(record->fields[static_cast<std::size_t>(*nameColumn)]);
    if (component.name.empty()) throw InputError(where(line) + "a component has no name");
    for (const Component& other : recipe.components) {
      if (other.name == component.name) throw InputError(where(line) + "component '" + component.name + "' appears twice");
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const Column& column = columns[i];
      if (column.role == Column::Role::Name) continue;
      const std::string& cell = record->fields[i];
      const std::string label = (column.role == Column::Role::Quantity ? splitHeader(column.header, line).name
                                                                       : std::string(info(column.property).column)) +
                                " of '" + component.name + "'";
      if (isMissingText(cell)) {
        if (column.role == Column::Role::Quantity) throw InputError(where(line) + label + " is missing");
        continue;
      }
      const auto number = parseNumber(cell);
      if (!number) throw InputError(where(line) + label + " is not a number: '" + csv::trim(cell) + "'");
      double value = *number;
      if (column.role == Column::Role::Quantity) {
        if (value < 0.0) throw InputError(where(line) + label + " is negative");
        component.quantity = value;
        continue;
      }
      if (column.unit == "C") value = fahrenheitFromCelsius(value);
      if (column.unit == "kPa") value = psiFromKilopascal(value);
      std::string rule;
      if (outOfRange(column.property, value, rule)) {
        throw InputError(where(line) + label + " (" + csv::trim(cell) + ") must be " + rule);
      }
      component.values[static_cast<std::size_t>(column.property)] = value;
    }
    // A D86 curve rises: a falling point is a typing error, not a guess to make.
    double previous = -kMissing;
    const char* previousName = nullptr;
    for (P p : kCurve) {
      const double t = component[p];
      if (isMissing(t)) continue;
      if (t < previous) {
        throw InputError(where(line) + info(p).column + " of '" + component.name + "' lies below " + previousName +
                         ": a D86 curve cannot fall");
      }
      previous = t;
      previousName = info(p).column;
    }
    if (recipe.basis == Basis::Mass && !(component[P::SPG] < kMissing) && component.quantity > 0.0) {
      throw InputError(where(line) + "SPG of '" + component.name + "' is missing: a recipe by MASS needs it");
    }
    if (!recipe.has(P::ETOH) && component[P::EHO] > 0.0 && !isMissing(component[P::EHO])) {
      throw InputError(where(line) + "'" + component.name +
                       "' carries oxygen from ethanol (EHO) but the recipe has no ETOH[vol%] column");
    }
    recipe.components.push_back(component);
  }
  if (recipe.components.empty()) throw InputError(source + ": the recipe has no components");
  double total = 0.0;
  for (const Component& c : recipe.components) total += c.quantity;
  if (!(total > 0.0)) throw InputError(source + ": the components' quantities add up to nothing");
  return recipe;
}

const char* sampleRecipe() {
  return R"(# A summer regular gasoline (E10) of six refinery components, volumes in barrels.
# Ethanol carries its blending RVP at about 10 vol% and its own octane numbers.
NAME,VOLUME[bbl],RVP[psi],IBP[F],T10[F],T30[F],T50[F],T70[F],T90[F],FBP[F],RON,MON,ARO[vol%],OLF[vol%],BNZ[vol%],SUL[ppm],EHO[wt%],ETOH[vol%],SPG
Butane,300,51.6,30,30.5,31,31.5,32,32.5,33,93.8,89.6,0,0.5,0,5,0,0,0.584
Light straight run,1500,11.5,88,108,122,138,154,176,205,70.5,68.2,3.5,1,1.2,8,0,0,0.665
Reformate,3000,4.2,112,162,214,246,277,322,392,97.1,87.2,64,1.2,2.6,1,0,0,0.815
FCC naphtha,3300,6.5,95,126,162,201,259,338,408,91.5,80.3,28,24,0.9,25,0,0,0.745
Alkylate,1900,4.8,102,163,201,221,236,279,384,95.6,93.2,0.3,0.4,0,6,0,0,0.695
Ethanol,1100,18,172,172.5,173,173.3,173.6,174,175,108.6,89.7,0,0,0,5,34.7,100,0.794
)";
}

}  // namespace tarncli
