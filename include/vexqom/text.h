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

// Trims U+0020 blanks only (the blanks the system trims).
VEXQOM_API TextView trim_blanks(TextView text);
VEXQOM_API TextView trim_left_blanks(TextView text);
VEXQOM_API TextView trim_right_blanks(TextView text);

// Text from an ASCII/UTF-8 literal, for readability at call sites.
inline Text T(std::string_view utf8) { return from_utf8(utf8); }

}  // namespace vexqom
