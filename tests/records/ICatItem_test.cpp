// The item record: quantities and amounts derived from its prices, the order flag, the
// keys, Clear, tracing, and the member table seen through dispatch.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/error_number.h"
#include "support/log_folder.h"
#include "vexqom/ICatItem.h"
#include "vexqom/dispatch.h"

namespace vexqom {
namespace {

Ref<ICatPrice> price(ICatItem& item, const char16_t* location) {
  return item.get_PriceCol()->get_Item(Variant(Text(location)));
}

using testing::error_number_of;

TEST(ICatItem, QuantitiesLeaveOutInvoiceAndLocalAndReadLeadingNumbers) {
  auto item = create<ICatItem>();
  EXPECT_EQ(item->get_QuantityToOrder(), Variant(int16_t{0})) << "Integer 0 when nothing counted";
  EXPECT_EQ(item->get_PriceCol()->get_Count(), 0);
  item->put_QuantityToOrder(Text(), Variant(int32_t{2}));  // no location: JOBBER
  item->put_QuantityToOrder(u"LOCAL", Variant(int32_t{5}));
  item->put_QuantityOnTicket(Variant(int32_t{1}));          // INVOICE
  item->put_QuantityToOrder(u"X", Variant(Text(u"3")));
  price(*item, u"cal")->put_QuantityToOrder(Variant(100.0));  // a fragment of INVOICE|LOCAL
  auto unnamed = create<ICatPrice>();
  unnamed->put_QuantityToOrder(Variant(int32_t{50}));
  item->get_PriceCol()->Add(unnamed);  // empty location, no key
  EXPECT_EQ(price(*item, u"jobber")->get_QuantityToOrder(), Variant(int32_t{2})) << "unchanged";
  EXPECT_EQ(item->get_QuantityToOrder(), Variant(5.0));
  // Full case mapping: a dotless i makes INVOICE too; long names are matched the same way.
  price(*item, u"\u0131nvoice")->put_QuantityToOrder(Variant(7.0));
  price(*item, u"warehouse north-east")->put_QuantityToOrder(Variant(10.0));
  EXPECT_EQ(item->get_QuantityToOrder(), Variant(15.0));
  item->get_PriceCol()->Remove(Variant(Text(u"warehouse north-east")));
  EXPECT_EQ(item->get_QuantityToOrder(u"LOCAL"), Variant(5.0));
  EXPECT_EQ(item->get_QuantityToOrder(u"invoice"), Variant(1.0));
  EXPECT_EQ(item->get_QuantityOnTicket(), Variant(1.0));

  item->put_QuantityToOrder(u"X", Variant(Text(u" 4 apples")));
  item->put_QuantityToOrder(Text(), Variant(Text(u"none")));
  EXPECT_EQ(item->get_QuantityToOrder(), Variant(4.0));

  auto fresh = create<ICatItem>();
  EXPECT_EQ(fresh->get_QuantityOnTicket(), Variant(0.0));
  EXPECT_EQ(fresh->get_QuantityToOrder(), Variant(int16_t{0})) << "INVOICE is not counted";
  EXPECT_EQ(fresh->get_QuantityToOrder(u"Y"), Variant(0.0));
  EXPECT_EQ(fresh->get_QuantityToOrder(), Variant(0.0)) << "a counted record makes a double";
  ASSERT_EQ(fresh->get_PriceCol()->get_Count(), 2) << "lookups create INVOICE and Y";
  EXPECT_EQ(fresh->get_PriceCol()->get_Item(Variant(int32_t{1}))->get_Location(), u"INVOICE");
}

TEST(ICatItem, JobberAmountsFallBackToMsrpOnlyWhenZero) {
  auto item = create<ICatItem>();
  price(*item, u"JOBBER")->put_List(Currency::from_double(12.5));
  EXPECT_EQ(item->JobberList(), Variant(12.5));
  EXPECT_EQ(item->get_PriceCol()->get_Count(), 1) << "no MSRP record while the jobber has one";
  price(*item, u"MSRP")->put_Cost(Currency::from_double(19.95));
  price(*item, u"MSRP")->put_CoreList(Currency::from_double(-0.5));
  EXPECT_EQ(item->JobberCost(), Variant(19.95));
  EXPECT_EQ(item->JobberCoreList(), Variant(-0.5));
  EXPECT_EQ(item->JobberCoreCost(), Variant(0.0)) << "no further fallback";
}

TEST(ICatItem, FlaggedToOrderAndKeys) {
  auto item = create<ICatItem>();
  EXPECT_FALSE(item->FlaggedToOrder()) << "empty status";
  const std::pair<const char16_t*, bool> statuses[] = {
      {u"order", true}, {u"Urgent", true}, {u"back order", true}, {u"BACK", true},
      {u"HOLD", false}, {u"ORDERS", false}};
  for (const auto& [status, flagged] : statuses) {
    item->put_ItemStatus(Variant(Text(status)));
    EXPECT_EQ(item->FlaggedToOrder(u"J1"), flagged) << to_utf8(status);
  }
  item->put_ItemStatus(Variant(Text(u"ORDER")));
  item->put_ItemType(vexCatalogItemType::vcit_Labor);
  EXPECT_FALSE(item->FlaggedToOrder()) << "labor is never flagged";

  item->put_LineCode(u"ACD");
  item->put_ItemNumber(u"012345");
  item->put_Description(u" Brake job");
  item->put_Comment(u"rear ");
  EXPECT_EQ(item->UniqueKey(), u"Brake job  rear") << "ends trimmed, inner blanks kept";
  item->put_LaborOperation(u"R&R");
  EXPECT_EQ(item->UniqueKey(), u"Brake job R&R rear");
  item->put_ItemType(static_cast<vexCatalogItemType>(7));
  EXPECT_EQ(item->UniqueKey(), u"ACD012345") << "values outside the enumeration key as parts";
  EXPECT_EQ(item->VendorNumber(), u"ACD012345");
}

TEST(ICatItem, ClearDestroyingPricesFailsUntilACollectionIsSet) {
  testing::LogFolder logs;
  auto item = create<ICatItem>();
  item->put_WorkGroup(3);
  item->put_ItemStatus(Variant(int32_t{1}));
  item->Clear(true);
  EXPECT_FALSE(item->get_PriceCol());
  EXPECT_EQ(item->get_WorkGroup(), 0);
  EXPECT_EQ(item->get_ItemStatus(), Variant(Text()));
  EXPECT_EQ(error_number_of([&] { item->get_QuantityToOrder(); }), 91);
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(testing::log_message(lines[0]).rfind(
                "ICatItem | Get QuantityToOrder, Error # 91 at line: ", 0),
            0u);

  auto shared = create<ICatPriceCol>();
  item->putref_PriceCol(shared);
  shared->get_Item(Variant(Text(u"NORTH")))->put_QuantityToOrder(Variant(int32_t{6}));
  EXPECT_EQ(item->get_QuantityToOrder(), Variant(6.0)) << "the caller's collection is shared";
  item->Clear();
  EXPECT_NE(item->get_PriceCol(), shared) << "Clear(false) builds a new collection";
  EXPECT_TRUE(item->get_PriceCol());
  EXPECT_EQ(logs.error_lines().size(), 1u);
}

TEST(ICatItem, TracesOnlyQuantityAndJobberEntries) {
  testing::LogFolder logs;
  logs.create_trace_flag();
  auto item = create<ICatItem>();
  item->Clear(true);
  EXPECT_EQ(error_number_of([&] { item->JobberCost(); }), 91);  // the first error starts tracing
  item->Clear();
  item->put_QuantityToOrder(u"X", Variant(int32_t{1}));
  item->put_XML(item->get_XML());
  item->get_QuantityOnTicket();
  item.reset();
  std::vector<std::string> item_lines;
  for (const std::string& line : logs.trace_lines()) {
    const size_t at = line.find("ICatItem | ");
    if (at != std::string::npos) item_lines.push_back(line.substr(at));
  }
  EXPECT_EQ(item_lines, (std::vector<std::string>{"ICatItem | Let QuantityToOrder",
                                                  "ICatItem | Get QuantityOnTicket"}));
}

TEST(ICatItem, ReachedByDispatchWithAndWithoutLocation) {
  Ref<Object> o = create_object("vexqom_PLUMEK2.ICatItem");
  ASSERT_TRUE(o);
  EXPECT_TRUE(query_interface(*o, ids::kIid_ICatItemEarlier));
  const int32_t qto = get_ids_of_names(*o, "quantitytoorder");
  EXPECT_EQ(qto, 0x68030028);
  std::vector<Variant> set_default{Variant(int32_t{4})};
  invoke(*o, qto, kInvokeLet, set_default);
  std::vector<Variant> set_local{Variant(Text(u"LOCAL")), Variant(Text(u"9"))};
  invoke(*o, qto, kInvokeLet, set_local);
  std::vector<Variant> none;
  EXPECT_EQ(invoke(*o, qto, kInvokeGet, none), Variant(4.0));
  std::vector<Variant> local{Variant(Text(u"LOCAL"))};
  EXPECT_EQ(invoke(*o, qto, kInvokeGet, local), Variant(9.0));
  std::vector<Variant> destroy{Variant(true)};
  invoke(*o, get_ids_of_names(*o, "Clear"), kInvokeMethod, destroy);
  EXPECT_EQ(invoke(*o, 0x68030013, kInvokeGet, none), Variant(Ref<Object>()));
  EXPECT_EQ(invoke(*o, 0x60030033, kInvokeMethod, none), Variant(false));
}

}  // namespace
}  // namespace vexqom
