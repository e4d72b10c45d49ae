// Catalogue adapters of the property correlations (common/catalogue_adapter.h).
#pragma once

#include "common/catalogue_adapter.h"

namespace tarn::props {

// RVP from its blending index: status 1, with the missing value as output,
// also when the index given is itself missing or larger (the clamp of gfx_RVP
// would otherwise turn it into a number).
int rvpCatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag,
                        double* derivs);

}  // namespace tarn::props
