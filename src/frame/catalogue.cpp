// The catalogue table of the 57 built-in correlations.
#include "frame/catalogue.h"

#include "blending/catalogue_adapters.h"
#include "common/catalogue_adapter.h"
#include "common/missing.h"
#include "distill/percent_off.h"
#include "emissions/catalogue_adapters.h"
#include "frame/nan_rule.h"
#include "props/catalogue_adapters.h"
#include "tarn/blending.h"
#include "tarn/distill.h"
#include "tarn/emissions.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

namespace tarn::frame {

// Each row's evaluation under its NaN rule, with the arguments of
// gfx_tarnGenCalc.
template <int I>
int evaluateByRule(int /*index*/, int derivFlag, int /*direction*/, double* inputs, double* outputs, double* derivs) {
  return evaluateUnderNaNRule<kCatalogueRows, I>(inputs, outputs, derivFlag, derivs);
}

namespace {

constexpr ParameterBlock& P = detail::parameterBlock;

// ---- Building blocks of the table -------------------------------------

template <std::size_t N>
constexpr NameList names(const char* const (&list)[N]) {
  return {list, static_cast<int>(N)};
}

constexpr CoefficientRun single(const char* name, const void* field) { return {name, 0, 0, 0, field}; }
constexpr CoefficientRun numbered(const char* prefix, int first, int count, const void* field, int digits = 0) {
  return {prefix, first, count, digits, field};
}
// Each correlation has its own unit flag and method setting, at its index.
template <int I>
constexpr CoefficientRun corf() {
  return single("CORF", &P.settings.corf[I]);
}
template <int I>
constexpr CoefficientRun typcor() {
  return single("TYPCOR", &P.settings.typcor[I]);
}

// The property lists, coefficient runs and evaluators the rows name: kept as laid out by hand.
// clang-format off
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
// The family of property an output is, by which a host maps it to its own.
namespace kind {
enum : int {
  FrontEndPoint = 1,             // IBP, T10, T20 (and their forms without oxygenate)
  DistillationPoint = 2,         // T30 .. FBP (and their forms without oxygenate)
  VapourPressure = 3,            // RVP
  PourPoint = 4,
  Viscosity = 5,
  Cetane = 7,
  CetaneGain = 8,
  VapourLiquidTemperature = 9,   // TV/L 20
  ColdFlow = 10,                 // cloud point, treated CFPP
  Octane = 11,                   // RON, MON, DON
  FlashPoint = 12,
  Oxygen = 15,                   // EHO, OXY
  Sulfur = 16,
  Composition = 17,              // ARO, BNZ, OLF; also RBOB's E200 and E300
  Driveability = 18,
  PercentEvaporated = 19,        // EVP0 .. EVP11
  ModelResult = 20,              // emission results, VLI, E200E300EPA's E200 and E300
};
}  // namespace kind

template <std::size_t N>
constexpr KindList kinds(const int (&list)[N]) { return {list, static_cast<int>(N)}; }

// The same kind for every output of a row.
template <int Kind, std::size_t N>
struct Repeated {
  int codes[N];
};
template <int Kind, std::size_t N>
constexpr Repeated<Kind, N> repeated() {
  Repeated<Kind, N> r{};
  for (int& code : r.codes) code = Kind;
  return r;
}
template <int Kind, std::size_t N>
constexpr Repeated<Kind, N> kAll = repeated<Kind, N>();

constexpr int kFrontEnd[] = {kind::FrontEndPoint};
constexpr int kPoint[] = {kind::DistillationPoint};
constexpr int kCurveKinds[] = {kind::FrontEndPoint,     kind::FrontEndPoint,
                               kind::DistillationPoint, kind::DistillationPoint,
                               kind::DistillationPoint, kind::DistillationPoint,
                               kind::DistillationPoint};
constexpr int kRvpKind[] = {kind::VapourPressure};
constexpr int kPourPointKind[] = {kind::PourPoint};
constexpr int kViscosityKind[] = {kind::Viscosity};
constexpr int kCetaneKind[] = {kind::Cetane};
constexpr int kCetaneGainKind[] = {kind::CetaneGain};
constexpr int kTvlKind[] = {kind::VapourLiquidTemperature};
constexpr int kColdFlowKind[] = {kind::ColdFlow};
constexpr int kOctaneKind[] = {kind::Octane};
constexpr int kFlashPointKind[] = {kind::FlashPoint};
constexpr int kDriveabilityKind[] = {kind::Driveability};
constexpr int kVolatilityKinds[] = {kind::VapourPressure, kind::DistillationPoint,
                                    kind::DistillationPoint};
constexpr int kEthanolBlendKinds[] = {
    kind::VapourPressure, kind::DistillationPoint, kind::DistillationPoint,
    kind::Composition,    kind::Composition,       kind::Oxygen,
    kind::Composition,    kind::Oxygen,            kind::Sulfur};
constexpr int kRbobKinds[] = {
    kind::VapourPressure, kind::DistillationPoint, kind::DistillationPoint, kind::Composition,
    kind::Composition,    kind::Oxygen,            kind::Composition,       kind::Sulfur,
    kind::Composition,    kind::Composition};

// ---- Coefficient lists ----------------------------------------------------

template <std::size_t N>
constexpr CoefficientList coefs(const CoefficientRun (&list)[N]) {
  return {list, static_cast<int>(N)};
}

template <int I>
constexpr CoefficientRun kCorfOnly[1] = {corf<I>()};

constexpr CoefficientRun kTvlCoefs[] = {corf<0>(), numbered("P", 1, 4, &P.tvl20[0])};

// The six flat/averaging selectors of a CARB model, and its EVAP selector.
constexpr CoefficientRun kCarbCoefs[] = {
    single("T50", &P.settings.carb[0]), single("T90", &P.settings.carb[1]),
    single("ARO", &P.settings.carb[2]), single("OLF", &P.settings.carb[3]),
    single("SUL", &P.settings.carb[4]), single("BNZ", &P.settings.carb[5]),
};
constexpr CoefficientRun kCarb3Coefs[] = {
    single("T50", &P.settings.carb3[0]), single("T90", &P.settings.carb3[1]),
    single("ARO", &P.settings.carb3[2]), single("OLF", &P.settings.carb3[3]),
    single("SUL", &P.settings.carb3[4]), single("BNZ", &P.settings.carb3[5]),
    single("EVAP", &P.settings.carb3[6]),
};
constexpr CoefficientRun kCarb3mCoefs[] = {
    single("T50", &P.settings.carb3m[0]), single("T90", &P.settings.carb3m[1]),
    single("ARO", &P.settings.carb3m[2]), single("OLF", &P.settings.carb3m[3]),
    single("SUL", &P.settings.carb3m[4]), single("BNZ", &P.settings.carb3m[5]),
    single("EVAP", &P.settings.carb3m[6]),
};

// Both directions of the percent-off conversion share their ten temperatures.
template <int I>
constexpr CoefficientRun kPercentOffCoefs[] = {typcor<I>(), corf<I>(),
                                               numbered("P", 1, 10, &P.d86TempPoints[0])};

constexpr CoefficientRun kEpaCoefs[] = {
    single("AREA", &P.settings.epa[0]),     single("PHASE", &P.settings.epa[1]),
    single("SEASON", &P.settings.epa[2]),   single("EQUATION", &P.settings.epa[3]),
    single("FUELTYPE", &P.settings.epa[4]), single("CTYPE", &P.settings.epa[5]),
    single("COUNTRY", &P.settings.epa[6]),
};

// RVP and RVPINDEX share one blending exponent.
constexpr CoefficientRun kRvpCoefs[] = {single("P1", &P.rvpExponent)};

constexpr CoefficientRun kDriveabilityCoefs[] = {corf<10>(), single("P1", &P.driveability.p1),
                                                 single("P2", &P.driveability.p2),
                                                 single("EF", &P.driveability.ef)};
constexpr CoefficientRun kDriveabilityECoefs[] = {
    corf<11>(), single("EOHVOL", &P.settings.driveabilityEohvol)};

constexpr CoefficientRun kCetaneImproverCoefs[] = {
    corf<27>(), numbered("P", 1, 7, &P.cetaneImprover.p[0])};
constexpr CoefficientRun kCfppImproverCoefs[] = {corf<28>(),
                                                 numbered("P", 1, 3, &P.cfppImprover[0])};

template <int I, ThreePointIndexParams ParameterBlock::*Group>
constexpr CoefficientRun kThreePointCoefs[] = {corf<I>(), single("N1", &(P.*Group).n1),
                                               numbered("P", 1, 13, &(P.*Group).p[0])};

// MTMF and MTMR share one set.
constexpr CoefficientRun kMtmCoefs[] = {numbered("P", 1, 12, &P.mtm[0]),
                                        single("Perturb", &P.mtmPerturb)};

// Both directions of the N-point conversion share their point sets and counts.
template <int I>
constexpr CoefficientRun kNd86Coefs[] = {
    typcor<I>(),
    corf<I>(),
    numbered("P", 1, 25, &P.nd86.p[0]),
    numbered("T", 1, 13, &P.nd86.t[0]),
    single("NTEMP", &P.nd86.ntemp),
    single("NPOFF", &P.nd86.npoff),
};

constexpr CoefficientRun kCarbobCoefs[] = {corf<43>(), single("ESTRM", &P.settings.carbobEstrm)};

// The properties of the ethanol of a blend group (CARBOB2, RBOB), in the
// coefficients' order.
#define TARN_ETHANOL_PROPERTIES(group)                                                  \
  single("EOHARO", &(group).aro), single("EOHBNZ", &(group).bnz),                       \
      single("EOHOLF", &(group).olf), single("EOHEHO", &(group).eho),                   \
      single("EOHSUL", &(group).sul), single("EOHSPG", &(group).etohspg),               \
      single("GASSPG", &(group).gasspg)

// The on/off switches of an ethanol blend, kept for the host.
#define TARN_ETHANOL_SWITCHES(settings)                                                 \
  single("O2OPT", &(settings).switches[0]), single("RNDO2", &(settings).switches[1]),   \
      single("RNDRST", &(settings).switches[2]), single("REPORT", &(settings).switches[3]), \
      single("OLFPEN", &(settings).switches[4])

constexpr CoefficientRun kCarbob2Coefs[] = {
    corf<50>(),
    TARN_ETHANOL_PROPERTIES(P.carbob2),
    single("EOHVOL", &P.settings.carbob2.eohvol),
    TARN_ETHANOL_SWITCHES(P.settings.carbob2),
    single("ALTOXY", &P.carbob2Altoxy),
};

// CARBOB3 has its own ethanol properties, outside the CARBOB2 group:
// ARO BNZ OLF EHO SUL GASSPG ETOHSPG.
constexpr CoefficientRun kCarbob3Coefs[] = {
    corf<51>(),
    single("EOHARO", &P.settings.carbob3Ethanol[0]),
    single("EOHBNZ", &P.settings.carbob3Ethanol[1]),
    single("EOHOLF", &P.settings.carbob3Ethanol[2]),
    single("EOHEHO", &P.settings.carbob3Ethanol[3]),
    single("EOHSUL", &P.settings.carbob3Ethanol[4]),
    single("EOHSPG", &P.settings.carbob3Ethanol[6]),
    single("GASSPG", &P.settings.carbob3Ethanol[5]),
    single("EOHVOL", &P.settings.carbob3.eohvol),
    TARN_ETHANOL_SWITCHES(P.settings.carbob3),
};

constexpr CoefficientRun kVaporLockCoefs[] = {numbered("P", 1, 2, &P.vaporLockIndex[0])};

constexpr CoefficientRun kEvaporativeCoefs[] = {numbered("P", 0, 12, &P.evaporative.p[0], 2),
                                                single("NPTS", &P.evaporative.npts)};

constexpr CoefficientRun kE200E300Coefs[] = {corf<54>(), numbered("P", 1, 4, &P.e200e300[0])};

constexpr CoefficientRun kRbobCoefs[] = {
    corf<55>(),
    TARN_ETHANOL_PROPERTIES(P.rbob),
    single("EOHVOL", &P.settings.rbobEohvol),
    numbered("P", 1, 6, &P.rbobP[0]),
};

#undef TARN_ETHANOL_PROPERTIES
#undef TARN_ETHANOL_SWITCHES

constexpr CoefficientRun kT20GaussCoefs[] = {single("P1", &P.t20Gaussian.p1),
                                             single("P2", &P.t20Gaussian.p2),
                                             single("P3", &P.t20Gaussian.p3)};

// ---- Evaluators -------------------------------------------------------------
// Each unpacks the catalogue's flat input array x into the argument list of
// its correlation, passing the row's unit byte; out receives the outputs and
// d the input-major derivatives. A correlation of one output gives its value
// (the missing value for status 1). What goes beyond that is an adapter of
// the correlation's own subsystem.

#define TARN_EVALUATOR(...)                                                            \
  []([[maybe_unused]] const CorrelationRow& row, [[maybe_unused]] double* x,            \
     [[maybe_unused]] double* out, [[maybe_unused]] int flag,                           \
     [[maybe_unused]] double* d) -> int { __VA_ARGS__ }
#define TARN_VALUE(...)                                                                \
  []([[maybe_unused]] const CorrelationRow& row, [[maybe_unused]] const double* x,      \
     [[maybe_unused]] int flag, [[maybe_unused]] double* d) -> double { __VA_ARGS__ }

// The evaluation of a row computed as a value: the value in outputs[0],
// status 1 when it is the missing value.
constexpr Evaluator kStoreValue = TARN_EVALUATOR(
    const double result = row.value(row, x, flag, d);
    out[0] = result;
    return isMissing(result) ? 1 : 0;);

// One input, one output, no unit: f(x0, flag, d).
template <double (*F)(double, int, double*)>
constexpr SingleValue kPlain = TARN_VALUE(return F(x[0], flag, d););
// One temperature in or out: f(unit, x0, flag, d).
template <double (*F)(char, double, int, double*)>
constexpr SingleValue kWithUnit = TARN_VALUE(return F(unitOf(row), x[0], flag, d););

// A catalogue adapter of the correlation's subsystem, with the unit and
// method of the row's settings source.
template <CatalogueAdapter Adapter>
constexpr Evaluator kAdapter = TARN_EVALUATOR(
    return Adapter({unitOf(row), params().settings.typcor[row.settingsSource]}, x, out, flag, d););

// The percent-off conversions, with the row's method setting.
template <int (*F)(int, int, double*, double*, char, double*)>
constexpr Evaluator kFromPercentOff = TARN_EVALUATOR(
    return F(params().settings.typcor[row.settingsSource], flag, x, out, unitOf(row), d););
template <int (*F)(int, double*, double*, char, int, double*)>
constexpr Evaluator kToPercentOff = TARN_EVALUATOR(
    return F(params().settings.typcor[row.settingsSource], x, out, unitOf(row), flag, d););

// T10INDEX, T50INDEX, T90INDEX: the three-point index which (0, 1, 2), with
// forward-difference slopes only when asked for.
template <int Which>
constexpr SingleValue kThreePointIndex =
    TARN_VALUE(return gfx_D86BV1(Which, unitOf(row), x[0], x[1], x[2], flag ? d : nullptr););

constexpr SingleValue kEvaluateTvl =
    TARN_VALUE(return gfx_TVL(flag, unitOf(row), x[0], x[1], x[2], d););
constexpr SingleValue kEvaluateTvl2 =
    TARN_VALUE(return gfx_TVL2(flag, unitOf(row), x[0], x[1], x[2], x[3], d););
// The pressure byte 'K' (75) means kPa: this row has no unit flag of its own.
constexpr SingleValue kEvaluateVaporLock =
    TARN_VALUE(return gfx_VaporLockIndex(flag, 'K', x[0], x[1], d););
constexpr Evaluator kEvaluateEvaporative =
    TARN_EVALUATOR(return gfx_Evaporative(flag, x, out, d););
constexpr SingleValue kEvaluateT20Gauss =
    TARN_VALUE(return gfx_T20Gaussian(x[0], x[1], flag, d););
constexpr SingleValue kEvaluateDriveability =
    TARN_VALUE(return gfx_DriveabilityIndex(flag, unitOf(row), x[0], x[1], x[2], d););
constexpr SingleValue kEvaluateDriveabilityE = TARN_VALUE(
    return gfx_DriveabilityIndexE(flag, unitOf(row), x[0], x[1], x[2], d,
                                  params().settings.driveabilityEohvol););
constexpr SingleValue kEvaluateCetane2 =
    TARN_VALUE(return gfx_CetaneIndex2(flag, unitOf(row), x[0], x[1], d););
constexpr SingleValue kEvaluateCetane4 =
    TARN_VALUE(return gfx_CetaneIndex4(flag, unitOf(row), x[0], x[1], x[2], x[3], d););
constexpr SingleValue kEvaluateCetane5 =
    TARN_VALUE(return gfx_CetaneIndex5(flag, unitOf(row), x[0], x[1], x[2], x[3], d););
constexpr SingleValue kEvaluateCetaneImprover =
    TARN_VALUE(return gfx_CetaneImprover(flag, unitOf(row), x[0], x[1], x[2], d););
constexpr SingleValue kEvaluateCfppImprover =
    TARN_VALUE(return gfx_CFPPImprover(flag, unitOf(row), x[0], x[1], d););
constexpr SingleValue kEvaluateDon = TARN_VALUE(return gfx_DON(flag, x[0], x[1], d););
constexpr Evaluator kEvaluateE200E300 =
    TARN_EVALUATOR(return gfx_E200E300EPA(unitOf(row), x, out, flag, d););

#undef TARN_EVALUATOR
#undef TARN_VALUE

// ---- Published sources ------------------------------------------------------
// Where a correlation's form and constants were published. Rows without a
// source on file say so (null) rather than guess one.

constexpr const char* kD4814TvL =
    "ASTM D4814, estimate of the temperature for V/L 20 from RVP, T10 and T50";
constexpr const char* kD4814Driveability = "ASTM D4814, drivability index 1.5 T10 + 3 T50 + T90";
constexpr const char* kD4814Ethanol =
    "ASTM D4814, drivability index with 2.4 per vol % ethanol (1.33 in C)";
constexpr const char* kD4814AntiKnock = "ASTM D4814, antiknock index (RON + MON)/2";
constexpr const char* kD976 =
    "ASTM D976, two-variable cetane index from API gravity and the 50 % point (F)";
constexpr const char* kD4737A = "ASTM D4737, procedure A, four-variable cetane index";
constexpr const char* kD4737B = "ASTM D4737, procedure B, four-variable cetane index";
constexpr const char* kEn228Vli = "EN 228, vapour lock index 10 VP (kPa) + 7 E70";
constexpr const char* kRefutas =
    "Refutas viscosity blending index (an affine rescaling of it, with the same blend)";
constexpr const char* kD86Tbp =
    "D86 -> TBP by method TYPCOR: 0 Daubert (1994), API Technical Data Book; 1 Riazi and "
    "Daubert (1987); see Riazi, ASTM MNL50 (2005)";
constexpr const char* kCarbPhase2 =
    "California Phase 2 RFG Predictive Model, Title 13 California Code of Regulations 2265";
constexpr const char* kCarbPhase3 =
    "California Phase 3 RFG Predictive Model, Title 13 California Code of Regulations 2265";
constexpr const char* kEpaComplex = "EPA Complex Model, 40 CFR 80.45";
constexpr const char* kNoSource = nullptr;

// ---- Row builder --------------------------------------------------------------
// A row named property by property: row<I>(id, type).in(...).out(...) ...

struct RowBuilder {
  CorrelationRow r;

