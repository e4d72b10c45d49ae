// Percent-off correlations reached through the catalogue.
#pragma once

#include "common/catalogue_adapter.h"

namespace tarn::distill {

// Catalogue correlation CD86FROMPERCENTOFF: the D86 curve (7 outputs) of a
// blend's percent-off vector after removing an oxygenate. Inputs: x0..x9 the
// blend's ten percents, x10 the oxygenate volume percent, x11..x20 the
// oxygenate's own ten percents; x0..x9 are changed in place when the
// oxygenate is removed. Derivatives 21 x 7, input-major, zeroed first. It
// converts with the settings' method and unit (those of D86FROMPERCENTOFF).
// Returns the status of gfx_D86FromPercentOff.
int d86FromPercentOffWithoutOxygenate(AdapterSettings settings, double* inputs, double* outputs, int derivFlag,
                                      double* derivs);

}  // namespace tarn::distill
