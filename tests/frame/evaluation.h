// Evaluation by index for the frame tests, with arrays sized from the catalogue.
#pragma once

#include <cmath>
#include <vector>

#include "support/catalogue_rows.h"
#include "support/fixture.h"
#include "tarn/tarn.h"

namespace tarn::testing {

struct Result {
  int status = 0;
  std::vector<double> x, out, d;  // x: the inputs as the call left them
};

// Evaluates with output and derivative arrays filled with `fill`, so untouched entries show.
inline Result genCalc(int index, std::vector<double> x, int derivFlag = 1, double fill = -7.25) {
  int m = 0;
  gfx_tarnGetCorrelationOutPropCount(index, &m);
  Result r{0, {}, std::vector<double>(m, fill), std::vector<double>(x.size() * m, fill)};
  r.status = gfx_tarnGenCalc(index, derivFlag, 0, x.data(), r.out.data(), r.d.data());
  r.x = std::move(x);
  return r;
}

inline bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// Starts the library with the realistic rows' settings (EVAPORATIVE's three temperatures).
class EvaluationTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    for (const CatalogueRow& row : realisticRows()) ASSERT_TRUE(applySettings(row)) << row.index;
  }
};

}  // namespace tarn::testing
