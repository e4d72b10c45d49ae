#include "recipe_file.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <memory>
#include <unordered_map>

#include "firewall.h"

namespace tarnblend {
namespace {

using lab::NumberText;
using lab::Text;

std::string upper(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  return out;
}

std::string shown(std::string_view text) { return "'" + lab::printable(text) + "'"; }

// The units a quantity column may be written in. Volumes and masses are
// blended in whatever unit the recipe uses, so only the spelling is checked.
struct QuantityUnit {
  const char* name;
  const char* aliases;  // '|'-separated, upper case
};
constexpr QuantityUnit kVolumeUnits[] = {
    {"bbl", "BBL|BBLS|BARREL|BARRELS"},   {"kbbl", "KBBL|MBBL"}, {"m3", "M3|M\xC2\xB3|CBM"},
    {"L", "L|LITRE|LITRES|LITER|LITERS"}, {"kL", "KL"},          {"gal", "GAL|USG|US GAL"},
    {"vol%", "VOL%|% V/V|%V/V|%VOL|%"}};
constexpr QuantityUnit kMassUnits[] = {
    {"t", "T|TONNE|TONNES|MT"}, {"kt", "KT"}, {"kg", "KG"}, {"lb", "LB|LBS"}, {"wt%", "WT%|% M/M|%M/M|%WT|MASS%|%"}};

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

const char* dimensionName(Dimension dimension) {
  switch (dimension) {
    case Dimension::None:
      return "a pure number";
    case Dimension::Temperature:
      return "a temperature";
    case Dimension::Pressure:
      return "a pressure";
    case Dimension::VolumePercent:
      return "a volume percentage";
    case Dimension::MassFraction:
      return "a mass fraction";
    case Dimension::Density:
      return "a density";
    case Dimension::Viscosity:
      return "a viscosity";
    case Dimension::PercentChange:
      return "a percent change";
  }
  return "another quantity";
}

// The D86 points in the order a curve rises.
constexpr const char* kCurveKeys[] = {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"};

// The highest temperature a D86 distillation reads: the method's
// high-range thermometer stops at 400 C (ASTM D86), and fuels crack before.
// A point above it is a typing error or a file in degrees F read as C.
constexpr double kD86CeilingCelsius = 400.0;

// The highest end point of a finished gasoline, ASTM D4814 (all volatility
// classes; reference grades.md, GFAQ-VP). A gasoline component read above it
// in a unit the file does not write (--units) is most likely in the other
// unit, so the reader asks for the unit instead of guessing.
constexpr double kGasolineEndPointCelsius = 225.0;

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
      : text_(text), product_(product), recipe_(recipe) {
    recipe_.source = text.source();
    if (!temperatureUnit.empty()) {
      temperatureUnit_ = findUnit(temperatureUnit);
      if (temperatureUnit_ == nullptr || temperatureUnit_->dimension != Dimension::Temperature) {
        throw Error(TARNBLEND_ERROR_UNIT, "unknown temperature unit '" + lab::printable(temperatureUnit) + "' (" +
                                              unitList(Dimension::Temperature) + ")");
      }
    }
  }

  bool decimalComma = false;

  // The product kind the file names ("# product: diesel", "product": "diesel").
  void fileProduct(std::string_view name, std::size_t offset) {
    if (recipe_.model != nullptr) text_.fail(offset, "the product kind must come before the components");
    int kind = 0;
    if (tarnblend_product_parse(std::string(lab::trim(name)).c_str(), &kind) != TARNBLEND_OK) {
      text_.fail(offset, "unknown product kind " + shown(lab::trim(name)) + " (gasoline, diesel or jet)");
    }
    fileProduct_ = kind;
  }

  // The unit of a property written without one (the "units" of a JSON recipe).
  void defaultUnit(std::string_view key, std::string_view unit, std::size_t offset) {
    if (recipe_.model != nullptr) text_.fail(offset, "the units must come before the components");
    Input input;
    std::string implied;
    if (!findInput(std::string(key), input, implied)) {
      text_.fail(offset, "unknown property " + shown(key) + " in the units (" + knownColumns() + ")");
    }
    defaultUnits_[static_cast<int>(input)] = std::string(unit);
  }

  // Declares a column from its header text ("T50[°C]", "RVP (kPa)", "SPG")
  // and returns its number; the same header again gives the same number.
  int column(std::string_view headerText, std::size_t offset) {
    const Header h = splitHeader(headerText);
    const std::string id = h.name + "[" + h.unit + "]";
    if (const auto seen = columnByHeader_.find(id); seen != columnByHeader_.end()) return seen->second;
    Column c;
    c.header = lab::printable(lab::trim(headerText));
    c.name = h.name;
    c.offset = offset;
    const int number = static_cast<int>(columns_.size());
    if (h.name == "NAME" || h.name == "COMPONENT") {
      c.role = Role::Name;
      if (nameColumn_ >= 0) text_.fail(offset, "the recipe names its components twice (NAME, COMPONENT)");
      if (h.hasUnit) text_.fail(offset, "the component names take no unit");
      nameColumn_ = number;
    } else if (h.name == "VOLUME" || h.name == "MASS") {
      declareQuantity(h, c);
      quantityColumn_ = number;
    } else {
      declareProperty(h, c);
    }
    columns_.push_back(std::move(c));
    columnByHeader_[id] = number;
    seenInRow_.push_back(0);
    return number;
  }

  // A CSV recipe gives every component every column: the names and the
  // basis must be among them.
  void requireNameAndQuantity(std::size_t offset) {
    if (nameColumn_ < 0) text_.fail(offset, "the recipe has no NAME column");
    if (quantityColumn_ < 0) text_.fail(offset, "the recipe has no VOLUME or MASS column (the blending basis)");
  }

  void beginRow(std::size_t offset) {
    ++rowStamp_;
    row_.clear();
    rowOffset_ = offset;
  }

  void cell(int column, Cell value) {
    const auto c = static_cast<std::size_t>(column);
    if (seenInRow_[c] == rowStamp_) text_.fail(value.offset, "the component gives " + columns_[c].name + " twice");
    seenInRow_[c] = rowStamp_;
    value.column = column;
    row_.push_back(std::move(value));
  }

  void endRow() {
    Model& m = model();
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
      text_.fail(name->offset,
                 "component " + shown(componentName) + " appears twice (first at " + text_.where(first->second) + ")");
    }
    const int index = m.addComponent(componentName);
    const std::string who = " of " + shown(componentName);

    // Properties first: a mass needs the density to become a volume.
    double curve[7];
    std::fill(std::begin(curve), std::end(curve), kMissing);
    for (const Cell& cell : row_) {
      const Column& c = columns_[static_cast<std::size_t>(cell.column)];
      if (c.role != Role::Property) continue;
      const double value = number(cell, c.key + who);
      if (!isMissing(value) && c.curvePoint >= 0) checkCurvePoint(c, value, cell.offset, who, curve);
      if (c.input == Input::EHO && value > 0.0 && !isMissing(value) && ethanolOxygen_.second == 0) {
        ethanolOxygen_ = {componentName, cell.offset + 1};
      }
      try {
        m.setValue(index, c.input, value, c.unit);
      } catch (const Error& e) {
        text_.fail(cell.offset, e.what());
      }
    }
    if (quantity == nullptr) text_.fail(rowOffset_, "component " + shown(componentName) + " has no volume or mass");
    const std::string label = columns_[static_cast<std::size_t>(quantity->column)].name + who;
    bool absent = false;
    const double amount = number(*quantity, label, &absent);
    if (absent) text_.fail(quantity->offset, label + " is missing");
    if (amount < 0.0) text_.fail(quantity->offset, label + " is negative");
    if (recipe_.basis == TARNBLEND_BASIS_MASS && amount > 0.0) {
      if (isMissing(m.value(index, Input::DEN))) {
        text_.fail(quantity->offset, "a recipe by MASS needs the density (DEN, SPG or API)" + who);
      }
      m.setMass(index, amount);
    } else {
      m.setVolume(index, amount);
    }
    recipe_.quantities.push_back(amount);
  }

