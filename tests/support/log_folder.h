// A temporary folder that stands in for the library's folder, so that tests see the
// error log, trace log and trace flag file of their own.
#pragma once

#include <string>
#include <vector>

namespace vexqom::testing {

class LogFolder {
 public:
  LogFolder();   // points this process's library file into a new folder; fresh thread state
  ~LogFolder();  // removes the folder and the override

  const std::string& path() const { return path_; }
  std::string error_log_path() const { return path_ + "/libvexqom_PLUMEK2.error.log"; }
  std::string trace_log_path() const { return path_ + "/libvexqom_PLUMEK2.trace.log"; }

  // Lines of a log (without their CR LF); empty when the file is missing.
  std::vector<std::string> error_lines() const { return lines(error_log_path()); }
  std::vector<std::string> trace_lines() const { return lines(trace_log_path()); }
  // The message parts of the error log's lines.
  std::vector<std::string> error_messages() const;
  // Trace messages holding `part`, each from `part` on.
  std::vector<std::string> traced(const std::string& part) const;
  void create_trace_flag() const;

  static std::vector<std::string> lines(const std::string& file);
  static std::string read_file(const std::string& file);
  static void write_file(const std::string& file, const std::string& bytes);

 private:
  std::string path_;
};

// The message part of an error-log line: after the timestamp, blank, 12-character user
// field and blank.
std::string log_message(const std::string& line);

}  // namespace vexqom::testing
