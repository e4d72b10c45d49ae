// The parameter block's storage. Its defaults are the field table's
// (params/fields.cpp).
#include "params/params.h"

#include "params/fields.h"

namespace tarn {

namespace detail {
// Zeros until the library is loaded; then the values the field table gives
// for load time (the seven-point percent grid, the CARB temperature unit and
// the coefficient settings, so that a host that starts with TARNInitialize
// alone still computes in Fahrenheit).
ParameterBlock parameterBlock{};
}  // namespace detail

namespace {
const bool kLoadDefaultsWritten = (fields::writeDefaults(fields::kAtLoad), true);
}  // namespace

}  // namespace tarn
