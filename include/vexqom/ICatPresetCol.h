// ICatPresetCol: preset lookup paths for a vehicle, keyed on rebuild by their three
// fields joined.
#pragma once

#include "vexqom/Collection.h"
#include "vexqom/Enumerator.h"
#include "vexqom/ICatPreset.h"
#include "vexqom/ICatVehicle.h"
#include "vexqom/api.h"
#include "vexqom/error.h"
#include "vexqom/object.h"

namespace vexqom {

class VEXQOM_API ICatPresetCol : public Object {
 public:
  static constexpr const char* kTypeName = "ICatPresetCol";
  static const ClassInfo& static_class_info();
  const ClassInfo& class_info() const override { return static_class_info(); }

  ICatPresetCol();  // an empty member list and a new, empty vehicle

  Text get_XML();
  void put_XML(const Text& xsXML);
  void putref_Vehicle(const Ref<ICatVehicle>& vehicle) { Vehicle_ = vehicle; }
  Ref<ICatVehicle> get_Vehicle() const { return Vehicle_; }
  // A present key adds nothing but returns the record anyway; an empty reference adds
  // nothing and returns an empty reference.
  Ref<ICatPreset> AddObject(const Ref<ICatPreset>& xoObj, const Text& sKey = Text());
  Ref<ICatPreset> Add(const Text& Category, const Text& Group, const Text& Description,
                      const Text& sKey = Text());
  Ref<ICatPreset> get_Item(const Variant& vntIndexKey) const;
  int32_t get_Count() const;
  void Remove(const Variant& vntIndexKey);
  Ref<Enumerator> get_NewEnum() const;

  const ErrorState& last_error() const { return errors_; }

 private:
  friend class XmlForm<ICatPresetCol>;

  Ref<Collection> members_;
  Ref<ICatVehicle> Vehicle_;
  ErrorState errors_;
};

}  // namespace vexqom
