// Catalogue adapters of the emission models: each takes the catalogue's flat
// input array, output array, derivative flag and derivative array, reads its
// selectors and settings from the parameter block, and calls its model. The
// dispatcher of evaluation by index calls them; they are not exported.
#pragma once

namespace tarn::emissions {

// CARB (8 inputs, 3 outputs): flags from the six CARB selectors; inputs that
// are missing (1e30) are set to 0 in the caller's array. Returns 0.
int carbCatalogueAdapter(double* inputs, double* outputs, int derivFlag, double* derivs);

// CARB3 (9 inputs, 3 outputs): options from the seven CARB3 selectors;
// missing inputs handled as for CARB. Returns 0.
int carb3CatalogueAdapter(double* inputs, double* outputs, int derivFlag, double* derivs);

// CARB3M (8 inputs, 3 outputs): options from the seven CARB3M selectors;
// missing inputs handled as for CARB. Returns 0.
int carb3mCatalogueAdapter(double* inputs, double* outputs, int derivFlag, double* derivs);

// CARBOB2 (14 inputs: blendstock and seven output offsets; 9 outputs): the
// ethanol model with the CARBOB2 group's ethanol, unit flag and ethanol
// content. Returns the model's status, or 0 in pass-through mode.
int carbob2CatalogueAdapter(double* inputs, double* outputs, int derivFlag, double* derivs);

}  // namespace tarn::emissions
