#include "frame/procedure.h"

#include "frame/diagnostics.h"
#include "vexqom/variant.h"

namespace vexqom {

void write_trace_entry(TextView label) { diag::TraceLog_Write(Text(label)); }

Text compose_failure_message(TextView label, int32_t number, int line, TextView description) {
  Text message(label);
  message += u", Error # ";
  message += integer_text(number);
  message += u" at line: ";
  message += integer_text(line);
  message += u"\r\n";
  message += description;
  return message;
}

void raise_from_handler(ErrorState& state, TextView label, int line, const Error& failure) {
  state.LastErrorNumber = failure.number();
  state.LastErrorMessage =
      compose_failure_message(label, failure.number(), line, failure.description());
  diag::ErrorLog_Write(state.LastErrorMessage);
  throw Error(state.LastErrorNumber, kDefaultErrorSource, state.LastErrorMessage);
}

void raise_unlogged_from_handler(ErrorState& state, TextView label, int line, TextView path,
                                 const Error& failure) {
  state.LastErrorNumber = failure.number();
  state.LastErrorMessage =
      compose_failure_message(label, failure.number(), line, failure.description());
  state.LastErrorMessage += u" on file name: ";
  state.LastErrorMessage += path;
  throw Error(state.LastErrorNumber, kDefaultErrorSource, state.LastErrorMessage);
}

}  // namespace vexqom
