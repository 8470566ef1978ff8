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
      unsigned mask = static_cast<unsigned>(
          _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(c1, b1), _mm_cmpeq_epi8(c2, b2))));
      while (mask != 0) {
        const size_t at = i + static_cast<size_t>(__builtin_ctz(mask));
        if (at + m <= n && memcmp(s + at, pattern.data(), m) == 0) return at;
        mask &= mask - 1;
      }
    }
    if (i > n - m) return npos;
  }
#endif
  // The tail after the wide loop is short: a plain search costs less than memmem's set-up.
  if (n - i < 64) return text.find(pattern, i);
  const void* hit = memmem(s + i, n - i, pattern.data(), m);
  return hit == nullptr ? npos : static_cast<size_t>(static_cast<const char*>(hit) - s);
}

}  // namespace vexqom
