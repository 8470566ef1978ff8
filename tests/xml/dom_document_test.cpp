// The DOM adapter and the engine's DocumentCreate / DocumentLoad: tree access, parse
// errors and their messages, and the parser's security settings.
#include "xml/dom_document.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "support/log_folder.h"
#include "vexqom/xml_text.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

using testing::LogFolder;
using testing::log_message;

std::string u8(const Text& t) { return to_utf8(t); }

Ref<DomDocument> parse(const std::string& text, bool validate = false) {
  DomParseError error;
  Ref<DomDocument> doc = DomDocument::parse_text(text, validate, &error);
  EXPECT_TRUE(doc) << error.code << " " << error.reason;
  return doc;
}

DomParseError parse_failure(const std::string& text) {
  DomParseError error;
  EXPECT_FALSE(DomDocument::parse_text(text, false, &error));
  return error;
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

class DomDocumentTest : public ::testing::Test {
 protected:
  LogFolder logs_;
};

TEST_F(DomDocumentTest, TreeGivesNamesAttributesChildrenAndResolvedText) {
  Ref<DomDocument> doc = parse(
      "<!DOCTYPE r [<!ENTITY who 'world &amp; co'>]>\n"
      "<r xmlns:p='urn:p' z='1' a='x &amp; &who;'>\n  <p:b>hi &who;</p:b>\n  "
      "<!--c--><![CDATA[raw]]><c/>\n</r>");
  ASSERT_TRUE(doc);
  DomNode root = doc->document_element();
  EXPECT_EQ(root.type(), DomNode::kElement);
  EXPECT_EQ(root.name(), "r");

  // Document order, namespace declarations included, entities resolved.
  std::vector<DomAttribute> attrs = root.attributes();
  ASSERT_EQ(attrs.size(), 3u);
  EXPECT_EQ(attrs[0].name, "xmlns:p");
  EXPECT_EQ(attrs[0].value, "urn:p");
  EXPECT_EQ(attrs[1].name, "z");
  EXPECT_EQ(attrs[2].name, "a");
  EXPECT_EQ(attrs[2].value, "x & world & co");

  // The white space between elements is gone; comments and CDATA stay as nodes.
  std::vector<DomNode> kids = root.child_nodes();
  ASSERT_EQ(kids.size(), 4u);
  EXPECT_EQ(kids[0].name(), "p:b");
  EXPECT_EQ(kids[0].text(), "hi world & co");
  EXPECT_EQ(kids[1].type(), DomNode::kComment);
  EXPECT_EQ(kids[2].type(), DomNode::kCData);
  EXPECT_EQ(kids[3].name(), "c");
  EXPECT_FALSE(kids[3].has_child_nodes());

  DomNode doctype = doc->doctype();
  ASSERT_TRUE(doctype);
  EXPECT_EQ(doctype.type(), DomNode::kDocumentType);
  EXPECT_EQ(doctype.xml(), "<!DOCTYPE r [\r\n<!ENTITY who \"world &amp; co\">\r\n]>");
  EXPECT_EQ(parse("<!DOCTYPE a SYSTEM 'a.dtd'><a/>")->doctype().xml(),
            "<!DOCTYPE a SYSTEM \"a.dtd\">");
  EXPECT_FALSE(parse("<a/>")->doctype());

  // The node keeps its document alive.
  DomNode kept = parse("<k>v</k>")->document_element();
  EXPECT_EQ(kept.text(), "v");
}

TEST_F(DomDocumentTest, WhiteSpaceOnlyTextNeverAppearsExceptWhenPreserved) {
  Ref<DomDocument> doc =
      parse("<r>\r\n\t<a>  </a> <b> x </b>text <c/> <s xml:space='preserve'> </s></r>");
  ASSERT_TRUE(doc);
  std::vector<DomNode> kids = doc->document_element().child_nodes();
  ASSERT_EQ(kids.size(), 5u);
  EXPECT_FALSE(kids[0].has_child_nodes());  // "<a>  </a>"
  EXPECT_EQ(kids[1].text(), " x ");
  EXPECT_EQ(kids[2].text(), "text ");
  EXPECT_EQ(kids[4].text(), " ");
}

TEST_F(DomDocumentTest, EmptyTextAndUnboundPrefixFail) {
  DomParseError e = parse_failure("");
  EXPECT_EQ(e.code, 4);
  EXPECT_EQ(e.reason, "Document is empty");

  // A prefix without its declaration is not namespace-well-formed.
  e = parse_failure("<p:a/>");
  EXPECT_EQ(e.code, 201);
  EXPECT_EQ(e.reason, "Namespace prefix p on a is not defined");
}

TEST_F(DomDocumentTest, DeclaredEncodingDoesNotChangeHowTextIsRead) {
  // The text is UTF-8 whatever the declaration names.
  for (const char* decl : {"UTF-8", "windows-1252", "UTF-16"}) {
    Ref<DomDocument> doc = parse(std::string("<?xml version='1.0' encoding='") + decl +
                                 "'?><r>caf\xC3\xA9</r>");
    ASSERT_TRUE(doc) << decl;
    EXPECT_EQ(doc->document_element().text(), "caf\xC3\xA9") << decl;
  }
}

TEST_F(DomDocumentTest, ExternalEntitiesAreReadOnlyWhenValidating) {
  const std::string secret = logs_.path() + "/secret.txt";
  LogFolder::write_file(secret, "TOP-SECRET");
  const std::string doc = "<!DOCTYPE r [<!ELEMENT r (#PCDATA)><!ENTITY x SYSTEM 'file://" +
                          secret + "'><!ENTITY pw SYSTEM 'file:///etc/passwd'>]><r>[&x;&pw;]</r>";
  Ref<DomDocument> plain = parse(doc);
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->document_element().text(), "[]");

  // Asked to validate, the parser reads local files (the only case it may).
  Ref<DomDocument> validated =
      parse("<!DOCTYPE r [<!ELEMENT r (#PCDATA)><!ENTITY x SYSTEM 'file://" + secret +
                "'>]><r>[&x;]</r>",
            true);
  ASSERT_TRUE(validated);
  EXPECT_EQ(validated->document_element().text(), "[TOP-SECRET]");
}

