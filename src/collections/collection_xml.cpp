#include "collections/collection_xml.h"


#include "vexqom/error.h"
#include "vexqom/variant.h"
#include "xml/first_values.h"
#include "xml/snippet_writer.h"

namespace vexqom {

namespace {

bool looks_like_markup(std::string_view bytes) {
  return !bytes.empty() && bytes.front() == '<' && bytes.back() == '>';
}

}  // namespace

std::string compose_collection_bytes(const CollectionForm& form, int32_t count,
                                     std::string&& members_xml, int& line) {
  line = 3;
  SnippetWriter out(form.compress, form.zero_suppress);
  line = 4;
  out.open(form.root);
  if (form.version != nullptr) {
    line = 5;
    out.add(u"XDocVersion", *form.version);
  }
  line = 6;
  out.add(u"Count", integer_text(count));
  line = 7;
  // Markup is written as it is (never escaped, never a number, never empty): the members'
  // bytes go in as they are, in their own storage. Anything else goes through the rules.
  if (looks_like_markup(members_xml)) {
    out.add_xml("<Collection>");
    out.take_xml(std::move(members_xml));
    out.add_xml("</Collection>");
  } else {
    out.add(u"Collection", from_code_page(members_xml));
  }
  if (form.with_vehicle) {
    line = 8;
    if (form.vehicle == nullptr || !*form.vehicle) throw Error(errc::kObjectNotSet);
    out.add_xml(to_code_page((*form.vehicle)->get_XML()));
  }
  line = 9;
  out.close();
  return std::move(out).finish();
}

int16_t read_member_count(clsXML& engine) {
  return round_to_integer(leading_number(engine.get_Value(u"Count", 1)));
}

int16_t read_member_count(std::string_view text) {
  static const ElementNames kCount{u"Count"};
  return round_to_integer(leading_number(FirstValues(text, kCount).get(u"Count")));
}

}  // namespace vexqom
