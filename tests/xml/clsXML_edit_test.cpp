// The XML text engine's attribute members and in-place editors.
#include <gtest/gtest.h>

#include <string>

#include "support/log_folder.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

using testing::LogFolder;
using testing::log_message;

std::string u8(const Text& t) { return to_utf8(t); }

class XmlEdit : public ::testing::Test {
 protected:
  Ref<clsXML> loaded(const char16_t* text) {
    Ref<clsXML> x = create<clsXML>();
    x->put_XML(text);
    return x;
  }
  LogFolder logs_;
};

TEST_F(XmlEdit, AddAttrValWritesOneEscapedAttribute) {
  Ref<clsXML> x = create<clsXML>();
  x->put_Snippet(true);
  x->put_validate(false);  // ignored: attributes are always escaped
  x->put_ZeroSuppress(true);
  x->AddAttrVal(u"Price", u"loc", u"A&B");
  x->AddAttrVal(u"Empty", u"v", u"");  // Compress does not apply
  x->AddAttrVal(u"Zero", u"v", u"0");
  x->AddAttrVal(u"Q", u"v", u"it's \"q\"");
  x->AddAttrVal(u"X", u"v", u"<b a='1'>");  // XML: not escaped, quoted as it can be
  x->AddAttrVal(u"", u"n", u"1");              // an empty name is not refused
  x->AddAttrVal(u"Grp", u"id", u"7", true);
  x->Add(u"In", u"1");
  EXPECT_EQ(u8(x->get_XML()),
            "<Price loc=\"A&amp;B\"/><Empty v=\"\"/><Zero v=\"0\"/>"
            "<Q v=\"it&apos;s &quot;q&quot;\"/><X v=\"<b a='1'>\"/>< n=\"1\"/>"
            "<Grp id=\"7\"><In>1</In></Grp>");
  EXPECT_EQ(logs_.error_lines().size(), 0u);

  Ref<clsXML> f = create<clsXML>();
  f->put_Snippet(true);
  f->put_Formatted(true);
  f->AddAttrVal(u"A", u"k", u"1", true);
  f->AddAttrVal(u"B", u"k", u"2");
  EXPECT_EQ(u8(f->get_XML()), "<A k=\"1\">\r\n    <B k=\"2\"/>\r\n</A>\r\n");
}

TEST_F(XmlEdit, AttribGetFindsQuotedValuesInTheFirstStartTag) {
  Ref<clsXML> x = loaded(u"<Item a='1' b='2'/>");
  EXPECT_EQ(u8(x->get_Attrib(u"Item", u"b")), "2");
  EXPECT_EQ(u8(x->get_Attrib(u"Item", u"a")), "1");
  EXPECT_EQ(u8(x->get_Attrib(u"Item", u"b")), "2");
  EXPECT_EQ(u8(x->get_Attrib(u"Item", u"c")), "");
  EXPECT_EQ(u8(x->get_Attrib(u"Other", u"a")), "");

  EXPECT_EQ(u8(loaded(u"<Item a=1>")->get_Attrib(u"Item", u"a")), "");
  EXPECT_EQ(u8(loaded(u"<ItemNumber n='5'/><Item n='6'/>")->get_Attrib(u"Item", u"n")), "5");
  // Found only in a later tag: beyond the first start tag.
  EXPECT_EQ(u8(loaded(u"<Item a='1'/><Sub b='2'/>")->get_Attrib(u"Item", u"b")), "");
  // The closing quote lies beyond the start tag.
  EXPECT_EQ(u8(loaded(u"<Item a='1/><x y='2'/>")->get_Attrib(u"Item", u"a")), "");
  // Without "/>" anywhere, the first ">" ends the tag; values are unescaped, not trimmed.
  EXPECT_EQ(u8(loaded(u"<Item a=\" x &lt; y \">t</Item>")->get_Attrib(u"Item", u"a")),
            " x < y ");
  // With "/>" later in the text, that ends the start tag, even in another element.
  EXPECT_EQ(u8(loaded(u"<Item>t</Item><Sub b='2'/>")->get_Attrib(u"Item", u"b")), "2");
  // The attribute name is matched as plain text: "xa=" holds "a=".
  EXPECT_EQ(u8(loaded(u"<Item xa='9' a='1'/>")->get_Attrib(u"Item", u"a")), "9");
  EXPECT_EQ(u8(create<clsXML>()->get_Attrib(u"Item", u"a")), "");
}

