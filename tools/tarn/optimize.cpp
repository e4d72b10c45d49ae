#include "optimize.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "errors.h"
#include "numbers.h"
#include "plot.h"
#include "recipe.h"
#include "report.h"
#include "table.h"
#include "tarn/optimize.h"

namespace tarncli {
namespace {

using Json = nlohmann::ordered_json;

struct ProblemDeleter {
  void operator()(tarnblend_problem* problem) const { tarnblend_problem_free(problem); }
};
using ProblemHandle = std::unique_ptr<tarnblend_problem, ProblemDeleter>;

void check(int status, const std::string& where = "") {
  if (status != TARNBLEND_OK) throw InputError(where + tarnblend_last_error());
}

Json number(double value) { return isMissing(value) ? Json(nullptr) : Json(value); }

std::string trimmed(const std::string& text) { return std::string(lab::trim(text)); }

// ---- Reading the command line's small forms -----------------------------------

// "Butane=300" -> ("Butane", "300"); names may hold blanks, not '='.
std::pair<std::string, std::string> assignment(const std::string& text, const char* option) {
  const auto equals = text.rfind('=');
  if (equals == std::string::npos || equals == 0) {
    throw InputError(std::string(option) + " '" + text + "': write NAME=VALUE");
  }
  return {trimmed(text.substr(0, equals)), trimmed(text.substr(equals + 1))};
}

double numberIn(const std::string& text, const std::string& what) {
  const auto value = parseNumber(text);
  if (!value) throw InputError(what + ": '" + text + "' is not a number");
  return *value;
}

// "8000" (fixed), "8000:12000", ":12000" or "8000:" -> minimum and maximum.
std::pair<double, double> range(const std::string& text, const std::string& what) {
  const auto colon = text.find(':');
  if (colon == std::string::npos) {
    const double value = numberIn(text, what);
    return {value, value};
  }
  const std::string low = trimmed(text.substr(0, colon)), high = trimmed(text.substr(colon + 1));
  return {low.empty() ? kMissing : numberIn(low, what), high.empty() ? kMissing : numberIn(high, what)};
}

// "62 kPa", "62kPa", "9.0" -> value and unit ("" for the property's own).
std::pair<double, std::string> valueWithUnit(const std::string& text, const std::string& what) {
  const std::string clean = trimmed(text);
  const char* begin = clean.c_str();
  char* end = nullptr;
  const double value = std::strtod(begin, &end);
  if (end == begin || !std::isfinite(value)) throw InputError(what + ": '" + text + "' does not start with a number");
  return {value, trimmed(std::string(end))};
}

struct LimitText {
  std::string key, unit;
  double minimum = kMissing, maximum = kMissing;
};

// "RVP<=9.0", "AKI >= 87", "RVP<=62 kPa".
LimitText limitText(const std::string& text) {
  const auto at = text.find_first_of("<>");
  if (at == std::string::npos || at + 1 >= text.size() || text[at + 1] != '=') {
    throw InputError("--limit '" + text + "': write KEY<=VALUE or KEY>=VALUE (a unit may follow the value)");
  }
  LimitText limit;
  limit.key = trimmed(text.substr(0, at));
  const auto [value, unit] = valueWithUnit(text.substr(at + 2), "--limit '" + text + "'");
  (text[at] == '<' ? limit.maximum : limit.minimum) = value;
  limit.unit = unit;
  return limit;
}

int productKind(const std::string& text) {
  int kind = 0;
  if (!text.empty()) check(tarnblend_product_parse(text.c_str(), &kind));
  return kind;
}

int objectiveNamed(const std::string& text) {
  if (text.empty()) return TARNBLEND_OBJECTIVE_AUTO;
  if (text == "cost") return TARNBLEND_MIN_COST;
  if (text == "margin") return TARNBLEND_MAX_MARGIN;
  if (text == "change") return TARNBLEND_LEAST_CHANGE;
  throw InputError("--objective '" + text + "': cost, margin or change");
}

int component(tarnblend_problem* problem, const std::string& name) {
  int index = -1;
  check(tarnblend_problem_component_find(problem, name.c_str(), &index));
  return index;
}

// A problem over the recipe, shaped by the command line: one product.
ProblemHandle recipeProblem(const OptimizeOptions& o, Recipe& recipe) {
  tarnblend_problem* raw = nullptr;
  check(tarnblend_problem_create(recipe.model, &raw));
  ProblemHandle problem(raw);
  check(tarnblend_problem_set_units(raw, recipe.basis == Basis::Volume ? recipe.quantityUnit.c_str() : "", ""));
  int count = 0;
  check(tarnblend_problem_component_count(raw, &count));
  std::vector<bool> shaped(static_cast<std::size_t>(count), false);
  for (const std::string& f : o.free) shaped[static_cast<std::size_t>(component(raw, trimmed(f)))] = true;
  for (const auto* list : {&o.minimums, &o.maximums, &o.fixed}) {
    for (const std::string& item : *list) {
      const auto [name, value] = assignment(item, list == &o.fixed ? "--fix" : list == &o.minimums ? "--min" : "--max");
      const int i = component(raw, name);
      shaped[static_cast<std::size_t>(i)] = true;
      const double v = numberIn(value, "volume of " + name);
      check(tarnblend_problem_set_availability(raw, i, list == &o.maximums ? kMissing : v,
                                               list == &o.minimums ? kMissing : v));
    }
  }
  // Back-solving: what is not free keeps its recipe volume.
  if (!o.free.empty()) {
    for (int i = 0; i < count; ++i) {
      if (shaped[static_cast<std::size_t>(i)]) continue;
      double volume = 0.0;
      check(tarnblend_model_volume(recipe.model, i, &volume));
      check(tarnblend_problem_set_availability(raw, i, volume, volume));
    }
  }
  for (const std::string& item : o.costs) {
    const auto [name, value] = assignment(item, "--cost");
    check(tarnblend_problem_set_cost(raw, component(raw, name), numberIn(value, "cost of " + name)));
  }

  int product = 0;
  const GradeHandle grade = o.grade.empty() ? nullptr : openGrade(o.grade, o.gradeClass);
  // A product checked against a grade file is the blend; against a built-in grade, named after it.
  const std::string name = !o.name.empty() ? o.name : !grade || isGradeFile(o.grade) ? "Blend" : o.grade;
  check(tarnblend_problem_add_product(raw, name.c_str(), productKind(o.product), &product));
  if (grade) check(tarnblend_problem_set_grade(raw, product, grade.get()));
  for (const std::string& text : o.limits) {
    const LimitText l = limitText(text);
    check(tarnblend_problem_add_limit(raw, product, l.key.c_str(), l.minimum, l.maximum, l.unit.c_str()),
          "--limit '" + text + "': ");
  }
  for (const std::string& text : o.targets) {
    const auto [key, rest] = assignment(text, "--target");
    const auto [value, unit] = valueWithUnit(rest, "--target '" + text + "'");
    check(tarnblend_problem_add_target(raw, product, key.c_str(), value, unit.c_str()), "--target '" + text + "': ");
  }
  double total = 0.0;
  for (int i = 0; i < count; ++i) {
    double volume = 0.0;
    check(tarnblend_model_volume(recipe.model, i, &volume));
    total += volume;
  }
  // Without free components the recipe's own volume is made again.
  const auto [low, high] = !o.demand.empty() ? range(o.demand, "--demand")
                           : o.free.empty()  ? std::pair<double, double>{total, total}
                                             : std::pair<double, double>{kMissing, kMissing};
  check(tarnblend_problem_set_demand(raw, product, low, high), "--demand: ");
  if (!o.price.empty()) check(tarnblend_problem_set_price(raw, product, numberIn(o.price, "--price")));
  for (const std::string& item : o.shares) {
    const auto [componentName, value] = assignment(item, "--share");
    const auto [minimum, maximum] = range(value, "--share " + componentName);
    check(tarnblend_problem_set_share(raw, product, component(raw, componentName), minimum, maximum), "--share: ");
  }
  check(tarnblend_problem_set_objective(raw, objectiveNamed(o.objective)));
  return problem;
}

// ---- What the solve gives, gathered once for the three formats ------------------

struct LimitRow {
  std::string key, unit, source;
  double minimum, maximum, value, margin, shadow;
  int binding, decimals;
};

struct PropertyRow {
  std::string key, description, unit, reason;
  double value;
  int status, decimals;
  bool limited;
};

struct ProductResult {
  std::string name, kind, grade, gradeClass;
  double volume, revenue, cost, demandValue;
  int demandBinding;
  std::vector<double> volumes;
  std::vector<LimitRow> limits;
  std::vector<PropertyRow> properties;
  tarnblend_model* model;
};

struct ComponentResult {
  std::string name;
  double volume, cost, value;
  int binding;
};

struct RelaxationRow {
  std::string product, key, side, unit;
  double together, alone;
};

struct Outcome {
  std::string source, objective, volumeUnit, currency, solverStatus, summary;
  int outcome, iterations;
  double objectiveValue;
  std::vector<ProductResult> products;
  std::vector<ComponentResult> components;
  std::vector<RelaxationRow> relaxations;
  std::vector<std::string> notes;
};

const char* bindingWord(int binding) {
  switch (binding) {
    case TARNBLEND_AT_MIN:
      return "min";
    case TARNBLEND_AT_MAX:
      return "max";
    case TARNBLEND_AT_TARGET:
      return "target";
    default:
      return "";
  }
}

const char* outcomeWord(int outcome) {
  switch (outcome) {
    case TARNBLEND_OPTIMAL:
      return "optimal";
    case TARNBLEND_FEASIBLE:
      return "feasible";
    case TARNBLEND_INFEASIBLE:
      return "infeasible";
    default:
      return "not solved";
  }
}

const char* objectiveWord(int objective) {
  switch (objective) {
    case TARNBLEND_MIN_COST:
      return "least cost";
    case TARNBLEND_MAX_MARGIN:
      return "greatest margin";
    default:
      return "least change from the recipe";
  }
}

Outcome gather(tarnblend_problem* problem, const std::string& source) {
  Outcome r;
  r.source = source;
  const char *status = "", *summary = "", *volumeUnit = "", *currency = "";
  check(tarnblend_problem_solution(problem, &r.outcome, &status, &summary, &r.iterations, &r.objectiveValue));
  r.solverStatus = status;
  r.summary = summary;
  int objective = 0;
  check(tarnblend_problem_objective(problem, &objective));
  r.objective = objectiveWord(objective);
  check(tarnblend_problem_units(problem, &volumeUnit, &currency));
  r.volumeUnit = volumeUnit;
  r.currency = currency;
  const bool recipe = r.outcome != TARNBLEND_NOT_SOLVED;

  int components = 0, products = 0;
  check(tarnblend_problem_component_count(problem, &components));
  check(tarnblend_problem_product_count(problem, &products));
  for (int i = 0; i < components; ++i) {
    ComponentResult c{};
    const char* name = "";
    check(tarnblend_problem_component_name(problem, i, &name));
    c.name = name;
    if (recipe) check(tarnblend_problem_component_result(problem, i, &c.volume, &c.cost, &c.value, &c.binding));
    r.components.push_back(c);
  }
  for (int p = 0; recipe && p < products; ++p) {
    ProductResult pr{};
    const char *name = "", *grade = "", *gradeClass = "";
    int kind = 0;
    check(tarnblend_problem_product_info(problem, p, &name, &kind, &grade, &gradeClass));
    pr.name = name;
    pr.kind = tarnblend_product_name(kind);
    pr.grade = grade;
    pr.gradeClass = gradeClass;
    check(tarnblend_problem_product_result(problem, p, &pr.volume, &pr.revenue, &pr.cost, &pr.demandValue,
                                           &pr.demandBinding));
    pr.volumes.assign(static_cast<std::size_t>(components), 0.0);
    check(tarnblend_problem_volumes(problem, p, pr.volumes.data(), components));
    check(tarnblend_problem_model(problem, p, &pr.model));
    int limits = 0;
    check(tarnblend_problem_limit_count(problem, p, &limits));
    std::vector<bool> limited;
    for (int k = 0; k < limits; ++k) {
      LimitRow l{};
      const char *key = "", *unit = "", *limitSource = "";
      int property = -1;
      check(tarnblend_problem_limit(problem, p, k, &key, &property, &l.minimum, &l.maximum, &l.value, &l.margin,
                                    &l.binding, &l.shadow, &unit, &limitSource));
      l.key = key;
      l.unit = unit;
      l.source = limitSource;
      tarnblend_model_property_info(pr.model, property, nullptr, nullptr, nullptr, nullptr, &l.decimals, nullptr);
      if (limited.size() <= static_cast<std::size_t>(property)) limited.resize(static_cast<std::size_t>(property) + 1);
      limited[static_cast<std::size_t>(property)] = true;
      pr.limits.push_back(l);
    }
    int count = 0;
    check(tarnblend_model_property_count(pr.model, &count));
    for (int k = 0; k < count; ++k) {
      PropertyRow row{};
      const char *key = "", *description = "", *unit = "", *reason = "";
      tarnblend_model_property_info(pr.model, k, &key, &description, &unit, nullptr, &row.decimals, nullptr);
      tarnblend_model_result(pr.model, k, &row.value, &row.status, &reason, nullptr, nullptr);
      if (row.status == TARNBLEND_NOT_GIVEN) continue;
      row.key = key;
      row.description = description;
      row.unit = unit;
      row.reason = reason ? reason : "";
      row.limited = static_cast<std::size_t>(k) < limited.size() && limited[static_cast<std::size_t>(k)];
      pr.properties.push_back(row);
    }
    r.products.push_back(std::move(pr));
  }
  int relaxations = 0;
  if (r.outcome == TARNBLEND_INFEASIBLE) check(tarnblend_problem_relaxation_count(problem, &relaxations));
  for (int k = 0; k < relaxations; ++k) {
    int p = 0, limit = 0, side = 0;
    RelaxationRow x{};
    check(tarnblend_problem_relaxation(problem, k, &p, &limit, &side, &x.together, &x.alone));
    const char *name = "", *key = "", *unit = "";
    check(tarnblend_problem_product_info(problem, p, &name, nullptr, nullptr, nullptr));
    check(tarnblend_problem_limit(problem, p, limit, &key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, &unit, nullptr));
    x.product = name;
    x.key = key;
    x.side = bindingWord(side);
    x.unit = unit;
    r.relaxations.push_back(x);
  }
  int notes = 0;
  if (tarnblend_problem_note_count(problem, &notes) == TARNBLEND_OK) {
    for (int k = 0; k < notes; ++k) {
      const char* note = "";
      tarnblend_problem_note(problem, k, &note);
      r.notes.emplace_back(note);
    }
  }
  return r;
}

// ---- Writing ------------------------------------------------------------------

std::string withUnit(const std::string& label, const std::string& unit) {
  return unit.empty() ? label : label + " [" + unit + "]";
}

std::string perUnit(const std::string& unit, const std::string& key) { return "per " + (unit.empty() ? key : unit); }

std::string money(double value) { return isMissing(value) ? "" : rounded(value, 2); }

void writeTable(const Outcome& r, std::ostream& out) {
  const std::string currency = r.currency.empty() ? "" : " " + r.currency;
  out << "TARN blend optimisation: " << r.source << "\n";
  out << "Objective: " << r.objective << "; solver: " << r.solverStatus << " (" << r.iterations << " iterations)\n";
  out << r.summary << (r.outcome == TARNBLEND_OPTIMAL || r.outcome == TARNBLEND_FEASIBLE ? currency : "") << "\n";
  for (const ProductResult& p : r.products) {
    out << "\nProduct " << p.name << " (" << p.kind
        << (p.grade.empty() ? "" : ", grade " + p.grade + (p.gradeClass.empty() ? "" : " class " + p.gradeClass))
        << "): " << rounded(p.volume, 1) << (r.volumeUnit.empty() ? "" : " " + r.volumeUnit) << ", cost "
        << money(p.cost) << currency << (p.revenue != 0.0 ? ", revenue " + money(p.revenue) + currency : std::string());
    if (p.demandBinding != TARNBLEND_FREE) {
      out << "; demand binds at its " << bindingWord(p.demandBinding) << ": " << money(p.demandValue) << currency
          << " per " << (r.volumeUnit.empty() ? "unit volume" : r.volumeUnit) << " more";
    }
    out << "\n";
    Table recipe({"Component", ">" + withUnit("Volume", r.volumeUnit), ">Volume %"});
    for (std::size_t i = 0; i < p.volumes.size(); ++i) {
      recipe.add({r.components[i].name, rounded(p.volumes[i], 1), rounded(100.0 * p.volumes[i] / p.volume, 2)});
    }
    out << recipe.render(2);
    out << "\n";
    Table limits(
        {"Property", ">Value", "Unit", ">Min", ">Max", ">Margin", "Binds", ">" + withUnit("Shadow price", r.currency)});
    for (const LimitRow& l : p.limits) {
      const bool computed = !isMissing(l.value);
      limits.add(
          {l.key, computed ? rounded(l.value, l.decimals) : "not computed", l.unit,
           isMissing(l.minimum) ? "" : rounded(l.minimum, l.decimals),
           isMissing(l.maximum) ? "" : rounded(l.maximum, l.decimals), computed ? rounded(l.margin, l.decimals) : "",
           bindingWord(l.binding),
           l.binding == TARNBLEND_FREE || isMissing(l.shadow) ? "" : money(l.shadow) + " " + perUnit(l.unit, l.key)});
    }
    for (const PropertyRow& row : p.properties) {
      if (row.limited || row.status != TARNBLEND_COMPUTED) continue;
      limits.add({row.key, rounded(row.value, row.decimals), row.unit, "", "", "", "", ""});
    }
    out << limits.render(2);
  }
  if (!r.products.empty()) {
    out << "\nComponents (marginal value: change of the objective per "
        << (r.volumeUnit.empty() ? "unit" : r.volumeUnit) << " more of the availability that binds)\n";
    Table components({"Component", ">" + withUnit("Used", r.volumeUnit), ">" + withUnit("Cost", r.currency), "Binds",
                      ">Marginal value"});
    for (const ComponentResult& c : r.components) {
      components.add({c.name, rounded(c.volume, 1), money(c.cost), bindingWord(c.binding),
                      c.binding == TARNBLEND_FREE ? "" : money(c.value)});
    }
    out << components.render(2);
  }
  if (!r.relaxations.empty()) {
    out << "\nRelaxations (in the property's unit; alone: the least that suffices by itself)\n";
    Table table({"Product", "Limit", ">Alone", ">Together", "Unit"});
    for (const RelaxationRow& x : r.relaxations) {
      table.add({x.product, x.key + " " + x.side, isMissing(x.alone) ? "not alone" : significant(x.alone),
                 significant(x.together), x.unit});
    }
    out << table.render(2);
  }
  std::vector<std::string> notes = r.notes;
  for (const ProductResult& p : r.products) {
    for (const PropertyRow& row : p.properties) {
      if (row.status == TARNBLEND_NOT_COMPUTED)
        notes.push_back(p.name + ": " + row.key + " not computed: " + row.reason);
    }
  }
  if (!notes.empty()) {
    out << "\nNotes\n";
    for (const std::string& n : notes) out << "  - " << n << "\n";
  }
}

void writeJson(const Outcome& r, std::ostream& out) {
  Json products = Json::array();
  for (const ProductResult& p : r.products) {
    Json recipe = Json::array(), limits = Json::array(), properties = Json::array();
    for (std::size_t i = 0; i < p.volumes.size(); ++i) {
      recipe.push_back({{"component", r.components[i].name},
                        {"volume", p.volumes[i]},
                        {"volume_percent", p.volume > 0 ? 100.0 * p.volumes[i] / p.volume : 0.0}});
    }
    for (const LimitRow& l : p.limits) {
      limits.push_back({{"property", l.key},
                        {"unit", l.unit},
                        {"min", number(l.minimum)},
                        {"max", number(l.maximum)},
                        {"value", number(l.value)},
                        {"margin", number(l.margin)},
                        {"binding", bindingWord(l.binding)},
                        {"shadow_price", number(l.shadow)},
                        {"source", l.source}});
    }
    for (const PropertyRow& row : p.properties) {
      Json item = {
          {"property", row.key}, {"description", row.description}, {"unit", row.unit}, {"value", number(row.value)}};
      if (!row.reason.empty()) item["reason"] = row.reason;
      properties.push_back(item);
    }
    products.push_back({{"name", p.name},
                        {"product", p.kind},
                        {"grade", p.grade},
                        {"class", p.gradeClass},
                        {"volume", p.volume},
                        {"cost", p.cost},
                        {"revenue", p.revenue},
                        {"demand_binding", bindingWord(p.demandBinding)},
                        {"demand_value", p.demandValue},
                        {"recipe", recipe},
                        {"limits", limits},
                        {"properties", properties}});
  }
  Json components = Json::array();
  for (const ComponentResult& c : r.components) {
    components.push_back({{"name", c.name},
                          {"volume", c.volume},
                          {"cost", number(c.cost)},
                          {"binding", bindingWord(c.binding)},
                          {"availability_value", c.value}});
  }
  Json relaxations = Json::array();
  for (const RelaxationRow& x : r.relaxations) {
    relaxations.push_back({{"product", x.product},
                           {"property", x.key},
                           {"side", x.side},
                           {"unit", x.unit},
                           {"alone", number(x.alone)},
                           {"together", x.together}});
  }
  Json j = {{"source", r.source},
            {"outcome", outcomeWord(r.outcome)},
            {"objective", r.objective},
            {"objective_value", number(r.objectiveValue)},
            {"summary", r.summary},
            {"solver_status", r.solverStatus},
            {"iterations", r.iterations},
            {"volume_unit", r.volumeUnit},
            {"currency", r.currency},
            {"products", products},
            {"components", components},
            {"relaxations", relaxations},
            {"notes", r.notes}};
  out << j.dump(2) << "\n";
}

void writeCsv(const Outcome& r, std::ostream& out) {
  out << csv::line({"section", "product", "item", "value", "unit", "minimum", "maximum", "margin", "binding",
                    "sensitivity", "detail"});
  out << csv::line(
      {"solution", "", outcomeWord(r.outcome), exact(r.objectiveValue), r.currency, "", "", "", "", "", r.summary});
  for (const ProductResult& p : r.products) {
    out << csv::line({"product", p.name, p.name, exact(p.volume), r.volumeUnit, "", "", "",
                      bindingWord(p.demandBinding), exact(p.demandValue),
                      "cost " + exact(p.cost) + "; revenue " + exact(p.revenue)});
    for (std::size_t i = 0; i < p.volumes.size(); ++i) {
      out << csv::line({"recipe", p.name, r.components[i].name, exact(p.volumes[i]), r.volumeUnit, "", "", "", "", "",
                        exact(p.volume > 0 ? 100.0 * p.volumes[i] / p.volume : 0.0)});
    }
    for (const LimitRow& l : p.limits) {
      out << csv::line({"limit", p.name, l.key, exact(l.value), l.unit, exact(l.minimum), exact(l.maximum),
                        exact(l.margin), bindingWord(l.binding), exact(l.shadow), l.source});
    }
    for (const PropertyRow& row : p.properties) {
      out << csv::line({"property", p.name, row.key, exact(row.value), row.unit, "", "", "", "", "", row.reason});
    }
  }
  for (const ComponentResult& c : r.components) {
    out << csv::line({"component", "", c.name, exact(c.volume), r.volumeUnit, "", "", "", bindingWord(c.binding),
                      exact(c.value), exact(c.cost)});
  }
  for (const RelaxationRow& x : r.relaxations) {
    out << csv::line(
        {"relaxation", x.product, x.key, exact(x.alone), x.unit, "", "", "", x.side, "", exact(x.together)});
  }
  for (const std::string& n : r.notes) out << csv::line({"note", "", "", "", "", "", "", "", "", "", n});
}

// A product's name as a file name: letters, digits, '-', '_' and '.'.
std::string fileName(const std::string& name) {
  std::string out;
  for (unsigned char c : name) out += std::isalnum(c) || c == '-' || c == '_' || c == '.' ? static_cast<char>(c) : '_';
  return out.empty() ? "product" : out;
}

// The product's recipe as a recipe file `tarn blend` reads: the components'
// properties in the recipe's units and the optimal volumes.
void saveRecipe(const ProductResult& p, const std::string& volumeUnit, const std::string& path) {
  std::ofstream file(path);
  if (!file) throw InputError("cannot write recipe '" + path + "'");
  file << "# " << p.name << ": optimised recipe\n# product: " << p.kind << "\n";
  std::vector<std::string> header = {"NAME", volumeUnit.empty() ? "VOLUME" : "VOLUME[" + volumeUnit + "]"};
  std::vector<std::string> keys;
  int inputs = 0;
  tarnblend_input_count(&inputs);
  for (int k = 0; k < inputs; ++k) {
    const char *key = "", *unit = "";
    int given = 0;
    tarnblend_input_info(k, &key, nullptr, nullptr, nullptr);
    tarnblend_model_input_given(p.model, key, &given);
    if (!given) continue;
    tarnblend_model_unit(p.model, key, &unit);
    keys.emplace_back(key);
    header.push_back(*unit ? std::string(key) + "[" + unit + "]" : key);
  }
  file << csv::line(header);
  for (std::size_t i = 0; i < p.volumes.size(); ++i) {
    const char* name = "";
    tarnblend_model_component_name(p.model, static_cast<int>(i), &name);
    std::vector<std::string> row = {name, exact(p.volumes[i])};
    for (const std::string& key : keys) {
      double value = kMissing;
      tarnblend_model_get_property(p.model, static_cast<int>(i), key.c_str(), &value);
      row.push_back(exact(value));
    }
    file << csv::line(row);
  }
  if (!file) throw InputError("cannot write recipe '" + path + "'");
}

bool builtInGrade(const std::string& name) {
  int count = 0;
  tarnblend_grade_count(&count);
  for (int k = 0; k < count; ++k) {
    const char* builtin = "";
    tarnblend_grade_builtin(k, &builtin, nullptr, nullptr, nullptr, nullptr);
    if (name == builtin) return true;
  }
  return false;
}

// Each product's curves with its grade's windows, through the blend report's plot.
void writePlots(const Outcome& r, const std::string& path) {
  for (const ProductResult& p : r.products) {
    std::string file = path;
    if (r.products.size() > 1) {
      const auto dot = path.rfind('.');
      const auto slash = path.rfind('/');
      const bool suffix = dot != std::string::npos && (slash == std::string::npos || dot > slash);
      file = (suffix ? path.substr(0, dot) : path) + "-" + fileName(p.name) + (suffix ? path.substr(dot) : ".svg");
    }
    Recipe recipe;
    recipe.model = p.model;
    recipe.source = p.name;
    recipe.quantityUnit = r.volumeUnit;
    recipe.quantities = p.volumes;
    BlendOptions options;
    double method = 0.0;
    tarnblend_model_option(p.model, "D86METHOD", &method);
    options.d86Method = static_cast<int>(method);
    if (builtInGrade(p.grade)) {
      options.grade = p.grade;
      options.gradeClass = p.gradeClass;
    }
    const Report report = blendReport(recipe, options);
    std::ofstream svg(file);
    if (!svg) throw InputError("cannot write plot '" + file + "'");
    svg << distillationPlot(report);
    if (!svg) throw InputError("cannot write plot '" + file + "'");
  }
}

// Whether a file is a problem (a JSON object with "products") rather than a recipe.
bool problemFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::stringstream text;
  text << in.rdbuf();
  const Json j = Json::parse(text.str(), nullptr, false);
  return j.is_object() && j.contains("products");
}

}  // namespace

