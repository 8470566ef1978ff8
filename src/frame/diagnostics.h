// Per-thread diagnostic state and the two log writers.
//
// Every thread has its own copy of this state; it starts with empty paths and every
// switch off. The first ErrorLog_Write of a thread locates the log files (log_folder)
// and reads the trace flag file; tracing therefore begins only after
// the first logged error of a thread.
#pragma once

#include <string>

#include "vexqom/error.h"
#include "vexqom/text.h"

namespace vexqom::diag {

struct ThreadState {
  Text ErrorLogPath;
  Text TraceLogPath;
  bool TraceToFile = false;
  bool error_writer_busy = false;
  bool trace_writer_busy = false;
  bool init_running = false;  // stops a nested LogFiles_Init from recursing
  ErrorState module_errors;   // LastErrorNumber / LastErrorMessage of the module
  // The XML writer switches gXMLCompress and gXMLZeroSuppress.
  bool XMLCompress = false;
  bool XMLZeroSuppress = false;
};

ThreadState& thread_state();

// The thread's TraceActive switch, kept apart from the rest of the state: every procedure
// looks at it on entry, and a plain thread-local flag in the static TLS block is one load
// (no initialisation check, no TLS lookup call).
inline constinit thread_local bool tls_trace_active
    __attribute__((tls_model("initial-exec"))) = false;
inline bool TraceActive() { return tls_trace_active; }

void ErrorLog_Write(Text message);
void TraceLog_Write(Text message);
void LogFiles_Init();
void TraceToFile_Set(bool on);

// The library's own file as the platform reports it (dladdr), e.g.
// "/opt/lib/libvexqom_PLUMEK2.so". Tests may point it elsewhere; the override holds
// for threads whose log files are not initialised yet.
std::string library_file();
void set_library_file_override(std::string path);  // empty: back to dladdr
// The folder that holds the logs and the trace flag file: the environment variable
// VEXQOM_LOG_DIR when it is set and not empty (a system-wide library sits in a folder its
// users cannot write), else the folder of library_file(). No separator at the end.
std::string log_folder();

// Forgets this thread's state (paths, switches, busy flags); for tests.
void reset_thread_state_for_testing();

}  // namespace vexqom::diag
