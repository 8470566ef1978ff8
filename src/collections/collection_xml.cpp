#include "collections/collection_xml.h"

#include <iterator>

#include "vexqom/error.h"
#include "vexqom/variant.h"

namespace vexqom {

namespace {

// Stands in for the members while the engine writes the elements around them.
constexpr char16_t kMembersPlaceholder[] = u"<_/>";
constexpr size_t kPlaceholderLength = std::size(kMembersPlaceholder) - 1;

}  // namespace

Text compose_collection_xml(const CollectionForm& form, int32_t count, Text&& members_xml,
                            int& line) {
  auto engine = create<clsXML>();
  line = 3;
  engine->put_Snippet(true);
  engine->put_Compress(form.compress);
  engine->put_ZeroSuppress(form.zero_suppress);
  line = 4;
  engine->Add(form.root, Text(), true, false);
  if (form.version != nullptr) {
    line = 5;
    engine->Add(u"XDocVersion", *form.version);
  }
  line = 6;
  engine->Add(u"Count", integer_text(count));
  line = 7;
  // Markup is written as it is (never escaped, never a number), so the engine can write a
  // placeholder and the members take its place afterwards; each character stays one
  // code-page byte, so the engine's byte offsets are the text's offsets. Anything else
  // goes through the engine's rules.
  const bool splice = looks_like_xml(members_xml);
  size_t at = 0;
  if (splice) {
    engine->Add(u"Collection", kMembersPlaceholder);
    at = engine->built_length() - kPlaceholderLength - (sizeof("</Collection>") - 1);
  } else {
    engine->Add(u"Collection", members_xml);
  }
  if (form.with_vehicle) {
    line = 8;
    if (form.vehicle == nullptr || !*form.vehicle) throw Error(errc::kObjectNotSet);
    engine->AddXML((*form.vehicle)->get_XML());
  }
  line = 9;
  engine->EndGroup();
  Text around = engine->get_XML();
  if (!splice) return around;
  members_xml.insert(0, around, 0, at);
  members_xml.append(around, at + kPlaceholderLength);
  return std::move(members_xml);
}

int16_t read_member_count(clsXML& engine) {
  return round_to_integer(leading_number(engine.get_Value(u"Count", 1)));
}

}  // namespace vexqom
