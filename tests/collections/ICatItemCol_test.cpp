// The selection: members, running totals, the CountChanged event, the lookups that never
// fail, the summaries (the writer switches, pruning, descriptions and groups), and its
// document written and loaded back.
#include "vexqom/ICatItemCol.h"

#include <gtest/gtest.h>

#include "frame/code_page.h"
#include "support/checks.h"
#include "support/log_folder.h"
#include "support/samples.h"
#include "vexqom/dispatch.h"

namespace vexqom {
namespace {

using namespace testing;

Currency money(double v) { return Currency::from_double(v); }
bool exists(ICatItemCol& col, Variant key) { return col.ItemExists(key); }
using Lines = std::vector<std::string>;

// Creating a selection turns this thread's writer switches on; each test leaves them as
// it found them, and logs into a folder of its own.
class ItemCol : public ::testing::Test {
 protected:
  Ref<ICatItemCol> counted() {
    auto col = create<ICatItemCol>();
    col->events().advise([this](Object&, int32_t dispid) { events_ += dispid == 1; });
    return col;
  }
  static Ref<ICatItem> at(ICatItemCol& col, Variant key) { return col.get_Item(key); }
  static std::vector<Text> keys_of(ICatItemCol& col) {
    std::vector<Text> keys;
    for (int32_t i = 1; i <= col.get_Count(); ++i) keys.push_back(at(col, i)->UniqueKey());
    return keys;
  }
  // Count, total count and total cost.
  static std::tuple<int32_t, Currency, Currency> totals(ICatItemCol& col) {
    return {col.get_Count(), col.get_ItemsTotalCount(), col.get_ItemsTotalCost()};
  }
  // Each logged failure up to its line number: "ICatItemCol | Add, Error # 91".
  Lines failed() const {
    Lines out = logs_.error_messages();
    for (auto& m : out) m = m.substr(0, m.find(" at line"));
    return out;
  }

