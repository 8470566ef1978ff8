// The DOM adapter and the engine's DocumentCreate / DocumentLoad: tree access, parse
// errors and their messages, and the parser's security settings.
#include "xml/dom_document.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/checks.h"
#include "support/log_folder.h"
#include "vexqom/xml_text.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

using namespace testing;

Ref<DomDocument> parse(const std::string& text, bool validate = false) {
  DomParseError error;
  Ref<DomDocument> doc = DomDocument::parse_text(text, validate, &error);
  EXPECT_TRUE(doc) << error.code << " " << error.reason;
  return doc;
}

std::string billion_laughs(const char* use) {
  std::string doc = "<?xml version='1.0'?><!DOCTYPE lolz [<!ENTITY lol 'lol'>";
  for (int i = 1; i <= 9; ++i) {
    doc += "<!ENTITY lol" + std::to_string(i) + " '";
    const std::string inner = i == 1 ? "&lol;" : "&lol" + std::to_string(i - 1) + ";";
    for (int n = 0; n < 10; ++n) doc += inner;
    doc += "'>";
  }
  return doc + "]>" + use;
}

std::string repeat(const std::string& unit, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += unit;
  return out;
}

struct DomDocumentTest : ::testing::Test {
  LogFolder logs_;
};

TEST_F(DomDocumentTest, TreeGivesNamesAttributesChildrenAndResolvedText) {
  Ref<DomDocument> doc = parse(
      "<!DOCTYPE r [<!ENTITY who 'world &amp; co'>]>\n"
      "<r xmlns:p='urn:p' z='1' a='x &amp; &who;'>\n  <p:b>hi &who;</p:b>\n  "
      "<!--c--><![CDATA[raw]]><c/>\n</r>");
  ASSERT_TRUE(doc);
  DomNode root = doc->document_element();
  EXPECT_EQ(root.type() == DomNode::kElement ? root.name() : "", "r");
  // Document order, namespace declarations included, entities resolved.
  std::string attributes;
  for (const DomAttribute& a : root.attributes()) attributes += a.name + "=" + a.value + ";";
  EXPECT_EQ(attributes, "xmlns:p=urn:p;z=1;a=x & world & co;");
  // The white space between elements is gone; comments and CDATA stay as nodes.
  std::vector<DomNode> kids = root.child_nodes();
  ASSERT_EQ(kids.size(), 4u);
  EXPECT_EQ(kids[0].name() + "|" + kids[0].text() + "|" + kids[3].name(), "p:b|hi world & co|c");
  EXPECT_EQ(kids[1].type(), DomNode::kComment);
  EXPECT_EQ(kids[2].type(), DomNode::kCData);
  EXPECT_TRUE(kids[3].child_nodes().empty());
  EXPECT_EQ(doc->doctype().type(), DomNode::kDocumentType);
  EXPECT_EQ(doc->doctype().xml(), "<!DOCTYPE r [\r\n<!ENTITY who \"world &amp; co\">\r\n]>");
  EXPECT_FALSE(parse("<a/>")->doctype());
  EXPECT_EQ(parse("<k>v</k>")->document_element().text(), "v") << "the node keeps its document";

  // White-space-only text never appears, except where preserved.
  kids = parse("<r>\r\n\t<a>  </a> <b> x </b>text <c/> <s xml:space='preserve'> </s></r>")
             ->document_element()
             .child_nodes();
  ASSERT_EQ(kids.size(), 5u);
  EXPECT_TRUE(kids[0].child_nodes().empty());
  EXPECT_EQ(kids[1].text() + "|" + kids[2].text() + "|" + kids[4].text(), " x |text | ");

  // The text is UTF-8 whatever the declaration names.
  for (const char* decl : {"UTF-8", "windows-1252", "UTF-16"}) {
    Ref<DomDocument> d =
        parse(std::string("<?xml version='1.0' encoding='") + decl + "'?><r>caf\xC3\xA9</r>");
    EXPECT_EQ(d ? d->document_element().text() : "", "caf\xC3\xA9") << decl;
  }
  // Empty text (a byte order mark alone too), and a prefix without its declaration (not
  // namespace-well-formed). The streamed readings, the check and the pretty form, fail as the
  // whole tree does.
  const std::pair<std::string, std::string> failures[] = {
      {"", "4 Document is empty"}, {"\xEF\xBB\xBF", "4 Document is empty"},
      {"<p:a/>", "201 Namespace prefix p on a is not defined"}};
  for (const auto& [text, failure] : failures) {
    DomParseError e, streamed;
    std::exception_ptr none;
    EXPECT_FALSE(DomDocument::parse_text(text, false, &e));
    EXPECT_FALSE(DomDocument::stream_text(text, nullptr, &streamed, &none));
    EXPECT_EQ(std::to_string(e.code) + " " + e.reason, failure);
    EXPECT_EQ(std::to_string(streamed.code) + " " + streamed.reason, failure);
    const std::string whole =
        failure_of([&] { create<clsXML>()->DocumentCreate(from_utf8(text)); });
    EXPECT_NE(whole.find(std::to_string(e.code) + "\r\nReason: " + e.reason), std::string::npos);
    EXPECT_EQ(failure_of([&] { validate_xml(std::string_view(text)); }), whole);
    EXPECT_EQ(failure_of([&] { prettify_xml(std::string_view(text)); }),
              whole.substr(0, 12) + "clsXML | Prettify, Error # -2147221504 at line: 2\r\n" +
                  whole.substr(12));
  }
}

