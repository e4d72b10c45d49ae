// The CARB Phase 2 predictive model: a candidate gasoline against the flat or
// averaging reference fuel, through twelve log-linear regressions in
// standardized fuel properties — two vehicle-technology groups of six: two
// exhaust pollutants and four toxic species (benzene, 1,3-butadiene,
// formaldehyde, acetaldehyde) each. The model is data for the predictive
// engine; this file holds its tables and the exported interface.
#include "common/single_precision.h"
#include "common/units.h"
#include "emissions/carb_models.h"
#include "emissions/model_limits.h"
#include "params/params.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

using namespace predictive;

// The model's constants are single-precision numbers held as doubles
// (single(), common/single_precision.h).

// Properties: RVP T50 T90 aromatics olefins oxygen sulfur benzene.
enum Property { kRvp, kT50, kT90, kAromatics, kOlefins, kOxygen, kSulfur, kBenzene };
constexpr int kProperties = 8;
constexpr int kTerms = 25;
constexpr int kRegressions = 12;

// Both fuels are evaluated at RVP 7.0, so each set carries a fixed
// standardized RVP instead of standardizing the RVP given.
const StandardizationSet kSets[2] = {
    {{0, single(211.33809f), single(315.83981f), single(30.967806f), single(8.3467197f), single(0.912512f),
      single(193.57425f), single(1.365963f)},
     {1, single(17.374327f), single(25.694736f), single(9.4918766f), single(5.8737679f), single(1.249609f),
      single(130.37466f), single(0.44476801f)},
     {true, false, false, false, false, false, false, false},
     {single(-2.8451257f)}},
    {{0, single(208.18668f), single(311.3688f), single(28.604567f), single(7.0017719f), single(1.266843f),
      single(174.03612f), single(1.092985f)},
     {1, single(18.149553f), single(22.98844f), single(7.8486738f), single(4.9880028f), single(1.310604f),
      single(137.35655f), single(0.56330299f)},
     {true, false, false, false, false, false, false, false},
     {single(-3.2328176f)}},
};

constexpr Term kTermList[kTerms] = {
    {0, -1}, {1, -1}, {2, -1}, {3, -1}, {4, -1}, {5, -1}, {6, -1}, {7, -1}, {0, 0}, {1, 0}, {0, 5}, {1, 1}, {1, 2},
    {1, 5},  {2, 2},  {5, 2},  {2, 6},  {2, 3},  {3, 3},  {3, 4},  {5, 3},  {3, 6}, {2, 4}, {5, 5}, {6, 6},
};

