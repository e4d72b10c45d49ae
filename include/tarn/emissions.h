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

/* CARB Phase 2 predictive model: percent changes of emissions of a candidate
 * gasoline against the reference fuel. in: RVP (psi), T50, T90 (in the unit of
 * the TARN CARB_CORF setting), aromatics, olefins (vol %), oxygen (wt %),
 * sulfur (ppm), benzene (vol %). out: the two combined exhaust changes and
 * the potency-weighted toxics change. flags: 6 letters for T50, T90,
 * aromatics, olefins, sulfur, benzene, 'A' for the averaging reference, any
 * other letter the flat one (a shorter or null string leaves the rest flat).
 * deriv (24, input-major) is written only when wantDerivatives is non-zero;
 * the RVP row is 0. Returns the number of properties outside their limits
 * (with sensitivities, as counted at the last perturbed evaluation), or -1
 * when in or out is null. */
TARN_API int TARN_CALL gfx_WCARB(int wantDerivatives, const char* flags, const double* in, double* out, double* deriv);

/* CARB Phase 3 predictive model. in (9): RVP, T50, T90 (CARB_CORF unit),
 * aromatics, olefins, oxygen, oxygen (second value), sulfur, benzene; out 3;
 * deriv 27 when wantDerivatives is non-zero. options: 6 flat/averaging
 * letters as for gfx_WCARB, then 'Y' for the evaporative mode ("YES"; RVP
 * ceiling 7.2) or 'N'/any other letter for the mode without it ("NO ";
 * ceiling 30). The inputs are first rounded as the regulation reports them,
 * halves away from zero: RVP and benzene to 0.01, T50, T90 (degrees F) and
 * sulfur to 1, aromatics, olefins and oxygen to 0.1; the second oxygen is
 * then set to the first. The caller's array is not changed. Returns the
 * number of rounded inputs outside the valid range (-1 when in or out is
 * null). The model's regression table is not available in this library: the
 * three results are the missing value 1e30 and the sensitivities 0. */
TARN_API int TARN_CALL gfx_WCARB3(int wantDerivatives, const char* options, const double* in, double* out,
                                  double* deriv);

/* CARB Phase 3 predictive model with one oxygen value. in (8): RVP, T50, T90
 * (CARB_CORF unit), aromatics, olefins, oxygen, sulfur, benzene; out 3; deriv
 * 24. options: 6 flat/averaging letters, then the RVP ceiling: 'Y' 7.2, 'N'
 * 30, 'Z' or any other letter 7.0 (RVP floor 6.4). An input is out of range
 * below 0.9999 times its lower or above 1.0001 times its upper limit;
 * outOfRange (8, may be null) receives 1 for each such input, 0 otherwise.
 * The caller's array is not changed. Returns the number of inputs out of
 * range (-1 when in or out is null). The model's regression table is not
 * available in this library: the three results are the missing value 1e30
 * and the sensitivities 0. */
TARN_API int TARN_CALL gfx_WCARB4(int wantDerivatives, const char* options, const double* in, double* out,
                                  double* deriv, int* outOfRange);

/* ---- Ethanol blendstock models ------------------------------------------ */

/* Volatility of an ethanol blend: in = blendstock RVP (psi), T50, T90
 * (degrees F whatever unit says) and ethanol vol %; out = blend RVP, T50,
 * T90; deriv (12, input-major) when wantDerivatives is non-zero. T50 follows
 * a second equation from 9 vol % ethanol on. Returns 1 when the ethanol lies
 * outside [3.6, 11] (the results are still computed), 0 otherwise, -1 when in
 * or out is null. */
TARN_API int TARN_CALL gfx_WCARBOB(int wantDerivatives, char unit, const double* in, double* out, double* deriv);

/* Finished gasoline from a blendstock and ethanolPct vol % ethanol. in (7):
 * RVP, T50, T90 ('C' degrees C, else F), aromatics, benzene, olefins, sulfur;
 * out (9): RVP, T50, T90, aromatics, benzene, oxygen, olefins, oxygen,
 * sulfur; deriv (63, input-major). params (9, may be null): ARO, BNZ, EHO,
 * OLF, SUL, ETOHSPG, GASSPG, unused, ALTOXY, each overriding the CARBOB2
 * group's value unless 1e29 or more. ALTOXY of 1 or more passes the
 * blendstock through (oxygen outputs not written) and returns 0. Ethanol
 * below 4 or above 10 also passes it through with oxygen 0 and returns -1
 * (1 above 10, 0 for exactly 0). A non-positive EHO makes -EHO the blend's
 * oxygen. Returns 0 when blended, -1 when in or out is null. */
