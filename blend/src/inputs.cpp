#include "inputs.h"

#include <algorithm>
#include <cctype>

namespace tarnblend {
namespace {

using D = Dimension;
using I = Input;
constexpr double kAbsoluteZero = -459.67;  // degrees F

constexpr InputInfo kInputs[kInputCount] = {
    {I::RVP, "RVP", "Reid vapour pressure", D::Pressure, "psi", 0.0, 1e4},
    {I::IBP, "IBP", "D86 initial boiling point", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::T10, "T10", "D86 10 % evaporated", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::T30, "T30", "D86 30 % evaporated", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::T50, "T50", "D86 50 % evaporated", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::T70, "T70", "D86 70 % evaporated", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::T90, "T90", "D86 90 % evaporated", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::FBP, "FBP", "D86 final boiling point", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::RON, "RON", "research octane number", D::None, "", 0.0, 150.0},
    {I::MON, "MON", "motor octane number", D::None, "", 0.0, 150.0},
    {I::ARO, "ARO", "aromatics", D::VolumePercent, "vol%", 0.0, 100.0},
    {I::OLF, "OLF", "olefins", D::VolumePercent, "vol%", 0.0, 100.0},
    {I::BNZ, "BNZ", "benzene", D::VolumePercent, "vol%", 0.0, 100.0},
    {I::SUL, "SUL", "sulfur", D::MassFraction, "ppm", 0.0, 100.0},
    {I::OXY, "OXY", "oxygen", D::MassFraction, "wt%", 0.0, 100.0},
    {I::EHO, "EHO", "oxygen from ethanol", D::MassFraction, "wt%", 0.0, 100.0},
    {I::MTO, "MTO", "oxygen from MTBE", D::MassFraction, "wt%", 0.0, 100.0},
    {I::ETO, "ETO", "oxygen from ETBE", D::MassFraction, "wt%", 0.0, 100.0},
    {I::TMO, "TMO", "oxygen from TAME", D::MassFraction, "wt%", 0.0, 100.0},
    {I::ETOH, "ETOH", "ethanol", D::VolumePercent, "vol%", 0.0, 100.0},
    {I::DEN, "DEN", "density at 15 C", D::Density, "kg/m3", 300.0, 1500.0},
    {I::CN, "CN", "cetane number", D::None, "", 0.0, 150.0},
    {I::FLASH, "FLASH", "flash point", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::CLOUD, "CLOUD", "cloud point", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::POUR, "POUR", "pour point", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::CFPP, "CFPP", "cold filter plugging point", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::FREEZE, "FREEZE", "freezing point", D::Temperature, "F", kAbsoluteZero, 2000.0},
    {I::VISC40, "VISC40", "kinematic viscosity at 40 C", D::Viscosity, "cSt", 0.0, 1e6},
};

struct Alias {
  const char* name;
  Input input;
  const char* unit;
};

constexpr Alias kAliases[] = {
    {"SPG", I::DEN, "SPG"},
    {"SG", I::DEN, "SPG"},
    {"API", I::DEN, "API"},
    {"DENSITY", I::DEN, ""},
    {"D15", I::DEN, ""},
    {"SULFUR", I::SUL, ""},
    {"SULPHUR", I::SUL, ""},
    {"OXYGEN", I::OXY, ""},
    {"ETHANOL", I::ETOH, ""},
    {"AROMATICS", I::ARO, ""},
    {"OLEFINS", I::OLF, ""},
    {"BENZENE", I::BNZ, ""},
    {"VISCOSITY", I::VISC40, ""},
    {"VISC", I::VISC40, ""},
    {"KV40", I::VISC40, ""},
    {"FLASHPOINT", I::FLASH, ""},
    {"CLOUDPOINT", I::CLOUD, ""},
    {"POURPOINT", I::POUR, ""},
    {"FREEZEPOINT", I::FREEZE, ""},
    {"FREEZINGPOINT", I::FREEZE, ""},
    {"CETANE", I::CN, ""},
    {"EBP", I::FBP, ""},
    {"T100", I::FBP, ""},
    {"T0", I::IBP, ""},
};

std::string upper(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == ' ' || c == '_' || c == '-') continue;
    out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return out;
}

}  // namespace

const InputInfo& inputInfo(Input input) { return kInputs[static_cast<int>(input)]; }

bool findInput(const std::string& name, Input& input, std::string& impliedUnit) {
  const std::string wanted = upper(name);
  for (const InputInfo& info : kInputs) {
    if (wanted == info.key) {
      input = info.input;
      impliedUnit.clear();
      return true;
    }
  }
  for (const Alias& alias : kAliases) {
    if (wanted == alias.name) {
      input = alias.input;
      impliedUnit = alias.unit;
      return true;
    }
  }
  return false;
}

std::string inputKeyList() {
  std::string out;
  for (const InputInfo& info : kInputs) out += std::string(out.empty() ? "" : ", ") + info.key;
  return out + " (also SPG and API for DEN)";
}

}  // namespace tarnblend
