// The selection: members, running totals, the CountChanged event and the lookups that
// never fail.
#include <gtest/gtest.h>

#include <functional>

#include "frame/diagnostics.h"
#include "support/log_folder.h"
#include "support/writer_switches.h"
#include "vexqom/ICatItemCol.h"
#include "vexqom/dispatch.h"

namespace vexqom {
namespace {

Ref<ICatItem> part(const char16_t* line_code, const char16_t* number, int32_t quantity,
                   double cost, Variant status = Variant(u"ORDER")) {
  auto item = create<ICatItem>();
  item->put_LineCode(line_code);
  item->put_ItemNumber(number);
  item->put_QuantityToOrder(Text(), Variant(quantity));
  item->get_PriceCol()->get_Item(Variant(u"JOBBER"))->put_Cost(Currency::from_double(cost));
  item->put_ItemStatus(std::move(status));
  return item;
}

Currency money(double v) { return Currency::from_double(v); }

// Creating a selection turns this thread's writer switches on; each test leaves them as
// it found them, and logs into a folder of its own.
class ItemCol : public ::testing::Test {
 protected:
  testing::WriterSwitches switches_;
  testing::LogFolder logs_;

  void count_events(ICatItemCol& col) {
    col.events().advise([this](Object&, int32_t dispid) {
      EXPECT_EQ(dispid, 1);
      ++events_;
    });
  }
  int events_ = 0;
};

TEST_F(ItemCol, NewSelectionIsEmptyWithVersionVehicleAndSwitchesOn) {
  diag::thread_state().XMLCompress = false;
  diag::thread_state().XMLZeroSuppress = false;
  auto col = create<ICatItemCol>();
  EXPECT_TRUE(diag::thread_state().XMLCompress);
  EXPECT_TRUE(diag::thread_state().XMLZeroSuppress);
  EXPECT_EQ(col->get_Count(), 0);
  EXPECT_EQ(col->get_ItemsTotalCount(), Currency());
  EXPECT_EQ(col->get_ItemsTotalCost(), Currency());
  EXPECT_EQ(col->ItemsSelectedCount(), Currency());
  EXPECT_EQ(col->get_XDocVersion(), u"v2.20");
  ASSERT_TRUE(col->get_Vehicle()) << "an empty vehicle record, not an empty reference";
  EXPECT_EQ(col->get_Vehicle()->get_Make(), u"");

  Ref<Object> by_name = create_object("vexqom_PLUMEK2.ICatItemCol");
  ASSERT_TRUE(by_name);
  EXPECT_TRUE(query_interface(*by_name, ids::kIid_ICatItemCol));
  EXPECT_TRUE(query_interface(*by_name, ids::kIid_ICatItemColEarlier));
  EXPECT_EQ(get_ids_of_names(*by_name, "itemssELECTEDcost"), 0x60030000 + 16);
  EXPECT_EQ(get_ids_of_names(*by_name, "Item"), 0);
  EXPECT_EQ(get_ids_of_names(*by_name, "NewEnum"), -4);
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemCol, AddKeepsTotalsAndRaisesOneEventPerAppendedItem) {
  auto col = create<ICatItemCol>();
  count_events(*col);
  int32_t count_seen_by_sink = -1;
  Currency total_seen_by_sink;
  col->events().advise([&](Object&, int32_t) {
    count_seen_by_sink = col->get_Count();
    total_seen_by_sink = col->get_ItemsTotalCost();
  });

  auto first = part(u"ACD", u"K1", 2, 3.5);
  EXPECT_EQ(col->Add(first, u"K1"), first);
  EXPECT_EQ(col->get_ItemsTotalCount(), money(2));
  EXPECT_EQ(col->get_ItemsTotalCost(), money(7));
  EXPECT_EQ(events_, 1);
  EXPECT_EQ(count_seen_by_sink, 1) << "the sink already sees the new member";
  EXPECT_EQ(total_seen_by_sink, money(7)) << "and the updated totals";

  EXPECT_FALSE(col->Add(part(u"X", u"Y", 9, 9), u"k1")) << "same key, other case";
  EXPECT_EQ(col->get_Count(), 1);
  EXPECT_EQ(col->get_ItemsTotalCount(), money(2));
  EXPECT_EQ(events_, 1);

  auto a = part(u"", u"", 1, 0.25);
  auto b = part(u"", u"", 3, 1.1);
  EXPECT_EQ(col->Add(a, u""), a);
  EXPECT_EQ(col->Add(b, u""), b);
  EXPECT_EQ(col->get_Count(), 3);
  Variant second(int32_t{2}), third(int16_t{3});
  EXPECT_EQ(col->get_Item(second), a);
  EXPECT_EQ(col->get_Item(third), b);
  EXPECT_EQ(col->get_ItemsTotalCount(), money(6));
  EXPECT_EQ(col->get_ItemsTotalCost(), money(7 + 0.25 + 3.3));
  EXPECT_EQ(events_, 3);

  // Quantities held as text count by their leading number.
  auto boxes = part(u"BOX", u"1", 0, 2);
  boxes->put_QuantityToOrder(Text(), Variant(u"4 boxes"));
  col->Add(boxes, u"BOX1");
  EXPECT_EQ(col->get_ItemsTotalCount(), money(10));
  EXPECT_EQ(col->get_ItemsTotalCost(), money(7 + 0.25 + 3.3 + 8));
  EXPECT_TRUE(logs_.error_lines().empty()) << "a refused key is never logged";
}

TEST_F(ItemCol, AddOfAnEmptyReferenceAppendsItThenFailsWith91) {
  auto col = create<ICatItemCol>();
  count_events(*col);
  col->Add(part(u"A", u"1", 2, 3.5), u"A1");
  try {
    col->Add(Ref<ICatItem>(), u"EMPTY");
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 91);
    EXPECT_EQ(to_utf8(e.description()),
              "ICatItemCol | Add, Error # 91 at line: 4\r\n"
              "Object variable or With block variable not set");
  }
  EXPECT_EQ(col->get_Count(), 2) << "the empty member stays";
  EXPECT_EQ(col->get_ItemsTotalCount(), money(2));
  EXPECT_EQ(events_, 1);
  Variant key(u"EMPTY");
  EXPECT_TRUE(col->ItemExists(key));
  EXPECT_FALSE(col->get_Item(key));
  auto lines = logs_.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(testing::log_message(lines[0]),
            "ICatItemCol | Add, Error # 91 at line: 4][Object variable or With block variable "
            "not set");

