// The procedure convention: entry trace, numbered statements, and one handler that
// logs a failure and raises it again with a composed message.
//
//   return run_procedure(errors_, u"ICatVehicle | Let XML", Trace::Yes, [&](int& line) {
//     line = 1; Clear();
//     line = 2; if (xml.empty()) return;
//     ...
//   });
//
// A failure inside the body reaches the caller as the same number with the description
// "<label>, Error # <n> at line: <line>" CR LF "<inner description>", after one line was
// written to the error log. Chains of such procedures therefore add one label line (and
// one log line) per level.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "frame/diagnostics.h"
#include "vexqom/error.h"
#include "vexqom/text.h"

namespace vexqom {

enum class Trace : bool { No = false, Yes = true };

// Writes the entry trace line when tracing is active on this thread.
void write_trace_entry(TextView label);
inline void trace_entry(TextView label) {
  if (diag::TraceActive()) [[unlikely]] write_trace_entry(label);
}

// The composed message of a handler.
Text compose_failure_message(TextView label, int32_t number, int line, TextView description);

// The standard handler (steps: save number and message, log, raise) for the failure
// caught.
[[noreturn]] void raise_from_handler(ErrorState& state, TextView label, int line,
                                     const Error& failure);

// The "raise without logging" handler: the message gains " on file name: " + path.
[[noreturn]] void raise_unlogged_from_handler(ErrorState& state, TextView label, int line,
                                              TextView path, const Error& failure);

template <class F>
decltype(auto) run_procedure(ErrorState& state, TextView label, Trace trace, F&& body) {
  int line = 0;
  try {
    if (trace == Trace::Yes) trace_entry(label);
    return std::forward<F>(body)(line);
  } catch (const Error& failure) {  // the usual failure, seen without throwing it again
    raise_from_handler(state, label, line, failure);
  } catch (...) {
    raise_from_handler(state, label, line, current_error());
  }
}

// "errors ignored": every error inside is discarded.
template <class F>
void ignore_errors(F&& body) noexcept {
  try {
    std::forward<F>(body)();
  } catch (...) {
  }
}

// "duplicate key tolerated" for one statement: error 457 is cleared and execution goes
// on with the next statement; any other error passes on to the procedure's handler.
template <class F>
void tolerate_duplicate_key(F&& statement) {
  try {
    std::forward<F>(statement)();
  } catch (const Error& e) {
    if (e.number() != errc::kDuplicateKey) throw;
  }
}

}  // namespace vexqom
