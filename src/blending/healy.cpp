// Healy octane blending: the volume-weighted research and motor octane,
// corrected by the covariance of sensitivity (RON - MON) with octane and by
// the spread of olefin and aromatic contents over the components.
#include <cmath>
#include <cstddef>

#include "params/params.h"
#include "tarn/blending.h"

namespace tarn::blending {
namespace {

// Fractions whose sum lies strictly inside this window are used as given.
constexpr double kSumLow = 0.999;
constexpr double kSumHigh = 1.001;
// The aromatic spread enters the motor octane squared and scaled by this.
constexpr double kAromaticSquareScale = 0.0001;

constexpr int kDerivativesPerComponent = 10;

// Fraction-weighted moments of the components.
struct Moments {
  double ron = 0.0, mon = 0.0, sens = 0.0;  // sum x*RON, x*MON, x*S
  double sensRon = 0.0, sensMon = 0.0;      // sum x*S*RON, x*S*MON
  double ole = 0.0, ole2 = 0.0;             // sum x*O, x*O^2
  double aro = 0.0, aro2 = 0.0;             // sum x*A, x*A^2
};

}  // namespace
}  // namespace tarn::blending

extern "C" TARN_API int TARN_CALL gfx_Healy(int derivMode, double* x, int n, const double* ron, const double* mon,
                                            const double* ole, const double* aro, double* out, double* d) {
  using namespace tarn::blending;
  constexpr int kRefused = 2;
  if (x == nullptr || ron == nullptr || mon == nullptr || ole == nullptr || aro == nullptr || out == nullptr) {
    return kRefused;
  }
  const std::size_t count = n > 0 ? static_cast<std::size_t>(n) : 0;

  double sum = 0.0;
  for (std::size_t i = 0; i < count; ++i) sum += x[i];
  if (!(sum > kSumLow && sum < kSumHigh)) {
    // Intended: with ChangeData on, fractions off one are refused, not repaired.
    if (tarn::params().changeData || !(sum > 0.0) || !std::isfinite(sum)) return kRefused;
    for (std::size_t i = 0; i < count; ++i) x[i] /= sum;
  }

  const double* c = tarn::params().healy;
  Moments m;
  for (std::size_t i = 0; i < count; ++i) {
    const double s = ron[i] - mon[i];
    m.ron += x[i] * ron[i];
    m.mon += x[i] * mon[i];
    m.sens += x[i] * s;
    m.sensRon += x[i] * s * ron[i];
    m.sensMon += x[i] * s * mon[i];
    m.ole += x[i] * ole[i];
    m.ole2 += x[i] * ole[i] * ole[i];
    m.aro += x[i] * aro[i];
    m.aro2 += x[i] * aro[i] * aro[i];
  }
  const double oleSpread = m.ole2 - m.ole * m.ole;
  const double aroSpread = m.aro2 - m.aro * m.aro;

  out[0] = m.ron + c[0] * (m.sensRon - m.sens * m.ron) + c[1] * oleSpread + c[2] * aroSpread;
  out[1] = m.mon + c[3] * (m.sensMon - m.sens * m.mon) + c[4] * oleSpread +
           c[5] * aroSpread * aroSpread * kAromaticSquareScale;

  if ((derivMode != 1 && derivMode != 2) || d == nullptr) return 0;
  const double aroSquareSlope = c[5] * 2.0 * kAromaticSquareScale * aroSpread;
  for (std::size_t i = 0; i < count; ++i) {
    double* di = d + kDerivativesPerComponent * i;
    const double s = ron[i] - mon[i];
    const double oleShift = ole[i] * ole[i] - m.ole2 - 2.0 * m.ole * (ole[i] - m.ole);
    const double aroShift = aro[i] * aro[i] - m.aro2 - 2.0 * m.aro * (aro[i] - m.aro);
    // Fraction slopes move x_i with the others scaled to keep the sum at one.
    di[0] = (ron[i] - m.ron) + c[0] * (s * ron[i] - m.sensRon - (ron[i] - m.ron) * m.sens - (s - m.sens) * m.ron) +
            c[1] * oleShift + c[2] * aroShift;
    di[1] = (mon[i] - m.mon) + c[3] * (s * mon[i] - m.sensMon - (mon[i] - m.mon) * m.sens - (s - m.sens) * m.mon) +
            c[4] * oleShift + aroSquareSlope * aroShift;
    di[2] = x[i] + c[0] * x[i] * (2.0 * ron[i] - mon[i] - m.sens - m.ron);
    di[3] = c[3] * x[i] * (mon[i] - m.mon);
    di[4] = c[0] * x[i] * (m.ron - ron[i]);
    di[5] = x[i] + c[3] * x[i] * (ron[i] - 2.0 * mon[i] - m.sens + m.mon);
    di[6] = c[1] * 2.0 * x[i] * (ole[i] - m.ole);
    di[7] = c[4] * 2.0 * x[i] * (ole[i] - m.ole);
    di[8] = c[2] * 2.0 * x[i] * (aro[i] - m.aro);
    di[9] = aroSquareSlope * 2.0 * x[i] * (aro[i] - m.aro);
  }
  return 0;
}
