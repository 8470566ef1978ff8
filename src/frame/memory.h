// Memory policy for texts, in one place.
//
// - Huge pages: a buffer of tens of megabytes is usually mapped afresh each time it is
//   made, and then costs one page fault per 4 KB when first written; with huge pages one
//   per 2 MB. Large buffers are allocated through here, which asks for them (a hint only:
//   where the system has none, nothing changes).
// - A spare block: a thread keeps the last large byte block it released (one, of bounded
//   size) for its next large buffer. Building the same large document again and again
//   otherwise frees and allocates the same block each time, and the allocator hands it
//   back to the system in between: every build would fault in fresh pages.
// - Room: how much a writer takes at once, so that the usual record or collection text
//   fits without growing, and a large document is neither copied again nor grown by
//   doubling.
#pragma once

#include <algorithm>
#include <cstddef>

namespace vexqom::memory {

// Buffers below this size get no huge-page hint.
inline constexpr std::size_t kLargeBuffer = std::size_t{8} << 20;

// Hints huge pages for the whole 2 MB pages inside [data, data + bytes).
void prefer_large_pages(void* data, std::size_t bytes);

// s.reserve(count), the storage then hinted huge pages when large.
template <class String>
void reserve(String& s, std::size_t count) {
  s.reserve(count);
  prefer_large_pages(s.data(), s.capacity() * sizeof(s[0]));
}

// malloc(bytes), hinted huge pages when large; null when out of memory.
void* allocate(std::size_t bytes);

// The thread's spare block: take() hands it over when it holds at least count bytes
// (null otherwise) and says its capacity; keep() holds a released block when it is of a
// size worth keeping and larger than the one kept, and otherwise frees it.
inline constexpr std::size_t kSpareMinimum = 64 * 1024;
inline constexpr std::size_t kSpareMaximum = 16 * 1024 * 1024;
char* take_spare(std::size_t count, std::size_t& capacity);
void keep_spare(char* bytes, std::size_t capacity);
std::size_t spare_capacity();  // 0 when none is kept

// Room for the usual record's text: an item with its prices, a price, the elements
// around a collection's members. 1 KB and more would make the allocator tidy up first.
inline constexpr std::size_t kItemRoom = 1000;
inline constexpr std::size_t kRecordRoom = 512;
inline constexpr std::size_t kCollectionRoom = 256;

// Room for n more members like the first (which took first), a quarter more, and the
// elements around them; at most 64 MiB beyond the first member, so one large member does
// not make room for thousands of its size.
inline std::size_t members_room(std::size_t first, std::size_t n) {
  constexpr std::size_t kMostExtra = std::size_t{1} << 26;
  return std::min(first / 4 * 5 * n + kCollectionRoom, first + kMostExtra);
}

}  // namespace vexqom::memory
