#include "recipe_file.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unordered_map>

namespace tarnblend {
namespace {

using lab::NumberText;
using lab::Text;

std::string upper(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  return out;
}

std::string quoted(std::string_view text) { return "'" + lab::printable(text) + "'"; }

// The units a quantity column may be written in. Volumes and masses are
// blended in whatever unit the recipe uses, so only the spelling is checked.
struct QuantityUnit {
  const char* name;
  const char* aliases;  // '|'-separated, upper case
};
constexpr QuantityUnit kVolumeUnits[] = {
    {"bbl", "BBL|BBLS|BARREL|BARRELS"}, {"kbbl", "KBBL|MBBL"},  {"m3", "M3|M\xC2\xB3|CBM"},
    {"L", "L|LITRE|LITRES|LITER|LITERS"}, {"kL", "KL"}, {"gal", "GAL|USG|US GAL"},
    {"vol%", "VOL%|% V/V|%V/V|%VOL|%"}};
constexpr QuantityUnit kMassUnits[] = {{"t", "T|TONNE|TONNES|MT"}, {"kt", "KT"}, {"kg", "KG"},
                                       {"lb", "LB|LBS"},           {"wt%", "WT%|% M/M|%M/M|%WT|MASS%|%"}};

template <std::size_t N>
const char* findQuantityUnit(const QuantityUnit (&table)[N], const std::string& written) {
  const std::string wanted = upper(lab::trim(written));
  for (const QuantityUnit& unit : table) {
    std::string_view aliases = unit.aliases;
    while (!aliases.empty()) {
      const auto bar = aliases.find('|');
      if (aliases.substr(0, bar) == wanted) return unit.name;
      aliases = bar == std::string_view::npos ? std::string_view() : aliases.substr(bar + 1);
    }
  }
  return nullptr;
}

template <std::size_t N>
std::string quantityUnitList(const QuantityUnit (&table)[N]) {
  std::string list;
  for (const QuantityUnit& unit : table) list += (list.empty() ? "" : ", ") + std::string(unit.name);
  return list;
}

const char* dimensionName(int dimension) {
  switch (dimension) {
    case TARNBLEND_DIMENSIONLESS: return "a pure number";
    case TARNBLEND_TEMPERATURE: return "a temperature";
    case TARNBLEND_PRESSURE: return "a pressure";
    case TARNBLEND_VOLUME_PERCENT: return "a volume percentage";
    case TARNBLEND_MASS_FRACTION: return "a mass fraction";
    case TARNBLEND_DENSITY: return "a density";
    case TARNBLEND_VISCOSITY: return "a viscosity";
    case TARNBLEND_PERCENT_CHANGE: return "a percent change";
    default: return "another quantity";
  }
}

// The D86 points in the order a curve rises.
constexpr const char* kCurveKeys[] = {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"};

// The highest temperature a D86 distillation reads: the method's
// high-range thermometer stops at 400 C (ASTM D86), and fuels crack before.
// A point above it is a typing error or a file in degrees F read as C.
constexpr double kD86CeilingCelsius = 400.0;

// A header split into name and unit: "T50[°C]", "RVP (kPa)", "SPG".
struct Header {
  std::string name, unit;
  bool hasUnit = false;
};

Header splitHeader(std::string_view text) {
  text = lab::trim(text);
  Header h;
  char close = 0;
  if (!text.empty() && (text.back() == ']' || text.back() == ')')) close = text.back();
  const auto open = close == ']' ? text.rfind('[') : close == ')' ? text.rfind('(') : std::string_view::npos;
  if (open == std::string_view::npos || open == 0) {
    h.name = upper(text);
    return h;
  }
  h.name = upper(lab::trim(text.substr(0, open)));
  h.unit = std::string(lab::trim(text.substr(open + 1, text.size() - open - 2)));
  h.hasUnit = true;
  return h;
}

struct Cell {
  enum class Kind { Text, Number, Null } kind = Kind::Null;
  std::string text;
  double number = 0.0;
  std::size_t offset = 0;
  int column = -1;
};

class RecipeBuilder {
 public:
  RecipeBuilder(const Text& text, int product, std::string temperatureUnit, tarnblend_recipe& recipe)
      : text_(text), product_(product), temperatureUnit_(std::move(temperatureUnit)), recipe_(recipe) {
    recipe_.source = text.source();
  }

  // The product kind the file names ("# product: diesel", "product": "diesel").
  void fileProduct(std::string_view name, std::size_t offset) {
    if (model() != nullptr) text_.fail(offset, "the product kind must come before the components");
    int kind = 0;
    if (tarnblend_product_parse(std::string(lab::trim(name)).c_str(), &kind) != TARNBLEND_OK) {
      text_.fail(offset, "unknown product kind " + quoted(lab::trim(name)) + " (gasoline, diesel or jet)");
    }
    fileProduct_ = kind;
  }

  // A unit for a property written without one (the "units" of a JSON recipe).
  void defaultUnit(std::string_view key, std::string_view unit, std::size_t offset) {
    if (model() != nullptr) text_.fail(offset, "the units must come before the components");
    int k = 0;
    const char* implied = nullptr;
    if (tarnblend_input_find(std::string(key).c_str(), &k, &implied) != TARNBLEND_OK) {
      text_.fail(offset, "unknown property " + quoted(key) + " in the units (" + knownColumns() + ")");
    }
    defaultUnits_[k] = {std::string(unit), offset};
  }

  // Declares a column from its header text and returns its number.
  int column(std::string_view headerText, std::size_t offset) {
    const Header h = splitHeader(headerText);
    const auto seen = columnByHeader_.find(h.name + "[" + h.unit + "]");
    if (seen != columnByHeader_.end()) return seen->second;
    Column c;
    c.header = std::string(lab::trim(headerText));
    c.name = h.name;
    c.offset = offset;
    if (h.name == "NAME" || h.name == "COMPONENT") {
      c.role = Role::Name;
      if (h.hasUnit) text_.fail(offset, "the component names take no unit");
    } else if (h.name == "VOLUME" || h.name == "MASS") {
      c.role = Role::Quantity;
      const int basis = h.name == "VOLUME" ? TARNBLEND_BASIS_VOLUME : TARNBLEND_BASIS_MASS;
      if (quantityColumn_ >= 0) {
        const Column& other = columns_[static_cast<std::size_t>(quantityColumn_)];
        text_.fail(offset, other.name == h.name ? "column " + h.name + " appears twice"
                                                : "the recipe gives both VOLUME and MASS: choose one basis");
      }
      const char* unit = "";
      if (h.hasUnit && !h.unit.empty()) {
        unit = basis == TARNBLEND_BASIS_VOLUME ? findQuantityUnit(kVolumeUnits, h.unit)
                                               : findQuantityUnit(kMassUnits, h.unit);
        if (unit == nullptr) {
          text_.fail(offset, "unknown unit " + quoted(h.unit) + " of column " + h.name + " (" +
                                 (basis == TARNBLEND_BASIS_VOLUME ? "volume units: " + quantityUnitList(kVolumeUnits)
                                                                  : "mass units: " + quantityUnitList(kMassUnits)) +
                                 ", or none)");
        }
      }
      recipe_.basis = basis;
      recipe_.quantityUnit = unit;
      quantityColumn_ = static_cast<int>(columns_.size());
    } else {
      declareProperty(h, c);
    }
    if (c.role == Role::Name) {
      if (nameColumn_ >= 0) text_.fail(offset, "column " + h.name + " appears twice");
      nameColumn_ = static_cast<int>(columns_.size());
    }
    columns_.push_back(std::move(c));
    columnByHeader_[h.name + "[" + h.unit + "]"] = static_cast<int>(columns_.size()) - 1;
    seenInRow_.push_back(0);
    return static_cast<int>(columns_.size()) - 1;
  }

  // CSV: every component has every column, so the basis and names must be there.
  void requireNameAndQuantity(std::size_t offset) {
    if (nameColumn_ < 0) text_.fail(offset, "the recipe has no NAME column");
    if (quantityColumn_ < 0) text_.fail(offset, "the recipe has no VOLUME or MASS column (the blending basis)");
    model();
  }

  void beginRow(std::size_t offset) {
    ++rowStamp_;
    row_.clear();
    rowOffset_ = offset;
  }

  void cell(int column, Cell value) {
    const auto c = static_cast<std::size_t>(column);
    if (seenInRow_[c] == rowStamp_) {
      text_.fail(value.offset, "component gives " + columns_[c].name + " twice");
    }
    seenInRow_[c] = rowStamp_;
    value.column = column;
    row_.push_back(std::move(value));
  }

  void endRow() {
    tarnblend_model* m = model();
    const Cell* name = nullptr;
    const Cell* quantity = nullptr;
    for (const Cell& cell : row_) {
      const Role role = columns_[static_cast<std::size_t>(cell.column)].role;
      if (role == Role::Name) name = &cell;
      if (role == Role::Quantity) quantity = &cell;
    }
    if (name == nullptr) text_.fail(rowOffset_, "a component has no name");
    if (name->kind != Cell::Kind::Text) text_.fail(name->offset, "a component name must be text");
    const std::string componentName(lab::trim(name->text));
    if (componentName.empty()) text_.fail(name->offset, "a component has no name");
    const auto [first, added] = names_.emplace(componentName, name->offset);
    if (!added) {
      text_.fail(name->offset, "component " + quoted(componentName) + " appears twice (first at " +
                                   text_.where(first->second) + ")");
    }
    int index = 0;
    if (tarnblend_model_add_component(m, componentName.c_str(), &index) != TARNBLEND_OK) {
      text_.fail(name->offset, tarnblend_last_error());
    }
    const std::string who = " of " + quoted(componentName);

    // Properties first: a mass needs the density to become a volume.
    double curve[7];
    std::fill(std::begin(curve), std::end(curve), TARN_MISSING);
    for (const Cell& cell : row_) {
      const Column& c = columns_[static_cast<std::size_t>(cell.column)];
      if (c.role != Role::Property) continue;
      const double value = number(cell, c.key + who);
      if (value < TARN_MISSING && c.curvePoint >= 0) checkCurvePoint(c, value, cell, who, curve);
      if (tarnblend_model_set_property(m, index, c.key.c_str(), value, c.unit.c_str()) != TARNBLEND_OK) {
        text_.fail(cell.offset, c.key + who + ": " + tarnblend_last_error());
      }
    }
    if (quantity == nullptr) {
      text_.fail(rowOffset_, "component " + quoted(componentName) + " has no volume or mass");
    }
    const std::string label = columns_[static_cast<std::size_t>(quantity->column)].name + who;
    const double amount = number(*quantity, label);
    if (!(amount < TARN_MISSING)) text_.fail(quantity->offset, label + " is missing");
    if (amount < 0.0) text_.fail(quantity->offset, label + " is negative");
    int status = TARNBLEND_OK;
    if (recipe_.basis == TARNBLEND_BASIS_MASS && amount > 0.0) {
      double density = TARN_MISSING;
      tarnblend_model_get_property(m, index, "DEN", &density);
      if (!(density < TARN_MISSING)) {
        text_.fail(quantity->offset, "a recipe by MASS needs the density (DEN, SPG or API)" + who);
      }
      status = tarnblend_model_set_mass(m, index, amount);
    } else {
      status = tarnblend_model_set_volume(m, index, amount);
    }
    if (status != TARNBLEND_OK) text_.fail(quantity->offset, label + ": " + tarnblend_last_error());
    recipe_.quantities.push_back(amount);
  }

  void finish() {
    tarnblend_model* m = model();
    if (recipe_.quantities.empty()) text_.fail(text_.body().size(), "the recipe has no components");
    // Volume fractions need a total that is positive and finite: the sum is
    // taken after scaling by the largest volume so that huge volumes (1e308)
    // still blend.
    int count = 0;
    tarnblend_model_component_count(m, &count);
    double largest = 0.0;
    for (int i = 0; i < count; ++i) {
      double v = 0.0;
      tarnblend_model_volume(m, i, &v);
      largest = std::max(largest, v);
    }
    if (!(largest > 0.0)) text_.fail(text_.body().size(), "the components' quantities add up to nothing");
  }

 private:
  enum class Role { Name, Quantity, Property };
  struct Column {
    Role role = Role::Property;
    std::string header, name;  // as written; name upper case without unit
    std::string key, unit;     // recipe property key and canonical unit
    int dimension = TARNBLEND_DIMENSIONLESS;
    int curvePoint = -1;       // 0..6 for the D86 points
    std::size_t offset = 0;
  };

  tarnblend_model* model() {
    if (recipe_.model != nullptr) return recipe_.model;
    int product = TARNBLEND_GASOLINE;
    if (product_ != 0) {
      product = product_;
      recipe_.productFrom = TARNBLEND_PRODUCT_CALLER;
      if (fileProduct_ != 0 && fileProduct_ != product_) {
        recipe_.notes.push_back(std::string("the recipe says ") + tarnblend_product_name(fileProduct_) +
                                "; reported as " + tarnblend_product_name(product_) + ", as asked");
      }
    } else if (fileProduct_ != 0) {
      product = fileProduct_;
      recipe_.productFrom = TARNBLEND_PRODUCT_FILE;
    }
    if (tarnblend_model_create(product, &recipe_.model) != TARNBLEND_OK) {
      throw lab::FileError(std::string("cannot create a blend model: ") + tarnblend_last_error());
    }
    return recipe_.model;
  }

  std::string knownColumns() const {
    std::string list = "known: NAME, VOLUME or MASS";
    int count = 0;
    tarnblend_input_count(&count);
    for (int k = 0; k < count; ++k) {
      const char* key = "";
      tarnblend_input_info(k, &key, nullptr, nullptr, nullptr);
      list += std::string(", ") + key;
    }
    return list;
  }

  void declareProperty(const Header& h, Column& c) {
    int k = 0;
    const char* implied = "";
    if (tarnblend_input_find(h.name.c_str(), &k, &implied) != TARNBLEND_OK) {
      text_.fail(c.offset, "unknown column " + quoted(c.header) + " (" + knownColumns() + ")");
    }
    const char* key = "";
    const char* defaultUnit = "";
    tarnblend_input_info(k, &key, nullptr, &c.dimension, &defaultUnit);
    c.role = Role::Property;
    c.key = key;
    for (int p = 0; p < 7; ++p) {
      if (c.key == kCurveKeys[p]) c.curvePoint = p;
    }
    if (const auto other = columnByKey_.find(c.key); other != columnByKey_.end()) {
      const Column& first = columns_[static_cast<std::size_t>(other->second)];
      text_.fail(c.offset, "column " + quoted(c.header) + " gives " + c.key + " again (as " + quoted(first.header) +
                               " at " + text_.where(first.offset) + " does)");
    }
    columnByKey_[c.key] = static_cast<int>(columns_.size());

    const std::string accepted = c.dimension == TARNBLEND_DIMENSIONLESS
                                     ? "it takes no unit"
                                     : std::string("accepted: ") + tarnblend_unit_list(c.dimension);
    std::string written = h.unit;
    bool fromOption = false;
    if (!h.hasUnit || written.empty() || written == "-") {
      if (implied != nullptr && *implied != '\0') {
        written = implied;
      } else if (const auto u = defaultUnits_.find(k); u != defaultUnits_.end()) {
        written = u->second.first;
      } else if (c.dimension == TARNBLEND_TEMPERATURE && !temperatureUnit_.empty()) {
        written = temperatureUnit_;
        fromOption = true;
      } else if (c.dimension == TARNBLEND_TEMPERATURE) {
        text_.fail(c.offset, "column " + c.key + " has no unit: write " + c.key + "[F] or " + c.key +
                                 "[C], or give the unit of unlabelled temperatures (--units F|C)");
      } else if (c.dimension != TARNBLEND_DIMENSIONLESS) {
        text_.fail(c.offset, "column " + c.key + " has no unit: write it as " + c.key + "[" + defaultUnit + "] (" +
                                 accepted + ")");
      }
    } else if (implied != nullptr && *implied != '\0') {
      const char* canonicalImplied = "";
      const char* canonicalWritten = "";
      if (tarnblend_unit_parse(implied, &canonicalImplied, nullptr) != TARNBLEND_OK ||
          tarnblend_unit_parse(written.c_str(), &canonicalWritten, nullptr) != TARNBLEND_OK ||
          std::string(canonicalImplied) != canonicalWritten) {
        text_.fail(c.offset, "column " + quoted(c.header) + " is " + h.name + ", which is in " + implied +
                                 " (write DEN[unit] for a density in another unit)");
      }
    }
    const char* canonical = "";
    int dimension = TARNBLEND_DIMENSIONLESS;
    if (tarnblend_unit_parse(written.c_str(), &canonical, &dimension) != TARNBLEND_OK) {
      text_.fail(c.offset, "unknown unit " + quoted(written) + " of column " + c.key + " (" + accepted + ")");
    }
    if (dimension != c.dimension) {
      text_.fail(c.offset, "column " + c.key + " is in " + quoted(written) + ", " + dimensionName(dimension) + ", but " +
                               c.key + " is " + dimensionName(c.dimension) + " (" + accepted + ")");
    }
    c.unit = canonical;
    if (c.dimension == TARNBLEND_TEMPERATURE && !temperatureUnit_.empty() && !fromOption && h.hasUnit) {
      const char* option = "";
      tarnblend_unit_parse(temperatureUnit_.c_str(), &option, nullptr);
      if (c.unit != option) {
        text_.fail(c.offset, "column " + c.key + " is in " + c.unit + " but the unit of unlabelled temperatures is " +
                                 option + " (--units)");
      }
    }
    if (c.curvePoint >= 0) {
      if (curveColumn_ >= 0 && columns_[static_cast<std::size_t>(curveColumn_)].unit != c.unit) {
        const Column& other = columns_[static_cast<std::size_t>(curveColumn_)];
        text_.fail(c.offset, "mixed temperature units in the D86 curve: " + other.key + " in " + other.unit + ", " +
                                 c.key + " in " + c.unit);
      }
      if (curveColumn_ < 0) curveColumn_ = static_cast<int>(columns_.size());
    }
  }

  double number(const Cell& cell, const std::string& label) const {
    if (cell.kind == Cell::Kind::Null) return TARN_MISSING;
    if (cell.kind == Cell::Kind::Number) return cell.number;
    double value = 0.0;
    switch (lab::readNumber(cell.text, decimalComma_, value)) {
      case NumberText::Value: return value;
      case NumberText::Missing: return TARN_MISSING;
      case NumberText::TooLarge: text_.fail(cell.offset, label + " is too large: " + quoted(lab::trim(cell.text)));
      case NumberText::NotANumber: break;
    }
    text_.fail(cell.offset, label + " is not a number: " + quoted(lab::trim(cell.text)));
  }

  // A D86 curve rises and stays within what the method can read.
  void checkCurvePoint(const Column& c, double value, const Cell& cell, const std::string& who, double* curve) {
    double celsius = value;
    tarnblend_unit_convert(value, c.unit.c_str(), "C", &celsius);
    if (celsius > kD86CeilingCelsius) {
      std::string hint;
      if (c.unit == "C") hint = " (are these degrees F? write the unit in the header: " + c.key + "[F])";
      char shown[32];
      std::snprintf(shown, sizeof shown, "%g", value);
      text_.fail(cell.offset, c.key + who + " is " + shown + " " + c.unit +
                                  ", above the 400 C a D86 distillation reads" + hint);
    }
    curve[c.curvePoint] = value;
    for (int p = c.curvePoint - 1; p >= 0; --p) {
      if (!(curve[p] < TARN_MISSING)) continue;
      if (value < curve[p]) {
        text_.fail(cell.offset, c.key + who + " lies below " + kCurveKeys[p] + ": a D86 curve cannot fall");
      }
      break;
    }
    for (int p = c.curvePoint + 1; p < 7; ++p) {
      if (!(curve[p] < TARN_MISSING)) continue;
      if (value > curve[p]) {
        text_.fail(cell.offset, std::string(kCurveKeys[p]) + who + " lies below " + c.key +
                                    ": a D86 curve cannot fall");
      }
      break;
    }
  }

 public:
  bool decimalComma_ = false;

 private:
  const Text& text_;
  int product_;
  std::string temperatureUnit_;
  tarnblend_recipe& recipe_;
  int fileProduct_ = 0;
  std::unordered_map<int, std::pair<std::string, std::size_t>> defaultUnits_;
  std::vector<Column> columns_;
  std::unordered_map<std::string, int> columnByHeader_, columnByKey_;
  int nameColumn_ = -1, quantityColumn_ = -1, curveColumn_ = -1;
  std::vector<Cell> row_;
  std::vector<unsigned> seenInRow_;
  unsigned rowStamp_ = 0;
  std::size_t rowOffset_ = 0;
  std::unordered_map<std::string, std::size_t> names_;
};

// ---- CSV ---------------------------------------------------------------------

void readCsvRecipe(const Text& text, RecipeBuilder& builder) {
  lab::CsvReader reader(text);
  builder.decimalComma_ = reader.decimalComma();
  lab::Record record;
  if (!reader.next(record)) text.fail(text.body().size(), "the recipe is empty");
  // "# product: diesel" before the header names the product kind.
  for (const std::string& comment : reader.comments()) {
    const std::string head = upper(comment.substr(0, 8));
    if (head.rfind("PRODUCT", 0) != 0) continue;
    const auto mark = comment.find_first_of(":=");
    if (mark == std::string::npos || !lab::trim(comment.substr(7, mark - 7)).empty()) continue;
    builder.fileProduct(comment.substr(mark + 1), record.offset);
  }
  std::vector<int> columns;
  for (std::size_t i = 0; i < record.fields.size(); ++i) {
    if (lab::trim(record.fields[i]).empty()) {
      // Spreadsheets leave empty header cells after the last column.
      bool trailing = true;
      for (std::size_t j = i; j < record.fields.size(); ++j) trailing = trailing && lab::trim(record.fields[j]).empty();
      if (trailing) break;
      text.fail(record.offsets[i], "a column has no header");
    }
    const std::size_t before = columns.size();
    const int c = builder.column(record.fields[i], record.offsets[i]);
    if (std::find(columns.begin(), columns.end(), c) != columns.end()) {
      text.fail(record.offsets[i], "column " + quoted(lab::trim(record.fields[i])) + " appears twice");
    }
    columns.push_back(c);
    (void)before;
  }
  builder.requireNameAndQuantity(record.offset);
  while (reader.next(record)) {
    if (record.fields.size() < columns.size()) {
      text.fail(record.offset, "expected " + std::to_string(columns.size()) + " cells, found " +
                                   std::to_string(record.fields.size()));
    }
    for (std::size_t i = columns.size(); i < record.fields.size(); ++i) {
      if (!lab::trim(record.fields[i]).empty()) {
        text.fail(record.offsets[i], "a cell beyond the last column (" + std::to_string(columns.size()) +
                                         " columns): " + quoted(lab::trim(record.fields[i])));
      }
    }
    builder.beginRow(record.offset);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      Cell cell;
      cell.kind = Cell::Kind::Text;
      cell.text = std::move(record.fields[i]);
      cell.offset = record.offsets[i];
      builder.cell(columns[i], std::move(cell));
    }
    builder.endRow();
  }
}

// ---- JSON ----------------------------------------------------------------------

// {"product": "...", "units": {"KEY": "unit", ...}, "components": [{...}, ...]}
class JsonRecipe : public lab::JsonVisitor {
 public:
  JsonRecipe(const Text& text, RecipeBuilder& builder) : text_(text), builder_(builder) {}

