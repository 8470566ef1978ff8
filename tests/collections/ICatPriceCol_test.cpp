// The price collection: its XML form, the keys a rebuild gives, get-or-create, and which
// failures are logged.
#include <gtest/gtest.h>

#include <array>

#include "support/error_number.h"
#include "frame/diagnostics.h"
#include "support/log_folder.h"
#include "vexqom/ICatPriceCol.h"

namespace vexqom {
namespace {

using testing::LogFolder;
using testing::log_message;

using testing::error_number_of;

Variant V(const char16_t* text) { return Variant(Text(text)); }

Text prices(const char16_t* count, std::initializer_list<std::array<const char16_t*, 3>> list) {
  Text out = Text(u"<Prices><Count>") + count + u"</Count><Collection>";
  for (const auto& [location, seller, rank] : list) {
    out += Text(u"<Price><Location>") + location + u"</Location><SellerID>" + seller +
           u"</SellerID><Rank>" + rank + u"</Rank></Price>";
  }
  return out + u"</Collection></Prices>";
}

TEST(ICatPriceColXml, EmptyAndFilledTextsRoundTrip) {
  LogFolder logs;  // fresh thread state: both switches off
  auto col = create<ICatPriceCol>();
  EXPECT_EQ(to_utf8(col->get_XML()), "<Prices><Count>0</Count><Collection></Collection></Prices>");
  diag::thread_state().XMLCompress = diag::thread_state().XMLZeroSuppress = true;
  EXPECT_EQ(to_utf8(col->get_XML()), "<Prices></Prices>");
  col->put_XML(u"<Prices></Prices>");
  EXPECT_EQ(col->get_Count(), 0);

  auto main = create<ICatPrice>();
  main->put_Location(u"MAIN");
  col->Add(main, u"MAIN");
  col->Add(create<ICatPrice>());
  const Text text = col->get_XML();
  EXPECT_EQ(to_utf8(text),
            "<Prices><Count>2</Count><Collection><Price><Location>MAIN</Location><UrgentFlag>"
            "False</UrgentFlag></Price><Price><UrgentFlag>False</UrgentFlag></Price>"
            "</Collection></Prices>");
  col->put_XML(Text());
  EXPECT_EQ(col->get_Count(), 0);
  col->put_XML(text);
  EXPECT_EQ(col->get_XML(), text);
  EXPECT_EQ(col->get_Item(V(u"main"))->get_Location(), u"MAIN");
  EXPECT_TRUE(logs.error_lines().empty());
}

TEST(ICatPriceColXml, RebuildKeysKeepTheFirstAndLogEachDrop) {
  LogFolder logs;
  auto col = create<ICatPriceCol>();
  col->put_XML(prices(u"7", {{u"EAST", u"#1", u"a"},  // a seller's price: JOBBER
                             {u"MAIN", u"", u"b"},
                             {u"WEST", u"2", u"c"},   // a second seller
                             {u"main", u"", u"d"},
                             {u"jobber", u"", u"e"},
                             {u"", u"", u"f"},        // no key
                             {u"", u"", u"g"}}));
  ASSERT_EQ(col->get_Count(), 4);
  EXPECT_EQ(col->get_Item(V(u"JOBBER"))->get_Rank(), u"a");
  EXPECT_EQ(col->get_Item(V(u"MAIN"))->get_Rank(), u"b");
  EXPECT_EQ(col->get_Item(Variant(int32_t{4}))->get_Rank(), u"g");
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 3u) << "one line per dropped price, none for the rebuild";
  EXPECT_EQ(log_message(lines[2]),
            "ICatPriceCol | Add, Error # 457 at line: 1][This key is already associated with an "
            "element of this collection");

  // "Count" is trusted and rounded halves to even; absent elements give empty prices.
  const std::initializer_list<std::array<const char16_t*, 3>> three = {
      {u"A", u"", u"1"}, {u"B", u"", u"2"}, {u"C", u"", u"3"}};
  col->put_XML(prices(u"2.5", three));
  EXPECT_EQ(col->get_Count(), 2);
  col->put_XML(prices(u"3.5", three));
  EXPECT_EQ(col->get_Count(), 4);
  EXPECT_EQ(col->get_Item(Variant(int32_t{4}))->get_Location(), u"");
  EXPECT_EQ(error_number_of([&] { col->put_XML(prices(u"40000", three)); }), 6);
  lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(log_message(lines[3]), "ICatPriceCol | Let XML, Error # 6 at line: 4][Overflow");
}

TEST(ICatPriceCol, LookupsCreateOrFailUnloggedWhileAddLogs) {
  LogFolder logs;
  auto col = create<ICatPriceCol>();
  col->Add(create<ICatPrice>(), u"MAIN");
  col->Add(Ref<ICatPrice>());  // an empty reference is a member too
  auto north = col->get_Item(V(u"NORTH"));
  EXPECT_EQ(north->get_Location(), u"NORTH");
  EXPECT_EQ(col->get_Item(V(u"north")), north) << "created once, found after";
  EXPECT_EQ(col->get_Count(), 3);
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(int32_t{5})); }), 13);
  EXPECT_EQ(error_number_of([&] { col->Remove(V(u"SOUTH")); }), 5);
  EXPECT_EQ(col->get_Count(), 3);
  EXPECT_TRUE(logs.error_lines().empty());

  EXPECT_EQ(error_number_of([&] { col->Add(create<ICatPrice>(), u"Main"); }), 457);
  EXPECT_EQ(error_number_of([&] { col->get_XML(); }), 91) << "the empty member has no XML";
  EXPECT_EQ(logs.error_lines().size(), 2u);

  col->Clear(true);
  EXPECT_EQ(error_number_of([&] { col->get_Count(); }), 91);
  EXPECT_EQ(error_number_of([&] { col->get_Item(V(u"A")); }), 91);
  EXPECT_EQ(logs.error_lines().size(), 2u) << "neither has a handler";
  col->put_XML(prices(u"1", {{u"Z", u"", u""}}));
  EXPECT_EQ(col->get_Count(), 1);
}

TEST(ICatPriceCol, TracedProceduresWriteOneLineEach) {
  LogFolder logs;
  logs.create_trace_flag();
  diag::ErrorLog_Write(u"start tracing");
  auto col = create<ICatPriceCol>();
  col->get_Item(V(u"A"));
  col->put_XML(col->get_XML());
  std::vector<std::string> labels;
  for (const auto& line : logs.trace_lines()) {
    // The engine traces its own value reads; only this class's entries count here.
    if (line.compare(18, 14, "ICatPriceCol |") == 0) labels.push_back(line.substr(18));
  }
  EXPECT_EQ(labels, (std::vector<std::string>{
                        "ICatPriceCol | Class_Initialize", "ICatPriceCol | Clear",
                        "ICatPriceCol | Get XML", "ICatPriceCol | Let XML", "ICatPriceCol | Add"}));
}

}  // namespace
}  // namespace vexqom
