// Fuzzes the router (gfx_bml*) over the combined numbering and the bridge
// (gfx_ubml*), without a plug-in or with the test plug-in (its path in
// TARN_FUZZ_USER_LIBRARY, a second module of it in
// TARN_FUZZ_USER_LIBRARY_SECOND) bound at every reset. The input makes the
// plug-in misbehave (failing start or calculations, garbage results, any
// counts and pair, over-long or unterminated texts) and loads plug-ins again:
// the second module, with its start failing or not, truncated and malformed
// copies of the plug-in file, paths that name no file. Input: operations,
// each a selector byte followed by what it reads.
//
// Invariants: a built-in index answers exactly as its gfx_tarn* namesake and
// one past the end with -1101; a plug-in index answers the plug-in's own
// codes, the bridge's, or -1104 for an answer it refused; every count the
// host is given is one the combined numbering can hold, and a refused count
// leaves the built-in numbering; texts end inside the caller's buffer of the
// documented size; nothing is written outside the caller's arrays; a failed
// load leaves the plug-in bound before, usable as before.
#include <dlfcn.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <string>

#define TARN_FUZZ_OWN_INITIALIZE  // opens the plug-ins first
#include "fuzz_support.h"
#include "plugin/test_plugin.h"
#include "tarn/bml.h"
#include "tarn/ubml.h"

