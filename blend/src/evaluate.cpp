// Runs one evaluation: refuses a model with nothing to blend, lets the
// product's figures be computed in base units, then turns every value and
// its derivatives into the unit the recipe gives the property in.
#include <cmath>

#include "engine.h"
#include "firewall.h"

namespace tarnblend {

void evaluateModel(Model& m, bool derivatives) {
  std::string empty;
  if (m.componentCount() == 0) {
    empty = "the recipe has no components";
  } else {
    double total = 0.0;
    for (int i = 0; i < m.componentCount(); ++i) total += m.component(i).volume > 0.0 ? 1.0 : 0.0;
    if (total == 0.0) empty = "the components' volumes add up to nothing";
  }
  if (!empty.empty()) {
    for (Property p : m.properties()) m.result(p).reason = empty;
    throw Error(TARNBLEND_ERROR_STATE, empty);
  }

  Engine engine(m, derivatives);
  if (m.product() == TARNBLEND_GASOLINE) {
    evaluateGasoline(engine);
  } else {
    evaluateDistillate(engine);
  }

  const int n = m.componentCount();
  for (Property p : m.properties()) {
    Result& r = m.result(p);
    if (r.status != TARNBLEND_COMPUTED) {
      r.value = kMissing;
      continue;
    }
    double slope = 1.0;
    if (propertyInfo(p).unitSource != UnitSource::CurveLabel) {
      const Unit& unit = m.propertyUnit(p);
      slope = slopeFromBase(unit, r.value);
      r.value = fromBase(unit, r.value);
    }
    if (!derivatives) continue;
    double* g = m.gradient(p);
    for (int i = 0; i < n; ++i) {
      if (isMissing(g[i])) continue;
      g[i] *= slope;
      if (!std::isfinite(g[i])) g[i] = kMissing;
    }
  }
}

}  // namespace tarnblend
