// How each blended property is computed, in words, with the formula
// constants read from libtarn at the time of asking (gfx_getCorParms and the
// catalogue's coefficients), so that a changed setting shows.
#include <string>

#include "engine.h"
#include "tarn/corparms.h"

namespace tarnblend {
namespace {

using P = Property;

std::string parameter(const char* group, const char* name) { return shortNumber(gfx_getCorParms(group, name)); }

const char* methodName(int method) {
  static const char* const names[] = {"HC94",   "THREEA11",      "SIXORDER",
                                      "ETHYLS", "no conversion", "ETHYLS, exact inverse"};
  return method >= 0 && method <= 5 ? names[method] : "?";
}

// "flat" or "averaging" limits of each CARB reference property.
std::string carbReference() {
  std::string flat, averaging;
  for (const char* name : {"T50", "T90", "ARO", "OLF", "SUL", "BNZ"}) {
    std::string& list = catalogueCoefficient("CARB", name) == 1.0 ? flat : averaging;
    list += (list.empty() ? "" : ", ") + std::string(name);
  }
  if (averaging.empty()) return "flat limits";
  if (flat.empty()) return "averaging limits";
  return "flat limits for " + flat + ", averaging limits for " + averaging;
}

std::string epaSettings() {
  const int phase = static_cast<int>(catalogueCoefficient("EPA", "PHASE"));
  const int season = static_cast<int>(catalogueCoefficient("EPA", "SEASON"));
  const int area = static_cast<int>(catalogueCoefficient("EPA", "AREA"));
  const int fuel = static_cast<int>(catalogueCoefficient("EPA", "FUELTYPE"));
  return "phase " + std::to_string(phase) + ", " + (season == 2 ? "winter" : "summer") + ", VOC control region " +
         std::to_string(area) + ", " + (fuel == 1 ? "reformulated" : "conventional") + " gasoline";
}

}  // namespace

std::string methodText(const Model& m, Property p) {
  const std::string curveBlend =
      std::string("curve blend by volume on the TBP basis (") + methodName(m.d86Method()) + ")";
  const bool celsius = std::string(m.recipeUnit(Input::T50).name) == "C";
  switch (p) {
    case P::RVP:
      return "vapour-pressure index RVP^" + parameter("REIDVAPORPRESSURE", "*") + ", blended by volume";
    case P::E70:
    case P::E100:
    case P::E150:
    case P::E180:
    case P::E250:
    case P::E340:
    case P::E350:
      return "read off the blended curve";
    case P::E200:
      return "EPA relation " + parameter("E200E300EPA", "P1") + " - " + parameter("E200E300EPA", "P2") + " T50[F]";
    case P::E300:
      return "EPA relation " + parameter("E200E300EPA", "P3") + " - " + parameter("E200E300EPA", "P4") + " T90[F]";
    case P::TVL20:
      return "ASTM D4814: " + parameter("TVL20", "P1") + " - " + parameter("TVL20", "P2") + " RVP[psi] + " +
             parameter("TVL20", "P3") + " T10 + " + parameter("TVL20", "P4") + " T50, in F";
    case P::VLI:
      return "EN 228: 10 RVP[kPa] + " + parameter("VAPORLOCKINDEX", "P2") + " E70";
    case P::IBP:
    case P::T10:
    case P::T30:
    case P::T50:
    case P::T70:
    case P::T90:
    case P::FBP:
      return curveBlend;
    case P::T95:
      return "estimate: interpolated between T90 and FBP of the blended curve";
    case P::DI: {
      const double ethanol = gfx_getCorParms("DRIVEABILITYINDEX", "EF") / (celsius ? 1.8 : 1.0);
      return parameter("DRIVEABILITYINDEX", "P1") + " T10 + " + parameter("DRIVEABILITYINDEX", "P2") + " T50 + T90 + " +
             shortNumber(ethanol) + " ETOH, in " + (celsius ? "C" : "F");
    }
    case P::RON:
    case P::MON:
      return "Healy blending (sensitivity, olefins, aromatics)";
    case P::AKI:
      return "(RON + MON)/2 of the blended octanes";
    case P::CI4:
      return "four-variable equation from density, T10, T50, T90 (ASTM D4737 procedure A)";
    case P::CI2:
      return "two-variable equation from API gravity and T50 (ASTM D976)";
    case P::ARO:
    case P::OLF:
    case P::BNZ:
    case P::DEN:
    case P::CN:
      return "linear by volume";
    case P::ETOH:
      return m.given(Input::ETOH) ? "linear by volume" : "no ethanol column: none";
    case P::SUL:
    case P::EHO:
    case P::MTO:
    case P::ETO:
    case P::TMO:
      return "linear by mass (volume x density)";
    case P::OXY: {
      bool split = false;
      for (Input input : kOxygenates) split = split || m.given(input);
      if (split) return "sum of the oxygen by oxygenate";
      return m.given(Input::OXY) ? "linear by mass (volume x density)" : "no oxygenate column: none";
    }
    case P::FLASH:
      return "flash point index 1e5 (T[F] + 460)^(-1/0.6), blended by volume";
    case P::VISC40:
      return "viscosity blending number 41.10743 - 49.08258 log10 log10(v + 0.8), blended by mass";
    case P::CLOUD:
      return "cloud point index 1e-10 (0.01 (T[F] + 460))^(1/0.06), blended by volume";
    case P::POUR:
      return "pour point index exp(12.885 ln(T[F] + 460) - 73.0883), blended by volume";
    case P::CFPP:
      return "estimate: blended with the cloud point index (libtarn has no CFPP index)";
    case P::FREEZE:
      return "lowest freezing point moved towards the highest by the cube root of its fraction";
    case P::CARB_CNX:
    case P::CARB_THC:
    case P::CARB_POT:
      return "CARB Phase 2 predictive model against its reference fuel (" + carbReference() + ")";
    case P::EPA_VOC:
    case P::EPA_TOX:
    case P::EPA_NOX:
    case P::EPA_EXB:
    case P::EPA_EXT:
      return "EPA complex model against the baseline fuel: " + epaSettings();
  }
  return "";
}

}  // namespace tarnblend
