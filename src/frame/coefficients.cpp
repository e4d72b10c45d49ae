// Correlation coefficients: named views of parameter-block fields, declared
// in the catalogue rows, read and written by position.
#include <cmath>
#include <cstdio>

#include "common/integers.h"
#include "frame/catalogue.h"
#include "tarn/tarn.h"

namespace tarn::frame {
namespace {

int runLength(const CoefficientRun& run) { return run.count == 0 ? 1 : run.count; }

void storeInteger(int& field, double value) {
  int n = 0;
  if (truncateToInt(value, n)) field = n;  // NaN and out-of-range values are ignored
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
    std::snprintf(buffer, size, "%s%0*d", c.run->name, c.run->digits, c.run->first + c.position);
  }
}

FieldView coefficientField(const Coefficient& c) {
  FieldView view = c.run->locate(params());
  if (view.real != nullptr) view.real += c.position;
  if (view.integer != nullptr) view.integer += c.position;
  view.room -= c.position;
  return view;
}

double readCoefficient(const Coefficient& c) {
  const FieldView field = coefficientField(c);
  return field.real != nullptr ? *field.real : static_cast<double>(*field.integer);
}

void writeCoefficient(const Coefficient& c, double value) {
  const FieldView field = coefficientField(c);
  switch (c.run->rule) {
    case CoefficientRule::Store:
      if (field.real != nullptr) {
        *field.real = value;
      } else {
        storeInteger(*field.integer, value);
      }
      return;
    case CoefficientRule::WholeReal:
      *field.real = std::trunc(value);
      return;
    case CoefficientRule::ReadOnly:
      return;
    case CoefficientRule::CountWithLimit: {
      // The limit is tested on the truncated count; below it the count is
      // rounded once more, which moves negative counts up by one (intended).
      if (std::isnan(value)) return;
      const double n = std::trunc(value);
      storeInteger(*field.integer, n < c.run->limit ? std::trunc(n + 0.5) : 1.0);
      return;
    }
    case CoefficientRule::GaussianQuantile:
      storeT20GaussianQuantile(*field.real, value);
      return;
  }
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
