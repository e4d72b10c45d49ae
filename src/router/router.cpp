// The gfx_bml* router: one numbering over the built-in correlations and those
// of the user library.
#include <cctype>
#include <cstdio>

#include "router/user_library.h"
#include "tarn/bml.h"
#include "tarn/tarn.h"
#include "tarn/ubml.h"

namespace {

constexpr int kFirstUserCorrelation = TARN_BML_FIRST_USER_CORRELATION;
constexpr int kFirstUserProperty = TARN_BML_FIRST_USER_PROPERTY;

struct RouterMessage {
  int code;
  const char* text;
};

#define TARN_MESSAGE_ROW(constant, code, meaning, message) {constant, message},
constexpr RouterMessage kMessages[] = {TARN_ROUTER_STATUS_CODES(TARN_MESSAGE_ROW)};
#undef TARN_MESSAGE_ROW

bool loaded() { return tarn::router::userLibraryLoaded(); }

// A count of the user library, asked afresh: 0 without one, and 0 (with the
// bridge's status) when the plug-in cannot give a usable one. The bridge
// keeps a count small enough that the combined numbering fits an int.
struct UserCount {
  int count;
  int status;
};
UserCount userCount(int (*query)(int*)) {
  int count = 0;
  if (!loaded()) return {0, TARN_STATUS_OK};
  const int status = query(&count);
  return {status == TARN_STATUS_OK ? count : 0, status};
}

// Sends a combined index to the built-in function unchanged or to the user
// library's with the index made user-relative. noUserLibrary is the answer
// for the user range without a user library. The end of the numbering is
// formed in 64 bits.
template <class BuiltIn, class User>
int route(int index, int firstUser, int userTotal, int noUserLibrary, BuiltIn builtIn, User user) {
  if (static_cast<long long>(index) >= static_cast<long long>(firstUser) + userTotal) {
    return TARN_BML_STATUS_INDEX_PAST_END;
  }
  if (index < firstUser) return builtIn(index);
  if (!loaded()) return noUserLibrary;
  return user(index - firstUser);
}

template <class BuiltIn, class User>
int routeCorrelation(int index, BuiltIn builtIn, User user) {
  return route(index, kFirstUserCorrelation, userCount(gfx_ubmlGetCorrelationCount).count,
               TARN_BML_STATUS_BAD_CORRELATION, builtIn, user);
}

template <class BuiltIn, class User>
int routeProperty(int k, BuiltIn builtIn, User user) {
  return route(k, kFirstUserProperty, userCount(gfx_ubmlGetPropCount).count, TARN_BML_STATUS_BAD_PROPERTY, builtIn,
               user);
}

bool ownedByBuiltInSide(int code) {
  return code >= TARN_STATUS_BUILT_IN_LOWEST && code <= TARN_STATUS_BUILT_IN_HIGHEST;
}

// The calculations offered by user correlations only: nothing to do for a
// built-in one.
int builtInNoOp(int) { return TARN_STATUS_OK; }

}  // namespace

extern "C" TARN_API int TARN_CALL gfx_bmlInitializeAllocate(void* arg, const char* userLibraryPath) {
  if (gfx_tarnInitializeAllocate(arg) != TARN_STATUS_OK) return TARN_BML_STATUS_TARN_INIT_FAILED;
  if (userLibraryPath == nullptr) return TARN_STATUS_OK;
  if (!tarn::router::namesExistingFile(userLibraryPath)) return TARN_BML_STATUS_NO_USER_LIBRARY;
  // Only a plug-in that loads and starts replaces the one bound before.
  return tarn::router::loadUserLibrary(userLibraryPath) ? TARN_STATUS_OK : TARN_BML_STATUS_UBML_INIT_FAILED;
}

