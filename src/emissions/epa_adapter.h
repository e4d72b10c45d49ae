// The catalogue's entry to the EPA complex model: the option string comes
// from the EPA selectors of the parameter block, and missing inputs are
// evaluated as zero.
#pragma once

namespace tarn::emissions {

// Builds the option string from the seven EPA selectors (AREA, PHASE,
// SEASON, EQUATION, FUELTYPE, CTYPE, COUNTRY, one per position), replaces
// every input equal to the missing value by 0.0 in the caller's array, and
// calls gfx_WEPA with 11 inputs, 5 outputs and 55 sensitivities. Returns 0
// whatever the model returned.
int epaCatalogueAdapter(double* inputs, double* outputs, int derivFlag, double* derivs);

// The option string the adapter passes for the current selectors (7 letters
// and a NUL). A selector outside its list gives a blank.
void epaOptionsFromSelectors(char options[8]);

}  // namespace tarn::emissions
