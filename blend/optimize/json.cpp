// The problem file: JSON naming the components (cost, availability, and
// properties when no recipe file gives them) and the products (grade,
// limits, targets, demand, price, shares, ratios). Every fault is reported
// with the file and the place in it: line and column for malformed JSON,
// the path of the entry (products[1].limits[0].property) otherwise.
#include <nlohmann/json.hpp>
#include <set>

#include "problem.h"
#include "text/labfile.h"

namespace tarn::optimize {
namespace {

using Json = nlohmann::json;

struct GradeDeleter {
  void operator()(tarnblend_grade* grade) const { tarnblend_grade_free(grade); }
};

struct RecipeDeleter {
  void operator()(tarnblend_recipe* recipe) const { tarnblend_recipe_free(recipe); }
};

class Reader {
 public:
  Reader(std::string origin, std::string folder) : origin_(std::move(origin)), folder_(std::move(folder)) {}

  // Names, keys and the messages of the files a problem names come from the
  // user: control characters in them are shown as \xNN, so the message
  // stays one line.
  [[noreturn]] void fail(const std::string& where, const std::string& message) const {
    throw ProblemError(
        TARNBLEND_ERROR_FILE,
        tarnblend::lab::printable(origin_ + ": " + (where.empty() ? "" : where + ": ") + message, std::string::npos));
  }

  // Refuses keys the entry does not know (a misspelt "demnad" would
  // otherwise be ignored silently).
  void keys(const Json& object, const std::string& where, std::initializer_list<const char*> known) const {
    if (!object.is_object()) fail(where, "expected an object {...}");
    for (const auto& item : object.items()) {
      bool found = false;
      for (const char* k : known) found = found || item.key() == k;
      if (found) continue;
      std::string list;
      for (const char* k : known) list += std::string(list.empty() ? "" : ", ") + k;
      fail(where, "unknown key '" + item.key() + "' (known: " + list + ")");
    }
  }

  double number(const Json& object, const char* key, const std::string& where, double absent = kMissing) const {
    const auto it = object.find(key);
    if (it == object.end() || it->is_null()) return absent;
    if (!it->is_number()) fail(where + "." + key, "expected a number");
    return it->get<double>();
  }

  std::string text(const Json& object, const char* key, const std::string& where, bool required = false) const {
    const auto it = object.find(key);
    if (it == object.end() || it->is_null()) {
      if (required) fail(where, std::string("missing \"") + key + "\"");
      return "";
    }
    if (!it->is_string()) fail(where + "." + key, "expected a text");
    return it->get<std::string>();
  }

  const Json& list(const Json& object, const char* key, const std::string& where) const {
    static const Json empty = Json::array();
    const auto it = object.find(key);
    if (it == object.end() || it->is_null()) return empty;
    if (!it->is_array()) fail(where + "." + key, "expected a list [...]");
    return *it;
  }

  // Runs a step that calls the library, placing its message at `where`.
  template <typename Step>
  void at(const std::string& where, Step step) const {
    try {
      step();
    } catch (const ProblemError& e) {
      fail(where, e.what());
    }
  }

  int component(const Problem& problem, const Json& entry, const char* key, const std::string& where) const {
    const std::string name = text(entry, key, where, true);
    const int i = problem.findComponent(name);
    if (i < 0) fail(where + "." + key, "no component named '" + name + "'");
    return i;
  }

  std::string path(const std::string& file) const {
    if (file.empty() || file[0] == '/' || folder_.empty()) return file;
    return folder_ + "/" + file;
  }

