// The gfx_ubml* bridge: forwarding to the bound plug-in, and the two
// calculation entries that turn its simpler calls into the catalogue's
// calling shape.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "common/guard.h"
#include "common/scratch.h"
#include "router/user_library.h"
#include "tarn/bml.h"
#include "tarn/tarn.h"
#include "tarn/ubml.h"

using tarn::router::UserLibrary;

namespace {

// What a plug-in may answer. Its correlations are numbered after the 57
// built-in ones and its properties after the library's two, so their counts
// must leave those numbers inside an int; input and output counts are kept
// to 46,340 so that a host's derivative array of inputs x outputs entries
// still has an int size. A count outside its range is refused with -1104
// ("UBML Initialization failed."), the code of a plug-in that cannot be used.
constexpr long long kMaxCorrelations = INT_MAX - static_cast<long long>(TARN_BML_FIRST_USER_CORRELATION);
constexpr long long kMaxProperties = INT_MAX - static_cast<long long>(TARN_BML_FIRST_USER_PROPERTY);
constexpr long long kMaxArrayCount = 46340;
constexpr int kUnusableAnswer = TARN_BML_STATUS_UBML_INIT_FAILED;

// The plug-in writes its texts into a buffer of this size; the caller gets
// them cut to the documented length and always terminated.
constexpr std::size_t kTextScratch = 256;
constexpr char kUnwritten = '\xff';

template <class Function, class... Args>
int forward(Function UserLibrary::*slot, Args... args) {
  const UserLibrary* library = tarn::router::boundUserLibrary();
  if (library == nullptr) return UBML_STATUS_NOT_BOUND;
  return (library->*slot)(args...);
}

// Runs a call that answers one value through a local, handed to the caller
// only on success (and only when the caller gave somewhere to put it).
template <class Value, class Call>
int answerValue(Value* out, Call call) {
  if (tarn::router::boundUserLibrary() == nullptr) return UBML_STATUS_NOT_BOUND;
  Value value{};
  const int status = call(&value);
  if (status == TARN_STATUS_OK && out != nullptr) *out = value;
  return status;
}

// A count of the plug-in, handed on only when it lies in [0, limit].
template <class Call>
int answerCount(int* out, long long limit, Call call) {
  int value = 0;
  const int status = answerValue(&value, call);
  if (status != TARN_STATUS_OK) return status;
  if (value < 0 || value > limit) return kUnusableAnswer;
  if (out != nullptr) *out = value;
  return status;
}

// Runs a call that writes a text. Whatever the plug-in wrote, with or
// without a terminator and of any length up to the scratch buffer, reaches
// the caller cut to size - 1 characters and terminated; nothing is written
// when the plug-in wrote nothing.
template <class Call>
int answerText(char* out, std::size_t size, Call call) {
  if (tarn::router::boundUserLibrary() == nullptr) return UBML_STATUS_NOT_BOUND;
  char scratch[kTextScratch] = {kUnwritten};
  const int status = call(scratch);
  if (out != nullptr && scratch[0] != kUnwritten) {
    const std::size_t length = std::min(strnlen(scratch, sizeof scratch), size - 1);
    std::memcpy(out, scratch, length);
    out[length] = '\0';
  }
  return status;
}

const UserLibrary& bound() { return *tarn::router::boundUserLibrary(); }

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
int singleValueSlope(const UserLibrary& library, int index, int direction, const double* inputs, const double* outputs,
                     double* derivs) {
  const double x = inputs[0];
  const double moved = (std::fabs(x) + 1.0) * 0.001 + x;
  double value = 0.0;
  const int status = convert(library, index, direction, moved, &value);
  derivs[0] = status == TARN_STATUS_OK ? (value - outputs[0]) / (moved - x) : 0.0;
  return status;
}

// Types 0, -1 and -3: the value of one property, then its derivatives.
int propertyValue(const UserLibrary& library, int index, int property, int inputCount, double* inputs, double* outputs,
                  int derivFlag, double* derivs) {
  const int status = library.CalcPropValue(index, property, inputCount, inputs, outputs);
  if (status != TARN_STATUS_OK || derivFlag == 0) return status;
  if (derivs == nullptr) return TARN_STATUS_NO_DERIVATIVE_ARRAY;
  return library.CalcPropDeriv(index, property, inputCount, inputs, derivs);
}

bool isCatalogueShape(int type) { return type >= UBML_TYPE_GENERAL && type <= UBML_TYPE_PROPERTY_TO_INDEX; }

// Types -7..-4: every output at once, in the catalogue's layout.
int catalogueShape(const UserLibrary& library, int index, double* inputs, double* outputs, int derivFlag,
                   double* derivs) {
  if (derivFlag != 0 && derivs == nullptr) return TARN_STATUS_NO_DERIVATIVE_ARRAY;
  return library.CalcTorqPropValue(index, inputs, outputs, derivFlag, derivs);
}

// The input count the evaluation entries work with: 0 when the plug-in
// cannot give a usable one.
int inputCount(int index) {
  int n = 0;
  return gfx_ubmlGetCorrelationInpPropCount(index, &n) == TARN_STATUS_OK ? n : 0;
}

int correlationType(const UserLibrary& library, int index) {
  CORRTYPE type = -9999;
  library.GetCorrelationType(index, &type);
  return type;
}

}  // namespace

