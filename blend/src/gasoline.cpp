// The figures of a gasoline blend: volatility (RVP by its blending index,
// the D86 curve and what is read off it, TV/L 20, vapour lock and
// drivability indices), octane by Healy blending, composition by volume and
// by mass, and the CARB and EPA emission models, each with its derivatives
// with respect to the component volumes.
#include <array>
#include <cmath>
#include <string>

#include "engine.h"
#include "tarn/blending.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"
#include "tarn/emissions.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

namespace tarnblend {
namespace {

using P = Property;
using I = Input;

constexpr double kPpmPerWeightPercent = 1e4;

// Ethanol and oxygen. A recipe without any oxygenate column is a gasoline
// free of oxygenates: its oxygen and ethanol are 0 and the emission models
// run on that. Oxygen split by oxygenate gives the total as the sum.
struct Oxygenates {
  bool split = false;  // some of EHO, MTO, ETO, TMO given
  bool any = false;    // some oxygen or ethanol column given
  double epa[4] = {0, 0, 0, 0};
  Operand epaOperands[4] = {{P::MTO, 0.0}, {P::ETO, 0.0}, {P::EHO, 0.0}, {P::TMO, 0.0}};
  std::string epaReason;  // why the EPA model cannot have them, or ""
};

Oxygenates blendOxygen(Engine& e) {
  const Model& m = e.model();
  Oxygenates o;
  const P splitProperties[4] = {P::MTO, P::ETO, P::EHO, P::TMO};
  for (I input : kOxygenates) o.split = o.split || m.given(input);
  o.any = o.split || m.given(I::OXY) || m.given(I::ETOH);
  if (!o.any) {
    e.note(
        "The recipe has no oxygenate column (OXY, EHO, MTO, ETO, TMO, ETOH): the gasoline is taken as free of "
        "oxygenates (oxygen 0 wt%, ethanol 0 vol%).");
  }
  for (int k = 0; k < 4; ++k) {
    const P p = splitProperties[k];
    if (m.given(kOxygenates[k])) {
      e.linearByMass(p, kOxygenates[k]);
      if (e.ok(p)) {
        o.epa[k] = e.value(p);
        o.epaOperands[k].scale = 1.0;
      } else if (o.epaReason.empty()) {
        o.epaReason = "no blended " + std::string(propertyInfo(p).key) + " (" + m.result(p).reason + ")";
      }
    } else {
      e.omit(p, std::string("the recipe has no ") + inputInfo(kOxygenates[k]).key);
    }
  }
  if (!o.split && o.any) {
    o.epaReason = m.given(I::OXY) ? "needs oxygen by oxygenate (EHO, MTO, ETO, TMO), not the total OXY"
                                  : "needs the oxygen the ethanol carries (EHO, wt%)";
  }

  if (o.split) {
    double total = 0.0;
    for (int k = 0; k < 4; ++k) {
      if (m.given(kOxygenates[k])) total += e.value(splitProperties[k]);
    }
    if (o.epaReason.empty()) {
      e.set(P::OXY, total);
      const double ones[4] = {1, 1, 1, 1};
      e.chain(P::OXY, ones, 1, o.epaOperands, 4);
    } else {
      e.fail(P::OXY, o.epaReason);
    }
  } else if (m.given(I::OXY)) {
    e.linearByMass(P::OXY, I::OXY);
  } else if (m.given(I::ETOH)) {
    e.fail(P::OXY, "the recipe gives ETOH but not the oxygen it carries (EHO, wt%)");
  } else {
    e.set(P::OXY, 0.0);
    e.constantRow(P::OXY, 0.0);
  }

  if (m.given(I::ETOH)) {
    e.linearByVolume(P::ETOH, I::ETOH);
  } else if (!m.given(I::OXY) && !m.given(I::EHO)) {
    // No ethanol column and no oxygen that could be ethanol's.
    e.set(P::ETOH, 0.0);
    e.constantRow(P::ETOH, 0.0);
  } else {
    e.fail(P::ETOH, "the recipe gives oxygen but has no ETOH (vol%)");
  }
  return o;
}

void octane(Engine& e) {
  Workspace& work = e.model().workspace();
  const I inputs[4] = {I::RON, I::MON, I::OLF, I::ARO};
  std::string reason;
  for (int k = 0; k < 4; ++k) {
    if (!e.gather(inputs[k], work.columns[static_cast<std::size_t>(k)], reason)) {
      for (P p : {P::RON, P::MON}) e.fail(p, reason);
      return;
    }
  }
  // Components without volume that have every input take part with fraction 0,
  // so that their derivatives come out too.
  std::vector<int>& members = work.members;
  members.clear();
  std::vector<double>& x = work.fractions;
  x.clear();
  std::array<std::vector<double>, 4>& packed = work.columns;
  std::vector<double>& flat = work.packedValues;
  flat.clear();
  for (int i = 0; i < e.count(); ++i) {
    bool complete = true;
    for (const std::vector<double>& column : packed)
      complete = complete && !isMissing(column[static_cast<std::size_t>(i)]);
    if (!complete) continue;
    members.push_back(i);
    x.push_back(e.fraction(i));
  }
  const int count = static_cast<int>(members.size());
  flat.resize(static_cast<std::size_t>(count) * 4);
  for (int k = 0; k < 4; ++k) {
    for (int j = 0; j < count; ++j) {
      flat[static_cast<std::size_t>(k * count + j)] =
          packed[static_cast<std::size_t>(k)][static_cast<std::size_t>(members[static_cast<std::size_t>(j)])];
    }
  }
  std::vector<double>& d = work.derivs;
  d.assign(static_cast<std::size_t>(count) * 10, 0.0);
  double out[2] = {kMissing, kMissing};
  const double* column = flat.data();
  if (gfx_Healy(e.derivatives() ? 1 : 0, x.data(), count, column, column + count, column + 2 * count,
                column + 3 * count, out, d.data()) != 0) {
    for (P p : {P::RON, P::MON}) e.fail(p, "Healy blending refused the volume fractions");
    return;
  }
  e.set(P::RON, out[0]);
  e.set(P::MON, out[1]);
  if (e.derivatives()) {
    // Healy's fraction derivatives keep the fractions summing to one: the
    // change per unit volume times the total volume.
    for (int j = 0; j < count; ++j) {
      const int i = members[static_cast<std::size_t>(j)];
      e.row(P::RON)[i] = d[static_cast<std::size_t>(10 * j)] * e.perVolume();
      e.row(P::MON)[i] = d[static_cast<std::size_t>(10 * j + 1)] * e.perVolume();
    }
  }
  if (e.needs(P::AKI, {P::RON, P::MON})) {
    double slopes[2];
    e.set(P::AKI, gfx_DON(1, out[0], out[1], slopes));
    e.chain(P::AKI, slopes, 1, {{P::RON}, {P::MON}});
  }
}

// Answers of the EPA model's range questions from the EPA correlation's
// settings: question 3 the season ("W" winter), question 4 the fuel type
// ("R" reformulated), question 5 the equation ("S").
char epaAnswers[6] = "     ";
void TARN_CALL answerEpaQuestion(char* buffer, int length, const int* question) {
  if (length > 0 && *question >= 0 && *question < 6) buffer[0] = epaAnswers[*question];
}

// A model input for the range note: its name, the blended property it is,
// and the unit the model takes it in.
struct RangeInput {
  const char* name;
  P property;
  const char* modelUnit;
};

// A note naming the model inputs that lie outside the ranges the model
// reports, each value and range in the unit the report gives the property in.
void rangeNote(Engine& e, const char* model, const RangeInput* inputs, const double* values, int count,
               tarn_LimitsAnswer answer) {
  double lower[16], upper[16];
  if (gfx_getCorLimits(model, answer, lower, upper, count) != 0) return;
  std::string outside;
  for (int i = 0; i < count; ++i) {
    if (values[i] < lower[i] || values[i] > upper[i]) {
      const Unit& from = *unitNamed(inputs[i].modelUnit);
      const Unit& shown = e.model().propertyUnit(inputs[i].property);
      auto text = [&](double v) { return shortNumber(fromBase(shown, toBase(from, v))); };
      const std::string unit = shown.name[0] ? std::string(" ") + shown.name : "";
      outside += std::string(outside.empty() ? "" : ", ") + inputs[i].name + " " + text(values[i]) + unit + " (range " +
                 text(lower[i]) + " to " + text(upper[i]) + unit + ")";
    }
  }
  if (!outside.empty()) e.note(std::string(model) + " model inputs outside its valid range: " + outside);
}

// Step of the emission models' slopes, relative to |input| + 1: the step of
// libtarn's own sensitivities.
constexpr double kEmissionStep = 1e-6;

// Evaluates an emission model by catalogue index into out and, with
// derivatives, its slopes into d (input-major, count per input); false
// (outputs failed) on a status or a missing output.
//
// The slopes are differences of the model's own values at the blend, central
// but where an input of 0 cannot go lower (oxygen from an oxygenate the blend
// lacks). libtarn's sensitivities keep both points inside the model's valid
// range, so for an input beyond it they are a chord from the limit, not the
// slope of the figure reported; an optimiser limiting the figure needs its
// slope, whatever side of the range the blend is on.
bool emissionModel(Engine& e, const char* id, const double* in, int inputs, const P* outputs, int count, double* out,
                   double* d) {
  const int index = catalogueIndex(id);
  double work[16], moved[8];
  // One evaluation with input j (none when j < 0) at value; libtarn reads
  // the output array before writing it, and may repair its inputs in place.
  auto run = [&](int j, double value, double* result) {
    std::copy(in, in + inputs, work);
    if (j >= 0) work[j] = value;
    std::fill(result, result + count, 0.0);
    const int status = gfx_tarnGenCalc(index, 0, 0, work, result, nullptr);
    bool ok = status == TARN_STATUS_OK;
    for (int k = 0; k < count && ok; ++k) ok = !isMissing(result[k]) && std::isfinite(result[k]);
    return ok ? TARN_STATUS_OK : (status == TARN_STATUS_OK ? -1 : status);
  };
  const int status = run(-1, 0.0, out);
  if (status != TARN_STATUS_OK) {
    for (int k = 0; k < count; ++k) {
      e.fail(outputs[k], std::string("the ") + id + " model gave no result (status " + std::to_string(status) + ")");
    }
    return false;
  }
  if (!e.derivatives()) return true;
  for (int j = 0; j < inputs; ++j) {
    const double x = in[j], h = (std::fabs(x) + 1.0) * kEmissionStep;
    double* row = d + j * count;
    double upper = x + h, lower = x >= 0.0 && x < h ? x : x - h;
    bool upOk = run(j, upper, moved) == TARN_STATUS_OK;
    if (upOk) std::copy(moved, moved + count, row);
    if (lower == x || run(j, lower, moved) != TARN_STATUS_OK) {
      std::copy(out, out + count, moved);  // one-sided from the blend itself
      lower = x;
    }
    if (!upOk) {
      std::copy(out, out + count, row);
      upper = x;
    }
    for (int k = 0; k < count; ++k) row[k] = upper > lower ? (row[k] - moved[k]) / (upper - lower) : kMissing;
  }
  return true;
}

void carbModel(Engine& e) {
  const P outputs[3] = {P::CARB_CNX, P::CARB_THC, P::CARB_POT};
  if (!e.needs(outputs[0], {P::RVP, P::T50, P::T90, P::ARO, P::OLF, P::OXY, P::SUL, P::BNZ})) {
    e.failLike(outputs[1], outputs[0]);
    e.failLike(outputs[2], outputs[0]);
    return;
  }
  // T50 and T90 go in the unit of the CARB temperature setting.
  const bool celsius = gfx_getCorParms("TARN", "CARB_CORF") < 0.0;
  const double t = celsius ? 1.0 / 1.8 : 1.0;
  auto temperature = [&](P p) { return celsius ? (e.value(p) - 32.0) / 1.8 : e.value(p); };
  const double in[8] = {e.value(P::RVP),
                        temperature(P::T50),
                        temperature(P::T90),
                        e.value(P::ARO),
                        e.value(P::OLF),
                        e.value(P::OXY),
                        e.value(P::SUL) * kPpmPerWeightPercent,
                        e.value(P::BNZ)};
  const Operand operands[8] = {
      {P::RVP}, {P::T50, t}, {P::T90, t}, {P::ARO}, {P::OLF}, {P::OXY}, {P::SUL, kPpmPerWeightPercent}, {P::BNZ}};
  double out[3], d[24];
  if (!emissionModel(e, "CARB", in, 8, outputs, 3, out, d)) return;
  for (int k = 0; k < 3; ++k) {
    e.set(outputs[k], out[k]);
    e.chain(outputs[k], d + k, 3, operands, 8);
  }
  const char* degrees = celsius ? "C" : "F";
  const RangeInput names[8] = {{"RVP", P::RVP, "psi"},  {"T50", P::T50, degrees}, {"T90", P::T90, degrees},
                               {"ARO", P::ARO, "vol%"}, {"OLF", P::OLF, "vol%"},  {"OXY", P::OXY, "wt%"},
                               {"SUL", P::SUL, "ppm"},  {"BNZ", P::BNZ, "vol%"}};
  rangeNote(e, "CARB", names, in, 8, nullptr);
}

void epaModel(Engine& e, const Oxygenates& oxygen) {
  const P outputs[5] = {P::EPA_VOC, P::EPA_TOX, P::EPA_NOX, P::EPA_EXB, P::EPA_EXT};
  if (!oxygen.epaReason.empty()) {
    for (P p : outputs) e.fail(p, oxygen.epaReason);
    return;
  }
  if (!e.needs(outputs[0], {P::SUL, P::RVP, P::E200, P::E300, P::ARO, P::OLF, P::BNZ})) {
    for (int k = 1; k < 5; ++k) e.failLike(outputs[k], outputs[0]);
    return;
  }
  const double in[11] = {
      oxygen.epa[0],   oxygen.epa[1],    oxygen.epa[2],    oxygen.epa[3],   e.value(P::SUL) * kPpmPerWeightPercent,
      e.value(P::RVP), e.value(P::E200), e.value(P::E300), e.value(P::ARO), e.value(P::OLF),
      e.value(P::BNZ)};
  const Operand operands[11] = {oxygen.epaOperands[0],
                                oxygen.epaOperands[1],
                                oxygen.epaOperands[2],
                                oxygen.epaOperands[3],
                                {P::SUL, kPpmPerWeightPercent},
                                {P::RVP},
                                {P::E200},
                                {P::E300},
                                {P::ARO},
                                {P::OLF},
                                {P::BNZ}};
  double out[5], d[55];
  if (!emissionModel(e, "EPA", in, 11, outputs, 5, out, d)) return;
  for (int k = 0; k < 5; ++k) {
    e.set(outputs[k], out[k]);
    e.chain(outputs[k], d + k, 5, operands, 11);
  }
  epaAnswers[3] = catalogueCoefficient("EPA", "SEASON") == 2.0 ? 'W' : 'S';
  epaAnswers[4] = catalogueCoefficient("EPA", "FUELTYPE") == 1.0 ? 'R' : 'C';
  epaAnswers[5] = catalogueCoefficient("EPA", "EQUATION") == 2.0 ? 'S' : 'C';
  const RangeInput names[11] = {{"MTO", P::MTO, "wt%"},    {"ETO", P::ETO, "wt%"},    {"EHO", P::EHO, "wt%"},
                                {"TMO", P::TMO, "wt%"},    {"SUL", P::SUL, "ppm"},    {"RVP", P::RVP, "psi"},
                                {"E200", P::E200, "vol%"}, {"E300", P::E300, "vol%"}, {"ARO", P::ARO, "vol%"},
                                {"OLF", P::OLF, "vol%"},   {"BNZ", P::BNZ, "vol%"}};
  rangeNote(e, "EPA", names, in, 11, answerEpaQuestion);
}

}  // namespace

void evaluateGasoline(Engine& e) {
  Model& m = e.model();
  if (e.wanted(P::RVP)) {
    e.indexBlend(
        P::RVP, I::RVP, false, "vapour-pressure index", [](double rvp) { return gfx_RVPIndex(rvp, 0, nullptr); },
        [](double index, double* slope) { return gfx_RVP(index, 1, slope); });
  }
  if (e.wanted(P::T50)) e.blendCurve();
  const struct {
    P property;
    double fahrenheit;
  } evaporated[] = {{P::E70, 158.0}, {P::E100, 212.0}, {P::E150, 302.0}};
  for (const auto& point : evaporated) {
    if (e.wanted(point.property)) e.evaporatedAt(point.property, point.fahrenheit);
  }
  for (P p : {P::E200, P::E300}) {
    if (!e.wanted(p) || !e.needs(p, {P::T50, P::T90})) continue;
    const double in[2] = {e.value(P::T50), e.value(P::T90)};
    double out[2], d[4];
    gfx_E200E300EPA('F', in, out, 1, d);
    const int k = p == P::E200 ? 0 : 1;
    e.set(p, out[k]);
    e.chain(p, d + k, 2, {{P::T50}, {P::T90}});
  }
  if (e.wanted(P::TVL20) && e.needs(P::TVL20, {P::RVP, P::T10, P::T50})) {
    double d[3];
    e.set(P::TVL20, gfx_TVL(1, 'F', e.value(P::RVP), e.value(P::T10), e.value(P::T50), d));
    e.chain(P::TVL20, d, 1, {{P::RVP}, {P::T10}, {P::T50}});
  }
  if (e.wanted(P::VLI) && e.needs(P::VLI, {P::RVP, P::E70})) {
    double d[2];
    e.set(P::VLI, gfx_VaporLockIndex(1, 'P', e.value(P::RVP), e.value(P::E70), d));
    e.chain(P::VLI, d, 1, {{P::RVP}, {P::E70}});
  }

  for (P p : {P::ARO, P::OLF, P::BNZ}) {
    if (e.wanted(p)) e.linearByVolume(p, propertyInfo(p).input);
  }
  if (e.wanted(P::SUL)) e.linearByMass(P::SUL, I::SUL);
  if (e.wanted(P::DEN)) e.linearByVolume(P::DEN, I::DEN);
  const Oxygenates oxygen = e.wanted(P::OXY) ? blendOxygen(e) : Oxygenates{};

  // Drivability index in the recipe's temperature unit: the degrees C form
  // has its own ethanol coefficient (EF / 1.8).
  if (e.wanted(P::DI) && e.needs(P::DI, {P::T10, P::T50, P::T90, P::ETOH})) {
    const bool celsius = std::string(m.recipeUnit(I::T50).name) == "C";
    auto t = [&](P p) { return celsius ? (e.value(p) - 32.0) / 1.8 : e.value(p); };
    double d[4];
    e.set(P::DI, gfx_DriveabilityIndexE(1, celsius ? 'C' : 'F', t(P::T10), t(P::T50), t(P::T90), d, e.value(P::ETOH)));
    d[3] = gfx_getCorParms("DRIVEABILITYINDEX", "EF") / (celsius ? 1.8 : 1.0);
    const double s = celsius ? 1.0 / 1.8 : 1.0;
    e.chain(P::DI, d, 1, {{P::T10, s}, {P::T50, s}, {P::T90, s}, {P::ETOH}});
  }
  if (e.wanted(P::RON)) octane(e);
  if (e.wanted(P::CARB_CNX)) carbModel(e);
  if (e.wanted(P::EPA_VOC)) epaModel(e, oxygen);
}

}  // namespace tarnblend
