// Hostile surroundings: logs that cannot be written, a full disk, a trace log that cannot be
// deleted, XML files that are missing or cannot be read. Each time the host gets exactly the
// result it would get anyway, and nothing else changes.
//
// Tests may run as root, which ignores permission bits; there the faults are made with
// other means (a regular file where a folder should be, /dev/full, the append-only file
// attribute, a child process that gives up its privileges).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <regex>
#include <string>

#include "frame/diagnostics.h"
#include "support/log_folder.h"
#include "vexqom/ICatItemCol.h"
#include "xml/clsXML.h"
#include "xml/dom_document.h"

namespace vexqom {
namespace {

namespace fs = std::filesystem;
using testing::LogFolder;
using testing::log_message;

const bool kRoot = ::geteuid() == 0;

// A scratch folder; the library's file is placed wherever a test says.
class Scratch {
 public:
  Scratch() {
    char pattern[] = "/tmp/vexqom-faults-XXXXXX";
    path_ = ::mkdtemp(pattern);
    diag::reset_thread_state_for_testing();
  }
  ~Scratch() {
    diag::set_library_file_override("");
    diag::reset_thread_state_for_testing();
    std::error_code ec;
    fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
    fs::remove_all(path_, ec);
  }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }
  // The library's file as if it lay in `folder`; this thread's log state starts afresh.
  static void place_library_in(const std::string& folder) {
    diag::set_library_file_override(folder + "/libvexqom_PLUMEK2.so");
    diag::reset_thread_state_for_testing();
  }

  // Every file below the folder with its contents: what "nothing else changed" compares.
  std::map<std::string, std::string> snapshot() const {
    std::map<std::string, std::string> out;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(path_, ec);
         it != fs::recursive_directory_iterator(); it.increment(ec)) {
      if (ec) break;
      const auto& entry = *it;
      if (entry.is_symlink()) {
        out[entry.path()] = "-> " + fs::read_symlink(entry.path(), ec).string();
      } else if (entry.is_regular_file()) {
        out[entry.path()] = LogFolder::read_file(entry.path());
      } else {
        out[entry.path()] = "<folder>";
      }
    }
    return out;
  }

 private:
  std::string path_;
};

struct Raised {
  int32_t number = 0;
  std::string source;
  std::string description;
  bool operator==(const Raised&) const = default;
};

template <class F>
Raised raised_by(F&& call) {
  try {
    call();
  } catch (const Error& e) {
    return {e.number(), to_utf8(e.source()), to_utf8(e.description())};
  }
  ADD_FAILURE() << "no error raised";
  return {};
}

// The failure every log test provokes: writing an engine's text into a missing folder.
Raised failing_write(clsXML& engine, const std::string& scratch) {
  return raised_by([&] { engine.XMLFileWrite(from_utf8(scratch + "/no-folder/out"), false); });
}

const Raised kWriteFailure{
    75, "vexqom_PLUMEK2", "clsXML | XMLFileWrite, Error # 75 at line: 2\r\nPath/File access error"};

Ref<clsXML> engine_with_text() {
  auto x = create<clsXML>();
  x->put_Snippet(true);
  x->Add(u"r", u"", true);
  x->Add(u"a", u"1 < 2");
  x->EndGroup();
  return x;
}

// The child's side of without_privileges: hands the scratch folder to "nobody", becomes
// that user, runs the body and exits with 0 only when it reported nothing.
[[noreturn]] void run_as_nobody(const Scratch& scratch, const std::function<std::string()>& body) {
  std::error_code ec;
  for (const auto& entry : fs::recursive_directory_iterator(scratch.path(), ec)) {
    if (::lchown(entry.path().c_str(), 65534, 65534) != 0) std::_Exit(3);
  }
  if (::chown(scratch.path().c_str(), 65534, 65534) != 0 || ::setgid(65534) != 0 ||
      ::setuid(65534) != 0) {
    std::_Exit(2);
  }
  const std::string problems = body();
  if (!problems.empty()) std::fprintf(stderr, "%s\n", problems.c_str());
  std::_Exit(problems.empty() ? 0 : 1);
}

