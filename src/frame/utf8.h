// UTF-8 written into memory the caller sizes: the C interface hands out malloc'ed texts
// of exactly the right length without a second copy.
#pragma once

#include <cstddef>
#include <string_view>

#include "vexqom/text.h"

namespace vexqom {

// Whether from_utf8 reads these bytes without a replacement, so that to_utf8 gives them
// back unchanged.
bool is_well_formed_utf8(std::string_view utf8);
// The bytes to_utf8 makes of text (a lone surrogate counts as U+FFFD).
std::size_t utf8_size(TextView text);
// Writes those bytes at out; returns the end of what was written.
char* write_utf8(TextView text, char* out);

}  // namespace vexqom
