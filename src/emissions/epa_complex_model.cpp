// The EPA complex emissions model, its option string, and gfx_WEPA with its
// range count and numerical sensitivities.
//
// Coefficients, baseline fuels and baseline emissions are those of
// 40 CFR 80.45. Every exhaust equation is evaluated as a ratio to the same
// equation at the baseline fuel, exp(x(target) - x(baseline)), so the
// unpublished intercepts cancel.
#include "emissions/epa_complex_model.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "common/missing.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

// ---- Fuels and equation terms ---------------------------------------------

struct Fuel {
  double oxygen;               // total oxygen, wt %
  double mtbe, etbe, ethanol;  // oxygen carried by each, wt %
  double sulfur, rvp, e200, e300, aromatics, olefins, benzene;
};

Fuel fuelFromInputs(const double* in) {
  Fuel f;
  f.mtbe = in[kEpaMtbeOxygen];
  f.etbe = in[kEpaEtbeOxygen];
  f.ethanol = in[kEpaEthanolOxygen];
  // TAME oxygen has no term of its own and acts only through total oxygen.
  f.oxygen = in[kEpaMtbeOxygen] + in[kEpaEtbeOxygen] + in[kEpaEthanolOxygen] + in[kEpaTameOxygen];
  f.sulfur = in[kEpaSulfur];
  f.rvp = in[kEpaRvp];
  f.e200 = in[kEpaE200];
  f.e300 = in[kEpaE300];
  f.aromatics = in[kEpaAromatics];
  f.olefins = in[kEpaOlefins];
  f.benzene = in[kEpaBenzene];
  return f;
}

// Baseline fuels of the two seasons; all oxygenates are 0.
constexpr Fuel kSummerBaseline = {0, 0, 0, 0, 339.0, 8.7, 41.0, 83.0, 32.0, 9.2, 1.53};
constexpr Fuel kWinterBaseline = {0, 0, 0, 0, 338.0, 11.5, 50.0, 83.0, 26.4, 11.9, 1.64};
// In winter every exhaust equation sees this RVP, in target and baseline alike.
constexpr double kWinterExhaustRvp = 8.7;

enum class FuelTerm {
  Oxygen,
  Mtbe,
  Etbe,
  Ethanol,
  Sulfur,
  Rvp,
  E200,
  E300,
  Aromatics,
  Olefins,
  Benzene,
  SulfurSquared,
  E200Squared,
  E300Squared,
  AromaticsSquared,
  OlefinsSquared,
  AromaticsTimesE300,
};

double termValue(FuelTerm term, const Fuel& f) {
  switch (term) {
    case FuelTerm::Oxygen:
      return f.oxygen;
    case FuelTerm::Mtbe:
      return f.mtbe;
    case FuelTerm::Etbe:
      return f.etbe;
    case FuelTerm::Ethanol:
      return f.ethanol;
    case FuelTerm::Sulfur:
      return f.sulfur;
    case FuelTerm::Rvp:
      return f.rvp;
    case FuelTerm::E200:
      return f.e200;
    case FuelTerm::E300:
      return f.e300;
    case FuelTerm::Aromatics:
      return f.aromatics;
    case FuelTerm::Olefins:
      return f.olefins;
    case FuelTerm::Benzene:
      return f.benzene;
    case FuelTerm::SulfurSquared:
      return f.sulfur * f.sulfur;
    case FuelTerm::E200Squared:
      return f.e200 * f.e200;
    case FuelTerm::E300Squared:
      return f.e300 * f.e300;
    case FuelTerm::AromaticsSquared:
      return f.aromatics * f.aromatics;
    case FuelTerm::OlefinsSquared:
      return f.olefins * f.olefins;
    case FuelTerm::AromaticsTimesE300:
      return f.aromatics * f.e300;
  }
  return 0.0;
}

struct Term {
  FuelTerm term;
  double coefficient;
};

