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

TEST(ProcedureConvention, EachLevelAddsOneLabelLineAndLogsOnce) {
  LogFolder logs;
  ErrorState state;
  const std::string composed = "ICatThing | Let XML, Error # 13 at line: 3\r\nType mismatch";
  try {
    run_procedure(state, u"ICatThing | Let XML", Trace::No, [&](int& line) {
      line = 3;
      throw Error(errc::kTypeMismatch);
    });
  } catch (const Error& e) {
    EXPECT_EQ(std::to_string(e.number()) + u8(u" " + e.source() + u" " + e.description()),
              "13 vexqom_PLUMEK2 " + composed);
  }
  EXPECT_EQ(state.LastErrorNumber, 13);
  EXPECT_EQ(testing::u8(state.LastErrorMessage), composed);
  auto three = [] { level(u"Inner | Three", 2, [] { throw Error(errc::kOverflow); }); };
  auto two_three = [&] { level(u"Middle | Two", 4, three); };
  EXPECT_EQ(failure_of([&] { level(u"Outer | One", 7, two_three); }),
            "6 Outer | One, Error # 6 at line: 7\r\nMiddle | Two, Error # 6 at line: 4\r\n"
            "Inner | Three, Error # 6 at line: 2\r\nOverflow");
  const std::string inner = "Inner | Three, Error # 6 at line: 2][Overflow";
  const std::string two = "Middle | Two, Error # 6 at line: 4][" + inner;
  EXPECT_EQ(logs.error_messages(),
            (std::vector<std::string>{"ICatThing | Let XML, Error # 13 at line: 3][Type mismatch",
                                      inner, two, "Outer | One, Error # 6 at line: 7][" + two}));
}

TEST(ErrorLog, LineLayoutTimestampUserFieldAndTrimming) {
  LogFolder logs;
  diag::ErrorLog_Write(u"  first\r\nsecond\rthird\nfourth  ");
  diag::ErrorLog_Write(u"   ");
  diag::ErrorLog_Write(u"");
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 2u) << "an empty message writes nothing";
  std::regex layout(R"(^\d{8}\|\d{2}:\d{2}:\d{2} .{12} ([\s\S]*)$)");
  std::smatch m;
  ASSERT_TRUE(std::regex_match(lines[0], m, layout)) << lines[0];
  EXPECT_EQ(m[1].str(), "first][second\rthird\nfourth");
  ASSERT_TRUE(std::regex_match(lines[1], m, layout)) << lines[1];
  EXPECT_EQ(m[1].str(), "") << "a message of blanks gives an empty message part";
  EXPECT_NE(lines[0].substr(18, 12), std::string(12, ' ')) << "the logon name, padded to 12";
  EXPECT_EQ(LogFolder::read_file(logs.error_log_path()).back(), '\n');
}

TEST(TraceLog, StartsAfterTheFirstLoggedErrorOfTheThreadAndOnlyWithTheFlag) {
  {
    LogFolder logs;
    diag::ErrorLog_Write(u"first error");
    EXPECT_FALSE(diag::TraceActive());
    run_procedure(g_state, u"T | Traced", Trace::Yes, [](int&) {});
    EXPECT_FALSE(std::filesystem::exists(logs.trace_log_path())) << "no flag, no tracing";
  }
  LogFolder logs;
  logs.create_trace_flag();
  ErrorState state;
  auto traced = [&] { run_procedure(state, u"T | Traced", Trace::Yes, [](int&) {}); };
  traced();
  EXPECT_TRUE(logs.trace_lines().empty()) << "no trace before the first error";
  EXPECT_THROW(
      run_procedure(state, u"T | Failing", Trace::Yes, [](int&) { throw Error(errc::kOverflow); }),
      Error);
  EXPECT_TRUE(logs.trace_lines().empty()) << "the failing entry came before initialisation";
  traced();
  traced();
  run_procedure(state, u"T | Untraced", Trace::No, [](int&) {});
  auto lines = logs.trace_lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(std::regex_match(lines[0], std::regex(R"(^\d{8}\|\d{2}:\d{2}:\d{2} T \| Traced$)")))
      << lines[0];
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

// Ignored errors and tolerated duplicate keys log nothing; other failures log once.
TEST(DiagnosticState, IgnoredAndToleratedErrorsLogNothing) {
  LogFolder logs;
  ignore_errors([] { throw Error(errc::kOverflow); });
  int reached = 0;
  ErrorState state;
  auto add = [&](int32_t number) {
    run_procedure(state, u"C | Add", Trace::No, [&](int&) {
      tolerate_duplicate_key([=] { throw Error(number); });
      reached = number;
    });
  };
  add(errc::kDuplicateKey);
  EXPECT_EQ(reached, errc::kDuplicateKey);
  EXPECT_EQ(error_number_of([&] { add(errc::kOverflow); }), errc::kOverflow);
  EXPECT_EQ(logs.error_lines().size(), 1u);
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
