// Summaries: the writer switches, pruning items without status, descriptions and groups.
#include <gtest/gtest.h>

#include "support/checks.h"
#include "support/log_folder.h"
#include "support/samples.h"
#include "vexqom/ICatItemCol.h"

namespace vexqom {
namespace {

using testing::part;

std::vector<Text> numbers_of(ICatItemCol& col) {
  std::vector<Text> out;
  auto e = col.get_NewEnum();
  for (Variant v; e->Next(&v);) out.push_back(ref_cast<ICatItem>(v.object())->get_ItemNumber());
  return out;
}

class ItemColSummaries : public ::testing::Test {
 protected:
  testing::WriterSwitches switches_;
  testing::LogFolder logs_;
};

TEST_F(ItemColSummaries, ShowAndHideSwitchEveryWriterOnTheThreadAndOthersPrune) {
  auto col = create<ICatItemCol>();
  auto prices = create<ICatPriceCol>();  // made before the switch, follows it all the same
  int events = 0;
  col->events().advise([&](Object&, int32_t) { ++events; });
  const Variant statuses[] = {Variant(u"ORDER"), Variant(u""), Variant(u"   "),    Variant(u"HOLD"),
                              Variant::null(),   Variant(),    Variant(int32_t{0})};
  for (int n = 0; n < 7; ++n) {
    const Text number = integer_text(n + 1);
    col->Add(part(u"L", number.c_str(), 1, 2, statuses[n]), u"L" + number);
  }
  const Currency count = col->get_ItemsTotalCount(), cost = col->get_ItemsTotalCost();
  col->Summarize(u"showXml");  // the switch removes nothing
  EXPECT_FALSE(diag::thread_state().XMLCompress || diag::thread_state().XMLZeroSuppress);
  EXPECT_EQ(testing::u8(prices->get_XML()),
            "<Prices><Count>0</Count><Collection></Collection></Prices>");
  col->Summarize(u"HideXML");
  EXPECT_EQ(testing::u8(prices->get_XML()), "<Prices></Prices>");
  EXPECT_EQ(col->get_Count(), 7);

  col->Summarize(u" SHOWXML");  // not the switch: prunes
  EXPECT_TRUE(diag::thread_state().XMLCompress);
  // Empty, blank and missing statuses go; null and a zero stay; totals and events stay.
  EXPECT_EQ(numbers_of(*col), (std::vector<Text>{u"1", u"4", u"5", u"7"}));
  EXPECT_EQ(col->get_ItemsTotalCount(), count);
  EXPECT_EQ(col->get_ItemsTotalCost(), cost);
  EXPECT_EQ(events, 7);
  Variant gone(u"L3"), kept(u"l7");
  EXPECT_FALSE(col->ItemExists(gone));  // the removed member's key is free again
  EXPECT_TRUE(col->ItemExists(kept));
  col->Add(part(u"L", u"3", 1, 2), u"L3");
  col->Summarize(u"anything");
  EXPECT_EQ(col->get_Count(), 5);  // nothing left to remove

  // Pruning stops at an unreadable member: only the members before it went.
  col->Add(part(u"L", u"8", 1, 2, Variant(u"")), u"L8");
  EXPECT_THROW(col->Add(Ref<ICatItem>(), u""), Error);
  col->Add(part(u"L", u"9", 1, 2, Variant(u"")), u"L9");
  EXPECT_EQ(testing::error_number_of([&] { col->Summarize(u""); }), 91);
  EXPECT_EQ(col->get_Count(), 7);
  col->Clear(true);
  col->Summarize(u"SHOWXML");  // needs no member list
  EXPECT_FALSE(diag::thread_state().XMLZeroSuppress);
  const auto messages = logs_.error_messages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_TRUE(messages[1].starts_with("ICatItemCol | Summarize, Error # 91"));
}

TEST_F(ItemColSummaries, DescriptionsAndGroups) {
  auto col = create<ICatItemCol>();
  auto empty = col->GetDescriptions();
  ASSERT_TRUE(empty);  // an empty collection, not an empty reference
  EXPECT_EQ(empty->Count(), 0);
  EXPECT_EQ(col->GetItemGroup(u"Spark Plug"), 0);
  const std::tuple<const char16_t*, int16_t> items[] = {
      {u"Spark Plug", 3}, {u"spark plug", 4}, {u"Oil Filter", 7}, {u"", 1}, {u"", 2}};
  for (int n = 0; n < 5; ++n) {
    auto item = part(u"L", integer_text(n).c_str(), 1, 2, Variant(u""), std::get<0>(items[n]));
    item->put_ItemGroup(std::get<1>(items[n]));
    col->Add(item, integer_text(n));
  }
  auto d = col->GetDescriptions();
  // The first letter case stays; an empty description is kept once.
  ASSERT_EQ(d->Count(), 3);
  EXPECT_EQ(d->Item(Variant(int32_t{1})), Variant(u"Spark Plug"));
  EXPECT_EQ(d->Item(Variant(u"OIL FILTER")), Variant(u"Oil Filter"));
  EXPECT_EQ(d->Item(Variant(u"")), Variant(u""));
  // The first match, caseless, untrimmed.
  const std::pair<const char16_t*, int16_t> groups[] = {
      {u"oil filter", 7}, {u"SPARK plug", 3}, {u"Oil Filter ", 0}, {u"", 1}};
  for (auto [description, group] : groups) EXPECT_EQ(col->GetItemGroup(description), group);
  EXPECT_TRUE(logs_.error_lines().empty());  // skipped duplicates are not logged
  col->Clear(true);
  EXPECT_THROW(col->GetDescriptions(), Error);
  EXPECT_THROW(col->GetItemGroup(u"x"), Error);
  const auto messages = logs_.error_messages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_TRUE(messages[0].starts_with("ICatItemCol | GetDescriptions, Error # 91"));
  EXPECT_TRUE(messages[1].starts_with("ICatItemCol | GetItemGroup, Error # 91"));
}

}  // namespace
}  // namespace vexqom
