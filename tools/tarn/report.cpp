#include "report.h"

#include <cmath>

#include "numbers.h"
#include "tarn/blending.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"
#include "tarn/emissions.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

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

// ---- Distillation ------------------------------------------------------------

// The blended D86 curve in degrees F (all missing when it cannot be blended).
struct BlendedCurve {
  std::array<double, 7> points;
  std::string note;
  bool ok() const { return !isMissing(points[0]); }
};

BlendedCurve blendCurves(const Blend& blend, int method) {
  BlendedCurve result;
  result.points.fill(kMissing);
  std::vector<double> curves;
  std::string lacking, estimated;
  for (int k = 0; k < blend.count(); ++k) {
    const Component& c = blend.component(k);
    for (P p : kCurve) {
      const double t = c[p];
      // The 30 % and 70 % points may be left out: the curve blend estimates them.
      if (isMissing(t) && p != P::T30 && p != P::T70) {
        lacking += std::string(lacking.empty() ? "" : ", ") + info(p).column + " of '" + c.name + "'";
      } else if (isMissing(t) && estimated.find("'" + c.name + "'") == std::string::npos) {
        estimated += (estimated.empty() ? "'" : ", '") + c.name + "'";
      }
      curves.push_back(t);
    }
  }
  if (!lacking.empty()) {
    result.note = "missing " + lacking;
    return result;
  }
  std::array<double, 7> out{};
  const int status = gfx_D86(blend.count(), blend.fractions().data(), curves.data(), out.data(), nullptr,
                             method, 0, 'F');
  if (status != 0) {
    result.note = "the curve blend failed (status " + std::to_string(status) + ")";
    return result;
  }
  result.points = out;
  if (!estimated.empty()) result.note = "T30/T70 estimated for " + estimated;
  return result;
}

// Percent evaporated at a temperature (degrees F) read off the blended curve.
Figure evaporated(const BlendedCurve& curve, const std::string& key, double celsius) {
  const double fahrenheit = celsius * 1.8 + 32.0;
  double value = kMissing;
  std::string note = curve.ok() ? "" : "no blended curve";
  if (curve.ok()) {
    value = gfx_DistillCurve(curve.points.data(), 1, fahrenheit);
    if (isMissing(value)) note = "the blended curve does not rise strictly";
  }
  return figure(key, "evaporated at " + rounded(celsius, 0) + " C (" + rounded(fahrenheit, 0) + " F)", value,
                "vol%", 1, "read off the blended curve", note);
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

// ---- Emission models ------------------------------------------------------------

// A coefficient's current value by name (the catalogue's own settings).
double coefficient(int index, const char* name) {
  int count = 0;
  gfx_tarnGetCoefCount(index, &count);
  for (int k = 0; k < count; ++k) {
    char found[TARN_COEF_NAME_SIZE] = "";
    double value = 0.0;
    gfx_tarnGetCoef(index, k, found, &value);
    if (std::string(found) == name) return value;
  }
  return kMissing;
}

int catalogueIndex(const char* id) {
  int count = 0;
  gfx_tarnGetCorrelationCount(&count);
  for (int i = 0; i < count; ++i) {
    char found[TARN_ID_SIZE] = "";
    if (gfx_tarnGetCorrelationId(i, found) == TARN_STATUS_OK && std::string(found) == id) return i;
  }
  return -1;
}

// Answers of the EPA model's range questions from the EPA correlation's
// settings: question 3 the season ("W" winter), question 4 the fuel type
// ("R" reformulated), question 5 the equation ("S"). The model counts its
// inputs against the same table.
char epaAnswers[6] = "     ";
void TARN_CALL answerEpaQuestion(char* buffer, int length, const int* question) {
  if (length > 0 && *question >= 0 && *question < 6) buffer[0] = epaAnswers[*question];
}

// Notes for the model inputs that lie outside the ranges the model reports.
void rangeNotes(const char* model, const std::vector<std::string>& names, const std::vector<double>& values,
                tarn_LimitsAnswer answer, std::vector<std::string>& notes) {
  std::vector<double> lower(values.size()), upper(values.size());
  if (gfx_getCorLimits(model, answer, lower.data(), upper.data(), static_cast<int>(values.size())) != 0) return;
  std::string outside;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i] < lower[i] || values[i] > upper[i]) {
      outside += std::string(outside.empty() ? "" : ", ") + names[i] + " " + rounded(values[i], 2) + " (range " +
                 rounded(lower[i], 2) + " to " + rounded(upper[i], 2) + ")";
    }
  }
  if (!outside.empty()) notes.push_back(std::string(model) + " model inputs outside its valid range: " + outside);
}

