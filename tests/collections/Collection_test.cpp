// The keyed collection: caseless unique keys, 1-based positions, the four error numbers, and
// a key index that small and large collections, additions and removals must not tell apart.
#include "vexqom/Collection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/checks.h"

namespace vexqom {
namespace {

using testing::error_number_of;

std::vector<Variant> contents(const Collection& c) {
  std::vector<Variant> out;
  for (Ref<Enumerator> e = c.NewEnum(); out.emplace_back(), e->Next(&out.back());) {
  }
  out.pop_back();
  return out;
}

TEST(Collection, CaselessKeysRefusalsAndLookupErrors) {
  auto c = create<Collection>();
  c->Add(Variant(u"m"), Variant(u"Main"));
  c->Add(Variant(u"g"), Variant(u"Ärger"));
  c->Add(Variant(u"s"), Variant(u"ΣΊΣΥΦΟΣ"));
  c->add(Variant(u"u"), Text());        // the library's own add: empty means no key
  c->Add(Variant(u"b"), Variant(u""));  // through the public Add the empty Text is a real key
  const std::pair<const char16_t*, const char16_t*> found[] = {
      {u"MAIN", u"m"}, {u"äRGER", u"g"}, {u"σίσυφος", u"s"}, {u"", u"b"}};  // final sigma too
  for (auto [key, member] : found) EXPECT_EQ(c->Item(Variant(key)), Variant(member));
  const auto before = contents(*c);
  EXPECT_EQ(error_number_of([&] { c->Add(Variant(u"x"), Variant(u"mAIN")); }), 457);
  EXPECT_EQ(error_number_of([&] { c->add(Variant(u"x"), u"ärger"); }), 457);
  EXPECT_EQ(error_number_of([&] { c->Add(Variant(u"x"), Variant(u"")); }), 457);
  EXPECT_EQ(error_number_of([&] { c->Add(Variant(u"x"), Variant(int32_t{7})); }), 13);
  EXPECT_EQ(error_number_of([&] { c->Add(Variant(u"x"), Variant::null()); }), 13);
  EXPECT_EQ(contents(*c), before);

  // Positions round halves to even; lookups and removals fail alike.
  EXPECT_EQ(c->Item(Variant(2.5)), Variant(u"g"));
  EXPECT_EQ(c->Item(Variant(1.5)), Variant(u"g"));
  EXPECT_EQ(c->Item(Variant(Currency::from_double(2.6))), Variant(u"s"));
  const std::pair<Variant, int32_t> cases[] = {
      {Variant(u"absent"), 5}, {Variant(u"1"), 5}, {Variant(int32_t{0}), 9},
      {Variant(int16_t{6}), 9}, {Variant(0.5), 9}, {Variant(5.5), 9}, {Variant(1e20), 9},
      {Variant(true), 9}, {Variant(), 5}, {Variant::null(), 94}, {Variant(Ref<Object>(c)), 13}};
  for (const auto& [index, number] : cases) {
    EXPECT_EQ(error_number_of([&] { c->Item(index); }), number);
    EXPECT_EQ(error_number_of([&] { c->Remove(index); }), number);
  }
  EXPECT_EQ(contents(*c), before);
}

TEST(Collection, RemovalClosesUpPositionsAndFreesKeys) {
  auto c = create<Collection>();
  for (auto [member, key] : {std::pair{u"a", u"KA"}, {u"b", u""}, {u"c", u"KC"}, {u"d", u"KD"}})
    c->add(Variant(member), key);
  c->Remove(Variant(u"ka"));
  EXPECT_EQ(c->Item(Variant(int32_t{2})), Variant(u"c"));
  c->Remove(Variant(int32_t{2}));
  EXPECT_EQ(contents(*c), (std::vector<Variant>{Variant(u"b"), Variant(u"d")}));
  EXPECT_EQ(error_number_of([&] { c->Item(Variant(u"KC")); }), 5);  // gone with its member
  c->add(Variant(u"a2"), u"ka");  // a freed key can be taken again
  auto snapshot = c->NewEnum();
  EXPECT_EQ(c->remove_if([](const Variant& v) { return v.text() != u"d"; }), 2u);
  EXPECT_EQ(contents(*c), std::vector<Variant>{Variant(u"d")});
  EXPECT_EQ(error_number_of([&] { c->Item(Variant(u"KA")); }), 5);
  std::vector<Variant> seen;
  for (Variant v; snapshot->Next(&v);) seen.push_back(v);
  EXPECT_EQ(seen, (std::vector<Variant>{Variant(u"b"), Variant(u"d"), Variant(u"a2")}));
}

// Small collections scan their few keys and larger ones index them: lookups, refusals and
// removals must not tell the two apart, across the change and after the slots are squeezed.
TEST(Collection, KeysBehaveAlikeScannedAndIndexed) {
  auto key = [](int i) {  // short keys live inside their entry, long ones outside
    return (i % 2 ? u"k" : u"a rather long key number ") + integer_text(i);
  };
  auto c = create<Collection>();
  for (int n = 0; n < 80; ++n) {
    c->Add(Variant(n), Variant(key(n)));
    ASSERT_EQ(error_number_of([&] { c->Add(Variant(-1), Variant(upper_case(key(n)))); }), 457);
    ASSERT_EQ(error_number_of([&] { c->add(Variant(-1), key(n / 2)); }), 457) << n;
    for (int i = 0; i <= n; ++i) ASSERT_EQ(c->Item(Variant(upper_case(key(i)))).long_value(), i);
    ASSERT_EQ(c->find(Variant(key(n + 1))), nullptr);
  }
  // Every other member goes by key: more than half of the slots empty, so they are squeezed.
  for (int n = 0; n < 80; n += 2) c->Remove(Variant(key(n)));
  c->Remove(Variant(int32_t{1}));  // "k1", by position
  EXPECT_EQ(c->Count(), 39);
  for (int n = 3; n < 80; n += 2) EXPECT_EQ(c->Item(Variant(key(n))).long_value(), n);
  EXPECT_EQ(error_number_of([&] { c->Item(Variant(key(1))); }), 5);
  c->Add(Variant(1001), Variant(key(0)));  // freed keys are free again
  EXPECT_EQ(c->Item(Variant(key(0))).long_value(), 1001);

  auto few = create<Collection>();
  for (int n = 0; n < 5; ++n) few->add(Variant(n), key(n));
  few->Remove(Variant(key(2)));
  few->Remove(Variant(int32_t{1}));
  few->add(Variant(7), key(2));
  EXPECT_EQ(error_number_of([&] { few->Item(Variant(key(0))); }), 5);
  EXPECT_EQ(error_number_of([&] { few->add(Variant(8), key(3)); }), 457);
  // Room taken ahead indexes the keys already there and every one after them.
  few->reserve(100);
  for (int n = 10; n < 40; ++n) few->add(Variant(n), key(n));
  EXPECT_EQ(error_number_of([&] { few->add(Variant(8), upper_case(key(4))); }), 457);
  EXPECT_EQ(error_number_of([&] { few->add(Variant(8), key(39)); }), 457);
  EXPECT_EQ(few->Count(), 34);
  EXPECT_EQ(few->Item(Variant(key(2))).long_value(), 7);
  EXPECT_EQ(few->Item(Variant(int32_t{5})).long_value(), 10);
  EXPECT_EQ(few->Item(Variant(key(39))).long_value(), 39);
}

// Removals leave holes that are counted past and later squeezed out, and the index closes
// up behind them; a model list checks every position, key and enumeration after a long
// random mix of adds, refused adds and removals.
TEST(Collection, PositionsAndKeysStayExactThroughManyRemovals) {
  std::mt19937 rng(7);
  auto c = create<Collection>();
  std::vector<std::pair<int32_t, Text>> model;  // value, key
  for (int32_t next = 0, step = 0; step < 6000; ++step) {
    const unsigned op = rng() % 10;
    if (op < 5 || model.empty()) {
      const Text key = u"k" + integer_text(static_cast<int32_t>(rng() % 3000));
      const bool taken =
          std::any_of(model.begin(), model.end(), [&](auto& m) { return m.second == key; });
      ASSERT_EQ(error_number_of([&] { c->Add(Variant(next), Variant(key)); }), taken ? 457 : 0);
      if (!taken) model.emplace_back(next++, key);
    } else if (op < 9) {
      const size_t at = rng() % model.size();
      if (op < 7 || model[at].second.empty()) {
        c->Remove(Variant(static_cast<int32_t>(at + 1)));
      } else {
        c->Remove(Variant(upper_case(model[at].second)));
      }
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
    } else {
      c->Add(Variant(next));  // no key
      model.emplace_back(next++, Text());
    }
    ASSERT_EQ(c->Count(), static_cast<int32_t>(model.size()));
    if (model.empty()) continue;
    const size_t probe = rng() % model.size();
    ASSERT_EQ(c->Item(Variant(static_cast<int32_t>(probe + 1))).long_value(), model[probe].first);
    if (!model[probe].second.empty()) {
      ASSERT_EQ(c->Item(Variant(model[probe].second)).long_value(), model[probe].first);
    }
    for (int k = step % 97 == 0 ? 0 : 3000; k < 3000; k += 7) {  // absent keys too
      const Text key = u"k" + integer_text(k);
      const auto it =
          std::find_if(model.begin(), model.end(), [&](auto& m) { return m.second == key; });
      const Variant* member = c->find(Variant(key));
      ASSERT_EQ(member ? member->long_value() : -1, it == model.end() ? -1 : it->first) << step;
    }
  }
  std::vector<Variant> expected;
  for (const auto& m : model) expected.emplace_back(m.first);
  EXPECT_EQ(contents(*c), expected);
}

}  // namespace
}  // namespace vexqom
