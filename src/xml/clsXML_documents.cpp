// clsXML: parsing a text or a file with the DOM parser, a failure becoming a raised
// error whose message says what the parser found and where; or reading a text as it goes
// by, with the same failures, without keeping it.
#include "frame/procedure.h"
#include "vexqom/variant.h"
#include "xml/clsXML.h"
#include "xml/dom_document.h"

namespace vexqom {

namespace {

Text location(const DomParseError& failure) {
  return u"Location: line " + integer_text(failure.line) + u", col " +
         integer_text(failure.column);
}

Error create_document_error(const DomParseError& failure) {
  return Error(errc::kDocumentError, u"CreateDocument Error",
               u"CreateDocument Error: " + integer_text(failure.code) + u"\r\nReason: " +
                   from_utf8(failure.reason) + u"\r\n" + location(failure));
}

// A bare ampersand written between blanks is the one slip that is repaired; the repaired
// text goes into storage only when there is something to repair.
std::string_view repair_blank_ampersands(std::string_view utf8, std::string& storage) {
  constexpr std::string_view kBare = " & ";
  size_t at = utf8.find(kBare);
  if (at == std::string_view::npos) return utf8;
  storage.reserve(utf8.size() + 16);
  size_t from = 0;
  for (; at != std::string_view::npos; from = at + kBare.size(), at = utf8.find(kBare, from)) {
    storage.append(utf8, from, at - from);
    storage += " &amp; ";
  }
  storage.append(utf8, from, std::string_view::npos);
  return storage;
}

}  // namespace

Ref<DomDocument> clsXML::DocumentCreate(const Text& xsXML, bool validate) {
  return run_procedure(errors_, u"clsXML | DocumentCreate", Trace::No,
                       [&](int& line) -> Ref<DomDocument> {
    line = 1;
    const std::string utf8 = to_utf8(xsXML);
    std::string storage;
    const std::string_view source = repair_blank_ampersands(utf8, storage);
    line = 2;
    DomParseError failure;
    Ref<DomDocument> document = DomDocument::parse_text(source, validate, &failure);
    line = 3;
    if (!document) throw create_document_error(failure);
    line = 4;
    return document;
  });
}

std::exception_ptr clsXML::stream_document(std::string_view utf8, DomVisitor* visitor,
                                           int& line) {
  std::string storage;
  const std::string_view source = repair_blank_ampersands(utf8, storage);
  line = 2;
  DomParseError failure;
  std::exception_ptr visitor_failure;
  const bool read = DomDocument::stream_text(source, visitor, &failure, &visitor_failure);
  line = 3;
  if (!read) throw create_document_error(failure);
  line = 4;
  return visitor_failure;
}

std::exception_ptr clsXML::DocumentStream(const Text& xsXML, DomVisitor* visitor) {
  return run_procedure(errors_, u"clsXML | DocumentCreate", Trace::No,
                       [&](int& line) -> std::exception_ptr {
    line = 1;
    return stream_document(to_utf8(xsXML), visitor, line);
  });
}

std::exception_ptr clsXML::DocumentStream(std::string_view utf8, DomVisitor* visitor) {
  return run_procedure(errors_, u"clsXML | DocumentCreate", Trace::No,
                       [&](int& line) -> std::exception_ptr {
    line = 1;
    return stream_document(utf8, visitor, line);
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
