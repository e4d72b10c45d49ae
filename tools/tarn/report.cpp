#include "report.h"

#include <cmath>

#include "numbers.h"
#include "tarn/blending.h"
#include "tarn/corparms.h"
#include "tarn/props.h"

namespace tarncli {
namespace {

using P = Property;

// The components that take part (positive volume), their volumes and
// volume fractions, and the display units.
class Blend {
 public:
  explicit Blend(const Recipe& recipe) : recipe_(recipe) {
    const std::vector<double> all = recipe.volumes();
    double total = 0.0;
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (all[i] > 0.0) {
        present_.push_back(i);
        volumes_.push_back(all[i]);
        total += all[i];
      }
    }
    for (double v : volumes_) fractions_.push_back(v / total);
  }

  int count() const { return static_cast<int>(present_.size()); }
  const std::vector<double>& volumes() const { return volumes_; }
  const std::vector<double>& fractions() const { return fractions_; }
  const Component& component(int k) const { return recipe_.components[present_[static_cast<std::size_t>(k)]]; }

  // The values of p over the components that take part; false with a note
  // naming the components that lack it.
  bool gather(P p, std::vector<double>& out, std::string& note) const {
    out.clear();
    std::string lacking;
    for (int k = 0; k < count(); ++k) {
      const double v = component(k)[p];
      if (isMissing(v)) lacking += (lacking.empty() ? "'" : ", '") + component(k).name + "'";
      out.push_back(v);
    }
    if (!recipe_.has(p)) {
      note = std::string("the recipe has no ") + info(p).column + " column";
      return false;
    }
    if (!lacking.empty()) {
      note = std::string(info(p).column) + " is missing for " + lacking;
      return false;
    }
    return true;
  }

  double temperature(double fahrenheit) const {
    return recipe_.temperatureUnit == 'C' && !isMissing(fahrenheit) ? celsiusFromFahrenheit(fahrenheit) : fahrenheit;
  }
  double pressure(double psi) const {
    return recipe_.pressureUnit == "kPa" && !isMissing(psi) ? kilopascalFromPsi(psi) : psi;
  }
  std::string temperatureUnit() const { return std::string(1, recipe_.temperatureUnit); }

 private:
  const Recipe& recipe_;
  std::vector<std::size_t> present_;
  std::vector<double> volumes_;
  std::vector<double> fractions_;
};

Figure figure(std::string key, std::string description, double value, std::string unit, int decimals,
              std::string method, std::string note = "") {
  return {std::move(key), std::move(description), value, std::move(unit), decimals, std::move(method),
          std::move(note)};
}

// ---- Volatility ------------------------------------------------------------

Figure reidVapourPressure(const Blend& blend, double& rvpPsi) {
  const double exponent = gfx_getCorParms("REIDVAPORPRESSURE", "*");
  const std::string method = "vapour-pressure index RVP^" + exact(exponent) + ", blended by volume";
  const std::string unit = blend.pressure(1.0) == 1.0 ? "psi" : "kPa";
  std::vector<double> rvp;
  std::string note;
  rvpPsi = kMissing;
  if (blend.gather(P::RVP, rvp, note)) {
    std::vector<double> index;
    for (double v : rvp) index.push_back(gfx_RVPIndex(v, 0, nullptr));
    rvpPsi = gfx_RVP(gfx_LinearByVolume(blend.volumes().data(), blend.count(), index.data()), 0, nullptr);
  }
  return figure("RVP", "Reid vapour pressure", blend.pressure(rvpPsi), unit, 2, method, note);
}

// ---- Octane ----------------------------------------------------------------

void octane(const Blend& blend, Section& section) {
  std::vector<double> ron, mon, olefins, aromatics;
  std::string note;
  const bool ok = blend.gather(P::RON, ron, note) && blend.gather(P::MON, mon, note) &&
                  blend.gather(P::OLF, olefins, note) && blend.gather(P::ARO, aromatics, note);
  double out[2] = {kMissing, kMissing};
  if (ok) {
    std::vector<double> x = blend.fractions();
    if (gfx_Healy(0, x.data(), blend.count(), ron.data(), mon.data(), olefins.data(), aromatics.data(), out,
                  nullptr) != 0) {
      note = "Healy blending refused the volume fractions";
      out[0] = out[1] = kMissing;
    }
  }
  const std::string method = "Healy blending (sensitivity, olefins, aromatics)";
  section.figures.push_back(figure("RON", "research octane number", out[0], "", 1, method, note));
  section.figures.push_back(figure("MON", "motor octane number", out[1], "", 1, method, note));
  const double antiknock = ok && !isMissing(out[0]) ? gfx_DON(0, out[0], out[1], nullptr) : kMissing;
  section.figures.push_back(figure("AKI", "antiknock index (RON + MON)/2", antiknock, "", 1,
                                   "average of the blended RON and MON", note));
}

// ---- Composition -------------------------------------------------------------

Figure linearByVolume(const Blend& blend, P p, int decimals) {
  std::vector<double> values;
  std::string note;
  double value = kMissing;
  if (blend.gather(p, values, note)) {
    value = gfx_LinearByVolume(blend.volumes().data(), blend.count(), values.data());
  }
  return figure(info(p).column, info(p).description, value, info(p).dimension == Dimension::None ? "" : "vol%",
                decimals, "linear by volume", note);
}

Figure linearByMass(const Blend& blend, P p, const std::string& unit, int decimals) {
  std::vector<double> values, gravities;
  std::string note;
  double value = kMissing;
  if (blend.gather(p, values, note) && blend.gather(P::SPG, gravities, note)) {
    value = gfx_LinearByMass(blend.volumes().data(), blend.count(), gravities.data(), values.data());
  }
  return figure(info(p).column, info(p).description, value, unit, decimals,
                "linear by mass (volume x specific gravity)", note);
}

}  // namespace

