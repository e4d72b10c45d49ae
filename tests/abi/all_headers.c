/* Every public header, compiled as C11: the interface must stay plain C. */
#include "tarn/export.h"
#include "tarn/tarn.h"
#include "tarn/corparms.h"
#include "tarn/props.h"
#include "tarn/emissions.h"
#include "tarn/blending.h"
#include "tarn/distill.h"
#include "tarn/bml.h"
#include "tarn/ubml.h"
#include "tarn/status.h"
#include "tarn/blend.h"
#include "tarn/optimize.h"

#include <stdio.h>
#include <string.h>

int main(void) {
  /* Touch one function of each header so the link proves the exports exist. */
  int status = gfx_tarnInitializeAllocate(NULL);
  double index = gfx_RVPIndex(8.0, 0, NULL);
  double exponent = gfx_getCorParms("REIDVAPORPRESSURE", "any");
  double volumes[2] = {1.0, 3.0}, values[2] = {90.0, 94.0};
  double blend = gfx_LinearByVolume(volumes, 2, values);
  char id[TARN_ID_SIZE];
  char message[TARN_MESSAGE_SIZE];
  int pair = -1;
  int found = gfx_tarnGetCorrelationId(9, id) == TARN_STATUS_OK &&
              gfx_tarnGetIndexPair(9, &pair) == TARN_STATUS_OK && pair == 8 &&
              gfx_tarnGetErrorMsg(TARN_STATUS_BAD_CORRELATION, message) == TARN_STATUS_OK;
  int combined = 0, userCount = 0;
  double rvp[1] = {8.0}, rvpIndex[1] = {0.0};
  int routed = gfx_bmlGetCorrelationCount(&combined) == TARN_STATUS_OK &&
               combined == TARN_CORRELATION_COUNT &&
               gfx_ubmlGetCorrelationCount(&userCount) == UBML_STATUS_NOT_BOUND &&
               gfx_bmlGenCalc(9, 0, 0, 0.0, rvp, rvpIndex, NULL) == TARN_STATUS_OK &&
               rvpIndex[0] == index;
  /* The blend library: a one-component blend is that component. */
  tarnblend_model* model = NULL;
  double rvpBlend = 0.0;
  int k = -1, product = 0;
  int blended = tarnblend_model_create(TARNBLEND_GASOLINE, &model) == TARNBLEND_OK &&
                tarnblend_model_add_component(model, "A", NULL) == TARNBLEND_OK &&
                tarnblend_model_set_property(model, 0, "RVP", 8.0, "psi") == TARNBLEND_OK &&
                tarnblend_model_set_volume(model, 0, 1.0) == TARNBLEND_OK &&
                tarnblend_model_evaluate(model, 0) == TARNBLEND_OK &&
                tarnblend_model_property_find(model, "RVP", &k) == TARNBLEND_OK &&
                tarnblend_model_result(model, k, &rvpBlend, NULL, NULL, NULL, NULL) == TARNBLEND_OK &&
                tarnblend_product_parse("diesel", &product) == TARNBLEND_OK && product == TARNBLEND_DIESEL;
  /* The optimiser takes the model's components. */
  tarnblend_problem* problem = NULL;
  int components = 0;
  blended = blended && tarnblend_problem_create(model, &problem) == TARNBLEND_OK &&
            tarnblend_problem_component_count(problem, &components) == TARNBLEND_OK && components == 1;
  tarnblend_problem_free(problem);
  tarnblend_model_free(model);
  /* The version the library reports is the build's project version. */
  int versioned = strcmp(tarn_GetVersion(), TARN_EXPECTED_VERSION) == 0;
  gfx_tarnSetDiagnosticStream(NULL);
  gfx_tarnFree();
  if (status != 0 || index <= 0.0 || exponent != 1.25 || blend != 93.0 || !found || !routed ||
      !versioned || !blended || rvpBlend < 7.999999 || rvpBlend > 8.000001) {
    fprintf(stderr, "C host could not use the library\n");
    return 1;
  }
  return 0;
}
