// The number of the error a call raises, or 0 when it raises none.
#pragma once

#include <cstdint>

#include "vexqom/error.h"

namespace vexqom::testing {

int32_t error_number_of(auto&& call) {
  try {
    call();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

}  // namespace vexqom::testing
