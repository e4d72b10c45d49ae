// Plug-ins that misbehave and plug-in files that must be refused: the router
// keeps a usable numbering and hands the host nothing it cannot use. Each
// fault found with faulty plug-ins has a regression test named after it;
// over-long texts and failing calculations are the router fuzz target's.
#include <link.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "plugin/plugin_support.h"
#include "router/shared_object_check.h"
#include "tarn/bml.h"
#include "tarn/tarn.h"
#include "tarn/ubml.h"

namespace {

using namespace tarn::testing;

// The proper test plug-in is bound and answers as before.
void expectProperPluginBound(const std::string& context) {
  SCOPED_TRACE(context);
  EXPECT_EQ(combinedCount(), kCombinedCount);
  EXPECT_EQ(correlationId(kSquare), "USR_SQUARE");
  double x[1] = {150.0}, y[1] = {0.0};
  EXPECT_EQ(gfx_bmlGenCalc(kExp, 0, 0, 0.0, x, y, nullptr), 0);
  EXPECT_DOUBLE_EQ(y[0], std::exp(1.5));
}

TestPluginBehaviour failingStart() {
  TestPluginBehaviour how{};
  how.startStatus = 3;
  how.countsGiven = 1;  // a plug-in of two correlations, as in the report of the fault
  how.correlations = 2;
  how.properties = how.inputs = how.outputs = 1;
  return how;
}

// First in its program, before any plug-in is bound (ctest runs each test in
// a program of its own; in one run of all tests a bound plug-in skips it).
TEST(PluginLoadingTest, FailedLoadWithNothingBoundLeavesNothingBound) {
  int count = 0;
  if (gfx_ubmlGetCorrelationCount(&count) != UBML_STATUS_NOT_BOUND) GTEST_SKIP() << "a plug-in is bound";
  const TestPluginBehaviour how = failingStart();
  behave(TARN_TEST_PLUGIN_SECOND, &how);
  EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN_SECOND), TARN_BML_STATUS_UBML_INIT_FAILED);
  behave(TARN_TEST_PLUGIN_SECOND, nullptr);
  EXPECT_EQ(combinedCount(), TARN_BML_FIRST_USER_CORRELATION);
  EXPECT_EQ(correlationId(kSquare, TARN_BML_STATUS_INDEX_PAST_END), "untouched");
  EXPECT_EQ(gfx_ubmlGetCorrelationCount(&count), UBML_STATUS_NOT_BOUND);
}

TEST_F(PluginTest, FailedStartOfASecondPluginLeavesTheFirstBound) {
  const TestPluginBehaviour how = failingStart();
  behave(TARN_TEST_PLUGIN_SECOND, &how);
  const PluginCalls first = pluginCalls(), second = pluginCalls(TARN_TEST_PLUGIN_SECOND);
  EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN_SECOND), TARN_BML_STATUS_UBML_INIT_FAILED);
  EXPECT_EQ(pluginCalls(TARN_TEST_PLUGIN_SECOND).starts, second.starts + 1);
  EXPECT_EQ(pluginCalls().stops, first.stops);  // never stopped: it stays in use
  expectProperPluginBound("after a second plug-in failed to start");

  // Every other failed load keeps it too.
  const std::string directory = ::testing::TempDir();
  const struct {
    std::string path;
    int status;
  } cases[] = {
      {directory + "/no-such-plugin.so", TARN_BML_STATUS_NO_USER_LIBRARY},
      {directory, TARN_BML_STATUS_NO_USER_LIBRARY},
      {__FILE__, TARN_BML_STATUS_UBML_INIT_FAILED},                    // not a library
      {TARN_TEST_PLUGIN_INCOMPLETE, TARN_BML_STATUS_UBML_INIT_FAILED},  // a function missing
  };
  for (const auto& c : cases) {
    EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, c.path.c_str()), c.status) << c.path;
    expectProperPluginBound(c.path);
  }
}

TEST_F(PluginTest, ReloadingReplacesTheBoundPluginAndStopsTheOldOne) {
  const PluginCalls first = pluginCalls();
  ASSERT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN_SECOND), 0);
  EXPECT_EQ(correlationId(kSquare), "ALT_SQUARE");
  EXPECT_EQ(pluginCalls().stops, first.stops + 1);
  // The same file again is the same module, started afresh and not stopped;
  // when that start fails it stays bound as it was.
  const PluginCalls second = pluginCalls(TARN_TEST_PLUGIN_SECOND);
  ASSERT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN_SECOND), 0);
  TestPluginBehaviour how{};
  how.startStatus = 3;
  behave(TARN_TEST_PLUGIN_SECOND, &how);
  EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN_SECOND), TARN_BML_STATUS_UBML_INIT_FAILED);
  behave(TARN_TEST_PLUGIN_SECOND, nullptr);
  EXPECT_EQ(pluginCalls(TARN_TEST_PLUGIN_SECOND).starts, second.starts + 2);
  EXPECT_EQ(pluginCalls(TARN_TEST_PLUGIN_SECOND).stops, second.stops);
  EXPECT_EQ(correlationId(kCurve), "ALT_CURVE");

  ASSERT_EQ(gfx_bmlInitializeAllocate(nullptr, TARN_TEST_PLUGIN), 0);
  EXPECT_EQ(pluginCalls(TARN_TEST_PLUGIN_SECOND).stops, second.stops + 1);
  expectProperPluginBound("back to the first plug-in");
}

