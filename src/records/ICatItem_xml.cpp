// The item's XML form: one "Item" element with the price collection's "Prices" element
// embedded after "QuantityPerCar". The reader finds each name by searching the whole
// item text, price block included, so no item element name may be a price element name.
#include "collections/collection_form.h"
#include "frame/memory.h"
#include "records/record_form.h"
#include "vexqom/ICatItem.h"

namespace vexqom {

template <>
const RecordForm<ICatItem>& XmlForm<ICatItem>::form() {
  using I = ICatItem;
  static const RecordForm<I> f(
      {.root = u"Item", .write_label = u"ICatItem | Get XML", .read_label = u"ICatItem | Let XML",
       .observed_as = "item", .close_line = 9,
       // The old prices never survive a load, not even when the text has none.
       .clear = [](I& item) { item.Clear(false); }},
      {{u"WorkGroup", &I::WorkGroup_, 4, 4},
       {u"GroupNumber", &I::GroupNumber_, 4, 5},
       {u"ItemType", &I::ItemType_, 4, 6},
       {u"ItemSource", &I::ItemSource_, 4, 7},
       {u"ItemStatus", &I::ItemStatus_, 5, 7},  // read back as text, also for numbers
       {u"ItemGroup", &I::ItemGroup_, 6, 8},
       {u"ItemHeading", &I::Heading_, 6, 9},
       {u"ItemLaborAvailable", &I::ItemLaborAvailable_, 6, 9},
       {u"Manufacturer", &I::ManufacturerName_, 6, 9},
       {u"LineCode", &I::LineCode_, 6, 9},
       {u"ItemNumber", &I::ItemNumber_, 6, 9},
       {u"PartTypeCode", &I::PartTypeCode_, 6, 9},
       {u"Description", &I::Description_, 6, 9},
       {u"ImageFileName", &I::ImageFileName_, 6, 9},
       {u"ImageCallOut", &I::ImageCallOut_, 6, 9},
       {u"ImageURLc2c", &I::ImageURLc2c_, 6, 9},
       {u"ImageURLalt", &I::ImageURLalt_, 6, 9},
       {u"MediaTagID", &I::MediaTagID_, 6, 9},
       {u"QuantityPerCar", &I::QuantityPerCar_, 6, 10},
       {u"Prices", &I::PriceCol_, 7, 11},
       {u"LaborOperation", &I::LaborOperation_, 8, 12},
       {u"LaborSkill", &I::LaborSkill_, 8, 12},
       {u"LaborRate", &I::LaborRate_, 8, 13},
       {u"LaborHRSnormal", &I::LaborHRSnormal_, 8, 14},
       {u"LaborHRSwarranty", &I::LaborHRSwarranty_, 8, 15},
       {u"LaborHRSsevere", &I::LaborHRSsevere_, 8, 16},
       {u"LaborType", &I::LaborType_, 8, 17},
       {u"YearRange", &I::YearRange_, 8, 17},
       {u"ComponentSide", &I::ComponentSide_, 8, 17},
       {u"Comment", &I::Comment_, 8, 17},
       {u"ItemTag", &I::Tag_, 8, 17},
       {u"GenericDescription", &I::GenericDescription_, 8, 17},
       {u"GenericDescriptionID", &I::GenericDescriptionID_, 8, 17},
       {u"SupplierStockingFlag", &I::SupplierStockingFlag_, 8, 17},
       {u"SupplierMovementFlag", &I::SupplierMovementFlag_, 8, 17},
       {u"SupplierMovementRank", &I::SupplierMovementRank_, 8, 17},
       {u"SupplierExtendedInfo", &I::SupplierExtendedInfo_, 8, 17},
       {u"VendorNumberXRef", &I::VendorNumberXRef_, 8, 17},
       {u"MCLsequence", &I::MCLsequence_, 8, 17}});
  return f;
}

Text ICatItem::get_XML() { return xml_text(*this, memory::kItemRoom); }

void ICatItem::put_XML(const Text& xsXML) { XmlForm<ICatItem>::read(*this, xsXML); }

}  // namespace vexqom
