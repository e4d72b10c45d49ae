// Catalogue adapters of the property correlations (common/catalogue_adapter.h).
#pragma once

#include "common/catalogue_adapter.h"

namespace tarn::props {

// RVP from its blending index as the catalogue gives it: the missing value
// also when the index given is itself missing or larger (the clamp of gfx_RVP
// would otherwise turn it into a number); the slope is gfx_RVP's either way.
double rvpOfCatalogueIndex(double index, int derivFlag, double* derivs);

}  // namespace tarn::props
