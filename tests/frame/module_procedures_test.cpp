// File, user, clock and text procedures of the standard module.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <regex>

#include "frame/file_procedures.h"
#include "frame/text_procedures.h"
#include "support/log_folder.h"
#include "vexqom/error.h"

namespace vexqom {
namespace {

using testing::LogFolder;

Text add_dir_sep(Text path) {
  AddDirSep(path);
  return path;
}

TEST(AddDirSep, AppendsOneSeparatorAfterTrailingBlanks) {
  EXPECT_EQ(add_dir_sep(u"/opt/lib"), u"/opt/lib/");
  EXPECT_EQ(add_dir_sep(u"/opt/lib/"), u"/opt/lib/");
  EXPECT_EQ(add_dir_sep(u"/opt/lib  "), u"/opt/lib/");
  EXPECT_EQ(add_dir_sep(u"/opt/lib/  "), u"/opt/lib/  ") << "blanks after a final separator stay";
  EXPECT_EQ(add_dir_sep(u""), u"/");
  EXPECT_EQ(add_dir_sep(u"C:\\Apps"), u"C:\\Apps/") << "a backslash is an ordinary character";
}

TEST(FileExists, FilesFoldersAndWildcards) {
  LogFolder dir;
  const std::string base = dir.path();
  LogFolder::write_file(base + "/a.log", "x");
  std::filesystem::create_directory(base + "/sub.log");
  LogFolder::write_file(base + "/.hidden.txt", "x");
  EXPECT_TRUE(FileExists(from_utf8(base + "/a.log")));
  EXPECT_FALSE(FileExists(from_utf8(base + "/b.log")));
  EXPECT_FALSE(FileExists(from_utf8(base + "/sub.log"))) << "a folder is not a file";
  EXPECT_FALSE(FileExists(u""));
  EXPECT_TRUE(FileExists(from_utf8(base + "/*.log")));
  EXPECT_TRUE(FileExists(from_utf8(base + "/?.log")));
  EXPECT_FALSE(FileExists(from_utf8(base + "/*.txt"))) << "only a hidden file matches";
  EXPECT_FALSE(FileExists(from_utf8(base + "/s*"))) << "only a folder matches";
  EXPECT_FALSE(FileExists(from_utf8(base + "/missing/*")));
  EXPECT_TRUE(wildcard_match(u"a*b?c", u"axxbyc"));
  EXPECT_FALSE(wildcard_match(u"a*b?c", u"axxbc"));
  EXPECT_TRUE(wildcard_match(u"[x].log", u"[x].log")) << "brackets are literal";
}

TEST(FileDelete, ReadOnlyFilesPatternsAndMissingFiles) {
  LogFolder dir;
  const std::string base = dir.path();
  LogFolder::write_file(base + "/ro.txt", "x");
  chmod((base + "/ro.txt").c_str(), 0444);
  FileDelete(from_utf8(base + "/ro.txt"));
  EXPECT_FALSE(std::filesystem::exists(base + "/ro.txt"));

  LogFolder::write_file(base + "/1.tmp", "x");
  LogFolder::write_file(base + "/2.tmp", "x");
  LogFolder::write_file(base + "/keep.dat", "x");
  FileDelete(from_utf8(base + "/*.tmp"));
  EXPECT_FALSE(std::filesystem::exists(base + "/1.tmp"));
  EXPECT_FALSE(std::filesystem::exists(base + "/2.tmp"));
  EXPECT_TRUE(std::filesystem::exists(base + "/keep.dat"));

  EXPECT_NO_THROW(FileDelete(from_utf8(base + "/missing.txt")));
  EXPECT_TRUE(dir.error_lines().empty());
}

TEST(FileDelete, FailureNamesTheFileAndIsNotLogged) {
  LogFolder logs;
  // Readable, but no one may remove it.
  try {
    FileDelete(u"/proc/self/status");
    FAIL() << "deleting a process file succeeded";
  } catch (const Error& e) {
    std::string message = to_utf8(e.description());
    EXPECT_EQ(message.rfind("basLIBstd | FileDelete, Error # ", 0), 0u) << message;
    EXPECT_NE(message.find(" at line: 5\r\n"), std::string::npos) << message;
    EXPECT_EQ(message.substr(message.size() - 32), " on file name: /proc/self/status");
  }
  EXPECT_TRUE(logs.error_lines().empty());
}

TEST(LogNames, ErrorAndTraceLogBesideTheLibraryFile) {
  LogFolder logs;
  EXPECT_EQ(to_utf8(FileNameErrorFile()), logs.error_log_path());
  EXPECT_EQ(to_utf8(FileNameTraceFile()), logs.trace_log_path());
  EXPECT_TRUE(std::regex_match(to_utf8(DateTimeStamp_Log()),
                               std::regex(R"(^\d{4}[01]\d[0-3]\d\|[0-2]\d:[0-5]\d:[0-5]\d$)")));
  EXPECT_FALSE(UserName_Get().empty());
}

TEST(StrFill, PadsCutsAndAligns) {
  EXPECT_EQ(str_Fill(Variant(Text(u"abc")), 5, u"."), u"abc..");
  EXPECT_EQ(str_Fill(Variant(Text(u"abc")), -5, u"."), u"..abc");
  EXPECT_EQ(str_Fill(Variant(Text(u"abc")), 2, u"."), u"ab");
  EXPECT_EQ(str_Fill(Variant(int32_t{7}), 3, u"0"), u"700");
  EXPECT_EQ(str_Fill(Variant(int32_t{7}), -3, u"0"), u"007");
  EXPECT_EQ(str_Fill(Variant(), 3, u"-"), u"---");
  EXPECT_EQ(str_Fill(Variant::null(), 2, u"*"), u"**");
  EXPECT_EQ(str_Fill(Variant(Text(u"exactly12chr")), 12, u" "), u"exactly12chr");
  EXPECT_EQ(str_Fill(Variant(Text(u"fifteen-chars!!")), 12, u" "), u"fifteen-char");
}

TEST(StrFill, EmptyFillFailsThroughItsHandler) {
  LogFolder logs;
  try {
    str_Fill(Variant(Text(u"a")), 3, u"");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 5);
    EXPECT_EQ(to_utf8(e.description()).rfind("basLIBstd | str_Fill, Error # 5 at line: 4\r\n", 0),
              0u);
  }
  EXPECT_EQ(logs.error_lines().size(), 1u);
}

TEST(StrCharEliminate, CharactersAndWholeSubstrings) {
  EXPECT_EQ(str_CharEliminate(u"a-b-c", u"-", false), u"abc");
  EXPECT_EQ(str_CharEliminate(u"xaabbx", u"ab", true), u"xx");
  EXPECT_EQ(str_CharEliminate(u"aabb", u"ab", true), u"");
  EXPECT_EQ(str_CharEliminate(u"a1b2", u"12", false), u"ab");
  EXPECT_EQ(str_CharEliminate(u"ACD\t012345", u"\t", true), u"ACD012345");
  EXPECT_EQ(str_CharEliminate(u"", u"x", true), u"");
  EXPECT_EQ(str_CharEliminate(u"abc", u"", true), u"abc");
  EXPECT_EQ(str_CharEliminate(u"ababa", u"aba", true), u"ba") << "the first occurrence goes first";
}

TEST(StrQuoted, ChoosesQuotesByContent) {
  EXPECT_EQ(str_Quoted(u"abc"), u"\"abc\"");
  EXPECT_EQ(str_Quoted(u"a\"b"), u"'a\"b'");
  EXPECT_EQ(str_Quoted(u"\"ab\""), u"\"ab\"");
  EXPECT_EQ(str_Quoted(u"'a\"b'"), u"'a\"b'");
  EXPECT_EQ(str_Quoted(u"a\"b'c"), u"\"abc\"");
  EXPECT_EQ(str_Quoted(u""), u"\"\"");
}

}  // namespace
}  // namespace vexqom
