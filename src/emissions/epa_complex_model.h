// The EPA complex emissions model (40 CFR 80.45) for reformulated and
// conventional gasoline: percent changes of total VOC, total toxics, NOx,
// exhaust benzene and exhaust toxics of a fuel against the baseline fuel of
// the season, with the absolute emissions they come from.
#pragma once

#include "emissions/epa_baselines.h"
#include "emissions/model_limits.h"

namespace tarn::emissions {

// Positions of the model's inputs: oxygen carried by MTBE, ETBE, ethanol and
// TAME (wt % of fuel), sulfur (ppm), RVP (psi), E200, E300 (vol % evaporated),
// aromatics, olefins, benzene (vol %).
enum EpaInput : int {
  kEpaMtbeOxygen = 0,
  kEpaEtbeOxygen,
  kEpaEthanolOxygen,
  kEpaTameOxygen,
  kEpaSulfur,
  kEpaRvp,
  kEpaE200,
  kEpaE300,
  kEpaAromatics,
  kEpaOlefins,
  kEpaBenzene,
};
static_assert(kEpaRvp == kEpaRvpInput, "one RVP position for the model and its ranges");

// Positions of the results: VOC, TOX, NOX, EXB, EXT.
enum EpaResult : int { kEpaVoc = 0, kEpaToxics, kEpaNox, kEpaExhaustBenzene, kEpaExhaustToxics };

// The choices of one evaluation, decoded from the option string.
struct EpaOptions {
  char region = 'B';  // 'B' VOC control region 1, 'C' region 2
  int phase = 2;      // 1 (1995-1999) or 2 (2000 on)
  bool winter = false;
  bool reformulated = true;  // valid ranges of reformulated (else conventional) gasoline
  // 'U': EXB is exhaust benzene; 'C': exhaust plus non-exhaust benzene
  // (summer only, where non-exhaust benzene exists).
  char baselineClass = 'U';
};

// Reads a model option string (see gfx_WEPA). Returns false, leaving
// *decoded partly written, when the region, phase or season is not recognised.
bool decodeEpaOptions(const char* options, EpaOptions* decoded);

// One evaluation in detail. Absolute emissions are in mg/mile.
struct EpaEvaluation {
  double exhaustVoc;
  double nonExhaustVoc;  // 0 in winter
  double nox;
  double exhaustBenzene;
  double formaldehyde;
  double acetaldehyde;
  double butadiene;
  double polycyclicOrganicMatter;
  double nonExhaustBenzene;            // 0 in winter
  double absolute[kEpaEmissionCount];  // VOC, TOX, NOX, EXB, EXT
  double percent[kEpaEmissionCount];   // against the baseline table row of the options
};

// Evaluates the model for the 11 inputs in the order of EpaInput. The inputs
// are taken as given: no range test, no substitution of missing values.
EpaEvaluation evaluateEpaComplexModel(const double* inputs, const EpaOptions& options);

// The valid-range table that the options select.
EpaRangeTable epaRangeTable(const EpaOptions& options);

}  // namespace tarn::emissions
