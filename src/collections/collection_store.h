// How a Collection keeps its members: entries that never move, positions in a tree of
// counts, and keys in a hash index.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "collections/key_index.h"
#include "vexqom/Collection.h"

namespace vexqom {

struct CollectionEntry {
  Variant value;
  Text folded_key;  // empty when the member has no key
  bool has_key = false;
  size_t slot = 0;                      // its place in the PositionTree
  CollectionEntry* next_free = nullptr;  // while unused: the next unused entry
};

// Entries never move, so the key index can point at them: the first few sit inside the
// pool itself (a part's prices need no block of their own), the others in blocks of
// growing size. A removed member's entry is taken again by a later one.
class EntryPool {
 public:
  EntryPool() = default;
  EntryPool(const EntryPool&) = delete;
  EntryPool& operator=(const EntryPool&) = delete;
  CollectionEntry* take();                         // bad_alloc leaves the pool as it was
  void give_back(CollectionEntry* entry) noexcept;  // releases the entry's member and key
  void reserve(size_t count);                      // room for count more, in one block

 private:
  void add_block(size_t count);
  static constexpr size_t kInline = 4;
  std::array<CollectionEntry, kInline> inline_;
  std::vector<std::unique_ptr<CollectionEntry[]>> blocks_;
  CollectionEntry* next_ = inline_.data();  // never taken yet: next_ up to end_
  CollectionEntry* end_ = inline_.data() + kInline;
  CollectionEntry* free_ = nullptr;  // given back, to be taken again
};

// Members in slots in insertion order. A removal leaves an empty slot instead of shifting
// the rest, and a Fenwick tree counting the filled slots turns positions into slots in
// O(log n); the empty slots are squeezed out once they make up half of all slots. So
// removing members one by one, by key or by position, stays linear overall.
class PositionTree {
 public:
  size_t live() const { return live_; }
  size_t slots() const { return slots_.size(); }
  CollectionEntry* entry_in(size_t slot) const { return slots_[slot].entry; }
  size_t slot_at(size_t position) const {  // 0-based position < live()
    return live_ == slots_.size() ? position : slot_at_slow(position);
  }
  void reserve(size_t count) { slots_.reserve(slots_.size() + count); }
  void append(CollectionEntry* entry);  // entry->slot is set
  // Empties the slot and returns its entry; the entries' slots may move.
  CollectionEntry* erase(size_t slot) noexcept;
  // Empties every slot pred selects; returns their entries in order.
  template <class Pred>
  void erase_if(Pred&& pred, std::vector<CollectionEntry*>& gone);
  void compact() noexcept;

 private:
  // A slot holds the entry there (null: a removed member's slot) and the tree's count of
  // filled slots in the range that ends at it.
  struct Slot {
    CollectionEntry* entry = nullptr;
    uint32_t filled = 0;
  };
  size_t slot_at_slow(size_t position) const;
  size_t filled_up_to(size_t count) const;  // filled slots among the first count
  std::vector<Slot> slots_;
  size_t live_ = 0;
};

class Collection::Store {
 public:
  size_t size() const { return positions.live(); }
  const Variant& at(size_t i) const { return positions.entry_in(positions.slot_at(i))->value; }
  CollectionEntry* find_key(TextView folded_key) const { return keys.find(folded_key); }
  // Appends; a key already present is refused (457) and nothing changes.
  void append(Variant member, Text folded_key, bool has_key);
  void erase_slot(size_t slot);
  size_t slot_of(const Variant& index) const;  // errors 5, 9, 13
  void let_go_in_order() noexcept;

  EntryPool entries;
  PositionTree positions;
  KeyIndex<CollectionEntry> keys;
};

template <class Pred>
void PositionTree::erase_if(Pred&& pred, std::vector<CollectionEntry*>& gone) {
  for (Slot& slot : slots_) {
    if (slot.entry && pred(slot.entry->value)) {
      gone.push_back(slot.entry);
      slot.entry = nullptr;
      --live_;
    }
  }
}

}  // namespace vexqom
