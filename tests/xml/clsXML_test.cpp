// The XML text engine: building, declaration, escaping, numbered reads, lifecycle.
#include "xml/clsXML.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <utility>

#include "frame/code_page.h"
#include "support/checks.h"
#include "support/log_folder.h"

namespace vexqom {
namespace {

using testing::failure_of;
using testing::u8;

Ref<clsXML> snippet(bool formatted = false) {
  Ref<clsXML> x = create<clsXML>();
  x->put_Snippet(true);
  if (formatted) x->put_Formatted(true);
  return x;
}
Ref<clsXML> loaded(const Text& text) {
  Ref<clsXML> x = create<clsXML>();
  x->put_XML(text);
  return x;
}
std::string value(clsXML& x, const char16_t* tag, int16_t n = 0) { return u8(x.get_Value(tag, n)); }
std::string block(clsXML& x, const char16_t* tag, int16_t n = 0) { return u8(x.get_Block(tag, n)); }

// Numbered reads in turn: the engine remembers where the last one ended.
void expect_reads(clsXML& x, const char16_t* tag,
                  std::initializer_list<std::pair<int16_t, const char*>> reads,
                  bool blocks = false) {
  for (auto [n, expected] : reads)
    EXPECT_EQ(blocks ? block(x, tag, n) : value(x, tag, n), expected) << u8(tag) << " " << n;
}

const std::string kDecl = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>";

TEST(XmlEngine, CompressZeroSuppressAndGroups) {
  testing::LogFolder logs;
  Ref<clsXML> x = snippet();
  x->put_ZeroSuppress(true);
  x->put_ZeroSuppress(false);  // Compress stays on
  x->Add(u"Vehicle", u"", true);
  for (const char16_t* v : {u"0", u"00", u"0.00", u"-0", u" 0 ", u""}) x->Add(u"N", v);
  x->put_ZeroSuppress(true);
  for (const char16_t* v : {u"0", u"00", u"0.00", u"-0", u" 0 ", u""}) x->Add(u"Z", v);
  x->Add(u"Year", u"2001");
  x->Add(u"Keep", u"0A");
  x->Add(u"Grp", u"", true);        // openers are written even when empty
  x->Add(u"Z", u"0", false, true);  // left out, so the group stays open
  x->AddXML(u"<C>1</C>");
  EXPECT_EQ(u8(x->get_XML()),
            "<Vehicle><N>0</N><N>00</N><N>0.00</N><N>-0</N><N> 0 </N>"
            "<Year>2001</Year><Keep>0A</Keep><Grp><C>1</C></Grp></Vehicle>");
  // The read closed the groups in the buffer: later text follows them.
  x->Add(u"", u"x");
  x->EndGroup();
  x->Add(u"G", u"v", true, true);
  EXPECT_TRUE(u8(x->get_XML()).ends_with("</Vehicle><G>v</G>"));
  Ref<clsXML> plain = snippet();
  plain->Add(u"E", u"");
  EXPECT_EQ(u8(plain->get_XML()), "<E></E>");
  EXPECT_TRUE(logs.error_lines().empty());
}

TEST(XmlEngine, EscapingRoundTrips) {
  Ref<clsXML> x = snippet();
  x->Add(u"V", u"a<b & 'c'");
  x->Add(u"Q", u"say \"hi\" > 1");
  x->Add(u"X", u"<Inner>1 & 2</Inner>");  // already XML: written as it is
  x->Add(u"B", u"  padded  ");
  x->Add(u"T", u"caf\u00e9 \u4e2d");  // outside the code page: '?'
  const Text xml = x->get_XML();
  EXPECT_EQ(u8(xml),
            "<V>a&lt;b &amp; &apos;c&apos;</V><Q>say &quot;hi&quot; &gt; 1</Q>"
            "<X><Inner>1 & 2</Inner></X><B>  padded  </B><T>caf\u00e9 ?</T>");
  Ref<clsXML> r = loaded(xml);
  const std::pair<const char16_t*, const char*> back[] = {
      {u"V", "a<b & 'c'"}, {u"Q", "say \"hi\" > 1"}, {u"X", "<Inner>1 & 2</Inner>"},
      {u"B", "padded"}};
  for (auto [tag, text] : back) EXPECT_EQ(value(*r, tag), text);
  EXPECT_EQ(value(*loaded(u"<V>\r\n<a>&amp;</a></V>"), u"V"), "\r\n<a>&</a>");

  Ref<clsXML> raw = snippet();
  raw->put_validate(false);
  raw->Add(u"V", u"a&b");
  EXPECT_EQ(u8(raw->get_XML()), "<V>a&b</V>");
  EXPECT_EQ(u8(clsXML::GetFieldValue(u"&amp;lt; &lt;&gt;&apos;&quot;")), "&lt; <>'\"");
  EXPECT_EQ(u8(clsXML::GetFieldValue(u"<a>&amp;</a>")), "<a>&</a>");
  EXPECT_EQ(u8(clsXML::UnescapeText(u"<a>&amp;</a>")), "<a>&amp;</a>");
}

// Add writes each element straight into the buffer; it must equal the element composed
// from the Text-level escaper, for values mixing entities, code page letters, letters
// outside it and ASCII runs of every length, formatted and not, escaped and not.
TEST(XmlEngine, AddWritesWhatTheTextEscaperComposes) {
  std::mt19937 random(3);
  const Text alphabet = u"ab<>&'\"\u00e9\u4e2d 0123456789xyzXYZ";
  for (int round = 0; round < 300; ++round) {
    Text value;
    for (int k = static_cast<int>(random() % 40); k > 0; --k)
      value += alphabet[random() % alphabet.size()];
    if (round % 7 == 0) value = u"<" + value + u">";  // itself XML: written as it is
    const bool formatted = round % 2 == 0, validate = round % 3 != 0;
    Ref<clsXML> x = snippet(formatted);
    x->put_validate(validate);
    x->Add(u"Group", u"", true);
    x->Add(u"T\u00e9g", value);
    const bool as_is =
        !validate || (!value.empty() && value.front() == u'<' && value.back() == u'>');
    const Text element =
        u"<T\u00e9g>" + (as_is ? value : clsXML::EscapeValue(value)) + u"</T\u00e9g>";
    const Text expected = formatted ? u"<Group>\r\n    " + element + u"\r\n" : u"<Group>" + element;
    Text built = x->get_XML();
    built.resize(std::min(built.size(), expected.size()));  // the group's end tag aside
    ASSERT_EQ(u8(built), u8(from_code_page(to_code_page(expected)))) << u8(value);
  }
}

// Field values are unescaped in one pass; the result must be that of replacing the five
// references one after the other, ampersands last.
TEST(XmlEngine, FieldValuesUnescapeAsTheReferencesReplacedInTurn) {
  auto replaced_in_turn = [](Text text) {
    const std::pair<Text, Text> order[] = {
        {u"&lt;", u"<"}, {u"&gt;", u">"}, {u"&apos;", u"'"}, {u"&quot;", u"\""}, {u"&amp;", u"&"}};
    for (const auto& [what, with] : order) {
      for (size_t at = text.find(what); at != Text::npos; at = text.find(what, at + 1))
        text.replace(at, what.size(), with);
    }
    return text;
  };
  std::mt19937 random(9);
  const Text pieces[] = {u"&",    u"amp;",  u"lt;", u"gt;", u"apos;", u"quot;",
                         u"&lt;", u"&amp;", u";",   u"a",   u"<",     u"\u00e9"};
  for (int round = 0; round < 2000; ++round) {
    Text text;
    for (int k = static_cast<int>(random() % 8); k > 0; --k) text += pieces[random() % 12];
    ASSERT_EQ(u8(clsXML::GetFieldValue(text)), u8(replaced_in_turn(text))) << u8(text);
  }
}

TEST(XmlEngine, DeclarationSurroundingLinesAndLongTagNames) {
  EXPECT_EQ(u8(create<clsXML>()->get_XML()), kDecl);
  Ref<clsXML> s = create<clsXML>();
  s->put_Stylesheet(u"S");
  s->put_DOCTYPE(u"D");
  s->Add(u"A", u"1");
  EXPECT_EQ(u8(s->get_XML()), kDecl + "S\r\nD\r\n<A>1</A>");

  Ref<clsXML> x = create<clsXML>();
  x->put_Version(u"'2.0'");
  x->put_Stylesheet(u"<?ss href='a'?>");
  x->put_Prefix(u"<wrap kind='x'>");  // holds a blank: Suffix becomes </wrap>
  x->put_DOCTYPE(u"<!DOCTYPE A>");
  x->Add(u"A", u"1");
  const std::string decl = "<?xml version=\"2.0\" encoding=\"UTF-8\" ?><?ss href=\"a\"?>\r\n";
  const std::string head = decl + "<wrap kind=\"x\">\r\n<!DOCTYPE A>\r\n<A>1</A>";
  EXPECT_EQ(u8(x->get_XML()), head + "</wrap>\r\n");
  x->put_Version(u"3.0");  // the template was stored filled
  x->put_Suffix(u"<!-- end -->");
  EXPECT_EQ(u8(x->get_XML()), head + "<!-- end -->\r\n");
  x->put_Prefix(u"<wrap>");
  EXPECT_EQ(u8(x->get_XML()), decl + "<wrap>\r\n<!DOCTYPE A>\r\n<A>1</A>");
  x->Clear();
  x->put_Version(u"");
  EXPECT_EQ(u8(x->get_XML()), "<?xml  encoding=\"UTF-8\" ?>");

  // Tag names longer than the readers build in place (30 bytes) take their other room.
  const Text name(100, u'N');
  Ref<clsXML> l = snippet();
  l->Add(u"Group", u"", true);
  l->Add(name, u"first");
  l->Add(name, u"second");
  Ref<clsXML> r = loaded(l->get_XML());
  EXPECT_EQ(u8(r->get_Value(name, 1)), "first");
  EXPECT_EQ(u8(r->get_Block(name, 2)), u8(u"<" + name + u">second</" + name + u">"));
  EXPECT_EQ(u8(r->get_Value(name + u"X", 1)), "");
}

TEST(XmlEngine, FormattingIndentAndLevel) {
  Ref<clsXML> x = snippet(true);
  x->Add(u"A", u"", true);
  x->Add(u"B", u"x");
  EXPECT_EQ(u8(x->get_XML()), "<A>\r\n    <B>x</B>\r\n</A>\r\n");

  Ref<clsXML> y = snippet(true);
  y->put_indent(u"2");
  y->Add(u"A", u"", true);
  y->Add(u"B", u"head", true);
  y->Add(u"C", u"", true);
  y->put_Level(1);  // closes C alone, indented from level 4; next line at level 1
  y->AddXML(u"<X/>");
  y->Comment(u"note");
  EXPECT_EQ(u8(y->get_XML()),
            "<A>\r\n  <B>head\r\n    <C>\r\n      </C>\r\n<X/>\r\n"
            "<!-- \tnote\t-->\r\n</B>\r\n</A>\r\n");
  EXPECT_EQ(failure_of([&] { y->put_Level(-5); }), "5 Invalid procedure call or argument");

  Ref<clsXML> z = create<clsXML>();  // raising the level counts only in snippets
  z->put_Formatted(true);
  z->put_Level(3);
  z->Add(u"A", u"1");
  EXPECT_EQ(u8(z->get_XML()), kDecl + "<A>1</A>\r\n");
  EXPECT_EQ(failure_of([&] { z->put_indent(u"abc"); }), "13 Type mismatch");

  const std::pair<const char16_t*, size_t> indents[] = {
      {u"-3", 4}, {u"25", 10}, {u"2.5", 2}, {u"3.5", 4}};
  for (auto [indent, blanks] : indents) {
    Ref<clsXML> i = snippet(true);
    i->put_indent(indent);
    i->put_Level(2);
    i->Add(u"B", u"1");
    EXPECT_EQ(u8(i->get_XML()).find('<'), blanks) << u8(indent);
  }
}

TEST(XmlEngine, OverflowAndDestroyedStateErrors) {
  testing::LogFolder logs;
  Ref<clsXML> x = snippet();
  x->put_indent(u"10");
  x->put_Level(5000);  // (5000 - 1) * 10 does not fit 16 bits
  EXPECT_EQ(failure_of([&] { x->Add(u"A", u"1"); }),
            "6 clsXML | Add, Error # 6 at line: 6\r\nOverflow");
  EXPECT_EQ(failure_of([&] { x->AddXML(u"<a/>"); }), "6 Overflow");  // no handler

  Ref<clsXML> d = create<clsXML>();
  d->Clear(true);
  const std::string unset = "Object variable or With block variable not set";
  const std::pair<std::function<void()>, std::string> calls[] = {
      {[&] { d->get_Value(u"A"); }, "91 clsXML | Get Value, Error # 91 at line: 1\r\n" + unset},
      {[&] { d->get_Block(u"A"); }, "91 clsXML | Get Block, Error # 91 at line: 1\r\n" + unset},
      {[&] { d->get_XML(); }, "91 " + unset}, {[&] { d->EndGroup(); }, "91 " + unset},
      {[&] { d->Comment(u"c"); }, "91 " + unset}};
  for (const auto& [call, failure] : calls) EXPECT_EQ(failure_of(call), failure);
  const auto messages = logs.error_messages();
  ASSERT_EQ(messages.size(), 3u);  // one per handler, the bare members log nothing
  EXPECT_EQ(messages[1], "clsXML | Get Value, Error # 91 at line: 1][" + unset);

  d->put_XML(u"<A>1</A>");  // a buffer again, but no group stack
  d->Add(u"B", u"2");
  EXPECT_EQ(value(*d, u"A"), "1");
  EXPECT_EQ(u8(d->get_XML()), "<A>1</A><B>2</B>");
  EXPECT_TRUE(failure_of([&] {
                d->Add(u"G", u"", true);
              }).starts_with("91 clsXML | Add, Error # 91 at line: 3"));
}

// Numbered reads that count end tags from the top learn where they lie; whatever changes
// the text (an edit of the same length, a new load, a builder call) must be seen.
TEST(XmlEngine, NumberedReadsFollowTheTextAfterEveryChange) {
  Ref<clsXML> x = loaded(u"<P>a</P><P>b</P><P>c</P>");
  expect_reads(*x, u"P", {{3, "c"}});
  expect_reads(*x, u"P", {{2, "<P>b</P>"}}, true);
  x->put_Value(u"P", 1, u"z");  // same length: only the bytes differ
  expect_reads(*x, u"P", {{1, "z"}});
  x->put_Value(u"P", 1, u"longer");
  expect_reads(*x, u"P", {{3, "c"}});
  expect_reads(*x, u"P", {{3, "<P>c</P>"}}, true);
  x->put_Block(u"P", 2, u"<P>x</P><P>y</P>");
  expect_reads(*x, u"P", {{4, "c"}});
  expect_reads(*x, u"P", {{3, "<P>y</P>"}}, true);
  x->put_XML(u"<P>1</P>");
  expect_reads(*x, u"P", {{3, "1"}});  // too few now: from the top
  Ref<clsXML> built = snippet();
  built->Add(u"P", u"1");
  expect_reads(*built, u"P", {{3, "1"}});  // one end tag, two needed: from the top
  built->Add(u"P", u"2");
  expect_reads(*built, u"P", {{2, "2"}});
  built->Clear(false);
  built->put_Snippet(true);
  built->Add(u"P", u"3");
  built->Add(u"P", u"4");
  expect_reads(*built, u"P", {{2, "<P>4</P>"}}, true);
}

TEST(XmlEngine, NumberedReadsSearchMemoryAndBlockFallbacks) {
  Ref<clsXML> x = loaded(u"<L><Price>1</Price><Price>2</Price><Price id='3'>3</Price></L>");
  expect_reads(*x, u"Price", {{2, "2"}, {3, ""}, {5, "1"}});  // attributes hide 3 from Value
  expect_reads(*x, u"Price", {{3, "<Price id='3'>3</Price>"}}, true);
  expect_reads(*x, u"price", {{1, ""}});

  // Continuing from memory counts no end tags; fresh reads do.
  const Text odd = u"</P><P>a</P><P>b</P>";
  expect_reads(*loaded(odd), u"P", {{2, "a"}});
  Ref<clsXML> seq = loaded(odd);
  // The miss at 3 forgets the memory; 1 right after 0 continues.
  expect_reads(*seq, u"P", {{1, "a"}, {2, "b"}, {3, ""}, {3, "b"}, {-4, "a"}, {0, "a"}, {1, "b"}});
  seq->put_XML(odd);  // assignment resets the memory
  expect_reads(*seq, u"P", {{2, "a"}});

  expect_reads(*loaded(u"<Item a='1'/><Item>x</Item>"), u"Item", {{1, "<Item>x</Item>"}}, true);
  expect_reads(*loaded(u"<Item />"), u"Item", {{1, "<Item />"}}, true);
  expect_reads(*loaded(u"<Item/>"), u"Item", {{1, ""}}, true);
  expect_reads(*loaded(u"<Item/>"), u"Item", {{1, ""}});
  const Text text = u"<C> <Item>1 &amp; 2</Item> <Item>b</Item><Item k='v'/></C>";
  // The remembered path tries no fallback; a fresh read does.
  expect_reads(*loaded(text), u"Item",
               {{1, "<Item>1 &amp; 2</Item>"}, {2, "<Item>b</Item>"}, {3, ""}}, true);
  expect_reads(*loaded(text), u"Item", {{3, "<Item k='v'/>"}}, true);
  expect_reads(*loaded(u"<L><Row n='1'/><Row n='2'/></L>"), u"Row",
               {{1, "<Row n='1'/>"}, {2, "<Row n='2'/>"}}, true);  // remembered fallback patterns
}

TEST(XmlEngine, TraceLineOnlyFromValueGet) {
  testing::LogFolder logs;
  logs.start_tracing();
  Ref<clsXML> x = loaded(u"<A b='1'>2</A>");
  x->get_Block(u"A");
  x->get_Attrib(u"A", u"b");
  x->Add(u"C", u"3");
  x->get_Value(u"A");
  EXPECT_EQ(logs.traced("clsXML"), std::vector<std::string>{"clsXML | Get Value"});
}

// Engines hand each other code-page bytes; the byte forms must agree with the Text forms
// exactly, including characters beyond ASCII and the ones the code page cannot hold.
TEST(XmlEngine, ByteHandOffsAgreeWithTheTextForms) {
  Text all_bytes;
  for (int b = 1; b < 256; ++b) all_bytes += from_code_page(std::string(1, static_cast<char>(b)));
  const Text text =
      u"<L><Row>\u20ac \u00fc \u015d</Row> <Row a='1'/><Row>" + all_bytes + u"</Row></L>";
  Ref<clsXML> by_text = loaded(text);
  Ref<clsXML> by_bytes = loaded(from_code_page(to_code_page(text)));
  EXPECT_EQ(by_bytes->get_XML(), by_text->get_XML());
  for (int16_t n : {1, 2, 3, 4})
    EXPECT_EQ(by_bytes->get_Block(u"Row", n), by_text->get_Block(u"Row", n)) << n;
  EXPECT_EQ(u8(by_text->get_Block(u"Row", 1)), "<Row>\u20ac \u00fc ?</Row>");
}

}  // namespace
}  // namespace vexqom
