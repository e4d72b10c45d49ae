/* A minimal host: start TARN, change a parameter by keyword, evaluate a
 * correlation with its derivative, and stop. Build it against an installed
 * TARN with either
 *   cc host.c $(pkg-config --cflags --libs tarn)
 * or a CMake project that calls find_package(tarn) and links tarn::tarn. */
#include <stdio.h>

#include <tarn/corparms.h>
#include <tarn/props.h>
#include <tarn/tarn.h>

int main(void) {
  if (gfx_tarnInitializeAllocate(NULL) != 0) return 1;

  double slope = 0.0;
  double index = gfx_RVPIndex(9.0, 1, &slope);           /* RVP 9 psi -> blending index */
  printf("RVP 9.0 psi: index %.6f, d(index)/d(RVP) %.6f\n", index, slope);

  gfx_setCorParms("REIDVAPORPRESSURE", "EXPONENT", 1.2);  /* another blending exponent */
  printf("with exponent 1.2: index %.6f\n", gfx_RVPIndex(9.0, 0, NULL));

  gfx_tarnFree();
  return index > 0.0 ? 0 : 1;
}
