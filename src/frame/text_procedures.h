// Text procedures of the standard module (basLIBstd).
#pragma once

#include <cstdint>

#include "vexqom/text.h"
#include "vexqom/variant.h"

namespace vexqom {

// The value's text in a field of |width| characters: negative widths right-align.
Text str_Fill(const Variant& value, int16_t width, const Text& fill);
// Removes chars (whole: the substring, repeatedly; else each character) from text.
Text str_CharEliminate(const Text& text, const Text& chars, bool whole);
// Wraps a text in quotes for use as an XML attribute value.
Text str_Quoted(const Text& text);
// Every occurrence of what replaced by with, left to right, continuing after each one.
Text replace_all(const Text& text, TextView what, TextView with);

}  // namespace vexqom
