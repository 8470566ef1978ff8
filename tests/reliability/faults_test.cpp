// Hostile surroundings: logs that cannot be written, a full disk, a trace log that cannot be
// deleted, XML files that are missing or cannot be read. Each time the host gets exactly the
// result it would get anyway, and nothing else changes.
//
// Tests may run as root, which ignores permission bits; the faults are made with means that
// hold for root too (a regular file where a folder should be, /dev/full, the append-only file
// attribute, a device that cannot be read).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <ctime>
#include <filesystem>
#include <map>
#include <regex>
#include <string>

#include "frame/diagnostics.h"
#include "support/checks.h"
#include "support/log_folder.h"
#include "vexqom/ICatItemCol.h"
#include "xml/clsXML.h"
#include "xml/dom_document.h"

namespace vexqom {
namespace {

namespace fs = std::filesystem;
using namespace testing;

// A scratch folder, at first the library's too; a test may place the library elsewhere.
struct Scratch : LogFolder {
  std::string operator/(const std::string& name) const { return path() + "/" + name; }
  // The library's file as if it lay in `folder`; this thread's log state starts afresh.
  static void place_library_in(const std::string& folder) {
    diag::set_library_file_override(folder + "/libvexqom_PLUMEK2.so");
    diag::reset_thread_state_for_testing();
  }
  // Every file below the folder with its contents: what "nothing else changed" compares.
  std::map<std::string, std::string> snapshot() const {
    std::map<std::string, std::string> out;
    for (const auto& entry : fs::recursive_directory_iterator(path())) {
      out[entry.path()] = entry.is_symlink() ? "-> " + fs::read_symlink(entry.path()).string()
                          : entry.is_regular_file() ? read_file(entry.path())
                                                    : "<folder>";
    }
    return out;
  }
};

const std::string kWriteFailure =
    "75 clsXML | XMLFileWrite, Error # 75 at line: 2\r\nPath/File access error";

// The failure every log test provokes: writing an engine's text into a missing folder.
std::string failing_write(clsXML& engine, const Scratch& scratch) {
  return failure_of([&] { engine.XMLFileWrite(from_utf8(scratch / "no-folder/out"), false); });
}

Ref<clsXML> engine_with_text() {
  auto x = create<clsXML>();
  x->put_Snippet(true);
  x->Add(u"r", u"", true);
  x->Add(u"a", u"1 < 2");
  x->EndGroup();
  return x;
}

// Logs that cannot be written (the library's folder is a plain file, or the disk is full)
// are not the host's concern: the same failure each time, the host's work goes on, nothing
// else changes, and once there is room the same thread logs again (no writer left busy).
TEST(ReliabilityFaults, LogsThatCannotBeWrittenChangeNothingForTheHost) {
  Scratch scratch;
  LogFolder::write_file(scratch / "plain", "not a folder");
  Scratch::place_library_in(scratch / "plain");
  auto engine = engine_with_text();
  const auto untouched = scratch.snapshot();
  EXPECT_EQ(failing_write(*engine, scratch) + failing_write(*engine, scratch),
            kWriteFailure + kWriteFailure);
  EXPECT_EQ(scratch.snapshot(), untouched);

  const std::string errors = scratch / "libvexqom_PLUMEK2.error.log";
  const std::string traces = scratch / "libvexqom_PLUMEK2.trace.log";
  ASSERT_EQ(::symlink("/dev/full", errors.c_str()), 0);
  LogFolder::write_file(scratch / "libvexqom_PLUMEK2.trace.flg", "");
  Scratch::place_library_in(scratch.path());
  EXPECT_EQ(failing_write(*engine, scratch), kWriteFailure);  // tracing on from here
  // Only now the trace log: a stale one would rightly be deleted when the logs are set up.
  ASSERT_EQ(::symlink("/dev/full", traces.c_str()), 0);
  const auto full = scratch.snapshot();
  auto col = create<ICatItemCol>();
  col->Add(create<ICatItem>(), u"K");
  EXPECT_EQ(std::pair(col->get_Count(), scratch.snapshot() == full), std::pair(1, true));
  fs::remove(errors);
  fs::remove(traces);
  EXPECT_EQ(failing_write(*engine, scratch), kWriteFailure);
  col->Clear();
  EXPECT_EQ(std::pair(LogFolder::lines(errors).size(), LogFolder::lines(traces).at(0).substr(18)),
            std::pair(size_t{1}, std::string("ICatItemCol | Clear")));
}

// Makes a file impossible to delete but still open for appending: the append-only attribute
// for root, a read-only folder for everyone else. Undone on destruction.
struct Undeletable {
  Undeletable(const std::string& path, const std::string& dir) : file(path), folder(dir) {
    ok = set(true);
  }
  ~Undeletable() { ok && set(false); }
  bool set(bool on) const {
    if (::geteuid() != 0) return ::chmod(folder.c_str(), on ? 0555 : 0755) == 0;
    const int fd = ::open(file.c_str(), O_RDONLY);
    int flags = 0;
    bool done = fd >= 0 && ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    flags = on ? flags | FS_APPEND_FL : flags & ~FS_APPEND_FL;
    done = done && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    if (fd >= 0) ::close(fd);
    return done;
  }
  std::string file, folder;
  bool ok = false;
};

TEST(ReliabilityFaults, StaleTraceLogThatCannotBeDeletedIsKeptAndAppendedTo) {
  Scratch scratch;
  const std::string trace = scratch / "libvexqom_PLUMEK2.trace.log";
  const std::string old_line = "20000101|00:00:00 ICatItemCol | Clear\r\n";
  LogFolder::write_file(trace, old_line);
  LogFolder::write_file(scratch / "libvexqom_PLUMEK2.error.log", "");
  LogFolder::write_file(scratch / "libvexqom_PLUMEK2.trace.flg", "");
  const std::time_t yesterday = std::time(nullptr) - 26 * 3600;  // initialisation wants it gone
  utimbuf times{yesterday, yesterday};
  ASSERT_EQ(::utime(trace.c_str(), &times), 0);
  Scratch::place_library_in(scratch.path());
  Undeletable guard(trace, scratch.path());
  if (!guard.ok) GTEST_SKIP() << "this file system cannot protect a file from deletion";
  ASSERT_NE(::unlink(trace.c_str()), 0) << "the trace log could still be deleted";
  auto engine = engine_with_text();
  EXPECT_EQ(failing_write(*engine, scratch), kWriteFailure);
  // The failed delete is neither logged nor raised: one line, for the failure itself.
  EXPECT_EQ(LogFolder::lines(scratch / "libvexqom_PLUMEK2.error.log").size(), 1u);
  // Tracing is on; new lines follow the old content, which stays as it was.
  create<ICatItemCol>()->Clear();
  const auto lines = LogFolder::lines(trace);
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[0] + "\r\n", old_line);
  EXPECT_EQ(lines[1].substr(18), "ICatItemCol | Class_Initialize");
}

// A missing file's DocumentLoad is the DOM tests'; here the ones the engine cannot open.
TEST(ReliabilityFaults, MissingOrUnreadableXmlFiles) {
  Scratch scratch;
  fs::create_directory(scratch / "logs");
  Scratch::place_library_in(scratch / "logs");
  const std::string error_log = scratch / "logs/libvexqom_PLUMEK2.error.log";
  fs::create_directory(scratch / "folder.xml");
  ASSERT_EQ(::symlink("/proc/self/mem", (scratch / "device.xml").c_str()), 0);
  const auto files_before = scratch.snapshot();
  // XMLFileRead: a missing file and a folder read as empty text, the engine loaded and
  // formatted, nothing logged.
  for (const char* name : {"missing", "folder"}) {
    auto x = engine_with_text();
    x->XMLFileRead(from_utf8(scratch / name));
    EXPECT_EQ(x->get_XML(), u"") << name;
    x->Add(u"a", u"1");
    EXPECT_EQ(testing::u8(x->get_XML()), "<a>1</a>\r\n") << name << ": not loaded and formatted";
  }
  EXPECT_EQ(scratch.snapshot(), files_before);
  // A file that opens but cannot be read: error 75 through the handler, one log line.
  EXPECT_TRUE(std::regex_match(
      failure_of([&] { engine_with_text()->XMLFileRead(from_utf8(scratch / "device")); }),
      std::regex(
          R"(^75 clsXML \| XMLFileRead, Error # 75 at line: \d+\r\nPath/File access error$)")));
  EXPECT_EQ(LogFolder::lines(error_log).size(), 1u);

  // DocumentLoad of a folder: named with its reason, and logged.
  const std::string failure = failure_of(
      [&] { engine_with_text()->DocumentLoad(from_utf8(scratch / "folder.xml")); });
  EXPECT_TRUE(std::regex_match(failure, std::regex(
      R"(^-2147221504 clsXML \| DocumentLoad, Error # -2147221504 at line: \d+\r\nLoadDocument Error: -?\d+\r\nxsFileName: )" +
      scratch.path() + R"(/folder\.xml\r\nReason: [^\r\n]+\r\nLocation: line -?\d+, col -?\d+$)")))
      << failure;
  EXPECT_EQ(LogFolder::lines(error_log).size(), 2u);
}

}  // namespace
}  // namespace vexqom
