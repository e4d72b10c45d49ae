#include "catalogue.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>

#include "errors.h"
#include "numbers.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"

namespace tarncli {
namespace {

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

// NAME=VALUE split at the first '=' with NAME split at the first '.'.
struct Assignment {
  std::string owner, name;
  double value = 0.0;
};

Assignment parseAssignment(const std::string& setting, const char* shape) {
  const auto equals = setting.find('=');
  const auto dot = setting.find('.');
  if (equals == std::string::npos || dot == std::string::npos || dot > equals || dot == 0 || dot + 1 == equals) {
    throw InputError("'" + setting + "' is not of the form " + shape);
  }
  Assignment out;
  out.owner = setting.substr(0, dot);
  out.name = setting.substr(dot + 1, equals - dot - 1);
  const auto value = parseNumber(setting.substr(equals + 1));
  if (!value) {
    throw InputError("the value of '" + setting + "' is not a number: '" + setting.substr(equals + 1) + "'");
  }
  out.value = *value;
  return out;
}

}  // namespace

std::optional<double> Correlation::unitFlag() const {
  for (const Coefficient& c : coefficients) {
    if (c.name == "CORF") return c.value;
  }
  return std::nullopt;
}

int correlationCount() {
  int count = 0;
  gfx_tarnGetCorrelationCount(&count);
  return count;
}

Correlation correlation(int index) {
  Correlation c;
  c.index = index;
  char text[TARN_DESC_SIZE] = "";
  if (gfx_tarnGetCorrelationId(index, text) != TARN_STATUS_OK) {
    throw InputError("there is no correlation " + std::to_string(index));
  }
  c.id = text;
  gfx_tarnGetCorrelationDesc(index, text);
  c.description = text;
  gfx_tarnGetCorrelationType(index, &c.type);

  int count = 0;
  gfx_tarnGetCorrelationInpPropCount(index, &count);
  char property[TARN_PROPERTY_ID_SIZE];
  for (int k = 0; k < count; ++k) {
    gfx_tarnGetCorrelationInpPropId(index, k, property);
    c.inputs.emplace_back(property);
  }
  gfx_tarnGetCorrelationOutPropCount(index, &count);
  for (int k = 0; k < count; ++k) {
    gfx_tarnGetCorrelationOutPropId(index, k, property);
    c.outputs.emplace_back(property);
    // The kind query leaves the value alone where the catalogue has none.
    int kind = INT_MIN;
    gfx_tarnGetCorrelationOutPropType(index, k, &kind);
    c.kinds.push_back(kind == INT_MIN ? std::nullopt : std::optional<int>(kind));
  }
  int pair = 0;
  if (gfx_tarnGetIndexPair(index, &pair) == TARN_STATUS_OK) c.pair = pair;
  gfx_tarnGetCorrelationSlackCount(index, &c.slackCount);  // left alone (0) when none

  gfx_tarnGetCoefCount(index, &count);
  for (int k = 0; k < count; ++k) {
    char name[TARN_COEF_NAME_SIZE] = "";
    double value = 0.0;
    gfx_tarnGetCoef(index, k, name, &value);
    c.coefficients.push_back({name, value});
  }
  char source[TARN_SOURCE_SIZE] = "";
  gfx_tarnGetCorrelationSource(index, source);
  c.source = source;
  return c;
}

int findCorrelation(const std::string& idOrIndex) {
  const int count = correlationCount();
  if (const auto number = parseNumber(idOrIndex)) {
    const double n = *number;
    if (n >= 0 && n < count && n == static_cast<int>(n)) return static_cast<int>(n);
    throw InputError("unknown correlation '" + idOrIndex + "' (indexes run from 0 to " + std::to_string(count - 1) +
                     ")");
  }
  const std::string wanted = upper(idOrIndex);
  char id[TARN_ID_SIZE];
  for (int i = 0; i < count; ++i) {
    if (gfx_tarnGetCorrelationId(i, id) == TARN_STATUS_OK && wanted == id) return i;
  }
  throw InputError("unknown correlation '" + idOrIndex + "' (see 'tarn list')");
}

std::string kindName(int kind) {
  switch (kind) {
    case 1:
      return "front-end distillation point";
    case 2:
      return "distillation point";
    case 3:
      return "vapour pressure";
    case 4:
      return "pour point";
    case 5:
      return "viscosity";
    case 7:
      return "cetane";
    case 8:
      return "cetane improver response";
    case 9:
      return "temperature for a vapour/liquid ratio";
    case 10:
      return "cloud point or CFPP";
    case 11:
      return "octane";
    case 12:
      return "flash point";
    case 15:
      return "oxygen";
    case 16:
      return "sulfur";
    case 17:
      return "composition (vol%)";
    case 18:
      return "drivability index";
    case 19:
      return "percent evaporated";
    case 20:
      return "emission result or index";
    default:
      return "property family " + std::to_string(kind);
  }
}

std::string typeName(int type) {
  switch (type) {
    case TARN_TYPE_GENERAL:
      return "general";
    case TARN_TYPE_DISTILLATION_INDEX:
      return "distillation index";
    case TARN_TYPE_INDEX_TO_PROPERTY:
      return "index to property";
    case TARN_TYPE_PROPERTY_TO_INDEX:
      return "property to index";
    default:
      return "type " + std::to_string(type);
  }
}

std::vector<Keyword> keywords() {
  int count = 0;
  gfx_getCorParmsCount(&count);
  std::vector<Keyword> out;
  for (int k = 0; k < count; ++k) {
    char correlation[TARN_KEYWORD_SIZE], alias[TARN_KEYWORD_SIZE], parameter[TARN_KEYWORD_SIZE];
    if (gfx_getCorParmsKeywords(k, correlation, alias, parameter) != 0) continue;
    Keyword keyword;
    keyword.correlation = correlation;
    keyword.alias = alias;
    keyword.parameter = parameter;
    keyword.value = gfx_getCorParms(correlation, parameter);
    char unit[TARN_UNIT_SIZE] = "", description[TARN_PARAMETER_DESC_SIZE] = "";
    gfx_getCorParmsInfo(k, &keyword.defaultValue, unit, description);
    keyword.unit = unit;
    keyword.description = description;
    out.push_back(keyword);
  }
  return out;
}

void applySetting(const std::string& setting) {
  const Assignment a = parseAssignment(setting, "CORRELATION.PARAMETER=VALUE");
  if (gfx_setCorParms(a.owner.c_str(), a.name.c_str(), a.value) == 0) return;
  for (const Keyword& k : keywords()) {
    const std::string group = upper(a.owner);
    if ((group == k.correlation || group == k.alias) && (k.parameter == a.name || k.parameter == "*")) {
      throw InputError("the library refused " + setting + " (it keeps " + exact(k.value) + ")");
    }
  }
  throw InputError("unknown parameter '" + a.owner + "." + a.name +
                   "' (keywords are listed by 'tarn params'; parameter names are case-sensitive)");
}

namespace {

// Coefficients that are switches or counts, with the values they take and
// what each means. The library stores any number (truncating it); a value
// off the list would leave a model without a defined option and is refused.
struct SettingRule {
  const char* correlations;  // space-separated identifiers, "*" for any
  const char* names;         // space-separated coefficient names
  const char* choices;       // "value meaning|value meaning", "" for any whole number
};
constexpr SettingRule kSettingRules[] = {
    {"*", "CORF", "0 degrees C|1 degrees F"},
    {"CARB CARB3 CARB3M", "T50 T90 ARO OLF SUL BNZ", "0 averaging limit|1 flat limit"},
    {"EPA", "AREA", "1 VOC control region 1 (south)|2 VOC control region 2 (north)"},
    {"EPA", "PHASE", "1 phase I, 1995-1999|2 phase II, 2000 on"},
    {"EPA", "SEASON", "1 summer|2 winter"},
    {"EPA", "EQUATION", "1 option letter C|2 option letter S|3 option letter A"},
    {"EPA", "FUELTYPE", "1 reformulated gasoline|2 conventional gasoline"},
    {"EPA", "CTYPE", "0|1"},
    {"EPA", "COUNTRY", "0 baseline class U|2 baseline class C"},
    {"*", "TYPCOR NTEMP NPOFF NPTS ALTOXY ESTRM O2OPT RNDO2 RNDRST REPORT OLFPEN EVAP", ""},
};

bool listed(const char* list, const std::string& word) {
  const std::string text = std::string(" ") + list + " ";
  return text == " * " || text.find(" " + word + " ") != std::string::npos;
}

// Refuses a value a switch or count cannot take, naming the values it can.
void checkSettingValue(const std::string& id, const std::string& name, double value) {
  for (const SettingRule& rule : kSettingRules) {
    if (!listed(rule.correlations, id) || !listed(rule.names, name)) continue;
    std::string choices = rule.choices, words;
    bool allowed = false;
    for (std::size_t at = 0; !choices.empty() && at != std::string::npos;) {
      const auto bar = choices.find('|', at);
      const std::string choice = choices.substr(at, bar == std::string::npos ? bar : bar - at);
      const auto space = choice.find(' ');
      const std::string number = choice.substr(0, space);
      allowed = allowed || (value == std::trunc(value) && std::to_string(static_cast<long long>(value)) == number);
      words += (words.empty()              ? ""
                : bar == std::string::npos ? " or "
                                           : ", ") +
               number + (space == std::string::npos ? "" : " (" + choice.substr(space + 1) + ")");
      at = bar == std::string::npos ? bar : bar + 1;
    }
    if (choices.empty()) {
      if (value == std::trunc(value)) return;
      throw InputError(id + "." + name + " is a whole-number setting, not " + exact(value));
    }
    if (!allowed) throw InputError(id + "." + name + " takes " + words + ", not " + exact(value));
    return;
  }
}

}  // namespace

std::string settingMeaning(const std::string& id, const std::string& name, double value) {
  for (const SettingRule& rule : kSettingRules) {
    if (!listed(rule.correlations, id) || !listed(rule.names, name)) continue;
    const std::string wanted = std::to_string(static_cast<long long>(value)) + " ";
    const std::string choices = std::string("|") + rule.choices + "|";
    const auto at = choices.find("|" + wanted);
    if (at == std::string::npos || value != std::trunc(value)) return "";
    const auto end = choices.find('|', at + 1);
    return choices.substr(at + 1 + wanted.size(), end - at - 1 - wanted.size());
  }
  return "";
}

std::string applyCoefficient(const std::string& setting) {
  const Assignment a = parseAssignment(setting, "ID.NAME=VALUE");
  const Correlation c = correlation(findCorrelation(a.owner));
  for (std::size_t k = 0; k < c.coefficients.size(); ++k) {
    if (upper(c.coefficients[k].name) != upper(a.name)) continue;
    checkSettingValue(c.id, c.coefficients[k].name, a.value);
    gfx_tarnSetCoefValue(c.index, static_cast<int>(k), a.value);
    char name[TARN_COEF_NAME_SIZE];
    double stored = 0.0;
    gfx_tarnGetCoef(c.index, static_cast<int>(k), name, &stored);
    if (stored == a.value) return "";
    return c.id + "." + name + " holds " + exact(stored) + " after setting " + exact(a.value);
  }
  std::string names;
  for (const Coefficient& co : c.coefficients) names += (names.empty() ? "" : ", ") + co.name;
  throw InputError("correlation " + c.id + " has no coefficient '" + a.name + "'" +
                   (names.empty() ? " (it has none)" : " (it has " + names + ")"));
}

}  // namespace tarncli