  void finish() {
    Model& m = model();
    if (recipe_.quantities.empty()) text_.fail(text_.body().size(), "the recipe has no components");
    bool any = false;
    for (int i = 0; i < m.componentCount(); ++i) any = any || m.component(i).volume > 0.0;
    if (!any) text_.fail(text_.body().size(), "the components' quantities add up to nothing");
    // Oxygen from ethanol needs the ethanol volume too (the emission models
    // and the drivability index take both).
    if (ethanolOxygen_.second != 0 && !m.given(Input::ETOH)) {
      text_.fail(ethanolOxygen_.second - 1, shown(ethanolOxygen_.first) +
                                                " carries oxygen from ethanol (EHO) but the recipe has no ETOH column "
                                                "(ethanol, vol%)");
    }
    // Temperatures the recipe has no column for (T95, TVL20, DI ...) follow
    // its D86 points, or its other temperatures, or the unit asked for.
    const Unit* curveUnit = temperatureUnit_;
    if (curveColumn_ >= 0)
      curveUnit = columns_[static_cast<std::size_t>(curveColumn_)].unit;
    else if (temperatureColumn_ >= 0)
      curveUnit = columns_[static_cast<std::size_t>(temperatureColumn_)].unit;
    if (curveUnit != nullptr && !m.given(Input::T50)) m.setRecipeUnit(Input::T50, *curveUnit);
  }

