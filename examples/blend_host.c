/* A minimal blend: two gasoline components with their Reid vapour pressure
 * and D86 points, blended 60/40 by volume; the blended RVP and T50 with their
 * derivatives with respect to each volume, then a check against the federal
 * summer RVP limit. Build it against an installed TARN with either
 *   cc blend_host.c $(pkg-config --cflags --libs tarnblend)
 * or a CMake project that calls find_package(tarn) and links tarn::tarnblend. */
#include <stdio.h>

#include <tarn/blend.h>
#include <tarn/tarn.h>

#define CHECK(call)                                  \
  if ((call) != TARNBLEND_OK) {                      \
    fprintf(stderr, "%s\n", tarnblend_last_error()); \
    return 1;                                        \
  }

int main(void) {
  const char* points[] = {"IBP", "T10", "T50", "T90", "FBP"};
  const double naphtha[] = {88, 108, 138, 176, 205}, reformate[] = {112, 162, 246, 322, 392}; /* F */
  tarnblend_model* model = NULL;
  tarnblend_grade* grade = NULL;
  double volumes[2] = {60.0, 40.0}, values[64], jacobian[128], margin = 0.0;
  int count = 0, rvp = 0, t50 = 0, failures = 0, p = 0;

  gfx_tarnInitializeAllocate(NULL); /* start libtarn */
  CHECK(tarnblend_model_create(TARNBLEND_GASOLINE, &model));
  CHECK(tarnblend_model_add_component(model, "Light naphtha", NULL));
  CHECK(tarnblend_model_add_component(model, "Reformate", NULL));
  CHECK(tarnblend_model_set_property(model, 0, "RVP", 79.3, "kPa")); /* the recipe's unit is kPa */
  CHECK(tarnblend_model_set_property(model, 1, "RVP", 4.2, "psi"));  /* converted to it */
  for (p = 0; p < 5; ++p) {
    CHECK(tarnblend_model_set_property(model, 0, points[p], naphtha[p], "F"));
    CHECK(tarnblend_model_set_property(model, 1, points[p], reformate[p], "F"));
  }
  CHECK(tarnblend_model_property_count(model, &count));
  CHECK(tarnblend_model_property_find(model, "RVP", &rvp));
  CHECK(tarnblend_model_property_find(model, "T50", &t50));
  CHECK(tarnblend_model_evaluate_at(model, volumes, 2, values, jacobian)); /* values, derivatives */
  printf("RVP %.2f kPa (d/dV %.4f, %.4f), T50 %.1f F (d/dV %.4f, %.4f)\n", values[rvp], jacobian[2 * rvp],
         jacobian[2 * rvp + 1], values[t50], jacobian[2 * t50], jacobian[2 * t50 + 1]);

  CHECK(tarnblend_grade_open("US-CONVENTIONAL", "9.0", &grade)); /* RVP max 9.0 psi */
  CHECK(tarnblend_model_check(model, grade, &failures, NULL));
  CHECK(tarnblend_model_check_row(model, 0, NULL, NULL, NULL, NULL, &margin, NULL, NULL, NULL));
  printf("US-CONVENTIONAL 9.0: %d limit(s) failed, RVP margin %.2f kPa\n", failures, margin);
  tarnblend_grade_free(grade);
  tarnblend_model_free(model);
  gfx_tarnFree();
  return count > 0 && values[rvp] > 40.0 && values[rvp] < 70.0 ? 0 : 1;
}
