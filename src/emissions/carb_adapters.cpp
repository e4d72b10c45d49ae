// Catalogue adapters of the CARB predictive models: the option string from
// the parameter block's selectors, missing inputs set to 0, and the model's
// count dropped.
#include "common/missing.h"
#include "emissions/adapters.h"
#include "params/params.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

constexpr int kOutputs = 3;
constexpr int kMaxInputs = 9;

// Letters for T50, T90, aromatics, olefins, sulfur, benzene: selector 1 is
// the flat limit, any other value the averaging limit.
void flagLetters(const int* selectors, char* options) {
  for (int k = 0; k < 6; ++k) options[k] = selectors[k] == 1 ? 'F' : 'A';
}

// Runs a model on the catalogue's arrays: every input holding the missing
// value is set to 0 in the caller's array before the call. Afterwards the
// sensitivity block of the input before each missing one is cleared, not its
// own; this shift is intended, and nothing is cleared for input 0.
template <class Model>
int runWithMissingInputs(int inputCount, double* inputs, int derivFlag, double* derivs,
                         Model model) {
  bool wasMissing[kMaxInputs] = {};
  if (inputs != nullptr) {
    for (int j = 0; j < inputCount; ++j) {
      wasMissing[j] = isMissing(inputs[j]);
      if (wasMissing[j]) inputs[j] = 0.0;
    }
  }
  model();
  if (derivFlag != 0 && derivs != nullptr) {
    for (int j = 1; j < inputCount; ++j) {
      if (!wasMissing[j]) continue;
      for (int k = kOutputs * j - kOutputs; k < kOutputs * j; ++k) derivs[k] = 0.0;
    }
  }
  return 0;
}

}  // namespace

int carbCatalogueAdapter(double* inputs, double* outputs, int derivFlag, double* derivs) {
  char flags[7] = {};
  flagLetters(params().settings.carb, flags);
  return runWithMissingInputs(8, inputs, derivFlag, derivs, [&] {
    gfx_WCARB(derivFlag, flags, inputs, outputs, derivs);
  });
}

int carb3CatalogueAdapter(double* inputs, double* outputs, int derivFlag, double* derivs) {
  const int* selectors = params().settings.carb3;
  char options[8] = {};
  flagLetters(selectors, options);
  options[6] = selectors[6] == 1 ? 'N' : 'Y';
  return runWithMissingInputs(9, inputs, derivFlag, derivs, [&] {
    gfx_WCARB3(derivFlag, options, inputs, outputs, derivs);
  });
}

int carb3mCatalogueAdapter(double* inputs, double* outputs, int derivFlag, double* derivs) {
  const int* selectors = params().settings.carb3m;
  char options[8] = {};
  flagLetters(selectors, options);
  options[6] = selectors[6] == 1 ? 'N' : selectors[6] == 2 ? 'Y' : 'Z';
  int outOfRange[8];
  return runWithMissingInputs(8, inputs, derivFlag, derivs, [&] {
    gfx_WCARB4(derivFlag, options, inputs, outputs, derivs, outOfRange);
  });
}

}  // namespace tarn::emissions
