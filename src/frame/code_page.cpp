#include "frame/code_page.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

#include "frame/ascii_runs.h"
#include "frame/utf8.h"

namespace vexqom {

namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Windows-1252 both ways, from ICU's converter, as two tables.
struct CodePage {
  std::array<char16_t, 256> decode{};
  std::unique_ptr<unsigned char[]> encode;  // one entry per UTF-16 code unit

  CodePage() : encode(new unsigned char[0x10000]) {
    for (int b = 0; b < 256; ++b) decode[b] = static_cast<char16_t>(b);  // Latin-1 fallback
    UErrorCode status = U_ZERO_ERROR;
    UConverter* conv = ucnv_open("windows-1252", &status);
    if (conv && U_SUCCESS(status)) {
      for (int b = 0; b < 256; ++b) {
        const char byte = static_cast<char>(b);
        UChar unit[4];
        UErrorCode st = U_ZERO_ERROR;
        ucnv_resetToUnicode(conv);
        const int32_t n = ucnv_toUChars(conv, unit, 4, &byte, 1, &st);
        if (U_SUCCESS(st) && n == 1 && unit[0] != kReplacement)
          decode[b] = static_cast<char16_t>(unit[0]);
      }
    }
    if (conv) ucnv_close(conv);

    std::fill(encode.get(), encode.get() + 0x10000, static_cast<unsigned char>('?'));
    // Highest byte first, so a unit reached from two bytes encodes to the lower one.
    for (int b = 255; b >= 0; --b) encode[decode[b]] = static_cast<unsigned char>(b);
  }
};

const CodePage& windows_1252() {
  static const CodePage table;
  return table;
}

bool utf8_requested() {
  const char* setting = std::getenv("VEXQOM_CODE_PAGE");
  if (setting == nullptr) return false;
  const Text name = fold_case(from_utf8(setting));
  return name == u"utf-8" || name == u"utf8";
}

}  // namespace

bool code_page_is_utf8() {
  static const bool utf8 = utf8_requested();
  return utf8;
}

std::size_t code_page_size(TextView text) {
  return code_page_is_utf8() ? utf8_size(text) : text.size();
}

char* encode_code_page(TextView text, char* out) {
  if (code_page_is_utf8()) return write_utf8(text, out);
  const unsigned char* encode = nullptr;
  std::size_t i = 0;
  while (i < text.size()) {
    // Runs of ASCII, the common case, go eight units at a time.
    i += narrow_ascii_run(text.data() + i, text.size() - i, out + i);
    if (i == text.size()) break;
    if (!encode) encode = windows_1252().encode.get();
    out[i] = static_cast<char>(encode[text[i]]);
    ++i;
  }
  return out + text.size();
}

void append_code_page(std::string& out, TextView text) {
  const std::size_t start = out.size();
  out.resize(start + code_page_size(text));
  encode_code_page(text, out.data() + start);
}

std::string to_code_page(TextView text) {
  std::string out;
  append_code_page(out, text);
  return out;
}

void append_from_code_page(Text& out, std::string_view bytes) {
  if (code_page_is_utf8()) {
    out += from_utf8(bytes);
    return;
  }
  const std::size_t start = out.size();
  out.resize(start + bytes.size());
  char16_t* dst = out.data() + start;
  const char16_t* decode = nullptr;
  std::size_t i = 0;
  while (i < bytes.size()) {
    i += widen_ascii_run(bytes.data() + i, bytes.size() - i, dst + i);
    if (i == bytes.size()) break;
    if (!decode) decode = windows_1252().decode.data();
    dst[i] = decode[static_cast<unsigned char>(bytes[i])];
    ++i;
  }
}

Text from_code_page(std::string_view bytes) {
  Text out;
  append_from_code_page(out, bytes);
  return out;
}

}  // namespace vexqom
