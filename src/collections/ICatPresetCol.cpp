#include "vexqom/ICatPresetCol.h"

#include "collections/collection_form.h"
#include "collections/members.h"
#include "frame/memory.h"
#include "frame/class_info.h"
#include "frame/procedure.h"

namespace vexqom {

// Fields joined without separator: A/BC and AB/C collide and the first stays.
template <>
const CollectionForm<ICatPresetCol, ICatPreset>& XmlForm<ICatPresetCol>::form() {
  static const auto f = entry_list_form<ICatPresetCol, ICatPreset, &ICatPresetCol::members_, &ICatPresetCol::Vehicle_>(
      u"ICatPresetCol", u"ICatPreset", u"ICatPresetCol | Get XML", u"ICatPresetCol | Let XML", "preset-collection",
      [](ICatPreset& p) { return p.get_Category() + p.get_Group() + p.get_Description(); });
  return f;
}

const ClassInfo& ICatPresetCol::static_class_info() {
  using C = ICatPresetCol;
  static const ClassInfo info =
      ClassBuilder<C>("ICatPresetCol", "_ICatPresetCol", ids::kClsidICatPresetCol,
                      ids::kIid_ICatPresetCol)
          .creatable()
          .property("XML", P(2), {get<&C::get_XML>(), let<&C::put_XML>({"xsXML"})})
          .property("Vehicle", P(1),
                    {set<&C::putref_Vehicle>({ParamName("vData").by_ref()}),
                     get<&C::get_Vehicle>()})
          .function("AddObject", M(3),
                    method<&C::AddObject>({ParamName("xoObj").by_ref(),
                                           ParamName("sKey").by_ref().optional(Variant(Text()))}))
          .function("Add", M(4),
                    method<&C::Add>({ParamName("Category").by_ref(),
                                     ParamName("Group").by_ref(),
                                     ParamName("Description").by_ref(),
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
ICatPresetCol::ICatPresetCol()
    : members_(create<Collection>()), Vehicle_(create<ICatVehicle>()) {}

Text ICatPresetCol::get_XML() { return xml_text(*this, memory::kCollectionRoom); }

void ICatPresetCol::put_XML(const Text& xsXML) { XmlForm<ICatPresetCol>::read(*this, xsXML); }

Ref<ICatPreset> ICatPresetCol::AddObject(const Ref<ICatPreset>& xoObj, const Text& sKey) {
  return add_entry<ICatPreset>(errors_, u"ICatPresetCol | AddObject", *members_, sKey,
                            [&] { return xoObj; });
}

Ref<ICatPreset> ICatPresetCol::Add(const Text& Category, const Text& Group,
                                   const Text& Description, const Text& sKey) {
  return add_entry<ICatPreset>(errors_, u"ICatPresetCol | Add", *members_, sKey, [&] {
    auto preset = create<ICatPreset>();
    preset->put_Category(Category);
    preset->put_Group(Group);
    preset->put_Description(Description);
    return preset;
  });
}

Ref<ICatPreset> ICatPresetCol::get_Item(const Variant& vntIndexKey) const {
  return member_at<ICatPreset>(*members_, vntIndexKey);
}

int32_t ICatPresetCol::get_Count() const { return members_->Count(); }

void ICatPresetCol::Remove(const Variant& vntIndexKey) { members_->Remove(vntIndexKey); }

Ref<Enumerator> ICatPresetCol::get_NewEnum() const { return members_->NewEnum(); }

}  // namespace vexqom
