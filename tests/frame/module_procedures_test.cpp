// File, user, clock and text procedures of the standard module.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <regex>

#include "frame/file_procedures.h"
#include "frame/text_procedures.h"
#include "support/checks.h"
#include "support/log_folder.h"

namespace vexqom {
namespace {

using testing::failure_of;
using testing::LogFolder;
using testing::u8;

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
  EXPECT_TRUE(message.find(" basLIBstd | FileDelete, Error # ") != std::string::npos) << message;
  EXPECT_NE(message.find(" at line: 5\r\n"), std::string::npos) << message;
  EXPECT_TRUE(message.ends_with(" on file name: /proc/self/status")) << message;
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
      {Variant(int32_t{7}), -3, u"0", u"007"}, {Variant(), 3, u"-", u"---"},
      {Variant::null(), 2, u"*", u"**"}, {Variant(u"exactly12chr"), 12, u" ", u"exactly12chr"},
      {Variant(u"fifteen-chars!!"), 12, u" ", u"fifteen-char"}};
  for (const auto& [value, width, fill, out] : fills) EXPECT_EQ(str_Fill(value, width, fill), out);

  const std::tuple<const char16_t*, const char16_t*, bool, const char16_t*> eliminated[] = {
      {u"a-b-c", u"-", false, u"abc"}, {u"xaabbx", u"ab", true, u"xx"}, {u"aabb", u"ab", true, u""},
      {u"a1b2", u"12", false, u"ab"}, {u"ACD\t012345", u"\t", true, u"ACD012345"},
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
