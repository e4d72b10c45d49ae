// Evaluation by index for the frame tests: a call with arrays sized from the
// catalogue, and one realistic input row per correlation with the direct call
// it must amount to.
#pragma once

#include <cmath>
#include <vector>

#include "support/catalogue_calls.h"
#include "support/fixture.h"
#include "tarn/tarn.h"

namespace tarn::testing {

struct Result {
  int status = 0;
  std::vector<double> x, out, d;  // x: the inputs as the call left them
};

// Evaluates with output and derivative arrays of the catalogue's sizes
// filled with `fill`, so that untouched entries show.
inline Result genCalc(int index, std::vector<double> x, int derivFlag = 1, double fill = -7.25) {
  int m = 0;
  gfx_tarnGetCorrelationOutPropCount(index, &m);
  Result r{0, {}, std::vector<double>(m, fill), std::vector<double>(x.size() * m, fill)};
  r.status = gfx_tarnGenCalc(index, derivFlag, 0, x.data(), r.out.data(), r.d.data());
  r.x = std::move(x);
  return r;
}

struct Wrapped {
  int index;
  std::vector<double> x;
  DirectCall direct;
};

inline const std::vector<Wrapped>& wrappedCalls() {
  static const std::vector<Wrapped> calls = [] {
    std::vector<Wrapped> all;
    visitCatalogueCalls([&](int index, std::vector<double> x, auto direct) { all.push_back({index, std::move(x), direct}); });
    return all;
  }();
  return calls;
}

inline bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// Starts the library with three evaporative temperatures configured, so that
// EVAPORATIVE computes.
class EvaluationTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    ASSERT_TRUE(configureEvaporativeTemperatures());
  }
};

}  // namespace tarn::testing