  testing::WriterSwitches switches_{false};
  testing::LogFolder logs_;
  int events_ = 0;
};

TEST_F(ItemCol, AddKeepsTotalsAndRaisesOneEventPerAppendedItem) {
  // Creating it turns the switches on: the document tests' compressed texts show it.
  auto col = counted();
  // The sink seeing the new state and a refused key: the Python and C selection hosts.
  col->Add(part(u"ACD", u"K1", 2, 3.5), u"K1");
  auto a = part(u"", u"", 1, 0.25), b = part(u"", u"", 3, 1.1);
  EXPECT_EQ(col->Add(a, u""), a);
  EXPECT_EQ(col->Add(b, u""), b);
  Variant third(int16_t{3});
  EXPECT_EQ(col->get_Item(third), b);
  auto boxes = part(u"BOX", u"1", 0, 2);  // held as text: counted by its leading number
  boxes->put_QuantityToOrder(Text(), Variant(u"4 boxes"));
  col->Add(boxes, u"BOX1");
  EXPECT_EQ(totals(*col), std::tuple(4, money(10), money(7 + 0.25 + 3.3 + 8)));
  EXPECT_EQ(events_, 4);

  // An empty reference is appended, then fails with 91; the member stays and fails later.
  EXPECT_EQ(failure_of([&] { col->Add(Ref<ICatItem>(), u"EMPTY"); }),
            "91 ICatItemCol | Add, Error # 91 at line: 4\r\nObject variable or With block variable "
            "not set");
  Variant key(u"EMPTY");
  EXPECT_TRUE(col->ItemExists(key) && !col->get_Item(key));
  EXPECT_EQ(totals(*col), std::tuple(5, money(10), money(18.55)));
  EXPECT_EQ(events_, 4);
  EXPECT_THROW(col->ItemsSelectedCount(), Error);
  EXPECT_THROW(col->Remove(key), Error);
  EXPECT_EQ(failed(), (Lines{"ICatItemCol | Add, Error # 91", "ICatItemCol | ItemsSelectedCount, "
                             "Error # 91", "ICatItemCol | Remove, Error # 91"}));
}

// A sink may let the host's last reference go while a document loads: the selection lives
// on to the end of the load, then goes, leaving no object behind.
TEST_F(ItemCol, SinkReleasingTheLastReferenceDuringALoad) {
  const std::size_t before = Object::live_count();
  auto col = create<ICatItemCol>();
  ICatItemCol* const loading = col.get();
  std::vector<int32_t> counts;
  col->events().advise([&](Object&, int32_t) { counts.push_back(loading->get_Count()); col = {}; });
  loading->put_XML(u"<Items><Count>3</Count><Collection><Item><LineCode>A</LineCode></Item><Item>"
                   u"<LineCode>B</LineCode></Item><Item><LineCode>C</LineCode></Item></Collection>"
                   u"<Vehicle><Make>Kia</Make></Vehicle></Items>");
  EXPECT_EQ(counts, (std::vector<int32_t>{1, 2, 3}));
  EXPECT_EQ(Object::live_count(), before);
}

TEST_F(ItemCol, LookupsCleanTabsAndNeverFail) {
  auto col = create<ICatItemCol>();
  auto acd = part(u"ACD", u"012345", 1, 1);
  col->Add(acd, u"ACD012345");
  col->Add(part(u"T", u"1", 1, 1), u"TAB\tKEY");  // Add keeps the tab in its key
  const std::tuple<const char16_t*, bool, const char16_t*> keys[] = {
      {u"ACD\t012345", true, u"ACD012345"}, {u"acd\t012\t345", true, u"acd012345"},
      {u"TAB\tKEY", false, u"TABKEY"}};  // a key holding a tab is never found
  for (const auto& [given, found, cleaned] : keys) {
    Variant key(given), same(given);
    EXPECT_EQ((std::tuple{col->ItemExists(key), col->get_Item(same), key, same}),
              std::tuple(found, found ? acd : Ref<ICatItem>(), Variant(cleaned), Variant(cleaned)));
  }
  for (Variant absent : {Variant(int32_t{0}), Variant(int32_t{3}), Variant(u"NONE"), Variant::null(),
                         Variant(Ref<Object>(acd))})
    EXPECT_FALSE(col->ItemExists(absent) || col->get_Item(absent));
  EXPECT_TRUE(logs_.error_lines().empty());
  // Through dispatch the item type goes in as a rounded Double and comes out as a Long.
  std::vector<Variant> type{Variant(4.5)};
  invoke(*acd, get_ids_of_names(*acd, "ItemType"), kInvokeLet, type);
  EXPECT_EQ(invoke(*acd, get_ids_of_names(*acd, "itemtype"), kInvokeGet, {}), Variant(int32_t{4}));
}

TEST_F(ItemCol, RemoveSubtractsClampedAndSelectedTotalsCountFlaggedParts) {
  auto col = counted();
  auto k1 = part(u"A", u"1", 2, 3.5);
  col->Add(k1, u"K1");
  col->Add(part(u"B", u"2", 1, 10, Variant(u"back order")), u"B2");
  col->Add(part(u"C", u"3", 3, 2, Variant(u"HOLD")), u"C3");
  col->Add(part(u"D", u"4", 5, 1, Variant(u"")), u"D4");
  auto labor = part(u"", u"", 4, 25);
  labor->put_ItemType(vexCatalogItemType::vcit_Labor);
  col->Add(labor, u"L");
  auto fractional = part(u"E", u"5", 0, 0.25, Variant(u"URGENT"));
  fractional->put_QuantityToOrder(Text(), Variant(1.5));
  col->Add(fractional, u"E5");
  EXPECT_EQ(totals(*col), std::tuple(6, money(16.5), money(128.375)));
  EXPECT_EQ(std::pair(col->ItemsSelectedCount(), col->ItemsSelectedCost()),
            std::pair(money(4.5), money(17.375)));
  for (Variant gone : {Variant(int32_t{6}), Variant(u"L"), Variant(u"c3"), Variant(u"D4"),
                       Variant(u"NOPE"), Variant(int32_t{7})})
    col->Remove(gone);
  EXPECT_EQ(totals(*col), std::tuple(2, money(3), money(17)));
  k1->put_QuantityToOrder(Text(), Variant(int32_t{5}));  // raised after it was added
  Variant key(u"k\t1");
  col->Remove(key);
  EXPECT_EQ(key, Variant(u"k1"));
  // 3 - 5 and 17 - 17.5 stop at zero; Remove never raises CountChanged.
  EXPECT_EQ(totals(*col), std::tuple(1, Currency(), Currency()));
  EXPECT_EQ(events_, 6);
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemCol, ClearKeepsVersionClearTrueLeavesNoMembersAndTraces) {
  logs_.create_trace_flag();
  auto col = create<ICatItemCol>();
  col->put_XML(u"<Items><XDocVersion>v1.5</XDocVersion></Items>");
  auto host_vehicle = create<ICatVehicle>();
  host_vehicle->put_Make(u"Ford");
  col->putref_Vehicle(host_vehicle);
  col->Add(part(u"A", u"1", 2, 3.5), u"A1");
  col->Clear();
  EXPECT_EQ(totals(*col), std::tuple(0, Currency(), Currency()));
  // The version stays; the host's vehicle is released, not cleared.
  EXPECT_TRUE(col->get_XDocVersion() == u"v1.5" && col->get_Vehicle() != host_vehicle &&
              host_vehicle->get_Make() == u"Ford");
  col->Add(part(u"A", u"1", 2, 3.5), u"A1");
  col->Clear(true);
  EXPECT_TRUE(!col->get_Vehicle() && col->get_ItemsTotalCount() == Currency());
  const std::string unset = "91 Object variable or With block variable not set";
  // No handler: not logged.
  EXPECT_EQ(failure_of([&] { col->get_Count(); }) + failure_of([&] { col->get_NewEnum(); }),
            unset + unset);
  EXPECT_TRUE(logs_.error_lines().empty());
  EXPECT_THROW(col->Add(part(u"B", u"2", 1, 1), u"B2"), Error);  // the first error: tracing on
  Variant key(u"B\t2");
  col->Remove(key);  // no member list: nothing to remove, no error, the key cleaned
  EXPECT_EQ(key, Variant(u"B2"));
  col->Clear(false);
  col->Add(part(u"A", u"1", 1, 1), u"A1");
  EXPECT_TRUE(exists(*col, Variant(u"A1")));
  col->get_XML();
  col->ItemsSelectedCost();
  col.reset();  // termination clears through the traced Clear
  ASSERT_EQ(logs_.error_lines().size(), 1u);
  // ItemExists and the document writer carry no trace.
  EXPECT_EQ(logs_.traced("ICatItemCol |"),
            (Lines{"ICatItemCol | Remove", "ICatItemCol | Clear", "ICatItemCol | Add",
                   "ICatItemCol | ItemsSelectedCost", "ICatItemCol | Clear"}));
}

std::vector<Text> numbers_of(ICatItemCol& col) {
  std::vector<Text> out;
  auto e = col.get_NewEnum();
  for (Variant v; e->Next(&v);) out.push_back(ref_cast<ICatItem>(v.object())->get_ItemNumber());
  return out;
}

TEST_F(ItemCol, ShowAndHideSwitchEveryWriterOnTheThreadAndOthersPrune) {
  auto col = counted();
  const Variant statuses[] = {Variant(u"ORDER"), Variant(u""), Variant(u"   "),    Variant(u"HOLD"),
                              Variant::null(),   Variant(),    Variant(int32_t{0})};
  for (int n = 0; n < 7; ++n) {
    const Text number = integer_text(n + 1);
    col->Add(part(u"L", number.c_str(), 1, 2, statuses[n]), u"L" + number);
  }
  const auto before = totals(*col);
  col->Summarize(u"showXml");  // the switch removes nothing
  EXPECT_FALSE(diag::thread_state().XMLCompress || diag::thread_state().XMLZeroSuppress);
  col->Summarize(u"HideXML");  // what the writers make of the switches: the records' tests
  EXPECT_TRUE(diag::thread_state().XMLCompress && diag::thread_state().XMLZeroSuppress);
  EXPECT_EQ(totals(*col), before);
  col->Summarize(u" SHOWXML");  // not the switch: prunes
  // Empty, blank and missing statuses go; null and a zero stay; totals and events stay.
  EXPECT_EQ(numbers_of(*col), (std::vector<Text>{u"1", u"4", u"5", u"7"}));
  EXPECT_EQ(totals(*col), std::tuple(4, std::get<1>(before), std::get<2>(before)));
  EXPECT_EQ(events_, 7);
  // The removed member's key is free again.
  EXPECT_TRUE(!exists(*col, Variant(u"L3")) && exists(*col, Variant(u"l7")));

  // Pruning stops at an unreadable member: only the members before it went.
  col->Add(part(u"L", u"8", 1, 2, Variant(u"")), u"L8");
  EXPECT_THROW(col->Add(Ref<ICatItem>(), u""), Error);
  col->Add(part(u"L", u"9", 1, 2, Variant(u"")), u"L9");
  EXPECT_EQ(error_number_of([&] { col->Summarize(u""); }), 91);
  EXPECT_EQ(col->get_Count(), 6);
  col->Clear(true);
  col->Summarize(u"SHOWXML");  // needs no member list
  EXPECT_FALSE(diag::thread_state().XMLZeroSuppress);
  EXPECT_EQ(failed(),
            (Lines{"ICatItemCol | Add, Error # 91", "ICatItemCol | Summarize, Error # 91"}));
}

TEST_F(ItemCol, DescriptionsAndGroups) {
  auto col = create<ICatItemCol>();
  EXPECT_EQ(col->GetDescriptions()->Count(), 0);  // an empty collection, not an empty reference
  EXPECT_EQ(col->GetItemGroup(u"Spark Plug"), 0);
  const std::tuple<const char16_t*, int16_t> items[] = {
      {u"Spark Plug", 3}, {u"spark plug", 4}, {u"Oil Filter", 7}, {u"", 1}, {u"", 2}};
  for (int n = 0; n < 5; ++n) {
    auto item = part(u"L", integer_text(n).c_str(), 1, 2, Variant(u""), std::get<0>(items[n]));
    item->put_ItemGroup(std::get<1>(items[n]));
    col->Add(item, integer_text(n));
  }
  auto d = col->GetDescriptions();  // an empty description is kept once
  EXPECT_EQ(std::pair(d->Count(), d->Item(Variant(u""))), std::pair(3, Variant(u"")));
  // The first match, caseless, untrimmed.
  const std::pair<const char16_t*, int16_t> groups[] = {
      {u"oil filter", 7}, {u"SPARK plug", 3}, {u"Oil Filter ", 0}, {u"", 1}};
  for (auto [description, group] : groups) EXPECT_EQ(col->GetItemGroup(description), group);
  EXPECT_TRUE(logs_.error_lines().empty());  // skipped duplicates are not logged
  col->Clear(true);
  EXPECT_THROW(col->GetDescriptions(), Error);
  EXPECT_THROW(col->GetItemGroup(u"x"), Error);
  EXPECT_EQ(failed(), (Lines{"ICatItemCol | GetDescriptions, Error # 91",
                             "ICatItemCol | GetItemGroup, Error # 91"}));
}

class ItemColDocument : public ItemCol {};

std::string item_xml(const char* line_code, const char* number, int quantity) {
  return std::string("<Item><LineCode>") + line_code + "</LineCode><ItemNumber>" + number +
         "</ItemNumber><Prices><Count>1</Count><Collection><Price><Location>JOBBER</Location>"
         "<QuantityToOrder>" +
         std::to_string(quantity) +
         "</QuantityToOrder></Price></Collection>"
         "</Prices></Item>";
}

TEST_F(ItemColDocument, RoundTripKeepsOrderKeysVehicleTotalsAndCharacters) {
  auto source = create<ICatItemCol>();
  EXPECT_EQ(u8(source->get_XML()),
            "<Items><XDocVersion>v2.20</XDocVersion><Vehicle></Vehicle></Items>");
  source->Add(part(u"ACD", u"012345", 2, 3.5, Variant(u"ORDER"), u"Spark Plug"), u"ACD012345");
  // Characters beyond ASCII, and ones the code page cannot hold ("?").
  auto odd =
      part(u"B\u00e9", u"\u20ac-9", 1, 10, Variant(u"ORDER"), u"Z\u00fcndkerze \u015d & <tip>");
  odd->get_PriceCol()
      ->get_Item(Variant(u"JOBBER"))
      ->put_DeliveryTime(u"2 \u0434\u043d\u044f \u00bd");
  source->Add(odd, odd->UniqueKey());
  source->get_Vehicle()->put_Make(u"Ford");
  const Text text = source->get_XML();
  // Items and prices are written into the document as they write themselves.
  EXPECT_NE(text.find(from_code_page(to_code_page(odd->get_XML()))), Text::npos);

  auto copy = counted();
  copy->put_XML(text);
  EXPECT_EQ(events_, 2);
  // Loaded items are filed under their UniqueKey.
  EXPECT_EQ(keys_of(*copy), (std::vector<Text>{u"ACD012345", u"B\u00e9\u20ac-9"}));
  // Every field and the vehicle read back; "?" for what the code page cannot hold.
  EXPECT_EQ(copy->get_XML(), text);
  for (const char16_t* held : {u">Z\u00fcndkerze ? &amp; &lt;tip&gt;<", u">2 ??? \u00bd<"})
    EXPECT_NE(text.find(held), Text::npos) << u8(held);

  // A load replaces everything: the host's vehicle is no longer the selection's.
  auto host_vehicle = copy->get_Vehicle();
  copy->put_XML(text);
  EXPECT_NE(copy->get_Vehicle(), host_vehicle);
  EXPECT_EQ(std::pair(copy->get_Count(), copy->get_ItemsTotalCost()),
            std::pair(2, Currency::from_double(17)));  // rebuilt, not added
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemColDocument, VersionCountDuplicatesAndAnyText) {
  auto col = counted();
  const std::string items =
      item_xml("ACD", "1", 2) + item_xml("acd", "1", 5) + item_xml("BBB", "2", 1);
  auto load = [&](const std::string& head) {
    col->put_XML(from_utf8("<Items>" + head + "<Collection>" + items +
                           "</Collection><Vehicle><Year>1999</Year></Vehicle></Items>"));
  };
  load("<Count>3</Count>");  // the second ACD1 is dropped quietly, its 5 not counted
  EXPECT_EQ(keys_of(*col), (std::vector<Text>{u"ACD1", u"BBB2"}));
  EXPECT_EQ(col->get_ItemsTotalCount(), Currency::from_double(3));
  EXPECT_EQ(events_, 2);
  EXPECT_EQ(col->get_XDocVersion(), u"");  // a version-1 document has none, and writes none
  EXPECT_TRUE(u8(col->get_XML()).starts_with("<Items><Count>2</Count><Collection><Item>"));
  load("<XDocVersion>v1.5</XDocVersion><Count>1</Count>");
  EXPECT_EQ(keys_of(*col), std::vector<Text>{u"ACD1"});
  EXPECT_NE(u8(col->get_XML()).find("<XDocVersion>v1.5</XDocVersion>"), std::string::npos);
  col->put_XML(Text());
  EXPECT_EQ(col->get_XDocVersion(), u"v1.5");  // an empty text keeps the version
  load("<Count>0</Count>");
  EXPECT_EQ(col->get_Count(), 0);
  EXPECT_EQ(col->get_Vehicle()->get_Year(), u"1999");  // the vehicle is read without items
  load("");  // without its own Count the first one in the text counts
  EXPECT_EQ(col->get_Count(), 1);
  col->put_XML(u"<Items><Collection><Item><LineCode>A</LineCode></Item></Collection></Items>");
  EXPECT_EQ(col->get_Count(), 0);
  col->put_XML(u"this is not XML at all");
  EXPECT_EQ(
      col->get_Count() + col->get_Vehicle()->get_Make().size() + col->get_XDocVersion().size(), 0u);
  EXPECT_TRUE(logs_.error_lines().empty());

  // An overflowing count ends the load through the handler; a missing vehicle fails the writer.
  EXPECT_TRUE(failure_of([&] {
                load("<Count>40000</Count>");
              }).starts_with("6 ICatItemCol | Let XML, Error # 6"));
  col->putref_Vehicle(Ref<ICatVehicle>());
  EXPECT_TRUE(failure_of([&] {
                col->get_XML();
              }).starts_with("91 ICatItemCol | Get XML, Error # 91 at line: "));
  EXPECT_EQ(failed(), (std::vector<std::string>{"ICatItemCol | Let XML, Error # 6",
                                                 "ICatItemCol | Get XML, Error # 91"}));
  col->put_XML(u"<Items><Vehicle><Make>Kia</Make></Vehicle></Items>");
  EXPECT_EQ(col->get_Vehicle()->get_Make(), u"Kia");  // a load brings a vehicle of its own
}

// A document may claim more members than it holds; past the last one the reads start
// again at the top. Nested, a tiny text would build half a billion records: one load
// builds at most a budget of members its text does not hold, and fails with 7 past it.
TEST_F(ItemColDocument, ClaimedMembersLoadWithinTheBudgetAndFailPastIt) {
  auto col = counted();
  // 32,767 items claimed, one with two prices held: the odd positions read it (its copies
  // are duplicates), the even ones read nothing and add an empty item without key.
  std::string two_prices = item_xml("ACD", "1", 2);
  two_prices.replace(two_prices.find("<Count>1"), 8, "<Count>2");
  two_prices.replace(two_prices.find("</Collection>"), 0,
                     "<Price><Location>LOCAL</Location></Price>");
  col->put_XML(u"<Items><Count>32767</Count><Collection>" + from_utf8(two_prices) +
               u"</Collection></Items>");
  EXPECT_EQ(col->get_Count(), 16384);
  EXPECT_EQ(at(*col, int32_t{1})->get_PriceCol()->get_Count(), 3);  // and the MSRP of the total
  EXPECT_TRUE(logs_.error_lines().empty());

  const std::string nested =
      "<Items><Count>32767</Count><Collection><Item><Prices><Count>32767</Count><Collection>"
      "<Price>@</Price></Collection></Prices></Item></Collection></Items>";
  struct Case {
    const char* price;
    size_t most_log_lines;  // a repeated location logs each dropped copy
  };
  for (const Case& c : {Case{"", 3}, Case{"<Location>X</Location>", 40000}}) {
    std::string text = nested;
    text.replace(text.find('@'), 1, c.price);
    const std::string failure = failure_of([&] { col->put_XML(from_utf8(text)); });
    // Past the budget while building a copy of the item or one of its prices.
    EXPECT_TRUE(failure.starts_with("7 ICatItemCol | Let XML, Error # 7 at line: ")) << failure;
    EXPECT_TRUE(failure.ends_with("at line: 6\r\nOut of memory") ||
                failure.ends_with("ICatPriceCol | Let XML, Error # 7 at line: 5\r\nOut of memory"))
        << failure;
    const auto messages = logs_.error_messages();
    EXPECT_LE(messages.size(), c.most_log_lines);
    EXPECT_TRUE(messages.back().starts_with("ICatItemCol | Let XML, Error # 7"));
    testing::LogFolder::write_file(logs_.error_log_path(), "");
  }
  // The budget is the load's own: the next load of an honest text works as ever.
  col->put_XML(u"<Items><Count>1</Count><Collection>" + from_utf8(item_xml("B", "2", 1)) +
               u"</Collection></Items>");
  EXPECT_EQ(col->get_Count(), 1);
}

}  // namespace
}  // namespace vexqom
