/* A user correlation library for the tests: one correlation of each type,
 * misbehaving on request (test_plugin.h); TEST_PLUGIN_PREFIX renames its ids,
 * UBML_TEST_OMIT_SYMBOL leaves a function out. */
#define TARN_BUILDING_UBML_PLUGIN
#include "tarn/ubml.h"

#include <math.h>
#include <stdio.h>
#include <string.h>

#include "test_plugin.h"

#ifndef TEST_PLUGIN_PREFIX
#define TEST_PLUGIN_PREFIX "usr"
#endif

enum { BAD_INDEX = 5, NEGATIVE_PROPERTY = 7, BAD_PROPERTY_NUMBER = 9, NO_PAIR = 12 };

/* x^2/10; x0 + A x1 + B x2; 10 x[property]; exp(x/100); the inputs as they are. */
static const struct {
  const char* name;
  CORRTYPE type;
  int inputs, outputs, pair;
} kCorrelations[] = {
    {"square", UBML_TYPE_SINGLE_VALUE, 1, 1, -1}, {"weighted", UBML_TYPE_PROPERTY_VALUE, 3, 1, -1},
    {"pick", UBML_TYPE_COMPLEX, 3, 1, -1},        {"exp", UBML_TYPE_PROPERTY_TO_INDEX, 1, 1, 0},
    {"curve", UBML_TYPE_GENERAL, 4, 4, -1},
};
enum { kCount = sizeof kCorrelations / sizeof kCorrelations[0] };
#define KNOWN(index) ((index) >= 0 && (index) < kCount)

static double weights[2];
static int starts, stops, coefficientResets, handledIndex = -1, handledCode;
static TestPluginBehaviour behaviour;

UBML_API void testplugin_Behave(const TestPluginBehaviour* how) {
  static const TestPluginBehaviour proper;
  behaviour = how ? *how : proper;
}

/* What the plug-in has been asked. */
UBML_API int testplugin_Calls(int* counts) {
  const int all[5] = {starts, stops, coefficientResets, handledIndex, handledCode};
  memcpy(counts, all, sizeof all);
  return 0;
}

/* Writes the proper text, or the misbehaving one asked for, when status is 0. */
static int text(char* out, int status, const char* proper) {
  if (status != 0) return status;
  if (behaviour.texts == TESTPLUGIN_TEXT_OVERLONG) {
    memset(out, 'L', 100);
    out[100] = '\0';
  } else if (behaviour.texts == TESTPLUGIN_TEXT_UNTERMINATED) {
    memset(out, 'U', 256);
  } else {
    strcpy(out, proper);
  }
  return 0;
}

/* "<prefix>_<name>" of a known correlation, "" otherwise. */
static const char* correlationId(int index) {
  static char id[32];
  snprintf(id, sizeof id, "%s_%s", TEST_PLUGIN_PREFIX, KNOWN(index) ? kCorrelations[index].name : "");
  return id;
}

/* A count: the real one, or the one given. */
static int count(int* out, int real, int given) {
  if (!behaviour.countsGiven && real < 0) return BAD_INDEX;
  *out = behaviour.countsGiven ? given : real;
  return 0;
}

/* No calculation while counts are given or a failure is asked for. */
static int refused(void) {
  return behaviour.calculationStatus ? behaviour.calculationStatus : behaviour.countsGiven ? BAD_INDEX : 0;
}

UBML_API int ubml_InitializeCoefs(void) {
  weights[0] = 2.0, weights[1] = 3.0;
  return ++coefficientResets, 0;
}

UBML_API int ubml_InitializeAllocate(void) {
  ++starts;
  ubml_InitializeCoefs();
  return behaviour.startStatus;
}

UBML_API int ubml_Free(void) { return ++stops, 0; }

UBML_API int ubml_GetErrorMsg(int code, char* message) {
  return text(message, code == NEGATIVE_PROPERTY ? 0 : BAD_INDEX, TEST_PLUGIN_PREFIX ": negative property");
}

UBML_API int ubml_ErrorHandler(int index, int code, int inputCount, double* inputs) {
  (void)inputCount, (void)inputs;
  handledIndex = index, handledCode = code;
  return 0;
}

UBML_API int ubml_GetPropCount(int* n) { return count(n, 2, behaviour.properties); }

UBML_API int ubml_GetPropId(int k, char* id) {
  return text(id, k == 0 || k == 1 ? 0 : BAD_INDEX, k == 0 ? TEST_PLUGIN_PREFIX "visc" : TEST_PLUGIN_PREFIX "dens");
}

UBML_API int ubml_GetPropDesc(int k, char* desc) {
  return text(desc, k == 0 || k == 1 ? 0 : BAD_INDEX, k == 0 ? "User viscosity" : "User density");
}

UBML_API int ubml_GetCorrelationCount(int* n) { return count(n, kCount, behaviour.correlations); }

UBML_API int ubml_GetCorrelationId(int index, char* id) {
  return text(id, KNOWN(index) ? 0 : BAD_INDEX, correlationId(index));
}

UBML_API int ubml_GetCorrelationDesc(int index, char* desc) {
  char described[40];
  snprintf(described, sizeof described, "User %s", correlationId(index));
  return text(desc, KNOWN(index) ? 0 : BAD_INDEX, described);
}

