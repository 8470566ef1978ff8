// The XML engine's text reshaping for hosts and tools: prettify, compress, validate.
#pragma once

#include "vexqom/api.h"

#include <string>
#include <string_view>

#include "vexqom/text.h"

namespace vexqom {

// One element per line with two-blank indentation (parsed; error -2147221504 when the
// text is not well-formed).
VEXQOM_API Text prettify_xml(const Text& xml);
// Surrounding blanks and empty elements removed, with the engine's default settings.
VEXQOM_API Text compress_xml(const Text& xml);
// Parses the text; raises -2147221504 with the parser's reason and location. Nothing of
// the document is kept while it is read, whatever its size.
VEXQOM_API void validate_xml(const Text& xml);

// The same for UTF-8 as read from a file (ill-formed sequences count as U+FFFD), with
// UTF-8 results: no UTF-16 copy of a large document is made.
VEXQOM_API std::string prettify_xml(std::string_view utf8);
VEXQOM_API void validate_xml(std::string_view utf8);

}  // namespace vexqom
