#include "vexqom/xml_text.h"

#include "xml/clsXML.h"
#include "xml/dom_document.h"

namespace vexqom {

Text prettify_xml(const Text& xml) { return create<clsXML>()->Prettify(xml); }

Text compress_xml(const Text& xml) { return create<clsXML>()->XMLcompress(xml); }

void validate_xml(const Text& xml) { create<clsXML>()->DocumentCreate(xml, false); }

}  // namespace vexqom