 private:
  std::string origin_, folder_;
};

// Where a parse error sits in the text, as line:column.
std::string position(const std::string& text, std::size_t byte) {
  std::size_t line = 1, column = 1;
  for (std::size_t k = 0; k < byte && k < text.size(); ++k) {
    if (text[k] == '\n') {
      ++line;
      column = 1;
    } else if ((static_cast<unsigned char>(text[k]) & 0xC0) != 0x80) {
      ++column;
    }
  }
  return std::to_string(line) + ":" + std::to_string(column > 1 ? column - 1 : 1);
}

// Reads the text again to find where the parser stopped and why: a number
// too large for a double is reported without its place.
struct ParseStop : nlohmann::json_sax<Json> {
  std::size_t byte = 0;
  std::string reason;
  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override { return true; }
  bool key(string_t&) override { return true; }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { return true; }
  bool end_array() override { return true; }
  bool parse_error(std::size_t at, const std::string&, const nlohmann::detail::exception& e) override {
    byte = at;
    reason = e.what();
    // "[json.exception.parse_error.101] parse error at line 1, column 9: syntax error ..." -> "syntax error ..."
    const auto colon = reason.find(": ", reason.find("parse error"));
    const auto bracket = reason.find("] ");
    if (colon != std::string::npos) {
      reason = reason.substr(colon + 2);
    } else if (bracket != std::string::npos) {
      reason = reason.substr(bracket + 2);
    }
    return false;
  }
};

int objectiveNamed(const std::string& name) {
  if (name == "min cost" || name == "cost") return TARNBLEND_MIN_COST;
  if (name == "max margin" || name == "margin") return TARNBLEND_MAX_MARGIN;
  if (name == "least change" || name == "change") return TARNBLEND_LEAST_CHANGE;
  if (name == "auto") return TARNBLEND_OBJECTIVE_AUTO;
  return -1;
}

// The components' properties: the recipe's, with the file's own added or
// changed. The file may add components the recipe does not have.
ModelHandle componentsModel(const Reader& in, const Json& root, const tarnblend_model* recipe,
                            std::string& volumeUnit) {
  int kind = TARNBLEND_GASOLINE;
  ModelHandle model;
  // The recipe file the problem names, read here unless the caller gave one.
  std::unique_ptr<tarnblend_recipe, RecipeDeleter> file;
  const std::string recipePath = in.text(root, "recipe", "");
  if (!recipe && !recipePath.empty()) {
    in.at("recipe", [&] {
      tarnblend_recipe* raw = nullptr;
      check(tarnblend_recipe_read(in.path(recipePath).c_str(), 0, nullptr, &raw));
      file.reset(raw);
      tarnblend_model* read = nullptr;
      check(tarnblend_recipe_model(raw, &read));
      recipe = read;
      int basis = TARNBLEND_BASIS_VOLUME;
      const char* unit = "";
      check(tarnblend_recipe_info(raw, nullptr, &basis, &unit, nullptr));
      if (basis == TARNBLEND_BASIS_VOLUME && unit) volumeUnit = unit;
    });
  }
  if (recipe) {
    const Problem copy(recipe);
    model = makeModel(copy.recipe, copy.recipe.product);
  } else {
    const std::string product = in.text(root, "product", "");
    if (!product.empty()) in.at("product", [&] { check(tarnblend_product_parse(product.c_str(), &kind)); });
    tarnblend_model* raw = nullptr;
    check(tarnblend_model_create(kind, &raw));
    model.reset(raw);
  }
  const auto units = root.find("units");
  if (units != root.end() && !units->is_object()) in.fail("units", "expected an object {\"KEY\": \"unit\"}");
  if (units != root.end()) {
    for (const auto& item : units->items()) {
      if (!item.value().is_string()) in.fail("units." + item.key(), "expected a unit text");
      in.at("units." + item.key(), [&] {
        check(tarnblend_model_set_unit(model.get(), item.key().c_str(), item.value().get<std::string>().c_str()));
      });
    }
  }
  const Json& components = in.list(root, "components", "");
  for (std::size_t n = 0; n < components.size(); ++n) {
    const std::string where = "components[" + std::to_string(n) + "]";
    const Json& entry = components[n];
    in.keys(entry, where, {"name", "cost", "min", "max", "fixed", "volume", "properties"});
    const std::string name = in.text(entry, "name", where, true);
    int count = 0, index = -1;
    check(tarnblend_model_component_count(model.get(), &count));
    for (int i = 0; i < count && index < 0; ++i) {
      const char* existing = nullptr;
      check(tarnblend_model_component_name(model.get(), i, &existing));
      if (name == existing) index = i;
    }
    const auto properties = entry.find("properties");
    if (index < 0) {
      if (properties == entry.end()) {
        in.fail(where, "component '" + name + "' is not in the recipe and has no \"properties\"");
      }
      in.at(where + ".name", [&] { check(tarnblend_model_add_component(model.get(), name.c_str(), &index)); });
    }
    const double volume = in.number(entry, "volume", where);
    if (!missing(volume)) {
      in.at(where + ".volume", [&] { check(tarnblend_model_set_volume(model.get(), index, volume)); });
    }
    if (properties == entry.end()) continue;
    if (!properties->is_object()) in.fail(where + ".properties", "expected an object {\"KEY\": value}");
    for (const auto& item : properties->items()) {
      const std::string at = where + ".properties." + item.key();
      double value = kMissing;
      if (item.value().is_number()) {
        value = item.value().get<double>();
      } else if (!item.value().is_null()) {
        in.fail(at, "expected a number (or null when missing)");
      }
      in.at(at, [&] { check(tarnblend_model_set_property(model.get(), index, item.key().c_str(), value, nullptr)); });
    }
  }
  return model;
}

void readComponents(const Reader& in, const Json& root, Problem& problem) {
  const Json& components = in.list(root, "components", "");
  std::set<std::string> seen;
  for (std::size_t n = 0; n < components.size(); ++n) {
    const std::string where = "components[" + std::to_string(n) + "]";
    const Json& entry = components[n];
    const int i = in.component(problem, entry, "name", where);
    if (!seen.insert(problem.components[i].name).second) {
      in.fail(where, "component '" + problem.components[i].name + "' is listed twice");
    }
    const double fixed = in.number(entry, "fixed", where);
    const double minimum = in.number(entry, "min", where), maximum = in.number(entry, "max", where);
    if (!missing(fixed) && (!missing(minimum) || !missing(maximum))) {
      in.fail(where, "give either \"fixed\" or \"min\"/\"max\", not both");
    }
    const double cost = in.number(entry, "cost", where);
    in.at(where + ".cost", [&] { problem.setCost(i, cost); });
    const double low = missing(fixed) ? minimum : fixed, high = missing(fixed) ? maximum : fixed;
    in.at(where, [&] { problem.setAvailability(i, low, high); });
  }
}

void readLimits(const Reader& in, const Json& entry, const std::string& where, Problem& problem, int product,
                bool targets) {
  const char* key = targets ? "targets" : "limits";
  const Json& items = in.list(entry, key, where);
  for (std::size_t n = 0; n < items.size(); ++n) {
    const std::string at = where + "." + key + "[" + std::to_string(n) + "]";
    const Json& item = items[n];
    if (targets) {
      in.keys(item, at, {"property", "value", "unit"});
    } else {
      in.keys(item, at, {"property", "min", "max", "unit"});
    }
    const std::string property = in.text(item, "property", at, true);
    const std::string unit = in.text(item, "unit", at);
    const double value = in.number(item, "value", at);
    if (targets && missing(value)) in.fail(at, "missing \"value\"");
    const double minimum = targets ? value : in.number(item, "min", at);
    const double maximum = targets ? value : in.number(item, "max", at);
    in.at(at, [&] { problem.addLimit(product, property, minimum, maximum, unit, targets); });
  }
}

void readProduct(const Reader& in, const Json& entry, const std::string& where, Problem& problem) {
  in.keys(entry, where,
          {"name", "product", "grade", "class", "limits", "targets", "demand", "price", "shares", "ratios"});
  const std::string name = in.text(entry, "name", where, true);
  const std::string kindName = in.text(entry, "product", where);
  const std::string gradeName = in.text(entry, "grade", where);
  const std::string gradeClass = in.text(entry, "class", where);
  if (!gradeClass.empty() && gradeName.empty()) in.fail(where + ".class", "a class needs a \"grade\"");

  std::unique_ptr<tarnblend_grade, GradeDeleter> grade;
  if (!gradeName.empty()) {
    const bool file = gradeName.find('/') != std::string::npos || gradeName.find('.') != std::string::npos;
    in.at(where + ".grade", [&] {
      tarnblend_grade* raw = nullptr;
      if (file && !gradeClass.empty()) {
        throw ProblemError(TARNBLEND_ERROR_VALUE, "a grade file has no classes");
      }
      check(file ? tarnblend_grade_read(in.path(gradeName).c_str(), &raw)
                 : tarnblend_grade_open(gradeName.c_str(), gradeClass.c_str(), &raw));
      grade.reset(raw);
    });
  }
  int kind = TARNBLEND_ANY_PRODUCT;
  if (!kindName.empty()) {
    in.at(where + ".product", [&] { check(tarnblend_product_parse(kindName.c_str(), &kind)); });
  } else if (grade) {
    check(tarnblend_grade_info(grade.get(), nullptr, nullptr, &kind));
  }
  int product = -1;
  in.at(where + ".name", [&] { product = problem.addProduct(name, kind); });
  if (grade) in.at(where + ".grade", [&] { problem.setGrade(product, grade.get()); });
  readLimits(in, entry, where, problem, product, false);
  readLimits(in, entry, where, problem, product, true);

  const auto demand = entry.find("demand");
  double demandMin = kMissing, demandMax = kMissing;
  if (demand != entry.end() && demand->is_number()) {
    demandMin = demandMax = demand->get<double>();
  } else if (demand != entry.end() && !demand->is_null()) {
    in.keys(*demand, where + ".demand", {"min", "max"});
    demandMin = in.number(*demand, "min", where + ".demand");
    demandMax = in.number(*demand, "max", where + ".demand");
  }
  in.at(where + ".demand", [&] { problem.setDemand(product, demandMin, demandMax); });
  const double price = in.number(entry, "price", where);
  in.at(where + ".price", [&] { problem.setPrice(product, price); });

  const Json& shares = in.list(entry, "shares", where);
  for (std::size_t n = 0; n < shares.size(); ++n) {
    const std::string at = where + ".shares[" + std::to_string(n) + "]";
    in.keys(shares[n], at, {"component", "min", "max"});
    const int i = in.component(problem, shares[n], "component", at);
    const double minimum = in.number(shares[n], "min", at), maximum = in.number(shares[n], "max", at);
    in.at(at, [&] { problem.setShare(product, i, minimum, maximum); });
  }
  const Json& ratios = in.list(entry, "ratios", where);
  for (std::size_t n = 0; n < ratios.size(); ++n) {
    const std::string at = where + ".ratios[" + std::to_string(n) + "]";
    in.keys(ratios[n], at, {"numerator", "denominator", "min", "max"});
    const int a = in.component(problem, ratios[n], "numerator", at);
    const int b = in.component(problem, ratios[n], "denominator", at);
    const double minimum = in.number(ratios[n], "min", at), maximum = in.number(ratios[n], "max", at);
    in.at(at, [&] { problem.addRatio(product, a, b, minimum, maximum); });
  }
}

}  // namespace

std::unique_ptr<Problem> parseProblem(const std::string& text, const std::string& origin, const std::string& folder,
                                      const tarnblend_model* recipe) {
  const Reader in(origin, folder);
  Json root;
  try {
    root = Json::parse(text);
  } catch (const Json::exception&) {
    ParseStop stop;
    Json::sax_parse(text, &stop);
    throw ProblemError(TARNBLEND_ERROR_FILE, tarnblend::lab::printable(origin + ":" + position(text, stop.byte) +
                                                                           ": malformed JSON: " + stop.reason,
                                                                       std::string::npos));
  }
  in.keys(root, "",
          {"recipe", "title", "volume_unit", "currency", "objective", "starts", "product", "units", "components",
           "products"});
  std::string volumeUnit;
  ModelHandle components = componentsModel(in, root, recipe, volumeUnit);
  auto problem = std::make_unique<Problem>(components.get());
  const std::string unitLabel = in.text(root, "volume_unit", "");
  problem->volumeUnit = unitLabel.empty() ? volumeUnit : unitLabel;
  problem->currency = in.text(root, "currency", "");
  readComponents(in, root, *problem);
  const std::string objective = in.text(root, "objective", "");
  if (!objective.empty()) {
    problem->objective = objectiveNamed(objective);
    if (problem->objective < 0) {
      in.fail("objective", "unknown objective '" + objective + "' (min cost, max margin, least change)");
    }
  }
  const double starts = in.number(root, "starts", "", 2.0);
  if (starts != 1.0 && starts != 2.0) in.fail("starts", "1 or 2");
  problem->starts = static_cast<int>(starts);
  const Json& products = in.list(root, "products", "");
  if (products.empty()) in.fail("products", "the problem has no product");
  for (std::size_t n = 0; n < products.size(); ++n) {
    readProduct(in, products[n], "products[" + std::to_string(n) + "]", *problem);
  }
  return problem;
}

}  // namespace tarn::optimize
