// Text conversions: UTF-8, case mapping through ICU, the single-byte code page.
#include "vexqom/text.h"

#include <unicode/stringoptions.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#include <unicode/utypes.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <string_view>

#include "frame/ascii_runs.h"
#include "frame/memory.h"
#include "frame/utf8.h"

namespace vexqom {

namespace {

constexpr char16_t kReplacement = 0xFFFD;

bool is_ascii(TextView text) {
  for (char16_t c : text)
    if (c >= 0x80) return false;
  return true;
}

// The ICU case functions share one signature apart from the locale / options argument;
// this runs one of them with a buffer that grows when ICU asks for more room.
template <class Call>
Text icu_map(TextView text, Call call) {
  Text out(text.size() + text.size() / 2 + 8, u'\0');
  for (int attempt = 0; attempt < 2; ++attempt) {
    UErrorCode status = U_ZERO_ERROR;
    const int32_t n = call(reinterpret_cast<UChar*>(out.data()),
                           static_cast<int32_t>(out.size()),
                           reinterpret_cast<const UChar*>(text.data()),
                           static_cast<int32_t>(text.size()), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
      out.assign(static_cast<std::size_t>(n), u'\0');
      continue;
    }
    if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    if (U_FAILURE(status)) return Text(text);  // cannot happen for well-formed calls
    out.resize(static_cast<std::size_t>(n));
    return out;
  }
  return Text(text);
}

char16_t ascii_upper(char16_t c) { return (c >= u'a' && c <= u'z') ? c - 32 : c; }
char16_t ascii_lower(char16_t c) { return (c >= u'A' && c <= u'Z') ? c + 32 : c; }

}  // namespace

namespace {

// Decodes the sequence that starts with a non-ASCII byte at p[i] into dst; returns the
// index after it and the units written. Each maximal ill-formed subpart becomes one
// U+FFFD.
std::size_t decode_utf8_sequence(const unsigned char* p, std::size_t n, std::size_t i,
                                 char16_t* dst, std::size_t& written) {
  const unsigned char b0 = p[i];
  int need;
  char32_t cp;
  unsigned char lo = 0x80, hi = 0xBF;  // bounds of the second byte
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    need = 1;
    cp = b0 & 0x1F;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    need = 2;
    cp = b0 & 0x0F;
    if (b0 == 0xE0) lo = 0xA0;        // no overlong forms
    else if (b0 == 0xED) hi = 0x9F;   // no surrogates
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    need = 3;
    cp = b0 & 0x07;
    if (b0 == 0xF0) lo = 0x90;        // no overlong forms
    else if (b0 == 0xF4) hi = 0x8F;   // nothing above U+10FFFF
  } else {
    dst[0] = kReplacement;
    written = 1;
    return i + 1;
  }
  std::size_t j = i + 1;
  for (int k = 0; k < need; ++k, ++j) {
    const unsigned char lo_k = k == 0 ? lo : 0x80;
    const unsigned char hi_k = k == 0 ? hi : 0xBF;
    if (j >= n || p[j] < lo_k || p[j] > hi_k) {
      dst[0] = kReplacement;  // resume at the byte that broke the sequence
      written = 1;
      return j;
    }
    cp = (cp << 6) | (p[j] & 0x3F);
  }
  if (cp >= 0x10000) {
    cp -= 0x10000;
    dst[0] = static_cast<char16_t>(0xD800 + (cp >> 10));
    dst[1] = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
    written = 2;
  } else {
    dst[0] = static_cast<char16_t>(cp);
    written = 1;
  }
  return j;
}

bool is_high_surrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool is_low_surrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// The code point starting at text[i] (a lone surrogate reads as U+FFFD) and its units.
char32_t code_point_at(TextView text, std::size_t i, std::size_t& units) {
  const char16_t c = text[i];
  units = 1;
  if (is_high_surrogate(c) && i + 1 < text.size() && is_low_surrogate(text[i + 1])) {
    units = 2;
    return 0x10000 + ((char32_t(c) - 0xD800) << 10) + (text[i + 1] - 0xDC00);
  }
  if (c >= 0xD800 && c <= 0xDFFF) return kReplacement;
  return c;
}

std::size_t utf8_bytes_of(char32_t cp) {
  return cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
}

char* put_utf8(char32_t cp, char* out) {
  if (cp < 0x80) {
    *out++ = static_cast<char>(cp);
  } else if (cp < 0x800) {
    *out++ = static_cast<char>(0xC0 | (cp >> 6));
    *out++ = static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    *out++ = static_cast<char>(0xE0 | (cp >> 12));
    *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    *out++ = static_cast<char>(0xF0 | (cp >> 18));
    *out++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (cp & 0x3F));
  }
  return out;
}

}  // namespace

