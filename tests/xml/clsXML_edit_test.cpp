// The XML text engine's attribute members and in-place editors.
#include <gtest/gtest.h>

#include <string>

#include "support/log_folder.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

std::string u8(const Text& t) { return to_utf8(t); }

Ref<clsXML> loaded(const char16_t* text) {
  Ref<clsXML> x = create<clsXML>();
  x->put_XML(text);
  return x;
}
std::string attrib(const char16_t* text, const char16_t* tag, const char16_t* attr) {
  return u8(loaded(text)->get_Attrib(tag, attr));
}
std::string after_let(const char16_t* text, const char16_t* attr, const char16_t* value) {
  Ref<clsXML> x = loaded(text);
  x->put_Attrib(u"Item", attr, value);
  return u8(x->get_XML());
}

TEST(XmlEdit, AddAttrValAlwaysEscapes) {
  Ref<clsXML> x = create<clsXML>();
  x->put_Snippet(true);
  x->put_validate(false);
  x->put_ZeroSuppress(true);
  x->AddAttrVal(u"Price", u"loc", u"A&B");
  x->AddAttrVal(u"E", u"v", u"");  // Compress does not apply
  x->AddAttrVal(u"Q", u"v", u"it's \"q\"");
  x->AddAttrVal(u"X", u"v", u"<b a='1'>");  // XML: not escaped, quoted as it can be
  x->AddAttrVal(u"", u"n", u"1");
  x->AddAttrVal(u"Grp", u"id", u"7", true);
  x->Add(u"In", u"1");
  EXPECT_EQ(u8(x->get_XML()), "<Price loc=\"A&amp;B\"/><E v=\"\"/><Q v=\"it&apos;s &quot;q&quot;\"/>"
                              "<X v=\"<b a='1'>\"/>< n=\"1\"/><Grp id=\"7\"><In>1</In></Grp>");
}

TEST(XmlEdit, AttribGet) {
  Ref<clsXML> x = loaded(u"<Item a='1' b='2'/>");
  EXPECT_EQ(u8(x->get_Attrib(u"Item", u"b")), "2");
  EXPECT_EQ(u8(x->get_Attrib(u"Item", u"a")), "1");
  EXPECT_EQ(u8(x->get_Attrib(u"Item", u"c")), "");
  EXPECT_EQ(attrib(u"<Item a=1>", u"Item", u"a"), "");
  EXPECT_EQ(attrib(u"<ItemNumber n='5'/><Item n='6'/>", u"Item", u"n"), "5");
  EXPECT_EQ(attrib(u"<Item a='1'/><Sub b='2'/>", u"Item", u"b"), "");   // beyond the tag
  EXPECT_EQ(attrib(u"<Item a='1/><x y='2'/>", u"Item", u"a"), "");      // quote beyond it
  EXPECT_EQ(attrib(u"<Item a=\" &lt; \">t</Item>", u"Item", u"a"), " < ");  // not trimmed
  EXPECT_EQ(attrib(u"<Item>t</Item><Sub b='2'/>", u"Item", u"b"), "2");  // first "/>" ends it
  EXPECT_EQ(attrib(u"<Item xa='9' a='1'/>", u"Item", u"a"), "9");  // plain-text match
}

