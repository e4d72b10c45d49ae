// The CARB Phase 2 predictive model: a candidate gasoline against the flat or
// averaging reference fuel, through twelve log-linear regression models in
// standardized fuel properties (two vehicle-technology groups of six: two
// exhaust pollutants and four toxic species each).
#include <cmath>
#include <cstring>

#include "common/missing.h"
#include "common/units.h"
#include "emissions/model_limits.h"
#include "params/params.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

constexpr int kProperties = 8;  // RVP T50 T90 aromatics olefins oxygen sulfur benzene
constexpr int kTerms = 25;
constexpr int kModels = 12;
constexpr int kResults = 3;
constexpr int kFlagCount = 6;

// The model's constants are single-precision numbers held as doubles.
constexpr double single(float v) { return static_cast<double>(v); }

struct Standardization {
  double fixedRvpZ;
  double mean[kProperties];
  double sd[kProperties];
};

const Standardization kSetA = {
    single(-2.8451257f),
    {0, single(211.33809f), single(315.83981f), single(30.967806f), single(8.3467197f),
     single(0.912512f), single(193.57425f), single(1.365963f)},
    {1, single(17.374327f), single(25.694736f), single(9.4918766f), single(5.8737679f),
     single(1.249609f), single(130.37466f), single(0.44476801f)}};
const Standardization kSetB = {
    single(-3.2328176f),
    {0, single(208.18668f), single(311.3688f), single(28.604567f), single(7.0017719f),
     single(1.266843f), single(174.03612f), single(1.092985f)},
    {1, single(18.149553f), single(22.98844f), single(7.8486738f), single(4.9880028f),
     single(1.310604f), single(137.35655f), single(0.56330299f)}};

constexpr double kInterceptPart1[kModels] = {0.04756481, -0.012717996, 0, 0, 0, 0,
                                             -0.0971756, 0.027491884, -0.063752465, 0, 0,
                                             -0.19880085};
constexpr double kInterceptPart2[kModels] = {-0.15597638, -0.79454696, 2.9937382, 0.6682575,
                                             2.0419166, 1.0411767, -0.58546114, -1.1830387,
                                             2.0786119, -0.12764946, 0.5690701, -0.30841807};

