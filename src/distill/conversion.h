// D86 <-> TBP conversion methods: the method-number table and the pieces the
// individual methods share.
#pragma once

#include "distill/curve.h"

namespace tarn::distill {

// A conversion of one seven-point curve: (unit byte, input, output) -> 0, or
// 1 when the input is rejected (output untouched).
using ConversionRoutine = int (*)(char unit, const double* in, double* out);

struct ConversionMethod {
  ConversionRoutine forward;  // D86 -> TBP
  ConversionRoutine reverse;  // TBP -> D86
};

// The method of a method number: 0 HC94, 1 THREEA11, 2 SIXORDER, 3 ETHYLS,
// 4 none (copies both ways), 5 ETHYLS forward with its exact inverse. Null
// for any other number. Every caller that turns a method number into
// routines goes through this one table.
const ConversionMethod* conversionMethod(int method);

// The method-4 routine: copies the seven points, status 0.
int copyCurve(char unit, const double* in, double* out);

// A root of c[0] + c[1] x + ... + c[n] x^n near x0, by Newton steps that use
// the secant from the origin, s(x) = c[1] + c[2] x + ... + c[n] x^(n-1), as
// the slope (0.01 where it is 0). Stops when a step of at most 0.001 is no
// smaller than the one before (the first is compared with 0), when a step is
// at most 1e-6, or after 20 further steps; returns the last iterate. Returns
// 1e30 for missing coefficients, n < 1 or an iterate that is not finite.
double SolvePolynomialNewton(const double* c, int n, double x0);

// Status of a conversion's common checks.
enum class Preparation {
  Rejected,  // input out of order: status 1
  Pure,      // FBP - IBP below DPure: the output is a copy of the input
  Convert,   // go on with the points in degrees F
};

// Order check (non-decreasing, or strictly increasing when `strict`), then
// the pure-component test in the caller's unit, then the points in degrees F
// into fahrenheit[7].
Preparation prepareConversion(char unit, const double* in, bool strict, double* fahrenheit);

// The minimum gap of the forward methods, in degrees F: a point closer than
// `gap` to its neighbour is moved away from the 50 % side, each only when
// the point being moved is above 0: IBP down from T10, then T30 up from T10,
// T50 from T30, ... FBP from T90, each from its already adjusted neighbour.
void enforceMinimumGap(double* fahrenheit, double gap);

// Writes seven points computed in degrees F to out in the caller's unit.
void storeInUnit(const double* fahrenheit, char unit, double* out);

// Runs one conversion of a seven-point curve: status 1 without an output or
// for a rejected input, a copy of a pure component, otherwise
// convert(fahrenheit, result) on the points in degrees F, with the result
// written to out in the caller's unit; status 0.
template <class Convert>
int runConversion(char unit, const double* in, double* out, bool strict, Convert&& convert) {
  double fahrenheit[kCurvePoints];
  if (out == nullptr) return 1;
  switch (prepareConversion(unit, in, strict, fahrenheit)) {
    case Preparation::Rejected:
      return 1;
    case Preparation::Pure:
      return copyCurve(unit, in, out);
    case Preparation::Convert:
      break;
  }
  double result[kCurvePoints];
  convert(fahrenheit, result);
  storeInUnit(result, unit, out);
  return 0;
}

// The six segments of a seven-point curve in the order the segment methods
// build them, outward from the 50 % point: 30->50, 10->30, IBP->10, 50->70,
// 70->90, 90->FBP. `inner` is the point already known, `outer` the one the
// segment places.
struct Segment {
  int inner;
  int outer;
  bool upward() const { return outer > inner; }
};
inline constexpr Segment kSegments[6] = {{3, 2}, {2, 1}, {1, 0}, {3, 4}, {4, 5}, {5, 6}};
inline constexpr int kSegmentIbpTo10 = 2;
inline constexpr int kSegment90ToFbp = 5;

// Segment difference, upper point minus lower point.
inline double segmentDifference(const double* curve, const Segment& s) {
  return s.upward() ? curve[s.outer] - curve[s.inner] : curve[s.inner] - curve[s.outer];
}

// Places the outer point of a segment from its inner point and a difference.
inline void placeOuterPoint(double* curve, const Segment& s, double difference) {
  curve[s.outer] = s.upward() ? curve[s.inner] + difference : curve[s.inner] - difference;
}

}  // namespace tarn::distill
