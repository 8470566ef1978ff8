// Collection: the keyed collection every catalog collection is built on, and the object
// GetDescriptions returns. Insertion order, 1-based positions, at most one Text key per
// member, keys unique without regard to letter case.
//
// Key lookups go through a hash index on the case-folded key, so they never scan.
// Errors: a present key 457, an absent key 5, a position outside 1..Count 9, a key that
// is not Text 13.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "vexqom/Enumerator.h"
#include "vexqom/api.h"
#include "vexqom/object.h"
#include "vexqom/variant.h"

namespace vexqom {

template <class Member>
class KeyIndex;  // the library's own (collections/key_index.h)

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
  int32_t Count() const { return static_cast<int32_t>(live_); }
  void Remove(const Variant& Index);
  Ref<Enumerator> NewEnum() const;

  // ---- For the library's own collections ----
  // Appends under key (no key when empty).
  void add(Variant member, const Text& key);
  // Never held a member: as good as a new list.
  bool pristine() const { return slots_.empty() && !indexed_; }
  // Room for count members with keys, taken once instead of by growing: for a reader
  // that knows how many members its document holds.
  void reserve(size_t count);
  // The member at 0-based position i.
  const Variant& at(size_t i) const { return slots_[slot_at(i)].entry->value; }
  size_t size() const { return live_; }
  // The member under key (compared without regard to case), or null; never raises.
  const Variant* find(const Variant& index) const;
  // Removes every member the predicate selects, in one pass; returns how many went.
  template <class Pred>
  size_t remove_if(Pred&& pred);

 private:
  struct Entry {
    Variant value;
    Text folded_key;  // empty when the member has no key
    bool has_key = false;
    size_t slot = 0;              // index in slots_
    Entry* next_free = nullptr;   // while unused: the next unused entry
  };

  // Entries never move, so the key index can point at them: the first few sit inside the
  // collection itself (a part's prices need no allocation of their own), the others in
  // blocks of growing size. A removed member's entry is taken again by a later one.
  class EntryStore {
   public:
    EntryStore() = default;
    EntryStore(const EntryStore&) = delete;
    EntryStore& operator=(const EntryStore&) = delete;
    Entry* take();                            // bad_alloc leaves the store as it was
    void give_back(Entry* entry) noexcept;    // releases the entry's member and key
    void reserve(size_t count);               // room for count more, in one block

   private:
    void add_block(size_t count);
    static constexpr size_t kInline = 4;
    std::array<Entry, kInline> inline_;
    std::vector<std::unique_ptr<Entry[]>> blocks_;
    Entry* next_ = inline_.data();  // never taken yet: next_ up to end_
    Entry* end_ = inline_.data() + kInline;
    Entry* free_ = nullptr;  // given back, to be taken again
  };

  // A slot holds the entry there (null: a removed member's slot) and the Fenwick tree's
  // count of filled slots in the range that ends at it, both in one array.
  struct Slot {
    Entry* entry = nullptr;
    uint32_t filled = 0;
  };

  // Members sit in slots in insertion order. A removal leaves an empty slot instead of
  // shifting the rest, and a Fenwick tree counting the filled slots turns positions into
  // slots in O(log n); the empty slots are squeezed out once they make up half
  // of all slots. So removing members one by one, by key or by position, stays linear
  // overall instead of quadratic.
  size_t slot_at(size_t position) const {  // 0-based position
    return live_ == slots_.size() ? position : slot_at_slow(position);
  }
  size_t slot_at_slow(size_t position) const;
  size_t slot_of(const Variant& index) const;  // errors 5, 9, 13
  size_t filled_up_to(size_t count) const;     // filled slots among the first count
  void append(Variant member, Text folded_key, bool has_key);
  void drop_last();  // undoes append() when indexing the key fails
  void erase_slot(size_t slot);
  void compact();
  // Keys are found by a scan while a collection holds few of them, as most do (a part's
  // prices), and through a hash index once it has held more: no index to build and tear
  // down for every small collection.
  static constexpr size_t kScannedKeys = 8;
  Entry* find_key(TextView folded_key) const;
  void index_key(Entry* entry);  // the appended entry's key; may fail only when indexed
  void start_index();            // from scanning the few keys to the hash index
  // An indexed collection files the key before the entry is appended (one lookup for the
  // test and the filing); true when it did. 457 for a key already present.
  bool claim_key(Entry* entry);
  void forget_key(const Entry& e);

  EntryStore entries_;
  std::vector<Slot> slots_;
  size_t live_ = 0;
  std::array<Entry*, kScannedKeys> few_keys_{};  // the keyed entries, until indexed_
  size_t few_count_ = 0;
  bool indexed_ = false;
  std::unique_ptr<KeyIndex<Entry>> by_key_;  // once indexed_
};

template <class Pred>
size_t Collection::remove_if(Pred&& pred) {
  const size_t before = live_;
  try {
    for (Slot& slot : slots_) {
      if (slot.entry && pred(slot.entry->value)) {
        Entry* gone = std::exchange(slot.entry, nullptr);
        forget_key(*gone);
        --live_;
        entries_.give_back(gone);
      }
    }
  } catch (...) {
    compact();  // the members removed so far stay removed
    throw;
  }
  compact();
  return before - live_;
}

}  // namespace vexqom
