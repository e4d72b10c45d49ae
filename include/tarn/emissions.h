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
TARN_API int TARN_CALL gfx_WCARB(int wantDerivatives, const char* flags, const double* in,
                                 double* out, double* deriv);

/* ---- Ethanol blendstock models ------------------------------------------ */

/* ---- Percent evaporated at set temperatures ----------------------------- */

/* ---- EPA baseline and distillation conversions, EPA complex model -------- */

/* ---- Valid input ranges of the models ----------------------------------- */

TARN_EXTERN_C_END

#endif /* TARN_EMISSIONS_H */