TEST_F(DomDocumentTest, ExternalEntitiesOnlyWhenValidatingAndNeverTheNetwork) {
  const std::string secret = logs_.path() + "/secret.txt";
  LogFolder::write_file(secret, "TOP-SECRET");
  Ref<DomDocument> plain =
      parse("<!DOCTYPE r [<!ELEMENT r (#PCDATA)><!ENTITY x SYSTEM 'file://" + secret +
            "'><!ENTITY pw SYSTEM 'file:///etc/passwd'>]><r>[&x;&pw;]</r>");
  EXPECT_EQ(plain->document_element().text(), "[]");
  // Asked to validate, the parser reads local files (the only case it may).
  Ref<DomDocument> validated = parse(
      "<!DOCTYPE r [<!ELEMENT r (#PCDATA)><!ENTITY x SYSTEM 'file://" + secret + "'>]><r>[&x;]</r>",
      true);
  EXPECT_EQ(validated->document_element().text(), "[TOP-SECRET]");
  // A listener on the loopback: any fetch of the DTD or entity would connect to it.
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof addr;
  auto* any = reinterpret_cast<sockaddr*>(&addr);
  ASSERT_TRUE(listener >= 0 && ::bind(listener, any, len) == 0 && ::listen(listener, 4) == 0 &&
              ::getsockname(listener, any, &len) == 0);
  const std::string url = "http://127.0.0.1:" + std::to_string(ntohs(addr.sin_port));
  for (bool validate : {false, true}) {
    DomParseError e;
    DomDocument::parse_text("<!DOCTYPE r SYSTEM '" + url + "/r.dtd'><r/>", validate, &e);
    DomDocument::parse_text("<!DOCTYPE r [<!ENTITY e SYSTEM '" + url + "/e'>]><r>&e;</r>", validate, &e);
  }
  EXPECT_LT(::accept(listener, nullptr, nullptr), 0) << "the parser connected";
  ::close(listener);
}

// Past the parser's default size limits a document is read with them lifted, unless it
// declares a document type or nests deeper than the default depth: what follows a hostile
// start never changes its refusal, and a large document the library could write is read.
TEST_F(DomDocumentTest, LargeDocumentsAreReadAndHostileOnesStayRefused) {
  const std::string padding = "<!--" + std::string(11'000'000, 'x') + "-->";
  const std::string hostile[] = {
      billion_laughs("<lolz>&lol9;</lolz>"), billion_laughs("<lolz a='&lol9;'/>"),
      "<!DOCTYPE r [<!ENTITY e '" + std::string(20000, 'x') + "'>]><r>" + repeat("&e;", 20000) +
          "</r>",
      "<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><r>&a;</r>",
      repeat("<a>", 300) + repeat("</a>", 300),
      // An external entity is never read; a document type keeps the default limits.
      "<!DOCTYPE r [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><r>&x;<x/></r>"};
  for (const std::string& start : hostile) {
    const std::string large = start + padding;
    const std::string refused = failure_of([&] { validate_xml(std::string_view(large)); });
    EXPECT_NE(refused, "none") << start.substr(0, 60);
    if (start.find("SYSTEM") == std::string::npos) {
      EXPECT_EQ(refused, failure_of([&] { validate_xml(std::string_view(start)); }));
    }
    EXPECT_EQ(failure_of([&] { create<clsXML>()->DocumentCreate(from_utf8(large)); }), refused);
  }
  // One line, with a text and an attribute value each past the default limits.
  const std::string value(12'000'000, 'v');
  const std::string document = "<Items><Count>1</Count><Item a='" + value + "'><Description>" +
                               value + "</Description></Item></Items>";
  EXPECT_EQ(failure_of([&] { validate_xml(std::string_view(document)); }), "none");
  EXPECT_EQ(prettify_xml(std::string_view(document)),
            "\r\n<Items>\r\n  <Count>1</Count>\r\n  <Item a='" + value + "'>\r\n    <Description>" +
                value + "</Description>\r\n  </Item>\r\n</Items>");
}

