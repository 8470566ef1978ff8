// FirstValues: the values a record reads from its text, found in one pass.
//
// A record loads by asking its engine for the first element of each of its names,
// get_Value(name, 1): a search of the text per name, most of them for elements that are
// not there (empty fields are not written). The names are fixed per record, so the text
// can be walked once instead: a pattern "<name>" (a name without "<" or ">") occurs at p
// exactly when the text has "<" at p and the next "<" or ">" after it is a ">" closing
// name. Each value then reads as get_Value would: from just after its first start tag to
// the first end tag after that, trimmed and unescaped, with the same trace line and
// failure handling.
//
//   static const ElementNames kNames{u"Location", u"Cost"};
//   const FirstValues values(*engine, kNames);
//   Location_ = values.get(u"Location");
//
// A record that needs nothing else of an engine reads its code-page bytes directly:
// FirstValues(bytes, kNames) behaves as a fresh engine loaded with them would.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "vexqom/error.h"
#include "vexqom/text.h"

namespace vexqom {

class clsXML;

// A fixed set of element names: ASCII, not empty, without "<", ">" or a leading "/".
class ElementNames {
 public:
  static constexpr size_t kMaxNames = 64;
  static constexpr size_t npos = static_cast<size_t>(-1);

  // Names outside the rules above, duplicates or more than kMaxNames are a programming
  // error: std::invalid_argument.
  ElementNames(std::initializer_list<TextView> names);
  explicit ElementNames(const std::vector<TextView>& names);

  size_t size() const { return names_.size(); }
  size_t longest() const { return longest_; }
  TextView name(size_t index) const { return names_[index]; }
  std::string_view end_tag(size_t index) const { return end_tags_[index]; }
  // False when no name of the set has this length and first byte: most tags of a text are
  // ruled out by this before any lookup.
  bool may_hold(const char* name, size_t length) const {
    return (first_bytes_by_length_[length % 64] >> (static_cast<unsigned char>(*name) % 64)) & 1;
  }
  // The index of a name given as the text's bytes or as Text; npos when not in the set.
  size_t index_of(std::string_view name) const;
  size_t index_of(TextView name) const;

 private:
  static constexpr size_t kSlots = 128;  // at most half full
  template <class Unit>
  static size_t slot_of(const Unit* name, size_t length);
  template <class Unit>
  size_t lookup(const Unit* name, size_t length) const;
  template <class Names>
  void add_all(const Names& names);

  std::vector<Text> names_;            // ASCII: each character is its code-page byte
  std::vector<std::string> name_bytes_;  // the same names as bytes
  std::vector<std::string> end_tags_;  // "</name>" as bytes
  std::array<uint8_t, kSlots> slots_{};  // index + 1 of the name in each slot; 0: empty
  std::array<uint64_t, 64> first_bytes_by_length_{};  // bit first byte % 64, by length % 64
  size_t longest_ = 0;
};

class FirstValues {
 public:
  // Walks the engine's text once. The engine must keep that text while this is used.
  FirstValues(clsXML& engine, const ElementNames& names);
  // Walks code-page bytes that stay in place while this is used.
  FirstValues(std::string_view text, const ElementNames& names);

  // engine.get_Value(name, 1): the same value, trace line and failure. A name outside
  // the set is asked of the engine (without one: std::invalid_argument, a programming
  // error).
  Text get(TextView name) const;
  template <size_t N>
  Text get(const char16_t (&name)[N]) const {
    return get(TextView(name, N - 1));
  }

 private:
  static constexpr uint32_t kAbsent = UINT32_MAX;
  void find_start_tags();
  void note_start_tag(size_t open, size_t close);
  // Records ask for their names in the set's order: the next one is tried first.
  size_t index_of(TextView name) const;
  Text value_of(size_t index, int& line) const;

  clsXML* engine_;  // null when reading bytes alone
  // This thread's tracing switch, looked at on every read (a reader stays on its thread).
  const bool& tracing_;
  mutable ErrorState own_errors_;  // the failures of reads without an engine
  const ElementNames& names_;
  std::string_view text_;
  size_t unfound_;
  mutable size_t expected_ = 0;  // the index after the one asked for last
  std::array<uint32_t, ElementNames::kMaxNames> starts_;  // of each name's first "<name>"
  // Where the value's end tag starts, when the walk saw it as the very next tag (the
  // usual case; kAbsent: to be searched for).
  std::array<uint32_t, ElementNames::kMaxNames> ends_;
  size_t awaiting_end_ = ElementNames::npos;  // the name whose start tag came last
};

}  // namespace vexqom