// Regressions 0-5: group 1 (set A, plain candidate); 6-11: group 2 (set B),
// where the first exhaust regression sees the oxygen floor and the second the
// T50/T90 floors.
constexpr Regression kRegressionList[kRegressions] = {
    {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {1, 1}, {1, 2}, {1, 0}, {1, 0}, {1, 0}, {1, 0},
};

constexpr double kIntercepts[2][kRegressions] = {
    {0.04756481, -0.012717996, 0, 0, 0, 0, -0.0971756, 0.027491884, -0.063752465, 0, 0, -0.19880085},
    {-0.15597638, -0.79454696, 2.9937382, 0.6682575, 2.0419166, 1.0411767, -0.58546114, -1.1830387, 2.0786119,
     -0.12764946, 0.5690701, -0.30841807},
};

// Row = term, column = regression.
constexpr double kCoefficients[kTerms][kRegressions] = {
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {-0.01161378, 0.05653436, 0, 0, 0, 0, 0.00195233, 0.07643684, 0.052416, 0.058141, 0, 0.08131},
    {0.00341764, 0.017858354, 0, 0.165206, 0, 0, -0.00820391, 0.03894785, 0, 0.089544, 0.081896, 0.070103},
    {0.05428291, -0.03844685, 0.1524752, 0, -0.09754, -0.10224, 0.004154304, 0.001368326, 0.169401, -0.04862, -0.07248,
     -0.06631},
    {0.02292342, -0.02100516, 0, 0.150707, 0, 0, 0.025949698, -0.0068737, 0.02158, 0.135542, 0, 0},
    {0.01439508, -0.02735656, -0.034762, 0, 0.153291, 0, -0.008991879, -0.01035001, 0.022392, 0, 0.073394, 0.084501},
    {0.01785987, 0.001933575, 0.0723141, 0, -0.18011, 0, 0.050086115, 0.116903685, 0.140432, 0.060078, -0.04472, 0},
    {0, 0, 0.12359491, 0, 0, 0, 0, 0, 0.14534111, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0.025807977, 0, 0, 0, 0},
    {0.00857682, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0.018209586, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0.015107193, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {-0.0097818, 0.01822595, 0, 0, 0, 0, 0, 0.012076013, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, -0.01197286, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, -0.00579379, 0, 0, 0, 0, 0},
    {0, -0.04053717, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0.013486985, 0, 0, 0, 0, 0},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
};

const TechnologyGroup kGroups[2] = {
    {{0, 1}, {single(0.174f), single(0.198f)}, {2, 3, 4, 5}, single(0.089f)},
    {{6, 7}, {single(0.826f), single(0.802f)}, {8, 9, 10, 11}, single(0.911f)},
};

// Benzene, 1,3-butadiene, formaldehyde, acetaldehyde.
const double kPotency[4] = {single(0.17f), 1.0, single(0.035f), single(0.016f)};

constexpr double kFlatReference[kProperties] = {7.0, 210, 300, 25, 6, 2.0, 40, 1.0};
constexpr double kAveragingReference[kProperties] = {7.0, 200, 290, 22, 4, 2.0, 30, 0.8};

ModelData makeModel() {
  ModelData m{};
  m.propertyCount = kProperties;
  const int flagged[kFlagLetters] = {kT50, kT90, kAromatics, kOlefins, kSulfur, kBenzene};
  for (int k = 0; k < kFlagLetters; ++k) m.flaggedProperty[k] = flagged[k];
  for (int i = kT50; i < kProperties; ++i) m.perturbed[i] = true;  // RVP is fixed at 7.0
  // Benzene is tested against its own bounds rather than the widened limit.
  m.boundOverrideCount = 1;
  m.boundOverride[0] = {kBenzene, 0.0, 1.2001200476854528};

  m.flatReference = kFlatReference;
  m.averagingReference = kAveragingReference;
  // Oxygen within the 1.8-2.2 band counts as exactly 2.0 (single-precision edges).
  m.snapCount = 1;
  m.snap[0] = {kOxygen, 1.8009999990463257, 2.1989998817443848, 2.0};
  m.floorCount = 3;
  m.floor[0] = {kT50, single(181.3f), 0, {0, 0}, {0, 0}};
  m.floor[1] = {kT90, single(323.8f), 2, {kAromatics, kOxygen}, {-single(0.9712f), -single(7.27598f)}};
  m.floor[2] = {kOxygen, single(0.67744f), 1, {kAromatics, 0}, {single(0.035867f), 0}};
  m.variantCount = 3;
  m.variant[0] = {0, {}};
  m.variant[1] = {1, {2}};
  m.variant[2] = {2, {0, 1}};
  m.setCount = 2;
  m.sets = kSets;
  m.termCount = kTerms;
  m.terms = kTermList;
  m.regressionCount = kRegressions;
  m.regressions = kRegressionList;
  m.interceptPartCount = 2;
  m.intercepts = &kIntercepts[0][0];
  m.coefficients = &kCoefficients[0][0];
  m.groupCount = 2;
  m.groups = kGroups;
  m.toxicSpeciesCount = 4;
  m.potency = kPotency;
  return m;
}

const ModelData kModel = makeModel();

}  // namespace

const predictive::ModelData& carbPhase2Model() { return kModel; }

}  // namespace tarn::emissions

extern "C" TARN_API int TARN_CALL gfx_WCARB(int wantDerivatives, const char* flags, const double* in, double* out,
                                            double* deriv) {
  using namespace tarn::emissions;
  namespace pm = tarn::emissions::predictive;
  if (in == nullptr || out == nullptr) return -1;
  const pm::ModelData& model = carbPhase2Model();
  pm::WorkingState& state = pm::workingState();
  pm::setFlags(model, flags, state);

  const char unit = tarn::params().carbUnit;
  for (int i = 0; i < model.propertyCount; ++i) state.properties[i] = in[i];
  state.properties[kT50] = tarn::toFahrenheit(in[kT50], unit);
  state.properties[kT90] = tarn::toFahrenheit(in[kT90], unit);

  const pm::Limits limits = pm::limitsFromTable(model, kCarbLower, kCarbUpper);
  double* d = (wantDerivatives != 0) ? deriv : nullptr;
  pm::evaluateWithSensitivities(model, limits, state, d);
  if (d != nullptr) {
    for (int j = kT50; j <= kT90; ++j) {
      for (int k = 0; k < pm::kResultCount; ++k) d[3 * j + k] = tarn::perCallerDegree(d[3 * j + k], unit);
    }
  }
  for (int k = 0; k < pm::kResultCount; ++k) out[k] = state.results[k];
  // With sensitivities the count is that of the last perturbed evaluation
  // (benzene at its upper step); this is intended.
  return state.outOfRangeCount;
}
