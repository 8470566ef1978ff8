// The keyed collection (caseless unique keys, 1-based positions, the four error numbers,
// a key index that small and large collections, additions and removals must not tell
// apart) and the price, preset and list collections over it: their XML forms, the keys a
// rebuild gives, get-or-create, duplicates dropped unlogged, and which failures are logged.
#include "vexqom/Collection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

#include "support/checks.h"
#include "support/log_folder.h"
#include "vexqom/ICatListCol.h"
#include "vexqom/ICatPresetCol.h"
#include "vexqom/ICatPriceCol.h"

namespace vexqom {
namespace {

using namespace testing;

std::vector<Variant> drained(const Ref<Enumerator>& e) {
  std::vector<Variant> out;
  while (out.emplace_back(), e->Next(&out.back())) {
  }
  out.pop_back();
  return out;
}
std::vector<Variant> contents(const Collection& c) { return drained(c.NewEnum()); }

TEST(Collection, CaselessKeysRefusalsAndLookupErrors) {
  auto c = create<Collection>();
  c->Add(Variant(u"m"), Variant(u"Main"));
  c->Add(Variant(u"g"), Variant(u"Ärger"));
  c->Add(Variant(u"s"), Variant(u"ΣΊΣΥΦΟΣ"));
  c->Add(Variant(u"u"));                // no key
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
      {Variant(int16_t{6}), 9}, {Variant(0.5), 9}, {Variant(5.5), 9}, {Variant(), 5}, {Variant::null(), 94}, {Variant(Ref<Object>(c)), 13}};
  for (const auto& [index, number] : cases) {
    EXPECT_EQ(error_number_of([&] { c->Item(index); }), number);
    EXPECT_EQ(error_number_of([&] { c->Remove(index); }), number);
  }
  EXPECT_EQ(contents(*c), before);
}

// Small collections scan their few keys and larger ones index them; removals leave holes
// that are counted past and later squeezed out, and the index closes up behind them. A model
// list checks positions, keys (short ones kept in their entry, long ones outside it) and the
// enumeration through a long random mix of adds, refused adds and removals.
TEST(Collection, PositionsAndKeysStayExactThroughManyRemovals) {
  std::mt19937 rng(7);
  auto c = create<Collection>();
  std::vector<std::pair<int32_t, Text>> model;  // value, key
  for (int32_t next = 0, step = 0; step < 6000; ++step) {
    const unsigned op = rng() % 10;
    if (op < 5 || op == 9 || model.empty()) {  // an add, without key for 9
      const Text key =
          op == 9 ? Text() : (rng() % 2 ? u"k" : u"long key ") + integer_text(rng() % 3000);
      const bool taken = !key.empty() && std::any_of(model.begin(), model.end(),
                                                     [&](auto& m) { return m.second == key; });
      const Variant given = key.empty() ? Variant() : Variant(key);
      ASSERT_EQ(error_number_of([&] { c->Add(Variant(next), given); }), taken ? 457 : 0);
      if (!taken) model.emplace_back(next++, key);
    } else {
      const size_t at = rng() % model.size();
      c->Remove(op < 7 || model[at].second.empty() ? Variant(static_cast<int32_t>(at + 1))
                                                   : Variant(upper_case(model[at].second)));
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
    }
    if (step == 3000) c->reserve(5000);  // room taken ahead indexes every key already there
    ASSERT_EQ(c->Count(), static_cast<int32_t>(model.size()));
    if (model.empty()) continue;
    const size_t probe = rng() % model.size();
    ASSERT_EQ(c->Item(Variant(static_cast<int32_t>(probe + 1))).long_value(), model[probe].first);
    if (model[probe].second.empty()) continue;
    ASSERT_EQ(c->Item(Variant(model[probe].second)).long_value(), model[probe].first);
  }
  std::vector<Variant> expected;
  for (const auto& m : model) expected.emplace_back(m.first);
  EXPECT_EQ(contents(*c), expected);
  const Ref<Enumerator> earlier = c->NewEnum();  // keeps the members it was given
  c->Remove(Variant(int32_t{1}));
  EXPECT_EQ(drained(earlier), expected);
}

Text prices(const char16_t* count, std::initializer_list<std::array<const char16_t*, 3>> list) {
  Text out = Text(u"<Prices><Count>") + count + u"</Count><Collection>";
  for (const auto& [location, seller, rank] : list) {
    out += Text(u"<Price><Location>") + location + u"</Location><SellerID>" + seller +
           u"</SellerID><Rank>" + rank + u"</Rank></Price>";
  }
  return out + u"</Collection></Prices>";
}

TEST(ICatPriceCol, LookupsCreateOrFailUnloggedWhileAddLogs) {
  testing::LogFolder logs;  // fresh thread state: both switches off
  logs.create_trace_flag();
  auto col = create<ICatPriceCol>();
  EXPECT_EQ(u8(col->get_XML()), "<Prices><Count>0</Count><Collection></Collection></Prices>");
  col->Add(create<ICatPrice>(), u"MAIN");
  col->Add(Ref<ICatPrice>());  // an empty reference is a member too
  auto north = col->get_Item(Variant(u"NORTH"));
  EXPECT_EQ(north->get_Location(), u"NORTH");
  EXPECT_EQ(col->get_Item(Variant(u"north")), north);  // created once, found after
  EXPECT_EQ(col->get_Count(), 3);
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(int32_t{5})); }), 13);
  EXPECT_EQ(error_number_of([&] { col->Remove(Variant(u"SOUTH")); }), 5);
  Variant first;
  EXPECT_TRUE(col->get_NewEnum()->Next(&first) && first.object() == col->get_Item(Variant(1.0)));
  EXPECT_TRUE(logs.error_lines().empty());
  EXPECT_EQ(error_number_of([&] { col->Add(create<ICatPrice>(), u"Main"); }), 457);  // traced on
  EXPECT_EQ(error_number_of([&] { col->get_XML(); }), 91);  // the empty member has no XML
  col->Clear(true);
  // Neither of these has a handler.
  EXPECT_EQ(error_number_of([&] { col->get_Count(); }), 91);
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(u"A")); }), 91);
  EXPECT_EQ(logs.error_lines().size(), 2u);
  // A rebuild trusts "Count" (halves to even, a missing element gives an empty price), keys
  // a seller's price JOBBER, and logs each price whose key is taken as it drops it.
  col->put_XML(
      prices(u"3.5", {{u"EAST", u"#1", u"a"}, {u"jobber", u"", u"b"}, {u"east", u"", u"c"}}));
  ASSERT_EQ(col->get_Count(), 3);
  auto rank = [&](const char16_t* key) { return col->get_Item(Variant(key))->get_Rank(); };
  EXPECT_EQ(rank(u"JOBBER") + rank(u"EAST"), u"ac");
  EXPECT_EQ(logs.error_messages().back(), "ICatPriceCol | Add, Error # 457 at line: 1][This key is "
                                          "already associated with an element of this collection");
  EXPECT_EQ(error_number_of([&] { col->put_XML(prices(u"40000", {})); }), 6);
  EXPECT_EQ(logs.error_messages().back(), "ICatPriceCol | Let XML, Error # 6 at line: 4][Overflow");
  EXPECT_EQ(logs.error_lines().size(), 4u);
  const std::string add = "ICatPriceCol | Add", let = "ICatPriceCol | Let XML";
  EXPECT_EQ(logs.traced("ICatPriceCol |"), (std::vector<std::string>{"ICatPriceCol | Get XML",
                                            "ICatPriceCol | Clear", let, add, add, add, add, let}));
}

