// The exported C interface of the blend library: each export checks its
// pointers, runs its body through the firewall and hands out strings owned by
// the model, the grade or the library.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>

#include "firewall.h"
#include "grades.h"
#include "model.h"
#include "tarn/distill.h"

struct tarnblend_grade {
  tarnblend::Grade grade;
};

namespace tarnblend {
namespace {

thread_local std::string lastMessage;

Model& modelOf(tarnblend_model* handle) {
  requirePointer(handle, "model");
  return handle->model;
}

const Model& modelOf(const tarnblend_model* handle) {
  requirePointer(handle, "model");
  return handle->model;
}

const Grade& gradeOf(const tarnblend_grade* handle) {
  requirePointer(handle, "grade");
  return handle->grade;
}

Input inputOf(const char* key, std::string* implied = nullptr) {
  requirePointer(key, "property key");
  Input input;
  std::string unit;
  if (!findInput(key, input, unit)) {
    throw Error(TARNBLEND_ERROR_PROPERTY,
                "unknown property '" + std::string(key) + "' (known: " + inputKeyList() + ")");
  }
  if (implied) *implied = unit;
  return input;
}

const Unit& unitOf(const char* text) {
  requirePointer(text, "unit");
  const Unit* unit = findUnit(text);
  if (unit == nullptr) {
    std::string accepted;
    for (int d = 0; d < kDimensionCount; ++d) {
      accepted += std::string(accepted.empty() ? "" : "; ") + unitList(static_cast<Dimension>(d));
    }
    throw Error(TARNBLEND_ERROR_UNIT, "unknown unit '" + std::string(text) + "' (units: " + accepted + ")");
  }
  return *unit;
}

Property propertyAt(const Model& model, int k) {
  if (k < 0 || k >= static_cast<int>(model.properties().size())) {
    throw Error(TARNBLEND_ERROR_ARGUMENT, "blended property " + std::to_string(k) + " is not in the list (it has " +
                                              std::to_string(model.properties().size()) + ")");
  }
  return model.properties()[static_cast<std::size_t>(k)];
}

// Decimals worth showing in the unit the property is reported in: the
// table's count is for the default unit, and each factor of ten between the
// two units moves it by one (psi 2 -> kPa 1, kg/m3 1 -> SPG 4, ppm 1 -> wt% 5).
int shownDecimals(const Model& m, Property p) {
  const PropertyInfo& info = propertyInfo(p);
  const Unit& shown = m.propertyUnit(p);
  if (shown.apiGravity) return 1;
  const Unit* reference =
      info.unitSource == UnitSource::Input ? unitNamed(inputInfo(info.input).defaultUnit) : &baseUnit(info.dimension);
  if (reference == nullptr || reference->apiGravity) return info.decimals;
  const int shift = static_cast<int>(std::lround(std::log10(shown.scale / reference->scale)));
  return std::max(0, info.decimals + shift);
}

void requireLength(int given, int wanted, const char* what) {
  if (given != wanted) {
    throw Error(TARNBLEND_ERROR_ARGUMENT,
                std::string(what) + ": expected " + std::to_string(wanted) + ", got " + std::to_string(given));
  }
}

template <class T>
void put(T* out, T value) {
  if (out) *out = value;
}

}  // namespace

void setLastError(const char* message) noexcept {
  try {
    lastMessage = message;
  } catch (...) {
    lastMessage.clear();
  }
}

const char* lastError() noexcept { return lastMessage.c_str(); }

}  // namespace tarnblend

using namespace tarnblend;