TEST_F(XmlEdit, AttribLetReplacesOrInserts) {
  Ref<clsXML> x = loaded(u"<Item a='1'/>");
  x->put_Attrib(u"Item", u"a", u"x");
  EXPECT_EQ(u8(x->get_XML()), "<Item a='x'/>");
  x->put_Attrib(u"Item", u"c", u"y");
  EXPECT_EQ(u8(x->get_XML()), "<Item a='x' c=\"y\"/>");
  x->put_validate(false);
  x->put_Attrib(u"Item", u"a", u"<1");
  EXPECT_EQ(u8(x->get_XML()), "<Item a='&lt;1' c=\"y\"/>");
  EXPECT_EQ(u8(x->get_Attrib(u"Item", u"a")), "<1");
  x->put_Attrib(u"Item", u"c", u"");
  EXPECT_EQ(u8(x->get_XML()), "<Item a='&lt;1' c=\"\"/>");

  Ref<clsXML> open = loaded(u"<Item>t</Item>");
  open->put_Attrib(u"Item", u"id", u"it's");
  EXPECT_EQ(u8(open->get_XML()), "<Item id=\"it&apos;s\">t</Item>");

  // Unquoted value, attribute beyond the tag, missing tag: nothing changes.
  for (const char16_t* text : {u"<Item a=1>", u"<Item/><Sub a='1'/>", u"<Other a='1'/>",
                               u"<Item a='1>"}) {
    Ref<clsXML> same = loaded(text);
    same->put_Attrib(u"Item", u"a", u"z");
    EXPECT_EQ(same->get_XML(), Text(text));
  }
  EXPECT_EQ(logs_.error_lines().size(), 0u);
}

TEST_F(XmlEdit, ValueAndBlockLetChangeOnlyTheNumberedElement) {
  Ref<clsXML> x = loaded(u"<L><Price>1</Price><Price>2</Price><Price>3</Price></L>");
  x->put_validate(false);
  x->put_Value(u"Price", 2, u"a<b");
  EXPECT_EQ(u8(x->get_XML()), "<L><Price>1</Price><Price>a&lt;b</Price><Price>3</Price></L>");
  EXPECT_EQ(u8(x->get_Value(u"Price", 2)), "a<b");
  x->put_Value(u"Price", 9, u"first");  // too few: counting starts over at the top
  EXPECT_EQ(u8(x->get_Value(u"Price", 1)), "first");
  x->put_Value(u"Price", 3, u"<x/>");  // an element is written as it is
  EXPECT_EQ(u8(x->get_Block(u"Price", 3)), "<Price><x/></Price>");

  x->put_Block(u"Price", 2, u"<Cost>5</Cost>");
  EXPECT_EQ(u8(x->get_XML()), "<L><Price>first</Price><Cost>5</Cost><Price><x/></Price></L>");
  const Text before = x->get_XML();
  x->put_Block(u"Missing", 1, u"<z/>");
  x->put_Value(u"Missing", 1, u"z");
  x->put_Block(u"", 1, u"<z/>");
  EXPECT_EQ(x->get_XML(), before);

  // The attribute-bearing and empty-element forms are not tried by the editors.
  Ref<clsXML> a = loaded(u"<Item id='1'>x</Item><Item/>");
  a->put_Value(u"Item", 1, u"y");
  a->put_Block(u"Item", 1, u"<z/>");
  EXPECT_EQ(u8(a->get_XML()), "<Item id='1'>x</Item><Item/>");

  // Editing a composing engine leaves it composing.
  Ref<clsXML> c = create<clsXML>();
  c->put_Snippet(true);
  c->Add(u"R", u"", true);
  c->Add(u"V", u"1");
  c->put_Value(u"V", 1, u"2");
  EXPECT_EQ(u8(c->get_XML()), "<R><V>2</V></R>");
}

