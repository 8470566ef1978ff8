// Keeps this thread's XML writer switches (Compress and ZeroSuppress) as they were and puts
// them back when it goes, so that a test may turn them, or create a selection (which turns
// them on), without changing what the next test sees.
#pragma once

#include "frame/diagnostics.h"

namespace vexqom::testing {

class WriterSwitches {
 public:
  WriterSwitches()
      : compress_(diag::thread_state().XMLCompress),
        zero_(diag::thread_state().XMLZeroSuppress) {}
  // Also sets both switches to `on` until then.
  explicit WriterSwitches(bool on) : WriterSwitches() {
    diag::thread_state().XMLCompress = on;
    diag::thread_state().XMLZeroSuppress = on;
  }
  ~WriterSwitches() {
    diag::thread_state().XMLCompress = compress_;
    diag::thread_state().XMLZeroSuppress = zero_;
  }
  WriterSwitches(const WriterSwitches&) = delete;
  WriterSwitches& operator=(const WriterSwitches&) = delete;

 private:
  bool compress_;
  bool zero_;
};

}  // namespace vexqom::testing
