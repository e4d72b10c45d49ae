// Start-up, reset and shut-down of the library.
#include "params/fields.h"
#include "tarn/tarn.h"

extern "C" TARN_API bool TARN_CALL TARNInitialize(void* /*arg*/) {
  tarn::fields::writeDefaults(tarn::fields::kAtStart);
  return true;
}

extern "C" TARN_API int TARN_CALL TARNReset(void) {
  tarn::fields::writeDefaults(tarn::fields::kAtReset);
  return 0;
}

extern "C" TARN_API void TARN_CALL TARNUninitialize(void) {}

extern "C" TARN_API int TARN_CALL gfx_tarnInitializeCoefs(void) {
  tarn::fields::writeDefaults(tarn::fields::kWithCoefficients);
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_tarnInitializeAllocate(void* arg) {
  if (!TARNInitialize(arg)) return TARN_STATUS_INIT_FAILED;
  gfx_tarnInitializeCoefs();
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_tarnFree(void) {
  TARNUninitialize();
  return 0;
}
