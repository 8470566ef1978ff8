// The sample selection the demo builds in memory.
#pragma once

#include "vexqom/ICatItemCol.h"

namespace vexqom::tool {

Ref<ICatItemCol> demo_selection();

}  // namespace vexqom::tool
