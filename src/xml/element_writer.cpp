#include "xml/element_writer.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "frame/code_page.h"
#include "vexqom/variant.h"
#include "xml/entities.h"

namespace vexqom {

namespace {

// Writes text in the code page; returns the end. Short ASCII texts (names, most values)
// are narrowed here, without the general conversion's call.
char* put_code_page(TextView text, char* out) {
  if (text.size() <= 16) {
    size_t i = 0;
    for (; i < text.size() && text[i] < 0x80; ++i) out[i] = static_cast<char>(text[i]);
    if (i == text.size()) return out + i;
  }
  return encode_code_page(text, out);
}

// The bytes put_code_page writes; short ASCII texts count their units.
size_t code_page_bytes(TextView text) {
  if (text.size() <= 16 && std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; })) {
    return text.size();
  }
  return code_page_size(text);
}

// Writes value in the code page with its special characters as entities; returns the end.
char* put_escaped(TextView value, char* out) {
  size_t run = 0;  // start of the characters not written yet
  for (size_t i = 0; i < value.size(); ++i) {
    const char* entity = entity_of(value[i]);
    if (entity == nullptr) continue;
    out = put_code_page(value.substr(run, i - run), out);
    const size_t n = std::strlen(entity);
    std::memcpy(out, entity, n);
    out += n;
    run = i + 1;
  }
  return put_code_page(value.substr(run), out);
}

}  // namespace

size_t Element::size() const {
  const size_t name_bytes = code_page_bytes(name);
  if (part == kEnd) return name_bytes + 3;
  entity_bytes_ = escaped ? escaped_extra(value) : 0;
  return name_bytes + 2 + code_page_bytes(value) + entity_bytes_ +
         (part == kStart ? 0 : name_bytes + 3);
}

char* Element::write(char* out) const {
  if (part != kEnd) {
    *out++ = '<';
    out = put_code_page(name, out);
    *out++ = '>';
    out = entity_bytes_ > 0 ? put_escaped(value, out) : put_code_page(value, out);
    if (part == kStart) return out;
  }
  *out++ = '<';
  *out++ = '/';
  out = put_code_page(name, out);
  *out++ = '>';
  return out;
}

void Element::append_to(std::string& out) const {
  const size_t at = out.size();
  out.resize(at + size());
  write(out.data() + at);
}

bool value_left_out(TextView value, bool compress, bool zero_suppress) {
  if (!compress) return false;
  return value.empty() || (zero_suppress && is_zero_number_text(value));
}

void ElementWriter::open(TextView name) {
  if (name.empty()) return;
  if (depth_ == kDepth) throw std::length_error("ElementWriter: groups nested too deep");
  groups_[depth_++] = name;
  Element{name, TextView(), false, Element::kStart}.append_to(out_);
}

void ElementWriter::add(TextView name, TextView value) {
  if (name.empty() || value_left_out(value, compress_, zero_suppress_)) return;
  Element{name, value, !is_markup(value)}.append_to(out_);
}

void ElementWriter::add(TextView name, Currency amount) {
  if (zero_suppress_ && amount == Currency()) return;
  add(name, TextView(amount.to_text()));
}

void ElementWriter::close() {
  if (depth_ == 0) return;
  Element{groups_[--depth_], TextView(), false, Element::kEnd}.append_to(out_);
}

void ElementWriter::end() {
  while (depth_ > 0) close();
}

}  // namespace vexqom
