// A catalog collection's members as the records they are.
#pragma once

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

// Prices tell the two failures apart: no object 91, an object of another class 13.
template <class Record>
Record& member_record_strict(const Variant& member) {
  if (!member.is_object() || !member.object()) throw Error(errc::kObjectNotSet);
  Record* record = object_cast<Record>(member.object().get());
  if (record == nullptr) throw Error(errc::kTypeMismatch);
  return *record;
}

}  // namespace vexqom
