// Fuzzes keyword access to the parameter block and the keyword listing with
// any keywords and values; the block carries over. Input: lines of
// "op|correlation|parameter|value": 's' sets, 'g' gets, 'S' and 'G' pass the
// correlation keyword unterminated in 80 bytes, 'n' and 'N' a null
// correlation or parameter keyword, 'l' lists parameter number <value>
// (read by strtod: "nan", "inf", "1e30" ...).
#include <cctype>
#include <memory>

#include "fuzz_support.h"

namespace {

using namespace tarn::fuzz;

constexpr std::size_t kKeywordBuffer = 80;  // 79 characters and the terminator

std::string upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// Parameter k's keywords and information within their buffers, or nothing.
void list(double value) {
  int count = 0;
  const int k = std::isfinite(value) && std::fabs(value) < 1e9 ? static_cast<int>(value) : -1;
  Fenced<char> group(TARN_KEYWORD_SIZE), alias(TARN_KEYWORD_SIZE), name(TARN_KEYWORD_SIZE), unit(TARN_UNIT_SIZE),
      description(TARN_PARAMETER_DESC_SIZE);
  Array initial(1);
  const int status = gfx_getCorParmsKeywords(k, group.data(), alias.data(), name.data());
  const int info = gfx_getCorParmsInfo(k, initial.data(), unit.data(), description.data());
  TARN_FUZZ_CHECK(gfx_getCorParmsCount(&count) == 0 && status == (k >= 0 && k < count ? 0 : 1) && info == status,
                  "keywords of %d: %d, %d", k, status, info);
  TARN_FUZZ_CHECK(status == 0 ? textWithin(group) && textWithin(alias) && textWithin(name) && textWithin(unit, false) &&
                                    textWithin(description, false) && numberOrMissing(initial[0])
                              : group.untouched() && name.untouched() && unit.untouched() && initial.untouched(),
                  "keywords of %d badly written", k);
}

void run(const std::string& line, const tarn::T20GaussianParams& gaussianDefaults) {
  // Missing fields are empty; keywords end at an embedded NUL as C sees them.
  std::string fields[4];
  int f = 0;
  for (char c : line) c == '|' && f < 3 ? void(++f) : void(fields[f] += c);
  const char op = fields[0].empty() ? 's' : fields[0][0];
  const std::string correlationText = fields[1].c_str(), parameterText = fields[2].c_str();
  const double value = std::strtod(fields[3].c_str(), nullptr);
  const ParameterSnapshot before;
  if (op == 'l') {
    list(value);
    TARN_FUZZ_CHECK(before.unchanged(), "the listing changed byte %ld", before.firstDifference());
    return;
  }
  // An unterminated keyword in a heap block of 80 bytes: AddressSanitizer
  // catches a read past it.
  std::unique_ptr<char[]> raw(new char[kKeywordBuffer]);
  for (std::size_t i = 0; i < kKeywordBuffer; ++i) raw[i] = i < correlationText.size() ? correlationText[i] : 'X';
  const bool unterminated = op == 'S' || op == 'G', nullKeyword = op == 'n' || op == 'N';
  const char* correlation = op == 'n' ? nullptr : unterminated ? raw.get() : correlationText.c_str();
  const char* parameter = op == 'N' ? nullptr : parameterText.c_str();
  const bool refused = nullKeyword || unterminated || correlationText.size() >= kKeywordBuffer;

  if (op != 's' && op != 'S' && op != 'n') {
    // A refused keyword reads 1e30; correlation keywords ignore case.
    const double read = gfx_getCorParms(correlation, parameter);
    TARN_FUZZ_CHECK(
        before.unchanged() && (refused ? sameBits(read, 1e30)
                                       : sameBits(read, gfx_getCorParms(upper(correlationText).c_str(), parameter))),
        "(%s, %s) read %.17g, or changed the block", correlation, parameter, read);
    return;
  }
  const int status = gfx_setCorParms(correlation, parameter, value);
  TARN_FUZZ_CHECK(status == 0 || status == 1, "set returned %d", status);
  TARN_FUZZ_CHECK(!refused || (status == 1 && before.unchanged()), "null or overlong keyword was accepted");
  if (status == 1) {
    // A refused set changes nothing, but a refused T20 quantile restores
    // that group's defaults (intended).
    const auto& group = tarn::params().t20Gaussian;
    const bool quantile = !refused && upper(correlationText) == "T20GAUSSIAN" &&
                          (parameterText == "P1" || parameterText == "P2" || parameterText == "P3");
    TARN_FUZZ_CHECK(quantile ? before.firstDifference(&group, sizeof group) < 0 &&
                                   std::memcmp(&group, &gaussianDefaults, sizeof group) == 0
                             : before.unchanged(),
                    "a refused set changed byte %ld", before.firstDifference());
  } else if (std::isfinite(value) && std::fabs(value) < 1e6) {
    // The getter reads what the setter stored: the value, truncated or
    // rounded (-3.4 reads -2), or a switch as +-1.
    const double read = gfx_getCorParms(correlation, parameter);
    TARN_FUZZ_CHECK(std::fabs(read - value) < 2.0 || read == 1.0 || read == -1.0,
                    "stored %.17g under (%s, %s) but read back %.17g", value, correlation, parameter, read);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Session::get().begin(data, size);
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::size_t start = 0;
  for (int count = 0; start <= text.size() && count < 16; ++count) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    run(text.substr(start, end - start), Session::get().defaults().t20Gaussian);
    start = end + 1;
  }
  return 0;
}
