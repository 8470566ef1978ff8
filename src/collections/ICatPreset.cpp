#include "vexqom/ICatPreset.h"

#include "frame/class_info.h"
#include "frame/memory.h"
#include "records/record_form.h"

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

// Reading and writing share one label on purpose. A preset follows the thread's writer
// switches, alone and inside a collection.
template <>
const RecordForm<ICatPreset>& XmlForm<ICatPreset>::form() {
  using P = ICatPreset;
  static const RecordForm<P> f(
      {.root = u"ICatPreset", .write_label = u"ICatPreset | XML", .read_label = u"ICatPreset | XML",
       .trace = Trace::Yes, .observed_as = "preset", .close_line = 7,
       .clear = [](P& p) { p.Clear(); }},
      {{u"Category", &P::Category_, 4, 4},
       {u"Group", &P::Group_, 5, 5},
       {u"Description", &P::Description_, 6, 6}});
  return f;
}

void ICatPreset::Clear() { clear_fields(*this, XmlForm<ICatPreset>::form()); }

Text ICatPreset::get_XML() { return xml_text(*this, memory::kCollectionRoom); }

void ICatPreset::put_XML(const Text& xsVal) { XmlForm<ICatPreset>::read(*this, xsVal); }

}  // namespace vexqom