// The exponent of one exhaust equation (without its intercept).
struct Equation {
  const Term* terms;
  std::size_t count;
};

template <std::size_t N>
constexpr Equation equation(const Term (&terms)[N]) {
  return {terms, N};
}

double exponent(const Equation& eq, const Fuel& f) {
  double sum = 0.0;
  for (std::size_t i = 0; i < eq.count; ++i) sum += eq.terms[i].coefficient * termValue(eq.terms[i].term, f);
  return sum;
}

// exp(x(target)) / exp(x(baseline)), given the baseline's exponent.
double ratioToBaseline(const Equation& eq, const Fuel& target, double baselineExponent) {
  return std::exp(exponent(eq, target) - baselineExponent);
}

// The exponents of one pair of equations (normal and higher emitters) at the
// baseline fuel.
struct BaselinePair {
  double normal, higher;
};

using T = FuelTerm;

// ---- Exhaust VOC ----------------------------------------------------------

constexpr Term kVocNormal[] = {
    {T::Oxygen, -0.003641},      {T::Sulfur, 0.0005219},
    {T::Rvp, 0.0289749},         {T::E200, -0.014470},
    {T::E300, -0.068624},        {T::Aromatics, 0.0323712},
    {T::Olefins, -0.002858},     {T::E200Squared, 0.0001072},
    {T::E300Squared, 0.0004087}, {T::AromaticsTimesE300, -0.0003481},
};
constexpr Term kVocHigher[] = {
    {T::Oxygen, -0.003626},     {T::Sulfur, -5.40e-5},
    {T::Rvp, 0.043295},         {T::E200, -0.013504},
    {T::E300, -0.062327},       {T::Aromatics, 0.0282042},
    {T::Olefins, -0.002858},    {T::E200Squared, 0.000106},
    {T::E300Squared, 0.000408}, {T::AromaticsTimesE300, -0.000287},
};

// Slopes of the exhaust VOC exponent used to extrapolate linearly beyond the
// allowable ranges. They are the partial derivatives of the equation at the
// edge fuel with the rounded coefficients that the regulation prints.
struct VocExtrapolation {
  double e200PerE200, e200Constant;                    // d/dE200
  double e300PerE300, e300Constant, e300PerAromatics;  // d/dE300
  double aromaticsPerE300, aromaticsConstant;          // d/dARO
};
constexpr VocExtrapolation kVocNormalSlopes = {0.0002144, -0.014470, 0.0008174, -0.068624,
                                               -0.000348, -0.000348, 0.0323712};
constexpr VocExtrapolation kVocHigherSlopes = {0.000212, -0.01350, 0.000816, -0.06233, -0.00029, -0.00029, 0.028204};

struct VocLimits {
  double e200Ceiling;                              // flat line: higher E200 is evaluated here
  double e300StarIntercept, e300StarPerAromatics;  // aromatics-dependent E300 flat line
  double oxygenCeiling;                            // flat line in total oxygen
};
// The phase II oxygen flat line at 4.0 wt % dates from the 2011 amendment.
constexpr VocLimits kVocLimits[2] = {
    {65.83, 80.32, 0.390, std::numeric_limits<double>::infinity()},
    {65.52, 79.75, 0.385, 4.0},
};
constexpr double kVocE200Floor = 33.0;
constexpr double kVocE300Floor = 72.0;
constexpr double kVocE300Ceiling = 94.0;    // where the E300 flat line gives way to extrapolation
constexpr double kVocE300Counted = 95.0;    // E300 beyond this extrapolates no further
constexpr double kAromaticsFloor = 18.0;    // VOC and NOx
constexpr double kAromaticsCounted = 10.0;  // aromatics below this extrapolate no further
constexpr double kVocAromaticsCeiling = 46.0;

struct Weights {
  double normal, higher;  // normal and higher emitters
};
// Normal and higher emitter weights by phase: exhaust VOC and toxics, NOx.
constexpr Weights kVocWeights[2] = {{0.52, 0.48}, {0.444, 0.556}};
constexpr Weights kNoxWeights[2] = {{0.82, 0.18}, {0.738, 0.262}};

