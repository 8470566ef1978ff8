// The XML text engine: building, declaration, escaping, numbered reads, lifecycle.
#include "xml/clsXML.h"

#include <gtest/gtest.h>

#include <string>

#include "support/log_folder.h"

namespace vexqom {
namespace {

using testing::LogFolder;
using testing::log_message;

std::string u8(const Text& t) { return to_utf8(t); }
Text u16(const std::string& s) { return from_utf8(s); }

class XmlEngine : public ::testing::Test {
 protected:
  // Runs f, expects error number; returns the description.
  template <class F>
  std::string error_of(F&& f, int32_t number) {
    try {
      f();
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), number);
      return u8(e.description());
    }
    ADD_FAILURE() << "no error raised";
    return {};
  }

  Ref<clsXML> snippet_engine() {
    Ref<clsXML> x = create<clsXML>();
    x->put_Snippet(true);
    return x;
  }

  LogFolder logs_;
};

TEST_F(XmlEngine, RecordPatternBuildsCompactSnippet) {
  Ref<clsXML> x = snippet_engine();
  x->put_Compress(true);
  x->put_ZeroSuppress(true);
  x->Add(u"Vehicle", u"", true);
  x->Add(u"Year", u"2001");
  x->Add(u"Plate", u"0");
  x->Add(u"VIN", u"");
  x->AddXML(u"<Child><A>1</A></Child>");
  x->EndGroup();
  EXPECT_EQ(u8(x->get_XML()), "<Vehicle><Year>2001</Year><Child><A>1</A></Child></Vehicle>");

  // Without EndGroup the read closes the group in the buffer itself.
  Ref<clsXML> y = snippet_engine();
  y->put_ZeroSuppress(true);
  y->Add(u"Vehicle", u"", true);
  y->Add(u"Year", u"2001");
  EXPECT_EQ(u8(y->get_XML()), "<Vehicle><Year>2001</Year></Vehicle>");
  EXPECT_EQ(u8(y->get_XML()), "<Vehicle><Year>2001</Year></Vehicle>");
  y->Add(u"Late", u"1");
  EXPECT_EQ(u8(y->get_XML()), "<Vehicle><Year>2001</Year></Vehicle><Late>1</Late>");

  // Empty tag and surplus EndGroup change nothing; xbEndGroup closes right after.
  y->Add(u"", u"x");
  y->EndGroup();
  y->Add(u"G", u"v", true, true);
  EXPECT_EQ(u8(y->get_XML()),
            "<Vehicle><Year>2001</Year></Vehicle><Late>1</Late><G>v</G>");
  EXPECT_EQ(logs_.error_lines().size(), 0u);
}

TEST_F(XmlEngine, CompressAndZeroSuppressLeaveOutOnlyEmptyAndZero) {
  Ref<clsXML> x = snippet_engine();
  x->put_ZeroSuppress(true);
  x->put_ZeroSuppress(false);  // Compress stays on
  x->Add(u"E", u"");
  x->Add(u"Z", u"0");
  EXPECT_EQ(u8(x->get_XML()), "<Z>0</Z>");

  Ref<clsXML> z = snippet_engine();
  z->put_ZeroSuppress(true);
  z->Add(u"Root", u"", true);
  for (const char16_t* v : {u"0", u"00", u"0.00", u"-0", u" 0 ", u""}) z->Add(u"N", v);
  z->Add(u"Keep", u"0A");
  z->Add(u"One", u"0.01");
  z->Add(u"Grp", u"", true);  // openers are written even when empty
  z->Add(u"N", u"0", false, true);  // left out: the group is not closed by it
  z->Add(u"In", u"x");
  EXPECT_EQ(u8(z->get_XML()),
            "<Root><Keep>0A</Keep><One>0.01</One><Grp><In>x</In></Grp></Root>");

  Ref<clsXML> plain = snippet_engine();
  plain->Add(u"E", u"");
  plain->Add(u"Z", u"0");
  EXPECT_EQ(u8(plain->get_XML()), "<E></E><Z>0</Z>");
}

