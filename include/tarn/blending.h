/* TARN: blending rules for mixtures — linear blending by volume and by mass,
 * the MTMF octane correction and its MTMR reverse, the Chesapeak transform of
 * a seven-point D86 curve, interaction blending, Healy octane blending and
 * freeze point blending.
 *
 * Conventions: a result of 1e30 means undefined. Derivative arrays are
 * written only when the request flag says so and the pointer is not null;
 * each function states its own layout. Arrays of n components must hold n
 * entries. Temperatures take a unit byte: 'C' for degrees Celsius, anything
 * else degrees Fahrenheit.
 *
 * The reverse Chesapeak transform (gfx_ChesapeakR) and the MTM blending
 * routines gfx_MTM and gfx_MTM2 are not provided by this library.
 */
#ifndef TARN_BLENDING_H
#define TARN_BLENDING_H

#include "tarn/export.h"

TARN_EXTERN_C_BEGIN

/* ---- Linear blending ----------------------------------------------------- */

/* Volume-weighted mean sum(v*value)/sum(v). A zero total volume is not
 * caught: the division gives an infinity or NaN. Returns 1e30 when an array
 * is null. */
TARN_API double TARN_CALL gfx_LinearByVolume(const double* volumes, int n, const double* values);

/* Mass-weighted mean with mass = volume*gravity. Returns 1e30 when the total
 * mass is not positive (n <= 0 included) or an array is null. */
TARN_API double TARN_CALL gfx_LinearByMass(const double* volumes, int n, const double* gravities, const double* values);

/* ---- MTM octane correction ------------------------------------------------ */

/* Corrects the blend qualities q[0], q[1] (research and motor octane) for a
 * percent of olefins a and b percent of aromatics into out[0], out[1], with
 * the MTM coefficients of the parameter block. With derivFlag set writes
 * d[0..7] = d out0/d q0, d out1/d q0, d out0/d a, d out1/d a, d out0/d b,
 * d out1/d b, d out0/d q1, d out1/d q1. When a + b exceeds 100 the
 * percents are renormalised, and the derivatives are those of the formula
 * for a + b <= 100 taken at the renormalised values. q and out must hold two
 * doubles. Returns 0; there is no failure. */
TARN_API int TARN_CALL gfx_MTMF(const double* q, double a, double b, double* out, int derivFlag, double* d);

/* Reverse of gfx_MTMF: blending values t[0], t[1] (TRON, TMON) with a percent
 * olefins and b percent aromatics back to research and motor octane out[0],
 * out[1]. With derivFlag set writes s[0..7] = d out0/d t0, d out1/d t0,
 * d out0/d a, d out1/d a, d out0/d b, d out1/d b, d out0/d t1, d out1/d t1;
 * they ignore the renormalisation of a + b > 100 and the floor of the
 * sensitivity at 0. t and out must hold two doubles. Returns 0; there is no
 * failure. */
TARN_API int TARN_CALL gfx_MTMR(const double* t, double a, double b, double* out, int derivFlag, double* s);

/* ---- Chesapeak curve transform -------------------------------------------- */

/* Point-by-point linear transform of a seven-point D86 curve (IBP, 10, 30,
 * 50, 70, 90, FBP) into out[0..6], in the unit of the unit byte. The second
 * argument is not used. Returns 0, or 1 with out untouched when the curve
 * decreases somewhere or a pointer is null. */
TARN_API int TARN_CALL gfx_ChesapeakF(char unit, int unused, const double* curve, double* out);

/* ---- Interaction blending ------------------------------------------------- */

/* Blends one property of n components: sum(x_i*p_i) plus, for every pair
 * i < j, x_i*I[i*n + j]*x_j (I is an n x n row-major matrix). With derivMode
 * non-zero writes d[2i] = d/d x_i and d[2i + 1] = d/d p_i; these read the
 * matrix with row stride n + 1 and so match the value only when all
 * interactions sit in row 0. derivMode 1 gives the fraction derivatives for
 * fractions renormalised to sum to one. Returns 0 for n <= 0 and 1e30 when
 * an array is null. */
TARN_API double TARN_CALL gfx_Interactive(int derivMode, const double* x, int n, const double* I, const double* p,
                                          double* d);

/* ---- Healy octane blending ------------------------------------------------ */

/* Blends research and motor octane of n components by the Healy method into
 * out[0] (RON) and out[1] (MON). Fractions x whose sum lies outside
 * (0.999, 1.001) are divided by their sum in the caller's array. With
 * derivMode 1 or 2 writes ten derivatives per component at d[10i + k]:
 * k = 0, 1 RON, MON per x_i (fractions kept normalised); 2, 3 per ron_i;
 * 4, 5 per mon_i; 6, 7 per olefins_i; 8, 9 per aromatics_i. Returns 0, or 2
 * with nothing written when the fractions cannot be used (sum not positive
 * or not finite, sum outside the window while ChangeData is on, n <= 0) or
 * an array is null. */
TARN_API int TARN_CALL gfx_Healy(int derivMode, double* x, int n, const double* ron, const double* mon,
                                 const double* ole, const double* aro, double* out, double* d);

/* ---- Freeze point blending ------------------------------------------------ */

/* Blend freeze point of the components with x_i > 0: the lowest freeze point
 * moved towards the highest by the cube root of that component's fraction,
 * in the unit of the unit byte. With derivFlag set writes d[2i] = d/d x_i
 * and d[2i + 1] = d/d T_i. Returns 1e30 (derivatives 0) when no component
 * is present or an array is null. */
TARN_API double TARN_CALL gfx_Freeze(int derivFlag, char unit, const double* x, int n, const double* T, double* d);

TARN_EXTERN_C_END

#endif /* TARN_BLENDING_H */
