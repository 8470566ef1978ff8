#include "frame/code_page.h"
#include "xml/tag_reader.h"

#include <cstdint>

#include "frame/ascii_runs.h"
#include "frame/procedure.h"
#include "vexqom/error.h"
#include "xml/byte_search.h"
#include "xml/entities.h"

namespace vexqom {

namespace {

constexpr size_t npos = std::string_view::npos;

}  // namespace

Text value_text(std::string_view between_tags) {
  const std::string_view bytes = trim_byte_blanks(between_tags);
  Text value = from_code_page(bytes);
  if (bytes.find('&') == npos || is_markup(value)) return value;
  return replace_entities(value);
}

std::string_view reader_bytes(const Text& xml, std::string& storage) {
  if (xml.size() > static_cast<size_t>(INT32_MAX)) throw Error(errc::kOverflow);
  storage = to_code_page(xml);
  return storage;
}

std::string_view reader_bytes(std::string_view xml, std::string&) {
  if (xml.size() > static_cast<size_t>(INT32_MAX)) throw Error(errc::kOverflow);
  return xml;
}

// The engine's label, its length counted once.
constexpr TextView kGetValue = u"clsXML | Get Value";

Text read_first_value(TagReader& reader, TextView name) {
  ErrorState errors;
  return run_procedure(errors, kGetValue, Trace::Yes, [&](int& line) {
    line = 1;
    return reader.value(name, 1);
  });
}

Text read_first_value(TagReader& reader, size_t index) {
  ErrorState errors;
  return run_procedure(errors, kGetValue, Trace::Yes, [&](int& line) {
    line = 1;
    return reader.first_value(index);
  });
}

void TagReader::Tags::set(TextView name) {
  // Tag names are short and ASCII: narrowed here without the general conversion's call.
  start.resize(name.size() + 2);
  start[0] = '<';
  const size_t ascii = narrow_ascii_run(name.data(), name.size(), start.data() + 1);
  if (ascii < name.size()) {
    start.resize(ascii + 1);
    append_code_page(start, name.substr(ascii));
    start += '>';
  } else {
    start.back() = '>';
  }
  end.assign("</");
  end.append(start, 1, npos);
}

void TagReader::forget_positions() {
  value_memory_.position = 0;
  value_memory_.element = 0;
  block_memory_.position = 0;
  block_memory_.element = 0;
}

size_t TagReader::skip_end_tags(SearchCache::Purpose purpose, std::string_view end_tag,
                                int16_t element) {
  if (element <= 1) return 0;
  return cache_.after_occurrences(purpose, text_, generation_, end_tag,
                                  static_cast<size_t>(element) - 1);
}

Text TagReader::value(TextView name, int16_t element) {
  if (text_.empty() || name.empty()) return Text();
  const size_t expected = element <= 1 ? expected_index(name) : ElementNames::npos;
  if (expected != ElementNames::npos) return first_value(expected, element);
  return searched_value(name, element);
}

Text TagReader::first_value(size_t index, int16_t element) {
  if (text_.empty()) return Text();
  Memory& memory = value_memory_;
  if (memory.position > 0 && memory.element == int32_t{element} - 1 &&
      same_tag(memory, expected_->name_bytes(index))) {
    return searched_value(expected_->name(index), element);  // continues after element 0
  }
  // The first element of an expected name: from the one walk over the text.
  memory.position = 0;
  const SearchCache::FirstTag& first = cache_.first_tag(*expected_, text_, generation_, index);
  if (first.start == SearchCache::FirstTag::kAbsent) return Text();
  const std::string_view end_tag = expected_->end_tag(index);
  const size_t begin = first.start + end_tag.size() - 1;
  const size_t end =
      first.end != SearchCache::FirstTag::kAbsent ? first.end : find_bytes(text_, end_tag, begin);
  if (end == npos) return Text();
  remember(memory, end + end_tag.size(), element, index);
  return value_text(text_.substr(begin, end - begin));
}

Text TagReader::searched_value(TextView name, int16_t element) {
  Memory& memory = value_memory_;
  value_tags_.set(name);
  const bool remembered = memory.position > 0 && memory.element == int32_t{element} - 1 &&
                          same_tag(memory, value_tags_.name());
  const size_t from = remembered ? memory.position - 1
                                 : skip_end_tags(SearchCache::kValueSkip, value_tags_.end, element);
  memory.position = 0;
  const size_t start = search(SearchCache::kValueStart, value_tags_.start, from);
  if (start == npos) return Text();
  const size_t begin = start + value_tags_.start.size();
  const size_t end = search(SearchCache::kValueEnd, value_tags_.end, begin);
  if (end == npos) return Text();
  remember(memory, end + value_tags_.end.size(), element, ElementNames::npos);
  memory.tag.assign(value_tags_.name());
  return value_text(text_.substr(begin, end - begin));
}

bool TagReader::same_tag(const Memory& memory, std::string_view tag) const {
  return memory.expected != ElementNames::npos ? expected_->name_bytes(memory.expected) == tag
                                               : memory.tag == tag;
}

void TagReader::remember(Memory& memory, size_t after, int16_t element, size_t expected) {
  memory.position = after + 1;
  memory.element = element;
  memory.expected = expected;
}

size_t TagReader::expected_index(TextView name) {
  if (expected_ == nullptr) return ElementNames::npos;
  size_t index = next_expected_;
  if (index >= expected_->size() ||
      (expected_->name(index).data() != name.data() && expected_->name(index) != name)) {
    index = expected_->index_of(name);
    if (index == ElementNames::npos) return index;
  }
  next_expected_ = index + 1;
  return index;
}

std::string_view TagReader::block(TextView name, int16_t element) {
  started_over_ = false;
  if (text_.empty() || name.empty()) return {};
  Memory& memory = block_memory_;
  block_tags_.set(name);
  const bool remembered = memory.position > 0 && memory.element == int32_t{element} - 1 &&
                          same_tag(memory, block_tags_.name());
  std::string start_pattern;
  std::string end_pattern;
  size_t from = 0;
  if (remembered) {
    start_pattern = memory.start_pattern;
    end_pattern = memory.end_pattern;
    from = memory.position - 1;
  } else {
    start_pattern = block_tags_.start;
    end_pattern = block_tags_.end;
    from = skip_end_tags(SearchCache::kBlockSkip, end_pattern, element);
  }
  started_over_ = !remembered && element > 1 && from == 0;
  memory.position = 0;
  size_t s = search(SearchCache::kBlockStart, start_pattern, from);
  if (s == npos) {
    // The fallbacks are tried only when starting afresh.
    if (remembered) return {};
    start_pattern.back() = ' ';  // a start tag with attributes
    s = find_bytes(text_, start_pattern, from);
    if (s == npos) return {};
  }
  size_t e = search(SearchCache::kBlockEnd, end_pattern, s);
  if (e == npos) {
    if (remembered) return {};
    end_pattern = "/>";  // an empty-element tag
    e = find_bytes(text_, end_pattern, s);
    if (e == npos) return {};
  }
  const size_t after = e + end_pattern.size();
  remember(memory, after, element, ElementNames::npos);
  memory.tag.assign(block_tags_.name());
  memory.start_pattern = std::move(start_pattern);
  memory.end_pattern = std::move(end_pattern);
  return trim_byte_blanks(text_.substr(s, after - s));
}

std::optional<TagReader::Span> TagReader::element(std::string_view name_bytes,
                                                  int16_t element) {
  std::string start_tag = "<";
  start_tag.append(name_bytes).append(">");
  std::string end_tag = "</";
  end_tag.append(name_bytes).append(">");
  const size_t from = skip_end_tags(SearchCache::kEditSkip, end_tag, element);
  const size_t s = find_bytes(text_, start_tag, from);
  if (s == npos) return std::nullopt;
  const size_t e = find_bytes(text_, end_tag, s);
  if (e == npos) return std::nullopt;
  return Span{s, s + start_tag.size(), e, e + end_tag.size()};
}

}  // namespace vexqom