  EXPECT_THROW(col->ItemsSelectedCount(), Error) << "the empty member cannot be read";
  EXPECT_THROW(col->Remove(key), Error);
  lines = logs_.error_lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(testing::log_message(lines[1]).rfind("ICatItemCol | ItemsSelectedCount, Error # 91", 0),
            0u);
  EXPECT_EQ(testing::log_message(lines[2]).rfind("ICatItemCol | Remove, Error # 91", 0), 0u);
}

TEST_F(ItemCol, LookupsCleanTabsAndNeverFail) {
  auto col = create<ICatItemCol>();
  auto acd = part(u"ACD", u"012345", 1, 1);
  col->Add(acd, u"ACD012345");
  col->Add(part(u"T", u"1", 1, 1), u"TAB\tKEY");
  EXPECT_EQ(col->get_Count(), 2) << "Add keeps the tab in its key";

  Variant key(u"ACD\t012345");
  EXPECT_TRUE(col->ItemExists(key));
  EXPECT_EQ(key, Variant(u"ACD012345")) << "the caller's key comes back cleaned";
  Variant tabbed(u"acd\t012\t345");
  EXPECT_EQ(col->get_Item(tabbed), acd);
  EXPECT_EQ(tabbed, Variant(u"acd012345"));
  Variant unreachable(u"TAB\tKEY");
  EXPECT_FALSE(col->ItemExists(unreachable)) << "a key holding a tab is never found";
  EXPECT_EQ(unreachable, Variant(u"TABKEY"));

  for (Variant absent : {Variant(int32_t{0}), Variant(int32_t{3}), Variant(-1.0), Variant(u"NONE"),
                         Variant(), Variant::null(), Variant(Ref<Object>(acd))}) {
    EXPECT_FALSE(col->ItemExists(absent));
    EXPECT_FALSE(col->get_Item(absent));
  }
  Variant position(2.0);
  EXPECT_TRUE(col->ItemExists(position));

  // Through dispatch the by-reference key is written back.
  std::vector<Variant> args{Variant(u"ACD\t012345")};
  EXPECT_EQ(invoke(*col, 0x60030004, kInvokeMethod, args), Variant(true));
  EXPECT_EQ(args[0], Variant(u"ACD012345"));

  col->Clear(true);
  Variant any(u"ACD\tX");
  EXPECT_FALSE(col->ItemExists(any));
  EXPECT_EQ(any, Variant(u"ACDX")) << "cleaned even without a member list";
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemCol, RemoveSubtractsClampedAndIgnoresAbsentMembers) {
  auto col = create<ICatItemCol>();
  count_events(*col);
  auto k1 = part(u"A", u"1", 2, 3.5);
  col->Add(k1, u"K1");
  col->Add(part(u"B", u"2", 1, 10), u"K2");
  EXPECT_EQ(col->get_ItemsTotalCount(), money(3));
  EXPECT_EQ(col->get_ItemsTotalCost(), money(17));

  Variant second(int32_t{2});
  col->Remove(second);
  EXPECT_EQ(col->get_Count(), 1);
  EXPECT_EQ(col->get_ItemsTotalCount(), money(2));
  EXPECT_EQ(col->get_ItemsTotalCost(), money(7));

  Variant absent(u"NOPE"), out_of_range(int32_t{7});
  col->Remove(absent);
  col->Remove(out_of_range);
  EXPECT_EQ(col->get_Count(), 1);

  k1->put_QuantityToOrder(Text(), Variant(int32_t{5}));  // raised after it was added
  Variant key(u"k\t1");
  col->Remove(key);
  EXPECT_EQ(col->get_Count(), 0);
  EXPECT_EQ(key, Variant(u"k1"));
  EXPECT_EQ(col->get_ItemsTotalCount(), Currency()) << "2 - 5 stops at zero";
  EXPECT_EQ(col->get_ItemsTotalCost(), Currency()) << "7 - 17.5 stops at zero";
  EXPECT_EQ(events_, 2) << "Remove never raises CountChanged";
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemCol, SelectedTotalsCountOnlyFlaggedParts) {
  auto col = create<ICatItemCol>();
  col->Add(part(u"A", u"1", 2, 3.5, Variant(u"ORDER")), u"A1");
  col->Add(part(u"B", u"2", 1, 10, Variant(u"back order")), u"B2");
  col->Add(part(u"C", u"3", 3, 2, Variant(u"HOLD")), u"C3");
  col->Add(part(u"D", u"4", 5, 1, Variant(u"")), u"D4");
  auto labor = part(u"", u"", 4, 25, Variant(u"ORDER"));
  labor->put_ItemType(vexCatalogItemType::vcit_Labor);
  labor->put_Description(u"Replace plugs");
  col->Add(labor, labor->UniqueKey());

  EXPECT_EQ(col->get_Count(), 5);
  EXPECT_EQ(col->get_ItemsTotalCount(), money(15)) << "running totals hold every item";
  EXPECT_EQ(col->ItemsSelectedCount(), money(3));
  EXPECT_EQ(col->ItemsSelectedCost(), money(17));

  auto fractional = part(u"E", u"5", 0, 0.25, Variant(u"URGENT"));
  fractional->put_QuantityToOrder(Text(), Variant(1.5));
  col->Add(fractional, u"E5");
  EXPECT_EQ(col->ItemsSelectedCount(), money(4.5));
  EXPECT_EQ(col->ItemsSelectedCost(), money(17.375));
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemCol, ClearKeepsVersionAndClearTrueLeavesNoMembers) {
  auto col = create<ICatItemCol>();
  col->put_XML(u"<Items><XDocVersion>v1.5</XDocVersion></Items>");
  auto host_vehicle = create<ICatVehicle>();
  host_vehicle->put_Make(u"Ford");
  col->putref_Vehicle(host_vehicle);
  col->Add(part(u"A", u"1", 2, 3.5), u"A1");

  col->Clear();
  EXPECT_EQ(col->get_Count(), 0);
  EXPECT_EQ(col->get_ItemsTotalCost(), Currency());
  EXPECT_EQ(col->get_XDocVersion(), u"v1.5");
  EXPECT_NE(col->get_Vehicle(), host_vehicle);
  EXPECT_EQ(host_vehicle->get_Make(), u"Ford") << "released, not cleared";

  col->Add(part(u"A", u"1", 2, 3.5), u"A1");
  col->Clear(true);
  EXPECT_FALSE(col->get_Vehicle());
  EXPECT_EQ(col->get_ItemsTotalCount(), Currency());
  for (auto call : std::initializer_list<std::function<void()>>{
           [&] { col->get_Count(); }, [&] { col->get_NewEnum(); }}) {
    try {
      call();
      ADD_FAILURE() << "no error";
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), 91);
      EXPECT_EQ(e.description(), u"Object variable or With block variable not set");
    }
  }
  EXPECT_TRUE(logs_.error_lines().empty()) << "Count and NewEnum have no handler";

  EXPECT_THROW(col->Add(part(u"B", u"2", 1, 1), u"B2"), Error);
  ASSERT_EQ(logs_.error_lines().size(), 1u);
  EXPECT_EQ(testing::log_message(logs_.error_lines()[0]).rfind("ICatItemCol | Add, Error # 91", 0),
            0u);
  Variant key(u"B\t2");
  col->Remove(key);  // no member list: nothing to remove, no error
  EXPECT_EQ(key, Variant(u"B2")) << "the key is cleaned all the same";
  EXPECT_EQ(logs_.error_lines().size(), 1u);

  col->Clear(false);
  EXPECT_EQ(col->get_Count(), 0);
  EXPECT_TRUE(col->get_Vehicle());
}

TEST_F(ItemCol, TracedProceduresWriteOneLineEachOnceTracingIsOn) {
  logs_.create_trace_flag();
  auto col = create<ICatItemCol>();
  auto failing = create<ICatItemCol>();
  // The first logged error of the thread turns tracing on.
  EXPECT_THROW(failing->Add(Ref<ICatItem>(), u""), Error);
  EXPECT_TRUE(logs_.trace_lines().empty());
  col->Add(part(u"A", u"1", 1, 1), u"A1");
  Variant key(u"A1");
  EXPECT_TRUE(col->ItemExists(key));
  col->get_XML();
  col->ItemsSelectedCost();
  failing.reset();  // termination clears through the traced Clear
  std::vector<std::string> messages;  // the records and the vehicle trace lines of their own
  for (const auto& line : logs_.trace_lines()) {
    if (line.compare(18, 14, "ICatItemCol | ") == 0) messages.push_back(line.substr(18));
  }
  EXPECT_EQ(messages, (std::vector<std::string>{"ICatItemCol | Add", "ICatItemCol | ItemsSelectedCost",
                                                "ICatItemCol | Clear"}))
      << "ItemExists and the document writer carry no trace";
}

}  // namespace
}  // namespace vexqom
