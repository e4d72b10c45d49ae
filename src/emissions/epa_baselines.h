// Baseline emissions of the EPA models, by VOC control region, phase, season
// and (in summer) the class of the baseline. The same rows convert percent
// changes to absolute emissions (EPAPERCENT2ABS) and serve as the
// denominators of the complex model's percent changes, so that converting the
// model's percent changes gives back its absolute emissions exactly.
#pragma once

namespace tarn::emissions {

// Emission quantities in the order used everywhere: VOC, TOX, NOX, EXB, EXT.
inline constexpr int kEpaEmissionCount = 5;

struct EpaBaseline {
  double value[kEpaEmissionCount];
};

// The baseline row for region 'B' or 'C', phase 1 or 2, season 'S' or 'W',
// class 'U' or 'C' (examined in summer only). Letters must be upper case.
// Returns nullptr for any other combination.
const EpaBaseline* epaBaseline(char region, int phase, char season, char baselineClass);

}  // namespace tarn::emissions
