// The XML layout every catalog collection shares: the root element holding (items only)
// "XDocVersion", then "Count", then "Collection" with one element per member, then
// (items, presets, lists) the vehicle's element.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "frame/large_pages.h"
#include "vexqom/Collection.h"
#include "vexqom/ICatVehicle.h"
#include "vexqom/text.h"
#include "xml/clsXML.h"

namespace vexqom {

struct CollectionForm {
  const char16_t* root = u"";      // "Prices", "Items", "ICatPresetCol", "ICatListCol"
  bool compress = true;            // the engine's Compress and ZeroSuppress
  bool zero_suppress = true;
  const Text* version = nullptr;   // written as "XDocVersion" when given
  bool with_vehicle = false;       // the vehicle's element after "Collection"
  const Ref<ICatVehicle>* vehicle = nullptr;
};

// Appends the collection's document at the end of out (code-page bytes or Text);
// append_member(member, out) appends one member's own XML. `line` follows the writer's
// steps so that a failure reports where it happened (a missing vehicle: 91).
template <class Out, class AppendMember>
void append_collection(Out& out, const CollectionForm& form, const Collection& members,
                       AppendMember&& append_member, int& line);
// The document as Text of its own; member_xml gives each member's XML as Text.
template <class MemberXml>
Text write_collection_xml(const CollectionForm& form, const Collection& members,
                          MemberXml&& member_xml, int& line);

// Room kept beside the members for the elements around them (root, count, vehicle): a
// part's few prices then fit one small block.
inline constexpr size_t kCollectionXmlRoom = 256;

// The leading number of the first "Count" element, as a 16-bit Integer (error 6).
int16_t read_member_count(clsXML& engine);
// The same for code-page bytes read without an engine.
int16_t read_member_count(std::string_view text);

// Appends the elements before the members ("<Collection>" included), or those after them
// ("</Collection>" on), as code-page bytes.
void append_collection_head(std::string& out, const CollectionForm& form, int32_t count,
                            int& line);
void append_collection_tail(std::string& out, const CollectionForm& form, int& line);
// The whole document of members that are not markup, written inside "Collection" by the
// engine's rules (escaped; left out when empty).
std::string collection_around_text(const CollectionForm& form, int32_t count,
                                   const Text& members, int& line);

// ---- implementation ----

// Room for n members like the first, a quarter more, and the surrounding elements; at
// most 64 MiB beyond the first member, so one large member does not make room
// for thousands of its size.
inline size_t estimated_members_room(size_t first, size_t n) {
  constexpr size_t kMostExtra = size_t{1} << 26;
  const size_t wanted = first / 4 * 5 * n + kCollectionXmlRoom;
  return std::min(wanted, first + kMostExtra);
}

inline void append_member_xml(std::string& out, const Text& xml) { append_code_page(out, xml); }
inline void append_member_xml(std::string& out, std::string_view xml) { out += xml; }
inline void append_member_xml(Text& out, std::string_view xml) {
  const size_t at = out.size();
  out.resize(at + xml.size());
  decode_code_page(xml, out.data() + at);
}
inline void append_member_xml(Text& out, const Text& xml) { out += xml; }

// Markup (never escaped, never a number, never empty) goes between head and tail as it is.
template <class Out>
bool is_markup_from(const Out& out, size_t from) {
  return out.size() > from && out[from] == '<' && out.back() == '>';
}

// The head or tail appended to a text: in place for bytes, widened from bytes for Text.
template <class Append>
void append_frame_part(std::string& out, Append&& append) {
  append(out);
}
template <class Append>
void append_frame_part(Text& out, Append&& append) {
  std::string bytes;
  append(bytes);
  append_member_xml(out, bytes);
}

inline Text members_as_text(const std::string& out, size_t from) {
  return from_code_page(std::string_view(out).substr(from));
}
inline Text members_as_text(const Text& out, size_t from) { return out.substr(from); }

// The members, one after the other. Room for all of them is usually taken once, after
// the first, so a large selection is neither copied again nor grown by doubling.
template <class Out, class AppendMember>
void append_members(Out& out, const Collection& members, AppendMember& append_member) {
  const size_t from = out.size();
  for (size_t i = 0; i < members.size(); ++i) {
    append_member(members.at(i), out);
    if (i == 0 && members.size() > 1) {
      const size_t wanted = out.size() + estimated_members_room(out.size() - from,
                                                                members.size() - 1);
      if (wanted > out.capacity()) {
        out.reserve(wanted);
        prefer_large_pages(out.data(), out.capacity() * sizeof(out[0]));
      }
    }
  }
}

template <class Out, class AppendMember>
void append_collection(Out& out, const CollectionForm& form, const Collection& members,
                       AppendMember&& append_member, int& line) {
  const size_t start = out.size();
  const auto count = static_cast<int32_t>(members.size());
  // The head depends on the count alone, so it is written first and the members follow
  // it in place; should they turn out not to be markup, the document is written again.
  if (count > 0) {
    append_frame_part(out, [&](std::string& bytes) {
      append_collection_head(bytes, form, count, line);
    });
  }
  const size_t from = out.size();
  line = 2;
  append_members(out, members, append_member);
  if (is_markup_from(out, from)) {
    append_frame_part(out, [&](std::string& bytes) { append_collection_tail(bytes, form, line); });
    return;
  }
  const Text members_text = members_as_text(out, from);
  out.resize(start);
  append_member_xml(out, collection_around_text(form, count, members_text, line));
}

// Adapts a writer of each member's XML to one that appends it.
template <class MemberXml>
auto appending(MemberXml& member_xml) {
  return [&member_xml](const Variant& member, auto& out) {
    append_member_xml(out, member_xml(member));
  };
}

template <class MemberXml>
Text write_collection_xml(const CollectionForm& form, const Collection& members,
                          MemberXml&& member_xml, int& line) {
  Text out;
  append_collection(out, form, members, appending(member_xml), line);
  return out;
}

}  // namespace vexqom