// Counts and pairs at and beyond what the combined numbering can hold. The
// plug-in gives every count and pair (proper ones but for the one varied);
// an unusable one is refused and the router's count falls back to its own.
TEST_F(PluginTest, SignedOverflowFromPluginCountsAndPairsIsRefused) {
  enum Query { kCorrelations, kProperties, kInputs, kOutputs, kCoefficients, kPair };
  constexpr int kNothing = INT_MIN;  // nothing written
  const struct {
    Query query;
    int given, status, written;
  } cases[] = {
      {kCorrelations, INT_MAX - 5, TARN_BML_STATUS_UBML_INIT_FAILED, 57},  // the reported overflow
      {kCorrelations, INT_MAX - 57, 0, INT_MAX},                           // the last that fits
      {kCorrelations, -3, TARN_BML_STATUS_UBML_INIT_FAILED, 57},
      {kProperties, INT_MAX - 2, 0, INT_MAX},
      {kProperties, INT_MAX - 1, TARN_BML_STATUS_UBML_INIT_FAILED, 2},
      {kProperties, -1, TARN_BML_STATUS_UBML_INIT_FAILED, 2},
      {kInputs, -1, TARN_BML_STATUS_UBML_INIT_FAILED, kNothing},
      {kInputs, 46340, 0, 46340},  // inputs x outputs derivatives still have an int size
      {kInputs, 46341, TARN_BML_STATUS_UBML_INIT_FAILED, kNothing},
      {kOutputs, INT_MIN, TARN_BML_STATUS_UBML_INIT_FAILED, kNothing},
      {kOutputs, 46341, TARN_BML_STATUS_UBML_INIT_FAILED, kNothing},
      {kCoefficients, -2, TARN_BML_STATUS_UBML_INIT_FAILED, kNothing},
      {kCoefficients, INT_MAX, 0, INT_MAX},
      {kPair, INT_MAX, TARN_BML_STATUS_UBML_INIT_FAILED, kNothing},  // the reported overflow
      {kPair, 5, TARN_BML_STATUS_UBML_INIT_FAILED, kNothing},        // one past the plug-in's last
      {kPair, 4, 0, kCurve},
      {kPair, -2, 0, -2},  // no pair: passed on as given
  };
  for (const auto& c : cases) {
    // Proper counts of usr_curve (and the plug-in) given, then one varied.
    TestPluginBehaviour how{0, 0, 0, 1, 5, 2, 4, 4, 2, 0, TESTPLUGIN_TEXT_PROPER};
    int* const given[] = {&how.correlations, &how.properties, &how.inputs, &how.outputs, &how.coefficients, &how.pair};
    *given[c.query] = c.given;
    behave(TARN_TEST_PLUGIN, &how);
    int written = kNothing;
    const std::function<int(int*)> queries[] = {
        gfx_bmlGetCorrelationCount,
        gfx_bmlGetPropCount,
        [](int* n) { return gfx_bmlGetCorrelationInpPropCount(kCurve, n); },
        [](int* n) { return gfx_bmlGetCorrelationOutPropCount(kCurve, n); },
        [](int* n) { return gfx_bmlGetCoefCount(kCurve, n); },
        [](int* n) { return gfx_bmlGetIndexPair(kCurve, n); },
    };
    EXPECT_EQ(queries[c.query](&written), c.status) << c.query << " given " << c.given;
    EXPECT_EQ(written, c.written) << c.query << " given " << c.given;
  }
  // Indexes near INT_MAX: past the end without a usable count, the
  // plug-in's own answer when the numbering reaches that far.
  for (const int correlations : {INT_MAX - 5, INT_MAX - 57}) {
    TestPluginBehaviour how{};
    how.countsGiven = 1;
    how.correlations = correlations;
    behave(TARN_TEST_PLUGIN, &how);
    char text[TARN_DESC_SIZE];
    EXPECT_EQ(gfx_bmlGetCorrelationDesc(INT_MAX - 1, text),
              correlations == INT_MAX - 5 ? TARN_BML_STATUS_INDEX_PAST_END : 5);
  }
  // The largest input count is ordered in full; a refused one orders none.
  for (const int inputs : {46340, -1}) {
    TestPluginBehaviour how{};
    how.countsGiven = 1;
    how.correlations = 5;
    how.inputs = inputs;
    behave(TARN_TEST_PLUGIN, &how);
    std::vector<double> x(46340, 1.0);
    double y = 0.0;
    EXPECT_EQ(gfx_bmlGenCalc(kWeighted, 0, 0, 0.5, x.data(), &y, nullptr), 5);  // refused by the plug-in
    EXPECT_EQ(x.back(), inputs > 0 ? 1.0 + 0.5 * 46339 : 1.0);
  }
}

