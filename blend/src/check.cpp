// Checking a blend against a grade: each limit is converted into the unit
// the model reports its property in, then compared with the blended value.
// The margin is the distance inside the nearest limit (the giveaway), and
// negative when the blend is outside a limit of its grade.
#include <algorithm>
#include <string>

#include "firewall.h"
#include "grades.h"
#include "tarn/corparms.h"

namespace tarnblend {
namespace {

// A limit's bound in the unit of the model's property. The drivability
// index in degrees C is its own formula, (DI[F] - 32 (P1 + P2 + 1)) / 1.8,
// not a temperature conversion.
double convertBound(const Model& model, Property p, const Limit& limit, double bound) {
  if (isMissing(bound)) return kMissing;
  if (propertyInfo(p).unitSource == UnitSource::CurveLabel) {
    const std::string from = limit.unit->name, to = model.propertyUnitLabel(p);
    if (from == to) return bound;
    const double shift =
        32.0 * (gfx_getCorParms("DRIVEABILITYINDEX", "P1") + gfx_getCorParms("DRIVEABILITYINDEX", "P2") + 1.0);
    if (from == "F" && to == "C") return (bound - shift) / 1.8;
    if (from == "C" && to == "F") return bound * 1.8 + shift;
    return kMissing;  // kelvin has no drivability form
  }
  return fromBase(model.propertyUnit(p), toBase(*limit.unit, bound));
}

}  // namespace

void checkGrade(Model& model, const Grade& grade, int& failures, int& unchecked) {
  if (grade.product != TARNBLEND_ANY_PRODUCT && grade.product != model.product()) {
    throw Error(TARNBLEND_ERROR_PRODUCT, "grade " + grade.name + " is for " + tarnblend_product_name(grade.product) +
                                             ", the blend is " + tarnblend_product_name(model.product()));
  }
  failures = unchecked = 0;
  std::vector<CheckRow>& rows = model.checks();
  rows.assign(grade.limits.size(), CheckRow());
  for (std::size_t k = 0; k < grade.limits.size(); ++k) {
    const Limit& limit = grade.limits[k];
    CheckRow& row = rows[k];
    row.property = model.findProperty(limit.key);
    if (row.property < 0) {
      row.reason = std::string("a ") + tarnblend_product_name(model.product()) + " blend has no " + limit.key;
      ++unchecked;
      continue;
    }
    const Property p = model.properties()[static_cast<std::size_t>(row.property)];
    row.unit = model.propertyUnitLabel(p);
    row.minimum = convertBound(model, p, limit, limit.minimum);
    row.maximum = convertBound(model, p, limit, limit.maximum);
    const Result& result = model.result(p);
    if (result.status != TARNBLEND_COMPUTED) {
      row.reason = "not computed: " + result.reason;
      ++unchecked;
      continue;
    }
    if (isMissing(row.minimum) && isMissing(row.maximum)) {
      row.reason = std::string("the limit's unit ") + limit.unit->name + " does not convert to " + row.unit;
      ++unchecked;
      continue;
    }
    row.value = result.value;
    double margin = kMissing;
    if (!isMissing(row.minimum)) margin = row.value - row.minimum;
    if (!isMissing(row.maximum)) margin = std::min(margin, row.maximum - row.value);
    row.margin = margin;
    row.verdict = margin < 0.0 ? TARNBLEND_FAIL : TARNBLEND_PASS;
    if (row.verdict == TARNBLEND_FAIL) ++failures;
  }
}

}  // namespace tarnblend
