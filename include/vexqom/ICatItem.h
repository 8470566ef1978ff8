// ICatItem: one line picked from a catalog (a part, a labor operation or a comment) with
// its prices per location, and the quantities and amounts derived from them.
#pragma once

#include <cstdint>

#include "vexqom/ICatPriceCol.h"
#include "vexqom/api.h"
#include "vexqom/currency.h"
#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/text.h"
#include "vexqom/variant.h"

namespace vexqom {

// Item kinds. ItemType accepts any Long; values outside the list are kept as they are.
enum class vexCatalogItemType : int32_t { vcit_Part = 0, vcit_Labor = 1, vcit_Comment = 2 };

class VEXQOM_API ICatItem : public Object {
 public:
  static constexpr const char* kTypeName = "ICatItem";
  static const ClassInfo& static_class_info();
  const ClassInfo& class_info() const override { return static_class_info(); }

  ICatItem();
  ~ICatItem() override;

  // The "Item" element with the embedded "Prices" element.
  Text get_XML();
  void put_XML(const Text& xsXML);

  // ---- Derived from the prices (lookups create missing price records) ----
  // Without a location: the sum over every location outside "INVOICE|LOCAL".
  Variant get_QuantityToOrder(const Text& xsLocation = Text());
  // Without a location the quantity goes to "JOBBER".
  void put_QuantityToOrder(const Text& xsLocation, const Variant& xvQuantity);
  Variant get_QuantityOnTicket();
  void put_QuantityOnTicket(const Variant& xvVal);
  // The "JOBBER" amount, or the "MSRP" one when that is 0.
  Variant JobberList();
  Variant JobberCost();
  Variant JobberCoreCost();
  Variant JobberCoreList();
  // A part whose status is one of ORDER|URGENT|BACK ORDER (any letter case).
  bool FlaggedToOrder(const Text& xsJobberID = Text());
  Text VendorNumber() const;
  Text UniqueKey() const;

