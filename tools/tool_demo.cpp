#include "tool_demo.h"

#include <string>

namespace vexqom::tool {
namespace {

Currency money(double amount) { return Currency::from_double(amount); }

void add_price(ICatItem& item, const char16_t* location, double cost, double list,
               const Variant& quantity, const char16_t* seller = u"") {
  Ref<ICatPrice> price = item.get_PriceCol()->get_Item(Variant(Text(location)));
  price->put_SellerID(seller);
  price->put_Cost(money(cost));
  price->put_List(money(list));
  price->put_QuantityToOrder(quantity);
}

Ref<ICatItem> part(const char16_t* line_code, const char16_t* number,
                   const char16_t* description, const char16_t* status, int16_t group) {
  auto item = create<ICatItem>();
  item->put_ItemType(vexCatalogItemType::vcit_Part);
  item->put_ManufacturerName(line_code == Text(u"NLN") ? u"Northline" : u"Stopwell");
  item->put_LineCode(line_code);
  item->put_ItemNumber(number);
  item->put_Description(description);
  item->put_ItemStatus(Variant(Text(status)));
  item->put_ItemGroup(group);
  item->put_QuantityPerCar(Currency::from_whole(1));
  return item;
}

}  // namespace

Ref<ICatItemCol> demo_selection() {
  auto selection = create<ICatItemCol>();
  Ref<ICatVehicle> vehicle = selection->get_Vehicle();
  vehicle->put_Year(u"2004");
  vehicle->put_Make(u"Chevrolet");
  vehicle->put_Model(u"Silverado 1500");
  vehicle->put_Engine(u"5.3L V8");
  vehicle->put_VIN(u"1GCEK19T44E123456");
  vehicle->put_Plate(u"7KLM214");
  vehicle->put_CurrentMileage(u"148210");

  auto plugs = part(u"NLN", u"41-962", u"Spark Plug", u"ORDER", 30);
  plugs->put_QuantityPerCar(Currency::from_whole(8));
  add_price(*plugs, u"JOBBER", 2.49, 4.15, Variant(int32_t{8}), u"4410");
  add_price(*plugs, u"MSRP", 0, 5.29, Variant(Text()));
  add_price(*plugs, u"LOCAL", 2.49, 4.15, Variant(Text(u"2")));

  auto filter = part(u"NLN", u"PF48", u"Oil Filter", u"BACK ORDER", 20);
  add_price(*filter, u"JOBBER", 0, 0, Variant(int32_t{1}));
  add_price(*filter, u"MSRP", 6.75, 11.49, Variant(Text()));

  auto pads = part(u"STW", u"ZD785", u"Brake Pad Set", u"HOLD", 10);
  pads->put_ComponentSide(u"FRONT");
  add_price(*pads, u"JOBBER", 38.2, 64.99, Variant(int32_t{1}), u"4410");
  add_price(*pads, u"INVOICE", 38.2, 64.99, Variant(int32_t{1}));

  auto labor = create<ICatItem>();
  labor->put_ItemType(vexCatalogItemType::vcit_Labor);
  labor->put_Description(u"Spark Plug");
  labor->put_LaborOperation(u"Replace all");
  labor->put_LaborSkill(u"B");
  labor->put_LaborRate(money(98.5));
  labor->put_LaborHRSnormal(money(1.4));
  labor->put_LaborHRSsevere(money(2.1));
  labor->put_ItemGroup(30);

  auto note = create<ICatItem>();
  note->put_ItemType(vexCatalogItemType::vcit_Comment);
  note->put_Description(u"Customer reports misfire on cylinder 3");
  note->put_Comment(u"Check coil packs before replacing plugs");

  for (const Ref<ICatItem>& item : {plugs, filter, pads, labor, note}) {
    selection->Add(item, item->UniqueKey());
  }
  return selection;
}

}  // namespace vexqom::tool
