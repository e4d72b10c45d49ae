// The ten temperature points of the percent-off conversions: conversion to
// Celsius in place and restoration of the Fahrenheit defaults.
#include "common/units.h"
#include "params/fields.h"
#include "tarn/corparms.h"

// Converts in place; a second call converts again (the block does not record
// which unit the points are in).
extern "C" TARN_API int TARN_CALL ConvertD86TempPt(void) {
  for (double& t : tarn::params().d86TempPoints) t = tarn::fahrenheitToCelsius(t);
  return 0;
}

// The points return to their defaults in the field table (degrees F).
extern "C" TARN_API int TARN_CALL ResetD86TempPt(void) {
  int position = 0;
  tarn::fields::restoreDefaults(*tarn::fields::containing(tarn::params().d86TempPoints, position));
  return 0;
}
