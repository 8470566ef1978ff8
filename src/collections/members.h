// A catalog collection's members as the records they are.
#pragma once

#include <typeinfo>

#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/variant.h"

namespace vexqom {

// The object as a Record, or null when it is of another class. An object of class Record
// itself, the usual case, is recognised without the search of a dynamic_cast.
template <class Record>
Record* object_cast(Object* p) noexcept {
  if (p != nullptr && typeid(*p) == typeid(Record)) return static_cast<Record*>(p);
  return dynamic_cast<Record*>(p);
}

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
