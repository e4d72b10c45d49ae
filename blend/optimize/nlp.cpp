#include "nlp.h"

#include <IpIpoptApplication.hpp>
#include <IpIpoptData.hpp>
#include <IpTNLP.hpp>
#include <algorithm>
#include <cmath>

namespace tarn::optimize {

namespace {

// IPOPT's own word for "no bound".
constexpr double kNoBound = 2e19;

double finiteOr(double value, double fallback) { return std::isfinite(value) ? value : fallback; }

}  // namespace

Formulation::Formulation(const Problem& p, int resolvedObjective, std::vector<std::vector<bool>> allowed)
    : problem(p), objective(resolvedObjective) {
  const int products = static_cast<int>(p.products.size());
  const int components = static_cast<int>(p.components.size());
  variable.assign(static_cast<std::size_t>(products), std::vector<int>(static_cast<std::size_t>(components), -1));
  for (int q = 0; q < products; ++q) {
    for (int i = 0; i < components; ++i) {
      if (!allowed[q][i]) continue;
      variable[q][i] = variableCount++;
      volumeOf.emplace_back(q, i);
    }
  }

  // The volume that sets the problem's scale: what the products need, what
  // the components offer, or what the recipe holds.
  double demand = 0.0, offered = 0.0, recipe = 0.0;
  for (const Product& product : p.products) {
    demand += std::isfinite(product.demandMax) ? product.demandMax : product.demandMin;
  }
  for (const Component& c : p.components) {
    offered = std::max(offered, finiteOr(c.maximum, c.minimum));
    recipe += c.recipeVolume;
  }
  volumeScale = demand > 0 ? demand : std::max(offered, recipe);
  if (!(volumeScale > 0)) volumeScale = 1.0;

  double money = 0.0;
  for (const Component& c : p.components) {
    if (!missing(c.cost)) money = std::max(money, std::fabs(c.cost));
  }
  if (objective == TARNBLEND_MAX_MARGIN) {
    for (const Product& product : p.products) {
      if (!missing(product.price)) money = std::max(money, std::fabs(product.price));
    }
  }
  objectiveScale = objective == TARNBLEND_LEAST_CHANGE || money == 0.0 ? 1.0 : 1.0 / (volumeScale * money);

  auto add = [&](Row row) { rows.push_back(std::move(row)); };
  for (int i = 0; i < components; ++i) {
    const Component& c = p.components[i];
    if (c.minimum <= 0 && !std::isfinite(c.maximum)) continue;
    Row row(RowKind::Availability);
    row.component = i;
    row.lower = c.minimum;
    row.upper = std::isfinite(c.maximum) ? c.maximum : kNoBound;
    row.scale = volumeScale;
    for (int q = 0; q < products; ++q) {
      if (variable[q][i] >= 0) row.variables.push_back(variable[q][i]);
    }
    add(std::move(row));
  }
  for (int q = 0; q < products; ++q) {
    const Product& product = p.products[q];
    std::vector<int> all;
    for (int i = 0; i < components; ++i) {
      if (variable[q][i] >= 0) all.push_back(variable[q][i]);
    }
    if (product.demandMin > 0 || std::isfinite(product.demandMax)) {
      Row row(RowKind::Demand);
      row.product = q;
      row.lower = product.demandMin;
      row.upper = std::isfinite(product.demandMax) ? product.demandMax : kNoBound;
      row.scale = volumeScale;
      row.variables.insert(row.variables.end(), all.begin(), all.end());
      add(std::move(row));
    }
    for (const Share& share : product.shares) {
      if (variable[q][share.component] < 0) continue;
      for (RowKind kind : {RowKind::ShareMin, RowKind::ShareMax}) {
        const double s = kind == RowKind::ShareMin ? share.minimum : share.maximum;
        if (kind == RowKind::ShareMin ? s <= 0 : s >= 1) continue;
        Row row(kind);
        row.product = q;
        row.component = share.component;
        row.coefficient = s;
        row.lower = kind == RowKind::ShareMin ? 0.0 : -kNoBound;
        row.upper = kind == RowKind::ShareMin ? kNoBound : 0.0;
        row.scale = volumeScale;
        row.variables.insert(row.variables.end(), all.begin(), all.end());
        add(std::move(row));
      }
    }
    for (const Ratio& ratio : product.ratios) {
      const int a = variable[q][ratio.numerator], b = variable[q][ratio.denominator];
      if (a < 0 || b < 0) continue;
      for (RowKind kind : {RowKind::RatioMin, RowKind::RatioMax}) {
        const double r = kind == RowKind::RatioMin ? ratio.minimum : ratio.maximum;
        if (!std::isfinite(r)) continue;
        Row row(kind);
        row.product = q;
        row.component = ratio.numerator;
        row.other = ratio.denominator;
        row.coefficient = r;
        row.lower = kind == RowKind::RatioMin ? 0.0 : -kNoBound;
        row.upper = kind == RowKind::RatioMin ? kNoBound : 0.0;
        row.scale = volumeScale;
        row.variables = {a, b};
        add(std::move(row));
      }
    }
  }
}

std::vector<double> productVolumes(const Formulation& f, const double* x, int product) {
  std::vector<double> volumes(f.problem.components.size(), 0.0);
  for (std::size_t i = 0; i < volumes.size(); ++i) {
    const int v = f.variable[product][i];
    // Interior-point iterates may sit a hair outside a bound of zero.
    if (v >= 0) volumes[i] = std::max(0.0, x[v]);
  }
  return volumes;
}

bool evaluateProduct(const Formulation& f, const double* x, int product, std::vector<double>& values,
                     std::vector<double>* jacobian) {
  const Product& p = f.problem.products[product];
  const std::vector<double> volumes = productVolumes(f, x, product);
  int count = 0;
  tarnblend_model_property_count(p.model.get(), &count);
  values.assign(static_cast<std::size_t>(count), kMissing);
  if (jacobian) jacobian->assign(static_cast<std::size_t>(count) * volumes.size(), kMissing);
  const int status = tarnblend_model_evaluate_at(p.model.get(), volumes.data(), static_cast<int>(volumes.size()),
                                                 values.data(), jacobian ? jacobian->data() : nullptr);
  return status == TARNBLEND_OK;
}

void Formulation::addLimitSides(const std::vector<double>& start, Mode elasticMode, int onlyLimitSide) {
  mode = elasticMode;
  elasticLimitSide = onlyLimitSide;
  const std::size_t components = problem.components.size();
  for (int q = 0; q < static_cast<int>(problem.products.size()); ++q) {
    const Product& product = problem.products[q];
    std::vector<double> values, jacobian;
    const bool evaluated = evaluateProduct(*this, start.data(), q, values, &jacobian);
    double volume = 0.0;
    for (double v : productVolumes(*this, start.data(), q)) volume += v;
    for (int k = 0; k < static_cast<int>(product.limits.size()); ++k) {
      const Limit& limit = product.limits[k];
      struct Side {
        int side;
        double bound;
      };
      std::vector<Side> sides;
      if (limit.target) {
        sides.push_back({TARNBLEND_AT_TARGET, limit.low});
      } else {
        if (std::isfinite(limit.low)) sides.push_back({TARNBLEND_AT_MIN, limit.low});
        if (std::isfinite(limit.high)) sides.push_back({TARNBLEND_AT_MAX, limit.high});
      }
      for (const Side& side : sides) {
        // The spread of what each component brings to the blend against the
        // bound: for a property blending linearly, q + V dq/dv_i is the
        // component's own value.
        double scale = 0.0;
        if (evaluated && !missing(values[limit.property])) {
          const double q0 = values[limit.property];
          for (std::size_t i = 0; i < components; ++i) {
            const double d = jacobian[static_cast<std::size_t>(limit.property) * components + i];
            if (variable[q][i] < 0 || missing(d)) continue;
            scale = std::max(scale, std::fabs(q0 + volume * d - side.bound));
          }
        }
        scale = std::max(scale, 1e-3 * std::max(1.0, std::fabs(side.bound)));
        // Held a millionth of that spread inside the limit, so the recipe
        // meets the limit when re-blended, not only to the solver's
        // tolerance.
        constexpr double kInside = 1e-6;
        double bound = side.bound;
        if (side.side == TARNBLEND_AT_MIN) bound += kInside * scale;
        if (side.side == TARNBLEND_AT_MAX) bound -= kInside * scale;
        limitSides.push_back({q, k, side.side, bound, scale});
      }
    }
  }
  relaxUp.assign(limitSides.size(), -1);
  relaxDown.assign(limitSides.size(), -1);
  for (int s = 0; s < static_cast<int>(limitSides.size()); ++s) {
    const LimitSide& edge = limitSides[s];
    const bool elastic = mode == Mode::Elastic || (mode == Mode::ElasticOne && s == onlyLimitSide);
    if (elastic && edge.side != TARNBLEND_AT_MAX) relaxUp[s] = variableCount++;
    if (elastic && edge.side != TARNBLEND_AT_MIN) relaxDown[s] = variableCount++;
    Row row(RowKind::LimitSide);
    row.product = edge.product;
    row.limitSide = s;
    row.lower = edge.side == TARNBLEND_AT_MAX ? -kNoBound : 0.0;
    row.upper = edge.side == TARNBLEND_AT_MIN ? kNoBound : 0.0;
    row.scale = volumeScale * edge.scale;
    for (int v : variable[edge.product]) {
      if (v >= 0) row.variables.push_back(v);
    }
    if (relaxUp[s] >= 0) row.variables.push_back(relaxUp[s]);
    if (relaxDown[s] >= 0) row.variables.push_back(relaxDown[s]);
    rows.push_back(std::move(row));
  }
}

namespace {

using Ipopt::Index;
using Ipopt::Number;

class BlendNlp : public Ipopt::TNLP {
 public:
  BlendNlp(const Formulation& f, const std::vector<double>& start, NlpOutcome& out)
      : f_(f), start_(start), out_(out), values_(f.problem.products.size()), jacobians_(f.problem.products.size()) {}

