#include "vexqom/ICatPresetCol.h"

#include "collections/collection_xml.h"
#include "collections/members.h"
#include "frame/class_info.h"
#include "frame/document_observer.h"
#include "frame/procedure.h"
#include "xml/clsXML.h"

namespace vexqom {

namespace {

// AddObject refuses empty references, so every member is a preset.
Text preset_xml(const Variant& member) {
  return member_record<ICatPreset>(member).get_XML();
}

}  // namespace

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

Text ICatPresetCol::get_XML() {
  return run_procedure(errors_, u"ICatPresetCol | Get XML", Trace::Yes, [&](int& line) {
    line = 1;
    // Fixed settings for the collection; each preset still follows the thread's switches.
    CollectionForm form;
    form.root = u"ICatPresetCol";
    form.compress = true;
    form.zero_suppress = true;
    form.with_vehicle = true;
    form.vehicle = &Vehicle_;
    return observed_document("preset-collection",
                             write_collection_xml(form, *members_, preset_xml, line));
  });
}

void ICatPresetCol::put_XML(const Text& xsXML) {
  run_procedure(errors_, u"ICatPresetCol | Let XML", Trace::Yes, [&](int& line) {
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
    // "Count" is trusted: exactly that many "ICatPreset" elements are read by position.
    const int16_t count = read_member_count(*engine);
    for (int i = 1; i <= count; ++i) {
      line = 6;
      auto preset = create<ICatPreset>();
      line = 7;
      preset->put_XML(engine->get_Block(u"ICatPreset", static_cast<int16_t>(i)));
      line = 8;
      // Fields joined without separator: A/BC and AB/C collide and the first stays.
      const Text key =
          preset->get_Category() + preset->get_Group() + preset->get_Description();
      line = 9;
      tolerate_duplicate_key([&] { AddObject(preset, key); });
    }
    line = 10;
    Vehicle_->put_XML(engine->get_Block(u"Vehicle", 1));
  });
}

Ref<ICatPreset> ICatPresetCol::AddObject(const Ref<ICatPreset>& xoObj, const Text& sKey) {
  return run_procedure(errors_, u"ICatPresetCol | AddObject", Trace::Yes, [&](int& line) {
    line = 1;
    if (!xoObj) return Ref<ICatPreset>();
    line = 2;
    // A present key adds nothing; the record is handed back all the same.
    tolerate_duplicate_key([&] { members_->add(Variant(xoObj), sKey); });
    line = 3;
    return xoObj;
  });
}

Ref<ICatPreset> ICatPresetCol::Add(const Text& Category, const Text& Group,
                                   const Text& Description, const Text& sKey) {
  return run_procedure(errors_, u"ICatPresetCol | Add", Trace::Yes, [&](int& line) {
    line = 1;
    auto preset = create<ICatPreset>();
    preset->put_Category(Category);
    preset->put_Group(Group);
    preset->put_Description(Description);
    line = 2;
    tolerate_duplicate_key([&] { members_->add(Variant(preset), sKey); });
    line = 3;
    return preset;
  });
}

// Lookups have no handler: the list's own 5 and 9 reach the caller unlogged.
Ref<ICatPreset> ICatPresetCol::get_Item(const Variant& vntIndexKey) const {
  const Variant member = members_->Item(vntIndexKey);
  return member.is_object() ? ref_cast<ICatPreset>(member.object()) : Ref<ICatPreset>();
}

int32_t ICatPresetCol::get_Count() const { return members_->Count(); }

void ICatPresetCol::Remove(const Variant& vntIndexKey) { members_->Remove(vntIndexKey); }

Ref<Enumerator> ICatPresetCol::get_NewEnum() const { return members_->NewEnum(); }

}  // namespace vexqom
