// clsXML reshaping: Prettify's layout through the DOM parser and XMLcompress's text
// squeezing, on a given text and on the engine's own buffer.
#include <gtest/gtest.h>

#include <string>

#include "support/checks.h"
#include "support/log_folder.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

using testing::failure_of;
using testing::u8;

TEST(Prettify, OneElementPerLineResolvedAndDeclared) {
  testing::LogFolder logs;
  Ref<clsXML> x = create<clsXML>();
  const std::pair<const char*, const char*> cases[] = {
      {"<a><b>x</b><c/></a>", "\r\n<a>\r\n  <b>x</b>\r\n  <c/>\r\n</a>"},
      {"<a>\r\n    <b>\r\n<c>1</c></b>\r\n</a>",
       "\r\n<a>\r\n  <b>\r\n    <c>1</c>\r\n  </b>\r\n</a>"},
      // Text only: one line; empty or blank: the empty-element tag.
      {"<a>text</a>", "\r\n<a>text</a>"}, {"<a></a>", "\r\n<a/>"}, {"<a>  \r\n </a>", "\r\n<a/>"},
      {"<p>one <b>two</b> three</p>",
       "\r\n<p>one \r\n  <b>two</b> three\r\n</p>"},  // mixed text stays
      // Comments, CDATA and processing instructions are left out, but count as children.
      {"<a><!--c--><?pi x?><![CDATA[d]]></a>", "\r\n<a></a>"},
      {"<a>1<!--c-->2</a>", "\r\n<a>12</a>"}, {"<a t='x &amp; y'/>", "\r\n<a t='x & y'/>"},
      {"<a b=\"1\" c='&lt;&#65;'><d e='2'>1 &lt; 2 &amp;&gt; 3</d></a>",
       "\r\n<a b='1' c='<A'>\r\n  <d e='2'>1 < 2 &> 3</d>\r\n</a>"},
      {"<r xmlns='urn:d' xmlns:p='urn:p'><p:i p:k='v'/></r>",
       "\r\n<r xmlns='urn:d' xmlns:p='urn:p'>\r\n  <p:i p:k='v'/>\r\n</r>"},
      {"<a>caf\u00E9 \u20AC</a>", "\r\n<a>caf\u00E9 \u20AC</a>"},
      {"<a>fish & chips</a>", "\r\n<a>fish & chips</a>"},  // repaired before parsing
      {"<?xml version=\"1.0\" encoding=\"UTF-8\" ?><a><b>1</b></a>",
       "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n<a>\r\n  <b>1</b>\r\n</a>"},
      {"<?xml version='1.0' encoding='windows-1252'?>\r\n<a>\u00E9</a>",
       "<?xml version='1.0' encoding='windows-1252'?>\r\n<a>\u00E9</a>"},
      {"<?pi?><a/>", "\r\n<a/>"},  // only a declaration with a version counts
      // With a document type the fixed declaration replaces the source's own.
      {"<!DOCTYPE a SYSTEM 'a.dtd'><a><b/></a>",
       "<?xml version='1.0'?>\r\n<!DOCTYPE a SYSTEM \"a.dtd\">\r\n<a>\r\n  <b/>\r\n</a>"},
      {"<?xml version=\"1.0\" standalone=\"yes\"?><!DOCTYPE a><a/>",
       "<?xml version='1.0'?>\r\n<!DOCTYPE a>\r\n<a/>"}};
  for (const auto& [in, out] : cases) EXPECT_EQ(u8(x->Prettify(from_utf8(in))), out) << in;

  x->put_XML(u"<a><b>1</b></a>");  // without an argument: the buffer, and returns nothing
  EXPECT_EQ(x->Prettify(), u"");
  EXPECT_EQ(u8(x->get_XML()), "\r\n<a>\r\n  <b>1</b>\r\n</a>");
  EXPECT_TRUE(logs.error_lines().empty());

  EXPECT_EQ(
      failure_of([&] { x->Prettify(u"<a><b></a>"); }),
      "-2147221504 clsXML | Prettify, Error # -2147221504 at line: 2\r\n"
      "clsXML | DocumentCreate, Error # -2147221504 at line: 3\r\n"
      "CreateDocument Error: 76\r\nReason: Opening and ending tag mismatch: b line 1 and a\r\n"
      "Location: line 1, col 11");
  const auto messages = logs.error_messages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_TRUE(messages[0].starts_with("clsXML | DocumentCreate, Error #"));
  EXPECT_TRUE(messages[1].starts_with(
      "clsXML | Prettify, Error # -2147221504 at line: 2][clsXML | DocumentCreate"));
  EXPECT_EQ(x->last_error().LastErrorNumber, errc::kDocumentError);
  x->Clear(true);
  EXPECT_EQ(testing::error_number_of([&] { x->Prettify(); }), 91);
}

