// The ASCII runs at the start of a text, copied between UTF-16 and bytes eight or sixteen
// units at a time: the common case of every code page conversion, and of tag names.
#pragma once

#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vexqom {

#if defined(__SSE2__)
// Loads the eight units at src; whether all of them are ASCII.
inline bool load_eight_ascii(const char16_t* src, __m128i& units) {
  const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
  units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
  return _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(units, high), _mm_setzero_si128())) ==
         0xFFFF;
}
#endif

// The length of the ASCII run at the start of src (at most n).
inline std::size_t ascii_run_length(const char16_t* src, std::size_t n) {
  std::size_t i = 0;
#if defined(__SSE2__)
  __m128i units;
  while (i + 8 <= n && load_eight_ascii(src + i, units)) i += 8;
#endif
  while (i < n && src[i] < 0x80) ++i;
  return i;
}

// The length of the ASCII run at the start of src (at most n), copied narrowed to dst.
inline std::size_t narrow_ascii_run(const char16_t* src, std::size_t n, char* dst) {
  std::size_t i = 0;
#if defined(__SSE2__)
  __m128i units;
  for (; i + 8 <= n && load_eight_ascii(src + i, units); i += 8) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(units, units));
  }
#endif
  for (; i < n && src[i] < 0x80; ++i) dst[i] = static_cast<char>(src[i]);
  return i;
}

// The length of the ASCII run at the start of src (at most n), copied widened to dst.
inline std::size_t widen_ascii_run(const char* src, std::size_t n, char16_t* dst) {
  std::size_t i = 0;
#if defined(__SSE2__)
  for (; i + 16 <= n; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    if (_mm_movemask_epi8(bytes) != 0) break;  // a byte with its high bit set
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i + 8), _mm_unpackhi_epi8(bytes, zero));
  }
#endif
  for (; i < n && static_cast<unsigned char>(src[i]) < 0x80; ++i) dst[i] = src[i];
  return i;
}

}  // namespace vexqom