namespace {

using namespace tarn::fuzz;

// The plug-in files and their modules, held open so that their behaviour can
// be set; empty without a plug-in.
struct Plugin {
  std::string path;
  TestPluginBehave behave = nullptr;
};
Plugin mainPlugin, secondPlugin;
std::vector<std::string> brokenFiles;  // truncated and malformed copies of the plug-in
bool secondBound = false;              // which module the router has bound
TestPluginBehaviour behaviour;         // what the bound module was told
constexpr int kCalculationFailure = 42;

bool withPlugin() { return !mainPlugin.path.empty(); }

// What the router should report as its correlation or property count, and
// with which status, for the behaviour set.
struct Expected {
  int count, status;
};
Expected expectedCount(int builtIn, int real, long long given, long long limit) {
  if (!withPlugin()) return {builtIn, 0};
  if (!behaviour.countsGiven) return {builtIn + real, 0};
  return given < 0 || given > limit ? Expected{builtIn, TARN_BML_STATUS_UBML_INIT_FAILED}
                                    : Expected{builtIn + static_cast<int>(given), 0};
}
Expected expectedCorrelations() {
  return expectedCount(TARN_BML_FIRST_USER_CORRELATION, 5, behaviour.correlations,
                       INT_MAX - TARN_BML_FIRST_USER_CORRELATION);
}

int combinedCount() {
  int count = 0;
  const int status = gfx_bmlGetCorrelationCount(&count);
  const Expected expected = expectedCorrelations();
  TARN_FUZZ_CHECK(status == expected.status && count == expected.count, "count %d (%d), not %d (%d)", count, status,
                  expected.count, expected.status);
  return count;
}

// A caller array for a count from the catalogue: its size, or room for one
// when the count is refused; derivative arrays beyond 2^16 entries are given
// one element (the refused calculation behind them writes nothing).
int arraySize(int (*query)(int, int*), int index) { return std::max(countOf(query, index, 1), 1); }

// The combined index is past the end, built in, or a plug-in one; the answer
// follows. A plug-in index may answer the test plug-in's own codes (bad
// index, negative property, bad property number, no pair, the failure asked
// for) and the bridge's, -1104 included.
void expectRouted(int status, int index, int builtinStatus, const char* what) {
  if (index >= combinedCount()) {
    TARN_FUZZ_CHECK(status == TARN_BML_STATUS_INDEX_PAST_END, "%s(%d): %d past the end", what, index, status);
  } else if (index < TARN_BML_FIRST_USER_CORRELATION) {
    TARN_FUZZ_CHECK(status == builtinStatus, "%s(%d): %d, built-in %d", what, index, status, builtinStatus);
  } else {
    TARN_FUZZ_CHECK(isOneOf(status, {0, 5, 7, 9, 12, kCalculationFailure, TARN_STATUS_NOT_CALCULABLE,
                                     TARN_STATUS_NO_DERIVATIVE_ARRAY, TARN_BML_STATUS_UBML_INIT_FAILED}),
                    "%s(%d): %d", what, index, status);
  }
}

// An index near the built-in ones and the plug-in's, or near INT_MAX.
int combinedIndex(ByteReader& in) {
  const std::uint8_t near = in.u8();
  return near < 224 ? in.index(72) : INT_MAX - near % 8;
}

// Text and integer queries of a correlation.
void queries(ByteReader& in) {
  const int index = combinedIndex(in);
  const int k = in.index(28);
  Fenced<char> text(TARN_ID_SIZE), builtinText(TARN_DESC_SIZE), desc(TARN_DESC_SIZE), property(TARN_PROPERTY_ID_SIZE);
  const int status = gfx_bmlGetCorrelationId(index, text.data());
  expectRouted(status, index, gfx_tarnGetCorrelationId(index, builtinText.data()), "id");
  TARN_FUZZ_CHECK(status != 0 || index >= TARN_BML_FIRST_USER_CORRELATION ||
                      std::strcmp(text.data(), builtinText.data()) == 0,
                  "id(%d) differs", index);
  TARN_FUZZ_CHECK(status != 0 || (textWithin(text) && std::none_of(text.data(), text.data() + std::strlen(text.data()),
                                                                     [](char c) { return c >= 'a' && c <= 'z'; })),
                  "id(%d) not an upper-case text within its buffer", index);
  expectRouted(gfx_bmlGetCorrelationDesc(index, desc.data()), index,
               gfx_tarnGetCorrelationDesc(index, builtinText.data()), "desc");
  expectRouted(gfx_bmlGetCorrelationInpPropId(index, k, property.data()), index,
               gfx_tarnGetCorrelationInpPropId(index, k, builtinText.data()), "input id");
  expectRouted(gfx_bmlGetCorrelationOutPropId(index, k, property.data()), index,
               gfx_tarnGetCorrelationOutPropId(index, k, builtinText.data()), "output id");
  TARN_FUZZ_CHECK(guardsIntact(text, desc, property) && (desc.isMarker(0) || textWithin(desc)) &&
                      (property.isMarker(0) || textWithin(property)),
                  "text of %d written past its buffer or unterminated", index);

  Fenced<int> value(1);
  int builtin = 0;
  expectRouted(gfx_bmlGetCorrelationType(index, value.data()), index, gfx_tarnGetCorrelationType(index, &builtin),
               "type");
  const int pairStatus = gfx_bmlGetIndexPair(index, value.data());
  expectRouted(pairStatus, index, gfx_tarnGetIndexPair(index, &builtin), "pair");
  TARN_FUZZ_CHECK(pairStatus != 0 || value[0] < combinedCount(), "pair(%d) %d beyond the numbering", index, value[0]);
  for (auto query : {gfx_bmlGetCorrelationInpPropCount, gfx_bmlGetCorrelationOutPropCount, gfx_bmlGetCoefCount}) {
    Fenced<int> count(1);
    const int s = query(index, count.data());
    TARN_FUZZ_CHECK(count.guardsIntact() && (s != 0 || count[0] >= 0), "count of %d: %d with %d", index, count[0], s);
  }
  const int kind = gfx_bmlGetCorrelationOutPropType(index, k, value.data());
  if (index >= TARN_BML_FIRST_USER_CORRELATION && index < combinedCount()) {
    TARN_FUZZ_CHECK(kind == TARN_BML_USER_KIND, "kind(%d): %d", index, kind);
  } else {
    expectRouted(kind, index, gfx_tarnGetCorrelationOutPropType(index, k, &builtin), "kind");
  }
  const int slack = gfx_bmlGetCorrelationSlackCount(index, value.data());
  TARN_FUZZ_CHECK(value.guardsIntact() && (index >= combinedCount() || slack == 0),
                  "slack(%d): %d, or an integer query wrote past its int", index, slack);
}

// The library's and the plug-in's properties.
void properties(ByteReader& in) {
  const int k = in.u8() < 224 ? in.index(6) : INT_MAX - in.u8() % 4;
  int count = 0;
  const int status = gfx_bmlGetPropCount(&count);
  const Expected expected = expectedCount(TARN_BML_FIRST_USER_PROPERTY, 2, behaviour.properties,
                                          INT_MAX - TARN_BML_FIRST_USER_PROPERTY);
  TARN_FUZZ_CHECK(status == expected.status && count == expected.count, "properties %d (%d)", count, status);
  Fenced<char> text(TARN_PROPERTY_ID_SIZE), desc(TARN_DESC_SIZE), builtinText(TARN_DESC_SIZE);
  const int id = gfx_bmlGetPropId(k, text.data());
  const int description = gfx_bmlGetPropDesc(k, desc.data());
  TARN_FUZZ_CHECK(guardsIntact(text, desc) && (id != 0 || textWithin(text)) && (description != 0 || textWithin(desc)),
                  "property text of %d written past its buffer", k);
  if (k >= count) {
    TARN_FUZZ_CHECK(id == TARN_BML_STATUS_INDEX_PAST_END && description == id, "property %d: %d %d", k, id, description);
  } else if (k < TARN_BML_FIRST_USER_PROPERTY) {
    TARN_FUZZ_CHECK(id == gfx_tarnGetPropId(k, builtinText.data()) &&
                        description == gfx_tarnGetPropDesc(k, builtinText.data()),
                    "property %d: %d %d", k, id, description);
  } else {
    TARN_FUZZ_CHECK(isOneOf(id, {0, 5}) && description == id, "plug-in property %d: %d %d", k, id, description);
  }
}

void coefficients(ByteReader& in) {
  const int index = combinedIndex(in);
  const int k = in.index(16);
  const double value = in.value(-10.0, 10.0);
  Fenced<char> name(TARN_COEF_NAME_SIZE);
  Fenced<double> current(1);
  double builtinValue = 0.0;
  char builtinName[TARN_COEF_NAME_SIZE];
  const int status = gfx_bmlGetCoef(index, k, name.data(), current.data());
  expectRouted(status, index, gfx_tarnGetCoef(index, k, builtinName, &builtinValue), "get coef");
  TARN_FUZZ_CHECK(guardsIntact(name, current) && (name.isMarker(0) || textWithin(name)),
                  "coef of %d written past its buffer", index);
  if (in.u8() % 2 != 0) return;
  const ParameterSnapshot before;
  const int set = gfx_bmlSetCoefValue(index, k, value);
  if (index >= TARN_BML_FIRST_USER_CORRELATION) {
    expectRouted(set, index, 0, "set coef");
    TARN_FUZZ_CHECK(before.unchanged(), "a plug-in coefficient changed the parameter block");
  }
}

// Evaluation through both router entries; a built-in index must give what
// gfx_tarnGenCalc gives, bit for bit.
void evaluate(ByteReader& in) {
  const int index = in.index(72);
  const std::uint8_t shape = in.u8();
  const int derivFlag = shape % 2;
  const bool complex = (shape / 2) % 2 == 1;
  const int direction = (shape / 4) % 2;
  const int property = in.index(4);
  const double minSpacing = in.value(-1.0, 5.0);
  const int n = arraySize(gfx_bmlGetCorrelationInpPropCount, index);
  const int m = arraySize(gfx_bmlGetCorrelationOutPropCount, index);
  const std::size_t nm = static_cast<std::size_t>(n) * m <= 65536 ? static_cast<std::size_t>(n) * m : 1;
  Fenced<double> inputs(n), outputs(m), derivs(nm), builtinInputs(n), builtinOutputs(m), builtinDerivs(nm);
  for (int j = 0; j < n; ++j) builtinInputs[j] = inputs[j] = in.value(0.0, 400.0);

  const int status =
      complex ? gfx_bmlGenCalcComplex(index, derivFlag, direction, property, inputs.data(), outputs.data(), derivs.data())
              : gfx_bmlGenCalc(index, derivFlag, direction, minSpacing, inputs.data(), outputs.data(), derivs.data());
  TARN_FUZZ_CHECK(guardsIntact(inputs, outputs, derivs), "evaluation of %d wrote outside its arrays", index);
  int builtin = 0;
  if (index < TARN_BML_FIRST_USER_CORRELATION) {
    builtin = complex ? gfx_tarnGenCalcComplex(index, derivFlag, direction, property, builtinInputs.data(),
                                               builtinOutputs.data(), builtinDerivs.data())
                      : gfx_tarnGenCalc(index, derivFlag, direction, builtinInputs.data(), builtinOutputs.data(),
                                        builtinDerivs.data());
    TARN_FUZZ_CHECK(std::memcmp(outputs.data(), builtinOutputs.data(), m * sizeof(double)) == 0 &&
                        std::memcmp(derivs.data(), builtinDerivs.data(), nm * sizeof(double)) == 0,
                    "router evaluation of %d differs from the built-in one", index);
  }
  expectRouted(status, index, builtin, "evaluate");

  // The single-value conversions answer for plug-in correlations only.
  double value = 0.0;
  const double x = inputs[0];
  for (const int s : {gfx_bmlCalcIndexFromProp(index, x, &value), gfx_bmlCalcPropFromIndex(index, x, &value),
                      gfx_bmlCalcPropValue(index, property, n, inputs.data(), &value),
                      gfx_bmlCalcPropDeriv(index, property, n, inputs.data(), derivs.data())}) {
    expectRouted(s, index, 0, "conversion");
  }
  TARN_FUZZ_CHECK(guardsIntact(inputs, derivs), "conversion of %d wrote outside", index);
}

void messages(ByteReader& in, std::FILE* sink) {
  static const int kCodes[] = {0,     -1,    -4,    -8,    -444, -499, -500, -999,          -1100,     -1101,
                               -1104, -1108, -1109, -8888, 5,    7,    499,  -2147483647 - 1, 2147483647};
  constexpr int kCount = sizeof kCodes / sizeof kCodes[0];
  const std::uint8_t selector = in.u8();
  const int code = selector < 2 * kCount ? kCodes[selector % kCount] : in.raw<std::int32_t>();
  Fenced<char> message(TARN_MESSAGE_SIZE), userMessage(TARN_MESSAGE_SIZE);
  gfx_bmlGetErrorMsg(code, message.data());
  const int user = gfx_ubmlGetErrorMsg(code, userMessage.data());
  TARN_FUZZ_CHECK(guardsIntact(message, userMessage) && (message.isMarker(0) || textWithin(message)) &&
                      (userMessage.isMarker(0) || textWithin(userMessage)),
                  "message of %d badly written", code);
  TARN_FUZZ_CHECK(withPlugin() || (user == UBML_STATUS_NOT_BOUND && userMessage.isMarker(0)), "unbound message");

  const int index = in.index(72);
  const int count = static_cast<int>(in.u8() % 16);
  Fenced<double> inputs(count);
  for (int j = 0; j < count; ++j) inputs[j] = in.value(0.0, 400.0);
  gfx_tarnSetDiagnosticStream(in.u8() % 2 == 0 ? sink : nullptr);
  const int status = gfx_bmlErrorHandler(index, code, count, count > 0 ? inputs.data() : nullptr);
  gfx_tarnSetDiagnosticStream(nullptr);
  const bool builtinCode = code >= -499 && code <= -1;
  TARN_FUZZ_CHECK(builtinCode ? status == 0 : withPlugin() || status == TARN_BML_STATUS_BAD_ERROR_CODE,
                  "handler(%d, %d): %d", index, code, status);
}

// Start and stop; a path that names no file, or a folder, is refused after
// the built-in start and leaves the numbering as it was.
void lifecycle(ByteReader& in) {
  const int before = combinedCount();
  const int operation = in.u8() % 4;
  if (operation == 3) {
    TARN_FUZZ_CHECK(gfx_bmlInitializeCoefs() == 0 && gfx_bmlFree() == 0, "coefficients or stop failed");
  } else {
    const char* paths[] = {nullptr, "/nonexistent/QUBML.so", "/"};
    const int status = gfx_bmlInitializeAllocate(nullptr, paths[operation]);
    TARN_FUZZ_CHECK(status == (operation == 0 ? 0 : TARN_BML_STATUS_NO_USER_LIBRARY), "start with %s: %d",
                    paths[operation] ? paths[operation] : "(none)", status);
  }
  TARN_FUZZ_CHECK(combinedCount() == before, "the numbering changed from %d to %d", before, combinedCount());
}

// The bridge: without a plug-in it refuses every call instead of calling
// nowhere; with one, the calls the router does not make itself.
void bridge(ByteReader& in) {
  const int index = in.index(8);
  double inputs[4] = {1, 2, 3, 4}, outputs[4], derivs[16], value = 0.0;
  char text[TARN_DESC_SIZE];
  Fenced<int> integer(1);
  if (withPlugin()) {
    const int started = gfx_ubmlInitializeAllocate();
    TARN_FUZZ_CHECK(started == behaviour.startStatus, "plug-in start: %d", started);
    const int s = gfx_ubmlGetCoefCount(index, integer.data());
    TARN_FUZZ_CHECK(integer.guardsIntact() && (s != 0 || integer[0] >= 0), "coefficient count %d", integer[0]);
    return;
  }
  for (const int s : {gfx_ubmlGetCorrelationCount(integer.data()), gfx_ubmlGetCorrelationId(index, text),
                      gfx_ubmlGetCorrelationType(index, integer.data()), gfx_ubmlGetCoef(index, 0, text, &value),
                      gfx_ubmlGetCoefCount(index, integer.data()), gfx_ubmlInitializeAllocate(),
                      gfx_ubmlCalcPropValue(index, 1, 4, inputs, &value),
                      gfx_ubmlGenCalc(index, 1, 0, 0.5, inputs, outputs, derivs),
                      gfx_ubmlGenCalcComplex(index, 1, 0, 1, inputs, outputs, derivs)}) {
    TARN_FUZZ_CHECK(s == UBML_STATUS_NOT_BOUND && integer.isMarker(0), "unbound bridge: %d", s);
  }
}

// A count as a misbehaving plug-in may give it: proper, near a limit of the
// numbering, negative, or anything.
int anyCount(ByteReader& in) {
  static const int kCounts[] = {0, 1, 2, 3, 4, 5, 46340, 46341, INT_MAX - 57, INT_MAX - 56, INT_MAX - 2, INT_MAX, -1, INT_MIN};
  const std::uint8_t selector = in.u8();
  return selector < 224 ? kCounts[selector % (sizeof kCounts / sizeof kCounts[0])] : in.raw<std::int32_t>();
}

void misbehave(ByteReader& in) {
  if (!withPlugin()) return;
  const std::uint8_t how = in.u8();
  TestPluginBehaviour next{};
  next.calculationStatus = how & 1 ? kCalculationFailure : 0;
  next.garbageResults = (how >> 1) & 1;
  next.texts = (how >> 2) % 3;
  next.countsGiven = (how >> 4) & 1;
  for (int* count : {&next.correlations, &next.properties, &next.inputs, &next.outputs, &next.coefficients,
                     &next.pair}) {
    *count = anyCount(in);
  }
  behaviour = next;  // its start stays proper: a failing start is reload's
  (secondBound ? secondPlugin : mainPlugin).behave(&behaviour);
}

// Loads a plug-in again: the same module, the other one (its start failing
// or not), a broken copy of the file. A refused one leaves the bound module
// bound, answering as before.
void reload(ByteReader& in) {
  if (!withPlugin()) return;
  const std::uint8_t choice = in.u8();
  char before[TARN_ID_SIZE] = "", after[TARN_ID_SIZE] = "";
  const int countBefore = combinedCount();
  gfx_bmlGetCorrelationId(TARN_BML_FIRST_USER_CORRELATION, before);
  if (choice % 4 == 3 && !brokenFiles.empty()) {
    const std::string& file = brokenFiles[in.u8() % brokenFiles.size()];
    TARN_FUZZ_CHECK(gfx_bmlInitializeAllocate(nullptr, file.c_str()) == TARN_BML_STATUS_UBML_INIT_FAILED,
                    "a broken plug-in file %s was not refused", file.c_str());
  } else {
    const bool second = choice % 2 == 1;
    Plugin& plugin = second ? secondPlugin : mainPlugin;
    const bool failing = (choice / 2) % 2 == 1;
    TestPluginBehaviour next{};
    next.startStatus = failing ? 3 : 0;
    plugin.behave(&next);
    const int status = gfx_bmlInitializeAllocate(nullptr, plugin.path.c_str());
    TARN_FUZZ_CHECK(status == (failing ? TARN_BML_STATUS_UBML_INIT_FAILED : 0), "load of %s: %d", plugin.path.c_str(),
                    status);
    if (!failing) {
      secondBound = second;
      behaviour = next;
      return;
    }
    // Restore what the bound module was told (the failing one may be it).
    next.startStatus = 0;
    plugin.behave(&next);
    (secondBound ? secondPlugin : mainPlugin).behave(&behaviour);
  }
  gfx_bmlGetCorrelationId(TARN_BML_FIRST_USER_CORRELATION, after);
  TARN_FUZZ_CHECK(combinedCount() == countBefore && std::strcmp(before, after) == 0,
                  "a failed load changed the bound plug-in from %s to %s", before, after);
}

Plugin openPlugin(const char* variable) {
  const char* path = std::getenv(variable);
  if (path == nullptr || *path == '\0') return {};
  void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  TARN_FUZZ_CHECK(module != nullptr, "cannot open %s", path);
  return {path, reinterpret_cast<TestPluginBehave>(dlsym(module, "testplugin_Behave"))};
}

// Copies of the plug-in file cut at several lengths (down to one byte short),
// in a fresh temporary folder.
void writeBrokenFiles() {
  std::ifstream in(mainPlugin.path, std::ios::binary);
  const std::vector<char> whole{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  char folder[] = "/tmp/tarn-fuzz-XXXXXX";
  if (whole.size() < 4096 || mkdtemp(folder) == nullptr) return;
  for (const std::size_t length : {std::size_t{0}, std::size_t{100}, std::size_t{1000}, std::size_t{3000},
                                   whole.size() / 2, whole.size() - 1}) {
    brokenFiles.push_back(std::string(folder) + "/cut" + std::to_string(length) + ".so");
    std::ofstream(brokenFiles.back(), std::ios::binary).write(whole.data(), static_cast<std::streamsize>(length));
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  mainPlugin = openPlugin("TARN_FUZZ_USER_LIBRARY");
  secondPlugin = openPlugin("TARN_FUZZ_USER_LIBRARY_SECOND");
  TARN_FUZZ_CHECK(!withPlugin() || !secondPlugin.path.empty(), "a plug-in without its second module");
  if (withPlugin()) writeBrokenFiles();
  Session::replayIfAsked();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::FILE* sink = std::fopen("/dev/null", "w");
  if (Session::get().begin(data, size) && withPlugin()) {
    behaviour = TestPluginBehaviour{};
    secondPlugin.behave(nullptr);
    mainPlugin.behave(nullptr);
    TARN_FUZZ_CHECK(gfx_bmlInitializeAllocate(nullptr, mainPlugin.path.c_str()) == 0, "could not load the plug-in");
    secondBound = false;
  }
  ByteReader in(data, size);
  for (int operations = 0; !in.empty() && operations < 24; ++operations) {
    switch (in.u8() % 9) {
      case 0: queries(in); break;
      case 1: properties(in); break;
      case 2: coefficients(in); break;
      case 3: evaluate(in); break;
      case 4: messages(in, sink); break;
      case 5: lifecycle(in); break;
      case 6: bridge(in); break;
      case 7: misbehave(in); break;
      default: reload(in);
    }
  }
  return 0;
}
