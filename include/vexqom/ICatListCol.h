// ICatListCol: list entries for a vehicle, keyed on rebuild by "I#" and their ID.
#pragma once

#include <cstdint>

#include "vexqom/Collection.h"
#include "vexqom/Enumerator.h"
#include "vexqom/ICatList.h"
#include "vexqom/ICatVehicle.h"
#include "vexqom/api.h"
#include "vexqom/error.h"
#include "vexqom/object.h"

namespace vexqom {

class VEXQOM_API ICatListCol : public Object {
 public:
  static constexpr const char* kTypeName = "ICatListCol";
  static const ClassInfo& static_class_info();
  const ClassInfo& class_info() const override { return static_class_info(); }

  ICatListCol();  // an empty member list and a new, empty vehicle

  Text get_XML();
  void put_XML(const Text& xsXML);
  void putref_Vehicle(const Ref<ICatVehicle>& vehicle) { Vehicle_ = vehicle; }
  Ref<ICatVehicle> get_Vehicle() const { return Vehicle_; }
  Ref<ICatList> AddObject(const Ref<ICatList>& xoObj, const Text& sKey = Text());
  // The key is never derived from the ID here.
  Ref<ICatList> Add(const Text& Heading, int32_t ID, const Text& sKey = Text());
  Ref<ICatList> get_Item(const Variant& vntIndexKey) const;
  int32_t get_Count() const;
  void Remove(const Variant& vntIndexKey);
  Ref<Enumerator> get_NewEnum() const;

  const ErrorState& last_error() const { return errors_; }

 private:
  friend class XmlForm<ICatListCol>;

  Ref<Collection> members_;
  Ref<ICatVehicle> Vehicle_;
  ErrorState errors_;
};

}  // namespace vexqom
