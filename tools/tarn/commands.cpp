#include "commands.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "catalogue.h"
#include "errors.h"
#include "numbers.h"
#include "plot.h"
#include "recipe.h"
#include "report.h"
#include "status.h"
#include "table.h"
#include "tarn/blend.h"
#include "text/csv.h"

namespace tarncli {
namespace {

using Json = nlohmann::ordered_json;

Json number(double value) { return isMissing(value) ? Json(nullptr) : Json(value); }

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

// "POFF1, POFF2, ..., POFF10" written as "POFF1…POFF10": runs of names that
// differ only by a consecutive number are shortened.
std::string summarise(const std::vector<std::string>& names) {
  struct Split {
    std::string prefix, suffix;
    long number = -1;
  };
  auto split = [](const std::string& name) {
    Split s;
    const auto first = name.find_first_of("0123456789");
    if (first == std::string::npos) return s;
    auto last = name.find_first_not_of("0123456789", first);
    if (last == std::string::npos) last = name.size();
    s.prefix = name.substr(0, first);
    s.suffix = name.substr(last);
    s.number = std::stol(name.substr(first, last - first));
    return s;
  };
  std::string out;
  for (std::size_t i = 0; i < names.size();) {
    std::size_t j = i;
    const Split start = split(names[i]);
    while (start.number >= 0 && j + 1 < names.size()) {
      const Split next = split(names[j + 1]);
      if (next.prefix != start.prefix || next.suffix != start.suffix ||
          next.number != start.number + static_cast<long>(j + 1 - i)) {
        break;
      }
      ++j;
    }
    if (!out.empty()) out += ", ";
    out += j >= i + 2 ? names[i] + "\xE2\x80\xA6" + names[j] : names[i];
    if (j == i + 1) out += ", " + names[j];
    i = j + 1;
  }
  return out;
}

std::string unitText(const Correlation& c) {
  const auto flag = c.unitFlag();
  if (!flag) return "";
  return std::string(*flag != 0.0 ? "F" : "C") + " (coefficient CORF = " + exact(*flag) + ")";
}

}  // namespace

// ---- list --------------------------------------------------------------------

void listCommand(Format format, std::ostream& out) {
  std::vector<Correlation> all;
  for (int i = 0; i < correlationCount(); ++i) all.push_back(correlation(i));
  if (format == Format::Json) {
    Json list = Json::array();
    for (const Correlation& c : all) {
      list.push_back({{"index", c.index},
                      {"id", c.id},
                      {"type", c.type},
                      {"type_name", typeName(c.type)},
                      {"inputs", c.inputs},
                      {"outputs", c.outputs}});
    }
    out << list.dump(2) << "\n";
  } else if (format == Format::Csv) {
    out << csv::line({"index", "id", "type", "inputs", "outputs"});
    for (const Correlation& c : all) {
      out << csv::line({std::to_string(c.index), c.id, typeName(c.type), summarise(c.inputs), summarise(c.outputs)});
    }
  } else {
    Table table({">Index", "Id", "Type", "Inputs \xE2\x86\x92 outputs"});
    for (const Correlation& c : all) {
      table.add({std::to_string(c.index), c.id, typeName(c.type),
                 summarise(c.inputs) + " \xE2\x86\x92 " + summarise(c.outputs)});
    }
    out << table.render();
  }
}

// ---- describe ----------------------------------------------------------------

void describeCommand(const std::string& idOrIndex, Format format, std::ostream& out) {
  const Correlation c = correlation(findCorrelation(idOrIndex));
  if (format == Format::Json) {
    Json outputs = Json::array();
    for (std::size_t k = 0; k < c.outputs.size(); ++k) {
      outputs.push_back({{"id", c.outputs[k]},
                         {"kind", c.kinds[k] ? Json(*c.kinds[k]) : Json(nullptr)},
                         {"kind_name", c.kinds[k] ? Json(kindName(*c.kinds[k])) : Json(nullptr)}});
    }
    Json coefficients = Json::array();
    for (const Coefficient& co : c.coefficients) coefficients.push_back({{"name", co.name}, {"value", co.value}});
    Json j = {{"index", c.index},
              {"id", c.id},
              {"description", c.description},
              {"type", c.type},
              {"type_name", typeName(c.type)},
              {"inputs", c.inputs},
              {"outputs", outputs},
              {"pair", c.pair ? Json(*c.pair) : Json(nullptr)},
              {"slack_inputs", c.slackCount},
              {"coefficients", coefficients},
              {"source", c.source.empty() ? Json(nullptr) : Json(c.source)}};
    out << j.dump(2) << "\n";
    return;
  }
  if (format == Format::Csv) {
    out << csv::line({"item", "position", "name", "value"});
    out << csv::line({"correlation", std::to_string(c.index), c.id, std::to_string(c.type)});
    for (std::size_t k = 0; k < c.inputs.size(); ++k) out << csv::line({"input", std::to_string(k), c.inputs[k], ""});
    for (std::size_t k = 0; k < c.outputs.size(); ++k) {
      out << csv::line({"output", std::to_string(k), c.outputs[k], c.kinds[k] ? std::to_string(*c.kinds[k]) : ""});
    }
    for (std::size_t k = 0; k < c.coefficients.size(); ++k) {
      out << csv::line({"coefficient", std::to_string(k), c.coefficients[k].name, exact(c.coefficients[k].value)});
    }
    if (c.pair) out << csv::line({"pair", std::to_string(*c.pair), correlation(*c.pair).id, ""});
    out << csv::line({"source", "", c.source, ""});
    return;
  }
  out << c.id << " (index " << c.index << "): " << c.description << "\n";
  out << "  type          " << typeName(c.type) << " (" << c.type << ")\n";
  if (c.pair) out << "  inverse       " << correlation(*c.pair).id << " (index " << *c.pair << ")\n";
  if (c.slackCount > 0) out << "  slack inputs  the last " << c.slackCount << "\n";
  if (!unitText(c).empty()) out << "  temperatures  " << unitText(c) << "\n";
  out << "  source        " << (c.source.empty() ? "none on file" : c.source) << "\n";
  out << "\nInputs\n";
  Table inputs({">#", "Property"});
  for (std::size_t k = 0; k < c.inputs.size(); ++k) inputs.add({std::to_string(k), c.inputs[k]});
  out << inputs.render(2);
  out << "\nOutputs\n";
  Table outputs({">#", "Property", "Kind (the family of property it is)"});
  for (std::size_t k = 0; k < c.outputs.size(); ++k) {
    outputs.add({std::to_string(k), c.outputs[k],
                 c.kinds[k] ? std::to_string(*c.kinds[k]) + " " + kindName(*c.kinds[k]) : "-"});
  }
  out << outputs.render(2);
  out << "\nCoefficients";
  if (c.coefficients.empty()) {
    out << ": none\n";
    return;
  }
  out << " (change with --coef " << c.id << ".NAME=VALUE)\n";
  Table coefficients({">#", "Name", ">Value", "Meaning"});
  for (std::size_t k = 0; k < c.coefficients.size(); ++k) {
    const Coefficient& co = c.coefficients[k];
    coefficients.add({std::to_string(k), co.name, significant(co.value), settingMeaning(c.id, co.name, co.value)});
  }
  out << coefficients.render(2);
}

// ---- params ------------------------------------------------------------------

namespace {

// Defaults of consecutive keywords, runs of one value shortened ("0 (x15)").
std::string defaultsText(const std::vector<double>& values) {
  std::string text;
  for (std::size_t i = 0; i < values.size();) {
    std::size_t j = i;
    while (j + 1 < values.size() && values[j + 1] == values[i]) ++j;
    const std::string value = isMissing(values[i]) ? "1e30" : exact(values[i]);
    text += (i > 0 ? ", " : "") + value;
    if (j - i >= 2) {
      text += " (\xC3\x97" + std::to_string(j - i + 1) + ")";
    } else {
      for (std::size_t k = i + 1; k <= j; ++k) text += ", " + value;
    }
    i = j + 1;
  }
  return text;
}

// The parameter page: one section per correlation keyword, one line per
// parameter or run of numbered parameters that share a description.
std::string parameterPage(const std::vector<Keyword>& list) {
  std::string page =
      "# TARN parameters\n"
      "\n"
      "<!-- Generated by `tarn params --markdown` from the library's field table; do not edit.\n"
      "     A test fails when this page and the library disagree. -->\n"
      "\n"
      "The correlation parameter block as a host reaches it by keyword:\n"
      "`gfx_setCorParms(correlation, parameter, value)` and `gfx_getCorParms(correlation,\n"
      "parameter)` (`tarn/corparms.h`); the command-line tool takes\n"
      "`--set CORRELATION.PARAMETER=VALUE`.\n"
      "Correlation keywords ignore case, parameter keywords do not. The default is the value read\n"
      "after `TARNReset` (switches read 1 on, -1 off; `CARB_CORF` reads 1 for F, -1 for C); 1e30\n"
      "is the missing value. Temperatures are in degrees F.\n";
  for (std::size_t i = 0; i < list.size();) {
    const Keyword& first = list[i];
    if (i == 0 || list[i - 1].correlation != first.correlation) {
      page += "\n## " + first.correlation + (first.alias.empty() ? "" : " (also " + first.alias + ")") + "\n\n" +
              "| Parameter | Default | Unit | Description |\n|---|---|---|---|\n";
    }
    std::size_t j = i;
    std::vector<double> defaults = {first.defaultValue};
    while (j + 1 < list.size() && list[j + 1].correlation == first.correlation &&
           list[j + 1].description == first.description && list[j + 1].unit == first.unit) {
      defaults.push_back(list[++j].defaultValue);
    }
    const std::string names = j == i ? first.parameter : first.parameter + "\xE2\x80\xA6" + list[j].parameter;
    page += "| `" + names + "` | " + defaultsText(defaults) + " | " + first.unit + " | " + first.description + " |\n";
    i = j + 1;
  }
  return page;
}

}  // namespace

void paramsCommand(const std::optional<std::string>& keyword, bool markdown, Format format, std::ostream& out) {
  std::vector<Keyword> list = keywords();
  if (markdown) {
    out << parameterPage(list);
    return;
  }
  if (keyword) {
    const std::string wanted = upper(*keyword);
    std::vector<Keyword> chosen;
    for (const Keyword& k : list) {
      if (k.correlation == wanted || k.alias == wanted) chosen.push_back(k);
    }
    if (chosen.empty()) {
      throw InputError("unknown correlation keyword '" + *keyword + "' (see 'tarn params')");
    }
    list = chosen;
  }
  if (format == Format::Json) {
    Json j = Json::array();
    for (const Keyword& k : list) {
      j.push_back({{"correlation", k.correlation},
                   {"alias", k.alias.empty() ? Json(nullptr) : Json(k.alias)},
                   {"parameter", k.parameter},
                   {"value", number(k.value)},
                   {"default", number(k.defaultValue)},
                   {"unit", k.unit},
                   {"description", k.description}});
    }
    out << j.dump(2) << "\n";
  } else if (format == Format::Csv) {
    out << csv::line({"correlation", "alias", "parameter", "value", "default", "unit", "description"});
    for (const Keyword& k : list) {
      out << csv::line(
          {k.correlation, k.alias, k.parameter, exact(k.value), exact(k.defaultValue), k.unit, k.description});
    }
  } else {
    Table table({"Correlation", "Also", "Parameter", ">Value", ">Default", "Unit", "Description"});
    for (const Keyword& k : list) {
      table.add({k.correlation, k.alias, k.parameter, significant(k.value), significant(k.defaultValue), k.unit,
                 k.description});
    }
    out << table.render();
    out << "\nChange a value for one run with --set CORRELATION.PARAMETER=VALUE (REIDVAPORPRESSURE takes\n"
           "any parameter text). Correlation keywords ignore case; parameter keywords do not.\n";
  }
}

// ---- codes -------------------------------------------------------------------

void codesCommand(bool markdown, Format format, std::ostream& out) {
  if (markdown) {
    out << statusPage();
    return;
  }
  const std::vector<StatusCode> codes = statusCodes();
  if (format == Format::Json) {
    Json j = Json::array();
    for (const StatusCode& s : codes) {
      j.push_back({{"code", s.code},
                   {"family", s.router ? "router" : "catalogue"},
                   {"constant", s.constant},
                   {"meaning", s.meaning},
                   {"message", s.message.empty() ? Json(nullptr) : Json(s.message)}});
    }
    out << j.dump(2) << "\n";
  } else if (format == Format::Csv) {
    out << csv::line({"code", "family", "constant", "meaning", "message"});
    for (const StatusCode& s : codes) {
      out << csv::line({std::to_string(s.code), s.router ? "router" : "catalogue", s.constant, s.meaning, s.message});
    }
  } else {
    Table table({">Code", "Constant", "Message or meaning"});
    for (const StatusCode& s : codes) {
      table.add({std::to_string(s.code), s.constant, s.message.empty() ? "(" + s.meaning + ")" : s.message});
    }
    out << table.render();
  }
}

// ---- blend -------------------------------------------------------------------

namespace {

int methodNumber(const std::string& text) {
  const auto& names = d86MethodNames();
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (upper(text) == names[i] || text == std::to_string(i)) return static_cast<int>(i);
  }
  std::string known;
  for (std::size_t i = 0; i < names.size(); ++i) known += (i ? ", " : "") + names[i];
  throw InputError("unknown distillation method '" + text + "' (known: " + known + ", or 0 to 5)");
}

std::string figureText(const Figure& f) {
  if (isMissing(f.value)) return "not computed: " + f.reason;
  return f.method + (f.note.empty() ? "" : " (" + f.note + ")");
}

void writeReportTable(const Report& r, std::ostream& out) {
  out << "TARN blend report: " << r.source << " (" << r.product << ")\n";
  out << "Basis: " << r.basis << (r.basis == "mass" ? " (volumes from mass / SPG)" : "") << ", total "
      << (std::isfinite(r.totalQuantity) ? significant(r.totalQuantity) : "over 1.8e308")
      << (r.quantityUnit.empty() ? "" : " " + r.quantityUnit) << "; temperatures in deg " << r.temperatureUnit
      << (r.find("RVP") != nullptr ? ", vapour pressure in " + r.pressureUnit : std::string()) << "\n\n";
  const std::string quantity =
      std::string(r.basis == "mass" ? "Mass" : "Volume") + (r.quantityUnit.empty() ? "" : " [" + r.quantityUnit + "]");
  Table components({"Component", ">" + quantity, ">Volume %"});
  for (const Share& s : r.components) {
    components.add({s.name, quantityText(s.quantity), rounded(100.0 * s.volumeFraction, 2)});
  }
  out << components.render();
  for (const Section& section : r.sections) {
    out << "\n" << section.title << "\n";
    Table table({"Property", "", ">Value", "Unit", "Method"});
    for (const Figure& f : section.figures) {
      table.add({f.key, f.description, rounded(f.value, f.decimals), f.unit, figureText(f)});
    }
    out << table.render(2);
  }
  if (r.checked) {
    const std::size_t total = r.check.limits.size();
    out << "\nGrade " << r.check.grade << (r.check.gradeClass.empty() ? "" : " class " + r.check.gradeClass) << ": "
        << (r.check.failures
                ? "OFF-SPEC, " + std::to_string(r.check.failures) + " of " + std::to_string(total) + " limits failed"
                : "ON-SPEC, no limit failed")
        << (r.check.unchecked ? " (" + std::to_string(r.check.unchecked) + " not checked)" : "")
        << "; margin = distance inside the limit (giveaway), negative when outside\n";
    Table table({"Property", ">Min", ">Max", ">Value", ">Margin", "Unit", "Verdict", "Source"});
    for (const LimitCheck& c : r.check.limits) {
      // Each number with the decimals its property is reported with.
      const Figure* f = r.find(c.key);
      const int decimals = f != nullptr ? f->decimals : 2;
      const bool checked = !isMissing(c.margin);
      table.add({c.key, isMissing(c.minimum) ? "" : rounded(c.minimum, decimals),
                 isMissing(c.maximum) ? "" : rounded(c.maximum, decimals), checked ? rounded(c.value, decimals) : "",
                 checked ? rounded(c.margin, decimals) : "", c.unit,
                 checked ? c.verdict + (c.estimate ? " (estimate)" : "") : c.verdict + ": " + c.reason, c.source});
    }
    out << table.render(2);
  }
  if (!r.notes.empty()) {
    out << "\nNotes\n";
    for (const std::string& n : r.notes) out << "  - " << n << "\n";
  }
}

void writeReportJson(const Report& r, std::ostream& out) {
  Json components = Json::array();
  for (const Share& s : r.components) {
    components.push_back({{"name", s.name}, {"quantity", s.quantity}, {"volume_fraction", s.volumeFraction}});
  }
  Json blend = Json::object();
  for (const Section& section : r.sections) {
    for (const Figure& f : section.figures) {
      blend[f.key] = {{"value", number(f.value)}, {"unit", f.unit},     {"description", f.description},
                      {"section", section.title}, {"method", f.method}, {"estimate", f.estimate}};
      if (!f.reason.empty()) blend[f.key]["reason"] = f.reason;
      if (!f.note.empty()) blend[f.key]["note"] = f.note;
    }
  }
  Json j = {{"source", r.source},
            {"product", r.product},
            {"basis", r.basis},
            {"quantity_unit", r.quantityUnit},
            {"total_quantity", std::isfinite(r.totalQuantity) ? Json(r.totalQuantity) : Json(nullptr)},
            {"temperature_unit", r.temperatureUnit},
            {"pressure_unit", r.pressureUnit},
            {"components", components},
            {"blend", blend},
            {"notes", r.notes}};
  if (r.checked) {
    Json limits = Json::array();
    for (const LimitCheck& c : r.check.limits) {
      Json row = {{"property", c.key},        {"min", number(c.minimum)},   {"max", number(c.maximum)},
                  {"value", number(c.value)}, {"margin", number(c.margin)}, {"unit", c.unit},
                  {"verdict", c.verdict},     {"estimate", c.estimate},     {"source", c.source}};
      if (!c.reason.empty()) row["reason"] = c.reason;
      limits.push_back(row);
    }
    j["grade"] = {{"name", r.check.grade},
                  {"class", r.check.gradeClass},
                  {"failures", r.check.failures},
                  {"unchecked", r.check.unchecked},
                  {"limits", limits}};
  }
  // Names and sources come from files: the readers accept only UTF-8, and a
  // byte that slipped through would still be written as U+FFFD, not thrown.
  out << j.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

void writeReportCsv(const Report& r, std::ostream& out) {
  out << csv::line({"section", "property", "description", "value", "unit", "method", "note"});
  for (const Section& section : r.sections) {
    for (const Figure& f : section.figures) {
      out << csv::line({section.title, f.key, f.description, exact(f.value), f.unit, f.method,
                        f.reason.empty() ? f.note : f.reason});
    }
  }
  for (const LimitCheck& c : r.check.limits) {
    out << csv::line({"Grade " + r.check.grade, c.key, c.verdict + (c.estimate ? " (estimate)" : ""), exact(c.value),
                      c.unit, "min " + exact(c.minimum) + ", max " + exact(c.maximum) + ", margin " + exact(c.margin),
                      c.reason.empty() ? c.source : c.reason});
  }
}

}  // namespace

int blendCommand(const BlendCommandOptions& options, Format format, std::ostream& out) {
  BlendOptions blendOptions;
  blendOptions.d86Method = methodNumber(options.method);
  blendOptions.libraryPureThreshold = options.libraryPureThreshold;
  blendOptions.grade = options.grade;
  blendOptions.gradeClass = options.gradeClass;
  int product = 0;  // the recipe's own unless --product says
  if (!options.product.empty() && tarnblend_product_parse(options.product.c_str(), &product) != TARNBLEND_OK) {
    throw InputError(tarnblend_last_error());
  }
  Recipe recipe = readRecipe(options.recipe, product, options.units ? std::string(1, *options.units) : "");
  const Report report = blendReport(recipe, blendOptions);
  if (!options.plot.empty()) {
    std::ofstream svg(options.plot);
    if (!svg) throw InputError("cannot write plot '" + options.plot + "'");
    svg << distillationPlot(report);
    if (!svg) throw InputError("cannot write plot '" + options.plot + "'");
  }
  switch (format) {
    case Format::Json:
      writeReportJson(report, out);
      break;
    case Format::Csv:
      writeReportCsv(report, out);
      break;
    case Format::Table:
      writeReportTable(report, out);
      break;
  }
  return report.checked && report.check.failures > 0 ? kExitOffSpec : 0;
}

// ---- grades ------------------------------------------------------------------

void gradesCommand(Format format, std::ostream& out) {
  int count = 0;
  tarnblend_grade_count(&count);
  Json list = Json::array();
  if (format == Format::Csv)
    out << csv::line({"grade", "product", "class", "property", "min", "max", "unit", "source"});
  for (int k = 0; k < count; ++k) {
    const char *name = "", *title = "", *classes = "", *defaultClass = "";
    int product = 0;
    tarnblend_grade_builtin(k, &name, &title, &product, &classes, &defaultClass);
    std::vector<std::string> classList;
    std::stringstream split(classes);
    for (std::string c; std::getline(split, c, ',');) classList.push_back(c);
    if (classList.empty()) classList.push_back("");
    if (format == Format::Table) {
      out << name << ": " << title << " (" << tarnblend_product_name(product) << ")\n";
      out << "  classes: " << (classList.front().empty() ? "none" : classes)
          << (defaultClass[0] ? std::string(" (default ") + defaultClass + ")" : "") << "\n";
      continue;
    }
    Json classesJson = Json::array();
    for (const std::string& c : classList) {
      tarnblend_grade* grade = nullptr;
      if (tarnblend_grade_open(name, c.c_str(), &grade) != TARNBLEND_OK) continue;
      int limits = 0;
      tarnblend_grade_limit_count(grade, &limits);
      Json rows = Json::array();
      for (int l = 0; l < limits; ++l) {
        const char *key = "", *unit = "", *source = "";
        double minimum = kMissing, maximum = kMissing;
        tarnblend_grade_limit(grade, l, &key, &minimum, &maximum, &unit, &source);
        if (format == Format::Csv) {
          out << csv::line(
              {name, tarnblend_product_name(product), c, key, exact(minimum), exact(maximum), unit, source});
        }
        rows.push_back({{"property", key},
                        {"min", number(minimum)},
                        {"max", number(maximum)},
                        {"unit", unit},
                        {"source", source}});
      }
      tarnblend_grade_free(grade);
      classesJson.push_back({{"class", c}, {"limits", rows}});
    }
    list.push_back({{"name", name},
                    {"title", title},
                    {"product", tarnblend_product_name(product)},
                    {"default_class", defaultClass},
                    {"classes", classesJson}});
  }
  if (format == Format::Json) out << list.dump(2) << "\n";
  if (format == Format::Table) out << "\nLimits and their sources: tarn grades --csv (or --json).\n";
}

}  // namespace tarncli