// Percent change of exhaust VOC against the baseline fuel.
double exhaustVocChange(const Fuel& target, const BaselinePair& baseline, int phase) {
  const VocLimits& lim = kVocLimits[phase - 1];
  Fuel edge = target;
  double dE200 = 0.0, dE300 = 0.0, dAromatics = 0.0;

  if (edge.e200 > lim.e200Ceiling) edge.e200 = lim.e200Ceiling;
  if (edge.oxygen > lim.oxygenCeiling) edge.oxygen = lim.oxygenCeiling;
  if (target.e200 < kVocE200Floor) {
    edge.e200 = kVocE200Floor;
    dE200 = target.e200 - kVocE200Floor;
  }

  if (target.aromatics < kAromaticsCounted) {
    edge.aromatics = kAromaticsFloor;
    dAromatics = kAromaticsCounted - kAromaticsFloor;
  } else if (target.aromatics < kAromaticsFloor) {
    edge.aromatics = kAromaticsFloor;
    dAromatics = target.aromatics - kAromaticsFloor;
  } else if (target.aromatics > kVocAromaticsCeiling) {
    edge.aromatics = kVocAromaticsCeiling;
    dAromatics = target.aromatics - kVocAromaticsCeiling;
  }

  // The E300 flat line depends on the aromatics of the fuel as given.
  const double e300Star = lim.e300StarIntercept + lim.e300StarPerAromatics * target.aromatics;
  if (target.e300 < kVocE300Floor) {
    edge.e300 = kVocE300Floor;
    dE300 = target.e300 - kVocE300Floor;
  } else if (e300Star > kVocE300Ceiling) {
    if (target.e300 > kVocE300Ceiling) {
      edge.e300 = kVocE300Ceiling;
      dE300 = std::min(target.e300, kVocE300Counted) - kVocE300Ceiling;
    }
  } else if (target.e300 > e300Star) {
    edge.e300 = e300Star;
  }

  auto extrapolation = [&](const VocExtrapolation& s) {
    return (s.e200PerE200 * edge.e200 + s.e200Constant) * dE200 +
           (s.e300PerE300 * edge.e300 + s.e300Constant + s.e300PerAromatics * edge.aromatics) * dE300 +
           (s.aromaticsPerE300 * edge.e300 + s.aromaticsConstant) * dAromatics;
  };
  const double n = ratioToBaseline(equation(kVocNormal), edge, baseline.normal);
  const double h = ratioToBaseline(equation(kVocHigher), edge, baseline.higher);
  const Weights& w = kVocWeights[phase - 1];
  return 100.0 * w.normal * (n - 1.0) + 100.0 * w.higher * (h - 1.0) +
         100.0 * w.normal * n * extrapolation(kVocNormalSlopes) +
         100.0 * w.higher * h * extrapolation(kVocHigherSlopes);
}

// ---- NOx --------------------------------------------------------------------

constexpr Term kNoxNormal[] = {
    {T::Oxygen, 0.0018571},         {T::Sulfur, 0.0006921},       {T::Rvp, 0.0090744},
    {T::E200, 0.0009310},           {T::E300, 0.0008460},         {T::Aromatics, 0.0083632},
    {T::Olefins, -0.002774},        {T::SulfurSquared, -6.63e-7}, {T::AromaticsSquared, -0.000119},
    {T::OlefinsSquared, 0.0003665},
};
constexpr Term kNoxHigher[] = {
    {T::Oxygen, -0.00913},
    {T::Sulfur, 0.000252},
    {T::Rvp, -0.01397},
    {T::E200, 0.000931},
    {T::E300, -0.00401},
    {T::Aromatics, 0.007097},
    {T::Olefins, -0.00276},
    {T::AromaticsSquared, -7.995e-5},
    {T::OlefinsSquared, 0.0003665},
};

