// Huge-page backing for large buffers. A buffer of tens of megabytes is usually mapped
// afresh by the allocator each time it is made, and then costs one page fault per 4 KB
// when first written; with huge pages it costs one per 2 MB. Only a hint: where the
// system has no such pages, or refuses, nothing changes.
#pragma once

#include <cstddef>

namespace vexqom {

// Buffers below this size are left alone.
constexpr std::size_t kLargePagesMinimum = std::size_t{8} << 20;

// Advises the whole 2 MB pages inside [data, data + bytes).
void prefer_large_pages(void* data, std::size_t bytes);

}  // namespace vexqom