 private:
  enum class Role { Name, Quantity, Property };
  struct Column {
    Role role = Role::Property;
    std::string header, name;  // as written (printable); name upper case without its unit
    std::string key;           // recipe property key
    Input input = Input::RVP;
    const Unit* unit = nullptr;
    int curvePoint = -1;       // 0..6 for the D86 points
    bool unitAssumed = false;  // the unit of unlabelled temperatures, not the file's
    std::size_t offset = 0;
  };

  Model& model() {
    if (recipe_.model != nullptr) return recipe_.model->model;
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
    recipe_.model = new tarnblend_model(product);
    product_ = product;
    return recipe_.model->model;
  }

  static std::string knownColumns() { return "known: NAME, VOLUME or MASS, " + inputKeyList(); }

  void declareQuantity(const Header& h, Column& c) {
    c.role = Role::Quantity;
    const bool volume = h.name == "VOLUME";
    if (quantityColumn_ >= 0) {
      const Column& other = columns_[static_cast<std::size_t>(quantityColumn_)];
      text_.fail(c.offset, other.name == h.name
                               ? shown(c.header) + " gives " + h.name + " again (as " + shown(other.header) + " at " +
                                     text_.where(other.offset) + " does): write it once, in one unit"
                               : "the recipe gives both VOLUME and MASS: choose one basis");
    }
    const char* unit = "";
    if (h.hasUnit && !h.unit.empty()) {
      unit = volume ? findQuantityUnit(kVolumeUnits, h.unit) : findQuantityUnit(kMassUnits, h.unit);
      if (unit == nullptr) {
        text_.fail(c.offset, "unknown unit " + shown(h.unit) + " of column " + h.name + " (" +
                                 (volume ? "volume units: " + quantityUnitList(kVolumeUnits)
                                         : "mass units: " + quantityUnitList(kMassUnits)) +
                                 "; or none)");
      }
    }
    recipe_.basis = volume ? TARNBLEND_BASIS_VOLUME : TARNBLEND_BASIS_MASS;
    recipe_.quantityUnit = unit;
  }

