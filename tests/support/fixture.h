// Every test starts from a freshly started library and leaves the parameter block at its defaults.
#pragma once

#include <gtest/gtest.h>

#include "tarn/tarn.h"

namespace tarn::testing {

class LibraryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    TARNReset();
    ASSERT_EQ(gfx_tarnInitializeAllocate(nullptr), 0);
  }
  void TearDown() override {
    TARNReset();
    gfx_tarnInitializeCoefs();
  }
};

}  // namespace tarn::testing
