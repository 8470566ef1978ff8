#include "vexqom/Collection.h"

#include <algorithm>
#include <cmath>

#include "collections/collection_store.h"
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

// The store is made with the first member: many collections (an item's prices before a
// load fills them) never hold one.
Collection::Collection() = default;

Collection::~Collection() {
  if (store_) store_->let_go_in_order();
}

Collection::Store& Collection::store() {
  if (!store_) store_ = std::make_unique<Store>();
  return *store_;
}

const Collection::Store& Collection::store() const {
  static const Store kEmpty;
  return store_ ? *store_ : kEmpty;
}

// ---- the surface ----

void Collection::Add(const Variant& Item, const Variant& Key) {
  if (Key.is_empty()) {
    add(Item, Text());
    return;
  }
  if (!Key.is_text()) throw Error(errc::kTypeMismatch);
  // Unlike add(), an empty Text here is a key like any other.
  store().append(Item, fold_case(Key.text()), true);
}

void Collection::add(Variant member, const Text& key) {
  if (key.empty()) {
    store().append(std::move(member), Text(), false);
  } else {
    store().append(std::move(member), fold_case(key), true);
  }
}

size_t Collection::size() const { return store_ ? store_->size() : 0; }

const Variant& Collection::at(size_t i) const { return store_->at(i); }

void Collection::reserve(size_t count) {
  Store& s = store();
  s.positions.reserve(count);
  s.entries.reserve(count);
  s.keys.reserve(s.keys.size() + count);
}

Variant Collection::Item(const Variant& Index) const {
  const Store& s = store();
  return s.positions.entry_in(s.slot_of(Index))->value;
}

const Variant* Collection::find(const Variant& key) const {
  if (!key.is_text() || !store_) return nullptr;
  const CollectionEntry* found = store_->find_key(fold_case(key.text()));
  return found == nullptr ? nullptr : &found->value;
}

void Collection::Remove(const Variant& Index) {
  Store& s = store();
  s.erase_slot(s.slot_of(Index));
}

Ref<Enumerator> Collection::NewEnum() const {
  std::vector<Variant> members;
  members.reserve(size());
  for (size_t i = 0; i < size(); ++i) members.push_back(at(i));
  return create<Enumerator>(std::move(members));
}

void Collection::clear() {
  // Taken out first: a member's end may run any code, and finds the collection empty.
  std::unique_ptr<Store> old = std::move(store_);
  if (old) old->let_go_in_order();
}

size_t Collection::remove_if(const std::function<bool(const Variant&)>& pred) {
  if (!store_) return 0;
  Store& store = *store_;
  std::vector<CollectionEntry*> gone;
  // The members removed so far stay removed, also when pred raises; they are let go only
  // once the collection is consistent again.
  const auto finish = [&] {
    store.positions.compact();
    for (CollectionEntry* entry : gone) {
      if (entry->has_key) store.keys.erase(entry);
    }
    for (CollectionEntry* entry : gone) store.entries.give_back(entry);
  };
  try {
    store.positions.erase_if(pred, gone);
  } catch (...) {
    finish();
    throw;
  }
  finish();
  return gone.size();
}

// ---- the store ----

void Collection::Store::let_go_in_order() noexcept {
  for (size_t slot = 0; slot < positions.slots(); ++slot) {
    if (CollectionEntry* entry = positions.entry_in(slot)) entry->value = Variant();
  }
}

