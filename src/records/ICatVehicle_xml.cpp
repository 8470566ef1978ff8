// The vehicle's XML form: one "Vehicle" element, written with "CurrentMileage" and read
// back from "Mileage". The stored Description is written, never the composed one.
#include "frame/memory.h"
#include "records/record_form.h"
#include "vexqom/ICatVehicle.h"

namespace vexqom {

template <>
const RecordForm<ICatVehicle>& XmlForm<ICatVehicle>::form() {
  using V = ICatVehicle;
  static const RecordForm<V> f(
      {.root = u"Vehicle", .write_label = u"ICatVehicle | Get XML",
       .read_label = u"ICatVehicle | Let XML", .trace = Trace::Yes, .thread_switches = false,
       .observed_as = "vehicle", .close_line = 5, .clear = [](V& v) { v.Clear(); }},
      {{u"AAIA", &V::AAIA_, 4, 4},
       {u"Year", &V::Year_, 4, 5},
       {u"Make", &V::Make_, 4, 6},
       {u"Model", &V::Model_, 4, 7},
       {u"Engine", &V::Engine_, 4, 8},
       {u"VIN", &V::VIN_, 4, 9},
       {u"Plate", &V::Plate_, 4, 10},
       {u"Description", &V::Description_, 4, 11},
       {u"CurrentMileage", &V::CurrentMileage_, 4, 12, u"Mileage"}});
  return f;
}

Text ICatVehicle::get_XML() { return xml_text(*this, memory::kRecordRoom); }

void ICatVehicle::put_XML(const Text& xsXML) { XmlForm<ICatVehicle>::read(*this, xsXML); }

}  // namespace vexqom
