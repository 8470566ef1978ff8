// The XML engine's text reshaping for hosts and tools: prettify, compress, validate.
#pragma once

#include "vexqom/api.h"
#include "vexqom/text.h"

namespace vexqom {

// One element per line with two-blank indentation (parsed; error -2147221504 when the
// text is not well-formed).
VEXQOM_API Text prettify_xml(const Text& xml);
// Surrounding blanks and empty elements removed, with the engine's default settings.
VEXQOM_API Text compress_xml(const Text& xml);
// Parses the text; raises -2147221504 with the parser's reason and location.
VEXQOM_API void validate_xml(const Text& xml);

}  // namespace vexqom
