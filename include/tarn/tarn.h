/* TARN: library lifecycle, the catalogue of built-in correlations, evaluation
 * by index, correlation coefficients, status codes and messages.
 *
 * A host starts the library once (gfx_tarnInitializeAllocate or
 * TARNInitialize + gfx_tarnInitializeCoefs), then calls it from one thread.
 * All state is process-wide; no function is re-entrant.
 */
#ifndef TARN_TARN_H
#define TARN_TARN_H

#include <stdbool.h>
#include <stdio.h>
#include "tarn/export.h"
#include "tarn/status.h"

/* ---- Status codes ------------------------------------------------------- */
/* Every catalogue function returns an int status: the TARN_STATUS_* constants
 * of tarn/status.h, with their meanings and messages. Correlation functions
 * reached through evaluation by index may return small codes of their own,
 * which pass through unchanged. */

/* ---- Correlation types -------------------------------------------------- */
#define TARN_TYPE_GENERAL (-7)            /* several properties to one or more results */
#define TARN_TYPE_DISTILLATION_INDEX (-6) /* distillation index or oxygenate correction */
#define TARN_TYPE_INDEX_TO_PROPERTY (-5)
#define TARN_TYPE_PROPERTY_TO_INDEX (-4)
/* Types that no built-in correlation has, known to the evaluation entry
 * points because user-library correlations use them (tarn/ubml.h). */
#define TARN_TYPE_COMPLEX (-3)            /* a value chosen by property number */
#define TARN_TYPE_PROPERTY_VALUE_ALT (-1) /* a plain property value, like 0 */
#define TARN_TYPE_PROPERTY_VALUE 0        /* a plain property value */
#define TARN_TYPE_SINGLE_VALUE 1          /* one property to its index or back */
/* TARN_TYPE_UNKNOWN (-9999), written as the type of an unknown index, is in
 * tarn/status.h. */

/* ---- Sizes -------------------------------------------------------------- */
#define TARN_CORRELATION_COUNT 57
/* Caller buffers must hold at least these many chars (terminator included). */
#define TARN_ID_SIZE 19          /* correlation identifier */
#define TARN_DESC_SIZE 24        /* correlation or property description */
#define TARN_PROPERTY_ID_SIZE 18 /* input, output or library property id */
#define TARN_COEF_NAME_SIZE 9    /* coefficient name */
#define TARN_MESSAGE_SIZE 69     /* message of gfx_tarnGetErrorMsg */
#define TARN_SOURCE_SIZE 160     /* published source of a correlation */

TARN_EXTERN_C_BEGIN

/* ---- Lifecycle ---------------------------------------------------------- */

/* Writes every parameter-block default (the CARB temperature unit excepted: a
 * unit chosen before start-up survives). The argument is not used. Returns
 * true. */
TARN_API bool TARN_CALL TARNInitialize(void* arg);

/* Restores every parameter-block default, including the CARB temperature unit
 * ('F'), the evaporative point count (0) and the twelve evaporative values
 * (missing). Coefficient switches set through gfx_tarnSetCoefValue are left as
 * they are. Returns 0. */
TARN_API int TARN_CALL TARNReset(void);

/* Ends the host's use of the library. Holds nothing to release; parameters
 * and coefficients keep their values. Safe to call repeatedly. */
TARN_API void TARN_CALL TARNUninitialize(void);

/* TARNInitialize(arg) followed by gfx_tarnInitializeCoefs(). Returns 0, or -1
 * ("Unable to initialize TARN.") if start-up failed. */
TARN_API int TARN_CALL gfx_tarnInitializeAllocate(void* arg);

/* Sets every integer coefficient switch (unit flags CORF, method settings
 * TYPCOR, emission-model selectors, ...) and the CARBOB3 and EOHVOL reals to
 * their defaults. Returns 0. */
TARN_API int TARN_CALL gfx_tarnInitializeCoefs(void);

/* Calls TARNUninitialize(). Returns 0, also when called twice. */
TARN_API int TARN_CALL gfx_tarnFree(void);

/* The library's release version, "MAJOR.MINOR.PATCH" (not the ABI version of
 * the SONAME). A constant string owned by the library; never null. Callable
 * before start-up. */
TARN_API const char* TARN_CALL tarn_GetVersion(void);

/* ---- Catalogue of the built-in correlations ------------------------------ */
/* Correlations are numbered 0..56. Text results are copied NUL-terminated
 * into caller buffers (sizes above). A null result pointer is tolerated:
 * nothing is written and the status is the same. On failure nothing is
 * written unless a function says otherwise. */

