// The CARB Phase 3 predictive models behind gfx_WCARB3 and gfx_WCARB4: their
// option strings, the regulation's rounding of the inputs, the valid ranges
// with their RVP ceilings, and the out-of-range count, all on the predictive
// engine.
//
// Their regression tables (coefficients, standardization, reference fuels,
// group weights) are not part of this library yet. Until they are added to
// the model data below, the models do all the fixed processing and then
// report the missing value 1e30 as their results with sensitivities 0.
// Adding the tables is a change of the data here only.
#include <cmath>

#include "common/units.h"
#include "emissions/carb_models.h"
#include "emissions/model_limits.h"
#include "params/params.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

using namespace predictive;

// gfx_WCARB3 properties.
enum Carb3Property { k3Rvp, k3T50, k3T90, k3Aromatics, k3Olefins, k3Oxygen, k3Oxygen2, k3Sulfur, k3Benzene };
constexpr int kCarb3Properties = 9;
// gfx_WCARB4 properties (one oxygen value).
enum Carb4Property { k4Rvp, k4T50, k4T90, k4Aromatics, k4Olefins, k4Oxygen, k4Sulfur, k4Benzene };
constexpr int kCarb4Properties = 8;

// Position of the mode letter in the option string, after the six flags.
constexpr int kModeLetter = 6;

// RVP ceilings (psi) of the later model by its mode letter.
constexpr double kWideRvpCeiling = 30.0;      // 'N': no evaporative ceiling
constexpr double kFlatLimitRvpCeiling = 7.0;  // 'Z'

// Decimal places of each input as the regulation reports it.
constexpr int kCarb3Decimals[kCarb3Properties] = {2, 0, 0, 1, 1, 1, 1, 0, 2};
// A scaled value within this distance below a half counts as the half, so
// that a value written with a final 5 (7.125, 1.005) rounds away from zero
// although its binary form lies a hair below it.
constexpr double kHalfTolerance = 1e-9;

ModelData makeCarb3Model(bool evaporativeMode) {
  ModelData m{};
  m.propertyCount = kCarb3Properties;
  const int flagged[kFlagLetters] = {k3T50, k3T90, k3Aromatics, k3Olefins, k3Sulfur, k3Benzene};
  for (int k = 0; k < kFlagLetters; ++k) m.flaggedProperty[k] = flagged[k];
  for (int i = 0; i < kCarb3Properties; ++i) m.perturbed[i] = true;
  // Without the evaporative mode the model holds RVP at its flat limit.
  m.perturbed[k3Rvp] = evaporativeMode;
  // Regression table not available: coefficients stay null.
  return m;
}

ModelData makeCarb4Model() {
  ModelData m{};
  m.propertyCount = kCarb4Properties;
  const int flagged[kFlagLetters] = {k4T50, k4T90, k4Aromatics, k4Olefins, k4Sulfur, k4Benzene};
  for (int k = 0; k < kFlagLetters; ++k) m.flaggedProperty[k] = flagged[k];
  for (int i = 0; i < kCarb4Properties; ++i) m.perturbed[i] = true;
  // Regression table not available: coefficients stay null.
  return m;
}

const ModelData kCarb3Evaporative = makeCarb3Model(true);
const ModelData kCarb3WithoutEvaporative = makeCarb3Model(false);
const ModelData kCarb4 = makeCarb4Model();

// The letter at position k of an option string, or NUL when the string is
// null or ends before it.
char optionLetter(const char* options, int k) {
  if (options == nullptr) return '\0';
  for (int i = 0; i < k; ++i) {
    if (options[i] == '\0') return '\0';
  }
  return options[k];
}

// Reads the caller's properties, converting T50 and T90 to degrees F. The
// caller's array is never written, so it holds its own values on every path.
void readProperties(const ModelData& model, const double* in, char unit, WorkingState& state) {
  for (int i = 0; i < model.propertyCount; ++i) state.properties[i] = in[i];
  state.properties[1] = toFahrenheit(in[1], unit);  // T50
  state.properties[2] = toFahrenheit(in[2], unit);  // T90
}

// Evaluates with sensitivities as requested and hands back the base
// evaluation's count; T50/T90 sensitivities per caller degree.
int evaluateModel(const ModelData& model, const Limits& limits, WorkingState& state, char unit, int wantDerivatives,
                  double* out, double* deriv) {
  double* d = (wantDerivatives != 0) ? deriv : nullptr;
  evaluateWithSensitivities(model, limits, state, d);
  if (d != nullptr) {
    for (int j = 1; j <= 2; ++j) {
      for (int k = 0; k < kResultCount; ++k) d[3 * j + k] = perCallerDegree(d[3 * j + k], unit);
    }
  }
  for (int k = 0; k < kResultCount; ++k) out[k] = state.results[k];
  return state.baseOutOfRangeCount;
}

}  // namespace

