// The blending problem as a non-linear program for IPOPT.
//
// Variables: the volume of each component allowed in each product, and in an
// elastic problem one relaxation per limit side (in the property's
// unit). Constraints, each a row with lower and upper bounds:
//   availability  sum over products of v[p][i]           in [min_i, max_i]
//   demand        V_p = sum over components of v[p][i]   in [min_p, max_p]
//   share         v[p][i] - s V_p                         >= 0 or <= 0
//   ratio         v[p][a] - r v[p][b]                     >= 0 or <= 0
//   limit V_p (q_k(v_p) - L + r_up - r_down)      >= 0 (minimum), <= 0 (maximum), = 0 (target)
// A limit multiplied by the product's volume stays defined and
// smooth as the product's volume shrinks, and a property that blends
// linearly by volume gives a linear row, so a problem with only such
// properties is a linear programme and IPOPT meets its exact optimum.
#pragma once

#include <vector>

#include "problem.h"

namespace tarn::optimize {

enum class Mode {
  Normal,      // every limit hard
  Elastic,     // every limitSide may give; minimise the weighted relaxations
  ElasticOne,  // only one limitSide row may give; minimise its relaxation
};

enum class RowKind { Availability, Demand, ShareMin, ShareMax, RatioMin, RatioMax, LimitSide };

// One side of a limit (or a target) of one product.
struct LimitSide {
  int product, limit, side;  // side: TARNBLEND_AT_MIN, _AT_MAX, _AT_TARGET
  double bound;              // in the property's unit, held slightly inside the limit
  double scale;              // spread of the property over the product's components
};

struct Row {
  explicit Row(RowKind k) : kind(k) {}
  RowKind kind;
  int product = -1, component = -1, other = -1, limitSide = -1;
  double coefficient = 0.0;  // share fraction or ratio
  double lower = 0.0, upper = 0.0;
  double scale = 1.0;          // typical size of the row's terms
  std::vector<int> variables;  // the non-zeros of the row, in the order evaluate writes them
};

struct Formulation {
  const Problem& problem;
  int objective;  // TARNBLEND_MIN_COST, _MAX_MARGIN or _LEAST_CHANGE
  Mode mode = Mode::Normal;
  int elasticLimitSide = -1;  // for Mode::ElasticOne
  double volumeScale = 1.0, objectiveScale = 1.0;

  std::vector<std::vector<int>> variable;     // [product][component]: index, or -1 when kept out
  std::vector<std::pair<int, int>> volumeOf;  // volume variable -> (product, component)
  std::vector<LimitSide> limitSides;
  std::vector<int> relaxUp, relaxDown;  // per limitSide: variable index or -1
  std::vector<Row> rows;
  int variableCount = 0;

  Formulation(const Problem& p, int resolvedObjective, std::vector<std::vector<bool>> allowed);
  // Adds the limit rows, scaled at the start point, and the
  // relaxation variables of an elastic mode. Call once, after the start
  // point is known.
  void addLimitSides(const std::vector<double>& start, Mode elasticMode, int onlyLimitSide = -1);
};

struct NlpOutcome {
  int status = 0;  // IPOPT's ApplicationReturnStatus
  bool solved = false;
  // IPOPT stopped without an answer but passed through points meeting every
  // row: x is the one with the best objective among them (no multipliers).
  bool feasibleOnly = false;
  int iterations = 0;
  double objective = 0.0;
  std::vector<double> x, rowValues, multipliers;  // multipliers in IPOPT's sign convention

  bool usable() const { return solved || feasibleOnly; }
};

// Evaluates product p's model at the volumes of x (properties, and their
// Jacobian when wanted). Returns false when the model cannot evaluate.
bool evaluateProduct(const Formulation& f, const double* x, int product, std::vector<double>& values,
                     std::vector<double>* jacobian);

// Product p's component volumes in x (components kept out at zero).
std::vector<double> productVolumes(const Formulation& f, const double* x, int product);

NlpOutcome solveNlp(const Formulation& f, const std::vector<double>& start);

// IPOPT's return status in words.
const char* statusText(int status);

// Whether IPOPT's status says the iterates diverged (an unbounded objective).
bool unbounded(int status);
inline constexpr int kOutOfMemory = -102;  // IPOPT's Insufficient_Memory

}  // namespace tarn::optimize
