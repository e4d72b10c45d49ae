// The engine of the CARB predictive models. A model compares a candidate
// gasoline with a reference fuel (flat-limit or averaging-limit values per
// property) through log-linear regressions in standardized fuel properties:
//
//   z = (x - mean)/SD per standardization set (some properties fixed),
//   terms = z and products of z pairs, y = intercept + sum coef * term,
//   E = exp(y) for the reference fuel and the candidate,
//   percent change per regression = (Ecand - Eref)/Eref * 100,
//   exhaust results = group-weighted percent changes of one regression per
//   vehicle-technology group, toxics = ratio of the group-weighted,
//   potency-weighted toxic species emissions, minus 1, in percent.
//
// The candidate may be adjusted before a regression sees it: a property
// inside a band snaps to one value, and a property below a linear floor in
// other properties is raised to it (each regression names the set of floors
// it uses). Sensitivities are central differences of the whole model with
// the steps clamped to the valid range.
//
// Everything that distinguishes one model from another is data (ModelData);
// a model without a regression table gets its fixed processing (limit test
// and count) and the missing value 1e30 as results.
#pragma once

namespace tarn::emissions::predictive {

inline constexpr int kMaxProperties = 9;
inline constexpr int kMaxTerms = 64;
inline constexpr int kMaxRegressions = 32;
inline constexpr int kMaxSets = 3;
inline constexpr int kMaxVariants = 4;
inline constexpr int kMaxFloors = 4;
inline constexpr int kMaxSnaps = 2;
inline constexpr int kMaxBoundOverrides = 2;
inline constexpr int kMaxGroups = 4;
inline constexpr int kMaxToxicSpecies = 4;
inline constexpr int kMaxInterceptParts = 2;
inline constexpr int kResultCount = 3;
inline constexpr int kExhaustResultCount = 2;
inline constexpr int kFlagLetters = 6;

struct StandardizationSet {
  double mean[kMaxProperties];
  double sd[kMaxProperties];
  bool fixed[kMaxProperties];  // z of the property is fixedZ, whatever its value
  double fixedZ[kMaxProperties];
};

// z[first], or z[first] * z[second] when second >= 0.
struct Term {
  int first;
  int second;
};

// A candidate property inside [low, high] is taken as value.
struct Snap {
  int property;
  double low;
  double high;
  double value;
};

// A candidate property below constant + sum coefficient[k] * candidate[input[k]]
// is raised to that floor. Floors are computed from the snapped candidate.
struct Floor {
  int property;
  double constant;
  int inputCount;
  int input[2];
  double coefficient[2];
};

// The floors one family of regressions applies to the candidate.
struct CandidateVariant {
  int floorCount;
  int floor[kMaxFloors];
};

struct Regression {
  int standardization;   // set used for both fuels
  int candidateVariant;  // candidate adjustment used for the candidate
};

// One vehicle-technology group: its regression for each exhaust result, its
// regressions of the toxic species, and its weights in the results.
struct TechnologyGroup {
  int exhaustRegression[kExhaustResultCount];
  double exhaustWeight[kExhaustResultCount];
  int toxicRegression[kMaxToxicSpecies];
  double toxicsWeight;
};

// An out-of-range test bound that replaces the widened table limit.
struct TestedBound {
  int property;
  double lower;
  double upper;
};

struct ModelData {
  int propertyCount;
  int flaggedProperty[kFlagLetters];  // the property each caller flag letter belongs to
  bool perturbed[kMaxProperties];     // properties with a sensitivity (others 0)
  int boundOverrideCount;
  TestedBound boundOverride[kMaxBoundOverrides];

  // Regression data; coefficients == nullptr means the table is not available.
  const double* flatReference;       // propertyCount values
  const double* averagingReference;  // propertyCount values
  int snapCount;
  Snap snap[kMaxSnaps];
  int floorCount;
  Floor floor[kMaxFloors];
  int variantCount;
  CandidateVariant variant[kMaxVariants];
  int setCount;
  const StandardizationSet* sets;
  int termCount;
  const Term* terms;
  int regressionCount;
  const Regression* regressions;
  int interceptPartCount;
  const double* intercepts;    // [part][regression], summed in part order
  const double* coefficients;  // [term][regression]
  int groupCount;
  const TechnologyGroup* groups;
  int toxicSpeciesCount;
  const double* potency;  // weight of each toxic species
};

// Valid range of each property (sensitivity steps stay inside it) and the
// bounds beyond which a property counts as out of range.
struct Limits {
  double lower[kMaxProperties];
  double upper[kMaxProperties];
  double testedLower[kMaxProperties];
  double testedUpper[kMaxProperties];
};

// Limits from a valid-range table: a property is out of range below 0.9999
// times its lower limit or above 1.0001 times its upper limit, except where
// the model overrides the tested bounds.
Limits limitsFromTable(const ModelData& model, const double* lower, const double* upper);

// The working values of one evaluation. The CARB predictive models share one
// block of them (workingState()): the models are not re-entrant.
struct WorkingState {
  double properties[kMaxProperties];  // the fuel, degrees F
  double multiplier[kMaxProperties];  // per-property adjustment, reset to 1 at each evaluation
  double offset[kMaxProperties];      // per-property adjustment, reset to 0 at each evaluation
  char flag[kMaxProperties];          // 'A' averaging, 'F' flat, ' ' for unflagged properties
  int outOfRange[kMaxProperties];
  int outOfRangeCount;
  int baseOutOfRange[kMaxProperties];  // as counted for the fuel itself
  int baseOutOfRangeCount;
  double reference[kMaxProperties];
  double candidate[kMaxProperties];
  double variantFuel[kMaxVariants][kMaxProperties];
  double referenceTerms[kMaxSets][kMaxTerms];
  double candidateTerms[kMaxSets][kMaxVariants][kMaxTerms];
  double referenceEmission[kMaxRegressions];
  double candidateEmission[kMaxRegressions];
  double percentChange[kMaxRegressions];
  double groupToxicsChange[kMaxGroups];
  double results[kResultCount];
};

WorkingState& workingState();

// Resets the flags ('F' for flagged properties, blank for the others) and
// copies the caller's letters in, stopping at a NUL; flags may be null.
void setFlags(const ModelData& model, const char* flags, WorkingState& state);

// Evaluates the model at state.properties (degrees F) and fills the state:
// limit flags and count, then the results (1e30 without a regression table).
void evaluate(const ModelData& model, const Limits& limits, WorkingState& state);

// evaluate(), then, when deriv is not null, the sensitivities
// deriv[3 * j + k] = d result k / d property j (degrees F) by central
// differences clamped to the limits. state.results hold the base results
// afterwards; state.outOfRange* those of the last evaluation made and
// state.baseOutOfRange* those of the fuel itself. Without a regression table
// the sensitivities are 0.
void evaluateWithSensitivities(const ModelData& model, const Limits& limits, WorkingState& state, double* deriv);

}  // namespace tarn::emissions::predictive
