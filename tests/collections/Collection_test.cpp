// The keyed collection: caseless unique keys, 1-based positions, the four error numbers.
#include <gtest/gtest.h>

#include <random>

#include "support/error_number.h"
#include "vexqom/Collection.h"
#include "vexqom/error.h"

namespace vexqom {
namespace {

using testing::error_number_of;

Variant V(const char16_t* text) { return Variant(Text(text)); }

std::vector<Variant> contents(const Collection& c) {
  std::vector<Variant> out;
  for (size_t i = 0; i < c.size(); ++i) out.push_back(c.at(i));
  return out;
}

TEST(Collection, CaselessKeysAndRefusedAddsLeaveItUnchanged) {
  auto c = create<Collection>();
  c->Add(V(u"m"), V(u"Main"));
  c->Add(V(u"g"), V(u"Ärger"));
  c->Add(V(u"s"), V(u"ΣΊΣΥΦΟΣ"));
  c->add(V(u"u"), Text());  // the library's own add: empty means no key
  EXPECT_EQ(c->Item(V(u"MAIN")), V(u"m"));
  EXPECT_EQ(c->Item(V(u"äRGER")), V(u"g"));
  EXPECT_EQ(c->Item(V(u"σίσυφος")), V(u"s")) << "final sigma folds like any sigma";

  const auto before = contents(*c);
  EXPECT_EQ(error_number_of([&] { c->Add(V(u"x"), V(u"mAIN")); }), 457);
  EXPECT_EQ(error_number_of([&] { c->add(V(u"x"), u"ärger"); }), 457);
  EXPECT_EQ(error_number_of([&] { c->Add(V(u"x"), Variant(int32_t{7})); }), 13);
  EXPECT_EQ(error_number_of([&] { c->Add(V(u"x"), Variant::null()); }), 13);
  EXPECT_EQ(contents(*c), before);

  c->Add(V(u"b"), V(u""));  // through the public Add the empty Text is a real key
  EXPECT_EQ(c->Item(V(u"")), V(u"b"));
  EXPECT_EQ(error_number_of([&] { c->Add(V(u"x"), V(u"")); }), 457);
}

TEST(Collection, LookupErrorsAndHalfEvenPositions) {
  auto c = create<Collection>();
  for (const char16_t* m : {u"a", u"b", u"c"}) c->Add(V(m));
  EXPECT_EQ(c->Item(Variant(2.5)), V(u"b"));
  EXPECT_EQ(c->Item(Variant(1.5)), V(u"b"));
  EXPECT_EQ(c->Item(Variant(Currency::from_double(2.6))), V(u"c"));

  const std::pair<Variant, int32_t> cases[] = {
      {V(u"absent"), 5}, {V(u"1"), 5},  {Variant(int32_t{0}), 9}, {Variant(int16_t{4}), 9},
      {Variant(0.5), 9}, {Variant(3.5), 9}, {Variant(1e20), 9},     {Variant(true), 9},
      {Variant(), 5},    {Variant::null(), 94}, {Variant(Ref<Object>(c)), 13}};
  for (size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(error_number_of([&] { c->Item(cases[i].first); }), cases[i].second) << "case " << i;
    EXPECT_EQ(error_number_of([&] { c->Remove(cases[i].first); }), cases[i].second) << "case " << i;
  }
  EXPECT_EQ(contents(*c), (std::vector<Variant>{V(u"a"), V(u"b"), V(u"c")}));
}

TEST(Collection, RemovalClosesUpPositionsAndFreesKeys) {
  auto c = create<Collection>();
  c->add(V(u"a"), u"KA");
  c->add(V(u"b"), Text());
  c->add(V(u"c"), u"KC");
  c->add(V(u"d"), u"KD");
  c->Remove(V(u"ka"));
  EXPECT_EQ(c->Item(Variant(int32_t{2})), V(u"c"));
  c->Remove(Variant(int32_t{2}));
  EXPECT_EQ(contents(*c), (std::vector<Variant>{V(u"b"), V(u"d")}));
  EXPECT_EQ(error_number_of([&] { c->Item(V(u"KC")); }), 5) << "the key went with its member";
  EXPECT_EQ(c->Item(V(u"kd")), V(u"d"));
  c->add(V(u"a2"), u"ka");  // a freed key can be taken again

  auto snapshot = c->NewEnum();
  EXPECT_EQ(c->remove_if([](const Variant& v) { return v.text() != u"d"; }), 2u);
  EXPECT_EQ(c->Item(Variant(int32_t{1})), V(u"d"));
  EXPECT_EQ(error_number_of([&] { c->Item(V(u"KA")); }), 5);
  std::vector<Variant> seen;
  for (Variant v; snapshot->Next(&v);) seen.push_back(v);
  EXPECT_EQ(seen, (std::vector<Variant>{V(u"b"), V(u"d"), V(u"a2")}));
}

// Small collections scan their few keys and larger ones index them: lookups, refusals and
// removals must not tell the two apart, across the change and after the slots are squeezed.
TEST(Collection, KeysBehaveAlikeScannedAndIndexed) {
  auto c = create<Collection>();
  auto key = [](int i) {  // short keys live inside their entry, long ones outside
    return (i % 2 ? u"k" : u"a rather long key number ") + integer_text(i);
  };
  for (int n = 0; n < 80; ++n) {
    c->Add(Variant(n), Variant(key(n)));
    ASSERT_EQ(error_number_of([&] { c->Add(Variant(-1), Variant(upper_case(key(n)))); }), 457) << n;
    ASSERT_EQ(error_number_of([&] { c->add(Variant(-1), key(n / 2)); }), 457) << n;
    ASSERT_EQ(c->Count(), n + 1);
    for (int i = 0; i <= n; ++i) {
      ASSERT_EQ(c->Item(Variant(upper_case(key(i)))).long_value(), i) << n << " " << i;
    }
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
  EXPECT_EQ(error_number_of([&] { few->Item(Variant(key(2))); }), 5);
  EXPECT_EQ(error_number_of([&] { few->Item(Variant(key(0))); }), 5);
  few->add(Variant(7), key(2));
  EXPECT_EQ(few->Item(Variant(key(2))).long_value(), 7);
  EXPECT_EQ(few->Item(Variant(key(4))).long_value(), 4);
  EXPECT_EQ(error_number_of([&] { few->add(Variant(8), key(3)); }), 457);
  EXPECT_EQ(few->Count(), 4);

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

// Removals leave holes that are counted past and later squeezed out; a model list checks
// every position, key and enumeration after a long random mix of adds and removals.
TEST(Collection, PositionsStayExactThroughManyRemovals) {
  std::mt19937 rng(7);
  auto c = create<Collection>();
  std::vector<std::pair<int32_t, Text>> model;  // value, key
  int32_t next = 0;
  for (int step = 0; step < 4000; ++step) {
    const unsigned op = rng() % 10;
    if (op < 5 || model.empty()) {
      const Text key = u"k" + integer_text(next);
      c->Add(Variant(next), Variant(key));
      model.emplace_back(next++, key);
    } else if (op < 9) {
      const size_t at = rng() % model.size();
      const Text& key = model[at].second;
      if (op < 7 || key.empty()) {
        c->Remove(Variant(static_cast<int32_t>(at + 1)));
      } else {
        c->Remove(Variant(upper_case(key)));
      }
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
    } else {
      c->Add(Variant(next++));  // no key
      model.emplace_back(next - 1, Text());
    }
    ASSERT_EQ(c->Count(), static_cast<int32_t>(model.size()));
    if (model.empty()) continue;
    const size_t probe = rng() % model.size();
    ASSERT_EQ(c->Item(Variant(static_cast<int32_t>(probe + 1))).long_value(), model[probe].first);
    if (!model[probe].second.empty()) {
      ASSERT_EQ(c->Item(Variant(model[probe].second)).long_value(), model[probe].first);
    }
  }
  for (size_t i = 0; i < model.size(); ++i) EXPECT_EQ(c->at(i).long_value(), model[i].first);
  std::vector<int32_t> walked;
  Ref<Enumerator> e = c->NewEnum();
  for (Variant v; e->Next(&v);) walked.push_back(v.long_value());
  ASSERT_EQ(walked.size(), model.size());
  for (size_t i = 0; i < model.size(); ++i) EXPECT_EQ(walked[i], model[i].first);
  // A removed key is free again and an absent one still raises 5.
  EXPECT_THROW(c->Item(V(u"k0-absent")), Error);
}

}  // namespace
}  // namespace vexqom
