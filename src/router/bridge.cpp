// The gfx_ubml* bridge: forwarding to the bound plug-in, and the two
// calculation entries that turn its simpler calls into the catalogue's
// calling shape.
#include <cmath>

#include "common/guard.h"
#include "common/scratch.h"
#include "router/user_library.h"
#include "tarn/tarn.h"
#include "tarn/ubml.h"

using tarn::router::UserLibrary;

namespace {

template <class Function, class... Args>
int forward(Function UserLibrary::*slot, Args... args) {
  const UserLibrary* library = tarn::router::boundUserLibrary();
  if (library == nullptr) return UBML_STATUS_NOT_BOUND;
  return (library->*slot)(args...);
}

// Puts the inputs in increasing order, each at least minSpacing above the one
// before, in place. Of the two ways, pushing up from the first value and
// pushing down from the last, the one that changes fewer values is taken
// (the upward one on a tie).
void orderInputs(double* x, int n, double minSpacing) {
  tarn::ScratchArray<double, 64> up(static_cast<std::size_t>(n));
  tarn::ScratchArray<double, 64> down(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) up[i] = down[i] = x[i];
  int upChanges = 0;
  for (int i = 1; i < n; ++i) {
    if (up[i - 1] >= up[i]) {
      up[i] = up[i - 1] + minSpacing;
      ++upChanges;
    }
  }
  int downChanges = 0;
  for (int i = n - 2; i >= 0; --i) {
    if (down[i] >= down[i + 1]) {
      down[i] = down[i + 1] - minSpacing;
      ++downChanges;
    }
  }
  const auto& chosen = upChanges > downChanges ? down : up;
  for (int i = 0; i < n; ++i) x[i] = chosen[i];
}

// Type 1: one value converted, property to index for a non-zero direction,
// else index to property.
int convert(const UserLibrary& library, int index, int direction, double value, double* result) {
  return direction != 0 ? library.CalcIndexFromProp(index, value, result)
                        : library.CalcPropFromIndex(index, value, result);
}

// Type 1 slope: a forward difference against outputs[0] with the step
// (|x| + 1) * 0.001, formed so that it is exactly the step taken. Returns the
// status of the second conversion; the slope is 0 when that failed.
int singleValueSlope(const UserLibrary& library, int index, int direction, const double* inputs,
                     const double* outputs, double* derivs) {
  const double x = inputs[0];
  const double moved = (std::fabs(x) + 1.0) * 0.001 + x;
  double value = 0.0;
  const int status = convert(library, index, direction, moved, &value);
  derivs[0] = status == TARN_STATUS_OK ? (value - outputs[0]) / (moved - x) : 0.0;
  return status;
}

// Types 0, -1 and -3: the value of one property, then its derivatives.
int propertyValue(const UserLibrary& library, int index, int property, int inputCount,
                  double* inputs, double* outputs, int derivFlag, double* derivs) {
  const int status = library.CalcPropValue(index, property, inputCount, inputs, outputs);
  if (status != TARN_STATUS_OK || derivFlag == 0) return status;
  if (derivs == nullptr) return TARN_STATUS_NO_DERIVATIVE_ARRAY;
  return library.CalcPropDeriv(index, property, inputCount, inputs, derivs);
}

bool isCatalogueShape(int type) {
  return type >= UBML_TYPE_GENERAL && type <= UBML_TYPE_PROPERTY_TO_INDEX;
}

// Types -7..-4: every output at once, in the catalogue's layout.
int catalogueShape(const UserLibrary& library, int index, double* inputs, double* outputs,
                   int derivFlag, double* derivs) {
  if (derivFlag != 0 && derivs == nullptr) return TARN_STATUS_NO_DERIVATIVE_ARRAY;
  return library.CalcTorqPropValue(index, inputs, outputs, derivFlag, derivs);
}

int inputCount(const UserLibrary& library, int index) {
  int n = 0;
  library.GetCorrelationInpPropCount(index, &n);
  return n > 0 ? n : 0;
}

int correlationType(const UserLibrary& library, int index) {
  CORRTYPE type = -9999;
  library.GetCorrelationType(index, &type);
  return type;
}

}  // namespace

