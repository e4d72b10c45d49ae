// The process-wide correlation parameter block: the tunable constants of the
// built-in correlations, the distillation point sets, the oxygenate
// properties and the library-wide switches. Every correlation reads its
// constants here at each call, so a caller that changes a parameter (by
// keyword or by coefficient) changes every later calculation.
//
// The block is plain static storage reached through params(); there is no
// other copy of any value. Field names follow the group and parameter
// keywords by which callers reach them. Each field has one row in the field
// table (params/fields.h): its keyword, defaults, unit, description and
// store rules.
#pragma once

namespace tarn {

inline constexpr int kCorrelationCount = 57;

// Groups CETANEIMPROVER and CETANEIMPROVER2: cetane gain of an improver
// additive, P1 * (API/P2)^P3 * (T/P4)^P5 * ln(P7*dose + P6).
struct CetaneImproverParams {
  double p[7];  // P1..P7
};

// Groups T10INDEX, T50INDEX, T90INDEX: the three-point distillation indices.
// P1 weight of the middle point, P2 divisor, P3..P5 and P7 coefficients of
// the base and its powers, P6/P8/P12 exponents, P9..P11 and P13 coefficients
// of the spread terms; N1 the smallest gap between neighbouring points.
struct ThreePointIndexParams {
  double p[13];  // P1..P13
  double n1;
};

// Group ND86FROMPERCENTOFF / ND86TOPERCENTOFF: the configurable point sets of
// the N-point percent-off conversions.
struct ConfigurablePointSets {
  int npoff;     // number of temperature points in use, at most 25
  double p[25];  // temperature points
  int ntemp;     // number of percent points in use, at most 13
  double t[13];  // percent-evaporated points
};

// Group GENERICD86: settings of curve fitting and blending.
struct GenericD86Params {
  double minVol;  // a component's fraction must exceed it to widen the bracket
  double dDelta;  // lower bound of the relative step of gfx_D86
  double bTol;    // bisection tolerance (never below 1e-14)
  double dPure;   // FBP - IBP below this marks a pure component
};

// Group HC94: segment method of D86 -> TBP conversion anchored at 50 %.
// a[0], b[0] for the 50 % point; a[k], b[k], x[k-1] coefficient, exponent and
// cap of segment k: 1 90->FBP, 2 70->90, 3 50->70, 4 30->50, 5 10->30,
// 6 IBP->10.
struct Hc94Params {
  double a[7];
  double b[7];
  double x[6];  // X1..X6
  double n1;    // minimum gap between neighbouring points
};

// Group EVAPORATIVE: the temperatures at which the percent evaporated is
// reported, and how many of them are in use.
struct EvaporativeParams {
  double p[12];  // P00..P11, missing when unset
  int npts;
};

// Groups CARBOB2 and RBOB: properties of the ethanol added to a blendstock.
struct EthanolBlendParams {
  double aro;      // aromatics of the ethanol, vol %
  double bnz;      // benzene of the ethanol, vol %
  double olf;      // olefins of the ethanol, vol %
  double eho;      // oxygen of the ethanol, wt %
  double sul;      // sulfur of the ethanol, ppm
  double gasspg;   // specific gravity of the blendstock
  double etohspg;  // specific gravity of the ethanol
};

// Group T20GAUSSIAN: standard-normal quantiles of the 10, 20 and 30 % points
// and the derived position of 20 % between 10 % and 30 %.
struct T20GaussianParams {
  double p1, p2, p3;
  double ratio;  // (p2 - p1)/(p3 - p1)
};

// ---- Polynomial D86/TBP conversion methods ---------------------------------
// Layout shared by the ETHYLS and SIXORDER groups. Every coefficient is stored
// as the positive magnitude printed in the published equations; the sign of
// each term is part of the fitted model, not a tunable value, and is applied
// by the conversion code from one sign table per method (src/distill). A
// stored coefficient is therefore never negative.
//
// Rows are in the order the methods build a curve, from the 50 % point
// outwards: row 0 the 50 % point, then the segments 30->50, 10->30, IBP->10,
// 50->70, 70->90, 90->FBP. Within a row the numbers go by rising power of the
// variable (the 50 % temperature, or the segment difference upper minus
// lower point), starting with the constant term where the method has one.

// ETHYLS forward fit (read by gfx_ETHYLSF and its exact inverse
// gfx_ETHYLSR_REV): quartics with a constant, caps on the end segments.
struct EthylsForwardParams {
  double fbpCap;     // largest 90 -> FBP difference used (F)
  double ibpCap;     // largest IBP -> 10 difference used (F)
  double gap;        // minimum gap between neighbouring points (F)
  double row[7][5];  // constant, x, x^2, x^3, x^4
};

// ETHYLS reverse fit (read by gfx_ETHYLSR): its own quartics, no caps.
struct EthylsReverseParams {
  double row[7][5];  // constant, x, x^2, x^3, x^4
};

// SIXORDER forward fit (read by gfx_SIXORDERF and its exact inverse
// gfx_SIXORDERR_REV): a sextic with a constant for the 50 % point, sextics
// without a constant for the segments.
struct SixOrderForwardParams {
  double fbpCap;         // largest 90 -> FBP difference used (F)
  double ibpCap;         // largest IBP -> 10 difference used (F)
  double gap;            // minimum gap between neighbouring points (F)
  double point50[7];     // constant, D50 .. D50^6
  double segment[6][6];  // difference^1 .. difference^6, segments as above
};

// SIXORDER reverse fit (read by gfx_SIXORDERR): degree 6 for the 50 % point
// (constant first), degree 7 without a constant for the segments.
struct SixOrderReverseParams {
  double row[7][7];  // row 0: T50^0 .. T50^6; rows 1..6: difference^1 .. ^7
};

// Settings that only the coefficient interface reaches: unit flags, method
// numbers, emission-model selectors and the oxygenate settings of the
// ethanol-blend correlations. They hold their defaults from load time;
// gfx_tarnInitializeCoefs writes them again, TARNInitialize and TARNReset
// leave them alone.
struct CorrelationSettings {
  int corf[kCorrelationCount];    // temperature unit per correlation: non-zero F, 0 C
  int typcor[kCorrelationCount];  // percent-off conversion method per correlation
  int carb[6];                    // CARB flat/averaging selectors T50 T90 ARO OLF SUL BNZ
  int carb3[7];                   // CARB3: the six above and EVAP
  int carb3m[7];                  // CARB3M: the six above and EVAP
  int epa[7];                     // AREA PHASE SEASON EQUATION FUELTYPE CTYPE COUNTRY
  int carbobEstrm;                // CARBOB ESTRM
  double driveabilityEohvol;      // DRIVEABILITYINDEXE EOHVOL (stored truncated)
  struct EthanolSwitches {
    double eohvol;    // ethanol content, vol %
    int switches[5];  // O2OPT RNDO2 RNDRST REPORT OLFPEN, kept for the host
  };
  EthanolSwitches carbob2;   // CARBOB2 (its reals are the CARBOB2 group)
  EthanolSwitches carbob3;   // CARBOB3
  double carbob3Ethanol[7];  // CARBOB3's own ethanol: ARO BNZ OLF EHO SUL GASSPG ETOHSPG
  double rbobEohvol;         // RBOB EOHVOL
};

struct ParameterBlock {
  // ---- Keyword groups ----------------------------------------------------
  double rvpExponent;                    // REIDVAPORPRESSURE
  bool changeData;                       // TARN ChangeData: repair instead of reject
  char carbUnit;                         // TARN CARB_CORF: 'F' or 'C'
  CetaneImproverParams cetaneImprover;   // CETANEIMPROVER
  CetaneImproverParams cetaneImprover2;  // CETANEIMPROVER2
  double tvl20[4];                       // TVL20 P1..P4
  struct {
    double p1, p2, ef;             // T10 weight, T50 weight, oxygenate factor
  } driveability;                  // DRIVEABILITYINDEX
  double cfppImprover[3];          // CFPPIMPROVER P1..P3
  ThreePointIndexParams t10Index;  // T10INDEX
  ThreePointIndexParams t50Index;  // T50INDEX
  ThreePointIndexParams t90Index;  // T90INDEX
  double mtm[12];                  // MTM P1..P12
  double mtmPerturb;               // MTM Perturb
  double vaporLockIndex[2];        // VAPORLOCKINDEX P1, P2
  double d86TempPoints[10];        // D86FROMPERCENTOFF P1..P10, degrees F by default
  ConfigurablePointSets nd86;      // ND86FROMPERCENTOFF
  double d86PercentGrid[7];        // IBP 10 30 50 70 90 FBP; [0] MnVolIBP, [6] MxVolFBP
  GenericD86Params genericD86;     // GENERICD86 (besides the grid ends)
  Hc94Params hc94;                 // HC94
  EvaporativeParams evaporative;   // EVAPORATIVE
  EthanolBlendParams carbob2;      // CARBOB2
  int carbob2Altoxy;               // CARBOB2 ALTOXY
  EthanolBlendParams rbob;         // RBOB
  double rbobP[6];                 // RBOB P1..P6: E200 a, b, E300 a, b, RVP addend, multiplier
  double e200e300[4];              // E200E300EPA P1..P4
  T20GaussianParams t20Gaussian;   // T20GAUSSIAN

