// ByteStorage: the growable byte array under a string buffer.
//
// Like std::vector<char>, but grown with realloc: a large buffer is then moved by the
// kernel's page remapping instead of copied into fresh memory, so appending to a buffer of
// many megabytes costs neither the copy nor the page faults of a new block at each
// doubling. Large blocks follow the memory policy (frame/memory.h): huge pages, and the
// thread's spare block.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "frame/memory.h"

namespace vexqom {

class ByteStorage {
 public:
  ByteStorage() = default;
  ByteStorage(const ByteStorage&) = delete;
  ByteStorage& operator=(const ByteStorage&) = delete;
  ~ByteStorage() { memory::keep_spare(bytes_, capacity_); }

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
    size_t spare_capacity = 0;
    if (char* spare = memory::take_spare(count, spare_capacity)) {
      if (size_ > 0) std::memcpy(spare, bytes_, size_);
      std::free(bytes_);
      bytes_ = spare;
      capacity_ = spare_capacity;
      return;
    }
    void* grown = std::realloc(bytes_, count);
    if (grown == nullptr) throw std::bad_alloc();
    bytes_ = static_cast<char*>(grown);
    capacity_ = count;
    memory::prefer_large_pages(bytes_, capacity_);
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

 private:
  char* bytes_ = nullptr;
  size_t size_ = 0;
  size_t capacity_ = 0;
};

}  // namespace vexqom
