#include "vexqom/ICatItem.h"

#include <functional>

#include "frame/class_info.h"
#include "frame/procedure.h"
#include "records/record_form.h"

namespace vexqom {

namespace {

// Locations whose quantities stay out of the order total. Any fragment of this text
// (the empty location included) matches, as a plain substring search does.
constexpr TextView kNotOrderedLocations = u"INVOICE|LOCAL";
// Statuses that flag a part for ordering; fragments such as BACK match as well.
constexpr TextView kOrderStatuses = u"ORDER|URGENT|BACK ORDER";

// The record of a location; the collection creates it when missing.
Ref<ICatPrice> price_at(ICatPriceCol& prices, const Text& location) {
  Ref<ICatPrice> price = prices.get_Item(Variant(location));
  if (!price) throw Error(errc::kObjectNotSet);  // a member added as an empty reference
  return price;
}

// Amounts are compared and returned through their text form, like quantities.
double amount_number(Currency amount) { return number_via_text(Variant(amount)); }

}  // namespace

const ClassInfo& ICatItem::static_class_info() {
  using C = ICatItem;
  const auto location = [] { return ParamName("xsLocation").by_ref().optional(Variant(Text())); };
  static const ClassInfo info =
      ClassBuilder<C>("ICatItem", "_ICatItem", ids::kClsidICatItem, ids::kIid_ICatItem)
          .earlier_iid(ids::kIid_ICatItemEarlier)
          .creatable()
          .property("XML", P(41), {get<&C::get_XML>(), let<&C::put_XML>({"xsXML"})})
          .property("QuantityToOrder", P(40),
                    {get<&C::get_QuantityToOrder>({location()}),
                     let<&C::put_QuantityToOrder>({location(), "xvQuantity"})})
          .property("QuantityOnTicket", P(39),
                    {get<&C::get_QuantityOnTicket>(), let<&C::put_QuantityOnTicket>({"xvVal"})})
          .function("JobberList", M(42), method<&C::JobberList>())
          .function("JobberCost", M(43), method<&C::JobberCost>())
          .function("JobberCoreCost", M(44), method<&C::JobberCoreCost>())
          .function("JobberCoreList", M(45), method<&C::JobberCoreList>())
          .property("WorkGroup", P(38),
                    {let<&C::put_WorkGroup>({"vData"}), get<&C::get_WorkGroup>()})
          .property("GroupNumber", P(37),
                    {let<&C::put_GroupNumber>({"xsVal"}), get<&C::get_GroupNumber>()})
          .property("ItemType", P(36),
                    {let<&C::put_ItemType>({"xeItemType"}), get<&C::get_ItemType>()})
          .property("ItemSource", P(35),
                    {let<&C::put_ItemSource>({"xsData"}), get<&C::get_ItemSource>()})
          .property("ItemStatus", P(34),
                    {let<&C::put_ItemStatus>({"vData"}), get<&C::get_ItemStatus>()})
          .property("ItemGroup", P(33),
                    {let<&C::put_ItemGroup>({"xiData"}), get<&C::get_ItemGroup>()})
          .property("Heading", P(32),
                    {let<&C::put_Heading>({"xsHeading"}), get<&C::get_Heading>()})
          .property("ItemLaborAvailable", P(31),
                    {let<&C::put_ItemLaborAvailable>({"xsLaborAvailFlag"}),
                     get<&C::get_ItemLaborAvailable>()})
          .property("ManufacturerName", P(30),
                    {let<&C::put_ManufacturerName>({"vData"}), get<&C::get_ManufacturerName>()})
          .property("LineCode", P(29), {let<&C::put_LineCode>({"vData"}), get<&C::get_LineCode>()})
          .property("ItemNumber", P(28),
                    {let<&C::put_ItemNumber>({"vData"}), get<&C::get_ItemNumber>()})
          .function("VendorNumber", M(46), method<&C::VendorNumber>())
          .function("UniqueKey", M(47), method<&C::UniqueKey>())
          .property("PartTypeCode", P(27),
                    {let<&C::put_PartTypeCode>({"vData"}), get<&C::get_PartTypeCode>()})
          .property("Description", P(26),
                    {let<&C::put_Description>({"vData"}), get<&C::get_Description>()})
          .property("ImageFileName", P(25),
                    {let<&C::put_ImageFileName>({"vData"}), get<&C::get_ImageFileName>()})
          .property("ImageCallOut", P(24),
                    {let<&C::put_ImageCallOut>({"vData"}), get<&C::get_ImageCallOut>()})
          .property("ImageURLc2c", P(23),
                    {let<&C::put_ImageURLc2c>({"xsVal"}), get<&C::get_ImageURLc2c>()})
          .property("ImageURLalt", P(22),
                    {let<&C::put_ImageURLalt>({"xsVal"}), get<&C::get_ImageURLalt>()})
          .property("MediaTagID", P(21),
                    {let<&C::put_MediaTagID>({"xsVal"}), get<&C::get_MediaTagID>()})
          .property("QuantityPerCar", P(20),
                    {let<&C::put_QuantityPerCar>({"vData"}), get<&C::get_QuantityPerCar>()})
          .property("PriceCol", P(19),
                    {get<&C::get_PriceCol>(),
                     set<&C::putref_PriceCol>({ParamName("vData").by_ref()})})
          .property("LaborOperation", P(18),
                    {let<&C::put_LaborOperation>({"xsLaborOperation"}),
                     get<&C::get_LaborOperation>()})
          .property("LaborSkill", P(17),
                    {let<&C::put_LaborSkill>({"xsLaborSkill"}), get<&C::get_LaborSkill>()})
          .property("LaborRate", P(16),
                    {let<&C::put_LaborRate>({"xfLaborRate"}), get<&C::get_LaborRate>()})
          .property("LaborHRSnormal", P(15),
                    {let<&C::put_LaborHRSnormal>({"xfLaborHRSnormal"}),
                     get<&C::get_LaborHRSnormal>()})
          .property("LaborHRSwarranty", P(14),
                    {let<&C::put_LaborHRSwarranty>({"xfLaborHRSwarranty"}),
                     get<&C::get_LaborHRSwarranty>()})
          .property("LaborHRSsevere", P(13),
                    {let<&C::put_LaborHRSsevere>({"xfLaborHRSsevere"}),
                     get<&C::get_LaborHRSsevere>()})
          .property("LaborType", P(12),
                    {let<&C::put_LaborType>({"xsLaborType"}), get<&C::get_LaborType>()})
          .property("YearRange", P(11),
                    {let<&C::put_YearRange>({"xsYearRange"}), get<&C::get_YearRange>()})
          .property("ComponentSide", P(10),
                    {let<&C::put_ComponentSide>({"xsComponentSide"}),
                     get<&C::get_ComponentSide>()})
          .property("Comment", P(9), {let<&C::put_Comment>({"xsComment"}), get<&C::get_Comment>()})
          .property("Tag", P(8), {let<&C::put_Tag>({"xsItemTag"}), get<&C::get_Tag>()})
          .property("VendorNumberXRef", P(7),
                    {let<&C::put_VendorNumberXRef>({"xsVendorNumberXRef"}),
                     get<&C::get_VendorNumberXRef>()})
          .property("MCLsequence", P(6),
                    {let<&C::put_MCLsequence>({"xsMCLseq"}), get<&C::get_MCLsequence>()})
          .property("GenericDescription", P(5),
                    {let<&C::put_GenericDescription>({"xsVal"}),
                     get<&C::get_GenericDescription>()})
          .property("GenericDescriptionID", P(4),
                    {let<&C::put_GenericDescriptionID>({"xsVal"}),
                     get<&C::get_GenericDescriptionID>()})
          .property("SupplierStockingFlag", P(3),
                    {let<&C::put_SupplierStockingFlag>({"xsVal"}),
                     get<&C::get_SupplierStockingFlag>()})
          .property("SupplierMovementFlag", P(2),
                    {let<&C::put_SupplierMovementFlag>({"xsVal"}),
                     get<&C::get_SupplierMovementFlag>()})
          .property("SupplierMovementRank", P(1),
                    {let<&C::put_SupplierMovementRank>({"xsVal"}),
                     get<&C::get_SupplierMovementRank>()})
          .property("SupplierExtendedInfo", P(0),
                    {let<&C::put_SupplierExtendedInfo>({"xsVal"}),
                     get<&C::get_SupplierExtendedInfo>()})
          .function("Clear", M(50),
                    method<&C::Clear>({ParamName("xbDestroyObject").optional(Variant(false))}))
          .function("FlaggedToOrder", M(51),
                    method<&C::FlaggedToOrder>({ParamName("xsJobberID").optional(Variant(Text()))}))
          .build();
  return info;
}

ICatItem::ICatItem() {
  run_procedure(errors_, u"ICatItem | Class_Initialize", Trace::No, [&](int& line) {
    line = 1;
    Clear(false);
  });
}

ICatItem::~ICatItem() {
  ignore_errors([&] { Clear(false); });
  errors_ = ErrorState();
}

ICatPriceCol& ICatItem::prices() {
  if (!PriceCol_) throw Error(errc::kObjectNotSet);
  return *PriceCol_;
}

Variant ICatItem::get_QuantityToOrder(const Text& xsLocation) {
  return run_procedure(errors_, u"ICatItem | Get QuantityToOrder", Trace::Yes,
                       [&](int& line) -> Variant {
    line = 1;
    ICatPriceCol& col = prices();
    line = 2;
    if (!xsLocation.empty()) {
      return Variant(number_via_text(price_at(col, xsLocation)->get_QuantityToOrder()));
    }
    line = 3;
    const int32_t count = col.get_Count();
    // Integer 0 until a record is counted; from then on the sum is a double.
    bool counted = false;
    double total = 0;
    for (int32_t i = 1; i <= count; ++i) {
      line = 4;
      const Ref<ICatPrice> price = col.get_Item(Variant(i));
      if (!price) throw Error(errc::kObjectNotSet);  // a member added as an empty reference
      if (kNotOrderedLocations.find(upper_case(price->get_Location())) != TextView::npos) {
        continue;
      }
      line = 5;
      total += number_via_text(price->get_QuantityToOrder());
      counted = true;
    }
    line = 6;
    return counted ? Variant(total) : Variant(int16_t{0});
  });
}

void ICatItem::put_QuantityToOrder(const Text& xsLocation, const Variant& xvQuantity) {
  run_procedure(errors_, u"ICatItem | Let QuantityToOrder", Trace::Yes, [&](int& line) {
    line = 1;
    ICatPriceCol& col = prices();
    line = 2;
    price_at(col, xsLocation.empty() ? Text(u"JOBBER") : xsLocation)
        ->put_QuantityToOrder(xvQuantity);
  });
}

Variant ICatItem::get_QuantityOnTicket() {
  return run_procedure(errors_, u"ICatItem | Get QuantityOnTicket", Trace::Yes,
                       [&](int& line) -> Variant {
    line = 1;
    ICatPriceCol& col = prices();
    line = 2;
    return Variant(number_via_text(price_at(col, u"INVOICE")->get_QuantityToOrder()));
  });
}

void ICatItem::put_QuantityOnTicket(const Variant& xvVal) {
  run_procedure(errors_, u"ICatItem | Let QuantityOnTicket", Trace::Yes, [&](int& line) {
    line = 1;
    ICatPriceCol& col = prices();
    line = 2;
    price_at(col, u"INVOICE")->put_QuantityToOrder(xvVal);
  });
}

Variant ICatItem::jobber_amount(Currency (ICatPrice::*amount)() const, TextView label) {
  return run_procedure(errors_, label, Trace::Yes, [&](int& line) -> Variant {
    line = 1;
    ICatPriceCol& col = prices();
    line = 2;
    double value = amount_number(std::invoke(amount, *price_at(col, u"JOBBER")));
    line = 3;
    // The manufacturer's amount stands in only where the jobber has none.
    if (value == 0) value = amount_number(std::invoke(amount, *price_at(col, u"MSRP")));
    line = 4;
    return Variant(value);
  });
}

Variant ICatItem::JobberList() {
  return jobber_amount(&ICatPrice::get_List, u"ICatItem | JobberList");
}

Variant ICatItem::JobberCost() {
  return jobber_amount(&ICatPrice::get_Cost, u"ICatItem | JobberCost");
}

Variant ICatItem::JobberCoreCost() {
  return jobber_amount(&ICatPrice::get_CoreCost, u"ICatItem | JobberCoreCost");
}

Variant ICatItem::JobberCoreList() {
  return jobber_amount(&ICatPrice::get_CoreList, u"ICatItem | JobberCoreList");
}

bool ICatItem::FlaggedToOrder(const Text& /*xsJobberID: accepted, without effect*/) {
  if (ItemType_ != vexCatalogItemType::vcit_Part) return false;
  const Text status = to_text(ItemStatus_);
  if (status.empty()) return false;
  return kOrderStatuses.find(upper_case(status)) != TextView::npos;
}

Text ICatItem::VendorNumber() const { return LineCode_ + ItemNumber_; }

Text ICatItem::UniqueKey() const {
  if (ItemType_ != vexCatalogItemType::vcit_Labor) return VendorNumber();
  // Only the ends are trimmed: an empty operation leaves two blanks inside.
  return Text(trim_blanks(Description_ + u" " + LaborOperation_ + u" " + Comment_));
}

void ICatItem::Clear(bool xbDestroyObject) {
  run_procedure(errors_, u"ICatItem | Clear", Trace::No, [&](int& line) {
    line = 1;
    clear_fields(*this, XmlForm<ICatItem>::form());
    if (!xbDestroyObject) PriceCol_ = create<ICatPriceCol>();
  });
}

}  // namespace vexqom
