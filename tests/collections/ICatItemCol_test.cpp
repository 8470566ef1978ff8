// The selection: members, running totals, the CountChanged event, the lookups that never
// fail, the summaries (the writer switches, pruning, descriptions and groups), and its
// document written and loaded back.
#include "vexqom/ICatItemCol.h"

#include <gtest/gtest.h>

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
  auto boxes = part(u"BOX", u"1", 0, 2);  // held as text: counted by its leading number
  boxes->put_QuantityToOrder(Text(), Variant(u"4 boxes"));
  col->Add(boxes, u"BOX1");
  // Costs 7 + 0.25 + 3.3 + 8.
  EXPECT_EQ(std::pair(totals(*col), events_), std::pair(std::tuple(4, money(10), money(18.55)), 4));

  // An empty reference is appended, then fails with 91; the member stays and fails later.
  EXPECT_EQ(failure_of([&] { col->Add(Ref<ICatItem>(), u"EMPTY"); }),
            "91 ICatItemCol | Add, Error # 91 at line: 4\r\n" + kUnset);
  Variant key(u"EMPTY");
  EXPECT_TRUE(col->ItemExists(key) && !col->get_Item(key));
  EXPECT_EQ(std::pair(totals(*col), events_), std::pair(std::tuple(5, money(10), money(18.55)), 4));
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
  loading->put_XML(u"<Items><Count>2</Count><Collection><Item><LineCode>A</LineCode></Item><Item>"
                   u"<LineCode>B</LineCode></Item></Collection></Items>");
  EXPECT_EQ(counts, (std::vector<int32_t>{1, 2}));
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

// Only parts flagged to order are selected; descriptions are kept once, caseless, in the
// first letter case seen; a group is the first match's. Remove takes an item's amounts as
// they are now off the running totals, stopping at zero, and raises no event.
TEST_F(ItemCol, RemoveSubtractsClampedAndSelectedTotalsCountFlaggedParts) {
  auto col = counted();
  auto k1 = part(u"A", u"1", 2, 3.5, Variant(u"ORDER"), u"Spark Plug"),
       labor = part(u"", u"", 4, 25), urgent = part(u"E", u"5", 0, 0.25, Variant(u"URGENT"));
  k1->put_ItemGroup(3);
  labor->put_ItemType(vexCatalogItemType::vcit_Labor);
  urgent->put_QuantityToOrder(Text(), Variant(1.5));
  for (const auto& [item, key] :
       {std::pair{k1, u"K1"}, {labor, u"L"}, {urgent, u"E5"},
        {part(u"B", u"2", 1, 10, Variant(u"back order"), u"spark plug"), u"B2"},
        {part(u"D", u"4", 5, 1, Variant(u"")), u"D4"}})
    col->Add(item, key);
  EXPECT_EQ(std::tuple(col->ItemsSelectedCount(), col->ItemsSelectedCost(), totals(*col)),
            std::tuple(money(4.5), money(17.375), std::tuple(5, money(13.5), money(122.375))));
  auto d = col->GetDescriptions();
  EXPECT_EQ(std::tuple(d->Count(), d->Item(Variant(u"SPARK PLUG")), d->Item(Variant(u"")),
                       col->GetItemGroup(u"SPARK plug"), col->GetItemGroup(u"Spark Plug ")),
            std::tuple(2, Variant(u"Spark Plug"), Variant(u""), int16_t{3}, int16_t{0}));
  for (Variant gone : {Variant(int32_t{2}), Variant(u"d4"), Variant(u"E5"), Variant(u"NOPE")})
    col->Remove(gone);
  EXPECT_EQ(totals(*col), std::tuple(2, money(3), money(17)));
  k1->put_QuantityToOrder(Text(), Variant(int32_t{5}));
  Variant key(u"k1");
  col->Remove(key);  // 3 - 5 and 17 - 17.5
  EXPECT_EQ(std::tuple(totals(*col), events_, logs_.error_lines().size()),
            std::tuple(std::tuple(1, Currency(), Currency()), 5, 0u));
}

