// ByteStorage: the growable byte array under a string buffer.
//
// Like std::vector<char>, but grown with realloc: a large buffer is then moved by the
// kernel's page remapping instead of copied into fresh memory, so appending to a buffer of
// many megabytes costs neither the copy nor the page faults of a new block at each
// doubling.
//
// A thread keeps the last large block it released (one, of bounded size) for its next
// large buffer. Building the same large document again and again otherwise frees and
// allocates the same block each time, and the allocator hands it back to the kernel in
// between: every build would fault in fresh pages.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "frame/large_pages.h"

namespace vexqom {

class ByteStorage {
 public:
  ByteStorage() = default;
  ByteStorage(const ByteStorage&) = delete;
  ByteStorage& operator=(const ByteStorage&) = delete;
  ~ByteStorage() { release(bytes_, capacity_); }

  char* data() { return bytes_; }
  const char* data() const { return bytes_; }
  size_t size() const { return size_; }
  size_t capacity() const { return capacity_; }
  bool empty() const { return size_ == 0; }
  char& operator[](size_t i) { return bytes_[i]; }
  const char& operator[](size_t i) const { return bytes_[i]; }
  char* begin() { return bytes_; }
  char* end() { return bytes_ + size_; }

  void reserve(size_t count) {
    if (count <= capacity_) return;
    if (take_spare(count)) return;
    void* grown = std::realloc(bytes_, count);
    if (grown == nullptr) throw std::bad_alloc();
    bytes_ = static_cast<char*>(grown);
    capacity_ = count;
    prefer_large_pages(bytes_, capacity_);
  }

  // Growing fills the new bytes with zeros.
  void resize(size_t count) {
    if (count > size_) {
      reserve(count);
      std::memset(bytes_ + size_, 0, count - size_);
    }
    size_ = count;
  }

  // Growing leaves the new bytes as they are: for a caller about to write all of them.
  void resize_for_overwrite(size_t count) {
    if (count > size_) reserve(count);
    size_ = count;
  }
  // Blocks from this size up to the largest are kept for the thread's next buffer.
  static constexpr size_t kSpareMinimum = 64 * 1024;
  static constexpr size_t kSpareMaximum = 16 * 1024 * 1024;
  // The size of the block this thread keeps (0 when none).
  static size_t spare_capacity();

 private:
  // Moves the bytes into the thread's spare block when it holds at least count.
  bool take_spare(size_t count);
  // Frees a block, or keeps it as the thread's spare.
  static void release(char* bytes, size_t capacity);

  char* bytes_ = nullptr;
  size_t size_ = 0;
  size_t capacity_ = 0;
};

}  // namespace vexqom
