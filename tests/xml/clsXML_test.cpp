// The XML text engine: building, declaration, escaping, numbered reads, lifecycle, the
// attribute members and in-place editors, and Prettify's and XMLcompress's reshaping.
#include "xml/clsXML.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

#include "support/checks.h"
#include "support/log_folder.h"

namespace vexqom {
namespace {

using namespace testing;

struct Element {
  TextView tag, value;
  bool group = false, end = false;
};
void add(clsXML& x, std::initializer_list<Element> elements) {
  for (const Element& e : elements) x.Add(e.tag, e.value, e.group, e.end);
}
Ref<clsXML> snippet(bool formatted = false, std::initializer_list<Element> elements = {}) {
  Ref<clsXML> x = create<clsXML>();
  x->put_Snippet(true);
  if (formatted) x->put_Formatted(true);
  add(*x, elements);
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

TEST(XmlEngine, CompressZeroSuppressGroupsAndEscaping) {
  LogFolder logs;
  Ref<clsXML> x = snippet();
  x->put_ZeroSuppress(true);
  x->put_ZeroSuppress(false);  // Compress stays on
  x->Add(u"Vehicle", u"", true);
  for (const char16_t* v : {u"0", u"00", u"0.00", u"-0", u" 0 ", u""}) x->Add(u"N", v);
  x->put_ZeroSuppress(true);
  for (const char16_t* v : {u"0", u"00", u"0.00", u"-0", u" 0 ", u""}) x->Add(u"Z", v);
  // Openers are written even when empty; the zero that would end the group is left out,
  // so the group stays open.
  add(*x, {{u"Keep", u"0A"}, {u"Grp", u"", true}, {u"Z", u"0", false, true}});
  x->AddXML(u"<C>1</C>");
  // Already XML, X is written as it is; outside the code page T's letter is '?'.
  add(*x, {{u"V", u"a<b & 'c' \"hi\" >"}, {u"X", u"<Inner>1 & 2</Inner>"},
           {u"T", u" caf\u00e9 \u4e2d "}});
  EXPECT_EQ(
      u8(x->get_XML()),
      "<Vehicle><N>0</N><N>00</N><N>0.00</N><N>-0</N><N> 0 </N><Keep>0A</Keep><Grp><C>1</C>"
      "<V>a&lt;b &amp; &apos;c&apos; &quot;hi&quot; &gt;</V><X><Inner>1 & 2</Inner></X><T> caf"
      "\u00e9 ? </T></Grp></Vehicle>");
  // The read closed the groups in the buffer: later text follows them.
  x->Add(u"", u"x");
  x->EndGroup();
  x->Add(u"G", u"v", true, true);
  EXPECT_TRUE(u8(x->get_XML()).ends_with("</Vehicle><G>v</G>"));
  Ref<clsXML> r = loaded(x->get_XML());
  EXPECT_EQ(value(*r, u"G") + "|" + value(*r, u"V") + "|" + value(*r, u"X") + "|" + value(*r, u"T"),
            "v|a<b & 'c' \"hi\" >|<Inner>1 & 2</Inner>|caf\u00e9 ?");  // trimmed
  EXPECT_EQ(value(*loaded(u"<V>\r\n<a>&amp;</a></V>"), u"V"), "\r\n<a>&</a>");
  EXPECT_EQ(u8(clsXML::GetFieldValue(u"&amp;lt; &lt;&gt;&apos;&quot;")), "&lt; <>'\"");
  EXPECT_EQ(u8(clsXML::UnescapeText(u"<a>&amp;</a>")), "<a>&amp;</a>");
  // A new engine neither compresses nor suppresses zeros.
  EXPECT_EQ(u8(snippet(false, {{u"E", u""}, {u"N", u"0"}})->get_XML()), "<E></E><N>0</N>");
  EXPECT_TRUE(logs.error_lines().empty());
}

TEST(XmlEngine, DeclarationSurroundingLinesAndLongTagNames) {
  EXPECT_EQ(u8(create<clsXML>()->get_XML()), kDeclaration);
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
  Ref<clsXML> r = loaded(
      snippet(false, {{u"Group", u"", true}, {name, u"first"}, {name, u"second"}})->get_XML());
  EXPECT_EQ(u8(r->get_Value(name, 1)), "first");
  EXPECT_EQ(u8(r->get_Block(name, 2)), u8(u"<" + name + u">second</" + name + u">"));
  EXPECT_EQ(u8(r->get_Value(name + u"X", 1)), "");
}

TEST(XmlEngine, FormattingIndentAndLevel) {
  EXPECT_EQ(u8(snippet(true, {{u"A", u"", true}, {u"B", u"x"}})->get_XML()),
            "<A>\r\n    <B>x</B>\r\n</A>\r\n");

  Ref<clsXML> y = snippet(true);
  y->put_indent(u"2");
  add(*y, {{u"A", u"", true}, {u"B", u"head", true}, {u"C", u"", true}});
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
  EXPECT_EQ(u8(z->get_XML()), kDeclaration + "<A>1</A>\r\n");
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

// A failure under a handler is logged once, under its label and line; the bare members
// raise without logging. A destroyed engine has neither buffer nor group stack.
TEST(XmlEngine, OverflowAndDestroyedStateFailures) {
  LogFolder logs;
  logs.create_trace_flag();
  Ref<clsXML> x = snippet();
  x->put_indent(u"10");
  x->put_Level(4000);  // (4000 - 1) * 10 does not fit 16 bits
  Ref<clsXML> d = create<clsXML>();
  d->Clear(true);
  auto handled = [&](const char* label, int line, const std::string& description) {
    const std::string number = description == kUnset ? "91" : "6";
    return number + " clsXML | " + label + ", Error # " + number + " at line: " +
           std::to_string(line) + "\r\n" + description;
  };
  const std::pair<std::function<void()>, std::string> calls[] = {
      {[&] { x->Add(u"A", u"1"); }, handled("Add", 6, "Overflow")},
      {[&] { x->AddAttrVal(u"A", u"b", u"c"); }, handled("AddAttrVal", 3, "Overflow")},
      {[&] { x->AddXML(u"<a/>"); }, "6 Overflow"}, {[&] { d->get_XML(); }, "91 " + kUnset},
      {[&] { d->get_Value(u"A"); }, handled("Get Value", 1, kUnset)},
      {[&] { d->get_Block(u"A"); }, handled("Get Block", 1, kUnset)},
      {[&] { d->get_Attrib(u"A", u"b"); }, handled("Get Attrib", 1, kUnset)},
      {[&] { d->put_Attrib(u"A", u"b", u"c"); }, handled("Let Attrib", 1, kUnset)},
      {[&] { d->put_Block(u"A", 1, u"c"); }, handled("Let Block", 1, kUnset)},
      {[&] { d->put_Value(u"A", 1, u"c"); }, handled("Let Value", 1, kUnset)},
      {[&] { d->AddAttrVal(u"A", u"b", u"c", true); }, handled("AddAttrVal", 2, kUnset)},
      {[&] { d->XMLFileWrite(from_utf8(logs.path() + "/out"), false); },
       handled("XMLFileWrite", 3, kUnset)}};
  for (const auto& [call, failure] : calls) EXPECT_EQ(failure_of(call), failure);
  EXPECT_EQ(logs.error_lines().size(), 10u);
  EXPECT_EQ(u8(x->get_XML()), "");

  d->put_XML(u"<A>1</A>");  // a buffer again, but no group stack
  d->Add(u"B", u"2");
  EXPECT_EQ(u8(d->get_XML()) + value(*d, u"A"), "<A>1</A><B>2</B>1");
  EXPECT_EQ(failure_of([&] { d->Add(u"G", u"", true); }), handled("Add", 3, kUnset));
  // Tracing is on from the first failure, yet of all these members only Get Value traces.
  EXPECT_EQ(logs.traced("clsXML"), (std::vector<std::string>(2, "clsXML | Get Value")));
}

// Numbered reads that count end tags from the top learn where they lie; whatever changes
// the text (an edit of the same length, a new load, a builder call) must be seen.
TEST(XmlEngine, NumberedReadsFollowTheTextAfterEveryChange) {
  Ref<clsXML> x = loaded(u"<P>a</P><P>b</P><P>c</P>");
  expect_reads(*x, u"P", {{1, "a"}, {3, "c"}});  // only the next element continues
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
  add(*built, {{u"P", u"3"}, {u"P", u"4"}});
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

TEST(XmlEdit, AddAttrValAlwaysEscapes) {
  Ref<clsXML> x = snippet();
  x->put_validate(false);
  x->put_ZeroSuppress(true);
  x->AddAttrVal(u"Price", u"loc", u"A&B");
  x->AddAttrVal(u"E", u"v", u"");  // Compress does not apply
  x->AddAttrVal(u"Q", u"v", u"it's \"q\"");
  x->AddAttrVal(u"X", u"v", u"<b a='1'>");  // XML: not escaped, quoted as it can be
  x->AddAttrVal(u"", u"n", u"1");
  x->AddAttrVal(u"Grp", u"id", u"7", true);
  x->Add(u"In", u"1");
  EXPECT_EQ(u8(x->get_XML()),
            "<Price loc=\"A&amp;B\"/><E v=\"\"/><Q v=\"it&apos;s &quot;q&quot;\"/>"
            "<X v=\"<b a='1'>\"/>< n=\"1\"/><Grp id=\"7\"><In>1</In></Grp>");
}

TEST(XmlEdit, AttribGetAndLet) {
  const std::tuple<const char16_t*, const char16_t*, const char*> reads[] = {
      {u"<Item a='1' b='2'/>", u"b", "2"},
      {u"<Item a='1' b='2'/>", u"c", ""}, {u"<Item a=1>", u"a", ""},
      {u"<ItemNumber n='5'/><Item n='6'/>", u"n", "5"},
      {u"<Item a='1'/><Sub b='2'/>", u"b", ""},       // beyond the tag
      {u"<Item a='1/><x y='2'/>", u"a", ""},          // quote beyond it
      {u"<Item a=\" &lt; \">t</Item>", u"a", " < "},  // not trimmed
      {u"<Item>t</Item><Sub b='2'/>", u"b", "2"},     // the first "/>" ends it
      {u"<Item xa='9' a='1'/>", u"a", "9"}};          // a plain-text match
  for (const auto& [text, attr, out] : reads)
    EXPECT_EQ(u8(loaded(text)->get_Attrib(u"Item", attr)), out) << u8(text);

  const std::tuple<const char16_t*, const char16_t*, const char16_t*, const char16_t*> lets[] = {
      {u"<Item a='1'/>", u"a", u"x", u"<Item a='x'/>"},
      {u"<Item a='1'/>", u"c", u"y", u"<Item a='1' c=\"y\"/>"},
      {u"<Item>t</Item>", u"id", u"it's", u"<Item id=\"it&apos;s\">t</Item>"},
      {u"<Item a=1>", u"a", u"z", u"<Item a=1>"},
      {u"<Item/><Sub a='1'/>", u"a", u"z", u"<Item/><Sub a='1'/>"},
      {u"<Other a='1'/>", u"a", u"z", u"<Other a='1'/>"},
      {u"<Item a='1>", u"a", u"z", u"<Item a='1>"}};
  for (const auto& [text, attr, value, out] : lets) {
    Ref<clsXML> x = loaded(text);
    x->put_Attrib(u"Item", attr, value);
    EXPECT_EQ(x->get_XML(), out) << u8(text);
  }
  Ref<clsXML> x = loaded(u"<Item a='1'/>");
  x->put_validate(false);
  x->put_Attrib(u"Item", u"a", u"<1");
  EXPECT_EQ(u8(x->get_XML()), "<Item a='&lt;1'/>");
  EXPECT_EQ(u8(x->get_Attrib(u"Item", u"a")), "<1");
}

TEST(XmlEdit, ValueAndBlockLet) {
  Ref<clsXML> x = loaded(u"<L><Price>1</Price><Price>2</Price><Price>3</Price></L>");
  x->put_validate(false);
  x->put_Value(u"Price", 2, u"a<b");
  EXPECT_EQ(u8(x->get_XML()), "<L><Price>1</Price><Price>a&lt;b</Price><Price>3</Price></L>");
  EXPECT_EQ(u8(x->get_Value(u"Price", 2)), "a<b");
  x->put_Value(u"Price", 9, u"<x/>");  // too few: from the top; an element goes in as it is
  x->put_Block(u"Price", 2, u"<Cost>5</Cost>");
  x->put_Block(u"Missing", 1, u"<z/>");
  x->put_Value(u"", 1, u"z");
  EXPECT_EQ(u8(x->get_XML()), "<L><Price><x/></Price><Cost>5</Cost><Price>3</Price></L>");

  Ref<clsXML> a = loaded(u"<Item id='1'>x</Item><Item/>");  // no fallback forms
  a->put_Value(u"Item", 1, u"y");
  a->put_Block(u"Item", 1, u"<z/>");
  EXPECT_EQ(u8(a->get_XML()), "<Item id='1'>x</Item><Item/>");

  Ref<clsXML> c = snippet(false, {{u"R", u"", true}, {u"V", u"1"}});  // stays composing
  c->put_Value(u"V", 1, u"2");
  EXPECT_EQ(u8(c->get_XML()), "<R><V>2</V></R>");
}

// An editor that changes the text forgets where the last read ended; one that changes
// nothing keeps it (read fresh, element 2 of the last case would be "1").
TEST(XmlEdit, EditorsForgetTheSearchMemory) {
  // The text, whether the first read is of a block (else of a value), the edit, and the
  // second element's value after it.
  const std::tuple<const char16_t*, bool, std::function<void(clsXML&)>, const char*> cases[] = {
      {u"<P>aaaaaaaaaa</P><P>b</P><P>c</P>", false, [](clsXML& x) { x.put_Value(u"P", 1, u""); },
       "b"},
      {u"<P>aaaaaaaaaa</P><P>b</P><P>c</P>", true, [](clsXML& x) { x.put_Block(u"P", 1, u"<P/>"); },
       "c"},
      {u"<P k='aaaaaaaaaaaa'>1</P><P>b</P><P>c</P>", false,
       [](clsXML& x) { x.put_Attrib(u"P", u"k", u""); }, "b"},
      {u"</P><P>1</P><P>2</P>", false, [](clsXML& x) { x.put_Value(u"Q", 1, u"x"); }, "2"}};
  for (const auto& [text, block_read, edit, second] : cases) {
    Ref<clsXML> x = loaded(text);
    block_read ? x->get_Block(u"P", 1) : x->get_Value(u"P", 1);
    edit(*x);
    EXPECT_EQ(u8(x->get_Value(u"P", 2)), second) << u8(text);
  }
}

TEST(Prettify, OneElementPerLineResolvedAndDeclared) {
  testing::LogFolder logs;
  Ref<clsXML> x = create<clsXML>();
  const std::pair<const char*, const char*> cases[] = {
      {"<a>\r\n    <b>\r\n<c>1</c></b>\r\n</a>",
       "\r\n<a>\r\n  <b>\r\n    <c>1</c>\r\n  </b>\r\n</a>"},
      // Text only: one line; empty or blank: the empty-element tag.
      {"<a>text</a>", "\r\n<a>text</a>"}, {"<a></a>", "\r\n<a/>"}, {"<a>  \r\n </a>", "\r\n<a/>"},
      {"<p>one <b>two</b> three</p>",
       "\r\n<p>one \r\n  <b>two</b> three\r\n</p>"},  // mixed text stays
      // Comments, CDATA and processing instructions are left out, but count as children.
      {"<a><!--c--><?pi x?><![CDATA[d]]></a>", "\r\n<a></a>"},
      {"<a>1<!--c-->2</a>", "\r\n<a>12</a>"},
      {"<a b=\"1\" c='&lt;&#65;'><d e='2'>1 &lt; 2 &amp;&gt; 3</d></a>",
       "\r\n<a b='1' c='<A'>\r\n  <d e='2'>1 < 2 &> 3</d>\r\n</a>"},
      {"<r xmlns='urn:d' xmlns:p='urn:p'><p:i p:k='v'/></r>",
       "\r\n<r xmlns='urn:d' xmlns:p='urn:p'>\r\n  <p:i p:k='v'/>\r\n</r>"},
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

  // Prettify's level above the parse failure (whose text is the DOM tests'); both logged.
  EXPECT_TRUE(failure_of([&] { x->Prettify(u"<a><b></a>"); })
                  .starts_with("-2147221504 clsXML | Prettify, Error # -2147221504 at line: 2\r\n"
                               "clsXML | DocumentCreate, Error # -2147221504 at line: 3\r\n"));
  EXPECT_EQ(logs.error_lines().size(), 2u);
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
  for (const auto& [in, out] : both)
    EXPECT_EQ(squeeze(in, false) + "|" + squeeze(in, true), out + ("|" + std::string(out))) << in;
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
}

}  // namespace
}  // namespace vexqom
