// Substring search over the engine's single-byte text.
//
// std::string_view::find stops at every occurrence of the pattern's first byte; for tag
// patterns that byte is '<', which starts every tag, so a search pays one comparison per
// element it passes. Here sixteen candidate positions are tested at once on two inner
// bytes of the pattern (the name's first and last letters for "<Name>"), and only the
// rare positions where both match are compared in full.
#pragma once

#include <string.h>

#include <cstddef>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vexqom {

namespace byte_search_detail {

// Of the candidates i + b for the set bits b of mask, the first where the whole pattern
// lies; npos when none.
inline size_t first_full_match(const char* s, size_t n, std::string_view pattern, size_t i,
                               unsigned mask) {
  for (; mask != 0; mask &= mask - 1) {
    const size_t at = i + static_cast<size_t>(__builtin_ctz(mask));
    if (at + pattern.size() <= n && memcmp(s + at, pattern.data(), pattern.size()) == 0) {
      return at;
    }
  }
  return std::string_view::npos;
}

}  // namespace byte_search_detail

// Position of the first occurrence of pattern at or after from; npos when none. An empty
// pattern is found at from (when from lies inside the text), as std::string_view::find.
inline size_t find_bytes(std::string_view text, std::string_view pattern, size_t from = 0) {
  constexpr size_t npos = std::string_view::npos;
  const size_t n = text.size();
  const size_t m = pattern.size();
  if (from > n) return npos;
  if (m == 0) return from;
  if (m > n - from) return npos;
  const char* s = text.data();
  size_t i = from;
#if defined(__SSE2__)
  if (m >= 4) {
    const size_t k1 = 1;
    const size_t k2 = m - 2;
    const __m128i b1 = _mm_set1_epi8(pattern[k1]);
    const __m128i b2 = _mm_set1_epi8(pattern[k2]);
    // Candidates i .. i+15; the loads reach s + i + k2 + 15, which stays inside the text.
    for (; i + k2 + 16 <= n; i += 16) {
      const __m128i c1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + k1));
      const __m128i c2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + k2));
      const auto mask = static_cast<unsigned>(
          _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(c1, b1), _mm_cmpeq_epi8(c2, b2))));
      const size_t at = byte_search_detail::first_full_match(s, n, pattern, i, mask);
      if (at != npos) return at;
    }
    if (i > n - m) return npos;
  }
#endif
  // The tail after the wide loop is short: a plain search costs less than memmem's set-up.
  if (n - i < 64) return text.find(pattern, i);
  const void* hit = memmem(s + i, n - i, pattern.data(), m);
  return hit == nullptr ? npos : static_cast<size_t>(static_cast<const char*>(hit) - s);
}

// A text without the blanks around it (blanks only: the engine's readers trim no other
// white space).
inline std::string_view trim_byte_blanks(std::string_view s) {
  size_t b = 0;
  size_t e = s.size();
  while (b < e && s[b] == ' ') ++b;
  while (e > b && s[e - 1] == ' ') --e;
  return s.substr(b, e - b);
}

}  // namespace vexqom
