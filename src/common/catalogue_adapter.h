// The shape in which evaluation by index calls a correlation that needs more
// than its inputs unpacked into an argument list: an adapter, kept in the
// subsystem whose chemistry it carries, takes the catalogue's flat arrays as
// they are and returns the status.
#pragma once

namespace tarn {

// What evaluation by index hands an adapter besides the arrays: the
// temperature unit ('F' or 'C') and the percent-off method setting of the
// correlation whose settings it uses.
struct AdapterSettings {
  char unit;
  int method;
};

// inputs and outputs in catalogue order; derivs input-major (entry (input j,
// output k) at j * outputCount + k), filled when derivFlag is non-zero.
using CatalogueAdapter = int (*)(AdapterSettings settings, double* inputs, double* outputs, int derivFlag,
                                 double* derivs);

// Writes one derivative entry when the caller gave an array: some adapters
// write entries whatever the derivative flag.
inline void putDerivative(double* derivs, int k, double value) {
  if (derivs != nullptr) derivs[k] = value;
}

}  // namespace tarn