Text from_utf8(std::string_view utf8) {
  // Never more units than bytes: the text is sized once and cut to what was written.
  Text out;
  memory::reserve(out, utf8.size());
  out.resize(utf8.size());
  const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
  const std::size_t n = utf8.size();
  std::size_t i = 0;
  std::size_t w = 0;
  while (i < n) {
    const std::size_t run = widen_ascii_run(utf8.data() + i, n - i, out.data() + w);
    i += run;
    w += run;
    if (i == n) break;
    std::size_t written = 0;
    i = decode_utf8_sequence(p, n, i, out.data() + w, written);
    w += written;
  }
  out.resize(w);
  return out;
}

bool is_well_formed_utf8(std::string_view utf8) {
  const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
  const std::size_t n = utf8.size();
  std::size_t i = 0;
  while (i < n) {
    if (p[i] < 0x80) {
      ++i;
      continue;
    }
    // A sequence decodes to U+FFFD only when ill-formed, or when it is U+FFFD itself.
    char16_t unit[2];
    std::size_t written = 0;
    const std::size_t next = decode_utf8_sequence(p, n, i, unit, written);
    if (written == 1 && unit[0] == kReplacement &&
        !(next - i == 3 && p[i] == 0xEF && p[i + 1] == 0xBF && p[i + 2] == 0xBD)) {
      return false;
    }
    i = next;
  }
  return true;
}

std::size_t utf8_size(TextView text) {
  std::size_t bytes = 0;
  std::size_t i = 0;
  while (i < text.size()) {
    const std::size_t run = ascii_run_length(text.data() + i, text.size() - i);
    i += run;
    bytes += run;
    if (i == text.size()) break;
    std::size_t units = 0;
    bytes += utf8_bytes_of(code_point_at(text, i, units));
    i += units;
  }
  return bytes;
}

char* write_utf8(TextView text, char* out) {
  std::size_t i = 0;
  while (i < text.size()) {
    const std::size_t run = narrow_ascii_run(text.data() + i, text.size() - i, out);
    i += run;
    out += run;
    if (i == text.size()) break;
    std::size_t units = 0;
    out = put_utf8(code_point_at(text, i, units), out);
    i += units;
  }
  return out;
}

std::string to_utf8(TextView text) {
  std::string out;
  const std::size_t size = utf8_size(text);
  memory::reserve(out, size);
  out.resize(size);
  write_utf8(text, out.data());
  return out;
}

namespace {

// A case mapping: ASCII text unit by unit, anything else through ICU.
template <class Ascii, class Icu>
Text case_mapped(TextView text, Ascii ascii, Icu icu) {
  if (!is_ascii(text)) return icu_map(text, icu);
  Text out(text);
  for (char16_t& c : out) c = ascii(c);
  return out;
}

}  // namespace

Text upper_case(TextView text) {
  return case_mapped(text, ascii_upper,
                     [](UChar* d, int32_t dn, const UChar* s, int32_t sn, UErrorCode* st) {
                       return u_strToUpper(d, dn, s, sn, "", st);
                     });
}

Text lower_case(TextView text) {
  return case_mapped(text, ascii_lower,
                     [](UChar* d, int32_t dn, const UChar* s, int32_t sn, UErrorCode* st) {
                       return u_strToLower(d, dn, s, sn, "", st);
                     });
}

Text fold_case(TextView text) {
  return case_mapped(text, ascii_lower,
                     [](UChar* d, int32_t dn, const UChar* s, int32_t sn, UErrorCode* st) {
                       return u_strFoldCase(d, dn, s, sn, U_FOLD_CASE_DEFAULT, st);
                     });
}

bool equals_caseless(TextView a, TextView b) {
  if (is_ascii(a) && is_ascii(b)) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
      if (ascii_lower(a[i]) != ascii_lower(b[i])) return false;
    return true;
  }
  // Full folding may change lengths (ß -> ss), so compare the folded forms.
  UErrorCode status = U_ZERO_ERROR;
  const int32_t r = u_strCaseCompare(reinterpret_cast<const UChar*>(a.data()),
                                     static_cast<int32_t>(a.size()),
                                     reinterpret_cast<const UChar*>(b.data()),
                                     static_cast<int32_t>(b.size()), U_FOLD_CASE_DEFAULT,
                                     &status);
  if (U_SUCCESS(status)) return r == 0;
  return fold_case(a) == fold_case(b);
}

TextView trim_left_blanks(TextView text) {
  std::size_t i = 0;
  while (i < text.size() && text[i] == u' ') ++i;
  return text.substr(i);
}

TextView trim_right_blanks(TextView text) {
  std::size_t n = text.size();
  while (n > 0 && text[n - 1] == u' ') --n;
  return text.substr(0, n);
}

TextView trim_blanks(TextView text) { return trim_right_blanks(trim_left_blanks(text)); }

}  // namespace vexqom