// Runs `body` where permission bits hold: directly for an ordinary user, for root in a child
// process that has become an unprivileged user (owning the scratch folder). `body` returns
// what went wrong, empty when all is well.
void without_privileges(const Scratch& scratch, const std::function<std::string()>& body) {
  if (!kRoot) {
    const std::string problems = body();
    EXPECT_EQ(problems, "");
    return;
  }
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(run_as_nobody(scratch, body), ::testing::ExitedWithCode(0), "");
}

TEST(ReliabilityFaults, ErrorLogThatCannotBeCreatedChangesNothingForTheHost) {
  Scratch scratch;
  // Healthy log first: the result every faulty case must match.
  fs::create_directory(scratch / "ok");
  Scratch::place_library_in(scratch / "ok");
  auto healthy_engine = engine_with_text();
  ASSERT_EQ(failing_write(*healthy_engine, scratch.path()), kWriteFailure);
  ASSERT_EQ(LogFolder::lines(scratch / "ok/libvexqom_PLUMEK2.error.log").size(), 1u);

  // The library's "folder" is a regular file, so no log can be opened there (holds for root).
  LogFolder::write_file(scratch / "plain", "not a folder");
  Scratch::place_library_in(scratch / "plain");
  auto engine = engine_with_text();
  const Text before = engine->get_XML();
  const auto files_before = scratch.snapshot();
  EXPECT_EQ(failing_write(*engine, scratch.path()), kWriteFailure);
  EXPECT_EQ(engine->last_error().LastErrorNumber, 75);
  EXPECT_EQ(to_utf8(engine->last_error().LastErrorMessage), kWriteFailure.description);
  EXPECT_EQ(engine->get_XML(), before);
  EXPECT_EQ(scratch.snapshot(), files_before);
  // A second failure on the same thread is raised alike (the writer is not left busy).
  EXPECT_EQ(failing_write(*engine, scratch.path()), kWriteFailure);

  // A folder without write permission, where permission bits count.
  fs::create_directory(scratch / "ro");
  without_privileges(scratch, [&]() -> std::string {
    if (::chmod((scratch / "ro").c_str(), 0555) != 0) return "chmod failed";
    Scratch::place_library_in(scratch / "ro");
    auto x = engine_with_text();
    const Text text = x->get_XML();
    const auto files = scratch.snapshot();
    std::string problems;
    if (!(failing_write(*x, scratch.path()) == kWriteFailure)) problems += "wrong error; ";
    if (x->get_XML() != text) problems += "engine changed; ";
    if (scratch.snapshot() != files) problems += "files changed; ";
    if (fs::exists(scratch / "ro/libvexqom_PLUMEK2.error.log")) problems += "log created; ";
    return problems;
  });
}

TEST(ReliabilityFaults, FullDiskForBothLogsIsNotTheHostsConcern) {
  Scratch scratch;
  ASSERT_EQ(::symlink("/dev/full", (scratch / "libvexqom_PLUMEK2.error.log").c_str()), 0);
  LogFolder::write_file(scratch / "libvexqom_PLUMEK2.trace.flg", "");
  Scratch::place_library_in(scratch.path());

  auto engine = engine_with_text();
  const Text before = engine->get_XML();
  EXPECT_EQ(failing_write(*engine, scratch.path()), kWriteFailure);
  EXPECT_EQ(engine->get_XML(), before);
  // Only now the trace log: a stale one would rightly be deleted when the logs are set up.
  ASSERT_EQ(::symlink("/dev/full", (scratch / "libvexqom_PLUMEK2.trace.log").c_str()), 0);
  const auto files_before = scratch.snapshot();
  // Tracing is now on and every trace line meets a full disk: the host's work goes on.
  auto col = create<ICatItemCol>();
  auto item = create<ICatItem>();
  item->put_LineCode(u"AC");
  item->put_ItemNumber(u"1");
  EXPECT_TRUE(col->Add(item, item->UniqueKey()));
  EXPECT_EQ(col->get_Count(), 1);
  EXPECT_EQ(scratch.snapshot(), files_before);

  // Once the disk has room again the same thread logs normally: no writer was left busy.
  fs::remove(scratch / "libvexqom_PLUMEK2.error.log");
  fs::remove(scratch / "libvexqom_PLUMEK2.trace.log");
  EXPECT_EQ(failing_write(*engine, scratch.path()), kWriteFailure);
  const auto errors = LogFolder::lines(scratch / "libvexqom_PLUMEK2.error.log");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(log_message(errors[0]),
            "clsXML | XMLFileWrite, Error # 75 at line: 2][Path/File access error");
  col->Clear();
  const auto traces = LogFolder::lines(scratch / "libvexqom_PLUMEK2.trace.log");
  ASSERT_FALSE(traces.empty());
  EXPECT_EQ(traces[0].substr(18), "ICatItemCol | Clear");
}

