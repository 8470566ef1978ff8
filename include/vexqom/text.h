// Text: the library's string type (UTF-16 code units) and its conversions.
#pragma once

#include "vexqom/api.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vexqom {

// Lengths, positions and widths of Text count UTF-16 code units.
using Text = std::u16string;
using TextView = std::u16string_view;

// UTF-8 <-> Text. Ill-formed input becomes U+FFFD; never throws on bad bytes.
VEXQOM_API Text from_utf8(std::string_view utf8);
VEXQOM_API std::string to_utf8(TextView text);

// Full Unicode case mapping (root locale), through ICU.
VEXQOM_API Text upper_case(TextView text);
VEXQOM_API Text lower_case(TextView text);
// Unicode case folding, the form used for caseless keys.
VEXQOM_API Text fold_case(TextView text);
// True when the two texts are equal without regard to letter case.
VEXQOM_API bool equals_caseless(TextView a, TextView b);

// Single-byte code page of the XML engine and the logs (Windows-1252).
// Encoding: one byte per code unit; units the code page cannot hold become '?'.
VEXQOM_API std::string to_code_page(TextView text);
VEXQOM_API void append_code_page(std::string& out, TextView text);
// Writes text's n code units as n code-page bytes to out (room for n bytes).
VEXQOM_API void encode_code_page(TextView text, char* out);
// Decoding: one code unit per byte.
VEXQOM_API Text from_code_page(std::string_view bytes);
// Writes the n bytes' n code units to out (room for n units).
VEXQOM_API void decode_code_page(std::string_view bytes, char16_t* out);

// Trims U+0020 blanks only (the blanks the system trims).
VEXQOM_API TextView trim_blanks(TextView text);
VEXQOM_API TextView trim_left_blanks(TextView text);
VEXQOM_API TextView trim_right_blanks(TextView text);

// Text from an ASCII/UTF-8 literal, for readability at call sites.
inline Text T(std::string_view utf8) { return from_utf8(utf8); }

}  // namespace vexqom
