// A NaN at any position of any array length a row has is found; finite results never trigger the second run.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "frame/nan_rule.h"

namespace {

using tarn::frame::mayHoldNaN;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Results as rows give them: signs and magnitudes mixed, the missing value among them.
std::vector<double> finiteResults(std::size_t n) {
  std::vector<double> v(n);
  for (std::size_t i = 0; i < n; ++i) v[i] = (i % 5 == 4) ? 1e30 : (i % 2 ? -1.0 : 1.0) * (0.5 + i);
  return v;
}

template <std::size_t N>
void expectEveryNaNFound() {
  std::vector<double> v = finiteResults(N);
  EXPECT_FALSE(mayHoldNaN<N>(v.data())) << N << " finite values";
  EXPECT_FALSE(mayHoldNaN(v.data(), N)) << N << " finite values, count at run time";
  for (std::size_t at = 0; at < N; ++at) {
    for (const double bad : {kNaN, -kNaN}) {
      std::vector<double> w = v;
      w[at] = bad;
      EXPECT_TRUE(mayHoldNaN<N>(w.data())) << "NaN at " << at << " of " << N;
      EXPECT_TRUE(mayHoldNaN(w.data(), N)) << "NaN at " << at << " of " << N << " at run time";
    }
  }
}

template <std::size_t... N>
void expectEveryNaNFoundAt(std::index_sequence<N...>) {
  (expectEveryNaNFound<N>(), ...);
}

TEST(NaNRule, EveryNaNIsFoundAtEveryLengthAndPosition) {
  // Lengths around the change to sixteen sums (32), each remainder, and the catalogue's 9 x 14, 7 x 12, 13 x 25.
  expectEveryNaNFoundAt(
      std::index_sequence<1, 2, 3, 7, 8, 9, 12, 15, 16, 17, 31, 32, 33, 47, 48, 63, 84, 126, 147, 325>{});
  // Nothing to look at, nothing found; infinities may count as NaN (the second run then finds none).
  EXPECT_FALSE(mayHoldNaN<0>(nullptr));
  const double infinities[] = {HUGE_VAL, 1.0, -HUGE_VAL};
  EXPECT_TRUE(mayHoldNaN<3>(infinities));
}

}  // namespace
