#include "xml/search_cache.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "xml/byte_search.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vexqom {

namespace {

constexpr size_t npos = std::string_view::npos;

// Texts below this size are searched directly: crossing them is cheap enough.
constexpr size_t kLearnedSearchMinimum = 64 * 1024;
// A reader going through the elements in order finds the next one within this distance;
// only beyond it are a pattern's occurrences learnt.
constexpr size_t kNearbySearch = 4096;

// The positions of "<" and ">" in a text, in order, sixteen bytes tested at a time; the
// walk stops between them as soon as go_on() says so.
template <class Visit, class GoOn>
void for_each_angle_bracket(std::string_view text, Visit&& visit, GoOn&& go_on) {
  const char* s = text.data();
  size_t i = 0;
#if defined(__SSE2__)
  const __m128i opening = _mm_set1_epi8('<');
  const __m128i closing = _mm_set1_epi8('>');
  for (; i + 16 <= text.size() && go_on(); i += 16) {
    const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    auto mask = static_cast<unsigned>(_mm_movemask_epi8(
        _mm_or_si128(_mm_cmpeq_epi8(chunk, opening), _mm_cmpeq_epi8(chunk, closing))));
    for (; mask != 0; mask &= mask - 1) visit(i + static_cast<size_t>(__builtin_ctz(mask)));
  }
#endif
  for (; i < text.size() && go_on(); ++i) {
    if (s[i] == '<' || s[i] == '>') visit(i);
  }
}

bool is_valid_name(TextView name) {
  if (name.empty() || name.front() == u'/') return false;
  return std::all_of(name.begin(), name.end(),
                     [](char16_t c) { return c > 0 && c < 0x80 && c != u'<' && c != u'>'; });
}

}  // namespace

// ---------------------------------------------------------------------------
// ElementNames

size_t ElementNames::slot_of(std::string_view name) {
  const auto byte = [&](size_t i) { return static_cast<size_t>(static_cast<unsigned char>(name[i])); };
  return (name.size() * 37 + byte(0) * 7 + byte(name.size() / 2) * 3 + byte(name.size() - 1) * 13) %
         kSlots;
}

size_t ElementNames::index_of(std::string_view name) const {
  if (name.empty() || name.size() > longest_) return npos;
  for (size_t slot = slot_of(name);; slot = (slot + 1) % kSlots) {
    const uint8_t entry = slots_[slot];
    if (entry == 0) return npos;
    if (name_bytes_[entry - 1] == name) return entry - 1;
  }
}

size_t ElementNames::index_of(TextView name) const {
  const auto found = std::find(names_.begin(), names_.end(), name);
  return found == names_.end() ? npos : static_cast<size_t>(found - names_.begin());
}

ElementNames::ElementNames(const std::vector<TextView>& names) {
  if (names.size() > kMaxNames) throw std::invalid_argument("ElementNames: too many names");
  for (TextView name : names) {
    if (!is_valid_name(name)) throw std::invalid_argument("ElementNames: unusable name");
    if (index_of(name) != npos) throw std::invalid_argument("ElementNames: duplicate name");
    names_.push_back(name);
    name_bytes_.emplace_back(name.begin(), name.end());
    end_tags_.push_back("</" + name_bytes_.back() + ">");
    longest_ = std::max(longest_, name.size());
    first_bytes_by_length_[name.size() % 64] |= uint64_t{1} << (name.front() % 64);
    size_t slot = slot_of(name_bytes_.back());
    while (slots_[slot] != 0) slot = (slot + 1) % kSlots;
    slots_[slot] = static_cast<uint8_t>(names_.size());
  }
}

// ---------------------------------------------------------------------------
// Occurrences of one pattern

void SearchCache::Occurrences::learn(std::string_view, uint64_t text_generation,
                                     std::string_view wanted) {
  if (valid && generation == text_generation && pattern == wanted) return;
  valid = true;
  generation = text_generation;
  pattern.assign(wanted);
  at.clear();
  after.clear();
  scanned = 0;
  exhausted = false;
}

