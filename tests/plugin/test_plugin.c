/* A user correlation library for the tests: one correlation of each type the
 * bridge evaluates its own way, with lower-case ids, an index pair, two
 * coefficients and two properties. Built as a real shared object three ways:
 * complete; with UBML_TEST_OMIT_SYMBOL (one interface function missing, so
 * binding fails); with UBML_TEST_FAIL_START (its start reports failure). */
#define TARN_BUILDING_UBML_PLUGIN
#include "tarn/ubml.h"

#include <math.h>
#include <stdio.h>
#include <string.h>

/* Plug-in status codes. */
enum { BAD_INDEX = 5, NEGATIVE_PROPERTY = 7, BAD_PROPERTY_NUMBER = 9, NO_PAIR = 12 };

/* 0 index = property^2/10 and back; 1 x0 + A x1 + B x2 (property 1);
 * 2 ten times input number `property`; 3 exp(x/100), paired with 0;
 * 4 the four inputs as they are, none of them negative. */
static const struct {
  const char* id;
  CORRTYPE type;
  int inputs, outputs, pair;
} kCorrelations[] = {
    {"usr_square", UBML_TYPE_SINGLE_VALUE, 1, 1, -1}, {"usr_weighted", UBML_TYPE_PROPERTY_VALUE, 3, 1, -1},
    {"usr_pick", UBML_TYPE_COMPLEX, 3, 1, -1},        {"usr_exp", UBML_TYPE_PROPERTY_TO_INDEX, 1, 1, 0},
    {"usr_curve", UBML_TYPE_GENERAL, 4, 4, -1},
};
enum { kCount = sizeof kCorrelations / sizeof kCorrelations[0] };
#define KNOWN(index) ((index) >= 0 && (index) < kCount)

static double weights[2];
static int starts, stops, coefficientResets, handledIndex = -1, handledCode;

/* What the plug-in has been asked, for the tests to look at. */
UBML_API int testplugin_Calls(int* counts) {
  const int all[5] = {starts, stops, coefficientResets, handledIndex, handledCode};
  memcpy(counts, all, sizeof all);
  return 0;
}

UBML_API int ubml_InitializeCoefs(void) {
  weights[0] = 2.0;
  weights[1] = 3.0;
  return ++coefficientResets, 0;
}

UBML_API int ubml_InitializeAllocate(void) {
  ++starts;
  ubml_InitializeCoefs();
#ifdef UBML_TEST_FAIL_START
  return 3;
#else
  return 0;
#endif
}

UBML_API int ubml_Free(void) { return ++stops, 0; }

UBML_API int ubml_GetErrorMsg(int code, char* message) {
  if (code != NEGATIVE_PROPERTY) return BAD_INDEX;
  strcpy(message, "usr: negative property");
  return 0;
}

UBML_API int ubml_ErrorHandler(int index, int code, int inputCount, double* inputs) {
  (void)inputCount;
  (void)inputs;
  handledIndex = index;
  handledCode = code;
  return 0;
}

UBML_API int ubml_GetPropCount(int* count) { return *count = 2, 0; }

UBML_API int ubml_GetPropId(int k, char* id) {
  return k == 0 || k == 1 ? (strcpy(id, k == 0 ? "usrvisc" : "usrdens"), 0) : BAD_INDEX;
}

UBML_API int ubml_GetPropDesc(int k, char* desc) {
  return k == 0 || k == 1 ? (strcpy(desc, k == 0 ? "User viscosity" : "User density"), 0) : BAD_INDEX;
}

UBML_API int ubml_GetCorrelationCount(int* count) { return *count = kCount, 0; }

UBML_API int ubml_GetCorrelationId(int index, char* id) {
  return KNOWN(index) ? (strcpy(id, kCorrelations[index].id), 0) : BAD_INDEX;
}

UBML_API int ubml_GetCorrelationDesc(int index, char* desc) {
  return KNOWN(index) ? (sprintf(desc, "User %s", kCorrelations[index].id), 0) : BAD_INDEX;
}

