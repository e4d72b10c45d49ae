/* TARN: the distillation curve engine — curve interpolation and the point
 * sets, conversions between D86 and true-boiling-point (TBP) curves, blending
 * of D86 curves, percent-off conversions and distillation-derived indices.
 *
 * Conventions:
 * - A seven-point curve is 7 temperatures at IBP, 10, 30, 50, 70, 90 % and FBP
 *   evaporated (the percentages of the process-wide grid: its ends are the
 *   GENERICD86 settings MnVolIBP and MxVolFBP). A five-point curve is IBP, 10,
 *   50, 90, FBP. A percent-off vector is the percent evaporated at the ten
 *   D86FROMPERCENTOFF temperature points. A missing point is 1e30.
 * - Temperatures take a unit byte: 'C' for degrees Celsius, anything else
 *   degrees Fahrenheit. The correlations compute in degrees Fahrenheit.
 * - Conversion method numbers: 0 HC94, 1 THREEA11, 2 SIXORDER, 3 ETHYLS,
 *   4 none (the curve itself), 5 ETHYLS with the exact inverse.
 * - Derivative arrays are input-major: entry (input j, output k) at
 *   j * outputCount + k.
 * - With the TARN ChangeData switch on, out-of-order or out-of-range input is
 *   repaired (in the caller's array where the argument is a pointer) instead
 *   of rejected.
 */
#ifndef TARN_DISTILL_H
#define TARN_DISTILL_H

#include "tarn/export.h"

TARN_EXTERN_C_BEGIN

/* ---- Interpolation and point sets --------------------------------------- */

/* y at x on the line through (x0, y0) and (x1, y1). When x0 == x1 the line is
 * a step: y0 for x below x0, y1 at or above it. */
TARN_API double TARN_CALL gfx_Interpolate(double x0, double x1, double y0, double y1, double x);

/* The same line held inside [lower, upper]. x0 == x1 is not guarded (the
 * result is then the bound the infinite slope points to, or NaN). */
TARN_API double TARN_CALL gfx_Extrapolate(double x0, double x1, double y0, double y1, double lower, double upper,
                                          double x);

/* Reads a seven-point curve: mode 1 gives the percent evaporated at the
 * temperature value (extended beyond the ends and held in [0, 100]); any other
 * mode gives the temperature at the percent value (held at IBP and FBP).
 * Returns 1e30 unless the curve is strictly increasing. */
TARN_API double TARN_CALL gfx_DistillCurve(const double* curve, int mode, double value);

/* Seven-point curve of the volume blend of n curves (n x 7 temperatures,
 * n fractions) by bisection on the blended percent evaporated. Returns 0, or
 * 1 (out untouched) when the positive fractions do not sum to within
 * (0.999, 1.001) or an array is null. */
TARN_API int TARN_CALL gfx_FindPoints(int n, const double* curves, const double* fractions, double* out);

/* As gfx_FindPoints, with the fractions taken as they are (no sum check, no
 * normalisation). Returns 0 (also, writing nothing, when an array is null). */
TARN_API int TARN_CALL gfx_FindPoints2(int n, const double* curves, const double* fractions, double* out);

/* Estimates the 30 % and 70 % points of a five-point curve (IBP, 10, 50, 90,
 * FBP) from a log-linear curve model through three known points; an estimate
 * outside its neighbours becomes their mean. Returns 0. */
TARN_API int TARN_CALL gfx_TBPLogInterpolate(const double* curve5, double* out30, double* out70);

/* Fills a missing (above 1e29) 30 % or 70 % point of a seven-point curve in
 * place with the same estimate. Returns 0. */
TARN_API int TARN_CALL gfx_TBPLogInterpolate2(double* curve);

/* Seven-point -> five-point layout: the curve (if given) to outCurve, or
 * compacted in place when outCurve is null; the n derivative blocks of 8 x 7
 * (fraction row, then one row per point) to n blocks of 6 x 5 in outDerivs,
 * or compacted in place when outDerivs is null. */
TARN_API void TARN_CALL gfx_D86Contract7Pt(int n, double* curve, double* derivs, double* outCurve, double* outDerivs);

/* Five-point -> seven-point layout of n curves, the 30 % and 70 % points set
 * to 1e30; written to out, or widened in place when out is null (curves must
 * then have room for n x 7). n <= 0 does nothing. */
TARN_API void TARN_CALL gfx_D86Expand5Pt(int n, double* curves, double* out);

/* ---- D86 <-> TBP conversion methods ------------------------------------- */
/* Each converts a seven-point curve and returns 0, or 1 when the input is out
 * of order (output untouched). Forward routines (suffix F) and gfx_THREEA11R
 * accept a non-decreasing curve, the other reverse routines only a strictly
 * increasing one. A curve whose FBP - IBP is below the GENERICD86 setting
 * DPure is a pure component and is copied unchanged. */

