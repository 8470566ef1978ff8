#include "vexqom/xml_text.h"

#include "frame/utf8.h"
#include "xml/clsXML.h"
#include "xml/dom_document.h"

namespace vexqom {

namespace {

// UTF-8 as the library reads it: each ill-formed sequence counts as U+FFFD. Well-formed
// text, the usual case, is used as it is, without a copy.
std::string_view as_read(std::string_view utf8, std::string& storage) {
  if (is_well_formed_utf8(utf8)) return utf8;
  storage = to_utf8(from_utf8(utf8));
  return storage;
}

}  // namespace

Text prettify_xml(const Text& xml) { return create<clsXML>()->Prettify(xml); }

std::string prettify_xml(std::string_view utf8) {
  std::string storage;
  return create<clsXML>()->PrettifyUtf8(as_read(utf8, storage));
}

Text compress_xml(const Text& xml) { return create<clsXML>()->XMLcompress(xml); }

// The check reads the text as it goes and keeps none of it.
void validate_xml(const Text& xml) { create<clsXML>()->DocumentStream(xml, nullptr); }

void validate_xml(std::string_view utf8) {
  std::string storage;
  create<clsXML>()->DocumentStream(as_read(utf8, storage), nullptr);
}

}  // namespace vexqom
