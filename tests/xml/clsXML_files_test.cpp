// clsXML files: the ".xml" name rule, line ends on reading, code-page bytes both ways,
// the engine state a read leaves, and write failures through the handler.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "support/checks.h"
#include "support/log_folder.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

using namespace testing;

class XmlFileTest : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return logs_.path() + "/" + name; }
  Text tpath(const std::string& name) const { return from_utf8(path(name)); }
  Text read(const std::string& name) {
    Ref<clsXML> x = create<clsXML>();
    x->XMLFileRead(tpath(name));
    return x->get_XML();
  }

  LogFolder logs_;
};

TEST_F(XmlFileTest, NameRuleAppendsXmlUnlessPresentInAnyCase) {
  Ref<clsXML> x = create<clsXML>();
  x->put_Snippet(true);
  x->Add(u"a", u"1");
  for (const char* name : {"Items", "b.Xml", "x.txt", "xml"}) x->XMLFileWrite(tpath(name), false);
  EXPECT_EQ(u8(x->get_XML()), "<a>1</a>") << "not cleared";
  for (const char* name : {"Items.xml", "b.Xml", "x.txt.xml", "xml.xml"})
    EXPECT_TRUE(std::filesystem::exists(path(name))) << name;
  for (const char* name : {"Items", "b.Xml.xml"})
    EXPECT_FALSE(std::filesystem::exists(path(name))) << name;
  EXPECT_EQ(LogFolder::read_file(path("Items.xml")), "<a>1</a>\r\n");
  // Reading applies the same rule; "b.XML" keeps its name, and that file does not exist.
  EXPECT_EQ(u8(read("Items") + read("b.XML") + read("b.Xml")), "<a>1</a>\r\n<a>1</a>\r\n");
}

TEST_F(XmlFileTest, ReadingEndsEveryLineInCrLfAndTakesCodePageBytes) {
  const std::pair<const char*, const char16_t*> cases[] = {
      {"<a>\r\n</a>\r\n", u"<a>\r\n</a>\r\n"},
      {"<a>\r\n</a>", u"<a>\r\n</a>\r\n"},  // missing final line end
      {"<a>\n</a>\n", u"<a>\r\n</a>\r\n"}, {"<a>\r</a>\r", u"<a>\r\n</a>\r\n"},
      {"<a>\r\n\r\n</a>", u"<a>\r\n\r\n</a>\r\n"},  // an empty line stays
      {"<a>\r\r\n\n</a>", u"<a>\r\n\r\n\r\n</a>\r\n"}, {"", u""}, {"\r\n", u"\r\n"},
      {"<a>caf\xE9</a>", u"<a>caf\u00E9</a>\r\n"}};  // 0xE9: e-acute in the code page, not UTF-8
  int n = 0;
  for (const auto& [content, expected] : cases) {
    const std::string name = "f" + std::to_string(n++) + ".xml";
    LogFolder::write_file(path(name), content);
    EXPECT_EQ(read(name), expected) << n;
  }
  Ref<clsXML> x = create<clsXML>();
  x->XMLFileRead(tpath("f8"));
  x->XMLFileWrite(tpath("cp2"), false);
  EXPECT_EQ(LogFolder::read_file(path("cp2.xml")), "<a>caf\xE9</a>\r\n\r\n");
}

// Earlier reads do not carry over into the new text. (A missing file's reading, and a
// write into a missing folder, are in the reliability tests.)
TEST_F(XmlFileTest, ReadForgetsEarlierReadsAndWriteComposesAndMayClear) {
  LogFolder::write_file(path("one.xml"), "<r><v>1</v><v>2</v></r>");
  LogFolder::write_file(path("two.xml"), "<r><v>A</v><v>B</v></r>");
  Ref<clsXML> y = create<clsXML>();
  y->XMLFileRead(tpath("one"));
  EXPECT_EQ(u8(y->get_Value(u"v", 1) + y->get_Value(u"v", 2)), "12");
  y->XMLFileRead(tpath("two"));
  EXPECT_EQ(u8(y->get_Value(u"v", 1) + y->get_Value(u"v", 2)), "AB");

  Ref<clsXML> x = create<clsXML>();
  x->Add(u"r", u"", true);
  x->Add(u"a", u"x<y");
  LogFolder::write_file(path("doc.xml"), "old content that is longer than the new one.....");
  x->XMLFileWrite(tpath("doc"), true);
  const std::string decl = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>";
  EXPECT_EQ(LogFolder::read_file(path("doc.xml")), decl + "<r><a>x&lt;y</a></r>\r\n");
  EXPECT_EQ(u8(x->get_XML()), decl) << "cleared: a fresh composing engine";

  // After Clear(true) there is no buffer to write: error 91 through the handler.
  x->Clear(true);
  EXPECT_EQ(failure_of([&] { x->XMLFileWrite(tpath("out"), false); }),
            "91 clsXML | XMLFileWrite, Error # 91 at line: 3\r\n"
            "Object variable or With block variable not set");
  EXPECT_EQ(logs_.error_lines().size(), 1u);
  x->XMLFileRead(tpath("missing"));  // gives the engine a buffer again
  EXPECT_EQ(u8(x->get_XML()), "");
}

}  // namespace
}  // namespace vexqom
