// Messages of the catalogue's status codes and the diagnostic stream of the
// error handler. The codes and their messages are the catalogue table of
// tarn/status.h.
#pragma once

#include <cstdio>

namespace tarn::frame {

// The message of a status code, or null when the code has none.
const char* statusMessage(int code);

// The stream gfx_tarnErrorHandler writes to; null (the initial state) keeps
// it silent.
std::FILE*& diagnosticStream();

}  // namespace tarn::frame
