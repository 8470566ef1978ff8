// Feeds arbitrary text to the XML text engine and runs every reader and editor on it; a
// reader that finds the first elements of a set of names in one walk must give the
// engine's own values.
// Input layout: the text for XML let, then up to six fields separated by 0x00 bytes:
// tag, attribute, value, block, and two element numbers (their first two bytes).
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/code_page.h"
#include "frame/diagnostics.h"
#include "xml/clsXML.h"
#include "xml/tag_reader.h"

namespace {

vexqom::Text latin1(std::string_view bytes) {
  // One unit per byte keeps every byte value reachable, surrogate halves included
  // when two bytes are paired.
  vexqom::Text out;
  out.reserve(bytes.size());
  for (unsigned char c : bytes) out.push_back(c == 0xFF ? char16_t{0xD800} : char16_t{c});
  return out;
}

int16_t element_of(std::string_view field) {
  if (field.empty()) return 0;
  const auto lo = static_cast<unsigned char>(field[0]);
  const auto hi = field.size() > 1 ? static_cast<unsigned char>(field[1]) : 0;
  return static_cast<int16_t>(static_cast<uint16_t>(lo | (hi << 8)));
}

// A reader expecting a set of names against the engine's get_Value, asked element `first`
// (0 and 1 take the one walk) and then 1: a difference is a bug.
void check_first_values(const vexqom::Text& xml, const vexqom::Text& tag, int16_t first) {
  std::vector<vexqom::TextView> names{u"a", u"b", u"Item", u"Price"};
  const bool usable =
      !tag.empty() && tag.front() != u'/' && tag.find_first_of(u"<>") == vexqom::Text::npos &&
      std::all_of(tag.begin(), tag.end(), [](char16_t c) { return c > 0 && c < 0x80; });
  if (usable && std::find(names.begin(), names.end(), vexqom::TextView(tag)) == names.end()) {
    names.push_back(tag);
  }
  const vexqom::ElementNames set(names);
  const std::string bytes = vexqom::to_code_page(xml);
  vexqom::TagReader reader(bytes, &set);
  for (vexqom::TextView name : names) {
    vexqom::Ref<vexqom::clsXML> fresh = vexqom::create<vexqom::clsXML>();
    fresh->put_XML(xml);
    for (int16_t element : {first, int16_t{1}}) {
      if (reader.value(name, element) != fresh->get_Value(name, element)) __builtin_trap();
    }
  }
}

bool init() {
  ::mkdir("/tmp/vexqom-fuzz", 0700);
  vexqom::diag::set_library_file_override("/tmp/vexqom-fuzz/libvexqom_PLUMEK2.so");
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool ready = init();
  (void)ready;
  std::string_view input(reinterpret_cast<const char*>(data), size);
  std::vector<std::string_view> parts;
  while (parts.size() < 6) {
    const size_t cut = input.find('\0');
    parts.push_back(input.substr(0, cut));
    if (cut == std::string_view::npos) {
      input = {};
      break;
    }
    input.remove_prefix(cut + 1);
  }
  if (!input.empty()) parts.push_back(input);
  while (parts.size() < 7) parts.emplace_back();

  const vexqom::Text xml = latin1(parts[0]);
  const vexqom::Text tag = latin1(parts[1]);
  const vexqom::Text attr = latin1(parts[2]);
  const vexqom::Text value = latin1(parts[3]);
  const vexqom::Text block = latin1(parts[4]);
  const int16_t first = element_of(parts[5]);
  const int16_t second = element_of(parts[6]);

  auto guarded = [](auto&& step) {
    try {
      step();
    } catch (const vexqom::Error&) {
      // Expected for some inputs (overflow of the indentation product and the like).
    }
  };

  guarded([&] { check_first_values(xml, tag, first); });

  vexqom::Ref<vexqom::clsXML> x = vexqom::create<vexqom::clsXML>();
  guarded([&] { x->put_XML(xml); });
  guarded([&] { (void)x->get_Value(tag, first); });
  guarded([&] { (void)x->get_Value(tag, second); });
  guarded([&] { (void)x->get_Block(tag, first); });
  guarded([&] { (void)x->get_Block(tag, second); });
  guarded([&] { (void)x->get_Attrib(tag, attr); });
  guarded([&] { x->put_Attrib(tag, attr, value); });
  guarded([&] { x->put_Value(tag, first, value); });
  guarded([&] { (void)x->get_Value(tag, second); });
  guarded([&] { x->put_Block(tag, second, block); });
  guarded([&] { (void)x->get_Block(tag, first); });
  guarded([&] { (void)x->get_XML(); });

  // The builder with the same pieces, formatted and at a fuzzed level.
  vexqom::Ref<vexqom::clsXML> b = vexqom::create<vexqom::clsXML>();
  guarded([&] {
    b->put_Snippet((first & 1) != 0);
    b->put_Formatted((first & 2) != 0);
    b->put_ZeroSuppress((first & 4) != 0);
    b->put_validate((first & 8) != 0);
    b->put_Prefix(attr);
    b->put_Level(second);
  });
  guarded([&] { b->Add(tag, value, true); });
  guarded([&] { b->Add(attr, value); });
  guarded([&] { b->AddAttrVal(tag, attr, value, (second & 1) != 0); });
  guarded([&] { b->AddXML(block); });
  guarded([&] { b->Comment(value); });
  guarded([&] { b->put_Level(first); });
  guarded([&] { (void)b->get_Value(attr, 1); });
  guarded([&] { (void)b->get_XML(); });
  guarded([&] { x->Clear(true); });
  guarded([&] { (void)x->get_Block(tag, first); });
  return 0;
}
