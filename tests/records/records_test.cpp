// The vehicle, price and item records: what they derive from their fields and their XML
// forms under both writer switch settings.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "records/record_form.h"
#include "support/checks.h"
#include "support/log_folder.h"
#include "support/samples.h"
#include "vexqom/ICatItem.h"

namespace vexqom {
namespace {

using namespace testing;

Ref<ICatPrice> price(ICatItem& item, const char16_t* location) {
  return item.get_PriceCol()->get_Item(Variant(location));
}

// Loads an item or price text holding one element.
void load_one(auto& record, const char16_t* root, const char16_t* tag, const char16_t* text) {
  record.put_XML(Text(u"<") + root + u"><" + tag + u">" + text + u"</" + tag + u"></" + root +
                 u">");
}

TEST(ICatVehicle, DescriptionXmlAndTheMileageReader) {
  // The composed description: the C and Python hosts' (an empty part keeps its blank).
  auto v = create<ICatVehicle>();
  v->put_Year(u"2001");
  v->put_Make(u"Ford & <Sons>");
  v->put_Engine(u"3.0L V6");
  v->put_Plate(u"00");
  v->put_CurrentMileage(u"0");
  // Never the composed description, never a zero.
  EXPECT_EQ(u8(v->get_XML()),
            "<Vehicle><Year>2001</Year><Make>Ford &amp; &lt;Sons&gt;</Make>"
            "<Engine>3.0L V6</Engine></Vehicle>");
  for (auto put :
       {&ICatVehicle::put_AAIA, &ICatVehicle::put_Model, &ICatVehicle::put_VIN,
        &ICatVehicle::put_Plate, &ICatVehicle::put_Description, &ICatVehicle::put_CurrentMileage})
    ((*v).*put)(u"x");
  EXPECT_EQ(u8(v->get_XML()),
            "<Vehicle><AAIA>x</AAIA><Year>2001</Year><Make>Ford &amp; &lt;Sons&gt;"
            "</Make><Model>x</Model><Engine>3.0L V6</Engine><VIN>x</VIN><Plate>x"
            "</Plate><Description>x</Description><CurrentMileage>x</CurrentMileage>"
            "</Vehicle>");
  auto copy = create<ICatVehicle>();
  copy->put_CurrentMileage(u"stale");
  copy->put_XML(v->get_XML());
  // The reader takes Mileage, not CurrentMileage.
  EXPECT_EQ(copy->get_Make() + copy->get_Description() + copy->get_VIN() + copy->get_CurrentMileage(),
            u"Ford & <Sons>xx");
  copy->put_XML(u"<Car><Mileage> 99 </Mileage><Make>  Kia </Make></Car>");
  EXPECT_EQ(copy->get_CurrentMileage() + u"|" + copy->get_Make() + u"|" + copy->get_Year(),
            u"99|Kia|");
}

const char* const kFilledPrice =
    "<Price><Location>MAIN</Location><SellerID>#123</SellerID><DeliveryTime>2 days"
    "</DeliveryTime><UrgentFlag>True</UrgentFlag><QtyBuyingInc>4</QtyBuyingInc><PackingUnits>"
    "BX</PackingUnits><PackNumUnits>12</PackNumUnits><WarrantyCode>W1</WarrantyCode><Rank>2"
    "</Rank><PriceTag>A&amp;B</PriceTag><Available>5</Available><QuantityToOrder>2.5"
    "</QuantityToOrder><CoreCost>1.5</CoreCost><CoreList>2.25</CoreList><Cost>10</Cost><List>"
    "19.99</List><Sell>-0.8</Sell><Margin>12.3457</Margin></Price>";

TEST(ICatPrice, SellerIdWriterSwitchesReaderAndRoundTrip) {
  LogFolder logs;  // fresh thread state: both switches off
  auto p = create<ICatPrice>();
  const std::pair<const char16_t*, const char16_t*> sellers[] = {
      {u"#123", u"123"}, {u"##1", u"#1"}, {u"", u""}};
  for (const auto& [given, read] : sellers) {
    p->put_SellerID(given);
    EXPECT_EQ(p->get_SellerID(), read) << u8(given);
  }
  EXPECT_EQ(u8(p->get_XML()),
            "<Price><Location></Location><SellerID></SellerID><DeliveryTime></DeliveryTime>"
            "<UrgentFlag>False</UrgentFlag><QtyBuyingInc></QtyBuyingInc><PackingUnits>"
            "</PackingUnits><PackNumUnits></PackNumUnits><WarrantyCode></WarrantyCode><Rank>"
            "</Rank><PriceTag></PriceTag><Available></Available><QuantityToOrder>"
            "</QuantityToOrder><CoreCost>0</CoreCost><CoreList>0</CoreList><Cost>0</Cost>"
            "<List>0</List><Sell>0</Sell><Margin>0</Margin></Price>");
  for (bool on : {false, true}) {
    WriterSwitches::set(on);
    auto copy = create<ICatPrice>();
    copy->put_Rank(u"stale");
    copy->put_XML(testing::filled_price()->get_XML());
    EXPECT_EQ(u8(copy->get_XML()), kFilledPrice) << "switches " << on;
    const Variant available = copy->get_Available();  // a number comes back as text
    copy->put_XML(create<ICatPrice>()->get_XML());  // empty text, not the empty Variant
    EXPECT_EQ(std::tuple(available, copy->get_Location(), copy->get_QuantityToOrder()),
              std::tuple(Variant(u"5"), Text(), Variant(Text())));
  }
  // Compressed, an empty item keeps only its empty price list.
  EXPECT_EQ(u8(create<ICatItem>()->get_XML()), "<Item><Prices></Prices></Item>");
  p->put_SellerID(u"0");
  p->put_QtyBuyingInc(u"0");
  p->put_Available(Variant(int32_t{0}));
  p->put_QuantityToOrder(Variant(u"0.0"));
  p->put_Rank(u"00x");
  // #0 does not read as a zero.
  EXPECT_EQ(u8(p->get_XML()),
            "<Price><SellerID>#0</SellerID><UrgentFlag>False</UrgentFlag><Rank>"
            "00x</Rank></Price>");
  p->put_XML(u"<Price><SellerID>77</SellerID></Price>");
  EXPECT_EQ(p->get_SellerID(), u"77");
  EXPECT_TRUE(logs.error_lines().empty());

  // The reader takes the flag word and leading numbers, and stops at an overflow.
  const std::pair<const char16_t*, bool> flags[] = {
      {u"TRUE", true}, {u"1", false}, {u"truee", false}};
  for (const auto& [text, flag] : flags) {
    load_one(*p, u"Price", u"UrgentFlag", text);
    EXPECT_EQ(p->get_UrgentFlag(), flag) << u8(text);
  }
  const std::pair<const char16_t*, double> amounts[] = {
      {u"12.34567", 12.3457}, {u"0.00025", 0.0002}, {u"0.00035", 0.0004}, {u"1,5", 1}, {u"abc", 0},
      {u"- 2 .5x", -2.5}, {u"&H10", 16}};
  for (const auto& [text, value] : amounts) {
    load_one(*p, u"Price", u"List", text);
    EXPECT_EQ(p->get_List(), Currency::from_double(value)) << u8(text);
  }
  EXPECT_EQ(
      error_number_of([&] {
        p->put_XML(u"<P><Location>X</Location><CoreCost>1E20</CoreCost><Margin>5</Margin></P>");
      }),
      6);
  EXPECT_EQ(logs.error_messages(),
            std::vector<std::string>{"ICatPrice | Let XML, Error # 6 at line: 8][Overflow"});
  // Fields read before the failure stay, the ones after it stay cleared.
  EXPECT_EQ(std::pair(p->get_Location(), p->get_Margin()), std::pair(Text(u"X"), Currency()));
}

TEST(ICatItem, QuantitiesJobberAmountsAndKeys) {
  auto item = create<ICatItem>();
  EXPECT_EQ(item->get_QuantityToOrder(), Variant(int16_t{0})) << "Integer 0 when nothing counted";
  item->put_QuantityToOrder(Text(), Variant(int32_t{2}));  // no location: JOBBER
  item->put_QuantityToOrder(u"LOCAL", Variant(int32_t{5}));
  item->put_QuantityOnTicket(Variant(int32_t{1}));  // INVOICE
  item->put_QuantityToOrder(u"X", Variant(u"3"));
  price(*item, u"cal")->put_QuantityToOrder(Variant(100.0));  // a fragment of INVOICE|LOCAL
  auto unnamed = create<ICatPrice>();
  unnamed->put_QuantityToOrder(Variant(int32_t{50}));
  item->get_PriceCol()->Add(unnamed);  // empty location, no key
  EXPECT_EQ(std::pair(price(*item, u"jobber")->get_QuantityToOrder(), item->get_QuantityToOrder()),
            std::pair(Variant(int32_t{2}), Variant(5.0)));
  // Full case mapping: a dotless i makes INVOICE too; long names are matched the same way.
  price(*item, u"\u0131nvoice")->put_QuantityToOrder(Variant(7.0));
  price(*item, u"warehouse north-east")->put_QuantityToOrder(Variant(10.0));
  EXPECT_EQ(std::tuple(item->get_QuantityToOrder(), item->get_QuantityToOrder(u"LOCAL"),
                       item->get_QuantityOnTicket()),
            std::tuple(Variant(15.0), Variant(5.0), Variant(1.0)));
  // A quantity held as text counts by its leading number: the selection's totals test.

  auto fresh = create<ICatItem>();
  EXPECT_EQ(fresh->get_QuantityOnTicket(), Variant(0.0));
  EXPECT_EQ(fresh->get_QuantityToOrder(), Variant(int16_t{0})) << "INVOICE is not counted";
  EXPECT_EQ(fresh->get_QuantityToOrder(u"Y"), Variant(0.0));
  EXPECT_EQ(fresh->get_QuantityToOrder(), Variant(0.0)) << "a counted record makes a double";
  // Lookups create INVOICE and Y.
  EXPECT_EQ(fresh->get_PriceCol()->get_Item(Variant(int32_t{1}))->get_Location() +
                integer_text(fresh->get_PriceCol()->get_Count()), u"INVOICE2");

  price(*fresh, u"JOBBER")->put_List(Currency::from_double(12.5));
  EXPECT_EQ(fresh->JobberList(), Variant(12.5));
  EXPECT_EQ(fresh->get_PriceCol()->get_Count(), 3) << "no MSRP record while the jobber has one";
  price(*fresh, u"MSRP")->put_Cost(Currency::from_double(19.95));
  price(*fresh, u"MSRP")->put_CoreList(Currency::from_double(-0.5));
  // MSRP only when the jobber's is zero, and no further fallback.
  EXPECT_EQ(std::tuple(fresh->JobberCost(), fresh->JobberCoreList(), fresh->JobberCoreCost()),
            std::tuple(Variant(19.95), Variant(-0.5), Variant(0.0)));

  auto keyed = testing::filled_item();  // of the comment kind
  EXPECT_EQ(keyed->UniqueKey(), u"ACD012") << "all but labor are keyed as parts";
  keyed->put_ItemType(vexCatalogItemType::vcit_Labor);
  EXPECT_EQ(keyed->UniqueKey(), u"Pad R&R cm");
}

TEST(ICatItemXml, ReaderRoundsNumbersReplacesPricesAndStopsAtOverflow) {
  LogFolder logs;
  auto item = testing::filled_item();
  // Rounding and leading numbers: the list ID's rows (the same reader helper). Here the
  // lowest Integer, a Long item type, and a text without Prices dropping the old ones: a
  // new collection, so the one a host holds keeps its price.
  const Ref<ICatPriceCol> held = item->get_PriceCol();
  item->put_XML(u"<Item><WorkGroup>-32768</WorkGroup><ItemType>70000</ItemType></Item>");
  EXPECT_EQ(std::tuple(item->get_WorkGroup(), item->get_ItemType(), item->get_PriceCol()->get_Count(),
                       held->get_Count()),
            std::tuple(int16_t{-32768}, static_cast<vexCatalogItemType>(70000), 0, 1));
  EXPECT_TRUE(logs.error_lines().empty());

  EXPECT_EQ(error_number_of([&] { load_one(*item, u"Item", u"WorkGroup", u"40000"); }), 6);
  EXPECT_EQ(error_number_of([&] {
              item->put_XML(
                  u"<I><GroupNumber>G</GroupNumber><ItemGroup>-40000</ItemGroup>"
                  u"<Description>D</Description></I>");
            }),
            6);
  // Fields read before the failure stay, later ones keep the cleared values.
  EXPECT_EQ(item->get_GroupNumber() + u"|" + item->get_Description(), u"G|");
  item->Clear(true);
  item->put_XML(Text());
  EXPECT_TRUE(item->get_PriceCol()) << "a load, even of nothing, brings its own price collection";
  item->Clear(true);  // no price collection: whatever needs it fails, logged
  const std::function<void()> unset_calls[] = {
      [&] { item->get_XML(); }, [&] { item->JobberCost(); }, [&] { item->get_QuantityToOrder(); }};
  for (const auto& call : unset_calls) EXPECT_EQ(error_number_of(call), 91);
  const std::string unset = "][" + kUnset;
  EXPECT_EQ(logs.error_messages(),
            (std::vector<std::string>{"ICatItem | Let XML, Error # 6 at line: 4][Overflow",
                                      "ICatItem | Let XML, Error # 6 at line: 8][Overflow",
                                      "ICatItem | Get XML, Error # 91 at line: 7" + unset,
                                      "ICatItem | JobberCost, Error # 91 at line: 1" + unset,
                                      "ICatItem | Get QuantityToOrder, Error # 91 at line: 1" +
                                          unset}));
}

// The item's reader searches the whole item text, prices included, for each of its names,
// so no item element may share a name with the embedded price collection's form.
TEST(ICatItemXml, NoItemElementNameIsAPriceElementName) {
  std::vector<TextView> price_names{u"Prices", u"Count", u"Collection", u"Price"};
  for (const Field<ICatPrice>& field : XmlForm<ICatPrice>::form().fields) {
    price_names.push_back(field.name);
    price_names.push_back(field.element_read());
  }
  for (const Field<ICatItem>& field : XmlForm<ICatItem>::form().fields) {
    if (field.name == u"Prices") continue;
    for (TextView item_name : {field.name, field.element_read()}) {
      EXPECT_EQ(std::count(price_names.begin(), price_names.end(), item_name), 0)
          << u8(Text(item_name));
    }
  }
}

}  // namespace
}  // namespace vexqom
