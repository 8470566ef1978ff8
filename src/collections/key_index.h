// KeyIndex: the members of a collection by their folded key.
//
// Open addressing with linear probing over (hash, member) slots, at most half of them
// filled, removal by shifting the probe run back (no tombstones). A lookup reads one or
// two neighbouring slots and, on a hash match, the member's key; filing a member touches
// nothing else. A node-based map instead links each new member to another one somewhere
// in memory, a cache miss per filing in a large selection.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "vexqom/text.h"

namespace vexqom {

// Member: any type with a Text `folded_key`, kept in place while it is indexed.
template <class Member>
class KeyIndex {
 public:
  size_t size() const { return used_; }

  Member* find(TextView key) const {
    if (used_ == 0) return nullptr;
    const uint64_t hash = hash_of(key);
    for (size_t i = hash & mask_;; i = (i + 1) & mask_) {
      const Slot& slot = slots_[i];
      if (slot.member == nullptr) return nullptr;
      if (slot.hash == hash && slot.member->folded_key == key) return slot.member;
    }
  }

  // Files member under its key; false (nothing changed) when the key is taken.
  bool insert(Member* member) {
    if ((used_ + 1) * 2 > slots_.size()) rehash(slots_.empty() ? 16 : slots_.size() * 2);
    const uint64_t hash = hash_of(member->folded_key);
    size_t i = hash & mask_;
    for (; slots_[i].member != nullptr; i = (i + 1) & mask_) {
      if (slots_[i].hash == hash && slots_[i].member->folded_key == member->folded_key) {
        return false;
      }
    }
    slots_[i] = Slot{hash, member};
    ++used_;
    return true;
  }

  // Forgets member, which must be filed.
  void erase(const Member* member) {
    size_t i = hash_of(member->folded_key) & mask_;
    while (slots_[i].member != member) i = (i + 1) & mask_;
    // Later members of the probe run move back into the gap unless their own start lies
    // (cyclically) after it.
    for (size_t j = (i + 1) & mask_; slots_[j].member != nullptr; j = (j + 1) & mask_) {
      const size_t home = slots_[j].hash & mask_;
      const bool stays = i <= j ? (i < home && home <= j) : (i < home || home <= j);
      if (stays) continue;
      slots_[i] = slots_[j];
      i = j;
    }
    slots_[i] = Slot{};
    --used_;
  }

  // Room for count members in all, taken once.
  void reserve(size_t count) {
    size_t wanted = 16;
    while (wanted < count * 2) wanted *= 2;
    if (wanted > slots_.size()) rehash(wanted);
  }

  void clear() {
    slots_.clear();
    used_ = 0;
    mask_ = 0;
  }

 private:
  struct Slot {
    uint64_t hash = 0;
    Member* member = nullptr;  // null: an empty slot
  };

  static uint64_t hash_of(TextView key) { return std::hash<TextView>{}(key); }

  void rehash(size_t count) {  // a power of two, more than twice the members
    std::vector<Slot> old(count);
    old.swap(slots_);
    mask_ = count - 1;
    for (const Slot& slot : old) {
      if (slot.member == nullptr) continue;
      size_t i = slot.hash & mask_;
      while (slots_[i].member != nullptr) i = (i + 1) & mask_;
      slots_[i] = slot;
    }
  }

  std::vector<Slot> slots_;
  size_t used_ = 0;
  size_t mask_ = 0;
};

}  // namespace vexqom
