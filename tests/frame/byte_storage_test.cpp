// ByteStorage: growth keeps the bytes and zero-fills; a thread's released large block is
// taken by its next large buffer. Each case runs on its own thread, whose spare block
// starts empty (and, under the leak checker, must be freed when the thread ends).
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "frame/byte_storage.h"

namespace vexqom {
namespace {

template <class F>
void on_fresh_thread(F f) {
  std::thread worker(f);
  worker.join();
}

std::unique_ptr<ByteStorage> block(size_t size) {
  auto storage = std::make_unique<ByteStorage>();
  storage->resize(size);
  return storage;
}

const char* released_block(size_t size) { return block(size)->data(); }

TEST(ByteStorageTest, GrowingIntoTheThreadsSpareBlockKeepsTheBytesAndZeroFills) {
  on_fresh_thread([] {
    const char* kept = released_block(1 << 20);
    ByteStorage storage;
    const std::string head = "the first bytes survive the move";
    storage.resize(head.size());
    std::memcpy(storage.data(), head.data(), head.size());
    storage.resize(300 * 1024);  // past what the first block holds: the spare one
    EXPECT_EQ(storage.data(), kept);
    EXPECT_EQ(ByteStorage::spare_capacity(), 0u);  // taken, not shared
    EXPECT_EQ(std::string(storage.data(), head.size()), head);
    size_t nonzero = 0;
    for (size_t i = head.size(); i < storage.size(); ++i) nonzero += storage[i] != 0;
    EXPECT_EQ(nonzero, 0u);
  });
}

TEST(ByteStorageTest, OnlyALargerBlockReplacesTheSpareAndHugeOnesAreFreed) {
  on_fresh_thread([] {
    auto large = block(1 << 20);
    auto small = block(128 * 1024);
    auto huge = block(ByteStorage::kSpareMaximum + 1);
    const char* kept = large->data();
    large.reset();
    small.reset();  // smaller than the spare: freed
    huge.reset();   // beyond what a thread keeps: freed
    EXPECT_EQ(ByteStorage::spare_capacity(), size_t{1} << 20);
    EXPECT_EQ(block(900 * 1024)->data(), kept);
  });
  on_fresh_thread([] {
    auto small = block(128 * 1024);
    auto larger = block(2 << 20);
    const char* kept = larger->data();
    small.reset();
    larger.reset();  // replaces the smaller spare
    EXPECT_EQ(ByteStorage::spare_capacity(), size_t{2} << 20);
    EXPECT_EQ(block(1500 * 1024)->data(), kept);
    EXPECT_EQ(ByteStorage::spare_capacity(), size_t{2} << 20);  // given back on release
  });
  on_fresh_thread([] {
    block(ByteStorage::kSpareMinimum - 1);
    EXPECT_EQ(ByteStorage::spare_capacity(), 0u);
  });
}

}  // namespace
}  // namespace vexqom
