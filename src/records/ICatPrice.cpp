#include "vexqom/ICatPrice.h"

#include "collections/collection_form.h"
#include "frame/class_info.h"
#include "frame/memory.h"
#include "frame/procedure.h"
#include "records/record_form.h"

namespace vexqom {

// The "Price" element. SellerID is written and read as stored, "#" included or not; the
// tag goes as "PriceTag", so that it never meets the item's "ItemTag".
template <>
const RecordForm<ICatPrice>& XmlForm<ICatPrice>::form() {
  using P = ICatPrice;
  static const RecordForm<P> f(
      {.root = u"Price", .write_label = u"ICatPrice | Get XML", .read_label = u"ICatPrice | Let XML",
       .observed_as = "price", .close_line = 8, .clear = [](P& p) { p.Clear(); }},
      {{u"Location", &P::Location_, 4, 4},
       {u"SellerID", &P::SellerID_, 4, 4},
       {u"DeliveryTime", &P::DeliveryTime_, 4, 4},
       {u"UrgentFlag", &P::UrgentFlag_, 4, 5},
       {u"QtyBuyingInc", &P::QtyBuyingInc_, 4, 6},
       {u"PackingUnits", &P::PackingUnits_, 4, 6},
       {u"PackNumUnits", &P::PackNumUnits_, 4, 6},
       {u"WarrantyCode", &P::WarrantyCode_, 4, 6},
       {u"Rank", &P::Rank_, 4, 6},
       {u"PriceTag", &P::Tag_, 4, 6},
       {u"Available", &P::Available_, 5, 7},
       {u"QuantityToOrder", &P::QuantityToOrder_, 6, 7},
       {u"CoreCost", &P::CoreCost_, 7, 8},
       {u"CoreList", &P::CoreList_, 7, 9},
       {u"Cost", &P::Cost_, 7, 10},
       {u"List", &P::List_, 7, 11},
       {u"Sell", &P::Sell_, 7, 12},
       {u"Margin", &P::Margin_, 7, 13}});
  return f;
}

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
    clear_fields(*this, XmlForm<ICatPrice>::form());
  });
}

Text ICatPrice::get_XML() { return xml_text(*this, memory::kRecordRoom); }

void ICatPrice::put_XML(const Text& xsXML) { XmlForm<ICatPrice>::read(*this, xsXML); }

}  // namespace vexqom
