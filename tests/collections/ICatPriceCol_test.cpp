// The price collection: its XML form, the keys a rebuild gives, get-or-create, and which
// failures are logged.
#include "vexqom/ICatPriceCol.h"

#include <gtest/gtest.h>

#include <array>

#include "support/checks.h"
#include "support/log_folder.h"

namespace vexqom {
namespace {

using testing::error_number_of;
using testing::u8;

Text prices(const char16_t* count, std::initializer_list<std::array<const char16_t*, 3>> list) {
  Text out = Text(u"<Prices><Count>") + count + u"</Count><Collection>";
  for (const auto& [location, seller, rank] : list) {
    out += Text(u"<Price><Location>") + location + u"</Location><SellerID>" + seller +
           u"</SellerID><Rank>" + rank + u"</Rank></Price>";
  }
  return out + u"</Collection></Prices>";
}

TEST(ICatPriceCol, XmlFormAndTheKeysARebuildGives) {
  testing::LogFolder logs;  // fresh thread state: both switches off
  auto col = create<ICatPriceCol>();
  EXPECT_EQ(u8(col->get_XML()), "<Prices><Count>0</Count><Collection></Collection></Prices>");
  testing::WriterSwitches::set(true);
  EXPECT_EQ(u8(col->get_XML()), "<Prices></Prices>");
  col->Add(create<ICatPrice>(), u"MAIN");
  col->Add(create<ICatPrice>());
  EXPECT_EQ(u8(col->get_XML()),
            "<Prices><Count>2</Count><Collection><Price><UrgentFlag>False</UrgentFlag></Price>"
            "<Price><UrgentFlag>False</UrgentFlag></Price></Collection></Prices>");

  // The first of each key stays, a seller's price is JOBBER, and each drop is logged.
  col->put_XML(prices(u"7", {{u"EAST", u"#1", u"a"},
                             {u"MAIN", u"", u"b"}, {u"WEST", u"2", u"c"}, {u"main", u"", u"d"},
                             {u"jobber", u"", u"e"}, {u"", u"", u"f"},
                             {u"", u"", u"g"}}));
  ASSERT_EQ(col->get_Count(), 4);
  EXPECT_EQ(col->get_Item(Variant(u"JOBBER"))->get_Rank() +
                col->get_Item(Variant(u"MAIN"))->get_Rank() +
                col->get_Item(Variant(int32_t{4}))->get_Rank(),
            u"abg");
  const std::string dropped =
      "ICatPriceCol | Add, Error # 457 at line: 1][This key is already associated with an "
      "element of this collection";
  EXPECT_EQ(logs.error_messages(), std::vector<std::string>(3, dropped));

  // "Count" is trusted and rounded halves to even; absent elements give empty prices.
  const std::initializer_list<std::array<const char16_t*, 3>> three = {
      {u"A", u"", u"1"}, {u"B", u"", u"2"}, {u"C", u"", u"3"}};
  col->put_XML(prices(u"2.5", three));
  EXPECT_EQ(col->get_Count(), 2);
  col->put_XML(prices(u"3.5", three));
  EXPECT_EQ(col->get_Item(Variant(int32_t{4}))->get_Location(), u"");
  EXPECT_EQ(error_number_of([&] { col->put_XML(prices(u"40000", three)); }), 6);
  EXPECT_EQ(logs.error_messages().back(), "ICatPriceCol | Let XML, Error # 6 at line: 4][Overflow");
  col->put_XML(Text());
  EXPECT_EQ(col->get_Count(), 0);
}

TEST(ICatPriceCol, LookupsCreateOrFailUnloggedWhileAddLogs) {
  testing::LogFolder logs;
  logs.create_trace_flag();
  auto col = create<ICatPriceCol>();
  col->Add(create<ICatPrice>(), u"MAIN");
  col->Add(Ref<ICatPrice>());  // an empty reference is a member too
  auto north = col->get_Item(Variant(u"NORTH"));
  EXPECT_EQ(north->get_Location(), u"NORTH");
  EXPECT_EQ(col->get_Item(Variant(u"north")), north);  // created once, found after
  EXPECT_EQ(col->get_Count(), 3);
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(int32_t{5})); }), 13);
  EXPECT_EQ(error_number_of([&] { col->Remove(Variant(u"SOUTH")); }), 5);
  EXPECT_TRUE(logs.error_lines().empty());
  EXPECT_EQ(error_number_of([&] { col->Add(create<ICatPrice>(), u"Main"); }), 457);  // traced on
  EXPECT_EQ(error_number_of([&] { col->get_XML(); }), 91);  // the empty member has no XML
  col->Clear(true);
  // Neither of these has a handler.
  EXPECT_EQ(error_number_of([&] { col->get_Count(); }), 91);
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(u"A")); }), 91);
  EXPECT_EQ(logs.error_lines().size(), 2u);
  col->put_XML(prices(u"1", {{u"Z", u"", u""}}));
  EXPECT_EQ(col->get_Count(), 1);
  EXPECT_EQ(logs.traced("ICatPriceCol |"),
            (std::vector<std::string>{"ICatPriceCol | Get XML", "ICatPriceCol | Clear",
                                      "ICatPriceCol | Let XML", "ICatPriceCol | Add"}));
}

}  // namespace
}  // namespace vexqom
