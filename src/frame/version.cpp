// The library's release version, taken from the build's project version so
// that the library, its CMake package and the Python package report one
// number.
#include "tarn/tarn.h"

#ifndef TARN_VERSION
#error "TARN_VERSION must be defined by the build (the CMake project version)"
#endif

extern "C" TARN_API const char* TARN_CALL tarn_GetVersion(void) { return TARN_VERSION; }
