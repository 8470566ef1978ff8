#include "frame/code_page.h"
#include "frame/diagnostics.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <mutex>

#include "frame/file_procedures.h"
#include "frame/text_procedures.h"

namespace vexqom::diag {

namespace {

thread_local ThreadState tls_state;

std::mutex& override_guard() {
  static std::mutex m;
  return m;
}
std::string& library_file_override() {
  static std::string path;
  return path;
}

constexpr off_t kTraceLogLimit = 1048576;

Text replace_line_breaks(const Text& message) {
  Text out;
  out.reserve(message.size());
  for (size_t i = 0; i < message.size(); ++i) {
    if (message[i] == u'\r' && i + 1 < message.size() && message[i + 1] == u'\n') {
      out += u"][";
      ++i;
    } else {
      out += message[i];
    }
  }
  return out;
}

// One open-append-close per line, the line in one write, so that lines from several
// threads or processes never interleave.
void append_line(const Text& path, const Text& line) {
  std::string bytes = to_code_page(line);
  bytes += "\r\n";
  const std::string native = to_utf8(path);
  int fd = ::open(native.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return;
  ssize_t written = ::write(fd, bytes.data(), bytes.size());
  (void)written;  // a failed write is discarded like every other writer failure
  ::close(fd);
}

bool modified_today(const struct stat& st) {
  std::time_t now = std::time(nullptr);
  std::tm today{}, modified{};
  ::localtime_r(&now, &today);
  std::time_t mtime = st.st_mtime;
  ::localtime_r(&mtime, &modified);
  return today.tm_year == modified.tm_year && today.tm_yday == modified.tm_yday;
}

}  // namespace

ThreadState& thread_state() { return tls_state; }

std::string library_file() {
  {
    std::lock_guard<std::mutex> lock(override_guard());
    if (!library_file_override().empty()) return library_file_override();
  }
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&library_file), &info) != 0 && info.dli_fname != nullptr) {
    return info.dli_fname;
  }
  return std::string();
}

std::string log_folder() {
  const char* chosen = std::getenv("VEXQOM_LOG_DIR");
  if (chosen != nullptr && *chosen != '\0') return chosen;
  std::string file = library_file();
  size_t slash = file.rfind('/');
  return slash == std::string::npos ? std::string() : file.substr(0, slash);
}

void set_library_file_override(std::string path) {
  std::lock_guard<std::mutex> lock(override_guard());
  library_file_override() = std::move(path);
}

void reset_thread_state_for_testing() {
  tls_state = ThreadState();
  tls_trace_active = false;
}

void TraceToFile_Set(bool on) {
  tls_state.TraceToFile = on;
  tls_trace_active = on;
}

void LogFiles_Init() {
  ThreadState& st = tls_state;
  if (st.init_running) return;  // a failing path procedure must not start it again
  st.init_running = true;
  try {
    Text folder = from_utf8(log_folder());
    AddDirSep(folder);
    TraceToFile_Set(FileExists(folder + library_name() + u".trace.flg"));
    st.ErrorLogPath = FileNameErrorFile();
    st.TraceLogPath = FileNameTraceFile();
    if (st.TraceToFile && FileExists(st.TraceLogPath)) {
      struct stat info;
      if (::stat(to_utf8(st.TraceLogPath).c_str(), &info) == 0) {
        if (!modified_today(info)) {
          FileDelete(st.TraceLogPath);
        } else if (info.st_size > kTraceLogLimit) {
          FileDelete(st.TraceLogPath);
        }
      }
    }
  } catch (...) {
    // Whatever was set before the failure stays set.
  }
  st.init_running = false;
}

void ErrorLog_Write(Text message) {
  ThreadState& st = tls_state;
  if (st.error_writer_busy) return;
  if (message.empty()) return;
  try {
    if (st.ErrorLogPath.empty()) LogFiles_Init();
    st.error_writer_busy = true;
    Text line = DateTimeStamp_Log();
    line += u' ';
    line += str_Fill(Variant(UserName_Get()), 12, u" ");
    line += u' ';
    line += trim_blanks(replace_line_breaks(message));
    if (!st.ErrorLogPath.empty()) append_line(st.ErrorLogPath, line);
  } catch (...) {
    // The caller is not told.
  }
  st.error_writer_busy = false;
}

void TraceLog_Write(Text message) {
  ThreadState& st = tls_state;
  if (st.trace_writer_busy || message.empty()) return;
  try {
    if (st.TraceLogPath.empty()) LogFiles_Init();
    Text line = DateTimeStamp_Log();
    line += u' ';
    line += trim_blanks(message);
    if (st.TraceToFile) {
      st.trace_writer_busy = true;
      if (!st.TraceLogPath.empty()) append_line(st.TraceLogPath, line);
    }
  } catch (...) {
  }
  st.trace_writer_busy = false;
}

}  // namespace vexqom::diag