  void declareProperty(const Header& h, Column& c) {
    std::string implied;
    if (!findInput(h.name, c.input, implied)) {
      text_.fail(c.offset, "unknown column " + shown(c.header) + " (" + knownColumns() + ")");
    }
    const InputInfo& info = inputInfo(c.input);
    c.role = Role::Property;
    c.key = info.key;
    for (int p = 0; p < 7; ++p) {
      if (c.input == kCurvePoints[p]) c.curvePoint = p;
    }
    if (const auto other = columnByKey_.find(c.key); other != columnByKey_.end()) {
      const Column& first = columns_[static_cast<std::size_t>(other->second)];
      text_.fail(c.offset, shown(c.header) + " gives " + c.key + " again (as " + shown(first.header) + " at " +
                               text_.where(first.offset) + " does): write it once, in one unit");
    }
    columnByKey_[c.key] = static_cast<int>(columns_.size());

    const std::string accepted =
        info.dimension == Dimension::None ? "it takes no unit" : std::string("accepted: ") + unitList(info.dimension);
    std::string written = h.unit;
    bool fromOption = false;
    if (!h.hasUnit || written.empty() || written == "-") {
      const auto fileUnit = defaultUnits_.find(static_cast<int>(c.input));
      if (!implied.empty()) {
        written = implied;
      } else if (fileUnit != defaultUnits_.end()) {
        written = fileUnit->second;
      } else if (info.dimension == Dimension::Temperature && temperatureUnit_ != nullptr) {
        written = temperatureUnit_->name;
        fromOption = true;
      } else if (info.dimension == Dimension::Temperature) {
        text_.fail(c.offset, "column " + c.key + " has no unit: write " + c.key + "[F] or " + c.key +
                                 "[C], or give the unit of unlabelled temperatures (--units F|C)");
      } else if (info.dimension != Dimension::None) {
        text_.fail(c.offset, "column " + c.key + " has no unit: write it as " + c.key + "[" + info.defaultUnit + "] (" +
                                 accepted + ")");
      }
    } else if (!implied.empty() && findUnit(written) != unitNamed(implied)) {
      text_.fail(c.offset, "column " + shown(c.header) + " is " + h.name + ", which is in " + implied +
                               " (write DEN[unit] for a density in another unit)");
    }
    c.unit = findUnit(written);
    c.unitAssumed = fromOption;
    if (c.unit == nullptr) {
      text_.fail(c.offset, "unknown unit " + shown(written) + " of column " + c.key + " (" + accepted + ")");
    }
    if (c.unit->dimension != info.dimension) {
      text_.fail(c.offset, "column " + c.key + " is in " + shown(written) + ", " + dimensionName(c.unit->dimension) +
                               ", but " + c.key + " is " + dimensionName(info.dimension) + " (" + accepted + ")");
    }
    if (info.dimension == Dimension::Temperature && temperatureUnit_ != nullptr && !fromOption &&
        c.unit != temperatureUnit_) {
      text_.fail(c.offset, "column " + c.key + " is in " + c.unit->name +
                               " but the unit of unlabelled temperatures is " + temperatureUnit_->name + " (--units)");
    }
    if (info.dimension == Dimension::Temperature && temperatureColumn_ < 0) {
      temperatureColumn_ = static_cast<int>(columns_.size());
    }
    const bool oxygenate = std::find(std::begin(kOxygenates), std::end(kOxygenates), c.input) != std::end(kOxygenates);
    if ((c.input == Input::OXY && oxygenates_) || (oxygenate && totalOxygen_)) {
      text_.fail(c.offset, "the recipe gives OXY and oxygen by oxygenate (EHO, MTO, ETO, TMO): give one of them");
    }
    oxygenates_ = oxygenates_ || oxygenate;
    totalOxygen_ = totalOxygen_ || c.input == Input::OXY;
    if (c.curvePoint >= 0) {
      if (curveColumn_ >= 0 && columns_[static_cast<std::size_t>(curveColumn_)].unit != c.unit) {
        const Column& other = columns_[static_cast<std::size_t>(curveColumn_)];
        text_.fail(c.offset, std::string("mixed temperature units in the D86 curve: ") + other.key + " in " +
                                 other.unit->name + ", " + c.key + " in " + c.unit->name);
      }
      if (curveColumn_ < 0) curveColumn_ = static_cast<int>(columns_.size());
    }
  }

  // The number in a cell, kMissing for an empty or NA cell (and *absent set).
  double number(const Cell& cell, const std::string& label, bool* absent = nullptr) const {
    if (absent) *absent = cell.kind == Cell::Kind::Null;
    if (cell.kind == Cell::Kind::Null) return kMissing;
    if (cell.kind == Cell::Kind::Number) return cell.number;
    double value = 0.0;
    switch (lab::readNumber(cell.text, decimalComma, value)) {
      case NumberText::Value:
        return value;
      case NumberText::Missing:
        if (absent) *absent = true;
        return kMissing;
      case NumberText::TooLarge:
        text_.fail(cell.offset, label + " is too large: " + shown(lab::trim(cell.text)));
      case NumberText::NotANumber:
        break;
    }
    text_.fail(cell.offset, label + " is not a number: " + shown(lab::trim(cell.text)));
  }

