#include "vexqom/Collection.h"

#include <cmath>

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
Collection::~Collection() = default;

void Collection::Add(const Variant& Item, const Variant& Key) {
  if (Key.is_empty()) {
    add(Item, Text());
    return;
  }
  if (!Key.is_text()) throw Error(errc::kTypeMismatch);
  // Unlike add(), an empty Text here is a key like any other.
  auto entry = std::make_unique<Entry>();
  entry->value = Item;
  entry->folded_key = fold_case(Key.text());
  entry->has_key = true;
  if (by_key_.contains(entry->folded_key)) throw Error(errc::kDuplicateKey);
  Entry* raw = entry.get();
  order_.push_back(std::move(entry));
  try {
    by_key_.emplace(raw->folded_key, raw);
  } catch (...) {
    order_.pop_back();  // keep the collection unchanged on failure
    throw;
  }
}

void Collection::add(Variant member, const Text& key) {
  auto entry = std::make_unique<Entry>();
  entry->value = std::move(member);
  if (!key.empty()) {
    entry->folded_key = fold_case(key);
    entry->has_key = true;
    if (by_key_.contains(entry->folded_key)) throw Error(errc::kDuplicateKey);
  }
  Entry* raw = entry.get();
  order_.push_back(std::move(entry));
  if (!raw->has_key) return;
  try {
    by_key_.emplace(raw->folded_key, raw);
  } catch (...) {
    order_.pop_back();
    throw;
  }
}

size_t Collection::position_of(const Variant& index) const {
  switch (index.type()) {
    case VarType::kText: {
      auto it = by_key_.find(fold_case(index.text()));
      if (it == by_key_.end()) throw Error(errc::kInvalidProcedureCall);
      // Keys are few and removals rare; finding the entry's position is the one scan.
      for (size_t i = 0; i < order_.size(); ++i) {
        if (order_[i].get() == it->second) return i;
      }
      throw Error(errc::kInvalidProcedureCall);
    }
    case VarType::kInteger: return position_from_number(index.integer(), order_.size());
    case VarType::kLong: return position_from_number(index.long_value(), order_.size());
    case VarType::kDouble: return position_from_number(index.dbl(), order_.size());
    case VarType::kCurrency:
      return position_from_number(index.currency().to_double(), order_.size());
    case VarType::kBoolean: return position_from_number(index.boolean() ? -1 : 0, order_.size());
    case VarType::kEmpty: throw Error(errc::kInvalidProcedureCall);
    case VarType::kNull: throw Error(errc::kInvalidUseOfNull);
    default: throw Error(errc::kTypeMismatch);
  }
}

Variant Collection::Item(const Variant& Index) const {
  if (Index.is_text()) {
    // Key lookups go straight through the index.
    auto it = by_key_.find(fold_case(Index.text()));
    if (it == by_key_.end()) throw Error(errc::kInvalidProcedureCall);
    return it->second->value;
  }
  return order_[position_of(Index)]->value;
}

void Collection::Remove(const Variant& Index) { erase_at(position_of(Index)); }

Ref<Enumerator> Collection::NewEnum() const {
  std::vector<Variant> members;
  members.reserve(order_.size());
  for (const auto& e : order_) members.push_back(e->value);
  return create<Enumerator>(std::move(members));
}

void Collection::forget_key(const Entry& e) {
  if (e.has_key) by_key_.erase(e.folded_key);
}

void Collection::erase_at(size_t i) {
  // The member is released only after the collection is consistent again, since its
  // destructor may run arbitrary code.
  std::unique_ptr<Entry> gone = std::move(order_[i]);
  forget_key(*gone);
  order_.erase(order_.begin() + static_cast<std::ptrdiff_t>(i));
}

}  // namespace vexqom
