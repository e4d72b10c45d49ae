// The router and bridge with a real plug-in; faults found with plug-ins are named tests.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "plugin/test_plugin.h"
#include "router/shared_object_check.h"
#include "support/derivatives.h"
#include "tarn/bml.h"
#include "tarn/tarn.h"
#include "tarn/ubml.h"

namespace {

// Combined numbers of the plug-in's correlations (its own number + 57).
enum : int { kSquare = 57, kWeighted, kPick, kExp, kCurve, kCombinedCount };

// Kept open, so a behaviour set before the router loads it is the one it finds.
void* module(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
void behave(const char* path, const TestPluginBehaviour* how) {
  reinterpret_cast<TestPluginBehave>(dlsym(module(path), "testplugin_Behave"))(how);
}
void behave(const char* path, int startStatus, int correlations = 0) {
  TestPluginBehaviour how{};
  how.startStatus = startStatus;
  how.countsGiven = correlations > 0;
  how.correlations = correlations;
  how.properties = how.inputs = how.outputs = 1;
  behave(path, &how);
}
struct Calls {
  int starts, stops, coefficientResets, handledIndex, handledCode;
};
Calls calls(const char* path = TARN_TEST_PLUGIN) {
  Calls c{};
  reinterpret_cast<int (*)(int*)>(dlsym(module(path), "testplugin_Calls"))(&c.starts);
  return c;
}

std::string correlationId(int index, int expectedStatus = 0) {
  char id[64] = "untouched";
  EXPECT_EQ(gfx_bmlGetCorrelationId(index, id), expectedStatus) << index;
  return id;
}
int combinedCount() {
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

// The proper test plug-in is bound and answers as before.
void expectProperPluginBound(const std::string& context) {
  SCOPED_TRACE(context);
  EXPECT_EQ(combinedCount(), kCombinedCount);
  EXPECT_EQ(correlationId(kSquare), "USR_SQUARE");
  double x[1] = {150.0}, y[1] = {0.0};
  EXPECT_EQ(gfx_bmlGenCalc(kExp, 0, 0, 0.0, x, y, nullptr), 0);
  EXPECT_DOUBLE_EQ(y[0], std::exp(1.5));
}

// Forwarding beyond the queries (those are the router fuzz target's).
TEST_F(PluginTest, EveryKindOfCallReachesThePlugin) {
  using V = std::vector<double>;
  char text[TARN_MESSAGE_SIZE];
  double x[3] = {1, 2, 3}, y = 0, d[3] = {}, value = 0;
  // Output position after the buffer; plug-in properties after the library's two.
  EXPECT_EQ(gfx_bmlGetCorrelationOutPropId(kCurve, 2, text) + gfx_bmlGetPropId(2, text + 8), 0);
  EXPECT_EQ(std::string(text) + (text + 8), "out2usrvisc");
  // Coefficients: set, used, reset by the plug-in's own reset.
  EXPECT_EQ(gfx_bmlSetCoefValue(kWeighted, 0, 5.0) + gfx_bmlGenCalc(kWeighted, 0, 0, 0.0, x, &y, nullptr), 0);
  EXPECT_EQ(y, 1 + 5 * 2 + 3 * 3);
  EXPECT_EQ(gfx_bmlInitializeCoefs() + gfx_bmlGetCoef(kWeighted, 0, text, &value), 0);
  EXPECT_EQ(value, 2.0);
  // Property 1 through either entry; type -3 only through the complex one;
  // direct calls reach the plug-in and do nothing for a built-in index.
  EXPECT_EQ(gfx_bmlGenCalcComplex(kWeighted, 1, 0, 2, x, &y, d), 0);
  EXPECT_EQ(V({y, d[1], d[2]}), V({14, 2, 3}));
  EXPECT_EQ(gfx_bmlGenCalc(kWeighted, 1, 0, 0.0, x, &y, nullptr), TARN_STATUS_NO_DERIVATIVE_ARRAY);
  EXPECT_EQ(gfx_bmlGenCalc(kPick, 0, 0, 0.0, x, &y, nullptr), TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(gfx_bmlGenCalcComplex(kPick, 1, 0, 2, x, &y, d), 0);
  EXPECT_EQ(V({y, d[0], d[2]}), V({30, 0, 10}));
  EXPECT_EQ(gfx_bmlGenCalcComplex(kPick, 0, 0, 5, x, &y, d), 9);
  EXPECT_EQ(gfx_bmlCalcPropValue(kPick, 1, 3, x, &y) + gfx_bmlCalcPropDeriv(kPick, 0, 3, x, d), 0);
  EXPECT_EQ(V({y, d[0]}), V({20, 10}));
  y = 42;
  EXPECT_EQ(gfx_bmlCalcPropValue(9, 1, 3, x, &y) + gfx_bmlCalcPropDeriv(9, 1, 3, x, d), 0);
  EXPECT_EQ(y, 42);
  EXPECT_EQ(gfx_bmlCalcIndexFromProp(kSquare, 5.0, &y) + gfx_bmlCalcPropFromIndex(kSquare, 2.5, &value), 0);
  EXPECT_EQ(V({y, value}), V({2.5, 5}));
  double curve[4] = {150, -1, 2, 3}, out[4];
  EXPECT_EQ(gfx_bmlGenCalcComplex(kCurve, 0, 0, 0, curve, out, nullptr), 7);  // the plug-in's own code
  // The plug-in's handler gets its own codes with the combined number.
  EXPECT_EQ(gfx_ubmlGetErrorMsg(7, text), 0);
  EXPECT_STREQ(text, "usr: negative property");
  EXPECT_EQ(gfx_bmlErrorHandler(kCurve, 7, 0, nullptr) + gfx_bmlErrorHandler(kExp, -4, 0, nullptr), 0);
  EXPECT_EQ(V({1.0 * calls().handledIndex, 1.0 * calls().handledCode}), V({kCurve, 7}));
  EXPECT_EQ(gfx_bmlGetErrorMsg(7, text), 7 + 499);
  // Freeing stops the plug-in and keeps it in the numbering.
  const Calls before = calls();
  EXPECT_EQ(gfx_bmlFree(), 0);
  EXPECT_EQ(calls().stops, before.stops + 1);
  EXPECT_EQ(combinedCount(), kCombinedCount);
}

// Computes, then answers "not calculable" through the plain entry; failures write nothing.
TEST_F(PluginTest, SingleValueConversionReportsNotCalculableAfterComputing) {
  for (const bool complex : {false, true}) {
    SCOPED_TRACE(complex ? "complex" : "plain");
    const auto calc = [complex](int flag, int direction, double* in, double* out, double* d) {
      return complex ? gfx_bmlGenCalcComplex(kSquare, flag, direction, 0, in, out, d)
                     : gfx_bmlGenCalc(kSquare, flag, direction, 0.0, in, out, d);
    };
    const int computed = complex ? 0 : TARN_STATUS_NOT_CALCULABLE;
    double in[1] = {4.0}, out[1] = {0.0}, d[1] = {0.0};
    EXPECT_EQ(calc(1, 1, in, out, d), computed);
    EXPECT_DOUBLE_EQ(out[0], 1.6);
    EXPECT_TRUE(tarn::testing::derivativeNear(d[0], 2.0 * 4.0 / 10.0, 1e-3));  // a forward difference
    in[0] = 1.6;
    EXPECT_EQ(calc(0, 0, in, out, nullptr), computed);
    EXPECT_DOUBLE_EQ(out[0], 4.0);
    in[0] = -1.0;
    out[0] = d[0] = 42.0;
    EXPECT_EQ(calc(1, 1, in, out, d), 7);
    EXPECT_EQ(out[0] + d[0], 84.0);
    in[0] = 4.0;
    EXPECT_EQ(calc(1, 1, in, out, nullptr), complex ? TARN_STATUS_NO_DERIVATIVE_ARRAY : TARN_STATUS_NOT_CALCULABLE);
  }
  // A catalogue-shaped correlation's slope against a central difference.
  double x[1] = {150.0}, y[1] = {}, d[1] = {};
  ASSERT_EQ(gfx_bmlGenCalc(kExp, 1, 0, 0.0, x, y, d), 0);
  const auto exp = [](double v) { return gfx_bmlGenCalcComplex(kExp, 0, 0, 0, &v, &v, nullptr), v; };  // in place
  EXPECT_TRUE(tarn::testing::derivativeNear(d[0], tarn::testing::centralDifference(exp, 150.0)));
  EXPECT_EQ(gfx_bmlGenCalc(kExp, 1, 0, 0.0, x, y, nullptr), TARN_STATUS_NO_DERIVATIVE_ARRAY);
}

// Only the plain entry orders a plug-in's inputs, changing the fewest.
TEST_F(PluginTest, OrderingTakesTheDirectionThatChangesFewerInputs) {
  const struct {
    int index;
    double spacing;
    std::vector<double> given, expected;
  } cases[] = {
      {kWeighted, 0.5, {100, 90, 120}, {100, 100.5, 120}},       // one change either way: upward
      {kCurve, 1.0, {300, 100, 110, 120}, {99, 100, 110, 120}},  // three up against one down
      {kCurve, 1.0, {100, 100, 100, 130}, {100, 101, 102, 130}}, {kWeighted, 0.0, {100, 90, 120}, {100, 90, 120}},
      {kWeighted, -1.0, {100, 90, 120}, {100, 90, 120}},
  };
  for (const auto& c : cases) {
    std::vector<double> x = c.given, y(4, 0.0);
    EXPECT_EQ(gfx_bmlGenCalc(c.index, 0, 0, c.spacing, x.data(), y.data(), nullptr), 0);
    EXPECT_EQ(x, c.expected) << "spacing " << c.spacing;
    EXPECT_EQ(y[0], c.index == kCurve ? x[0] : x[0] + 2 * x[1] + 3 * x[2]);
  }
  double x[4] = {300, 100, 110, 120}, y[4] = {}, octanes[2] = {95.0, 85.0};
  EXPECT_EQ(gfx_bmlGenCalcComplex(kCurve, 0, 0, 0, x, y, nullptr), 0);
  EXPECT_EQ(gfx_bmlGenCalc(38, 0, 0, 1.0, octanes, y, nullptr), 0);
  EXPECT_EQ(x[0], 300.0);
  EXPECT_EQ(octanes[0], 95.0);
  EXPECT_EQ(y[0], 90.0);
}

// Needs a program of its own (as ctest runs it); two correlations, as in the report.
TEST(PluginLoadingTest, FailedLoadWithNothingBoundLeavesNothingBound) {
  int count = 0;
  if (gfx_ubmlGetCorrelationCount(&count) != UBML_STATUS_NOT_BOUND) GTEST_SKIP() << "a plug-in is bound";
  behave(TARN_TEST_PLUGIN_SECOND, 3, 2);
  EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN_SECOND), TARN_BML_STATUS_UBML_INIT_FAILED);
  behave(TARN_TEST_PLUGIN_SECOND, nullptr);
  EXPECT_EQ(combinedCount(), TARN_BML_FIRST_USER_CORRELATION);
  EXPECT_EQ(correlationId(kSquare, TARN_BML_STATUS_INDEX_PAST_END), "untouched");
  EXPECT_EQ(gfx_ubmlGetCorrelationCount(&count), UBML_STATUS_NOT_BOUND);
}

TEST_F(PluginTest, FailedStartOfASecondPluginLeavesTheFirstBound) {
  behave(TARN_TEST_PLUGIN_SECOND, 3, 2);
  const Calls first = calls(), second = calls(TARN_TEST_PLUGIN_SECOND);
  EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN_SECOND), TARN_BML_STATUS_UBML_INIT_FAILED);
  EXPECT_EQ(calls(TARN_TEST_PLUGIN_SECOND).starts, second.starts + 1);
  EXPECT_EQ(calls().stops, first.stops);  // never stopped: it stays in use
  expectProperPluginBound("after a second plug-in failed to start");
  // So does every other failed load.
  for (const auto& [path, status] : std::vector<std::pair<std::string, int>>{
           {::testing::TempDir() + "/no-such-plugin.so", TARN_BML_STATUS_NO_USER_LIBRARY},
           {__FILE__, TARN_BML_STATUS_UBML_INIT_FAILED},
           {TARN_TEST_PLUGIN_INCOMPLETE, TARN_BML_STATUS_UBML_INIT_FAILED}}) {
    EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, path.c_str()), status) << path;
    expectProperPluginBound(path);
  }
}