TEST_F(XmlEdit, EditorsForgetTheSearchMemory) {
  Ref<clsXML> x = loaded(u"<P>aaaaaaaaaa</P><P>b</P><P>c</P>");
  EXPECT_EQ(u8(x->get_Value(u"P", 1)), "aaaaaaaaaa");
  x->put_Value(u"P", 1, u"");
  EXPECT_EQ(u8(x->get_Value(u"P", 2)), "b");

  Ref<clsXML> b = loaded(u"<P>aaaaaaaaaa</P><P>b</P><P>c</P>");
  EXPECT_EQ(u8(b->get_Block(u"P", 1)), "<P>aaaaaaaaaa</P>");
  b->put_Block(u"P", 1, u"<P/>");
  EXPECT_EQ(u8(b->get_Block(u"P", 2)), "<P>c</P>");  // skips the end tag of b

  Ref<clsXML> a = loaded(u"<P k='aaaaaaaaaaaa'>1</P><P>b</P><P>c</P>");
  EXPECT_EQ(u8(a->get_Value(u"P", 1)), "b");
  a->put_Attrib(u"P", u"k", u"");
  EXPECT_EQ(u8(a->get_Value(u"P", 2)), "b");

  // An editor that finds nothing keeps the memory (read fresh, element 2 would be 1).
  Ref<clsXML> k = loaded(u"</P><P>1</P><P>2</P>");
  EXPECT_EQ(u8(k->get_Value(u"P", 1)), "1");
  k->put_Value(u"Q", 1, u"x");
  EXPECT_EQ(u8(k->get_Value(u"P", 2)), "2");
}

TEST_F(XmlEdit, FailuresAreLoggedUnderTheirLabels) {
  Ref<clsXML> x = create<clsXML>();
  x->Clear(true);
  auto description = [](auto&& f) {
    try {
      f();
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), 91);
      return u8(e.description());
    }
    ADD_FAILURE() << "no error raised";
    return std::string();
  };
  const std::string tail = "\r\nObject variable or With block variable not set";
  EXPECT_EQ(description([&] { x->get_Attrib(u"A", u"b"); }),
            "clsXML | Get Attrib, Error # 91 at line: 1" + tail);
  EXPECT_EQ(description([&] { x->put_Attrib(u"A", u"b", u"c"); }),
            "clsXML | Let Attrib, Error # 91 at line: 1" + tail);
  EXPECT_EQ(description([&] { x->put_Block(u"A", 1, u"c"); }),
            "clsXML | Let Block, Error # 91 at line: 1" + tail);
  EXPECT_EQ(description([&] { x->put_Value(u"A", 1, u"c"); }),
            "clsXML | Let Value, Error # 91 at line: 1" + tail);
  EXPECT_EQ(description([&] { x->AddAttrVal(u"A", u"b", u"c", true); }),
            "clsXML | AddAttrVal, Error # 91 at line: 2" + tail);
  const auto lines = logs_.error_lines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(log_message(lines[4]),
            "clsXML | AddAttrVal, Error # 91 at line: 2][Object variable or With block "
            "variable not set");

  Ref<clsXML> deep = create<clsXML>();
  deep->put_Snippet(true);
  deep->put_Formatted(true);
  deep->put_indent(u"10");
  deep->put_Level(4000);
  EXPECT_THROW(deep->AddAttrVal(u"A", u"b", u"c"), Error);
  EXPECT_EQ(log_message(logs_.error_lines().back()),
            "clsXML | AddAttrVal, Error # 6 at line: 3][Overflow");
  EXPECT_EQ(u8(deep->get_XML()), "");
}

}  // namespace
}  // namespace vexqom
