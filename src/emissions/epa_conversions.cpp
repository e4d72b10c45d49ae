// The EPA distillation and baseline conversions: E200/E300 from T50/T90, and
// percent changes of the five emission quantities to absolute emissions and
// back.
#include "common/units.h"
#include "emissions/epa_baselines.h"
#include "params/params.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

// The first character of a string passed with its length, or NUL when there
// is none.
char firstLetter(const char* text, int length) {
  if (text == nullptr || length < 1) return '\0';
  return text[0];
}

char upperLetter(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace
}  // namespace tarn::emissions

using namespace tarn::emissions;

extern "C" TARN_API int TARN_CALL gfx_E200E300EPA(char unit, const double* in, double* out, int wantDerivatives,
                                                  double* deriv) {
  if (in == nullptr || out == nullptr) return -1;
  const double* c = tarn::params().e200e300;  // E200 intercept, slope, E300 intercept, slope
  const double t50 = tarn::toFahrenheit(in[0], unit);
  const double t90 = tarn::toFahrenheit(in[1], unit);
  out[0] = c[0] - c[1] * t50;
  out[1] = c[2] - c[3] * t90;
  if (wantDerivatives != 0 && deriv != nullptr) {
    deriv[0] = tarn::perCallerDegree(-c[1], unit);
    deriv[1] = 0.0;
    deriv[2] = 0.0;
    deriv[3] = tarn::perCallerDegree(-c[3], unit);
  }
  return 0;
}

extern "C" TARN_API int TARN_CALL EPAPERCENT2ABS(const char* region, int regionLength, const char* phase,
                                                 int phaseLength, const char* season, int seasonLength,
                                                 const int* direction, const char* baselineClass,
                                                 int baselineClassLength, const double* voc, const double* tox,
                                                 const double* nox, const double* exb, const double* ext,
                                                 double* vocOut, double* toxOut, double* noxOut, double* exbOut,
                                                 double* extOut) {
  const char regionLetter = upperLetter(firstLetter(region, regionLength));
  const char phaseLetter = firstLetter(phase, phaseLength);
  const char seasonLetter = upperLetter(firstLetter(season, seasonLength));
  if (regionLetter != 'B' && regionLetter != 'C') return -1;
  if (phaseLetter != '1' && phaseLetter != '2') return -1;
  if (seasonLetter != 'S' && seasonLetter != 'W') return -1;
  // The class letter is read only in summer; in winter it may be anything.
  char classLetter = 'U';
  if (seasonLetter == 'S') {
    classLetter = upperLetter(firstLetter(baselineClass, baselineClassLength));
    if (classLetter != 'U' && classLetter != 'C') return -1;
  }

  const double* in[kEpaEmissionCount] = {voc, tox, nox, exb, ext};
  double* out[kEpaEmissionCount] = {vocOut, toxOut, noxOut, exbOut, extOut};
  if (direction == nullptr) return -1;
  for (int k = 0; k < kEpaEmissionCount; ++k) {
    if (in[k] == nullptr || out[k] == nullptr) return -1;
  }

  const EpaBaseline* row = epaBaseline(regionLetter, phaseLetter - '0', seasonLetter, classLetter);
  if (row == nullptr) return -1;
  for (int k = 0; k < kEpaEmissionCount; ++k) {
    const double base = row->value[k];
    const double value = *in[k];  // read before writing: an output may share an input's storage
    *out[k] = *direction != 0 ? (value / base - 1.0) * 100.0 : (1.0 + value * 0.01) * base;
  }
  return 0;
}
