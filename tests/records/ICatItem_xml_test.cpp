// The item's XML form: element names and order, the writer switches, and how the reader
// converts numbers and replaces the prices.
#include <gtest/gtest.h>

#include <algorithm>

#include "frame/diagnostics.h"
#include "records/record_form.h"
#include "support/log_folder.h"
#include "vexqom/ICatItem.h"

namespace vexqom {
namespace {

// Sets both writer switches and puts the previous values back at the end of the test.
struct Switches {
  explicit Switches(bool on) { set(on); }
  ~Switches() { set(before_c, before_z); }
  void set(bool on) { set(on, on); }
  static void set(bool c, bool z) {
    diag::thread_state().XMLCompress = c;
    diag::thread_state().XMLZeroSuppress = z;
  }
  bool before_c = diag::thread_state().XMLCompress;
  bool before_z = diag::thread_state().XMLZeroSuppress;
};

Ref<ICatItem> filled_item() {
  auto item = create<ICatItem>();
  const std::pair<void (ICatItem::*)(const Text&), const char16_t*> texts[] = {
      {&ICatItem::put_GroupNumber, u"G7"}, {&ICatItem::put_ItemSource, u"Cat"},
      {&ICatItem::put_Heading, u"Front"}, {&ICatItem::put_ItemLaborAvailable, u"Y"},
      {&ICatItem::put_ManufacturerName, u"P&Co"}, {&ICatItem::put_LineCode, u"ACD"},
      {&ICatItem::put_ItemNumber, u"012"}, {&ICatItem::put_PartTypeCode, u"PT"},
      {&ICatItem::put_Description, u"Pad"}, {&ICatItem::put_ImageFileName, u"p.png"},
      {&ICatItem::put_ImageCallOut, u"C4"}, {&ICatItem::put_ImageURLc2c, u"u1"},
      {&ICatItem::put_ImageURLalt, u"u2"}, {&ICatItem::put_MediaTagID, u"M9"},
      {&ICatItem::put_LaborOperation, u"R&R"}, {&ICatItem::put_LaborSkill, u"B"},
      {&ICatItem::put_LaborType, u"LT"}, {&ICatItem::put_YearRange, u"1999-2004"},
      {&ICatItem::put_ComponentSide, u"L"}, {&ICatItem::put_Comment, u"cm"},
      {&ICatItem::put_Tag, u"T1"}, {&ICatItem::put_VendorNumberXRef, u"XR"},
      {&ICatItem::put_MCLsequence, u"S1"}, {&ICatItem::put_GenericDescription, u"GD"},
      {&ICatItem::put_GenericDescriptionID, u"GI"}, {&ICatItem::put_SupplierStockingFlag, u"SF"},
      {&ICatItem::put_SupplierMovementFlag, u"MF"}, {&ICatItem::put_SupplierMovementRank, u"MR"},
      {&ICatItem::put_SupplierExtendedInfo, u"EI"}};
  for (const auto& [setter, value] : texts) ((*item).*setter)(value);
  item->put_WorkGroup(-3);
  item->put_ItemType(vexCatalogItemType::vcit_Comment);
  item->put_ItemStatus(Variant(int32_t{12}));
  item->put_ItemGroup(32000);
  item->put_QuantityPerCar(Currency::from_double(2.5));
  item->put_LaborRate(Currency::from_double(95.75));
  item->put_LaborHRSnormal(Currency::from_double(1.2));
  item->put_LaborHRSwarranty(Currency::from_double(0.9));
  item->put_LaborHRSsevere(Currency::from_double(-1.5));
  item->get_PriceCol()->get_Item(Variant(Text(u"LOCAL")))->put_QuantityToOrder(Variant(5.0));
  return item;
}

// Every element in writer order, the price collection's own form between the halves.
const char* const kFilledHead =
    "<Item><WorkGroup>-3</WorkGroup><GroupNumber>G7</GroupNumber><ItemType>2</ItemType>"
    "<ItemSource>Cat</ItemSource><ItemStatus>12</ItemStatus><ItemGroup>32000</ItemGroup>"
    "<ItemHeading>Front</ItemHeading><ItemLaborAvailable>Y</ItemLaborAvailable><Manufacturer>"
    "P&amp;Co</Manufacturer><LineCode>ACD</LineCode><ItemNumber>012</ItemNumber><PartTypeCode>"
    "PT</PartTypeCode><Description>Pad</Description><ImageFileName>p.png</ImageFileName>"
    "<ImageCallOut>C4</ImageCallOut><ImageURLc2c>u1</ImageURLc2c><ImageURLalt>u2</ImageURLalt>"
    "<MediaTagID>M9</MediaTagID><QuantityPerCar>2.5</QuantityPerCar>";
const char* const kFilledTail =
    "<LaborOperation>R&amp;R</LaborOperation><LaborSkill>B</LaborSkill><LaborRate>95.75"
    "</LaborRate><LaborHRSnormal>1.2</LaborHRSnormal><LaborHRSwarranty>0.9</LaborHRSwarranty>"
    "<LaborHRSsevere>-1.5</LaborHRSsevere><LaborType>LT</LaborType><YearRange>1999-2004"
    "</YearRange><ComponentSide>L</ComponentSide><Comment>cm</Comment><ItemTag>T1</ItemTag>"
    "<GenericDescription>GD</GenericDescription><GenericDescriptionID>GI</GenericDescriptionID>"
    "<SupplierStockingFlag>SF</SupplierStockingFlag><SupplierMovementFlag>MF"
    "</SupplierMovementFlag><SupplierMovementRank>MR</SupplierMovementRank><SupplierExtendedInfo>"
    "EI</SupplierExtendedInfo><VendorNumberXRef>XR</VendorNumberXRef><MCLsequence>S1"
    "</MCLsequence></Item>";

TEST(ICatItemXml, WriterOrderAndRoundTripUnderBothSettings) {
  testing::LogFolder logs;
  Switches switches(true);
  EXPECT_EQ(to_utf8(create<ICatItem>()->get_XML()), "<Item><Prices></Prices></Item>");
  for (bool on : {false, true}) {
    switches.set(on);
    auto source = filled_item();
    const std::string prices = to_utf8(source->get_PriceCol()->get_XML());
    const Text xml = source->get_XML();
    EXPECT_EQ(to_utf8(xml), kFilledHead + prices + kFilledTail);
    auto copy = create<ICatItem>();
    copy->put_XML(xml);
    EXPECT_EQ(copy->get_XML(), xml) << "switches " << on;
    EXPECT_EQ(copy->get_ItemStatus(), Variant(Text(u"12"))) << "the status comes back as text";
    EXPECT_EQ(copy->get_Heading(), u"Front");
    EXPECT_EQ(copy->get_Tag(), u"T1");
    EXPECT_EQ(copy->get_LaborHRSsevere(), Currency::from_double(-1.5));
    EXPECT_EQ(copy->get_QuantityToOrder(u"LOCAL"), Variant(5.0));
  }
  EXPECT_TRUE(logs.error_lines().empty());
}

TEST(ICatItemXml, ZeroTextsFollowTheSwitchesAndOnlyItemNamesAreRead) {
  testing::LogFolder logs;
  Switches switches(true);
  auto item = create<ICatItem>();
  item->put_ItemNumber(u"000");
  item->put_LineCode(u"0");
  auto copy = create<ICatItem>();
  copy->put_XML(item->get_XML());
  EXPECT_EQ(copy->VendorNumber(), u"");
  switches.set(false);
  copy->put_XML(item->get_XML());
  EXPECT_EQ(copy->VendorNumber(), u"0000");

  copy->put_XML(u"<X><Heading>H</Heading><Tag>T</Tag><Prices><Count>1</Count><Collection><Price>"
                u"<Location>MAIN</Location><PriceTag>P</PriceTag></Price></Collection></Prices>"
                u"<ItemTag> it </ItemTag></X>");
  EXPECT_EQ(copy->get_Heading(), u"");
  EXPECT_EQ(copy->get_Tag(), u"it") << "ItemTag only, trimmed";
  EXPECT_EQ(copy->get_PriceCol()->get_Item(Variant(Text(u"main")))->get_Tag(), u"P");
}

TEST(ICatItemXml, ReaderRoundsNumbersReplacesPricesAndStopsAtOverflow) {
  testing::LogFolder logs;
  auto item = filled_item();
  auto load_one = [&](const char16_t* tag, const char16_t* text) {
    item->put_XML(Text(u"<Item><") + tag + u">" + text + u"</" + tag + u"></Item>");
  };
  const std::pair<const char16_t*, int16_t> groups[] = {
      {u"2.5", 2}, {u"3.5", 4}, {u"7 units", 7}, {u"abc", 0}, {u"-32768", -32768}};
  for (const auto& [text, value] : groups) {
    load_one(u"WorkGroup", text);
    EXPECT_EQ(item->get_WorkGroup(), value) << to_utf8(text);
  }
  EXPECT_EQ(item->get_PriceCol()->get_Count(), 0) << "a text without Prices drops the old ones";
  load_one(u"ItemType", u"70000");
  EXPECT_EQ(item->get_ItemType(), static_cast<vexCatalogItemType>(70000));
  load_one(u"LaborRate", u"42.123456");
  EXPECT_EQ(item->get_LaborRate(), Currency::from_raw(421235));
  EXPECT_TRUE(logs.error_lines().empty());

  auto number_of = [&](const char16_t* xml) {
    try {
      item->put_XML(xml);
    } catch (const Error& e) {
      return e.number();
    }
    return 0;
  };
  EXPECT_EQ(number_of(u"<Item><WorkGroup>40000</WorkGroup></Item>"), 6);
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(testing::log_message(lines[0]).rfind("ICatItem | Let XML, Error # 6 at line: ", 0), 0u);
  EXPECT_EQ(number_of(u"<I><GroupNumber>G</GroupNumber><ItemGroup>-40000</ItemGroup><Description>"
                      u"D</Description></I>"), 6);
  EXPECT_EQ(item->get_GroupNumber(), u"G") << "fields read before the failure stay";
  EXPECT_EQ(item->get_Description(), u"") << "later ones keep the cleared values";

  item->Clear(true);
  item->put_XML(Text());
  EXPECT_TRUE(item->get_PriceCol()) << "a load, even of nothing, brings its own price collection";
  item->Clear(true);
  EXPECT_THROW(item->get_XML(), Error);
  const std::string last = testing::log_message(logs.error_lines().back());
  EXPECT_EQ(last.rfind("ICatItem | Get XML, Error # 91 at line: ", 0), 0u) << last;
}

// Every load brings a new price collection. A host holding the old one keeps its prices;
// one nobody holds may be renewed in place, which must look the same, also in the trace.
TEST(ICatItemXml, EveryLoadBringsANewPriceCollection) {
  const Text xml = u"<Item><LineCode>L</LineCode><Prices><Count>1</Count><Collection><Price>"
                   u"<Location>JOBBER</Location><Cost>2</Cost></Price></Collection></Prices>"
                   u"</Item>";
  auto item = create<ICatItem>();
  item->put_XML(xml);
  Ref<ICatPriceCol> held = item->get_PriceCol();
  item->put_XML(u"<Item><LineCode>M</LineCode></Item>");
  EXPECT_NE(item->get_PriceCol(), held);
  EXPECT_EQ(held->get_Count(), 1) << "the host's collection keeps its prices";
  EXPECT_EQ(item->get_PriceCol()->get_Count(), 0);
  held.reset();
  item->put_XML(xml);  // the unshared collection, reloaded
  EXPECT_EQ(item->get_PriceCol()->get_Count(), 1);
  EXPECT_EQ(item->JobberCost(), Variant(2.0));

  // Traced, each load shows the old collection going and a new one made, then loaded.
  testing::LogFolder logs;
  logs.create_trace_flag();
  item->Clear(true);
  EXPECT_THROW(item->get_XML(), Error);  // the first error starts tracing
  item->put_XML(xml);
  item->put_XML(xml);
  std::vector<std::string> price_lines;
  for (const std::string& line : logs.trace_lines()) {
    const size_t at = line.find("ICatPriceCol | ");
    if (at != std::string::npos) price_lines.push_back(line.substr(at));
  }
  const std::vector<std::string> one_load{"ICatPriceCol | Class_Initialize", "ICatPriceCol | Clear",
                                          "ICatPriceCol | Let XML", "ICatPriceCol | Add"};
  std::vector<std::string> two_loads = one_load;
  two_loads.push_back("ICatPriceCol | Clear");  // the first load's collection, released
  two_loads.insert(two_loads.end(), one_load.begin(), one_load.end());
  EXPECT_EQ(price_lines, two_loads);
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
          << to_utf8(item_name);
    }
  }
}

}  // namespace
}  // namespace vexqom