/* D86 -> TBP, power-law segment differences anchored at 50 % (HC94). */
TARN_API int TARN_CALL gfx_HC94F(char unit, const double* d86, double* tbp);
/* TBP -> D86, exact inverse of gfx_HC94F without its caps. */
TARN_API int TARN_CALL gfx_HC94R(char unit, const double* tbp, double* d86);
/* D86 -> TBP, point by point on absolute temperatures (THREEA11). */
TARN_API int TARN_CALL gfx_THREEA11F(char unit, const double* d86, double* tbp);
/* TBP -> D86, exact inverse of gfx_THREEA11F. */
TARN_API int TARN_CALL gfx_THREEA11R(char unit, const double* tbp, double* d86);
/* D86 -> TBP, sixth-degree polynomials (SIXORDER). */
TARN_API int TARN_CALL gfx_SIXORDERF(char unit, const double* d86, double* tbp);
/* TBP -> D86, the separate seventh-degree reverse fit of SIXORDER. */
TARN_API int TARN_CALL gfx_SIXORDERR(char unit, const double* tbp, double* d86);
/* TBP -> D86, numerical inverse of gfx_SIXORDERF (caps not inverted). */
TARN_API int TARN_CALL gfx_SIXORDERR_REV(char unit, const double* tbp, double* d86);
/* D86 -> TBP, quartic polynomials for ethanol blends (ETHYLS). */
TARN_API int TARN_CALL gfx_ETHYLSF(char unit, const double* d86, double* tbp);
/* TBP -> D86, the separate quartic reverse fit of ETHYLS. */
TARN_API int TARN_CALL gfx_ETHYLSR(char unit, const double* tbp, double* d86);
/* TBP -> D86, numerical inverse of gfx_ETHYLSF (caps not inverted). */
TARN_API int TARN_CALL gfx_ETHYLSR_REV(char unit, const double* tbp, double* d86);

/* ---- D86 blending and percent-off conversions --------------------------- */
/* Each converts on the TBP basis with a method number (see above). With
 * ChangeData on, the caller's curve or percent-off vector is repaired in
 * place first; a missing 30 % or 70 % point of a seven-point curve is filled
 * in place (gfx_TBPLogInterpolate2). Finite-difference derivatives go to the
 * caller's array, one row of outputs per input. */

/* Blend of n D86 curves (curves n x 7, fractions n summing to 1) into out (7),
 * held inside the lowest IBP and highest FBP of the components whose fraction
 * is at least MinVol. With derivFlag set (and derivs given), derivs holds per
 * component 8 rows of 7: the fraction, then each of its seven points,
 * forward differences with step |x| DDelta (a fraction row whose step takes
 * the sum out of (0.999, 1.001) is 0, and so is a point row whose step lifts
 * the point above its upper neighbour, a flat stretch). The rows keep the IBP and FBP limits
 * of the unperturbed curves: raising the FBP that holds the blend's FBP gives
 * 0 in that entry, not 1. Returns
 * 0; 1 for n < 1, a null array, an out-of-order curve (ChangeData off), a
 * method above 5 or below 0, fractions that do not sum to 1, or a blended TBP
 * curve the reverse method rejects; with derivatives, the status of the last
 * perturbed conversion. */
TARN_API int TARN_CALL gfx_D86(int n, const double* fractions, double* curves, double* out, double* derivs, int method,
                               int derivFlag, char unit);

/* D86 curve (7) -> percent evaporated at the ten D86FROMPERCENTOFF
 * temperatures (10). Derivatives (7 x 10) are written whenever derivs is
 * given, whatever derivFlag. Returns 0, 2 for a method outside 0..5, 1 for a
 * null array. A curve the forward method rejects is mapped as it is. */
TARN_API int TARN_CALL gfx_D86toPercentOff(int method, double* curve, double* percentOff, char unit, int derivFlag,
                                           double* derivs);

/* Percent-off vector (10) -> D86 curve (7). A method number outside 0..5
 * maps the TBP curve unchanged, like 4. Derivatives (10 x 7) when derivFlag is
 * set and derivs given. Returns the reverse method's status (1 for a TBP
 * curve out of order, or a null array); with derivatives, that of the last
 * perturbed conversion. */
TARN_API int TARN_CALL gfx_D86FromPercentOff(int method, int derivFlag, double* percentOff, double* curve, char unit,
                                             double* derivs);

/* As gfx_D86toPercentOff on the ND86FROMPERCENTOFF point sets: a curve of
 * NTEMP points at the T1.. percentages -> NPOFF percents at the P1..
 * temperatures. With ChangeData on, negative points also become 0.
 * Derivatives (NTEMP x NPOFF) only when derivFlag is set and derivs given.
 * Returns -999 when a count is not in 1..13 (NTEMP) or 1..25 (NPOFF), 2 for a
 * method outside 0..5 or a conversion method (other than 4) with NTEMP not 7,
 * 1 for a null array, else 0. */
