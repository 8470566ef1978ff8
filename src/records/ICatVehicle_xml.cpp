// The vehicle's XML form: one "Vehicle" element, written with "CurrentMileage" and read
// back from "Mileage".
#include "frame/document_observer.h"
#include "frame/procedure.h"
#include "vexqom/ICatVehicle.h"
#include "xml/clsXML.h"
#include "xml/first_values.h"

namespace vexqom {

namespace {

// The elements a vehicle reads from its text.
const ElementNames& vehicle_elements() {
  static const ElementNames names{
      u"AAIA", u"Year", u"Make", u"Model", u"Engine", u"VIN", u"Plate", u"Description", u"Mileage"};
  return names;
}

}  // namespace

Text ICatVehicle::get_XML() {
  return run_procedure(errors_, u"ICatVehicle | Get XML", Trace::Yes, [&](int& line) {
    line = 1;
    auto engine = create<clsXML>();
    line = 2;
    engine->put_Snippet(true);
    engine->put_Compress(true);
    engine->put_ZeroSuppress(true);
    line = 3;
    engine->Add(u"Vehicle", Text(), true, false);
    line = 4;
    engine->Add(u"AAIA", AAIA_);
    engine->Add(u"Year", Year_);
    engine->Add(u"Make", Make_);
    engine->Add(u"Model", Model_);
    engine->Add(u"Engine", Engine_);
    engine->Add(u"VIN", VIN_);
    engine->Add(u"Plate", Plate_);
    engine->Add(u"Description", Description_);  // the stored one, never the composed one
    engine->Add(u"CurrentMileage", CurrentMileage_);
    line = 5;
    engine->EndGroup();
    line = 6;
    return observed_document("vehicle", engine->get_XML());
  });
}

void ICatVehicle::put_XML(const Text& xsXML) {
  run_procedure(errors_, u"ICatVehicle | Let XML", Trace::Yes, [&](int& line) {
    line = 1;
    Clear();
    line = 2;
    if (xsXML.empty()) return;
    line = 3;
    auto engine = create<clsXML>();
    engine->put_XML(xsXML);
    const FirstValues values(*engine, vehicle_elements());
    line = 4;
    AAIA_ = values.get(u"AAIA");
    line = 5;
    Year_ = values.get(u"Year");
    line = 6;
    Make_ = values.get(u"Make");
    line = 7;
    Model_ = values.get(u"Model");
    line = 8;
    Engine_ = values.get(u"Engine");
    line = 9;
    VIN_ = values.get(u"VIN");
    line = 10;
    Plate_ = values.get(u"Plate");
    line = 11;
    Description_ = values.get(u"Description");
    line = 12;
    CurrentMileage_ = values.get(u"Mileage");
  });
}

}  // namespace vexqom
