// Records the C++ tests build again and again: a part with a jobber cost, and records with
// every field filled (escaped characters, negative and fractional amounts included).
#pragma once

#include "vexqom/ICatItemCol.h"

namespace vexqom::testing {

inline Ref<ICatItem> part(const char16_t* line_code, const char16_t* number, int32_t quantity,
                          double cost, Variant status = Variant(u"ORDER"),
                          const char16_t* description = u"") {
  auto item = create<ICatItem>();
  item->put_LineCode(line_code);
  item->put_ItemNumber(number);
  item->put_Description(description);
  item->put_ItemStatus(std::move(status));
  item->put_QuantityToOrder(Text(), Variant(quantity));
  item->get_PriceCol()->get_Item(Variant(u"JOBBER"))->put_Cost(Currency::from_double(cost));
  return item;
}

inline Ref<ICatPrice> filled_price() {
  auto p = create<ICatPrice>();
  const std::pair<void (ICatPrice::*)(const Text&), const char16_t*> texts[] = {
      {&ICatPrice::put_Location, u"MAIN"}, {&ICatPrice::put_SellerID, u"123"},
      {&ICatPrice::put_DeliveryTime, u"2 days"}, {&ICatPrice::put_QtyBuyingInc, u"4"},
      {&ICatPrice::put_PackingUnits, u"BX"}, {&ICatPrice::put_PackNumUnits, u"12"},
      {&ICatPrice::put_WarrantyCode, u"W1"}, {&ICatPrice::put_Rank, u"2"},
      {&ICatPrice::put_Tag, u"A&B"}};
  for (const auto& [put, value] : texts) ((*p).*put)(value);
  p->put_UrgentFlag(true);
  p->put_Available(Variant(int32_t{5}));
  p->put_QuantityToOrder(Variant(2.5));
  const std::pair<void (ICatPrice::*)(Currency), double> amounts[] = {
      {&ICatPrice::put_CoreCost, 1.5}, {&ICatPrice::put_CoreList, 2.25},
      {&ICatPrice::put_Cost, 10}, {&ICatPrice::put_List, 19.99},
      {&ICatPrice::put_Sell, -0.8}, {&ICatPrice::put_Margin, 12.3457}};
  for (const auto& [put, value] : amounts) ((*p).*put)(Currency::from_double(value));
  return p;
}

inline Ref<ICatItem> filled_item() {
  auto item = create<ICatItem>();
  const std::pair<void (ICatItem::*)(const Text&), const char16_t*> texts[] = {
      {&ICatItem::put_GroupNumber, u"G7"}, {&ICatItem::put_ItemSource, u"Cat"},
      {&ICatItem::put_Heading, u"Front"}, {&ICatItem::put_ItemLaborAvailable, u"Y"},
      {&ICatItem::put_ManufacturerName, u"P&Co"}, {&ICatItem::put_LineCode, u"ACD"},
      {&ICatItem::put_ItemNumber, u"012"}, {&ICatItem::put_PartTypeCode, u"PT"},
      {&ICatItem::put_Description, u"Pad"}, {&ICatItem::put_ImageFileName, u"p.png"},
      {&ICatItem::put_ImageCallOut, u"C4"}, {&ICatItem::put_ImageURLc2c, u"u1"},
      {&ICatItem::put_ImageURLalt, u"u2"}, {&ICatItem::put_MediaTagID, u"M9"},
      {&ICatItem::put_LaborOperation, u"R&R"}, {&ICatItem::put_LaborSkill, u"B"},
      {&ICatItem::put_LaborType, u"LT"}, {&ICatItem::put_YearRange, u"1999-2004"},
      {&ICatItem::put_ComponentSide, u"L"}, {&ICatItem::put_Comment, u"cm"},
      {&ICatItem::put_Tag, u"T1"}, {&ICatItem::put_VendorNumberXRef, u"XR"},
      {&ICatItem::put_MCLsequence, u"S1"}, {&ICatItem::put_GenericDescription, u"GD"},
      {&ICatItem::put_GenericDescriptionID, u"GI"}, {&ICatItem::put_SupplierStockingFlag, u"SF"},
      {&ICatItem::put_SupplierMovementFlag, u"MF"}, {&ICatItem::put_SupplierMovementRank, u"MR"},
      {&ICatItem::put_SupplierExtendedInfo, u"EI"}};
  for (const auto& [put, value] : texts) ((*item).*put)(value);
  item->put_WorkGroup(-3);
  item->put_ItemType(vexCatalogItemType::vcit_Comment);
  item->put_ItemStatus(Variant(int32_t{12}));
  item->put_ItemGroup(32000);
  const std::pair<void (ICatItem::*)(Currency), double> amounts[] = {
      {&ICatItem::put_QuantityPerCar, 2.5}, {&ICatItem::put_LaborRate, 95.75},
      {&ICatItem::put_LaborHRSnormal, 1.2}, {&ICatItem::put_LaborHRSwarranty, 0.9},
      {&ICatItem::put_LaborHRSsevere, -1.5}};
  for (const auto& [put, value] : amounts) ((*item).*put)(Currency::from_double(value));
  item->get_PriceCol()->get_Item(Variant(u"LOCAL"))->put_QuantityToOrder(Variant(5.0));
  return item;
}

}  // namespace vexqom::testing
