// Start-up, reset and shut-down of the library.
#include "params/params.h"
#include "tarn/tarn.h"

extern "C" TARN_API bool TARN_CALL TARNInitialize(void* /*arg*/) {
  tarn::writeParameterDefaults(/*isReset=*/false);
  return true;
}

extern "C" TARN_API int TARN_CALL TARNReset(void) {
  tarn::writeParameterDefaults(/*isReset=*/true);
  return 0;
}

extern "C" TARN_API void TARN_CALL TARNUninitialize(void) {}

extern "C" TARN_API int TARN_CALL gfx_tarnInitializeCoefs(void) {
  tarn::writeCorrelationSettingDefaults();
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_tarnInitializeAllocate(void* arg) {
  if (!TARNInitialize(arg)) return -1;
  gfx_tarnInitializeCoefs();
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_tarnFree(void) {
  TARNUninitialize();
  return 0;
}
