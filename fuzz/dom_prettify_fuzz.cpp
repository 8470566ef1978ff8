// Arbitrary bytes through the DOM parser, Prettify and XMLcompress: a failure must be a
// raised vexqom::Error, never a crash, hang or leak. Prettify and the well-formedness
// check read the text as it goes by; they must agree with the whole tree: the check fails
// exactly when DocumentCreate fails, with the same message, and Prettify writes what a
// walk over the tree writes.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

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

// Prettify as a walk over the whole tree: the reference for the streaming writer.
std::string walk(const vexqom::DomNode& element, const std::string& indentation) {
  std::string out = "\r\n" + indentation + "<" + element.name();
  for (const vexqom::DomAttribute& a : element.attributes()) {
    out += " " + a.name + "='" + a.value + "'";
  }
  const std::vector<vexqom::DomNode> children = element.child_nodes();
  if (children.empty()) return out + "/>";
  out += ">";
  bool element_children = false;
  for (const vexqom::DomNode& child : children) {
    if (child.type() == vexqom::DomNode::kElement) {
      out += walk(child, indentation + "  ");
      element_children = true;
    } else if (child.type() == vexqom::DomNode::kText) {
      out += child.text();
    }
  }
  if (element_children) out += "\r\n" + indentation;
  return out + "</" + element.name() + ">";
}

std::string tree_prettify(vexqom::DomDocument& doc, const std::string& source) {
  std::string out;
  if (vexqom::DomNode doctype = doc.doctype()) out = "<?xml version='1.0'?>\r\n" + doctype.xml();
  vexqom::DomNode root = doc.document_element();
  root.normalize();
  out += walk(root, "");
  const size_t p = source.find("?>");
  if (out.find("<?xml version") == std::string::npos &&
      source.find("<?xml version") != std::string::npos && p != std::string::npos) {
    out.insert(0, source.substr(0, p + 2));
  }
  return out;
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
  std::string expected;
  vexqom::Text tree_failure;
  try {
    vexqom::Ref<vexqom::DomDocument> doc = x->DocumentCreate(text);
    (void)doc->xml();
    expected = tree_prettify(*doc, vexqom::to_utf8(text));
  } catch (const vexqom::Error& e) {
    tree_failure = e.description();
  }
  vexqom::Text check_failure;
  try {
    if (x->DocumentStream(text, nullptr)) __builtin_trap();
  } catch (const vexqom::Error& e) {
    check_failure = e.description();
  }
  if (check_failure != tree_failure) __builtin_trap();
  try {
    const vexqom::Text pretty = x->Prettify(text);
    if (!tree_failure.empty() || vexqom::to_utf8(pretty) != expected) __builtin_trap();
  } catch (const vexqom::Error&) {
    if (tree_failure.empty()) __builtin_trap();
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
