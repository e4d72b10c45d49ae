// The library's catalogue, keywords and coefficients, read through the
// public C interface into plain C++ values.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tarncli {

struct Coefficient {
  std::string name;
  double value = 0.0;
};

struct Correlation {
  int index = 0;
  std::string id;
  std::string description;
  int type = 0;
  std::vector<std::string> inputs;
  std::vector<std::string> outputs;
  std::vector<std::optional<int>> kinds;  // one per output; none where the catalogue has none
  std::optional<int> pair;
  int slackCount = 0;
  std::vector<Coefficient> coefficients;
  std::string source;  // where the correlation was published, or "" where none is on file

  // The CORF coefficient (temperature unit flag), when the correlation has one.
  std::optional<double> unitFlag() const;
};

int correlationCount();

// Everything the catalogue says about correlation index (0 <= index < count).
Correlation correlation(int index);

// The index named by an identifier (any case) or a number; throws InputError
// naming the text when there is no such correlation.
int findCorrelation(const std::string& idOrIndex);

// What an output kind code says about the output ("vapour pressure" for 3).
std::string kindName(int kind);

// The meaning of a switch coefficient's value ("winter" for EPA.SEASON 2),
// or "" when the coefficient is not a switch or the value has none.
std::string settingMeaning(const std::string& id, const std::string& name, double value);

// Readable name of a correlation type.
std::string typeName(int type);

struct Keyword {
  std::string correlation;
  std::string alias;  // the group's second correlation keyword, or ""
  std::string parameter;
  double value = 0.0;
  double defaultValue = 0.0;  // as it reads after a reset
  std::string unit;           // "" where it has none or mixes units
  std::string description;
};

// Every parameter reachable by keyword, with its current value, default,
// unit and description.
std::vector<Keyword> keywords();

// Applies CORRELATION.PARAMETER=VALUE through gfx_setCorParms; throws
// InputError for a malformed setting, an unknown pair or a refused value.
void applySetting(const std::string& setting);

// Applies ID.NAME=VALUE through gfx_tarnSetCoefValue; throws InputError for a
// malformed setting, an unknown correlation or coefficient, and a value a
// switch or count cannot take (CORF 7, EPA.SEASON 9). Returns a note
// when the coefficient did not take the value as given (read-only,
// truncated), else "".
std::string applyCoefficient(const std::string& setting);

}  // namespace tarncli
