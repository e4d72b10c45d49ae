// Viscosity blending indices. Round trips and derivatives are in
// consistency_test.cpp.
#include <gtest/gtest.h>

#include <cmath>

#include "support/fixture.h"
#include "tarn/corparms.h"
#include "tarn/props.h"

namespace {

class ViscosityTest : public tarn::testing::LibraryTest {};

TEST_F(ViscosityTest, BlendingNumberAgreesWithRefutasAndBlendsTheReferenceMixture) {
  // The blending number is affine in the Refutas index VBI = 14.534 ln ln(v + 0.8)
  // + 10.975: VBN = 74.98240 - 1.466650 VBI (published constants are rounded,
  // hence the tolerance).
  for (double nu : {1.0, 5.0, 10.0, 100.0, 1000.0}) {
    const double refutas = 14.534 * std::log(std::log(nu + 0.8)) + 10.975;
    EXPECT_NEAR(gfx_ViscosityIndex3(nu, 0, nullptr), 74.98240 - 1.466650 * refutas, 5e-5) << nu;
  }
  // 60 % of a 5 cSt and 40 % of a 20 cSt component blend to 8.1085 cSt; the
  // plain double log with the same constant 0.8 blends identically.
  using Function = double (*)(double, int, double*);
  const Function index[2] = {gfx_ViscosityIndex2, gfx_ViscosityIndex3};
  const Function viscosity[2] = {gfx_Viscosity2, gfx_Viscosity3};
  for (int v : {0, 1}) {
    const double blend = 0.6 * index[v](5.0, 0, nullptr) + 0.4 * index[v](20.0, 0, nullptr);
    EXPECT_NEAR(viscosity[v](blend, 0, nullptr), 8.1085, 5e-5) << "variant " << v + 2;
  }
}

TEST_F(ViscosityTest, DomainBoundIsInclusiveForVariantOneOnly) {
  // Intended: variant 1 rejects its bound 0.92; 2 and 3 compute the double
  // log of 1 there and reject only below.
  EXPECT_EQ(gfx_ViscosityIndex1(0.92, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_ViscosityIndex2(0.2, 0, nullptr), -HUGE_VAL);
  EXPECT_EQ(gfx_ViscosityIndex3(0.2, 0, nullptr), HUGE_VAL);
  EXPECT_EQ(gfx_ViscosityIndex2(0.19, 0, nullptr), 1e30);
  EXPECT_EQ(gfx_ViscosityIndex3(0.19, 0, nullptr), 1e30);
  ASSERT_EQ(gfx_setCorParms("TARN", "ChangeData", 1.0), 0);
  EXPECT_NEAR(gfx_ViscosityIndex1(0.92, 0, nullptr), std::log10(std::log10(1.0001)), 1e-9);
  EXPECT_EQ(gfx_ViscosityIndex2(0.2, 0, nullptr), -HUGE_VAL);  // the bound itself is not repaired
  EXPECT_EQ(gfx_ViscosityIndex3(0.1, 0, nullptr), gfx_ViscosityIndex3(0.2001, 0, nullptr));
}

}  // namespace
