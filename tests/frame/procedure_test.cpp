// The procedure convention, the diagnostic logs as a host sees them, and the file, user,
// clock and text procedures of the standard module.
#include "frame/procedure.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <utime.h>

#include <filesystem>
#include <functional>
#include <regex>

#include "frame/diagnostics.h"
#include "frame/file_procedures.h"
#include "frame/text_procedures.h"
#include "support/checks.h"
#include "support/log_folder.h"

namespace vexqom {
namespace {

using namespace testing;

ErrorState g_state;

// A procedure at `at` around `inner`, as nested library calls are.
void level(const char16_t* label, int at, const std::function<void()>& inner) {
  run_procedure(g_state, label, Trace::Yes, [&](int& line) {
    line = at;
    inner();
  });
}

// A failure climbs three levels: each adds its label line and logs once, the log line
// holding the whole description so far with each CR LF pair as "][".
TEST(ProcedureConvention, EachLevelAddsOneLabelLineAndLogsOnce) {
  LogFolder logs;
  auto three = [] { level(u"Inner | Three", 2, [] { throw Error(errc::kOverflow); }); };
  auto two_three = [&] { level(u"Middle | Two", 4, three); };
  EXPECT_EQ(failure_of([&] { level(u"Outer | One", 7, two_three); }),
            "6 Outer | One, Error # 6 at line: 7\r\nMiddle | Two, Error # 6 at line: 4\r\n"
            "Inner | Three, Error # 6 at line: 2\r\nOverflow");
  level(u"T | Traced", 1, [] {});
  EXPECT_FALSE(std::filesystem::exists(logs.trace_log_path())) << "no flag, no tracing";
  // The ends are trimmed and a lone CR or LF stays; an empty message writes no line.
  for (const char16_t* message : {u"  a\r\nb\rc\nd  ", u"   ", u""}) diag::ErrorLog_Write(message);
  const std::string inner = "Inner | Three, Error # 6 at line: 2][Overflow";
  const std::string two = "Middle | Two, Error # 6 at line: 4][" + inner;
  EXPECT_EQ(logs.error_messages(),
            (std::vector<std::string>{inner, two, "Outer | One, Error # 6 at line: 7][" + two,
                                      "a][b\rc\nd", ""}));
}

TEST(TraceLog, StaleOrOversizedLogIsDiscardedAtInitialisation) {
  for (auto [size, yesterday, kept] : {std::tuple{1048576, false, true}, {1048577, false, false},
                                       {10, true, false}, {10, false, true}}) {
    LogFolder logs;
    logs.create_trace_flag();
    LogFolder::write_file(logs.trace_log_path(), std::string(size, 'x'));
    struct utimbuf times;
    times.actime = times.modtime = time(nullptr) - 26 * 3600;
    if (yesterday) utime(logs.trace_log_path().c_str(), &times);
    diag::LogFiles_Init();
    EXPECT_EQ(std::filesystem::exists(logs.trace_log_path()), kept) << size << " " << yesterday;
  }
}

TEST(FileProcedures, SeparatorsWildcardsAndDeletion) {
  const std::pair<Text, const char16_t*> separated[] = {
      {u"/opt/lib", u"/opt/lib/"}, {u"/opt/lib/", u"/opt/lib/"}, {u"/opt/lib  ", u"/opt/lib/"},
      {u"/opt/lib/  ", u"/opt/lib/  "},  // blanks after a final separator stay
      {u"", u"/"}, {u"C:\\Apps", u"C:\\Apps/"}};  // a backslash is an ordinary character
  for (auto [path, expected] : separated) {
    AddDirSep(path);
    EXPECT_EQ(path, expected);
  }
  EXPECT_TRUE(wildcard_match(u"a*b?c", u"axxbyc"));
  EXPECT_FALSE(wildcard_match(u"a*b?c", u"axxbc"));
  EXPECT_TRUE(wildcard_match(u"[x].log", u"[x].log")) << "brackets are literal";

  LogFolder dir;
  const std::string base = dir.path();
  for (const char* name : {"/a.log", "/.hidden.txt", "/ro.bin", "/1.tmp", "/2.tmp", "/keep.dat"})
    LogFolder::write_file(base + name, "x");
  std::filesystem::create_directory(base + "/sub.log");
  const std::pair<const char*, bool> exists[] = {
      {"/a.log", true}, {"/b.log", false}, {"/sub.log", false},  // a folder is not a file
      {"/*.log", true}, {"/?.log", true}, {"/*.txt", false},    // only a hidden file matches
      {"/s*", false}, {"/missing/*", false}};
  for (auto [name, found] : exists) EXPECT_EQ(FileExists(from_utf8(base + name)), found) << name;
  EXPECT_FALSE(FileExists(u""));

  chmod((base + "/ro.bin").c_str(), 0444);
  FileDelete(from_utf8(base + "/ro.bin"));
  FileDelete(from_utf8(base + "/*.tmp"));
  FileDelete(from_utf8(base + "/missing.txt"));
  for (const char* gone : {"/ro.bin", "/1.tmp", "/2.tmp"})
    EXPECT_FALSE(std::filesystem::exists(base + gone)) << gone;
  EXPECT_TRUE(std::filesystem::exists(base + "/keep.dat"));

  // Readable, but no one may remove it: the failure names the file and is not logged.
  const std::string message = failure_of([] { FileDelete(u"/proc/self/status"); });
  const std::regex deleting("-?\\d+ basLIBstd \\| FileDelete, Error # -?\\d+ at line: 5\r\n.* "
                            "on file name: /proc/self/status");
  EXPECT_TRUE(std::regex_match(message, deleting)) << message;
  EXPECT_TRUE(dir.error_lines().empty());

  EXPECT_EQ(u8(FileNameErrorFile()), dir.error_log_path());
  EXPECT_EQ(u8(FileNameTraceFile()), dir.trace_log_path());
  EXPECT_TRUE(std::regex_match(u8(DateTimeStamp_Log()),
                               std::regex(R"(^\d{4}[01]\d[0-3]\d\|[0-2]\d:[0-5]\d:[0-5]\d$)")));
  EXPECT_FALSE(UserName_Get().empty());
}

TEST(TextProcedures, FillEliminateAndQuote) {
  const std::tuple<Variant, int16_t, const char16_t*, const char16_t*> fills[] = {
      {Variant(u"abc"), 5, u".", u"abc.."}, {Variant(u"abc"), -5, u".", u"..abc"},
      {Variant(u"abc"), 2, u".", u"ab"}, {Variant(int32_t{7}), 3, u"0", u"700"},
      {Variant(), 3, u"-", u"---"},
      {Variant::null(), 2, u"*", u"**"}, {Variant(u"exactly12chr"), 12, u" ", u"exactly12chr"},
      {Variant(u"fifteen-chars!!"), 12, u" ", u"fifteen-char"}};
  for (const auto& [value, width, fill, out] : fills) EXPECT_EQ(str_Fill(value, width, fill), out);

  const std::tuple<const char16_t*, const char16_t*, bool, const char16_t*> eliminated[] = {
      {u"a-b-c", u"-", false, u"abc"}, {u"xaabbx", u"ab", true, u"xx"}, {u"aabb", u"ab", true, u""},
      {u"a1b2", u"12", false, u"ab"},
      {u"", u"x", true, u""}, {u"abc", u"", true, u"abc"},
      {u"ababa", u"aba", true, u"ba"}};  // the first occurrence goes first
  for (const auto& [text, what, whole, out] : eliminated)
    EXPECT_EQ(str_CharEliminate(text, what, whole), out) << u8(text);

  const std::pair<const char16_t*, const char16_t*> quoted[] = {
      {u"abc", u"\"abc\""}, {u"a\"b", u"'a\"b'"}, {u"\"ab\"", u"\"ab\""},
      {u"'a\"b'", u"'a\"b'"}, {u"a\"b'c", u"\"abc\""}, {u"", u"\"\""}};
  for (auto [text, out] : quoted) EXPECT_EQ(str_Quoted(text), out) << u8(text);

  LogFolder logs;
  EXPECT_TRUE(failure_of([] {
                str_Fill(Variant(u"a"), 3, u"");
              }).starts_with("5 basLIBstd | str_Fill, Error # 5 at line: 4\r\n"));
  EXPECT_EQ(logs.error_lines().size(), 1u);
}

}  // namespace
}  // namespace vexqom
