// The catalogue table of the 57 built-in correlations.
#include "frame/catalogue.h"

#include <array>
#include <utility>

#include "common/units.h"
#include "distill/percent_off.h"
#include "emissions/adapters.h"
#include "emissions/epa_adapter.h"
#include "frame/evaluation_steps.h"
#include "frame/nan_rule.h"
#include "tarn/blending.h"
#include "tarn/distill.h"
#include "tarn/emissions.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

namespace tarn::frame {
namespace {

// ---- Building blocks of the table -------------------------------------

constexpr FieldView one(double& field) { return {&field, nullptr, 1}; }
constexpr FieldView one(int& field) { return {nullptr, &field, 1}; }

template <std::size_t N>
constexpr FieldView from(double (&array)[N], int first) {
  return {&array[first], nullptr, static_cast<int>(N) - first};
}

// The field a coefficient views, as a captureless function of the block.
#define TARN_VIEW(expr) [](ParameterBlock& b) -> FieldView { return expr; }

using Rule = CoefficientRule;

constexpr CoefficientRun single(const char* name, FieldLocator locate, Rule rule = Rule::Store,
                                int limit = 0) {
  return {name, 0, 0, 0, locate, rule, limit};
}

constexpr CoefficientRun numbered(const char* prefix, int first, int count, FieldLocator locate,
                                  Rule rule = Rule::Store, int digits = 0) {
  return {prefix, first, count, digits, locate, rule, 0};
}

// Each correlation has its own unit flag and method setting, at its index.
template <int I>
FieldView corfView(ParameterBlock& b) {
  static_assert(I >= 0 && I < kCorrelationCount, "unit flag of a catalogue index");
  return one(b.settings.corf[I]);
}
template <int I>
FieldView typcorView(ParameterBlock& b) {
  static_assert(I >= 0 && I < kCorrelationCount, "method setting of a catalogue index");
  return one(b.settings.typcor[I]);
}
template <int I>
constexpr CoefficientRun corf() { return single("CORF", &corfView<I>); }
template <int I>
constexpr CoefficientRun typcor() { return single("TYPCOR", &typcorView<I>); }

template <std::size_t N>
constexpr NameList names(const char* const (&list)[N]) { return {list, static_cast<int>(N)}; }
template <std::size_t N>
constexpr KindList kinds(const int (&list)[N]) { return {list, static_cast<int>(N)}; }
constexpr KindList kNoKinds{nullptr, 0};
template <std::size_t N>
constexpr CoefficientList coefs(const CoefficientRun (&list)[N]) { return {list, static_cast<int>(N)}; }
constexpr CoefficientList kNoCoefs{nullptr, 0};

constexpr int kGeneral = TARN_TYPE_GENERAL;
constexpr int kDistillationIndex = TARN_TYPE_DISTILLATION_INDEX;
constexpr int kIndexToProperty = TARN_TYPE_INDEX_TO_PROPERTY;
constexpr int kPropertyToIndex = TARN_TYPE_PROPERTY_TO_INDEX;

// ---- Property ids ---------------------------------------------------------

constexpr const char* kD86Curve[] = {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"};
constexpr const char* kPercentOff[] = {"POFF1", "POFF2", "POFF3", "POFF4", "POFF5",
                                       "POFF6", "POFF7", "POFF8", "POFF9", "POFF10"};
constexpr const char* kTvlIn[] = {"RVP", "T10", "T50"};
constexpr const char* kTvl2In[] = {"RVP", "T10", "T20", "T50"};
constexpr const char* kTvl[] = {"TVL"};
constexpr const char* kCarbIn[] = {"RVP", "T50", "T90", "ARO", "OLF", "OXY", "SUL", "BNZ"};
constexpr const char* kCarb3In[] = {"RVP", "T50", "T90", "ARO", "OLF", "OXY", "EHO", "SUL", "BNZ"};
constexpr const char* kCarbOut[] = {"CNX", "THC", "POT"};
constexpr const char* kEpaIn[] = {"MTO", "ETO", "EHO", "TMO", "SUL", "RVP",
                                  "E20", "E30", "ARO", "OLF", "BNZ"};
constexpr const char* kEpaOut[] = {"VOC", "TOX", "NOX", "EXB", "EXT"};
constexpr const char* kRvp[] = {"RVP"};
constexpr const char* kRvpIndex[] = {"RVPNDX"};
constexpr const char* kT10T50T90[] = {"T10", "T50", "T90"};
constexpr const char* kDriveability[] = {"DRIVENDX"};
constexpr const char* kT10[] = {"T10"};
constexpr const char* kT90[] = {"T90"};
constexpr const char* kT10Index[] = {"T10NDX"};
constexpr const char* kT90Index[] = {"T90NDX"};
constexpr const char* kPourPoint[] = {"POURPNT"};
constexpr const char* kPourPointIndex[] = {"PRPNTNDX"};
constexpr const char* kViscosity[] = {"VISC"};
constexpr const char* kViscosityIndex[] = {"VISCNDX"};
constexpr const char* kCetane2In[] = {"SPG", "T50"};
constexpr const char* kCetane4In[] = {"SPG", "T10", "T50", "T90"};
constexpr const char* kCetane[] = {"CETANE"};
constexpr const char* kCetaneImproverIn[] = {"SPG", "T50", "IMPVOL"};
constexpr const char* kCetaneImprover[] = {"CETIMP"};
constexpr const char* kCfppImproverIn[] = {"CLDPNT", "IMPDRATE"};
constexpr const char* kCfppImprover[] = {"CFPPIMP"};
constexpr const char* kCloudPoint[] = {"CLDPNT"};
constexpr const char* kCloudPointIndex[] = {"CPNTNDX"};
constexpr const char* kFlashPoint[] = {"FLSHPNT"};
constexpr const char* kFlashPointIndex[] = {"FPNTNDX"};
constexpr const char* kT10Blend[] = {"T10BV"};
constexpr const char* kT50Blend[] = {"T50BV"};
constexpr const char* kT90Blend[] = {"T90BV"};
constexpr const char* kOctanes[] = {"RON", "MON"};
constexpr const char* kDon[] = {"DON"};
constexpr const char* kMtmfIn[] = {"RON", "MON", "OLE", "ARO"};
constexpr const char* kMtmrIn[] = {"TRON", "TMON", "OLE", "ARO"};
constexpr const char* kTransformedOctanes[] = {"TRON", "TMON"};
constexpr const char* kPercentPoints[] = {"T1", "T2", "T3", "T4", "T5", "T6", "T7",
                                          "T8", "T9", "T10", "T11", "T12", "T13"};
constexpr const char* kTemperaturePoints[] = {
    "P1",  "P2",  "P3",  "P4",  "P5",  "P6",  "P7",  "P8",  "P9",  "P10", "P11", "P12", "P13",
    "P14", "P15", "P16", "P17", "P18", "P19", "P20", "P21", "P22", "P23", "P24", "P25"};
constexpr const char* kCarbobIn[] = {"OBSRVP", "OBST50", "OBST90", "VOLETOH"};
constexpr const char* kRvpT50T90[] = {"RVP", "T50", "T90"};
constexpr const char* kCt10In[] = {"T10", "VOLETOH", "T10_No_Ethanol"};
constexpr const char* kCt50In[] = {"T50", "VOLETOH", "T50_No_Ethanol"};
constexpr const char* kCt90In[] = {"T90", "VOLETOH", "T90_No_Ethanol"};
constexpr const char* kObsT10[] = {"OBST10"};
constexpr const char* kObsT50[] = {"OBST50"};
constexpr const char* kObsT90[] = {"OBST90"};
constexpr const char* kCd86One90In[] = {"T90NDX", "VOLETOH", "T90NDX_No_Ethanol"};
constexpr const char* kCrvpIn[] = {"RVPNDX", "VOLETOH", "RVPNDX_No_Ethanol"};
constexpr const char* kObsRvp[] = {"OBSRVP"};
constexpr const char* kCd86In[] = {
    "POFF1",  "POFF2",  "POFF3",  "POFF4",  "POFF5",  "POFF6",  "POFF7",
    "POFF8",  "POFF9",  "POFF10", "VOLETOH", "POFF1_No_Ethanol", "POFF2_No_Ethanol",
    "POFF3_No_Ethanol", "POFF4_No_Ethanol", "POFF5_No_Ethanol", "POFF6_No_Ethanol",
    "POFF7_No_Ethanol", "POFF8_No_Ethanol", "POFF9_No_Ethanol", "POFF10_No_Ethanol"};
constexpr const char* kObsCurve[] = {"OBSIBP", "OBST10", "OBST30", "OBST50",
                                     "OBST70", "OBST90", "OBSFBP"};
// The ethanol blendstock models: seven properties, then (CARBOB2) their slack values.
constexpr const char* kBlendstockIn[] = {"RVP", "T50", "T90", "ARO", "BNZ", "OLF", "SUL"};
constexpr const char* kCarbob2In[] = {"RVP",  "T50",  "T90",  "ARO",  "BNZ",  "OLF",  "SUL",
                                      "SRVP", "ST50", "ST90", "SARO", "SBNZ", "SOLF", "SSUL"};
constexpr const char* kEthanolBlendOut[] = {"RVP", "T50", "T90", "ARO", "BNZ",
                                            "EHO", "OLF", "OXY", "SUL"};
constexpr const char* kVaporLockIn[] = {"RVP", "E70"};
constexpr const char* kVaporLock[] = {"VLI"};
constexpr const char* kEvaporativeOut[] = {"EVP0", "EVP1", "EVP2", "EVP3", "EVP4",  "EVP5",
                                           "EVP6", "EVP7", "EVP8", "EVP9", "EVP10", "EVP11"};
constexpr const char* kT50T90[] = {"T50", "T90"};
constexpr const char* kE200E300[] = {"E200", "E300"};
constexpr const char* kRbobOut[] = {"RVP", "T50", "T90", "ARO", "BNZ",
                                    "EHO", "OLF", "SUL", "E200", "E300"};
constexpr const char* kT10T30[] = {"T10", "T30"};
constexpr const char* kT20[] = {"T20"};

// ---- Output kind codes ----------------------------------------------------

constexpr int kKind1[] = {1};
constexpr int kKind2[] = {2};
constexpr int kKind3[] = {3};
constexpr int kKind4[] = {4};
constexpr int kKind5[] = {5};
constexpr int kKind7[] = {7};
constexpr int kKind8[] = {8};
constexpr int kKind9[] = {9};
constexpr int kKind10[] = {10};
constexpr int kKind12[] = {12};
constexpr int kKind18[] = {18};
constexpr int kKind20[] = {20};
constexpr int kKindCurve[] = {1, 1, 2, 2, 2, 2, 2};
constexpr int kKindEmissions3[] = {20, 20, 20};
constexpr int kKindEmissions5[] = {20, 20, 20, 20, 20};
constexpr int kKindOctanes[] = {11, 11};
constexpr int kKindDon[] = {11};
constexpr int kKindPercentPoints[] = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2};
constexpr int kKindRvpT50T90[] = {3, 2, 2};
constexpr int kKindEthanolBlend[] = {3, 2, 2, 17, 17, 15, 17, 15, 16};
constexpr int kKindEvaporative[] = {19, 19, 19, 19, 19, 19, 19, 19, 19, 19, 19, 19};
constexpr int kKindE200E300[] = {20, 20};
constexpr int kKindRbob[] = {3, 2, 2, 17, 17, 15, 17, 16, 17, 17};

// ---- Coefficient lists ----------------------------------------------------

template <int I>
constexpr CoefficientRun kCorfOnly[1] = {corf<I>()};

constexpr CoefficientRun kTvlCoefs[] = {corf<0>(),
                                        numbered("P", 1, 4, TARN_VIEW(from(b.tvl20, 0)))};

constexpr CoefficientRun kCarbCoefs[] = {
    single("T50", TARN_VIEW(one(b.settings.carb[0]))),
    single("T90", TARN_VIEW(one(b.settings.carb[1]))),
    single("ARO", TARN_VIEW(one(b.settings.carb[2]))),
    single("OLF", TARN_VIEW(one(b.settings.carb[3]))),
    single("SUL", TARN_VIEW(one(b.settings.carb[4]))),
    single("BNZ", TARN_VIEW(one(b.settings.carb[5]))),
};
constexpr CoefficientRun kCarb3Coefs[] = {
    single("T50", TARN_VIEW(one(b.settings.carb3[0]))),
    single("T90", TARN_VIEW(one(b.settings.carb3[1]))),
    single("ARO", TARN_VIEW(one(b.settings.carb3[2]))),
    single("OLF", TARN_VIEW(one(b.settings.carb3[3]))),
    single("SUL", TARN_VIEW(one(b.settings.carb3[4]))),
    single("BNZ", TARN_VIEW(one(b.settings.carb3[5]))),
    single("EVAP", TARN_VIEW(one(b.settings.carb3[6]))),
};
constexpr CoefficientRun kCarb3mCoefs[] = {
    single("T50", TARN_VIEW(one(b.settings.carb3m[0]))),
    single("T90", TARN_VIEW(one(b.settings.carb3m[1]))),
    single("ARO", TARN_VIEW(one(b.settings.carb3m[2]))),
    single("OLF", TARN_VIEW(one(b.settings.carb3m[3]))),
    single("SUL", TARN_VIEW(one(b.settings.carb3m[4]))),
    single("BNZ", TARN_VIEW(one(b.settings.carb3m[5]))),
    single("EVAP", TARN_VIEW(one(b.settings.carb3m[6]))),
};

// Both directions of the percent-off conversion share their ten temperatures.
template <int I>
constexpr CoefficientRun kPercentOffCoefs[] = {
    typcor<I>(), corf<I>(), numbered("P", 1, 10, TARN_VIEW(from(b.d86TempPoints, 0)))};

constexpr CoefficientRun kEpaCoefs[] = {
    single("AREA", TARN_VIEW(one(b.settings.epa[0]))),
    single("PHASE", TARN_VIEW(one(b.settings.epa[1]))),
    single("SEASON", TARN_VIEW(one(b.settings.epa[2]))),
    single("EQUATION", TARN_VIEW(one(b.settings.epa[3]))),
    single("FUELTYPE", TARN_VIEW(one(b.settings.epa[4]))),
    single("CTYPE", TARN_VIEW(one(b.settings.epa[5]))),
    single("COUNTRY", TARN_VIEW(one(b.settings.epa[6]))),
};

// RVP and RVPINDEX share one blending exponent.
constexpr CoefficientRun kRvpCoefs[] = {single("P1", TARN_VIEW(one(b.rvpExponent)))};

constexpr CoefficientRun kDriveabilityCoefs[] = {
    corf<10>(), single("P1", TARN_VIEW(one(b.driveability.p1))),
    single("P2", TARN_VIEW(one(b.driveability.p2))), single("EF", TARN_VIEW(one(b.driveability.ef)))};

// The ethanol content of the E variant is kept whole on purpose (6.7 is stored as 6).
constexpr CoefficientRun kDriveabilityECoefs[] = {
    corf<11>(), single("EOHVOL", TARN_VIEW(one(b.settings.driveabilityEohvol)), Rule::WholeReal)};

constexpr CoefficientRun kCetaneImproverCoefs[] = {
    corf<27>(), numbered("P", 1, 7, TARN_VIEW(from(b.cetaneImprover.p, 0)))};
constexpr CoefficientRun kCfppImproverCoefs[] = {
    corf<28>(), numbered("P", 1, 3, TARN_VIEW(from(b.cfppImprover, 0)))};

constexpr CoefficientRun kT10IndexCoefs[] = {corf<35>(), single("N1", TARN_VIEW(one(b.t10Index.n1))),
                                             numbered("P", 1, 13, TARN_VIEW(from(b.t10Index.p, 0)))};
constexpr CoefficientRun kT50IndexCoefs[] = {corf<36>(), single("N1", TARN_VIEW(one(b.t50Index.n1))),
                                             numbered("P", 1, 13, TARN_VIEW(from(b.t50Index.p, 0)))};
constexpr CoefficientRun kT90IndexCoefs[] = {corf<37>(), single("N1", TARN_VIEW(one(b.t90Index.n1))),
                                             numbered("P", 1, 13, TARN_VIEW(from(b.t90Index.p, 0)))};

// MTMF and MTMR share one set.
constexpr CoefficientRun kMtmCoefs[] = {numbered("P", 1, 12, TARN_VIEW(from(b.mtm, 0))),
                                        single("Perturb", TARN_VIEW(one(b.mtmPerturb)))};

// Both directions of the N-point conversion share their point sets and
// counts. A count set here at or beyond its limit becomes 1, on purpose.
template <int I>
constexpr CoefficientRun kNd86Coefs[] = {
    typcor<I>(),
    corf<I>(),
    numbered("P", 1, 25, TARN_VIEW(from(b.nd86.p, 0))),
    numbered("T", 1, 13, TARN_VIEW(from(b.nd86.t, 0))),
    single("NTEMP", TARN_VIEW(one(b.nd86.ntemp)), Rule::CountWithLimit, 14),
    single("NPOFF", TARN_VIEW(one(b.nd86.npoff)), Rule::CountWithLimit, 26),
};

constexpr CoefficientRun kCarbobCoefs[] = {corf<43>(),
                                           single("ESTRM", TARN_VIEW(one(b.settings.carbobEstrm)))};

constexpr CoefficientRun kCarbob2Coefs[] = {
    corf<50>(),
    single("EOHARO", TARN_VIEW(one(b.carbob2.aro))),
    single("EOHBNZ", TARN_VIEW(one(b.carbob2.bnz))),
    single("EOHOLF", TARN_VIEW(one(b.carbob2.olf))),
    single("EOHEHO", TARN_VIEW(one(b.carbob2.eho))),
    single("EOHSUL", TARN_VIEW(one(b.carbob2.sul))),
    single("EOHSPG", TARN_VIEW(one(b.carbob2.etohspg))),
    single("GASSPG", TARN_VIEW(one(b.carbob2.gasspg))),
    single("EOHVOL", TARN_VIEW(one(b.settings.carbob2.eohvol))),
    single("O2OPT", TARN_VIEW(one(b.settings.carbob2.o2opt))),
    single("RNDO2", TARN_VIEW(one(b.settings.carbob2.rndo2))),
    single("RNDRST", TARN_VIEW(one(b.settings.carbob2.rndrst))),
    single("REPORT", TARN_VIEW(one(b.settings.carbob2.report))),
    single("OLFPEN", TARN_VIEW(one(b.settings.carbob2.olfpen))),
    single("ALTOXY", TARN_VIEW(one(b.carbob2Altoxy))),
};

// CARBOB3 has its own ethanol properties, outside the CARBOB2 group.
constexpr CoefficientRun kCarbob3Coefs[] = {
    corf<51>(),
    single("EOHARO", TARN_VIEW(one(b.settings.carbob3Blend.aro))),
    single("EOHBNZ", TARN_VIEW(one(b.settings.carbob3Blend.bnz))),
    single("EOHOLF", TARN_VIEW(one(b.settings.carbob3Blend.olf))),
    single("EOHEHO", TARN_VIEW(one(b.settings.carbob3Blend.eho))),
    single("EOHSUL", TARN_VIEW(one(b.settings.carbob3Blend.sul))),
    single("EOHSPG", TARN_VIEW(one(b.settings.carbob3Blend.etohspg))),
    single("GASSPG", TARN_VIEW(one(b.settings.carbob3Blend.gasspg))),
    single("EOHVOL", TARN_VIEW(one(b.settings.carbob3.eohvol))),
    single("O2OPT", TARN_VIEW(one(b.settings.carbob3.o2opt))),
    single("RNDO2", TARN_VIEW(one(b.settings.carbob3.rndo2))),
    single("RNDRST", TARN_VIEW(one(b.settings.carbob3.rndrst))),
    single("REPORT", TARN_VIEW(one(b.settings.carbob3.report))),
    single("OLFPEN", TARN_VIEW(one(b.settings.carbob3.olfpen))),
};

// The vapour-lock constants are reported but not changed through here.
constexpr CoefficientRun kVaporLockCoefs[] = {
    numbered("P", 1, 2, TARN_VIEW(from(b.vaporLockIndex, 0)), Rule::ReadOnly)};

constexpr CoefficientRun kEvaporativeCoefs[] = {
    numbered("P", 0, 12, TARN_VIEW(from(b.evaporative.p, 0)), Rule::Store, 2),
    single("NPTS", TARN_VIEW(one(b.evaporative.npts)))};

constexpr CoefficientRun kE200E300Coefs[] = {corf<54>(),
                                             numbered("P", 1, 4, TARN_VIEW(from(b.e200e300, 0)))};

constexpr CoefficientRun kRbobCoefs[] = {
    corf<55>(),
    single("EOHARO", TARN_VIEW(one(b.rbob.aro))),
    single("EOHBNZ", TARN_VIEW(one(b.rbob.bnz))),
    single("EOHOLF", TARN_VIEW(one(b.rbob.olf))),
    single("EOHEHO", TARN_VIEW(one(b.rbob.eho))),
    single("EOHSUL", TARN_VIEW(one(b.rbob.sul))),
    single("EOHSPG", TARN_VIEW(one(b.rbob.etohspg))),
    single("GASSPG", TARN_VIEW(one(b.rbob.gasspg))),
    single("EOHVOL", TARN_VIEW(one(b.settings.rbobEohvol))),
    numbered("P", 1, 6, TARN_VIEW(from(b.rbobP, 0))),
};

constexpr CoefficientRun kT20GaussCoefs[] = {
    single("P1", TARN_VIEW(one(b.t20Gaussian.p1)), Rule::GaussianQuantile),
    single("P2", TARN_VIEW(one(b.t20Gaussian.p2)), Rule::GaussianQuantile),
    single("P3", TARN_VIEW(one(b.t20Gaussian.p3)), Rule::GaussianQuantile),
};

#undef TARN_VIEW

// ---- Evaluators -------------------------------------------------------------
// Each unpacks the catalogue's flat input array x into the argument list of
// its correlation, passing the row's unit byte; out receives the outputs and
// d the input-major derivatives. Steps beyond that are in evaluation_steps.

#define TARN_EVALUATOR(...)                                                            \
  []([[maybe_unused]] const CorrelationRow& row, [[maybe_unused]] double* x,            \
     [[maybe_unused]] double* out, [[maybe_unused]] int flag,                           \
     [[maybe_unused]] double* d) -> int { __VA_ARGS__ }

// One input, one output, no unit: f(x0, flag, d).
template <double (*F)(double, int, double*)>
constexpr Evaluator kPlain = TARN_EVALUATOR(return storeSingle(out, F(x[0], flag, d)););
// One temperature in or out: f(unit, x0, flag, d).
template <double (*F)(char, double, int, double*)>
constexpr Evaluator kWithUnit =
    TARN_EVALUATOR(return storeSingle(out, F(unitOf(row), x[0], flag, d)););

// A catalogue adapter of another subsystem: adapter(x, out, flag, d).
template <int (*Adapter)(double*, double*, int, double*)>
constexpr Evaluator kAdapter = TARN_EVALUATOR(return Adapter(x, out, flag, d););

// The percent-off conversions, with the row's method setting.
template <int (*F)(int, int, double*, double*, char, double*)>
constexpr Evaluator kFromPercentOff = TARN_EVALUATOR(
    return F(params().settings.typcor[row.index], flag, x, out, unitOf(row), d););
template <int (*F)(int, double*, double*, char, int, double*)>
constexpr Evaluator kToPercentOff = TARN_EVALUATOR(
    return F(params().settings.typcor[row.index], x, out, unitOf(row), flag, d););

constexpr Evaluator kEvaluateTvl =
    TARN_EVALUATOR(return storeSingle(out, gfx_TVL(flag, unitOf(row), x[0], x[1], x[2], d)););
constexpr Evaluator kEvaluateTvl2 = TARN_EVALUATOR(
    return storeSingle(out, gfx_TVL2(flag, unitOf(row), x[0], x[1], x[2], x[3], d)););
// The pressure byte 'K' (75) means kPa: this row has no unit flag of its own.
constexpr Evaluator kEvaluateVaporLock =
    TARN_EVALUATOR(return storeSingle(out, gfx_VaporLockIndex(flag, 'K', x[0], x[1], d)););
constexpr Evaluator kEvaluateEvaporative =
    TARN_EVALUATOR(return gfx_Evaporative(flag, x, out, d););
constexpr Evaluator kEvaluateT20Gauss =
    TARN_EVALUATOR(return storeSingle(out, gfx_T20Gaussian(x[0], x[1], flag, d)););
constexpr Evaluator kEvaluateDriveability = TARN_EVALUATOR(
    return storeSingle(out, gfx_DriveabilityIndex(flag, unitOf(row), x[0], x[1], x[2], d)););
constexpr Evaluator kEvaluateDriveabilityE = TARN_EVALUATOR(
    return storeSingle(out, gfx_DriveabilityIndexE(flag, unitOf(row), x[0], x[1], x[2], d,
                                                   params().settings.driveabilityEohvol)););
constexpr Evaluator kEvaluateCetane2 = TARN_EVALUATOR(
    return storeSingle(out, gfx_CetaneIndex2(flag, unitOf(row), x[0], x[1], d)););
constexpr Evaluator kEvaluateCetane4 = TARN_EVALUATOR(
    return storeSingle(out, gfx_CetaneIndex4(flag, unitOf(row), x[0], x[1], x[2], x[3], d)););
constexpr Evaluator kEvaluateCetane5 = TARN_EVALUATOR(
    return storeSingle(out, gfx_CetaneIndex5(flag, unitOf(row), x[0], x[1], x[2], x[3], d)););
constexpr Evaluator kEvaluateCetaneImprover = TARN_EVALUATOR(
    return storeSingle(out, gfx_CetaneImprover(flag, unitOf(row), x[0], x[1], x[2], d)););
constexpr Evaluator kEvaluateCfppImprover = TARN_EVALUATOR(
    return storeSingle(out, gfx_CFPPImprover(flag, unitOf(row), x[0], x[1], d)););
constexpr Evaluator kEvaluateDon =
    TARN_EVALUATOR(return storeSingle(out, gfx_DON(flag, x[0], x[1], d)););
constexpr Evaluator kEvaluateE200E300 =
    TARN_EVALUATOR(return gfx_E200E300EPA(unitOf(row), x, out, flag, d););

#undef TARN_EVALUATOR

// ---- The catalogue ----------------------------------------------------------

}  // namespace

// index, id, type, inputs, outputs, output kinds, pair, slack inputs, unit
// source, coefficients, evaluator.
extern constexpr CorrelationRow kCatalogueRows[kCatalogueSize] = {
    {0, "TVL", kGeneral, names(kTvlIn), names(kTvl), kinds(kKind9), kNoPair, 0, 0, coefs(kTvlCoefs), kEvaluateTvl},
    {1, "TVL2", kGeneral, names(kTvl2In), names(kTvl), kinds(kKind9), kNoPair, 0, 1, coefs(kCorfOnly<1>), kEvaluateTvl2},
    {2, "CARB", kGeneral, names(kCarbIn), names(kCarbOut), kinds(kKindEmissions3), kNoPair, 0, 2, coefs(kCarbCoefs), kAdapter<emissions::carbCatalogueAdapter>},
    {3, "CARB3", kGeneral, names(kCarb3In), names(kCarbOut), kinds(kKindEmissions3), kNoPair, 0, 3, coefs(kCarb3Coefs), kAdapter<emissions::carb3CatalogueAdapter>},
    {4, "CARB3M", kGeneral, names(kCarbIn), names(kCarbOut), kinds(kKindEmissions3), kNoPair, 0, 4, coefs(kCarb3mCoefs), kAdapter<emissions::carb3mCatalogueAdapter>},
    {5, "D86FROMPERCENTOFF", kIndexToProperty, names(kPercentOff), names(kD86Curve), kinds(kKindCurve), kNoPair, 0, 5, coefs(kPercentOffCoefs<5>), kFromPercentOff<gfx_D86FromPercentOff>},
    {6, "D86TOPERCENTOFF", kPropertyToIndex, names(kD86Curve), names(kPercentOff), kNoKinds, 5, 0, 6, coefs(kPercentOffCoefs<6>), kToPercentOff<gfx_D86toPercentOff>},
    {7, "EPA", kGeneral, names(kEpaIn), names(kEpaOut), kinds(kKindEmissions5), kNoPair, 0, 7, coefs(kEpaCoefs), kAdapter<emissions::epaCatalogueAdapter>},
    {8, "RVP", kIndexToProperty, names(kRvpIndex), names(kRvp), kinds(kKind3), kNoPair, 0, 8, coefs(kRvpCoefs), &evaluateRvp},
    {9, "RVPINDEX", kPropertyToIndex, names(kRvp), names(kRvpIndex), kNoKinds, 8, 0, 9, coefs(kRvpCoefs), kPlain<gfx_RVPIndex>},
    {10, "DRIVEABILITYINDEX", kGeneral, names(kT10T50T90), names(kDriveability), kinds(kKind18), kNoPair, 0, 10, coefs(kDriveabilityCoefs), kEvaluateDriveability},
    {11, "DRIVEABILITYINDEXE", kGeneral, names(kT10T50T90), names(kDriveability), kinds(kKind18), kNoPair, 0, 11, coefs(kDriveabilityECoefs), kEvaluateDriveabilityE},
    {12, "D86ONE10INDEX", kPropertyToIndex, names(kT10), names(kT10Index), kNoKinds, 14, 0, 12, coefs(kCorfOnly<12>), kWithUnit<gfx_D86one10Index>},
    // Pairs with D86ONE10BLEND rather than D86ONE90BLEND; hosts rely on this answer.
    {13, "D86ONE90INDEX", kPropertyToIndex, names(kT90), names(kT90Index), kNoKinds, 14, 0, 13, coefs(kCorfOnly<13>), kWithUnit<gfx_D86one90Index>},
    {14, "D86ONE10BLEND", kIndexToProperty, names(kT10Index), names(kT10), kinds(kKind1), kNoPair, 0, 14, coefs(kCorfOnly<14>), kWithUnit<gfx_D86one10Blend>},
    {15, "D86ONE90BLEND", kIndexToProperty, names(kT90Index), names(kT90), kinds(kKind2), kNoPair, 0, 15, coefs(kCorfOnly<15>), kWithUnit<gfx_D86one90Blend>},
    {16, "POURPOINTINDEX1", kPropertyToIndex, names(kPourPoint), names(kPourPointIndex), kNoKinds, 17, 0, 16, coefs(kCorfOnly<16>), kWithUnit<gfx_PourPointIndex1>},
    // Evaluated in the unit of POURPOINTINDEX1, whatever its own CORF says (intended).
    {17, "POURPOINT1", kIndexToProperty, names(kPourPointIndex), names(kPourPoint), kinds(kKind4), kNoPair, 0, 16, coefs(kCorfOnly<17>), kWithUnit<gfx_PourPoint1>},
    {18, "VISCOSITYINDEX1", kPropertyToIndex, names(kViscosity), names(kViscosityIndex), kNoKinds, 19, 0, 18, kNoCoefs, kPlain<gfx_ViscosityIndex1>},
    {19, "VISCOSITY1", kIndexToProperty, names(kViscosityIndex), names(kViscosity), kinds(kKind5), kNoPair, 0, 19, kNoCoefs, kPlain<gfx_Viscosity1>},
    {20, "VISCOSITYINDEX2", kPropertyToIndex, names(kViscosity), names(kViscosityIndex), kNoKinds, 21, 0, 20, kNoCoefs, kPlain<gfx_ViscosityIndex2>},
    {21, "VISCOSITY2", kIndexToProperty, names(kViscosityIndex), names(kViscosity), kinds(kKind5), kNoPair, 0, 21, kNoCoefs, kPlain<gfx_Viscosity2>},
    {22, "VISCOSITYINDEX3", kPropertyToIndex, names(kViscosity), names(kViscosityIndex), kNoKinds, 23, 0, 22, kNoCoefs, kPlain<gfx_ViscosityIndex3>},
    {23, "VISCOSITY3", kIndexToProperty, names(kViscosityIndex), names(kViscosity), kinds(kKind5), kNoPair, 0, 23, kNoCoefs, kPlain<gfx_Viscosity3>},
    {24, "CETANEINDEX2", kGeneral, names(kCetane2In), names(kCetane), kinds(kKind7), kNoPair, 0, 24, coefs(kCorfOnly<24>), kEvaluateCetane2},
    {25, "CETANEINDEX4", kGeneral, names(kCetane4In), names(kCetane), kinds(kKind7), kNoPair, 0, 25, coefs(kCorfOnly<25>), kEvaluateCetane4},
    {26, "CETANEINDEX5", kGeneral, names(kCetane4In), names(kCetane), kinds(kKind7), kNoPair, 0, 26, coefs(kCorfOnly<26>), kEvaluateCetane5},
    {27, "CETANEIMPROVER", kGeneral, names(kCetaneImproverIn), names(kCetaneImprover), kinds(kKind8), kNoPair, 0, 27, coefs(kCetaneImproverCoefs), kEvaluateCetaneImprover},
    {28, "CFPPIMPROVER", kGeneral, names(kCfppImproverIn), names(kCfppImprover), kinds(kKind10), kNoPair, 0, 28, coefs(kCfppImproverCoefs), kEvaluateCfppImprover},
    {29, "CLOUDPOINTINDEX1", kPropertyToIndex, names(kCloudPoint), names(kCloudPointIndex), kNoKinds, 30, 0, 29, coefs(kCorfOnly<29>), kWithUnit<gfx_CloudPointIndex1>},
    {30, "CLOUDPOINT1", kIndexToProperty, names(kCloudPointIndex), names(kCloudPoint), kinds(kKind10), kNoPair, 0, 30, coefs(kCorfOnly<30>), kWithUnit<gfx_CloudPoint1>},
    {31, "CLOUDPOINTINDEX3", kPropertyToIndex, names(kCloudPoint), names(kCloudPointIndex), kNoKinds, 32, 0, 31, coefs(kCorfOnly<31>), kWithUnit<gfx_CloudPointIndex3>},
    {32, "CLOUDPOINT3", kIndexToProperty, names(kCloudPointIndex), names(kCloudPoint), kinds(kKind10), kNoPair, 0, 32, coefs(kCorfOnly<32>), kWithUnit<gfx_CloudPoint3>},
    {33, "FLASHPOINTINDEX1", kPropertyToIndex, names(kFlashPoint), names(kFlashPointIndex), kNoKinds, 34, 0, 33, coefs(kCorfOnly<33>), kWithUnit<gfx_FlashPointIndex1>},
    {34, "FLASHPOINT1", kIndexToProperty, names(kFlashPointIndex), names(kFlashPoint), kinds(kKind12), kNoPair, 0, 34, coefs(kCorfOnly<34>), kWithUnit<gfx_FlashPoint1>},
    {35, "T10INDEX", kDistillationIndex, names(kT10T50T90), names(kT10Blend), kNoKinds, kNoPair, 0, 35, coefs(kT10IndexCoefs), &evaluateThreePointIndex<0>},
    {36, "T50INDEX", kDistillationIndex, names(kT10T50T90), names(kT50Blend), kNoKinds, kNoPair, 0, 36, coefs(kT50IndexCoefs), &evaluateThreePointIndex<1>},
    {37, "T90INDEX", kDistillationIndex, names(kT10T50T90), names(kT90Blend), kNoKinds, kNoPair, 0, 37, coefs(kT90IndexCoefs), &evaluateThreePointIndex<2>},
    {38, "DON", kGeneral, names(kOctanes), names(kDon), kinds(kKindDon), kNoPair, 0, 38, kNoCoefs, kEvaluateDon},
    {39, "MTMF", kPropertyToIndex, names(kMtmfIn), names(kTransformedOctanes), kNoKinds, 40, 0, 39, coefs(kMtmCoefs), &evaluateMtmf},
    {40, "MTMR", kIndexToProperty, names(kMtmrIn), names(kOctanes), kinds(kKindOctanes), kNoPair, 0, 40, coefs(kMtmCoefs), &evaluateMtmr},
    {41, "ND86TOPERCENTOFF", kPropertyToIndex, names(kPercentPoints), names(kTemperaturePoints), kNoKinds, 42, 0, 41, coefs(kNd86Coefs<41>), kToPercentOff<gfx_ND86toPercentOff>},
    {42, "ND86FROMPERCENTOFF", kIndexToProperty, names(kTemperaturePoints), names(kPercentPoints), kinds(kKindPercentPoints), kNoPair, 0, 42, coefs(kNd86Coefs<42>), kFromPercentOff<gfx_ND86FromPercentOff>},
    {43, "CARBOB", kGeneral, names(kCarbobIn), names(kRvpT50T90), kinds(kKindRvpT50T90), kNoPair, 0, 43, coefs(kCarbobCoefs), &evaluateCarbob},
    {44, "CT10BLEND", kDistillationIndex, names(kCt10In), names(kObsT10), kinds(kKind1), kNoPair, 0, 44, kNoCoefs, &evaluateOxygenateFreePoint},
    {45, "CT50BLEND", kDistillationIndex, names(kCt50In), names(kObsT50), kinds(kKind2), kNoPair, 0, 45, kNoCoefs, &evaluateOxygenateFreePoint},
    {46, "CT90BLEND", kDistillationIndex, names(kCt90In), names(kObsT90), kinds(kKind2), kNoPair, 0, 46, kNoCoefs, &evaluateOxygenateFreePoint},
    // Evaluated in the unit of D86ONE90BLEND (intended: it has no flag of its own).
    {47, "CD86ONE90BLEND", kIndexToProperty, names(kCd86One90In), names(kObsT90), kinds(kKind2), kNoPair, 0, 15, kNoCoefs, &evaluateOxygenateFreeT90},
    {48, "CRVP", kIndexToProperty, names(kCrvpIn), names(kObsRvp), kinds(kKind3), kNoPair, 0, 48, kNoCoefs, &evaluateOxygenateFreeRvp},
    {49, "CD86FROMPERCENTOFF", kIndexToProperty, names(kCd86In), names(kObsCurve), kinds(kKindCurve), kNoPair, 0, 49, kNoCoefs, kAdapter<distill::d86FromPercentOffWithoutOxygenate>},
    {50, "CARBOB2", kGeneral, names(kCarbob2In), names(kEthanolBlendOut), kinds(kKindEthanolBlend), kNoPair, 7, 50, coefs(kCarbob2Coefs), kAdapter<emissions::carbob2CatalogueAdapter>},
    {51, "CARBOB3", kGeneral, names(kBlendstockIn), names(kEthanolBlendOut), kinds(kKindEthanolBlend), kNoPair, 0, 51, coefs(kCarbob3Coefs), &evaluateCarbob3},
    {52, "VAPORLOCKINDEX", kGeneral, names(kVaporLockIn), names(kVaporLock), kinds(kKind20), kNoPair, 0, 52, coefs(kVaporLockCoefs), kEvaluateVaporLock},
    {53, "EVAPORATIVE", kGeneral, names(kD86Curve), names(kEvaporativeOut), kinds(kKindEvaporative), kNoPair, 0, 53, coefs(kEvaporativeCoefs), kEvaluateEvaporative},
    {54, "E200E300EPA", kGeneral, names(kT50T90), names(kE200E300), kinds(kKindE200E300), kNoPair, 0, 54, coefs(kE200E300Coefs), kEvaluateE200E300},
    {55, "RBOB", kGeneral, names(kBlendstockIn), names(kRbobOut), kinds(kKindRbob), kNoPair, 0, 55, coefs(kRbobCoefs), &evaluateRbob},
    {56, "T20GAUSS", kGeneral, names(kT10T30), names(kT20), kinds(kKind1), kNoPair, 0, 56, coefs(kT20GaussCoefs), kEvaluateT20Gauss},
};

// Each row's evaluator under the NaN rule, with the row's counts.
template <int I>
int evaluateWithoutNaNAt(const CorrelationRow& row, double* inputs, double* outputs,
                         int derivFlag, double* derivs) {
  constexpr const CorrelationRow& r = kCatalogueRows[I];
  return evaluateWithoutNaN<r.evaluate, static_cast<std::size_t>(r.inputs.count),
                            static_cast<std::size_t>(r.outputs.count)>(row, inputs, outputs,
                                                                       derivFlag, derivs);
}

template <int... I>
constexpr std::array<Evaluator, sizeof...(I)> evaluatorsWithoutNaN(
    std::integer_sequence<int, I...>) {
  return {&evaluateWithoutNaNAt<I>...};
}

extern constexpr std::array<Evaluator, kCatalogueSize> kEvaluatorsWithoutNaN =
    evaluatorsWithoutNaN(std::make_integer_sequence<int, kCatalogueSize>());

// Evaluation by index goes straight to a row's evaluator: every row must
// have a type that is computed.
constexpr bool everyRowIsComputed() {
  for (const CorrelationRow& row : kCatalogueRows) {
    if (row.type < kGeneral || row.type > kPropertyToIndex) return false;
  }
  return true;
}
static_assert(everyRowIsComputed(), "a catalogue row of a type that is not computed");

namespace {

constexpr LibraryProperty kLibraryProperties[kLibraryPropertyCount] = {
    {"RVPD", "Derived Property"},
    {"RVPC", "Complex Property"},
};

}  // namespace

const LibraryProperty* libraryProperties() { return kLibraryProperties; }

}  // namespace tarn::frame
