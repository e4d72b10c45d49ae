/* TARN: single-property correlations — conversions between a property of a
 * component and its linearly blendable index, with the derivative of the
 * result with respect to the main input.
 *
 * Conventions: a result of 1e30 means undefined. A derivative is written
 * through its pointer only when the request flag is non-zero (and, unless a
 * function says otherwise, the pointer is not null). Temperatures take a unit
 * byte: 'C' for degrees Celsius, anything else degrees Fahrenheit.
 */
#ifndef TARN_PROPS_H
#define TARN_PROPS_H

#include "tarn/export.h"

TARN_EXTERN_C_BEGIN

/* ---- Vapour pressure, power-law indices, gravity ------------------------ */

/* Reid vapour pressure (psi) -> vapour-pressure blending index rvp^e, with e
 * the REIDVAPORPRESSURE exponent (default 1.25). The input is clamped to
 * [0.01, 1e10] first and the derivative is taken at the clamped value. */
TARN_API double TARN_CALL gfx_RVPIndex(double rvp, int wantDerivative, double* derivative);

/* Vapour-pressure blending index -> Reid vapour pressure index^(1/e). The
 * input is clamped to [0.01, 1e10]. Returns 1e30 when the exponent is 0. */
TARN_API double TARN_CALL gfx_RVP(double index, int wantDerivative, double* derivative);

/* Power-law index a*((c + x)*d)^b. Returns 0 when (c + x)*d is 0 and 1e30
 * when it is negative (no derivative written in either case). The derivative
 * is written whenever wantDerivative is non-zero. */
TARN_API double TARN_CALL gfx_PowerIndexForward(double a, double b, double c, double d, double x,
                                                int wantDerivative, double* derivative);

/* Inverse of gfx_PowerIndexForward: the x whose index is y. Returns 1e30 when
 * a, b or d is 0 or y/a is negative; 0 (derivative 0) when y is 0. */
TARN_API double TARN_CALL gfx_PowerIndexReverse(double a, double b, double c, double d, double y,
                                                int wantDerivative, double* derivative);

/* Specific gravity (60/60 F) -> API gravity 141.5/spg - 131.5. */
TARN_API double TARN_CALL gfx_APIfromSPG(double spg, int wantDerivative, double* derivative);

/* API gravity -> specific gravity 141.5/(api + 131.5). */
TARN_API double TARN_CALL gfx_SPGfromAPI(double api, int wantDerivative, double* derivative);

TARN_EXTERN_C_END

#endif /* TARN_PROPS_H */