  bool get_nlp_info(Index& n, Index& m, Index& nonZeros, Index& hessianNonZeros, IndexStyleEnum& style) override {
    n = f_.variableCount;
    m = static_cast<Index>(f_.rows.size());
    nonZeros = 0;
    for (const Row& row : f_.rows) nonZeros += static_cast<Index>(row.variables.size());
    hessianNonZeros = 0;
    style = C_STYLE;
    return true;
  }

  bool get_bounds_info(Index n, Number* xLow, Number* xHigh, Index m, Number* gLow, Number* gHigh) override {
    for (Index v = 0; v < n; ++v) {
      xLow[v] = 0.0;
      xHigh[v] = kNoBound;
    }
    for (Index r = 0; r < m; ++r) {
      gLow[r] = f_.rows[r].lower;
      gHigh[r] = f_.rows[r].upper;
    }
    return true;
  }

  bool get_scaling_parameters(Number& objectiveScaling, bool& useX, Index n, Number* xScaling, bool& useG, Index m,
                              Number* gScaling) override {
    objectiveScaling = f_.mode == Mode::Normal ? f_.objectiveScale : 1.0;
    useX = useG = true;
    for (Index v = 0; v < n; ++v) xScaling[v] = 1.0 / f_.volumeScale;
    for (std::size_t s = 0; s < f_.limitSides.size(); ++s) {
      for (int v : {f_.relaxUp[s], f_.relaxDown[s]}) {
        if (v >= 0) xScaling[v] = 1.0 / f_.limitSides[s].scale;
      }
    }
    for (Index r = 0; r < m; ++r) gScaling[r] = 1.0 / f_.rows[r].scale;
    return true;
  }