UBML_API int ubml_GetCorrelationType(int index, CORRTYPE* type) {
  return KNOWN(index) ? (*type = kCorrelations[index].type, 0) : BAD_INDEX;
}

UBML_API int ubml_GetCorrelationInpPropCount(int index, int* n) {
  return count(n, KNOWN(index) ? kCorrelations[index].inputs : -1, behaviour.inputs);
}

UBML_API int ubml_GetCorrelationInpPropId(int index, int k, char* id) {
  char name[16];
  snprintf(name, sizeof name, "in%d", k);
  return text(id, KNOWN(index) && k >= 0 && k < kCorrelations[index].inputs ? 0 : BAD_INDEX, name);
}

UBML_API int ubml_GetCorrelationOutPropCount(int index, int* n) {
  return count(n, KNOWN(index) ? kCorrelations[index].outputs : -1, behaviour.outputs);
}

UBML_API int ubml_GetCorrelationOutPropId(int index, char* id, int k) {
  char name[16];
  snprintf(name, sizeof name, "out%d", k);
  return text(id, KNOWN(index) && k >= 0 && k < kCorrelations[index].outputs ? 0 : BAD_INDEX, name);
}

UBML_API int ubml_GetIndexPair(int index, int* pair) {
  if (behaviour.countsGiven) return *pair = behaviour.pair, 0;
  return KNOWN(index) && kCorrelations[index].pair >= 0 ? (*pair = kCorrelations[index].pair, 0) : NO_PAIR;
}

UBML_API int ubml_GetCoefCount(int index, int* n) {
  return count(n, KNOWN(index) ? (index == 1 ? 2 : 0) : -1, behaviour.coefficients);
}

UBML_API int ubml_GetCoef(int index, int k, char* name, double* value) {
  const int status = text(name, index == 1 && (k == 0 || k == 1) ? 0 : BAD_INDEX, k == 0 ? "A" : "B");
  if (status == 0) *value = weights[k];
  return status;
}

UBML_API int ubml_SetCoefValue(int index, int k, double value) {
  return index == 1 && k >= 0 && k <= 1 ? (weights[k] = value, 0) : BAD_INDEX;
}

/* The value behaviour asks for in place of a result. */
static double garbage(int i) {
  static const double kGarbage[] = {NAN, INFINITY, -INFINITY, 1e300};
  return kGarbage[i % 4];
}

/* Correlation 0 both ways. */
static int square(int index, double x, double* y, double result, int garbageKind) {
  if (refused() || index != 0) return refused() ? refused() : BAD_INDEX;
  return behaviour.garbageResults ? (*y = garbage(garbageKind), 0) : x < 0.0 ? NEGATIVE_PROPERTY : (*y = result, 0);
}
UBML_API int ubml_CalcIndexFromProp(int index, double property, double* indexValue) {
  return square(index, property, indexValue, property * property / 10.0, 0);
}
UBML_API int ubml_CalcPropFromIndex(int index, double indexValue, double* property) {
  return square(index, indexValue, property, sqrt(10.0 * indexValue), 1);
}

/* Correlation 1 (property 1) or 2 (properties 0..2), value or derivatives. */
static int propertyValue(int index, int property, int inputCount, const double* x, double* value, double* derivs) {
  if (refused()) return refused();
  if (inputCount != 3 || (index != 1 && index != 2)) return BAD_INDEX;
  if (index == 1 && property == 1) {
    const double d[3] = {1.0, weights[0], weights[1]};
    if (derivs) memcpy(derivs, d, sizeof d);
    if (value) *value = behaviour.garbageResults ? garbage(2) : x[0] + weights[0] * x[1] + weights[1] * x[2];
    return 0;
  }
  if (index != 2 || property < 0 || property > 2) return BAD_PROPERTY_NUMBER;
  for (int j = 0; j < 3 && derivs; ++j) derivs[j] = behaviour.garbageResults ? garbage(j) : j == property ? 10.0 : 0.0;
  if (value) *value = 10.0 * x[property];
  return 0;
}

UBML_API int ubml_CalcPropValue(int index, int property, int inputCount, double* inputs, double* output) {
  return propertyValue(index, property, inputCount, inputs, output, NULL);
}

UBML_API int ubml_CalcPropDeriv(int index, int property, int inputCount, double* inputs, double* derivs) {
  return propertyValue(index, property, inputCount, inputs, NULL, derivs);
}

#ifndef UBML_TEST_OMIT_SYMBOL
UBML_API int ubml_CalcTorqPropValue(int index, double* inputs, double* outputs, int derivFlag, double* derivs) {
  if (refused()) return refused();
  if (index == 3) {
    outputs[0] = behaviour.garbageResults ? garbage(3) : exp(inputs[0] / 100.0);
    if (derivFlag) derivs[0] = outputs[0] / 100.0;
    return 0;
  }
  if (index != 4) return BAD_INDEX;
  for (int j = 0; j < 4; ++j) {
    if (inputs[j] < 0.0) return NEGATIVE_PROPERTY;
  }
  for (int j = 0; j < 4; ++j) {
    outputs[j] = behaviour.garbageResults ? garbage(j) : inputs[j];
    for (int k = 0; k < 4 && derivFlag; ++k) derivs[4 * j + k] = j == k ? 1.0 : 0.0;
  }
  return 0;
}
#endif
