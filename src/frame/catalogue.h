// The catalogue of built-in correlations: one constant row per correlation,
// read by the catalogue queries, the coefficient access, evaluation by index
// and the error handler. Adding or checking a correlation means reading one
// row.
#pragma once

#include <cstddef>

#include "common/units.h"
#include "params/params.h"

namespace tarn::frame {

// One coefficient, or a numbered run of them viewing consecutive elements of
// one field of the parameter block (names prefix + number, numbers first ..
// first + count - 1, zero-padded to `digits` characters). How a set value is
// stored is the viewed field's coefficient rule (params/fields.h).
struct CoefficientRun {
  const char* name;  // the name, or the prefix of a run
  int first;
  int count;  // 0: a single coefficient
  int digits;
  const void* field;  // the viewed element (the first of a run)
};

struct NameList {
  const char* const* names;
  int count;
};

struct KindList {
  const int* codes;  // one per output, or null: the kind query writes nothing
  int count;
};

struct CoefficientList {
  const CoefficientRun* runs;
  int count;  // number of runs (see coefficientCount for the coefficients)
};

// The number of outputs a variable-size correlation really produces
// (tarn_GetActualNumberOutput): the count field while the gate field is
// positive. Neither is set for a correlation of fixed size (variable tells
// which, as a constant: under the sanitizers an address is none).
struct OutputCount {
  const int* count;
  const int* gate;
  bool variable;
};

// What evaluation by index makes of a NaN that a correlation computes from
// inputs that are all numbers.
enum class NaNRule : unsigned char {
  Undefined,  // reported as undefined: 1e30 in the output, 0 for a derivative, status 1
  Kept,       // handed on with the correlation's own status (the three-point indices)
};

// Whether evaluation writes into a row's input array: never, only when the
// ChangeData switch has it repair a curve, or whenever it likes (oxygenate
// removals, the emission adapters' missing inputs, filled curve points).
enum class InputRewrite : unsigned char { Never, WhenRepairing, Always };

struct CorrelationRow;

// Evaluates a correlation from the catalogue's flat arrays: unpacks inputs,
// passes the row's settings, fills outputs and (when derivFlag is non-zero)
// the input-major derivative array. Returns the status.
using Evaluator = int (*)(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag, double* derivs);

// A correlation of one output, computed as its value: the missing value is
// its status 1.
using SingleValue = double (*)(const CorrelationRow& row, const double* inputs, int derivFlag, double* derivs);

// A row's evaluation under its NaN rule, its row bound in: what evaluation
// by index calls once it has found the row. It takes the arguments of
// gfx_tarnGenCalc as they come (index and direction are not read), so that
// the entry point hands a call on as it stands.
using RowEvaluation = int (*)(int index, int derivFlag, int direction, double* inputs, double* outputs, double* derivs);

inline constexpr int kNoPair = -1;

struct CorrelationRow {
  int index;
  const char* id;
  int type;
  NameList inputs;
  NameList outputs;
  KindList kinds;
  int pair;            // the inverse correlation of a property-to-index one, or kNoPair
  int slackCount;      // trailing inputs that are slack values (offsets added to outputs)
  int settingsSource;  // the correlation whose CORF and TYPCOR this one uses
  CoefficientList coefficients;
  Evaluator compute;            // unpacks the inputs and calls the correlation
  SingleValue value;            // the correlation of a one-output row (compute stores it), or null
  InputRewrite rewritesInputs;  // a second run on copies needs the inputs kept when they may change
  NaNRule nanRule;
  RowEvaluation evaluate;  // compute under the NaN rule: what evaluation by index calls
  OutputCount outputCount;
  const char* source;  // the published source of the correlation, or null where none is on file
};

inline constexpr int kCatalogueSize = kCorrelationCount;

// The table itself (catalogue.cpp). Every row has a type from -7 to -4
// (checked where the table is built).
extern const CorrelationRow kCatalogueRows[kCatalogueSize];

// Each row's evaluation, indexed by correlation number: the rows' own
// evaluate, side by side, where the entry point finds them in one step.
struct RowEvaluations {
  RowEvaluation byIndex[kCatalogueSize];
};
extern const RowEvaluations kRowEvaluations;

// The whole catalogue, indexed by correlation number.
inline const CorrelationRow* catalogue() { return kCatalogueRows; }

// True for an index of the catalogue, 0..56.
inline bool inCatalogue(int index) {
  // Compared unsigned, so a negative index is refused too.
  return static_cast<unsigned>(index) < static_cast<unsigned>(kCatalogueSize);
}

// The row of a correlation, or null for an index outside 0..56.
inline const CorrelationRow* findCorrelation(int index) {
  return inCatalogue(index) ? &kCatalogueRows[index] : nullptr;
}

// The temperature unit flag that evaluation passes to the correlation: 'F'
// (70) when the CORF of its settings source is non-zero, else 'C' (67).
inline char unitOf(const CorrelationRow& row) {
  return params().settings.corf[row.settingsSource] != 0 ? kUnitFahrenheit : kUnitCelsius;
}

// ---- Library properties ------------------------------------------------
struct LibraryProperty {
  const char* id;
  const char* description;
};
inline constexpr int kLibraryPropertyCount = 2;
const LibraryProperty* libraryProperties();

// ---- Coefficients --------------------------------------------------------
// One coefficient of a row: its run and its position within the run.
struct Coefficient {
  const CoefficientRun* run;
  int position;
};

int coefficientCount(const CorrelationRow& row);

// The k-th coefficient of a row; false when k is outside 0..count-1.
bool coefficientAt(const CorrelationRow& row, int k, Coefficient& out);

// The name of a coefficient, written into buffer (at least 9 bytes).
void coefficientName(const Coefficient& c, char* buffer, std::size_t size);

double readCoefficient(const Coefficient& c);

// Stores value by the viewed field's coefficient rule.
void writeCoefficient(const Coefficient& c, double value);

}  // namespace tarn::frame
