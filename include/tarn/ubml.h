/* TARN: user correlation libraries.
 *
 * A site may add its own correlations in a separate shared library (a
 * plug-in) that exports the ubml_* functions below. The host names the file
 * to gfx_bmlInitializeAllocate (tarn/bml.h), which loads it, binds every
 * ubml_* function by name and starts it; the gfx_bml* router then numbers
 * the plug-in's correlations after the 57 built-in ones.
 *
 * Writing a plug-in: include this header, define TARN_BUILDING_UBML_PLUGIN
 * before it (so the declarations below are exported from the plug-in) and
 * define every ubml_* function. All return an int status, 0 on success; the
 * plug-in's own codes pass through the library unchanged and get their texts
 * from ubml_GetErrorMsg. Correlations and properties are numbered from 0
 * inside the plug-in. Text results are written NUL-terminated into the
 * caller's buffer: identifiers at most 18 characters, property ids 17,
 * descriptions 23, coefficient names 8, messages 68.
 *
 * The gfx_ubml* bridge functions forward one call each to the bound plug-in
 * and return its status. While no plug-in is bound every one of them returns
 * UBML_STATUS_NOT_BOUND (-1104, "UBML Initialization failed.") and writes
 * nothing.
 *
 * The bridge checks what the plug-in answers before the caller sees it:
 * - a count is handed on only when it is not negative and leaves the
 *   combined numbering inside an int: correlations at most INT_MAX - 57,
 *   properties INT_MAX - 2, inputs and outputs of a correlation at most
 *   46340 (so that inputs x outputs derivatives have an int size); any
 *   other count is refused with -1104 and nothing is written;
 * - counts, the pair, coefficient values and single values of the
 *   calculations reach the caller only when the plug-in's status is 0 (the
 *   type is copied whatever the status), and the caller's null pointer for
 *   them is never passed on to the plug-in;
 * - texts are written by the plug-in into a buffer of 256 chars and reach
 *   the caller cut to the documented length and terminated, whatever the
 *   status; a plug-in must never write more than 256 chars.
 */
#ifndef TARN_UBML_H
#define TARN_UBML_H

#include "tarn/export.h"
#include "tarn/status.h"

/* Correlation types of a plug-in: those of the built-in catalogue (-7..-4)
 * and three more. Exchanged as a 32-bit int. */
typedef int CORRTYPE;
enum {
  UBML_TYPE_SINGLE_VALUE = 1,        /* one property to its index (ubml_CalcIndexFromProp)
                                        or back (ubml_CalcPropFromIndex) */
  UBML_TYPE_PROPERTY_VALUE = 0,      /* a property value with derivatives (ubml_CalcPropValue,
                                        ubml_CalcPropDeriv, property number 1) */
  UBML_TYPE_PROPERTY_VALUE_ALT = -1, /* the same as 0 */
  UBML_TYPE_COMPLEX = -3,            /* a value chosen by property number */
  UBML_TYPE_PROPERTY_TO_INDEX = -4,  /* these four through ubml_CalcTorqPropValue */
  UBML_TYPE_INDEX_TO_PROPERTY = -5,
  UBML_TYPE_DISTILLATION_INDEX = -6,
  UBML_TYPE_GENERAL = -7
};

/* UBML_STATUS_NOT_BOUND, returned by every gfx_ubml* function while no
 * plug-in is bound, is in tarn/status.h. */

#if defined(TARN_BUILDING_UBML_PLUGIN)
#if defined(_WIN32) || defined(__CYGWIN__)
#define UBML_API __declspec(dllexport)
#elif defined(__GNUC__) || defined(__clang__)
#define UBML_API __attribute__((visibility("default")))
#else
#define UBML_API
#endif
#else
#define UBML_API
#endif

TARN_EXTERN_C_BEGIN

/* ---- The interface a plug-in exports ------------------------------------ */

/* Starts the plug-in; called once by gfx_bmlInitializeAllocate. */
UBML_API int TARN_CALL ubml_InitializeAllocate(void);
UBML_API int TARN_CALL ubml_Free(void);
/* Sets the plug-in's coefficients to their defaults. */
UBML_API int TARN_CALL ubml_InitializeCoefs(void);
UBML_API int TARN_CALL ubml_GetErrorMsg(int code, char* message);
UBML_API int TARN_CALL ubml_ErrorHandler(int index, int code, int inputCount, double* inputs);
UBML_API int TARN_CALL ubml_GetPropCount(int* count);
UBML_API int TARN_CALL ubml_GetPropId(int k, char* id);
UBML_API int TARN_CALL ubml_GetPropDesc(int k, char* desc);
UBML_API int TARN_CALL ubml_GetCorrelationCount(int* count);
UBML_API int TARN_CALL ubml_GetCorrelationId(int index, char* id);
UBML_API int TARN_CALL ubml_GetCorrelationDesc(int index, char* desc);
UBML_API int TARN_CALL ubml_GetCorrelationType(int index, CORRTYPE* type);
UBML_API int TARN_CALL ubml_GetCorrelationInpPropCount(int index, int* count);
UBML_API int TARN_CALL ubml_GetCorrelationInpPropId(int index, int k, char* id);
UBML_API int TARN_CALL ubml_GetCorrelationOutPropCount(int index, int* count);
/* Note the order: the output position comes after the buffer. */
UBML_API int TARN_CALL ubml_GetCorrelationOutPropId(int index, char* id, int k);
UBML_API int TARN_CALL ubml_GetIndexPair(int index, int* pair);
UBML_API int TARN_CALL ubml_GetCoefCount(int index, int* count);
UBML_API int TARN_CALL ubml_GetCoef(int index, int k, char* name, double* value);
UBML_API int TARN_CALL ubml_SetCoefValue(int index, int k, double value);
/* Type 1: property -> index and index -> property. */
UBML_API int TARN_CALL ubml_CalcIndexFromProp(int index, double property, double* indexValue);
UBML_API int TARN_CALL ubml_CalcPropFromIndex(int index, double indexValue, double* property);
/* Types 0, -1, -3: the value of property number `property` from the inputs,
 * and its derivatives, one per input. */
