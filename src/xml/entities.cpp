#include "xml/entities.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

namespace vexqom {

size_t escaped_extra(TextView value) {
  static constexpr auto kExtra = [] {
    std::array<uint8_t, 0x80> extra{};
    for (char16_t c : {u'&', u'<', u'>', u'\'', u'"'}) {
      extra[c] = static_cast<uint8_t>(std::string_view(entity_of(c)).size() - 1);
    }
    return extra;
  }();
  size_t extra = 0;
  for (char16_t c : value) extra += c < 0x80 ? kExtra[c] : 0;
  return extra;
}

Text escape_value(const Text& text) {
  if (is_markup(text)) return text;
  const size_t first = text.find_first_of(u"&<>'\"");
  if (first == Text::npos) return text;
  Text out(text, 0, first);
  out.reserve(text.size() + escaped_extra(text));
  for (size_t i = first; i < text.size(); ++i) {
    const char* entity = entity_of(text[i]);
    if (entity == nullptr) {
      out += text[i];
      continue;
    }
    for (const char* p = entity; *p; ++p) out += static_cast<char16_t>(*p);
  }
  return out;
}

Text replace_entities(const Text& text) {
  size_t amp = text.find(u'&');
  if (amp == Text::npos) return text;
  // The five replaced one after the other, ampersands last ("&amp;lt;" gives "&lt;"), in
  // one pass: references cannot overlap, and a replacement never forms or breaks another
  // one, so each is replaced where the text holds it and nothing more.
  static constexpr std::pair<TextView, char16_t> kReferences[] = {
      {u"&lt;", u'<'}, {u"&gt;", u'>'}, {u"&apos;", u'\''}, {u"&quot;", u'"'}, {u"&amp;", u'&'}};
  const TextView in = text;
  Text out;
  out.reserve(in.size());
  size_t from = 0;
  while (amp != TextView::npos) {
    out.append(in.substr(from, amp - from));
    from = amp + 1;
    char16_t replaced = u'&';
    for (const auto& [reference, character] : kReferences) {
      if (in.substr(amp, reference.size()) == reference) {
        replaced = character;
        from = amp + reference.size();
        break;
      }
    }
    out += replaced;
    amp = in.find(u'&', from);
  }
  out.append(in.substr(from));
  return out;
}

}  // namespace vexqom
