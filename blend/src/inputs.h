// The recipe properties a component can carry: key, description,
// dimension, default unit, the range a real value lies in, and the aliases
// lab files use. One table; the blend model stores each value in the base
// unit of its dimension.
#pragma once

#include <string>

#include "units.h"

namespace tarnblend {

enum class Input {
  RVP,
  IBP,
  T10,
  T30,
  T50,
  T70,
  T90,
  FBP,
  RON,
  MON,
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
  CN,
  FLASH,
  CLOUD,
  POUR,
  CFPP,
  FREEZE,
  VISC40,
};
inline constexpr int kInputCount = 28;

struct InputInfo {
  Input input;
  const char* key;
  const char* description;
  Dimension dimension;
  const char* defaultUnit;
  double low, high;  // in the base unit: a value outside is refused
};

const InputInfo& inputInfo(Input input);
inline const InputInfo& inputInfo(int k) { return inputInfo(static_cast<Input>(k)); }

// The input a name (key or alias, any case) stands for; impliedUnit is set to
// the unit an alias implies ("SPG" -> "SPG") or "". False when unknown.
bool findInput(const std::string& name, Input& input, std::string& impliedUnit);

// "RVP, IBP, ..." for messages.
std::string inputKeyList();

// The seven points of a D86 curve, in order.
inline constexpr Input kCurvePoints[7] = {Input::IBP, Input::T10, Input::T30, Input::T50,
                                          Input::T70, Input::T90, Input::FBP};

// The oxygen carried by each oxygenate, in the EPA model's order (MTBE,
// ETBE, ethanol, TAME).
inline constexpr Input kOxygenates[4] = {Input::MTO, Input::ETO, Input::EHO, Input::TMO};

}  // namespace tarnblend
