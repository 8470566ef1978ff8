#include "vexqom/ICatPriceCol.h"

#include "collections/collection_xml.h"
#include "collections/members.h"
#include "frame/class_info.h"
#include "frame/diagnostics.h"
#include "frame/document_observer.h"
#include "frame/procedure.h"
#include "xml/block_sequence.h"
#include "xml/clsXML.h"
#include "xml/snippet_writer.h"

namespace vexqom {

const ClassInfo& ICatPriceCol::static_class_info() {
  using C = ICatPriceCol;
  static const ClassInfo info =
      ClassBuilder<C>("ICatPriceCol", "_ICatPriceCol", ids::kClsidICatPriceCol,
                      ids::kIid_ICatPriceCol)
          .creatable()
          .property("XML", P(1), {get<&C::get_XML>(), let<&C::put_XML>({"xsXML"})})
          .function("Add", M(2),
                    method<&C::Add>({ParamName("xoPrice").by_ref(),
                                     ParamName("sKey").by_ref().optional(Variant(Text()))}))
          .property("Item", kDispidValue,
                    {get<&C::get_Item>({ParamName("vntIndexKey").by_ref()})})
          .property("Count", P(0), {get<&C::get_Count>()})
          .function("Remove", M(3), method<&C::Remove>({ParamName("vntIndexKey").by_ref()}))
          .property("NewEnum", kDispidNewEnum, {get<&C::get_NewEnum>()}, /*hidden=*/true)
          .function("Clear", M(6),
                    method<&C::Clear>({ParamName("xbDestroyObject").optional(Variant(false))}))
          .build();
  return info;
}

ICatPriceCol::ICatPriceCol() {
  run_procedure(errors_, u"ICatPriceCol | Class_Initialize", Trace::Yes, [&](int& line) {
    line = 1;
    Clear(false);
  });
}

ICatPriceCol::~ICatPriceCol() {
  ignore_errors([&] { Clear(true); });
  errors_ = ErrorState();
}

Collection& ICatPriceCol::require_members() const {
  if (!members_) throw Error(errc::kObjectNotSet);
  return *members_;
}

Text ICatPriceCol::get_XML() {
  return written_text(kCollectionXmlRoom, [&](std::string& xml) { write_xml(xml); });
}

void ICatPriceCol::write_xml(std::string& target) {
  run_procedure(errors_, u"ICatPriceCol | Get XML", Trace::Yes, [&](int& line) {
    line = 1;
    const Collection& members = require_members();
    const diag::ThreadState& switches = diag::thread_state();
    CollectionForm form;
    form.root = u"Prices";
    form.compress = switches.XMLCompress;
    form.zero_suppress = switches.XMLZeroSuppress;
    const auto write_price = [](const Variant& member, std::string& out) {
      member_record_strict<ICatPrice>(member).write_xml(out);
    };
    const size_t from = target.size();
    append_collection(target, form, members, write_price, line);
    observe_bytes_from("price-collection", target, from);
  });
}

void ICatPriceCol::put_XML(const Text& xsXML) { load_xml(xsXML); }

void ICatPriceCol::put_XML_bytes(std::string_view xml) { load_xml(xml); }

void ICatPriceCol::renew() {
  errors_ = ErrorState();
  renew_members();
}

void ICatPriceCol::renew_members() {
  if (members_ && members_->ref_count() == 1 && members_->pristine()) return;
  members_ = create<Collection>();
}

template <class Xml>
void ICatPriceCol::load_xml(const Xml& xsXML) {
  run_procedure(errors_, u"ICatPriceCol | Let XML", Trace::Yes, [&](int& line) {
    line = 1;
    renew_members();
    line = 2;
    if (xsXML.empty()) return;
    line = 3;
    std::string encoded;
    const std::string_view text = engine_bytes(xsXML, encoded);
    line = 4;
    // "Count" is trusted: exactly that many "Price" elements are read by position.
    const int16_t count = read_member_count(text);
    BlockSequence blocks(text, u"Price");
    for (int i = 1; i <= count; ++i) {
      line = 5;
      auto price = create<ICatPrice>();
      line = 6;
      price->put_XML_bytes(blocks.get(static_cast<int16_t>(i)));
      line = 7;
      // At most one supplier price survives: every seller competes for "JOBBER".
      const Text key = price->get_SellerID().empty() ? price->get_Location() : Text(u"JOBBER");
      line = 8;
      tolerate_duplicate_key([&] { Add(price, key); });
    }
  });
}

Ref<ICatPrice> ICatPriceCol::Add(const Ref<ICatPrice>& xoPrice, const Text& sKey) {
  return run_procedure(errors_, u"ICatPriceCol | Add", Trace::Yes, [&](int& line) {
    line = 1;
    require_members().add(Variant(xoPrice), sKey);  // an empty key means none
    line = 2;
    return xoPrice;
  });
}

Ref<ICatPrice> ICatPriceCol::get_Item(const Variant& vntIndexKey) {
  // A miss is not a failure: the price comes into being below. Positions are looked up
  // as the collection's Item does; only a key miss is common enough to avoid raising.
  const Collection& members = require_members();
  if (const Variant* found = members.find(vntIndexKey)) {
    return found->is_object() ? ref_cast<ICatPrice>(found->object()) : Ref<ICatPrice>();
  }
  if (!vntIndexKey.is_text()) {
    try {
      Variant found = members.Item(vntIndexKey);
      return found.is_object() ? ref_cast<ICatPrice>(found.object()) : Ref<ICatPrice>();
    } catch (...) {
    }
  }
  // From here on errors reach the caller directly and unlogged.
  auto price = create<ICatPrice>();
  price->put_Location(to_text(vntIndexKey));
  // The public Add refuses a key that is not Text (13) before anything is added.
  require_members().Add(Variant(price), vntIndexKey);
  return price;
}

int32_t ICatPriceCol::get_Count() const { return require_members().Count(); }

void ICatPriceCol::Remove(const Variant& vntIndexKey) { require_members().Remove(vntIndexKey); }

Ref<Enumerator> ICatPriceCol::get_NewEnum() const { return require_members().NewEnum(); }

void ICatPriceCol::Clear(bool xbDestroyObject) {
  run_procedure(errors_, u"ICatPriceCol | Clear", Trace::Yes, [&](int& line) {
    line = 1;
    // The prices go with the list; they are not cleared one by one.
    members_.reset();
    line = 2;
    if (!xbDestroyObject) members_ = create<Collection>();
  });
}

}  // namespace vexqom