TEST_F(DomDocumentTest, NetworkIsNeverUsed) {
  // A listener on the loopback: any fetch of the DTD or entity would connect to it.
  int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
  ASSERT_GE(listener, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
  ASSERT_EQ(::listen(listener, 4), 0);
  socklen_t len = sizeof addr;
  ASSERT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&addr), &len), 0);
  const std::string url = "http://127.0.0.1:" + std::to_string(ntohs(addr.sin_port));

  for (bool validate : {false, true}) {
    DomParseError error;
    DomDocument::parse_text("<!DOCTYPE r SYSTEM '" + url + "/r.dtd'><r/>", validate, &error);
    DomDocument::parse_text("<!DOCTYPE r [<!ENTITY e SYSTEM '" + url + "/e'>]><r>&e;</r>",
                            validate, &error);
  }
  EXPECT_LT(::accept(listener, nullptr, nullptr), 0) << "the parser connected";
  ::close(listener);
}

TEST_F(DomDocumentTest, EntityExpansionBombFailsFastWithLittleMemory) {
  rusage before{};
  ::getrusage(RUSAGE_SELF, &before);
  const auto start = std::chrono::steady_clock::now();
  Ref<clsXML> x = create<clsXML>();
  for (const char* use : {"<lolz>&lol9;</lolz>", "<lolz a='&lol9;'/>"}) {
    try {
      x->DocumentCreate(from_utf8(billion_laughs(use)));
      ADD_FAILURE() << "expanded " << use;
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), errc::kDocumentError);
      EXPECT_NE(u8(e.description()).find("CreateDocument Error: 89\r\n"), std::string::npos);
    }
  }
  const auto elapsed = std::chrono::steady_clock::now() - start;
  rusage after{};
  ::getrusage(RUSAGE_SELF, &after);
  // A bound against expansion, not a speed measure: a real expansion runs for minutes.
  EXPECT_LT(elapsed, std::chrono::seconds(30));
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024);  // KiB
}

