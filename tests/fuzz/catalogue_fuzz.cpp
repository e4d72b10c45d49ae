// Fuzzes the catalogue queries, coefficients, messages and the error handler:
// expected statuses, texts within documented buffers, the block untouched.
#include <climits>
#include <memory>

#include "fuzz_support.h"

namespace {

using namespace tarn::fuzz;

bool known(int index) { return index >= 0 && index < TARN_CORRELATION_COUNT; }
bool within(int k, int (*count)(int, int*), int index) { return k >= 0 && k < countOf(count, index, 0); }

// A query, the status expected for (index, k), its buffer's size.
struct Query {
  int (*call)(int index, int k, void* out);
  int (*expected)(int index, int k);
  std::size_t size;      // 0: an int
  bool ascii;            // a text of printable ASCII
  int writtenOnFailure;  // an int written although the query fails (0: none)
};
double coefficientValue;
#define TARN_CALL_OF(call) [](int i, int k, void* o) { return (void)i, (void)k, (void)o, call; }
#define text static_cast<char*>(o)
#define number static_cast<int*>(o)
#define TARN_EXPECT(rule) [](int i, int k) { return (void)i, (void)k, rule; }
#define TARN_TEXT(call, rule, size) \
  { TARN_CALL_OF(call), TARN_EXPECT(rule), size, true, 0 }
#define TARN_INT(call, expected, failure) \
  { TARN_CALL_OF(call), expected, 0, true, failure }
constexpr int kBadIndex = TARN_STATUS_BAD_CORRELATION;
const Query kQueries[] = {
    TARN_TEXT(gfx_tarnGetCorrelationId(i, text), known(i) ? 0 : kBadIndex, TARN_ID_SIZE),
    TARN_TEXT(gfx_tarnGetCorrelationDesc(i, text), known(i) ? 0 : kBadIndex, TARN_DESC_SIZE),
    {TARN_CALL_OF(gfx_tarnGetCorrelationSource(i, text)), TARN_EXPECT(known(i) ? 0 : kBadIndex), TARN_SOURCE_SIZE,
     false, 0},  // UTF-8
    TARN_TEXT(gfx_tarnGetCorrelationInpPropId(i, k, text),
              !known(i)                                          ? kBadIndex
              : within(k, gfx_tarnGetCorrelationInpPropCount, i) ? 0
                                                                 : TARN_STATUS_BAD_INPUT,
              TARN_PROPERTY_ID_SIZE),
    TARN_TEXT(gfx_tarnGetCorrelationOutPropId(i, k, text),
              !known(i)                                          ? kBadIndex
              : within(k, gfx_tarnGetCorrelationOutPropCount, i) ? 0
                                                                 : TARN_STATUS_BAD_OUTPUT,
              TARN_PROPERTY_ID_SIZE),
    TARN_TEXT(gfx_tarnGetCoef(i, k, text, &coefficientValue),
              !known(i)                            ? kBadIndex
              : within(k, gfx_tarnGetCoefCount, i) ? 0
                                                   : TARN_STATUS_BAD_COEFFICIENT,
              TARN_COEF_NAME_SIZE),
    TARN_TEXT(gfx_tarnGetPropId(k, text), k == 0 || k == 1 ? 0 : TARN_STATUS_BAD_PROPERTY_ID, TARN_PROPERTY_ID_SIZE),
    TARN_TEXT(gfx_tarnGetPropDesc(k, text), k == 0 || k == 1 ? 0 : TARN_STATUS_BAD_PROPERTY_DESC, TARN_DESC_SIZE),
    // An unknown index's type is written as unknown.
    TARN_INT(gfx_tarnGetCorrelationType(i, number), TARN_EXPECT(known(i) ? 0 : TARN_STATUS_BAD_TYPE_QUERY),
             TARN_TYPE_UNKNOWN),
    TARN_INT(gfx_tarnGetCorrelationInpPropCount(i, number), TARN_EXPECT(known(i) ? 0 : kBadIndex), 0),
    TARN_INT(gfx_tarnGetCoefCount(i, number), TARN_EXPECT(known(i) ? 0 : kBadIndex), 0),
    TARN_INT(gfx_tarnGetCorrelationCount(number), TARN_EXPECT(0), 0),
    TARN_INT(gfx_tarnGetPropCount(number), TARN_EXPECT(0), 0),
    TARN_INT(gfx_tarnGetCorrelationOutPropType(i, k, number), nullptr, 0),
    TARN_INT(gfx_tarnGetCorrelationSlackCount(i, number), TARN_EXPECT(0), 0),
    TARN_INT(gfx_tarnGetIndexPair(i, number), nullptr, 0),
};
#undef TARN_TEXT
#undef TARN_INT
#undef TARN_CALL_OF
#undef TARN_EXPECT
#undef text
#undef number

void query(ByteReader& in) {
  const Query& q = kQueries[in.u8() % (sizeof kQueries / sizeof kQueries[0])];
  const int index = in.index(TARN_CORRELATION_COUNT), k = in.index(30);
  Fenced<char> out(q.size > 0 ? q.size : sizeof(int));
  const int status = q.call(index, k, out.data());
  TARN_FUZZ_CHECK(q.expected == nullptr || status == q.expected(index, k), "query %d of (%d, %d): %d",
                  static_cast<int>(&q - kQueries), index, k, status);
  int value = 0;
  if (q.size == 0) std::memcpy(&value, out.data(), sizeof value);
  TARN_FUZZ_CHECK(q.size > 0 ? status == 0 ? textWithin(out, q.ascii) : out.untouched()
                             : out.guardsIntact() && (status == 0 || out.untouched() ||
                                                      (q.writtenOnFailure != 0 && value == q.writtenOnFailure)),
                  "query %d of (%d, %d) badly written", static_cast<int>(&q - kQueries), index, k);
}

// A set reads back truncated or rounded, or 1 past a count's limit; VAPORLOCKINDEX's are read-only.
void setCoefficient(ByteReader& in) {
  const int index = in.index(TARN_CORRELATION_COUNT), k = in.index(44);
  const double value = in.value(-100.0, 1000.0);
  const ParameterSnapshot before;
  const int status = gfx_tarnSetCoefValue(index, k, value);
  double readBack = 0.0;
  TARN_FUZZ_CHECK(status == kQueries[5].expected(index, k), "set coef(%d, %d): %d", index, k, status);
  if (status != 0 || index == 52) {
    TARN_FUZZ_CHECK(before.unchanged(), "set coef(%d, %d) changed byte %ld", index, k, before.firstDifference());
    return;
  }
  TARN_FUZZ_CHECK(gfx_tarnGetCoef(index, k, nullptr, &readBack) == 0 &&
                      (!std::isfinite(value) || std::fabs(value) >= 1e6 || index == 56 ||
                       std::fabs(readBack - value) < 2.0 || readBack == 1.0),
                  "coef(%d, %d) set %.17g read %.17g", index, k, value, readBack);
}

// Messages of any code; the error handler with an input array of exactly
// the count it is given.
void messages(ByteReader& in, std::FILE* sink) {
  static const int kCodes[] = {0, 1, 12, -1, -2, -4, -8, -444, -999, -8888, -9999, -1101, INT_MIN, INT_MAX};
  const std::uint8_t selector = in.u8();
  const int code = selector < 128 ? kCodes[selector % (sizeof kCodes / sizeof kCodes[0])] : in.raw<std::int32_t>();
  Fenced<char> message(TARN_MESSAGE_SIZE);
  const int status = gfx_tarnGetErrorMsg(code, message.data());
  TARN_FUZZ_CHECK(isOneOf(status, {0, TARN_STATUS_NO_MESSAGE}) && textWithin(message) && tarn_GetVersion() != nullptr,
                  "message(%d): %d", code, status);
  const int index = in.index(TARN_CORRELATION_COUNT), count = static_cast<int>(in.u8() % 32) - 2;
  std::unique_ptr<double[]> inputs(count > 0 ? new double[count] : nullptr);
  in.values(inputs.get(), count, -100.0, 1000.0);
  gfx_tarnSetDiagnosticStream(in.u8() % 4 == 0 ? nullptr : sink);
  TARN_FUZZ_CHECK(gfx_tarnErrorHandler(index, code, count, inputs.get()) == 0, "handler failed");
  gfx_tarnSetDiagnosticStream(nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::FILE* sink = std::fopen("/dev/null", "w");
  return runOperations(data, size, 32, [](ByteReader& in, std::uint8_t selector) {
    const ParameterSnapshot before;
    if (selector % 4 == 3) return setCoefficient(in);
    selector % 4 == 2 ? messages(in, sink) : query(in);
    TARN_FUZZ_CHECK(before.unchanged(), "a query changed byte %ld of the block", before.firstDifference());
  });
}
