// BlockSequence: the blocks of one name that a fresh engine holding a text returns to
// get_Block(name, 1), get_Block(name, 2), ... asked in turn, read without an engine.
//
// The engine remembers where its last block ended and which tags it matched; the next
// element continues from there with those tags and no fallbacks, while any other element
// starts over after its element - 1 end tags, trying "<name>" then "<name " and
// "</name>" then "/>". This keeps the same memory, so every answer is the engine's.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vexqom/text.h"

namespace vexqom {

class BlockSequence {
 public:
  // text must stay in place while this is used.
  BlockSequence(std::string_view text, TextView name);

  // get_Block(name, element) after this sequence's earlier calls, as a view into text.
  std::string_view get(int16_t element);

 private:
  size_t after_end_tags(int16_t count) const;  // just after that many end tags, else 0

  std::string_view text_;
  std::string start_tag_;  // "<name>"
  std::string end_tag_;    // "</name>"
  // What the engine remembers of its last block: where it ended (0: nothing to go on),
  // which element it was and the tags that matched.
  size_t position_ = 0;
  int32_t element_ = 0;
  std::string start_pattern_;
  std::string end_pattern_;
};

}  // namespace vexqom