// Makes a file impossible to delete but still open for appending: the append-only attribute
// for root, a read-only folder for everyone else. Undone on destruction.
class Undeletable {
 public:
  Undeletable(const std::string& file, const std::string& folder) : file_(file), folder_(folder) {
    if (kRoot) {
      int fd = ::open(file.c_str(), O_RDONLY);
      int flags = 0;
      if (fd >= 0 && ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0) {
        flags |= FS_APPEND_FL;
        ok_ = ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
      }
      if (fd >= 0) ::close(fd);
    } else {
      ok_ = ::chmod(folder.c_str(), 0555) == 0;
    }
  }
  ~Undeletable() {
    if (!ok_) return;
    if (kRoot) {
      int fd = ::open(file_.c_str(), O_RDONLY);
      int flags = 0;
      if (fd >= 0 && ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0) {
        flags &= ~FS_APPEND_FL;
        ::ioctl(fd, FS_IOC_SETFLAGS, &flags);
      }
      if (fd >= 0) ::close(fd);
    } else {
      ::chmod(folder_.c_str(), 0755);
    }
  }
  bool ok() const { return ok_; }

 private:
  std::string file_, folder_;
  bool ok_ = false;
};

TEST(ReliabilityFaults, StaleTraceLogThatCannotBeDeletedIsKeptAndAppendedTo) {
  Scratch scratch;
  const std::string trace = scratch / "libvexqom_PLUMEK2.trace.log";
  const std::string error = scratch / "libvexqom_PLUMEK2.error.log";
  const std::string old_line = "20000101|00:00:00 ICatItemCol | Clear\r\n";
  LogFolder::write_file(trace, old_line);
  LogFolder::write_file(error, "");
  LogFolder::write_file(scratch / "libvexqom_PLUMEK2.trace.flg", "");
  // Last changed yesterday: initialisation wants it gone.
  const std::time_t yesterday = std::time(nullptr) - 26 * 3600;
  utimbuf times{yesterday, yesterday};
  ASSERT_EQ(::utime(trace.c_str(), &times), 0);
  Scratch::place_library_in(scratch.path());
  Undeletable guard(trace, scratch.path());
  if (!guard.ok()) GTEST_SKIP() << "this file system cannot protect a file from deletion";
  ASSERT_NE(::unlink(trace.c_str()), 0) << "the trace log could still be deleted";

  auto engine = engine_with_text();
  EXPECT_EQ(failing_write(*engine, scratch.path()), kWriteFailure);
  // The failed delete is neither logged nor raised: one line, for the failure itself.
  const auto errors = LogFolder::lines(error);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(log_message(errors[0]),
            "clsXML | XMLFileWrite, Error # 75 at line: 2][Path/File access error");

  // Tracing is on; new lines follow the old content, which stays as it was.
  auto col = create<ICatItemCol>();
  col->Clear();
  const std::string text = LogFolder::read_file(trace);
  ASSERT_TRUE(text.starts_with(old_line)) << text;
  const auto lines = LogFolder::lines(trace);
  ASSERT_GE(lines.size(), 2u);
  static const std::regex traced(R"(^\d{8}\|\d{2}:\d{2}:\d{2} \w+ \| [\w ]+$)");
  for (size_t i = 1; i < lines.size(); ++i) {
    EXPECT_TRUE(std::regex_match(lines[i], traced)) << lines[i];
  }
  EXPECT_EQ(lines[1].substr(18), "ICatItemCol | Class_Initialize");
}