TEST_F(ItemCol, ShowAndHideSwitchEveryWriterOnTheThreadAndOthersPrune) {
  logs_.create_trace_flag();
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
  EXPECT_EQ(keys_of(*col), (std::vector<Text>{u"L1", u"L4", u"L5", u"L7"}));
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
  col->Clear(true);  // no member list: 91 from these, unlogged for Count
  col->Summarize(u"SHOWXML");  // needs none
  EXPECT_FALSE(diag::thread_state().XMLZeroSuppress);
  Variant key(u"L\t1");
  col->Remove(key);  // nothing to remove, no error, the key cleaned
  EXPECT_EQ(std::pair(key, error_number_of([&] { col->get_Count(); })),
            std::pair(Variant(u"L1"), 91));
  EXPECT_THROW(col->GetDescriptions(), Error);
  EXPECT_THROW(col->GetItemGroup(u"x"), Error);
  EXPECT_EQ(failed(), (Lines{"ICatItemCol | Add, Error # 91", "ICatItemCol | Summarize, Error # 91",
                             "ICatItemCol | GetDescriptions, Error # 91",
                             "ICatItemCol | GetItemGroup, Error # 91"}));
  const std::string sum = "ICatItemCol | Summarize";  // tracing from the first failure on
  EXPECT_EQ(logs_.traced("ICatItemCol |"),
            (Lines{"ICatItemCol | Add", sum, "ICatItemCol | Clear", sum, "ICatItemCol | Remove",
                   "ICatItemCol | GetDescriptions", "ICatItemCol | GetItemGroup"}));
}

class ItemColDocument : public ItemCol {};

std::string item_xml(const char* line_code, const char* number, int quantity) {
  return std::string("<Item><LineCode>") + line_code + "</LineCode><ItemNumber>" + number +
         "</ItemNumber><Prices><Count>1</Count><Collection><Price><Location>JOBBER</Location>"
         "<QuantityToOrder>" + std::to_string(quantity) +
         "</QuantityToOrder></Price></Collection></Prices></Item>";
}

TEST_F(ItemColDocument, VersionCountDuplicatesAndAnyText) {
  auto col = counted();  // compressed: an empty selection writes its version and vehicle only
  EXPECT_EQ(u8(col->get_XML()), "<Items><XDocVersion>v2.20</XDocVersion><Vehicle></Vehicle></Items>");
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
  EXPECT_EQ(std::pair(keys_of(*col), col->get_ItemsTotalCount()),
            std::pair(std::vector<Text>{u"ACD1"}, money(2)));  // rebuilt, not added
  EXPECT_NE(u8(col->get_XML()).find("<XDocVersion>v1.5</XDocVersion>"), std::string::npos);
  const Ref<ICatVehicle> host_vehicle = col->get_Vehicle();
  col->put_XML(Text());  // clears: the version stays, the vehicle is let go, not cleared
  EXPECT_EQ(std::tuple(col->get_XDocVersion(), col->get_Vehicle() == host_vehicle,
                       host_vehicle->get_Year()),
            std::tuple(Text(u"v1.5"), false, Text(u"1999")));
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
  EXPECT_EQ(error_number_of([&] { load("<Count>40000</Count>"); }), 6);
  col->putref_Vehicle(Ref<ICatVehicle>());
  EXPECT_EQ(error_number_of([&] { col->get_XML(); }), 91);
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
  // A repeated location logs each dropped copy.
  for (auto [price, most_log_lines] : {std::pair{"", 3u}, {"<Location>X</Location>", 40000u}}) {
    std::string text = nested;
    text.replace(text.find('@'), 1, price);
    const std::string failure = failure_of([&] { col->put_XML(from_utf8(text)); });
    // Past the budget while building a copy of the item or one of its prices.
    EXPECT_TRUE(failure.starts_with("7 ICatItemCol | Let XML, Error # 7 at line: ")) << failure;
    EXPECT_TRUE(failure.ends_with("at line: 6\r\nOut of memory") ||
                failure.ends_with("ICatPriceCol | Let XML, Error # 7 at line: 5\r\nOut of memory"))
        << failure;
    const auto messages = logs_.error_messages();
    EXPECT_LE(messages.size(), most_log_lines);
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
