// The optimiser's C interface (tarn/optimize.h): each export checks its
// arguments and runs its body through one guard that turns a failure into
// the status code and the library's last-error message.
#include <cmath>
#include <fstream>
#include <new>
#include <sstream>

#include "nlp.h"
#include "problem.h"

struct tarnblend_problem : tarn::optimize::Problem {
  using Problem::Problem;
};

namespace {

using namespace tarn::optimize;

using tarnblend::guarded;

void need(const void* pointer, const char* what) {
  if (pointer == nullptr) throw ProblemError(TARNBLEND_ERROR_ARGUMENT, std::string(what) + " is a null pointer");
}

const Results& solved(const tarnblend_problem* problem) {
  need(problem, "problem");
  if (problem->results.outcome == TARNBLEND_UNSOLVED) {
    throw ProblemError(TARNBLEND_ERROR_STATE, "the problem is not solved (or has changed since)");
  }
  return problem->results;
}

template <typename T>
void put(T* out, T value) {
  if (out) *out = value;
}

std::string text(const char* value) { return value ? value : ""; }

}  // namespace

extern "C" {

TARNBLEND_API int TARN_CALL tarnblend_problem_create(const tarnblend_model* recipe, tarnblend_problem** problem) {
  return guarded([&] {
    need(problem, "problem");
    *problem = nullptr;
    need(recipe, "recipe");
    *problem = new tarnblend_problem(recipe);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_parse(const char* json, const char* origin, const tarnblend_model* recipe,
                                                    tarnblend_problem** problem) {
  return guarded([&] {
    need(problem, "problem");
    *problem = nullptr;
    need(json, "json");
    std::unique_ptr<Problem> parsed = parseProblem(json, origin ? origin : "problem", "", recipe);
    auto* made = new tarnblend_problem(nullptr);
    static_cast<Problem&>(*made) = std::move(*parsed);
    *problem = made;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_read(const char* path, const tarnblend_model* recipe,
                                                   tarnblend_problem** problem) {
  return guarded([&] {
    need(problem, "problem");
    *problem = nullptr;
    need(path, "path");
    std::ifstream in(path, std::ios::binary);
    if (!in) throw ProblemError(TARNBLEND_ERROR_FILE, std::string(path) + ": cannot be read");
    std::stringstream content;
    content << in.rdbuf();
    const std::string name = path;
    const auto slash = name.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : name.substr(0, slash == 0 ? 1 : slash);
    std::unique_ptr<Problem> parsed = parseProblem(content.str(), name, folder, recipe);
    auto* made = new tarnblend_problem(nullptr);
    static_cast<Problem&>(*made) = std::move(*parsed);
    *problem = made;
  });
}

TARNBLEND_API void TARN_CALL tarnblend_problem_free(tarnblend_problem* problem) { delete problem; }

TARNBLEND_API int TARN_CALL tarnblend_problem_component_count(const tarnblend_problem* problem, int* count) {
  return guarded([&] {
    need(problem, "problem");
    need(count, "count");
    *count = static_cast<int>(problem->components.size());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_component_name(const tarnblend_problem* problem, int component,
                                                             const char** name) {
  return guarded([&] {
    need(problem, "problem");
    need(name, "name");
    *name = const_cast<tarnblend_problem*>(problem)->component(component).name.c_str();
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_component_find(const tarnblend_problem* problem, const char* name,
                                                             int* component) {
  return guarded([&] {
    need(problem, "problem");
    need(name, "name");
    need(component, "component");
    *component = problem->findComponent(name);
    if (*component >= 0) return;
    std::string names;
    for (const Component& c : problem->components) names += (names.empty() ? "" : ", ") + c.name;
    throw ProblemError(TARNBLEND_ERROR_NOT_FOUND,
                       "no component named '" + std::string(name) + "' (components: " + names + ")");
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_set_cost(tarnblend_problem* problem, int component, double cost) {
  return guarded([&] {
    need(problem, "problem");
    problem->setCost(component, cost);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_set_availability(tarnblend_problem* problem, int component,
                                                               double minimum, double maximum) {
  return guarded([&] {
    need(problem, "problem");
    problem->setAvailability(component, minimum, maximum);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_add_product(tarnblend_problem* problem, const char* name, int kind,
                                                          int* product) {
  return guarded([&] {
    need(problem, "problem");
    need(name, "name");
    if (kind != TARNBLEND_ANY_PRODUCT && kind != TARNBLEND_GASOLINE && kind != TARNBLEND_DIESEL &&
        kind != TARNBLEND_JET) {
      throw ProblemError(TARNBLEND_ERROR_ARGUMENT, "unknown product kind " + std::to_string(kind));
    }
    const int index = problem->addProduct(name, kind);
    put(product, index);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_set_grade(tarnblend_problem* problem, int product,
                                                        const tarnblend_grade* grade) {
  return guarded([&] {
    need(problem, "problem");
    need(grade, "grade");
    problem->setGrade(product, grade);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_add_limit(tarnblend_problem* problem, int product, const char* key,
                                                        double minimum, double maximum, const char* unit) {
  return guarded([&] {
    need(problem, "problem");
    need(key, "key");
    problem->addLimit(product, key, minimum, maximum, text(unit), false);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_add_target(tarnblend_problem* problem, int product, const char* key,
                                                         double value, const char* unit) {
  return guarded([&] {
    need(problem, "problem");
    need(key, "key");
    if (missing(value) || !std::isfinite(value)) {
      throw ProblemError(TARNBLEND_ERROR_VALUE, std::string("the target of ") + key + " must be a finite number");
    }
    problem->addLimit(product, key, value, value, text(unit), true);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_set_demand(tarnblend_problem* problem, int product, double minimum,
                                                         double maximum) {
  return guarded([&] {
    need(problem, "problem");
    problem->setDemand(product, minimum, maximum);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_set_price(tarnblend_problem* problem, int product, double price) {
  return guarded([&] {
    need(problem, "problem");
    problem->setPrice(product, price);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_set_share(tarnblend_problem* problem, int product, int component,
                                                        double minimum, double maximum) {
  return guarded([&] {
    need(problem, "problem");
    problem->setShare(product, component, minimum, maximum);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_add_ratio(tarnblend_problem* problem, int product, int numerator,
                                                        int denominator, double minimum, double maximum) {
  return guarded([&] {
    need(problem, "problem");
    problem->addRatio(product, numerator, denominator, minimum, maximum);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_set_units(tarnblend_problem* problem, const char* volumeUnit,
                                                        const char* currency) {
  return guarded([&] {
    need(problem, "problem");
    problem->volumeUnit = text(volumeUnit);
    problem->currency = text(currency);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_units(const tarnblend_problem* problem, const char** volumeUnit,
                                                    const char** currency) {
  return guarded([&] {
    need(problem, "problem");
    put(volumeUnit, problem->volumeUnit.c_str());
    put(currency, problem->currency.c_str());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_set_objective(tarnblend_problem* problem, int objective) {
  return guarded([&] {
    need(problem, "problem");
    if (objective < TARNBLEND_OBJECTIVE_AUTO || objective > TARNBLEND_LEAST_CHANGE) {
      throw ProblemError(TARNBLEND_ERROR_ARGUMENT, "unknown objective " + std::to_string(objective));
    }
    problem->objective = objective;
    problem->changed();
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_set_starts(tarnblend_problem* problem, int starts) {
  return guarded([&] {
    need(problem, "problem");
    if (starts != 1 && starts != 2) {
      throw ProblemError(TARNBLEND_ERROR_VALUE, "starts: 1 or 2, not " + std::to_string(starts));
    }
    problem->starts = starts;
    problem->changed();
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_product_count(const tarnblend_problem* problem, int* count) {
  return guarded([&] {
    need(problem, "problem");
    need(count, "count");
    *count = static_cast<int>(problem->products.size());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_product_info(const tarnblend_problem* problem, int product,
                                                           const char** name, int* kind, const char** grade,
                                                           const char** gradeClass) {
  return guarded([&] {
    need(problem, "problem");
    const Product& p = const_cast<tarnblend_problem*>(problem)->product(product);
    put(name, p.name.c_str());
    put(kind, p.kind);
    put(grade, p.grade.c_str());
    put(gradeClass, p.gradeClass.c_str());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_solve(tarnblend_problem* problem, int* outcome) {
  return guarded([&] {
    need(problem, "problem");
    try {
      solve(*problem);
    } catch (...) {
      problem->changed();
      throw;
    }
    put(outcome, problem->results.outcome);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_solution(const tarnblend_problem* problem, int* outcome,
                                                       const char** solverStatus, const char** summary, int* iterations,
                                                       double* objective) {
  return guarded([&] {
    const Results& r = solved(problem);
    put(outcome, r.outcome);
    put(solverStatus, r.solverStatus.c_str());
    put(summary, r.summary.c_str());
    put(iterations, r.iterations);
    put(objective, r.outcome == TARNBLEND_OPTIMAL || r.outcome == TARNBLEND_FEASIBLE ? r.objectiveValue : kMissing);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_objective(const tarnblend_problem* problem, int* objective) {
  return guarded([&] {
    need(objective, "objective");
    *objective = solved(problem).objective;
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_volumes(const tarnblend_problem* problem, int product, double* volumes,
                                                      int n) {
  return guarded([&] {
    const Results& r = solved(problem);
    const_cast<tarnblend_problem*>(problem)->product(product);
    need(volumes, "volumes");
    if (n != static_cast<int>(problem->components.size())) {
      throw ProblemError(TARNBLEND_ERROR_ARGUMENT, "volumes: " + std::to_string(n) + " entries for " +
                                                       std::to_string(problem->components.size()) + " components");
    }
    if (r.volumes.empty()) throw ProblemError(TARNBLEND_ERROR_STATE, "the solve gave no recipe");
    std::copy(r.volumes[product].begin(), r.volumes[product].end(), volumes);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_model(tarnblend_problem* problem, int product, tarnblend_model** model) {
  return guarded([&] {
    need(model, "model");
    solved(problem);
    *model = problem->product(product).model.get();
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_product_result(const tarnblend_problem* problem, int product,
                                                             double* volume, double* revenue, double* cost,
                                                             double* demandValue, int* binding) {
  return guarded([&] {
    const Results& r = solved(problem);
    const Product& p = const_cast<tarnblend_problem*>(problem)->product(product);
    if (r.volumes.empty()) throw ProblemError(TARNBLEND_ERROR_STATE, "the solve gave no recipe");
    double total = 0.0, spent = 0.0;
    for (std::size_t i = 0; i < problem->components.size(); ++i) {
      total += r.volumes[product][i];
      if (!missing(problem->components[i].cost)) spent += problem->components[i].cost * r.volumes[product][i];
    }
    put(volume, total);
    put(revenue, missing(p.price) ? 0.0 : p.price * total);
    put(cost, spent);
    put(demandValue, r.productValue[product]);
    put(binding, r.productBinding[product]);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_component_result(const tarnblend_problem* problem, int component,
                                                               double* volume, double* cost, double* availabilityValue,
                                                               int* binding) {
  return guarded([&] {
    const Results& r = solved(problem);
    const Component& c = const_cast<tarnblend_problem*>(problem)->component(component);
    if (r.volumes.empty()) throw ProblemError(TARNBLEND_ERROR_STATE, "the solve gave no recipe");
    double used = 0.0;
    for (const std::vector<double>& product : r.volumes) used += product[component];
    put(volume, used);
    put(cost, missing(c.cost) ? kMissing : c.cost * used);
    put(availabilityValue, r.componentValue[component]);
    put(binding, r.componentBinding[component]);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_limit_count(const tarnblend_problem* problem, int product, int* count) {
  return guarded([&] {
    need(count, "count");
    need(problem, "problem");
    *count = static_cast<int>(const_cast<tarnblend_problem*>(problem)->product(product).limits.size());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_limit(const tarnblend_problem* problem, int product, int k,
                                                    const char** key, int* property, double* minimum, double* maximum,
                                                    double* value, double* margin, int* binding, double* shadowPrice,
                                                    const char** unit, const char** source) {
  return guarded([&] {
    need(problem, "problem");
    const Product& p = const_cast<tarnblend_problem*>(problem)->product(product);
    if (k < 0 || k >= static_cast<int>(p.limits.size())) {
      throw ProblemError(TARNBLEND_ERROR_ARGUMENT, "no limit " + std::to_string(k) + " (product '" + p.name + "' has " +
                                                       std::to_string(p.limits.size()) + ")");
    }
    const Limit& limit = p.limits[k];
    put(key, limit.key.c_str());
    put(property, limit.property);
    put(minimum, std::isfinite(limit.low) ? limit.low : kMissing);
    put(maximum, std::isfinite(limit.high) ? limit.high : kMissing);
    put(unit, limit.propertyUnit.c_str());
    put(source, limit.source.c_str());
    // Before a solve the limit is known but has no result.
    const Results& r = problem->results;
    const LimitResult none;
    const LimitResult& result = r.limits.empty() ? none : r.limits[product][k];
    put(value, result.value);
    put(margin, result.margin);
    put(binding, result.binding);
    put(shadowPrice, result.shadow);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_relaxation_count(const tarnblend_problem* problem, int* count) {
  return guarded([&] {
    need(count, "count");
    *count = static_cast<int>(solved(problem).relaxations.size());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_relaxation(const tarnblend_problem* problem, int k, int* product,
                                                         int* limit, int* side, double* together, double* alone) {
  return guarded([&] {
    const Results& r = solved(problem);
    if (k < 0 || k >= static_cast<int>(r.relaxations.size())) {
      throw ProblemError(TARNBLEND_ERROR_ARGUMENT, "no relaxation " + std::to_string(k) + " (there are " +
                                                       std::to_string(r.relaxations.size()) + ")");
    }
    const Relaxation& x = r.relaxations[k];
    put(product, x.product);
    put(limit, x.limit);
    put(side, x.side);
    put(together, x.together);
    put(alone, x.alone);
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_note_count(const tarnblend_problem* problem, int* count) {
  return guarded([&] {
    need(count, "count");
    *count = static_cast<int>(solved(problem).notes.size());
  });
}

TARNBLEND_API int TARN_CALL tarnblend_problem_note(const tarnblend_problem* problem, int k, const char** note) {
  return guarded([&] {
    const Results& r = solved(problem);
    need(note, "note");
    if (k < 0 || k >= static_cast<int>(r.notes.size())) {
      throw ProblemError(TARNBLEND_ERROR_ARGUMENT, "no note " + std::to_string(k));
    }
    *note = r.notes[k].c_str();
  });
}

}  // extern "C"