// Row = term, column = model.
constexpr double kCoefficients[kTerms][kModels] = {
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {-0.01161378, 0.05653436, 0, 0, 0, 0, 0.00195233, 0.07643684, 0.052416, 0.058141, 0, 0.08131},
    {0.00341764, 0.017858354, 0, 0.165206, 0, 0, -0.00820391, 0.03894785, 0, 0.089544, 0.081896,
     0.070103},
    {0.05428291, -0.03844685, 0.1524752, 0, -0.09754, -0.10224, 0.004154304, 0.001368326, 0.169401,
     -0.04862, -0.07248, -0.06631},
    {0.02292342, -0.02100516, 0, 0.150707, 0, 0, 0.025949698, -0.0068737, 0.02158, 0.135542, 0, 0},
    {0.01439508, -0.02735656, -0.034762, 0, 0.153291, 0, -0.008991879, -0.01035001, 0.022392, 0,
     0.073394, 0.084501},
    {0.01785987, 0.001933575, 0.0723141, 0, -0.18011, 0, 0.050086115, 0.116903685, 0.140432,
     0.060078, -0.04472, 0},
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

// Reference fuel: flat-limit and averaging-limit columns.
constexpr double kFlatReference[kProperties] = {7.0, 210, 300, 25, 6, 2.0, 40, 1.0};
constexpr double kAveragingReference[kProperties] = {7.0, 200, 290, 22, 4, 2.0, 30, 0.8};

// The caller's six flags belong to these properties; oxygen and RVP have none.
constexpr int kFlaggedProperty[kFlagCount] = {1, 2, 3, 4, 6, 7};

const double kOxygenBandLow = 1.8009999990463257;
const double kOxygenBandHigh = 2.1989998817443848;
const double kBenzeneTestedUpper = 1.2001200476854528;

enum Property { kRvp, kT50, kT90, kAromatics, kOlefins, kOxygen, kSulfur, kBenzene };

struct WorkingState {
  double properties[kProperties];
  double multiplier[kProperties];
  double offset[kProperties];
  char flags[7];
  int outOfRange[kProperties];
  int outOfRangeCount;
  double terms[6][kTerms];
  double referenceEmission[kModels];
  double candidateEmission[kModels];
  double percentChange[kModels];
  double results[kResults];
} state;

void expandTerms(const double* fuel, const Standardization& set, double* terms) {
  double z[kProperties];
  z[0] = set.fixedRvpZ;
  for (int i = 1; i < kProperties; ++i) z[i] = (fuel[i] - set.mean[i]) / set.sd[i];
  for (int i = 0; i < kProperties; ++i) terms[i] = z[i];
  terms[8] = z[0] * z[0];
  terms[9] = z[1] * z[0];
  terms[10] = z[0] * z[5];
  terms[11] = z[1] * z[1];
  terms[12] = z[1] * z[2];
  terms[13] = z[1] * z[5];
  terms[14] = z[2] * z[2];
  terms[15] = z[5] * z[2];
  terms[16] = z[2] * z[6];
  terms[17] = z[2] * z[3];
  terms[18] = z[3] * z[3];
  terms[19] = z[3] * z[4];
  terms[20] = z[5] * z[3];
  terms[21] = z[3] * z[6];
  terms[22] = z[2] * z[4];
  terms[23] = z[5] * z[5];
  terms[24] = z[6] * z[6];
}

double regression(int model, const double* terms) {
  double y = kInterceptPart1[model] + kInterceptPart2[model];
  for (int t = 0; t < kTerms; ++t) y += kCoefficients[t][model] * terms[t];
  return y;
}

void evaluate() {
  WorkingState& s = state;
  for (int i = 0; i < kProperties; ++i) {
    s.multiplier[i] = 1.0;
    s.offset[i] = 0.0;
  }
  double* p = s.properties;
  for (int i = 0; i < kProperties; ++i) p[i] = p[i] * s.multiplier[i] + s.offset[i];

  s.outOfRangeCount = 0;
  for (int i = 0; i < kProperties; ++i) {
    bool out;
    if (i == kBenzene) {
      out = p[i] < 0.0 || p[i] > kBenzeneTestedUpper;
    } else {
      out = p[i] < 0.9999 * kCarbLower[i] || p[i] > 1.0001 * kCarbUpper[i];
    }
    s.outOfRange[i] = out ? 1 : 0;
    s.outOfRangeCount += s.outOfRange[i];
  }

  double reference[kProperties];
  for (int i = 0; i < kProperties; ++i) reference[i] = kFlatReference[i];
  for (int k = 0; k < kFlagCount; ++k) {
    const int position = k < 4 ? k : k + 1;
    const int property = kFlaggedProperty[k];
    if (s.flags[position] == 'A') reference[property] = kAveragingReference[property];
  }

  double candidate[kProperties];
  for (int i = 0; i < kProperties; ++i) candidate[i] = p[i];
  if (candidate[kOxygen] >= kOxygenBandLow && candidate[kOxygen] <= kOxygenBandHigh) {
    candidate[kOxygen] = 2.0;
  }
  const double t50Floor = single(181.3f);
  const double t90Floor = single(323.8f) - single(0.9712f) * candidate[kAromatics] -
                          single(7.27598f) * candidate[kOxygen];
  const double oxygenFloor = single(0.035867f) * candidate[kAromatics] + single(0.67744f);

  double withOxygenFloor[kProperties], withTemperatureFloors[kProperties];
  for (int i = 0; i < kProperties; ++i) withOxygenFloor[i] = withTemperatureFloors[i] = candidate[i];
  if (candidate[kOxygen] < oxygenFloor) withOxygenFloor[kOxygen] = oxygenFloor;
  if (candidate[kT50] < t50Floor) withTemperatureFloors[kT50] = t50Floor;
  if (candidate[kT90] < t90Floor) withTemperatureFloors[kT90] = t90Floor;

  expandTerms(reference, kSetA, s.terms[0]);
  expandTerms(reference, kSetB, s.terms[1]);
  expandTerms(candidate, kSetA, s.terms[2]);
  expandTerms(withOxygenFloor, kSetB, s.terms[3]);
  expandTerms(withTemperatureFloors, kSetB, s.terms[4]);
  expandTerms(candidate, kSetB, s.terms[5]);

  for (int m = 0; m < kModels; ++m) {
    const double* ref = m < 6 ? s.terms[0] : s.terms[1];
    const double* cand = m < 6 ? s.terms[2] : m == 6 ? s.terms[3] : m == 7 ? s.terms[4] : s.terms[5];
    s.referenceEmission[m] = std::exp(regression(m, ref));
    s.candidateEmission[m] = std::exp(regression(m, cand));
    s.percentChange[m] =
        (s.candidateEmission[m] - s.referenceEmission[m]) / s.referenceEmission[m] * 100.0;
  }

  const double* P = s.percentChange;
  s.results[0] = single(0.174f) * P[0] + single(0.826f) * P[6];
  s.results[1] = single(0.198f) * P[1] + single(0.802f) * P[7];
  auto toxics = [](const double* e, int first) {
    return single(0.17f) * e[first] + e[first + 1] + single(0.035f) * e[first + 2] +
           single(0.016f) * e[first + 3];
  };
  const double candW1 = toxics(s.candidateEmission, 2), candW2 = toxics(s.candidateEmission, 8);
  const double refW1 = toxics(s.referenceEmission, 2), refW2 = toxics(s.referenceEmission, 8);
  s.results[2] = ((single(0.089f) * candW1 + single(0.911f) * candW2) /
                      (single(0.089f) * refW1 + single(0.911f) * refW2) -
                  1.0) *
                 100.0;

  for (int i = 0; i < kProperties; ++i) p[i] = (p[i] - s.offset[i]) / s.multiplier[i];
}

}  // namespace
}  // namespace tarn::emissions

