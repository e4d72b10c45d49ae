// The two polynomial D86 <-> TBP methods: SIXORDER (sextic fits) and ETHYLS
// (quartic fits with a constant, for ethanol blends), each with a separate
// reverse fit and an exact numerical inverse of its forward fit.
//
// The parameter block holds the published magnitudes of the coefficients;
// the signs of the terms belong to the fitted models and live here, one
// table per fit. A 50 % row maps the 50 % temperature x to the other curve's
// 50 % point; a segment row maps the segment difference (upper point minus
// lower point) of one curve to that of the other.
#include <algorithm>
#include <cmath>

#include "common/missing.h"
#include "distill/conversion.h"
#include "distill/curve.h"
#include "tarn/distill.h"

namespace tarn::distill {
namespace {

// ETHYLS forward: 50 % row TBP50 = D50 + sum, then the segments.
constexpr int kEthylsForwardSigns[7][5] = {
    {-1, -1, +1, -1, +1},  // 50 %
    {+1, +1, -1, +1, -1},  // 30 -> 50
    {+1, +1, -1, +1, -1},  // 10 -> 30
    {+1, +1, -1, +1, -1},  // IBP -> 10
    {+1, +1, -1, +1, -1},  // 50 -> 70
    {-1, +1, -1, +1, -1},  // 70 -> 90
    {+1, +1, -1, -1, +1},  // 90 -> FBP
};

// ETHYLS reverse fit: 50 % row D50 = T50 + sum.
constexpr int kEthylsReverseSigns[7][5] = {
    {+1, +1, -1, +1, -1},  // 50 %
    {+1, +1, +1, -1, -1},  // 30 -> 50
    {+1, +1, +1, -1, -1},  // 10 -> 30
    {-1, +1, +1, -1, +1},  // IBP -> 10
    {+1, +1, +1, -1, -1},  // 50 -> 70
    {+1, +1, +1, -1, +1},  // 70 -> 90
    {+1, +1, +1, -1, +1},  // 90 -> FBP
};

// SIXORDER forward: TBP50 = D50 + sum; segments without a constant. The
// 90 -> FBP segment's pattern differs from the others (intended).
constexpr int kSixOrderForward50Signs[7] = {-1, +1, -1, +1, -1, +1, -1};
constexpr int kSixOrderForwardSegmentSigns[6][6] = {
    {+1, -1, +1, -1, +1, -1},  // 30 -> 50
    {+1, -1, +1, -1, +1, -1},  // 10 -> 30
    {+1, -1, +1, -1, +1, -1},  // IBP -> 10
    {+1, -1, +1, -1, +1, -1},  // 50 -> 70
    {+1, -1, +1, -1, +1, -1},  // 70 -> 90
    {+1, +1, -1, +1, -1, +1},  // 90 -> FBP
};

// SIXORDER reverse fit: D50 = sum alone (no identity term); segments of
// degree 7 without a constant. The irregular patterns are the fitted model.
constexpr int kSixOrderReverseSigns[7][7] = {
    {+1, +1, +1, -1, +1, -1, +1},  // 50 %
    {+1, +1, -1, +1, -1, +1, -1},  // 30 -> 50
    {+1, +1, -1, +1, -1, +1, -1},  // 10 -> 30
    {+1, +1, -1, +1, -1, -1, +1},  // IBP -> 10
    {+1, +1, -1, +1, -1, +1, -1},  // 50 -> 70
    {+1, +1, +1, -1, +1, -1, +1},  // 70 -> 90
    {+1, +1, -1, -1, +1, -1, +1},  // 90 -> FBP
};

// One fitted polynomial: sum over n of sign[n] magnitude[n] x^(firstPower + n).
struct SignedPolynomial {
  const double* magnitude;
  const int* sign;
  int terms;
  int firstPower;  // 0 with a constant term, 1 without
  bool identity;   // the fit adds x itself (x + sum)

  double operator()(double x) const {
    double power = firstPower == 0 ? 1.0 : x;
    double sum = identity ? x : 0.0;
    for (int n = 0; n < terms; ++n) {
      sum += sign[n] * magnitude[n] * power;
      power *= x;
    }
    return sum;
  }

  int degree() const { return firstPower + terms - 1; }

