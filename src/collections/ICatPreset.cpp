#include "vexqom/ICatPreset.h"

#include "frame/class_info.h"
#include "frame/diagnostics.h"
#include "frame/document_observer.h"
#include "frame/procedure.h"
#include "xml/clsXML.h"

namespace vexqom {

const ClassInfo& ICatPreset::static_class_info() {
  using C = ICatPreset;
  static const ClassInfo info =
      ClassBuilder<C>("ICatPreset", "_ICatPreset", ids::kClsidICatPreset, ids::kIid_ICatPreset)
          .creatable()
          .property("XML", P(3), {get<&C::get_XML>(), let<&C::put_XML>({"xsVal"})})
          .property("Category", P(2), {let<&C::put_Category>({"xsVal"}), get<&C::get_Category>()})
          .property("Group", P(1), {let<&C::put_Group>({"xsVal"}), get<&C::get_Group>()})
          .property("Description", P(0),
                    {let<&C::put_Description>({"xsVal"}), get<&C::get_Description>()})
          .function("Clear", M(4), method<&C::Clear>())
          .build();
  return info;
}

void ICatPreset::Clear() {
  Category_.clear();
  Group_.clear();
  Description_.clear();
}

Text ICatPreset::get_XML() {
  // Reading and writing share one label on purpose.
  return run_procedure(errors_, u"ICatPreset | XML", Trace::Yes, [&](int& line) {
    line = 1;
    auto engine = create<clsXML>();
    line = 2;
    // A preset alone follows the thread's switches; inside a collection too.
    const diag::ThreadState& switches = diag::thread_state();
    engine->put_Snippet(true);
    engine->put_Compress(switches.XMLCompress);
    engine->put_ZeroSuppress(switches.XMLZeroSuppress);
    line = 3;
    engine->Add(u"ICatPreset", Text(), true, false);
    line = 4;
    engine->Add(u"Category", Category_);
    line = 5;
    engine->Add(u"Group", Group_);
    line = 6;
    engine->Add(u"Description", Description_);
    line = 7;
    engine->EndGroup();
    line = 8;
    return observed_document("preset", engine->get_XML());
  });
}

void ICatPreset::put_XML(const Text& xsVal) {
  run_procedure(errors_, u"ICatPreset | XML", Trace::Yes, [&](int& line) {
    line = 1;
    Clear();
    line = 2;
    if (xsVal.empty()) return;
    line = 3;
    auto engine = create<clsXML>();
    engine->put_XML(xsVal);
    // The root element is not checked: any text with these children fills the record.
    line = 4;
    Category_ = engine->get_Value(u"Category", 1);
    line = 5;
    Group_ = engine->get_Value(u"Group", 1);
    line = 6;
    Description_ = engine->get_Value(u"Description", 1);
  });
}

}  // namespace vexqom