bool SearchCache::Occurrences::learn_next(std::string_view text) {
  if (exhausted) return false;
  const size_t found = find_bytes(text, pattern, scanned);
  if (found == npos) {
    exhausted = true;
    return false;
  }
  at.push_back(static_cast<uint32_t>(found));
  scanned = found + 1;  // occurrences may overlap, as for find_bytes
  if (after.empty() || found >= after.back()) {
    after.push_back(static_cast<uint32_t>(found + pattern.size()));
  }
  return true;
}

size_t SearchCache::find(Purpose purpose, std::string_view text, uint64_t generation,
                         std::string_view pattern, size_t from) {
  if (text.size() < kLearnedSearchMinimum || pattern.empty() || from > text.size()) {
    return find_bytes(text, pattern, from);
  }
  const size_t near_end = std::min(text.size(), from + kNearbySearch + pattern.size());
  const size_t near = find_bytes(text.substr(0, near_end), pattern, from);
  if (near != npos) return near;
  Occurrences& o = occurrences(purpose);
  o.learn(text, generation, pattern);
  const auto known = std::lower_bound(o.at.begin(), o.at.end(), from);
  if (known != o.at.end()) return *known;
  while (o.learn_next(text)) {
    if (o.at.back() >= from) return o.at.back();
  }
  return npos;
}

size_t SearchCache::after_occurrences(Purpose purpose, std::string_view text,
                                      uint64_t generation, std::string_view end_tag,
                                      size_t count) {
  if (count == 0) return 0;
  Occurrences& o = occurrences(purpose);
  o.learn(text, generation, end_tag);
  while (o.after.size() < count && o.learn_next(text)) {
  }
  return o.after.size() < count ? 0 : o.after[count - 1];
}

SearchCache::Occurrences& SearchCache::occurrences(Purpose purpose) {
  if (!occurrences_) occurrences_ = std::make_unique<std::array<Occurrences, kPurposes>>();
  return (*occurrences_)[purpose];
}

void SearchCache::forget() {
  if (occurrences_) {
    for (Occurrences& o : *occurrences_) o.valid = false;
  }
  first_tags_of_ = nullptr;
}

// ---------------------------------------------------------------------------
// First start tags of a name set
//
// A pattern "<name>" (a name without "<" or ">") occurs at p exactly when the text has
// "<" at p and the next "<" or ">" after it is a ">" closing name. So walking the angle
// brackets once finds the first start tag of every name of the set.

void SearchCache::learn_first_tags(const ElementNames& names, std::string_view text,
                                   uint64_t generation) {
  first_tags_of_ = &names;
  first_tags_generation_ = generation;
  first_tags_text_ = text;
  std::fill_n(first_tags_.begin(), names.size(), FirstTag{FirstTag::kAbsent, FirstTag::kAbsent});
  const char* const s = text.data();
  const size_t n = text.size();
  size_t unfound = names.size();
  size_t open = npos;
  size_t awaiting_end = ElementNames::npos;  // the name whose start tag came last
  auto visit = [&](size_t at) {
    if (s[at] == '<') {
      // The first "<" after a value's start tag: its end tag, when the value is plain.
      if (awaiting_end != ElementNames::npos) {
        if (text.substr(at).starts_with(names.end_tag(awaiting_end))) {
          first_tags_[awaiting_end].end = static_cast<uint32_t>(at);
        }
        awaiting_end = ElementNames::npos;
      }
      open = at + 1 < n && s[at + 1] != '/' ? at : npos;  // end tags open no name
      return;
    }
    if (open == npos) return;
    const size_t length = at - open - 1;
    if (length > 0 && names.may_hold(s + open + 1, length)) {
      const size_t index = names.index_of(text.substr(open + 1, length));
      if (index != ElementNames::npos && first_tags_[index].start == FirstTag::kAbsent) {
        first_tags_[index].start = static_cast<uint32_t>(open);
        awaiting_end = index;
        --unfound;
      }
    }
    open = npos;
  };
  for_each_angle_bracket(text, visit, [&] { return unfound > 0; });
}

}  // namespace vexqom