UBML_API int TARN_CALL ubml_CalcPropValue(int index, int property, int inputCount, double* inputs, double* output);
UBML_API int TARN_CALL ubml_CalcPropDeriv(int index, int property, int inputCount, double* inputs, double* derivs);
/* Types -7..-4: every output, and with derivFlag set the input-major
 * derivatives, as in gfx_tarnGenCalc. */
UBML_API int TARN_CALL ubml_CalcTorqPropValue(int index, double* inputs, double* outputs, int derivFlag,
                                              double* derivs);

/* ---- The bridge to the bound plug-in ------------------------------------ */
/* Each forwards to its ubml_* namesake and returns its status, or -1104
 * while no plug-in is bound. */

TARN_API int TARN_CALL gfx_ubmlInitializeAllocate(void);
TARN_API int TARN_CALL gfx_ubmlFree(void);
TARN_API int TARN_CALL gfx_ubmlInitializeCoefs(void);
TARN_API int TARN_CALL gfx_ubmlGetErrorMsg(int code, char* message);
TARN_API int TARN_CALL gfx_ubmlErrorHandler(int index, int code, int inputCount, double* inputs);
TARN_API int TARN_CALL gfx_ubmlGetPropCount(int* count);
TARN_API int TARN_CALL gfx_ubmlGetPropId(int k, char* id);
TARN_API int TARN_CALL gfx_ubmlGetPropDesc(int k, char* desc);
TARN_API int TARN_CALL gfx_ubmlGetCorrelationCount(int* count);
TARN_API int TARN_CALL gfx_ubmlGetCorrelationId(int index, char* id);
TARN_API int TARN_CALL gfx_ubmlGetCorrelationDesc(int index, char* desc);
/* Writes the plug-in's CORRTYPE as an int. */
TARN_API int TARN_CALL gfx_ubmlGetCorrelationType(int index, int* type);
TARN_API int TARN_CALL gfx_ubmlGetCorrelationInpPropCount(int index, int* count);
TARN_API int TARN_CALL gfx_ubmlGetCorrelationInpPropId(int index, int k, char* id);
TARN_API int TARN_CALL gfx_ubmlGetCorrelationOutPropCount(int index, int* count);
/* Position before the buffer, as in gfx_tarnGetCorrelationOutPropId. */
TARN_API int TARN_CALL gfx_ubmlGetCorrelationOutPropId(int index, int k, char* id);
TARN_API int TARN_CALL gfx_ubmlGetIndexPair(int index, int* pair);
TARN_API int TARN_CALL gfx_ubmlGetCoefCount(int index, int* count);
TARN_API int TARN_CALL gfx_ubmlGetCoef(int index, int k, char* name, double* value);
TARN_API int TARN_CALL gfx_ubmlSetCoefValue(int index, int k, double value);
TARN_API int TARN_CALL gfx_ubmlCalcIndexFromProp(int index, double property, double* indexValue);
TARN_API int TARN_CALL gfx_ubmlCalcPropFromIndex(int index, double indexValue, double* property);
TARN_API int TARN_CALL gfx_ubmlCalcPropValue(int index, int property, int inputCount, double* inputs, double* output);
TARN_API int TARN_CALL gfx_ubmlCalcPropDeriv(int index, int property, int inputCount, double* inputs, double* derivs);

/* Evaluates plug-in correlation index in the calling shape of
 * gfx_tarnGenCalc. With minSpacing > 0 the inputs are first put in
 * increasing order in place, each at least minSpacing above the one before:
 * pushing values up from the first (forward) or down from the last
 * (backward), whichever changes fewer values (forward on a tie). Then by
 * type: 1 converts inputs[0] (direction non-zero: property to index,
 * else back) into outputs[0] with a forward-difference slope in derivs[0],
 * and returns -999 even so (use gfx_ubmlGenCalcComplex for a proper status);
 * 0 and -1 evaluate property 1; -7..-4 evaluate every output; any other
 * type returns -999. -8888 when derivatives are asked without an array, -999
 * when inputs or outputs is null; the plug-in's own codes pass through. */
TARN_API int TARN_CALL gfx_ubmlGenCalc(int index, int derivFlag, int direction, double minSpacing, double* inputs,
                                       double* outputs, double* derivs);

/* As gfx_ubmlGenCalc without the ordering: type 1 returns the status of the
 * conversion (-8888 when derivatives are asked without an array), type -3
 * evaluates the given property number. */
TARN_API int TARN_CALL gfx_ubmlGenCalcComplex(int index, int derivFlag, int direction, int property, double* inputs,
                                              double* outputs, double* derivs);

TARN_EXTERN_C_END

#endif /* TARN_UBML_H */
