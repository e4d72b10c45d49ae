// Evaluation by index: the central switch over the catalogue rows and the
// type handling shared by the two entry points.
#pragma once

#include "frame/catalogue.h"

// Evaluates built-in correlation index through its catalogue row. -4 for an
// index outside 0..56; -999 when inputs or outputs is null; -8888 when
// derivatives are asked without an array; otherwise the row's status.
int tarn_CalcCorrelation(int index, double* inputs, double* outputs, int derivFlag, double* derivs);

namespace tarn::frame {

// What the entry points do for a correlation of the given type (its row, or
// null for an unknown index): evaluate (-7..-4), answer without computing
// (0, -1, and -3 when complex is set), take the forward-difference slope of
// the single-value type 1, or refuse (-999) any other type.
int calculateByType(int type, bool complex, const CorrelationRow* row, int derivFlag, double* inputs, double* outputs,
                    double* derivs);

}  // namespace tarn::frame