  bool get_starting_point(Index n, bool initX, Number* x, bool initZ, Number*, Number*, Index, bool initLambda,
                          Number*) override {
    if (!initX || initZ || initLambda) return false;
    for (Index v = 0; v < n; ++v) x[v] = v < static_cast<Index>(start_.size()) ? start_[v] : 0.0;
    return true;
  }

  bool eval_f(Index, const Number* x, bool newX, Number& value) override {
    if (newX) forget();
    value = 0.0;
    if (f_.mode != Mode::Normal) {
      for (std::size_t s = 0; s < f_.limitSides.size(); ++s) {
        for (int v : {f_.relaxUp[s], f_.relaxDown[s]}) {
          if (v >= 0) value += x[v] / f_.limitSides[s].scale;
        }
      }
      return true;
    }
    if (f_.objective == TARNBLEND_LEAST_CHANGE) {
      for (std::size_t i = 0; i < f_.problem.components.size(); ++i) {
        const double change = (used(x, i) - f_.problem.components[i].recipeVolume) / f_.volumeScale;
        value += 0.5 * change * change;
      }
      return true;
    }
    for (std::size_t v = 0; v < f_.volumeOf.size(); ++v) value += unitCost(v) * x[v];
    return true;
  }

  bool eval_grad_f(Index n, const Number* x, bool newX, Number* gradient) override {
    if (newX) forget();
    std::fill(gradient, gradient + n, 0.0);
    if (f_.mode != Mode::Normal) {
      for (std::size_t s = 0; s < f_.limitSides.size(); ++s) {
        for (int v : {f_.relaxUp[s], f_.relaxDown[s]}) {
          if (v >= 0) gradient[v] = 1.0 / f_.limitSides[s].scale;
        }
      }
      return true;
    }
    for (std::size_t v = 0; v < f_.volumeOf.size(); ++v) {
      if (f_.objective == TARNBLEND_LEAST_CHANGE) {
        const std::size_t i = static_cast<std::size_t>(f_.volumeOf[v].second);
        gradient[v] = (used(x, i) - f_.problem.components[i].recipeVolume) / (f_.volumeScale * f_.volumeScale);
      } else {
        gradient[v] = unitCost(v);
      }
    }
    return true;
  }

