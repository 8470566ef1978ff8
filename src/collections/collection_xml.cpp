#include "collections/collection_xml.h"

#include "vexqom/error.h"
#include "vexqom/variant.h"
#include "xml/first_values.h"
#include "xml/snippet_writer.h"

namespace vexqom {

namespace {

// The root's start tag, the version (items only) and "Count".
void write_collection_start(SnippetWriter& out, const CollectionForm& form, int32_t count,
                            int& line) {
  line = 4;
  out.open(form.root);
  if (form.version != nullptr) {
    line = 5;
    out.add(u"XDocVersion", *form.version);
  }
  line = 6;
  out.add(u"Count", integer_text(count));
}

void write_vehicle(std::string& out, const CollectionForm& form, int& line) {
  if (!form.with_vehicle) return;
  line = 8;
  if (form.vehicle == nullptr || !*form.vehicle) throw Error(errc::kObjectNotSet);
  append_code_page(out, (*form.vehicle)->get_XML());
}

}  // namespace

void append_collection_head(std::string& out, const CollectionForm& form, int32_t count,
                            int& line) {
  line = 3;
  SnippetWriter head(out, form.compress, form.zero_suppress);
  write_collection_start(head, form, count, line);
  line = 7;
  head.add_xml("<Collection>");
  // The root stays open: append_collection_tail ends it.
}

void append_collection_tail(std::string& out, const CollectionForm& form, int& line) {
  out += "</Collection>";
  write_vehicle(out, form, line);
  line = 9;
  if (*form.root != u'\0') {
    out += "</";
    append_code_page(out, form.root);
    out += '>';
  }
}

std::string collection_around_text(const CollectionForm& form, int32_t count,
                                   const Text& members, int& line) {
  line = 3;
  SnippetWriter out(form.compress, form.zero_suppress, 64);
  write_collection_start(out, form, count, line);
  line = 7;
  out.add(u"Collection", members);
  write_vehicle(out.text(), form, line);
  line = 9;
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
