// PatternIndex: the occurrences of one byte pattern in a large text, learnt as far as the
// queries so far needed.
//
// The readers search forward from remembered positions. A document that claims more
// elements than it holds sends them past the last element again and again; a plain search
// would cross the rest of the text every time, while here each stretch of text is searched
// once and every later question is a binary search.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vexqom {

class PatternIndex {
 public:
  // The first occurrence of pattern at or after from in text (npos when none), exactly as
  // find_bytes answers. generation identifies the text's state: a new one (or another
  // pattern) forgets what was learnt.
  size_t find(std::string_view text, std::string_view pattern, uint64_t generation, size_t from);
  // Forgets what was learnt (the text's owner replaced it), keeping the storage.
  void forget() { valid_ = false; }

 private:
  bool valid_ = false;
  uint64_t generation_ = 0;
  std::string pattern_;
  std::vector<uint32_t> at_;  // every occurrence starting before scanned_, in order
  size_t scanned_ = 0;
  bool exhausted_ = false;
};

// Texts below this size are searched directly: crossing them is cheap enough.
inline constexpr size_t kIndexedSearchMinimum = 64 * 1024;

}  // namespace vexqom
