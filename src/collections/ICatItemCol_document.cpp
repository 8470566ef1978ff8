// The item document: the whole selection as one "Items" element.
#include "collections/collection_xml.h"
#include "collections/members.h"
#include "frame/diagnostics.h"
#include "frame/document_observer.h"
#include "frame/procedure.h"
#include "vexqom/ICatItemCol.h"
#include "xml/clsXML.h"

namespace vexqom {

Text ICatItemCol::get_XML() {
  return run_procedure(errors_, u"ICatItemCol | Get XML", Trace::No, [&](int& line) {
    line = 1;
    const Collection& members = require_members();
    const auto& state = diag::thread_state();
    const CollectionForm form{u"Items", state.XMLCompress, state.XMLZeroSuppress, &XDocVersion_,
                              true, &Vehicle_};
    // Each item is written into one reused buffer and widened from there.
    std::string item_bytes;
    item_bytes.reserve(ICatItem::kXmlRoom);
    const auto write_item = [&item_bytes](const Variant& member, Text& out) {
      item_bytes.clear();
      member_record<ICatItem>(member).write_xml(item_bytes);
      append_member_xml(out, item_bytes);
    };
    Text xml;
    append_collection(xml, form, members, write_item, line);
    return observed_document("item-document", std::move(xml));
  });
}

void ICatItemCol::put_XML(const Text& xsXML) {
  run_procedure(errors_, u"ICatItemCol | Let XML", Trace::No, [&](int& line) {
    line = 1;
    Clear(false);  // the version stays until the document gives its own
    line = 2;
    if (xsXML.empty()) return;
    line = 3;
    auto engine = create<clsXML>();
    engine->put_XML(xsXML);
    line = 4;
    const int16_t count = read_member_count(*engine);
    line = 5;
    XDocVersion_ = engine->get_Value(u"XDocVersion", 1);
    if (count > 0) members_->reserve(static_cast<size_t>(count));
    // "Count" is trusted: exactly that many "Item" elements are read, by position.
    for (int32_t i = 1; i <= count; ++i) {
      line = 6;
      auto item = create<ICatItem>();
      line = 7;
      item->put_XML_bytes(engine->get_Block_bytes(u"Item", static_cast<int16_t>(i)));
      line = 8;
      // A second item under a key already loaded is dropped.
      tolerate_duplicate_key([&] { Add(item, item->UniqueKey()); });
    }
    line = 9;
    if (!Vehicle_) throw Error(errc::kObjectNotSet);
    Vehicle_->put_XML(engine->get_Block(u"Vehicle", 1));
  });
}

}  // namespace vexqom
