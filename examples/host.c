/* A minimal host: start TARN, find a correlation in the catalogue, evaluate
 * it by index with derivatives, read a status in words, and stop. Build it
 * against an installed TARN with either
 *   cc host.c $(pkg-config --cflags --libs tarn)
 * or a CMake project that calls find_package(tarn) and links tarn::tarn. */
#include <stdio.h>
#include <string.h>

#include <tarn/tarn.h>

int main(void) {
  int count = 0, index = -1;
  char id[TARN_ID_SIZE] = "", message[TARN_MESSAGE_SIZE] = "";
  double in[3] = {9.0, 120.0, 210.0}, out[1] = {0.0}, d[3] = {0.0}; /* RVP psi, T10 F, T50 F */

  gfx_tarnInitializeAllocate(NULL);    /* start */
  gfx_tarnGetCorrelationCount(&count); /* list the catalogue */
  do gfx_tarnGetCorrelationId(++index, id);
  while (index < count && strcmp(id, "TVL") != 0);
  int status = gfx_tarnGenCalc(index, 1, 0, in, out, d);               /* evaluate, derivatives */
  gfx_tarnGetErrorMsg(gfx_tarnGetCorrelationId(count, NULL), message); /* past the end: -4 */
  gfx_tarnFree();                                                      /* stop */

  printf("%s = correlation %d of %d: %.2f F, d/dRVP %.2f, d/dT10 %.2f, d/dT50 %.2f\n", id, index, count, out[0], d[0],
         d[1], d[2]);
  printf("asking for correlation %d: %s\n", count, message);
  return status == 0 && index < count ? 0 : 1;
}
