#include "xml/first_values.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "frame/diagnostics.h"
#include "frame/procedure.h"
#include "xml/angle_brackets.h"
#include "xml/byte_search.h"
#include "xml/clsXML.h"

namespace vexqom {

// ---------------------------------------------------------------------------
// ElementNames

namespace {

bool is_valid_name(TextView name) {
  if (name.empty() || name.front() == u'/') return false;
  return std::all_of(name.begin(), name.end(),
                     [](char16_t c) { return c > 0 && c < 0x80 && c != u'<' && c != u'>'; });
}

// Equality of short texts, four units at a time: names are compared on every read, and a
// library call costs more than the comparison.
bool same_text(TextView a, TextView b) {
  if (a.size() != b.size()) return false;
  if (a.data() == b.data()) return true;
  size_t i = 0;
  for (; i + 4 <= a.size(); i += 4) {
    uint64_t x;
    uint64_t y;
    std::memcpy(&x, a.data() + i, sizeof x);
    std::memcpy(&y, b.data() + i, sizeof y);
    if (x != y) return false;
  }
  for (; i < a.size(); ++i) {
    if (a[i] != b[i]) return false;
  }
  return true;
}

// A name of the set, held as Text and as bytes, against a name asked as either.
bool same_name(TextView name, const Text& text, const std::string&) {
  return same_text(name, text);
}
bool same_name(std::string_view name, const Text&, const std::string& bytes) {
  return name == bytes;
}

}  // namespace

template <class Unit>
size_t ElementNames::slot_of(const Unit* name, size_t length) {
  const auto unit = [&](size_t i) { return static_cast<size_t>(name[i]); };
  return (length * 37 + unit(0) * 7 + unit(length / 2) * 3 + unit(length - 1) * 13) % kSlots;
}

template <class Unit>
size_t ElementNames::lookup(const Unit* name, size_t length) const {
  if (length == 0 || length > longest_) return npos;
  for (size_t slot = slot_of(name, length);; slot = (slot + 1) % kSlots) {
    const uint8_t entry = slots_[slot];
    if (entry == 0) return npos;
    if (same_name(std::basic_string_view<Unit>(name, length), names_[entry - 1],
                  name_bytes_[entry - 1])) {
      return entry - 1;
    }
  }
}

size_t ElementNames::index_of(std::string_view name) const {
  return lookup(name.data(), name.size());
}

size_t ElementNames::index_of(TextView name) const { return lookup(name.data(), name.size()); }

ElementNames::ElementNames(std::initializer_list<TextView> names) { add_all(names); }

ElementNames::ElementNames(const std::vector<TextView>& names) { add_all(names); }

template <class Names>
void ElementNames::add_all(const Names& names) {
  if (names.size() > kMaxNames) throw std::invalid_argument("ElementNames: too many names");
  for (TextView name : names) {
    if (!is_valid_name(name)) throw std::invalid_argument("ElementNames: unusable name");
    if (index_of(name) != npos) throw std::invalid_argument("ElementNames: duplicate name");
    names_.emplace_back(name);
    name_bytes_.emplace_back(name.begin(), name.end());
    end_tags_.push_back("</" + name_bytes_.back() + ">");
    longest_ = std::max(longest_, name.size());
    first_bytes_by_length_[name.size() % 64] |= uint64_t{1} << (name.front() % 64);
    size_t slot = slot_of(name.data(), name.size());
    while (slots_[slot] != 0) slot = (slot + 1) % kSlots;
    slots_[slot] = static_cast<uint8_t>(names_.size());
  }
}

// ---------------------------------------------------------------------------
// FirstValues

FirstValues::FirstValues(clsXML& engine, const ElementNames& names)
    : engine_(&engine),
      tracing_(diag::thread_state().TraceActive),
      names_(names),
      text_(engine.buffer().bytes()),
      unfound_(names.size()) {
  starts_.fill(kAbsent);
  ends_.fill(kAbsent);
  find_start_tags();
}

FirstValues::FirstValues(std::string_view text, const ElementNames& names)
    : engine_(nullptr),
      tracing_(diag::thread_state().TraceActive),
      names_(names),
      text_(text),
      unfound_(names.size()) {
  starts_.fill(kAbsent);
  ends_.fill(kAbsent);
  find_start_tags();
}

void FirstValues::note_start_tag(size_t open, size_t close) {
  const size_t length = close - open - 1;
  if (length == 0 || !names_.may_hold(text_.data() + open + 1, length)) return;
  const size_t index = names_.index_of(text_.substr(open + 1, length));
  if (index == ElementNames::npos || starts_[index] != kAbsent) return;
  starts_[index] = static_cast<uint32_t>(open);
  awaiting_end_ = index;
  --unfound_;
}

// Visits every "<" and ">" in order: a ">" closes the name opened by the last "<" before
// it, unless another ">" came between them. End tags ("</") open no name.
void FirstValues::find_start_tags() {
  const char* const s = text_.data();
  const size_t n = text_.size();
  constexpr size_t kNone = static_cast<size_t>(-1);
  size_t open = kNone;
  auto visit = [&](size_t at) {
    if (s[at] == '<') {
      // The first "<" after a value's start tag: its end tag, when the value is plain.
      if (awaiting_end_ != ElementNames::npos) {
        if (text_.substr(at).starts_with(names_.end_tag(awaiting_end_))) {
          ends_[awaiting_end_] = static_cast<uint32_t>(at);
        }
        awaiting_end_ = ElementNames::npos;
      }
      open = at + 1 < n && s[at + 1] != '/' ? at : kNone;
    } else if (open != kNone) {
      note_start_tag(open, at);
      open = kNone;
    }
  };
  for_each_angle_bracket(text_, visit, [&] { return unfound_ > 0; });
}

size_t FirstValues::index_of(TextView name) const {
  size_t index = expected_;
  if (index >= names_.size() || !same_text(names_.name(index), name)) {
    index = names_.index_of(name);
  }
  expected_ = index + 1;
  return index;
}

Text FirstValues::get(TextView name) const {
  const size_t index = index_of(name);
  if (index == ElementNames::npos) {
    if (engine_ == nullptr) throw std::invalid_argument("FirstValues: a name outside the set");
    return engine_->get_Value(name, 1);
  }
  // Most names of a record are absent. Untraced, such a read writes nothing and cannot
  // fail (while the engine keeps its text): it is answered without the procedure.
  if (starts_[index] == kAbsent && !tracing_ &&
      (engine_ == nullptr || engine_->buffer_)) {
    return Text();
  }
  ErrorState& errors = engine_ ? engine_->errors_ : own_errors_;
  return run_procedure(errors, u"clsXML | Get Value", Trace::Yes,
                       [&](int& line) { return value_of(index, line); });
}

// The steps and line numbers of clsXML::get_Value for the first element.
Text FirstValues::value_of(size_t index, int& line) const {
  line = 1;
  if (engine_) engine_->buffer();  // error 91 once the engine was destroyed
  line = 6;
  if (starts_[index] == kAbsent) return Text();
  const size_t value_begin = starts_[index] + names_.name(index).size() + 2;
  line = 7;
  const size_t value_end = ends_[index] != kAbsent
                               ? ends_[index]
                               : find_bytes(text_, names_.end_tag(index), value_begin);
  if (value_end == std::string_view::npos) return Text();
  line = 9;
  return clsXML::value_text(text_.substr(value_begin, value_end - value_begin));
}

}  // namespace vexqom
