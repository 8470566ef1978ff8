#include "xml/tag_filter.h"

#include <algorithm>
#include <cstring>

#include "xml/angle_brackets.h"

namespace vexqom {

void TagFilter::note_tag(std::string_view text, size_t open, size_t close) {
  const size_t length = close - open - 1;
  if (length == 0) return;  // "<>": never asked (may_hold does not filter it)
  const auto first = static_cast<unsigned char>(text[open + 1]);
  lengths_[first & 63] |= uint64_t{1} << (length & 63);
}

void TagFilter::build(std::string_view text, uint64_t generation) {
  std::fill(std::begin(lengths_), std::end(lengths_), 0);
  // Every "<" waiting for its ">": the next ">" closes all of them.
  size_t waiting[64];
  size_t waiting_count = 0;
  bool overflowed = false;
  auto visit = [&](size_t at) {
    if (text[at] == '<') {
      if (waiting_count < 64) {
        waiting[waiting_count++] = at;
      } else {
        overflowed = true;
      }
      return;
    }
    for (size_t i = 0; i < waiting_count; ++i) note_tag(text, waiting[i], at);
    waiting_count = 0;
  };
  for_each_angle_bracket(text, visit, [&] { return !overflowed; });
  // Sixty-four "<" in a row without a ">" is no record: such a text is not filtered.
  usable_ = !overflowed;
  valid_ = true;
  generation_ = generation;
}

bool TagFilter::may_hold(std::string_view pattern) const {
  if (!usable_ || pattern.size() < 3 || pattern.front() != '<' || pattern.back() != '>') return true;
  const std::string_view name = pattern.substr(1, pattern.size() - 2);
  const auto first = static_cast<unsigned char>(name.front());
  if ((lengths_[first & 63] >> (name.size() & 63)) & 1) return true;
  // Ruled out, unless the name holds a ">" (then the text's tags say nothing about it).
  return std::memchr(name.data(), '>', name.size()) != nullptr;
}

}  // namespace vexqom
