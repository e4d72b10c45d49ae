/* A user correlation library for the tests: a handful of correlations of
 * every type the bridge handles, with lower-case ids, one inverse pair, two
 * coefficients and two properties. Built as a real shared object and loaded
 * through gfx_bmlInitializeAllocate.
 *
 * Built three ways: complete; with UBML_TEST_OMIT_SYMBOL (one interface
 * function missing, so binding fails); with UBML_TEST_FAIL_START (its start
 * reports failure). */
#define TARN_BUILDING_UBML_PLUGIN
#include "tarn/ubml.h"

#include <math.h>
#include <stdio.h>
#include <string.h>

/* Plug-in status codes. */
enum { BAD_INDEX = 5, NEGATIVE_PROPERTY = 7, BAD_PROPERTY_NUMBER = 9, NO_PAIR = 12 };

typedef struct {
  const char* id;
  CORRTYPE type;
  int inputs;
  int outputs;
  int pair; /* -1: none */
} Correlation;

/* 0 index = property^2/10 and back; 1 x0 + A x1 + B x2 (property 1);
 * 2 ten times input number `property`; 3 exp(x/100) and 4 its inverse;
 * 5 the four inputs as they are; 6 a type the bridge does not know. */
static const Correlation kCorrelations[] = {
    {"usr_square", UBML_TYPE_SINGLE_VALUE, 1, 1, -1},
    {"usr_weighted", UBML_TYPE_PROPERTY_VALUE, 3, 1, -1},
    {"usr_pick", UBML_TYPE_COMPLEX, 3, 1, -1},
    {"usr_exp", UBML_TYPE_PROPERTY_TO_INDEX, 1, 1, 4},
    {"usr_log", UBML_TYPE_INDEX_TO_PROPERTY, 1, 1, -1},
    {"usr_curve", UBML_TYPE_GENERAL, 4, 4, -1},
    {"usr_odd", 5, 1, 1, -1},
};
enum { kCount = sizeof kCorrelations / sizeof kCorrelations[0] };

static const char* const kPropertyIds[] = {"usrvisc", "usrdens"};
static const char* const kPropertyDescs[] = {"User viscosity", "User density"};

static double weights[2];
static int starts, stops, coefficientResets, handledIndex = -1, handledCode;

/* What the plug-in has been asked, for the tests to look at. */
UBML_API int testplugin_Calls(int* start, int* stop, int* coefReset, int* handled, int* code) {
  *start = starts;
  *stop = stops;
  *coefReset = coefficientResets;
  *handled = handledIndex;
  *code = handledCode;
  return 0;
}

static const Correlation* find(int index) {
  return index >= 0 && index < kCount ? &kCorrelations[index] : NULL;
}