TEST_F(PluginTest, ReloadingReplacesTheBoundPluginAndStopsTheOldOne) {
  const Calls first = calls();
  ASSERT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN_SECOND), 0);
  EXPECT_EQ(correlationId(kSquare), "ALT_SQUARE");
  EXPECT_EQ(calls().stops, first.stops + 1);
  // The same file again: started afresh, not stopped; a failed restart keeps it.
  const Calls second = calls(TARN_TEST_PLUGIN_SECOND);
  ASSERT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN_SECOND), 0);
  behave(TARN_TEST_PLUGIN_SECOND, 3);
  EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN_SECOND), TARN_BML_STATUS_UBML_INIT_FAILED);
  behave(TARN_TEST_PLUGIN_SECOND, nullptr);
  EXPECT_EQ(calls(TARN_TEST_PLUGIN_SECOND).starts, second.starts + 2);
  EXPECT_EQ(calls(TARN_TEST_PLUGIN_SECOND).stops, second.stops);
  EXPECT_EQ(correlationId(kCurve), "ALT_CURVE");
  ASSERT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN), 0);
  EXPECT_EQ(calls(TARN_TEST_PLUGIN_SECOND).stops, second.stops + 1);
  expectProperPluginBound("back to the first plug-in");
}

// Counts and pairs beyond the combined numbering are refused (the router's count stays).
TEST_F(PluginTest, SignedOverflowFromPluginCountsAndPairsIsRefused) {
  constexpr int kNothing = INT_MIN, kRefused = TARN_BML_STATUS_UBML_INIT_FAILED;
  const struct {
    int query, given, status, written;  // query: correlations, properties, inputs, outputs, coefficients, pair
  } cases[] = {
      {0, INT_MAX - 5, kRefused, 57},
      {0, INT_MAX - 57, 0, INT_MAX},  // the reported overflow; the last that fits
      {0, -3, kRefused, 57},
      {1, INT_MAX - 2, 0, INT_MAX},
      {1, INT_MAX - 1, kRefused, 2},
      {1, -1, kRefused, 2},
      {2, -1, kRefused, kNothing},
      {2, 46340, 0, 46340},  // n x m still an int
      {2, 46341, kRefused, kNothing},
      {3, INT_MIN, kRefused, kNothing},
      {3, 46341, kRefused, kNothing},
      {4, -2, kRefused, kNothing},
      {4, INT_MAX, 0, INT_MAX},
      {5, INT_MAX, kRefused, kNothing},
      {5, 5, kRefused, kNothing},
      {5, 4, 0, kCurve},
      {5, -2, 0, -2},  // no pair: as given
  };
  int (*const queries[])(int*) = {
      gfx_bmlGetCorrelationCount,
      gfx_bmlGetPropCount,
      [](int* n) { return gfx_bmlGetCorrelationInpPropCount(kCurve, n); },
      [](int* n) { return gfx_bmlGetCorrelationOutPropCount(kCurve, n); },
      [](int* n) { return gfx_bmlGetCoefCount(kCurve, n); },
      [](int* n) { return gfx_bmlGetIndexPair(kCurve, n); },
  };
  using B = TestPluginBehaviour;
  int B::*const fields[] = {&B::correlations, &B::properties, &B::inputs, &B::outputs, &B::coefficients, &B::pair};
  for (const auto& c : cases) {
    TestPluginBehaviour how{0, 0, 0, 1, 5, 2, 4, 4, 2, 0, TESTPLUGIN_TEXT_PROPER};  // usr_curve's own counts
    how.*fields[c.query] = c.given;
    behave(TARN_TEST_PLUGIN, &how);
    int written = kNothing;
    EXPECT_EQ(queries[c.query](&written), c.status) << c.query << " given " << c.given;
    EXPECT_EQ(written, c.written) << c.query << " given " << c.given;
  }
  // An index near INT_MAX; the largest input count ordered in full, a refused one not at all.
  char text[TARN_DESC_SIZE];
  behave(TARN_TEST_PLUGIN, 0, INT_MAX - 5);
  EXPECT_EQ(gfx_bmlGetCorrelationDesc(INT_MAX - 1, text), TARN_BML_STATUS_INDEX_PAST_END);
  behave(TARN_TEST_PLUGIN, 0, INT_MAX - 57);
  EXPECT_EQ(gfx_bmlGetCorrelationDesc(INT_MAX - 1, text), 5);
  for (const int inputs : {46340, -1}) {
    TestPluginBehaviour how{0, 0, 0, 1, 5, 0, inputs, 0, 0, 0, TESTPLUGIN_TEXT_PROPER};
    behave(TARN_TEST_PLUGIN, &how);
    std::vector<double> x(46340, 1.0);
    double y = 0.0;
    EXPECT_EQ(gfx_bmlGenCalc(kWeighted, 0, 0, 0.5, x.data(), &y, nullptr), 5);  // refused by the plug-in
    EXPECT_EQ(x.back(), inputs > 0 ? 1.0 + 0.5 * 46339 : 1.0);
  }
}