extern "C" TARN_API int TARN_CALL gfx_bmlInitializeCoefs(void) {
  gfx_tarnInitializeCoefs();
  if (loaded()) gfx_ubmlInitializeCoefs();
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_bmlFree(void) {
  gfx_tarnFree();
  if (loaded()) gfx_ubmlFree();
  return TARN_STATUS_OK;  // the user library keeps its place in the numbering
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCorrelationCount(int* count) {
  const UserCount user = userCount(gfx_ubmlGetCorrelationCount);
  if (count != nullptr) *count = kFirstUserCorrelation + user.count;
  return user.status;
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCorrelationId(int index, char* id) {
  auto upperCased = [id](int status) {
    // Also after a failed lookup, on whatever the buffer holds.
    for (int i = 0; id != nullptr && i < TARN_ID_SIZE && id[i] != '\0'; ++i) {
      id[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(id[i])));
    }
    return status;
  };
  return routeCorrelation(
      index, [&](int i) { return upperCased(gfx_tarnGetCorrelationId(i, id)); },
      [&](int u) { return upperCased(gfx_ubmlGetCorrelationId(u, id)); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCorrelationDesc(int index, char* desc) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGetCorrelationDesc(i, desc); },
      [&](int u) { return gfx_ubmlGetCorrelationDesc(u, desc); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCorrelationType(int index, int* type) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGetCorrelationType(i, type); },
      [&](int u) { return gfx_ubmlGetCorrelationType(u, type); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCorrelationInpPropCount(int index, int* count) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGetCorrelationInpPropCount(i, count); },
      [&](int u) { return gfx_ubmlGetCorrelationInpPropCount(u, count); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCorrelationInpPropId(int index, int k, char* id) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGetCorrelationInpPropId(i, k, id); },
      [&](int u) { return gfx_ubmlGetCorrelationInpPropId(u, k, id); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCorrelationOutPropCount(int index, int* count) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGetCorrelationOutPropCount(i, count); },
      [&](int u) { return gfx_ubmlGetCorrelationOutPropCount(u, count); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCorrelationOutPropId(int index, int k, char* id) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGetCorrelationOutPropId(i, k, id); },
      [&](int u) { return gfx_ubmlGetCorrelationOutPropId(u, k, id); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCorrelationOutPropType(int index, int k, int* kind) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGetCorrelationOutPropType(i, k, kind); },
      [](int) { return TARN_BML_USER_KIND; });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCorrelationSlackCount(int index, int* count) {
  const int total = kFirstUserCorrelation + userCount(gfx_ubmlGetCorrelationCount).count;
  if (index >= total) return TARN_BML_STATUS_INDEX_PAST_END;
  if (count != nullptr) *count = 0;
  if (index < kFirstUserCorrelation) return gfx_tarnGetCorrelationSlackCount(index, count);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetIndexPair(int index, int* pair) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGetIndexPair(i, pair); },
      [&](int u) -> int {
        // A negative pair (none) passes as the plug-in gave it; any other
        // must name one of its correlations.
        int userPair = 0;
        const int status = gfx_ubmlGetIndexPair(u, &userPair);
        if (status != TARN_STATUS_OK) return status;
        if (userPair >= userCount(gfx_ubmlGetCorrelationCount).count) {
          return TARN_BML_STATUS_UBML_INIT_FAILED;
        }
        if (pair != nullptr) *pair = userPair < 0 ? userPair : userPair + kFirstUserCorrelation;
        return status;
      });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetPropCount(int* count) {
  const UserCount user = userCount(gfx_ubmlGetPropCount);
  if (count != nullptr) *count = kFirstUserProperty + user.count;
  return user.status;
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetPropId(int k, char* id) {
  return routeProperty(
      k, [&](int i) { return gfx_tarnGetPropId(i, id); }, [&](int u) { return gfx_ubmlGetPropId(u, id); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetPropDesc(int k, char* desc) {
  return routeProperty(
      k, [&](int i) { return gfx_tarnGetPropDesc(i, desc); }, [&](int u) { return gfx_ubmlGetPropDesc(u, desc); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCoefCount(int index, int* count) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGetCoefCount(i, count); },
      [&](int u) { return gfx_ubmlGetCoefCount(u, count); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetCoef(int index, int k, char* name, double* value) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGetCoef(i, k, name, value); },
      [&](int u) { return gfx_ubmlGetCoef(u, k, name, value); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlSetCoefValue(int index, int k, double value) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnSetCoefValue(i, k, value); },
      [&](int u) { return gfx_ubmlSetCoefValue(u, k, value); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGenCalc(int index, int derivFlag, int direction, double minSpacing,
                                                 double* inputs, double* outputs, double* derivs) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGenCalc(i, derivFlag, direction, inputs, outputs, derivs); },
      [&](int u) { return gfx_ubmlGenCalc(u, derivFlag, direction, minSpacing, inputs, outputs, derivs); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlGenCalcComplex(int index, int derivFlag, int direction, int property,
                                                        double* inputs, double* outputs, double* derivs) {
  return routeCorrelation(
      index, [&](int i) { return gfx_tarnGenCalcComplex(i, derivFlag, direction, property, inputs, outputs, derivs); },
      [&](int u) { return gfx_ubmlGenCalcComplex(u, derivFlag, direction, property, inputs, outputs, derivs); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlCalcPropValue(int index, int property, int inputCount, double* inputs,
                                                       double* output) {
  return routeCorrelation(index, builtInNoOp,
                          [&](int u) { return gfx_ubmlCalcPropValue(u, property, inputCount, inputs, output); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlCalcPropDeriv(int index, int property, int inputCount, double* inputs,
                                                       double* derivs) {
  return routeCorrelation(index, builtInNoOp,
                          [&](int u) { return gfx_ubmlCalcPropDeriv(u, property, inputCount, inputs, derivs); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlCalcIndexFromProp(int index, double property, double* indexValue) {
  return routeCorrelation(index, builtInNoOp,
                          [&](int u) { return gfx_ubmlCalcIndexFromProp(u, property, indexValue); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlCalcPropFromIndex(int index, double indexValue, double* property) {
  return routeCorrelation(index, builtInNoOp,
                          [&](int u) { return gfx_ubmlCalcPropFromIndex(u, indexValue, property); });
}

extern "C" TARN_API int TARN_CALL gfx_bmlErrorHandler(int index, int code, int inputCount, double* inputs) {
  if (ownedByBuiltInSide(code)) return gfx_tarnErrorHandler(index, code, inputCount, inputs);
  if (loaded()) return gfx_ubmlErrorHandler(index, code, inputCount, inputs);
  return TARN_BML_STATUS_BAD_ERROR_CODE;
}

extern "C" TARN_API int TARN_CALL gfx_bmlGetErrorMsg(int code, char* message) {
  if (ownedByBuiltInSide(code)) return gfx_tarnGetErrorMsg(code, message);
  for (const RouterMessage& entry : kMessages) {
    if (entry.code != code) continue;
    if (message != nullptr) std::snprintf(message, TARN_MESSAGE_SIZE, "%s", entry.text);
    const bool meaningful = code == TARN_BML_STATUS_INDEX_PAST_END || code == TARN_BML_STATUS_BAD_CORRELATION;
    return meaningful ? TARN_STATUS_OK : 1;
  }
  // Codes nobody owns come back shifted by 499, the width of the built-in
  // range (0 gives 499); hosts rely on this arithmetic (intended). Computed
  // unsigned: it wraps, never overflows.
  return static_cast<int>(static_cast<unsigned>(code) - static_cast<unsigned>(TARN_STATUS_BUILT_IN_LOWEST));
}