// A visitor that throws at its n-th call stops the reading there; the reading gives back
// what it threw, and leaves nothing behind.
TEST_F(DomDocumentTest, StreamStopsWhereItsVisitorFails) {
  struct Failing : DomVisitor {
    explicit Failing(int n) : left(n) {}
    int left;
    void step() { if (--left == 0) throw Error(errc::kOutOfMemory); }
    void document_type(const DomNode&) override { step(); }
    void start_element(const DomNode&) override { step(); }
    void child_node(const DomNode&) override { step(); }
    void end_element(const DomNode&) override { step(); }
  };
  for (const char* doc : {"<r a='1'><a>x</a><!--c--><b/>y</r>",
                          "<!DOCTYPE r [<!ENTITY e '<b>x</b>'>]><r><a>&e;</a>y</r>"}) {
    for (int n = 1; n <= 12; ++n) {
      Failing visitor(n);
      DomParseError error;
      std::exception_ptr failure;
      EXPECT_TRUE(DomDocument::stream_text(doc, &visitor, &error, &failure)) << doc << n;
      EXPECT_EQ(failure ? error_number_of([&] { std::rethrow_exception(failure); }) : 0,
                visitor.left == 0 ? errc::kOutOfMemory : 0) << doc << n;
    }
  }
}

TEST_F(DomDocumentTest, DocumentCreateAndLoadReportFailuresWithTheirLocation) {
  Ref<clsXML> x = create<clsXML>();
  EXPECT_EQ(x->DocumentCreate(u"<a>fish & chips</a>")->document_element().text(), "fish & chips");
  EXPECT_EQ(
      failure_of([&] { x->DocumentCreate(u"<a>\r\nfish&chips</a>"); }),
      "-2147221504 clsXML | DocumentCreate, Error # -2147221504 at line: 3\r\n"
      "CreateDocument Error: 23\r\nReason: EntityRef: expecting ';'\r\nLocation: line 2, col 11");
  EXPECT_EQ(x->last_error().LastErrorNumber, -2147221504);

  // The file's declaration decides its encoding.
  const std::string good = logs_.path() + "/good.xml";
  LogFolder::write_file(good, "<?xml version='1.0' encoding='ISO-8859-1'?>\r\n<r>caf\xE9</r>");
  EXPECT_EQ(x->DocumentLoad(from_utf8(good))->document_element().text(), "caf\xC3\xA9");
  const std::string missing = logs_.path() + "/missing";  // no extension is added
  EXPECT_EQ(failure_of([&] { x->DocumentLoad(from_utf8(missing)); }),
            "-2147221504 clsXML | DocumentLoad, Error # -2147221504 at line: 2\r\nLoadDocument "
            "Error: 1524\r\n"
            "xsFileName: " +
                missing + "\r\nReason: No such file or directory\r\nLocation: line 0, col 0");
  const std::string bad = logs_.path() + "/bad.xml";
  LogFolder::write_file(bad, "<r>\r\n  <a>fish & chips</a>\r\n</r>\r\n");  // no repair here
  EXPECT_NE(failure_of([&] { x->DocumentLoad(from_utf8(bad)); })
                .find("\r\nLoadDocument Error: 68\r\nxsFileName: " + bad +
                      "\r\nReason: xmlParseEntityRef: no name\r\nLocation: line 2, col "),
            std::string::npos);
  EXPECT_EQ(logs_.error_lines().size(), 3u);
}

}  // namespace
}  // namespace vexqom