  // ---- Fixed coefficient groups (no keyword) -------------------------------
  double pourPoint1[3];  // b, a, offset: exp(a ln(offset + T) + b)
  double pourPoint2[2];  // c, k: exp(k T + c)
  double viscosity1[1];  // additive constant of the double log
  double viscosity2[1];
  double viscosity3[3];     // A, B, c: A - B log10(log10(v + c))
  double d86one10Index[2];  // slope, reference temperature
  double d86one90Index[2];  // slope, reference temperature
  double d86one10Blend[2];  // reference temperature, slope
  double d86one90Blend[2];  // reference temperature, slope
  double cetaneIndex2[5];
  double cetaneIndex4[15];
  double cetaneIndex5[5];
  double octaneIndex[11];
  double healy[6];
  double chesapeakF[15];  // minimum gap, then seven (slope, constant) pairs
  double chesapeakR[14];  // the reverse transform's set (kept, not used)
  double threeA11[15];    // seven factors a, seven exponents b, minimum gap
  double tvl2[29];

  // ---- Distillation conversion methods (fixed groups, no keyword) ----------
  EthylsForwardParams ethylsForward;      // gfx_ETHYLSF, gfx_ETHYLSR_REV
  EthylsReverseParams ethylsReverse;      // gfx_ETHYLSR
  SixOrderForwardParams sixOrderForward;  // gfx_SIXORDERF, gfx_SIXORDERR_REV
  SixOrderReverseParams sixOrderReverse;  // gfx_SIXORDERR

  // ---- Settings reached through coefficients only --------------------------
  CorrelationSettings settings;
};

namespace detail {
extern ParameterBlock parameterBlock;
}

// The one parameter block of the process.
inline ParameterBlock& params() { return detail::parameterBlock; }

}  // namespace tarn
