#include "vexqom/ICatVehicle.h"

#include "frame/class_info.h"
#include "frame/procedure.h"
#include "records/record_form.h"

namespace vexqom {

const ClassInfo& ICatVehicle::static_class_info() {
  using C = ICatVehicle;
  static const ClassInfo info =
      ClassBuilder<C>("ICatVehicle", "_ICatVehicle", ids::kClsidICatVehicle, ids::kIid_ICatVehicle)
          .creatable()
          .property("XML", P(9), {get<&C::get_XML>(), let<&C::put_XML>({"xsXML"})})
          .property("AAIA", P(8), {let<&C::put_AAIA>({"vData"}), get<&C::get_AAIA>()})
          .property("Year", P(7), {let<&C::put_Year>({"vData"}), get<&C::get_Year>()})
          .property("Make", P(6), {let<&C::put_Make>({"vData"}), get<&C::get_Make>()})
          .property("Model", P(5), {let<&C::put_Model>({"vData"}), get<&C::get_Model>()})
          .property("Engine", P(4), {let<&C::put_Engine>({"vData"}), get<&C::get_Engine>()})
          .property("VIN", P(3),
                    {get<&C::get_VIN>(), let<&C::put_VIN>({ParamName("xsVIN").by_ref()})})
          .property("Plate", P(2),
                    {get<&C::get_Plate>(), let<&C::put_Plate>({ParamName("xsPlate").by_ref()})})
          .property("Description", P(1),
                    {let<&C::put_Description>({"vData"}), get<&C::get_Description>()})
          .property("CurrentMileage", P(0),
                    {get<&C::get_CurrentMileage>(),
                     let<&C::put_CurrentMileage>({ParamName("xsCurrentMileage").by_ref()})})
          .function("Clear", M(10), method<&C::Clear>())
          .build();
  return info;
}

ICatVehicle::ICatVehicle() {
  run_procedure(errors_, u"ICatVehicle | Class_Initialize", Trace::Yes, [&](int& line) {
    line = 1;
    Clear();
  });
}

ICatVehicle::~ICatVehicle() {
  ignore_errors([&] {
    trace_entry(u"ICatVehicle | Class_Terminate");
    Clear();
  });
  errors_ = ErrorState();
}

Text ICatVehicle::get_Description() const {
  if (!Description_.empty()) return Description_;
  return Year_ + u" " + Make_ + u" " + Model_ + u" " + Engine_;
}

void ICatVehicle::Clear() { clear_fields(*this, XmlForm<ICatVehicle>::form()); }

}  // namespace vexqom
