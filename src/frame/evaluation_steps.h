// The parts of evaluation by index that do more than unpack the flat input
// array into one correlation call: storing a single result as a status, the
// oxygenate removal of the CT blends, CD86ONE90BLEND and CRVP, the no-oxygenate
// short cut of CARBOB, the settings arrays of CARBOB3 and RBOB, and the
// reordering of the MTM derivatives. Every function has the evaluator shape
// of the catalogue rows.
#pragma once

#include "frame/catalogue.h"

namespace tarn::frame {

// The unit byte passed to the correlation of a row ('F' or 'C').
char unitOf(const CorrelationRow& row);

// Stores a single-valued result in outputs[0]: status 1 when it is the
// missing value, else 0.
int storeSingle(double* outputs, double result);

// RVP: status 1 (and the missing value as output) also when the index given
// is itself missing or larger.
int evaluateRvp(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag,
                double* derivs);

// T10INDEX, T50INDEX, T90INDEX: the three-point index which (0, 1, 2) of
// T10, T50, T90; a NaN result is status 0.
template <int Which>
int evaluateThreePointIndex(const CorrelationRow& row, double* inputs, double* outputs,
                            int derivFlag, double* derivs);

// MTMF and MTMR: the correlation's eight derivatives copied into the
// catalogue's layout, whatever the flag.
int evaluateMtmf(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag,
                 double* derivs);
int evaluateMtmr(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag,
                 double* derivs);

// CARBOB: the blend with ethanol, or the blendstock itself without any.
int evaluateCarbob(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag,
                   double* derivs);

// CT10BLEND, CT50BLEND, CT90BLEND: the blend value with the oxygenate
// removed. Always status 0.
int evaluateOxygenateFreePoint(const CorrelationRow& row, double* inputs, double* outputs,
                               int derivFlag, double* derivs);

// CD86ONE90BLEND and CRVP: an index with the oxygenate removed (written back
// into inputs[0]), turned into its property.
int evaluateOxygenateFreeT90(const CorrelationRow& row, double* inputs, double* outputs,
                             int derivFlag, double* derivs);
int evaluateOxygenateFreeRvp(const CorrelationRow& row, double* inputs, double* outputs,
                             int derivFlag, double* derivs);

// CARBOB3 and RBOB: the ethanol blend with the correlation's own settings.
int evaluateCarbob3(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag,
                    double* derivs);
int evaluateRbob(const CorrelationRow& row, double* inputs, double* outputs, int derivFlag,
                 double* derivs);

}  // namespace tarn::frame
