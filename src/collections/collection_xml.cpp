#include "collections/collection_xml.h"

#include <iterator>

#include "vexqom/error.h"
#include "vexqom/variant.h"

namespace vexqom {

namespace {

// Stands in for the members while the engine writes the elements around them.
constexpr char16_t kMembersPlaceholder[] = u"<_/>";
constexpr size_t kPlaceholderLength = std::size(kMembersPlaceholder) - 1;

bool looks_like_markup(std::string_view bytes) {
  return !bytes.empty() && bytes.front() == '<' && bytes.back() == '>';
}

}  // namespace

std::string compose_collection_bytes(const CollectionForm& form, int32_t count,
                                     std::string&& members_xml, int& line) {
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
  // placeholder and the members take its place afterwards. Anything else goes through the
  // engine's rules.
  const bool splice = looks_like_markup(members_xml);
  size_t at = 0;
  if (splice) {
    engine->Add(u"Collection", kMembersPlaceholder);
    at = engine->built_length() - kPlaceholderLength - (sizeof("</Collection>") - 1);
  } else {
    engine->Add(u"Collection", from_code_page(members_xml));
  }
  if (form.with_vehicle) {
    line = 8;
    if (form.vehicle == nullptr || !*form.vehicle) throw Error(errc::kObjectNotSet);
    engine->AddXML((*form.vehicle)->get_XML());
  }
  line = 9;
  engine->EndGroup();
  const std::string_view around = engine->snippet_bytes();
  if (!splice) return std::string(around);
  members_xml.insert(0, around.substr(0, at));
  members_xml.append(around.substr(at + kPlaceholderLength));
  return std::move(members_xml);
}

int16_t read_member_count(clsXML& engine) {
  return round_to_integer(leading_number(engine.get_Value(u"Count", 1)));
}

}  // namespace vexqom
