#include "frame/file_procedures.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>
#include <vector>

#include "frame/diagnostics.h"
#include "frame/procedure.h"

namespace vexqom {

namespace {

ErrorState& module_errors() { return diag::thread_state().module_errors; }

bool has_wildcard(TextView path) {
  return path.find(u'*') != TextView::npos || path.find(u'?') != TextView::npos;
}

// Splits "dir/pattern" into the folder (default ".") and the name part.
void split_folder(const std::string& path, std::string* folder, std::string* name) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) {
    *folder = ".";
    *name = path;
  } else {
    *folder = slash == 0 ? "/" : path.substr(0, slash);
    *name = path.substr(slash + 1);
  }
}

bool is_regular_file(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// Ordinary (regular, not hidden) files of a folder whose names match the pattern.
std::vector<std::string> matching_files(const std::string& pattern_path) {
  std::string folder, pattern;
  split_folder(pattern_path, &folder, &pattern);
  std::vector<std::string> found;
  DIR* dir = ::opendir(folder.c_str());
  if (dir == nullptr) return found;
  const Text wide_pattern = from_utf8(pattern);
  while (dirent* entry = ::readdir(dir)) {
    std::string name = entry->d_name;
    if (name.empty() || name[0] == '.') continue;
    if (!wildcard_match(wide_pattern, from_utf8(name))) continue;
    std::string full = (folder == "/" ? "" : folder) + "/" + name;
    if (is_regular_file(full)) found.push_back(full);
  }
  ::closedir(dir);
  return found;
}

Error errno_error(int err) {
  switch (err) {
    case ENOENT: return Error(errc::kFileNotFound);
    case ENOTDIR: return Error(errc::kPathNotFound);
    default: return Error(errc::kPathFileAccess);
  }
}

// Base name of the library file without its extension ("libx.so" -> "libx").
std::string strip_extension(const std::string& base) {
  size_t so = base.find(".so");
  if (so != std::string::npos && (so + 3 == base.size() || base[so + 3] == '.')) {
    return base.substr(0, so);
  }
  size_t dot = base.rfind('.');
  return dot == std::string::npos || dot == 0 ? base : base.substr(0, dot);
}

}  // namespace

bool wildcard_match(TextView pattern, TextView name) {
  // Iterative match with one backtrack point for the last "*".
  size_t p = 0, n = 0, star = TextView::npos, mark = 0;
  while (n < name.size()) {
    if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n])) {
      ++p;
      ++n;
    } else if (p < pattern.size() && pattern[p] == u'*') {
      star = p++;
      mark = n;
    } else if (star != TextView::npos) {
      p = star + 1;
      n = ++mark;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == u'*') ++p;
  return p == pattern.size();
}

void AddDirSep(Text& path) {
  run_procedure(module_errors(), u"basLIBstd | AddDirSep", Trace::No, [&](int& line) {
    line = 1;
    TextView trimmed = trim_right_blanks(path);
    line = 2;
    if (trimmed.empty() || trimmed.back() != u'/') {
      line = 3;
      path = Text(trimmed) + u"/";
    }
  });
}

bool FileExists(const Text& path) {
  return run_procedure(module_errors(), u"basLIBstd | FileExists", Trace::No, [&](int& line) {
    line = 1;
    bool exists = false;
    if (path.empty()) return false;
    line = 2;
    const std::string native = to_utf8(path);
    if (!has_wildcard(path)) {
      // Suspended handler: an open that fails only means "no".
      line = 3;
      int fd = ::open(native.c_str(), O_RDONLY | O_CLOEXEC);
      if (fd >= 0) {
        struct stat st;
        exists = ::fstat(fd, &st) == 0 && !S_ISDIR(st.st_mode);
        ::close(fd);
      }
    } else {
      line = 4;
      exists = !matching_files(native).empty();
    }
    line = 5;
    return exists;
  });
}

void FileDelete(const Text& path) {
  int line = 0;
  try {
    line = 1;
    if (!FileExists(path)) return;
    line = 2;
    const std::string native = to_utf8(path);
    std::vector<std::string> targets;
    if (!has_wildcard(path)) {
      line = 3;
      // Clearing the attributes: make the file writable before it goes.
      struct stat st;
      if (::stat(native.c_str(), &st) == 0 && (st.st_mode & S_IWUSR) == 0) {
        ::chmod(native.c_str(), st.st_mode | S_IWUSR);
      }
      targets.push_back(native);
    } else {
      line = 4;
      targets = matching_files(native);
    }
    line = 5;
    for (const std::string& target : targets) {
      if (::unlink(target.c_str()) != 0) throw errno_error(errno);
    }
  } catch (...) {
    raise_unlogged_from_handler(module_errors(), u"basLIBstd | FileDelete", line, path,
                                current_error());
  }
}

Text library_name() {
  std::string file = diag::library_file();
  size_t slash = file.rfind('/');
  return from_utf8(strip_extension(slash == std::string::npos ? file : file.substr(slash + 1)));
}

namespace {

// The path of one of the library's log files: the log folder, the library's base name and
// the ending.
Text log_file_name(TextView label, TextView ending) {
  return run_procedure(module_errors(), label, Trace::No, [&](int& line) {
    line = 1;
    Text folder = from_utf8(diag::log_folder());
    line = 2;
    AddDirSep(folder);
    line = 3;
    return folder + library_name() + Text(ending);
  });
}

}  // namespace

Text FileNameErrorFile() { return log_file_name(u"basLIBstd | FileNameErrorFile", u".error.log"); }

Text FileNameTraceFile() { return log_file_name(u"basLIBstd | FileNameTraceFile", u".trace.log"); }

Text DateTimeStamp_Log() {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char buf[32];
  std::strftime(buf, sizeof buf, "%Y%m%d|%H:%M:%S", &local);
  return from_utf8(buf);
}

Text UserName_Get() {
  return run_procedure(module_errors(), u"basLIBstd | UserName_Get", Trace::No, [&](int& line) {
    line = 1;
    // Every log line asks; the user database is read again only when the user id changes.
    thread_local struct {
      bool known = false;
      uid_t user = 0;
      Text name;
    } last;
    const uid_t user = ::geteuid();
    if (last.known && last.user == user) return last.name;
    passwd entry{};
    passwd* result = nullptr;
    std::vector<char> scratch(16384);
    line = 2;
    if (::getpwuid_r(user, &entry, scratch.data(), scratch.size(), &result) != 0 ||
        result == nullptr || result->pw_name == nullptr) {
      return Text();
    }
    line = 3;
    std::string name = result->pw_name;
    // The system's buffer holds 199 characters; a longer name cannot be had.
    last = {true, user, name.size() > 199 ? Text() : from_utf8(name)};
    return last.name;
  });
}

}  // namespace vexqom