  // A D86 curve rises and stays within what the method reads.
  void checkCurvePoint(const Column& c, double value, std::size_t offset, const std::string& who, double* curve) const {
    if (value != value) return;  // NaN: missing
    const double celsius = fromBase(*unitNamed("C"), toBase(*c.unit, value));
    if (c.unitAssumed && product_ == TARNBLEND_GASOLINE && celsius > kGasolineEndPointCelsius) {
      text_.fail(offset, c.key + who + " would be " + shortNumber(value) + " " + c.unit->name +
                             ", above the 225 C end point of a gasoline: the file does not say its temperature unit, "
                             "so write it in the header (" +
                             c.key + "[F] or " + c.key + "[C])");
    }
    if (celsius > kD86CeilingCelsius) {
      const std::string hint =
          c.unit == unitNamed("C") ? " (are these degrees F? write the unit in the header: " + c.key + "[F])" : "";
      text_.fail(offset, c.key + who + " is " + shortNumber(value) + " " + c.unit->name +
                             ", above the 400 C a D86 distillation reads" + hint);
    }
    curve[c.curvePoint] = value;
    for (int p = c.curvePoint - 1; p >= 0; --p) {
      if (isMissing(curve[p])) continue;
      if (value < curve[p])
        text_.fail(offset, c.key + who + " lies below " + kCurveKeys[p] + ": a D86 curve cannot fall");
      break;
    }
    for (int p = c.curvePoint + 1; p < 7; ++p) {
      if (isMissing(curve[p])) continue;
      if (value > curve[p]) {
        text_.fail(offset, std::string(kCurveKeys[p]) + who + " lies below " + c.key + ": a D86 curve cannot fall");
      }
      break;
    }
  }

