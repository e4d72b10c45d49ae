// Fuzzes the catalogue queries, coefficient access, messages and the error
// handler with any index, position, code and value. Caller buffers have the
// documented sizes with guard bytes around them; failed calls must leave them
// untouched, and only a successful coefficient set may change the parameter
// block.
//
// Input: a script of operations, each a selector byte followed by what the
// operation reads (index, position, value).
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>
#include <string>

#include "fuzz_support.h"

namespace {

using tarn::fuzz::ByteReader;
using tarn::fuzz::Fenced;
using tarn::fuzz::ParameterSnapshot;

bool isOneOf(int status, std::initializer_list<int> allowed) {
  for (int a : allowed) {
    if (status == a) return true;
  }
  return false;
}

// A text written into a fenced buffer of the documented size: terminated
// within it, printable ASCII, and nothing beyond.
bool textWithin(Fenced<char>& buffer) {
  if (!buffer.guardsIntact()) return false;
  const std::size_t length = strnlen(buffer.data(), buffer.size());
  if (length == buffer.size()) return false;
  for (std::size_t i = 0; i < length; ++i) {
    if (buffer[i] < 0x20 || buffer[i] > 0x7e) return false;
  }
  return true;
}

bool upperCaseId(const char* id) {
  for (const char* c = id; *c != '\0'; ++c) {
    if (!((*c >= 'A' && *c <= 'Z') || (*c >= '0' && *c <= '9') || *c == '_')) return false;
  }
  return *id != '\0';
}

bool validIndex(int index) { return index >= 0 && index < TARN_CORRELATION_COUNT; }

int countOf(int (*query)(int, int*), int index) {
  int count = -1;
  return query(index, &count) == TARN_STATUS_OK ? count : -1;
}

// Text queries of a correlation: identifier, description, input and output
// property ids.
void textQueries(ByteReader& in) {
  const int index = in.index(TARN_CORRELATION_COUNT);
  const int k = in.index(30);
  const bool known = validIndex(index);

  Fenced<char> id(TARN_ID_SIZE);
  int status = gfx_tarnGetCorrelationId(index, id.data());
  TARN_FUZZ_CHECK(status == (known ? 0 : TARN_STATUS_BAD_CORRELATION), "id(%d): %d", index, status);
  if (status == 0) {
    TARN_FUZZ_CHECK(textWithin(id) && upperCaseId(id.data()), "id(%d) badly written", index);
  } else {
    TARN_FUZZ_CHECK(id.arrayUntouched(0, id.size()) && id.guardsIntact(), "failed id wrote");
  }

  Fenced<char> desc(TARN_DESC_SIZE);
  status = gfx_tarnGetCorrelationDesc(index, desc.data());
  TARN_FUZZ_CHECK(status == (known ? 0 : TARN_STATUS_BAD_CORRELATION), "desc(%d): %d", index, status);
  if (status == 0) {
    TARN_FUZZ_CHECK(textWithin(desc) && std::string(desc.data()) == "TARN_" + std::string(id.data()),
                    "desc(%d) is not TARN_ + id", index);
  } else {
    TARN_FUZZ_CHECK(desc.arrayUntouched(0, desc.size()) && desc.guardsIntact(), "failed desc wrote");
  }

  struct PropertyQuery {
    int (*count)(int, int*);
    int (*text)(int, int, char*);
    int badPosition;
  };
  const PropertyQuery queries[] = {
      {gfx_tarnGetCorrelationInpPropCount, gfx_tarnGetCorrelationInpPropId, TARN_STATUS_BAD_INPUT},
      {gfx_tarnGetCorrelationOutPropCount, gfx_tarnGetCorrelationOutPropId, TARN_STATUS_BAD_OUTPUT}};
  for (const PropertyQuery& q : queries) {
    const int count = countOf(q.count, index);
    TARN_FUZZ_CHECK(known ? (count >= 1 && count <= 25) : count == -1, "count(%d) = %d", index, count);
    Fenced<char> name(TARN_PROPERTY_ID_SIZE);
    status = q.text(index, k, name.data());
    const int expected = !known ? TARN_STATUS_BAD_CORRELATION
                         : (k < 0 || k >= count) ? q.badPosition
                                                 : TARN_STATUS_OK;
    TARN_FUZZ_CHECK(status == expected, "property id(%d, %d): %d, expected %d", index, k, status,
                    expected);
    if (status == 0) {
      TARN_FUZZ_CHECK(textWithin(name) && name[0] != '\0', "property id(%d, %d) badly written", index, k);
    } else {
      TARN_FUZZ_CHECK(name.arrayUntouched(0, name.size()) && name.guardsIntact(),
                      "failed property id wrote");
    }
  }
}

// Integer queries: type, kind codes, slack count, index pair.
void integerQueries(ByteReader& in) {
  static const std::set<int> kKinds = {1, 2, 3, 4, 5, 7, 8, 9, 10, 11, 12, 15, 16, 17, 18, 19, 20};
  const int index = in.index(TARN_CORRELATION_COUNT);
  const int k = in.index(30);
  const bool known = validIndex(index);

  Fenced<int> type(1);
  int status = gfx_tarnGetCorrelationType(index, type.data());
  TARN_FUZZ_CHECK(type.guardsIntact(), "type wrote past its int");
  if (known) {
    TARN_FUZZ_CHECK(status == 0 && type[0] >= TARN_TYPE_GENERAL && type[0] <= TARN_TYPE_PROPERTY_TO_INDEX,
                    "type(%d): %d, %d", index, status, type[0]);
  } else {
    TARN_FUZZ_CHECK(status == TARN_STATUS_BAD_TYPE_QUERY && type[0] == TARN_TYPE_UNKNOWN,
                    "type(%d): %d, %d", index, status, type[0]);
  }

  Fenced<int> kind(1);
  status = gfx_tarnGetCorrelationOutPropType(index, k, kind.data());
  TARN_FUZZ_CHECK(kind.guardsIntact(), "kind wrote past its int");
  TARN_FUZZ_CHECK(isOneOf(status, {0, TARN_STATUS_BAD_CORRELATION, TARN_STATUS_BAD_OUTPUT}),
                  "kind(%d, %d): %d", index, k, status);
  TARN_FUZZ_CHECK(kind.isMarker(0) || (status == 0 && kKinds.count(kind[0]) == 1),
                  "kind(%d, %d) wrote %d with status %d", index, k, kind[0], status);

  Fenced<int> slack(1);
  const int inputs = countOf(gfx_tarnGetCorrelationInpPropCount, index);
  status = gfx_tarnGetCorrelationSlackCount(index, slack.data());
  TARN_FUZZ_CHECK(status == 0 && slack.guardsIntact(), "slack(%d): %d", index, status);
  TARN_FUZZ_CHECK(slack.isMarker(0) || (slack[0] > 0 && slack[0] < inputs),
                  "slack(%d) wrote %d", index, slack[0]);

  Fenced<int> pair(1);
  status = gfx_tarnGetIndexPair(index, pair.data());
  TARN_FUZZ_CHECK(pair.guardsIntact(), "pair wrote past its int");
  if (status == 0) {
    int pairType = 0;
    TARN_FUZZ_CHECK(validIndex(pair[0]) && gfx_tarnGetCorrelationType(pair[0], &pairType) == 0 &&
                        pairType == TARN_TYPE_INDEX_TO_PROPERTY,
                    "pair(%d) = %d is not an index-to-property correlation", index, pair[0]);
  } else {
    TARN_FUZZ_CHECK(status == TARN_STATUS_NO_PAIR && pair.isMarker(0), "pair(%d): %d", index, status);
  }
}

// The library's own two properties.
void propertyQueries(ByteReader& in) {
  const int k = in.index(2);
  const bool known = k == 0 || k == 1;
  Fenced<char> id(TARN_PROPERTY_ID_SIZE), desc(TARN_DESC_SIZE);
  const int idStatus = gfx_tarnGetPropId(k, id.data());
  const int descStatus = gfx_tarnGetPropDesc(k, desc.data());
  TARN_FUZZ_CHECK(idStatus == (known ? 0 : TARN_STATUS_BAD_PROPERTY_ID), "prop id(%d): %d", k, idStatus);
  TARN_FUZZ_CHECK(descStatus == (known ? 0 : TARN_STATUS_BAD_PROPERTY_DESC), "prop desc(%d): %d", k,
                  descStatus);
  TARN_FUZZ_CHECK(known ? textWithin(id) && textWithin(desc)
                        : id.arrayUntouched(0, id.size()) && desc.arrayUntouched(0, desc.size()),
                  "property texts of %d", k);
  int count = 0;
  TARN_FUZZ_CHECK(gfx_tarnGetPropCount(&count) == 0 && count == 2, "property count %d", count);
}

// Coefficient reads and writes. Reads never change the block; a failed or
// read-only write does not either.
void coefficients(ByteReader& in) {
  const int index = in.index(TARN_CORRELATION_COUNT);
  const int k = in.index(44);
  const double value = in.value(-100.0, 1000.0);
  const bool write = in.u8() % 2 == 0;
  const bool known = validIndex(index);
  const int count = countOf(gfx_tarnGetCoefCount, index);
  TARN_FUZZ_CHECK(known ? (count >= 0 && count <= 42) : count == -1, "coef count(%d) = %d", index, count);
  const int expected = !known ? TARN_STATUS_BAD_CORRELATION
                       : (k < 0 || k >= count) ? TARN_STATUS_BAD_COEFFICIENT
                                               : TARN_STATUS_OK;

  const ParameterSnapshot before;
  Fenced<char> name(TARN_COEF_NAME_SIZE);
  Fenced<double> current(1);
  int status = gfx_tarnGetCoef(index, k, name.data(), current.data());
  TARN_FUZZ_CHECK(status == expected, "get coef(%d, %d): %d, expected %d", index, k, status, expected);
  TARN_FUZZ_CHECK(before.unchanged(), "get coef changed byte %ld", before.firstDifference());
  TARN_FUZZ_CHECK(current.guardsIntact(), "get coef wrote past its value");
  if (status == 0) {
    TARN_FUZZ_CHECK(textWithin(name) && name[0] != '\0' && !current.isMarker(0),
                    "coef(%d, %d) badly written", index, k);
  } else {
    TARN_FUZZ_CHECK(name.arrayUntouched(0, name.size()) && name.guardsIntact() && current.isMarker(0),
                    "failed get coef wrote");
  }
  if (!write) return;

  status = gfx_tarnSetCoefValue(index, k, value);
  TARN_FUZZ_CHECK(status == expected, "set coef(%d, %d): %d, expected %d", index, k, status, expected);
  if (status != 0 || index == 52) {  // VAPORLOCKINDEX's constants are read-only
    TARN_FUZZ_CHECK(before.unchanged(), "set coef(%d, %d) changed byte %ld", index, k,
                    before.firstDifference());
    return;
  }
  // The read-back is the value, a truncation or rounding of it (a point
  // count is truncated, then rounded: -3.2 reads -2), or the count 1 stored
  // past its limit; a refused T20 quantile restores its group instead.
  double readBack = 0.0;
  TARN_FUZZ_CHECK(gfx_tarnGetCoef(index, k, nullptr, &readBack) == 0, "coef(%d, %d) unreadable", index, k);
  if (std::isfinite(value) && std::fabs(value) < 1e6 && index != 56) {
    TARN_FUZZ_CHECK(std::fabs(readBack - value) < 2.0 || readBack == 1.0,
                    "coef(%d, %d) set %.17g read %.17g", index, k, value, readBack);
  }
}

// Messages, and the error handler printing to a stream with an input array
// of exactly the count it is given.
void messages(ByteReader& in, std::FILE* sink) {
  static const int kCodes[] = {0, 1, 12, -1, -2, -3, -4, -5, -6, -7, -8, -9, -444, -999, -8888,
                               -9999, -1101, INT_MIN, INT_MAX};
  const std::uint8_t selector = in.u8();
  const int code = selector < 2 * sizeof kCodes / sizeof kCodes[0]
                       ? kCodes[selector % (sizeof kCodes / sizeof kCodes[0])]
                       : in.raw<std::int32_t>();
  Fenced<char> message(TARN_MESSAGE_SIZE);
  const int status = gfx_tarnGetErrorMsg(code, message.data());
  TARN_FUZZ_CHECK(isOneOf(status, {0, TARN_STATUS_NO_MESSAGE}) && textWithin(message),
                  "message(%d): %d", code, status);

  const int index = in.index(TARN_CORRELATION_COUNT);
  const int inputCount = static_cast<int>(in.u8() % 32) - 2;
  std::unique_ptr<double[]> inputs;
  if (inputCount > 0) {
    inputs.reset(new double[inputCount]);
    for (int i = 0; i < inputCount; ++i) inputs[i] = in.value(-100.0, 1000.0);
  }
  gfx_tarnSetDiagnosticStream(in.u8() % 4 == 0 ? nullptr : sink);
  const ParameterSnapshot before;
  TARN_FUZZ_CHECK(gfx_tarnErrorHandler(index, code, inputCount, inputs.get()) == 0, "handler failed");
  TARN_FUZZ_CHECK(before.unchanged(), "handler changed the block");
  gfx_tarnSetDiagnosticStream(nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::FILE* sink = std::fopen("/dev/null", "w");
  tarn::fuzz::startFresh();
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
