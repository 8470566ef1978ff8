#include "collections/collection_xml.h"


#include "vexqom/error.h"
#include "vexqom/variant.h"
#include "xml/first_values.h"
#include "xml/snippet_writer.h"

namespace vexqom {

CollectionFrame compose_collection_frame(const CollectionForm& form, int32_t count,
                                         const Text* members_not_markup, int& line) {
  line = 3;
  SnippetWriter out(form.compress, form.zero_suppress, 64);  // the elements around members
  line = 4;
  out.open(form.root);
  if (form.version != nullptr) {
    line = 5;
    out.add(u"XDocVersion", *form.version);
  }
  line = 6;
  out.add(u"Count", integer_text(count));
  line = 7;
  CollectionFrame frame;
  if (members_not_markup == nullptr) {
    out.add_xml("<Collection>");
    frame.head = out.take_text();
    out.add_xml("</Collection>");
  } else {
    out.add(u"Collection", *members_not_markup);
  }
  if (form.with_vehicle) {
    line = 8;
    if (form.vehicle == nullptr || !*form.vehicle) throw Error(errc::kObjectNotSet);
    out.add_xml(to_code_page((*form.vehicle)->get_XML()));
  }
  line = 9;
  out.close();
  if (members_not_markup == nullptr) {
    frame.tail = std::move(out).finish();
  } else {
    frame.head = std::move(out).finish();
  }
  return frame;
}

int16_t read_member_count(clsXML& engine) {
  return round_to_integer(leading_number(engine.get_Value(u"Count", 1)));
}

int16_t read_member_count(std::string_view text) {
  static const ElementNames kCount{u"Count"};
  return round_to_integer(leading_number(FirstValues(text, kCount).get(u"Count")));
}

}  // namespace vexqom