/* Writes 57. Returns 0. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationCount(int* count);

/* Writes the identifier of correlation index. -4 for an index outside 0..56. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationId(int index, char* id);

/* Writes "TARN_" followed by the identifier. -4 for an unknown index. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationDesc(int index, char* desc);

/* Writes the type (-7, -6, -5 or -4). -5 for an unknown index, with -9999
 * written as the type. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationType(int index, int* type);

/* Writes the number of inputs. -4 for an unknown index. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationInpPropCount(int index, int* count);

/* Writes the property id of input k (from 0). -4 for an unknown index (checked
 * before k), -6 for k outside the inputs. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationInpPropId(int index, int k, char* id);

/* Writes the number of outputs. -4 for an unknown index. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationOutPropCount(int index, int* count);

/* Writes the property id of output k. -4 for an unknown index (checked before
 * k), -7 for k outside the outputs. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationOutPropId(int index, int k, char* id);

/* Writes the kind code of output k (the family of property it is). Property
 * to index correlations and T10INDEX, T50INDEX, T90INDEX have none: the call
 * succeeds and leaves *kind unchanged. -4, then -7, as above. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationOutPropType(int index, int k, int* kind);

/* Writes the number of trailing slack inputs where there are any (7 for
 * CARBOB2). Always returns 0 and leaves *count unchanged otherwise, also for
 * an unknown index: preset *count to 0. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationSlackCount(int index, int* count);

/* Writes the index of the inverse correlation of a property to index
 * correlation and returns 0. Returns 12, writing nothing, when there is none
 * (also for an unknown index). */
TARN_API int TARN_CALL gfx_tarnGetIndexPair(int index, int* pair);

/* Writes where the correlation's form and constants were published (a
 * standard, paper or regulation), or "" where no source is on file; buffer of
 * TARN_SOURCE_SIZE chars. -4 for an unknown index. */
TARN_API int TARN_CALL gfx_tarnGetCorrelationSource(int index, char* source);

/* Writes 2, the number of library properties. Returns 0. */
TARN_API int TARN_CALL gfx_tarnGetPropCount(int* count);

/* Writes "RVPD" (k 0) or "RVPC" (k 1). -2 for any other k. */
TARN_API int TARN_CALL gfx_tarnGetPropId(int k, char* id);

/* Writes "Derived Property" (k 0) or "Complex Property" (k 1). -3 for any
 * other k. */
TARN_API int TARN_CALL gfx_tarnGetPropDesc(int k, char* desc);

/* ---- Coefficients ------------------------------------------------------- */
/* Each correlation has a short named list of coefficients: its temperature
 * unit flag CORF (non-zero Fahrenheit, 0 Celsius), switches and constants.
 * A coefficient is a view of the parameter block: a keyword set through
 * gfx_setCorParms that reaches the same field is seen here, and the other
 * way round. Values travel as doubles. Set rules:
 *   integer entries            truncated toward zero; NaN and values beyond
 *                              the int range are ignored (nothing stored)
 *   DRIVEABILITYINDEXE EOHVOL  truncated to a whole number, kept as a real
 *   VAPORLOCKINDEX P1, P2      read-only: a set stores nothing
 *   NTEMP, NPOFF               n = trunc(value); stored as trunc(n + 0.5)
 *                              while n is below 14 (NTEMP) or 26 (NPOFF),
 *                              as 1 from there on (so -3 is stored as -2)
 *   T20GAUSS P1..P3            as the T20GAUSSIAN keywords: the derived ratio
 *                              follows, or the group returns to its defaults
 *                              when P2 or P3 would not lie above P1
 * Shared entries: RVP and RVPINDEX one exponent; MTMF and MTMR one set;
 * ND86TOPERCENTOFF and ND86FROMPERCENTOFF their points and counts;
 * D86FROMPERCENTOFF and D86TOPERCENTOFF their ten temperature points. */

/* Writes the number of coefficients of correlation index. -4 for an unknown
 * index. */
TARN_API int TARN_CALL gfx_tarnGetCoefCount(int index, int* count);

/* Writes the name and current value of coefficient k. -4 for an unknown index
 * (checked before k), -8 for k outside the list. */
TARN_API int TARN_CALL gfx_tarnGetCoef(int index, int k, char* name, double* value);

/* Stores value into coefficient k by its rule (above). Returns 0, also when
 * the rule stores nothing; -4 for an unknown index, -8 for a bad k. */
TARN_API int TARN_CALL gfx_tarnSetCoefValue(int index, int k, double value);

