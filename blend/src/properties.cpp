#include "properties.h"

#include <initializer_list>

#include "tarn/blend.h"

namespace tarnblend {
namespace {

using P = Property;
using U = UnitSource;
using D = Dimension;
using I = Input;

constexpr unsigned G = kGasoline, Dsl = kDiesel, J = kJet, DJ = kDistillate;
constexpr int E = TARNBLEND_FLAG_ESTIMATE, L = TARNBLEND_FLAG_LINEAR_LIMITS;
constexpr double kLowT = -459.67, kHighT = 2000.0;  // degrees F
constexpr const char* kVolatility = "Volatility";
constexpr const char* kDistillation = "Distillation (D86)";
constexpr const char* kOctane = "Octane";
constexpr const char* kIgnition = "Ignition quality";
constexpr const char* kComposition = "Composition";
constexpr const char* kColdFlow = "Cold flow";
constexpr const char* kFlashViscosity = "Flash point and viscosity";
constexpr const char* kEmissions = "Emission models";

constexpr PropertyInfo kProperties[kPropertyCount] = {
    {P::RVP, "RVP", "Reid vapour pressure", G, kVolatility, 2, L, U::Input, I::RVP, D::Pressure, 0.0, 1e4},
    {P::E70, "E70", "evaporated at 70 C (158 F)", G, kVolatility, 1, 0, U::Fixed, I::RVP, D::VolumePercent, 0, 100},
    {P::E100, "E100", "evaporated at 100 C (212 F)", G, kVolatility, 1, 0, U::Fixed, I::RVP, D::VolumePercent, 0, 100},
    {P::E150, "E150", "evaporated at 150 C (302 F)", G, kVolatility, 1, 0, U::Fixed, I::RVP, D::VolumePercent, 0, 100},
    {P::E200, "E200", "evaporated at 200 F (EPA)", G, kVolatility, 1, 0, U::Fixed, I::RVP, D::VolumePercent, 0, 100},
    {P::E300, "E300", "evaporated at 300 F (EPA)", G, kVolatility, 1, 0, U::Fixed, I::RVP, D::VolumePercent, 0, 100},
    {P::TVL20, "TVL20", "temperature for V/L = 20", G, kVolatility, 1, 0, U::Curve, I::T50, D::Temperature, kLowT,
     kHighT},
    {P::VLI, "VLI", "vapour lock index", G, kVolatility, 0, 0, U::Fixed, I::RVP, D::None, 0.0, 1e6},
    {P::IBP, "IBP", "D86 initial boiling point", G | DJ, kDistillation, 1, 0, U::Input, I::IBP, D::Temperature, kLowT,
     kHighT},
    {P::T10, "T10", "D86 10 % evaporated", G | DJ, kDistillation, 1, 0, U::Input, I::T10, D::Temperature, kLowT,
     kHighT},
    {P::T30, "T30", "D86 30 % evaporated", G | DJ, kDistillation, 1, 0, U::Input, I::T30, D::Temperature, kLowT,
     kHighT},
    {P::T50, "T50", "D86 50 % evaporated", G | DJ, kDistillation, 1, 0, U::Input, I::T50, D::Temperature, kLowT,
     kHighT},
    {P::T70, "T70", "D86 70 % evaporated", G | DJ, kDistillation, 1, 0, U::Input, I::T70, D::Temperature, kLowT,
     kHighT},
    {P::T90, "T90", "D86 90 % evaporated", G | DJ, kDistillation, 1, 0, U::Input, I::T90, D::Temperature, kLowT,
     kHighT},
    {P::FBP, "FBP", "D86 final boiling point", G | DJ, kDistillation, 1, 0, U::Input, I::FBP, D::Temperature, kLowT,
     kHighT},
    {P::T95, "T95", "D86 95 % evaporated (estimate)", DJ, kDistillation, 1, E, U::Curve, I::T50, D::Temperature, kLowT,
     kHighT},
    {P::E180, "E180", "recovered at 180 C (356 F)", Dsl, kDistillation, 1, 0, U::Fixed, I::RVP, D::VolumePercent, 0,
     100},
    {P::E250, "E250", "recovered at 250 C (482 F)", Dsl, kDistillation, 1, 0, U::Fixed, I::RVP, D::VolumePercent, 0,
     100},
    {P::E340, "E340", "recovered at 340 C (644 F)", Dsl, kDistillation, 1, 0, U::Fixed, I::RVP, D::VolumePercent, 0,
     100},
    {P::E350, "E350", "recovered at 350 C (662 F)", Dsl, kDistillation, 1, 0, U::Fixed, I::RVP, D::VolumePercent, 0,
     100},
    {P::DI, "DI", "drivability index", G, kDistillation, 0, 0, U::CurveLabel, I::T50, D::None, -1e6, 1e6},
    {P::RON, "RON", "research octane number", G, kOctane, 1, 0, U::Fixed, I::RON, D::None, 0.0, 150.0},
    {P::MON, "MON", "motor octane number", G, kOctane, 1, 0, U::Fixed, I::MON, D::None, 0.0, 150.0},
    {P::AKI, "AKI", "antiknock index (RON + MON)/2", G, kOctane, 1, 0, U::Fixed, I::RON, D::None, 0.0, 150.0},
    {P::CI4, "CI4", "cetane index, four-variable (D4737 A)", Dsl, kIgnition, 1, 0, U::Fixed, I::CN, D::None, 0.0,
     150.0},
    {P::CI2, "CI2", "cetane index, two-variable (D976)", Dsl, kIgnition, 1, 0, U::Fixed, I::CN, D::None, 0.0, 150.0},
    {P::CN, "CN", "cetane number", Dsl, kIgnition, 1, L, U::Fixed, I::CN, D::None, 0.0, 150.0},
    {P::ARO, "ARO", "aromatics", G | J, kComposition, 2, L, U::Input, I::ARO, D::VolumePercent, 0, 100},
    {P::OLF, "OLF", "olefins", G, kComposition, 2, L, U::Input, I::OLF, D::VolumePercent, 0, 100},
    {P::BNZ, "BNZ", "benzene", G, kComposition, 2, L, U::Input, I::BNZ, D::VolumePercent, 0, 100},
    {P::SUL, "SUL", "sulfur", G | DJ, kComposition, 1, L, U::Input, I::SUL, D::MassFraction, 0, 100},
    {P::OXY, "OXY", "oxygen", G, kComposition, 2, L, U::Input, I::OXY, D::MassFraction, 0, 100},
    {P::EHO, "EHO", "oxygen from ethanol", G, kComposition, 2, L, U::Input, I::EHO, D::MassFraction, 0, 100},
    {P::MTO, "MTO", "oxygen from MTBE", G, kComposition, 2, L, U::Input, I::MTO, D::MassFraction, 0, 100},
    {P::ETO, "ETO", "oxygen from ETBE", G, kComposition, 2, L, U::Input, I::ETO, D::MassFraction, 0, 100},
    {P::TMO, "TMO", "oxygen from TAME", G, kComposition, 2, L, U::Input, I::TMO, D::MassFraction, 0, 100},
    {P::ETOH, "ETOH", "ethanol", G, kComposition, 2, L, U::Input, I::ETOH, D::VolumePercent, 0, 100},
    {P::DEN, "DEN", "density at 15 C", G | DJ, kComposition, 1, L, U::Input, I::DEN, D::Density, 300, 1500},
    {P::FLASH, "FLASH", "flash point", DJ, kFlashViscosity, 1, L, U::Input, I::FLASH, D::Temperature, kLowT, kHighT},
    {P::VISC40, "VISC40", "kinematic viscosity at 40 C", DJ, kFlashViscosity, 3, L, U::Input, I::VISC40, D::Viscosity,
     1e-9, 1e6},
    {P::CLOUD, "CLOUD", "cloud point", Dsl, kColdFlow, 1, L, U::Input, I::CLOUD, D::Temperature, kLowT, kHighT},
    {P::POUR, "POUR", "pour point", Dsl, kColdFlow, 1, L, U::Input, I::POUR, D::Temperature, kLowT, kHighT},
    {P::CFPP, "CFPP", "cold filter plugging point (estimate)", Dsl, kColdFlow, 1, E | L, U::Input, I::CFPP,
     D::Temperature, kLowT, kHighT},
    {P::FREEZE, "FREEZE", "freezing point", J, kColdFlow, 1, 0, U::Input, I::FREEZE, D::Temperature, kLowT, kHighT},
    {P::CARB_CNX, "CARB.CNX", "CARB exhaust NOx", G, kEmissions, 2, 0, U::Fixed, I::RVP, D::PercentChange, -100, 1e6},
    {P::CARB_THC, "CARB.THC", "CARB exhaust hydrocarbons", G, kEmissions, 2, 0, U::Fixed, I::RVP, D::PercentChange,
     -100, 1e6},
    {P::CARB_POT, "CARB.POT", "CARB potency-weighted toxics", G, kEmissions, 2, 0, U::Fixed, I::RVP, D::PercentChange,
     -100, 1e6},
    {P::EPA_VOC, "EPA.VOC", "EPA total VOC", G, kEmissions, 2, 0, U::Fixed, I::RVP, D::PercentChange, -100, 1e6},
    {P::EPA_TOX, "EPA.TOX", "EPA total toxics", G, kEmissions, 2, 0, U::Fixed, I::RVP, D::PercentChange, -100, 1e6},
    {P::EPA_NOX, "EPA.NOX", "EPA NOx", G, kEmissions, 2, 0, U::Fixed, I::RVP, D::PercentChange, -100, 1e6},
    {P::EPA_EXB, "EPA.EXB", "EPA exhaust benzene", G, kEmissions, 2, 0, U::Fixed, I::RVP, D::PercentChange, -100, 1e6},
    {P::EPA_EXT, "EPA.EXT", "EPA exhaust toxics", G, kEmissions, 2, 0, U::Fixed, I::RVP, D::PercentChange, -100, 1e6},
};

// Figures one step of an evaluation computes together.
constexpr std::initializer_list<P> kTogether[] = {
    {P::IBP, P::T10, P::T30, P::T50, P::T70, P::T90, P::FBP},
    {P::RON, P::MON, P::AKI},
    {P::OXY, P::EHO, P::MTO, P::ETO, P::TMO, P::ETOH},
    {P::CARB_CNX, P::CARB_THC, P::CARB_POT},
    {P::EPA_VOC, P::EPA_TOX, P::EPA_NOX, P::EPA_EXB, P::EPA_EXT},
};

// The blended figures a figure is computed from (one of a group stands for
// the group).
struct ComputedFrom {
  P property;
  std::initializer_list<P> inputs;
};
constexpr ComputedFrom kComputedFrom[] = {
    {P::E70, {P::T50}},
    {P::E100, {P::T50}},
    {P::E150, {P::T50}},
    {P::T95, {P::T50}},
    {P::E180, {P::T50}},
    {P::E250, {P::T50}},
    {P::E340, {P::T50}},
    {P::E350, {P::T50}},
    {P::E200, {P::T50}},
    {P::E300, {P::T50}},
    {P::TVL20, {P::RVP, P::T50}},
    {P::VLI, {P::RVP, P::E70}},
    {P::DI, {P::T50, P::ETOH}},
    {P::CI4, {P::DEN, P::T50}},
    {P::CI2, {P::DEN, P::T50}},
    {P::CARB_CNX, {P::RVP, P::T50, P::ARO, P::OLF, P::OXY, P::SUL, P::BNZ}},
    {P::EPA_VOC, {P::OXY, P::SUL, P::RVP, P::E200, P::E300, P::ARO, P::OLF, P::BNZ}},
};

}  // namespace

const PropertyInfo& propertyInfo(Property property) { return kProperties[static_cast<int>(property)]; }

void closeOverInputs(bool (&wanted)[kPropertyCount]) {
  for (bool grew = true; grew;) {
    grew = false;
    auto mark = [&](P p) {
      if (!wanted[static_cast<int>(p)]) wanted[static_cast<int>(p)] = grew = true;
    };
    for (const auto& group : kTogether) {
      bool any = false;
      for (P p : group) any = any || wanted[static_cast<int>(p)];
      if (any) {
        for (P p : group) mark(p);
      }
    }
    for (const ComputedFrom& c : kComputedFrom) {
      if (!wanted[static_cast<int>(c.property)]) continue;
      for (P p : c.inputs) mark(p);
    }
  }
}

}  // namespace tarnblend
