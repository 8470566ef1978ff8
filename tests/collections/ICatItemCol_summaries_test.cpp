// Summaries: the writer switches, pruning items without status, descriptions and groups.
#include <gtest/gtest.h>

#include "frame/diagnostics.h"
#include "support/log_folder.h"
#include "support/writer_switches.h"
#include "vexqom/ICatItemCol.h"

namespace vexqom {
namespace {

class ItemColSummaries : public ::testing::Test {
 protected:
  testing::WriterSwitches switches_;
  testing::LogFolder logs_;
};

Ref<ICatItem> item(const char16_t* number, Variant status, const char16_t* description = u"",
                   int16_t group = 0) {
  auto i = create<ICatItem>();
  i->put_LineCode(u"L");
  i->put_ItemNumber(number);
  i->put_ItemStatus(std::move(status));
  i->put_Description(description);
  i->put_ItemGroup(group);
  i->put_QuantityToOrder(Text(), Variant(int32_t{1}));
  i->get_PriceCol()->get_Item(Variant(u"JOBBER"))->put_Cost(Currency::from_whole(2));
  return i;
}

std::vector<Text> numbers_of(ICatItemCol& col) {
  std::vector<Text> out;
  auto e = col.get_NewEnum();
  for (Variant v; e->Next(&v);) out.push_back(ref_cast<ICatItem>(v.object())->get_ItemNumber());
  return out;
}

TEST_F(ItemColSummaries, ShowAndHideSwitchEveryWriterOnTheThread) {
  auto col = create<ICatItemCol>();
  auto prices = create<ICatPriceCol>();  // made before the switch, follows it all the same
  EXPECT_EQ(to_utf8(prices->get_XML()), "<Prices></Prices>");
  col->Add(item(u"1", Variant(u"")), u"L1");

  col->Summarize(u"showXml");
  EXPECT_FALSE(diag::thread_state().XMLCompress);
  EXPECT_FALSE(diag::thread_state().XMLZeroSuppress);
  EXPECT_EQ(to_utf8(prices->get_XML()),
            "<Prices><Count>0</Count><Collection></Collection></Prices>");
  EXPECT_EQ(col->get_Count(), 1) << "the switch removes nothing";

  col->Summarize(u"HideXML");
  EXPECT_EQ(to_utf8(prices->get_XML()), "<Prices></Prices>");

  col->Summarize(u" SHOWXML");  // not the switch: prunes
  EXPECT_TRUE(diag::thread_state().XMLCompress);
  EXPECT_EQ(col->get_Count(), 0);

  col->Clear(true);
  col->Summarize(u"SHOWXML");  // needs no member list
  EXPECT_FALSE(diag::thread_state().XMLZeroSuppress);
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemColSummaries, PruningKeepsItemsWithStatusTotalsAndEvents) {
  auto col = create<ICatItemCol>();
  int events = 0;
  col->events().advise([&](Object&, int32_t) { ++events; });
  col->Add(item(u"1", Variant(u"ORDER")), u"L1");
  col->Add(item(u"2", Variant(u"")), u"L2");
  col->Add(item(u"3", Variant(u"   ")), u"L3");
  col->Add(item(u"4", Variant(u"HOLD")), u"L4");
  col->Add(item(u"5", Variant::null()), u"L5");
  col->Add(item(u"6", Variant()), u"L6");
  col->Add(item(u"7", Variant(int32_t{0})), u"L7");
  ASSERT_EQ(events, 7);
  const Currency count = col->get_ItemsTotalCount();
  const Currency cost = col->get_ItemsTotalCost();

  col->Summarize(u"");
  EXPECT_EQ(numbers_of(*col), (std::vector<Text>{u"1", u"4", u"5", u"7"}))
      << "empty, blank and missing statuses go; null and a zero stay";
  EXPECT_EQ(col->get_ItemsTotalCount(), count);
  EXPECT_EQ(col->get_ItemsTotalCost(), cost);
  EXPECT_EQ(events, 7);
  Variant gone(u"L3"), kept(u"l7");
  EXPECT_FALSE(col->ItemExists(gone)) << "the removed member's key is free again";
  EXPECT_TRUE(col->ItemExists(kept));
  col->Add(item(u"3", Variant(u"ORDER")), u"L3");
  EXPECT_EQ(col->get_Count(), 5);

  col->Summarize(u"anything");
  EXPECT_EQ(col->get_Count(), 5) << "nothing left to remove";
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemColSummaries, PruningStopsAtAnUnreadableMember) {
  auto col = create<ICatItemCol>();
  col->Add(item(u"1", Variant(u"")), u"L1");
  col->Add(item(u"2", Variant(u"ORDER")), u"L2");
  EXPECT_THROW(col->Add(Ref<ICatItem>(), u""), Error);
  col->Add(item(u"4", Variant(u"")), u"L4");
  try {
    col->Summarize(u"");
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 91);
  }
  EXPECT_EQ(col->get_Count(), 3) << "only the member before the empty one went";
  Variant first(int32_t{1}), last(int32_t{3});
  EXPECT_EQ(col->get_Item(first)->get_ItemNumber(), u"2");
  EXPECT_EQ(col->get_Item(last)->get_ItemNumber(), u"4");
  auto lines = logs_.error_lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(testing::log_message(lines[1]).rfind("ICatItemCol | Summarize, Error # 91", 0), 0u);
}

TEST_F(ItemColSummaries, DescriptionsAndGroups) {
  auto col = create<ICatItemCol>();
  auto empty = col->GetDescriptions();
  ASSERT_TRUE(empty) << "an empty collection, not an empty reference";
  EXPECT_EQ(empty->Count(), 0);
  EXPECT_EQ(col->GetItemGroup(u"Spark Plug"), 0);

  col->Add(item(u"1", Variant(u""), u"Spark Plug", 3), u"L1");
  col->Add(item(u"2", Variant(u""), u"spark plug", 4), u"L2");
  col->Add(item(u"3", Variant(u""), u"Oil Filter", 7), u"L3");
  auto d = col->GetDescriptions();
  ASSERT_EQ(d->Count(), 2);
  EXPECT_EQ(d->Item(Variant(int32_t{1})), Variant(u"Spark Plug")) << "the first letter case stays";
  EXPECT_EQ(d->Item(Variant(int32_t{2})), Variant(u"Oil Filter"));
  EXPECT_EQ(d->Item(Variant(u"SPARK PLUG")), Variant(u"Spark Plug"));
  EXPECT_EQ(d->Item(Variant(u"OIL FILTER")), Variant(u"Oil Filter"));

  col->Add(item(u"4", Variant(u""), u"", 1), u"L4");
  col->Add(item(u"5", Variant(u""), u"", 2), u"L5");
  EXPECT_EQ(col->GetDescriptions()->Count(), 3) << "an empty description is kept once";
  EXPECT_EQ(col->GetItemGroup(u""), 1);

  EXPECT_EQ(col->GetItemGroup(u"oil filter"), 7);
  EXPECT_EQ(col->GetItemGroup(u"SPARK plug"), 3) << "the first match";
  EXPECT_EQ(col->GetItemGroup(u"Oil Filter "), 0) << "no trimming";
  EXPECT_TRUE(logs_.error_lines().empty()) << "skipped duplicates are not logged";

  col->Clear(true);
  EXPECT_THROW(col->GetDescriptions(), Error);
  EXPECT_THROW(col->GetItemGroup(u"x"), Error);
  EXPECT_THROW(col->Summarize(u""), Error);
  auto lines = logs_.error_lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(testing::log_message(lines[0]).rfind("ICatItemCol | GetDescriptions, Error # 91", 0), 0u);
  EXPECT_EQ(testing::log_message(lines[1]).rfind("ICatItemCol | GetItemGroup, Error # 91", 0), 0u);
  EXPECT_EQ(testing::log_message(lines[2]).rfind("ICatItemCol | Summarize, Error # 91", 0), 0u);
}

}  // namespace
}  // namespace vexqom
