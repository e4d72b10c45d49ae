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
TARN_API double TARN_CALL gfx_PowerIndexForward(double a, double b, double c, double d, double x, int wantDerivative,
                                                double* derivative);

/* Inverse of gfx_PowerIndexForward: the x whose index is y. Returns 1e30 when
 * a, b or d is 0 or y/a is negative; 0 (derivative 0) when y is 0. */
TARN_API double TARN_CALL gfx_PowerIndexReverse(double a, double b, double c, double d, double y, int wantDerivative,
                                                double* derivative);

/* Specific gravity (60/60 F) -> API gravity 141.5/spg - 131.5. */
TARN_API double TARN_CALL gfx_APIfromSPG(double spg, int wantDerivative, double* derivative);

/* API gravity -> specific gravity 141.5/(api + 131.5). */
TARN_API double TARN_CALL gfx_SPGfromAPI(double api, int wantDerivative, double* derivative);

/* ---- Cloud point, flash point, pour point, CFPP ------------------------- */
/* The temperature argument or result is in degrees C for unit 'C', else in
 * degrees F. The cloud and flash point indices are a*(R*d)^b with R the
 * temperature in Rankine: they return 0 at absolute zero and 1e30 below it. */

/* Cloud point -> cloud point blending index R^(1/0.55). For 'C' a requested
 * derivative is rescaled x1.8 in place even where none is computed. */
TARN_API double TARN_CALL gfx_CloudPointIndex1(char unit, double cloudPoint, int wantDerivative, double* derivative);

/* Cloud point blending index -> cloud point. Returns 1e30 (converted for 'C')
 * for a negative index and 0 F (-17.78 C) for index 0. */
TARN_API double TARN_CALL gfx_CloudPoint1(char unit, double index, int wantDerivative, double* derivative);

/* Cloud point -> index 1e-10*(0.01 R)^(1/0.06); fails as gfx_CloudPointIndex1. */
TARN_API double TARN_CALL gfx_CloudPointIndex3(char unit, double cloudPoint, int wantDerivative, double* derivative);

/* Index -> cloud point, the reverse of gfx_CloudPointIndex3; fails as gfx_CloudPoint1. */
TARN_API double TARN_CALL gfx_CloudPoint3(char unit, double index, int wantDerivative, double* derivative);

/* Flash point -> flash point blending index 1e5*R^(-1/0.6); fails as gfx_CloudPointIndex1. */
TARN_API double TARN_CALL gfx_FlashPointIndex1(char unit, double flashPoint, int wantDerivative, double* derivative);

/* Flash point blending index -> flash point; fails as gfx_CloudPoint1. */
TARN_API double TARN_CALL gfx_FlashPoint1(char unit, double index, int wantDerivative, double* derivative);

/* Pour point -> index exp(a ln(460 + T_F) + b). Returns 1e30 at or below
 * -460 F unless ChangeData is on (then evaluated just above it). */
TARN_API double TARN_CALL gfx_PourPointIndex1(char unit, double pourPoint, int wantDerivative, double* derivative);

/* Pour point index -> pour point, reverse of gfx_PourPointIndex1. Returns
 * 1e30 for an index <= 0 unless ChangeData is on (index 0.0001 used). */
TARN_API double TARN_CALL gfx_PourPoint1(char unit, double index, int wantDerivative, double* derivative);

/* Pour point -> index exp(k T_F + c). Returns 1e30 at or below 0 F unless
 * ChangeData is on (T_F = 0.0001 used). */
TARN_API double TARN_CALL gfx_PourPointIndex2(char unit, double pourPoint, int wantDerivative, double* derivative);

/* Pour point index -> pour point, reverse of gfx_PourPointIndex2; fails as
 * gfx_PourPoint1. Writes the derivative whenever the pointer is not null,
 * whatever the flag. */
TARN_API double TARN_CALL gfx_PourPoint2(char unit, double index, int wantDerivative, double* derivative);

/* Cold filter plugging point after a flow improver, P1*CFPP + P2*dose + P3 in
 * degrees F (result in the caller's unit). derivatives[2]: CFPP, dose. */
TARN_API double TARN_CALL gfx_CFPPImprover(int wantDerivatives, char unit, double cfpp, double dose,
                                           double* derivatives);

/* ---- Cetane --------------------------------------------------------------- */
/* Temperatures in degrees C for unit 'C', else degrees F; one derivative per
 * input, in argument order. Out-of-order T10 <= T50 <= T90 and non-positive
 * gravities or temperatures give 1e30 unless ChangeData is on (then repaired). */

