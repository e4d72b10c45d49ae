// Fuzzes keyword access to the parameter block (gfx_setCorParms,
// gfx_getCorParms) with arbitrary keywords and values.
//
// Input: lines of "op|correlation|parameter|value". op 's' sets and 'g'
// gets; 'S' and 'G' pass the correlation keyword as a buffer of exactly 80
// bytes with no terminator; 'n' and 'N' pass a null correlation or parameter
// keyword; 'l' lists the keywords of parameter number <value>. The value is read by strtod ("nan", "inf",
// "1e30" ...). The parameter block carries over from input to input.
#include <cctype>
#include <cmath>
#include <memory>
#include <string>

#include "fuzz_support.h"
#include "tarn/corparms.h"

namespace {

using namespace tarn::fuzz;

constexpr std::size_t kKeywordBuffer = 80;  // 79 characters and the terminator

std::string upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

void run(const std::string& line, const tarn::T20GaussianParams& gaussianDefaults) {
  // "op|correlation|parameter|value"; missing fields are empty, keywords end
  // at an embedded NUL as C sees them.
  std::string fields[4];
  int f = 0;
  for (char c : line) {
    if (c == '|' && f < 3) {
      ++f;
    } else {
      fields[f] += c;
    }
  }
  const char op = fields[0].empty() ? 's' : fields[0][0];
  const std::string correlationText = fields[1].c_str(), parameterText = fields[2].c_str();
  const double value = std::strtod(fields[3].c_str(), nullptr);
  const bool unterminated = op == 'S' || op == 'G';
  const bool nullKeyword = op == 'n' || op == 'N';
  const bool isSet = op == 's' || op == 'S' || op == 'n';

  // An unterminated keyword lives in a heap block of exactly 80 bytes, so a
  // read past it is caught by AddressSanitizer.
  std::unique_ptr<char[]> raw(new char[kKeywordBuffer]);
  for (std::size_t i = 0; i < kKeywordBuffer; ++i) {
    raw[i] = i < correlationText.size() ? correlationText[i] : 'X';
  }
  const char* correlation = op == 'n' ? nullptr : unterminated ? raw.get() : correlationText.c_str();
  const char* parameter = op == 'N' ? nullptr : parameterText.c_str();
  const bool overlong = unterminated || (!nullKeyword && correlationText.size() >= kKeywordBuffer);

  const ParameterSnapshot before;
  if (op == 'l') {
    int count = 0;
    TARN_FUZZ_CHECK(gfx_getCorParmsCount(&count) == 0 && count > 0, "keyword count %d", count);
    const int k = std::isfinite(value) && std::fabs(value) < 1e9 ? static_cast<int>(value) : -1;
    Fenced<char> group(TARN_KEYWORD_SIZE), alias(TARN_KEYWORD_SIZE), name(TARN_KEYWORD_SIZE);
    const int status = gfx_getCorParmsKeywords(k, group.data(), alias.data(), name.data());
    TARN_FUZZ_CHECK(status == (k >= 0 && k < count ? 0 : 1) && before.unchanged(), "keywords of %d: %d", k, status);
    TARN_FUZZ_CHECK(status == 0 ? textWithin(group) && textWithin(alias) && textWithin(name)
                                : group.arrayUntouched(0, TARN_KEYWORD_SIZE) && name.guardsIntact(),
                    "keywords of %d badly written", k);
    Fenced<char> unit(TARN_UNIT_SIZE), description(TARN_PARAMETER_DESC_SIZE);
    Fenced<double> initial(1);
    const int info = gfx_getCorParmsInfo(k, initial.data(), unit.data(), description.data());
    TARN_FUZZ_CHECK(info == status && (info == 0 ? terminatedWithin(unit) && terminatedWithin(description) &&
                                                       numberOrMissing(initial[0])
                                                 : unit.arrayUntouched(0, unit.size()) && initial.isMarker(0)),
                    "information on %d: %d", k, info);
    return;
  }
  if (!isSet) {
    const double read = gfx_getCorParms(correlation, parameter);
    TARN_FUZZ_CHECK(before.unchanged(), "get changed byte %ld", before.firstDifference());
    TARN_FUZZ_CHECK(!(nullKeyword || overlong) || sameBits(read, 1e30), "null or overlong keyword read %.17g", read);
    // The correlation keyword is matched without regard to case.
    if (nullKeyword || overlong) return;
    const double readUpper = gfx_getCorParms(upper(correlationText).c_str(), parameter);
    TARN_FUZZ_CHECK(sameBits(read, readUpper), "(%s, %s) read %.17g but upper case read %.17g", correlation,
                    parameter, read, readUpper);
    return;
  }
  const int status = gfx_setCorParms(correlation, parameter, value);
  TARN_FUZZ_CHECK(status == 0 || status == 1, "set returned %d", status);
  TARN_FUZZ_CHECK(!(nullKeyword || overlong) || (status == 1 && before.unchanged()),
                  "null or overlong keyword was accepted");
  if (status == 1) {
    // Unknown pairs and refused values leave the block alone; a refused T20
    // quantile restores that group to its defaults (intended).
    const auto& group = tarn::params().t20Gaussian;
    const bool quantile = !nullKeyword && !overlong && upper(correlationText) == "T20GAUSSIAN" &&
                          (parameterText == "P1" || parameterText == "P2" || parameterText == "P3");
    TARN_FUZZ_CHECK(quantile ? before.firstDifference(&group, sizeof group) < 0 : before.unchanged(),
                    "a refused set changed byte %ld", before.firstDifference(&group, quantile ? sizeof group : 0));
    TARN_FUZZ_CHECK(!quantile || (sameBits(group.p1, gaussianDefaults.p1) && sameBits(group.p2, gaussianDefaults.p2) &&
                                  sameBits(group.p3, gaussianDefaults.p3) &&
                                  sameBits(group.ratio, gaussianDefaults.ratio)),
                    "refused T20 quantile did not restore the defaults");
  } else if (std::isfinite(value) && std::fabs(value) < 1e6) {
    // The getter reads the field the setter stored: the value itself, a
    // truncation of it or of value + 0.5 (-3.4 reads -2), or a switch read
    // as +-1.
    const double read = gfx_getCorParms(correlation, parameter);
    TARN_FUZZ_CHECK(std::fabs(read - value) < 2.0 || read == 1.0 || read == -1.0,
                    "stored %.17g under (%s, %s) but read back %.17g", value, correlation, parameter, read);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Session::get().begin(data, size);
  const tarn::T20GaussianParams& gaussianDefaults = Session::get().defaults().t20Gaussian;
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::size_t start = 0;
  for (int count = 0; start <= text.size() && count < 16; ++count) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    run(text.substr(start, end - start), gaussianDefaults);
    start = end + 1;
  }
  return 0;
}
