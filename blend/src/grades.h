// Product grades: named sets of limits on blended properties, built in from
// published standards and regulations (each number citing its source) or
// read from a user's CSV or JSON file, and the check of a model against one.
#pragma once

#include <string>
#include <vector>

#include "model.h"
#include "units.h"

namespace tarnblend {

struct Limit {
  std::string key;  // blended property key, upper case
  double minimum = kMissing, maximum = kMissing;
  const Unit* unit = nullptr;  // of minimum and maximum
  std::string source;
};

struct Grade {
  std::string name, gradeClass;
  int product = TARNBLEND_ANY_PRODUCT;
  std::vector<Limit> limits;

  // Adds a limit after checking the key, the unit and the bounds; throws
  // Error (TARNBLEND_ERROR_PROPERTY, _UNIT or _VALUE).
  void addLimit(const std::string& key, double minimum, double maximum, const std::string& unit,
                const std::string& source);
};

struct BuiltinGradeInfo {
  const char* name;
  const char* title;
  int product;
  const char* classes;       // "A,D,D1", or ""
  const char* defaultClass;  // "" when a class must be chosen (or there are none)
};

int builtinGradeCount();
const BuiltinGradeInfo& builtinGrade(int k);

// The built-in grade of this name (case, blanks and dashes ignored) in this
// class ("" for the default). Throws Error(TARNBLEND_ERROR_NOT_FOUND).
Grade openBuiltinGrade(const std::string& name, const std::string& gradeClass);

// A user grade file (JSON, or CSV with the columns property, min, max, unit
// and optionally source). Throws Error(TARNBLEND_ERROR_FILE) naming the file
// and the place of the first fault.
Grade readGradeFile(const std::string& path);

// Checks the model's results against every limit into model.checks().
void checkGrade(Model& model, const Grade& grade, int& failures, int& unchecked);

}  // namespace tarnblend
