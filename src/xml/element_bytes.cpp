#include "xml/element_bytes.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "vexqom/variant.h"

namespace vexqom {

namespace {

constexpr const char* entity_of(char c) {
  switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '\'': return "&apos;";
    case '"': return "&quot;";
    default: return nullptr;
  }
}

// The bytes escaping adds to a value: each special character becomes its entity. The
// code page maps no other character to these five bytes, so they are found in the Text.
size_t escaped_extra(TextView value) {
  static constexpr auto kExtra = [] {
    std::array<uint8_t, 0x80> extra{};
    for (char c : {'&', '<', '>', '\'', '"'}) {
      const size_t entity = std::string_view(entity_of(c)).size();
      extra[static_cast<size_t>(c)] = static_cast<uint8_t>(entity - 1);
    }
    return extra;
  }();
  size_t extra = 0;
  for (char16_t c : value) extra += c < 0x80 ? kExtra[c] : 0;
  return extra;
}

// Writes text in the code page; returns the end. Short ASCII texts (names, most values)
// are narrowed here, without the general conversion's call.
char* put_code_page(TextView text, char* out) {
  if (text.size() <= 16) {
    size_t i = 0;
    for (; i < text.size() && text[i] < 0x80; ++i) out[i] = static_cast<char>(text[i]);
    if (i == text.size()) return out + i;
  }
  encode_code_page(text, out);
  return out + text.size();
}

// Writes value in the code page with its special characters as entities; returns the end.
char* encode_escaped(TextView value, char* out) {
  size_t run = 0;  // start of the characters not written yet
  for (size_t i = 0; i < value.size(); ++i) {
    const char16_t c = value[i];
    const char* entity = c < 0x80 ? entity_of(static_cast<char>(c)) : nullptr;
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

const char* entity_for(char c) { return entity_of(c); }

bool value_left_out(TextView value, bool compress, bool zero_suppress) {
  if (!compress) return false;
  return value.empty() || (zero_suppress && is_zero_number_text(value));
}

bool is_markup(TextView value) {
  return !value.empty() && value.front() == u'<' && value.back() == u'>';
}

size_t ElementBytes::size() const {
  entity_bytes = escaped ? escaped_extra(value) : 0;
  const size_t value_size = value.size() + entity_bytes;
  return name.size() + 2 + value_size + (start_only ? 0 : name.size() + 3);
}

char* ElementBytes::write(char* out) const {
  *out++ = '<';
  const char* name_bytes = out;
  out = put_code_page(name, out);
  *out++ = '>';
  out = entity_bytes > 0 ? encode_escaped(value, out) : put_code_page(value, out);
  if (!start_only) {
    *out++ = '<';
    *out++ = '/';
    std::memcpy(out, name_bytes, name.size());  // the name's bytes once more
    out += name.size();
    *out++ = '>';
  }
  return out;
}

}  // namespace vexqom