/* Two-variable cetane index from specific gravity and mid-boiling point.
 * derivatives[2]. 1e30 for spg <= 0 or a mid-boiling point <= 0 F. */
TARN_API double TARN_CALL gfx_CetaneIndex2(int wantDerivatives, char unit, double spg, double midBoilingTemperature,
                                           double* derivatives);

/* Four-variable cetane index from density (g/mL at 15 C), T10, T50, T90.
 * derivatives[4]. 1e30 when the distillation points are out of order. */
TARN_API double TARN_CALL gfx_CetaneIndex4(int wantDerivatives, char unit, double density, double t10, double t50,
                                           double t90, double* derivatives);

/* Linear cetane index from density, T10, T50, T90. derivatives[4]. 1e30
 * when the distillation points are out of order. */
TARN_API double TARN_CALL gfx_CetaneIndex5(int wantDerivatives, char unit, double density, double t10, double t50,
                                           double t90, double* derivatives);

/* Cetane gain of an improver dose (CETANEIMPROVER group). derivatives[3]:
 * spg, temperature, dose. 1e30 when P2 or P4 is 0, when API/P2 or T/P4 is
 * negative (spg above 1.076, a missing spg), or when ChangeData is on and P7
 * is 0 with the logarithm's argument <= 0. */
TARN_API double TARN_CALL gfx_CetaneImprover(int wantDerivatives, char unit, double spg, double temperature,
                                             double dose, double* derivatives);

/* Base cetane plus the improver gain (CETANEIMPROVER2 group). derivatives[4]:
 * spg, temperature, dose, base cetane. Fails as gfx_CetaneImprover. */
TARN_API double TARN_CALL gfx_CetaneImprover2(int wantDerivatives, char unit, double spg, double temperature,
                                              double dose, double baseCetane, double* derivatives);

/* ---- Viscosity (cSt) ------------------------------------------------------ */

/* Viscosity -> log10(log10(v + 0.08)). 1e30 at or below v = 0.92 unless
 * ChangeData is on (then 0.9201 is used). */
TARN_API double TARN_CALL gfx_ViscosityIndex1(double viscosity, int wantDerivative, double* derivative);

/* Index -> viscosity 10^(10^index) - 0.08. Never fails. */
TARN_API double TARN_CALL gfx_Viscosity1(double index, int wantDerivative, double* derivative);

/* Viscosity -> log10(log10(v + 0.8)). 1e30 strictly below v = 0.2 unless
 * ChangeData is on; at 0.2 itself the result is -infinity. */
TARN_API double TARN_CALL gfx_ViscosityIndex2(double viscosity, int wantDerivative, double* derivative);

/* Index -> viscosity 10^(10^index) - 0.8. Never fails. */
TARN_API double TARN_CALL gfx_Viscosity2(double index, int wantDerivative, double* derivative);

/* Viscosity -> blending number A - B log10(log10(v + 0.8)). Fails as
 * gfx_ViscosityIndex2 (at v = 0.2 the result is +infinity). */
TARN_API double TARN_CALL gfx_ViscosityIndex3(double viscosity, int wantDerivative, double* derivative);

/* Viscosity blending number -> viscosity. Never fails. */
TARN_API double TARN_CALL gfx_Viscosity3(double index, int wantDerivative, double* derivative);

/* ---- Octane and drivability ---------------------------------------------- */

/* Octane number -> piecewise power-law octane blending index. Never fails. */
TARN_API double TARN_CALL gfx_OctaneIndex(double octane, int wantDerivative, double* derivative);

/* Average (a + b)/2 of two octane numbers; derivatives[2] = {0.5, 0.5}. */
TARN_API double TARN_CALL gfx_DON(int wantDerivatives, double a, double b, double* derivatives);

/* Drivability index P1*T10 + P2*T50 + T90 computed in degrees F; for 'C' the
 * result is converted back like a temperature. derivatives[3]. Never fails. */
TARN_API double TARN_CALL gfx_DriveabilityIndex(int wantDerivatives, char unit, double t10, double t50, double t90,
                                                double* derivatives);

/* Drivability index P1*T10 + P2*T50 + T90 + E*oxygenate (vol %) in the
 * caller's unit, E = EF per degree F or EF/1.8 per degree C. derivatives[3]
 * (none for the oxygenate). Never fails. */
TARN_API double TARN_CALL gfx_DriveabilityIndexE(int wantDerivatives, char unit, double t10, double t50, double t90,
                                                 double* derivatives, double oxygenate);

TARN_EXTERN_C_END

#endif /* TARN_PROPS_H */