TEST(Compress, EmptyElementsGoEnclosingOnesInTurnWithTheirBlanks) {
  Ref<clsXML> x = create<clsXML>();
  auto squeeze = [&](const std::string& xml, bool formatted) {
    x->put_Formatted(formatted);
    return u8(x->XMLcompress(from_utf8(xml)));
  };
  const std::pair<const char*, const char*> both[] = {
      {"<r><a></a><b>1</b></r>", "<r><b>1</b></r>"}, {"<r><a></a></r>", ""},
      {"<r><a><b></b></a><c>1</c></r>", "<r><c>1</c></r>"},
      // Attributes in the start tag, or names that differ (in letter case too), keep it.
      {"<a x='1'></a>", "<a x='1'></a>"}, {"<a></b>", "<a></b>"}, {"<a></A>", "<a></A>"},
      {"<a x='1'></a><b></b><c/>", "<a x='1'></a><c/>"},
      // "></" with no start before it or no end after it is passed over.
      {"></a>", "></a>"}, {"<a></", "<a></"}, {"x></a><b></b>", "x></a>"}};
  for (const auto& [in, out] : both) {
    EXPECT_EQ(squeeze(in, false), out) << in;
    EXPECT_EQ(squeeze(in, true), out) << in;
  }
  const std::tuple<const char*, bool, const char*> cases[] = {
      {"<r> <a></a> <b>1</b> </r>", false, "<r><b>1</b> </r>"},  // blanks on both sides go
      {"  <x>1</x>  ", false, "<x>1</x>"}, {"<a>\r\n  <b>1</b>\r\n</a>", true, "<a><b>1</b></a>"},
      {"  <a>\r\n  <b>1</b>\r\n</a>  ", false, "<a>\r\n  <b>1</b>\r\n</a>"},
      {"<a>\t<b>1</b>\n</a>", true, "<a><b>1</b></a>"}, {"<a>  </a>", true, ""},
      {"<a>  </a>", false, "<a>  </a>"},  // only a gap all blanks goes
      {"<a> x </a>", true, "<a> x </a>"},
      {"<r>  <a>1</a>   <b>x y</b> </r>", true, "<r><a>1</a><b>x y</b></r>"},
      {"\r\n  <x>1</x><a></a>", true, "<x>1</x>"}};  // blanks left at the start go too
  for (const auto& [in, formatted, out] : cases) EXPECT_EQ(squeeze(in, formatted), out) << in;

  x->put_XML(u"<r>\r\n  <a></a>\r\n  <b>2</b>\r\n</r>\r\n");  // without an argument: the buffer
  x->put_Formatted(true);
  EXPECT_EQ(u8(x->XMLcompress()), "<r><b>2</b></r>");
  EXPECT_EQ(u8(x->XMLcompress(u"<c></c>")), "");
  EXPECT_EQ(u8(x->get_XML()), "<r><b>2</b></r>") << "a given text leaves the buffer alone";

  // Many removals in one large text: each one is found and none is left behind.
  std::string kept = "<r>", emptied = "<r>";
  for (int i = 0; i < 100000; ++i) {
    kept += "<v a='1'></v><w>" + std::to_string(i) + "</w>\r\n  ";
    emptied += "<e></e> <f><g></g></f><w>1</w>";
  }
  EXPECT_EQ(squeeze(kept + "</r>", true).size(), kept.size() + 4 - 100000 * 4);
  const std::string out = squeeze(emptied + "</r>", false);
  EXPECT_EQ(out.size(), 3 + 100000 * 8 + 4);
  EXPECT_TRUE(out.starts_with("<r><w>1</w><w>1</w>"));
}

}  // namespace
}  // namespace vexqom
