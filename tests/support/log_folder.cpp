#include "support/log_folder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "frame/diagnostics.h"

namespace vexqom::testing {

LogFolder::LogFolder() {
  char pattern[] = "/tmp/vexqom-test-XXXXXX";
  path_ = ::mkdtemp(pattern);
  diag::set_library_file_override(path_ + "/libvexqom_PLUMEK2.so");
  diag::reset_thread_state_for_testing();
}

LogFolder::~LogFolder() {
  diag::set_library_file_override("");
  diag::reset_thread_state_for_testing();
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

void LogFolder::create_trace_flag() const {
  write_file(path_ + "/libvexqom_PLUMEK2.trace.flg", "");
}

std::vector<std::string> LogFolder::error_messages() const {
  std::vector<std::string> out;
  for (const std::string& line : error_lines()) out.push_back(log_message(line));
  return out;
}

std::vector<std::string> LogFolder::traced(const std::string& part) const {
  std::vector<std::string> out;
  for (const std::string& line : trace_lines()) {
    const size_t at = line.find(part);
    if (at != std::string::npos) out.push_back(line.substr(at));
  }
  return out;
}

std::string LogFolder::read_file(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void LogFolder::write_file(const std::string& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

std::vector<std::string> LogFolder::lines(const std::string& file) {
  const std::string all = read_file(file);
  std::vector<std::string> out;
  for (size_t start = 0, end; start < all.size(); start = end + 2) {
    end = std::min(all.find("\r\n", start), all.size());
    out.push_back(all.substr(start, end - start));
  }
  return out;
}

std::string log_message(const std::string& line) {
  // "yyyymmdd|hh:mm:ss" (17) + " " + user (12) + " "
  return line.size() >= 31 ? line.substr(31) : std::string();
}

}  // namespace vexqom::testing