TARN_API int TARN_CALL gfx_WCARBOB2(int wantDerivatives, char unit, double ethanolPct, const double* in, double* out,
                                    double* deriv, const double* params);

/* gfx_WCARBOB2 with the RBOB group's ethanol, then out[0] = multiplier * RVP
 * + addend, out[7] = sulfur, out[8] = E200, out[9] = E300 from the blend's
 * T50 and T90; deriv 70. params (13, may be null): ARO, BNZ, EHO, OLF, SUL,
 * ETOHSPG, GASSPG, E200 intercept, E200 slope, E300 intercept, E300 slope,
 * RVP addend, RVP multiplier. The E200 slope is also the blend model's
 * ALTOXY: a slope of 1 or more passes the blendstock through (out[5] not
 * written). A non-zero status of the blend model is returned at once with
 * the outputs as they stand and deriv untouched; -1 when in or out is null. */
TARN_API int TARN_CALL gfx_WRBOB(int wantDerivatives, char unit, double ethanolPct, const double* in, double* out,
                                 double* deriv, const double* params);

/* Linear dilution by 5 vol % of the standard ethanol: factors (4) for
 * aromatics, benzene, olefins, sulfur and the offsets (4) the ethanol adds.
 * params is never read. Either array may be null. Returns 0. */
TARN_API int TARN_CALL gfx_WCARBOB2CalcOffset(double* offsets, double* factors, const double* params);

/* ---- Percent evaporated at set temperatures ----------------------------- */

/* Volume percent evaporated at each of the NPTS temperatures P00.. of the
 * EVAPORATIVE group (at most 12), by linear interpolation in a seven-point
 * curve (temperatures at the percent grid points); 0 below the curve, 100 at
 * or above its end. deriv (7 * NPTS, deriv[j * NPTS + i]) when
 * wantDerivatives is non-zero. With ChangeData on, a decreasing point is
 * lifted to its predecessor + 1 in the caller's curve. Returns 0; 1 when no
 * temperature is configured (nothing written); 2 when the curve decreases
 * (repair off; every output 1e30), a temperature other than the last is unset
 * (its output 1e30), or curve or out is null. An unset last temperature
 * gives 1e30 in its output only. A flat curve (ends less than 1 apart) is a
 * pure component: 0 or 100 at each set temperature, and an unset one keeps
 * its output as the caller had it, with status 0. */
TARN_API int TARN_CALL gfx_Evaporative(int wantDerivatives, double* curve, double* out, double* deriv);

/* ---- EPA baseline and distillation conversions, EPA complex model -------- */

/* E200 and E300 (vol % evaporated at 200 and 300 F) from in = {T50, T90}:
 * E200 = P1 - P2*T50, E300 = P3 - P4*T90 with the E200E300EPA parameters
 * (defaults 147.91, 0.49, 155.47, 0.22). unit 'C' takes T50/T90 in degrees C
 * (sensitivities then per degree C), anything else degrees F. deriv (4
 * values, input-major) is written when wantDerivatives is non-zero and deriv
 * is not null. Returns 0; -1 when in or out is null. */
TARN_API int TARN_CALL gfx_E200E300EPA(char unit, const double* in, double* out, int wantDerivatives, double* deriv);

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
TARN_API int TARN_CALL EPAPERCENT2ABS(const char* region, int regionLength, const char* phase, int phaseLength,
                                      const char* season, int seasonLength, const int* direction,
                                      const char* baselineClass, int baselineClassLength, const double* voc,
                                      const double* tox, const double* nox, const double* exb, const double* ext,
                                      double* vocOut, double* toxOut, double* noxOut, double* exbOut, double* extOut);

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
TARN_API int TARN_CALL gfx_WEPA(int wantDerivatives, const char* options, const double* in, double* out, double* deriv);

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
TARN_API int TARN_CALL gfx_getCorLimits(const char* model, tarn_LimitsAnswer answer, double* lower, double* upper,
                                        int n);

TARN_EXTERN_C_END

#endif /* TARN_EMISSIONS_H */
