// The exception firewall of the blend library's C interface, and its errors.
// Internal code reports a refused request by throwing Error (a status code and
// a one-line message); every export runs its body through guarded(), which
// turns an Error into its status and any other exception into
// TARNBLEND_ERROR_MEMORY or _INTERNAL, keeping the message for
// tarnblend_last_error(). Nothing crosses the boundary.
#pragma once

#include <stdexcept>
#include <string>

#include "tarn/blend.h"

namespace tarnblend {

// A refused request: the status the export returns and the message it leaves.
class Error : public std::runtime_error {
 public:
  Error(int status, const std::string& message) : std::runtime_error(message), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

// Records the message of a failed call (what tarnblend_last_error returns).
void setLastError(const char* message) noexcept;
const char* lastError() noexcept;

// Runs body (returning void) and gives TARNBLEND_OK, or the status of what
// it threw with the message recorded.
template <class Body>
int guarded(Body&& body) noexcept {
  try {
    body();
    return TARNBLEND_OK;
  } catch (const Error& e) {
    setLastError(e.what());
    return e.status();
  } catch (const std::bad_alloc&) {
    setLastError("out of memory");
    return TARNBLEND_ERROR_MEMORY;
  } catch (const std::exception& e) {
    setLastError(e.what());
    return TARNBLEND_ERROR_INTERNAL;
  } catch (...) {
    setLastError("unexpected failure");
    return TARNBLEND_ERROR_INTERNAL;
  }
}

// Throws TARNBLEND_ERROR_ARGUMENT naming the null argument.
inline void requirePointer(const void* pointer, const char* what) {
  if (pointer == nullptr) throw Error(TARNBLEND_ERROR_ARGUMENT, std::string(what) + " is null");
}

}  // namespace tarnblend
