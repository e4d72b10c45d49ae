#include "recipe.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "errors.h"
#include "numbers.h"

namespace tarncli {
namespace {

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

struct Header {
  std::string name;  // upper case
  std::string unit;  // as written, trimmed ("" when none)
};

Header splitHeader(const std::string& raw, const std::string& where) {
  const std::string text = csv::trim(raw);
  const auto open = text.find('[');
  if (open == std::string::npos) {
    if (text.find(']') != std::string::npos) throw InputError(where + "column '" + text + "' has a stray ']'");
    return {upper(text), ""};
  }
  if (text.back() != ']') throw InputError(where + "column '" + text + "' must end its unit with ']'");
  return {upper(csv::trim(text.substr(0, open))), csv::trim(text.substr(open + 1, text.size() - open - 2))};
}

struct Column {
  enum class Role { Name, Quantity, Property } role;
  std::string key;    // recipe property key (canonical) for a property column
  std::string unit;   // canonical unit ("" for none)
  int dimension = TARNBLEND_DIMENSIONLESS;
};

void check(int status, const std::string& where) {
  if (status != TARNBLEND_OK) throw InputError(where + tarnblend_last_error());
}

}  // namespace

Recipe readRecipe(std::istream& in, const std::string& source, std::optional<char> unitsOption, int product) {
  csv::Reader reader(in, source);
  const auto headerRecord = reader.next();
  if (!headerRecord) throw InputError(source + ": the recipe is empty");
  const std::string where = source + ":" + std::to_string(headerRecord->line) + ": ";

  Recipe recipe;
  recipe.source = source;
  tarnblend_model* created = nullptr;
  check(tarnblend_model_create(product, &created), where);
  recipe.model.reset(created);
  tarnblend_model* model = created;

  std::vector<Column> columns;
  std::vector<std::string> names;
  std::optional<int> nameColumn, quantityColumn;
  std::string temperatureUnit, temperatureHeader;
  bool oxygenates = false, totalOxygen = false, gravity = false, ethanol = false;

  for (const std::string& raw : headerRecord->fields) {
    const Header h = splitHeader(raw, where);
    if (std::find(names.begin(), names.end(), h.name) != names.end()) {
      throw InputError(where + "column " + h.name + " appears twice");
    }
    names.push_back(h.name);
    Column column{Column::Role::Property, "", "", TARNBLEND_DIMENSIONLESS};
    if (h.name == "NAME" || h.name == "COMPONENT") {
      column.role = Column::Role::Name;
      nameColumn = static_cast<int>(columns.size());
    } else if (h.name == "VOLUME" || h.name == "MASS") {
      if (quantityColumn) throw InputError(where + "the recipe gives both VOLUME and MASS: choose one basis");
      column.role = Column::Role::Quantity;
      recipe.basis = h.name == "VOLUME" ? Basis::Volume : Basis::Mass;
      recipe.quantityUnit = h.unit;
      quantityColumn = static_cast<int>(columns.size());
    } else {
      int k = 0;
      const char* implied = "";
      if (tarnblend_input_find(h.name.c_str(), &k, &implied) != TARNBLEND_OK) {
        throw InputError(where + "unknown column '" + csv::trim(raw) + "' (known: NAME, VOLUME or MASS, " +
                         tarnblend_last_error() + ")");
      }
      const char* key = "";
      const char* defaultUnit = "";
      tarnblend_input_info(k, &key, nullptr, &column.dimension, &defaultUnit);
      column.key = key;
      std::string unit = h.unit.empty() ? implied : h.unit;
      if (column.dimension == TARNBLEND_TEMPERATURE && unit.empty()) {
        if (!unitsOption) {
          throw InputError(where + "column " + h.name + " has no unit: write " + h.name + "[F] or " + h.name +
                           "[C], or give --units F|C");
        }
        unit = std::string(1, *unitsOption);
      }
      if (unit.empty() && column.dimension != TARNBLEND_DIMENSIONLESS) {
        const std::string hint = column.dimension == TARNBLEND_PRESSURE ? h.name + "[psi] or " + h.name + "[kPa]"
                                                                         : h.name + "[" + defaultUnit + "]";
        throw InputError(where + "column " + h.name + " has no unit: write " + hint);
      }
      const char* canonical = "";
      int dimension = -1;
      if (tarnblend_unit_parse(unit.c_str(), &canonical, &dimension) != TARNBLEND_OK || dimension != column.dimension) {
        throw InputError(where + "column " + h.name + " is in '" + unit + "', which is not " +
                         tarnblend_unit_list(column.dimension));
      }
      column.unit = canonical;
      if (column.dimension == TARNBLEND_TEMPERATURE) {
        if (unitsOption && column.unit != std::string(1, *unitsOption)) {
          throw InputError(where + "column " + h.name + " is in " + column.unit + " but --units says " +
                           std::string(1, *unitsOption));
        }
        if (!temperatureUnit.empty() && temperatureUnit != column.unit) {
          throw InputError(where + "mixed temperature units: " + temperatureHeader + " in " + temperatureUnit + ", " +
                           h.name + " in " + column.unit);
        }
        temperatureUnit = column.unit;
        temperatureHeader = h.name;
      }
      check(tarnblend_model_set_unit(model, column.key.c_str(), column.unit.c_str()), where);
      oxygenates = oxygenates || column.key == "EHO" || column.key == "MTO" || column.key == "ETO" ||
                   column.key == "TMO";
      totalOxygen = totalOxygen || column.key == "OXY";
      gravity = gravity || column.key == "DEN";
      ethanol = ethanol || column.key == "ETOH";
    }
    columns.push_back(column);
  }
  if (!nameColumn) throw InputError(where + "the recipe has no NAME column");
  if (!quantityColumn) throw InputError(where + "the recipe has no VOLUME or MASS column (the blending basis)");
  if (oxygenates && totalOxygen) {
    throw InputError(where + "the recipe gives OXY and oxygen by oxygenate (EHO, MTO, ETO, TMO): give one of them");
  }
  if (recipe.basis == Basis::Mass && !gravity) {
    throw InputError(where + "a recipe by MASS needs an SPG column to find the volumes");
  }
  // Temperatures the recipe has no column for (TVL20, T95 ...) follow its
  // temperature unit.
  if (temperatureUnit.empty() && unitsOption) temperatureUnit = std::string(1, *unitsOption);
  if (!temperatureUnit.empty()) check(tarnblend_model_set_unit(model, "T50", temperatureUnit.c_str()), where);

  while (const auto record = reader.next()) {
    const std::string at = source + ":" + std::to_string(record->line) + ": ";
    if (record->fields.size() != columns.size()) {
      throw InputError(at + "expected " + std::to_string(columns.size()) + " cells, found " +
                       std::to_string(record->fields.size()));
    }
    const std::string name = csv::trim(record->fields[static_cast<std::size_t>(*nameColumn)]);
    if (name.empty()) throw InputError(at + "a component has no name");
    int component = 0;
    check(tarnblend_model_add_component(model, name.c_str(), &component), at);
    double quantity = 0.0;
    double previous = -1e300;
    std::string previousKey;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const Column& column = columns[i];
      if (column.role == Column::Role::Name) continue;
      const std::string& cell = record->fields[i];
      const std::string label = (column.role == Column::Role::Quantity ? names[i] : column.key) + " of '" + name + "'";
      if (isMissingText(cell)) {
        if (column.role == Column::Role::Quantity) throw InputError(at + label + " is missing");
        check(tarnblend_model_set_property(model, component, column.key.c_str(), kMissing, column.unit.c_str()), at);
        continue;
      }
      const auto number = parseNumber(cell);
      if (!number) throw InputError(at + label + " is not a number: '" + csv::trim(cell) + "'");
      if (column.role == Column::Role::Quantity) {
        if (*number < 0.0) throw InputError(at + label + " is negative");
        quantity = *number;
        continue;
      }
      check(tarnblend_model_set_property(model, component, column.key.c_str(), *number, column.unit.c_str()), at);
    }
    // A D86 curve rises: a falling point is a typing error, not a guess to make.
    for (const char* key : {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"}) {
      double t = kMissing;
      tarnblend_model_get_property(model, component, key, &t);
      if (isMissing(t)) continue;
      if (t < previous) {
        throw InputError(at + key + " of '" + name + "' lies below " + previousKey + ": a D86 curve cannot fall");
      }
      previous = t;
      previousKey = key;
    }
    if (!ethanol) {
      double eho = kMissing;
      tarnblend_model_get_property(model, component, "EHO", &eho);
      if (!isMissing(eho) && eho > 0.0) {
        throw InputError(at + "'" + name + "' carries oxygen from ethanol (EHO) but the recipe has no ETOH[vol%] column");
      }
    }
    const int status = recipe.basis == Basis::Volume ? tarnblend_model_set_volume(model, component, quantity)
                       : quantity > 0.0                ? tarnblend_model_set_mass(model, component, quantity)
                                                       : tarnblend_model_set_volume(model, component, 0.0);
    if (status != TARNBLEND_OK) {
      const std::string message = tarnblend_last_error();
      throw InputError(at + (message.rfind("DEN of", 0) == 0 ? "SPG of '" + name + "' is missing: a recipe by MASS needs it"
                                                            : message));
    }
    recipe.quantities.push_back(quantity);
  }
  if (recipe.quantities.empty()) throw InputError(source + ": the recipe has no components");
  double total = 0.0;
  for (double q : recipe.quantities) total += q;
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
