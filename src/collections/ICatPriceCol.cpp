#include "vexqom/ICatPriceCol.h"

#include "collections/collection_form.h"
#include "frame/class_info.h"
#include "frame/memory.h"
#include "frame/procedure.h"

namespace vexqom {

// Every seller competes for "JOBBER": at most one supplier price survives a rebuild.
template <>
const CollectionForm<ICatPriceCol, ICatPrice>& XmlForm<ICatPriceCol>::form() {
  using C = ICatPriceCol;
  static const CollectionForm<C, ICatPrice> f{
      {.root = u"Prices", .member = u"Price", .write_label = u"ICatPriceCol | Get XML",
       .read_label = u"ICatPriceCol | Let XML", .trace = Trace::Yes,
       .observed_as = "price-collection"},
      [](C& c) -> Collection& { return c.require_members(); },
      nullptr,
      nullptr,
      // A new, empty member list: the one this collection holds, emptied, is as good.
      [](C& c, int&) {
        if (c.members_) {
          c.members_->clear();
        } else {
          c.members_ = create<Collection>();
        }
      },
      [](ICatPrice& price) {
        return price.get_SellerID().empty() ? price.get_Location() : Text(u"JOBBER");
      },
      [](C& c, const Ref<ICatPrice>& price, const Text& key) { c.Add(price, key); }};
  return f;
}

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

Text ICatPriceCol::get_XML() { return xml_text(*this, memory::kCollectionRoom); }

void ICatPriceCol::put_XML(const Text& xsXML) { XmlForm<ICatPriceCol>::read(*this, xsXML); }

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
