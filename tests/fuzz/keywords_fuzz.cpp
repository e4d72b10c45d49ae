// Fuzzes keyword access to the parameter block (gfx_setCorParms,
// gfx_getCorParms) with arbitrary keywords and values.
//
// Input: lines of "op|correlation|parameter|value". op 's' sets and 'g'
// gets; 'S' and 'G' pass the correlation keyword as a buffer of exactly 80
// bytes with no terminator; 'n' and 'N' pass a null correlation or parameter
// keyword. The value is read by strtod ("nan", "inf", "1e30" ...).
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "fuzz_support.h"
#include "tarn/corparms.h"

namespace {

using tarn::fuzz::ParameterSnapshot;
using tarn::fuzz::sameBits;

constexpr std::size_t kKeywordBuffer = 80;  // 79 characters and the terminator

struct Operation {
  char op = 's';
  std::string correlation, parameter;
  double value = 0.0;
};

// Splits "op|correlation|parameter|value"; missing fields are empty.
Operation parse(const std::string& line) {
  Operation o;
  std::string fields[4];
  int f = 0;
  for (char c : line) {
    if (c == '|' && f < 3) {
      ++f;
    } else {
      fields[f] += c;
    }
  }
  if (!fields[0].empty()) o.op = fields[0][0];
  o.correlation = fields[1].c_str();  // up to an embedded NUL, as C sees it
  o.parameter = fields[2].c_str();
  o.value = std::strtod(fields[3].c_str(), nullptr);
  return o;
}

std::string upper(const std::string& text) {
  std::string out = text;
  for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

bool isGaussianQuantile(const Operation& o) {
  return upper(o.correlation) == "T20GAUSSIAN" &&
         (o.parameter == "P1" || o.parameter == "P2" || o.parameter == "P3");
}

void run(const Operation& o, const tarn::T20GaussianParams& gaussianDefaults) {
  const bool unterminated = o.op == 'S' || o.op == 'G';
  const bool nullKeyword = o.op == 'n' || o.op == 'N';
  const bool isSet = o.op == 's' || o.op == 'S' || o.op == 'n';

  // An unterminated keyword lives in a heap block of exactly 80 bytes, so a
  // read past it is caught by AddressSanitizer.
  std::unique_ptr<char[]> raw(new char[kKeywordBuffer]);
  for (std::size_t i = 0; i < kKeywordBuffer; ++i) {
    const char c = i < o.correlation.size() ? o.correlation[i] : 'X';
    raw[i] = c == '\0' ? 'X' : c;
  }
  const char* correlation = unterminated ? raw.get() : o.correlation.c_str();
  const char* parameter = o.parameter.c_str();
  if (o.op == 'n') correlation = nullptr;
  if (o.op == 'N') parameter = nullptr;
  const bool overlong = unterminated || (!nullKeyword && o.correlation.size() >= kKeywordBuffer);

  const ParameterSnapshot before;
  if (isSet) {
    const int status = gfx_setCorParms(correlation, parameter, o.value);
    TARN_FUZZ_CHECK(status == 0 || status == 1, "set returned %d", status);
    if (nullKeyword || overlong) {
      TARN_FUZZ_CHECK(status == 1 && before.unchanged(), "null or overlong keyword was accepted");
    }
    if (status == 1) {
      // Unknown pairs and refused values leave the block alone; a refused
      // T20 quantile restores that group to its defaults (intended).
      auto& group = tarn::params().t20Gaussian;
      if (!nullKeyword && !overlong && isGaussianQuantile(o)) {
        TARN_FUZZ_CHECK(before.firstDifference(&group, sizeof group) < 0,
                        "refused T20 quantile changed another field");
        TARN_FUZZ_CHECK(sameBits(group.p1, gaussianDefaults.p1) &&
                            sameBits(group.p2, gaussianDefaults.p2) &&
                            sameBits(group.p3, gaussianDefaults.p3) &&
                            sameBits(group.ratio, gaussianDefaults.ratio),
                        "refused T20 quantile did not restore the defaults");
      } else {
        TARN_FUZZ_CHECK(before.unchanged(), "set returned 1 but changed byte %ld",
                        before.firstDifference());
      }
    } else if (std::isfinite(o.value) && std::fabs(o.value) < 1e6) {
      // The getter reads the field the setter stored: the value itself, a
      // truncation of it or of value + 0.5 (-3.4 reads -2), or a switch
      // read as +-1.
      const double read = gfx_getCorParms(correlation, parameter);
      TARN_FUZZ_CHECK(std::fabs(read - o.value) < 2.0 || read == 1.0 || read == -1.0,
                      "stored %.17g under (%s, %s) but read back %.17g", o.value, correlation,
                      parameter, read);
    }
    return;
  }

  const double read = gfx_getCorParms(correlation, parameter);
  TARN_FUZZ_CHECK(before.unchanged(), "get changed byte %ld", before.firstDifference());
  if (nullKeyword || overlong) {
    TARN_FUZZ_CHECK(sameBits(read, 1e30), "null or overlong keyword read %.17g", read);
    return;
  }
  // The correlation keyword is matched without regard to case.
  const std::string upperCorrelation = upper(o.correlation);
  const double readUpper = gfx_getCorParms(upperCorrelation.c_str(), parameter);
  TARN_FUZZ_CHECK(sameBits(read, readUpper), "(%s, %s) read %.17g but upper case read %.17g",
                  correlation, parameter, read, readUpper);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tarn::fuzz::startFresh();
  const tarn::T20GaussianParams gaussianDefaults = tarn::params().t20Gaussian;
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::size_t start = 0;
  for (int count = 0; start <= text.size() && count < 16; ++count) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    run(parse(text.substr(start, end - start)), gaussianDefaults);
    start = end + 1;
  }
  return 0;
}
