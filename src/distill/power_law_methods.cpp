// The two power-law D86 <-> TBP methods: HC94 (segment differences anchored
// at the 50 % point, TBP difference = A x min(cap, D86 difference)^B) and
// THREEA11 (each point on its own, on absolute temperature:
// TBP + 460 = a x (D86 + 460)^b).
#include <cmath>

#include "common/units.h"
#include "distill/conversion.h"
#include "distill/curve.h"
#include "tarn/distill.h"

namespace tarn::distill {
namespace {

// HC94 numbers its segments 1 90->FBP, 2 70->90, 3 50->70, 4 30->50,
// 5 10->30, 6 IBP->10; this is that number for each entry of kSegments.
constexpr int kHc94Segment[6] = {4, 5, 6, 3, 2, 1};

}  // namespace
}  // namespace tarn::distill

using namespace tarn::distill;

extern "C" TARN_API int TARN_CALL gfx_HC94F(char unit, const double* d86, double* tbp) {
  return runConversion(unit, d86, tbp, /*strict=*/false, [&](double* t, double* out) {
    const tarn::Hc94Params& c = tarn::params().hc94;
    enforceMinimumGap(t, c.n1);
    out[kT50] = c.a[0] * std::pow(t[kT50], c.b[0]);
    for (int s = 0; s < 6; ++s) {
      const Segment& seg = kSegments[s];
      const int k = kHc94Segment[s];
      const double difference = std::fmin(c.x[k - 1], segmentDifference(t, seg));
      placeOuterPoint(out, seg, c.a[k] * std::pow(difference, c.b[k]));
    }
  });
}

extern "C" TARN_API int TARN_CALL gfx_HC94R(char unit, const double* tbp, double* d86) {
  return runConversion(unit, tbp, d86, /*strict=*/true, [&](double* t, double* out) {
    const tarn::Hc94Params& c = tarn::params().hc94;
    out[kT50] = std::pow(t[kT50] / c.a[0], 1.0 / c.b[0]);
    for (int s = 0; s < 6; ++s) {
      const Segment& seg = kSegments[s];
      const int k = kHc94Segment[s];
      placeOuterPoint(out, seg, std::pow(segmentDifference(t, seg) / c.a[k], 1.0 / c.b[k]));
    }
  });
}

extern "C" TARN_API int TARN_CALL gfx_THREEA11F(char unit, const double* d86, double* tbp) {
  return runConversion(unit, d86, tbp, /*strict=*/false, [&](double* t, double* out) {
    const double* factor = tarn::params().threeA11;        // a, 7 points
    const double* exponent = tarn::params().threeA11 + 7;  // b, 7 points
    enforceMinimumGap(t, tarn::params().threeA11[14]);
    for (int k = 0; k < kCurvePoints; ++k) {
      out[k] = factor[k] * std::pow(t[k] + tarn::kRankineOffset, exponent[k]) - tarn::kRankineOffset;
    }
  });
}

extern "C" TARN_API int TARN_CALL gfx_THREEA11R(char unit, const double* tbp, double* d86) {
  // Unlike the other reverse routines this one accepts equal neighbours.
  return runConversion(unit, tbp, d86, /*strict=*/false, [&](double* t, double* out) {
    const double* factor = tarn::params().threeA11;
    const double* exponent = tarn::params().threeA11 + 7;
    for (int k = 0; k < kCurvePoints; ++k) {
      out[k] = std::pow((t[k] + tarn::kRankineOffset) / factor[k], 1.0 / exponent[k]) - tarn::kRankineOffset;
    }
  });
}