TEST(ICatPreset, RecordFollowsTheThreadSwitchesAndReadsAnyRoot) {
  LogFolder logs;
  auto p = create<ICatPreset>();
  p->put_Category(u"Engine");
  p->put_Description(u"A&B");
  WriterSwitches switches(false);
  EXPECT_EQ(u8(p->get_XML()),
            "<ICatPreset><Category>Engine</Category><Group></Group>"
            "<Description>A&amp;B</Description></ICatPreset>");
  WriterSwitches::set(true);
  const Text on = p->get_XML();
  EXPECT_EQ(
      u8(on),
      "<ICatPreset><Category>Engine</Category><Description>A&amp;B</Description></ICatPreset>");
  auto copy = create<ICatPreset>();
  // Any root will do; fields the text lacks are emptied, blanks around values go.
  copy->put_XML(u"<Other><Group>  Spark Plugs </Group></Other>");
  EXPECT_EQ(copy->get_Category() + u"|" + copy->get_Group() + u"|" + copy->get_Description(),
            u"|Spark Plugs|");
  EXPECT_TRUE(logs.error_lines().empty());
}

TEST(ICatPresetCol, AddsToleratePresentKeysAndRebuildsKeyByTheJoinedFields) {
  LogFolder logs;
  logs.create_trace_flag();
  WriterSwitches switches(false);  // the collection's own settings do not follow them
  auto col = create<ICatPresetCol>();
  EXPECT_EQ(u8(col->get_XML()), "<ICatPresetCol><Vehicle></Vehicle></ICatPresetCol>");
  auto first = col->Add(u"Engine", u"Spark Plugs", u"", u"K");
  auto second = col->Add(u"Engine", u"Spark Plugs", u"", u"k");
  EXPECT_TRUE(second && second != first);  // the new preset is returned although not held
  auto other = create<ICatPreset>();
  EXPECT_EQ(col->AddObject(other, u"K"), other);  // returned, not added
  EXPECT_FALSE(col->AddObject(Ref<ICatPreset>(), u"E"));
  EXPECT_EQ(col->AddObject(other), other);
  EXPECT_EQ(col->AddObject(other), other);  // without key the same record may join twice
  EXPECT_EQ(col->get_Count(), 3);
  // The member list's own errors pass through unlogged.
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(u"absent")); }), 5);
  EXPECT_EQ(error_number_of([&] { col->Remove(Variant(int32_t{4})); }), 9);
  col->Remove(Variant(u"k"));
  EXPECT_EQ(col->get_Item(Variant(int32_t{2})), other);
  EXPECT_TRUE(logs.error_lines().empty());

  col->Add(u"A", u"BC", u"");
  col->Add(u"AB", u"C", u"");  // the same joined key as the one before
  col->get_Vehicle()->put_Make(u"Ford");
  const Text text = col->get_XML();
  const std::string empty =
      "<ICatPreset><Category></Category><Group></Group><Description></Description></ICatPreset>";
  EXPECT_EQ(u8(text), "<ICatPresetCol><Count>4</Count><Collection>" + empty + empty +
                          "<ICatPreset><Category>A</Category><Group>BC</Group><Description>"
                          "</Description></ICatPreset><ICatPreset><Category>AB</Category><Group>C"
                          "</Group><Description></Description></ICatPreset></Collection><Vehicle>"
                          "<Make>Ford</Make></Vehicle></ICatPresetCol>");
  // The trusted Count and the load's own vehicle: the item document's tests (one reader).
  col->put_XML(text);
  ASSERT_EQ(col->get_Count(), 3);  // no key, no clash: both empty ones stay
  EXPECT_EQ(col->get_Item(Variant(u"abc"))->get_Category(), u"A");
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(u"")); }), 5);
  EXPECT_TRUE(logs.error_lines().empty());  // duplicates are dropped without a log line

  col->putref_Vehicle(Ref<ICatVehicle>());
  const std::string failure = "ICatPresetCol | Get XML, Error # 91 at line: 8";
  EXPECT_EQ(failure_of([&] { col->get_XML(); }), "91 " + failure + "\r\n" + kUnset);
  EXPECT_EQ(logs.error_messages(), std::vector<std::string>{failure + "][" + kUnset});
  col->put_XML(Text());  // a rebuild brings a vehicle again; traced under one label each way
  EXPECT_EQ(col->get_Vehicle()->get_Make() + integer_text(col->get_Count()), u"0");
  col->Add(u"", u"", u"");
  col->get_XML();
  EXPECT_EQ(logs.traced("ICatPreset"),
            (std::vector<std::string>{"ICatPresetCol | Let XML", "ICatPresetCol | Add",
                                      "ICatPresetCol | Get XML", "ICatPreset | XML"}));
}