struct NoxExtrapolation {
  double sulfurPerSulfur, sulfurConstant;
  double aromaticsPerAromatics, aromaticsConstant;
  double olefinsPerOlefins, olefinsConstant;
};
// Printed as 0.000733 in one olefin slope and 0.000732 in the other.
constexpr NoxExtrapolation kNoxNormalSlopes = {-0.00000133, 0.000692, -0.000238, 0.0083632, 0.000733, -0.002774};
constexpr NoxExtrapolation kNoxHigherSlopes = {0.0, 0.000252, -0.0001599, 0.007097, 0.000732, -0.00276};

constexpr double kNoxAromaticsCeiling[2] = {36.2, 36.8};  // flat line by phase
constexpr double kNoxOlefinsFloor = 3.77;                 // flat line
constexpr double kNoxOlefinsCeiling = 19.0;
constexpr double kNoxSulfurFloor = 10.0;
constexpr double kNoxSulfurCeiling = 450.0;
constexpr double kE300Cap = 95.0;  // NOx and toxics evaluate higher E300 here

double noxChange(const Fuel& target, const BaselinePair& baseline, int phase) {
  Fuel edge = target;
  double dSulfur = 0.0, dAromatics = 0.0, dOlefins = 0.0;

  if (edge.olefins < kNoxOlefinsFloor) edge.olefins = kNoxOlefinsFloor;
  if (edge.aromatics > kNoxAromaticsCeiling[phase - 1]) edge.aromatics = kNoxAromaticsCeiling[phase - 1];
  if (edge.e300 > kE300Cap) edge.e300 = kE300Cap;

  if (target.sulfur < kNoxSulfurFloor) {
    edge.sulfur = kNoxSulfurFloor;
    dSulfur = target.sulfur - kNoxSulfurFloor;
  } else if (target.sulfur > kNoxSulfurCeiling) {
    edge.sulfur = kNoxSulfurCeiling;
    dSulfur = target.sulfur - kNoxSulfurCeiling;
  }
  if (target.aromatics < kAromaticsCounted) {
    edge.aromatics = kAromaticsFloor;
    dAromatics = kAromaticsCounted - kAromaticsFloor;
  } else if (target.aromatics < kAromaticsFloor) {
    edge.aromatics = kAromaticsFloor;
    dAromatics = target.aromatics - kAromaticsFloor;
  }
  if (target.olefins > kNoxOlefinsCeiling) {
    edge.olefins = kNoxOlefinsCeiling;
    dOlefins = target.olefins - kNoxOlefinsCeiling;
  }

  auto extrapolation = [&](const NoxExtrapolation& s) {
    return (s.sulfurPerSulfur * edge.sulfur + s.sulfurConstant) * dSulfur +
           (s.aromaticsPerAromatics * edge.aromatics + s.aromaticsConstant) * dAromatics +
           (s.olefinsPerOlefins * edge.olefins + s.olefinsConstant) * dOlefins;
  };
  const double n = ratioToBaseline(equation(kNoxNormal), edge, baseline.normal);
  const double h = ratioToBaseline(equation(kNoxHigher), edge, baseline.higher);
  const Weights& w = kNoxWeights[phase - 1];
  return 100.0 * w.normal * (n - 1.0) + 100.0 * w.higher * (h - 1.0) +
         100.0 * w.normal * n * extrapolation(kNoxNormalSlopes) +
         100.0 * w.higher * h * extrapolation(kNoxHigherSlopes);
}

// ---- Exhaust toxics ---------------------------------------------------------

constexpr Term kBenzeneNormal[] = {
    {T::Sulfur, 0.0006197}, {T::E200, -0.003376}, {T::Aromatics, 0.0265500}, {T::Benzene, 0.2223900}};
constexpr Term kBenzeneHigher[] = {{T::Oxygen, -0.096047},
                                   {T::Sulfur, 0.0003370},
                                   {T::E300, 0.0112510},
                                   {T::Aromatics, 0.0118820},
                                   {T::Benzene, 0.2223180}};