// Past the parser's default size limits a document is read with them lifted, unless it
// declares a document type or nests deeper than the default depth: what follows a hostile
// start never changes its refusal, and a large document the library could write is read.
TEST_F(DomDocumentTest, LargeDocumentsAreReadAndHostileOnesStayRefused) {
  auto outcome = [](auto&& read) -> std::string {
    try {
      read();
      return "accepted";
    } catch (const Error& e) {
      return u8(e.description());
    }
  };
  auto repeat = [](const std::string& unit, int n) {
    std::string out;
    for (int i = 0; i < n; ++i) out += unit;
    return out;
  };
  const std::string padding = "<!--" + std::string(11'000'000, 'x') + "-->";
  const std::string hostile[] = {
      billion_laughs("<lolz>&lol9;</lolz>"),
      billion_laughs("<lolz a='&lol9;'/>"),
      "<!DOCTYPE r [<!ENTITY e '" + std::string(20000, 'x') + "'>]><r>" +
          repeat("&e;", 20000) + "</r>",
      "<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><r>&a;</r>",
      repeat("<a>", 300) + repeat("</a>", 300),
      // An external entity is never read; a document type keeps the default limits.
      "<!DOCTYPE r [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><r>&x;<x/></r>"};
  for (const std::string& start : hostile) {
    const std::string large = start + padding;
    const std::string refused = outcome([&] { validate_xml(std::string_view(large)); });
    EXPECT_NE(refused, "accepted") << start.substr(0, 60);
    if (start.find("SYSTEM") == std::string::npos) {
      EXPECT_EQ(refused, outcome([&] { validate_xml(std::string_view(start)); }));
    }
    EXPECT_EQ(outcome([&] { create<clsXML>()->DocumentCreate(from_utf8(large)); }), refused);
  }

  // One line, with a text and an attribute value each past the default limits.
  const std::string value(12'000'000, 'v');
  const std::string document = "<Items><Count>1</Count><Item a='" + value +
                               "'><Description>" + value + "</Description></Item></Items>";
  EXPECT_EQ(outcome([&] { validate_xml(std::string_view(document)); }), "accepted");
  EXPECT_EQ(prettify_xml(std::string_view(document)),
            "\r\n<Items>\r\n  <Count>1</Count>\r\n  <Item a='" + value +
                "'>\r\n    <Description>" + value + "</Description>\r\n  </Item>\r\n</Items>");
}

// A visitor that throws at its n-th call stops the reading there; the reading gives back
// what it threw, and leaves nothing behind.
TEST_F(DomDocumentTest, StreamStopsWhereItsVisitorFails) {
  struct Failing : DomVisitor {
    int left = 0;
    void step() {
      if (--left == 0) throw Error(errc::kOutOfMemory);
    }
    void document_type(const DomNode&) override { step(); }
    void start_element(const DomNode&) override { step(); }
    void child_node(const DomNode&) override { step(); }
    void end_element(const DomNode&) override { step(); }
  };
  for (const char* doc : {"<r a='1'><a>x</a><!--c--><b/>y</r>",
                          "<!DOCTYPE r [<!ENTITY e '<b>x</b>'>]><r><a>&e;</a>y</r>"}) {
    for (int n = 1; n <= 12; ++n) {
      Failing visitor;
      visitor.left = n;
      DomParseError error;
      std::exception_ptr failure;
      EXPECT_TRUE(DomDocument::stream_text(doc, &visitor, &error, &failure)) << doc << n;
      EXPECT_EQ(static_cast<bool>(failure), visitor.left == 0) << doc << n;
      if (failure) {
        EXPECT_THROW(std::rethrow_exception(failure), Error);
      }
    }
  }
}

