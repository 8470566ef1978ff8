// The positions of "<" and ">" in a text, in order: the walk under every one-pass view of
// a text's tags. Sixteen bytes are tested at a time; the walk stops between them as soon
// as go_on() says so.
#pragma once

#include <cstddef>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vexqom {

template <class Visit, class GoOn>
void for_each_angle_bracket(std::string_view text, Visit&& visit, GoOn&& go_on) {
  const char* s = text.data();
  size_t i = 0;
#if defined(__SSE2__)
  const __m128i opening = _mm_set1_epi8('<');
  const __m128i closing = _mm_set1_epi8('>');
  for (; i + 16 <= text.size() && go_on(); i += 16) {
    const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    auto mask = static_cast<unsigned>(_mm_movemask_epi8(
        _mm_or_si128(_mm_cmpeq_epi8(chunk, opening), _mm_cmpeq_epi8(chunk, closing))));
    for (; mask != 0; mask &= mask - 1) visit(i + static_cast<size_t>(__builtin_ctz(mask)));
  }
#endif
  for (; i < text.size() && go_on(); ++i) {
    if (s[i] == '<' || s[i] == '>') visit(i);
  }
}

}  // namespace vexqom
