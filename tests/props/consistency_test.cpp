// Index/property round trips, slopes outside the catalogue, and slopes that deliberately are not the slope.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "support/derivatives.h"
#include "support/fixture.h"
#include "support/temperature.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"
#include "tarn/props.h"

namespace {

using tarn::testing::celsiusOf;
using Inputs = std::vector<double>;
using Evaluate = std::function<double(char unit, const Inputs& x, int want, double* d)>;
using WithUnit = double (*)(char, double, int, double*);
using NoUnit = double (*)(double, int, double*);

Evaluate of(WithUnit f) {
  return [f](char u, const Inputs& x, int w, double* d) { return f(u, x[0], w, d); };
}
Evaluate of(NoUnit f) {
  return [f](char, const Inputs& x, int w, double* d) { return f(x[0], w, d); };
}

struct Pair {
  std::string name;
  Evaluate index, property;
  Inputs fahrenheit;  // property values, the first just inside the domain
  bool hasUnit;
};

const std::vector<Pair>& everyPair() {
  static const Inputs cold{-459, -40, 0, 77, 300}, viscosities{0.21, 1.5, 5.0, 300.0, 4000.0};
  static const std::vector<Pair> pairs = {
      {"CloudPoint1", of(gfx_CloudPointIndex1), of(gfx_CloudPoint1), cold, true},
      {"CloudPoint3", of(gfx_CloudPointIndex3), of(gfx_CloudPoint3), {-400, -40, 0, 77, 300}, true},
      {"FlashPoint1", of(gfx_FlashPointIndex1), of(gfx_FlashPoint1), {-459, 100, 140, 600}, true},
      {"PourPoint1", of(gfx_PourPointIndex1), of(gfx_PourPoint1), cold, true},
      {"PourPoint2", of(gfx_PourPointIndex2), of(gfx_PourPoint2), {0.5, 5, 30, 120}, true},
      {"Viscosity1", of(gfx_ViscosityIndex1), of(gfx_Viscosity1), {0.93, 1.5, 5.0, 300.0, 4000.0}, false},
      {"Viscosity2", of(gfx_ViscosityIndex2), of(gfx_Viscosity2), viscosities, false},
      {"Viscosity3", of(gfx_ViscosityIndex3), of(gfx_Viscosity3), viscosities, false},
      {"RVP", of(gfx_RVPIndex), of(gfx_RVP), {0.5, 4.2, 15.0, 60.0}, false},
      {"D86one10", of(gfx_D86one10Index), of(gfx_D86one10Blend), {104, 284, 572}, true}};
  return pairs;
}

struct Case {
  std::string name;
  Evaluate f;
  std::vector<Inputs> at;  // in Celsius where the function takes a unit
};

// Functions outside the catalogue that are not index/property pairs.
const Case kCases[] = {
    {"OctaneIndex", of(gfx_OctaneIndex), {{60}, {80}, {90}, {100}}},
    {"CetaneImprover2",
     [](char u, const Inputs& x, int w, double* d) { return gfx_CetaneImprover2(w, u, x[0], x[1], x[2], x[3], d); },
     {{0.85, 260, 0.1, 45}, {0.82, 230, 0.02, 40}}},
};

class PropertyConsistency : public tarn::testing::LibraryTest {};

TEST_F(PropertyConsistency, EveryFunctionReportsItsSlopeOnRequestOnly) {
  for (const Case& c : kCases) {
    for (const Inputs& x : c.at) {
      const std::string what = c.name + " at " + std::to_string(x[0]);
      Inputs reported(x.size(), -7.0);
      const double value = c.f('C', x, 0, reported.data());
      ASSERT_TRUE(std::isfinite(value) && value != 1e30) << what;
      EXPECT_EQ(reported, Inputs(x.size(), -7.0)) << what;
      EXPECT_EQ(c.f('C', x, 1, reported.data()), value) << what;
      const auto numeric =
          tarn::testing::centralJacobian([&](const Inputs& y) { return Inputs{c.f('C', y, 0, nullptr)}; }, x, 1);
      tarn::testing::expectJacobianNear(reported, numeric, 1, 1e-5, 1e-7, what);
    }
  }
}

// Property -> index -> property over the range, with and without derivatives (different routes).
TEST_F(PropertyConsistency, EveryPairRoundTripsInBothUnits) {
  for (const Pair& p : everyPair()) {
    for (char unit : {'F', 'C'}) {
      if (unit == 'C' && !p.hasUnit) continue;
      for (double x : unit == 'C' ? celsiusOf(p.fahrenheit) : p.fahrenheit) {
        double dIndex = -7.0, dBack = 0.0;
        const double index = p.index(unit, {x}, 0, &dIndex);
        EXPECT_EQ(dIndex, -7.0) << p.name << ": a slope without request";
        p.index(unit, {x}, 1, &dIndex);
        const double tolerance = 1e-9 * (1.0 + std::fabs(x));
        EXPECT_NEAR(p.property(unit, {index}, 0, nullptr), x, tolerance) << p.name << unit;
        EXPECT_NEAR(p.property(unit, {index}, 1, &dBack), x, tolerance) << p.name << unit;
        EXPECT_NEAR(dIndex * dBack, 1.0, 1e-9) << p.name << unit << " at " << x;
      }
    }
  }
}

TEST_F(PropertyConsistency, DeliberateDeviationsFromTheSlope) {
  // Below absolute zero no slope, yet a Celsius caller's derivative is rescaled in place: kept for hosts.
  for (WithUnit index : {gfx_CloudPointIndex1, gfx_CloudPointIndex3, gfx_FlashPointIndex1}) {
    double d = 2.0;
    EXPECT_EQ(index('C', -300.0, 1, &d), 1e30);
    EXPECT_DOUBLE_EQ(d, 3.6);
  }
  double d = 1.8;
  gfx_CloudPoint1('C', -1.0, 1, &d);
  EXPECT_DOUBLE_EQ(d, 1.0);
  gfx_PourPoint2('F', 5.0, 0, &d);  // writes its derivative even with the flag off
  EXPECT_NEAR(d, 1.0 / (0.0354662 * 5.0), 1e-12);
  // A T50 pushed by ChangeData follows T10, yet d/dT10 is the T10 coefficient alone.
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  double slopes[4] = {0, 0, 0, -7.0};
  gfx_CetaneIndex5(1, 'F', 0.85, 420.0, 400.0, 600.0, slopes);
  EXPECT_NEAR(slopes[1], 0.09668, 1e-15);
  // The oxygenate drivability form reports no slope to the oxygenate.
  slopes[3] = -7.0;
  gfx_DriveabilityIndexE(1, 'C', 52, 95, 165, slopes, 10.0);
  EXPECT_EQ(slopes[3], -7.0);
}

}  // namespace
