// Solving a blending problem: the objective and the components each product
// may take, a proportional start, IPOPT, and the results a blender reads —
// recipes, margins, shadow prices, marginal values — or, when no recipe meets
// every limit, the least relaxation of each limit.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "nlp.h"
#include "problem.h"

namespace tarn::optimize {
namespace {

using Allowed = std::vector<std::vector<bool>>;

// A limit binds when the blend sits within this share of the property's
// spread of it; an availability or demand, within this share of the
// problem's volume.
constexpr double kBindingTolerance = 1e-5;
// A relaxation smaller than this share of the property's spread is none.
constexpr double kRelaxationTolerance = 1e-6;
// At most this many limits are tried one at a time for the least
// relaxation of each alone.
constexpr int kMostSingleRelaxations = 24;

std::string number(double value, const char* format = "%.6g") {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

std::string withDegrees(const std::string& unit) {
  if (unit == "F" || unit == "C") return "\xC2\xB0" + unit;
  return unit;
}

int resolveObjective(const Problem& problem) {
  if (problem.objective != TARNBLEND_OBJECTIVE_AUTO) return problem.objective;
  for (const Product& p : problem.products) {
    if (!missing(p.price)) return TARNBLEND_MAX_MARGIN;
  }
  for (const Component& c : problem.components) {
    if (!missing(c.cost)) return TARNBLEND_MIN_COST;
  }
  return TARNBLEND_LEAST_CHANGE;
}

bool fixedVolume(const Component& c) { return c.minimum == c.maximum; }

void validate(const Problem& problem, int objective, const Allowed& allowed) {
  if (problem.products.empty()) throw ProblemError(TARNBLEND_ERROR_STATE, "the problem has no product");
  for (std::size_t q = 0; q < problem.products.size(); ++q) {
    const Product& p = problem.products[q];
    if (std::none_of(allowed[q].begin(), allowed[q].end(), [](bool b) { return b; })) {
      throw ProblemError(TARNBLEND_ERROR_STATE, "product '" + p.name + "' may take none of the components");
    }
    if (objective == TARNBLEND_MAX_MARGIN && missing(p.price)) {
      throw ProblemError(TARNBLEND_ERROR_VALUE,
                         "product '" + p.name + "' has no price: a margin needs the price of every product");
    }
    if (objective == TARNBLEND_MIN_COST && !(p.demandMin > 0)) {
      throw ProblemError(TARNBLEND_ERROR_VALUE, "product '" + p.name +
                                                    "' has no demand: the least cost would make none of it "
                                                    "(give a volume or a minimum)");
    }
  }
  if (objective == TARNBLEND_LEAST_CHANGE) return;
  for (std::size_t i = 0; i < problem.components.size(); ++i) {
    const Component& c = problem.components[i];
    bool used = false;
    for (const std::vector<bool>& row : allowed) used = used || row[i];
    if (used && missing(c.cost) && !fixedVolume(c)) {
      throw ProblemError(TARNBLEND_ERROR_VALUE, "component '" + c.name +
                                                    "' has no cost: give it one, fix its volume, or keep it "
                                                    "out (availability maximum 0)");
    }
  }
}

// Each product's volume, spread over its components in proportion to what
// the recipe or the availabilities suggest (or evenly), then fitted in turn
// to the availabilities and demands (iterative proportional fitting): as
// near feasible as the volume constraints alone allow.
std::vector<double> proportionalStart(const Formulation& f, bool even = false) {
  const Problem& problem = f.problem;
  const std::size_t products = problem.products.size(), components = problem.components.size();
  std::vector<std::vector<double>> v(products, std::vector<double>(components, 0.0));
  const double fallback = f.volumeScale / static_cast<double>(std::max<std::size_t>(components, 1));
  for (std::size_t q = 0; q < products; ++q) {
    const Product& p = problem.products[q];
    double weights = 0.0, recipe = 0.0;
    std::vector<double> weight(components, 0.0);
    for (std::size_t i = 0; i < components; ++i) {
      if (f.variable[q][i] < 0) continue;
      const Component& c = problem.components[i];
      weight[i] = even                                        ? 1.0
                  : c.recipeVolume > 0                        ? c.recipeVolume
                  : std::isfinite(c.maximum) && c.maximum > 0 ? std::min(c.maximum, f.volumeScale)
                                                              : fallback;
      weights += weight[i];
      recipe += c.recipeVolume;
    }
    double volume = std::isfinite(p.demandMax) ? 0.5 * (p.demandMin + p.demandMax)
                    : p.demandMin > 0          ? p.demandMin
                    : recipe > 0               ? recipe
                                               : f.volumeScale / static_cast<double>(products);
    for (std::size_t i = 0; i < components; ++i) v[q][i] = volume * weight[i] / weights;
  }
  for (int round = 0; round < 30; ++round) {
    for (std::size_t i = 0; i < components; ++i) {
      const Component& c = problem.components[i];
      double used = 0.0;
      for (std::size_t q = 0; q < products; ++q) used += v[q][i];
      const double wanted = std::clamp(used, c.minimum, c.maximum);
      if (used > 0 && wanted != used) {
        for (std::size_t q = 0; q < products; ++q) v[q][i] *= wanted / used;
      }
    }
    for (std::size_t q = 0; q < products; ++q) {
      const Product& p = problem.products[q];
      for (const Share& s : p.shares) {
        double volume = 0.0;
        for (double x : v[q]) volume += x;
        v[q][s.component] = std::clamp(v[q][s.component], s.minimum * volume, s.maximum * volume);
      }
      double volume = 0.0;
      for (double x : v[q]) volume += x;
      const double wanted = std::clamp(volume, p.demandMin, p.demandMax);
      if (volume > 0 && wanted != volume) {
        for (double& x : v[q]) x *= wanted / volume;
      }
    }
  }
  std::vector<double> start(static_cast<std::size_t>(f.variableCount), 0.0);
  for (std::size_t k = 0; k < f.volumeOf.size(); ++k) {
    start[k] = v[f.volumeOf[k].first][f.volumeOf[k].second];
  }
  return start;
}

// The properties of product q's model at these component volumes (missing
// where they cannot be computed, or nothing is blended).
std::vector<double> propertiesAt(const Product& p, std::vector<double> volumes) {
  int count = 0;
  tarnblend_model_property_count(p.model.get(), &count);
  std::vector<double> values(static_cast<std::size_t>(count), kMissing);
  const int status = tarnblend_model_evaluate_at(p.model.get(), volumes.data(), static_cast<int>(volumes.size()),
                                                 values.data(), nullptr);
  if (status != TARNBLEND_OK) std::fill(values.begin(), values.end(), kMissing);
  return values;
}

double propertyAt(const Product& p, std::vector<double> volumes, int k) {
  return propertiesAt(p, std::move(volumes))[static_cast<std::size_t>(k)];
}

// Keeps out of a product the components that lack an input of one of its
// limited properties (the property would not be computed with them in), and
// refuses a limited property that cannot be computed even without them. A
// component alone tells whether it carries the property; the blend of those
// that do must compute it, and each of the others is given back when the
// blend still computes it with that one in (a pure component can fall
// outside a model's range where a blend does not).
void keepOutComponentsLackingInputs(Problem& problem, int objective, Allowed& allowed) {
  const std::size_t components = problem.components.size();
  for (std::size_t q = 0; q < problem.products.size(); ++q) {
    Product& p = problem.products[q];
    for (bool again = !p.limits.empty(); again;) {
      again = false;
      Formulation f(problem, objective, allowed);
      const std::vector<double> volumes = productVolumes(f, proportionalStart(f).data(), static_cast<int>(q));
      const std::vector<double> values = propertiesAt(p, volumes);
      const auto lacking = std::find_if(p.limits.begin(), p.limits.end(), [&](const Limit& l) {
        return missing(values[static_cast<std::size_t>(l.property)]);
      });
      if (lacking == p.limits.end()) break;
      const Limit& limit = *lacking;
      const char* reason = "";  // the model was last evaluated at volumes
      tarnblend_model_result(p.model.get(), limit.property, nullptr, nullptr, &reason, nullptr, nullptr);
      const std::string why = reason && *reason ? std::string(": ") + reason : "";

      std::vector<double> kept(components, 0.0);
      std::vector<std::size_t> unable;
      for (std::size_t i = 0; i < components; ++i) {
        if (volumes[i] <= 0.0) continue;
        std::vector<double> alone(components, 0.0);
        alone[i] = volumes[i];
        if (missing(propertyAt(p, alone, limit.property))) {
          unable.push_back(i);
        } else {
          kept[i] = volumes[i];
        }
      }
      if (unable.size() == static_cast<std::size_t>(
                               std::count_if(volumes.begin(), volumes.end(), [](double v) { return v > 0.0; })) ||
          missing(propertyAt(p, kept, limit.property))) {
        throw ProblemError(TARNBLEND_ERROR_STATE,
                           p.name + ": " + limit.key + " is limited but cannot be computed" + why);
      }
      for (std::size_t i : unable) {
        std::vector<double> with = kept;
        with[i] = volumes[i];
        if (!missing(propertyAt(p, with, limit.property))) {
          kept = with;
          continue;
        }
        allowed[q][i] = false;
        again = true;
        problem.results.notes.push_back(problem.components[i].name + " is kept out of " + p.name +
                                        ": it lacks an input of " + limit.key + ", which is limited");
      }
      if (!again)
        throw ProblemError(TARNBLEND_ERROR_STATE,
                           p.name + ": " + limit.key + " is limited but cannot be computed" + why);
    }
  }
}

// Whether an optimum x is the best recipe of all, not only of those near it:
// every limit that binds, or comes near to (within a thousandth of the
// property's spread), is on a property whose limits are linear constraints
// on the volumes. Without the other limits the problem is a linear
// programme; x solves it (their multipliers are nil), and it holds every
// recipe of the problem, so no recipe does better than x.
bool certainlyBest(const Problem& problem, const Formulation& f, const NlpOutcome& out) {
  constexpr double kNearlyBinding = 1e-3;
  const std::size_t first = f.rows.size() - f.limitSides.size();
  for (std::size_t s = 0; s < f.limitSides.size(); ++s) {
    const LimitSide& edge = f.limitSides[s];
    const Product& p = problem.products[static_cast<std::size_t>(edge.product)];
    int flags = 0;
    tarnblend_model_property_info(p.model.get(), p.limits[static_cast<std::size_t>(edge.limit)].property, nullptr,
                                  nullptr, nullptr, nullptr, nullptr, &flags);
    if (flags & TARNBLEND_FLAG_LINEAR_LIMITS) continue;
    double volume = 0.0;
    for (double v : productVolumes(f, out.x.data(), edge.product)) volume += v;
    // The row is V (q - bound): its slack in the property's unit is row / V.
    if (!(std::fabs(out.rowValues[first + s]) > kNearlyBinding * edge.scale * volume)) return false;
  }
  return true;
}

double usedVolume(const Formulation& f, const std::vector<double>& x, std::size_t component) {
  double total = 0.0;
  for (const std::vector<int>& product : f.variable) {
    if (product[component] >= 0) total += std::max(0.0, x[product[component]]);
  }
  return total;
}

int side(double value, double minimum, double maximum, double tolerance) {
  if (minimum == maximum && std::isfinite(maximum)) return TARNBLEND_AT_TARGET;
  if (std::isfinite(maximum) && maximum - value <= tolerance) return TARNBLEND_AT_MAX;
  if (minimum > 0 && value - minimum <= tolerance) return TARNBLEND_AT_MIN;
  return TARNBLEND_FREE;
}

// Every property of every product's model again (the default).
void evaluateWhole(Problem& problem) {
  for (Product& p : problem.products) check(tarnblend_model_set_needed(p.model.get(), nullptr, 0));
}

// While a problem is solved, each product's model evaluates only what its
// limits need (the curve blend and emission models of an unlimited figure
// cost as much as the rest together); the answer recorded is evaluated
// whole, and so is the model whatever way the solve ends.
class LimitedEvaluation {
 public:
  explicit LimitedEvaluation(Problem& problem) : problem_(problem) {
    for (Product& p : problem.products) {
      std::vector<int> limited;
      for (const Limit& limit : p.limits) limited.push_back(limit.property);
      check(tarnblend_model_set_needed(p.model.get(), limited.data(), static_cast<int>(limited.size())));
    }
  }
  ~LimitedEvaluation() {
    for (Product& p : problem_.products) tarnblend_model_set_needed(p.model.get(), nullptr, 0);
  }
  LimitedEvaluation(const LimitedEvaluation&) = delete;
  LimitedEvaluation& operator=(const LimitedEvaluation&) = delete;

 private:
  Problem& problem_;
};

// Recipes, property values and margins at x; with multipliers, the shadow
// prices and marginal values too. The products' models are left evaluated
// at their recipes, every property.
void record(Problem& problem, const Formulation& f, const NlpOutcome& out, bool sensitivities) {
  Results& r = problem.results;
  evaluateWhole(problem);
  const std::size_t products = problem.products.size(), components = problem.components.size();
  r.volumes.assign(products, std::vector<double>(components, 0.0));
  for (std::size_t q = 0; q < products; ++q) {
    r.volumes[q] = productVolumes(f, out.x.data(), static_cast<int>(q));
    // An interior-point solver leaves an unused component a hair above
    // zero: below a ten-millionth of the problem's volume it is none.
    for (double& v : r.volumes[q]) {
      if (v < 1e-7 * f.volumeScale) v = 0.0;
    }
  }
  // Change of the objective per unit of a row's bound is -multiplier (IPOPT
  // minimises cost, or minus the margin).
  const double toObjective = f.objective == TARNBLEND_MAX_MARGIN ? 1.0 : -1.0;
  const bool priced = sensitivities && f.objective != TARNBLEND_LEAST_CHANGE;

  r.productValue.assign(products, 0.0);
  r.productBinding.assign(products, TARNBLEND_FREE);
  r.componentValue.assign(components, 0.0);
  r.componentBinding.assign(components, TARNBLEND_FREE);
  const double volumeTolerance = kBindingTolerance * f.volumeScale;
  for (std::size_t i = 0; i < components; ++i) {
    const Component& c = problem.components[i];
    r.componentBinding[i] = side(usedVolume(f, out.x, i), c.minimum, c.maximum, volumeTolerance);
  }
  for (std::size_t q = 0; q < products; ++q) {
    double volume = 0.0;
    for (double v : r.volumes[q]) volume += v;
    r.productBinding[q] = side(volume, problem.products[q].demandMin, problem.products[q].demandMax, volumeTolerance);
  }

  r.limits.assign(products, {});
  for (std::size_t q = 0; q < products; ++q) {
    Product& p = problem.products[q];
    check(tarnblend_model_set_volumes(p.model.get(), r.volumes[q].data(), static_cast<int>(components)));
    tarnblend_model_evaluate(p.model.get(), 1);
    r.limits[q].assign(p.limits.size(), LimitResult{});
    for (std::size_t k = 0; k < p.limits.size(); ++k) {
      const Limit& limit = p.limits[k];
      LimitResult& lr = r.limits[q][k];
      int status = 0;
      tarnblend_model_result(p.model.get(), limit.property, &lr.value, &status, nullptr, nullptr, nullptr);
      if (missing(lr.value)) continue;
      lr.margin =
          limit.target ? -std::fabs(lr.value - limit.low) : std::min(lr.value - limit.low, limit.high - lr.value);
      if (!priced) lr.shadow = f.objective == TARNBLEND_LEAST_CHANGE ? kMissing : 0.0;
    }
  }
  for (std::size_t row = 0; row < f.rows.size(); ++row) {
    const Row& rw = f.rows[row];
    const double lambda = row < out.multipliers.size() ? out.multipliers[row] : 0.0;
    if (rw.kind == RowKind::Availability && priced && r.componentBinding[rw.component] != TARNBLEND_FREE) {
      r.componentValue[rw.component] = toObjective * lambda;
    } else if (rw.kind == RowKind::Demand && priced && r.productBinding[rw.product] != TARNBLEND_FREE) {
      r.productValue[rw.product] = toObjective * lambda;
    } else if (rw.kind == RowKind::LimitSide) {
      const LimitSide& edge = f.limitSides[rw.limitSide];
      const Limit& limit = problem.products[edge.product].limits[edge.limit];
      LimitResult& lr = r.limits[edge.product][edge.limit];
      if (missing(lr.value)) continue;
      const double distance = edge.side == TARNBLEND_AT_MIN   ? lr.value - limit.low
                              : edge.side == TARNBLEND_AT_MAX ? limit.high - lr.value
                                                              : 0.0;
      if (distance > kBindingTolerance * edge.scale) continue;
      lr.binding = edge.side;
      if (priced) {
        double volume = 0.0;
        for (double v : r.volumes[edge.product]) volume += v;
        // The row is V (q - L): one unit more of L moves its bound by V.
        lr.shadow = toObjective * lambda * volume;
      }
    }
  }
}

double objectiveValue(const Problem& problem, int objective, const std::vector<std::vector<double>>& volumes) {
  double cost = 0.0, revenue = 0.0, change = 0.0, scale = 0.0;
  for (std::size_t i = 0; i < problem.components.size(); ++i) {
    double used = 0.0;
    for (const std::vector<double>& product : volumes) used += product[i];
    if (!missing(problem.components[i].cost)) cost += problem.components[i].cost * used;
    change += (used - problem.components[i].recipeVolume) * (used - problem.components[i].recipeVolume);
    scale += used;
  }
  for (std::size_t q = 0; q < problem.products.size(); ++q) {
    double volume = 0.0;
    for (double v : volumes[q]) volume += v;
    if (!missing(problem.products[q].price)) revenue += problem.products[q].price * volume;
  }
  if (objective == TARNBLEND_MIN_COST) return cost;
  if (objective == TARNBLEND_MAX_MARGIN) return revenue - cost;
  return scale > 0 ? change / (scale * scale) : 0.0;
}

std::string limitName(const Problem& problem, int product, int limit, int sideOf) {
  const Product& p = problem.products[product];
  std::string name = p.limits[limit].key;
  name += sideOf == TARNBLEND_AT_MIN ? " min" : sideOf == TARNBLEND_AT_MAX ? " max" : " target";
  if (problem.products.size() > 1) name += " of " + p.name;
  return name;
}

// A relaxation as a blender would act on it: rounded up (away from the
// limit) to three significant digits, so that relaxing by the figure shown
// is enough.
std::string relaxationText(const Problem& problem, const Relaxation& x, double amount) {
  const Limit& limit = problem.products[x.product].limits[x.limit];
  const double size = std::fabs(amount);
  const double step = std::pow(10.0, std::floor(std::log10(size)) - 2);
  const std::string shown = number(std::ceil(size / step - 1e-9) * step);
  const std::string unit = limit.propertyUnit.empty() ? "" : " " + withDegrees(limit.propertyUnit);
  const std::string name = limitName(problem, x.product, x.limit, x.side);
  if (x.side == TARNBLEND_AT_TARGET) return name + (amount < 0 ? " down" : " up") + " by " + shown + unit;
  return name + " by " + shown + unit;
}

// "a, b or c": the limits under one "relax", the targets under one "move".
std::string choices(const std::vector<std::string>& relaxed, const std::vector<std::string>& moved, const char* last) {
  auto list = [&](const std::vector<std::string>& items) {
    std::string text;
    for (std::size_t k = 0; k < items.size(); ++k) {
      text += (k == 0 ? "" : k + 1 == items.size() ? std::string(" ") + last + " " : ", ") + items[k];
    }
    return text;
  };
  std::string text = relaxed.empty() ? "" : "relax " + list(relaxed);
  if (!moved.empty()) text += (text.empty() ? "" : std::string(" ") + last + " ") + "move " + list(moved);
  return text;
}

std::string summaryOfOptimum(const Problem& problem) {
  const Results& r = problem.results;
  if (r.objective == TARNBLEND_MIN_COST) return "least cost " + number(r.objectiveValue, "%.10g");
  if (r.objective == TARNBLEND_MAX_MARGIN) return "greatest margin " + number(r.objectiveValue, "%.10g");
  // Back-solving: the components whose volume changed, against the recipe.
  std::string text = "recipe found:";
  bool any = false;
  for (std::size_t i = 0; i < problem.components.size(); ++i) {
    const Component& c = problem.components[i];
    double used = 0.0;
    for (const std::vector<double>& product : r.volumes) used += product[i];
    if (std::fabs(used - c.recipeVolume) <= 1e-9 * std::max(1.0, c.recipeVolume)) continue;
    text +=
        std::string(any ? "," : "") + " " + c.name + " " + number(used) + " (recipe " + number(c.recipeVolume) + ")";
    any = true;
  }
  return any ? text : "the recipe already meets every target";
}

// A recipe found: optimal, or the best feasible point a failed solve met.
void answer(Problem& problem, const Formulation& f, const NlpOutcome& out) {
  Results& r = problem.results;
  record(problem, f, out, out.solved);
  r.outcome = out.solved ? TARNBLEND_OPTIMAL : TARNBLEND_FEASIBLE;
  r.objectiveValue = objectiveValue(problem, f.objective, r.volumes);
  r.summary = summaryOfOptimum(problem);
  if (!out.solved) r.summary += " (not proven optimal: " + r.solverStatus + ")";
}

std::string summaryOfRelaxations(const Problem& problem) {
  std::vector<std::string> alone[2], together[2];  // [limits, targets]
  for (const Relaxation& x : problem.results.relaxations) {
    const int kind = x.side == TARNBLEND_AT_TARGET ? 1 : 0;
    if (!missing(x.alone)) alone[kind].push_back(relaxationText(problem, x, x.alone));
    if (std::fabs(x.together) > 0) together[kind].push_back(relaxationText(problem, x, x.together));
  }
  const bool single = !alone[0].empty() || !alone[1].empty();
  return "no recipe meets every limit: " +
         (single ? choices(alone[0], alone[1], "or") : choices(together[0], together[1], "and"));
}

// The reason the volume constraints alone cannot be met, when it is plain.
std::string volumeShortfall(const Problem& problem, const Allowed& allowed) {
  double needed = 0.0, offered = 0.0;
  for (const Product& p : problem.products) needed += p.demandMin;
  for (std::size_t i = 0; i < problem.components.size(); ++i) {
    bool used = false;
    for (const std::vector<bool>& row : allowed) used = used || row[i];
    if (used) offered += problem.components[i].maximum;
  }
  if (needed > offered) {
    return ": the products need at least " + number(needed) + " but the components offer at most " + number(offered);
  }
  return " (demand, availability, shares and ratios)";
}

void relax(Problem& problem, int objective, const Allowed& allowed, const std::vector<double>& start) {
  Results& r = problem.results;
  Formulation elastic(problem, objective, allowed);
  elastic.addLimitSides(start, Mode::Elastic);
  const NlpOutcome out = solveNlp(elastic, start);
  r.iterations += out.iterations;
  if (!out.usable()) {
    r.outcome = TARNBLEND_INFEASIBLE;
    r.summary = "no recipe meets the volumes asked, whatever the limits" + volumeShortfall(problem, allowed);
    return;
  }
  auto amount = [](const Formulation& f, const NlpOutcome& o, std::size_t s) {
    double up = f.relaxUp[s] >= 0 ? o.x[f.relaxUp[s]] : 0.0, down = f.relaxDown[s] >= 0 ? o.x[f.relaxDown[s]] : 0.0;
    const int sideOf = f.limitSides[s].side;
    return sideOf == TARNBLEND_AT_MIN ? up : sideOf == TARNBLEND_AT_MAX ? down : down - up;
  };
  std::vector<std::size_t> candidates;
  bool relaxed = false;
  for (std::size_t s = 0; s < elastic.limitSides.size(); ++s) {
    const double scale = elastic.limitSides[s].scale;
    const double given = amount(elastic, out, s);
    relaxed = relaxed || std::fabs(given) > kRelaxationTolerance * scale;
    const double level = out.rowValues[elastic.rows.size() - elastic.limitSides.size() + s];
    double volume = 0.0;
    for (double v : productVolumes(elastic, out.x.data(), elastic.limitSides[s].product)) volume += v;
    if (std::fabs(given) > kRelaxationTolerance * scale || std::fabs(level) <= kBindingTolerance * scale * volume) {
      candidates.push_back(s);
    }
  }
  std::vector<double> volumesOnly(out.x.begin(), out.x.begin() + static_cast<long>(elastic.volumeOf.size()));
  if (!relaxed) {
    // Feasible after all: the first solve lost its way. Start again from
    // the elastic recipe.
    Formulation f(problem, objective, allowed);
    f.addLimitSides(start, Mode::Normal);
    const NlpOutcome again = solveNlp(f, volumesOnly);
    r.iterations += again.iterations;
    r.solverStatus = statusText(again.status);
    if (again.usable()) {
      answer(problem, f, again);
    } else {
      r.outcome = TARNBLEND_NOT_SOLVED;
      r.summary = std::string("the solver stopped: ") + statusText(again.status);
    }
    return;
  }
  r.outcome = TARNBLEND_INFEASIBLE;
  for (std::size_t n = 0; n < candidates.size(); ++n) {
    const std::size_t s = candidates[n];
    const LimitSide& edge = elastic.limitSides[s];
    double alone = kMissing;
    if (static_cast<int>(n) < kMostSingleRelaxations) {
      Formulation one(problem, objective, allowed);
      one.addLimitSides(start, Mode::ElasticOne, static_cast<int>(s));
      std::vector<double> from = volumesOnly;
      from.resize(static_cast<std::size_t>(one.variableCount), 0.0);
      const NlpOutcome single = solveNlp(one, from);
      r.iterations += single.iterations;
      if (single.usable()) alone = amount(one, single, s);
    }
    const double together = amount(elastic, out, s);
    const bool given = std::fabs(together) > kRelaxationTolerance * edge.scale;
    if (!given && missing(alone)) continue;
    r.relaxations.push_back({edge.product, edge.limit, edge.side, given ? together : 0.0, alone});
  }
  // Recorded last: the single relaxations above evaluate the models
  // elsewhere, and the models are left at the least-relaxed recipe.
  record(problem, elastic, out, false);
  r.summary = summaryOfRelaxations(problem);
}

}  // namespace

void solve(Problem& problem) {
  problem.changed();
  Results& r = problem.results;
  const int objective = resolveObjective(problem);
  r.objective = objective;
  const std::size_t products = problem.products.size(), components = problem.components.size();
  Allowed allowed(products, std::vector<bool>(components, true));
  for (std::size_t q = 0; q < products; ++q) {
    for (const Share& s : problem.products[q].shares) {
      if (s.maximum <= 0) allowed[q][s.component] = false;
    }
    for (std::size_t i = 0; i < components; ++i) {
      if (problem.components[i].maximum <= 0) allowed[q][i] = false;
    }
  }
  if (problem.products.empty()) throw ProblemError(TARNBLEND_ERROR_STATE, "the problem has no product");
  const LimitedEvaluation limited(problem);
  keepOutComponentsLackingInputs(problem, objective, allowed);
  validate(problem, objective, allowed);

  Formulation f(problem, objective, allowed);
  const std::vector<double> start = proportionalStart(f);
  f.addLimitSides(start, Mode::Normal);
  NlpOutcome out = solveNlp(f, start);
  r.iterations = out.iterations;
  // Limits that are not linear in the volumes (octane interactions, points
  // of the distillation curve) can leave more than one local optimum: unless
  // only linear ones bind, a second start from an even split of each
  // product, and the better answer is kept. (A failed first start goes to
  // the elastic problem, which either finds what to relax or a feasible
  // point to start again from.)
  if (problem.starts > 1 && out.solved && objective != TARNBLEND_LEAST_CHANGE && !certainlyBest(problem, f, out)) {
    NlpOutcome other = solveNlp(f, proportionalStart(f, true));
    r.iterations += other.iterations;
    if (other.solved && other.objective < out.objective - 1e-9 * std::fabs(out.objective)) out = std::move(other);
  }
  if (out.feasibleOnly) {
    // A feasible point is known: starting from it often finishes.
    NlpOutcome other = solveNlp(f, out.x);
    r.iterations += other.iterations;
    if (other.solved || (other.feasibleOnly && other.objective < out.objective)) out = std::move(other);
  }
  r.solverStatus = statusText(out.status);
  if (out.usable()) {
    answer(problem, f, out);
    return;
  }
  if (unbounded(out.status) || out.status == kOutOfMemory) {
    record(problem, f, out, false);
    r.outcome = TARNBLEND_NOT_SOLVED;
    r.summary = std::string("the solver stopped: ") + statusText(out.status);
    if (unbounded(out.status)) {
      r.summary += "; bound the products' demand or the components' availability";
    }
    return;
  }
  relax(problem, objective, allowed, start);
}

}  // namespace tarn::optimize
