// The item's XML form: one "Item" element with the price collection's "Prices" element
// embedded after "QuantityPerCar". Writer and reader share one element order; the item's
// element names never clash with those of the price form, because the reader finds each
// name by searching the whole text, price block included.
#include "frame/diagnostics.h"
#include "frame/document_observer.h"
#include "frame/procedure.h"
#include "vexqom/ICatItem.h"
#include "xml/clsXML.h"

namespace vexqom {

namespace {

// Whole numbers read with the leading-number parse and rounded halves to even;
// out of range raises error 6.
int16_t integer_from(const Text& text) { return round_to_integer(leading_number(text)); }
int32_t long_from(const Text& text) { return round_to_long(leading_number(text)); }
Currency amount_from(const Text& text) { return Currency::from_double(leading_number(text)); }

}  // namespace

Text ICatItem::get_XML() {
  return run_procedure(errors_, u"ICatItem | Get XML", Trace::No, [&](int& line) {
    line = 1;
    auto engine = create<clsXML>();
    line = 2;
    const diag::ThreadState& switches = diag::thread_state();
    engine->put_Snippet(true);
    engine->put_Compress(switches.XMLCompress);
    engine->put_ZeroSuppress(switches.XMLZeroSuppress);
    line = 3;
    engine->Add(u"Item", Text(), true, false);
    line = 4;
    engine->Add(u"WorkGroup", integer_text(WorkGroup_));
    engine->Add(u"GroupNumber", GroupNumber_);
    engine->Add(u"ItemType", integer_text(static_cast<int32_t>(ItemType_)));
    engine->Add(u"ItemSource", ItemSource_);
    line = 5;
    engine->Add(u"ItemStatus", to_text(ItemStatus_));
    line = 6;
    engine->Add(u"ItemGroup", integer_text(ItemGroup_));
    engine->Add(u"ItemHeading", Heading_);
    engine->Add(u"ItemLaborAvailable", ItemLaborAvailable_);
    engine->Add(u"Manufacturer", ManufacturerName_);
    engine->Add(u"LineCode", LineCode_);
    engine->Add(u"ItemNumber", ItemNumber_);
    engine->Add(u"PartTypeCode", PartTypeCode_);
    engine->Add(u"Description", Description_);
    engine->Add(u"ImageFileName", ImageFileName_);
    engine->Add(u"ImageCallOut", ImageCallOut_);
    engine->Add(u"ImageURLc2c", ImageURLc2c_);
    engine->Add(u"ImageURLalt", ImageURLalt_);
    engine->Add(u"MediaTagID", MediaTagID_);
    engine->Add(u"QuantityPerCar", QuantityPerCar_.to_text());
    line = 7;
    // Appended whatever it holds, so "Prices" is always there.
    engine->AddXML(prices().get_XML());
    line = 8;
    engine->Add(u"LaborOperation", LaborOperation_);
    engine->Add(u"LaborSkill", LaborSkill_);
    engine->Add(u"LaborRate", LaborRate_.to_text());
    engine->Add(u"LaborHRSnormal", LaborHRSnormal_.to_text());
    engine->Add(u"LaborHRSwarranty", LaborHRSwarranty_.to_text());
    engine->Add(u"LaborHRSsevere", LaborHRSsevere_.to_text());
    engine->Add(u"LaborType", LaborType_);
    engine->Add(u"YearRange", YearRange_);
    engine->Add(u"ComponentSide", ComponentSide_);
    engine->Add(u"Comment", Comment_);
    engine->Add(u"ItemTag", Tag_);
    engine->Add(u"GenericDescription", GenericDescription_);
    engine->Add(u"GenericDescriptionID", GenericDescriptionID_);
    engine->Add(u"SupplierStockingFlag", SupplierStockingFlag_);
    engine->Add(u"SupplierMovementFlag", SupplierMovementFlag_);
    engine->Add(u"SupplierMovementRank", SupplierMovementRank_);
    engine->Add(u"SupplierExtendedInfo", SupplierExtendedInfo_);
    engine->Add(u"VendorNumberXRef", VendorNumberXRef_);
    engine->Add(u"MCLsequence", MCLsequence_);
    line = 9;
    engine->EndGroup();
    line = 10;
    return observed_document("item", engine->get_XML());
  });
}

void ICatItem::put_XML(const Text& xsXML) {
  run_procedure(errors_, u"ICatItem | Let XML", Trace::No, [&](int& line) {
    line = 1;
    // The old prices never survive a load, not even when the text has none.
    Clear(false);
    line = 2;
    if (xsXML.empty()) return;
    line = 3;
    auto engine = create<clsXML>();
    engine->put_XML(xsXML);
    line = 4;
    WorkGroup_ = integer_from(engine->get_Value(u"WorkGroup", 1));
    line = 5;
    GroupNumber_ = engine->get_Value(u"GroupNumber", 1);
    line = 6;
    ItemType_ = static_cast<vexCatalogItemType>(long_from(engine->get_Value(u"ItemType", 1)));
    line = 7;
    ItemSource_ = engine->get_Value(u"ItemSource", 1);
    ItemStatus_ = Variant(engine->get_Value(u"ItemStatus", 1));  // text, also for numbers
    line = 8;
    ItemGroup_ = integer_from(engine->get_Value(u"ItemGroup", 1));
    line = 9;
    Heading_ = engine->get_Value(u"ItemHeading", 1);
    ItemLaborAvailable_ = engine->get_Value(u"ItemLaborAvailable", 1);
    ManufacturerName_ = engine->get_Value(u"Manufacturer", 1);
    LineCode_ = engine->get_Value(u"LineCode", 1);
    ItemNumber_ = engine->get_Value(u"ItemNumber", 1);
    PartTypeCode_ = engine->get_Value(u"PartTypeCode", 1);
    Description_ = engine->get_Value(u"Description", 1);
    ImageFileName_ = engine->get_Value(u"ImageFileName", 1);
    ImageCallOut_ = engine->get_Value(u"ImageCallOut", 1);
    ImageURLc2c_ = engine->get_Value(u"ImageURLc2c", 1);
    ImageURLalt_ = engine->get_Value(u"ImageURLalt", 1);
    MediaTagID_ = engine->get_Value(u"MediaTagID", 1);
    line = 10;
    QuantityPerCar_ = amount_from(engine->get_Value(u"QuantityPerCar", 1));
    line = 11;
    // The whole element, tags included; no "Prices" gives the empty text, an empty list.
    prices().put_XML(engine->get_Block(u"Prices", 1));
    line = 12;
    LaborOperation_ = engine->get_Value(u"LaborOperation", 1);
    LaborSkill_ = engine->get_Value(u"LaborSkill", 1);
    line = 13;
    LaborRate_ = amount_from(engine->get_Value(u"LaborRate", 1));
    line = 14;
    LaborHRSnormal_ = amount_from(engine->get_Value(u"LaborHRSnormal", 1));
    line = 15;
    LaborHRSwarranty_ = amount_from(engine->get_Value(u"LaborHRSwarranty", 1));
    line = 16;
    LaborHRSsevere_ = amount_from(engine->get_Value(u"LaborHRSsevere", 1));
    line = 17;
    LaborType_ = engine->get_Value(u"LaborType", 1);
    YearRange_ = engine->get_Value(u"YearRange", 1);
    ComponentSide_ = engine->get_Value(u"ComponentSide", 1);
    Comment_ = engine->get_Value(u"Comment", 1);
    Tag_ = engine->get_Value(u"ItemTag", 1);
    GenericDescription_ = engine->get_Value(u"GenericDescription", 1);
    GenericDescriptionID_ = engine->get_Value(u"GenericDescriptionID", 1);
    SupplierStockingFlag_ = engine->get_Value(u"SupplierStockingFlag", 1);
    SupplierMovementFlag_ = engine->get_Value(u"SupplierMovementFlag", 1);
    SupplierMovementRank_ = engine->get_Value(u"SupplierMovementRank", 1);
    SupplierExtendedInfo_ = engine->get_Value(u"SupplierExtendedInfo", 1);
    VendorNumberXRef_ = engine->get_Value(u"VendorNumberXRef", 1);
    MCLsequence_ = engine->get_Value(u"MCLsequence", 1);
  });
}

}  // namespace vexqom
