// Collection: the keyed collection every catalog collection is built on, and the object
// GetDescriptions returns. Insertion order, 1-based positions, at most one Text key per
// member, keys unique without regard to letter case.
//
// Key lookups go through a hash index on the case-folded key, so they never scan.
// Errors: a present key 457, an absent key 5, a position outside 1..Count 9, a key that
// is not Text 13.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

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
  ~Collection() override;

  // Appends a member; Key empty (the empty Variant) means no key.
  void Add(const Variant& Item, const Variant& Key = Variant());
  // A number is a position, a Text a key.
  Variant Item(const Variant& Index) const;
  int32_t Count() const { return static_cast<int32_t>(order_.size()); }
  void Remove(const Variant& Index);
  Ref<Enumerator> NewEnum() const;

  // ---- For the library's own collections ----
  // Appends under key (no key when empty).
  void add(Variant member, const Text& key);
  // The member at 0-based position i.
  const Variant& at(size_t i) const { return order_[i]->value; }
  size_t size() const { return order_.size(); }
  // Removes every member the predicate selects, in one pass; returns how many went.
  template <class Pred>
  size_t remove_if(Pred&& pred);

 private:
  struct Entry {
    Variant value;
    Text folded_key;  // empty when the member has no key
    bool has_key = false;
  };
  size_t position_of(const Variant& index) const;  // 0-based; errors 5, 9, 13
  void erase_at(size_t i);
  void forget_key(const Entry& e);

  std::vector<std::unique_ptr<Entry>> order_;
  std::unordered_map<Text, Entry*> by_key_;
};

template <class Pred>
size_t Collection::remove_if(Pred&& pred) {
  size_t kept = 0;
  const size_t before = order_.size();
  for (size_t i = 0; i < before; ++i) {
    if (pred(order_[i]->value)) {
      forget_key(*order_[i]);
      order_[i].reset();
    } else {
      if (kept != i) order_[kept] = std::move(order_[i]);
      ++kept;
    }
  }
  order_.resize(kept);
  return before - kept;
}

}  // namespace vexqom
