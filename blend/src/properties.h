// The blended properties the model reports, one table: key, description,
// the products that have it, the report section, decimals, flags, where its
// unit comes from, and the range a real value lies in. The model's property
// list for a product kind is this table filtered by product, in table order.
#pragma once

#include "inputs.h"
#include "units.h"

namespace tarnblend {

enum class Property {
  RVP,
  E70,
  E100,
  E150,
  E200,
  E300,
  TVL20,
  VLI,
  IBP,
  T10,
  T30,
  T50,
  T70,
  T90,
  FBP,
  T95,
  E180,
  E250,
  E340,
  E350,
  DI,
  RON,
  MON,
  AKI,
  CI4,
  CI2,
  CN,
  ARO,
  OLF,
  BNZ,
  SUL,
  OXY,
  EHO,
  MTO,
  ETO,
  TMO,
  ETOH,
  DEN,
  FLASH,
  VISC40,
  CLOUD,
  POUR,
  CFPP,
  FREEZE,
  CARB_CNX,
  CARB_THC,
  CARB_POT,
  EPA_VOC,
  EPA_TOX,
  EPA_NOX,
  EPA_EXB,
  EPA_EXT,
};
inline constexpr int kPropertyCount = 52;

// Product bits.
inline constexpr unsigned kGasoline = 1u << 1, kDiesel = 1u << 2, kJet = 1u << 3;
inline constexpr unsigned kDistillate = kDiesel | kJet;
inline unsigned productBit(int product) { return 1u << product; }

// Where a property's unit comes from.
enum class UnitSource {
  Input,       // the recipe unit of `input`
  Curve,       // the recipe unit of the D86 points (temperatures that are no recipe property)
  CurveLabel,  // computed in the recipe unit of the D86 points by its own formula (DI): no conversion
  Fixed,       // the base unit of `dimension`
};

struct PropertyInfo {
  Property property;
  const char* key;
  const char* description;
  unsigned products;
  const char* section;
  int decimals;  // worth showing in the default unit of its input (else the base unit); see shownDecimals
  int flags;     // TARNBLEND_FLAG_*
  UnitSource unitSource;
  Input input;  // for UnitSource::Input
  Dimension dimension;
  double low, high;  // in the base unit: a result outside is physically impossible
};

const PropertyInfo& propertyInfo(Property property);
inline const PropertyInfo& propertyInfo(int id) { return propertyInfo(static_cast<Property>(id)); }

// Marks in `wanted` everything the marked properties are computed from, and
// what is computed together with them (the seven curve points, the octane
// numbers, the oxygenates, each emission model's outputs), so that the
// marked set is exactly what an evaluation limited to it computes.
void closeOverInputs(bool (&wanted)[kPropertyCount]);

}  // namespace tarnblend
