// The XML text engine's attribute members and in-place editors.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "support/checks.h"
#include "support/log_folder.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

using testing::failure_of;
using testing::u8;

Ref<clsXML> loaded(const char16_t* text) {
  Ref<clsXML> x = create<clsXML>();
  x->put_XML(text);
  return x;
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
  EXPECT_EQ(u8(x->get_XML()),
            "<Price loc=\"A&amp;B\"/><E v=\"\"/><Q v=\"it&apos;s &quot;q&quot;\"/>"
            "<X v=\"<b a='1'>\"/>< n=\"1\"/><Grp id=\"7\"><In>1</In></Grp>");
}

TEST(XmlEdit, AttribGetAndLet) {
  const std::tuple<const char16_t*, const char16_t*, const char*> reads[] = {
      {u"<Item a='1' b='2'/>", u"b", "2"}, {u"<Item a='1' b='2'/>", u"a", "1"},
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

  Ref<clsXML> c = create<clsXML>();  // a composing engine stays composing
  c->put_Snippet(true);
  c->Add(u"R", u"", true);
  c->Add(u"V", u"1");
  c->put_Value(u"V", 1, u"2");
  EXPECT_EQ(u8(c->get_XML()), "<R><V>2</V></R>");
}

// An editor that changes the text forgets where the last read ended; one that changes
// nothing keeps it (read fresh, element 2 of the last case would be "1").
TEST(XmlEdit, EditorsForgetTheSearchMemory) {
  struct Case {
    const char16_t* text;
    std::function<void(clsXML&)> read, edit;
    const char* second;
  };
  const Case cases[] = {
      {u"<P>aaaaaaaaaa</P><P>b</P><P>c</P>", [](clsXML& x) { x.get_Value(u"P", 1); },
       [](clsXML& x) { x.put_Value(u"P", 1, u""); }, "b"},
      {u"<P>aaaaaaaaaa</P><P>b</P><P>c</P>", [](clsXML& x) { x.get_Block(u"P", 1); },
       [](clsXML& x) { x.put_Block(u"P", 1, u"<P/>"); }, "c"},
      {u"<P k='aaaaaaaaaaaa'>1</P><P>b</P><P>c</P>", [](clsXML& x) { x.get_Value(u"P", 1); },
       [](clsXML& x) { x.put_Attrib(u"P", u"k", u""); }, "b"},
      {u"</P><P>1</P><P>2</P>", [](clsXML& x) { x.get_Value(u"P", 1); },
       [](clsXML& x) { x.put_Value(u"Q", 1, u"x"); }, "2"}};
  for (const Case& c : cases) {
    Ref<clsXML> x = loaded(c.text);
    c.read(*x);
    c.edit(*x);
    EXPECT_EQ(u8(x->get_Value(u"P", 2)), c.second) << u8(c.text);
  }
}

TEST(XmlEdit, FailuresAreLoggedUnderTheirLabels) {
  testing::LogFolder logs;
  Ref<clsXML> x = create<clsXML>();
  x->Clear(true);
  const std::string tail = "\r\nObject variable or With block variable not set";
  const std::pair<std::function<void()>, std::string> calls[] = {
      {[&] { x->get_Attrib(u"A", u"b"); }, "Get Attrib, Error # 91 at line: 1"},
      {[&] { x->put_Attrib(u"A", u"b", u"c"); }, "Let Attrib, Error # 91 at line: 1"},
      {[&] { x->put_Block(u"A", 1, u"c"); }, "Let Block, Error # 91 at line: 1"},
      {[&] { x->put_Value(u"A", 1, u"c"); }, "Let Value, Error # 91 at line: 1"},
      {[&] { x->AddAttrVal(u"A", u"b", u"c", true); }, "AddAttrVal, Error # 91 at line: 2"}};
  for (const auto& [call, label] : calls)
    EXPECT_EQ(failure_of(call), "91 clsXML | " + label + tail);

  Ref<clsXML> deep = create<clsXML>();
  deep->put_Snippet(true);
  deep->put_indent(u"10");
  deep->put_Level(4000);
  EXPECT_EQ(failure_of([&] { deep->AddAttrVal(u"A", u"b", u"c"); }),
            "6 clsXML | AddAttrVal, Error # 6 at line: 3\r\nOverflow");
  EXPECT_EQ(u8(deep->get_XML()), "");
  const auto messages = logs.error_messages();
  ASSERT_EQ(messages.size(), 6u);
  EXPECT_EQ(messages[5], "clsXML | AddAttrVal, Error # 6 at line: 3][Overflow");
}

}  // namespace
}  // namespace vexqom
