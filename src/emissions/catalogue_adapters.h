// Catalogue adapters of the emission models (common/catalogue_adapter.h):
// each reads its selectors and settings from the parameter block and calls
// its model on the catalogue's flat arrays. The dispatcher of evaluation by
// index calls them; they are not exported.
#pragma once

#include "common/catalogue_adapter.h"

namespace tarn::emissions {

// CARB (8 inputs, 3 outputs), CARB3 (9, 3) and CARB3M (8, 3): the option
// string from the model's selectors; inputs holding the missing value are
// evaluated as 0 (and left 0 in the caller's array). Return 0 whatever the
// model counted.
int carbCatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);
int carb3CatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);
int carb3mCatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);

// EPA (11 inputs, 5 outputs, 55 sensitivities): the option string from the
// seven EPA selectors, missing inputs as for CARB. Returns 0.
int epaCatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);

// The option string the EPA adapter passes for the current selectors (7
// letters and a NUL). A selector outside its list gives a blank.
void epaOptionsFromSelectors(char options[8]);

// CARBOB (blendstock RVP, T50, T90 and the ethanol vol %): the volatility of
// the blend, or the blendstock itself when it holds no ethanol.
int carbobCatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);

// CARBOB2 (14 inputs: blendstock and seven output offsets; 9 outputs): the
// ethanol model with the CARBOB2 group's ethanol and the correlation's
// ethanol content. Returns the model's status, or 0 in pass-through mode.
int carbob2CatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);

// CARBOB3 and RBOB (7 blendstock inputs): the ethanol model with the
// correlation's own ethanol settings, in the order each model reads them.
int carbob3CatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);
int rbobCatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);

}  // namespace tarn::emissions