extern "C" TARN_API int TARN_CALL gfx_ubmlInitializeAllocate(void) { return forward(&UserLibrary::InitializeAllocate); }
extern "C" TARN_API int TARN_CALL gfx_ubmlFree(void) { return forward(&UserLibrary::Free); }
extern "C" TARN_API int TARN_CALL gfx_ubmlInitializeCoefs(void) { return forward(&UserLibrary::InitializeCoefs); }
extern "C" TARN_API int TARN_CALL gfx_ubmlGetErrorMsg(int code, char* message) {
  return answerText(message, TARN_MESSAGE_SIZE, [&](char* text) { return bound().GetErrorMsg(code, text); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlErrorHandler(int index, int code, int inputCount, double* inputs) {
  return forward(&UserLibrary::ErrorHandler, index, code, inputCount, inputs);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetPropCount(int* count) {
  return answerCount(count, kMaxProperties, [](int* n) { return bound().GetPropCount(n); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetPropId(int k, char* id) {
  return answerText(id, TARN_PROPERTY_ID_SIZE, [&](char* text) { return bound().GetPropId(k, text); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetPropDesc(int k, char* desc) {
  return answerText(desc, TARN_DESC_SIZE, [&](char* text) { return bound().GetPropDesc(k, text); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationCount(int* count) {
  return answerCount(count, kMaxCorrelations, [](int* n) { return bound().GetCorrelationCount(n); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationId(int index, char* id) {
  return answerText(id, TARN_ID_SIZE, [&](char* text) { return bound().GetCorrelationId(index, text); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationDesc(int index, char* desc) {
  return answerText(desc, TARN_DESC_SIZE, [&](char* text) { return bound().GetCorrelationDesc(index, text); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationType(int index, int* type) {
  CORRTYPE value = 0;
  const int status = forward(&UserLibrary::GetCorrelationType, index, &value);
  if (status != UBML_STATUS_NOT_BOUND && type != nullptr) *type = value;
  return status;
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationInpPropCount(int index, int* count) {
  return answerCount(count, kMaxArrayCount, [&](int* n) { return bound().GetCorrelationInpPropCount(index, n); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationInpPropId(int index, int k, char* id) {
  return answerText(id, TARN_PROPERTY_ID_SIZE,
                    [&](char* text) { return bound().GetCorrelationInpPropId(index, k, text); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationOutPropCount(int index, int* count) {
  return answerCount(count, kMaxArrayCount, [&](int* n) { return bound().GetCorrelationOutPropCount(index, n); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCorrelationOutPropId(int index, int k, char* id) {
  return answerText(id, TARN_PROPERTY_ID_SIZE,  // the plug-in takes the position last
                    [&](char* text) { return bound().GetCorrelationOutPropId(index, text, k); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetIndexPair(int index, int* pair) {
  return answerValue(pair, [&](int* p) { return bound().GetIndexPair(index, p); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCoefCount(int index, int* count) {
  return answerCount(count, INT_MAX, [&](int* n) { return bound().GetCoefCount(index, n); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlGetCoef(int index, int k, char* name, double* value) {
  double read = 0.0;
  const int status =
      answerText(name, TARN_COEF_NAME_SIZE, [&](char* text) { return bound().GetCoef(index, k, text, &read); });
  if (status == TARN_STATUS_OK && value != nullptr) *value = read;
  return status;
}
extern "C" TARN_API int TARN_CALL gfx_ubmlSetCoefValue(int index, int k, double value) {
  return forward(&UserLibrary::SetCoefValue, index, k, value);
}
extern "C" TARN_API int TARN_CALL gfx_ubmlCalcIndexFromProp(int index, double property, double* indexValue) {
  return answerValue(indexValue, [&](double* v) { return bound().CalcIndexFromProp(index, property, v); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlCalcPropFromIndex(int index, double indexValue, double* property) {
  return answerValue(property, [&](double* v) { return bound().CalcPropFromIndex(index, indexValue, v); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlCalcPropValue(int index, int property, int inputCount, double* inputs,
                                                        double* output) {
  return answerValue(output, [&](double* v) { return bound().CalcPropValue(index, property, inputCount, inputs, v); });
}
extern "C" TARN_API int TARN_CALL gfx_ubmlCalcPropDeriv(int index, int property, int inputCount, double* inputs,
                                                        double* derivs) {
  return forward(&UserLibrary::CalcPropDeriv, index, property, inputCount, inputs, derivs);
}

extern "C" TARN_API int TARN_CALL gfx_ubmlGenCalc(int index, int derivFlag, int direction, double minSpacing,
                                                  double* inputs, double* outputs, double* derivs) {
  const UserLibrary* library = tarn::router::boundUserLibrary();
  if (library == nullptr) return UBML_STATUS_NOT_BOUND;
  if (inputs == nullptr || outputs == nullptr) return TARN_STATUS_NOT_CALCULABLE;
  const int n = inputCount(index);
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

extern "C" TARN_API int TARN_CALL gfx_ubmlGenCalcComplex(int index, int derivFlag, int direction, int property,
                                                         double* inputs, double* outputs, double* derivs) {
  const UserLibrary* library = tarn::router::boundUserLibrary();
  if (library == nullptr) return UBML_STATUS_NOT_BOUND;
  if (inputs == nullptr || outputs == nullptr) return TARN_STATUS_NOT_CALCULABLE;
  const int n = inputCount(index);
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
