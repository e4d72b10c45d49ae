// The figures of a distillate blend (diesel, jet and kerosene): the D86
// curve with a T95 estimate and the recoveries at the temperatures the
// grades set, cetane indices by both procedures, density, sulfur, flash
// point, viscosity, and the cold-flow properties, each with its derivatives
// with respect to the component volumes.
#include <cmath>
#include <string>

#include "engine.h"
#include "tarn/blending.h"
#include "tarn/props.h"

namespace tarnblend {
namespace {

using P = Property;
using I = Input;

void cetaneIndices(Engine& e) {
  if (e.wanted(P::CI4) && e.needs(P::CI4, {P::DEN, P::T10, P::T50, P::T90})) {
    // The four-variable equation takes the density in g/mL.
    double d[4];
    const double index =
        gfx_CetaneIndex4(1, 'F', e.value(P::DEN) / 1000.0, e.value(P::T10), e.value(P::T50), e.value(P::T90), d);
    if (isMissing(index)) {
      e.fail(P::CI4, "the four-variable equation refused the blend's T10, T50, T90 (out of order)");
    } else {
      e.set(P::CI4, index);
      e.chain(P::CI4, d, 1, {{P::DEN, 1.0 / 1000.0}, {P::T10}, {P::T50}, {P::T90}});
    }
  }
  if (e.wanted(P::CI2) && e.needs(P::CI2, {P::DEN, P::T50})) {
    // The two-variable equation takes the specific gravity and the 50 % point.
    double d[2];
    const double index = gfx_CetaneIndex2(1, 'F', e.value(P::DEN) / kWaterDensity, e.value(P::T50), d);
    if (isMissing(index)) {
      e.fail(P::CI2, "the two-variable equation refused the blend's gravity or T50");
    } else {
      e.set(P::CI2, index);
      e.chain(P::CI2, d, 1, {{P::DEN, 1.0 / kWaterDensity}, {P::T50}});
    }
  }
}

// Freezing points blend by gfx_Freeze: between the lowest and the highest
// of the components present, moved towards the highest by the cube root of
// that component's fraction.
void freezingPoint(Engine& e) {
  Workspace& work = e.model().workspace();
  std::string reason;
  if (!e.gather(I::FREEZE, work.values, reason)) return e.fail(P::FREEZE, reason);
  std::vector<int>& members = work.members;
  members.clear();
  work.fractions.clear();
  work.packedValues.clear();
  double lowest = kMissing, highest = -kMissing;
  for (int i = 0; i < e.count(); ++i) {
    if (!e.present(i)) continue;
    members.push_back(i);
    work.fractions.push_back(e.fraction(i));
    work.packedValues.push_back(work.values[static_cast<std::size_t>(i)]);
    lowest = std::fmin(lowest, work.values[static_cast<std::size_t>(i)]);
    highest = std::fmax(highest, work.values[static_cast<std::size_t>(i)]);
  }
  const int count = static_cast<int>(members.size());
  work.derivs.assign(static_cast<std::size_t>(count) * 2, 0.0);
  const double blended = gfx_Freeze(1, 'F', work.fractions.data(), count, work.packedValues.data(), work.derivs.data());
  if (isMissing(blended)) return e.fail(P::FREEZE, "no component with a volume");
  e.set(P::FREEZE, blended);
  if (!e.derivatives()) return;
  // Only the highest component's fraction moves the blend: d/dv_i follows
  // from that fraction's change, (delta - x) / V.
  int topMember = 0;
  for (int j = 1; j < count; ++j) {
    if (work.packedValues[static_cast<std::size_t>(j)] > work.packedValues[static_cast<std::size_t>(topMember)])
      topMember = j;
  }
  const int top = members[static_cast<std::size_t>(topMember)];
  const double topSlope = work.derivs[static_cast<std::size_t>(2 * topMember)];
  const double topFraction = work.fractions[static_cast<std::size_t>(topMember)];
  double* g = e.row(P::FREEZE);
  for (int i = 0; i < e.count(); ++i) {
    const double t = work.values[static_cast<std::size_t>(i)];
    // A component without volume outside the present range would become the
    // new lowest or highest: no derivative there.
    if (isMissing(t) || (!e.present(i) && (t < lowest || t > highest))) continue;
    g[i] = topSlope * ((i == top ? 1.0 : 0.0) - topFraction) * e.perVolume();
  }
}

// A figure a distillate recipe may leave out: blended by volume when the
// recipe gives it, else omitted from the report.
void optionalLinear(Engine& e, P property, I input) {
  if (e.model().given(input)) return e.linearByVolume(property, input);
  e.omit(property, std::string("the recipe has no ") + inputInfo(input).key);
}

}  // namespace

void evaluateDistillate(Engine& e) {
  const bool diesel = e.model().product() == TARNBLEND_DIESEL;
  if (e.wanted(P::T50)) e.blendCurve();
  if (e.wanted(P::T95)) e.temperatureAt(P::T95, 95.0);
  if (diesel) {
    const struct {
      P property;
      double fahrenheit;
    } recovered[] = {{P::E180, 356.0}, {P::E250, 482.0}, {P::E340, 644.0}, {P::E350, 662.0}};
    for (const auto& point : recovered) {
      if (e.wanted(point.property)) e.evaporatedAt(point.property, point.fahrenheit);
    }
  }
  if (e.wanted(P::DEN)) e.linearByVolume(P::DEN, I::DEN);
  if (e.wanted(P::SUL)) e.linearByMass(P::SUL, I::SUL);
  if (e.wanted(P::FLASH)) {
    e.indexBlend(
        P::FLASH, I::FLASH, false, "flash point index",
        [](double t) { return gfx_FlashPointIndex1('F', t, 0, nullptr); },
        [](double index, double* slope) { return gfx_FlashPoint1('F', index, 1, slope); });
  }
  if (e.wanted(P::VISC40)) {
    e.indexBlend(
        P::VISC40, I::VISC40, true, "viscosity blending number",
        [](double v) { return gfx_ViscosityIndex3(v, 0, nullptr); },
        [](double index, double* slope) { return gfx_Viscosity3(index, 1, slope); });
  }
  if (diesel) {
    cetaneIndices(e);
    if (e.wanted(P::CN)) optionalLinear(e, P::CN, I::CN);
    auto cloudIndex = [](double t) { return gfx_CloudPointIndex3('F', t, 0, nullptr); };
    auto cloudPoint = [](double index, double* slope) { return gfx_CloudPoint3('F', index, 1, slope); };
    if (e.wanted(P::CLOUD)) e.indexBlend(P::CLOUD, I::CLOUD, false, "cloud point index", cloudIndex, cloudPoint);
    if (e.wanted(P::POUR)) {
      e.indexBlend(
          P::POUR, I::POUR, false, "pour point index", [](double t) { return gfx_PourPointIndex1('F', t, 0, nullptr); },
          [](double index, double* slope) { return gfx_PourPoint1('F', index, 1, slope); });
    }
    // libtarn has no index of its own for the cold filter plugging point: it
    // blends through the cloud point index, an estimate.
    if (e.wanted(P::CFPP)) e.indexBlend(P::CFPP, I::CFPP, false, "cloud point index", cloudIndex, cloudPoint);
  } else {
    if (e.wanted(P::ARO)) optionalLinear(e, P::ARO, I::ARO);
    if (e.wanted(P::FREEZE) && e.model().given(I::FREEZE)) freezingPoint(e);
    if (e.wanted(P::FREEZE) && !e.model().given(I::FREEZE)) e.omit(P::FREEZE, "the recipe has no FREEZE");
  }
}

}  // namespace tarnblend
