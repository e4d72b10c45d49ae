// The exception firewall of the C interface. No exception may cross an
// exported function; an export whose body can throw (allocation) runs it
// through guarded(), which turns any exception into the export's documented
// failure value.
#pragma once

#include <utility>

namespace tarn {

// The result has the body's type; onFailure converts to it (a status
// constant of tarn/status.h to int, say).
template <class Failure, class Body>
auto guarded(Failure onFailure, Body&& body) noexcept -> decltype(std::forward<Body>(body)()) {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    return onFailure;
  }
}

}  // namespace tarn