UBML_API int ubml_GetCorrelationType(int index, CORRTYPE* type) {
  return KNOWN(index) ? (*type = kCorrelations[index].type, 0) : BAD_INDEX;
}

UBML_API int ubml_GetCorrelationInpPropCount(int index, int* count) {
  return KNOWN(index) ? (*count = kCorrelations[index].inputs, 0) : BAD_INDEX;
}

UBML_API int ubml_GetCorrelationInpPropId(int index, int k, char* id) {
  return KNOWN(index) && k >= 0 && k < kCorrelations[index].inputs ? (sprintf(id, "in%d", k), 0) : BAD_INDEX;
}

UBML_API int ubml_GetCorrelationOutPropCount(int index, int* count) {
  return KNOWN(index) ? (*count = kCorrelations[index].outputs, 0) : BAD_INDEX;
}

UBML_API int ubml_GetCorrelationOutPropId(int index, char* id, int k) {
  return KNOWN(index) && k >= 0 && k < kCorrelations[index].outputs ? (sprintf(id, "out%d", k), 0) : BAD_INDEX;
}

UBML_API int ubml_GetIndexPair(int index, int* pair) {
  return KNOWN(index) && kCorrelations[index].pair >= 0 ? (*pair = kCorrelations[index].pair, 0) : NO_PAIR;
}

UBML_API int ubml_GetCoefCount(int index, int* count) {
  return KNOWN(index) ? (*count = index == 1 ? 2 : 0, 0) : BAD_INDEX;
}

UBML_API int ubml_GetCoef(int index, int k, char* name, double* value) {
  if (index != 1 || k < 0 || k > 1) return BAD_INDEX;
  strcpy(name, k == 0 ? "A" : "B");
  return *value = weights[k], 0;
}

UBML_API int ubml_SetCoefValue(int index, int k, double value) {
  return index == 1 && k >= 0 && k <= 1 ? (weights[k] = value, 0) : BAD_INDEX;
}

UBML_API int ubml_CalcIndexFromProp(int index, double property, double* indexValue) {
  if (index != 0) return BAD_INDEX;
  return property < 0.0 ? NEGATIVE_PROPERTY : (*indexValue = property * property / 10.0, 0);
}

UBML_API int ubml_CalcPropFromIndex(int index, double indexValue, double* property) {
  if (index != 0) return BAD_INDEX;
  return indexValue < 0.0 ? NEGATIVE_PROPERTY : (*property = sqrt(10.0 * indexValue), 0);
}

/* Correlation 1 (property 1) or 2 (properties 0..2): the value, or with
 * derivs its derivatives. */
static int propertyValue(int index, int property, int inputCount, const double* x, double* value,
                         double* derivs) {
  if (inputCount != 3 || (index != 1 && index != 2)) return BAD_INDEX;
  if (index == 1 && property == 1) {
    const double d[3] = {1.0, weights[0], weights[1]};
    if (derivs) memcpy(derivs, d, sizeof d);
    if (value) *value = x[0] + weights[0] * x[1] + weights[1] * x[2];
    return 0;
  }
  if (index != 2 || property < 0 || property > 2) return BAD_PROPERTY_NUMBER;
  for (int j = 0; j < 3 && derivs; ++j) derivs[j] = j == property ? 10.0 : 0.0;
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
  if (index == 3) {
    outputs[0] = exp(inputs[0] / 100.0);
    if (derivFlag) derivs[0] = outputs[0] / 100.0;
    return 0;
  }
  if (index != 4) return BAD_INDEX;
  for (int j = 0; j < 4; ++j) {
    if (inputs[j] < 0.0) return NEGATIVE_PROPERTY;
  }
  for (int j = 0; j < 4; ++j) {
    outputs[j] = inputs[j];
    for (int k = 0; k < 4 && derivFlag; ++k) derivs[4 * j + k] = j == k ? 1.0 : 0.0;
  }
  return 0;
}
#endif
