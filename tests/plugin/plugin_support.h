// The test plug-in seen from the tests: the combined numbers of its
// correlations, its record of calls and its behaviour, both reached through
// its own exports, and a fixture that starts every test with the proper
// plug-in bound.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "plugin/test_plugin.h"
#include "tarn/bml.h"

namespace tarn::testing {

// Combined numbers of the plug-in's correlations (its own number + 57).
enum : int { kSquare = 57, kWeighted, kPick, kExp, kCurve, kCombinedCount };

// The plug-in module of path, loaded once and kept, so that a behaviour set
// before the router loads it is the one the router finds.
inline void* pluginModule(const char* path) {
  void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  EXPECT_NE(handle, nullptr) << dlerror();
  return handle;  // kept open: the module must outlive the router's unloading
}

inline void behave(const char* path, const TestPluginBehaviour* how) {
  reinterpret_cast<TestPluginBehave>(dlsym(pluginModule(path), "testplugin_Behave"))(how);
}

struct PluginCalls {
  int starts, stops, coefficientResets, handledIndex, handledCode;
};
inline PluginCalls pluginCalls(const char* path = TARN_TEST_PLUGIN) {
  int counts[5] = {};
  reinterpret_cast<int (*)(int*)>(dlsym(pluginModule(path), "testplugin_Calls"))(counts);
  return {counts[0], counts[1], counts[2], counts[3], counts[4]};
}

inline std::string correlationId(int index, int expectedStatus = 0) {
  char id[64] = "untouched";
  EXPECT_EQ(gfx_bmlGetCorrelationId(index, id), expectedStatus) << index;
  return id;
}

inline int combinedCount() {
  int count = 0;
  gfx_bmlGetCorrelationCount(&count);
  return count;
}

class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override {
    behave(TARN_TEST_PLUGIN, nullptr);
    behave(TARN_TEST_PLUGIN_SECOND, nullptr);
    ASSERT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN), 0);
  }
  void TearDown() override { behave(TARN_TEST_PLUGIN, nullptr); }
};

}  // namespace tarn::testing
