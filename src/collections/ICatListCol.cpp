#include "vexqom/ICatListCol.h"

#include "collections/collection_form.h"
#include "collections/members.h"
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
  static const auto f = entry_list_form<ICatListCol, ICatList, &ICatListCol::members_, &ICatListCol::Vehicle_>(
      u"ICatListCol", u"ICatList", u"ICatListCol | Get XML", u"ICatListCol | Let XML", nullptr,
      [](ICatList& l) { return l.get_ID() > 0 ? u"I#" + integer_text(l.get_ID()) : Text(); });
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
  return add_entry<ICatList>(errors_, u"ICatListCol | AddObject", *members_, sKey,
                            [&] { return xoObj; });
}

Ref<ICatList> ICatListCol::Add(const Text& Heading, int32_t ID, const Text& sKey) {
  return add_entry<ICatList>(errors_, u"ICatListCol | Add", *members_, sKey, [&] {
    auto entry = create<ICatList>();
    entry->put_Heading(Heading);
    entry->put_ID(ID);
    return entry;
  });
}

Ref<ICatList> ICatListCol::get_Item(const Variant& vntIndexKey) const {
  return member_at<ICatList>(*members_, vntIndexKey);
}

int32_t ICatListCol::get_Count() const { return members_->Count(); }

void ICatListCol::Remove(const Variant& vntIndexKey) { members_->Remove(vntIndexKey); }

Ref<Enumerator> ICatListCol::get_NewEnum() const { return members_->NewEnum(); }

}  // namespace vexqom