constexpr Term kFormaldehydeNormal[] = {{T::E300, -0.010226}, {T::Aromatics, -0.007166}, {T::Mtbe, 0.0462131}};
constexpr Term kFormaldehydeHigher[] = {
    {T::E300, -0.010226}, {T::Aromatics, -0.007166}, {T::Olefins, -0.031352}, {T::Mtbe, 0.0462131}};
constexpr Term kAcetaldehydeNormal[] = {{T::Sulfur, 0.0002631},    {T::Rvp, 0.0397860},  {T::E300, -0.012172},
                                        {T::Aromatics, -0.005525}, {T::Mtbe, -0.009594}, {T::Etbe, 0.3165800},
                                        {T::Ethanol, 0.2492500}};
constexpr Term kAcetaldehydeHigher[] = {{T::Sulfur, 0.0002627}, {T::E300, -0.012157}, {T::Aromatics, -0.005548},
                                        {T::Mtbe, -0.055980},   {T::Etbe, 0.3164665}, {T::Ethanol, 0.2493259}};
constexpr Term kButadieneNormal[] = {{T::Sulfur, 0.0001552},
                                     {T::E200, -0.007253},
                                     {T::E300, -0.014866},
                                     {T::Aromatics, -0.004005},
                                     {T::Olefins, 0.0282350}};
constexpr Term kButadieneHigher[] = {{T::Oxygen, -0.060771},
                                     {T::E200, -0.007311},
                                     {T::E300, -0.008058},
                                     {T::Aromatics, -0.004005},
                                     {T::Olefins, 0.0436960}};

// Baseline exhaust emissions, mg/mile, [phase - 1][winter].
using SeasonalBaseline = double[2][2];
constexpr SeasonalBaseline kExhaustVocBaseline = {{446.0, 660.0}, {907.0, 1341.0}};
constexpr SeasonalBaseline kNoxBaseline = {{660.0, 750.0}, {1340.0, 1540.0}};

struct ToxicSpecies {
  Equation normal, higher;
  SeasonalBaseline baseline;
};
enum ToxicIndex { kBenzeneSpecies, kFormaldehydeSpecies, kAcetaldehydeSpecies, kButadieneSpecies };
constexpr ToxicSpecies kToxics[4] = {
    {equation(kBenzeneNormal), equation(kBenzeneHigher), {{26.10, 37.57}, {53.54, 77.62}}},
    {equation(kFormaldehydeNormal), equation(kFormaldehydeHigher), {{4.85, 7.73}, {9.70, 15.34}}},
    {equation(kAcetaldehydeNormal), equation(kAcetaldehydeHigher), {{2.19, 3.57}, {4.44, 7.25}}},
    {equation(kButadieneNormal), equation(kButadieneHigher), {{4.31, 7.27}, {9.38, 15.84}}},
};
// Polycyclic organic matter per unit of modelled exhaust VOC (both mg/mile).
constexpr double kPomPerExhaustVoc = 0.003355;

double toxicChange(const ToxicSpecies& species, const Fuel& target, const BaselinePair& baseline, int phase) {
  const Weights& w = kVocWeights[phase - 1];
  return 100.0 * (w.normal * ratioToBaseline(species.normal, target, baseline.normal) +
                  w.higher * ratioToBaseline(species.higher, target, baseline.higher) - 1.0);
}

// ---- The baseline fuel's exponents ------------------------------------------

// Every exhaust equation at the baseline fuel of a season (in winter with the
// exhaust RVP every equation sees). The model reads no settings, so these
// depend on the season alone: each season's are worked out once, on first
// use, instead of at each of the 23 evaluations behind one set of
// sensitivities.
struct BaselineExponents {
  BaselinePair voc, nox, toxic[4];
};

