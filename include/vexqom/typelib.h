// The type library as JSON, generated from the member tables: the library, its classes
// with creation names and identifiers, the interfaces with their members in slot order,
// the event interface and the enumeration.
#pragma once

#include <string>

#include "vexqom/api.h"

namespace vexqom {

VEXQOM_API std::string type_library_json();

}  // namespace vexqom
