// A catalog collection's members as the records they are.
#pragma once

#include "frame/procedure.h"
#include "vexqom/Collection.h"
#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/variant.h"

namespace vexqom {

// The member as the record class the collection holds; anything else, an empty member
// included, cannot be read (91).
template <class Record>
Record& member_record(const Variant& member) {
  Record* record = member.is_object() ? object_cast<Record>(member.object().get()) : nullptr;
  if (record == nullptr) throw Error(errc::kObjectNotSet);
  return *record;
}

// The member at a position or under a key, as its record (empty for an empty member or
// one of another class). No handler: the list's own 5 and 9 reach the caller unlogged.
template <class Record>
Ref<Record> member_at(const Collection& members, const Variant& index) {
  const Variant member = members.Item(index);
  return member.is_object() ? ref_cast<Record>(member.object()) : Ref<Record>();
}

// AddObject and Add of presets and lists: the record made (an empty one adds nothing) is
// added under key; a present key adds nothing, and the record is handed back all the same.
template <class Record, class Make>
Ref<Record> add_entry(ErrorState& errors, TextView label, Collection& members, const Text& key,
                      Make&& make) {
  return run_procedure(errors, label, Trace::Yes, [&](int& line) {
    line = 1;
    Ref<Record> entry = make();
    if (!entry) return entry;
    line = 2;
    tolerate_duplicate_key([&] { members.add(Variant(entry), key); });
    line = 3;
    return entry;
  });
}

}  // namespace vexqom
