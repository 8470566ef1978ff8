// ICatPriceCol: the prices of one catalog item, keyed by location ("JOBBER" for a
// supplier price after a rebuild).
#pragma once

#include "vexqom/Collection.h"
#include "vexqom/Enumerator.h"
#include "vexqom/ICatPrice.h"
#include "vexqom/api.h"
#include "vexqom/error.h"
#include "vexqom/object.h"

namespace vexqom {

class VEXQOM_API ICatPriceCol : public Object {
 public:
  static constexpr const char* kTypeName = "ICatPriceCol";
  static const ClassInfo& static_class_info();
  const ClassInfo& class_info() const override { return static_class_info(); }

  ICatPriceCol();
  ~ICatPriceCol() override;

  // The "Prices" element.
  Text get_XML();
  void put_XML(const Text& xsXML);

  // Appends the price (an empty reference too) under sKey, or without a key.
  Ref<ICatPrice> Add(const Ref<ICatPrice>& xoPrice, const Text& sKey = Text());
  // Get-or-create: a location the collection lacks comes into being.
  Ref<ICatPrice> get_Item(const Variant& vntIndexKey);
  int32_t get_Count() const;
  void Remove(const Variant& vntIndexKey);
  Ref<Enumerator> get_NewEnum() const;
  // xbDestroyObject leaves the collection without members (error 91) until Clear(false)
  // or an XML assignment.
  void Clear(bool xbDestroyObject = false);

  const ErrorState& last_error() const { return errors_; }

 private:
  friend class XmlForm<ICatPriceCol>;

  Collection& require_members() const;  // error 91 without a member list

  Ref<Collection> members_;
  ErrorState errors_;
};

}  // namespace vexqom
