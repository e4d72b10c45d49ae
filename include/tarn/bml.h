/* TARN: one numbering over the built-in correlations and those of a user
 * correlation library (plug-in, tarn/ubml.h).
 *
 * Correlations 0..56 are the built-in ones (tarn/tarn.h); 57 .. 57 + U - 1
 * are the plug-in's correlations 0 .. U - 1, where U is the plug-in's count
 * once gfx_bmlInitializeAllocate has loaded and started one, else 0.
 * Properties 0 and 1 are the library's own; 2 .. 2 + P - 1 the plug-in's.
 * Every gfx_bml* function has the shape of its gfx_tarn* namesake: an index
 * past the combined count gives -1101, a built-in index goes to the
 * gfx_tarn* function unchanged (so a negative one fails there), a plug-in
 * index to the gfx_ubml* bridge made plug-in relative. Both counts are asked
 * afresh on every call. What the plug-in answers is checked by the bridge
 * (tarn/ubml.h): a count it cannot use counts as 0.
 */
#ifndef TARN_BML_H
#define TARN_BML_H

#include "tarn/export.h"
#include "tarn/status.h"

/* Router status codes: the TARN_BML_STATUS_* constants of tarn/status.h
 * (texts from gfx_bmlGetErrorMsg). */

/* The combined numbers of the plug-in's first correlation and property. */
#define TARN_BML_FIRST_USER_CORRELATION 57
#define TARN_BML_FIRST_USER_PROPERTY 2
/* The kind code reported for every output of a plug-in correlation. */
#define TARN_BML_USER_KIND 19

TARN_EXTERN_C_BEGIN

/* ---- Start and stop ----------------------------------------------------- */

/* Starts the built-in library (gfx_tarnInitializeAllocate; -1103 if that
 * fails). With a null path returns 0: built-in correlations only, and a
 * plug-in loaded earlier stays. Otherwise the path must name an existing
 * file that is not a directory (-1105, after the built-in start). Its
 * headers are read first: a file that is not a complete shared object of
 * this platform (truncated, or a segment or section reaching past its end)
 * is refused before the loader maps it. It is then loaded as a shared
 * library with every ubml_* function bound and started with
 * ubml_InitializeAllocate; a file refused or not loadable, a missing
 * function or a failed start gives -1104, never a crash. Any failure
 * (-1105, -1104) leaves bound the plug-in loaded earlier, usable as before,
 * or none if none was. A plug-in that starts replaces the one bound before,
 * which is stopped (ubml_Free) and unloaded; loading the same file again
 * restarts it. Once a plug-in has started, the numbering includes a
 * plug-in's correlations for the rest of the process. A file replaced or
 * truncated while it is being loaded is not guarded against. */
TARN_API int TARN_CALL gfx_bmlInitializeAllocate(void* arg, const char* userLibraryPath);

/* gfx_tarnInitializeCoefs, then the plug-in's ubml_InitializeCoefs. Returns 0. */
TARN_API int TARN_CALL gfx_bmlInitializeCoefs(void);

/* gfx_tarnFree, then the plug-in's ubml_Free. Returns 0. The plug-in keeps
 * its place in the numbering. */
TARN_API int TARN_CALL gfx_bmlFree(void);

/* ---- Catalogue ---------------------------------------------------------- */

/* Writes 57 plus the plug-in's count and returns 0. When the plug-in's
 * count query fails or its count is refused (tarn/ubml.h), writes 57 and
 * returns that status. */
TARN_API int TARN_CALL gfx_bmlGetCorrelationCount(int* count);

/* Writes the identifier, upper-cased (also the plug-in's). */
TARN_API int TARN_CALL gfx_bmlGetCorrelationId(int index, char* id);
TARN_API int TARN_CALL gfx_bmlGetCorrelationDesc(int index, char* desc);
TARN_API int TARN_CALL gfx_bmlGetCorrelationType(int index, int* type);
TARN_API int TARN_CALL gfx_bmlGetCorrelationInpPropCount(int index, int* count);
TARN_API int TARN_CALL gfx_bmlGetCorrelationInpPropId(int index, int k, char* id);
TARN_API int TARN_CALL gfx_bmlGetCorrelationOutPropCount(int index, int* count);
TARN_API int TARN_CALL gfx_bmlGetCorrelationOutPropId(int index, int k, char* id);