TEST(XmlEdit, AttribLet) {
  EXPECT_EQ(after_let(u"<Item a='1'/>", u"a", u"x"), "<Item a='x'/>");
  EXPECT_EQ(after_let(u"<Item a='1'/>", u"c", u"y"), "<Item a='1' c=\"y\"/>");
  EXPECT_EQ(after_let(u"<Item>t</Item>", u"id", u"it's"), "<Item id=\"it&apos;s\">t</Item>");
  for (const char16_t* same : {u"<Item a=1>", u"<Item/><Sub a='1'/>", u"<Other a='1'/>",
                               u"<Item a='1>"}) {
    EXPECT_EQ(after_let(same, u"a", u"z"), u8(same));
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
  const Text after = x->get_XML();
  EXPECT_EQ(u8(after), "<L><Price><x/></Price><Cost>5</Cost><Price>3</Price></L>");
  x->put_Block(u"Missing", 1, u"<z/>");
  x->put_Value(u"", 1, u"z");
  EXPECT_EQ(x->get_XML(), after);

  Ref<clsXML> a = loaded(u"<Item id='1'>x</Item><Item/>");  // no fallback forms
  a->put_Value(u"Item", 1, u"y");
  a->put_Block(u"Item", 1, u"<z/>");
  EXPECT_EQ(u8(a->get_XML()), "<Item id='1'>x</Item><Item/>");

  Ref<clsXML> c = create<clsXML>();  // a composing engine stays composing
  c->put_Snippet(true);
  c->Add(u"R", u"", true);
  c->Add(u"V", u"1");
  c->put_Value(u"V", 1, u"2");
  EXPECT_EQ(u8(c->get_XML()), "<R><V>2</V></R>");
}

TEST(XmlEdit, EditorsForgetTheSearchMemory) {
  Ref<clsXML> x = loaded(u"<P>aaaaaaaaaa</P><P>b</P><P>c</P>");
  EXPECT_EQ(u8(x->get_Value(u"P", 1)), "aaaaaaaaaa");
  x->put_Value(u"P", 1, u"");
  EXPECT_EQ(u8(x->get_Value(u"P", 2)), "b");

  Ref<clsXML> b = loaded(u"<P>aaaaaaaaaa</P><P>b</P><P>c</P>");
  EXPECT_EQ(u8(b->get_Block(u"P", 1)), "<P>aaaaaaaaaa</P>");
  b->put_Block(u"P", 1, u"<P/>");
  EXPECT_EQ(u8(b->get_Block(u"P", 2)), "<P>c</P>");

  Ref<clsXML> a = loaded(u"<P k='aaaaaaaaaaaa'>1</P><P>b</P><P>c</P>");
  EXPECT_EQ(u8(a->get_Value(u"P", 1)), "b");
  a->put_Attrib(u"P", u"k", u"");
  EXPECT_EQ(u8(a->get_Value(u"P", 2)), "b");

  // An editor that changes nothing keeps it (read fresh, element 2 would be "1").
  Ref<clsXML> k = loaded(u"</P><P>1</P><P>2</P>");
  EXPECT_EQ(u8(k->get_Value(u"P", 1)), "1");
  k->put_Value(u"Q", 1, u"x");
  EXPECT_EQ(u8(k->get_Value(u"P", 2)), "2");
}

TEST(XmlEdit, FailuresAreLoggedUnderTheirLabels) {
  testing::LogFolder logs;
  Ref<clsXML> x = create<clsXML>();
  x->Clear(true);
  auto description = [](auto&& f) {
    try {
      f();
    } catch (const Error& e) {
      return integer_text(e.number()) + u" " + e.description();
    }
    return Text(u"no error");
  };
  const Text tail = u"\r\nObject variable or With block variable not set";
  EXPECT_EQ(description([&] { x->get_Attrib(u"A", u"b"); }),
            u"91 clsXML | Get Attrib, Error # 91 at line: 1" + tail);
  EXPECT_EQ(description([&] { x->put_Attrib(u"A", u"b", u"c"); }),
            u"91 clsXML | Let Attrib, Error # 91 at line: 1" + tail);
  EXPECT_EQ(description([&] { x->put_Block(u"A", 1, u"c"); }),
            u"91 clsXML | Let Block, Error # 91 at line: 1" + tail);
  EXPECT_EQ(description([&] { x->put_Value(u"A", 1, u"c"); }),
            u"91 clsXML | Let Value, Error # 91 at line: 1" + tail);
  EXPECT_EQ(description([&] { x->AddAttrVal(u"A", u"b", u"c", true); }),
            u"91 clsXML | AddAttrVal, Error # 91 at line: 2" + tail);

  Ref<clsXML> deep = create<clsXML>();
  deep->put_Snippet(true);
  deep->put_indent(u"10");
  deep->put_Level(4000);
  EXPECT_EQ(description([&] { deep->AddAttrVal(u"A", u"b", u"c"); }),
            u"6 clsXML | AddAttrVal, Error # 6 at line: 3\r\nOverflow");
  EXPECT_EQ(u8(deep->get_XML()), "");
  const auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(testing::log_message(lines[5]),
            "clsXML | AddAttrVal, Error # 6 at line: 3][Overflow");
}

}  // namespace
}  // namespace vexqom
