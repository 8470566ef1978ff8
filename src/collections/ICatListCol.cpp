#include "vexqom/ICatListCol.h"

#include "collections/collection_form.h"
#include "frame/memory.h"
#include "frame/class_info.h"
#include "frame/procedure.h"
#include "vexqom/variant.h"

namespace vexqom {

// Only positive IDs give a key; of several entries with one ID the first stays. Each
// entry brings its own declaration line, so the document is not strict XML; the
// reader finds the entries regardless.
template <>
const CollectionForm<ICatListCol, ICatList>& XmlForm<ICatListCol>::form() {
  using C = ICatListCol;
  static const CollectionForm<C, ICatList> f{
      {.root = u"ICatListCol", .member = u"ICatList", .write_label = u"ICatListCol | Get XML",
       .read_label = u"ICatListCol | Let XML", .trace = Trace::Yes, .thread_switches = false,
       .observed_as = nullptr, .clear_statements = 2},
      [](C& c) -> Collection& { return *c.members_; },
      [](C& c) { return &c.Vehicle_; },
      nullptr,
      [](C& c, int& line) {
        c.members_ = create<Collection>();
        line = 2;
        c.Vehicle_ = create<ICatVehicle>();  // the host's vehicle is let go, not refilled
      },
      [](ICatList& l) { return l.get_ID() > 0 ? u"I#" + integer_text(l.get_ID()) : Text(); },
      [](C& c, const Ref<ICatList>& member, const Text& key) { c.AddObject(member, key); }};
  return f;
}

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

Text ICatListCol::get_XML() { return xml_text(*this, memory::kCollectionRoom); }

void ICatListCol::put_XML(const Text& xsXML) { XmlForm<ICatListCol>::read(*this, xsXML); }

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
