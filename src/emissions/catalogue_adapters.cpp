// Catalogue adapters of the regression models (CARB predictive models and
// the EPA complex model): the option string from the parameter block's
// selectors, missing inputs evaluated as zero, and the model's count of
// out-of-range inputs dropped.
#include "emissions/catalogue_adapters.h"

#include "common/missing.h"
#include "emissions/epa_baselines.h"
#include "emissions/model_limits.h"
#include "params/params.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

constexpr int kCarbOutputs = 3;

// Runs a model on the catalogue's arrays: every input holding the missing
// value is set to 0 in the caller's array before the call. Afterwards the
// sensitivity block of the input before each missing one is cleared, not its
// own; this shift is intended, and nothing is cleared for input 0 (its block
// would lie before the array).
template <int Inputs, int Outputs, class Model>
int runWithMissingAsZero(double* inputs, int derivFlag, double* derivs, Model model) {
  bool wasMissing[Inputs] = {};
  if (inputs != nullptr) {
    for (int j = 0; j < Inputs; ++j) {
      wasMissing[j] = isMissing(inputs[j]);
      if (wasMissing[j]) inputs[j] = 0.0;
    }
  }
  model();
  if (derivFlag != 0 && derivs != nullptr) {
    for (int j = 1; j < Inputs; ++j) {
      if (!wasMissing[j]) continue;
      for (int k = 0; k < Outputs; ++k) derivs[(j - 1) * Outputs + k] = 0.0;
    }
  }
  return 0;
}

// Letters for T50, T90, aromatics, olefins, sulfur, benzene: selector 1 is
// the flat limit, any other value the averaging limit.
void flagLetters(const int* selectors, char* options) {
  for (int k = 0; k < 6; ++k) options[k] = selectors[k] == 1 ? 'F' : 'A';
}

// The letter of each EPA selector value, position by position; value v
// picks letters[v - first], anything outside gives a blank.
struct SelectorLetters {
  int first;
  const char* letters;
};
constexpr SelectorLetters kSelectorLetters[7] = {
    {1, "BC"},   // AREA: VOC control region 1 or 2
    {1, "12"},   // PHASE
    {1, "SW"},   // SEASON: summer, winter
    {1, "CSA"},  // EQUATION (not used by the model)
    {1, "RC"},   // FUELTYPE: reformulated, conventional
    {0, "01"},   // CTYPE (not used by the model)
    {0, "U C"},  // COUNTRY: baseline class 0 'U', 2 'C'; 1 has no letter
};

char selectorLetter(const SelectorLetters& sel, int value) {
  int count = 0;
  while (sel.letters[count] != '\0') ++count;
  // Widened: a selector may hold any int a caller stored.
  const long long k = static_cast<long long>(value) - sel.first;
  if (k < 0 || k >= count) return ' ';
  return sel.letters[k];
}

}  // namespace

int carbCatalogueAdapter(AdapterSettings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  char flags[7] = {};
  flagLetters(params().settings.carb, flags);
  return runWithMissingAsZero<kCarbInputCount, kCarbOutputs>(
      inputs, derivFlag, derivs, [&] { gfx_WCARB(derivFlag, flags, inputs, outputs, derivs); });
}

int carb3CatalogueAdapter(AdapterSettings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  const int* selectors = params().settings.carb3;
  char options[8] = {};
  flagLetters(selectors, options);
  options[6] = selectors[6] == 1 ? 'N' : 'Y';
  return runWithMissingAsZero<kCarb3InputCount, kCarbOutputs>(
      inputs, derivFlag, derivs, [&] { gfx_WCARB3(derivFlag, options, inputs, outputs, derivs); });
}

int carb3mCatalogueAdapter(AdapterSettings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  const int* selectors = params().settings.carb3m;
  char options[8] = {};
  flagLetters(selectors, options);
  options[6] = selectors[6] == 1 ? 'N' : selectors[6] == 2 ? 'Y' : 'Z';
  int outOfRange[kCarbInputCount];
  return runWithMissingAsZero<kCarbInputCount, kCarbOutputs>(
      inputs, derivFlag, derivs, [&] { gfx_WCARB4(derivFlag, options, inputs, outputs, derivs, outOfRange); });
}

void epaOptionsFromSelectors(char options[8]) {
  const int* selectors = params().settings.epa;
  for (int i = 0; i < 7; ++i) options[i] = selectorLetter(kSelectorLetters[i], selectors[i]);
  options[7] = '\0';
}

int epaCatalogueAdapter(AdapterSettings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  if (inputs == nullptr || outputs == nullptr) return 0;
  char options[8];
  epaOptionsFromSelectors(options);
  return runWithMissingAsZero<kEpaInputCount, kEpaEmissionCount>(
      inputs, derivFlag, derivs, [&] { gfx_WEPA(derivFlag, options, inputs, outputs, derivs); });
}

}  // namespace tarn::emissions
