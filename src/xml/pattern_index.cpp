#include "xml/pattern_index.h"

#include <algorithm>

#include "xml/byte_search.h"

namespace vexqom {

size_t PatternIndex::find(std::string_view text, std::string_view pattern, uint64_t generation,
                          size_t from) {
  constexpr size_t npos = std::string_view::npos;
  if (pattern.empty() || from > text.size()) return find_bytes(text, pattern, from);
  if (!valid_ || generation_ != generation || pattern_ != pattern) {
    valid_ = true;
    generation_ = generation;
    pattern_.assign(pattern);
    at_.clear();
    scanned_ = 0;
    exhausted_ = false;
  }
  auto known = std::lower_bound(at_.begin(), at_.end(), from);
  if (known != at_.end()) return *known;
  // Nothing learnt at or after from: search on, keeping every occurrence passed, so that
  // the learnt list never has gaps.
  while (!exhausted_) {
    const size_t found = find_bytes(text, pattern, scanned_);
    if (found == npos) {
      exhausted_ = true;
      break;
    }
    at_.push_back(static_cast<uint32_t>(found));
    scanned_ = found + 1;  // occurrences may overlap, as for find_bytes
    if (found >= from) return found;
  }
  return npos;
}

}  // namespace vexqom
