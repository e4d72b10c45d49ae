// Correlation coefficients: named views of parameter-block fields, declared
// in the catalogue rows, read and written by position through the field
// table, whose coefficient rule says how a set value is stored.
#include <cstdio>

#include "frame/catalogue.h"
#include "params/fields.h"
#include "tarn/tarn.h"

namespace tarn::frame {
namespace {

int runLength(const CoefficientRun& run) { return run.count == 0 ? 1 : run.count; }

// The field row a coefficient views and the element within it. A numbered
// run may go on from one row into the next of the same array
// (CETANEIMPROVER P1..P7 views P1, P2, P3, P4 and P5..P7).
struct Viewed {
  const fields::Field* field;
  int element;
};

Viewed viewed(const Coefficient& c) {
  Viewed v{nullptr, 0};
  const fields::Field* first = fields::containing(c.run->field, v.element);
  const char* address = static_cast<const char*>(c.run->field) + c.position * fields::elementSize(first->slot.type);
  v.field = fields::containing(address, v.element);
  return v;
}

}  // namespace

int coefficientCount(const CorrelationRow& row) {
  int count = 0;
  for (int r = 0; r < row.coefficients.count; ++r) count += runLength(row.coefficients.runs[r]);
  return count;
}

bool coefficientAt(const CorrelationRow& row, int k, Coefficient& out) {
  if (k < 0) return false;
  for (int r = 0; r < row.coefficients.count; ++r) {
    const CoefficientRun& run = row.coefficients.runs[r];
    if (k < runLength(run)) {
      out = Coefficient{&run, k};
      return true;
    }
    k -= runLength(run);
  }
  return false;
}

void coefficientName(const Coefficient& c, char* buffer, std::size_t size) {
  if (c.run->count == 0) {
    std::snprintf(buffer, size, "%s", c.run->name);
  } else {
    fields::numberedName(buffer, size, c.run->name, c.run->digits, c.run->first + c.position);
  }
}

double readCoefficient(const Coefficient& c) {
  const Viewed v = viewed(c);
  return fields::read(*v.field, v.element);
}

void writeCoefficient(const Coefficient& c, double value) {
  const Viewed v = viewed(c);
  // A value the rule refuses (NaN or beyond int for an integer) is ignored.
  fields::store(*v.field, v.element, v.field->rules.coefficient, value);
}

}  // namespace tarn::frame

using namespace tarn::frame;

extern "C" TARN_API int TARN_CALL gfx_tarnGetCoefCount(int index, int* count) {
  const CorrelationRow* row = findCorrelation(index);
  if (row == nullptr) return TARN_STATUS_BAD_CORRELATION;
  if (count != nullptr) *count = coefficientCount(*row);
  return TARN_STATUS_OK;
}

namespace {

// The checks shared by get and set: the count query first, then k, then the
// index once more.
int locateCoefficient(int index, int k, Coefficient& out) {
  int count = 0;
  if (gfx_tarnGetCoefCount(index, &count) != TARN_STATUS_OK) return TARN_STATUS_BAD_CORRELATION;
  if (k < 0 || k >= count) return TARN_STATUS_BAD_COEFFICIENT;
  const CorrelationRow* row = findCorrelation(index);
  if (row == nullptr || !coefficientAt(*row, k, out)) return TARN_STATUS_BAD_CORRELATION;
  return TARN_STATUS_OK;
}

}  // namespace

extern "C" TARN_API int TARN_CALL gfx_tarnGetCoef(int index, int k, char* name, double* value) {
  Coefficient c{};
  const int status = locateCoefficient(index, k, c);
  if (status != TARN_STATUS_OK) return status;
  if (name != nullptr) coefficientName(c, name, TARN_COEF_NAME_SIZE);
  if (value != nullptr) *value = readCoefficient(c);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnSetCoefValue(int index, int k, double value) {
  Coefficient c{};
  const int status = locateCoefficient(index, k, c);
  if (status != TARN_STATUS_OK) return status;
  writeCoefficient(c, value);
  return TARN_STATUS_OK;
}
