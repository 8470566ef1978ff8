// TagFilter: which tag names a short text cannot hold, learnt in one pass over it.
//
// A record reads some ninety tag names from its text, most of them absent (empty fields
// are not written); each absent name costs a search across the whole text. A pattern
// "<name>" (name without ">") occurs at p exactly when the text has "<" at p and the next
// ">" closes name, so a text none of whose tags has the name's first byte and length
// cannot hold it. The filter keeps, for each first byte, the lengths seen (both modulo
// 64): a name it rules out is certainly absent; any other is searched as before.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vexqom {

class TagFilter {
 public:
  // Learns the tags of text, whose state generation names.
  void build(std::string_view text, uint64_t generation);
  bool built_for(uint64_t generation) const { return valid_ && generation_ == generation; }
  void forget() { valid_ = false; }

  // False when pattern certainly does not occur in the text built from; true when it may
  // (and for every pattern that is not "<" name ">").
  bool may_hold(std::string_view pattern) const;

 private:
  void note_tag(std::string_view text, size_t open, size_t close);

  bool valid_ = false;
  bool usable_ = false;  // false: the text defeated the filter, which then rules out nothing
  uint64_t generation_ = 0;
  uint64_t lengths_[64];  // by first byte modulo 64: bit (length modulo 64) per tag seen
};

}  // namespace vexqom
