// The JSON form of a whole selection, for scripts and web front ends:
//
//   {"XDocVersion": "v2.20",
//    "Items": [{"ItemStatus": "ORDER", ..., "Prices": [{"Location": "JOBBER", ...}], ...}],
//    "Vehicle": {"Year": "2004", ...}}
//
// Every field is a string holding its element's text, named after the element, in the
// document's order; the lists' counts are the arrays' lengths. The way back goes through
// the library (it reads the document and writes it), so a document the library wrote
// comes back byte for byte.
#pragma once

#include <string>

#include "vexqom/text.h"

namespace vexqom::tool {

// The JSON form of an item document's text (well-formed, root "Items").
std::string selection_json(const std::string& xml);

// The item document a JSON form describes, ready for the library to read; refuses JSON
// that does not have the form's shape. The vehicle's mileage, written "CurrentMileage",
// goes in as "Mileage": the element the library reads it from.
Text selection_xml(const std::string& json);

}  // namespace vexqom::tool