BaselineExponents exponentsAt(const Fuel& baseline) {
  const auto pair = [&baseline](const Equation& normal, const Equation& higher) {
    return BaselinePair{exponent(normal, baseline), exponent(higher, baseline)};
  };
  BaselineExponents e{};
  e.voc = pair(equation(kVocNormal), equation(kVocHigher));
  e.nox = pair(equation(kNoxNormal), equation(kNoxHigher));
  for (int i = 0; i < 4; ++i) e.toxic[i] = pair(kToxics[i].normal, kToxics[i].higher);
  return e;
}

Fuel baselineFuel(bool winter) {
  if (!winter) return kSummerBaseline;
  Fuel f = kWinterBaseline;
  f.rvp = kWinterExhaustRvp;
  return f;
}

const BaselineExponents& baselineExponents(bool winter) {
  static const BaselineExponents summer = exponentsAt(baselineFuel(false));
  static const BaselineExponents inWinter = exponentsAt(baselineFuel(true));
  return winter ? inWinter : summer;
}

// ---- Non-exhaust VOC and benzene (summer) ----------------------------------

struct Quadratic {
  double a, b, c;  // a RVP^2 + b RVP + c, g/mile
};
enum NonExhaustComponent { kDiurnal, kHotSoak, kRunningLoss, kRefuelling, kNonExhaustComponents };
// [phase - 1][region 1 or 2][component]
constexpr Quadratic kNonExhaustVoc[2][2][kNonExhaustComponents] = {
    {{{0.00736, -0.0790, 0.2553}, {0.01557, -0.1671, 0.5399}, {0.00279, 0.1096, -0.7340}, {0.0, 0.006668, -0.0180}},
     {{0.006818, -0.07682, 0.2610},
      {0.014421, -0.16248, 0.5520},
      {0.016255, -0.1306, 0.2963},
      {0.0, 0.006668, -0.0180}}},
    {{{0.007385, -0.08981, 0.3158},
      {0.006654, -0.08094, 0.2846},
      {0.017768, -0.18746, 0.6146},
      {0.0, 0.004767, 0.011859}},
     {{0.004775, -0.05872, 0.21306},
      {0.006078, -0.07474, 0.27117},
      {0.016169, -0.17206, 0.56724},
      {0.0, 0.004767, 0.011859}}},
};

// Benzene fraction of each non-exhaust component, in percent of its VOC.
struct BenzeneFraction {
  double perMtbe, perRvp, constant;
};
constexpr BenzeneFraction kNonExhaustBenzene[kNonExhaustComponents] = {
    {-0.0290, -0.080274, 1.3758},
    {-0.0342, -0.080274, 1.4448},
    {-0.0342, -0.080274, 1.4448},
    {-0.0296, -0.081507, 1.3972},
};
constexpr double kMilligramsPerGram = 1000.0;

// Non-exhaust VOC and benzene, mg/mile.
void nonExhaust(const Fuel& target, int phase, int region, double* voc, double* benzene) {
  *voc = 0.0;
  *benzene = 0.0;
  for (int k = 0; k < kNonExhaustComponents; ++k) {
    const Quadratic& q = kNonExhaustVoc[phase - 1][region - 1][k];
    const double gramsPerMile = (q.a * target.rvp + q.b) * target.rvp + q.c;
    const BenzeneFraction& bf = kNonExhaustBenzene[k];
    const double percentBenzene = target.benzene * (bf.perMtbe * target.mtbe + bf.perRvp * target.rvp + bf.constant);
    *voc += kMilligramsPerGram * gramsPerMile;
    // g/mile times a percent: x 1000 mg/g / 100 %.
    *benzene += 10.0 * gramsPerMile * percentBenzene;
  }
}

double percentChange(double value, double baseline) { return 100.0 * (value / baseline - 1.0); }

bool isRegionLetter(char c) { return c == 'B' || c == 'b' || c == 'C' || c == 'c'; }
char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

// ---- gfx_WEPA working state -------------------------------------------------

