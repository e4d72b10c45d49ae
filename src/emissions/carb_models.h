// The CARB predictive models as data for the predictive engine.
#pragma once

#include "emissions/predictive_engine.h"

namespace tarn::emissions {

// Phase 2 model of gfx_WCARB: RVP T50 T90 aromatics olefins oxygen sulfur
// benzene.
const predictive::ModelData& carbPhase2Model();

// Phase 3 model of gfx_WCARB3 (RVP T50 T90 aromatics olefins oxygen oxygen
// sulfur benzene), in its evaporative mode ("YES") or without it ("NO ").
const predictive::ModelData& carbPhase3Model(bool evaporativeMode);

// Phase 3 model of gfx_WCARB4 (RVP T50 T90 aromatics olefins oxygen sulfur
// benzene).
const predictive::ModelData& carbPhase3mModel();

}  // namespace tarn::emissions

namespace tarn::emissions {

// value rounded to the given number of decimal places, halves away from
// zero (a value written with a final 5 counts as the half); 0 and
// non-finite values are returned as they are.
double roundHalfAwayFromZero(double value, int decimals);

}  // namespace tarn::emissions