Text list_col(const char16_t* count, std::initializer_list<const char16_t*> ids) {
  Text out = Text(u"<ICatListCol><Count>") + count + u"</Count><Collection>";
  int n = 0;
  for (const char16_t* id : ids) {
    out += from_utf8(kDeclaration) + u"<ICatList><ListID>" + id + u"</ListID><Heading>H" +
           integer_text(++n) + u"</Heading></ICatList>";
  }
  return out + u"</Collection></ICatListCol>";
}

TEST(ICatListCol, OnlyARebuildKeysPositiveIdsAndDropsLaterDuplicates) {
  LogFolder logs;
  logs.create_trace_flag();
  auto col = create<ICatListCol>();
  EXPECT_EQ(u8(col->get_XML()), "<ICatListCol><Vehicle></Vehicle></ICatListCol>");
  EXPECT_EQ(col->Add(u"Exhaust", 12)->get_ID(), 12);
  col->Add(u"Brakes", 0);
  // Add gives no key of its own; a present key is tolerated and the entry returned.
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(u"I#12")); }), 5);
  col->Add(u"First", 1, u"K");
  EXPECT_EQ(col->Add(u"Second", 2, u"k")->get_Heading(), u"Second");
  EXPECT_EQ(col->get_Item(Variant(u"K"))->get_Heading(), u"First");
  auto entry = create<ICatList>();
  EXPECT_EQ(col->AddObject(entry, u"K"), entry);
  EXPECT_FALSE(col->AddObject(Ref<ICatList>(), u"X"));
  EXPECT_EQ(col->get_Count(), 3);
  col->Remove(Variant(u"k"));
  EXPECT_EQ(error_number_of([&] { col->Remove(Variant(u"absent")); }), 5);
  EXPECT_EQ(u8(col->get_XML()),
            "<ICatListCol><Count>2</Count><Collection>" + kDeclaration +
                "<ICatList><ListID>12</ListID><Heading>Exhaust</Heading></ICatList>" +
                kDeclaration + "<ICatList><Heading>Brakes</Heading></ICatList>" +
                "</Collection><Vehicle></Vehicle></ICatListCol>");
  col->put_XML(list_col(u"5", {u"7", u"-7", u"7", u"0", u"-7"}));
  // Only the second ID 7 is dropped; negative and zero IDs carry no key.
  ASSERT_EQ(col->get_Count(), 4);
  EXPECT_EQ(col->get_Item(Variant(u"i#7"))->get_Heading(), u"H1");
  EXPECT_EQ(col->get_Item(Variant(int32_t{4}))->get_Heading(), u"H5");
  Variant first;
  EXPECT_TRUE(col->get_NewEnum()->Next(&first) && first.object() == col->get_Item(Variant(u"I#7")));
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(u"I#-7")); }), 5);
  EXPECT_TRUE(logs.error_lines().empty());  // dropped entries leave no log line
  col->putref_Vehicle(Ref<ICatVehicle>());
  EXPECT_EQ(error_number_of([&] { col->get_XML(); }), 91);  // starts tracing
  EXPECT_EQ(logs.error_messages(),
            std::vector<std::string>{"ICatListCol | Get XML, Error # 91 at line: 8][" + kUnset});
  col->Add(u"Exhaust", 12)->put_XML(entry->get_XML());
  EXPECT_EQ(error_number_of([&] { entry->put_XML(u"<ListID>3000000000</ListID>"); }), 6);
  EXPECT_EQ(logs.error_messages().back(), "ICatList | XML, Error # 6 at line: 4][Overflow");
  const std::string list = "ICatList | XML";
  EXPECT_EQ(logs.traced("ICatList"),
            (std::vector<std::string>{"ICatListCol | Add", list, list, list}));
}

}  // namespace
}  // namespace vexqom
