// TagReader: the one reader of XML text by literal tag search. It finds a value, a
// block or a numbered element in code-page bytes exactly as the engine's Value and Block
// get and its editors define it; the engine, every record and every collection read
// through it.
//
// A reader remembers where its last value and its last block ended, so that reading
// element 1, 2, 3 ... of a name in turn costs one forward search each. What it learns to
// keep hostile texts cheap lives in its SearchCache.
//
//   TagReader reader(bytes);
//   Text count = reader.value(u"Count", 1);
//   for (int16_t i = 1; i <= n; ++i) load(reader.block(u"Item", i));
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "vexqom/text.h"
#include "xml/search_cache.h"

namespace vexqom {

class TagReader {
 public:
  TagReader() = default;
  // text must stay in place, unchanged, while it is read.
  explicit TagReader(std::string_view text, const ElementNames* expected = nullptr)
      : text_(text), expected_(expected) {}
  TagReader(const TagReader&) = delete;
  TagReader& operator=(const TagReader&) = delete;

  // The text to read from now on, in the state generation names (the engine's buffer
  // grows as it is built). The remembered positions stay: appending keeps them valid.
  void look_at(std::string_view text, uint64_t generation) {
    text_ = text;
    generation_ = generation;
  }
  // The text was replaced or edited: the next numbered reads start from the top.
  void forget_positions();
  // The text was replaced by another whose generations start afresh: nothing learnt of
  // the old one holds.
  void forget_text() {
    forget_positions();
    cache_.forget();
  }

  // The text between the start tag and the end tag of element number `element` (0 and
  // below mean 1), blanks trimmed and entities replaced unless it is markup; empty when
  // absent. When a set of expected names was given, the first element of each is found
  // in one walk over the text.
  Text value(TextView name, int16_t element);
  // The whole element, tags included, blanks trimmed, not unescaped; also found with
  // attributes ("<name ") or as an empty-element tag ("/>"); empty when absent.
  std::string_view block(TextView name, int16_t element);
  // Whether the last block read started again at the top, the text holding fewer
  // elements of its name than the number asked for.
  bool started_over() const { return started_over_; }
  // value(expected.name(index), element) for the reader of a set of expected names;
  // element at most 1.
  Text first_value(size_t index, int16_t element = 1);

  // Where the editors find element number `element`: "<name>" after element - 1 end tags
  // (from the top when there are fewer) up to the first "</name>" after it.
  struct Span {
    size_t start;      // of "<name>"
    size_t value;      // just after "<name>"
    size_t end;        // of "</name>"
    size_t after;      // just after "</name>"
  };
  std::optional<Span> element(std::string_view name_bytes, int16_t element);

 private:
  // Where the last successful read of one kind ended (0: nothing to go on).
  struct Memory {
    size_t position = 0;  // 1-based, just after the end pattern
    int32_t element = 0;
    std::string tag;  // the name in the code page, unless it is an expected one:
    size_t expected = ElementNames::npos;  // then its index in the expected names
    std::string start_pattern;  // blocks only: the patterns that matched
    std::string end_pattern;
  };
  // The start and end tags of one name in the code page, rebuilt in place per read.
  struct Tags {
    std::string start;  // "<name>"
    std::string end;    // "</name>"
    std::string_view name() const { return std::string_view(start).substr(1, start.size() - 2); }
    void set(TextView name);
  };

  size_t search(SearchCache::Purpose purpose, std::string_view pattern, size_t from) {
    return cache_.find(purpose, text_, generation_, pattern, from);
  }
  // Where a numbered search starts: just after element - 1 end tags, or at the top when
  // there are fewer.
  size_t skip_end_tags(SearchCache::Purpose purpose, std::string_view end_tag,
                       int16_t element);

  // Records ask for their names in the set's order: the next one is tried first.
  size_t expected_index(TextView name);
  bool same_tag(const Memory& memory, std::string_view tag) const;
  Text searched_value(TextView name, int16_t element);  // value() without the walk
  static void remember(Memory& memory, size_t after, int16_t element, size_t expected);

  std::string_view text_;
  uint64_t generation_ = 0;
  bool started_over_ = false;
  const ElementNames* expected_ = nullptr;
  size_t next_expected_ = 0;
  Memory value_memory_;
  Memory block_memory_;
  Tags value_tags_;
  Tags block_tags_;
  SearchCache cache_;
};

// reader.value(name, 1) as the engine's Value get reads it, with its trace line and
// handler ("clsXML | Get Value"): records and collections read their values so. The
// second form reads the index-th expected name.
Text read_first_value(TagReader& reader, TextView name);
Text read_first_value(TagReader& reader, size_t index);

// A value's bytes as Text: blanks trimmed, entities replaced unless it is markup.
Text value_text(std::string_view between_tags);

// The bytes a reader reads of a text: those an engine loaded with it would hold, Text in
// the code page (into storage), bytes as they are. Error 6 beyond an engine's size.
std::string_view reader_bytes(const Text& xml, std::string& storage);
std::string_view reader_bytes(std::string_view xml, std::string& storage);

}  // namespace vexqom
