// clsXML: parsing a text or a file with the DOM parser, a failure becoming a raised
// error whose message says what the parser found and where.
#include "frame/procedure.h"
#include "vexqom/variant.h"
#include "xml/clsXML.h"
#include "xml/dom_document.h"

namespace vexqom {

namespace {

// Left to right, continuing after each replacement.
Text replace_all(const Text& text, TextView what, TextView with) {
  Text out;
  out.reserve(text.size());
  size_t from = 0;
  for (size_t at; (at = text.find(what, from)) != Text::npos; from = at + what.size()) {
    out.append(text, from, at - from);
    out += with;
  }
  out.append(text, from, Text::npos);
  return out;
}

Text location(const DomParseError& failure) {
  return u"Location: line " + integer_text(failure.line) + u", col " +
         integer_text(failure.column);
}

}  // namespace

Ref<DomDocument> clsXML::DocumentCreate(const Text& xsXML, bool validate) {
  return run_procedure(errors_, u"clsXML | DocumentCreate", Trace::No,
                       [&](int& line) -> Ref<DomDocument> {
    line = 1;
    // A bare ampersand written between blanks is the one slip that is repaired.
    const Text source = replace_all(xsXML, u" & ", u" &amp; ");
    line = 2;
    DomParseError failure;
    Ref<DomDocument> document = DomDocument::parse_text(to_utf8(source), validate, &failure);
    line = 3;
    if (!document) {
      throw Error(errc::kDocumentError, u"CreateDocument Error",
                  u"CreateDocument Error: " + integer_text(failure.code) + u"\r\nReason: " +
                      from_utf8(failure.reason) + u"\r\n" + location(failure));
    }
    line = 4;
    return document;
  });
}

Ref<DomDocument> clsXML::DocumentLoad(const Text& xsFilename, bool validate) {
  return run_procedure(errors_, u"clsXML | DocumentLoad", Trace::No,
                       [&](int& line) -> Ref<DomDocument> {
    line = 1;
    DomParseError failure;
    Ref<DomDocument> document = DomDocument::parse_file(to_utf8(xsFilename), validate, &failure);
    line = 2;
    if (!document) {
      throw Error(errc::kDocumentError, u"LoadDocument Error",
                  u"LoadDocument Error: " + integer_text(failure.code) + u"\r\nxsFileName: " +
                      xsFilename + u"\r\nReason: " + from_utf8(failure.reason) + u"\r\n" +
                      location(failure));
    }
    line = 3;
    return document;
  });
}

}  // namespace vexqom
