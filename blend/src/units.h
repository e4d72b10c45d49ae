// The unit vocabulary: every unit text a lab or a user may write, the
// dimension it measures and its conversion to the dimension's base unit
// (degrees F, psi, vol%, wt%, kg/m3, cSt), in one table that the recipe
// readers, the grades and the blend model share.
#pragma once

#include <string>

namespace tarnblend {

inline constexpr double kMissing = 1e30;

// True for the missing value and anything of its magnitude, and for NaN.
inline bool isMissing(double value) { return !(value < 1e29); }

enum class Dimension {
  None = 0,
  Temperature,
  Pressure,
  VolumePercent,
  MassFraction,
  Density,
  Viscosity,
  PercentChange
};
inline constexpr int kDimensionCount = 8;

struct Unit {
  const char* name;  // canonical name: "C", "kPa", "ppm", "SPG" ...
  Dimension dimension;
  const char* aliases;   // other spellings, separated by '|', compared without case and blanks
  double scale, offset;  // base = value * scale + offset (unless nonlinear)
  bool apiGravity;       // degrees API: density = 141.5 * water / (API + 131.5)
};

// The unit a text names (case and blanks ignored), or null.
const Unit* findUnit(const std::string& text);

// The unit of this canonical name (exact), or null.
const Unit* unitNamed(const std::string& name);

// The base unit of a dimension ("F", "psi", ...); "" for dimensionless.
const Unit& baseUnit(Dimension dimension);

// The accepted spellings of a dimension, for messages.
const char* unitList(Dimension dimension);

// Converts between base and the unit. Missing stays missing.
double toBase(const Unit& unit, double value);
double fromBase(const Unit& unit, double value);

// d(value in unit) / d(value in base) at the base value given (the unit's
// scale, or the slope of the API curve).
double slopeFromBase(const Unit& unit, double baseValue);

// Density of water at 60 F (kg/m3): specific gravity 60/60 F times this is
// taken as the density at 15 C (the 0.56 C between the two reference
// temperatures, about 0.4 kg/m3 for a gasoline, is neglected).
inline constexpr double kWaterDensity = 999.016;

}  // namespace tarnblend
