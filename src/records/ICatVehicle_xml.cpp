// The vehicle's XML form: one "Vehicle" element, written with "CurrentMileage" and read
// back from "Mileage".
#include "frame/document_observer.h"
#include "frame/procedure.h"
#include "vexqom/ICatVehicle.h"
#include "xml/clsXML.h"

namespace vexqom {

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
    line = 4;
    AAIA_ = engine->get_Value(u"AAIA", 1);
    line = 5;
    Year_ = engine->get_Value(u"Year", 1);
    line = 6;
    Make_ = engine->get_Value(u"Make", 1);
    line = 7;
    Model_ = engine->get_Value(u"Model", 1);
    line = 8;
    Engine_ = engine->get_Value(u"Engine", 1);
    line = 9;
    VIN_ = engine->get_Value(u"VIN", 1);
    line = 10;
    Plate_ = engine->get_Value(u"Plate", 1);
    line = 11;
    Description_ = engine->get_Value(u"Description", 1);
    line = 12;
    CurrentMileage_ = engine->get_Value(u"Mileage", 1);
  });
}

}  // namespace vexqom
