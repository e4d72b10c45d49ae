// The exception firewall of the C interface. No exception may cross an
// exported function; an export whose body can throw (allocation) runs it
// through guarded(), which turns any exception into the export's documented
// failure value.
#pragma once

#include <utility>

namespace tarn {

template <class Result, class Body>
Result guarded(Result onFailure, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    return onFailure;
  }
}

}  // namespace tarn
