// The direct call of the function each built-in correlation wraps, with the
// settings its coefficients hold: the other side of the benchmark's ratio of
// evaluation by index to a direct call. The inputs are the realistic rows of
// tests/data/catalogue_rows.csv.
#pragma once

#include <algorithm>
#include <cstring>
#include <vector>

#include "tarn/blending.h"
#include "tarn/distill.h"
#include "tarn/emissions.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

namespace tarn::bench {

// The settings a direct call must use: the unit, percent-off method and
// ethanol content that the correlation's coefficients hold.
struct CallSettings {
  char unit;
  int method;
  double ethanol;
};

// A direct call: settings, derivative flag, inputs, outputs, derivatives;
// returns the status evaluation by index must give.
using DirectCall = int (*)(const CallSettings&, int derivFlag, double* x, double* out, double* d);

inline int one(double* out, double value) {
  out[0] = value;
  return value == 1e30 ? 1 : 0;
}

// The rest of the blend without its oxygenate: (100 x0 - x1 x2)/(100 - x1).
inline double withoutOxygenate(const double* x) { return (100.0 * x[0] - x[1] * x[2]) / (100.0 - x[1]); }

inline int oxygenateFreePoint(const CallSettings&, int f, double* x, double* o, double* d) {
  o[0] = withoutOxygenate(x);
  if (f) {
    d[0] = 100.0 / (100.0 - x[1]);
    d[1] = (o[0] - x[2]) / (100.0 - x[1]);
  }
  d[2] = 0;
  return 0;
}

// Calls visit(index, direct) for every correlation in index order. Each
// direct call is a lambda of its own type, so a benchmark loop over it
// compiles to the plain call.
template <class Visit>
void visitDirectCalls(Visit&& visit) {
  visit(0, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_TVL(f, s.unit, x[0], x[1], x[2], d));
  });
  visit(1, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_TVL2(f, s.unit, x[0], x[1], x[2], x[3], d));
  });
  visit(2, [](const CallSettings&, int f, double* x, double* o, double* d) {
    gfx_WCARB(f, "FFFFFF", x, o, d);
    return 0;
  });
  visit(3, [](const CallSettings&, int f, double* x, double* o, double* d) {
    gfx_WCARB3(f, "FFFFFFN", x, o, d);
    return 0;
  });
  visit(4, [](const CallSettings&, int f, double* x, double* o, double* d) {
    int flags[8];
    gfx_WCARB4(f, "FFFFFFN", x, o, d, flags);
    return 0;
  });
  visit(5, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return gfx_D86FromPercentOff(s.method, f, x, o, s.unit, d);
  });
  visit(6, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return gfx_D86toPercentOff(s.method, x, o, s.unit, f, d);
  });
  visit(7, [](const CallSettings&, int f, double* x, double* o, double* d) {
    gfx_WEPA(f, "B2SCR0U", x, o, d);
    return 0;
  });
  visit(8, [](const CallSettings&, int f, double* x, double* o, double* d) { return one(o, gfx_RVP(x[0], f, d)); });
  visit(9,
        [](const CallSettings&, int f, double* x, double* o, double* d) { return one(o, gfx_RVPIndex(x[0], f, d)); });
  visit(10, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_DriveabilityIndex(f, s.unit, x[0], x[1], x[2], d));
  });
  visit(11, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_DriveabilityIndexE(f, s.unit, x[0], x[1], x[2], d, s.ethanol));
  });
  visit(12, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_D86one10Index(s.unit, x[0], f, d));
  });
  visit(13, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_D86one90Index(s.unit, x[0], f, d));
  });
  visit(14, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_D86one10Blend(s.unit, x[0], f, d));
  });
  visit(15, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_D86one90Blend(s.unit, x[0], f, d));
  });
  visit(16, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_PourPointIndex1(s.unit, x[0], f, d));
  });
  visit(17, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_PourPoint1(s.unit, x[0], f, d));
  });
  visit(18, [](const CallSettings&, int f, double* x, double* o, double* d) {
    return one(o, gfx_ViscosityIndex1(x[0], f, d));
  });
  visit(19,
        [](const CallSettings&, int f, double* x, double* o, double* d) { return one(o, gfx_Viscosity1(x[0], f, d)); });
  visit(20, [](const CallSettings&, int f, double* x, double* o, double* d) {
    return one(o, gfx_ViscosityIndex2(x[0], f, d));
  });
  visit(21,
        [](const CallSettings&, int f, double* x, double* o, double* d) { return one(o, gfx_Viscosity2(x[0], f, d)); });
  visit(22, [](const CallSettings&, int f, double* x, double* o, double* d) {
    return one(o, gfx_ViscosityIndex3(x[0], f, d));
  });
  visit(23,
        [](const CallSettings&, int f, double* x, double* o, double* d) { return one(o, gfx_Viscosity3(x[0], f, d)); });
  visit(24, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_CetaneIndex2(f, s.unit, x[0], x[1], d));
  });
  visit(25, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_CetaneIndex4(f, s.unit, x[0], x[1], x[2], x[3], d));
  });
  visit(26, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_CetaneIndex5(f, s.unit, x[0], x[1], x[2], x[3], d));
  });
  visit(27, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_CetaneImprover(f, s.unit, x[0], x[1], x[2], d));
  });
  visit(28, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_CFPPImprover(f, s.unit, x[0], x[1], d));
  });
  visit(29, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_CloudPointIndex1(s.unit, x[0], f, d));
  });
  visit(30, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_CloudPoint1(s.unit, x[0], f, d));
  });
  visit(31, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_CloudPointIndex3(s.unit, x[0], f, d));
  });
  visit(32, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_CloudPoint3(s.unit, x[0], f, d));
  });
  visit(33, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_FlashPointIndex1(s.unit, x[0], f, d));
  });
  visit(34, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_FlashPoint1(s.unit, x[0], f, d));
  });
  visit(35, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_D86BV1(0, s.unit, x[0], x[1], x[2], f ? d : nullptr));
  });
  visit(36, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_D86BV1(1, s.unit, x[0], x[1], x[2], f ? d : nullptr));
  });
  visit(37, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return one(o, gfx_D86BV1(2, s.unit, x[0], x[1], x[2], f ? d : nullptr));
  });
  visit(38,
        [](const CallSettings&, int f, double* x, double* o, double* d) { return one(o, gfx_DON(f, x[0], x[1], d)); });
  // MTMF hands its derivatives on in its own order (see the special steps).
  visit(39, [](const CallSettings&, int f, double* x, double* o, double* d) {
    double s[8] = {};
    const int status = gfx_MTMF(x, x[2], x[3], o, f, s);
    const double order[8] = {s[0], s[3], s[1], s[2], s[4], s[5], s[6], s[7]};
    std::memcpy(d, order, sizeof order);
    return status;
  });
  visit(40, [](const CallSettings&, int f, double* x, double* o, double* d) {
    double s[8] = {};
    const int status = gfx_MTMR(x, x[2], x[3], o, f, s);
    const double inputMajor[8] = {s[0], s[1], s[6], s[7], s[2], s[3], s[4], s[5]};
    std::memcpy(d, inputMajor, sizeof inputMajor);
    return status;
  });
  visit(41, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return gfx_ND86toPercentOff(s.method, x, o, s.unit, f, d);
  });
  visit(42, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return gfx_ND86FromPercentOff(s.method, f, x, o, s.unit, d);
  });
  visit(43,
        [](const CallSettings& s, int f, double* x, double* o, double* d) { return gfx_WCARBOB(f, s.unit, x, o, d); });
  // The oxygenate corrections: the rest of the blend, (100 x0 - x1 x2)/(100 - x1).
  visit(44, oxygenateFreePoint);
  visit(45, oxygenateFreePoint);
  visit(46, oxygenateFreePoint);
  // The slope to the oxygenate volume divides by 1 - x1 (intended).
  visit(47, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    const double y = withoutOxygenate(x);
    o[0] = gfx_D86one90Blend(s.unit, y, f, d);
    if (f) {
      d[1] = (y - x[2]) / (1.0 - x[1]) * d[0];
      d[0] *= 100.0 / (100.0 - x[1]);
    }
    d[2] = 0;
    return 0;
  });
  visit(48, [](const CallSettings&, int f, double* x, double* o, double* d) {
    const double y = withoutOxygenate(x);
    o[0] = gfx_RVP(y, f, d);
    if (f) {
      d[1] = (y - x[2]) / (1.0 - x[1]) * d[0];
      d[0] *= 100.0 / (100.0 - x[1]);
    }
    d[2] = 0;
    return 0;
  });
  // Without oxygenate: the blend's own percents converted like D86FROMPERCENTOFF.
  visit(49, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    std::fill(d, d + 21 * 7, 0.0);
    return gfx_D86FromPercentOff(s.method, f, x, o, s.unit, d);
  });
  // The slack of RVP given, the others not.
  visit(50, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    const int status = gfx_WCARBOB2(f, s.unit, s.ethanol, x, o, d, nullptr);
    o[0] += 0.3;
    if (f) {
      for (int k = 0; k < 9; ++k) d[63 + k] = k == 0 ? 1.0 : 0.0;
    }
    return status;
  });
  // The CARBOB3 ethanol, read ARO, BNZ, OLF, EHO, SUL, GASSPG, EOHSPG.
  visit(51, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    const double settings[9] = {1.7, 0.06, 0.5, 34.7, 10.0, 0.718, 0.788, 1e30, 0.0};
    return gfx_WCARBOB2(f, s.unit, s.ethanol, x, o, d, settings);
  });
  visit(52, [](const CallSettings&, int f, double* x, double* o, double* d) {
    return one(o, gfx_VaporLockIndex(f, 'K', x[0], x[1], d));
  });
  visit(53, [](const CallSettings&, int f, double* x, double* o, double* d) { return gfx_Evaporative(f, x, o, d); });
  visit(54, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    return gfx_E200E300EPA(s.unit, x, o, f, d);
  });
  visit(55, [](const CallSettings& s, int f, double* x, double* o, double* d) {
    const double settings[13] = {1.7, 0.06, 34.7, 0.5, 10.0, 0.788, 0.718, 147.91, 0.49, 155.47, 0.22, 0.0, 1.0};
    return gfx_WRBOB(f, s.unit, s.ethanol, x, o, d, settings);
  });
  visit(56, [](const CallSettings&, int f, double* x, double* o, double* d) {
    return one(o, gfx_T20Gaussian(x[0], x[1], f, d));
  });
}

}  // namespace tarn::bench
