#include "xml/block_sequence.h"

#include "xml/byte_search.h"

namespace vexqom {

BlockSequence::BlockSequence(std::string_view text, TextView name) : text_(text) {
  const std::string bytes = to_code_page(name);
  start_tag_ = "<" + bytes + ">";
  end_tag_ = "</" + bytes + ">";
}

size_t BlockSequence::after_end_tags(int16_t count) const {
  size_t scanned = 0;
  for (int16_t found = 0; found < count; ++found) {
    const size_t at = find_bytes(text_, end_tag_, scanned);
    if (at == std::string_view::npos) return 0;  // too few: start over at the top
    scanned = at + end_tag_.size();
  }
  return scanned;
}

std::string_view BlockSequence::get(int16_t element) {
  if (text_.empty() || start_tag_.size() == 2) return {};
  const bool remembered = element_ == int32_t{element} - 1 && position_ > 0;
  std::string start;
  std::string end;
  size_t from = 0;
  if (remembered) {
    start = start_pattern_;
    end = end_pattern_;
    from = position_ - 1;
  } else {
    start = start_tag_;
    end = end_tag_;
    from = element > 1 ? after_end_tags(static_cast<int16_t>(element - 1)) : 0;
  }
  position_ = 0;
  size_t s = find_bytes(text_, start, from);
  if (s == std::string_view::npos) {
    if (remembered) return {};
    start.back() = ' ';  // a start tag with attributes
    s = find_bytes(text_, start, from);
    if (s == std::string_view::npos) return {};
  }
  size_t e = find_bytes(text_, end, s);
  if (e == std::string_view::npos) {
    if (remembered) return {};
    end = "/>";  // an empty-element tag
    e = find_bytes(text_, end, s);
    if (e == std::string_view::npos) return {};
  }
  const size_t after = e + end.size();
  position_ = after + 1;
  element_ = element;
  start_pattern_ = std::move(start);
  end_pattern_ = std::move(end);
  return trim_byte_blanks(text_.substr(s, after - s));
}

}  // namespace vexqom
