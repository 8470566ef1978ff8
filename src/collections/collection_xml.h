// The XML layout every catalog collection shares: the root element holding (items only)
// "XDocVersion", then "Count", then "Collection" with one element per member, then
// (items, presets, lists) the vehicle's element.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

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

// Writes the collection as code-page bytes, or as Text; member_xml gives each member's
// own XML, as Text or as code-page bytes. `line` follows the writer's steps so that a
// failure reports where it happened (a missing vehicle: 91).
template <class MemberXml>
std::string write_collection_bytes(const CollectionForm& form, const Collection& members,
                                   MemberXml&& member_xml, int& line);
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

// ---- implementation ----

// Room for n members like the first, a quarter more, and the surrounding elements; at
// most 64 MiB beyond the first member, so one large member does not make room
// for thousands of its size.
inline size_t estimated_members_room(size_t first, size_t n) {
  constexpr size_t kMostExtra = size_t{1} << 26;
  const size_t wanted = first / 4 * 5 * n + kCollectionXmlRoom;
  return std::min(wanted, first + kMostExtra);
}

inline void append_member_xml(std::string& joined, const Text& xml) {
  append_code_page(joined, xml);
}
inline void append_member_xml(std::string& joined, const std::string& xml) { joined += xml; }
inline void append_member_xml(Text& joined, const std::string& xml) {
  const size_t at = joined.size();
  joined.resize(at + xml.size());
  decode_code_page(xml, joined.data() + at);
}
inline void append_member_xml(Text& joined, const Text& xml) { joined += xml; }

// The members' XML, one after the other. Room for all of them is usually taken once, so a
// large selection is neither joined again nor grown by doubling.
template <class Joined, class MemberXml>
Joined joined_members_xml(const Collection& members, MemberXml&& member_xml) {
  Joined joined;
  for (size_t i = 0; i < members.size(); ++i) {
    const auto xml = member_xml(members.at(i));
    if (i == 0) {
      joined.reserve(estimated_members_room(xml.size(), members.size()));
      prefer_large_pages(joined.data(), joined.capacity() * sizeof(joined[0]));
    }
    append_member_xml(joined, xml);
  }
  return joined;
}

// The document around the members. Members that are markup (never escaped, never a
// number, never empty) go between head and tail as they are; others are written inside
// head by the engine's rules, and tail stays empty.
struct CollectionFrame {
  std::string head;
  std::string tail;
};
CollectionFrame compose_collection_frame(const CollectionForm& form, int32_t count,
                                         const Text* members_not_markup, int& line);

template <class Joined>
bool is_markup_text(const Joined& text) {
  return !text.empty() && text.front() == '<' && text.back() == '>';
}

inline Text as_text(const std::string& bytes) { return from_code_page(bytes); }
inline const Text& as_text(const Text& text) { return text; }
template <class Joined>
Joined from_bytes(std::string&& bytes) {
  if constexpr (std::is_same_v<Joined, Text>) {
    return from_code_page(bytes);
  } else {
    return std::move(bytes);
  }
}

// The members joined as Joined (code-page bytes or Text), the elements around them added
// in the room taken beside them.
template <class Joined, class MemberXml>
Joined write_collection(const CollectionForm& form, const Collection& members,
                        MemberXml&& member_xml, int& line) {
  line = 2;
  Joined joined = joined_members_xml<Joined>(members, member_xml);
  const auto count = static_cast<int32_t>(members.size());
  if (!is_markup_text(joined)) {
    const Text& members_text = as_text(joined);
    return from_bytes<Joined>(compose_collection_frame(form, count, &members_text, line).head);
  }
  CollectionFrame frame = compose_collection_frame(form, count, nullptr, line);
  joined.insert(0, from_bytes<Joined>(std::move(frame.head)));
  joined += from_bytes<Joined>(std::move(frame.tail));
  return joined;
}

template <class MemberXml>
std::string write_collection_bytes(const CollectionForm& form, const Collection& members,
                                   MemberXml&& member_xml, int& line) {
  return write_collection<std::string>(form, members, member_xml, line);
}

template <class MemberXml>
Text write_collection_xml(const CollectionForm& form, const Collection& members,
                          MemberXml&& member_xml, int& line) {
  return write_collection<Text>(form, members, member_xml, line);
}

}  // namespace vexqom
