// A blend recipe: one row per component with its quantity and the
// properties it has. Read from CSV whose headers carry their units
// ("T50[F]", "RVP[kPa]", "ARO[vol%]"); values are kept in the library's
// units (degrees F, psi) whatever the file used.
#pragma once

#include <array>
#include <cstddef>
#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace tarncli {

enum class Property {
  RVP, IBP, T10, T30, T50, T70, T90, FBP, RON, MON, ARO, OLF, BNZ, SUL, OXY, EHO, MTO, ETO, TMO,
  ETOH, SPG,
};
inline constexpr std::size_t kPropertyCount = 21;

enum class Dimension { Temperature, Pressure, VolumePercent, MassPercent, PartsPerMillion, None };

struct PropertyInfo {
  Property property;
  const char* column;       // header name
  Dimension dimension;
  const char* description;
};

const PropertyInfo& info(Property property);

// The seven points of a D86 curve, in order.
inline constexpr std::array<Property, 7> kCurve = {Property::IBP, Property::T10, Property::T30,
                                                   Property::T50, Property::T70, Property::T90,
                                                   Property::FBP};

struct Component {
  std::string name;
  double quantity = 0.0;                         // volume or mass, as the recipe's basis says
  std::array<double, kPropertyCount> values{};   // library units; 1e30 where missing
  double operator[](Property p) const { return values[static_cast<std::size_t>(p)]; }
};

enum class Basis { Volume, Mass };

struct Recipe {
  std::string source;                 // file name, or "built-in sample"
  Basis basis = Basis::Volume;
  std::string quantityUnit;           // as written in the header ("" when none)
  char temperatureUnit = 'F';         // of the recipe's temperatures, used for the report
  std::string pressureUnit = "psi";   // of the recipe's RVP, used for the report
  std::array<bool, kPropertyCount> given{};  // which property columns the recipe has
  std::vector<Component> components;

  bool has(Property p) const { return given[static_cast<std::size_t>(p)]; }
  // Volume of each component (mass divided by specific gravity on a mass basis).
  std::vector<double> volumes() const;
};

// Reads a recipe. unitsOption ('F' or 'C') gives the unit of temperature
// columns whose header has none. Throws InputError naming the line, column
// and component of the first fault.
Recipe readRecipe(std::istream& in, const std::string& source, std::optional<char> unitsOption);

// The built-in sample: a summer gasoline of six components, as CSV.
const char* sampleRecipe();

// Unit conversions of the tool (the library works in degrees F and psi).
double fahrenheitFromCelsius(double celsius);
double celsiusFromFahrenheit(double fahrenheit);
double psiFromKilopascal(double kilopascal);
double kilopascalFromPsi(double psi);

}  // namespace tarncli
