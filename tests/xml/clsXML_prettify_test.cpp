// clsXML reshaping: Prettify's layout through the DOM parser and XMLcompress's text
// squeezing, on a given text and on the engine's own buffer.
#include <gtest/gtest.h>

#include <string>

#include "support/log_folder.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

using testing::LogFolder;
using testing::log_message;

std::string u8(const Text& t) { return to_utf8(t); }

class PrettifyTest : public ::testing::Test {
 protected:
  std::string pretty(const std::string& xml) { return u8(x_->Prettify(from_utf8(xml))); }

  LogFolder logs_;
  Ref<clsXML> x_ = create<clsXML>();
};

TEST_F(PrettifyTest, OneElementPerLineWithTwoBlankIndentation) {
  EXPECT_EQ(pretty("<a><b>x</b><c/></a>"), "\r\n<a>\r\n  <b>x</b>\r\n  <c/>\r\n</a>");
  EXPECT_EQ(pretty("<a>\r\n    <b>\r\n<c>1</c></b>\r\n</a>"),
            "\r\n<a>\r\n  <b>\r\n    <c>1</c>\r\n  </b>\r\n</a>");
  // Text only: one line; empty or blank: the empty-element tag.
  EXPECT_EQ(pretty("<a>text</a>"), "\r\n<a>text</a>");
  EXPECT_EQ(pretty("<a></a>"), "\r\n<a/>");
  EXPECT_EQ(pretty("<a>  \r\n </a>"), "\r\n<a/>");
  // Mixed text stays where it occurs.
  EXPECT_EQ(pretty("<p>one <b>two</b> three</p>"), "\r\n<p>one \r\n  <b>two</b> three\r\n</p>");
  // Comments, CDATA and processing instructions are left out, but still count as
  // children.
  EXPECT_EQ(pretty("<a><!--c--><?pi x?><![CDATA[d]]></a>"), "\r\n<a></a>");
  EXPECT_EQ(pretty("<a>1<!--c-->2</a>"), "\r\n<a>12</a>");
}

TEST_F(PrettifyTest, AttributesAndTextAreWrittenResolved) {
  EXPECT_EQ(pretty("<a t='x &amp; y'/>"), "\r\n<a t='x & y'/>");
  EXPECT_EQ(pretty("<a b=\"1\" c='&lt;&#65;'><d e='2'>1 &lt; 2 &amp;&gt; 3</d></a>"),
            "\r\n<a b='1' c='<A'>\r\n  <d e='2'>1 < 2 &> 3</d>\r\n</a>");
  EXPECT_EQ(pretty("<r xmlns='urn:d' xmlns:p='urn:p'><p:i p:k='v'/></r>"),
            "\r\n<r xmlns='urn:d' xmlns:p='urn:p'>\r\n  <p:i p:k='v'/>\r\n</r>");
  EXPECT_EQ(x_->Prettify(u"<a>caf\u00E9 \u20AC</a>"), u"\r\n<a>caf\u00E9 \u20AC</a>");
  // A blank ampersand is repaired before parsing, as for DocumentCreate.
  EXPECT_EQ(pretty("<a>fish & chips</a>"), "\r\n<a>fish & chips</a>");
}

TEST_F(PrettifyTest, DeclarationKeptAndDoctypeWritten) {
  EXPECT_EQ(pretty("<?xml version=\"1.0\" encoding=\"UTF-8\" ?><a><b>1</b></a>"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n<a>\r\n  <b>1</b>\r\n</a>");
  EXPECT_EQ(pretty("<?xml version='1.0' encoding='windows-1252'?>\r\n<a>\u00E9</a>"),
            "<?xml version='1.0' encoding='windows-1252'?>\r\n<a>\u00E9</a>");
  // Only a declaration with a version counts.
  EXPECT_EQ(pretty("<?pi?><a/>"), "\r\n<a/>");

  EXPECT_EQ(pretty("<!DOCTYPE a SYSTEM 'a.dtd'><a><b/></a>"),
            "<?xml version='1.0'?>\r\n<!DOCTYPE a SYSTEM \"a.dtd\">\r\n<a>\r\n  <b/>\r\n</a>");
  // With a document type the fixed declaration replaces the source's own.
  EXPECT_EQ(pretty("<?xml version=\"1.0\" standalone=\"yes\"?><!DOCTYPE a><a/>"),
            "<?xml version='1.0'?>\r\n<!DOCTYPE a>\r\n<a/>");
}

TEST_F(PrettifyTest, WithoutArgumentReplacesBufferAndReturnsEmpty) {
  x_->put_XML(u"<a><b>1</b></a>");
  EXPECT_EQ(x_->Prettify(), u"");
  EXPECT_EQ(u8(x_->get_XML()), "\r\n<a>\r\n  <b>1</b>\r\n</a>");

  x_->Clear(true);
  try {
    x_->Prettify();
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 91);
  }
}

TEST_F(PrettifyTest, ParseFailureCarriesBothLabels) {
  try {
    pretty("<a><b></a>");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kDocumentError);
    EXPECT_EQ(u8(e.description()),
              "clsXML | Prettify, Error # -2147221504 at line: 2\r\n"
              "clsXML | DocumentCreate, Error # -2147221504 at line: 3\r\n"
              "CreateDocument Error: 76\r\n"
              "Reason: Opening and ending tag mismatch: b line 1 and a\r\n"
              "Location: line 1, col 11");
  }
  std::vector<std::string> lines = logs_.error_lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(log_message(lines[0]).rfind("clsXML | DocumentCreate, Error #", 0), 0u);
  EXPECT_EQ(log_message(lines[1]).rfind("clsXML | Prettify, Error # -2147221504 at line: 2]["
                                        "clsXML | DocumentCreate",
                                        0),
            0u);
  EXPECT_EQ(x_->last_error().LastErrorNumber, errc::kDocumentError);
}

