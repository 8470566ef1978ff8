// The item's XML form: one "Item" element with the price collection's "Prices" element
// embedded after "QuantityPerCar". Writer and reader share one element order; the item's
// element names never clash with those of the price form, because the reader finds each
// name by searching the whole text, price block included.
#include "frame/diagnostics.h"
#include "frame/document_observer.h"
#include "frame/procedure.h"
#include "vexqom/ICatItem.h"
#include "xml/block_sequence.h"
#include "xml/clsXML.h"
#include "xml/first_values.h"
#include "xml/snippet_writer.h"

namespace vexqom {

namespace {

// Whole numbers read with the leading-number parse and rounded halves to even;
// out of range raises error 6.
int16_t integer_from(const Text& text) { return round_to_integer(leading_number(text)); }
int32_t long_from(const Text& text) { return round_to_long(leading_number(text)); }
Currency amount_from(const Text& text) { return Currency::from_double(leading_number(text)); }

// The elements an item reads from its text (the price block is read whole).
const ElementNames& item_elements() {
  static const ElementNames names{
      u"WorkGroup", u"GroupNumber", u"ItemType", u"ItemSource", u"ItemStatus", u"ItemGroup",
      u"ItemHeading", u"ItemLaborAvailable", u"Manufacturer", u"LineCode", u"ItemNumber",
      u"PartTypeCode", u"Description", u"ImageFileName", u"ImageCallOut", u"ImageURLc2c",
      u"ImageURLalt", u"MediaTagID", u"QuantityPerCar", u"LaborOperation", u"LaborSkill",
      u"LaborRate", u"LaborHRSnormal", u"LaborHRSwarranty", u"LaborHRSsevere", u"LaborType",
      u"YearRange", u"ComponentSide", u"Comment", u"ItemTag", u"GenericDescription",
      u"GenericDescriptionID", u"SupplierStockingFlag", u"SupplierMovementFlag",
      u"SupplierMovementRank", u"SupplierExtendedInfo", u"VendorNumberXRef", u"MCLsequence"};
  return names;
}

}  // namespace

Text ICatItem::get_XML() {
  return written_text(kXmlRoom, [&](std::string& xml) { write_xml(xml); });
}

void ICatItem::write_xml(std::string& target) {
  run_procedure(errors_, u"ICatItem | Get XML", Trace::No, [&](int& line) {
    line = 1;
    const diag::ThreadState& switches = diag::thread_state();
    line = 2;
    const size_t from = target.size();
    SnippetWriter out(target, switches.XMLCompress, switches.XMLZeroSuppress);
    line = 3;
    out.open(u"Item");
    line = 4;
    out.add(u"WorkGroup", integer_text(WorkGroup_));
    out.add(u"GroupNumber", GroupNumber_);
    out.add(u"ItemType", integer_text(static_cast<int32_t>(ItemType_)));
    out.add(u"ItemSource", ItemSource_);
    line = 5;
    out.add(u"ItemStatus", to_text(ItemStatus_));
    line = 6;
    out.add(u"ItemGroup", integer_text(ItemGroup_));
    out.add(u"ItemHeading", Heading_);
    out.add(u"ItemLaborAvailable", ItemLaborAvailable_);
    out.add(u"Manufacturer", ManufacturerName_);
    out.add(u"LineCode", LineCode_);
    out.add(u"ItemNumber", ItemNumber_);
    out.add(u"PartTypeCode", PartTypeCode_);
    out.add(u"Description", Description_);
    out.add(u"ImageFileName", ImageFileName_);
    out.add(u"ImageCallOut", ImageCallOut_);
    out.add(u"ImageURLc2c", ImageURLc2c_);
    out.add(u"ImageURLalt", ImageURLalt_);
    out.add(u"MediaTagID", MediaTagID_);
    out.add(u"QuantityPerCar", QuantityPerCar_);
    line = 7;
    // Appended whatever it holds, so "Prices" is always there; written in place.
    prices().write_xml(out.text());
    line = 8;
    out.add(u"LaborOperation", LaborOperation_);
    out.add(u"LaborSkill", LaborSkill_);
    out.add(u"LaborRate", LaborRate_);
    out.add(u"LaborHRSnormal", LaborHRSnormal_);
    out.add(u"LaborHRSwarranty", LaborHRSwarranty_);
    out.add(u"LaborHRSsevere", LaborHRSsevere_);
    out.add(u"LaborType", LaborType_);
    out.add(u"YearRange", YearRange_);
    out.add(u"ComponentSide", ComponentSide_);
    out.add(u"Comment", Comment_);
    out.add(u"ItemTag", Tag_);
    out.add(u"GenericDescription", GenericDescription_);
    out.add(u"GenericDescriptionID", GenericDescriptionID_);
    out.add(u"SupplierStockingFlag", SupplierStockingFlag_);
    out.add(u"SupplierMovementFlag", SupplierMovementFlag_);
    out.add(u"SupplierMovementRank", SupplierMovementRank_);
    out.add(u"SupplierExtendedInfo", SupplierExtendedInfo_);
    out.add(u"VendorNumberXRef", VendorNumberXRef_);
    out.add(u"MCLsequence", MCLsequence_);
    line = 9;
    out.close();
    line = 10;
    observe_bytes_from("item", target, from);
  });
}

void ICatItem::put_XML(const Text& xsXML) { load_xml(xsXML); }

void ICatItem::put_XML_bytes(std::string_view xml) { load_xml(xml); }

template <class Xml>
void ICatItem::load_xml(const Xml& xsXML) {
  run_procedure(errors_, u"ICatItem | Let XML", Trace::No, [&](int& line) {
    line = 1;
    // The old prices never survive a load, not even when the text has none. Untraced, a
    // price collection nobody else holds is renewed in place: a new one would differ from
    // it only in the trace lines its creation writes.
    if (!diag::TraceActive() && PriceCol_ && PriceCol_->ref_count() == 1) {
      Ref<ICatPriceCol> prices = std::move(PriceCol_);
      Clear(true);
      prices->renew();
      PriceCol_ = std::move(prices);
    } else {
      Clear(false);
    }
    line = 2;
    if (xsXML.empty()) return;
    line = 3;
    std::string encoded;
    const std::string_view text = engine_bytes(xsXML, encoded);
    const FirstValues values(text, item_elements());
    line = 4;
    WorkGroup_ = integer_from(values.get(u"WorkGroup"));
    line = 5;
    GroupNumber_ = values.get(u"GroupNumber");
    line = 6;
    ItemType_ = static_cast<vexCatalogItemType>(long_from(values.get(u"ItemType")));
    line = 7;
    ItemSource_ = values.get(u"ItemSource");
    ItemStatus_ = Variant(values.get(u"ItemStatus"));  // text, also for numbers
    line = 8;
    ItemGroup_ = integer_from(values.get(u"ItemGroup"));
    line = 9;
    Heading_ = values.get(u"ItemHeading");
    ItemLaborAvailable_ = values.get(u"ItemLaborAvailable");
    ManufacturerName_ = values.get(u"Manufacturer");
    LineCode_ = values.get(u"LineCode");
    ItemNumber_ = values.get(u"ItemNumber");
    PartTypeCode_ = values.get(u"PartTypeCode");
    Description_ = values.get(u"Description");
    ImageFileName_ = values.get(u"ImageFileName");
    ImageCallOut_ = values.get(u"ImageCallOut");
    ImageURLc2c_ = values.get(u"ImageURLc2c");
    ImageURLalt_ = values.get(u"ImageURLalt");
    MediaTagID_ = values.get(u"MediaTagID");
    line = 10;
    QuantityPerCar_ = amount_from(values.get(u"QuantityPerCar"));
    line = 11;
    // The whole element, tags included; no "Prices" gives the empty text, an empty list.
    prices().put_XML_bytes(BlockSequence(text, u"Prices").get(1));
    line = 12;
    LaborOperation_ = values.get(u"LaborOperation");
    LaborSkill_ = values.get(u"LaborSkill");
    line = 13;
    LaborRate_ = amount_from(values.get(u"LaborRate"));
    line = 14;
    LaborHRSnormal_ = amount_from(values.get(u"LaborHRSnormal"));
    line = 15;
    LaborHRSwarranty_ = amount_from(values.get(u"LaborHRSwarranty"));
    line = 16;
    LaborHRSsevere_ = amount_from(values.get(u"LaborHRSsevere"));
    line = 17;
    LaborType_ = values.get(u"LaborType");
    YearRange_ = values.get(u"YearRange");
    ComponentSide_ = values.get(u"ComponentSide");
    Comment_ = values.get(u"Comment");
    Tag_ = values.get(u"ItemTag");
    GenericDescription_ = values.get(u"GenericDescription");
    GenericDescriptionID_ = values.get(u"GenericDescriptionID");
    SupplierStockingFlag_ = values.get(u"SupplierStockingFlag");
    SupplierMovementFlag_ = values.get(u"SupplierMovementFlag");
    SupplierMovementRank_ = values.get(u"SupplierMovementRank");
    SupplierExtendedInfo_ = values.get(u"SupplierExtendedInfo");
    VendorNumberXRef_ = values.get(u"VendorNumberXRef");
    MCLsequence_ = values.get(u"MCLsequence");
  });
}

}  // namespace vexqom