struct ModelInputs {
  double rvpPsi, t50, t90, e200, e300;  // degrees F
  double aromatics, olefins, benzene, sulfur;
  double oxygen;                        // total, wt%
  std::array<double, 4> oxygenates;     // MTO, ETO, EHO, TMO wt%; missing when not split
};

// Evaluates a catalogue correlation whose inputs are all known; the outputs,
// or a note saying what is missing or what went wrong.
std::vector<double> evaluateModel(int index, std::vector<double> inputs, const std::vector<std::string>& names,
                                  std::string& note) {
  int outputs = 0;
  gfx_tarnGetCorrelationOutPropCount(index, &outputs);
  std::vector<double> out(static_cast<std::size_t>(outputs), kMissing);
  std::string lacking;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (isMissing(inputs[i])) lacking += (lacking.empty() ? "" : ", ") + names[i];
  }
  if (!lacking.empty()) {
    note = "needs the blend's " + lacking;
    return out;
  }
  std::vector<double> derivatives(std::max<std::size_t>(inputs.size() * out.size(), 8));
  const int status = gfx_tarnGenCalc(index, 0, 0, inputs.data(), out.data(), derivatives.data());
  if (status != TARN_STATUS_OK) {
    note = "the model returned status " + std::to_string(status);
    std::fill(out.begin(), out.end(), kMissing);
  }
  return out;
}

