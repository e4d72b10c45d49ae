/* Every public header, compiled as C11: the interface must stay plain C. */
#include "tarn/export.h"
#include "tarn/tarn.h"
#include "tarn/corparms.h"
#include "tarn/props.h"
#include "tarn/emissions.h"
#include "tarn/distill.h"

#include <stdio.h>

int main(void) {
  /* Touch one function of each header so the link proves the exports exist. */
  int status = gfx_tarnInitializeAllocate(NULL);
  double index = gfx_RVPIndex(8.0, 0, NULL);
  double exponent = gfx_getCorParms("REIDVAPORPRESSURE", "any");
  gfx_tarnFree();
  if (status != 0 || index <= 0.0 || exponent != 1.25) {
    fprintf(stderr, "C host could not use the library\n");
    return 1;
  }
  return 0;
}
