// The field table and the routines that read and write the block through it.
#include "params/fields.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>

#include "common/integers.h"
#include "common/missing.h"

namespace tarn::fields {
namespace {

constexpr ParameterBlock& P = detail::parameterBlock;
constexpr Access K = Access::Keyword;
constexpr Access None = Access::None;
constexpr unsigned char kAtStartAndLoad = kAtLoad | kAtStart | kAtReset;

constexpr Rules kRefuseUnlessPositive{Rule::RefuseUnlessPositive, Rule::Plain, 0};
constexpr Rules kQuantile{Rule::GaussianQuantile, Rule::GaussianQuantile, 0};

// Units as printed in the listing.
constexpr const char* kF =
    "\xC2\xB0"
    "F";
constexpr const char* kVol = "vol %";
constexpr const char* kMass = "wt %";
constexpr const char* kNone = "";

// One field per row: kept as laid out by hand.
// clang-format off
constexpr Field kTable[] = {
    // ---- Library-wide switches -------------------------------------------------
    {"TARN", "ChangeData", K, at(P.changeData), {0}, kNone,
     "repair an out-of-domain input (point out of order, value not positive) instead of 1e30",
     {Rule::SwitchOnPositive}},
    // Written on reset only: a unit chosen before start-up survives start-up.
    {"TARN", "CARB_CORF", K, at(P.carbUnit), {1}, kNone,
     "temperature unit of the CARB models' T50 and T90: F when set positive, else C",
     {Rule::UnitLetter}, {}, nullptr, kAtLoad | kAtReset},

    // ---- Keyword groups of the property correlations ---------------------------
    {"REIDVAPORPRESSURE", "*", Access::AnyText, at(P.rvpExponent), {1.25}, kNone,
     "exponent e of the vapour-pressure blending index RVP^e (any parameter text)"},

    {"CETANEIMPROVER", "P1", K, at(P.cetaneImprover.p[0]), {0.17402}, kNone,
     "cetane gain = P1 (API/P2)^P3 (T/P4)^P5 ln(P7 dose + P6): leading factor"},
    {"CETANEIMPROVER", "P2", K, at(P.cetaneImprover.p[1]), {10.0}, kNone,
     "API gravity reference (divisor); a store needs a positive stored value",
     kRefuseUnlessPositive},
    {"CETANEIMPROVER", "P3", K, at(P.cetaneImprover.p[2]), {1.444}, kNone, "API gravity exponent"},
    {"CETANEIMPROVER", "P4", K, at(P.cetaneImprover.p[3]), {100.0}, kF,
     "temperature reference (divisor); a store needs a positive stored value",
     kRefuseUnlessPositive},
    {"CETANEIMPROVER", "P", K, at(P.cetaneImprover.p, 4, 3), {1.0052, 1.0, 17.5523}, kNone,
     "P5 temperature exponent; P6 constant and P7 dose factor inside the logarithm", {}, {5}},

    {"CETANEIMPROVER2", "P1", K, at(P.cetaneImprover2.p[0]), {0.17402}, kNone,
     "improved cetane = base + P1 (API/P2)^P3 (T/P4)^P5 ln(P7 dose + P6): leading factor"},
    {"CETANEIMPROVER2", "P2", K, at(P.cetaneImprover2.p[1]), {10.0}, kNone,
     "API gravity reference (divisor); a store needs a positive stored value",
     kRefuseUnlessPositive},
    {"CETANEIMPROVER2", "P3", K, at(P.cetaneImprover2.p[2]), {1.444}, kNone,
     "API gravity exponent"},
    {"CETANEIMPROVER2", "P4", K, at(P.cetaneImprover2.p[3]), {100.0}, kF,
     "temperature reference (divisor); a store needs a positive stored value",
     kRefuseUnlessPositive},
    {"CETANEIMPROVER2", "P", K, at(P.cetaneImprover2.p, 4, 3), {1.0052, 1.0, 17.5523}, kNone,
     "P5 temperature exponent; P6 constant and P7 dose factor inside the logarithm", {}, {5}},

    {"TVL20", "P", K, at(P.tvl20), {114.6, 4.1, 0.2, 0.17}, kNone,
     "temperature for V/L 20 = P1 - P2 RVP + P3 T10 + P4 T50 (F, psi)"},

    {"DRIVEABILITYINDEX", "P1", K, at(P.driveability.p1), {1.5}, kNone,
     "weight of T10 in the drivability index P1 T10 + P2 T50 + T90"},
    {"DRIVEABILITYINDEX", "P2", K, at(P.driveability.p2), {3.0}, kNone, "weight of T50"},
    {"DRIVEABILITYINDEX", "EF", K, at(P.driveability.ef), {2.4}, kF,
     "ethanol term of the oxygenate form, per vol % ethanol (EF/1.8 in C)"},

    {"CFPPIMPROVER", "P", K, at(P.cfppImprover), {0.95, -1.0, -1.39}, kNone,
     "treated CFPP = P1 CFPP + P2 dose + P3 (F)"},

    // The three-point distillation indices: base = (P1 mid + lo + hi)/P2.
    {"T10INDEX", "N1", K, at(P.t10Index.n1), {0.0018}, kF,
     "smallest gap between neighbouring points; a closer pair is pushed apart"},
    {"T10INDEX", "P1", K, at(P.t10Index.p[0]), {2.0}, kNone, "weight of the middle point"},
    {"T10INDEX", "P2", K, at(P.t10Index.p[1]), {4.0}, kNone,
     "divisor of the base; a store needs a positive stored value", kRefuseUnlessPositive},
    {"T10INDEX", "P", K, at(P.t10Index.p, 2, 11),
     {-238.1, 4.545, -0.0169, 2.0, 2.296e-5, 3.0, -0.018, -1623.0, 80600.0, 2.0, 9.381}, kNone,
     "coefficients and exponents of the base and spread terms",
     {}, {3}},
    {"T50INDEX", "N1", K, at(P.t50Index.n1), {0.0018}, kF,
     "smallest gap between neighbouring points; a closer pair is pushed apart"},
    {"T50INDEX", "P", K, at(P.t50Index.p),
     {2.0, 4.0, 260.6, -4.217, 0.02652, 2.0, -3.642e-5, 3.0, -0.03424, -2123.0, 99260.0, 2.0,
      15.23},
     kNone, "weight, divisor, then coefficients and exponents of the base and spread terms"},
    {"T90INDEX", "N1", K, at(P.t90Index.n1), {0.0018}, kF,
     "smallest gap between neighbouring points; a closer pair is pushed apart"},
    {"T90INDEX", "P", K, at(P.t90Index.p),
     {2.0, 4.0, 260.9, 0.7815, -0.009082, 2.0, 2.291e-5, 3.0, 0.05184, 4037.0, -211200.0, 2.0,
      -25.17},
     kNone, "weight, divisor, then coefficients and exponents of the base and spread terms"},

    {"MTM", "P", K, at(P.mtm),
     {0.02, 0.0388, 0.0031, -0.0008, 0.0006, -0.0016, 0.0002, -0.0027, 0.03, -0.0075, 90.0, 90.0},
     kNone,
     "octane correction: slopes, olefin, aromatic, cross and damping terms, reference RON, MON"},
    {"MTM", "Perturb", K, at(P.mtmPerturb), {0.001}, kNone,
     "relative step of the MTM finite-difference slopes"},

    {"VAPORLOCKINDEX", "P", K, at(P.vaporLockIndex), {68.94757, 7.0}, kNone,
     "VLI = P1 s RVP + P2 E70 (s = 1 for psi, 0.145 for kPa); read-only as coefficients",
     {Rule::Plain, Rule::ReadOnly}},

    {"D86FROMPERCENTOFF", "P", K, at(P.d86TempPoints),
     {30.0, 70.0, 100.0, 140.0, 180.0, 250.0, 330.0, 360.0, 390.0, 450.0}, kF,
     "temperatures at which the percent evaporated is exchanged with the D86 curve",
     {}, {}, "D86TOPERCENTOFF"},

    {"GENERICD86", "MinVol", K, at(P.genericD86.minVol), {0.0}, kVol,
     "a component's fraction must reach it to widen the bracket of a curve blend"},
    {"GENERICD86", "MnVolIBP", K, at(P.d86PercentGrid[0]), {0.0}, kVol,
     "percent evaporated taken for the initial boiling point", {}, {}, nullptr,
     kAtStartAndLoad},
    {"GENERICD86", "MxVolFBP", K, at(P.d86PercentGrid[6]), {100.0}, kVol,
     "percent evaporated taken for the final boiling point", {}, {}, nullptr, kAtStartAndLoad},
    {"GENERICD86", "DDelta", K, at(P.genericD86.dDelta), {0.001}, kNone,
     "lower bound of the relative step of the curve blend's slopes"},
    {"GENERICD86", "BTol", K, at(P.genericD86.bTol), {1e-7}, kNone,
     "tolerance of the point searches (never taken below 1e-14)"},
    {"GENERICD86", "DPure", K, at(P.genericD86.dPure), {0.0}, kF,
     "FBP - IBP below this marks a pure component"},
    {"GENERICD86", "grid", None, at(P.d86PercentGrid, 1, 5), {10.0, 30.0, 50.0, 70.0, 90.0}, kVol,
     "inner points 10..90 of the seven-point percent grid", {}, {}, nullptr, kAtStartAndLoad},

    {"EVAPORATIVE", "P", K, at(P.evaporative.p), {kMissing}, kF,
     "temperatures at which the percent evaporated is reported; 1e30 means not set", {}, {0, 2}},
    {"EVAPORATIVE", "NPTS", K, at(P.evaporative.npts), {0}, kNone,
     "number of those temperatures in use (stored rounded)", {Rule::Round}},

    // ---- Ethanol blendstock models -----------------------------------------------
    {"CARBOB2", "ARO", K, at(P.carbob2.aro), {1.7}, kVol, "aromatics of the ethanol"},
    {"CARBOB2", "BNZ", K, at(P.carbob2.bnz), {0.06}, kVol, "benzene of the ethanol"},
    {"CARBOB2", "OLF", K, at(P.carbob2.olf), {0.5}, kVol, "olefins of the ethanol"},
    {"CARBOB2", "EHO", K, at(P.carbob2.eho), {34.7}, kMass, "oxygen of the ethanol"},
    {"CARBOB2", "SUL", K, at(P.carbob2.sul), {10.0}, "ppm", "sulfur of the ethanol"},
    {"CARBOB2", "GASSPG", K, at(P.carbob2.gasspg), {0.718}, kNone,
     "specific gravity of the blendstock"},
    {"CARBOB2", "ETOHSPG", K, at(P.carbob2.etohspg), {0.788}, kNone,
     "specific gravity of the ethanol"},
    {"CARBOB2", "ALTOXY", K, at(P.carbob2Altoxy), {0}, kNone,
     "1 or more passes the blendstock through unblended (stored truncated)"},

    {"ND86FROMPERCENTOFF", "P", K, at(P.nd86.p),
     {30.0, 70.0, 100.0, 140.0, 180.0, 250.0, 330.0, 360.0, 390.0, 450.0, 0.0}, kF,
     "temperatures of the configurable percent-off points", {}, {}, "ND86TOPERCENTOFF"},
    {"ND86FROMPERCENTOFF", "T", K, at(P.nd86.t), {0.0, 10.0, 30.0, 50.0, 70.0, 90.0, 100.0, 0.0},
     kVol, "percent-evaporated points of the configurable curve", {}, {}, "ND86TOPERCENTOFF"},
    // A coefficient set at or beyond the count's limit stores 1 (intended).
    {"ND86FROMPERCENTOFF", "NTEMP", K, at(P.nd86.ntemp), {7}, kNone,
     "number of curve points in use, at most 13 (stored rounded)",
     {Rule::RoundUpToLimit, Rule::CountOrOne, 13}, {}, "ND86TOPERCENTOFF"},
    {"ND86FROMPERCENTOFF", "NPOFF", K, at(P.nd86.npoff), {10}, kNone,
     "number of percent-off temperatures in use, at most 25 (stored rounded)",
     {Rule::RoundUpToLimit, Rule::CountOrOne, 25}, {}, "ND86TOPERCENTOFF"},

    {"E200E300EPA", "P", K, at(P.e200e300), {147.91, 0.49, 155.47, 0.22}, kNone,
     "E200 = P1 - P2 T50, E300 = P3 - P4 T90 (F, vol %)"},

    {"RBOB", "ARO", K, at(P.rbob.aro), {1.7}, kVol, "aromatics of the ethanol"},
    {"RBOB", "BNZ", K, at(P.rbob.bnz), {0.06}, kVol, "benzene of the ethanol"},
    {"RBOB", "OLF", K, at(P.rbob.olf), {0.5}, kVol, "olefins of the ethanol"},
    {"RBOB", "EHO", K, at(P.rbob.eho), {34.7}, kMass, "oxygen of the ethanol"},
    {"RBOB", "SUL", K, at(P.rbob.sul), {10.0}, "ppm", "sulfur of the ethanol"},
    {"RBOB", "GASSPG", K, at(P.rbob.gasspg), {0.718}, kNone, "specific gravity of the blendstock"},
    {"RBOB", "ETOHSPG", K, at(P.rbob.etohspg), {0.788}, kNone, "specific gravity of the ethanol"},
    {"RBOB", "P", K, at(P.rbobP), {147.91, 0.49, 155.47, 0.22, 0.0, 1.0}, kNone,
     "E200 = P1 - P2 T50, E300 = P3 - P4 T90, RVP = P6 RVP + P5"},

    // The standard-normal quantiles of 10, 20 and 30 %; the ratio follows them.
    {"T20GAUSSIAN", "P1", K, at(P.t20Gaussian.p1), {-1.281551566}, kNone,
     "standard-normal quantile of the 10 % point", kQuantile},
    {"T20GAUSSIAN", "P2", K, at(P.t20Gaussian.p2), {-0.841621234}, kNone,
     "standard-normal quantile of the 20 % point", kQuantile},
    {"T20GAUSSIAN", "P3", K, at(P.t20Gaussian.p3), {-0.524400513}, kNone,
     "standard-normal quantile of the 30 % point", kQuantile},
    // Stored as its literal, (P2 - P1)/(P3 - P1) of the default quantiles.
    {"T20GAUSSIAN", "ratio", None, at(P.t20Gaussian.ratio), {0.5810337716059414}, kNone,
     "position of 20 % between 10 and 30 %, (P2 - P1)/(P3 - P1)"},

    // The HC94 group holds its whole coefficient set, but only the cap of the
    // 90 -> FBP segment is reachable by keyword.
    {"HC94", "X1", K, at(P.hc94.x[0]), {100.0}, kF, "largest 90 -> FBP difference used"},
    {"HC94", "A", None, at(P.hc94.a), {0.8718, 0.11798, 3.0419, 2.5282, 3.0305, 4.9004, 7.4012},
     kNone, "D86 -> TBP factors: 50 %, then the segments from 90 -> FBP down to IBP -> 10"},
    {"HC94", "B", None, at(P.hc94.b),
     {1.0258, 1.6606, 0.75497, 0.82002, 0.80076, 0.71644, 0.60244}, kNone,
     "D86 -> TBP exponents, in the order of the factors"},
    {"HC94", "X", None, at(P.hc94.x, 1, 5), {100.0, 150.0, 250.0, 250.0, 100.0}, kF,
     "caps X2..X6 of the segments 70 -> 90 down to IBP -> 10", {}, {2}},
    {"HC94", "N1", None, at(P.hc94.n1), {0.0018}, kF, "smallest gap between neighbouring points"},

    // ---- Fixed coefficient groups (no keyword) -----------------------------------
    {"POURPOINT1", "", None, at(P.pourPoint1), {-73.0883, 12.885, 460.0}, kNone,
     "index = exp(a ln(offset + T) + b): b, a, offset (F)"},
    {"POURPOINT2", "", None, at(P.pourPoint2), {2.197062, 0.0354662}, kNone,
     "index = exp(k T + c): c, k (F)"},
    {"VISCOSITY1", "", None, at(P.viscosity1), {0.08}, "cSt",
     "additive constant of the double logarithm"},
    {"VISCOSITY2", "", None, at(P.viscosity2), {0.8}, "cSt",
     "additive constant of the double logarithm"},
    {"VISCOSITY3", "", None, at(P.viscosity3), {41.10743, 49.08258, 0.8}, kNone,
     "index = A - B log10(log10(v + c)): A, B, c (cSt)"},
    {"D86ONE10INDEX", "", None, at(P.d86one10Index), {0.01535, 250.0}, kNone,
     "index = exp((reference - T10) slope): slope, reference (F)"},
    {"D86ONE90INDEX", "", None, at(P.d86one90Index), {0.030701, 185.0}, kNone,
     "index = exp((T90 - reference) slope): slope, reference (F)"},
    {"D86ONE10BLEND", "", None, at(P.d86one10Blend), {250.0, 0.01535}, kNone,
     "T10 = reference - ln(index)/slope: reference (F), slope"},
    // Not the reciprocal of the index's slope: both values are kept.
    {"D86ONE90BLEND", "", None, at(P.d86one90Blend), {185.0, 32.5719}, kNone,
     "T90 = slope ln(index) + reference: reference (F), slope"},
    {"CETANEINDEX2", "", None, at(P.cetaneIndex2), {-420.34, 0.016, 0.192, 65.01, 0.0001809},
     kNone, "a0 + a1 API^2 + a2 API log M + a3 (log M)^2 - a4 M^2, M the 50 % point (F)"},
    {"CETANEINDEX4", "", None, at(P.cetaneIndex4),
     {0.85, -3.5, 1.0, 419.0, 500.0, 590.0, 45.2, 0.0892, 0.131, 0.901, 0.0523, 0.42, 0.00049,
      107.0, 60.0},
     kNone, "reference density, density exponent, references (F) and the index's coefficients"},
    {"CETANEINDEX5", "", None, at(P.cetaneIndex5), {-386.26, 0.09668, 0.06751, 0.01028, 291.83},
     kNone, "density, T10, T50, T90 coefficients and the constant (F)"},
    {"OCTANEINDEX", "", None, at(P.octaneIndex),
     {76.85, 43.196, 0.00137, 2.1, 95.937, 50.896, 6.1e-9, 4.75, -103.32, 17.3621, 0.5}, kNone,
     "thresholds and the power laws a + k x^p of the three octane segments"},
    {"HEALY", "", None, at(P.healy), {0.05411, 0.00098, -0.00074, 0.03908, 0.0, -0.00703}, kNone,
     "sensitivity, olefin and aromatic spread coefficients of the Healy octane blend"},
    {"CHESAPEAKF", "", None, at(P.chesapeakF),
     {0.0018, -0.2506, 58.0, -0.6068, 29.0, -0.716, 17.0, 0.957648, 2.603229, 0.228, 2.0, 0.05,
      5.0, -0.285, 11.5},
     kNone, "smallest gap, then seven (slope, constant) pairs of the curve transform"},
    {"CHESAPEAKR", "", None, at(P.chesapeakR),
     {-0.2506, 58.0, -0.6068, 29.0, -0.716, 17.0, 0.927648, 4.603229, 0.46, 15.0, 0.05, 5.0,
      -0.285, 11.5},
     kNone, "the reverse transform's set: kept in the block, read by no correlation"},
    {"THREEA11", "", None, at(P.threeA11),
     {0.9167, 0.5277, 0.7429, 0.892, 0.8705, 0.949, 0.8008, 1.0019, 1.09, 1.0425, 1.0176, 1.0226,
      1.011, 1.0355, 0.0018},
     kNone, "D86 -> TBP: seven factors a, seven exponents b, smallest gap (F)"},
    {"TVL2", "", None, at(P.tvl2),
     {0.390244, 1.46519,   0.125,    217.147,   16.9527,  0.822909,    0.01668,  54.0436,
      9.66363,  0.91054,   0.022326, 0.000178314, 0.823553, 1.1246,   1.2413,   0.23887,
      0.012675, 10.5273,   4.245,    0.00525449, 0.0532486, 0.01709, 0.0009677, 1.95828e-5,
      0.0704753, 0.549224, 0.00961619, 0.000910603, 0.00203879},
     kNone, "coefficients of the four-input V/L 20 temperature"},

    // The polynomial D86/TBP fits, as the published magnitudes: the sign of
    // each term belongs to the fitted model and is applied by the conversion
    // code. Rows go from the 50 % point outwards: 50 %, 30 -> 50, 10 -> 30,
    // IBP -> 10, 50 -> 70, 70 -> 90, 90 -> FBP; within a row by rising power.
    {"ETHYLSF", "FBP cap", None, at(P.ethylsForward.fbpCap), {100.0}, kF,
     "largest 90 -> FBP difference used"},
    {"ETHYLSF", "IBP cap", None, at(P.ethylsForward.ibpCap), {100.0}, kF,
     "largest IBP -> 10 difference used"},
    {"ETHYLSF", "gap", None, at(P.ethylsForward.gap), {0.0018}, kF,
     "smallest gap between neighbouring points"},
    {"ETHYLSF", "rows", None, at(P.ethylsForward.row),
     {8.276823, 0.036756, 0.0002847396, 4.87029e-7, 3.44717e-10,
      1.150026, 1.838948, 0.011966,     5.69705e-5, 7.11055e-8,
      0.753774, 2.266544, 0.020664,     0.0001202845, 2.25014e-7,
      1.390825, 2.670939, 0.046882,     0.0006857394, 3.6831e-6,
      1.045109, 1.641218, 0.00924479,   4.318466e-5, 4.76815e-8,
      0.553017, 1.606578, 0.010132,     5.685363e-5, 9.21212e-8,
      0.188129, 1.220885, 0.00251309,   3.97977e-5, 7.68519e-7},
     kNone, "quartics with a constant, D86 -> TBP"},
    {"ETHYLSR", "rows", None, at(P.ethylsReverse.row),
     {2.823647, 0.115675, 0.000643807, 1.14227e-6, 7.67885e-10,
      0.313107, 0.416492, 0.00482198,  3.2025e-6,  4.60357e-8,
      1.207502, 0.244584, 0.005890756, 1.1785e-6,  6.38411e-8,
      0.097356, 0.264105, 0.007275218, 4.3202e-5,  9.90435e-8,
      0.160688, 0.48625,  0.005410961, 1.42771e-5, 1.24269e-8,
      1.231607, 0.476099, 0.007407557, 3.42779e-5, 3.94706e-8,
      0.238281, 0.705632, 0.007788113, 8.72152e-5, 2.29106e-7},
     kNone, "quartics with a constant, TBP -> D86"},
    {"SIXORDERF", "FBP cap", None, at(P.sixOrderForward.fbpCap), {100.0}, kF,
     "largest 90 -> FBP difference used"},
    {"SIXORDERF", "IBP cap", None, at(P.sixOrderForward.ibpCap), {150.0}, kF,
     "largest IBP -> 10 difference used"},
    {"SIXORDERF", "gap", None, at(P.sixOrderForward.gap), {0.0018}, kF,
     "smallest gap between neighbouring points"},
    {"SIXORDERF", "50 %", None, at(P.sixOrderForward.point50),
     {24.5738, 0.277544, 0.0018795, 6.56031e-6, 1.14018e-8, 9.68698e-12, 3.13186e-15}, kNone,
     "sextic with a constant for the 50 % point, D86 -> TBP"},
    {"SIXORDERF", "segments", None, at(P.sixOrderForward.segment),
     {2.04624, 0.0225,     0.000279179,  2.31541e-6, 1.07892e-8,  1.98323e-11,
      2.34422, 0.0241584,  0.0001896945, 8.95962e-7, 3.10959e-9,  5.53478e-12,
      2.84582, 0.0571924,  0.00104465,   1.01842e-5, 4.9828e-8,   9.53795e-11,
      1.79075, 0.0163738,  0.000191835,  1.54753e-6, 7.18894e-9,  1.31073e-11,
      1.64169, 0.0145976,  0.000169881,  1.26118e-6, 5.40098e-9,  9.248e-12,
      1.20092, 0.00661377, 0.000650227,  1.63615e-5, 1.71884e-7,  6.8672e-10},
     kNone, "sextics without a constant for the six segments, D86 -> TBP"},
    {"SIXORDERR", "rows", None, at(P.sixOrderReverse.row),
     {20.07479, 0.8046995,  0.00128824,  4.50624e-6, 7.75228e-9,  6.51315e-12, 2.08664e-15,
      0.406111, 0.00993675, 0.00021322,  3.25309e-6, 2.41937e-8,  8.2966e-11,  1.06763e-13,
      0.246081, 0.0183541,  0.000536556, 8.65085e-6, 6.68831e-8,  2.43369e-10, 3.38171e-13,
      0.251719, 0.00805896, 6.0163e-5,   2.4197e-7,  3.57557e-10, 7.5618e-13,  2.28664e-15,
      0.505929, 0.00765639, 0.000142754, 2.23652e-6, 1.7465e-8,   6.23097e-11, 8.29563e-14,
      0.627292, 0.00175175, 6.23439e-5,  8.48437e-7, 4.76086e-9,  1.48021e-11, 2.11613e-14,
      0.749814, 0.00527672, 2.41578e-5,  5.40199e-7, 4.73387e-9,  1.37621e-11, 1.33108e-14},
     kNone, "degree 6 for the 50 % point, 7 without a constant for the segments, TBP -> D86"},

    // ---- Settings reached through coefficients only ------------------------------
    // They hold their defaults from load time; gfx_tarnInitializeCoefs writes
    // them again, TARNInitialize and TARNReset leave them alone.
    {"every correlation", "CORF", None, at(P.settings.corf), {1}, kNone,
     "temperature unit of the correlation: non-zero F, 0 C", {}, {}, nullptr, kSettingDefault},
    {"every correlation", "TYPCOR", None, at(P.settings.typcor), {0}, kNone,
     "D86/TBP method of the percent-off conversions (0 HC94 .. 5 ETHYLS exact)", {}, {}, nullptr,
     kSettingDefault},
    {"CARB", "selectors", None, at(P.settings.carb), {1}, kNone,
     "T50 T90 ARO OLF SUL BNZ: 1 flat limit, else averaging limit", {}, {}, nullptr,
     kSettingDefault},
    {"CARB3", "selectors", None, at(P.settings.carb3), {1}, kNone,
     "as CARB, then EVAP: 1 without the evaporative model, else with it", {}, {}, nullptr,
     kSettingDefault},
    {"CARB3M", "selectors", None, at(P.settings.carb3m), {1}, kNone,
     "as CARB, then EVAP: the RVP ceiling, 1 none, 2 7.2 psi, else 7.0 psi", {}, {}, nullptr,
     kSettingDefault},
    {"EPA", "selectors", None, at(P.settings.epa), {1, 2, 1, 1, 1, 0, 0}, kNone,
     "AREA PHASE SEASON EQUATION FUELTYPE CTYPE COUNTRY of the EPA model", {}, {}, nullptr,
     kSettingDefault},
    {"CARBOB", "ESTRM", None, at(P.settings.carbobEstrm), {0}, kNone,
     "kept for the host; no model reads it", {}, {}, nullptr, kSettingDefault},
    {"DRIVEABILITYINDEXE", "EOHVOL", None, at(P.settings.driveabilityEohvol), {5.0}, kVol,
     "ethanol content of the oxygenate term (stored whole)", {Rule::Plain, Rule::WholeReal}, {},
     nullptr, kSettingDefault},
    {"CARBOB2", "EOHVOL", None, at(P.settings.carbob2.eohvol), {5.0}, kVol,
     "ethanol content of the blend", {}, {}, nullptr, kSettingDefault},
    {"CARBOB2", "switches", None, at(P.settings.carbob2.switches), {1, 0}, kNone,
     "O2OPT RNDO2 RNDRST REPORT OLFPEN: kept for the host; no model reads them", {}, {}, nullptr,
     kSettingDefault},
    {"CARBOB3", "EOHVOL", None, at(P.settings.carbob3.eohvol), {5.0}, kVol,
     "ethanol content of the blend", {}, {}, nullptr, kSettingDefault},
    {"CARBOB3", "switches", None, at(P.settings.carbob3.switches), {1, 0}, kNone,
     "O2OPT RNDO2 RNDRST REPORT OLFPEN: kept for the host; no model reads them", {}, {}, nullptr,
     kSettingDefault},
    {"CARBOB3", "ethanol", None, at(P.settings.carbob3Ethanol),
     {1.7, 0.06, 0.5, 34.7, 10.0, 0.718, 0.788}, kNone,
     "ARO BNZ OLF (vol %), EHO (wt %), SUL (ppm), GASSPG, ETOHSPG of CARBOB3's own ethanol", {}, {},
     nullptr, kSettingDefault},
    {"RBOB", "EOHVOL", None, at(P.settings.rbobEohvol), {5.0}, kVol,
     "ethanol content of the blend", {}, {}, nullptr, kSettingDefault},
};
// clang-format on

void* element(const Field& field, int k) {
  return static_cast<char*>(field.slot.address) + k * elementSize(field.slot.type);
}

bool storeInteger(const Field& field, int k, double value) {
  int n = 0;
  if (!truncateToInt(value, n)) return false;
  *static_cast<int*>(element(field, k)) = n;
  return true;
}

// Writes element k as it stands, without a rule.
void assign(const Field& field, int k, double value) {
  void* target = element(field, k);
  switch (field.slot.type) {
    case Type::Real:
      *static_cast<double*>(target) = value;
      return;
    case Type::Integer:
      storeInteger(field, k, value);
      return;
    case Type::Switch:
      *static_cast<bool*>(target) = value > 0.0;
      return;
    case Type::UnitLetter:
      *static_cast<char*>(target) = value > 0.0 ? 'F' : 'C';
      return;
  }
}

// After a T20 quantile is stored: the ratio follows while P2 and P3 lie
// above P1, or the whole group returns to its defaults.
bool recomputeT20Ratio() {
  T20GaussianParams& g = params().t20Gaussian;
  const double upper = g.p3 - g.p1;
  const double middle = g.p2 - g.p1;
  if (upper > 0.0 && middle > 0.0) {
    g.ratio = middle / upper;
    return true;
  }
  for (const Field& field : kTable) {
    if (std::strcmp(field.group, "T20GAUSSIAN") == 0) restoreDefaults(field);
  }
  return false;
}

}  // namespace

std::size_t elementSize(Type type) {
  switch (type) {
    case Type::Real:
      return sizeof(double);
    case Type::Integer:
      return sizeof(int);
    case Type::Switch:
      return sizeof(bool);
    case Type::UnitLetter:
      return sizeof(char);
  }
  return sizeof(double);
}

const Field* table() { return kTable; }
std::size_t tableSize() { return sizeof kTable / sizeof kTable[0]; }

const Field* containing(const void* address, int& position) {
  const std::less<const void*> before;
  for (const Field& field : kTable) {
    const void* first = field.slot.address;
    const void* end = element(field, field.slot.count);
    if (before(address, first) || !before(address, end)) continue;
    const auto offset = static_cast<const char*>(address) - static_cast<const char*>(first);
    position = static_cast<int>(offset / static_cast<std::ptrdiff_t>(elementSize(field.slot.type)));
    return &field;
  }
  return nullptr;
}

void numberedName(char* buffer, std::size_t size, const char* prefix, int digits, int number) {
  std::snprintf(buffer, size, "%s%0*d", prefix, digits, number);
}

void elementName(const Field& field, int k, char* buffer, std::size_t size) {
  if (field.slot.count == 1) {
    std::snprintf(buffer, size, "%s", field.name);
  } else {
    numberedName(buffer, size, field.name, field.numbering.digits, field.numbering.first + k);
  }
}

double defaultOf(const Field& field, int k) {
  const std::size_t given = field.defaults.size();
  if (given == 0) return 0.0;
  const std::size_t i = static_cast<std::size_t>(k);
  return field.defaults.begin()[i < given ? i : given - 1];
}

double read(const Field& field, int k) {
  const void* source = element(field, k);
  switch (field.slot.type) {
    case Type::Real:
      return *static_cast<const double*>(source);
    case Type::Integer:
      return static_cast<double>(*static_cast<const int*>(source));
    case Type::Switch:
      return *static_cast<const bool*>(source) ? 1.0 : -1.0;
    case Type::UnitLetter:
      return *static_cast<const char*>(source) == 'C' ? -1.0 : 1.0;
  }
  return kMissing;
}

bool store(const Field& field, int k, Rule rule, double value) {
  void* target = element(field, k);
  switch (rule) {
    case Rule::Plain:
      if (field.slot.type == Type::Integer) return storeInteger(field, k, value);
      assign(field, k, value);
      return true;
    case Rule::SwitchOnPositive:
    case Rule::UnitLetter:
      assign(field, k, value);
      return true;
    case Rule::RefuseUnlessPositive: {
      double& current = *static_cast<double*>(target);
      if (!(current > 0.0)) return false;  // once not positive, the field stays until a reset
      current = value;
      return true;
    }
    case Rule::Round:
      return storeInteger(field, k, value + 0.5);
    case Rule::RoundUpToLimit:
      // The limit is tested on the value as given, before rounding.
      if (value > field.rules.limit) return false;
      return storeInteger(field, k, value + 0.5);
    case Rule::CountOrOne: {
      // Within the limit the truncated count is rounded once more, which
      // moves negative counts up by one (intended); beyond it the count is 1.
      if (std::isnan(value)) return false;
      const double n = std::trunc(value);
      return storeInteger(field, k, n <= field.rules.limit ? std::trunc(n + 0.5) : 1.0);
    }
    case Rule::WholeReal:
      *static_cast<double*>(target) = std::trunc(value);
      return true;
    case Rule::ReadOnly:
      return true;
    case Rule::GaussianQuantile:
      *static_cast<double*>(target) = value;
      return recomputeT20Ratio();
  }
  return false;
}

void restoreDefaults(const Field& field) {
  for (int k = 0; k < field.slot.count; ++k) assign(field, k, defaultOf(field, k));
}

void writeDefaults(unsigned char writers) {
  for (const Field& field : kTable) {
    if ((field.writers & writers) != 0) restoreDefaults(field);
  }
}

}  // namespace tarn::fields
