// Reports of a selection: aligned tables for the terminal, or the same facts as JSON for
// scripts.
#pragma once

#include <string>

#include "vexqom/ICatItemCol.h"

namespace vexqom::tool {

// The vehicle, one aligned row per item and the totals.
std::string selection_report(ICatItemCol& selection);
std::string selection_report_json(ICatItemCol& selection);
// The distinct descriptions with their item groups.
std::string summary_report(ICatItemCol& selection);
std::string summary_report_json(ICatItemCol& selection);

}  // namespace vexqom::tool
