// The field table: one row per parameter of the block (or per numbered run
// of them), with everything the library knows about it: its group and
// keyword, where it lives, its type, its defaults and when they are written,
// its unit, a one-line description, and how a value given by keyword or
// through a correlation coefficient is stored. The block's defaults, keyword
// access, the coefficient views of the catalogue and the parameter listing
// all read this table; a parameter lives in its struct member and its row.
#pragma once

#include <cstddef>
#include <initializer_list>

#include "params/params.h"

namespace tarn::fields {

enum class Type : unsigned char {
  Real,        // double
  Integer,     // int
  Switch,      // bool; reads 1.0 on, -1.0 off
  UnitLetter,  // char 'F' or 'C'; reads -1.0 for 'C', else 1.0
};

// How a value given by keyword (gfx_setCorParms) or through a coefficient
// (gfx_tarnSetCoefValue) is stored. Every rule other than Plain is a
// deliberate behaviour that hosts rely on.
enum class Rule : unsigned char {
  Plain,                 // reals assigned; integers truncated toward zero, refused when no
                         // int holds the value
  SwitchOnPositive,      // on when value > 0, else off
  UnitLetter,            // 'F' when value > 0, else 'C'
  RefuseUnlessPositive,  // refused unless the stored value is > 0 (the new one is not checked)
  Round,                 // trunc(value + 0.5)
  RoundUpToLimit,        // refused above the limit (tested before rounding), else rounded
  CountOrOne,            // n = trunc(value); trunc(n + 0.5) while n <= limit, else 1
  WholeReal,             // truncated to a whole number and kept as a real
  ReadOnly,              // a set stores nothing
  GaussianQuantile,      // stored, then the T20 ratio follows or the group is restored
};

// The moments at which a field takes its default.
enum Writers : unsigned char {
  kAtLoad = 1,            // when the library is loaded, before any start-up
  kAtStart = 2,           // TARNInitialize
  kAtReset = 4,           // TARNReset
  kWithCoefficients = 8,  // gfx_tarnInitializeCoefs
};
inline constexpr unsigned char kParameterDefault = kAtStart | kAtReset;
inline constexpr unsigned char kSettingDefault = kAtLoad | kWithCoefficients;

// Where a row's values live: the first element, their type and how many.
struct Slot {
  void* address;
  Type type;
  int count;
};

constexpr Slot at(double& field) { return {&field, Type::Real, 1}; }
constexpr Slot at(int& field) { return {&field, Type::Integer, 1}; }
constexpr Slot at(bool& field) { return {&field, Type::Switch, 1}; }
constexpr Slot at(char& field) { return {&field, Type::UnitLetter, 1}; }
template <std::size_t N>
constexpr Slot at(double (&array)[N], int first = 0, int count = static_cast<int>(N)) {
  return {&array[first], Type::Real, count};
}
template <std::size_t N>
constexpr Slot at(int (&array)[N]) {
  return {&array[0], Type::Integer, static_cast<int>(N)};
}
// A table of coefficients, row after row.
template <std::size_t R, std::size_t C>
constexpr Slot at(double (&table)[R][C]) {
  return {&table[0][0], Type::Real, static_cast<int>(R * C)};
}

// Who may reach a row by keyword.
enum class Access : unsigned char {
  Keyword,  // the group keyword with the parameter keyword (or numbered run)
  AnyText,  // the group keyword with any parameter text (REIDVAPORPRESSURE)
  None,     // no keyword; a coefficient may still view it
};

struct Rules {
  Rule keyword = Rule::Plain;
  Rule coefficient = Rule::Plain;
  int limit = 0;  // RoundUpToLimit and CountOrOne: the largest count
};

// Names of a numbered run: prefix + number, numbers from `first`, written
// with at least `digits` digits (P1..P13; EVAPORATIVE P00..P11).
struct Numbering {
  int first = 1;
  int digits = 0;
};

struct Field {
  const char* group;  // correlation keyword; without one, what reads the field
  const char* name;   // parameter keyword, prefix of a numbered run, or "*" (any text)
  Access access;
  Slot slot;
  std::initializer_list<double> defaults;  // element by element; the last repeats to the end
  const char* unit;                        // "" where the row mixes units or has none
  const char* description;
  Rules rules = {};
  Numbering numbering = {};
  const char* alias = nullptr;  // a second group keyword of the same group
  unsigned char writers = kParameterDefault;
};

// The table, in the order in which keywords are tried and listed.
const Field* table();
std::size_t tableSize();

// Bytes of one element of a type.
std::size_t elementSize(Type type);

// The row whose elements include address, with the element's position, or
// null.
const Field* containing(const void* address, int& position);

// prefix + number, the number written with at least `digits` digits (P1,
// P13, P00): the names of numbered keywords and coefficients.
void numberedName(char* buffer, std::size_t size, const char* prefix, int digits, int number);

// The name of element k of a row (k = 0 for a single parameter), written into
// buffer.
void elementName(const Field& field, int k, char* buffer, std::size_t size);

// The default of element k.
double defaultOf(const Field& field, int k);

// Element k read as a double (switches and unit letters as keyword access
// reads them).
double read(const Field& field, int k);

// Stores value into element k by rule; false when the value is refused
// (the field is then unchanged).
bool store(const Field& field, int k, Rule rule, double value);

// Writes the defaults of every row written at one of the given moments.
void writeDefaults(unsigned char writers);

// Writes the defaults of one row.
void restoreDefaults(const Field& field);

}  // namespace tarn::fields
