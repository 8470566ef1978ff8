// Collection: the keyed collection every catalog collection is built on, and the object
// GetDescriptions returns. Insertion order, 1-based positions, at most one Text key per
// member, keys unique without regard to letter case.
//
// Key lookups go through a hash index on the case-folded key, so they never scan; removing
// members one by one never shifts the members behind them.
// Errors: a present key 457, an absent key 5, a position outside 1..Count 9, a key that
// is not Text 13.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "vexqom/Enumerator.h"
#include "vexqom/api.h"
#include "vexqom/object.h"
#include "vexqom/variant.h"

namespace vexqom {

class VEXQOM_API Collection : public Object {
 public:
  static constexpr const char* kTypeName = "Collection";
  static const ClassInfo& static_class_info();
  const ClassInfo& class_info() const override { return static_class_info(); }

  Collection();
  ~Collection() override;  // the members are let go in their order

  // Appends a member; Key empty (the empty Variant) means no key.
  void Add(const Variant& Item, const Variant& Key = Variant());
  // A number is a position, a Text a key.
  Variant Item(const Variant& Index) const;
  int32_t Count() const { return static_cast<int32_t>(size()); }
  void Remove(const Variant& Index);
  Ref<Enumerator> NewEnum() const;

  // ---- The same for C++ callers, without Variant positions ----
  // Appends under key; here an empty key means none (Add takes it as a key).
  void add(Variant member, const Text& key);
  size_t size() const;
  const Variant& at(size_t i) const;  // the member at 0-based position i (< size())
  // The member under a Text key, compared without regard to case; null when absent or
  // when key is not Text. Never raises.
  const Variant* find(const Variant& key) const;
  // Room for count more members with keys, taken once instead of by growing.
  void reserve(size_t count);
  void clear();  // every member let go, in order
  // Removes every member pred selects, in one pass; returns how many went. When pred
  // raises, the members removed so far stay removed.
  size_t remove_if(const std::function<bool(const Variant&)>& pred);

 private:
  class Store;  // collections/collection_store.h
  Store& store();
  const Store& store() const;  // an empty one while there is none
  std::unique_ptr<Store> store_;
};

}  // namespace vexqom