// Everything gfx_WEPA works on during one call, in one place: the decoded
// options, the ranges in force, the fuel being evaluated (perturbed while the
// sensitivities are formed), the range flags and the base results.
struct EpaModelState {
  EpaOptions options;
  EpaRange range;
  double fuel[kEpaInputCount];
  bool outOfRange[kEpaInputCount];
  int outOfRangeCount;
  double results[kEpaEmissionCount];
};
EpaModelState epaState;

// Inputs within this factor of a limit count as inside, so that a limit held
// in single precision (6.4 psi) does not reject the same figure in double.
constexpr double kLowerTolerance = 0.9999;
constexpr double kUpperTolerance = 1.0001;

void countOutOfRange(EpaModelState& s) {
  s.outOfRangeCount = 0;
  for (int j = 0; j < kEpaInputCount; ++j) {
    const double v = s.fuel[j];
    const bool inside = v >= kLowerTolerance * s.range.lower[j] && v <= kUpperTolerance * s.range.upper[j];
    s.outOfRange[j] = !inside;  // NaN counts as outside
    if (!inside) ++s.outOfRangeCount;
  }
}

// Central-difference step of the sensitivities, relative to the input.
double sensitivityStep(double x) { return (std::fabs(x) + 1.0) * 1e-6; }

// d(result k)/d(input j) by a central difference whose two points are held
// inside the valid range, input-major.
void formSensitivities(EpaModelState& s, double* deriv) {
  for (int j = 0; j < kEpaInputCount; ++j) {
    const double base = s.fuel[j];
    const double h = sensitivityStep(base);
    const double up = std::min(s.range.upper[j], base + h);
    const double down = std::max(s.range.lower[j], base - h);
    double* row = deriv + j * kEpaEmissionCount;
    if (!(up != down)) {
      std::fill(row, row + kEpaEmissionCount, 0.0);
      continue;
    }
    s.fuel[j] = up;
    const EpaEvaluation atUp = evaluateEpaComplexModel(s.fuel, s.options);
    s.fuel[j] = down;
    const EpaEvaluation atDown = evaluateEpaComplexModel(s.fuel, s.options);
    s.fuel[j] = base;
    for (int k = 0; k < kEpaEmissionCount; ++k) row[k] = (atUp.percent[k] - atDown.percent[k]) / (up - down);
  }
}

}  // namespace

bool decodeEpaOptions(const char* options, EpaOptions* decoded) {
  if (options == nullptr || decoded == nullptr) return false;
  // Letters beyond the end of a short string count as blanks; nothing past
  // the terminating NUL is read.
  char letter[7] = {' ', ' ', ' ', ' ', ' ', ' ', ' '};
  for (int i = 0; i < 7 && options[i] != '\0'; ++i) letter[i] = options[i];

  if (!isRegionLetter(letter[0])) return false;
  decoded->region = upper(letter[0]);
  if (letter[1] == '1')
    decoded->phase = 1;
  else if (letter[1] == '2')
    decoded->phase = 2;
  else
    return false;
  const char season = upper(letter[2]);
  if (season != 'S' && season != 'W') return false;
  decoded->winter = season == 'W';
  // Positions 3 and 5 carry settings this model does not use; any letter is
  // accepted there.
  decoded->reformulated = upper(letter[4]) == 'R';
  decoded->baselineClass = upper(letter[6]) == 'C' ? 'C' : 'U';
  return true;
}

EpaRangeTable epaRangeTable(const EpaOptions& options) {
  return options.reformulated ? EpaRangeTable::Reformulated : EpaRangeTable::Conventional;
}

