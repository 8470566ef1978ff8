#include "collections/collection_xml.h"

#include "vexqom/error.h"
#include "vexqom/variant.h"

namespace vexqom {

void begin_collection_xml(clsXML& engine, const CollectionForm& form, int32_t count,
                          const std::vector<Text>& members_xml, int& line) {
  line = 3;
  engine.put_Snippet(true);
  engine.put_Compress(form.compress);
  engine.put_ZeroSuppress(form.zero_suppress);
  line = 4;
  engine.Add(form.root, Text(), true, false);
  if (form.version != nullptr) {
    line = 5;
    engine.Add(u"XDocVersion", *form.version);
  }
  line = 6;
  engine.Add(u"Count", integer_text(count));
  line = 7;
  engine.AddPieces(u"Collection", members_xml);
}

Text end_collection_xml(clsXML& engine, const CollectionForm& form, int& line) {
  if (form.with_vehicle) {
    line = 8;
    if (form.vehicle == nullptr || !*form.vehicle) throw Error(errc::kObjectNotSet);
    engine.AddXML((*form.vehicle)->get_XML());
  }
  line = 9;
  engine.EndGroup();
  return engine.get_XML();
}

int16_t read_member_count(clsXML& engine) {
  return round_to_integer(leading_number(engine.get_Value(u"Count", 1)));
}

}  // namespace vexqom
