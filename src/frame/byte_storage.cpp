#include "frame/byte_storage.h"

namespace vexqom {

namespace {

// Trivially destructible, so a buffer released while the thread (or the program) ends
// still finds it; the keeper frees the block and closes it.
struct SpareBlock {
  char* bytes;
  size_t capacity;
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

size_t ByteStorage::spare_capacity() { return spare.capacity; }

bool ByteStorage::take_spare(size_t count) {
  if (spare.bytes == nullptr || spare.capacity < count) return false;
  if (size_ > 0) std::memcpy(spare.bytes, bytes_, size_);
  std::free(bytes_);
  bytes_ = spare.bytes;
  capacity_ = spare.capacity;
  spare.bytes = nullptr;
  spare.capacity = 0;
  return true;
}

void ByteStorage::release(char* bytes, size_t capacity) {
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

}  // namespace vexqom
