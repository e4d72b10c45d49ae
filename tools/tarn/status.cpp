#include "status.h"

#include <algorithm>

#include "tarn/bml.h"
#include "tarn/tarn.h"

namespace tarncli {
namespace {

struct Constant {
  int code;
  const char* name;
  const char* meaning;
};

// The TARN_STATUS_* constants of tarn.h, with what each tells the caller.
constexpr Constant kConstants[] = {
    {TARN_STATUS_OK, "TARN_STATUS_OK", "success"},
    {TARN_STATUS_UNDEFINED, "TARN_STATUS_UNDEFINED",
     "the correlation's result is undefined: the output holds the missing value 1e30"},
    {TARN_STATUS_NO_PAIR, "TARN_STATUS_NO_PAIR", "gfx_tarnGetIndexPair: the correlation has no inverse"},
    {TARN_STATUS_INIT_FAILED, "TARN_STATUS_INIT_FAILED", "start-up failed"},
    {TARN_STATUS_BAD_PROPERTY_ID, "TARN_STATUS_BAD_PROPERTY_ID", "gfx_tarnGetPropId: property number not 0 or 1"},
    {TARN_STATUS_BAD_PROPERTY_DESC, "TARN_STATUS_BAD_PROPERTY_DESC",
     "gfx_tarnGetPropDesc: property number not 0 or 1"},
    {TARN_STATUS_BAD_CORRELATION, "TARN_STATUS_BAD_CORRELATION", "correlation index outside the catalogue"},
    {TARN_STATUS_BAD_TYPE_QUERY, "TARN_STATUS_BAD_TYPE_QUERY",
     "gfx_tarnGetCorrelationType: correlation index outside the catalogue (-9999 written as the type)"},
    {TARN_STATUS_BAD_INPUT, "TARN_STATUS_BAD_INPUT", "input position outside the correlation's inputs"},
    {TARN_STATUS_BAD_OUTPUT, "TARN_STATUS_BAD_OUTPUT", "output position outside the correlation's outputs"},
    {TARN_STATUS_BAD_COEFFICIENT, "TARN_STATUS_BAD_COEFFICIENT",
     "coefficient position outside the correlation's coefficients"},
    {TARN_STATUS_NO_MESSAGE, "TARN_STATUS_NO_MESSAGE", "gfx_tarnGetErrorMsg: the code has no message"},
    {TARN_STATUS_NOT_CALCULABLE, "TARN_STATUS_NOT_CALCULABLE",
     "evaluation by index: the correlation's type cannot be evaluated (also an unknown index)"},
    {TARN_STATUS_NO_DERIVATIVE_ARRAY, "TARN_STATUS_NO_DERIVATIVE_ARRAY",
     "derivatives requested without a derivative array"},
    {TARN_TYPE_UNKNOWN, "TARN_TYPE_UNKNOWN",
     "not returned: written as the type of an unknown correlation index"},
};

// The TARN_BML_STATUS_* constants of bml.h.
constexpr Constant kRouterConstants[] = {
    {TARN_BML_STATUS_INDEX_PAST_END, "TARN_BML_STATUS_INDEX_PAST_END", "index beyond the combined count"},
    {TARN_BML_STATUS_BAD_TYPE, "TARN_BML_STATUS_BAD_TYPE", "not returned; has a message"},
    {TARN_BML_STATUS_TARN_INIT_FAILED, "TARN_BML_STATUS_TARN_INIT_FAILED", "the built-in side did not start"},
    {TARN_BML_STATUS_UBML_INIT_FAILED, "TARN_BML_STATUS_UBML_INIT_FAILED",
     "the plug-in could not be loaded or bound, or did not start"},
    {TARN_BML_STATUS_NO_USER_LIBRARY, "TARN_BML_STATUS_NO_USER_LIBRARY", "the plug-in path names no file"},
    {TARN_BML_STATUS_BAD_ERROR_CODE, "TARN_BML_STATUS_BAD_ERROR_CODE",
     "gfx_bmlErrorHandler: no side owns the code"},
    {TARN_BML_STATUS_BAD_PROPERTY, "TARN_BML_STATUS_BAD_PROPERTY", "a plug-in property asked without a plug-in"},
    {TARN_BML_STATUS_BAD_CORRELATION, "TARN_BML_STATUS_BAD_CORRELATION",
     "a plug-in correlation asked without a plug-in"},
};

// Codes that the message table could hold; wide enough for every family.
constexpr int kLowestCode = -20000;
constexpr int kHighestCode = 20000;

std::string message(int code) {
  char text[TARN_MESSAGE_SIZE] = "";
  return gfx_tarnGetErrorMsg(code, text) == TARN_STATUS_OK ? text : "";
}

// The router's own message: gfx_bmlGetErrorMsg answers -499..-1 from the
// catalogue's table and its return value does not tell whether it wrote.
std::string routerMessage(int code) {
  if (code >= -499 && code <= -1) return "";
  char text[TARN_MESSAGE_SIZE] = "";
  gfx_bmlGetErrorMsg(code, text);
  return text;
}

std::string cell(const std::string& text) {
  std::string out;
  for (char c : text) out += c == '|' ? std::string("\\|") : std::string(1, c);
  return out;
}

}  // namespace

std::vector<StatusCode> statusCodes() {
  std::vector<StatusCode> codes;
  auto collect = [&](const auto& constants, bool router, std::string (*lookup)(int)) {
    std::vector<StatusCode> part;
    for (const Constant& c : constants) part.push_back({c.code, router, c.name, c.meaning, lookup(c.code)});
    for (int code = kLowestCode; code <= kHighestCode; ++code) {
      const bool listed =
          std::any_of(part.begin(), part.end(), [&](const StatusCode& s) { return s.code == code; });
      if (listed) continue;
      const std::string text = lookup(code);
      if (!text.empty()) part.push_back({code, router, "", "", text});
    }
    std::stable_sort(part.begin(), part.end(), [](const StatusCode& a, const StatusCode& b) {
      const bool aSuccess = a.code >= 0, bSuccess = b.code >= 0;
      if (aSuccess != bSuccess) return aSuccess;
      return aSuccess ? a.code < b.code : a.code > b.code;
    });
    codes.insert(codes.end(), part.begin(), part.end());
  };
  collect(kConstants, false, message);
  collect(kRouterConstants, true, routerMessage);
  return codes;
}

std::string describeStatus(int code) {
  const std::string text = message(code);
  if (!text.empty()) return text;
  for (const Constant& c : kConstants) {
    if (c.code == code) return c.meaning;
  }
  const std::string router = routerMessage(code);
  if (!router.empty()) return router;
  return "status " + std::to_string(code) + " of the correlation";
}

std::string statusPage() {
  std::string page =
      "# TARN status codes\n"
      "\n"
      "<!-- Generated by `tarn codes --markdown` from the library's own tables; do not edit.\n"
      "     A test fails when this page and the library disagree. -->\n"
      "\n"
      "Every function of the catalogue and evaluation-by-index layer returns an `int` status.\n"
      "Zero is success, positive codes are results the caller must look at, negative codes are\n"
      "errors. `gfx_tarnGetErrorMsg(code, buffer)` writes the message of a code (the buffer holds\n"
      "`TARN_MESSAGE_SIZE` chars) and returns 0; for a code without a message it writes\n"
      "\"Error Message Code = <code> not found\" and returns -444. Correlation functions reached\n"
      "through evaluation by index may return small codes of their own, which pass through\n"
      "unchanged (for example the number of inputs outside an emission model's valid range).\n"
      "\n"
      "| Code | Constant (`tarn/tarn.h`) | Meaning | Message |\n"
      "|---:|---|---|---|\n";
  bool routerHeader = false;
  for (const StatusCode& s : statusCodes()) {
    if (s.router && !routerHeader) {
      routerHeader = true;
      page +=
          "\n"
          "## Router codes\n"
          "\n"
          "The router (`gfx_bml*`, `tarn/bml.h`) returns the codes above for built-in correlations and\n"
          "these of its own. `gfx_bmlGetErrorMsg` answers codes -499..-1 from the table above and\n"
          "these from the router's table; its return value is meaningful only for -1101 and -1108.\n"
          "\n"
          "| Code | Constant (`tarn/bml.h`) | Meaning | Message |\n"
          "|---:|---|---|---|\n";
    }
    page += "| " + std::to_string(s.code) + " | " + (s.constant.empty() ? "" : "`" + s.constant + "`") + " | " +
            cell(s.meaning) + " | " + (s.message.empty() ? "(none)" : "\"" + cell(s.message) + "\"") + " |\n";
  }
  return page;
}

}  // namespace tarncli
