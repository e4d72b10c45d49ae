/* Every public header, compiled as C11: the interface must stay plain C. */
#include "tarn/blend.h"
#include "tarn/blending.h"
#include "tarn/bml.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"
#include "tarn/emissions.h"
#include "tarn/export.h"
#include "tarn/optimize.h"
#include "tarn/props.h"
#include "tarn/status.h"
#include "tarn/tarn.h"
#include "tarn/ubml.h"

#include <stdio.h>
#include <string.h>

int main(void) {
  /* One call through each family links its exports from a C host. */
  double volumes[2] = {1.0, 3.0}, values[2] = {90.0, 94.0}, rvp[1] = {8.0}, index[1] = {0.0};
  char id[TARN_ID_SIZE];
  int pair = -1, combined = 0, users = 0;
  tarnblend_model* model = NULL;
  tarnblend_problem* problem = NULL;
  int ok = gfx_tarnInitializeAllocate(NULL) == TARN_STATUS_OK && gfx_getCorParms("REIDVAPORPRESSURE", "any") == 1.25 &&
           gfx_LinearByVolume(volumes, 2, values) == 93.0 && gfx_tarnGetCorrelationId(9, id) == TARN_STATUS_OK &&
           gfx_tarnGetIndexPair(9, &pair) == 0 && pair == 8 &&
           gfx_bmlGetCorrelationCount(&combined) == TARN_STATUS_OK && combined == TARN_CORRELATION_COUNT &&
           gfx_ubmlGetCorrelationCount(&users) == UBML_STATUS_NOT_BOUND &&
           gfx_bmlGenCalc(9, 0, 0, 0.0, rvp, index, NULL) == TARN_STATUS_OK && index[0] == gfx_RVPIndex(8.0, 0, NULL) &&
           tarnblend_model_create(TARNBLEND_GASOLINE, &model) == TARNBLEND_OK &&
           tarnblend_problem_create(model, &problem) == TARNBLEND_OK &&
           strcmp(tarn_GetVersion(), TARN_EXPECTED_VERSION) == 0; /* the build's project version */
  tarnblend_problem_free(problem);
  tarnblend_model_free(model);
  gfx_tarnFree();
  if (!ok) fprintf(stderr, "C host could not use the library\n");
  return ok ? 0 : 1;
}
