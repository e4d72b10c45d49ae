// Fuzzes the router (gfx_bml*) over the combined numbering, and the bridge
// (gfx_ubml*). A built-in index answers exactly as its gfx_tarn* namesake,
// one past the end with a router code; the test plug-in's (its path in
// TARN_FUZZ_USER_LIBRARY) go through the bridge, with fenced buffers of the
// sizes the catalogue reports. Input: operations, each a selector byte
// followed by what it reads.
#include <cmath>
#include <cstring>

#include "fuzz_support.h"
#include "tarn/bml.h"
#include "tarn/ubml.h"

namespace {

using namespace tarn::fuzz;

bool withPlugin = false;

int combinedCount() {
  int count = 0;
  TARN_FUZZ_CHECK(gfx_bmlGetCorrelationCount(&count) == 0, "count failed");
  return count;
}

int arraySize(int (*query)(int, int*), int index) { return std::clamp(countOf(query, index, 4), 1, 32); }

// The combined index is past the end, built in, or a plug-in one; the
// answer follows. A plug-in index may answer the test plug-in's own codes
// (bad index, negative property, bad property number, no pair) and the
// bridge's.
void expectRouted(int status, int index, int builtinStatus, const char* what) {
  if (index >= combinedCount()) {
    TARN_FUZZ_CHECK(status == TARN_BML_STATUS_INDEX_PAST_END, "%s(%d): %d past the end", what, index, status);
  } else if (index < TARN_BML_FIRST_USER_CORRELATION) {
    TARN_FUZZ_CHECK(status == builtinStatus, "%s(%d): %d, built-in %d", what, index, status, builtinStatus);
  } else {
    TARN_FUZZ_CHECK(isOneOf(status, {0, 5, 7, 9, 12, TARN_STATUS_NOT_CALCULABLE, TARN_STATUS_NO_DERIVATIVE_ARRAY}),
                    "%s(%d): %d", what, index, status);
  }
}

// Text and integer queries of a correlation.
void queries(ByteReader& in) {
  const int index = in.index(72);
  const int k = in.index(28);
  Fenced<char> text(TARN_DESC_SIZE), builtinText(TARN_DESC_SIZE), desc(TARN_DESC_SIZE),
      property(TARN_PROPERTY_ID_SIZE);
  const int status = gfx_bmlGetCorrelationId(index, text.data());
  expectRouted(status, index, gfx_tarnGetCorrelationId(index, builtinText.data()), "id");
  TARN_FUZZ_CHECK(status != 0 || index >= TARN_BML_FIRST_USER_CORRELATION ||
                      std::strcmp(text.data(), builtinText.data()) == 0,
                  "id(%d) differs", index);
  for (std::size_t i = 0; status == 0 && text[i] != '\0'; ++i) {
    TARN_FUZZ_CHECK(!(text[i] >= 'a' && text[i] <= 'z'), "id(%d) not upper case", index);
  }
  expectRouted(gfx_bmlGetCorrelationDesc(index, desc.data()), index,
               gfx_tarnGetCorrelationDesc(index, builtinText.data()), "desc");
  expectRouted(gfx_bmlGetCorrelationInpPropId(index, k, property.data()), index,
               gfx_tarnGetCorrelationInpPropId(index, k, builtinText.data()), "input id");
  expectRouted(gfx_bmlGetCorrelationOutPropId(index, k, property.data()), index,
               gfx_tarnGetCorrelationOutPropId(index, k, builtinText.data()), "output id");
  TARN_FUZZ_CHECK(text.guardsIntact() && desc.guardsIntact() && property.guardsIntact(),
                  "text of %d wrote past its buffer", index);

  Fenced<int> value(1);
  int builtin = 0;
  expectRouted(gfx_bmlGetCorrelationType(index, value.data()), index, gfx_tarnGetCorrelationType(index, &builtin),
               "type");
  expectRouted(gfx_bmlGetIndexPair(index, value.data()), index, gfx_tarnGetIndexPair(index, &builtin), "pair");
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
  const int k = in.index(6);
  int count = 0;
  TARN_FUZZ_CHECK(gfx_bmlGetPropCount(&count) == 0 && count == (withPlugin ? 4 : 2), "properties %d", count);
  Fenced<char> text(TARN_DESC_SIZE), builtinText(TARN_DESC_SIZE);
  const int id = gfx_bmlGetPropId(k, text.data());
  const int desc = gfx_bmlGetPropDesc(k, text.data());
  TARN_FUZZ_CHECK(text.guardsIntact(), "property text of %d wrote past its buffer", k);
  if (k >= count) {
    TARN_FUZZ_CHECK(id == TARN_BML_STATUS_INDEX_PAST_END && desc == id, "property %d: %d %d", k, id, desc);
  } else if (k < TARN_BML_FIRST_USER_PROPERTY) {
    TARN_FUZZ_CHECK(id == gfx_tarnGetPropId(k, builtinText.data()) && desc == gfx_tarnGetPropDesc(k, builtinText.data()),
                    "property %d: %d %d", k, id, desc);
  } else {
    TARN_FUZZ_CHECK(id == 0 && desc == 0, "plug-in property %d: %d %d", k, id, desc);
  }
}

void coefficients(ByteReader& in) {
  const int index = in.index(72);
  const int k = in.index(16);
  const double value = in.value(-10.0, 10.0);
  Fenced<char> name(TARN_COEF_NAME_SIZE);
  Fenced<double> current(1);
  double builtinValue = 0.0;
  char builtinName[TARN_COEF_NAME_SIZE];
  expectRouted(gfx_bmlGetCoef(index, k, name.data(), current.data()), index,
               gfx_tarnGetCoef(index, k, builtinName, &builtinValue), "get coef");
  TARN_FUZZ_CHECK(name.guardsIntact() && current.guardsIntact(), "coef of %d wrote past its buffer", index);
  if (in.u8() % 2 != 0) return;
  const ParameterSnapshot before;
  const int status = gfx_bmlSetCoefValue(index, k, value);
  if (index >= TARN_BML_FIRST_USER_CORRELATION) {
    expectRouted(status, index, 0, "set coef");
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
  Fenced<double> inputs(n), outputs(m), derivs(static_cast<std::size_t>(n) * m);
  Fenced<double> builtinInputs(n), builtinOutputs(m), builtinDerivs(static_cast<std::size_t>(n) * m);
  for (int j = 0; j < n; ++j) builtinInputs[j] = inputs[j] = in.value(0.0, 400.0);

  const int status =
      complex ? gfx_bmlGenCalcComplex(index, derivFlag, direction, property, inputs.data(), outputs.data(), derivs.data())
              : gfx_bmlGenCalc(index, derivFlag, direction, minSpacing, inputs.data(), outputs.data(), derivs.data());
  TARN_FUZZ_CHECK(inputs.guardsIntact() && outputs.guardsIntact() && derivs.guardsIntact(),
                  "evaluation of %d wrote outside its arrays", index);
  int builtin = 0;
  if (index < TARN_BML_FIRST_USER_CORRELATION) {
    builtin = complex ? gfx_tarnGenCalcComplex(index, derivFlag, direction, property, builtinInputs.data(),
                                               builtinOutputs.data(), builtinDerivs.data())
                      : gfx_tarnGenCalc(index, derivFlag, direction, builtinInputs.data(), builtinOutputs.data(),
                                        builtinDerivs.data());
    TARN_FUZZ_CHECK(std::memcmp(outputs.data(), builtinOutputs.data(), m * sizeof(double)) == 0 &&
                        std::memcmp(derivs.data(), builtinDerivs.data(), n * m * sizeof(double)) == 0,
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
  TARN_FUZZ_CHECK(inputs.guardsIntact() && derivs.guardsIntact(), "conversion of %d wrote outside", index);
}

void messages(ByteReader& in, std::FILE* sink) {
  static const int kCodes[] = {0,     -1,    -4,    -8,    -444, -499, -500, -999,          -1100,     -1101,
                               -1104, -1108, -1109, -8888, 5,    7,    499,  -2147483647 - 1, 2147483647};
  constexpr int kCount = sizeof kCodes / sizeof kCodes[0];
  const std::uint8_t selector = in.u8();
  const int code = selector < 2 * kCount ? kCodes[selector % kCount] : in.raw<std::int32_t>();
  Fenced<char> message(TARN_MESSAGE_SIZE);
  gfx_bmlGetErrorMsg(code, message.data());
  TARN_FUZZ_CHECK(message.guardsIntact() && (message.isMarker(0) || strnlen(message.data(), message.size()) <
                                                                        message.size()),
                  "message of %d badly written", code);

  const int index = in.index(72);
  const int count = static_cast<int>(in.u8() % 16);
  Fenced<double> inputs(count);
  for (int j = 0; j < count; ++j) inputs[j] = in.value(0.0, 400.0);
  gfx_tarnSetDiagnosticStream(in.u8() % 2 == 0 ? sink : nullptr);
  const int status = gfx_bmlErrorHandler(index, code, count, count > 0 ? inputs.data() : nullptr);
  gfx_tarnSetDiagnosticStream(nullptr);
  const bool builtinCode = code >= -499 && code <= -1;
  TARN_FUZZ_CHECK(builtinCode ? status == 0 : withPlugin || status == TARN_BML_STATUS_BAD_ERROR_CODE,
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

// Without a plug-in the bridge refuses every call instead of calling nowhere.
void unboundBridge(ByteReader& in) {
  const int index = in.index(8);
  double inputs[4] = {1, 2, 3, 4}, outputs[4], derivs[16], value = 0.0;
  char text[TARN_DESC_SIZE];
  int integer = 0;
  for (const int s : {gfx_ubmlGetCorrelationCount(&integer), gfx_ubmlGetCorrelationId(index, text),
                      gfx_ubmlGetCorrelationType(index, &integer), gfx_ubmlGetCoef(index, 0, text, &value),
                      gfx_ubmlCalcPropValue(index, 1, 4, inputs, &value),
                      gfx_ubmlGenCalc(index, 1, 0, 0.5, inputs, outputs, derivs),
                      gfx_ubmlGenCalcComplex(index, 1, 0, 1, inputs, outputs, derivs)}) {
    TARN_FUZZ_CHECK(s == TARN_BML_STATUS_UBML_INIT_FAILED, "unbound bridge: %d", s);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const char* path = std::getenv("TARN_FUZZ_USER_LIBRARY");
  withPlugin = path != nullptr && *path != '\0';
  TARN_FUZZ_CHECK(gfx_bmlInitializeAllocate(nullptr, withPlugin ? path : nullptr) == 0,
                  "could not start with the plug-in %s", withPlugin ? path : "(none)");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::FILE* sink = std::fopen("/dev/null", "w");
  startFresh();
  ByteReader in(data, size);
  for (int operations = 0; !in.empty() && operations < 24; ++operations) {
    switch (in.u8() % 7) {
      case 0: queries(in); break;
      case 1: properties(in); break;
      case 2: coefficients(in); break;
      case 3: evaluate(in); break;
      case 4: messages(in, sink); break;
      case 5: lifecycle(in); break;
      default:
        if (!withPlugin) unboundBridge(in);
    }
  }
  return 0;
}
