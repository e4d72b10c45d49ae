// Distillation-derived indices: the three-point T10/T50/T90 blending
// indices, the exponential 10 % and 90 % indices and their inverses, the
// Gaussian 20 % point, the temperature for a vapour/liquid ratio of 20 and
// the vapour lock index.
#include <cmath>

#include "common/missing.h"
#include "common/units.h"
#include "params/params.h"
#include "tarn/distill.h"

namespace tarn::distill {
namespace {

constexpr double kOrderPush = 0.5;         // caller's degrees
constexpr double kRepairedIndex = 0.0001;  // stands in for an index <= 0
constexpr double kDifferenceStep = 0.001;  // relative step of gfx_D86BV1
// psi per kPa: a vapour pressure in kPa times this is in psi.
constexpr double kPsiPerKilopascal = 0.1450377438972831;
constexpr double kSmallestRvp = 1.4;
constexpr double kRepairedRvp = 1.5;

enum class Which { T10, T50, T90 };

// index = c0 + c1 B + c2 B^p1 + c3 B^p2 + c4 D B + c5 D/B + c6 D/B^p3 + c7 D
// with B = (w mid + lo + hi)/s and D = hi - lo, in degrees F.
double threePointIndex(Which which, char unit, double lo, double mid, double hi) {
  const ParameterBlock& b = params();
  const ThreePointIndexParams& set = which == Which::T10 ? b.t10Index : which == Which::T50 ? b.t50Index : b.t90Index;
  const bool ordered = lo <= mid && mid <= hi;
  if (!ordered) {
    // The T10 index always rejects; the others repair on request.
    if (which == Which::T10 || !b.changeData) return kMissing;
    if (lo > mid) mid = lo + kOrderPush;
    if (mid > hi) hi = mid + kOrderPush;
  }
  // All three test the T10 set's divisor, not their own (intended).
  if (b.t10Index.p[1] == 0.0) return kMissing;

  lo = toFahrenheit(lo, unit);
  mid = toFahrenheit(mid, unit);
  hi = toFahrenheit(hi, unit);
  const double gap = set.n1;
  // The T90 index moves its lower point by the T50 set's gap (intended).
  const double lowerGap = which == Which::T90 ? b.t50Index.n1 : gap;
  if (mid - lo < gap && lo > 0.0) lo = mid - lowerGap;
  if (hi - mid < gap && hi > 0.0) hi = mid + gap;

  const double* p = set.p;
  const double base = (p[0] * mid + lo + hi) / p[1];
  if (base == 0.0) return which == Which::T10 ? 1.0 : kMissing;
  const double spread = hi - lo;
  const double index = p[2] + p[3] * base + p[4] * std::pow(base, p[5]) + p[6] * std::pow(base, p[7]) +
                       p[8] * spread * base + p[9] * spread / base + p[10] * spread / std::pow(base, p[11]) +
                       p[12] * spread;
  return fromFahrenheit(index, unit);
}

// An index at or below 0 cannot be inverted; with ChangeData on it is read
// as a small positive index.
bool usableIndex(double& index) {
  if (index > 0.0) return true;
  if (!params().changeData) return false;
  index = kRepairedIndex;
  return true;
}

void writeDerivative(int flag, double* d, double value) {
  if (flag != 0 && d != nullptr) *d = value;
}

}  // namespace
}  // namespace tarn::distill

namespace distill = tarn::distill;
using tarn::kMissing;

extern "C" TARN_API double TARN_CALL gfx_T10Index(char unit, double t10, double t50, double t90) {
  return distill::threePointIndex(distill::Which::T10, unit, t10, t50, t90);
}

extern "C" TARN_API double TARN_CALL gfx_T50Index(char unit, double t10, double t50, double t90) {
  return distill::threePointIndex(distill::Which::T50, unit, t10, t50, t90);
}

extern "C" TARN_API double TARN_CALL gfx_T90Index(char unit, double t10, double t50, double t90) {
  return distill::threePointIndex(distill::Which::T90, unit, t10, t50, t90);
}

extern "C" TARN_API double TARN_CALL gfx_D86BV1(int which, char unit, double t10, double t50, double t90,
                                                double* derivs) {
  if (which < 0 || which > 2) return 1.0;
  const auto index = static_cast<distill::Which>(which);
  const double value = distill::threePointIndex(index, unit, t10, t50, t90);
  if (derivs == nullptr) return value;
  double x[3] = {t10, t50, t90};
  for (int j = 0; j < 3; ++j) {
    const double original = x[j];
    const double h = (std::fabs(original) + 1.0) * distill::kDifferenceStep;
    x[j] = original + h;
    const double perturbed = distill::threePointIndex(index, unit, x[0], x[1], x[2]);
    x[j] = original;
    // No slope where the index, or its neighbour, is undefined.
    const bool defined = !tarn::isMissing(value) && !tarn::isMissing(perturbed);
    derivs[j] = defined ? (perturbed - value) / h : 0.0;
  }
  return value;
}

