// Temperature units and derivative scaling. Every correlation computes in
// degrees Fahrenheit (Rankine = F + 460 where an absolute temperature is
// needed); a caller working in Celsius passes the unit byte 'C'. All unit
// handling goes through these helpers so a unit fault is fixed in one place.
#pragma once

namespace tarn {

inline constexpr char kUnitFahrenheit = 'F';
inline constexpr char kUnitCelsius = 'C';
inline constexpr double kRankineOffset = 460.0;
// One degree Celsius is this many degrees Fahrenheit.
inline constexpr double kFahrenheitPerCelsius = 1.8;

inline bool isCelsius(char unit) { return unit == kUnitCelsius; }
inline bool isCelsius(int unit) { return unit == kUnitCelsius; }

inline double celsiusToFahrenheit(double t) { return t * 9.0 / 5.0 + 32.0; }
inline double fahrenheitToCelsius(double t) { return (t - 32.0) * 5.0 / 9.0; }

// A temperature given in the caller's unit, as degrees Fahrenheit.
inline double toFahrenheit(double t, char unit) { return isCelsius(unit) ? celsiusToFahrenheit(t) : t; }

// A temperature computed in degrees Fahrenheit, in the caller's unit.
inline double fromFahrenheit(double t, char unit) { return isCelsius(unit) ? fahrenheitToCelsius(t) : t; }

// d(result)/d(temperature input): a slope per degree F becomes a slope per
// caller degree (x1.8 for Celsius).
inline double perCallerDegree(double slopePerFahrenheit, char unit) {
  return isCelsius(unit) ? slopePerFahrenheit * kFahrenheitPerCelsius : slopePerFahrenheit;
}

// d(temperature result)/d(input): degrees F per unit input become caller
// degrees per unit input (/1.8 for Celsius).
inline double callerDegreesPer(double fahrenheitPerUnit, char unit) {
  return isCelsius(unit) ? fahrenheitPerUnit / kFahrenheitPerCelsius : fahrenheitPerUnit;
}

// A temperature difference in degrees F, expressed in degrees C.
inline double fahrenheitIntervalToCelsius(double difference) { return difference / kFahrenheitPerCelsius; }

// A slope per degree C of temperature difference, as a slope per degree F.
inline double perFahrenheitFromPerCelsius(double slopePerCelsius) { return slopePerCelsius / kFahrenheitPerCelsius; }

}  // namespace tarn