extern "C" TARN_API int TARN_CALL gfx_ubmlInitializeAllocate(void) {
  return forward(&UserLibrary::InitializeAllocate);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlFree(void) { return forward(&UserLibrary::Free); }
extern "C" TARN_API int TARN_CALL gfx_ubmlInitializeCoefs(void) {
  return forward(&UserLibrary::InitializeCoefs);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetErrorMsg(int code, char* message) {
  return forward(&UserLibrary::GetErrorMsg, code, message);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlErrorHandler(int index, int code, int inputCount,
                                                       double* inputs) {
  return forward(&UserLibrary::ErrorHandler, index, code, inputCount, inputs);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetPropCount(int* count) {
  return forward(&UserLibrary::GetPropCount, count);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetPropId(int k, char* id) {
  return forward(&UserLibrary::GetPropId, k, id);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetPropDesc(int k, char* desc) {
  return forward(&UserLibrary::GetPropDesc, k, desc);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationCount(int* count) {
  return forward(&UserLibrary::GetCorrelationCount, count);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationId(int index, char* id) {
  return forward(&UserLibrary::GetCorrelationId, index, id);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationDesc(int index, char* desc) {
  return forward(&UserLibrary::GetCorrelationDesc, index, desc);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationType(int index, int* type) {
  CORRTYPE value = 0;
  const int status = forward(&UserLibrary::GetCorrelationType, index, &value);
  if (status != UBML_STATUS_NOT_BOUND && type != nullptr) *type = value;
  return status;
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationInpPropCount(int index, int* count) {
  return forward(&UserLibrary::GetCorrelationInpPropCount, index, count);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationInpPropId(int index, int k, char* id) {
  return forward(&UserLibrary::GetCorrelationInpPropId, index, k, id);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationOutPropCount(int index, int* count) {
  return forward(&UserLibrary::GetCorrelationOutPropCount, index, count);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationOutPropId(int index, int k, char* id) {
  return forward(&UserLibrary::GetCorrelationOutPropId, index, id, k);  // the plug-in's order
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetIndexPair(int index, int* pair) {
  return forward(&UserLibrary::GetIndexPair, index, pair);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCoefCount(int index, int* count) {
  return forward(&UserLibrary::GetCoefCount, index, count);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCoef(int index, int k, char* name, double* value) {
  return forward(&UserLibrary::GetCoef, index, k, name, value);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlSetCoefValue(int index, int k, double value) {
  return forward(&UserLibrary::SetCoefValue, index, k, value);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlCalcIndexFromProp(int index, double property,
                                                            double* indexValue) {
  return forward(&UserLibrary::CalcIndexFromProp, index, property, indexValue);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlCalcPropFromIndex(int index, double indexValue,
                                                            double* property) {
  return forward(&UserLibrary::CalcPropFromIndex, index, indexValue, property);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlCalcPropValue(int index, int property, int inputCount,
                                                        double* inputs, double* output) {
  return forward(&UserLibrary::CalcPropValue, index, property, inputCount, inputs, output);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlCalcPropDeriv(int index, int property, int inputCount,
                                                        double* inputs, double* derivs) {
  return forward(&UserLibrary::CalcPropDeriv, index, property, inputCount, inputs, derivs);
}

extern "C" TARN_API int TARN_CALL gfx_ubmlGenCalc(int index, int derivFlag, int direction,
                                                  double minSpacing, double* inputs,
                                                  double* outputs, double* derivs) {
  const UserLibrary* library = tarn::router::boundUserLibrary();
  if (library == nullptr) return UBML_STATUS_NOT_BOUND;
  if (inputs == nullptr || outputs == nullptr) return TARN_STATUS_NOT_CALCULABLE;
  const int n = inputCount(*library, index);
  if (minSpacing > 0.0) {
    const bool ordered = tarn::guarded(false, [&] {
      orderInputs(inputs, n, minSpacing);
      return true;
    });
    if (!ordered) return TARN_STATUS_NOT_CALCULABLE;
  }
  const int type = correlationType(*library, index);
  if (type == UBML_TYPE_SINGLE_VALUE) {
    const int status = convert(*library, index, direction, inputs[0], outputs);
    if (status != TARN_STATUS_OK) return status;
    if (derivFlag != 0 && derivs != nullptr) {
      singleValueSlope(*library, index, direction, inputs, outputs, derivs);
    }
    // The value and slope are there, yet this entry reports the type as not
    // calculable; hosts rely on that answer (intended).
    return TARN_STATUS_NOT_CALCULABLE;
  }
  if (type == UBML_TYPE_PROPERTY_VALUE || type == UBML_TYPE_PROPERTY_VALUE_ALT) {
    return propertyValue(*library, index, 1, n, inputs, outputs, derivFlag, derivs);
  }
  if (isCatalogueShape(type)) return catalogueShape(*library, index, inputs, outputs, derivFlag, derivs);
  return TARN_STATUS_NOT_CALCULABLE;
}

extern "C" TARN_API int TARN_CALL gfx_ubmlGenCalcComplex(int index, int derivFlag, int direction,
                                                         int property, double* inputs,
                                                         double* outputs, double* derivs) {
  const UserLibrary* library = tarn::router::boundUserLibrary();
  if (library == nullptr) return UBML_STATUS_NOT_BOUND;
  if (inputs == nullptr || outputs == nullptr) return TARN_STATUS_NOT_CALCULABLE;
  const int n = inputCount(*library, index);
  const int type = correlationType(*library, index);
  if (type == UBML_TYPE_SINGLE_VALUE) {
    const int status = convert(*library, index, direction, inputs[0], outputs);
    if (status != TARN_STATUS_OK || derivFlag == 0) return status;
    if (derivs == nullptr) return TARN_STATUS_NO_DERIVATIVE_ARRAY;
    return singleValueSlope(*library, index, direction, inputs, outputs, derivs);
  }
  if (type == UBML_TYPE_PROPERTY_VALUE || type == UBML_TYPE_PROPERTY_VALUE_ALT) {
    return propertyValue(*library, index, 1, n, inputs, outputs, derivFlag, derivs);
  }
  if (type == UBML_TYPE_COMPLEX) {
    return propertyValue(*library, index, property, n, inputs, outputs, derivFlag, derivs);
  }
  if (isCatalogueShape(type)) return catalogueShape(*library, index, inputs, outputs, derivFlag, derivs);
  return TARN_STATUS_NOT_CALCULABLE;
}
