#include "vexqom/Collection.h"

#include <algorithm>
#include <cmath>

#include "collections/key_index.h"
#include "frame/class_info.h"
#include "vexqom/error.h"

namespace vexqom {

namespace {

// A numeric index as a position, rounded halves to even. Values no Long can hold are
// simply out of range (9), like any other position outside 1..count.
size_t position_from_number(double number, size_t count) {
  const double r = std::nearbyint(number);  // the default rounding mode: halves to even
  if (!(r >= 1.0 && r <= static_cast<double>(count))) throw Error(errc::kSubscriptOutOfRange);
  return static_cast<size_t>(r) - 1;
}

}  // namespace

const ClassInfo& Collection::static_class_info() {
  using C = Collection;
  // Not creatable by name: only the library hands these out (GetDescriptions). Item and
  // Count answer both as method and as get, since hosts call them either way.
  static const ClassInfo info =
      ClassBuilder<C>("Collection", "Collection", Guid{}, Guid{})
          .property("Item", kDispidValue,
                    {method<&C::Item>({"Index"}), get<&C::Item>({"Index"})})
          .function("Add", 1,
                    method<&C::Add>({"Item", ParamName("Key").optional(Variant())}))
          .property("Count", 2, {get<&C::Count>(), method<&C::Count>()})
          .function("Remove", 3, method<&C::Remove>({"Index"}))
          .property("NewEnum", kDispidNewEnum, {get<&C::NewEnum>()}, /*hidden=*/true)
          .build();
  return info;
}

Collection::Collection() = default;

Collection::~Collection() {
  // Members are let go in their order, as hosts see them go.
  for (Slot& slot : slots_) {
    if (slot.entry) slot.entry->value = Variant();
  }
}

// ---- entries ----

Collection::Entry* Collection::EntryStore::take() {
  if (free_ != nullptr) return std::exchange(free_, free_->next_free);
  if (next_ == end_) {
    constexpr size_t kLargestBlock = 1024;
    add_block(blocks_.empty() ? 2 * kInline : std::min(2 * (end_ - blocks_.back().get()),
                                                       static_cast<std::ptrdiff_t>(kLargestBlock)));
  }
  return next_++;
}

void Collection::EntryStore::give_back(Entry* entry) noexcept {
  const Variant gone = std::move(entry->value);  // released last: its end may run any code
  entry->value = Variant();
  entry->folded_key.clear();
  entry->has_key = false;
  entry->next_free = std::exchange(free_, entry);
}

void Collection::EntryStore::reserve(size_t count) {
  if (count > static_cast<size_t>(end_ - next_)) add_block(count);
}

void Collection::EntryStore::add_block(size_t count) {
  auto block = std::make_unique<Entry[]>(count);
  blocks_.push_back(std::move(block));  // the rest of the current block goes unused
  next_ = blocks_.back().get();
  end_ = next_ + count;
}

void Collection::Add(const Variant& Item, const Variant& Key) {
  if (Key.is_empty()) {
    add(Item, Text());
    return;
  }
  if (!Key.is_text()) throw Error(errc::kTypeMismatch);
  // Unlike add(), an empty Text here is a key like any other.
  append(Item, fold_case(Key.text()), true);
}

void Collection::add(Variant member, const Text& key) {
  if (key.empty()) {
    append(std::move(member), Text(), false);
  } else {
    append(std::move(member), fold_case(key), true);
  }
}

void Collection::reserve(size_t count) {
  slots_.reserve(slots_.size() + count);
  entries_.reserve(count);
  if (few_count_ + count > kScannedKeys) {
    start_index();
    by_key_->reserve(by_key_->size() + count);
  }
}

Variant Collection::Item(const Variant& Index) const {
  if (Index.is_text()) {
    // Key lookups go straight through the index.
    const Entry* found = find_key(fold_case(Index.text()));
    if (found == nullptr) throw Error(errc::kInvalidProcedureCall);
    return found->value;
  }
  return slots_[slot_of(Index)].entry->value;
}

const Variant* Collection::find(const Variant& index) const {
  if (!index.is_text()) return nullptr;
  const Entry* found = find_key(fold_case(index.text()));
  return found == nullptr ? nullptr : &found->value;
}

void Collection::Remove(const Variant& Index) { erase_slot(slot_of(Index)); }

Ref<Enumerator> Collection::NewEnum() const {
  std::vector<Variant> members;
  members.reserve(live_);
  for (const Slot& slot : slots_) {
    if (slot.entry) members.push_back(slot.entry->value);
  }
  return create<Enumerator>(std::move(members));
}

// ---- slots ----

size_t Collection::slot_of(const Variant& index) const {
  switch (index.type()) {
    case VarType::kText: {
      const Entry* found = find_key(fold_case(index.text()));
      if (found == nullptr) throw Error(errc::kInvalidProcedureCall);
      return found->slot;
    }
    case VarType::kInteger: return slot_at(position_from_number(index.integer(), live_));
    case VarType::kLong: return slot_at(position_from_number(index.long_value(), live_));
    case VarType::kDouble: return slot_at(position_from_number(index.dbl(), live_));
    case VarType::kCurrency:
      return slot_at(position_from_number(index.currency().to_double(), live_));
    case VarType::kBoolean: return slot_at(position_from_number(index.boolean() ? -1 : 0, live_));
    case VarType::kEmpty: throw Error(errc::kInvalidProcedureCall);
    case VarType::kNull: throw Error(errc::kInvalidUseOfNull);
    default: throw Error(errc::kTypeMismatch);
  }
}

size_t Collection::filled_up_to(size_t count) const {
  size_t sum = 0;
  for (size_t k = count; k > 0; k &= k - 1) sum += slots_[k - 1].filled;
  return sum;
}

size_t Collection::slot_at_slow(size_t position) const {
  // The smallest slot count holding position + 1 filled slots, by binary lifting.
  size_t k = 0;
  size_t left = position + 1;
  size_t step = 1;
  while (step * 2 <= slots_.size()) step *= 2;
  for (; step > 0; step /= 2) {
    if (k + step <= slots_.size() && slots_[k + step - 1].filled < left) {
      k += step;
      left -= slots_[k - 1].filled;
    }
  }
  return k;  // the slot after the k slots that hold fewer than position + 1 members
}

// The member goes after the last one; a key already present is refused (457) and the
// collection stays as it was.
void Collection::append(Variant member, Text folded_key, bool has_key) {
  Entry* raw = entries_.take();
  raw->value = std::move(member);
  raw->folded_key = std::move(folded_key);
  raw->has_key = has_key;
  bool claimed = false;
  try {
    claimed = has_key && claim_key(raw);
    const size_t k = slots_.size() + 1;  // the new slot's 1-based index
    const size_t low = k & (~k + 1);
    // The node covers slots k-low+1 .. k: all filled unless a removal left holes there.
    const size_t covered =
        live_ == slots_.size() ? low : 1 + filled_up_to(k - 1) - filled_up_to(k - low);
    raw->slot = slots_.size();
    if (slots_.empty()) slots_.reserve(4);  // one allocation for a small collection
    slots_.push_back(Slot{raw, static_cast<uint32_t>(covered)});
  } catch (...) {
    if (claimed) by_key_->erase(raw);
    entries_.give_back(raw);
    throw;
  }
  ++live_;
  if (!has_key || claimed) return;
  try {
    index_key(raw);
  } catch (...) {
    drop_last();  // keep the collection unchanged on failure
    throw;
  }
}

void Collection::drop_last() {
  // No earlier node of the tree covers the last slot, so dropping it is exact.
  Entry* gone = slots_.back().entry;
  slots_.pop_back();
  --live_;
  entries_.give_back(gone);
}

void Collection::erase_slot(size_t slot) {
  // The member is released only after the collection is consistent again, since its
  // destructor may run arbitrary code.
  Entry* gone = std::exchange(slots_[slot].entry, nullptr);
  forget_key(*gone);
  --live_;
  for (size_t k = slot + 1; k <= slots_.size(); k += k & (~k + 1)) --slots_[k - 1].filled;
  if (slots_.size() >= 64 && live_ * 2 < slots_.size()) compact();
  entries_.give_back(gone);
}

void Collection::compact() {
  size_t kept = 0;
  for (size_t i = 0; i < slots_.size(); ++i) {
    if (!slots_[i].entry) continue;
    slots_[i].entry->slot = kept;
    slots_[kept].entry = slots_[i].entry;
    ++kept;
  }
  slots_.resize(kept);
  for (size_t k = 1; k <= kept; ++k) slots_[k - 1].filled = static_cast<uint32_t>(k & (~k + 1));
  live_ = kept;
}

Collection::Entry* Collection::find_key(TextView folded_key) const {
  if (indexed_) {
    return by_key_->find(folded_key);
  }
  for (size_t i = 0; i < few_count_; ++i) {
    if (few_keys_[i]->folded_key == folded_key) return few_keys_[i];
  }
  return nullptr;
}

bool Collection::claim_key(Entry* entry) {
  if (!indexed_) {
    if (find_key(entry->folded_key)) throw Error(errc::kDuplicateKey);
    return false;
  }
  if (!by_key_->insert(entry)) throw Error(errc::kDuplicateKey);
  return true;
}

void Collection::start_index() {
  if (indexed_) return;
  try {
    by_key_ = std::make_unique<KeyIndex<Entry>>();
    for (size_t i = 0; i < few_count_; ++i) by_key_->insert(few_keys_[i]);
  } catch (...) {
    by_key_.reset();  // still scanning the few
    throw;
  }
  indexed_ = true;
  few_count_ = 0;
}

void Collection::index_key(Entry* entry) {
  if (!indexed_ && few_count_ < kScannedKeys) {
    few_keys_[few_count_++] = entry;
    return;
  }
  start_index();
  by_key_->insert(entry);
}

void Collection::forget_key(const Entry& e) {
  if (!e.has_key) return;
  if (indexed_) {
    by_key_->erase(&e);
    return;
  }
  for (size_t i = 0; i < few_count_; ++i) {
    if (few_keys_[i] == &e) {
      std::copy(few_keys_.begin() + i + 1, few_keys_.begin() + few_count_, few_keys_.begin() + i);
      --few_count_;
      return;
    }
  }
}

}  // namespace vexqom
