// Checking a document against the XML Schemas the project ships (schema/, installed under
// share/vexqom/schema), with libxml2's schema validator.
#pragma once

#include <string>
#include <vector>

namespace vexqom::tool {

// The shipped schema for a root element ("Items" -> ".../item-document.xsd"); refuses a
// root no schema describes, or schemas that cannot be found.
std::string schema_for_root(const std::string& root);

// The schema's complaints about well-formed text, one line each ("line 3: Element ...");
// none when the text is valid.
std::vector<std::string> schema_errors(const std::string& xml, const std::string& schema_path);

}  // namespace vexqom::tool
