// The XML layout every catalog collection shares: the root element holding (items only)
// "XDocVersion", then "Count", then "Collection" with one element per member, then
// (items, presets, lists) the vehicle's element.
#pragma once

#include <cstdint>
#include <vector>

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

// The leading number of the first "Count" element, as a 16-bit Integer (error 6).
int16_t read_member_count(clsXML& engine);

// ---- implementation ----

// members_xml: each member's XML, in order.
void begin_collection_xml(clsXML& engine, const CollectionForm& form, int32_t count,
                          const std::vector<Text>& members_xml, int& line);
Text end_collection_xml(clsXML& engine, const CollectionForm& form, int& line);

template <class MemberXml>
Text write_collection_xml(const CollectionForm& form, const Collection& members,
                          MemberXml&& member_xml, int& line) {
  line = 2;
  // Kept as pieces and written once into a buffer sized for all of them: a large
  // selection is never joined, converted and copied again, and no buffer grows by doubling.
  std::vector<Text> pieces;
  pieces.reserve(members.size());
  for (size_t i = 0; i < members.size(); ++i) pieces.push_back(member_xml(members.at(i)));
  auto engine = create<clsXML>();
  begin_collection_xml(*engine, form, static_cast<int32_t>(members.size()), pieces, line);
  return end_collection_xml(*engine, form, line);
}

}  // namespace vexqom
