// How every C entry point fails: it returns the raised error's number and leaves that
// error, number, source and description, for vq_error_* on this thread. No C++ exception
// crosses the interface.
#pragma once

#include <cstdint>
#include <utility>

namespace vexqom::capi {

// Records the exception being handled as this thread's last error; returns its number.
int32_t record_current_failure() noexcept;

// Runs body: 0 when it returns, else the recorded failure's number.
template <class F>
int32_t guarded(F&& body) noexcept {
  try {
    std::forward<F>(body)();
    return 0;
  } catch (...) {
    return record_current_failure();
  }
}

}  // namespace vexqom::capi