TEST_F(XmlEngine, EscapingRoundTrips) {
  Ref<clsXML> x = snippet_engine();
  const Text tricky = u"a<b & 'c'";
  x->Add(u"R", u"", true);
  x->Add(u"V", tricky);
  x->Add(u"Q", u"say \"hi\" > 1");
  x->Add(u"X", u"<Inner>1 & 2</Inner>");  // already XML: written as it is
  x->Add(u"B", u"  padded  ");
  const std::string xml = u8(x->get_XML());
  EXPECT_EQ(xml,
            "<R><V>a&lt;b &amp; &apos;c&apos;</V><Q>say &quot;hi&quot; &gt; 1</Q>"
            "<X><Inner>1 & 2</Inner></X><B>  padded  </B></R>");

  Ref<clsXML> r = create<clsXML>();
  r->put_XML(u16(xml));
  EXPECT_EQ(r->get_Value(u"V", 1), tricky);
  EXPECT_EQ(u8(r->get_Value(u"Q", 1)), "say \"hi\" > 1");
  EXPECT_EQ(u8(r->get_Value(u"Inner", 1)), "1 & 2");
  EXPECT_EQ(u8(r->get_Value(u"X", 1)), "<Inner>1 & 2</Inner>");
  EXPECT_EQ(u8(r->get_Value(u"B", 1)), "padded");

  // validate off writes the value raw.
  Ref<clsXML> raw = snippet_engine();
  raw->put_validate(false);
  raw->Add(u"V", u"a&b");
  EXPECT_EQ(u8(raw->get_XML()), "<V>a&b</V>");

  // Ampersands go last when unescaping, so an escaped reference survives.
  EXPECT_EQ(u8(clsXML::GetFieldValue(u"&amp;lt; &lt;&gt;&apos;&quot;")), "&lt; <>'\"");
  EXPECT_EQ(u8(clsXML::GetFieldValue(u"<a>&amp;</a>")), "<a>&</a>");  // no XML test
  EXPECT_EQ(u8(clsXML::EscapeValue(u"&lt;")), "&amp;lt;");
  EXPECT_EQ(u8(clsXML::UnescapeText(u"<a>&amp;</a>")), "<a>&amp;</a>");
  EXPECT_EQ(u8(clsXML::UnescapeText(u"\r\n<a>&amp;</a>")), "\r\n<a>&</a>");
  EXPECT_EQ(clsXML::EscapeValue(u"<"), u"&lt;");  // one character is not an element

  // Characters outside the code page do not survive; those inside do.
  Ref<clsXML> cp = snippet_engine();
  cp->Add(u"T", u"caf\u00e9 \u20ac \u4e2d");
  EXPECT_EQ(u8(cp->get_XML()), "<T>caf\u00e9 \u20ac ?</T>");
}

