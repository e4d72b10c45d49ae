// The ten temperature points of the percent-off conversions: conversion to
// Celsius in place and restoration of the Fahrenheit defaults.
#include <algorithm>
#include <iterator>

#include "common/units.h"
#include "params/params.h"
#include "tarn/corparms.h"

// Converts in place; a second call converts again (the block does not record
// which unit the points are in).
extern "C" TARN_API int TARN_CALL ConvertD86TempPt(void) {
  for (double& t : tarn::params().d86TempPoints) t = tarn::fahrenheitToCelsius(t);
  return 0;
}

extern "C" TARN_API int TARN_CALL ResetD86TempPt(void) {
  static constexpr double kFahrenheitPoints[10] = {30.0,  70.0,  100.0, 140.0, 180.0,
                                                   250.0, 330.0, 360.0, 390.0, 450.0};
  std::copy(std::begin(kFahrenheitPoints), std::end(kFahrenheitPoints),
            tarn::params().d86TempPoints);
  return 0;
}