std::string document_load_problems(clsXML& engine, const std::string& file,
                                   const std::string& error_log) {
  const Text before = engine.get_XML();
  const size_t lines_before = LogFolder::lines(error_log).size();
  const Raised r = raised_by([&] { engine.DocumentLoad(from_utf8(file)); });
  std::string problems;
  static const std::regex message(
      R"(^clsXML \| DocumentLoad, Error # -2147221504 at line: \d+\r\nLoadDocument Error: -?\d+\r\nxsFileName: (.*)\r\nReason: [^\r\n]+\r\nLocation: line -?\d+, col -?\d+$)");
  std::smatch m;
  if (r.number != -2147221504) problems += "number " + std::to_string(r.number) + "; ";
  if (r.source != "vexqom_PLUMEK2") problems += "source " + r.source + "; ";
  if (!std::regex_match(r.description, m, message) || m.str(1) != file) {
    problems += "description [" + r.description + "]; ";
  }
  if (engine.get_XML() != before) problems += "engine text changed; ";
  const auto lines = LogFolder::lines(error_log);
  if (lines.size() != lines_before + 1) {
    problems += "log lines " + std::to_string(lines.size() - lines_before) + "; ";
  } else {
    std::string flat = r.description;
    for (size_t p; (p = flat.find("\r\n")) != std::string::npos;) flat.replace(p, 2, "][");
    if (log_message(lines.back()) != flat) problems += "log line [" + lines.back() + "]; ";
  }
  return problems;
}

TEST(ReliabilityFaults, MissingOrUnreadableXmlFiles) {
  Scratch scratch;
  fs::create_directory(scratch / "logs");
  Scratch::place_library_in(scratch / "logs");
  const std::string error_log = scratch / "logs/libvexqom_PLUMEK2.error.log";

  // XMLFileRead: a missing file, a folder and a dangling link all read as empty text, the
  // engine loaded and formatted, nothing logged.
  fs::create_directory(scratch / "folder.xml");
  ASSERT_EQ(::symlink((scratch / "nowhere.xml").c_str(), (scratch / "dangling.xml").c_str()), 0);
  const auto files_before = scratch.snapshot();
  for (const char* name : {"missing", "folder", "dangling.xml"}) {
    auto x = engine_with_text();
    x->XMLFileRead(from_utf8(scratch / name));
    EXPECT_EQ(x->get_XML(), u"") << name;
    x->Add(u"a", u"1");
    EXPECT_EQ(to_utf8(x->get_XML()), "<a>1</a>\r\n") << name << ": not loaded and formatted";
  }
  EXPECT_EQ(scratch.snapshot(), files_before);

  // A file that opens but cannot be read: error 75 through the handler, one log line.
  ASSERT_EQ(::symlink("/proc/self/mem", (scratch / "device.xml").c_str()), 0);
  {
    auto x = engine_with_text();
    const Raised r = raised_by([&] { x->XMLFileRead(from_utf8(scratch / "device")); });
    EXPECT_EQ(r.number, 75);
    EXPECT_EQ(r.source, "vexqom_PLUMEK2");
    EXPECT_TRUE(std::regex_match(
        r.description, std::regex(R"(^clsXML \| XMLFileRead, Error # 75 at line: \d+\r\nPath/File access error$)")))
        << r.description;
    const auto lines = LogFolder::lines(error_log);
    ASSERT_EQ(lines.size(), 1u);
  }

  // DocumentLoad: missing file, folder, dangling link.
  auto engine = engine_with_text();
  for (const char* name : {"missing.xml", "folder.xml", "dangling.xml"}) {
    EXPECT_EQ(document_load_problems(*engine, scratch / name, error_log), "") << name;
  }

  // A file without read permission: XMLFileRead takes it for missing, DocumentLoad fails.
  LogFolder::write_file(scratch / "secret.xml", "<r><a>1</a></r>");
  without_privileges(scratch, [&]() -> std::string {
    if (::chmod((scratch / "secret.xml").c_str(), 0) != 0) return "chmod failed";
    std::string problems;
    auto x = engine_with_text();
    x->XMLFileRead(from_utf8(scratch / "secret"));
    if (!x->get_XML().empty()) problems += "unreadable file was read; ";
    problems += document_load_problems(*x, scratch / "secret.xml", error_log);
    if (LogFolder::read_file(scratch / "secret.xml") != "") problems += "root could read it; ";
    return problems;
  });
}

}  // namespace
}  // namespace vexqom
