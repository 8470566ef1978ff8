// The five XML entities the engine writes and reads, and the one test for values that are
// markup already (written and read as they are, never escaped or unescaped).
#pragma once

#include <cstddef>

#include "vexqom/text.h"

namespace vexqom {

// A value starting with "<" and ending with ">".
inline bool is_markup(TextView value) {
  return !value.empty() && value.front() == u'<' && value.back() == u'>';
}

// The entity of one of the five special characters; null for any other.
constexpr const char* entity_of(char16_t c) {
  switch (c) {
    case u'&': return "&amp;";
    case u'<': return "&lt;";
    case u'>': return "&gt;";
    case u'\'': return "&apos;";
    case u'"': return "&quot;";
    default: return nullptr;
  }
}

// What escaping adds to the length of a value.
size_t escaped_extra(TextView value);
// Every special character as its entity ("&" first); markup stays as it is.
Text escape_value(const Text& text);
// The five entities replaced by their characters, "&amp;" last, so that escaping and
// then replacing gives the text back.
Text replace_entities(const Text& text);

}  // namespace vexqom