CLI::App* addOptimizeCommand(CLI::App& app, OptimizeOptions& o) {
  auto* command = app.add_subcommand(
      "optimize", "Least-cost or greatest-margin blends, back-solving, shadow prices, what to relax");
  command->add_option("input", o.input, "Problem file (JSON), or a recipe with the options below")->required();
  command->add_option("--recipe", o.recipe, "Components for a problem file, instead of the recipe it names");
  command->add_option("--name", o.name, "Name of the recipe's product (default: the grade's, else Blend)");
  command->add_option("--product", o.product, "Product kind: gasoline, diesel or jet");
  command->add_option("--grade", o.grade, "Grade to meet (see 'tarn grades') or a grade file")->type_name("NAME|FILE");
  command->add_option("--class", o.gradeClass, "Class of the grade");
  command->add_option("--limit", o.limits, "An extra limit, KEY<=VALUE or KEY>=VALUE, a unit may follow")
      ->type_name("KEY<=VALUE")
      ->allow_extra_args(false);
  command->add_option("--target", o.targets, "A property to hold at a value (back-solving)")
      ->type_name("KEY=VALUE")
      ->allow_extra_args(false);
  command->add_option("--free", o.free, "A component whose volume may change; the others keep theirs")
      ->type_name("NAME")
      ->allow_extra_args(false);
  command->add_option("--cost", o.costs, "Cost per unit volume of a component")
      ->type_name("NAME=COST")
      ->allow_extra_args(false);
  command->add_option("--min", o.minimums, "Least volume of a component to use")
      ->type_name("NAME=VOLUME")
      ->allow_extra_args(false);
  command->add_option("--max", o.maximums, "Most volume of a component available")
      ->type_name("NAME=VOLUME")
      ->allow_extra_args(false);
  command->add_option("--fix", o.fixed, "Volume of a component to use exactly")
      ->type_name("NAME=VOLUME")
      ->allow_extra_args(false);
  command->add_option("--share", o.shares, "Share of a component in the product, vol%: MIN:MAX (either may be empty)")
      ->type_name("NAME=MIN:MAX")
      ->allow_extra_args(false);
  command->add_option("--demand", o.demand,
                      "Product volume: VOLUME or MIN:MAX (default: the recipe's total, "
                      "open when back-solving)");
  command->add_option("--price", o.price, "Price of the product per unit volume (maximises the margin)");
  command->add_option("--objective", o.objective,
                      "cost, margin or change (default: margin with a price, else cost "
                      "with costs, else change)");
  command->add_option("--units", o.units, "Unit of recipe temperature columns written without one")
      ->check(CLI::IsMember({"F", "C"}, CLI::ignore_case));
  command->add_option("--plot", o.plot, "Write each product's distillation curves with its grade's windows (SVG)")
      ->type_name("FILE.svg");
  command->add_option("--save-recipes", o.saveRecipes, "Write each product's recipe as a recipe file into this folder")
      ->type_name("FOLDER");
  auto* json = command->add_flag("--json", o.json, "Write JSON");
  auto* csvFlag = command->add_flag("--csv", o.csv, "Write CSV");
  json->excludes(csvFlag);
  return command;
}

