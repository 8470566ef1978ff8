// clsXML files: line ends on reading, code-page bytes both ways, the ".xml" name rule and
// what a write leaves behind. (Missing and unreadable files are in the reliability tests,
// a destroyed engine's write with the engine's other failures.)
#include <gtest/gtest.h>

#include <string>

#include "support/checks.h"
#include "support/log_folder.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

using namespace testing;

TEST(XmlFiles, LineEndsCodePageBytesNameRuleAndClearing) {
  LogFolder logs;
  auto path = [&](const std::string& name) { return from_utf8(logs.path() + "/" + name); };
  auto read = [&](const std::string& name) {
    Ref<clsXML> x = create<clsXML>();
    x->XMLFileRead(path(name));
    return x;
  };
  // Every line ends in CR LF, whatever ended it in the file.
  const std::pair<const char*, const char16_t*> reads[] = {
      {"<a>\r\n</a>", u"<a>\r\n</a>\r\n"}, {"<a>\n</a>\n", u"<a>\r\n</a>\r\n"},
      {"<a>\r</a>\r", u"<a>\r\n</a>\r\n"}, {"<a>\r\r\n\n</a>", u"<a>\r\n\r\n\r\n</a>\r\n"},
      {"\r\n", u"\r\n"}, {"\n", u"\r\n"}, {"", u""},
      {"<a>caf\xE9</a>", u"<a>caf\u00E9</a>\r\n"}};  // 0xE9: e-acute in the code page, not UTF-8
  for (const auto& [content, expected] : reads) {
    LogFolder::write_file(logs.path() + "/in.xml", content);
    EXPECT_EQ(read("in")->get_XML(), expected) << content;
  }
  // The last one written again: ".xml" is added unless the name ends in it, in any case.
  Ref<clsXML> x = read("in");
  const std::pair<const char*, const char*> names[] = {
      {"Items", "Items.xml"}, {"b.Xml", "b.Xml"}, {"x.txt", "x.txt.xml"}, {"xml", "xml.xml"}};
  for (const auto& [name, file] : names) {
    x->XMLFileWrite(path(name), false);
    EXPECT_EQ(LogFolder::read_file(logs.path() + "/" + file), "<a>caf\xE9</a>\r\n\r\n") << name;
  }
  x->XMLFileWrite(path("c"), true);  // cleared: a fresh composing engine
  EXPECT_EQ(u8(x->get_XML()), kDeclaration);
}

}  // namespace
}  // namespace vexqom
