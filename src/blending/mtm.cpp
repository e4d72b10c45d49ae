// The MTM octane correction of a blend for its olefin and aromatic content
// (forward, gfx_MTMF) and its reverse (gfx_MTMR). Both share the twelve
// coefficients of the MTM parameter group and the same interaction terms.
#include "blending/catalogue_adapters.h"
#include "params/params.h"
#include "tarn/blending.h"

namespace tarn::blending {
namespace {

// The MTM group in keyword order P1..P12.
struct MtmCoefficients {
  double cq, cm;  // slopes of the research and motor corrections
  double e1, e2;  // olefin-by-base terms of the first and second output
  double f1, f2;  // aromatic-by-base terms
  double g1, g2;  // olefin-by-aromatic terms
  double h1, h2;  // damping of the olefin and of the aromatic term
  double r0, m0;  // reference research and motor octane
};

MtmCoefficients readCoefficients() {
  const double* p = params().mtm;
  return {p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10], p[11]};
}

// Olefins x, aromatics y and the rest z of the blend.
struct Composition {
  double x, y, z;
};

Composition composition(double a, double b) {
  Composition c{a, b, 100.0 - a - b};
  if (c.z < 0.0) {
    // Intended: percents over 100 become fractions, and y is divided by the
    // new x plus b (not by a + b).
    c.z = 0.0;
    c.x = a / (a + b);
    c.y = b / (c.x + b);
  }
  return c;
}

// One interaction sum S = f*y*z/(1 + h2*y) + e*x*z/(1 + h1*x) + g*x*y and its
// slopes in a and b, differentiated as if z = 100 - a - b.
struct InteractionTerm {
  double value, perA, perB;
};

InteractionTerm interaction(const Composition& c, double e, double f, double g, double h1, double h2) {
  const double dampX = 1.0 + h1 * c.x;
  const double dampY = 1.0 + h2 * c.y;
  InteractionTerm s;
  s.value = f * c.y * c.z / dampY + e * c.x * c.z / dampX + g * c.x * c.y;
  s.perA = e * ((c.z - c.x) - h1 * c.x * c.z / dampX) / dampX - f * c.y / dampY + g * c.y;
  s.perB = f * ((c.z - c.y) - h2 * c.y * c.z / dampY) / dampY - e * c.x / dampX + g * c.x;
  return s;
}

}  // namespace
}  // namespace tarn::blending

extern "C" TARN_API int TARN_CALL gfx_MTMF(const double* q, double a, double b, double* out, int derivFlag, double* d) {
  using namespace tarn::blending;
  const MtmCoefficients k = readCoefficients();
  const Composition c = composition(a, b);
  const double q0 = q[0], q1 = q[1];

  const double denominator = 1.0 - k.cq * (q0 - k.r0) + k.cm * (q1 - k.m0);
  const double spread = (q0 - q1) / denominator;
  const InteractionTerm s1 = interaction(c, k.e1, k.f1, k.g1, k.h1, k.h2);
  const InteractionTerm s2 = interaction(c, k.e2, k.f2, k.g2, k.h1, k.h2);

  out[0] = q0 + k.cq * spread * (q0 - k.r0) - s1.value;
  out[1] = q1 + k.cm * spread * (q1 - k.m0) - s2.value;

  if (derivFlag == 0 || d == nullptr) return 0;
  // Intended: above 100 % the slopes are still those of z = 100 - a - b,
  // taken at the renormalised composition.
  const double spreadPerQ0 = (1.0 + k.cq * spread) / denominator;
  const double spreadPerQ1 = -(1.0 + k.cm * spread) / denominator;
  d[0] = 1.0 + k.cq * spread + k.cq * (q0 - k.r0) * spreadPerQ0;
  d[1] = k.cm * (q1 - k.m0) * spreadPerQ0;
  d[2] = -s1.perA;
  d[3] = -s2.perA;
  d[4] = -s1.perB;
  d[5] = -s2.perB;
  d[6] = k.cq * (q0 - k.r0) * spreadPerQ1;
  d[7] = 1.0 + k.cm * spread + k.cm * (q1 - k.m0) * spreadPerQ1;
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_MTMR(const double* t, double a, double b, double* out, int derivFlag, double* s) {
  using namespace tarn::blending;
  const MtmCoefficients k = readCoefficients();
  const Composition c = composition(a, b);
  const InteractionTerm s1 = interaction(c, k.e1, k.f1, k.g1, k.h1, k.h2);
  const InteractionTerm s2 = interaction(c, k.e2, k.f2, k.g2, k.h1, k.h2);

  // Undo the interaction terms, then the sensitivity correction.
  const double research = t[0] + s1.value;
  const double motor = t[1] + s2.value;
  double sensitivity = research - motor;
  if (sensitivity < 0.0) sensitivity = 0.0;
  const double researchShare = k.cq * sensitivity / (k.cq * sensitivity + 1.0);
  const double motorShare = k.cm * sensitivity / (k.cm * sensitivity + 1.0);

  out[0] = research - (research - k.r0) * researchShare;
  out[1] = motor - (motor - k.m0) * motorShare;

  if (derivFlag == 0 || s == nullptr) return 0;
  // Intended: the slopes treat the sensitivity as research - motor even where
  // it was floored at 0.
  const double researchDamp = k.cq * sensitivity + 1.0;
  const double motorDamp = k.cm * sensitivity + 1.0;
  const double researchPull = (research - k.r0) * k.cq / (researchDamp * researchDamp);
  const double motorPull = (motor - k.m0) * k.cm / (motorDamp * motorDamp);
  const double sensitivityPerA = s1.perA - s2.perA;
  const double sensitivityPerB = s1.perB - s2.perB;

  s[0] = (1.0 - (research - k.r0) * k.cq / researchDamp) / researchDamp;
  s[1] = -motorPull;
  s[2] = s1.perA - (s1.perA * researchShare + researchPull * sensitivityPerA);
  s[3] = s2.perA - (s2.perA * motorShare + motorPull * sensitivityPerA);
  s[4] = s1.perB - (s1.perB * researchShare + researchPull * sensitivityPerB);
  s[5] = s2.perB - (s2.perB * motorShare + motorPull * sensitivityPerB);
  s[6] = researchPull;
  s[7] = 1.0 - motorShare + motorPull;
  return 0;
}

namespace tarn::blending {

// The correlations' eight slopes copied into the catalogue's derivative
// array whenever one is given, whatever the flag.
template <int (*Mtm)(const double*, double, double, double*, int, double*), int... Order>
int mtmInCatalogueOrder(double* inputs, double* outputs, int derivFlag, double* derivs) {
  double slopes[8] = {};
  const int status = Mtm(inputs, inputs[2], inputs[3], outputs, derivFlag, slopes);
  if (derivs != nullptr) {
    const int order[8] = {Order...};
    for (int k = 0; k < 8; ++k) derivs[k] = slopes[order[k]];
  }
  return status;
}

int mtmfCatalogueAdapter(AdapterSettings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  // This order, not the input-major one, is what hosts of MTMF read (intended).
  return mtmInCatalogueOrder<gfx_MTMF, 0, 3, 1, 2, 4, 5, 6, 7>(inputs, outputs, derivFlag, derivs);
}

int mtmrCatalogueAdapter(AdapterSettings, double* inputs, double* outputs, int derivFlag, double* derivs) {
  // The correlation's pairs per TRON, OLE, ARO, TMON, input-major in catalogue order.
  return mtmInCatalogueOrder<gfx_MTMR, 0, 1, 6, 7, 2, 3, 4, 5>(inputs, outputs, derivFlag, derivs);
}

}  // namespace tarn::blending