size_t Collection::Store::slot_of(const Variant& index) const {
  const size_t live = positions.live();
  switch (index.type()) {
    case VarType::kText: {
      const CollectionEntry* found = find_key(fold_case(index.text()));
      if (found == nullptr) throw Error(errc::kInvalidProcedureCall);
      return found->slot;
    }
    case VarType::kInteger: return positions.slot_at(position_from_number(index.integer(), live));
    case VarType::kLong: return positions.slot_at(position_from_number(index.long_value(), live));
    case VarType::kDouble: return positions.slot_at(position_from_number(index.dbl(), live));
    case VarType::kCurrency:
      return positions.slot_at(position_from_number(index.currency().to_double(), live));
    case VarType::kBoolean:
      return positions.slot_at(position_from_number(index.boolean() ? -1 : 0, live));
    case VarType::kEmpty: throw Error(errc::kInvalidProcedureCall);
    case VarType::kNull: throw Error(errc::kInvalidUseOfNull);
    default: throw Error(errc::kTypeMismatch);
  }
}

void Collection::Store::append(Variant member, Text folded_key, bool has_key) {
  CollectionEntry* entry = entries.take();
  entry->value = std::move(member);
  entry->folded_key = std::move(folded_key);
  entry->has_key = has_key;
  bool filed = false;
  try {
    if (has_key) {
      if (!keys.insert(entry)) throw Error(errc::kDuplicateKey);
      filed = true;
    }
    positions.append(entry);
  } catch (...) {
    if (filed) keys.erase(entry);
    entries.give_back(entry);
    throw;
  }
}

void Collection::Store::erase_slot(size_t slot) {
  // The member is let go only after the collection is consistent again, since its end may
  // run any code.
  CollectionEntry* gone = positions.erase(slot);
  if (gone->has_key) keys.erase(gone);
  entries.give_back(gone);
}

// ---- entries ----

CollectionEntry* EntryPool::take() {
  if (free_ != nullptr) return std::exchange(free_, free_->next_free);
  if (next_ == end_) {
    constexpr std::ptrdiff_t kLargestBlock = 1024;
    add_block(blocks_.empty() ? 2 * kInline
                              : static_cast<size_t>(std::min(2 * (end_ - blocks_.back().get()),
                                                             kLargestBlock)));
  }
  return next_++;
}

void EntryPool::give_back(CollectionEntry* entry) noexcept {
  const Variant gone = std::move(entry->value);  // let go last: its end may run any code
  entry->value = Variant();
  entry->folded_key.clear();
  entry->has_key = false;
  entry->next_free = std::exchange(free_, entry);
}

void EntryPool::reserve(size_t count) {
  if (count > static_cast<size_t>(end_ - next_)) add_block(count);
}

void EntryPool::add_block(size_t count) {
  auto block = std::make_unique<CollectionEntry[]>(count);
  blocks_.push_back(std::move(block));  // the rest of the current block goes unused
  next_ = blocks_.back().get();
  end_ = next_ + count;
}

// ---- positions ----

size_t PositionTree::filled_up_to(size_t count) const {
  size_t sum = 0;
  for (size_t k = count; k > 0; k &= k - 1) sum += slots_[k - 1].filled;
  return sum;
}

size_t PositionTree::slot_at_slow(size_t position) const {
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

void PositionTree::append(CollectionEntry* entry) {
  const size_t k = slots_.size() + 1;  // the new slot's 1-based index
  const size_t low = k & (~k + 1);
  // The node covers slots k-low+1 .. k: all filled unless a removal left holes there.
  const size_t covered =
      live_ == slots_.size() ? low : 1 + filled_up_to(k - 1) - filled_up_to(k - low);
  if (slots_.empty()) slots_.reserve(4);  // one allocation for a small collection
  slots_.push_back(Slot{entry, static_cast<uint32_t>(covered)});
  entry->slot = k - 1;
  ++live_;
}

CollectionEntry* PositionTree::erase(size_t slot) noexcept {
  CollectionEntry* gone = std::exchange(slots_[slot].entry, nullptr);
  --live_;
  for (size_t k = slot + 1; k <= slots_.size(); k += k & (~k + 1)) --slots_[k - 1].filled;
  if (slots_.size() >= 64 && live_ * 2 < slots_.size()) compact();
  return gone;
}

void PositionTree::compact() noexcept {
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

}  // namespace vexqom
