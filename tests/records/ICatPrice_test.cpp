// The price record: the seller rule, its XML form under both writer switch settings, and
// how the reader takes flags and amounts.
#include <gtest/gtest.h>

#include "frame/diagnostics.h"
#include "support/log_folder.h"
#include "vexqom/ICatPrice.h"

namespace vexqom {
namespace {

void set_switches(bool on) {
  diag::thread_state().XMLCompress = on;
  diag::thread_state().XMLZeroSuppress = on;
}

Ref<ICatPrice> filled_price() {
  auto p = create<ICatPrice>();
  p->put_Location(u"MAIN");
  p->put_SellerID(u"123");
  p->put_UrgentFlag(true);
  p->put_DeliveryTime(u"2 days");
  p->put_QtyBuyingInc(u"4");
  p->put_PackingUnits(u"BX");
  p->put_PackNumUnits(u"12");
  p->put_WarrantyCode(u"W1");
  p->put_Rank(u"2");
  p->put_Tag(u"A&B");
  p->put_Available(Variant(int32_t{5}));
  p->put_QuantityToOrder(Variant(2.5));
  p->put_CoreCost(Currency::from_double(1.5));
  p->put_CoreList(Currency::from_double(2.25));
  p->put_Cost(Currency::from_double(10));
  p->put_List(Currency::from_double(19.99));
  p->put_Sell(Currency::from_double(-0.8));
  p->put_Margin(Currency::from_double(12.3457));
  return p;
}

const char* const kFilledXml =
    "<Price><Location>MAIN</Location><SellerID>#123</SellerID><DeliveryTime>2 days"
    "</DeliveryTime><UrgentFlag>True</UrgentFlag><QtyBuyingInc>4</QtyBuyingInc><PackingUnits>"
    "BX</PackingUnits><PackNumUnits>12</PackNumUnits><WarrantyCode>W1</WarrantyCode><Rank>2"
    "</Rank><PriceTag>A&amp;B</PriceTag><Available>5</Available><QuantityToOrder>2.5"
    "</QuantityToOrder><CoreCost>1.5</CoreCost><CoreList>2.25</CoreList><Cost>10</Cost><List>"
    "19.99</List><Sell>-0.8</Sell><Margin>12.3457</Margin></Price>";

TEST(ICatPrice, SellerIdKeepsOneLeadingHash) {
  testing::LogFolder logs;  // fresh thread state: both switches off
  auto p = create<ICatPrice>();
  const std::pair<const char16_t*, const char16_t*> cases[] = {
      {u"123", u"123"}, {u"#123", u"123"}, {u"##1", u"#1"}, {u"", u""}};
  for (const auto& [given, read] : cases) {
    p->put_SellerID(given);
    EXPECT_EQ(p->get_SellerID(), read) << to_utf8(given);
  }
  p->put_SellerID(u"0");
  set_switches(true);
  EXPECT_EQ(to_utf8(p->get_XML()),
            "<Price><SellerID>#0</SellerID><UrgentFlag>False</UrgentFlag></Price>")
      << "#0 does not read as a zero";
  p->put_XML(u"<Price><SellerID>77</SellerID></Price>");
  EXPECT_EQ(p->get_SellerID(), u"77");
  EXPECT_NE(to_utf8(p->get_XML()).find("<SellerID>77<"), std::string::npos);
}

TEST(ICatPriceXml, WriterTextsWithSwitchesOffAndOn) {
  testing::LogFolder logs;
  EXPECT_EQ(to_utf8(create<ICatPrice>()->get_XML()),
            "<Price><Location></Location><SellerID></SellerID><DeliveryTime></DeliveryTime>"
            "<UrgentFlag>False</UrgentFlag><QtyBuyingInc></QtyBuyingInc><PackingUnits>"
            "</PackingUnits><PackNumUnits></PackNumUnits><WarrantyCode></WarrantyCode><Rank>"
            "</Rank><PriceTag></PriceTag><Available></Available><QuantityToOrder>"
            "</QuantityToOrder><CoreCost>0</CoreCost><CoreList>0</CoreList><Cost>0</Cost>"
            "<List>0</List><Sell>0</Sell><Margin>0</Margin></Price>");
  EXPECT_EQ(to_utf8(filled_price()->get_XML()), kFilledXml);

  set_switches(true);
  auto p = create<ICatPrice>();
  EXPECT_EQ(to_utf8(p->get_XML()), "<Price><UrgentFlag>False</UrgentFlag></Price>");
  p->put_QtyBuyingInc(u"0");
  p->put_Available(Variant(int32_t{0}));
  p->put_QuantityToOrder(Variant(Text(u"0.0")));
  p->put_Rank(u"00x");
  EXPECT_EQ(to_utf8(p->get_XML()), "<Price><UrgentFlag>False</UrgentFlag><Rank>00x</Rank></Price>");
}

TEST(ICatPriceXml, RoundTripUnderBothSettingsLeavesTextQuantities) {
  testing::LogFolder logs;
  for (bool on : {false, true}) {
    set_switches(on);
    auto copy = create<ICatPrice>();
    copy->put_Rank(u"stale");
    copy->put_XML(filled_price()->get_XML());
    EXPECT_EQ(to_utf8(copy->get_XML()), kFilledXml) << "switches " << on;
    EXPECT_EQ(copy->get_Tag(), u"A&B");
    EXPECT_EQ(copy->get_Available(), Variant(Text(u"5"))) << "a number comes back as text";
    copy->put_XML(create<ICatPrice>()->get_XML());
    EXPECT_EQ(copy->get_Location(), u"");
    EXPECT_EQ(copy->get_QuantityToOrder(), Variant(Text()));
  }
  auto p = filled_price();
  p->Clear();
  EXPECT_EQ(p->get_Available(), Variant(Text())) << "empty text, not the empty Variant";
  p = filled_price();
  p->put_XML(Text());
  EXPECT_EQ(p->get_Margin(), Currency());
  EXPECT_EQ(p->get_QuantityToOrder(), Variant(Text()));
}

TEST(ICatPriceXml, ReaderTakesFlagWordAndLeadingNumbers) {
  testing::LogFolder logs;
  auto p = create<ICatPrice>();
  auto load = [&](const char16_t* tag, const char16_t* text) {
    p->put_XML(Text(u"<Price><") + tag + u">" + text + u"</" + tag + u"></Price>");
  };
  for (const char16_t* t : {u"true", u"TRUE", u"True"}) {
    load(u"UrgentFlag", t);
    EXPECT_TRUE(p->get_UrgentFlag()) << to_utf8(t);
  }
  for (const char16_t* t : {u"1", u"-1", u"yes", u"truee"}) {
    load(u"UrgentFlag", t);
    EXPECT_FALSE(p->get_UrgentFlag()) << to_utf8(t);
  }
  const std::pair<const char16_t*, double> amounts[] = {
      {u"12.34567", 12.3457}, {u"0.00025", 0.0002}, {u"0.00035", 0.0004}, {u"1,5", 1},
      {u"abc", 0},           {u"- 2 .5x", -2.5},   {u"&H10", 16}};
  for (const auto& [text, value] : amounts) {
    load(u"List", text);
    EXPECT_EQ(p->get_List(), Currency::from_double(value)) << to_utf8(text);
  }
  EXPECT_TRUE(logs.error_lines().empty());

  try {
    p->put_XML(u"<P><Location>X</Location><CoreCost>1E20</CoreCost><Margin>5</Margin></P>");
    ADD_FAILURE() << "no overflow raised";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 6);
  }
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(testing::log_message(lines[0]), "ICatPrice | Let XML, Error # 6 at line: 8][Overflow");
  EXPECT_EQ(p->get_Location(), u"X") << "fields read before the failure stay";
  EXPECT_EQ(p->get_Margin(), Currency()) << "fields after it stay cleared";
}

}  // namespace
}  // namespace vexqom
