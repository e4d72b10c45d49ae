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

/* ---- Valid input ranges of the models ----------------------------------- */

TARN_EXTERN_C_END

#endif /* TARN_EMISSIONS_H */
