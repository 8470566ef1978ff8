// Feeds arbitrary text to a collection's XML let and writes the result back.
// Input layout: one selector byte, then the text (one UTF-16 unit per byte).
//   selector bits 0-1: 0 item, 1 price, 2 preset, 3 list collection
//   selector bit 2:    write with every element shown (the SHOWXML switch)
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/diagnostics.h"
#include "records/record_form.h"
#include "xml/entities.h"
#include "vexqom/ICatItemCol.h"
#include "vexqom/ICatListCol.h"
#include "vexqom/ICatPresetCol.h"
#include "vexqom/ICatPriceCol.h"

namespace {

using vexqom::Text;

Text units(std::string_view bytes) {
  Text out;
  out.reserve(bytes.size());
  for (unsigned char c : bytes) out.push_back(c == 0xFF ? char16_t{0xD800} : char16_t{c});
  return out;
}

bool init() {
  ::mkdir("/tmp/vexqom-fuzz", 0700);
  vexqom::diag::set_library_file_override("/tmp/vexqom-fuzz/libvexqom_PLUMEK2.so");
  return true;
}

// Whether a text field of the record holds markup: such a value is written as it is, and
// may read back as other elements.
template <class Record>
bool holds_markup(Record& record) {
  bool found = false;
  for (const vexqom::Field<Record>& field : vexqom::XmlForm<Record>::form().fields) {
    std::visit(
        [&](auto member) {
          using T = std::remove_cvref_t<decltype(record.*member)>;
          if constexpr (std::is_same_v<T, Text>) {
            found = found || vexqom::is_markup(record.*member);
          } else if constexpr (std::is_same_v<T, vexqom::Variant>) {
            found = found || ((record.*member).is_text() && vexqom::is_markup((record.*member).text()));
          }
        },
        field.member);
  }
  return found;
}

template <class Col>
bool members_hold_markup(Col& col) {
  for (int32_t i = 1; i <= col.get_Count(); ++i) {
    vexqom::Variant position(i);
    auto member = col.get_Item(position);
    if (!member) continue;
    if (holds_markup(*member)) return true;
    if constexpr (std::is_same_v<Col, vexqom::ICatItemCol>) {
      if (members_hold_markup(*member->get_PriceCol())) return true;
    }
  }
  if constexpr (!std::is_same_v<Col, vexqom::ICatPriceCol>) {
    if (col.get_Vehicle() && holds_markup(*col.get_Vehicle())) return true;
  }
  return false;
}

template <class Col>
void round_trip(Col& col, const Text& text) {
  try {
    col.put_XML(text);
  } catch (const vexqom::Error&) {
    // A failed load keeps what was read so far; writing it must still work or fail cleanly.
  }
  try {
    // What the collection writes, it reads back to the same document, unless a value is
    // markup (written as it is, it reads back as other elements).
    const bool markup = members_hold_markup(col);
    const Text written = col.get_XML();
    col.put_XML(written);
    if (col.get_XML() != written && !markup) __builtin_trap();
  } catch (const vexqom::Error&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool ready = init();
  (void)ready;
  if (size == 0) return 0;
  const uint8_t selector = data[0];
  const Text text = units(std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1));

  auto items = vexqom::create<vexqom::ICatItemCol>();  // also turns the writer switches on
  items->Summarize((selector & 4) != 0 ? u"SHOWXML" : u"HIDEXML");
  switch (selector & 3) {
    case 0:
      round_trip(*items, text);
      try {
        items->Summarize(u"");
        (void)items->GetDescriptions();
        (void)items->ItemsSelectedCost();
      } catch (const vexqom::Error&) {
      }
      break;
    case 1:
      round_trip(*vexqom::create<vexqom::ICatPriceCol>(), text);
      break;
    case 2:
      round_trip(*vexqom::create<vexqom::ICatPresetCol>(), text);
      break;
    default:
      round_trip(*vexqom::create<vexqom::ICatListCol>(), text);
      break;
  }
  return 0;
}
