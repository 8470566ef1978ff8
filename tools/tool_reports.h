// Readable reports of a selection for the terminal.
#pragma once

#include <string>

#include "vexqom/ICatItemCol.h"

namespace vexqom::tool {

// The vehicle, one aligned row per item and the totals.
std::string selection_report(ICatItemCol& selection);
// The distinct descriptions with their item groups.
std::string summary_report(ICatItemCol& selection);

}  // namespace vexqom::tool
