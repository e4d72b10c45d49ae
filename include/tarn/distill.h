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
TARN_API double TARN_CALL gfx_Extrapolate(double x0, double x1, double y0, double y1,
                                          double lower, double upper, double x);

/* Reads a seven-point curve: mode 1 gives the percent evaporated at the
 * temperature value (extended beyond the ends and held in [0, 100]); any other
 * mode gives the temperature at the percent value (held at IBP and FBP).
 * Returns 1e30 unless the curve is strictly increasing. */
TARN_API double TARN_CALL gfx_DistillCurve(const double* curve, int mode, double value);

/* Seven-point curve of the volume blend of n curves (n x 7 temperatures,
 * n fractions) by bisection on the blended percent evaporated. Returns 0, or
 * 1 (out untouched) when the positive fractions do not sum to within
 * (0.999, 1.001) or an array is null. */
TARN_API int TARN_CALL gfx_FindPoints(int n, const double* curves, const double* fractions,
                                      double* out);

/* As gfx_FindPoints, with the fractions taken as they are (no sum check, no
 * normalisation). Returns 0 (also, writing nothing, when an array is null). */
TARN_API int TARN_CALL gfx_FindPoints2(int n, const double* curves, const double* fractions,
                                       double* out);

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
TARN_API void TARN_CALL gfx_D86Contract7Pt(int n, double* curve, double* derivs,
                                           double* outCurve, double* outDerivs);

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

TARN_EXTERN_C_END

#endif /* TARN_DISTILL_H */