extern "C" {

// ---- Messages ----

TARNBLEND_API const char* TARN_CALL tarnblend_last_error(void) { return lastError(); }

TARNBLEND_API const char* TARN_CALL tarnblend_status_text(int status) {
  switch (status) {
    case TARNBLEND_OK:
      return "success";
    case TARNBLEND_ERROR_ARGUMENT:
      return "bad argument";
    case TARNBLEND_ERROR_PROPERTY:
      return "unknown property";
    case TARNBLEND_ERROR_UNIT:
      return "unknown or unfitting unit";
    case TARNBLEND_ERROR_VALUE:
      return "impossible value";
    case TARNBLEND_ERROR_DUPLICATE:
      return "component named twice";
    case TARNBLEND_ERROR_NOT_FOUND:
      return "not found";
    case TARNBLEND_ERROR_FILE:
      return "bad file";
    case TARNBLEND_ERROR_STATE:
      return "nothing to blend";
    case TARNBLEND_ERROR_PRODUCT:
      return "grade for another product";
    case TARNBLEND_ERROR_MEMORY:
      return "out of memory";
    case TARNBLEND_ERROR_INTERNAL:
      return "internal fault";
    default:
      return "unknown status";
  }
}

TARNBLEND_API const char* TARN_CALL tarnblend_version(void) { return TARNBLEND_VERSION_TEXT; }

// ---- Units and recipe properties ----

TARNBLEND_API int TARN_CALL tarnblend_unit_parse(const char* text, const char** canonical, int* dimension) {
  return guarded([&] {
    const Unit& unit = unitOf(text);
    put(canonical, unit.name);
    put(dimension, static_cast<int>(unit.dimension));
  });
}

TARNBLEND_API const char* TARN_CALL tarnblend_unit_list(int dimension) {
  return dimension >= 0 && dimension < kDimensionCount ? unitList(static_cast<Dimension>(dimension)) : "";
}

TARNBLEND_API int TARN_CALL tarnblend_unit_convert(double value, const char* from, const char* to, double* result) {
  return guarded([&] {
    requirePointer(result, "result");
    const Unit &a = unitOf(from), &b = unitOf(to);
    if (a.dimension != b.dimension) {
      throw Error(TARNBLEND_ERROR_UNIT, std::string("'") + a.name + "' does not convert to '" + b.name + "'");
    }
    *result = std::isnan(value) ? kMissing : fromBase(b, toBase(a, value));
  });
}

TARNBLEND_API int TARN_CALL tarnblend_input_count(int* count) {
  return guarded([&] {
    requirePointer(count, "count");
    *count = kInputCount;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_input_info(int k, const char** key, const char** description, int* dimension,
                                                 const char** defaultUnit) {
  return guarded([&] {
    if (k < 0 || k >= kInputCount)
      throw Error(TARNBLEND_ERROR_ARGUMENT, "recipe property " + std::to_string(k) + " does not exist");
    const InputInfo& info = inputInfo(k);
    put(key, info.key);
    put(description, info.description);
    put(dimension, static_cast<int>(info.dimension));
    put(defaultUnit, info.defaultUnit);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_input_find(const char* name, int* k, const char** impliedUnit) {
  return guarded([&] {
    std::string implied;
    const Input input = inputOf(name, &implied);
    put(k, static_cast<int>(input));
    const Unit* unit = implied.empty() ? nullptr : unitNamed(implied);
    put(impliedUnit, unit ? unit->name : "");
  });
}

// ---- Products ----

TARNBLEND_API int TARN_CALL tarnblend_product_parse(const char* text, int* product) {
  return guarded([&] {
    requirePointer(text, "product");
    requirePointer(product, "product kind");
    std::string t;
    for (const char* c = text; *c; ++c) t += static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
    if (t == "gasoline" || t == "petrol" || t == "mogas") {
      *product = TARNBLEND_GASOLINE;
    } else if (t == "diesel" || t == "gasoil") {
      *product = TARNBLEND_DIESEL;
    } else if (t == "jet" || t == "kerosene") {
      *product = TARNBLEND_JET;
    } else {
      throw Error(TARNBLEND_ERROR_ARGUMENT, "unknown product '" + std::string(text) + "' (gasoline, diesel, jet)");
    }
  });
}

TARNBLEND_API const char* TARN_CALL tarnblend_product_name(int product) {
  switch (product) {
    case TARNBLEND_ANY_PRODUCT:
      return "any";
    case TARNBLEND_GASOLINE:
      return "gasoline";
    case TARNBLEND_DIESEL:
      return "diesel";
    case TARNBLEND_JET:
      return "jet";
    default:
      return "";
  }
}

// ---- Building a model ----

TARNBLEND_API int TARN_CALL tarnblend_model_create(int product, tarnblend_model** model) {
  return guarded([&] {
    requirePointer(model, "model pointer");
    *model = nullptr;
    *model = new tarnblend_model(product);
  });
}

TARNBLEND_API void TARN_CALL tarnblend_model_free(tarnblend_model* model) { delete model; }

TARNBLEND_API int TARN_CALL tarnblend_model_set_product(tarnblend_model* model, int product) {
  return guarded([&] { modelOf(model).setProduct(product); });
}

TARNBLEND_API int TARN_CALL tarnblend_model_product(const tarnblend_model* model, int* product) {
  return guarded([&] {
    requirePointer(product, "product");
    *product = modelOf(model).product();
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_set_unit(tarnblend_model* model, const char* key, const char* unit) {
  return guarded([&] { modelOf(model).setRecipeUnit(inputOf(key), unitOf(unit)); });
}

TARNBLEND_API int TARN_CALL tarnblend_model_unit(const tarnblend_model* model, const char* key, const char** unit) {
  return guarded([&] {
    requirePointer(unit, "unit");
    *unit = modelOf(model).recipeUnit(inputOf(key)).name;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_set_option(tarnblend_model* model, const char* name, double value) {
  return guarded([&] {
    requirePointer(name, "option name");
    modelOf(model).setOption(name, value);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_option(const tarnblend_model* model, const char* name, double* value) {
  return guarded([&] {
    requirePointer(name, "option name");
    requirePointer(value, "value");
    *value = modelOf(model).option(name);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_add_component(tarnblend_model* model, const char* name, int* index) {
  return guarded([&] {
    requirePointer(name, "component name");
    put(index, modelOf(model).addComponent(name));
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_component_count(const tarnblend_model* model, int* count) {
  return guarded([&] {
    requirePointer(count, "count");
    *count = modelOf(model).componentCount();
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_component_name(const tarnblend_model* model, int component,
                                                           const char** name) {
  return guarded([&] {
    requirePointer(name, "name");
    *name = modelOf(model).component(component).name.c_str();
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_set_property(tarnblend_model* model, int component, const char* key,
                                                         double value, const char* unit) {
  return guarded([&] {
    Model& m = modelOf(model);
    std::string implied;
    const Input input = inputOf(key, &implied);
    const Unit* given = nullptr;
    if (unit != nullptr && unit[0] != '\0') {
      given = &unitOf(unit);
    } else if (!implied.empty()) {
      given = unitNamed(implied);
    }
    m.setValue(component, input, value, given);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_get_property(const tarnblend_model* model, int component, const char* key,
                                                         double* value) {
  return guarded([&] {
    requirePointer(value, "value");
    const Model& m = modelOf(model);
    const Input input = inputOf(key);
    *value = fromBase(m.recipeUnit(input), m.value(component, input));
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_input_given(const tarnblend_model* model, const char* key, int* given) {
  return guarded([&] {
    requirePointer(given, "given");
    *given = modelOf(model).given(inputOf(key)) ? 1 : 0;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_set_volume(tarnblend_model* model, int component, double volume) {
  return guarded([&] { modelOf(model).setVolume(component, volume); });
}

TARNBLEND_API int TARN_CALL tarnblend_model_set_mass(tarnblend_model* model, int component, double mass) {
  return guarded([&] { modelOf(model).setMass(component, mass); });
}

TARNBLEND_API int TARN_CALL tarnblend_model_set_volumes(tarnblend_model* model, const double* volumes, int n) {
  return guarded([&] { modelOf(model).setVolumes(volumes, n); });
}

TARNBLEND_API int TARN_CALL tarnblend_model_volume(const tarnblend_model* model, int component, double* volume) {
  return guarded([&] {
    requirePointer(volume, "volume");
    *volume = modelOf(model).component(component).volume;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_component_curve(const tarnblend_model* model, int component,
                                                            double curve[7], int* estimated) {
  return guarded([&] {
    requirePointer(curve, "curve");
    const Model& m = modelOf(model);
    double points[7];
    for (int k = 0; k < 7; ++k) points[k] = m.value(component, kCurvePoints[k]);
    const bool fill = isMissing(points[2]) || isMissing(points[4]);
    bool complete = true;
    for (int k : {0, 1, 3, 5, 6}) complete = complete && !isMissing(points[k]);
    if (fill && complete) gfx_TBPLogInterpolate2(points);
    put(estimated, fill && complete ? 1 : 0);
    for (int k = 0; k < 7; ++k) curve[k] = fromBase(m.recipeUnit(Input::T50), points[k]);
  });
}

// ---- Evaluating a model ----

TARNBLEND_API int TARN_CALL tarnblend_model_evaluate(tarnblend_model* model, int derivatives) {
  return guarded([&] { modelOf(model).evaluate(derivatives != 0); });
}

TARNBLEND_API int TARN_CALL tarnblend_model_set_needed(tarnblend_model* model, const int* properties, int count) {
  return guarded([&] { modelOf(model).setNeeded(properties, count); });
}

TARNBLEND_API int TARN_CALL tarnblend_model_evaluate_at(tarnblend_model* model, const double* volumes, int n,
                                                        double* values, double* jacobian) {
  return guarded([&] {
    Model& m = modelOf(model);
    m.setVolumes(volumes, n);
    int status = TARNBLEND_OK;
    try {
      m.evaluate(jacobian != nullptr);
    } catch (const Error& e) {
      if (e.status() != TARNBLEND_ERROR_STATE) throw;
      status = e.status();
      setLastError(e.what());
    }
    const std::vector<Property>& list = m.properties();
    for (std::size_t k = 0; k < list.size(); ++k) {
      if (values) values[k] = m.result(list[k]).value;
      if (jacobian) {
        const double* g = m.gradient(list[k]);
        std::copy(g, g + n, jacobian + k * static_cast<std::size_t>(n));
      }
    }
    if (status != TARNBLEND_OK) throw Error(status, lastError());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_property_count(const tarnblend_model* model, int* count) {
  return guarded([&] {
    requirePointer(count, "count");
    *count = static_cast<int>(modelOf(model).properties().size());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_property_find(const tarnblend_model* model, const char* key, int* k) {
  return guarded([&] {
    requirePointer(key, "key");
    requirePointer(k, "index");
    const Model& m = modelOf(model);
    const int found = m.findProperty(key);
    if (found < 0) {
      throw Error(TARNBLEND_ERROR_PROPERTY,
                  std::string("a ") + tarnblend_product_name(m.product()) + " blend has no property '" + key + "'");
    }
    *k = found;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_property_info(const tarnblend_model* model, int k, const char** key,
                                                          const char** description, const char** unit,
                                                          const char** section, int* decimals, int* flags) {
  return guarded([&] {
    const Model& m = modelOf(model);
    const Property p = propertyAt(m, k);
    const PropertyInfo& info = propertyInfo(p);
    put(key, info.key);
    put(description, info.description);
    if (unit) {
      *unit = info.unitSource == UnitSource::CurveLabel ? m.recipeUnit(Input::T50).name : m.propertyUnit(p).name;
    }
    put(section, info.section);
    put(decimals, shownDecimals(m, p));
    put(flags, info.flags);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_result(const tarnblend_model* model, int k, double* value, int* status,
                                                   const char** reason, const char** method, const char** note) {
  return guarded([&] {
    const Model& m = modelOf(model);
    const Property p = propertyAt(m, k);
    const Result& r = m.result(p);
    put(value, r.value);
    put(status, r.status);
    put(reason, r.reason.c_str());
    if (method) *method = m.method(p).c_str();
    put(note, r.note.c_str());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_values(const tarnblend_model* model, double* values, int* statuses, int n) {
  return guarded([&] {
    const Model& m = modelOf(model);
    requireLength(n, static_cast<int>(m.properties().size()), "values");
    for (int k = 0; k < n; ++k) {
      const Result& r = m.result(m.properties()[static_cast<std::size_t>(k)]);
      if (values) values[k] = r.value;
      if (statuses) statuses[k] = r.status;
    }
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_jacobian(const tarnblend_model* model, double* jacobian, int rows,
                                                     int columns) {
  return guarded([&] {
    requirePointer(jacobian, "jacobian");
    const Model& m = modelOf(model);
    requireLength(rows, static_cast<int>(m.properties().size()), "rows");
    requireLength(columns, m.componentCount(), "columns");
    if (!m.evaluated() || !m.hasDerivatives()) {
      throw Error(TARNBLEND_ERROR_STATE, "the model has not been evaluated with derivatives since it last changed");
    }
    for (int k = 0; k < rows; ++k) {
      const double* g = m.gradient(m.properties()[static_cast<std::size_t>(k)]);
      std::copy(g, g + columns, jacobian + static_cast<std::size_t>(k) * static_cast<std::size_t>(columns));
    }
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_note_count(const tarnblend_model* model, int* count) {
  return guarded([&] {
    requirePointer(count, "count");
    *count = static_cast<int>(modelOf(model).notes().size());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_note(const tarnblend_model* model, int k, const char** note) {
  return guarded([&] {
    requirePointer(note, "note");
    const std::vector<std::string>& notes = modelOf(model).notes();
    if (k < 0 || k >= static_cast<int>(notes.size()))
      throw Error(TARNBLEND_ERROR_ARGUMENT, "there is no note " + std::to_string(k));
    *note = notes[static_cast<std::size_t>(k)].c_str();
  });
}

// ---- Grades ----

TARNBLEND_API int TARN_CALL tarnblend_grade_count(int* count) {
  return guarded([&] {
    requirePointer(count, "count");
    *count = builtinGradeCount();
  });
}

TARNBLEND_API int TARN_CALL tarnblend_grade_builtin(int k, const char** name, const char** title, int* product,
                                                    const char** classes, const char** defaultClass) {
  return guarded([&] {
    if (k < 0 || k >= builtinGradeCount())
      throw Error(TARNBLEND_ERROR_ARGUMENT, "there is no built-in grade " + std::to_string(k));
    const BuiltinGradeInfo& info = builtinGrade(k);
    put(name, info.name);
    put(title, info.title);
    put(product, info.product);
    put(classes, info.classes);
    put(defaultClass, info.defaultClass);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_grade_open(const char* name, const char* gradeClass, tarnblend_grade** grade) {
  return guarded([&] {
    requirePointer(name, "grade name");
    requirePointer(grade, "grade pointer");
    *grade = nullptr;
    auto* handle = new tarnblend_grade{openBuiltinGrade(name, gradeClass ? gradeClass : "")};
    *grade = handle;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_grade_read(const char* path, tarnblend_grade** grade) {
  return guarded([&] {
    requirePointer(path, "path");
    requirePointer(grade, "grade pointer");
    *grade = nullptr;
    auto* handle = new tarnblend_grade{readGradeFile(path)};
    *grade = handle;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_grade_create(const char* name, int product, tarnblend_grade** grade) {
  return guarded([&] {
    requirePointer(name, "grade name");
    requirePointer(grade, "grade pointer");
    if (product < TARNBLEND_ANY_PRODUCT || product > TARNBLEND_JET) {
      throw Error(TARNBLEND_ERROR_ARGUMENT, "unknown product kind " + std::to_string(product));
    }
    *grade = nullptr;
    auto* handle = new tarnblend_grade();
    handle->grade.name = name;
    handle->grade.product = product;
    *grade = handle;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_grade_add_limit(tarnblend_grade* grade, const char* key, double minimum,
                                                      double maximum, const char* unit, const char* source) {
  return guarded([&] {
    requirePointer(grade, "grade");
    requirePointer(key, "property key");
    grade->grade.addLimit(key, minimum, maximum, unit ? unit : "", source ? source : "");
  });
}

TARNBLEND_API void TARN_CALL tarnblend_grade_free(tarnblend_grade* grade) { delete grade; }

TARNBLEND_API int TARN_CALL tarnblend_grade_info(const tarnblend_grade* grade, const char** name,
                                                 const char** gradeClass, int* product) {
  return guarded([&] {
    const Grade& g = gradeOf(grade);
    put(name, g.name.c_str());
    put(gradeClass, g.gradeClass.c_str());
    put(product, g.product);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_grade_limit_count(const tarnblend_grade* grade, int* count) {
  return guarded([&] {
    requirePointer(count, "count");
    *count = static_cast<int>(gradeOf(grade).limits.size());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_grade_limit(const tarnblend_grade* grade, int k, const char** key,
                                                  double* minimum, double* maximum, const char** unit,
                                                  const char** source) {
  return guarded([&] {
    const Grade& g = gradeOf(grade);
    if (k < 0 || k >= static_cast<int>(g.limits.size()))
      throw Error(TARNBLEND_ERROR_ARGUMENT, "the grade has no limit " + std::to_string(k));
    const Limit& limit = g.limits[static_cast<std::size_t>(k)];
    put(key, limit.key.c_str());
    put(minimum, limit.minimum);
    put(maximum, limit.maximum);
    put(unit, limit.unit->name);
    put(source, limit.source.c_str());
  });
}

// ---- Checking a blend against a grade ----

TARNBLEND_API int TARN_CALL tarnblend_model_check(tarnblend_model* model, const tarnblend_grade* grade, int* failures,
                                                  int* unchecked) {
  return guarded([&] {
    Model& m = modelOf(model);
    const Grade& g = gradeOf(grade);
    if (!m.evaluated()) m.evaluate(m.hasDerivatives());
    int failed = 0, open = 0;
    checkGrade(m, g, failed, open);
    put(failures, failed);
    put(unchecked, open);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_check_count(const tarnblend_model* model, int* count) {
  return guarded([&] {
    requirePointer(count, "count");
    *count = static_cast<int>(modelOf(model).checks().size());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_model_check_row(const tarnblend_model* model, int k, int* property,
                                                      double* minimum, double* maximum, double* value, double* margin,
                                                      int* verdict, const char** unit, const char** reason) {
  return guarded([&] {
    const std::vector<CheckRow>& rows = modelOf(model).checks();
    if (k < 0 || k >= static_cast<int>(rows.size()))
      throw Error(TARNBLEND_ERROR_ARGUMENT, "the check has no row " + std::to_string(k));
    const CheckRow& row = rows[static_cast<std::size_t>(k)];
    put(property, row.property);
    put(minimum, row.minimum);
    put(maximum, row.maximum);
    put(value, row.value);
    put(margin, row.margin);
    put(verdict, row.verdict);
    put(unit, row.unit.c_str());
    put(reason, row.reason.c_str());
  });
}

}  // extern "C"
