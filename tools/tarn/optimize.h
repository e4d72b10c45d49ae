// tarn optimize: least-cost (or greatest-margin) blends, back-solving and
// the least relaxation of an infeasible grade, through the blend library's
// optimiser. A problem file (JSON) says everything; a recipe with options
// covers the small cases.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "commands.h"

namespace CLI {
class App;
}

namespace tarncli {

struct OptimizeOptions {
  std::string input;   // problem file (JSON with "products"), or a recipe
  std::string recipe;  // --recipe: components for a problem file, instead of the one it names
  // A recipe's one product:
  std::string name, product, grade, gradeClass, demand, price, objective, units;
  std::vector<std::string> limits, targets, free, costs, minimums, maximums, fixed, shares;
  // Output:
  std::string plot, saveRecipes;
  bool json = false, csv = false;
};

// Registers the command and its options on app; returns the subcommand.
CLI::App* addOptimizeCommand(CLI::App& app, OptimizeOptions& options);

// Returns the exit code: 0 a recipe (optimal, or feasible and said so),
// kExitOffSpec when no recipe meets every limit (the least relaxations are
// shown), kExitCalculationFailed when the solver gave no answer.
int optimizeCommand(const OptimizeOptions& options, std::ostream& out);

}  // namespace tarncli