std::string writeFile(const std::vector<char>& bytes) {
  const std::string path = ::testing::TempDir() + "/plugin-copy.so";
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return path;
}

// Files the loader would read past or misread; the untouched file passes.
TEST_F(PluginTest, TruncatedAndMalformedPluginFilesAreRefusedInsteadOfKillingTheHost) {
  using Header = ElfW(Ehdr);
  using Segment = ElfW(Phdr);
  using Section = ElfW(Shdr);
  std::ifstream file(TARN_TEST_PLUGIN, std::ios::binary);
  const std::vector<char> whole{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  Header h;
  std::memcpy(&h, whole.data(), sizeof h);
  const std::uint64_t size = whole.size();
  const auto put = [](std::vector<char>& bytes, std::size_t offset, auto value) {
    std::memcpy(bytes.data() + offset, &value, sizeof value);
  };
  struct Case {
    std::string what;
    std::function<void(std::vector<char>&)> edit;
  };
  std::vector<Case> cases = {
      {"not ELF", [&](auto& b) { b[1] = 'X'; }},
      {"the other word size", [&](auto& b) { b[EI_CLASS] = sizeof(void*) == 8 ? ELFCLASS32 : ELFCLASS64; }},
      {"the other byte order", [&](auto& b) { b[EI_DATA] ^= 3; }},
      {"an object file", [&](auto& b) { put(b, offsetof(Header, e_type), ElfW(Half){ET_REL}); }},
      {"program headers past the end", [&](auto& b) { put(b, offsetof(Header, e_phoff), ElfW(Off){size - 8}); }},
      {"odd program header size", [&](auto& b) { put(b, offsetof(Header, e_phentsize), ElfW(Half){12}); }},
      {"a segment past the end",
       [&](auto& b) { put(b, h.e_phoff + sizeof(Segment) + offsetof(Segment, p_filesz), ElfW(Xword){size}); }},
      {"a segment offset that wraps", [&](auto& b) { put(b, h.e_phoff + offsetof(Segment, p_offset), ~ElfW(Off){0}); }},
      {"section headers past the end", [&](auto& b) { put(b, offsetof(Header, e_shoff), ElfW(Off){size - 100}); }},
      {"a section past the end",
       [&](auto& b) {
         put(b, h.e_shoff + (h.e_shnum - 1) * sizeof(Section) + offsetof(Section, sh_offset), ElfW(Off){size});
       }},
  };
  // Truncated files once killed the host inside the loader.
  ASSERT_GT(whole.size(), 9000u);
  for (const std::size_t cut : {std::size_t{0}, std::size_t{1}, std::size_t{63}, std::size_t{64}, std::size_t{1000},
                                std::size_t{4500}, std::size_t{8000}, whole.size() / 2, whole.size() - 1}) {
    cases.push_back({"cut at " + std::to_string(cut), [cut](auto& b) { b.resize(cut); }});
  }
  EXPECT_TRUE(tarn::router::isCompleteSharedObject(TARN_TEST_PLUGIN));
  for (const auto& c : cases) {
    std::vector<char> bytes = whole;
    c.edit(bytes);
    const std::string path = writeFile(bytes);
    EXPECT_FALSE(tarn::router::isCompleteSharedObject(path.c_str())) << c.what;
    EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, path.c_str()), TARN_BML_STATUS_UBML_INIT_FAILED) << c.what;
  }
  expectProperPluginBound("after the broken files");
}

}  // namespace