class CompressTest : public ::testing::Test {
 protected:
  std::string squeeze(const std::string& xml, bool formatted) {
    x_->put_Formatted(formatted);
    return u8(x_->XMLcompress(from_utf8(xml)));
  }

  LogFolder logs_;
  Ref<clsXML> x_ = create<clsXML>();
};

TEST_F(CompressTest, EmptyElementsGoEnclosingOnesInTurn) {
  for (bool formatted : {false, true}) {
    EXPECT_EQ(squeeze("<r><a></a><b>1</b></r>", formatted), "<r><b>1</b></r>");
    EXPECT_EQ(squeeze("<r><a></a></r>", formatted), "");
    EXPECT_EQ(squeeze("<r><a><b></b></a><c>1</c></r>", formatted), "<r><c>1</c></r>");
    // Attributes in the start tag, or names that differ (in letter case too), keep it.
    EXPECT_EQ(squeeze("<a x='1'></a>", formatted), "<a x='1'></a>");
    EXPECT_EQ(squeeze("<a></b>", formatted), "<a></b>");
    EXPECT_EQ(squeeze("<a></A>", formatted), "<a></A>");
    EXPECT_EQ(squeeze("<a x='1'></a><b></b><c/>", formatted), "<a x='1'></a><c/>");
    // "></" with no start before it or no end after it is passed over.
    EXPECT_EQ(squeeze("></a>", formatted), "></a>");
    EXPECT_EQ(squeeze("<a></", formatted), "<a></");
    EXPECT_EQ(squeeze("x></a><b></b>", formatted), "x></a>");
  }
  // Blanks on both sides of a removed element go with it.
  EXPECT_EQ(squeeze("<r> <a></a> <b>1</b> </r>", false), "<r><b>1</b> </r>");
  EXPECT_EQ(squeeze("  <x>1</x>  ", false), "<x>1</x>");
}

TEST_F(CompressTest, FormattedRemovesLineBreaksTabsAndBlankGaps) {
  const std::string three_lines = "<a>\r\n  <b>1</b>\r\n</a>";
  EXPECT_EQ(squeeze(three_lines, true), "<a><b>1</b></a>");
  EXPECT_EQ(squeeze("  " + three_lines + "  ", false), three_lines);
  EXPECT_EQ(squeeze("<a>\t<b>1</b>\n</a>", true), "<a><b>1</b></a>");
  // Only a gap that is all blanks goes.
  EXPECT_EQ(squeeze("<a>  </a>", true), "");
  EXPECT_EQ(squeeze("<a>  </a>", false), "<a>  </a>");
  EXPECT_EQ(squeeze("<a> x </a>", true), "<a> x </a>");
  EXPECT_EQ(squeeze("<r>  <a>1</a>   <b>x y</b> </r>", true), "<r><a>1</a><b>x y</b></r>");
  // Blanks left at the start once line breaks are gone are trimmed with a removal.
  EXPECT_EQ(squeeze("\r\n  <x>1</x><a></a>", true), "<x>1</x>");
}

TEST_F(CompressTest, WithoutArgumentWorksOnBuffer) {
  x_->put_XML(u"<r>\r\n  <a></a>\r\n  <b>2</b>\r\n</r>\r\n");
  x_->put_Formatted(true);
  EXPECT_EQ(u8(x_->XMLcompress()), "<r><b>2</b></r>");
  EXPECT_EQ(u8(x_->get_XML()), "<r><b>2</b></r>");
  // A given text leaves the buffer alone.
  EXPECT_EQ(u8(x_->XMLcompress(u"<c></c>")), "");
  EXPECT_EQ(u8(x_->get_XML()), "<r><b>2</b></r>");
}

// Many removals in one large text: each one is found and none is left behind.
TEST_F(CompressTest, LargeInputsCompressCompletely) {
  std::string kept = "<r>";
  std::string emptied = "<r>";
  for (int i = 0; i < 100000; ++i) {
    kept += "<v a='1'></v><w>" + std::to_string(i) + "</w>\r\n  ";
    emptied += "<e></e> <f><g></g></f><w>1</w>";
  }
  kept += "</r>";
  emptied += "</r>";
  EXPECT_EQ(squeeze(kept, true).size(), kept.size() - 100000 * 4);
  std::string out = squeeze(emptied, false);
  EXPECT_EQ(out.size(), 3 + 100000 * 8 + 4);
  EXPECT_EQ(out.substr(0, 19), "<r><w>1</w><w>1</w>");
}

}  // namespace
}  // namespace vexqom
