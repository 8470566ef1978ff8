// SearchCache: what a tag reader learns about the text it reads, so that no question costs
// a pass over the text more than once.
//
// - A document whose "Count" claims more elements than it holds sends the readers past
//   the last element again and again, and to count end tags from the top again and again.
//   Each pattern's occurrences are learnt as far as the questions so far needed: every
//   stretch of text is searched once, every later question is a binary search or a lookup.
// - A record asks for the first element of each of its names, most of them absent (empty
//   fields are not written). The first start tag of every name of such a set is found in
//   one walk over the text instead of one search per name.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vexqom/text.h"

namespace vexqom {

// A fixed set of element names: ASCII, not empty, without "<", ">" or a leading "/". The
// names are not copied: they must outlive the set (a record's are literals).
class ElementNames {
 public:
  static constexpr size_t kMaxNames = 64;
  static constexpr size_t npos = static_cast<size_t>(-1);

  // Names outside the rules above, duplicates or more than kMaxNames are a programming
  // error: std::invalid_argument.
  explicit ElementNames(const std::vector<TextView>& names);
  ElementNames(std::initializer_list<TextView> names)
      : ElementNames(std::vector<TextView>(names)) {}

  size_t size() const { return names_.size(); }
  TextView name(size_t index) const { return names_[index]; }
  std::string_view name_bytes(size_t index) const { return name_bytes_[index]; }
  std::string_view end_tag(size_t index) const { return end_tags_[index]; }
  size_t index_of(TextView name) const;           // a scan: for the rare name asked by Text
  size_t index_of(std::string_view name) const;   // hashed: for every tag of a text
  // False when no name of the set has this length and first byte: most tags of a text are
  // ruled out by this before any lookup.
  bool may_hold(const char* name, size_t length) const {
    return (first_bytes_by_length_[length % 64] >> (static_cast<unsigned char>(*name) % 64)) & 1;
  }

 private:
  // Open addressing over a small table: a lookup is a hash and usually one comparison.
  static constexpr size_t kSlots = 2 * kMaxNames;
  static size_t slot_of(std::string_view name);

  std::vector<TextView> names_;
  std::vector<std::string> name_bytes_;
  std::vector<std::string> end_tags_;
  size_t longest_ = 0;
  std::array<uint64_t, 64> first_bytes_by_length_{};
  std::array<uint8_t, kSlots> slots_{};  // 1 + index of the name; 0 for an empty slot
};

class SearchCache {
 public:
  // What a reader searches for; each keeps its own learnt positions, so that reads of
  // values, blocks and edits do not push each other's out.
  enum Purpose { kValueStart, kValueEnd, kBlockStart, kBlockEnd, kValueSkip, kBlockSkip,
                 kEditSkip, kPurposes };

  // The first occurrence of pattern at or after from, as find_bytes answers. generation
  // names the text's state: a new one forgets what was learnt.
  size_t find(Purpose purpose, std::string_view text, uint64_t generation,
              std::string_view pattern, size_t from);
  // Just after the count-th of the non-overlapping occurrences of end_tag from the top;
  // 0 when the text holds fewer.
  size_t after_occurrences(Purpose purpose, std::string_view text, uint64_t generation,
                           std::string_view end_tag, size_t count);

  // Where the first "<name>" of each name of the set starts, and where its end tag starts
  // when it was the very next tag; learnt in one walk over text for that set.
  struct FirstTag {
    static constexpr uint32_t kAbsent = UINT32_MAX;
    uint32_t start;
    uint32_t end;
  };
  const FirstTag& first_tag(const ElementNames& names, std::string_view text,
                            uint64_t generation, size_t index) {
    if (first_tags_of_ != &names || first_tags_generation_ != generation ||
        first_tags_text_.data() != text.data() || first_tags_text_.size() != text.size()) {
      learn_first_tags(names, text, generation);
    }
    return first_tags_[index];
  }

  // The text was replaced by another whose generations start afresh.
  void forget();

 private:
  // Every occurrence of one pattern, learnt in order as far as asked.
  struct Occurrences {
    bool valid = false;
    uint64_t generation = 0;
    std::string pattern;
    std::vector<uint32_t> at;     // every occurrence starting before scanned, in order
    std::vector<uint32_t> after;  // just after the 1st, 2nd... non-overlapping ones
    size_t scanned = 0;
    bool exhausted = false;
    void learn(std::string_view text, uint64_t generation, std::string_view pattern);
    bool learn_next(std::string_view text);  // false at the end of the text
  };
  // Made on first need: most readers read a short text in order and never learn any.
  std::unique_ptr<std::array<Occurrences, kPurposes>> occurrences_;
  Occurrences& occurrences(Purpose purpose);

  const ElementNames* first_tags_of_ = nullptr;
  uint64_t first_tags_generation_ = 0;
  std::string_view first_tags_text_;
  std::array<FirstTag, ElementNames::kMaxNames> first_tags_;
  void learn_first_tags(const ElementNames& names, std::string_view text, uint64_t generation);
};

}  // namespace vexqom