void emissionModels(const ModelInputs& m, Section& section, std::vector<std::string>& notes) {
  // CARB Phase 2: temperatures in the unit of the CARB temperature setting.
  const int carb = catalogueIndex("CARB");
  const bool celsius = gfx_getCorParms("TARN", "CARB_CORF") < 0.0;
  auto carbTemperature = [&](double f) { return celsius && !isMissing(f) ? celsiusFromFahrenheit(f) : f; };
  const std::vector<std::string> carbNames = {"RVP", "T50", "T90", "ARO", "OLF", "OXY", "SUL", "BNZ"};
  const std::vector<double> carbInputs = {m.rvpPsi, carbTemperature(m.t50), carbTemperature(m.t90), m.aromatics,
                                          m.olefins, m.oxygen, m.sulfur, m.benzene};
  std::string note;
  const std::vector<double> carbOut = evaluateModel(carb, carbInputs, carbNames, note);
  std::string limits;
  for (const char* name : {"T50", "T90", "ARO", "OLF", "SUL", "BNZ"}) {
    limits += coefficient(carb, name) == 1.0 ? "F" : "A";
  }
  const std::string carbMethod = "CARB Phase 2 predictive model vs its reference fuel (limits " + limits + ")";
  section.figures.push_back(figure("CARB.CNX", "CARB exhaust NOx", carbOut[0], "% change", 2, carbMethod, note));
  section.figures.push_back(figure("CARB.THC", "CARB exhaust hydrocarbons", carbOut[1], "% change", 2, carbMethod, note));
  section.figures.push_back(figure("CARB.POT", "CARB potency-weighted toxics", carbOut[2], "% change", 2, carbMethod, note));
  if (note.empty()) rangeNotes("CARB", carbNames, carbInputs, nullptr, notes);

  // EPA complex model: oxygen by oxygenate, E200/E300 rather than temperatures.
  const int epa = catalogueIndex("EPA");
  const std::vector<std::string> epaNames = {"MTO", "ETO", "EHO", "TMO", "SUL", "RVP", "E200", "E300", "ARO", "OLF", "BNZ"};
  const std::vector<double> epaInputs = {m.oxygenates[0], m.oxygenates[1], m.oxygenates[2], m.oxygenates[3],
                                         m.sulfur, m.rvpPsi, m.e200, m.e300, m.aromatics, m.olefins, m.benzene};
  note.clear();
  std::vector<double> epaOut;
  if (isMissing(m.oxygenates[2]) && !isMissing(m.oxygen)) {
    note = "needs oxygen by oxygenate (EHO, MTO, ETO, TMO columns), not OXY";
    epaOut.assign(5, kMissing);
  } else {
    epaOut = evaluateModel(epa, epaInputs, epaNames, note);
  }
  const int phase = static_cast<int>(coefficient(epa, "PHASE")), season = static_cast<int>(coefficient(epa, "SEASON"));
  const int area = static_cast<int>(coefficient(epa, "AREA")), fuel = static_cast<int>(coefficient(epa, "FUELTYPE"));
  const std::string epaMethod = "EPA complex model vs baseline: phase " + std::to_string(phase) + ", " +
                                (season == 2 ? "winter" : "summer") + ", VOC region " + std::to_string(area) + ", " +
                                (fuel == 1 ? "reformulated" : "conventional");
  const char* epaOutputs[][2] = {{"EPA.VOC", "EPA total VOC"},
                                 {"EPA.TOX", "EPA total toxics"},
                                 {"EPA.NOX", "EPA NOx"},
                                 {"EPA.EXB", "EPA exhaust benzene"},
                                 {"EPA.EXT", "EPA exhaust toxics"}};
  for (std::size_t k = 0; k < 5; ++k) {
    section.figures.push_back(figure(epaOutputs[k][0], epaOutputs[k][1], epaOut[k], "% change", 2, epaMethod, note));
  }
  if (note.empty()) {
    epaAnswers[3] = season == 2 ? 'W' : 'S';
    epaAnswers[4] = fuel == 1 ? 'R' : 'C';
    epaAnswers[5] = coefficient(epa, "EQUATION") == 2.0 ? 'S' : 'C';
    rangeNotes("EPA", epaNames, epaInputs, answerEpaQuestion, notes);
  }
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

  const BlendedCurve curve = blendCurves(blend, options.d86Method);
  const std::string method = d86MethodNames()[static_cast<std::size_t>(options.d86Method)];
  Section distillation{"Distillation (D86)", {}};
  for (std::size_t k = 0; k < kCurve.size(); ++k) {
    const PropertyInfo& p = info(kCurve[k]);
    distillation.figures.push_back(figure(p.column, p.description, blend.temperature(curve.points[k]),
                                          blend.temperatureUnit(), 1, "curve blend by volume on the TBP basis (" + method + ")",
                                          curve.note));
  }
  if (curve.ok()) {
    Curve drawn{"Blend", {}, true};
    for (std::size_t k = 0; k < 7; ++k) drawn.points[k] = blend.temperature(curve.points[k]);
    report.curves.push_back(drawn);
  }

  Section volatility{"Volatility", {}};
  double rvpPsi = kMissing;
  volatility.figures.push_back(reidVapourPressure(blend, rvpPsi));
  const Figure e70 = evaporated(curve, "E70", 70.0);
  volatility.figures.push_back(e70);
  volatility.figures.push_back(evaporated(curve, "E100", 100.0));
  volatility.figures.push_back(evaporated(curve, "E150", 150.0));
  {
    double e[2] = {kMissing, kMissing};
    const double t[2] = {curve.points[3], curve.points[5]};
    if (curve.ok()) gfx_E200E300EPA('F', t, e, 0, nullptr);
    const std::string how = "EPA relation from T50 and T90";
    const std::string note = curve.ok() ? "" : "no blended curve";
    volatility.figures.push_back(figure("E200", "evaporated at 200 F (EPA)", e[0], "vol%", 1, how, note));
    volatility.figures.push_back(figure("E300", "evaporated at 300 F (EPA)", e[1], "vol%", 1, how, note));
  }
  const bool haveVolatility = curve.ok() && !isMissing(rvpPsi);
  const std::string needs = isMissing(rvpPsi) ? "no blend RVP" : "no blended curve";
  volatility.figures.push_back(
      figure("TVL20", "temperature for V/L = 20",
             haveVolatility ? blend.temperature(gfx_TVL(0, 'F', rvpPsi, curve.points[1], curve.points[3], nullptr)) : kMissing,
             blend.temperatureUnit(), 1, "ASTM D4814 relation of RVP, T10, T50", haveVolatility ? "" : needs));
  const bool lockable = !isMissing(rvpPsi) && !isMissing(e70.value);
  volatility.figures.push_back(figure("VLI", "vapour lock index",
                                      lockable ? gfx_VaporLockIndex(0, 'P', rvpPsi, e70.value, nullptr) : kMissing, "", 0,
                                      "10 RVP[kPa] + 7 E70", lockable ? "" : needs));
  report.sections.push_back(volatility);

  {
    double ethanol = 0.0;
    std::string note = curve.ok() ? "" : "no blended curve";
    if (recipe.has(P::ETOH)) {
      const Figure f = linearByVolume(blend, P::ETOH, 2);
      ethanol = f.value;
      if (isMissing(ethanol)) note = f.note;
    }
    double value = kMissing;
    if (curve.ok() && !isMissing(ethanol)) {
      const char unit = recipe.temperatureUnit;
      value = gfx_DriveabilityIndexE(0, unit, blend.temperature(curve.points[1]), blend.temperature(curve.points[3]),
                                     blend.temperature(curve.points[5]), nullptr, ethanol);
    }
    distillation.figures.push_back(
        figure("DI", "drivability index", value, blend.temperatureUnit(), 0,
               std::string("1.5 T10 + 3 T50 + T90 + ") + (recipe.temperatureUnit == 'C' ? "1.33" : "2.4") + " ETOH",
               note));
  }
  report.sections.push_back(distillation);

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
  // Total oxygen from the oxygenates when they are given one by one.
  ModelInputs models{};
  models.oxygenates.fill(kMissing);
  const P split[] = {P::MTO, P::ETO, P::EHO, P::TMO};
  bool anySplit = false;
  for (P p : split) anySplit = anySplit || recipe.has(p);
  if (anySplit) {
    double total = 0.0;
    std::string note;
    for (std::size_t k = 0; k < 4; ++k) {
      double value = 0.0;
      if (recipe.has(split[k])) {
        const Figure f = linearByMass(blend, split[k], "wt%", 2);
        value = f.value;
        if (isMissing(value) && note.empty()) note = f.note;
      }
      models.oxygenates[k] = value;
      total = isMissing(value) || isMissing(total) ? kMissing : total + value;
    }
    composition.figures.insert(composition.figures.begin() + 4,
                               figure("OXY", "oxygen", total, "wt%", 2, "sum of the oxygen by oxygenate", note));
    models.oxygen = total;
  } else {
    const Figure* oxygen = nullptr;
    for (const Figure& f : composition.figures) {
      if (f.key == "OXY") oxygen = &f;
    }
    models.oxygen = oxygen != nullptr ? oxygen->value : kMissing;
  }
  composition.figures.push_back(linearByVolume(blend, P::SPG, 4));
  report.sections.push_back(composition);

  models.rvpPsi = rvpPsi;
  models.t50 = curve.points[3];
  models.t90 = curve.points[5];
  auto value = [&](const char* key) {
    const Figure* f = report.find(key);
    return f != nullptr ? f->value : kMissing;
  };
  models.e200 = value("E200");
  models.e300 = value("E300");
  models.aromatics = value("ARO");
  models.olefins = value("OLF");
  models.benzene = value("BNZ");
  models.sulfur = value("SUL");
  Section emissions{"Emission models (gasoline)", {}};
  emissionModels(models, emissions, report.notes);
  report.sections.push_back(emissions);
  return report;
}

}  // namespace tarncli