TEST_F(DomDocumentTest, ParserWritesNothingToStandardError) {
  std::fflush(stderr);
  const std::string captured = logs_.path() + "/stderr.txt";
  const int saved = ::dup(2);
  const int fd = ::open(captured.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ::dup2(fd, 2);
  ::close(fd);
  DomParseError error;
  DomDocument::parse_text("<a><b></a>", false, &error);
  DomDocument::parse_text("<!DOCTYPE r SYSTEM 'missing.dtd'><r/>", true, &error);
  DomDocument::parse_file(logs_.path() + "/none.xml", false, &error);
  std::fflush(stderr);
  ::dup2(saved, 2);
  ::close(saved);
  EXPECT_EQ(LogFolder::read_file(captured), "");
}

TEST_F(DomDocumentTest, ThreadsParseIndependently) {
  std::vector<std::thread> threads;
  std::vector<int> failures(8, 0);
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([t, &failures] {
      for (int n = 0; n < 200; ++n) {
        DomParseError error;
        const std::string bad = "<t" + std::to_string(t) + "></x>";
        if (DomDocument::parse_text(bad, false, &error) ||
            error.reason.find("t" + std::to_string(t)) == std::string::npos) {
          ++failures[t];
        }
        if (!DomDocument::parse_text("<ok/>", false, &error)) ++failures[t];
      }
    });
  }
  for (std::thread& th : threads) th.join();
  for (int t = 0; t < 8; ++t) EXPECT_EQ(failures[t], 0) << t;
}

TEST_F(DomDocumentTest, DocumentCreateRepairsBlankAmpersandAndReportsFailures) {
  Ref<clsXML> x = create<clsXML>();
  Ref<DomDocument> doc = x->DocumentCreate(u"<a>fish & chips</a>");
  ASSERT_TRUE(doc);
  EXPECT_EQ(doc->document_element().text(), "fish & chips");

  try {
    x->DocumentCreate(u"<a>\r\nfish&chips</a>");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), -2147221504);
    EXPECT_EQ(u8(e.description()),
              "clsXML | DocumentCreate, Error # -2147221504 at line: 3\r\n"
              "CreateDocument Error: 23\r\n"
              "Reason: EntityRef: expecting ';'\r\n"
              "Location: line 2, col 11");
  }
  EXPECT_EQ(x->last_error().LastErrorNumber, -2147221504);
  std::vector<std::string> lines = logs_.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(log_message(lines[0]),
            "clsXML | DocumentCreate, Error # -2147221504 at line: 3][CreateDocument Error: "
            "23][Reason: EntityRef: expecting ';'][Location: line 2, col 11");
}

TEST_F(DomDocumentTest, DocumentLoadParsesFilesAndReportsMissingOrBadOnes) {
  Ref<clsXML> x = create<clsXML>();
  const std::string good = logs_.path() + "/good.xml";
  // The file's declaration decides its encoding.
  LogFolder::write_file(good, "<?xml version='1.0' encoding='ISO-8859-1'?>\r\n<r>caf\xE9</r>");
  Ref<DomDocument> doc = x->DocumentLoad(from_utf8(good));
  ASSERT_TRUE(doc);
  EXPECT_EQ(doc->document_element().text(), "caf\xC3\xA9");

  const Text missing = from_utf8(logs_.path() + "/missing");  // no extension is added
  try {
    x->DocumentLoad(missing);
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kDocumentError);
    EXPECT_EQ(u8(e.description()),
              "clsXML | DocumentLoad, Error # -2147221504 at line: 2\r\n"
              "LoadDocument Error: 1524\r\n"
              "xsFileName: " + u8(missing) + "\r\n"
              "Reason: No such file or directory\r\n"
              "Location: line 0, col 0");
  }

  const std::string bad = logs_.path() + "/bad.xml";
  LogFolder::write_file(bad, "<r>\r\n  <a>fish & chips</a>\r\n</r>\r\n");  // no repair here
  try {
    x->DocumentLoad(from_utf8(bad));
    FAIL() << "no error";
  } catch (const Error& e) {
    const std::string d = u8(e.description());
    EXPECT_NE(d.find("\r\nLoadDocument Error: 68\r\nxsFileName: " + bad +
                     "\r\nReason: xmlParseEntityRef: no name\r\nLocation: line 2, col "),
              std::string::npos)
        << d;
  }
  EXPECT_EQ(logs_.error_lines().size(), 2u);
}

}  // namespace
}  // namespace vexqom