  bool eval_g(Index, const Number* x, bool newX, Index, Number* g) override {
    if (newX) forget();
    for (std::size_t r = 0; r < f_.rows.size(); ++r) {
      const Row& row = f_.rows[r];
      double value = 0.0;
      switch (row.kind) {
        case RowKind::Availability:
        case RowKind::Demand:
          for (int v : row.variables) value += x[v];
          break;
        case RowKind::ShareMin:
        case RowKind::ShareMax:
          for (int v : row.variables) value -= row.coefficient * x[v];
          value += x[f_.variable[row.product][row.component]];
          break;
        case RowKind::RatioMin:
        case RowKind::RatioMax:
          value = x[row.variables[0]] - row.coefficient * x[row.variables[1]];
          break;
        case RowKind::LimitSide: {
          if (!properties(x, row.product)) return false;
          const LimitSide& edge = f_.limitSides[row.limitSide];
          const Limit& limit = f_.problem.products[row.product].limits[edge.limit];
          value = productVolume(x, row.product) *
                  (values_[row.product][limit.property] - edge.bound + relaxation(x, row.limitSide));
          break;
        }
      }
      g[r] = value;
    }
    remember(x, g);
    return true;
  }

  bool eval_jac_g(Index, const Number* x, bool newX, Index, Index, Index* rowIndex, Index* columnIndex,
                  Number* entries) override {
    if (x == nullptr || entries == nullptr) {
      Index k = 0;
      for (std::size_t r = 0; r < f_.rows.size(); ++r) {
        for (int v : f_.rows[r].variables) {
          rowIndex[k] = static_cast<Index>(r);
          columnIndex[k++] = v;
        }
      }
      return true;
    }
    if (newX) forget();
    Index k = 0;
    for (const Row& row : f_.rows) {
      switch (row.kind) {
        case RowKind::Availability:
        case RowKind::Demand:
          for (std::size_t j = 0; j < row.variables.size(); ++j) entries[k++] = 1.0;
          break;
        case RowKind::ShareMin:
        case RowKind::ShareMax: {
          const int own = f_.variable[row.product][row.component];
          for (int v : row.variables) entries[k++] = (v == own ? 1.0 : 0.0) - row.coefficient;
          break;
        }
        case RowKind::RatioMin:
        case RowKind::RatioMax:
          entries[k++] = 1.0;
          entries[k++] = -row.coefficient;
          break;
        case RowKind::LimitSide: {
          if (!properties(x, row.product)) return false;
          const LimitSide& edge = f_.limitSides[row.limitSide];
          const std::size_t property =
              static_cast<std::size_t>(f_.problem.products[row.product].limits[edge.limit].property);
          const std::size_t components = f_.problem.components.size();
          const double volume = productVolume(x, row.product);
          const double level = values_[row.product][property] - edge.bound + relaxation(x, row.limitSide);
          for (std::size_t i = 0; i < components; ++i) {
            if (f_.variable[row.product][i] < 0) continue;
            entries[k++] = level + volume * jacobians_[row.product][property * components + i];
          }
          if (f_.relaxUp[row.limitSide] >= 0) entries[k++] = volume;
          if (f_.relaxDown[row.limitSide] >= 0) entries[k++] = -volume;
          break;
        }
      }
    }
    return true;
  }

