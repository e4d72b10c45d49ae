#include "report.h"

#include <sys/stat.h>

#include <algorithm>

#include "errors.h"
#include "numbers.h"
#include "tarn/blend.h"
#include "tarn/corparms.h"

namespace tarncli {
namespace {

void check(int status) {
  if (status != TARNBLEND_OK) throw InputError(tarnblend_last_error());
}

std::string text(const char* value) { return value ? value : ""; }

GradeCheck checkGrade(tarnblend_model* model, const BlendOptions& options) {
  const auto grade = openGrade(options.grade, options.gradeClass);
  GradeCheck result;
  const char *name = "", *gradeClass = "";
  tarnblend_grade_info(grade.get(), &name, &gradeClass, nullptr);
  result.grade = name;
  result.gradeClass = gradeClass;
  check(tarnblend_model_check(model, grade.get(), &result.failures, &result.unchecked));
  int count = 0;
  tarnblend_model_check_count(model, &count);
  for (int k = 0; k < count; ++k) {
    LimitCheck row;
    const char *key = "", *unit = "", *source = "", *reason = "";
    int verdict = TARNBLEND_UNCHECKED;
    tarnblend_grade_limit(grade.get(), k, &key, nullptr, nullptr, nullptr, &source);
    tarnblend_model_check_row(model, k, nullptr, &row.minimum, &row.maximum, &row.value, &row.margin, &verdict, &unit,
                              &reason);
    row.key = key;
    row.unit = unit;
    row.source = source;
    row.reason = reason;
    row.verdict = verdict == TARNBLEND_PASS ? "PASS" : verdict == TARNBLEND_FAIL ? "FAIL" : "not checked";
    result.limits.push_back(row);
  }
  return result;
}

}  // namespace

void GradeDeleter::operator()(tarnblend_grade* grade) const { tarnblend_grade_free(grade); }

bool isGradeFile(const std::string& name) {
  struct stat info {};
  return (stat(name.c_str(), &info) == 0 && S_ISREG(info.st_mode)) || name.find_first_of("/.") != std::string::npos;
}

GradeHandle openGrade(const std::string& name, const std::string& gradeClass) {
  tarnblend_grade* grade = nullptr;
  if (isGradeFile(name)) {
    if (!gradeClass.empty()) throw InputError("--class applies to built-in grades, not to a grade file");
    check(tarnblend_grade_read(name.c_str(), &grade));
  } else {
    check(tarnblend_grade_open(name.c_str(), gradeClass.c_str(), &grade));
  }
  return GradeHandle(grade);
}

const Figure* Report::find(const std::string& key) const {
  for (const Section& s : sections) {
    for (const Figure& f : s.figures) {
      if (f.key == key) return &f;
    }
  }
  return nullptr;
}

const std::vector<std::string>& d86MethodNames() {
  static const std::vector<std::string> names = {"HC94", "THREEA11", "SIXORDER", "ETHYLS", "NONE", "ETHYLS-EXACT"};
  return names;
}

Report blendReport(Recipe& recipe, const BlendOptions& options) {
  tarnblend_model* model = recipe.model;
  check(tarnblend_model_set_option(model, "D86METHOD", options.d86Method));
  if (options.libraryPureThreshold) check(tarnblend_model_set_option(model, "DPURE", -1.0));
  Report report;
  report.source = recipe.source;
  int product = 0;
  tarnblend_model_product(model, &product);
  report.product = tarnblend_product_name(product);
  report.basis = recipe.basis == Basis::Volume ? "volume" : "mass";
  report.quantityUnit = recipe.quantityUnit;
  const char *temperature = "", *pressure = "";
  tarnblend_model_unit(model, "T50", &temperature);
  tarnblend_model_unit(model, "RVP", &pressure);
  report.temperatureUnit = temperature;
  report.pressureUnit = pressure;

  int components = 0;
  tarnblend_model_component_count(model, &components);
  // Shares are taken relative to the largest volume first, so that volumes
  // near the largest double (1e308) still give their fractions.
  double largest = 0.0, totalVolume = 0.0;
  std::vector<double> volumes(static_cast<std::size_t>(components));
  for (int i = 0; i < components; ++i) {
    tarnblend_model_volume(model, i, &volumes[static_cast<std::size_t>(i)]);
    largest = std::max(largest, volumes[static_cast<std::size_t>(i)]);
    report.totalQuantity += recipe.quantities[static_cast<std::size_t>(i)];
  }
  for (double& v : volumes) v /= largest;
  for (double v : volumes) totalVolume += v;
  for (int i = 0; i < components; ++i) {
    const char* name = "";
    tarnblend_model_component_name(model, i, &name);
    report.components.push_back(
        {name, recipe.quantities[static_cast<std::size_t>(i)], volumes[static_cast<std::size_t>(i)] / totalVolume});
    // Every component that takes part is drawn: through the points the curve
    // model estimates (T30, T70) when the recipe leaves them out.
    Curve curve;
    curve.name = name;
    curve.volumePercent = 100.0 * report.components.back().volumeFraction;
    int estimated = 0, points = 0;
    tarnblend_model_component_curve(model, i, curve.points.data(), &estimated);
    for (std::size_t k : {2u, 4u}) {
      double given = kMissing;
      tarnblend_model_get_property(model, i, k == 2 ? "T30" : "T70", &given);
      curve.estimated[k] = estimated != 0 && isMissing(given) && !isMissing(curve.points[k]);
    }
    for (double t : curve.points) points += !isMissing(t);
    if (volumes[static_cast<std::size_t>(i)] > 0.0 && points >= 2) report.curves.push_back(curve);
  }
  report.percentGrid = {gfx_getCorParms("GENERICD86", "MnVolIBP"), 10, 30, 50, 70, 90,
                        gfx_getCorParms("GENERICD86", "MxVolFBP")};

  check(tarnblend_model_evaluate(model, 0));
  int count = 0;
  tarnblend_model_property_count(model, &count);
  for (int k = 0; k < count; ++k) {
    Figure f;
    const char *key = "", *description = "", *unit = "", *section = "", *reason = "", *method = "", *note = "";
    int flags = 0, status = 0;
    tarnblend_model_property_info(model, k, &key, &description, &unit, &section, &f.decimals, &flags);
    tarnblend_model_result(model, k, &f.value, &status, &reason, &method, &note);
    if (status == TARNBLEND_NOT_GIVEN) continue;
    f.key = key;
    f.description = description;
    f.unit = unit;
    f.method = method;
    f.reason = text(reason);
    f.note = text(note);
    f.estimate = (flags & TARNBLEND_FLAG_ESTIMATE) != 0;
    if (report.sections.empty() || report.sections.back().title != section) report.sections.push_back({section, {}});
    report.sections.back().figures.push_back(f);
  }
  report.notes = recipe.notes;
  int notes = 0;
  tarnblend_model_note_count(model, &notes);
  for (int k = 0; k < notes; ++k) {
    const char* note = "";
    tarnblend_model_note(model, k, &note);
    report.notes.push_back(note);
  }
  if (const Figure* ibp = report.find("IBP"); ibp != nullptr && !isMissing(ibp->value)) {
    Curve blend;
    blend.name = "Blend";
    blend.isBlend = true;
    blend.volumePercent = 100.0;
    const char* points[7] = {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"};
    for (std::size_t k = 0; k < 7; ++k) blend.points[k] = report.find(points[k])->value;
    report.curves.push_back(blend);
  }
  if (!options.grade.empty()) {
    report.check = checkGrade(model, options);
    report.checked = true;
    // A verdict on an estimated figure (CFPP from the cloud point, T95 from
    // T90 and FBP) is only as good as the estimate: the grade table says so.
    for (LimitCheck& c : report.check.limits) {
      const Figure* f = report.find(c.key);
      c.estimate = f != nullptr && f->estimate && !isMissing(c.margin);
    }
  }
  return report;
}

}  // namespace tarncli
