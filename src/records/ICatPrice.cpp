#include "vexqom/ICatPrice.h"

#include "frame/class_info.h"
#include "frame/diagnostics.h"
#include "frame/document_observer.h"
#include "frame/procedure.h"
#include "xml/clsXML.h"
#include "xml/first_values.h"
#include "xml/snippet_writer.h"

namespace vexqom {

namespace {

// Amounts are read with the leading-number parse, so "1,5" stops at the comma.
Currency amount_from(const Text& text) { return Currency::from_double(leading_number(text)); }

// The elements a price reads from its text.
const ElementNames& price_elements() {
  static const ElementNames names{
      u"Location", u"SellerID", u"DeliveryTime", u"UrgentFlag", u"QtyBuyingInc", u"PackingUnits",
      u"PackNumUnits", u"WarrantyCode", u"Rank", u"PriceTag", u"Available", u"QuantityToOrder",
      u"CoreCost", u"CoreList", u"Cost", u"List", u"Sell", u"Margin"};
  return names;
}

}  // namespace

const ClassInfo& ICatPrice::static_class_info() {
  using C = ICatPrice;
  static const ClassInfo info =
      ClassBuilder<C>("ICatPrice", "_ICatPrice", ids::kClsidICatPrice, ids::kIid_ICatPrice)
          .creatable()
          .property("XML", P(18), {get<&C::get_XML>(), let<&C::put_XML>({"xsXML"})})
          .property("Location", P(17),
                    {let<&C::put_Location>({"xsVal"}), get<&C::get_Location>()})
          .property("SellerID", P(16),
                    {let<&C::put_SellerID>({"xsVal"}), get<&C::get_SellerID>()})
          .property("UrgentFlag", P(15),
                    {let<&C::put_UrgentFlag>({"xsVal"}), get<&C::get_UrgentFlag>()})
          .property("DeliveryTime", P(14),
                    {let<&C::put_DeliveryTime>({"xsVal"}), get<&C::get_DeliveryTime>()})
          .property("QtyBuyingInc", P(13),
                    {let<&C::put_QtyBuyingInc>({"xsVal"}), get<&C::get_QtyBuyingInc>()})
          .property("PackingUnits", P(12),
                    {let<&C::put_PackingUnits>({"xsVal"}), get<&C::get_PackingUnits>()})
          .property("PackNumUnits", P(11),
                    {let<&C::put_PackNumUnits>({"xsVal"}), get<&C::get_PackNumUnits>()})
          .property("WarrantyCode", P(10),
                    {let<&C::put_WarrantyCode>({"xsVal"}), get<&C::get_WarrantyCode>()})
          .property("Rank", P(9), {let<&C::put_Rank>({"xsVal"}), get<&C::get_Rank>()})
          .property("Tag", P(8), {let<&C::put_Tag>({"xsVal"}), get<&C::get_Tag>()})
          .property("Available", P(7),
                    {let<&C::put_Available>({"xvVal"}), get<&C::get_Available>()})
          .property("QuantityToOrder", P(6),
                    {let<&C::put_QuantityToOrder>({"xvVal"}), get<&C::get_QuantityToOrder>()})
          .property("CoreCost", P(5), {let<&C::put_CoreCost>({"xfVal"}), get<&C::get_CoreCost>()})
          .property("CoreList", P(4), {let<&C::put_CoreList>({"xfVal"}), get<&C::get_CoreList>()})
          .property("Cost", P(3), {let<&C::put_Cost>({"xfVal"}), get<&C::get_Cost>()})
          .property("List", P(2), {let<&C::put_List>({"xfVal"}), get<&C::get_List>()})
          .property("Sell", P(1), {let<&C::put_Sell>({"xfVal"}), get<&C::get_Sell>()})
          .property("Margin", P(0), {let<&C::put_Margin>({"xfVal"}), get<&C::get_Margin>()})
          .function("Clear", M(21), method<&C::Clear>())
          .build();
  return info;
}

ICatPrice::ICatPrice() {
  run_procedure(errors_, u"ICatPrice | Class_Initialize", Trace::No, [&](int& line) {
    line = 1;
    Clear();
  });
}

ICatPrice::~ICatPrice() {
  ignore_errors([&] { Clear(); });
  errors_ = ErrorState();
}

void ICatPrice::put_SellerID(const Text& xsVal) {
  if (!xsVal.empty() && xsVal.front() != u'#') {
    SellerID_ = u"#" + xsVal;
  } else {
    SellerID_ = xsVal;
  }
}

Text ICatPrice::get_SellerID() const {
  // Text loaded from XML may lack the "#"; it is returned as it is.
  if (!SellerID_.empty() && SellerID_.front() == u'#') return SellerID_.substr(1);
  return SellerID_;
}

void ICatPrice::Clear() {
  run_procedure(errors_, u"ICatPrice | Clear", Trace::No, [&](int& line) {
    line = 1;
    clear_fields();
  });
}

void ICatPrice::clear_fields() {
  Location_.clear();
  SellerID_.clear();
  DeliveryTime_.clear();
  UrgentFlag_ = false;
  QtyBuyingInc_.clear();
  PackingUnits_.clear();
  PackNumUnits_.clear();
  WarrantyCode_.clear();
  Rank_.clear();
  Tag_.clear();
  // Empty text, not the empty Variant: readers see the same kind as after an XML load.
  Available_ = Variant(Text());
  QuantityToOrder_ = Variant(Text());
  CoreCost_ = Currency();
  CoreList_ = Currency();
  Cost_ = Currency();
  List_ = Currency();
  Sell_ = Currency();
  Margin_ = Currency();
}

Text ICatPrice::get_XML() {
  return written_text(512, [&](std::string& xml) { write_xml(xml); });  // the usual price
}

void ICatPrice::write_xml(std::string& target) {
  run_procedure(errors_, u"ICatPrice | Get XML", Trace::No, [&](int& line) {
    line = 1;
    const diag::ThreadState& switches = diag::thread_state();
    line = 2;
    const size_t from = target.size();
    SnippetWriter out(target, switches.XMLCompress, switches.XMLZeroSuppress);
    line = 3;
    out.open(u"Price");
    line = 4;
    out.add(u"Location", Location_);
    out.add(u"SellerID", SellerID_);  // the stored text, "#" included
    out.add(u"DeliveryTime", DeliveryTime_);
    out.add(u"UrgentFlag", boolean_text(UrgentFlag_));
    out.add(u"QtyBuyingInc", QtyBuyingInc_);
    out.add(u"PackingUnits", PackingUnits_);
    out.add(u"PackNumUnits", PackNumUnits_);
    out.add(u"WarrantyCode", WarrantyCode_);
    out.add(u"Rank", Rank_);
    out.add(u"PriceTag", Tag_);
    line = 5;
    out.add(u"Available", to_text(Available_));
    line = 6;
    out.add(u"QuantityToOrder", to_text(QuantityToOrder_));
    line = 7;
    out.add(u"CoreCost", CoreCost_);
    out.add(u"CoreList", CoreList_);
    out.add(u"Cost", Cost_);
    out.add(u"List", List_);
    out.add(u"Sell", Sell_);
    out.add(u"Margin", Margin_);
    line = 8;
    out.close();
    line = 9;
    observe_bytes_from("price", target, from);
  });
}

void ICatPrice::put_XML(const Text& xsXML) { load_xml(xsXML); }

void ICatPrice::put_XML_bytes(std::string_view xml) { load_xml(xml); }

template <class Xml>
void ICatPrice::load_xml(const Xml& xsXML) {
  run_procedure(errors_, u"ICatPrice | Let XML", Trace::No, [&](int& line) {
    line = 1;
    Clear();
    line = 2;
    if (xsXML.empty()) return;
    line = 3;
    std::string encoded;
    const FirstValues values(engine_bytes(xsXML, encoded), price_elements());
    line = 4;
    Location_ = values.get(u"Location");
    SellerID_ = values.get(u"SellerID");  // unchanged, with or without "#"
    DeliveryTime_ = values.get(u"DeliveryTime");
    line = 5;
    UrgentFlag_ = upper_case(values.get(u"UrgentFlag")) == u"TRUE";
    line = 6;
    QtyBuyingInc_ = values.get(u"QtyBuyingInc");
    PackingUnits_ = values.get(u"PackingUnits");
    PackNumUnits_ = values.get(u"PackNumUnits");
    WarrantyCode_ = values.get(u"WarrantyCode");
    Rank_ = values.get(u"Rank");
    Tag_ = values.get(u"PriceTag");
    line = 7;
    Available_ = Variant(values.get(u"Available"));
    QuantityToOrder_ = Variant(values.get(u"QuantityToOrder"));
    line = 8;
    CoreCost_ = amount_from(values.get(u"CoreCost"));
    line = 9;
    CoreList_ = amount_from(values.get(u"CoreList"));
    line = 10;
    Cost_ = amount_from(values.get(u"Cost"));
    line = 11;
    List_ = amount_from(values.get(u"List"));
    line = 12;
    Sell_ = amount_from(values.get(u"Sell"));
    line = 13;
    Margin_ = amount_from(values.get(u"Margin"));
  });
}

}  // namespace vexqom