  // A copy with one member of the row set.
  template <class T>
  constexpr RowBuilder with(T CorrelationRow::*member, T value) const {
    RowBuilder b = *this;
    b.r.*member = value;
    return b;
  }

  template <std::size_t N>
  constexpr RowBuilder in(const char* const (&list)[N]) const {
    return with(&CorrelationRow::inputs, names(list));
  }
  template <std::size_t N>
  constexpr RowBuilder out(const char* const (&list)[N]) const {
    return with(&CorrelationRow::outputs, names(list));
  }
  template <std::size_t N>
  constexpr RowBuilder kind(const int (&list)[N]) const {
    return with(&CorrelationRow::kinds, kinds(list));
  }
  template <int Kind, std::size_t N>
  constexpr RowBuilder kind(const Repeated<Kind, N>& list) const {
    return kind(list.codes);
  }
  constexpr RowBuilder pair(int inverse) const { return with(&CorrelationRow::pair, inverse); }
  constexpr RowBuilder slack(int count) const { return with(&CorrelationRow::slackCount, count); }
  // Takes its CORF and TYPCOR from another correlation.
  constexpr RowBuilder settingsOf(int index) const {
    return with(&CorrelationRow::settingsSource, index);
  }
  template <std::size_t N>
  constexpr RowBuilder coefficients(const CoefficientRun (&list)[N]) const {
    return with(&CorrelationRow::coefficients, coefs(list));
  }
  constexpr RowBuilder by(Evaluator compute) const {
    return with(&CorrelationRow::compute, compute);
  }
  constexpr RowBuilder by(SingleValue value) const {
    return with(&CorrelationRow::value, value).by(kStoreValue);
  }
  constexpr RowBuilder keepsNaN() const { return with(&CorrelationRow::nanRule, NaNRule::Kept); }
  // Writes into its input array: the oxygenate removals, the emission
  // adapters' missing inputs, the filling of missing 30 % and 70 % points;
  // or only in the curve repairs of ChangeData.
  constexpr RowBuilder rewritesInputs() const {
    return with(&CorrelationRow::rewritesInputs, InputRewrite::Always);
  }
  constexpr RowBuilder repairsInputs() const {
    return with(&CorrelationRow::rewritesInputs, InputRewrite::WhenRepairing);
  }
  constexpr RowBuilder outputsCounted(const int& count, const int& gate) const {
    return with(&CorrelationRow::outputCount, OutputCount{&count, &gate, true});
  }
  constexpr RowBuilder from(const char* published) const {
    return with(&CorrelationRow::source, published);
  }
  constexpr operator CorrelationRow() const { return r; }
};
// clang-format on

template <int I>
constexpr RowBuilder row(const char* id, int type) {
  return {{I,
           id,
           type,
           {},
           {},
           {nullptr, 0},
           kNoPair,
           0,
           I,
           {nullptr, 0},
           nullptr,
           nullptr,
           InputRewrite::Never,
           NaNRule::Undefined,
           &evaluateByRule<I>,
           {nullptr, nullptr, false},
           nullptr}};
}

constexpr int kGeneral = TARN_TYPE_GENERAL;
constexpr int kDistillationIndex = TARN_TYPE_DISTILLATION_INDEX;
constexpr int kIndexToProperty = TARN_TYPE_INDEX_TO_PROPERTY;
constexpr int kPropertyToIndex = TARN_TYPE_PROPERTY_TO_INDEX;

}  // namespace

// ---- The catalogue ----------------------------------------------------------

// One row per correlation: kept as laid out by hand.
// clang-format off
extern constexpr CorrelationRow kCatalogueRows[kCatalogueSize] = {
    row<0>("TVL", kGeneral).in(kTvlIn).out(kTvl).kind(kTvlKind).coefficients(kTvlCoefs)
        .by(kEvaluateTvl).from(kD4814TvL),
    row<1>("TVL2", kGeneral).in(kTvl2In).out(kTvl).kind(kTvlKind)
        .coefficients(kCorfOnly<1>).by(kEvaluateTvl2).from(kNoSource),
    row<2>("CARB", kGeneral).in(kCarbIn).out(kCarbOut).kind(kAll<kind::ModelResult, 3>)
        .coefficients(kCarbCoefs).by(kAdapter<emissions::carbCatalogueAdapter>)
        .rewritesInputs().from(kCarbPhase2),
    row<3>("CARB3", kGeneral).in(kCarb3In).out(kCarbOut).kind(kAll<kind::ModelResult, 3>)
        .coefficients(kCarb3Coefs).by(kAdapter<emissions::carb3CatalogueAdapter>)
        .rewritesInputs().from(kCarbPhase3),
    row<4>("CARB3M", kGeneral).in(kCarbIn).out(kCarbOut).kind(kAll<kind::ModelResult, 3>)
        .coefficients(kCarb3mCoefs).by(kAdapter<emissions::carb3mCatalogueAdapter>)
        .rewritesInputs().from(kCarbPhase3),
    row<5>("D86FROMPERCENTOFF", kIndexToProperty).in(kPercentOff).out(kD86Curve)
        .kind(kCurveKinds).coefficients(kPercentOffCoefs<5>)
        .by(kFromPercentOff<gfx_D86FromPercentOff>).repairsInputs().from(kD86Tbp),
    row<6>("D86TOPERCENTOFF", kPropertyToIndex).in(kD86Curve).out(kPercentOff).pair(5)
        .coefficients(kPercentOffCoefs<6>).by(kToPercentOff<gfx_D86toPercentOff>)
        .rewritesInputs().from(kD86Tbp),
    row<7>("EPA", kGeneral).in(kEpaIn).out(kEpaOut).kind(kAll<kind::ModelResult, 5>)
        .coefficients(kEpaCoefs).by(kAdapter<emissions::epaCatalogueAdapter>)
        .rewritesInputs().from(kEpaComplex),
    row<8>("RVP", kIndexToProperty).in(kRvpIndex).out(kRvp).kind(kRvpKind)
        .coefficients(kRvpCoefs).by(kPlain<props::rvpOfCatalogueIndex>).from(kNoSource),
    row<9>("RVPINDEX", kPropertyToIndex).in(kRvp).out(kRvpIndex).pair(8)
        .coefficients(kRvpCoefs).by(kPlain<gfx_RVPIndex>).from(kNoSource),
    row<10>("DRIVEABILITYINDEX", kGeneral).in(kT10T50T90).out(kDriveability)
        .kind(kDriveabilityKind).coefficients(kDriveabilityCoefs).by(kEvaluateDriveability)
        .from(kD4814Driveability),
    row<11>("DRIVEABILITYINDEXE", kGeneral).in(kT10T50T90).out(kDriveability)
        .kind(kDriveabilityKind).coefficients(kDriveabilityECoefs).by(kEvaluateDriveabilityE)
        .from(kD4814Ethanol),
    row<12>("D86ONE10INDEX", kPropertyToIndex).in(kT10).out(kT10Index).pair(14)
        .coefficients(kCorfOnly<12>).by(kWithUnit<gfx_D86one10Index>).from(kNoSource),
    // Pairs with D86ONE10BLEND rather than D86ONE90BLEND; hosts rely on this answer.
    row<13>("D86ONE90INDEX", kPropertyToIndex).in(kT90).out(kT90Index).pair(14)
        .coefficients(kCorfOnly<13>).by(kWithUnit<gfx_D86one90Index>).from(kNoSource),
    row<14>("D86ONE10BLEND", kIndexToProperty).in(kT10Index).out(kT10).kind(kFrontEnd)
        .coefficients(kCorfOnly<14>).by(kWithUnit<gfx_D86one10Blend>).from(kNoSource),
    row<15>("D86ONE90BLEND", kIndexToProperty).in(kT90Index).out(kT90).kind(kPoint)
        .coefficients(kCorfOnly<15>).by(kWithUnit<gfx_D86one90Blend>).from(kNoSource),
    row<16>("POURPOINTINDEX1", kPropertyToIndex).in(kPourPoint).out(kPourPointIndex).pair(17)
        .coefficients(kCorfOnly<16>).by(kWithUnit<gfx_PourPointIndex1>).from(kNoSource),
    // Evaluated in the unit of POURPOINTINDEX1, whatever its own CORF says (intended).
    row<17>("POURPOINT1", kIndexToProperty).in(kPourPointIndex).out(kPourPoint)
        .kind(kPourPointKind).settingsOf(16).coefficients(kCorfOnly<17>)
        .by(kWithUnit<gfx_PourPoint1>).from(kNoSource),
    row<18>("VISCOSITYINDEX1", kPropertyToIndex).in(kViscosity).out(kViscosityIndex).pair(19)
        .by(kPlain<gfx_ViscosityIndex1>).from(kNoSource),
    row<19>("VISCOSITY1", kIndexToProperty).in(kViscosityIndex).out(kViscosity)
        .kind(kViscosityKind).by(kPlain<gfx_Viscosity1>).from(kNoSource),
    row<20>("VISCOSITYINDEX2", kPropertyToIndex).in(kViscosity).out(kViscosityIndex).pair(21)
        .by(kPlain<gfx_ViscosityIndex2>).from(kNoSource),
    row<21>("VISCOSITY2", kIndexToProperty).in(kViscosityIndex).out(kViscosity)
        .kind(kViscosityKind).by(kPlain<gfx_Viscosity2>).from(kNoSource),
    row<22>("VISCOSITYINDEX3", kPropertyToIndex).in(kViscosity).out(kViscosityIndex).pair(23)
        .by(kPlain<gfx_ViscosityIndex3>).from(kRefutas),
    row<23>("VISCOSITY3", kIndexToProperty).in(kViscosityIndex).out(kViscosity)
        .kind(kViscosityKind).by(kPlain<gfx_Viscosity3>).from(kRefutas),
    row<24>("CETANEINDEX2", kGeneral).in(kCetane2In).out(kCetane).kind(kCetaneKind)
        .coefficients(kCorfOnly<24>).by(kEvaluateCetane2).from(kD976),
    row<25>("CETANEINDEX4", kGeneral).in(kCetane4In).out(kCetane).kind(kCetaneKind)
        .coefficients(kCorfOnly<25>).by(kEvaluateCetane4).from(kD4737A),
    row<26>("CETANEINDEX5", kGeneral).in(kCetane4In).out(kCetane).kind(kCetaneKind)
        .coefficients(kCorfOnly<26>).by(kEvaluateCetane5).from(kD4737B),
    row<27>("CETANEIMPROVER", kGeneral).in(kCetaneImproverIn).out(kCetaneImprover)
        .kind(kCetaneGainKind).coefficients(kCetaneImproverCoefs).by(kEvaluateCetaneImprover)
        .from(kNoSource),
    row<28>("CFPPIMPROVER", kGeneral).in(kCfppImproverIn).out(kCfppImprover).kind(kColdFlowKind)
        .coefficients(kCfppImproverCoefs).by(kEvaluateCfppImprover).from(kNoSource),
    row<29>("CLOUDPOINTINDEX1", kPropertyToIndex).in(kCloudPoint).out(kCloudPointIndex).pair(30)
        .coefficients(kCorfOnly<29>).by(kWithUnit<gfx_CloudPointIndex1>).from(kNoSource),
    row<30>("CLOUDPOINT1", kIndexToProperty).in(kCloudPointIndex).out(kCloudPoint)
        .kind(kColdFlowKind).coefficients(kCorfOnly<30>).by(kWithUnit<gfx_CloudPoint1>)
        .from(kNoSource),
    row<31>("CLOUDPOINTINDEX3", kPropertyToIndex).in(kCloudPoint).out(kCloudPointIndex).pair(32)
        .coefficients(kCorfOnly<31>).by(kWithUnit<gfx_CloudPointIndex3>).from(kNoSource),
    row<32>("CLOUDPOINT3", kIndexToProperty).in(kCloudPointIndex).out(kCloudPoint)
        .kind(kColdFlowKind).coefficients(kCorfOnly<32>).by(kWithUnit<gfx_CloudPoint3>)
        .from(kNoSource),
    row<33>("FLASHPOINTINDEX1", kPropertyToIndex).in(kFlashPoint).out(kFlashPointIndex).pair(34)
        .coefficients(kCorfOnly<33>).by(kWithUnit<gfx_FlashPointIndex1>).from(kNoSource),
    row<34>("FLASHPOINT1", kIndexToProperty).in(kFlashPointIndex).out(kFlashPoint)
        .kind(kFlashPointKind).coefficients(kCorfOnly<34>).by(kWithUnit<gfx_FlashPoint1>)
        .from(kNoSource),
    // An undefined three-point index of NaN is reported as computed (intended).
    row<35>("T10INDEX", kDistillationIndex).in(kT10T50T90).out(kT10Blend)
        .coefficients(kThreePointCoefs<35, &ParameterBlock::t10Index>).by(kThreePointIndex<0>)
        .keepsNaN().from(kNoSource),
    row<36>("T50INDEX", kDistillationIndex).in(kT10T50T90).out(kT50Blend)
        .coefficients(kThreePointCoefs<36, &ParameterBlock::t50Index>).by(kThreePointIndex<1>)
        .keepsNaN().from(kNoSource),
    row<37>("T90INDEX", kDistillationIndex).in(kT10T50T90).out(kT90Blend)
        .coefficients(kThreePointCoefs<37, &ParameterBlock::t90Index>).by(kThreePointIndex<2>)
        .keepsNaN().from(kNoSource),
    row<38>("DON", kGeneral).in(kOctanes).out(kDon).kind(kOctaneKind).by(kEvaluateDon)
        .from(kD4814AntiKnock),
    row<39>("MTMF", kPropertyToIndex).in(kMtmfIn).out(kTransformedOctanes).pair(40)
        .coefficients(kMtmCoefs).by(kAdapter<blending::mtmfCatalogueAdapter>).from(kNoSource),
    row<40>("MTMR", kIndexToProperty).in(kMtmrIn).out(kOctanes).kind(kAll<kind::Octane, 2>)
        .coefficients(kMtmCoefs).by(kAdapter<blending::mtmrCatalogueAdapter>).from(kNoSource),
    row<41>("ND86TOPERCENTOFF", kPropertyToIndex).in(kPercentPoints).out(kTemperaturePoints)
        .pair(42).coefficients(kNd86Coefs<41>).by(kToPercentOff<gfx_ND86toPercentOff>)
        .outputsCounted(P.nd86.npoff, P.nd86.npoff).rewritesInputs().from(kD86Tbp),
    // Its count is reported while the percent-off count is set (intended).
    row<42>("ND86FROMPERCENTOFF", kIndexToProperty).in(kTemperaturePoints).out(kPercentPoints)
        .kind(kAll<kind::DistillationPoint, 13>).coefficients(kNd86Coefs<42>)
        .by(kFromPercentOff<gfx_ND86FromPercentOff>).outputsCounted(P.nd86.ntemp, P.nd86.npoff)
        .repairsInputs().from(kD86Tbp),
    row<43>("CARBOB", kGeneral).in(kCarbobIn).out(kRvpT50T90).kind(kVolatilityKinds)
        .coefficients(kCarbobCoefs).by(kAdapter<emissions::carbobCatalogueAdapter>)
        .from(kNoSource),
    row<44>("CT10BLEND", kDistillationIndex).in(kCt10In).out(kObsT10).kind(kFrontEnd)
        .by(kAdapter<blending::oxygenateFreePointAdapter>).from(kNoSource),
    row<45>("CT50BLEND", kDistillationIndex).in(kCt50In).out(kObsT50).kind(kPoint)
        .by(kAdapter<blending::oxygenateFreePointAdapter>).from(kNoSource),
    row<46>("CT90BLEND", kDistillationIndex).in(kCt90In).out(kObsT90).kind(kPoint)
        .by(kAdapter<blending::oxygenateFreePointAdapter>).from(kNoSource),
    // Evaluated in the unit of D86ONE90BLEND (intended: it has no flag of its own).
    row<47>("CD86ONE90BLEND", kIndexToProperty).in(kCd86One90In).out(kObsT90).kind(kPoint)
        .settingsOf(15).by(kAdapter<blending::oxygenateFreeT90Adapter>)
        .rewritesInputs().from(kNoSource),
    row<48>("CRVP", kIndexToProperty).in(kCrvpIn).out(kObsRvp).kind(kRvpKind)
        .by(kAdapter<blending::oxygenateFreeRvpAdapter>).rewritesInputs().from(kNoSource),
    // Converts with the method and unit of D86FROMPERCENTOFF.
    row<49>("CD86FROMPERCENTOFF", kIndexToProperty).in(kCd86In).out(kObsCurve)
        .kind(kCurveKinds).settingsOf(5)
        .by(kAdapter<distill::d86FromPercentOffWithoutOxygenate>).rewritesInputs().from(kD86Tbp),
    row<50>("CARBOB2", kGeneral).in(kCarbob2In).out(kEthanolBlendOut).kind(kEthanolBlendKinds)
        .slack(7).coefficients(kCarbob2Coefs).by(kAdapter<emissions::carbob2CatalogueAdapter>)
        .from(kNoSource),
    row<51>("CARBOB3", kGeneral).in(kBlendstockIn).out(kEthanolBlendOut)
        .kind(kEthanolBlendKinds).coefficients(kCarbob3Coefs)
        .by(kAdapter<emissions::carbob3CatalogueAdapter>).from(kNoSource),
    row<52>("VAPORLOCKINDEX", kGeneral).in(kVaporLockIn).out(kVaporLock)
        .kind(kAll<kind::ModelResult, 1>).coefficients(kVaporLockCoefs).by(kEvaluateVaporLock)
        .from(kEn228Vli),
    row<53>("EVAPORATIVE", kGeneral).in(kD86Curve).out(kEvaporativeOut)
        .kind(kAll<kind::PercentEvaporated, 12>).coefficients(kEvaporativeCoefs)
        .by(kEvaluateEvaporative).outputsCounted(P.evaporative.npts, P.evaporative.npts)
        .repairsInputs().from(kNoSource),
    row<54>("E200E300EPA", kGeneral).in(kT50T90).out(kE200E300).kind(kAll<kind::ModelResult, 2>)
        .coefficients(kE200E300Coefs).by(kEvaluateE200E300).from(kNoSource),
    row<55>("RBOB", kGeneral).in(kBlendstockIn).out(kRbobOut).kind(kRbobKinds)
        .coefficients(kRbobCoefs).by(kAdapter<emissions::rbobCatalogueAdapter>)
        .from(kNoSource),
    row<56>("T20GAUSS", kGeneral).in(kT10T30).out(kT20).kind(kFrontEnd)
        .coefficients(kT20GaussCoefs).by(kEvaluateT20Gauss).from(kNoSource),
};
// clang-format on

// Every row computes, with its index at its position: evaluation by index
// goes straight to a row's evaluator.
constexpr bool everyRowComputes() {
  for (int i = 0; i < kCatalogueSize; ++i) {
    const CorrelationRow& r = kCatalogueRows[i];
    if (r.index != i || r.compute == nullptr) return false;
    if (r.type < kGeneral || r.type > kPropertyToIndex) return false;
  }
  return true;
}
static_assert(everyRowComputes(), "a catalogue row out of place or of a type that is not computed");

constexpr RowEvaluations evaluationsOf(const CorrelationRow (&rows)[kCatalogueSize]) {
  RowEvaluations e{};
  for (int i = 0; i < kCatalogueSize; ++i) e.byIndex[i] = rows[i].evaluate;
  return e;
}
extern constexpr RowEvaluations kRowEvaluations = evaluationsOf(kCatalogueRows);

namespace {

constexpr LibraryProperty kLibraryProperties[kLibraryPropertyCount] = {
    {"RVPD", "Derived Property"},
    {"RVPC", "Complex Property"},
};

}  // namespace

const LibraryProperty* libraryProperties() { return kLibraryProperties; }

}  // namespace tarn::frame