const predictive::ModelData& carbPhase3Model(bool evaporativeMode) {
  return evaporativeMode ? kCarb3Evaporative : kCarb3WithoutEvaporative;
}

const predictive::ModelData& carbPhase3mModel() { return kCarb4; }

double roundHalfAwayFromZero(double value, int decimals) {
  if (value == 0.0 || !std::isfinite(value)) return value;
  // 10^decimals by repeated multiplication: exact for the few decimals the
  // regulation rounds to, and far cheaper than pow.
  double scale = 1.0;
  for (int k = 0; k < decimals; ++k) scale *= 10.0;
  const double scaled = std::fabs(value) * scale;
  double whole = std::floor(scaled);
  if (scaled - whole >= 0.5 - kHalfTolerance) whole += 1.0;
  return std::copysign(whole / scale, value);
}

}  // namespace tarn::emissions

using namespace tarn;
using namespace tarn::emissions;

extern "C" TARN_API int TARN_CALL gfx_WCARB3(int wantDerivatives, const char* options, const double* in, double* out,
                                             double* deriv) {
  namespace pm = tarn::emissions::predictive;
  if (in == nullptr || out == nullptr) return -1;
  // 'Y' selects the evaporative mode ("YES"); 'N' and any other letter the
  // mode without it ("NO ").
  const bool evaporativeMode = optionLetter(options, kModeLetter) == 'Y';
  const pm::ModelData& model = carbPhase3Model(evaporativeMode);
  pm::WorkingState& state = pm::workingState();
  pm::setFlags(model, options, state);
  const char unit = params().carbUnit;
  readProperties(model, in, unit, state);

  // The fuel is evaluated as the regulation reports it; the sensitivities
  // are those of the model at that fuel (their steps are not rounded).
  for (int i = 0; i < model.propertyCount; ++i) {
    state.properties[i] = roundHalfAwayFromZero(state.properties[i], kCarb3Decimals[i]);
  }
  state.properties[k3Oxygen2] = state.properties[k3Oxygen];

  double upper[kCarb3Properties];
  for (int i = 0; i < kCarb3Properties; ++i) upper[i] = kCarb3Upper[i];
  if (!evaporativeMode) upper[k3Rvp] = kWideRvpCeiling;
  const pm::Limits limits = pm::limitsFromTable(model, kCarb3Lower, upper);
  return evaluateModel(model, limits, state, unit, wantDerivatives, out, deriv);
}

extern "C" TARN_API int TARN_CALL gfx_WCARB4(int wantDerivatives, const char* options, const double* in, double* out,
                                             double* deriv, int* outOfRange) {
  namespace pm = tarn::emissions::predictive;
  if (in == nullptr || out == nullptr) return -1;
  const pm::ModelData& model = carbPhase3mModel();
  pm::WorkingState& state = pm::workingState();
  pm::setFlags(model, options, state);
  const char unit = params().carbUnit;
  readProperties(model, in, unit, state);

  // The valid range of the Phase 3 table without the second oxygen value,
  // with the RVP ceiling chosen by the mode letter.
  double lower[kCarb4Properties], upper[kCarb4Properties];
  for (int i = 0, j = 0; i < kCarb3InputCount; ++i) {
    if (i == k3Oxygen2) continue;
    lower[j] = kCarb3Lower[i];
    upper[j] = kCarb3Upper[i];
    ++j;
  }
  switch (optionLetter(options, kModeLetter)) {
    case 'Y':
      upper[k4Rvp] = kCarb3Upper[k3Rvp];
      break;  // 7.2
    case 'N':
      upper[k4Rvp] = kWideRvpCeiling;
      break;
    default:
      upper[k4Rvp] = kFlatLimitRvpCeiling;
      break;  // 'Z' and anything else
  }
  const pm::Limits limits = pm::limitsFromTable(model, lower, upper);
  const int count = evaluateModel(model, limits, state, unit, wantDerivatives, out, deriv);
  if (outOfRange != nullptr) {
    for (int i = 0; i < kCarb4Properties; ++i) outOfRange[i] = state.baseOutOfRange[i];
  }
  return count;
}
