// Fuzzes the router (gfx_bml*) and bridge (gfx_ubml*) bare or with the test
// plug-in (TARN_FUZZ_USER_LIBRARY[_SECOND]) misbehaving and reloaded: a
// built-in index answers as its gfx_tarn* namesake, a behaving plug-in one as
// its gfx_ubml* namesake, and a failed load keeps the bound plug-in.
#include <dlfcn.h>

#include <cctype>
#include <climits>

#define TARN_FUZZ_OWN_INITIALIZE  // opens the plug-ins first
#include "fuzz_support.h"
#include "plugin/test_plugin.h"
#include "tarn/bml.h"
#include "tarn/ubml.h"

namespace {

using namespace tarn::fuzz;

// The plug-in's two modules, held open to set their behaviour; empty without.
struct Plugin {
  std::string path;
  TestPluginBehave behave = nullptr;
} plugins[2];
std::vector<std::string> brokenFiles;  // truncated copies of the plug-in
int bound = 0;                         // which module the router has bound
TestPluginBehaviour behaviour;         // what the bound module was told
constexpr int kCalculationFailure = 42;

bool withPlugin() { return !plugins[0].path.empty(); }

// The router's correlation or property count and status for the behaviour.
std::pair<int, int> expectedCount(int builtIn, int real, long long given) {
  if (!withPlugin()) return {builtIn, 0};
  if (!behaviour.countsGiven) return {builtIn + real, 0};
  if (given < 0 || given > INT_MAX - builtIn) return {builtIn, TARN_BML_STATUS_UBML_INIT_FAILED};
  return {builtIn + static_cast<int>(given), 0};
}

int combinedCount() {
  int count = 0;
  const int status = gfx_bmlGetCorrelationCount(&count);
  const auto expected = expectedCount(TARN_BML_FIRST_USER_CORRELATION, 5, behaviour.correlations);
  TARN_FUZZ_CHECK(std::make_pair(count, status) == expected, "count %d (%d), not %d (%d)", count, status,
                  expected.first, expected.second);
  return count;
}

// Past the end, built in, or the plug-in's codes (or the bridge's).
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

// A query through the router, its gfx_tarn* and gfx_ubml* namesakes; size 0: an int.
enum Answer { kText, kId, kCount, kPair, kOther };
struct Query {
  const char* name;
  int (*routed)(int index, int k, void* out);
  int (*builtIn)(int index, int k, void* out);
  int (*plugin)(int index, int k, void* out);
  std::size_t size;
  Answer answer;
};
double coefficientValue;
#define TARN_QUERY_CALL(call) [](int i, int k, void* o) { return (void)k, (void)i, call; }
#define TARN_ROUTED(name, call, bridged, size, answer) \
  { name, TARN_QUERY_CALL(gfx_bml##call), TARN_QUERY_CALL(gfx_tarn##call), bridged, size, answer }
#define TARN_QUERY(name, call, size, answer) TARN_ROUTED(name, call, TARN_QUERY_CALL(gfx_ubml##call), size, answer)
#define TEXT static_cast<char*>(o)
#define NUMBER static_cast<int*>(o)
const Query kQueries[] = {
    TARN_QUERY("id", GetCorrelationId(i, TEXT), TARN_ID_SIZE, kId),
    TARN_QUERY("desc", GetCorrelationDesc(i, TEXT), TARN_DESC_SIZE, kText),
    TARN_QUERY("input id", GetCorrelationInpPropId(i, k, TEXT), TARN_PROPERTY_ID_SIZE, kText),
    TARN_QUERY("output id", GetCorrelationOutPropId(i, k, TEXT), TARN_PROPERTY_ID_SIZE, kText),
    TARN_QUERY("coefficient", GetCoef(i, k, TEXT, &coefficientValue), TARN_COEF_NAME_SIZE, kText),
    TARN_QUERY("type", GetCorrelationType(i, NUMBER), 0, kOther),
    TARN_QUERY("inputs", GetCorrelationInpPropCount(i, NUMBER), 0, kCount),
    TARN_QUERY("outputs", GetCorrelationOutPropCount(i, NUMBER), 0, kCount),
    TARN_QUERY("coefficients", GetCoefCount(i, NUMBER), 0, kCount),
    TARN_QUERY("pair", GetIndexPair(i, NUMBER), 0, kPair),
    TARN_ROUTED("slack", GetCorrelationSlackCount(i, NUMBER), nullptr, 0, kCount),
    TARN_ROUTED("kind", GetCorrelationOutPropType(i, k, NUMBER), nullptr, 0, kOther),
};
#undef TARN_QUERY
#undef TARN_ROUTED
#undef TARN_QUERY_CALL
#undef TEXT
#undef NUMBER

// An index near the built-in ones and the plug-in's, or near INT_MAX.
int combinedIndex(ByteReader& in) {
  const std::uint8_t near = in.u8();
  return near < 224 ? in.index(72) : INT_MAX - near % 8;
}

// A behaving plug-in's answers come upper-cased and with the pair combined.
void queries(ByteReader& in) {
  const Query& q = kQueries[in.u8() % (sizeof kQueries / sizeof kQueries[0])];
  const int index = combinedIndex(in), k = in.index(28);
  const std::size_t bytes = q.size > 0 ? q.size : sizeof(int);
  Fenced<char> out(bytes), builtIn(bytes), own(512);
  const int status = q.routed(index, k, out.data());
  const bool plugin = index >= TARN_BML_FIRST_USER_CORRELATION && index < combinedCount();
  if (plugin && q.answer == kOther && q.plugin == nullptr) {
    TARN_FUZZ_CHECK(status == TARN_BML_USER_KIND && out.untouched(), "kind(%d): %d", index, status);
    return;
  }
  expectRouted(status, index, q.builtIn(index, k, builtIn.data()), q.name);
  int value = 0;
  if (q.size == 0) std::memcpy(&value, out.data(), sizeof value);
  TARN_FUZZ_CHECK(
      out.guardsIntact() && (status != 0 || (q.size > 0           ? textWithin(out)
                                             : q.answer == kCount ? value >= 0
                                                                  : q.answer != kPair || value < combinedCount())),
      "%s(%d, %d): %d", q.name, index, k, value);
  if (!plugin) {
    TARN_FUZZ_CHECK(status != 0 || builtIn.untouched() || std::memcmp(out.data(), builtIn.data(), bytes) == 0,
                    "%s(%d) differs from the built-in one", q.name, index);
  } else if (status == 0 && q.plugin != nullptr && behaviour.texts == 0 && !behaviour.countsGiven) {
    TARN_FUZZ_CHECK(q.plugin(index - TARN_BML_FIRST_USER_CORRELATION, k, own.data()) == 0, "%s(%d)", q.name, index);
    int ownValue = 0;
    std::memcpy(&ownValue, own.data(), sizeof ownValue);
    for (char* c = own.data(); q.answer == kId && *c != '\0'; ++c) *c = static_cast<char>(std::toupper(*c));
    TARN_FUZZ_CHECK(q.size > 0 ? std::strcmp(out.data(), own.data()) == 0
                               : value == (q.answer == kPair && ownValue >= 0 ? ownValue + 57 : ownValue),
                    "%s(%d) is not the plug-in's own", q.name, index);
  }
}

// The library's and the plug-in's properties.
void properties(ByteReader& in) {
  const int k = in.u8() < 224 ? in.index(6) : INT_MAX - in.u8() % 4;
  int count = 0;
  const int status = gfx_bmlGetPropCount(&count);
  TARN_FUZZ_CHECK(std::make_pair(count, status) == expectedCount(TARN_BML_FIRST_USER_PROPERTY, 2, behaviour.properties),
                  "properties %d (%d)", count, status);
  Fenced<char> text(TARN_PROPERTY_ID_SIZE), desc(TARN_DESC_SIZE), builtinText(TARN_DESC_SIZE);
  const int id = gfx_bmlGetPropId(k, text.data()), description = gfx_bmlGetPropDesc(k, desc.data());
  TARN_FUZZ_CHECK((id != 0 || textWithin(text)) && (description != 0 || textWithin(desc)), "property %d text", k);
  TARN_FUZZ_CHECK(k >= count                         ? id == TARN_BML_STATUS_INDEX_PAST_END && description == id
                  : k < TARN_BML_FIRST_USER_PROPERTY ? id == gfx_tarnGetPropId(k, builtinText.data()) &&
                                                           description == gfx_tarnGetPropDesc(k, builtinText.data())
                                                     : isOneOf(id, {0, 5}) && description == id,
                  "property %d of %d: %d, %d", k, count, id, description);
}

void setCoefficient(ByteReader& in) {
  const int index = combinedIndex(in), k = in.index(16);
  const ParameterSnapshot before;
  const int set = gfx_bmlSetCoefValue(index, k, in.value(-10.0, 10.0));
  if (index >= TARN_BML_FIRST_USER_CORRELATION) {
    expectRouted(set, index, 0, "set coef");
    TARN_FUZZ_CHECK(before.unchanged(), "a plug-in coefficient changed the parameter block");
  }
}

// A built-in index evaluates bit for bit as through gfx_tarnGenCalc.
void evaluate(ByteReader& in) {
  const int index = in.index(72);
  const std::uint8_t shape = in.u8();
  const int flag = shape % 2, direction = (shape / 4) % 2, property = in.index(4);
  const bool complex = (shape / 2) % 2 == 1;
  const double minSpacing = in.value(-1.0, 5.0);
  // One element for a refused count or beyond 2^16 derivatives (refused).
  const int n = std::max(countOf(gfx_bmlGetCorrelationInpPropCount, index, 1), 1);
  const int m = std::max(countOf(gfx_bmlGetCorrelationOutPropCount, index, 1), 1);
  const std::size_t nm = static_cast<std::size_t>(n) * m <= 65536 ? static_cast<std::size_t>(n) * m : 1;
  Array x(n), y(m), d(nm), builtinX(n), builtinY(m), builtinD(nm);
  for (int j = 0; j < n; ++j) builtinX[j] = x[j] = in.value(0.0, 400.0);
  const int status = complex ? gfx_bmlGenCalcComplex(index, flag, direction, property, x.data(), y.data(), d.data())
                             : gfx_bmlGenCalc(index, flag, direction, minSpacing, x.data(), y.data(), d.data());
  int builtin = 0;
  if (index < TARN_BML_FIRST_USER_CORRELATION) {
    builtin = complex ? gfx_tarnGenCalcComplex(index, flag, direction, property, builtinX.data(), builtinY.data(),
                                               builtinD.data())
                      : gfx_tarnGenCalc(index, flag, direction, builtinX.data(), builtinY.data(), builtinD.data());
    TARN_FUZZ_CHECK(std::memcmp(y.data(), builtinY.data(), m * sizeof(double)) == 0 &&
                        std::memcmp(d.data(), builtinD.data(), nm * sizeof(double)) == 0,
                    "router evaluation of %d differs from the built-in one", index);
  }
  expectRouted(status, index, builtin, "evaluate");
  double value = 0.0;
  for (const int s : {gfx_bmlCalcIndexFromProp(index, x[0], &value), gfx_bmlCalcPropFromIndex(index, x[0], &value),
                      gfx_bmlCalcPropValue(index, property, n, x.data(), &value),
                      gfx_bmlCalcPropDeriv(index, property, n, x.data(), d.data())}) {
    expectRouted(s, index, 0, "conversion");
  }
  TARN_FUZZ_CHECK(guardsIntact(x, y, d), "evaluation of %d wrote outside its arrays", index);
}

// The handler takes a built-in code, leaves another to the plug-in.
void messages(ByteReader& in, std::FILE* sink) {
  static const int kCodes[] = {0, -1, -4, -444, -499, -500, -999, -1101, -1104, -1109, -8888, 5, 7, 499, INT_MIN};
  const std::uint8_t selector = in.u8();
  const int code = selector < 128 ? kCodes[selector % (sizeof kCodes / sizeof kCodes[0])] : in.raw<std::int32_t>();
  Fenced<char> message(TARN_MESSAGE_SIZE), userMessage(TARN_MESSAGE_SIZE);
  gfx_bmlGetErrorMsg(code, message.data());
  const int user = gfx_ubmlGetErrorMsg(code, userMessage.data());
  TARN_FUZZ_CHECK((message.isMarker(0) || textWithin(message)) && (userMessage.isMarker(0) || textWithin(userMessage)),
                  "message of %d badly written", code);
  TARN_FUZZ_CHECK(withPlugin() || (user == UBML_STATUS_NOT_BOUND && userMessage.untouched()), "unbound message");
  const int count = static_cast<int>(in.u8() % 16);
  Array inputs(count);
  in.values(inputs.data(), count, 0.0, 400.0);
  gfx_tarnSetDiagnosticStream(in.u8() % 2 == 0 ? sink : nullptr);
  const int status = gfx_bmlErrorHandler(in.index(72), code, count, count > 0 ? inputs.data() : nullptr);
  gfx_tarnSetDiagnosticStream(nullptr);
  TARN_FUZZ_CHECK(code >= -499 && code <= -1 ? status == 0 : withPlugin() || status == TARN_BML_STATUS_BAD_ERROR_CODE,
                  "handler(%d): %d", code, status);
}

// Start without a path, coefficients and stop keep the numbering.
void lifecycle(ByteReader& in) {
  const int before = combinedCount();
  TARN_FUZZ_CHECK(
      (in.u8() % 2 ? gfx_bmlInitializeAllocate(nullptr, nullptr) : gfx_bmlInitializeCoefs() + gfx_bmlFree()) == 0 &&
          combinedCount() == before,
      "start, coefficients or stop failed, or the numbering changed from %d", before);
  TARN_FUZZ_CHECK(gfx_ubmlInitializeAllocate() == (withPlugin() ? behaviour.startStatus : UBML_STATUS_NOT_BOUND),
                  "the bridge's start");
}

// Failing or garbage calculations, bad texts, any counts.
void misbehave(ByteReader& in) {
  if (!withPlugin()) return;
  static const int kCounts[] = {0,           1,       2,  3,      4, 5, 46340, 46341, INT_MAX - 57, INT_MAX - 56,
                                INT_MAX - 2, INT_MAX, -1, INT_MIN};
  const std::uint8_t how = in.u8();
  behaviour = TestPluginBehaviour{};
  behaviour.calculationStatus = how & 1 ? kCalculationFailure : 0;
  behaviour.garbageResults = (how >> 1) & 1;
  behaviour.countsGiven = (how >> 4) & 1;
  behaviour.texts = (how >> 2) % 3;
  for (int* count : {&behaviour.correlations, &behaviour.properties, &behaviour.inputs, &behaviour.outputs,
                     &behaviour.coefficients, &behaviour.pair}) {
    const std::uint8_t selector = in.u8();
    *count = selector < 224 ? kCounts[selector % (sizeof kCounts / sizeof kCounts[0])] : in.raw<std::int32_t>();
  }
  plugins[bound].behave(&behaviour);
}

// Either module, failing to start or not, or a truncated copy.
void reload(ByteReader& in) {
  if (!withPlugin()) return;
  const std::uint8_t choice = in.u8();
  char before[TARN_ID_SIZE] = "", after[TARN_ID_SIZE] = "";
  const int countBefore = combinedCount();
  gfx_bmlGetCorrelationId(TARN_BML_FIRST_USER_CORRELATION, before);
  if (choice % 4 == 3) {
    const std::string& file = brokenFiles[in.u8() % brokenFiles.size()];
    TARN_FUZZ_CHECK(gfx_bmlInitializeAllocate(nullptr, file.c_str()) == TARN_BML_STATUS_UBML_INIT_FAILED,
                    "a broken plug-in file %s was not refused", file.c_str());
  } else {
    const int which = choice % 2;
    const bool failing = (choice / 2) % 2 == 1;
    TestPluginBehaviour next{};
    next.startStatus = failing ? 3 : 0;
    plugins[which].behave(&next);
    const int status = gfx_bmlInitializeAllocate(nullptr, plugins[which].path.c_str());
    TARN_FUZZ_CHECK(status == (failing ? TARN_BML_STATUS_UBML_INIT_FAILED : 0), "load %d: %d", which, status);
    if (!failing) {
      bound = which;
      behaviour = next;
      return;
    }
    plugins[which].behave(nullptr);  // then what the bound module was told (the failing one may be it)
    plugins[bound].behave(&behaviour);
  }
  gfx_bmlGetCorrelationId(TARN_BML_FIRST_USER_CORRELATION, after);
  TARN_FUZZ_CHECK(combinedCount() == countBefore && std::strcmp(before, after) == 0,
                  "a failed load changed the bound plug-in from %s to %s", before, after);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  for (int k = 0; k < 2; ++k) {
    const char* path = std::getenv(k == 0 ? "TARN_FUZZ_USER_LIBRARY" : "TARN_FUZZ_USER_LIBRARY_SECOND");
    if (path == nullptr || *path == '\0') continue;
    void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    TARN_FUZZ_CHECK(module != nullptr, "cannot open %s", path);
    plugins[k] = {path, reinterpret_cast<TestPluginBehave>(dlsym(module, "testplugin_Behave"))};
  }
  TARN_FUZZ_CHECK(plugins[0].path.empty() == plugins[1].path.empty(), "a plug-in without its second module");
  // Copies of the plug-in file cut at several lengths, down to one byte short.
  std::ifstream file(plugins[0].path, std::ios::binary);
  const std::vector<char> whole{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  char folder[] = "/tmp/tarn-fuzz-XXXXXX";
  if (withPlugin() && mkdtemp(folder) != nullptr) {
    for (const std::size_t length :
         {std::size_t{0}, std::size_t{100}, std::size_t{1000}, std::size_t{3000}, whole.size() / 2, whole.size() - 1}) {
      brokenFiles.push_back(std::string(folder) + "/cut" + std::to_string(length) + ".so");
      std::ofstream(brokenFiles.back(), std::ios::binary).write(whole.data(), static_cast<std::streamsize>(length));
    }
  }
  TARN_FUZZ_CHECK(!withPlugin() || !brokenFiles.empty(), "no copies of the plug-in file");
  Session::replayIfAsked();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::FILE* sink = std::fopen("/dev/null", "w");
  return runOperations(
      data, size, 24,
      [](ByteReader& in, std::uint8_t selector) {
        switch (selector % 9) {
          case 0:
          case 1:
            queries(in);
            break;
          case 2:
            properties(in);
            break;
          case 3:
            setCoefficient(in);
            break;
          case 4:
            evaluate(in);
            break;
          case 5:
            messages(in, sink);
            break;
          case 6:
            lifecycle(in);
            break;
          case 7:
            misbehave(in);
            break;
          default:
            reload(in);
        }
      },
      [] {
        if (!withPlugin()) return;
        behaviour = TestPluginBehaviour{};
        plugins[1].behave(nullptr);
        plugins[0].behave(nullptr);
        TARN_FUZZ_CHECK(gfx_bmlInitializeAllocate(nullptr, plugins[0].path.c_str()) == 0, "could not load the plug-in");
        bound = 0;
      });
}