  void startObject(std::size_t offset) override {
    if (depth_ == 0) {
      sawRoot_ = true;
    } else if (depth_ == 1 && section_ == Section::Units) {
    } else if (depth_ == 2 && section_ == Section::Components) {
      builder_.beginRow(offset);
    } else {
      unexpected(offset, "an object");
    }
    ++depth_;
  }
  void endObject() override {
    --depth_;
    if (depth_ == 2 && section_ == Section::Components) builder_.endRow();
    if (depth_ == 1) section_ = Section::None;
  }
  void startArray(std::size_t offset) override {
    if (depth_ == 1 && section_ == Section::Components) {
      ++depth_;
      return;
    }
    unexpected(offset, "a list");
  }
  void endArray() override {
    --depth_;
    section_ = Section::None;
  }
  void key(const std::string& name, std::size_t offset) override {
    keyOffset_ = offset;
    key_ = name;
    if (depth_ == 1) {
      const std::string k = upper(name);
      if (k == "PRODUCT") section_ = Section::Product;
      else if (k == "UNITS") section_ = Section::Units;
      else if (k == "COMPONENTS") section_ = Section::Components;
      else if (k == "NAME" || k == "DESCRIPTION" || k == "COMMENT" || k == "SOURCE") section_ = Section::Text;
      else text_.fail(offset, "unknown key " + quoted(name) + " (a recipe has product, units, components, name, comment)");
      if (section_ == Section::Components) {
        if (sawComponents_) text_.fail(offset, "the recipe gives its components twice");
        sawComponents_ = true;
      }
    } else if (depth_ == 3) {
      column_ = builder_.column(name, offset);
    }
  }
  void null(std::size_t offset) override { scalar(Cell{Cell::Kind::Null, "", 0.0, offset, -1}); }
  void boolean(bool, std::size_t offset) override { unexpected(offset, "true or false"); }
  void number(double value, std::size_t offset) override { scalar(Cell{Cell::Kind::Number, "", value, offset, -1}); }
  void string(const std::string& value, std::size_t offset) override {
    scalar(Cell{Cell::Kind::Text, value, 0.0, offset, -1});
  }

