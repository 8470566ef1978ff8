// The XML layout every catalog collection shares: the root element holding (items only)
// "XDocVersion", then "Count", then "Collection" with one element per member, then
// (items, presets, lists) the vehicle's element.
#pragma once

#include <algorithm>
#include <cstdint>
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

// Writes the collection; member_xml gives each member's own XML text. `line` follows the
// writer's steps so that a failure reports where it happened (a missing vehicle: 91).
template <class MemberXml>
Text write_collection_xml(const CollectionForm& form, const Collection& members,
                          MemberXml&& member_xml, int& line);

// Room kept beside the members for the elements around them (root, count, vehicle).
inline constexpr size_t kCollectionXmlRoom = 4096;

// The leading number of the first "Count" element, as a 16-bit Integer (error 6).
int16_t read_member_count(clsXML& engine);

// ---- implementation ----

// Room for n members like the first, a quarter more, and the surrounding elements; at
// most 64 Mi characters beyond the first member, so one large member does not make room
// for thousands of its size.
inline size_t estimated_members_room(size_t first, size_t n) {
  constexpr size_t kMostExtra = size_t{1} << 26;
  const size_t wanted = first / 4 * 5 * n + kCollectionXmlRoom;
  return std::min(wanted, first + kMostExtra);
}

// The members' XML, one after the other. Room for all of them is usually taken once, so a
// large selection is neither joined again nor grown by doubling.
template <class MemberXml>
Text joined_members_xml(const Collection& members, MemberXml&& member_xml) {
  Text joined;
  for (size_t i = 0; i < members.size(); ++i) {
    Text xml = member_xml(members.at(i));
    if (i == 0) {
      joined.reserve(estimated_members_room(xml.size(), members.size()));
      prefer_large_pages(joined.data(), joined.capacity() * sizeof(char16_t));
    }
    joined += xml;
  }
  return joined;
}

// Writes the collection around the members' XML, reusing its storage for the result.
Text compose_collection_xml(const CollectionForm& form, int32_t count, Text&& members_xml,
                            int& line);

template <class MemberXml>
Text write_collection_xml(const CollectionForm& form, const Collection& members,
                          MemberXml&& member_xml, int& line) {
  line = 2;
  Text joined = joined_members_xml(members, member_xml);
  return compose_collection_xml(form, static_cast<int32_t>(members.size()), std::move(joined),
                                line);
}

}  // namespace vexqom
