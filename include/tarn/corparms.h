/* TARN: access to the correlation parameter block by keyword, and the
 * distillation temperature points of the percent-off conversions.
 *
 * A correlation keyword picks a parameter group and is matched without regard
 * to case (at most 79 characters); a parameter keyword picks a field within
 * the group and must match exactly, case included ("ChangeData", "MinVol",
 * "Perturb"). Changes take effect at the next calculation.
 */
#ifndef TARN_CORPARMS_H
#define TARN_CORPARMS_H

#include "tarn/export.h"

/* Caller buffers of gfx_getCorParmsKeywords hold at least this many chars
 * (terminator included). */
#define TARN_KEYWORD_SIZE 20
/* Caller buffers of gfx_getCorParmsInfo: the unit ("F" with its degree sign,
 * "vol %", "ppm" ... or "") and the one-line description. */
#define TARN_UNIT_SIZE 12
#define TARN_PARAMETER_DESC_SIZE 100

TARN_EXTERN_C_BEGIN

/* Stores value into the field named by (correlation, parameter).
 * Returns 0 when stored, 1 when the pair is unknown (also for a null or
 * overlong keyword) or the value is refused; a refused store changes nothing.
 * Store rules beyond a plain assignment:
 *   REIDVAPORPRESSURE <any>       the vapour-pressure blending exponent
 *   TARN ChangeData               on when value > 0, else off
 *   TARN CARB_CORF                'F' when value > 0, else 'C'
 *   CETANEIMPROVER[2] P2, P4 and T10INDEX P2
 *                                 refused unless the stored value is > 0
 *   ND86... NTEMP (NPOFF)         refused above 13 (25), else trunc(value + 0.5)
 *   EVAPORATIVE NPTS              trunc(value + 0.5)
 *   CARBOB2 ALTOXY                truncated toward zero
 *   T20GAUSSIAN P1, P2, P3        after the store the ratio (P2-P1)/(P3-P1) is
 *                                 recomputed; if P3-P1 or P2-P1 is not positive
 *                                 the whole group returns to its defaults and
 *                                 the result is 1
 *   HC94                          only X1 is reachable */
TARN_API int TARN_CALL gfx_setCorParms(const char* correlation, const char* parameter, double value);

/* Reads the field named by (correlation, parameter), or 1e30 when the pair is
 * unknown. TARN ChangeData reads 1.0 (on) or -1.0 (off); TARN CARB_CORF reads
 * -1.0 for 'C' and 1.0 otherwise; integer fields read as doubles. */
TARN_API double TARN_CALL gfx_getCorParms(const char* correlation, const char* parameter);

/* Writes the number of parameters reachable by keyword (one per field; a
 * group known under two correlation keywords counts once). Returns 0; a null
 * pointer writes nothing. */
TARN_API int TARN_CALL gfx_getCorParmsCount(int* count);

/* Writes the keywords of parameter k (0 <= k < count), in the order in which
 * gfx_setCorParms tries them: the correlation keyword (upper case), the
 * group's second correlation keyword or "" when it has none, and the
 * parameter keyword ("*" for REIDVAPORPRESSURE, which takes any text).
 * Buffers of TARN_KEYWORD_SIZE chars; a null pointer is skipped. Returns 0,
 * or 1 with nothing written for k outside 0..count-1. */
TARN_API int TARN_CALL gfx_getCorParmsKeywords(int k, char* correlation, char* alias, char* parameter);

/* Writes what the library knows of parameter k of the listing (the numbering
 * of gfx_getCorParmsKeywords): its default as gfx_getCorParms reads it after
 * TARNReset, its unit (UTF-8, "" where the parameter has none or mixes units)
 * and a one-line description. Buffers of TARN_UNIT_SIZE and
 * TARN_PARAMETER_DESC_SIZE chars; a null pointer is skipped. Returns 0, or 1
 * with nothing written for k outside 0..count-1. */
TARN_API int TARN_CALL gfx_getCorParmsInfo(int k, double* defaultValue, char* unit, char* description);

/* Converts the ten percent-off temperature points (D86FROMPERCENTOFF P1..P10)
 * in place from degrees F to degrees C. Not idempotent: a second call converts
 * again. Returns 0. */
TARN_API int TARN_CALL ConvertD86TempPt(void);

/* Restores the ten percent-off temperature points to 30, 70, 100, 140, 180,
 * 250, 330, 360, 390, 450 (degrees F). Returns 0. */
TARN_API int TARN_CALL ResetD86TempPt(void);

TARN_EXTERN_C_END

#endif /* TARN_CORPARMS_H */
