// invoke for callers that keep their own copies of the arguments (the C interface): it
// also says which arguments a by-reference member changed, so that only those are
// converted back.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "vexqom/dispatch.h"

namespace vexqom {

// As invoke; changed[i] is set for each argument written back into args.
Variant invoke_reporting_changes(Object& object, int32_t dispid, int32_t flags,
                                 std::span<Variant> args, std::vector<char>& changed);

}  // namespace vexqom
