// The catalogue of built-in correlations: one constant row per correlation,
// read by the catalogue queries, the coefficient access, evaluation by index
// and the error handler. Adding or checking a correlation means reading one
// row.
#pragma once

#include <cstddef>

#include "params/params.h"

namespace tarn::frame {

// A view of one parameter-block field, or of the first of a run of elements
// of one array. Exactly one of real and integer is set.
struct FieldView {
  double* real;
  int* integer;
  int room;  // elements from the viewed one to the end of its array (1 for a scalar)
};

using FieldLocator = FieldView (*)(ParameterBlock&);

// How a value given through gfx_tarnSetCoefValue is stored.
enum class CoefficientRule {
  Store,             // reals assigned; integers truncated toward zero
  WholeReal,         // a real truncated to a whole number (DRIVEABILITYINDEXE EOHVOL)
  ReadOnly,          // readable, a set stores nothing
  CountWithLimit,    // n = trunc(value); n < limit ? trunc(n + 0.5) : 1
  GaussianQuantile,  // a T20 quantile: the ratio follows or the group is restored
};

// One coefficient, or a numbered run of them viewing consecutive elements
// (names prefix + number, numbers first .. first + count - 1, zero-padded to
// `digits` characters).
struct CoefficientRun {
  const char* name;  // the name, or the prefix of a run
  int first;
  int count;         // 0: a single coefficient
  int digits;
  FieldLocator locate;
  CoefficientRule rule;
  int limit;         // CountWithLimit only
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

struct CorrelationRow;

// Evaluates a correlation from the catalogue's flat arrays: unpacks inputs,
// passes the row's unit flag and settings, fills outputs and (when derivFlag
// is non-zero) the input-major derivative array. Returns the status.
using Evaluator = int (*)(const CorrelationRow& row, double* inputs, double* outputs,
                          int derivFlag, double* derivs);

inline constexpr int kNoPair = -1;

struct CorrelationRow {
  int index;
  const char* id;
  int type;
  NameList inputs;
  NameList outputs;
  KindList kinds;
  int pair;        // the inverse correlation of a property-to-index one, or kNoPair
  int slackCount;  // trailing inputs that are slack values
  int unitSource;  // the correlation whose CORF gives this one's temperature unit
  CoefficientList coefficients;
  Evaluator evaluate;  // unpacks the inputs and calls the correlation
};

// The whole catalogue, indexed by correlation number.
const CorrelationRow* catalogue();
inline constexpr int kCatalogueSize = kCorrelationCount;

// The row of a correlation, or null for an index outside 0..56.
const CorrelationRow* findCorrelation(int index);

// The temperature unit flag that evaluation passes to the correlation: 'F'
// (70) when the CORF of its unit source is non-zero, else 'C' (67).
int unitFlag(const CorrelationRow& row);

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

// The parameter-block field a coefficient views (room counted from it).
FieldView coefficientField(const Coefficient& c);

double readCoefficient(const Coefficient& c);

// Stores value by the coefficient's rule.
void writeCoefficient(const Coefficient& c, double value);

}  // namespace tarn::frame