int optimizeCommand(const OptimizeOptions& o, std::ostream& out) {
  const std::string units = o.units.empty() ? "" : std::string(1, static_cast<char>(std::toupper(o.units[0])));
  ProblemHandle problem;
  Recipe recipe;
  if (problemFile(o.input)) {
    const bool shaped = !o.name.empty() || !o.product.empty() || !o.grade.empty() || !o.gradeClass.empty() ||
                        !o.demand.empty() || !o.price.empty() || !o.objective.empty() || !o.limits.empty() ||
                        !o.targets.empty() || !o.free.empty() || !o.costs.empty() || !o.minimums.empty() ||
                        !o.maximums.empty() || !o.fixed.empty() || !o.shares.empty();
    if (shaped) {
      throw InputError(o.input +
                       ": a problem file says its products and components itself; the options that shape "
                       "a problem apply to a recipe");
    }
    if (!o.recipe.empty()) recipe = readRecipe(o.recipe, 0, units);
    tarnblend_problem* raw = nullptr;
    check(tarnblend_problem_read(o.input.c_str(), recipe.model, &raw));
    problem.reset(raw);
  } else {
    if (!o.recipe.empty()) throw InputError("--recipe goes with a problem file; '" + o.input + "' is a recipe");
    if (o.grade.empty() && o.limits.empty() && o.targets.empty()) {
      throw InputError(o.input + ": say what the blend must meet: --grade, --limit or --target");
    }
    recipe = readRecipe(o.input, productKind(o.product), units);
    problem = recipeProblem(o, recipe);
  }
  check(tarnblend_problem_solve(problem.get(), nullptr));
  const Outcome result = gather(problem.get(), o.input);
  switch (o.json ? Format::Json : o.csv ? Format::Csv : Format::Table) {
    case Format::Json:
      writeJson(result, out);
      break;
    case Format::Csv:
      writeCsv(result, out);
      break;
    case Format::Table:
      writeTable(result, out);
      break;
  }
  if (!o.saveRecipes.empty() && !result.products.empty()) {
    std::error_code error;
    std::filesystem::create_directories(o.saveRecipes, error);
    for (const ProductResult& p : result.products) {
      saveRecipe(p, result.volumeUnit, o.saveRecipes + "/" + fileName(p.name) + ".csv");
    }
  }
  if (!o.plot.empty()) writePlots(result, o.plot);
  switch (result.outcome) {
    case TARNBLEND_OPTIMAL:
    case TARNBLEND_FEASIBLE:
      return 0;
    case TARNBLEND_INFEASIBLE:
      return kExitOffSpec;
    default:
      return kExitCalculationFailed;
  }
}

}  // namespace tarncli
