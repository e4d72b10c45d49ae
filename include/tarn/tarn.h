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
#include "tarn/export.h"

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

TARN_EXTERN_C_END

#endif /* TARN_TARN_H */