  // Coefficients c[0..degree] of p(x) - target.
  void shiftedCoefficients(double target, double* c) const {
    std::fill(c, c + degree() + 1, 0.0);
    for (int n = 0; n < terms; ++n) c[firstPower + n] = sign[n] * magnitude[n];
    if (identity) c[1] += 1.0;
    c[0] -= target;
  }
};

constexpr int kMaxDegree = 7;

// The caps of a forward fit on its end segments.
double cappedDifference(int segment, double difference, double ibpCap, double fbpCap) {
  if (segment == kSegmentIbpTo10) return std::fmin(ibpCap, difference);
  if (segment == kSegment90ToFbp) return std::fmin(fbpCap, difference);
  return difference;
}

// The curve another curve maps to under a forward or reverse fit: the 50 %
// point from its row, then each segment outwards.
struct Fit {
  SignedPolynomial point50;
  SignedPolynomial segments[6];
};

Fit ethylsForwardFit() {
  const EthylsForwardParams& p = params().ethylsForward;
  Fit fit{{p.row[0], kEthylsForwardSigns[0], 5, 0, true}, {}};
  for (int s = 0; s < 6; ++s) {
    fit.segments[s] = {p.row[s + 1], kEthylsForwardSigns[s + 1], 5, 0, false};
  }
  return fit;
}

Fit ethylsReverseFit() {
  const EthylsReverseParams& p = params().ethylsReverse;
  Fit fit{{p.row[0], kEthylsReverseSigns[0], 5, 0, true}, {}};
  for (int s = 0; s < 6; ++s) {
    fit.segments[s] = {p.row[s + 1], kEthylsReverseSigns[s + 1], 5, 0, false};
  }
  return fit;
}

Fit sixOrderForwardFit() {
  const SixOrderForwardParams& p = params().sixOrderForward;
  Fit fit{{p.point50, kSixOrderForward50Signs, 7, 0, true}, {}};
  for (int s = 0; s < 6; ++s) {
    fit.segments[s] = {p.segment[s], kSixOrderForwardSegmentSigns[s], 6, 1, false};
  }
  return fit;
}

Fit sixOrderReverseFit() {
  const SixOrderReverseParams& p = params().sixOrderReverse;
  Fit fit{{p.row[0], kSixOrderReverseSigns[0], 7, 0, false}, {}};
  for (int s = 0; s < 6; ++s) {
    fit.segments[s] = {p.row[s + 1], kSixOrderReverseSigns[s + 1], 7, 1, false};
  }
  return fit;
}

// Forward conversion D86 -> TBP with a polynomial fit, its caps and gap.
// `zeroOnFlatSegment`: a segment whose D86 difference is exactly 0 puts its
// outer TBP point at 0 instead of evaluating the fit (ETHYLS; intended, the
// constant terms would otherwise still act), and later points build on it.
int convertForward(char unit, const double* d86, double* tbp, const Fit& fit, double gap, double ibpCap, double fbpCap,
                   bool zeroOnFlatSegment) {
  return runConversion(unit, d86, tbp, /*strict=*/false, [&](double* t, double* out) {
    enforceMinimumGap(t, gap);
    out[kT50] = t[kT50] == 0.0 ? 0.0 : fit.point50(t[kT50]);
    for (int s = 0; s < 6; ++s) {
      const Segment& seg = kSegments[s];
      const double difference = segmentDifference(t, seg);
      if (zeroOnFlatSegment && difference == 0.0) {
        out[seg.outer] = 0.0;
        continue;
      }
      placeOuterPoint(out, seg, fit.segments[s](cappedDifference(s, difference, ibpCap, fbpCap)));
    }
  });
}

// Reverse conversion TBP -> D86 with a separate reverse fit (no caps, no gap).
int convertWithReverseFit(char unit, const double* tbp, double* d86, const Fit& fit) {
  return runConversion(unit, tbp, d86, /*strict=*/true, [&](double* t, double* out) {
    out[kT50] = fit.point50(t[kT50]);
    for (int s = 0; s < 6; ++s) {
      const Segment& seg = kSegments[s];
      placeOuterPoint(out, seg, fit.segments[s](segmentDifference(t, seg)));
    }
  });
}

// Exact inverse of a forward fit: solves the forward polynomials for the D86
// values from the 50 % point outwards, each seeded with the TBP value. A TBP
// point of exactly 0 gives a D86 point of 0; where the solver fails the D86
// point takes the TBP value.
int invertForwardFit(char unit, const double* tbp, double* d86, const Fit& fit) {
  return runConversion(unit, tbp, d86, /*strict=*/true, [&](double* t, double* out) {
    double c[kMaxDegree + 1];
    if (t[kT50] == 0.0) {
      out[kT50] = 0.0;
    } else {
      fit.point50.shiftedCoefficients(t[kT50], c);
      const double root = SolvePolynomialNewton(c, fit.point50.degree(), t[kT50]);
      out[kT50] = isMissing(root) ? t[kT50] : root;
    }
    for (int s = 0; s < 6; ++s) {
      const Segment& seg = kSegments[s];
      if (t[seg.outer] == 0.0) {
        out[seg.outer] = 0.0;
        continue;
      }
      const double difference = segmentDifference(t, seg);
      fit.segments[s].shiftedCoefficients(difference, c);
      const double root = SolvePolynomialNewton(c, fit.segments[s].degree(), difference);
      if (isMissing(root)) {
        out[seg.outer] = t[seg.outer];
      } else {
        placeOuterPoint(out, seg, root);
      }
    }
  });
}

}  // namespace
}  // namespace tarn::distill

namespace distill = tarn::distill;

extern "C" TARN_API int TARN_CALL gfx_SIXORDERF(char unit, const double* d86, double* tbp) {
  const tarn::SixOrderForwardParams& p = tarn::params().sixOrderForward;
  return distill::convertForward(unit, d86, tbp, distill::sixOrderForwardFit(), p.gap, p.ibpCap, p.fbpCap,
                                 /*zeroOnFlatSegment=*/false);
}

extern "C" TARN_API int TARN_CALL gfx_SIXORDERR(char unit, const double* tbp, double* d86) {
  return distill::convertWithReverseFit(unit, tbp, d86, distill::sixOrderReverseFit());
}

extern "C" TARN_API int TARN_CALL gfx_SIXORDERR_REV(char unit, const double* tbp, double* d86) {
  return distill::invertForwardFit(unit, tbp, d86, distill::sixOrderForwardFit());
}

extern "C" TARN_API int TARN_CALL gfx_ETHYLSF(char unit, const double* d86, double* tbp) {
  const tarn::EthylsForwardParams& p = tarn::params().ethylsForward;
  return distill::convertForward(unit, d86, tbp, distill::ethylsForwardFit(), p.gap, p.ibpCap, p.fbpCap,
                                 /*zeroOnFlatSegment=*/true);
}

extern "C" TARN_API int TARN_CALL gfx_ETHYLSR(char unit, const double* tbp, double* d86) {
  return distill::convertWithReverseFit(unit, tbp, d86, distill::ethylsReverseFit());
}

extern "C" TARN_API int TARN_CALL gfx_ETHYLSR_REV(char unit, const double* tbp, double* d86) {
  return distill::invertForwardFit(unit, tbp, d86, distill::ethylsForwardFit());
}
