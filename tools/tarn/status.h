// The library's status codes with their messages, for `tarn codes` and the
// generated status-code page.
#pragma once

#include <string>
#include <vector>

namespace tarncli {

struct StatusCode {
  int code;
  bool router = false;   // a code of the router (gfx_bml*), message from gfx_bmlGetErrorMsg
  std::string constant;  // TARN_STATUS_* name, or "" for a code known only by its message
  std::string meaning;
  std::string message;  // what gfx_tarnGetErrorMsg writes, or "" when it has no text
};

// Every status code of tarn/status.h: the catalogue's codes first, then the
// router's, each ordered by code.
std::vector<StatusCode> statusCodes();

// A status in words: the library's message, or the meaning of a code that
// has none.
std::string describeStatus(int code);

// The status-code page in Markdown.
std::string statusPage();

}  // namespace tarncli
