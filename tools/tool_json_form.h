// The JSON form of a whole selection, for scripts and web front ends:
//
//   {"XDocVersion": "v2.20",
//    "Items": [{"ItemStatus": "ORDER", ..., "Prices": [{"Location": "JOBBER", ...}], ...}],
//    "Vehicle": {"Year": "2004", ...}}
//
// Every field is a string named after its element in the library's XML form, in the
// form's order; the lists' counts are the arrays' lengths. Both directions go through the
// library, so XML -> JSON -> XML gives back the library's text byte for byte.
#pragma once

#include <string>

#include "vexqom/text.h"

namespace vexqom::tool {

// The selection's JSON form, from the text the library writes for it.
std::string selection_json(const std::string& library_xml);

// The item document a JSON form describes, ready for the library to load; refuses JSON
// that does not have the form's shape.
Text selection_xml(const std::string& json);

}  // namespace vexqom::tool
