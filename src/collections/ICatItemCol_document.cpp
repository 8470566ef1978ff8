// The item document: the whole selection as one "Items" element.
#include "collections/collection_form.h"
#include "vexqom/ICatItemCol.h"

namespace vexqom {

// Written as Text, each item widened from one reused buffer: the document is never held
// twice. A second item under a key already loaded is dropped.
template <>
const CollectionForm<ICatItemCol, ICatItem>& XmlForm<ICatItemCol>::form() {
  using C = ICatItemCol;
  static const CollectionForm<C, ICatItem> f{
      {.root = u"Items", .member = u"Item", .write_label = u"ICatItemCol | Get XML",
       .read_label = u"ICatItemCol | Let XML", .observed_as = "item-document",
       .key_statement = false},
      [](C& c) -> Collection& { return c.require_members(); },
      [](C& c) { return &c.Vehicle_; },
      [](C& c) { return &c.XDocVersion_; },
      [](C& c, int&) { c.Clear(false); },  // the version stays until the document gives its own
      [](ICatItem& item) { return item.UniqueKey(); },
      [](C& c, const Ref<ICatItem>& item, const Text& key) { c.Add(item, key); }};
  return f;
}

Text ICatItemCol::get_XML() {
  Text xml;
  XmlForm<ICatItemCol>::write(*this, xml);
  return xml;
}

void ICatItemCol::put_XML(const Text& xsXML) {
  // A CountChanged sink may let the host's last reference go while the items load.
  const Ref<ICatItemCol> keep_alive(this);
  XmlForm<ICatItemCol>::read(*this, xsXML);
}

}  // namespace vexqom