TARN_API int TARN_CALL gfx_ND86toPercentOff(int method, double* curve, double* percentOff, char unit, int derivFlag,
                                            double* derivs);

/* As gfx_D86FromPercentOff on the ND86FROMPERCENTOFF point sets (NPOFF
 * percents -> NTEMP points; the first percent is read as 0 and the last as
 * 100). Derivatives NPOFF x NTEMP. Returns -999 for a count out of range, 1
 * for a null array or a conversion method (other than 4) with NTEMP not 7,
 * else the reverse method's status. */
TARN_API int TARN_CALL gfx_ND86FromPercentOff(int method, int derivFlag, double* percentOff, double* curve, char unit,
                                              double* derivs);

/* ---- Distillation-derived indices -------------------------------------- */
/* Temperatures in the unit byte's unit; results of 1e30 are undefined. */

/* The T10 (which 0), T50 (1) or T90 (2) blending index of the points T10, T50,
 * T90. When derivs is given it receives forward differences with respect to
 * the three points (0 where the index or its perturbation is undefined).
 * Returns 1.0 for any other which, writing no derivatives. */
TARN_API double TARN_CALL gfx_D86BV1(int which, char unit, double t10, double t50, double t90, double* derivs);

/* T10 blending index; 1e30 unless t10 <= t50 <= t90, or when the T10INDEX
 * divisor P2 is 0; 1.0 when the index base is 0. */
TARN_API double TARN_CALL gfx_T10Index(char unit, double t10, double t50, double t90);
/* T50 blending index; out-of-order points give 1e30, or with ChangeData on
 * are pushed up by 0.5 (T50 first, then T90). 1e30 when the T10INDEX divisor
 * is 0 or the index base is 0. */
TARN_API double TARN_CALL gfx_T50Index(char unit, double t10, double t50, double t90);
/* T90 blending index; the rules of gfx_T50Index. */
TARN_API double TARN_CALL gfx_T90Index(char unit, double t10, double t50, double t90);

/* 10 % point -> exponential blending index exp((250 - T[F]) 0.01535). */
TARN_API double TARN_CALL gfx_D86one10Index(char unit, double t10, int derivFlag, double* derivative);
/* 90 % point -> exponential blending index exp((T[F] - 185) 0.030701). */
TARN_API double TARN_CALL gfx_D86one90Index(char unit, double t90, int derivFlag, double* derivative);
/* Inverse of gfx_D86one10Index. An index <= 0 gives 1e30, or with ChangeData
 * on is read as 0.0001; 1e30 also when the slope setting is 0. */
TARN_API double TARN_CALL gfx_D86one10Blend(char unit, double index, int derivFlag, double* derivative);
/* 90 % point from its index, 32.5719 ln(index) + 185 F (its own fit, not the
 * exact inverse of gfx_D86one90Index). Index rule of gfx_D86one10Blend. */
TARN_API double TARN_CALL gfx_D86one90Blend(char unit, double index, int derivFlag, double* derivative);

/* 20 % point between the 10 % and 30 % points on the normal-probability
 * scale (T20GAUSSIAN ratio). Derivatives (2) when asked. */
TARN_API double TARN_CALL gfx_T20Gaussian(double t10, double t30, int derivFlag, double* derivs);

/* Temperature for a vapour/liquid ratio of 20 (ASTM D4814):
 * 114.6 - 4.1 RVP + 0.2 T10 + 0.17 T50 in F (TVL20 P1..P4). Derivatives (3)
 * when asked; for 'C' only the RVP derivative is divided by 1.8. */
TARN_API double TARN_CALL gfx_TVL(int derivFlag, char unit, double rvp, double t10, double t50, double* derivs);

/* Temperature for a vapour/liquid ratio of 20 from RVP, T10, T20, T50. An RVP
 * <= 1.4 or T10 > T20 or T20 > T50 gives 1e30, or with ChangeData on the RVP
 * becomes 1.5 and T20, then T50, are pushed up to 0.5 above the point below.
 * The value is the ASTM D4814 equation of gfx_TVL (T20 only takes part in the
 * checks; its derivative is 0). The 29 TVL2 coefficients of the parameter
 * block are kept for a future four-point method and are not used yet.
 * Derivatives (4) when asked. */
TARN_API double TARN_CALL gfx_TVL2(int derivFlag, char unit, double rvp, double t10, double t20, double t50,
                                   double* derivs);

/* Vapour lock index 10 VP[kPa] + 7 E70 (EN 228), from the vapour pressure in
 * psi (pressure unit byte 'P') or kPa (any other byte) and the percent
 * evaporated at 70 C. Derivatives (2) when asked. */
TARN_API double TARN_CALL gfx_VaporLockIndex(int derivFlag, char pressureUnit, double vapourPressure, double e70,
                                             double* derivs);

TARN_EXTERN_C_END

#endif /* TARN_DISTILL_H */
