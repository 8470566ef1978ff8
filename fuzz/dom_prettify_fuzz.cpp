// Arbitrary bytes through the DOM parser, Prettify and XMLcompress: a failure must be a
// raised vexqom::Error, never a crash, hang or leak.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/code_page.h"
#include "frame/diagnostics.h"
#include "xml/clsXML.h"
#include "xml/dom_document.h"

namespace {

void point_logs_away() {
  static const bool once = [] {
    vexqom::diag::set_library_file_override("/tmp/vexqom-fuzz/libvexqom_PLUMEK2.so");
    return true;
  }();
  (void)once;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  point_logs_away();
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  // A leading byte below 4 picks the settings (bit 0: Formatted, bit 1: read the rest as
  // code-page bytes rather than UTF-8); any other input is UTF-8 text, not formatted.
  uint8_t settings = 0;
  if (!bytes.empty() && data[0] < 4) {
    settings = data[0];
    bytes.remove_prefix(1);
  }
  const bool formatted = (settings & 1) != 0;
  const vexqom::Text text =
      (settings & 2) != 0 ? vexqom::from_code_page(bytes) : vexqom::from_utf8(bytes);
  // Neither decoder makes a lone surrogate, so UTF-8 written from the text reads back as
  // the same units.
  if (vexqom::from_utf8(vexqom::to_utf8(text)) != text) __builtin_trap();
  vexqom::Ref<vexqom::clsXML> x = vexqom::create<vexqom::clsXML>();
  x->put_Formatted(formatted);
  try {
    vexqom::Ref<vexqom::DomDocument> doc = x->DocumentCreate(text);
    if (vexqom::DomNode doctype = doc->doctype()) (void)doctype.xml();
    (void)doc->xml();
  } catch (const vexqom::Error&) {
  }
  try {
    (void)x->Prettify(text);
  } catch (const vexqom::Error&) {
  }
  try {
    (void)x->XMLcompress(text);
  } catch (const vexqom::Error&) {
  }
  // The buffer forms as well: they replace the engine's text.
  try {
    x->put_XML(text);
    (void)x->XMLcompress();
    (void)x->Prettify();
  } catch (const vexqom::Error&) {
  }
  return 0;
}
