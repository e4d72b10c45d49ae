// Catalogue adapter of the EPA complex model.
#include "emissions/epa_adapter.h"

#include "common/missing.h"
#include "emissions/epa_complex_model.h"
#include "params/params.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

// The letter of each selector value, position by position; value v picks
// letters[v - first], anything outside gives a blank.
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

void epaOptionsFromSelectors(char options[8]) {
  const int* selectors = params().settings.epa;
  for (int i = 0; i < 7; ++i) options[i] = selectorLetter(kSelectorLetters[i], selectors[i]);
  options[7] = '\0';
}

int epaCatalogueAdapter(double* inputs, double* outputs, int derivFlag, double* derivs) {
  if (inputs == nullptr || outputs == nullptr) return 0;
  char options[8];
  epaOptionsFromSelectors(options);

  bool wasMissing[kEpaInputCount];
  for (int j = 0; j < kEpaInputCount; ++j) {
    wasMissing[j] = isMissing(inputs[j]);
    if (wasMissing[j]) inputs[j] = 0.0;
  }
  gfx_WEPA(derivFlag, options, inputs, outputs, derivs);

  if (derivFlag != 0 && derivs != nullptr) {
    // A missing input clears the sensitivity block of the input before it,
    // not its own; this shift is intended. For the first input that block
    // would lie before the array, so nothing is cleared.
    for (int j = 1; j < kEpaInputCount; ++j) {
      if (!wasMissing[j]) continue;
      for (int k = 0; k < kEpaEmissionCount; ++k) derivs[(j - 1) * kEpaEmissionCount + k] = 0.0;
    }
  }
  return 0;
}

}  // namespace tarn::emissions