TEST_F(XmlEngine, DeclarationAndSurroundingLines) {
  Ref<clsXML> x = create<clsXML>();
  EXPECT_EQ(u8(x->get_XML()), "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>");

  Ref<clsXML> s = create<clsXML>();
  s->put_Stylesheet(u"S");
  s->put_DOCTYPE(u"D");
  s->Add(u"A", u"1");
  EXPECT_EQ(u8(s->get_XML()),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>S\r\nD\r\n<A>1</A>");

  Ref<clsXML> all = create<clsXML>();
  all->put_Version(u"'2.0'");
  all->put_Encoding(u"ISO-8859-1");
  all->put_Stylesheet(u"<?xml-stylesheet href='a.xsl'?>");
  all->put_Prefix(u"<wrap kind='x'>");
  all->put_DOCTYPE(u"<!DOCTYPE A>");
  all->Add(u"A", u"1");
  const std::string expected =
      "<?xml version=\"2.0\" encoding=\"ISO-8859-1\" ?>"
      "<?xml-stylesheet href=\"a.xsl\"?>\r\n<wrap kind=\"x\">\r\n<!DOCTYPE A>\r\n"
      "<A>1</A></wrap>\r\n";
  EXPECT_EQ(u8(all->get_XML()), expected);
  // The template is stored filled: later Version changes do not reach it.
  all->put_Version(u"3.0");
  EXPECT_EQ(u8(all->get_XML()), expected);
  // A later Suffix overrides the derived one; a Prefix without a blank drops it.
  all->put_Suffix(u"<!-- end -->");
  EXPECT_NE(u8(all->get_XML()).find("<A>1</A><!-- end -->\r\n"), std::string::npos);
  all->put_Prefix(u"<wrap>");
  EXPECT_EQ(u8(all->get_XML()),
            "<?xml version=\"2.0\" encoding=\"ISO-8859-1\" ?>"
            "<?xml-stylesheet href=\"a.xsl\"?>\r\n<wrap>\r\n<!DOCTYPE A>\r\n<A>1</A>");

  // Clear(false) brings the template back.
  all->Clear();
  EXPECT_EQ(u8(all->get_XML()), "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>");

  Ref<clsXML> bare = create<clsXML>();
  bare->put_Version(u"");
  bare->put_Encoding(u"");
  EXPECT_EQ(u8(bare->get_XML()), "<?xml   ?>");

  // Snippet leaves every surrounding line out.
  Ref<clsXML> snip = snippet_engine();
  snip->put_Stylesheet(u"S");
  snip->put_Prefix(u"<p q>");
  snip->Add(u"A", u"1");
  EXPECT_EQ(u8(snip->get_XML()), "<A>1</A>");
}

TEST_F(XmlEngine, FormattedOutputIndentsByLevel) {
  Ref<clsXML> x = snippet_engine();
  x->put_Formatted(true);
  x->Add(u"A", u"", true);
  x->Add(u"B", u"x");
  EXPECT_EQ(u8(x->get_XML()), "<A>\r\n    <B>x</B>\r\n</A>\r\n");

  Ref<clsXML> y = snippet_engine();
  y->put_Formatted(true);
  y->put_indent(u"2");
  y->Add(u"A", u"", true);
  y->Add(u"B", u"head", true);
  y->AddXML(u"<C/>");
  y->Comment(u"note");
  y->EndGroup();
  y->AddAttrVal(u"D", u"k", u"v");
  EXPECT_EQ(u8(y->get_XML()),
            "<A>\r\n  <B>head\r\n    <C/>\r\n<!-- \tnote\t-->\r\n  </B>\r\n  <D k=\"v\"/>\r\n"
            "</A>\r\n");

  // A value that is XML but starts with a line break is plain text to the reader.
  Ref<clsXML> r = create<clsXML>();
  r->put_XML(u"<V>\r\n<a>&amp;</a></V>");
  EXPECT_EQ(u8(r->get_Value(u"V")), "\r\n<a>&</a>");
}

TEST_F(XmlEngine, IndentSettingRules) {
  auto indented = [](const char16_t* indent) {
    Ref<clsXML> x = create<clsXML>();
    x->put_Snippet(true);
    x->put_Formatted(true);
    x->put_indent(indent);
    x->Add(u"A", u"", true);
    x->Add(u"B", u"1");
    const std::string xml = u8(x->get_XML());
    return xml.find('<', 5) - 5;  // blanks before <B>
  };
  EXPECT_EQ(indented(u"-3"), 4u);
  EXPECT_EQ(indented(u"25"), 10u);
  EXPECT_EQ(indented(u"2.5"), 2u);
  EXPECT_EQ(indented(u"3.5"), 4u);
  EXPECT_EQ(indented(u"0"), 0u);
  EXPECT_EQ(indented(u" 7 "), 7u);

  Ref<clsXML> x = create<clsXML>();
  EXPECT_EQ(error_of([&] { x->put_indent(u"abc"); }, 13), "Type mismatch");
  EXPECT_EQ(logs_.error_lines().size(), 0u);  // no handler on settings
}

TEST_F(XmlEngine, LevelClosesOneGroupOrMovesOnlyInSnippets) {
  Ref<clsXML> x = snippet_engine();
  x->put_Formatted(true);
  x->Add(u"A", u"", true);
  x->Add(u"B", u"", true);
  x->Add(u"C", u"", true);
  // Lowering from 4 to 1 closes C alone, indented from level 4.
  x->put_Level(1);
  x->Add(u"D", u"1");
  EXPECT_EQ(u8(x->get_XML()),
            "<A>\r\n    <B>\r\n        <C>\r\n            </C>\r\n<D>1</D>\r\n"
            "</B>\r\n</A>\r\n");

  // Without an open group lowering fails and changes nothing.
  Ref<clsXML> y = snippet_engine();
  y->put_Level(3);
  y->Add(u"A", u"1");
  EXPECT_EQ(error_of([&] { y->put_Level(1); }, 5), "Invalid procedure call or argument");
  y->put_Formatted(true);
  y->Add(u"B", u"2");
  EXPECT_EQ(u8(y->get_XML()), "<A>1</A>        <B>2</B>\r\n");

  // Raising is ignored unless Snippet is on.
  Ref<clsXML> z = create<clsXML>();
  z->put_Formatted(true);
  z->put_Level(3);
  z->Add(u"A", u"1");
  EXPECT_EQ(u8(z->get_XML()), "<?xml version=\"1.0\" encoding=\"UTF-8\" ?><A>1</A>\r\n");
  EXPECT_EQ(logs_.error_lines().size(), 0u);
}

TEST_F(XmlEngine, IndentationOverflowIsReportedThroughAdd) {
  Ref<clsXML> x = snippet_engine();
  x->put_indent(u"10");
  x->put_Level(5000);  // (5000 - 1) * 10 does not fit 16 bits
  const std::string msg = error_of([&] { x->Add(u"A", u"1"); }, 6);
  EXPECT_EQ(msg, "clsXML | Add, Error # 6 at line: 6\r\nOverflow");
  // Settings and builder members without a handler raise it bare.
  EXPECT_EQ(error_of([&] { x->AddXML(u"<a/>"); }, 6), "Overflow");
  ASSERT_EQ(logs_.error_lines().size(), 1u);
  EXPECT_EQ(log_message(logs_.error_lines()[0]), "clsXML | Add, Error # 6 at line: 6][Overflow");

  Ref<clsXML> top = snippet_engine();
  top->put_indent(u"0");
  top->put_Level(32767);
  EXPECT_EQ(error_of([&] { top->Add(u"G", u"", true); }, 6),
            "clsXML | Add, Error # 6 at line: 9\r\nOverflow");
}

TEST_F(XmlEngine, NumberedValueReadsUseTheSearchMemory) {
  Ref<clsXML> x = create<clsXML>();
  x->put_XML(u"<L><Price>1</Price><Price>2</Price><Price id='3'>3</Price></L>");
  EXPECT_EQ(u8(x->get_Value(u"Price", 1)), "1");
  EXPECT_EQ(u8(x->get_Value(u"Price", 2)), "2");
  EXPECT_EQ(u8(x->get_Value(u"Price", 3)), "");  // attributes hide it from Value
  EXPECT_EQ(u8(x->get_Value(u"price", 1)), "");  // case-sensitive
  EXPECT_EQ(u8(x->get_Value(u"Missing", 1)), "");
  EXPECT_EQ(u8(x->get_Value(u"", 1)), "");

  // A fresh engine skips end tags; one continuing from memory does not count them.
  const Text odd = u"</P><P>a</P><P>b</P>";
  Ref<clsXML> fresh = create<clsXML>();
  fresh->put_XML(odd);
  EXPECT_EQ(u8(fresh->get_Value(u"P", 2)), "a");
  Ref<clsXML> seq = create<clsXML>();
  seq->put_XML(odd);
  EXPECT_EQ(u8(seq->get_Value(u"P", 1)), "a");
  EXPECT_EQ(u8(seq->get_Value(u"P", 2)), "b");
  EXPECT_EQ(u8(seq->get_Value(u"P", 3)), "");
  // The miss forgot the memory: skipping two end tags from the top lands on b.
  EXPECT_EQ(u8(seq->get_Value(u"P", 3)), "b");
  // Element 0 and negative numbers read the first; 5 of two starts over at the top.
  Ref<clsXML> two = create<clsXML>();
  two->put_XML(u"<Price>1</Price><Price>2</Price>");
  EXPECT_EQ(u8(two->get_Value(u"Price", 5)), "1");
  EXPECT_EQ(u8(two->get_Value(u"Price", -4)), "1");
  EXPECT_EQ(u8(two->get_Value(u"Price", 0)), "1");
  EXPECT_EQ(u8(two->get_Value(u"Price", 1)), "2");  // after element 0, from memory
  // Nested elements of one name: the first end tag ends the value.
  two->put_XML(u"<N><N>in</N></N>");
  EXPECT_EQ(u8(two->get_Value(u"N")), "<N>in");
  EXPECT_EQ(u8(two->get_Value(u"N", 1)), "");  // 1 right after 0 continues from memory
}

TEST_F(XmlEngine, BlockReadsAndTheirFallbacks) {
  Ref<clsXML> x = create<clsXML>();
  x->put_XML(u"<Item id='1'>x</Item>");
  EXPECT_EQ(u8(x->get_Value(u"Item", 1)), "");
  EXPECT_EQ(u8(x->get_Block(u"Item", 1)), "<Item id='1'>x</Item>");

  x->put_XML(u"<Item a='1'/><Item>x</Item>");
  EXPECT_EQ(u8(x->get_Block(u"Item", 1)), "<Item>x</Item>");
  x->put_XML(u"<Item />");
  EXPECT_EQ(u8(x->get_Block(u"Item", 1)), "<Item />");
  x->put_XML(u"<Item/>");
  EXPECT_EQ(u8(x->get_Block(u"Item", 1)), "");
  EXPECT_EQ(u8(x->get_Value(u"Item", 1)), "");

  // Sequential reads continue from memory and keep its patterns, without fallbacks.
  x->put_XML(u"<C> <Item>1 &amp; 2</Item> <Item>b</Item><Item k='v'/></C>");
  EXPECT_EQ(u8(x->get_Block(u"Item", 1)), "<Item>1 &amp; 2</Item>");  // not unescaped
  EXPECT_EQ(u8(x->get_Block(u"Item", 2)), "<Item>b</Item>");
  EXPECT_EQ(u8(x->get_Block(u"Item", 3)), "");
  // Read fresh, element 3 falls back to the start tag with attributes and "/>".
  x->put_XML(u"<C> <Item>1 &amp; 2</Item> <Item>b</Item><Item k='v'/></C>");
  EXPECT_EQ(u8(x->get_Block(u"Item", 3)), "<Item k='v'/>");
  // Remembered fallback patterns are used for the next element.
  x->put_XML(u"<L><Row n='1'/><Row n='2'/></L>");
  EXPECT_EQ(u8(x->get_Block(u"Row", 1)), "<Row n='1'/>");
  EXPECT_EQ(u8(x->get_Block(u"Row", 2)), "<Row n='2'/>");
  EXPECT_EQ(u8(x->get_Block(u"", 1)), "");
  Ref<clsXML> empty = create<clsXML>();
  EXPECT_EQ(u8(empty->get_Block(u"Row", 1)), "");
  EXPECT_EQ(u8(empty->get_Value(u"Row", 1)), "");
}

TEST_F(XmlEngine, LoadedTextIsReturnedVerbatim) {
  Ref<clsXML> x = create<clsXML>();
  x->put_Snippet(true);
  x->Add(u"G", u"", true);  // still open when the text is assigned
  x->put_XML(u"<A>1</A>");
  x->Add(u"B", u"2");
  EXPECT_EQ(u8(x->get_XML()), "<A>1</A><B>2</B>");
  x->Clear();
  x->put_Snippet(true);
  x->Add(u"C", u"3");
  EXPECT_EQ(u8(x->get_XML()), "<C>3</C>");  // Clear returned to composing
}

TEST_F(XmlEngine, DestroyedStateRaisesObjectNotSet) {
  Ref<clsXML> x = create<clsXML>();
  x->Clear(true);
  EXPECT_EQ(error_of([&] { x->get_Value(u"A", 1); }, 91),
            "clsXML | Get Value, Error # 91 at line: 1\r\n"
            "Object variable or With block variable not set");
  error_of([&] { x->get_Block(u"A", 1); }, 91);
  error_of([&] { x->Add(u"A", u"1"); }, 91);
  ASSERT_EQ(logs_.error_lines().size(), 3u);
  EXPECT_EQ(log_message(logs_.error_lines()[2]),
            "clsXML | Add, Error # 91 at line: 6][Object variable or With block variable not set");

  // Members without a handler raise it bare and log nothing.
  EXPECT_EQ(error_of([&] { x->get_XML(); }, 91), "Object variable or With block variable not set");
  error_of([&] { x->AddXML(u"<a/>"); }, 91);
  error_of([&] { x->EndGroup(); }, 91);
  error_of([&] { x->Comment(u"c"); }, 91);
  EXPECT_EQ(logs_.error_lines().size(), 3u);
  // Compress leaves an empty value out before the buffer is touched: no failure.
  x->put_Compress(true);
  x->Add(u"A", u"");

  // XML let gives a buffer back, but no group stack.
  x->put_XML(u"<A>1</A>");
  EXPECT_EQ(u8(x->get_Value(u"A", 1)), "1");
  x->Add(u"B", u"2");
  EXPECT_EQ(u8(x->get_XML()), "<A>1</A><B>2</B>");
  error_of([&] { x->Add(u"G", u"", true); }, 91);
  x->Clear(false);
  x->put_Snippet(true);
  x->Add(u"G", u"", true);
  EXPECT_EQ(u8(x->get_XML()), "<G></G>");
  EXPECT_EQ(x->last_error().LastErrorNumber, 91);
}

}  // namespace
}  // namespace vexqom