  void finalize_solution(Ipopt::SolverReturn, Index n, const Number* x, const Number*, const Number*, Index m,
                         const Number* g, const Number* lambda, Number objective, const Ipopt::IpoptData* data,
                         Ipopt::IpoptCalculatedQuantities*) override {
    out_.x.assign(x, x + n);
    out_.rowValues.assign(g, g + m);
    out_.multipliers.assign(lambda, lambda + m);
    out_.objective = objective;
    if (data) out_.iterations = data->iter_count();
  }

  // The best point met so far that satisfies every row, kept in case IPOPT
  // ends without an answer: near a kink of a distillation point it can
  // circle an optimum it has already found.
  void remember(const Number* x, const Number* g) {
    for (std::size_t r = 0; r < f_.rows.size(); ++r) {
      const Row& row = f_.rows[r];
      if ((row.lower - g[r]) / row.scale > kFeasible || (g[r] - row.upper) / row.scale > kFeasible) return;
    }
    Number value = 0.0;
    eval_f(f_.variableCount, x, false, value);
    if (!best_.empty() && value >= bestObjective_) return;
    bestObjective_ = value;
    best_.assign(x, x + f_.variableCount);
    bestRows_.assign(g, g + f_.rows.size());
  }

  // After the solve: a failed one falls back on the best feasible point.
  void conclude() {
    if (out_.solved || best_.empty()) return;
    out_.feasibleOnly = true;
    out_.x = best_;
    out_.rowValues = bestRows_;
    out_.multipliers.assign(f_.rows.size(), 0.0);
    out_.objective = bestObjective_;
  }

 private:
  double used(const Number* x, std::size_t component) const {
    double total = 0.0;
    for (const std::vector<int>& product : f_.variable) {
      if (product[component] >= 0) total += x[product[component]];
    }
    return total;
  }

  // Objective per unit volume of variable v: the component's cost, less the
  // product's price when the margin is maximised.
  double unitCost(std::size_t v) const {
    const auto [product, component] = f_.volumeOf[v];
    const double cost = f_.problem.components[component].cost;
    double value = missing(cost) ? 0.0 : cost;
    if (f_.objective == TARNBLEND_MAX_MARGIN) {
      const double price = f_.problem.products[product].price;
      value -= missing(price) ? 0.0 : price;
    }
    return value;
  }

  double productVolume(const Number* x, int product) const {
    double total = 0.0;
    for (int v : f_.variable[product]) {
      if (v >= 0) total += std::max(0.0, x[v]);
    }
    return total;
  }

  double relaxation(const Number* x, int s) const {
    double r = 0.0;
    if (f_.relaxUp[s] >= 0) r += x[f_.relaxUp[s]];
    if (f_.relaxDown[s] >= 0) r -= x[f_.relaxDown[s]];
    return r;
  }

  void forget() { std::fill(evaluated_.begin(), evaluated_.end(), false); }

  // The product's blended properties and their Jacobian at x, evaluated once
  // per point. IPOPT asks for the Jacobian at nearly every point whose values
  // it asks for (each trial point it accepts), and the curve blend behind the
  // values is a good part of a Jacobian's cost: both come from one
  // evaluation, at the first request.
  bool properties(const Number* x, int product) {
    if (evaluated_.empty()) evaluated_.assign(f_.problem.products.size(), false);
    if (evaluated_[product]) return true;
    if (!evaluateProduct(f_, x, product, values_[product], &jacobians_[product])) return false;
    // A limited property or slope that cannot be computed here (a curve that
    // stops being monotonic, an input outside a model's range) makes IPOPT
    // step back.
    const std::size_t components = f_.problem.components.size();
    for (const Limit& limit : f_.problem.products[product].limits) {
      const std::size_t k = static_cast<std::size_t>(limit.property);
      if (missing(values_[product][k])) return false;
      for (std::size_t i = 0; i < components; ++i) {
        if (f_.variable[product][i] >= 0 && missing(jacobians_[product][k * components + i])) return false;
      }
    }
    evaluated_[product] = true;
    return true;
  }

