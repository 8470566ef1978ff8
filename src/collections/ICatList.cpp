#include "vexqom/ICatList.h"

#include "frame/class_info.h"
#include "frame/procedure.h"
#include "vexqom/variant.h"
#include "xml/clsXML.h"

namespace vexqom {

const ClassInfo& ICatList::static_class_info() {
  using C = ICatList;
  static const ClassInfo info =
      ClassBuilder<C>("ICatList", "_ICatList", ids::kClsidICatList, ids::kIid_ICatList)
          .creatable()
          .property("XML", P(1), {get<&C::get_XML>(), let<&C::put_XML>({"xsVal"})})
          .property("ID", P(0), {let<&C::put_ID>({"vData"}), get<&C::get_ID>()})
          .property("Heading", kDispidValue,
                    {let<&C::put_Heading>({"vData"}), get<&C::get_Heading>()})
          .function("Clear", M(2), method<&C::Clear>())
          .build();
  return info;
}

void ICatList::Clear() {
  Heading_.clear();
  ID_ = 0;
}

Text ICatList::get_XML() {
  // Reading and writing share one label on purpose.
  return run_procedure(errors_, u"ICatList | XML", Trace::Yes, [&](int& line) {
    line = 1;
    auto engine = create<clsXML>();
    line = 2;
    // Snippet stays off: an entry is a whole document, declaration line included. The
    // thread's switches do not apply here.
    engine->put_Compress(true);
    engine->put_ZeroSuppress(true);
    line = 3;
    engine->Add(u"ICatList", Text(), true, false);
    line = 4;
    engine->Add(u"ListID", integer_text(ID_));
    line = 5;
    engine->Add(u"Heading", Heading_);
    line = 6;
    engine->EndGroup();
    line = 7;
    return engine->get_XML();
  });
}

void ICatList::put_XML(const Text& xsVal) {
  run_procedure(errors_, u"ICatList | XML", Trace::Yes, [&](int& line) {
    line = 1;
    Clear();
    line = 2;
    if (xsVal.empty()) return;
    line = 3;
    auto engine = create<clsXML>();
    engine->put_XML(xsVal);
    line = 4;
    // "2.5" reads as 2 and "3.5" as 4 (halves to even); beyond a Long: overflow.
    ID_ = round_to_long(leading_number(engine->get_Value(u"ListID", 1)));
    line = 5;
    Heading_ = engine->get_Value(u"Heading", 1);
  });
}

}  // namespace vexqom
