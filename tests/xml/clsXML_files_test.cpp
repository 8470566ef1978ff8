// clsXML files: the ".xml" name rule, line ends on reading, code-page bytes both ways,
// the engine state a read leaves, and write failures through the handler.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "support/log_folder.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

using testing::LogFolder;
using testing::log_message;

std::string u8(const Text& t) { return to_utf8(t); }

class XmlFileTest : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return logs_.path() + "/" + name; }
  Text tpath(const std::string& name) const { return from_utf8(path(name)); }
  bool exists(const std::string& name) const {
    struct stat st;
    return ::stat(path(name).c_str(), &st) == 0;
  }
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
  x->XMLFileWrite(tpath("Items"), false);
  x->XMLFileWrite(tpath("b.Xml"), false);
  x->XMLFileWrite(tpath("x.txt"), false);
  x->XMLFileWrite(tpath("xml"), false);  // shorter than ".XML" itself
  EXPECT_TRUE(exists("Items.xml"));
  EXPECT_FALSE(exists("Items"));
  EXPECT_TRUE(exists("b.Xml"));
  EXPECT_FALSE(exists("b.Xml.xml"));
  EXPECT_TRUE(exists("x.txt.xml"));
  EXPECT_TRUE(exists("xml.xml"));

  // Reading applies the same rule.
  EXPECT_EQ(u8(read("Items")), "<a>1</a>\r\n");
  EXPECT_EQ(u8(read("b.XML")), "");  // the rule keeps the name; that file does not exist
  EXPECT_EQ(u8(read("b.Xml")), "<a>1</a>\r\n");
}

TEST_F(XmlFileTest, EveryLineEndsInCrLfWhateverTheFileUsed) {
  const std::pair<const char*, const char*> cases[] = {
      {"<a>\r\n</a>\r\n", "<a>\r\n</a>\r\n"},
      {"<a>\r\n</a>", "<a>\r\n</a>\r\n"},  // missing final line end
      {"<a>\n</a>\n", "<a>\r\n</a>\r\n"},
      {"<a>\r</a>\r", "<a>\r\n</a>\r\n"},
      {"<a>\r\n\r\n</a>", "<a>\r\n\r\n</a>\r\n"},  // an empty line stays
      {"<a>\r\r\n\n</a>", "<a>\r\n\r\n\r\n</a>\r\n"},
      {"", ""},
      {"\r\n", "\r\n"},
  };
  int n = 0;
  for (const auto& [content, expected] : cases) {
    const std::string name = "f" + std::to_string(n++) + ".xml";
    LogFolder::write_file(path(name), content);
    EXPECT_EQ(u8(read(name)), expected) << n;
  }
}

TEST_F(XmlFileTest, ReadLeavesLoadedFormattedEngineEvenForMissingFile) {
  Ref<clsXML> x = create<clsXML>();
  x->Add(u"old", u"text");
  x->XMLFileRead(tpath("missing"));
  // Loaded: XML gives the buffer as it is, no declaration; the old text is gone.
  EXPECT_EQ(u8(x->get_XML()), "");
  // Formatted: the builder now writes line breaks.
  x->Add(u"a", u"1");
  EXPECT_EQ(u8(x->get_XML()), "<a>1</a>\r\n");
  EXPECT_TRUE(logs_.error_lines().empty());

  // Earlier reads do not carry over into the new text.
  LogFolder::write_file(path("one.xml"), "<r><v>1</v><v>2</v></r>");
  LogFolder::write_file(path("two.xml"), "<r><v>A</v><v>B</v></r>");
  Ref<clsXML> y = create<clsXML>();
  y->XMLFileRead(tpath("one"));
  EXPECT_EQ(u8(y->get_Value(u"v", 1)), "1");
  EXPECT_EQ(u8(y->get_Value(u"v", 2)), "2");
  y->XMLFileRead(tpath("two"));
  EXPECT_EQ(u8(y->get_Value(u"v", 1)), "A");
  EXPECT_EQ(u8(y->get_Value(u"v", 2)), "B");
}

TEST_F(XmlFileTest, BytesAreCodePageOnBothSides) {
  // 0xE9 is e-acute in the engine's code page; it is not UTF-8.
  LogFolder::write_file(path("cp.xml"), "<a>caf\xE9</a>");
  Ref<clsXML> x = create<clsXML>();
  x->XMLFileRead(tpath("cp"));
  EXPECT_EQ(x->get_XML(), u"<a>caf\u00E9</a>\r\n");
  x->XMLFileWrite(tpath("cp2"), false);
  EXPECT_EQ(LogFolder::read_file(path("cp2.xml")), "<a>caf\xE9</a>\r\n\r\n");
}

TEST_F(XmlFileTest, WriteComposesDocumentAndMayClearAfterwards) {
  Ref<clsXML> x = create<clsXML>();
  x->Add(u"r", u"", true);
  x->Add(u"a", u"x<y");
  LogFolder::write_file(path("doc.xml"), "old content that is longer than the new one.....");
  x->XMLFileWrite(tpath("doc"), true);
  EXPECT_EQ(LogFolder::read_file(path("doc.xml")),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" ?><r><a>x&lt;y</a></r>\r\n");
  // Cleared: a fresh composing engine.
  EXPECT_EQ(u8(x->get_XML()), "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>");

  Ref<clsXML> s = create<clsXML>();
  s->put_Snippet(true);
  s->Add(u"a", u"1");
  s->XMLFileWrite(tpath("snip"), false);
  EXPECT_EQ(LogFolder::read_file(path("snip.xml")), "<a>1</a>\r\n");
  EXPECT_EQ(u8(s->get_XML()), "<a>1</a>");  // not cleared
}

TEST_F(XmlFileTest, FilesThatCannotBeOpenedRaise75ThroughTheHandler) {
  Ref<clsXML> x = create<clsXML>();
  try {
    x->XMLFileWrite(tpath("no-such-folder/out"), false);
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 75);
    EXPECT_EQ(u8(e.description()),
              "clsXML | XMLFileWrite, Error # 75 at line: 2\r\nPath/File access error");
  }
  std::vector<std::string> lines = logs_.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(log_message(lines[0]),
            "clsXML | XMLFileWrite, Error # 75 at line: 2][Path/File access error");

  // After Clear(true) there is no buffer to write: error 91 through the same handler.
  x->Clear(true);
  try {
    x->XMLFileWrite(tpath("out"), false);
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 91);
    EXPECT_EQ(u8(e.description()).rfind("clsXML | XMLFileWrite, Error # 91 at line: 3\r\n", 0),
              0u);
  }
  // XMLFileRead gives the engine a buffer again.
  x->XMLFileRead(tpath("missing"));
  EXPECT_EQ(u8(x->get_XML()), "");
}

}  // namespace
}  // namespace vexqom