  void finish() const {
    if (!sawRoot_) text_.fail(0, "a recipe in JSON is an object with a \"components\" list");
    if (!sawComponents_) text_.fail(0, "the recipe has no \"components\" list");
  }

 private:
  enum class Section { None, Product, Units, Components, Text };

  void scalar(Cell cell) {
    if (depth_ == 1 && section_ == Section::Product && cell.kind == Cell::Kind::Text) {
      builder_.fileProduct(cell.text, cell.offset);
    } else if (depth_ == 1 && section_ == Section::Text && cell.kind != Cell::Kind::Number) {
    } else if (depth_ == 2 && section_ == Section::Units && cell.kind == Cell::Kind::Text) {
      builder_.defaultUnit(key_, cell.text, keyOffset_);
    } else if (depth_ == 3 && section_ == Section::Components) {
      builder_.cell(column_, std::move(cell));
    } else {
      unexpected(cell.offset, cell.kind == Cell::Kind::Null ? "null" : cell.kind == Cell::Kind::Text ? "text" : "a number");
    }
    if (depth_ == 1) section_ = Section::None;
  }

  [[noreturn]] void unexpected(std::size_t offset, const char* what) const {
    std::string expected;
    if (depth_ == 0) expected = "a recipe in JSON is an object with a \"components\" list";
    else if (section_ == Section::Product) expected = "the product is text: gasoline, diesel or jet";
    else if (section_ == Section::Units) expected = "units are an object of texts, {\"T50\": \"C\", ...}";
    else if (section_ == Section::Components && depth_ == 2) expected = "each component is an object";
    else if (section_ == Section::Components) expected = "a property value is a number, text or null";
    else expected = "unexpected here";
    text_.fail(offset, std::string(what) + " is not expected here: " + expected);
  }

  const Text& text_;
  RecipeBuilder& builder_;
  int depth_ = 0;
  Section section_ = Section::None;
  bool sawRoot_ = false, sawComponents_ = false;
  std::string key_;
  std::size_t keyOffset_ = 0;
  int column_ = -1;
};

}  // namespace

void readRecipe(const Text& text, int product, const std::string& temperatureUnit, tarnblend_recipe& recipe) {
  RecipeBuilder builder(text, product, temperatureUnit, recipe);
  if (lab::looksLikeJson(text)) {
    JsonRecipe json(text, builder);
    lab::scanJson(text, json);
    json.finish();
  } else {
    readCsvRecipe(text, builder);
  }
  builder.finish();
}

}  // namespace tarnblend
