#include "units.h"

#include <cctype>
#include <cmath>

namespace tarnblend {
namespace {

using D = Dimension;

// The first unit of each dimension is its base. Aliases are compared after
// removing blanks and ignoring case; "\xC2\xB0" is the degree sign and
// "\xC2\xBA" the ordinal sign often typed for it.
constexpr Unit kUnits[] = {
    {"", D::None, "-", 1.0, 0.0, false},
    {"F", D::Temperature,
     "\xC2\xB0"
     "F|\xC2\xBA"
     "F|degF|deg.F|fahrenheit",
     1.0, 0.0, false},
    {"C", D::Temperature,
     "\xC2\xB0"
     "C|\xC2\xBA"
     "C|degC|deg.C|celsius",
     1.8, 32.0, false},
    {"K", D::Temperature, "kelvin", 1.8, -459.67, false},
    {"psi", D::Pressure, "psia|lb/in2", 1.0, 0.0, false},
    {"kPa", D::Pressure, "", 1.0 / 6.894757, 0.0, false},
    {"bar", D::Pressure, "", 100.0 / 6.894757, 0.0, false},
    {"vol%", D::VolumePercent, "%vol|%v/v|v/v%|%(v/v)|v%|vol.%|volume%|lv%", 1.0, 0.0, false},
    {"wt%", D::MassFraction, "%wt|%m/m|m/m%|%(m/m)|mass%|m%|w%|wt.%|weight%", 1.0, 0.0, false},
    {"ppm", D::MassFraction, "mg/kg|ppmw|wppm|ppm(m)|ppmm|\xC2\xB5g/g|ug/g", 1e-4, 0.0, false},
    {"kg/m3", D::Density,
     "kg/m\xC2\xB3|kg/m^3|kg/m3 at 15 \xC2\xB0"
     "C|kg/m3 at 15 C|kg/m3 @ 15 \xC2\xB0"
     "C|kg/m3 @ 15 C",
     1.0, 0.0, false},
    {"g/mL", D::Density,
     "g/ml|g/cm3|g/cm\xC2\xB3|g/cc|kg/l|kg/dm3|g/mL at 15 \xC2\xB0"
     "C|g/mL at 15 C",
     1000.0, 0.0, false},
    {"SPG", D::Density, "SG|sp.gr.|specificgravity|relativedensity", kWaterDensity, 0.0, false},
    {"API", D::Density,
     "\xC2\xB0"
     "API|\xC2\xBA"
     "API|degAPI",
     1.0, 0.0, true},
    {"cSt", D::Viscosity, "mm2/s|mm\xC2\xB2/s|mm^2/s", 1.0, 0.0, false},
    {"% change", D::PercentChange, "%change", 1.0, 0.0, false},
};

std::string squeeze(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == ' ' || c == '\t') continue;
    out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return out;
}

bool matches(const Unit& unit, const std::string& wanted) {
  if (squeeze(unit.name) == wanted) return true;
  const std::string aliases = unit.aliases;
  std::size_t start = 0;
  while (start <= aliases.size()) {
    const std::size_t end = aliases.find('|', start);
    const std::string alias = aliases.substr(start, end == std::string::npos ? std::string::npos : end - start);
    if (!alias.empty() && squeeze(alias) == wanted) return true;
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return false;
}

}  // namespace

const Unit* findUnit(const std::string& text) {
  const std::string wanted = squeeze(text);
  for (const Unit& unit : kUnits) {
    if (matches(unit, wanted)) return &unit;
  }
  return nullptr;
}

const Unit* unitNamed(const std::string& name) {
  for (const Unit& unit : kUnits) {
    if (name == unit.name) return &unit;
  }
  return nullptr;
}

const Unit& baseUnit(Dimension dimension) {
  for (const Unit& unit : kUnits) {
    if (unit.dimension == dimension) return unit;
  }
  return kUnits[0];
}

const char* unitList(Dimension dimension) {
  switch (dimension) {
    case D::None:
      return "no unit";
    case D::Temperature:
      return "F (\xC2\xB0"
             "F, degF), C (\xC2\xB0"
             "C, degC), K";
    case D::Pressure:
      return "psi, kPa, bar";
    case D::VolumePercent:
      return "vol% (% V/V, %vol)";
    case D::MassFraction:
      return "wt% (% m/m, mass%), ppm (mg/kg, ppmw)";
    case D::Density:
      return "kg/m3, g/mL (kg/L, g/cm3), SPG (specific gravity 60/60 F), API (\xC2\xB0"
             "API)";
    case D::Viscosity:
      return "cSt (mm2/s)";
    case D::PercentChange:
      return "% change";
  }
  return "";
}

double toBase(const Unit& unit, double value) {
  if (isMissing(value)) return kMissing;
  if (unit.apiGravity) return 141.5 * kWaterDensity / (value + 131.5);
  return value * unit.scale + unit.offset;
}

double fromBase(const Unit& unit, double value) {
  if (isMissing(value)) return kMissing;
  if (unit.apiGravity) return 141.5 * kWaterDensity / value - 131.5;
  return (value - unit.offset) / unit.scale;
}

double slopeFromBase(const Unit& unit, double baseValue) {
  if (unit.apiGravity) return -141.5 * kWaterDensity / (baseValue * baseValue);
  return 1.0 / unit.scale;
}

}  // namespace tarnblend
