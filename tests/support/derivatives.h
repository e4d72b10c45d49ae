// Derivatives against central differences: one step and tolerance rule for every test.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace tarn::testing {

// Relative step of the central difference around x.
inline double centralStep(double x) { return 1e-6 * (std::fabs(x) + 1.0); }

// Central difference of a scalar function at x.
inline double centralDifference(const std::function<double(double)>& f, double x) {
  const double h = centralStep(x);
  return (f(x + h) - f(x - h)) / (2.0 * h);
}

// Derivative tolerance: relative to the larger magnitude, with an absolute floor.
inline ::testing::AssertionResult derivativeNear(double reported, double numeric, double relative = 1e-5,
                                                 double absolute = 1e-7) {
  const double scale = std::fmax(std::fabs(reported), std::fabs(numeric));
  if (std::fabs(reported - numeric) <= absolute + relative * scale) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "reported " << reported << " but central difference gives " << numeric;
}

// A function of several inputs returning several outputs.
using VectorFunction = std::function<std::vector<double>(const std::vector<double>&)>;

// Central-difference Jacobian, input-major: (input j, output k) at j * outputCount + k, as the library.
inline std::vector<double> centralJacobian(const VectorFunction& f, const std::vector<double>& x,
                                           std::size_t outputCount) {
  std::vector<double> jacobian(x.size() * outputCount, 0.0);
  for (std::size_t j = 0; j < x.size(); ++j) {
    std::vector<double> up = x, down = x;
    const double h = centralStep(x[j]);
    up[j] += h;
    down[j] -= h;
    const std::vector<double> fu = f(up), fd = f(down);
    for (std::size_t k = 0; k < outputCount; ++k) {
      jacobian[j * outputCount + k] = (fu[k] - fd[k]) / (2.0 * h);
    }
  }
  return jacobian;
}

// Compares a reported input-major Jacobian with the central-difference one, naming the failing entry.
inline void expectJacobianNear(const std::vector<double>& reported, const std::vector<double>& numeric,
                               std::size_t outputCount, double relative = 1e-5, double absolute = 1e-7,
                               const std::string& what = "") {
  ASSERT_EQ(reported.size(), numeric.size()) << what;
  for (std::size_t i = 0; i < reported.size(); ++i) {
    EXPECT_TRUE(derivativeNear(reported[i], numeric[i], relative, absolute))
        << what << " input " << i / outputCount << " output " << i % outputCount;
  }
}

}  // namespace tarn::testing