  static constexpr double kFeasible = 1e-7;  // violation of a row relative to its scale

  const Formulation& f_;
  const std::vector<double>& start_;
  NlpOutcome& out_;
  std::vector<double> best_, bestRows_;
  double bestObjective_ = 0.0;
  std::vector<std::vector<double>> values_, jacobians_;
  std::vector<bool> evaluated_;
};

}  // namespace

NlpOutcome solveNlp(const Formulation& f, const std::vector<double>& start) {
  NlpOutcome out;
  Ipopt::SmartPtr<Ipopt::IpoptApplication> app = new Ipopt::IpoptApplication(false);
  Ipopt::OptionsList& options = *app->Options();
  options.SetStringValue("sb", "yes");  // no banner
  options.SetIntegerValue("print_level", 0);
  options.SetStringValue("hessian_approximation", "limited-memory");
  // The quasi-Newton update as extra rows of the one linear system factorised
  // at each iteration, instead of a solve per stored update: the steps are the
  // same, and a blending problem's system is small enough that the solves
  // (each with the linear solver's fixed cost) were most of an iteration.
  options.SetStringValue("limited_memory_aug_solver", "extended");
  options.SetStringValue("nlp_scaling_method", "user-scaling");
  options.SetNumericValue("tol", 1e-9);
  // Points of the distillation curve move with the volumes through
  // piecewise-linear interpolations and their derivatives are differences
  // of the curve blend: the optimality error of a problem limiting them
  // stalls near 1e-5 instead of reaching the tolerance. Five iterations in
  // a row within 1e-4, on a point within 0.01 of a unit volume of every
  // constraint row (rows are volume times property), are an answer.
  options.SetNumericValue("acceptable_tol", 1e-4);
  options.SetIntegerValue("acceptable_iter", 5);
  options.SetNumericValue("acceptable_constr_viol_tol", 1e-2);
  options.SetIntegerValue("max_iter", 200);
  options.SetStringValue("mu_strategy", "adaptive");
  if (app->Initialize("") != Ipopt::Solve_Succeeded) {
    out.status = Ipopt::Invalid_Option;
    return out;
  }
  BlendNlp* blend = new BlendNlp(f, start, out);
  Ipopt::SmartPtr<Ipopt::TNLP> nlp = blend;
  const Ipopt::ApplicationReturnStatus status = app->OptimizeTNLP(nlp);
  out.status = status;
  out.solved = status == Ipopt::Solve_Succeeded || status == Ipopt::Solved_To_Acceptable_Level;
  if (!unbounded(status)) blend->conclude();
  if (out.x.empty()) out.x = start;
  return out;
}

bool unbounded(int status) { return status == Ipopt::Diverging_Iterates; }

const char* statusText(int status) {
  switch (status) {
    case Ipopt::Solve_Succeeded:
      return "optimal solution found";
    case Ipopt::Solved_To_Acceptable_Level:
      return "solved to an acceptable level";
    case Ipopt::Infeasible_Problem_Detected:
      return "converged to a point of local infeasibility";
    case Ipopt::Search_Direction_Becomes_Too_Small:
      return "search direction became too small";
    case Ipopt::Diverging_Iterates:
      return "iterates diverging (the objective may be unbounded)";
    case Ipopt::User_Requested_Stop:
      return "stopped on request";
    case Ipopt::Feasible_Point_Found:
      return "feasible point found";
    case Ipopt::Maximum_Iterations_Exceeded:
      return "maximum number of iterations exceeded";
    case Ipopt::Restoration_Failed:
      return "restoration phase failed (the problem may be infeasible)";
    case Ipopt::Error_In_Step_Computation:
      return "error in step computation";
    case Ipopt::Maximum_CpuTime_Exceeded:
      return "maximum CPU time exceeded";
    case Ipopt::Not_Enough_Degrees_Of_Freedom:
      return "not enough degrees of freedom (more equalities than volumes)";
    case Ipopt::Invalid_Problem_Definition:
      return "invalid problem definition";
    case Ipopt::Invalid_Option:
      return "invalid solver option";
    case Ipopt::Invalid_Number_Detected:
      return "invalid number in the blend model's values";
    case Ipopt::Insufficient_Memory:
      return "insufficient memory";
    default:
      return "solver failure";
  }
}

}  // namespace tarn::optimize