extern "C" TARN_API double TARN_CALL gfx_D86one10Index(char unit, double t10, int derivFlag, double* derivative) {
  const double slope = tarn::params().d86one10Index[0];
  const double reference = tarn::params().d86one10Index[1];
  const double index = std::exp((reference - tarn::toFahrenheit(t10, unit)) * slope);
  distill::writeDerivative(derivFlag, derivative, tarn::perCallerDegree(-slope * index, unit));
  return index;
}

extern "C" TARN_API double TARN_CALL gfx_D86one90Index(char unit, double t90, int derivFlag, double* derivative) {
  const double slope = tarn::params().d86one90Index[0];
  const double reference = tarn::params().d86one90Index[1];
  const double index = std::exp((tarn::toFahrenheit(t90, unit) - reference) * slope);
  distill::writeDerivative(derivFlag, derivative, tarn::perCallerDegree(slope * index, unit));
  return index;
}

extern "C" TARN_API double TARN_CALL gfx_D86one10Blend(char unit, double index, int derivFlag, double* derivative) {
  const double reference = tarn::params().d86one10Blend[0];
  const double slope = tarn::params().d86one10Blend[1];
  if (slope == 0.0 || !distill::usableIndex(index)) return kMissing;
  distill::writeDerivative(derivFlag, derivative, tarn::callerDegreesPer(-1.0 / (slope * index), unit));
  return tarn::fromFahrenheit(reference - std::log(index) / slope, unit);
}

extern "C" TARN_API double TARN_CALL gfx_D86one90Blend(char unit, double index, int derivFlag, double* derivative) {
  const double reference = tarn::params().d86one90Blend[0];
  const double slope = tarn::params().d86one90Blend[1];
  if (!distill::usableIndex(index)) return kMissing;
  distill::writeDerivative(derivFlag, derivative, tarn::callerDegreesPer(slope / index, unit));
  return tarn::fromFahrenheit(slope * std::log(index) + reference, unit);
}

extern "C" TARN_API double TARN_CALL gfx_T20Gaussian(double t10, double t30, int derivFlag, double* derivs) {
  const double ratio = tarn::params().t20Gaussian.ratio;
  if (derivFlag != 0 && derivs != nullptr) {
    derivs[0] = 1.0 - ratio;
    derivs[1] = ratio;
  }
  return t10 + (t30 - t10) * ratio;
}

extern "C" TARN_API double TARN_CALL gfx_TVL(int derivFlag, char unit, double rvp, double t10, double t50,
                                             double* derivs) {
  const double* c = tarn::params().tvl20;
  const double t = c[0] - c[1] * rvp + c[2] * tarn::toFahrenheit(t10, unit) + c[3] * tarn::toFahrenheit(t50, unit);
  if (derivFlag != 0 && derivs != nullptr) {
    // Only the RVP slope is scaled for Celsius: the temperature slopes are
    // the same per degree C in as out (intended, and exact).
    derivs[0] = tarn::callerDegreesPer(-c[1], unit);
    derivs[1] = c[2];
    derivs[2] = c[3];
  }
  return tarn::fromFahrenheit(t, unit);
}

extern "C" TARN_API double TARN_CALL gfx_TVL2(int derivFlag, char unit, double rvp, double t10, double t20, double t50,
                                              double* derivs) {
  const bool changeData = tarn::params().changeData;
  if (rvp <= distill::kSmallestRvp) {
    if (!changeData) return kMissing;
    rvp = distill::kRepairedRvp;
  }
  if (t10 > t20) {
    if (!changeData) return kMissing;
    t20 = t10 + distill::kOrderPush;
  }
  if (t20 > t50) {
    if (!changeData) return kMissing;
    t50 = t20 + distill::kOrderPush;
  }
  const double value = gfx_TVL(derivFlag, unit, rvp, t10, t50, derivs);
  if (derivFlag != 0 && derivs != nullptr) {
    derivs[3] = derivs[2];  // T50
    derivs[2] = 0.0;        // T20 only takes part in the checks
  }
  return value;
}

extern "C" TARN_API double TARN_CALL gfx_VaporLockIndex(int derivFlag, char pressureUnit, double vapourPressure,
                                                        double e70, double* derivs) {
  const double* c = tarn::params().vaporLockIndex;
  const double toPsi = pressureUnit == 'P' ? 1.0 : distill::kPsiPerKilopascal;
  if (derivFlag != 0 && derivs != nullptr) {
    derivs[0] = c[0] * toPsi;
    derivs[1] = c[1];
  }
  return c[0] * toPsi * vapourPressure + c[1] * e70;
}