const Figure* Report::find(const std::string& key) const {
  for (const Section& s : sections) {
    for (const Figure& f : s.figures) {
      if (f.key == key) return &f;
    }
  }
  return nullptr;
}

const std::vector<std::string>& d86MethodNames() {
  static const std::vector<std::string> names = {"HC94", "THREEA11", "SIXORDER", "ETHYLS", "NONE", "ETHYLS-EXACT"};
  return names;
}

Report blendReport(const Recipe& recipe, const BlendOptions& options) {
  (void)options;
  const Blend blend(recipe);
  Report report;
  report.source = recipe.source;
  report.basis = recipe.basis == Basis::Volume ? "volume" : "mass";
  report.quantityUnit = recipe.quantityUnit;
  report.temperatureUnit = blend.temperatureUnit();
  report.pressureUnit = recipe.pressureUnit;
  const std::vector<double> volumes = recipe.volumes();
  double totalVolume = 0.0;
  for (std::size_t i = 0; i < volumes.size(); ++i) {
    report.totalQuantity += recipe.components[i].quantity;
    totalVolume += volumes[i];
  }
  for (std::size_t i = 0; i < volumes.size(); ++i) {
    report.components.push_back({recipe.components[i].name, recipe.components[i].quantity, volumes[i] / totalVolume});
  }

  report.percentGrid = {gfx_getCorParms("GENERICD86", "MnVolIBP"), 10, 30, 50, 70, 90,
                        gfx_getCorParms("GENERICD86", "MxVolFBP")};
  for (int k = 0; k < blend.count(); ++k) {
    Curve curve{blend.component(k).name, {}, false};
    bool full = true;
    for (std::size_t p = 0; p < kCurve.size(); ++p) {
      curve.points[p] = blend.temperature(blend.component(k)[kCurve[p]]);
      full = full && !isMissing(curve.points[p]);
    }
    if (full) report.curves.push_back(curve);
  }

  Section volatility{"Volatility", {}};
  double rvpPsi = kMissing;
  volatility.figures.push_back(reidVapourPressure(blend, rvpPsi));
  report.sections.push_back(volatility);

  Section octaneSection{"Octane", {}};
  octane(blend, octaneSection);
  report.sections.push_back(octaneSection);

  Section composition{"Composition", {}};
  composition.figures.push_back(linearByVolume(blend, P::ARO, 2));
  composition.figures.push_back(linearByVolume(blend, P::OLF, 2));
  composition.figures.push_back(linearByVolume(blend, P::BNZ, 2));
  composition.figures.push_back(linearByMass(blend, P::SUL, "ppm", 1));
  if (recipe.has(P::OXY)) composition.figures.push_back(linearByMass(blend, P::OXY, "wt%", 2));
  for (P p : {P::EHO, P::MTO, P::ETO, P::TMO}) {
    if (recipe.has(p)) composition.figures.push_back(linearByMass(blend, p, "wt%", 2));
  }
  if (recipe.has(P::ETOH)) composition.figures.push_back(linearByVolume(blend, P::ETOH, 2));
  composition.figures.push_back(linearByVolume(blend, P::SPG, 4));
  report.sections.push_back(composition);
  return report;
}

}  // namespace tarncli