/* ---- Evaluation by index ------------------------------------------------ */
/* inputs hold one value per input property and outputs receive one per
 * output property, in catalogue order. derivs receives the derivatives
 * input-major: entry (input j, output k) at j * outputCount + k, except for
 * MTMF, whose eight entries are, in order, dTRON/dRON, dTMON/dOLE,
 * dTMON/dRON, dTRON/dOLE, dTRON/dARO, dTMON/dARO, dTRON/dMON, dTMON/dMON.
 * docs/derivatives.md says for every correlation how its derivatives are
 * obtained (analytic, forward or central differences, with their steps) and
 * where they deliberately differ from the slope of the outputs. It may be
 * null when derivFlag is 0, except that MTMF and MTMR (8 entries) and
 * CT10BLEND..CRVP (3 entries) write into it whatever the flag, and
 * D86TOPERCENTOFF and CD86FROMPERCENTOFF fill all of it whenever it is given:
 * pass an array of the full size there always, or null (a null one is
 * skipped). Temperatures are in the unit of the correlation's CORF.
 * CD86ONE90BLEND, CRVP, CD86FROMPERCENTOFF and the adapters of the emission
 * models may rewrite inputs in place, as may the curve repairs of ChangeData
 * and the filling of missing 30 % and 70 % points. Outputs and derivatives a
 * correlation leaves alone keep what the caller put there. To tell its own
 * NaN from the caller's, evaluation looks at the outputs (and derivatives,
 * when asked for) once the correlation has written them, and where a NaN
 * shows, evaluates again on copies. Any values do, but a memory checker
 * reports the look at entries never initialised: fill the arrays once. */

/* Evaluates correlation index. Returns 0, 1 when the result is the missing
 * value 1e30 or could not be computed (NaN from inputs that are all numbers,
 * say an infinite one, is reported as 1e30 in that output, a NaN derivative
 * as 0; T10INDEX, T50INDEX and T90INDEX alone report a NaN index with status
 * 0), the correlation's own status where it returns one, -999 for an
 * unknown index or a type that cannot be evaluated, -8888 when derivatives
 * are asked without an array, -999 when inputs or outputs is null. direction
 * is not used by the built-in correlations. */
TARN_API int TARN_CALL gfx_tarnGenCalc(int index, int derivFlag, int direction, double* inputs, double* outputs,
                                       double* derivs);

/* As gfx_tarnGenCalc; direction and property are not used by the built-in
 * correlations. */
TARN_API int TARN_CALL gfx_tarnGenCalcComplex(int index, int derivFlag, int direction, int property, double* inputs,
                                              double* outputs, double* derivs);

/* Evaluates correlation index over many rows, exactly as gfx_tarnGenCalc
 * would one row at a time. Row r reads its inputs at r * inputCount and
 * writes its outputs at r * outputCount and its derivatives at
 * r * inputCount * outputCount (the catalogue's counts; for the
 * variable-size correlations these are the maxima, and each row's block
 * holds what gfx_tarnGenCalc writes: the configured counts, input-major).
 * Each row is evaluated on a copy of its inputs, so the rows that
 * gfx_tarnGenCalc rewrites in place (CD86ONE90BLEND, CRVP, the emission
 * adapters) leave the caller's inputs unchanged. statuses, when not null,
 * receives one status per row. derivs may be null when derivFlag is 0 (see
 * gfx_tarnGenCalc for the rows that write derivatives whatever the flag).
 * Returns the number of rows whose status is not 0, or -999 (nothing
 * evaluated) when rows is negative or inputs or outputs is null. */
TARN_API int TARN_CALL gfx_tarnGenCalcBatch(int index, int derivFlag, int rows, const double* inputs, double* outputs,
                                            double* derivs, int* statuses);

/* The number of outputs really produced by the variable-size correlations:
 * ND86TOPERCENTOFF (41) its NPOFF and EVAPORATIVE (53) its NPTS, each when
 * positive; ND86FROMPERCENTOFF (42) its NTEMP whenever NPOFF is positive
 * (whatever NTEMP is, 0 or less included). -1 otherwise and for every other
 * index: use the catalogue's output count. */
TARN_API int TARN_CALL tarn_GetActualNumberOutput(int index);

/* Property derivatives by property number are offered by user libraries
 * only: does nothing and returns 0. */
TARN_API int TARN_CALL gfx_tarnCalcPropDeriv(int index, int property, int inputCount, double* inputs, double* derivs);

/* ---- Messages and diagnostics ------------------------------------------- */

/* Writes the message of a negative status code of the catalogue (-1..-8) and
 * returns 0. For any other code writes "Error Message Code = <code> not
 * found" and returns -444. A null message pointer writes nothing. */
TARN_API int TARN_CALL gfx_tarnGetErrorMsg(int code, char* message);

/* Prints a diagnostic of a failed calculation of correlation index to the
 * diagnostic stream: the correlation, the code, the expected input count and
 * one line per given input value with its property id. Prints nothing while
 * no stream is set or for an unknown index. Always returns 0. */
TARN_API int TARN_CALL gfx_tarnErrorHandler(int index, int code, int inputCount, const double* inputs);

/* Sets the stream that gfx_tarnErrorHandler writes to (for example stderr);
 * null, the initial state, silences it. The library never closes the stream.
 * Returns the stream that was set before. */
TARN_API FILE* TARN_CALL gfx_tarnSetDiagnosticStream(FILE* stream);

TARN_EXTERN_C_END

#endif /* TARN_TARN_H */