std::vector<char> fileBytes(const char* path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string writeFile(const std::string& name, const std::vector<char>& bytes) {
  const std::string path = ::testing::TempDir() + "/" + name;
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return path;
}

TEST_F(PluginTest, TruncatedPluginFileIsRefusedInsteadOfKillingTheHost) {
  const std::vector<char> whole = fileBytes(TARN_TEST_PLUGIN);
  ASSERT_GT(whole.size(), 9000u);
  std::vector<std::size_t> sizes = {0, 1, 63, 64, whole.size() - 1};
  for (std::size_t size = 1000; size < whole.size(); size += size < 8000 ? 500 : 4999) sizes.push_back(size);
  for (const std::size_t size : sizes) {
    const std::string path = writeFile("truncated.so", {whole.begin(), whole.begin() + static_cast<long>(size)});
    EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, path.c_str()), TARN_BML_STATUS_UBML_INIT_FAILED) << size;
  }
  expectProperPluginBound("after the truncated files");
}

// Header fields edited so that the loader would read outside the file or
// misread it; the untouched file passes.
TEST_F(PluginTest, MalformedSharedObjectHeadersAreRefused) {
  using Header = ElfW(Ehdr);
  using Segment = ElfW(Phdr);
  using Section = ElfW(Shdr);
  const std::vector<char> whole = fileBytes(TARN_TEST_PLUGIN);
  Header header;
  std::memcpy(&header, whole.data(), sizeof header);
  const auto segmentAt = [&](int i) { return static_cast<std::size_t>(header.e_phoff + i * sizeof(Segment)); };
  const auto sectionAt = [&](int i) { return static_cast<std::size_t>(header.e_shoff + i * sizeof(Section)); };
  const auto put = [](std::vector<char>& bytes, std::size_t offset, auto value) {
    std::memcpy(bytes.data() + offset, &value, sizeof value);
  };
  const std::uint64_t size = whole.size();
  const struct {
    const char* what;
    std::function<void(std::vector<char>&)> edit;
  } cases[] = {
      {"not ELF", [&](auto& b) { b[1] = 'X'; }},
      {"the other word size", [&](auto& b) { b[EI_CLASS] = sizeof(void*) == 8 ? ELFCLASS32 : ELFCLASS64; }},
      {"the other byte order", [&](auto& b) { b[EI_DATA] ^= 3; }},
      {"an object file", [&](auto& b) { put(b, offsetof(Header, e_type), ElfW(Half){ET_REL}); }},
      {"program headers past the end", [&](auto& b) { put(b, offsetof(Header, e_phoff), ElfW(Off){size - 8}); }},
      {"odd program header size", [&](auto& b) { put(b, offsetof(Header, e_phentsize), ElfW(Half){12}); }},
      {"a segment past the end",
       [&](auto& b) { put(b, segmentAt(1) + offsetof(Segment, p_filesz), ElfW(Xword){size}); }},
      {"a segment offset that wraps",
       [&](auto& b) { put(b, segmentAt(0) + offsetof(Segment, p_offset), ElfW(Off){~ElfW(Off){0}}); }},
      {"section headers past the end", [&](auto& b) { put(b, offsetof(Header, e_shoff), ElfW(Off){size - 100}); }},
      {"a section past the end",
       [&](auto& b) { put(b, sectionAt(header.e_shnum - 1) + offsetof(Section, sh_offset), ElfW(Off){size}); }},
  };
  EXPECT_TRUE(tarn::router::isCompleteSharedObject(TARN_TEST_PLUGIN));
  for (const auto& c : cases) {
    std::vector<char> bytes = whole;
    c.edit(bytes);
    const std::string path = writeFile("malformed.so", bytes);
    EXPECT_FALSE(tarn::router::isCompleteSharedObject(path.c_str())) << c.what;
    EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, path.c_str()), TARN_BML_STATUS_UBML_INIT_FAILED) << c.what;
  }
  expectProperPluginBound("after the malformed files");
}

}  // namespace
