// One element as the engine writes it, in code-page bytes: "<name>value</name>", the value
// escaped unless it is markup. The engine's Add and the snippet writer share it, so both
// write the very same bytes.
#pragma once

#include <cstddef>

#include "vexqom/text.h"

namespace vexqom {

// The entity of one of the five special characters; null for any other.
const char* entity_for(char c);

// Whether Add leaves a value out: empty under Compress, a zero number under ZeroSuppress.
bool value_left_out(TextView value, bool compress, bool zero_suppress);

// Markup (a value starting with "<" and ending with ">") is written as it is.
bool is_markup(TextView value);

struct ElementBytes {
  TextView name;
  TextView value;
  bool escaped = true;     // the value's special characters as entities
  bool start_only = false;  // a group's start tag (and value): no end tag

  size_t size() const;
  // Writes size() bytes at out (size() asked first); returns the end.
  char* write(char* out) const;

  mutable size_t entity_bytes = 0;  // what escaping adds, counted by size()
};

}  // namespace vexqom