  // ---- Plain properties ----
  void put_WorkGroup(int16_t vData) { WorkGroup_ = vData; }
  int16_t get_WorkGroup() const { return WorkGroup_; }
  void put_ItemType(vexCatalogItemType xeItemType) { ItemType_ = xeItemType; }
  vexCatalogItemType get_ItemType() const { return ItemType_; }
  void put_ItemStatus(const Variant& vData) { ItemStatus_ = vData; }
  Variant get_ItemStatus() const { return ItemStatus_; }
  void put_ItemGroup(int16_t xiData) { ItemGroup_ = xiData; }
  int16_t get_ItemGroup() const { return ItemGroup_; }
  void put_GroupNumber(const Text& xsVal) { GroupNumber_ = xsVal; }
  Text get_GroupNumber() const { return GroupNumber_; }
  void put_ItemSource(const Text& xsData) { ItemSource_ = xsData; }
  Text get_ItemSource() const { return ItemSource_; }
  void put_Heading(const Text& xsHeading) { Heading_ = xsHeading; }
  Text get_Heading() const { return Heading_; }
  void put_ItemLaborAvailable(const Text& xsLaborAvailFlag) { ItemLaborAvailable_ = xsLaborAvailFlag; }
  Text get_ItemLaborAvailable() const { return ItemLaborAvailable_; }
  void put_ManufacturerName(const Text& vData) { ManufacturerName_ = vData; }
  Text get_ManufacturerName() const { return ManufacturerName_; }
  void put_LineCode(const Text& vData) { LineCode_ = vData; }
  Text get_LineCode() const { return LineCode_; }
  void put_ItemNumber(const Text& vData) { ItemNumber_ = vData; }
  Text get_ItemNumber() const { return ItemNumber_; }
  void put_PartTypeCode(const Text& vData) { PartTypeCode_ = vData; }
  Text get_PartTypeCode() const { return PartTypeCode_; }
  void put_Description(const Text& vData) { Description_ = vData; }
  Text get_Description() const { return Description_; }
  void put_ImageFileName(const Text& vData) { ImageFileName_ = vData; }
  Text get_ImageFileName() const { return ImageFileName_; }
  void put_ImageCallOut(const Text& vData) { ImageCallOut_ = vData; }
  Text get_ImageCallOut() const { return ImageCallOut_; }
  void put_ImageURLc2c(const Text& xsVal) { ImageURLc2c_ = xsVal; }
  Text get_ImageURLc2c() const { return ImageURLc2c_; }
  void put_ImageURLalt(const Text& xsVal) { ImageURLalt_ = xsVal; }
  Text get_ImageURLalt() const { return ImageURLalt_; }
  void put_MediaTagID(const Text& xsVal) { MediaTagID_ = xsVal; }
  Text get_MediaTagID() const { return MediaTagID_; }
  void put_LaborOperation(const Text& xsLaborOperation) { LaborOperation_ = xsLaborOperation; }
  Text get_LaborOperation() const { return LaborOperation_; }
  void put_LaborSkill(const Text& xsLaborSkill) { LaborSkill_ = xsLaborSkill; }
  Text get_LaborSkill() const { return LaborSkill_; }
  void put_LaborType(const Text& xsLaborType) { LaborType_ = xsLaborType; }
  Text get_LaborType() const { return LaborType_; }
  void put_YearRange(const Text& xsYearRange) { YearRange_ = xsYearRange; }
  Text get_YearRange() const { return YearRange_; }
  void put_ComponentSide(const Text& xsComponentSide) { ComponentSide_ = xsComponentSide; }
  Text get_ComponentSide() const { return ComponentSide_; }
  void put_Comment(const Text& xsComment) { Comment_ = xsComment; }
  Text get_Comment() const { return Comment_; }
  void put_Tag(const Text& xsItemTag) { Tag_ = xsItemTag; }
  Text get_Tag() const { return Tag_; }
  void put_VendorNumberXRef(const Text& xsVendorNumberXRef) { VendorNumberXRef_ = xsVendorNumberXRef; }
  Text get_VendorNumberXRef() const { return VendorNumberXRef_; }
  void put_MCLsequence(const Text& xsMCLseq) { MCLsequence_ = xsMCLseq; }
  Text get_MCLsequence() const { return MCLsequence_; }
  void put_GenericDescription(const Text& xsVal) { GenericDescription_ = xsVal; }
  Text get_GenericDescription() const { return GenericDescription_; }
  void put_GenericDescriptionID(const Text& xsVal) { GenericDescriptionID_ = xsVal; }
  Text get_GenericDescriptionID() const { return GenericDescriptionID_; }
  void put_SupplierStockingFlag(const Text& xsVal) { SupplierStockingFlag_ = xsVal; }
  Text get_SupplierStockingFlag() const { return SupplierStockingFlag_; }
  void put_SupplierMovementFlag(const Text& xsVal) { SupplierMovementFlag_ = xsVal; }
  Text get_SupplierMovementFlag() const { return SupplierMovementFlag_; }
  void put_SupplierMovementRank(const Text& xsVal) { SupplierMovementRank_ = xsVal; }
  Text get_SupplierMovementRank() const { return SupplierMovementRank_; }
  void put_SupplierExtendedInfo(const Text& xsVal) { SupplierExtendedInfo_ = xsVal; }
  Text get_SupplierExtendedInfo() const { return SupplierExtendedInfo_; }
  void put_QuantityPerCar(Currency vData) { QuantityPerCar_ = vData; }
  Currency get_QuantityPerCar() const { return QuantityPerCar_; }
  void put_LaborRate(Currency xfLaborRate) { LaborRate_ = xfLaborRate; }
  Currency get_LaborRate() const { return LaborRate_; }
  void put_LaborHRSnormal(Currency xfLaborHRSnormal) { LaborHRSnormal_ = xfLaborHRSnormal; }
  Currency get_LaborHRSnormal() const { return LaborHRSnormal_; }
  void put_LaborHRSwarranty(Currency xfLaborHRSwarranty) { LaborHRSwarranty_ = xfLaborHRSwarranty; }
  Currency get_LaborHRSwarranty() const { return LaborHRSwarranty_; }
  void put_LaborHRSsevere(Currency xfLaborHRSsevere) { LaborHRSsevere_ = xfLaborHRSsevere; }
  Currency get_LaborHRSsevere() const { return LaborHRSsevere_; }

  // The item's own price collection (shared, not copied).
  Ref<ICatPriceCol> get_PriceCol() const { return PriceCol_; }
  void putref_PriceCol(const Ref<ICatPriceCol>& vData) { PriceCol_ = vData; }

  // xbDestroyObject leaves the item without a price collection.
  void Clear(bool xbDestroyObject = false);

  const ErrorState& last_error() const { return errors_; }

 private:
  friend class XmlForm<ICatItem>;

  ICatPriceCol& prices();  // error 91 without a price collection
  Variant jobber_amount(Currency (ICatPrice::*amount)() const, TextView label);

  int16_t WorkGroup_ = 0;
  vexCatalogItemType ItemType_ = vexCatalogItemType::vcit_Part;
  Variant ItemStatus_;
  int16_t ItemGroup_ = 0;
  Text GroupNumber_, ItemSource_, Heading_, ItemLaborAvailable_, ManufacturerName_, LineCode_, ItemNumber_, PartTypeCode_, Description_, ImageFileName_, ImageCallOut_, ImageURLc2c_, ImageURLalt_, MediaTagID_, LaborOperation_, LaborSkill_, LaborType_, YearRange_, ComponentSide_, Comment_, Tag_, VendorNumberXRef_, MCLsequence_, GenericDescription_, GenericDescriptionID_, SupplierStockingFlag_, SupplierMovementFlag_, SupplierMovementRank_, SupplierExtendedInfo_;
  Currency QuantityPerCar_, LaborRate_, LaborHRSnormal_, LaborHRSwarranty_, LaborHRSsevere_;
  Ref<ICatPriceCol> PriceCol_;
  ErrorState errors_;
};

}  // namespace vexqom
