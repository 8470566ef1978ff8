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

  // The member list (null after Clear(true)); for the library's own readers.
  const Ref<Collection>& members() const { return members_; }

  const ErrorState& last_error() const { return errors_; }

 private:
  // The XML form as code-page bytes, written at the end of the text of the ICatItem that
  // holds it: never widened to Text and narrowed again (the same bytes).
  friend class ICatItem;
  void write_xml(std::string& target);
  void put_XML_bytes(std::string_view xml);
  template <class Xml>
  void load_xml(const Xml& xml);  // Text or code-page bytes
  // The state of a new price collection, without the trace lines creating one writes (for
  // an item reloading a collection nobody else holds).
  void renew();
  // A new member list; one that nobody else holds and that never held a member is kept,
  // as no one could tell the two apart.
  void renew_members();

  Collection& require_members() const;  // error 91 without a member list

  Ref<Collection> members_;
  ErrorState errors_;
};

}  // namespace vexqom