UBML_API int ubml_InitializeCoefs(void) {
  weights[0] = 2.0;
  weights[1] = 3.0;
  ++coefficientResets;
  return 0;
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

UBML_API int ubml_Free(void) {
  ++stops;
  return 0;
}

UBML_API int ubml_GetErrorMsg(int code, char* message) {
  switch (code) {
    case NEGATIVE_PROPERTY: strcpy(message, "usr: negative property"); return 0;
    case BAD_PROPERTY_NUMBER: strcpy(message, "usr: no such property"); return 0;
    default: return BAD_INDEX;
  }
}

UBML_API int ubml_ErrorHandler(int index, int code, int inputCount, double* inputs) {
  (void)inputCount;
  (void)inputs;
  handledIndex = index;
  handledCode = code;
  return 0;
}

UBML_API int ubml_GetPropCount(int* count) {
  *count = 2;
  return 0;
}

UBML_API int ubml_GetPropId(int k, char* id) {
  if (k < 0 || k > 1) return BAD_INDEX;
  strcpy(id, kPropertyIds[k]);
  return 0;
}

UBML_API int ubml_GetPropDesc(int k, char* desc) {
  if (k < 0 || k > 1) return BAD_INDEX;
  strcpy(desc, kPropertyDescs[k]);
  return 0;
}

UBML_API int ubml_GetCorrelationCount(int* count) {
  *count = kCount;
  return 0;
}

UBML_API int ubml_GetCorrelationId(int index, char* id) {
  if (!find(index)) return BAD_INDEX;
  strcpy(id, find(index)->id);
  return 0;
}

UBML_API int ubml_GetCorrelationDesc(int index, char* desc) {
  if (!find(index)) return BAD_INDEX;
  sprintf(desc, "User %s", find(index)->id);
  return 0;
}

UBML_API int ubml_GetCorrelationType(int index, CORRTYPE* type) {
  if (!find(index)) return BAD_INDEX;
  *type = find(index)->type;
  return 0;
}

UBML_API int ubml_GetCorrelationInpPropCount(int index, int* count) {
  if (!find(index)) return BAD_INDEX;
  *count = find(index)->inputs;
  return 0;
}

UBML_API int ubml_GetCorrelationInpPropId(int index, int k, char* id) {
  if (!find(index) || k < 0 || k >= find(index)->inputs) return BAD_INDEX;
  sprintf(id, "in%d", k);
  return 0;
}

UBML_API int ubml_GetCorrelationOutPropCount(int index, int* count) {
  if (!find(index)) return BAD_INDEX;
  *count = find(index)->outputs;
  return 0;
}

UBML_API int ubml_GetCorrelationOutPropId(int index, char* id, int k) {
  if (!find(index) || k < 0 || k >= find(index)->outputs) return BAD_INDEX;
  sprintf(id, "out%d", k);
  return 0;
}

UBML_API int ubml_GetIndexPair(int index, int* pair) {
  if (!find(index) || find(index)->pair < 0) return NO_PAIR;
  *pair = find(index)->pair;
  return 0;
}

UBML_API int ubml_GetCoefCount(int index, int* count) {
  if (!find(index)) return BAD_INDEX;
  *count = index == 1 ? 2 : 0;
  return 0;
}

UBML_API int ubml_GetCoef(int index, int k, char* name, double* value) {
  if (index != 1 || k < 0 || k > 1) return BAD_INDEX;
  strcpy(name, k == 0 ? "A" : "B");
  *value = weights[k];
  return 0;
}

UBML_API int ubml_SetCoefValue(int index, int k, double value) {
  if (index != 1 || k < 0 || k > 1) return BAD_INDEX;
  weights[k] = value;
  return 0;
}

UBML_API int ubml_CalcIndexFromProp(int index, double property, double* indexValue) {
  if (index != 0) return BAD_INDEX;
  if (property < 0.0) return NEGATIVE_PROPERTY;
  *indexValue = property * property / 10.0;
  return 0;
}

UBML_API int ubml_CalcPropFromIndex(int index, double indexValue, double* property) {
  if (index != 0) return BAD_INDEX;
  if (indexValue < 0.0) return NEGATIVE_PROPERTY;
  *property = sqrt(10.0 * indexValue);
  return 0;
}

UBML_API int ubml_CalcPropValue(int index, int property, int inputCount, double* inputs,
                                double* output) {
  if (inputCount != 3) return BAD_INDEX;
  if (index == 1 && property == 1) {
    *output = inputs[0] + weights[0] * inputs[1] + weights[1] * inputs[2];
    return 0;
  }
  if (index == 2 && property >= 0 && property < 3) {
    *output = 10.0 * inputs[property];
    return 0;
  }
  return index == 1 || index == 2 ? BAD_PROPERTY_NUMBER : BAD_INDEX;
}

UBML_API int ubml_CalcPropDeriv(int index, int property, int inputCount, double* inputs,
                                double* derivs) {
  (void)inputs;
  if (inputCount != 3) return BAD_INDEX;
  if (index == 1 && property == 1) {
    derivs[0] = 1.0;
    derivs[1] = weights[0];
    derivs[2] = weights[1];
    return 0;
  }
  if (index == 2 && property >= 0 && property < 3) {
    for (int j = 0; j < 3; ++j) derivs[j] = j == property ? 10.0 : 0.0;
    return 0;
  }
  return index == 1 || index == 2 ? BAD_PROPERTY_NUMBER : BAD_INDEX;
}

#ifndef UBML_TEST_OMIT_SYMBOL
UBML_API int ubml_CalcTorqPropValue(int index, double* inputs, double* outputs, int derivFlag,
                                    double* derivs) {
  switch (index) {
    case 3:
      outputs[0] = exp(inputs[0] / 100.0);
      if (derivFlag) derivs[0] = outputs[0] / 100.0;
      return 0;
    case 4:
      if (inputs[0] <= 0.0) return NEGATIVE_PROPERTY;
      outputs[0] = 100.0 * log(inputs[0]);
      if (derivFlag) derivs[0] = 100.0 / inputs[0];
      return 0;
    case 5:
      for (int j = 0; j < 4; ++j) {
        outputs[j] = inputs[j];
        for (int k = 0; k < 4 && derivFlag; ++k) derivs[4 * j + k] = j == k ? 1.0 : 0.0;
      }
      return 0;
    default:
      return BAD_INDEX;
  }
}
#endif