  const Text& text_;
  int product_;
  const Unit* temperatureUnit_ = nullptr;
  tarnblend_recipe& recipe_;
  int fileProduct_ = 0;
  std::unordered_map<int, std::string> defaultUnits_;
  std::vector<Column> columns_;
  std::unordered_map<std::string, int> columnByHeader_, columnByKey_;
  int nameColumn_ = -1, quantityColumn_ = -1, curveColumn_ = -1, temperatureColumn_ = -1;
  bool oxygenates_ = false, totalOxygen_ = false;
  std::pair<std::string, std::size_t> ethanolOxygen_{"", 0};  // first component with EHO > 0, its cell offset + 1
  std::vector<Cell> row_;
  std::vector<unsigned> seenInRow_;
  unsigned rowStamp_ = 0;
  std::size_t rowOffset_ = 0;
  std::unordered_map<std::string, std::size_t> names_;
};

// ---- CSV ---------------------------------------------------------------------

void readCsvRecipe(const Text& text, RecipeBuilder& builder) {
  lab::CsvReader reader(text);
  builder.decimalComma = reader.decimalComma();
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
      text.fail(record.offsets[i], "column " + shown(lab::trim(record.fields[i])) + " appears twice");
    }
    columns.push_back(c);
    (void)before;
  }
  builder.requireNameAndQuantity(record.offset);
  while (reader.next(record)) {
    if (record.fields.size() < columns.size()) {
      text.fail(record.offset,
                "expected " + std::to_string(columns.size()) + " cells, found " + std::to_string(record.fields.size()));
    }
    for (std::size_t i = columns.size(); i < record.fields.size(); ++i) {
      if (!lab::trim(record.fields[i]).empty()) {
        text.fail(record.offsets[i], "a cell beyond the last column (" + std::to_string(columns.size()) +
                                         " columns): " + shown(lab::trim(record.fields[i])));
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
      if (k == "PRODUCT")
        section_ = Section::Product;
      else if (k == "UNITS")
        section_ = Section::Units;
      else if (k == "COMPONENTS")
        section_ = Section::Components;
      else if (k == "NAME" || k == "DESCRIPTION" || k == "COMMENT" || k == "SOURCE")
        section_ = Section::Text;
      else
        text_.fail(offset, "unknown key " + shown(name) + " (a recipe has product, units, components, name, comment)");
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
      unexpected(cell.offset, cell.kind == Cell::Kind::Null   ? "null"
                              : cell.kind == Cell::Kind::Text ? "text"
                                                              : "a number");
    }
    if (depth_ == 1) section_ = Section::None;
  }

  [[noreturn]] void unexpected(std::size_t offset, const char* what) const {
    std::string expected;
    if (depth_ == 0)
      expected = "a recipe in JSON is an object with a \"components\" list";
    else if (section_ == Section::Product)
      expected = "the product is text: gasoline, diesel or jet";
    else if (section_ == Section::Units)
      expected = "units are an object of texts, {\"T50\": \"C\", ...}";
    else if (section_ == Section::Components && depth_ == 2)
      expected = "each component is an object";
    else if (section_ == Section::Components)
      expected = "a property value is a number, text or null";
    else
      expected = "unexpected here";
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

// ---- The C interface ------------------------------------------------------------

namespace {

const tarnblend_recipe& recipeOf(const tarnblend_recipe* recipe) {
  requirePointer(recipe, "recipe");
  return *recipe;
}

// Reads text into a new recipe for *out; a fault of the file becomes
// TARNBLEND_ERROR_FILE with its one-line message.
void readInto(std::string bytes, const std::string& source, int product, const char* temperatureUnit,
              tarnblend_recipe** out) {
  requirePointer(out, "recipe pointer");
  *out = nullptr;
  if (product < 0 || product > TARNBLEND_JET) {
    throw Error(TARNBLEND_ERROR_ARGUMENT, "unknown product kind " + std::to_string(product) +
                                              " (0 the recipe's own, 1 gasoline, 2 diesel, 3 jet)");
  }
  auto recipe = std::make_unique<tarnblend_recipe>();
  try {
    const lab::Text text(std::move(bytes), source);
    readRecipe(text, product, temperatureUnit ? temperatureUnit : "", *recipe);
  } catch (const lab::FileError& e) {
    throw Error(TARNBLEND_ERROR_FILE, e.what());
  }
  *out = recipe.release();
}

}  // namespace
}  // namespace tarnblend

using namespace tarnblend;

extern "C" {

TARNBLEND_API int TARN_CALL tarnblend_recipe_read(const char* path, int product, const char* temperatureUnit,
                                                  tarnblend_recipe** recipe) {
  return guarded([&] {
    requirePointer(path, "path");
    std::string bytes;
    try {
      bytes = lab::readFile(path);
    } catch (const lab::FileError& e) {
      throw Error(TARNBLEND_ERROR_FILE, e.what());
    }
    readInto(std::move(bytes), path, product, temperatureUnit, recipe);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_recipe_parse(const char* text, size_t length, const char* source, int product,
                                                   const char* temperatureUnit, tarnblend_recipe** recipe) {
  return guarded([&] {
    if (length > 0) requirePointer(text, "text");
    readInto(std::string(text ? text : "", length), source ? source : "recipe", product, temperatureUnit, recipe);
  });
}

TARNBLEND_API void TARN_CALL tarnblend_recipe_free(tarnblend_recipe* recipe) { delete recipe; }

TARNBLEND_API int TARN_CALL tarnblend_recipe_model(tarnblend_recipe* recipe, tarnblend_model** model) {
  return guarded([&] {
    requirePointer(recipe, "recipe");
    requirePointer(model, "model pointer");
    *model = recipe->model;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_recipe_info(const tarnblend_recipe* recipe, const char** source, int* basis,
                                                  const char** quantityUnit, int* productFrom) {
  return guarded([&] {
    const tarnblend_recipe& r = recipeOf(recipe);
    if (source) *source = r.source.c_str();
    if (basis) *basis = r.basis;
    if (quantityUnit) *quantityUnit = r.quantityUnit.c_str();
    if (productFrom) *productFrom = r.productFrom;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_recipe_quantity(const tarnblend_recipe* recipe, int component, double* quantity) {
  return guarded([&] {
    const tarnblend_recipe& r = recipeOf(recipe);
    requirePointer(quantity, "quantity");
    if (component < 0 || component >= static_cast<int>(r.quantities.size())) {
      throw Error(TARNBLEND_ERROR_ARGUMENT, "component " + std::to_string(component) +
                                                " is not in the recipe (it has " + std::to_string(r.quantities.size()) +
                                                ")");
    }
    *quantity = r.quantities[static_cast<std::size_t>(component)];
  });
}

TARNBLEND_API int TARN_CALL tarnblend_recipe_note_count(const tarnblend_recipe* recipe, int* count) {
  return guarded([&] {
    requirePointer(count, "count");
    *count = static_cast<int>(recipeOf(recipe).notes.size());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_recipe_note(const tarnblend_recipe* recipe, int k, const char** note) {
  return guarded([&] {
    const tarnblend_recipe& r = recipeOf(recipe);
    requirePointer(note, "note");
    if (k < 0 || k >= static_cast<int>(r.notes.size())) {
      throw Error(TARNBLEND_ERROR_ARGUMENT,
                  "note " + std::to_string(k) + " is not in the list (it has " + std::to_string(r.notes.size()) + ")");
    }
    *note = r.notes[static_cast<std::size_t>(k)].c_str();
  });
}

}  // extern "C"
