// The subcommands of the tool. Each writes its result to `out` in the chosen
// format and throws InputError or CalculationError on failure.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace tarncli {

enum class Format { Table, Json, Csv };

void listCommand(Format format, std::ostream& out);

void describeCommand(const std::string& idOrIndex, Format format, std::ostream& out);

// markdown: the parameter page (docs/parameters.md) instead of the listing.
void paramsCommand(const std::optional<std::string>& keyword, bool markdown, Format format, std::ostream& out);

void codesCommand(bool markdown, Format format, std::ostream& out);

struct EvalOptions {
  std::string correlation;
  std::vector<std::string> values;  // one evaluation from the command line
  std::string csvInput;             // or one per row of this file ("-": standard input)
  std::string output;               // file for the per-row results ("" or "-": standard output)
  bool derivatives = false;
};

// Returns the exit code: 0, or 1 when a single evaluation failed.
int evalCommand(const EvalOptions& options, Format format, std::ostream& out);

struct BlendCommandOptions {
  std::string recipe;         // "" for the built-in sample, "-" for standard input
  std::optional<char> units;  // --units F|C
  std::string method = "HC94";
  std::string plot;                   // SVG file, or ""
  std::string product;                // --product; "" for the recipe's own kind (gasoline when it says none)
  std::string grade, gradeClass;      // --grade NAME|FILE, --class X
  bool libraryPureThreshold = false;  // GENERICD86.DPure was set for the run
};

// Returns the exit code: 0, or kExitOffSpec when the blend fails a limit of
// the grade asked for.
int blendCommand(const BlendCommandOptions& options, Format format, std::ostream& out);

// The built-in grades, their classes and limits with their sources.
void gradesCommand(Format format, std::ostream& out);

}  // namespace tarncli
