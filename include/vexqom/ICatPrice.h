// ICatPrice: prices and quantities of one catalog item at one location or supplier.
#pragma once

#include "vexqom/api.h"
#include "vexqom/currency.h"
#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/text.h"
#include "vexqom/variant.h"

namespace vexqom {

class VEXQOM_API ICatPrice : public Object {
 public:
  static constexpr const char* kTypeName = "ICatPrice";
  static const ClassInfo& static_class_info();
  const ClassInfo& class_info() const override { return static_class_info(); }

  ICatPrice();
  ~ICatPrice() override;

  // The "Price" element (eighteen children; Tag written as "PriceTag").
  Text get_XML();
  void put_XML(const Text& xsXML);

  void put_Location(const Text& xsVal) { Location_ = xsVal; }
  Text get_Location() const { return Location_; }
  // Stored with a leading "#"; read without it.
  void put_SellerID(const Text& xsVal);
  Text get_SellerID() const;
  void put_UrgentFlag(bool xsVal) { UrgentFlag_ = xsVal; }
  bool get_UrgentFlag() const { return UrgentFlag_; }
  void put_DeliveryTime(const Text& xsVal) { DeliveryTime_ = xsVal; }
  Text get_DeliveryTime() const { return DeliveryTime_; }
  void put_QtyBuyingInc(const Text& xsVal) { QtyBuyingInc_ = xsVal; }
  Text get_QtyBuyingInc() const { return QtyBuyingInc_; }
  void put_PackingUnits(const Text& xsVal) { PackingUnits_ = xsVal; }
  Text get_PackingUnits() const { return PackingUnits_; }
  void put_PackNumUnits(const Text& xsVal) { PackNumUnits_ = xsVal; }
  Text get_PackNumUnits() const { return PackNumUnits_; }
  void put_WarrantyCode(const Text& xsVal) { WarrantyCode_ = xsVal; }
  Text get_WarrantyCode() const { return WarrantyCode_; }
  void put_Rank(const Text& xsVal) { Rank_ = xsVal; }
  Text get_Rank() const { return Rank_; }
  void put_Tag(const Text& xsVal) { Tag_ = xsVal; }
  Text get_Tag() const { return Tag_; }
  void put_Available(const Variant& xvVal) { Available_ = xvVal; }
  Variant get_Available() const { return Available_; }
  void put_QuantityToOrder(const Variant& xvVal) { QuantityToOrder_ = xvVal; }
  Variant get_QuantityToOrder() const { return QuantityToOrder_; }
  void put_CoreCost(Currency xfVal) { CoreCost_ = xfVal; }
  Currency get_CoreCost() const { return CoreCost_; }
  void put_CoreList(Currency xfVal) { CoreList_ = xfVal; }
  Currency get_CoreList() const { return CoreList_; }
  void put_Cost(Currency xfVal) { Cost_ = xfVal; }
  Currency get_Cost() const { return Cost_; }
  void put_List(Currency xfVal) { List_ = xfVal; }
  Currency get_List() const { return List_; }
  void put_Sell(Currency xfVal) { Sell_ = xfVal; }
  Currency get_Sell() const { return Sell_; }
  void put_Margin(Currency xfVal) { Margin_ = xfVal; }
  Currency get_Margin() const { return Margin_; }

  void Clear();

  const ErrorState& last_error() const { return errors_; }

 private:
  friend class XmlForm<ICatPrice>;

  Text Location_, SellerID_, DeliveryTime_;
  bool UrgentFlag_ = false;
  Text QtyBuyingInc_, PackingUnits_, PackNumUnits_, WarrantyCode_, Rank_, Tag_;
  Variant Available_, QuantityToOrder_;
  Currency CoreCost_, CoreList_, Cost_, List_, Sell_, Margin_;
  ErrorState errors_;
};

}  // namespace vexqom
