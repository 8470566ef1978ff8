#include "vexqom/ICatListCol.h"

#include "collections/collection_xml.h"
#include "collections/members.h"
#include "frame/class_info.h"
#include "frame/procedure.h"
#include "vexqom/variant.h"
#include "xml/clsXML.h"

namespace vexqom {

namespace {

// AddObject refuses empty references, so every member is an entry.
Text entry_xml(const Variant& member) {
  return member_record<ICatList>(member).get_XML();
}

}  // namespace

const ClassInfo& ICatListCol::static_class_info() {
  using C = ICatListCol;
  static const ClassInfo info =
      ClassBuilder<C>("ICatListCol", "_ICatListCol", ids::kClsidICatListCol,
                      ids::kIid_ICatListCol)
          .creatable()
          .property("XML", P(2), {get<&C::get_XML>(), let<&C::put_XML>({"xsXML"})})
          .property("Vehicle", P(1),
                    {set<&C::putref_Vehicle>({ParamName("vData").by_ref()}),
                     get<&C::get_Vehicle>()})
          .function("AddObject", M(3),
                    method<&C::AddObject>({ParamName("xoObj").by_ref(),
                                           ParamName("sKey").by_ref().optional(Variant(Text()))}))
          .function("Add", M(4),
                    method<&C::Add>({ParamName("Heading").by_ref(), ParamName("ID").by_ref(),
                                     ParamName("sKey").by_ref().optional(Variant(Text()))}))
          .property("Item", kDispidValue,
                    {get<&C::get_Item>({ParamName("vntIndexKey").by_ref()})})
          .property("Count", P(0), {get<&C::get_Count>()})
          .function("Remove", M(5), method<&C::Remove>({ParamName("vntIndexKey").by_ref()}))
          .property("NewEnum", kDispidNewEnum, {get<&C::get_NewEnum>()}, /*hidden=*/true)
          .build();
  return info;
}

// Creation carries neither trace nor handler.
ICatListCol::ICatListCol() : members_(create<Collection>()), Vehicle_(create<ICatVehicle>()) {}

Text ICatListCol::get_XML() {
  return run_procedure(errors_, u"ICatListCol | Get XML", Trace::Yes, [&](int& line) {
    line = 1;
    CollectionForm form;
    form.root = u"ICatListCol";
    form.compress = true;
    form.zero_suppress = true;
    form.with_vehicle = true;
    form.vehicle = &Vehicle_;
    // Each entry brings its own declaration line, so the result is not strict XML; the
    // engine's reader finds the entries regardless.
    return write_collection_xml(form, *members_, entry_xml, line);
  });
}

void ICatListCol::put_XML(const Text& xsXML) {
  run_procedure(errors_, u"ICatListCol | Let XML", Trace::Yes, [&](int& line) {
    line = 1;
    members_ = create<Collection>();
    line = 2;
    Vehicle_ = create<ICatVehicle>();  // the host's vehicle is let go, not refilled
    line = 3;
    if (xsXML.empty()) return;
    line = 4;
    auto engine = create<clsXML>();
    engine->put_XML(xsXML);
    line = 5;
    // "Count" is trusted: exactly that many "ICatList" elements are read by position.
    const int16_t count = read_member_count(*engine);
    for (int i = 1; i <= count; ++i) {
      line = 6;
      auto entry = create<ICatList>();
      line = 7;
      entry->put_XML(engine->get_Block(u"ICatList", static_cast<int16_t>(i)));
      line = 8;
      // Only positive IDs give a key; of several entries with one ID the first stays.
      const Text key = entry->get_ID() > 0 ? u"I#" + integer_text(entry->get_ID()) : Text();
      line = 9;
      tolerate_duplicate_key([&] { AddObject(entry, key); });
    }
    line = 10;
    Vehicle_->put_XML(engine->get_Block(u"Vehicle", 1));
  });
}

Ref<ICatList> ICatListCol::AddObject(const Ref<ICatList>& xoObj, const Text& sKey) {
  return run_procedure(errors_, u"ICatListCol | AddObject", Trace::Yes, [&](int& line) {
    line = 1;
    if (!xoObj) return Ref<ICatList>();
    line = 2;
    // A present key adds nothing; the entry is handed back all the same.
    tolerate_duplicate_key([&] { members_->add(Variant(xoObj), sKey); });
    line = 3;
    return xoObj;
  });
}

Ref<ICatList> ICatListCol::Add(const Text& Heading, int32_t ID, const Text& sKey) {
  return run_procedure(errors_, u"ICatListCol | Add", Trace::Yes, [&](int& line) {
    line = 1;
    auto entry = create<ICatList>();
    entry->put_Heading(Heading);
    entry->put_ID(ID);
    line = 2;
    tolerate_duplicate_key([&] { members_->add(Variant(entry), sKey); });
    line = 3;
    return entry;
  });
}

// Lookups have no handler: the list's own 5 and 9 reach the caller unlogged.
Ref<ICatList> ICatListCol::get_Item(const Variant& vntIndexKey) const {
  const Variant member = members_->Item(vntIndexKey);
  return member.is_object() ? ref_cast<ICatList>(member.object()) : Ref<ICatList>();
}

int32_t ICatListCol::get_Count() const { return members_->Count(); }

void ICatListCol::Remove(const Variant& vntIndexKey) { members_->Remove(vntIndexKey); }

Ref<Enumerator> ICatListCol::get_NewEnum() const { return members_->NewEnum(); }

}  // namespace vexqom