EpaEvaluation evaluateEpaComplexModel(const double* inputs, const EpaOptions& options) {
  const int phase = options.phase;
  const int season = options.winter ? 1 : 0;
  const int region = options.region == 'C' ? 2 : 1;

  const Fuel given = fuelFromInputs(inputs);
  Fuel target = given;
  if (options.winter) target.rvp = kWinterExhaustRvp;
  const BaselineExponents& baseline = baselineExponents(options.winter);

  EpaEvaluation e{};
  e.exhaustVoc = kExhaustVocBaseline[phase - 1][season] * (1.0 + exhaustVocChange(target, baseline.voc, phase) / 100.0);
  e.nox = kNoxBaseline[phase - 1][season] * (1.0 + noxChange(target, baseline.nox, phase) / 100.0);

  // The toxics equations see aromatics of at least 10 and E300 of at most 95,
  // and no other limit.
  Fuel toxicsFuel = target;
  toxicsFuel.aromatics = std::max(toxicsFuel.aromatics, kAromaticsCounted);
  toxicsFuel.e300 = std::min(toxicsFuel.e300, kE300Cap);
  double toxic[4];
  for (int i = 0; i < 4; ++i) {
    const ToxicSpecies& sp = kToxics[i];
    toxic[i] = sp.baseline[phase - 1][season] * (1.0 + toxicChange(sp, toxicsFuel, baseline.toxic[i], phase) / 100.0);
  }
  e.exhaustBenzene = toxic[kBenzeneSpecies];
  e.formaldehyde = toxic[kFormaldehydeSpecies];
  e.acetaldehyde = toxic[kAcetaldehydeSpecies];
  e.butadiene = toxic[kButadieneSpecies];
  e.polycyclicOrganicMatter = kPomPerExhaustVoc * e.exhaustVoc;

  if (!options.winter) nonExhaust(given, phase, region, &e.nonExhaustVoc, &e.nonExhaustBenzene);

  const double exhaustToxics =
      e.exhaustBenzene + e.formaldehyde + e.acetaldehyde + e.butadiene + e.polycyclicOrganicMatter;
  e.absolute[kEpaVoc] = e.exhaustVoc + e.nonExhaustVoc;
  e.absolute[kEpaToxics] = exhaustToxics + e.nonExhaustBenzene;
  e.absolute[kEpaNox] = e.nox;
  e.absolute[kEpaExhaustBenzene] = e.exhaustBenzene + (options.baselineClass == 'C' ? e.nonExhaustBenzene : 0.0);
  e.absolute[kEpaExhaustToxics] = exhaustToxics;

  // The denominators are the rows of the one baseline table that
  // EPAPERCENT2ABS converts with, so its conversion of these percent changes
  // gives back the absolute emissions above.
  const EpaBaseline* row = epaBaseline(options.region, phase, options.winter ? 'W' : 'S', options.baselineClass);
  for (int k = 0; k < kEpaEmissionCount; ++k) {
    e.percent[k] = row != nullptr ? percentChange(e.absolute[k], row->value[k]) : kMissing;
  }
  return e;
}

}  // namespace tarn::emissions

using namespace tarn::emissions;

extern "C" TARN_API int TARN_CALL gfx_WEPA(int wantDerivatives, const char* options, const double* in, double* out,
                                           double* deriv) {
  if (in == nullptr || out == nullptr) return -1;
  const bool sensitivities = wantDerivatives != 0 && deriv != nullptr;
  EpaModelState& s = epaState;
  if (!decodeEpaOptions(options, &s.options)) {
    std::fill(out, out + kEpaEmissionCount, tarn::kMissing);
    if (sensitivities) std::fill(deriv, deriv + kEpaInputCount * kEpaEmissionCount, 0.0);
    return -1;
  }
  s.range = epaRangeInForce(epaRangeTable(s.options), s.options.winter);
  std::copy(in, in + kEpaInputCount, s.fuel);
  countOutOfRange(s);

  const EpaEvaluation base = evaluateEpaComplexModel(s.fuel, s.options);
  std::copy(base.percent, base.percent + kEpaEmissionCount, s.results);
  if (sensitivities) formSensitivities(s, deriv);
  std::copy(s.results, s.results + kEpaEmissionCount, out);
  return s.outOfRangeCount;
}
