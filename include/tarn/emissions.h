/* TARN: regulatory gasoline emission models and their conversions — the CARB
 * predictive models, the ethanol blendstock models, the EPA baseline and
 * distillation conversions, the EPA complex model, the percent evaporated at
 * set temperatures, and the valid input ranges of the models.
 *
 * Conventions: sensitivities are input-major, deriv[j * outputCount + k] =
 * d(output k)/d(input j). The models keep their working values in
 * process-wide state and are not re-entrant.
 */
#ifndef TARN_EMISSIONS_H
#define TARN_EMISSIONS_H

#include "tarn/export.h"

TARN_EXTERN_C_BEGIN

/* ---- CARB predictive models --------------------------------------------- */

/* ---- Ethanol blendstock models ------------------------------------------ */

/* ---- Percent evaporated at set temperatures ----------------------------- */

/* ---- EPA baseline and distillation conversions, EPA complex model -------- */

/* E200 and E300 (vol % evaporated at 200 and 300 F) from in = {T50, T90}:
 * E200 = P1 - P2*T50, E300 = P3 - P4*T90 with the E200E300EPA parameters
 * (defaults 147.91, 0.49, 155.47, 0.22). unit 'C' takes T50/T90 in degrees C
 * (sensitivities then per degree C), anything else degrees F. deriv (4
 * values, input-major) is written when wantDerivatives is non-zero and deriv
 * is not null. Returns 0; -1 when in or out is null. */
TARN_API int TARN_CALL gfx_E200E300EPA(char unit, const double* in, double* out,
                                       int wantDerivatives, double* deriv);

/* Converts the five EPA emission quantities VOC, TOX, NOX, EXB, EXT between
 * percent changes and absolute emissions (mg/mile) with the baseline row of
 * VOC control region ('B' region 1, 'C' region 2), phase ('1', '2'), season
 * ('S', 'W') and, in summer only, baseline class ('U' exhaust benzene, 'C'
 * exhaust plus non-exhaust benzene in EXB); letters in either case.
 * *direction non-zero: out = (in/base - 1)*100 (absolute to percent);
 * zero: out = (1 + in/100)*base (percent to absolute).
 * Each text argument is followed by its length in characters (an int passed
 * by value, as Fortran hosts pass hidden lengths); only its first character
 * is read and a length below 1 leaves it unrecognised. The winter class text
 * is not read and may be null. Every value is passed by address:
 *   int EPAPERCENT2ABS(const char* region, int regionLength,
 *                      const char* phase, int phaseLength,
 *                      const char* season, int seasonLength,
 *                      const int* direction,
 *                      const char* baselineClass, int baselineClassLength,
 *                      const double* voc, const double* tox, const double* nox,
 *                      const double* exb, const double* ext,
 *                      double* vocOut, double* toxOut, double* noxOut,
 *                      double* exbOut, double* extOut);
 * Returns 0; -1, writing nothing, for an unrecognised letter or a null
 * pointer. */
TARN_API int TARN_CALL EPAPERCENT2ABS(const char* region, int regionLength, const char* phase,
                                      int phaseLength, const char* season, int seasonLength,
                                      const int* direction, const char* baselineClass,
                                      int baselineClassLength, const double* voc,
                                      const double* tox, const double* nox, const double* exb,
                                      const double* ext, double* vocOut, double* toxOut,
                                      double* noxOut, double* exbOut, double* extOut);

/* EPA complex model (40 CFR 80.45): percent changes of out = {VOC total VOC,
 * TOX total toxics, NOX, EXB exhaust benzene, EXT exhaust toxics} against the
 * baseline fuel of the season, for in = {MTO, ETO, EHO, TMO (oxygen carried
 * by MTBE, ETBE, ethanol, TAME, wt %), SUL (ppm), RVP (psi), E20, E30 (vol %
 * evaporated at 200 and 300 F), ARO, OLF, BNZ (vol %)}. The denominators are
 * those of EPAPERCENT2ABS, which turns the results into the model's absolute
 * emissions.
 * options, read up to its NUL: [0] region 'B'/'C'; [1] phase '1'/'2';
 * [2] season 'S'/'W' (winter: RVP held at 8.7 psi, no non-exhaust
 * emissions); [3] accepted, not used; [4] 'R' counts against the ranges of
 * reformulated gasoline, anything else conventional; [5] accepted, not used;
 * [6] 'C' makes EXB exhaust plus non-exhaust benzene, anything else (or a
 * shorter string) exhaust benzene only. Letters in either case.
 * When wantDerivatives is non-zero and deriv is not null, deriv receives 55
 * sensitivities, input-major, each a central difference whose points are
 * held inside the valid range.
 * Returns the number of inputs outside the valid range of gfx_getCorLimits
 * (within a relative tolerance of 1e-4; results are computed regardless);
 * -1 for an unrecognised region, phase or season (outputs 1e30,
 * sensitivities 0) or a null in/out. Not re-entrant. */
TARN_API int TARN_CALL gfx_WEPA(int wantDerivatives, const char* options, const double* in,
                                double* out, double* deriv);

/* ---- Valid input ranges of the models ----------------------------------- */

/* Answer function of gfx_getCorLimits: writes the answer to option question
 * *question into buffer (length characters, 5, blank-filled on entry). */
typedef void(TARN_CALL* tarn_LimitsAnswer)(char* buffer, int length, const int* question);

/* Valid input ranges of model "EPA" (11 inputs, in the order of gfx_WEPA),
 * "CARB" (8) or "CARB3" (9), name in any case, into lower[] and upper[] of
 * capacity n. EPA asks question 5 ("S": the wide table), else question 4
 * ("R": reformulated, else conventional), then question 3 ("W": RVP ceiling
 * 100); CARB3 asks question 1 and always reports an RVP ceiling of 7.2. An
 * answer matches a letter when the rest of it is blank (or ends in NUL).
 * Returns 0; -1, writing nothing and asking nothing, for an unknown name, n
 * too small, null arrays or (EPA, CARB3) a null answer function. */
TARN_API int TARN_CALL gfx_getCorLimits(const char* model, tarn_LimitsAnswer answer,
                                        double* lower, double* upper, int n);

TARN_EXTERN_C_END

#endif /* TARN_EMISSIONS_H */
