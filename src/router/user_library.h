// The bound user correlation library (plug-in): its file loaded as a shared
// library, every ubml_* function bound by name, and the loaded flag of the
// router. This is the only place that touches the platform's dynamic loader.
#pragma once

#include "tarn/ubml.h"

namespace tarn::router {

// Every function of the plug-in interface, in the order of tarn/ubml.h.
#define TARN_UBML_FUNCTIONS(X)                                                                          \
  X(InitializeAllocate)                                                                                 \
  X(Free) X(InitializeCoefs) X(GetErrorMsg) X(ErrorHandler) X(GetPropCount) X(GetPropId) X(GetPropDesc) \
      X(GetCorrelationCount) X(GetCorrelationId) X(GetCorrelationDesc) X(GetCorrelationType)            \
          X(GetCorrelationInpPropCount) X(GetCorrelationInpPropId) X(GetCorrelationOutPropCount)        \
              X(GetCorrelationOutPropId) X(GetIndexPair) X(GetCoefCount) X(GetCoef) X(SetCoefValue)     \
                  X(CalcIndexFromProp) X(CalcPropFromIndex) X(CalcPropValue) X(CalcPropDeriv) X(CalcTorqPropValue)

// The plug-in's functions, each named as its ubml_* export without the prefix.
struct UserLibrary {
#define TARN_UBML_SLOT(name) decltype(&ubml_##name) name = nullptr;
  TARN_UBML_FUNCTIONS(TARN_UBML_SLOT)
#undef TARN_UBML_SLOT
};

// True when path names an existing file that is not a directory.
bool namesExistingFile(const char* path);

// Loads the shared library at path (that file, not one found by a library
// search) once its headers show a complete shared object, binds every
// function and starts it (ubml_InitializeAllocate). Only a plug-in that has
// started replaces the bound one, which is then stopped (ubml_Free) and
// unloaded unless it is the same module. On any failure the new file is
// unloaded again, the plug-in bound before stays bound (or none, if none
// was) and the answer is false.
bool loadUserLibrary(const char* path);

// The bound plug-in, or null while none is.
const UserLibrary* boundUserLibrary();

// True once a plug-in has been loaded and started; nothing unbinds it.
bool userLibraryLoaded();

}  // namespace tarn::router
