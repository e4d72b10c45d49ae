// Catalogue adapters of the blending rules (common/catalogue_adapter.h): the
// MTM octane corrections and the oxygenate corrections of blended values.
#pragma once

#include "common/catalogue_adapter.h"

namespace tarn::blending {

// MTMF and MTMR: the correlation's eight slopes copied into the derivative
// array whenever one is given, in the order hosts read them.
int mtmfCatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);
int mtmrCatalogueAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);

// CT10BLEND, CT50BLEND, CT90BLEND (inputs: blend value, oxygenate vol %,
// oxygenate's own value): the value of the rest of the blend. Always status
// 0; the slope to the oxygenate's own value is 0, and the no-oxygenate slopes
// are written whatever the flag.
int oxygenateFreePointAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);

// CD86ONE90BLEND and CRVP (inputs: blend index, oxygenate vol %, oxygenate's
// own index): the index of the rest of the blend, written back into inputs[0],
// turned into its T90 (in the settings' unit) or its RVP.
int oxygenateFreeT90Adapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);
int oxygenateFreeRvpAdapter(AdapterSettings settings, double* inputs, double* outputs, int derivFlag, double* derivs);

}  // namespace tarn::blending
