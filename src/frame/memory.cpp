#include "frame/memory.h"

#include <cstdint>
#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace vexqom::memory {

void prefer_large_pages(void* data, std::size_t bytes) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  if (bytes < kLargeBuffer) return;
  constexpr std::uintptr_t kHugePage = std::uintptr_t{2} << 20;
  const auto begin = reinterpret_cast<std::uintptr_t>(data);
  const std::uintptr_t first = (begin + kHugePage - 1) & ~(kHugePage - 1);
  const std::uintptr_t last = (begin + bytes) & ~(kHugePage - 1);
  if (first >= last) return;
  // A refusal (no huge pages configured) leaves ordinary pages: nothing to report.
  (void)madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#else
  (void)data;
  (void)bytes;
#endif
}

void* allocate(std::size_t bytes) {
  void* block = std::malloc(bytes);
  if (block != nullptr) prefer_large_pages(block, bytes);
  return block;
}

namespace {

// Trivially destructible, so a buffer released while the thread (or the program) ends
// still finds it; the keeper frees the block and closes it.
struct SpareBlock {
  char* bytes;
  std::size_t capacity;
  bool closed;
};
thread_local SpareBlock spare{nullptr, 0, false};

struct SpareKeeper {
  ~SpareKeeper() {
    std::free(spare.bytes);
    spare = SpareBlock{nullptr, 0, true};
  }
};
thread_local SpareKeeper keeper;

}  // namespace

std::size_t spare_capacity() { return spare.capacity; }

char* take_spare(std::size_t count, std::size_t& capacity) {
  if (spare.bytes == nullptr || spare.capacity < count) return nullptr;
  char* bytes = spare.bytes;
  capacity = spare.capacity;
  spare.bytes = nullptr;
  spare.capacity = 0;
  return bytes;
}

void keep_spare(char* bytes, std::size_t capacity) {
  if (capacity < kSpareMinimum || capacity > kSpareMaximum || spare.closed ||
      capacity <= spare.capacity) {
    std::free(bytes);
    return;
  }
  (void)&keeper;  // odr-use: the keeper is made, and will free the block, on this thread
  std::free(spare.bytes);
  spare.bytes = bytes;
  spare.capacity = capacity;
}

}  // namespace vexqom::memory
