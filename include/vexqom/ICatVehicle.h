// ICatVehicle: the vehicle for which catalog items are selected.
#pragma once

#include "vexqom/api.h"

#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/text.h"

namespace vexqom {

class VEXQOM_API ICatVehicle : public Object {
 public:
  static constexpr const char* kTypeName = "ICatVehicle";
  static const ClassInfo& static_class_info();
  const ClassInfo& class_info() const override { return static_class_info(); }

  ICatVehicle();
  ~ICatVehicle() override;

  // The "Vehicle" element: written with "CurrentMileage", read from "Mileage".
  Text get_XML();
  void put_XML(const Text& xsXML);

  Text get_AAIA() const { return AAIA_; }
  void put_AAIA(const Text& vData) { AAIA_ = vData; }
  Text get_Year() const { return Year_; }
  void put_Year(const Text& vData) { Year_ = vData; }
  Text get_Make() const { return Make_; }
  void put_Make(const Text& vData) { Make_ = vData; }
  Text get_Model() const { return Model_; }
  void put_Model(const Text& vData) { Model_ = vData; }
  Text get_Engine() const { return Engine_; }
  void put_Engine(const Text& vData) { Engine_ = vData; }
  Text get_VIN() const { return VIN_; }
  void put_VIN(const Text& xsVIN) { VIN_ = xsVIN; }
  Text get_Plate() const { return Plate_; }
  void put_Plate(const Text& xsPlate) { Plate_ = xsPlate; }
  // The stored description, or Year, Make, Model and Engine joined by single blanks.
  Text get_Description() const;
  void put_Description(const Text& vData) { Description_ = vData; }
  Text get_CurrentMileage() const { return CurrentMileage_; }
  void put_CurrentMileage(const Text& xsCurrentMileage) { CurrentMileage_ = xsCurrentMileage; }

  void Clear();

  const ErrorState& last_error() const { return errors_; }

 private:
  friend class XmlForm<ICatVehicle>;

  Text AAIA_, Year_, Make_, Model_, Engine_, VIN_, Plate_, Description_, CurrentMileage_;
  ErrorState errors_;
};

}  // namespace vexqom