/* Built-in: as gfx_tarnGetCorrelationOutPropType. Plug-in correlations have
 * no kind codes: returns 19 and writes nothing. */
TARN_API int TARN_CALL gfx_bmlGetCorrelationOutPropType(int index, int k, int* kind);

/* Writes 0, then the slack count of a built-in correlation (7 for CARBOB2);
 * plug-in correlations have none. -1101 past the end. */
TARN_API int TARN_CALL gfx_bmlGetCorrelationSlackCount(int index, int* count);

/* Writes the inverse correlation, in the combined numbering. A plug-in's
 * negative pair (none) is written as it is; one that names no correlation
 * of the plug-in gives -1104 and writes nothing. */
TARN_API int TARN_CALL gfx_bmlGetIndexPair(int index, int* pair);

/* Writes 2 plus the plug-in's property count; a failed or refused count
 * as for gfx_bmlGetCorrelationCount. */
TARN_API int TARN_CALL gfx_bmlGetPropCount(int* count);
TARN_API int TARN_CALL gfx_bmlGetPropId(int k, char* id);
TARN_API int TARN_CALL gfx_bmlGetPropDesc(int k, char* desc);

/* ---- Coefficients ------------------------------------------------------- */

TARN_API int TARN_CALL gfx_bmlGetCoefCount(int index, int* count);
TARN_API int TARN_CALL gfx_bmlGetCoef(int index, int k, char* name, double* value);
TARN_API int TARN_CALL gfx_bmlSetCoefValue(int index, int k, double value);

/* ---- Evaluation --------------------------------------------------------- */

/* Built-in: gfx_tarnGenCalc (direction and minSpacing not used). Plug-in:
 * gfx_ubmlGenCalc with all seven arguments. */
TARN_API int TARN_CALL gfx_bmlGenCalc(int index, int derivFlag, int direction, double minSpacing, double* inputs,
                                      double* outputs, double* derivs);

/* Built-in: gfx_tarnGenCalcComplex. Plug-in: gfx_ubmlGenCalcComplex. */
TARN_API int TARN_CALL gfx_bmlGenCalcComplex(int index, int derivFlag, int direction, int property, double* inputs,
                                             double* outputs, double* derivs);

/* Plug-in correlations only: forwarded to the gfx_ubml* namesakes. For a
 * built-in index they do nothing and return 0. */
TARN_API int TARN_CALL gfx_bmlCalcPropValue(int index, int property, int inputCount, double* inputs, double* output);
TARN_API int TARN_CALL gfx_bmlCalcPropDeriv(int index, int property, int inputCount, double* inputs, double* derivs);
TARN_API int TARN_CALL gfx_bmlCalcIndexFromProp(int index, double property, double* indexValue);
TARN_API int TARN_CALL gfx_bmlCalcPropFromIndex(int index, double indexValue, double* property);

/* ---- Messages and diagnostics ------------------------------------------- */

/* Codes -499..-1: gfx_tarnErrorHandler (index unchanged). Other codes: the
 * plug-in's ubml_ErrorHandler when one is loaded, else -1106. */
TARN_API int TARN_CALL gfx_bmlErrorHandler(int index, int code, int inputCount, double* inputs);

/* Codes -499..-1: as gfx_tarnGetErrorMsg. Codes -1108..-1101: writes the
 * router's message; returns 0 for -1101 and -1108 and a non-zero value for
 * the other six, which callers must not test. Any other code: writes nothing
 * and returns code + 499 (so 0 gives 499). */
TARN_API int TARN_CALL gfx_bmlGetErrorMsg(int code, char* message);

TARN_EXTERN_C_END

#endif /* TARN_BML_H */
