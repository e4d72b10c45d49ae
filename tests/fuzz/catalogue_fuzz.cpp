// Fuzzes the catalogue queries, coefficient access, messages and the error
// handler with any index, position, code and value, into buffers of the
// documented sizes fenced by guard bytes. Failed calls leave them untouched;
// only a coefficient set may change the parameter block, whose state carries
// over from input to input. Input: operations, each a selector byte followed
// by what it reads.
#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <memory>
#include <set>
#include <string>

#include "fuzz_support.h"

namespace {

using namespace tarn::fuzz;

bool validIndex(int index) { return index >= 0 && index < TARN_CORRELATION_COUNT; }

// A text query answered `expected`; on success its text lies within the
// buffer, on failure the buffer is untouched.
void checkText(const char* what, int index, int status, int expected, Fenced<char>& text) {
  TARN_FUZZ_CHECK(status == expected, "%s(%d): %d, expected %d", what, index, status, expected);
  TARN_FUZZ_CHECK(status == 0 ? textWithin(text) && text[0] != '\0'
                              : text.arrayUntouched(0, text.size()) && text.guardsIntact(),
                  "%s(%d) badly written", what, index);
}

// Identifier, description, input and output property ids.
void textQueries(ByteReader& in) {
  const int index = in.index(TARN_CORRELATION_COUNT);
  const int k = in.index(30);
  const bool known = validIndex(index);
  Fenced<char> id(TARN_ID_SIZE), desc(TARN_DESC_SIZE);
  checkText("id", index, gfx_tarnGetCorrelationId(index, id.data()), known ? 0 : TARN_STATUS_BAD_CORRELATION, id);
  checkText("desc", index, gfx_tarnGetCorrelationDesc(index, desc.data()), known ? 0 : TARN_STATUS_BAD_CORRELATION,
            desc);
  Fenced<char> source(TARN_SOURCE_SIZE);
  const int sourceStatus = gfx_tarnGetCorrelationSource(index, source.data());
  TARN_FUZZ_CHECK(known ? sourceStatus == 0 && terminatedWithin(source)
                        : sourceStatus == TARN_STATUS_BAD_CORRELATION && source.arrayUntouched(0, source.size()) &&
                              source.guardsIntact(),
                  "source(%d): %d", index, sourceStatus);
  if (known) {
    for (const char* c = id.data(); *c != '\0'; ++c) {
      TARN_FUZZ_CHECK((*c >= 'A' && *c <= 'Z') || (*c >= '0' && *c <= '9') || *c == '_', "id(%d) not upper", index);
    }
    TARN_FUZZ_CHECK(std::string(desc.data()) == "TARN_" + std::string(id.data()), "desc(%d) is not TARN_ + id", index);
  }
  const struct {
    int (*count)(int, int*);
    int (*text)(int, int, char*);
    int badPosition;
  } queries[] = {
      {gfx_tarnGetCorrelationInpPropCount, gfx_tarnGetCorrelationInpPropId, TARN_STATUS_BAD_INPUT},
      {gfx_tarnGetCorrelationOutPropCount, gfx_tarnGetCorrelationOutPropId, TARN_STATUS_BAD_OUTPUT}};
  for (const auto& q : queries) {
    const int count = countOf(q.count, index, -1);
    TARN_FUZZ_CHECK(known ? (count >= 1 && count <= 25) : count == -1, "count(%d) = %d", index, count);
    Fenced<char> name(TARN_PROPERTY_ID_SIZE);
    const int expected = !known ? TARN_STATUS_BAD_CORRELATION : (k < 0 || k >= count) ? q.badPosition : 0;
    checkText("property id", index, q.text(index, k, name.data()), expected, name);
  }
}

// Type, kind codes, slack count, index pair.
void integerQueries(ByteReader& in) {
  static const std::set<int> kKinds = {1, 2, 3, 4, 5, 7, 8, 9, 10, 11, 12, 15, 16, 17, 18, 19, 20};
  const int index = in.index(TARN_CORRELATION_COUNT);
  const int k = in.index(30);
  const bool known = validIndex(index);
  Fenced<int> type(1), kind(1), slack(1), pair(1);

  int status = gfx_tarnGetCorrelationType(index, type.data());
  TARN_FUZZ_CHECK(known ? status == 0 && type[0] >= TARN_TYPE_GENERAL && type[0] <= TARN_TYPE_PROPERTY_TO_INDEX
                        : status == TARN_STATUS_BAD_TYPE_QUERY && type[0] == TARN_TYPE_UNKNOWN,
                  "type(%d): %d, %d", index, status, type[0]);
  status = gfx_tarnGetCorrelationOutPropType(index, k, kind.data());
  TARN_FUZZ_CHECK(isOneOf(status, {0, TARN_STATUS_BAD_CORRELATION, TARN_STATUS_BAD_OUTPUT}) &&
                      (kind.isMarker(0) || (status == 0 && kKinds.count(kind[0]) == 1)),
                  "kind(%d, %d) wrote %d with status %d", index, k, kind[0], status);
  const int inputs = countOf(gfx_tarnGetCorrelationInpPropCount, index, -1);
  status = gfx_tarnGetCorrelationSlackCount(index, slack.data());
  TARN_FUZZ_CHECK(status == 0 && (slack.isMarker(0) || (slack[0] > 0 && slack[0] < inputs)),
                  "slack(%d): %d wrote %d", index, status, slack[0]);
  status = gfx_tarnGetIndexPair(index, pair.data());
  int pairType = 0;
  TARN_FUZZ_CHECK(status == 0 ? validIndex(pair[0]) && gfx_tarnGetCorrelationType(pair[0], &pairType) == 0 &&
                                    pairType == TARN_TYPE_INDEX_TO_PROPERTY
                              : status == TARN_STATUS_NO_PAIR && pair.isMarker(0),
                  "pair(%d): %d, %d", index, status, pair[0]);
  TARN_FUZZ_CHECK(type.guardsIntact() && kind.guardsIntact() && slack.guardsIntact() && pair.guardsIntact(),
                  "an integer query of %d wrote past its int", index);
}

// The library's own two properties.
void propertyQueries(ByteReader& in) {
  const int k = in.index(2);
  const bool known = k == 0 || k == 1;
  Fenced<char> id(TARN_PROPERTY_ID_SIZE), desc(TARN_DESC_SIZE);
  checkText("property id", k, gfx_tarnGetPropId(k, id.data()), known ? 0 : TARN_STATUS_BAD_PROPERTY_ID, id);
  checkText("property desc", k, gfx_tarnGetPropDesc(k, desc.data()), known ? 0 : TARN_STATUS_BAD_PROPERTY_DESC, desc);
  int count = 0, correlations = 0;
  TARN_FUZZ_CHECK(gfx_tarnGetPropCount(&count) == 0 && count == 2, "property count %d", count);
  TARN_FUZZ_CHECK(gfx_tarnGetCorrelationCount(&correlations) == 0 && correlations == TARN_CORRELATION_COUNT,
                  "correlation count %d", correlations);
  const char* version = tarn_GetVersion();
  TARN_FUZZ_CHECK(version != nullptr && std::count(version, version + std::strlen(version), '.') == 2 &&
                      std::all_of(version, version + std::strlen(version), [](char c) { return c == '.' || std::isdigit(c); }),
                  "version %s", version ? version : "(null)");
}

// Coefficient reads and writes. Reads never change the block; a failed or
// read-only write does not either.
void coefficients(ByteReader& in) {
  const int index = in.index(TARN_CORRELATION_COUNT);
  const int k = in.index(44);
  const double value = in.value(-100.0, 1000.0);
  const bool write = in.u8() % 2 == 0;
  const bool known = validIndex(index);
  const int count = countOf(gfx_tarnGetCoefCount, index, -1);
  TARN_FUZZ_CHECK(known ? (count >= 0 && count <= 42) : count == -1, "coef count(%d) = %d", index, count);
  const int expected = !known ? TARN_STATUS_BAD_CORRELATION : (k < 0 || k >= count) ? TARN_STATUS_BAD_COEFFICIENT : 0;

  const ParameterSnapshot before;
  Fenced<char> name(TARN_COEF_NAME_SIZE);
  Fenced<double> current(1);
  checkText("get coef", index, gfx_tarnGetCoef(index, k, name.data(), current.data()), expected, name);
  TARN_FUZZ_CHECK(before.unchanged() && current.guardsIntact() && current.isMarker(0) == (expected != 0),
                  "get coef(%d, %d) wrote the block (byte %ld) or its value badly", index, k, before.firstDifference());
  if (!write) return;

  const int status = gfx_tarnSetCoefValue(index, k, value);
  TARN_FUZZ_CHECK(status == expected, "set coef(%d, %d): %d, expected %d", index, k, status, expected);
  if (status != 0 || index == 52) {  // VAPORLOCKINDEX's constants are read-only
    TARN_FUZZ_CHECK(before.unchanged(), "set coef(%d, %d) changed byte %ld", index, k, before.firstDifference());
    return;
  }
  // The read-back is the value, a truncation or rounding of it (a point
  // count is truncated, then rounded: -3.2 reads -2), or the count 1 stored
  // past its limit; a refused T20 quantile restores its group instead.
  double readBack = 0.0;
  TARN_FUZZ_CHECK(gfx_tarnGetCoef(index, k, nullptr, &readBack) == 0, "coef(%d, %d) unreadable", index, k);
  TARN_FUZZ_CHECK(!std::isfinite(value) || std::fabs(value) >= 1e6 || index == 56 ||
                      std::fabs(readBack - value) < 2.0 || readBack == 1.0,
                  "coef(%d, %d) set %.17g read %.17g", index, k, value, readBack);
}

// Messages, and the error handler printing to a stream with an input array
// of exactly the count it is given.
void messages(ByteReader& in, std::FILE* sink) {
  static const int kCodes[] = {0,  1,  12,   -1,   -2,    -3,    -4,    -5,      -6,     -7,
                               -8, -9, -444, -999, -8888, -9999, -1101, INT_MIN, INT_MAX};
  constexpr int kCount = sizeof kCodes / sizeof kCodes[0];
  const std::uint8_t selector = in.u8();
  const int code = selector < 2 * kCount ? kCodes[selector % kCount] : in.raw<std::int32_t>();
  Fenced<char> message(TARN_MESSAGE_SIZE);
  const int status = gfx_tarnGetErrorMsg(code, message.data());
  TARN_FUZZ_CHECK(isOneOf(status, {0, TARN_STATUS_NO_MESSAGE}) && textWithin(message), "message(%d): %d", code,
                  status);

  const int index = in.index(TARN_CORRELATION_COUNT);
  const int inputCount = static_cast<int>(in.u8() % 32) - 2;
  std::unique_ptr<double[]> inputs(inputCount > 0 ? new double[inputCount] : nullptr);
  for (int i = 0; i < inputCount; ++i) inputs[i] = in.value(-100.0, 1000.0);
  gfx_tarnSetDiagnosticStream(in.u8() % 4 == 0 ? nullptr : sink);
  TARN_FUZZ_CHECK(gfx_tarnErrorHandler(index, code, inputCount, inputs.get()) == 0, "handler failed");
  gfx_tarnSetDiagnosticStream(nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::FILE* sink = std::fopen("/dev/null", "w");
  Session::get().begin(data, size);
  ByteReader in(data, size);
  for (int operations = 0; !in.empty() && operations < 32; ++operations) {
    const ParameterSnapshot before;
    switch (in.u8() % 5) {
      case 0: textQueries(in); break;
      case 1: integerQueries(in); break;
      case 2: propertyQueries(in); break;
      case 3: coefficients(in); continue;  // may change the block
      default: messages(in, sink); break;
    }
    TARN_FUZZ_CHECK(before.unchanged(), "a query changed byte %ld of the block", before.firstDifference());
  }
  return 0;
}
