#include "vexqom/ICatList.h"

#include "frame/class_info.h"
#include "frame/memory.h"
#include "records/record_form.h"

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

// A whole document, declaration line first; reading and writing share one label on
// purpose, and the thread's writer switches do not apply.
template <>
const RecordForm<ICatList>& XmlForm<ICatList>::form() {
  using L = ICatList;
  static const RecordForm<L> f(
      {.root = u"ICatList", .write_label = u"ICatList | XML", .read_label = u"ICatList | XML",
       .trace = Trace::Yes, .thread_switches = false, .declaration = true, .close_line = 6,
       .clear = [](L& l) { l.Clear(); }},
      {{u"ListID", &L::ID_, 4, 4},  // "2.5" reads as 2 and "3.5" as 4; beyond a Long: 6
       {u"Heading", &L::Heading_, 5, 5}});
  return f;
}

void ICatList::Clear() { clear_fields(*this, XmlForm<ICatList>::form()); }

Text ICatList::get_XML() { return xml_text(*this, memory::kCollectionRoom); }

void ICatList::put_XML(const Text& xsVal) { XmlForm<ICatList>::read(*this, xsVal); }

}  // namespace vexqom