extern "C" TARN_API int TARN_CALL gfx_WCARB(int wantDerivatives, const char* flags,
                                            const double* in, double* out, double* deriv) {
  using namespace tarn::emissions;
  if (in == nullptr || out == nullptr) return -1;
  WorkingState& s = state;
  std::memcpy(s.flags, "FFFF FF", 7);
  if (flags != nullptr) {
    for (int k = 0; k < kFlagCount && flags[k] != '\0'; ++k) s.flags[k < 4 ? k : k + 1] = flags[k];
  }
  const char unit = tarn::params().carbUnit;
  for (int i = 0; i < kProperties; ++i) s.properties[i] = in[i];
  s.properties[kT50] = tarn::toFahrenheit(in[kT50], unit);
  s.properties[kT90] = tarn::toFahrenheit(in[kT90], unit);

  evaluate();
  double base[kResults];
  for (int k = 0; k < kResults; ++k) base[k] = s.results[k];

  if (wantDerivatives != 0 && deriv != nullptr) {
    for (int k = 0; k < kResults; ++k) deriv[k] = 0.0;
    for (int j = 1; j < kProperties; ++j) {
      const double x = s.properties[j];
      const double h = (std::fabs(x) + 1.0) * 1e-6;
      const double upper = std::fmin(kCarbUpper[j], x + h);
      const double lower = std::fmax(kCarbLower[j], x - h);
      s.properties[j] = lower;
      evaluate();
      double atLower[kResults];
      for (int k = 0; k < kResults; ++k) atLower[k] = s.results[k];
      s.properties[j] = upper;
      evaluate();
      for (int k = 0; k < kResults; ++k) {
        deriv[3 * j + k] = upper != lower ? (s.results[k] - atLower[k]) / (upper - lower) : 0.0;
      }
      s.properties[j] = x;
    }
    for (int j = kT50; j <= kT90; ++j) {
      for (int k = 0; k < kResults; ++k) deriv[3 * j + k] = tarn::perCallerDegree(deriv[3 * j + k], unit);
    }
  }
  for (int k = 0; k < kResults; ++k) out[k] = s.results[k] = base[k];
  return s.outOfRangeCount;
}
