// The item document: writing a selection and loading it back.
#include <gtest/gtest.h>

#include <string>

#include "frame/code_page.h"
#include "frame/diagnostics.h"
#include "support/log_folder.h"
#include "support/writer_switches.h"
#include "vexqom/ICatItemCol.h"

namespace vexqom {
namespace {

class ItemColDocument : public ::testing::Test {
 protected:
  testing::WriterSwitches switches_;
  testing::LogFolder logs_;
  int events_ = 0;

  Ref<ICatItemCol> counted_selection() {
    auto col = create<ICatItemCol>();
    col->events().advise([this](Object&, int32_t) { ++events_; });
    return col;
  }
};

Ref<ICatItem> part(const char16_t* line_code, const char16_t* number, int32_t quantity,
                   double cost, const char16_t* description) {
  auto item = create<ICatItem>();
  item->put_LineCode(line_code);
  item->put_ItemNumber(number);
  item->put_Description(description);
  item->put_ItemStatus(Variant(u"ORDER"));
  item->put_QuantityToOrder(Text(), Variant(quantity));
  auto jobber = item->get_PriceCol()->get_Item(Variant(u"JOBBER"));
  jobber->put_Cost(Currency::from_double(cost));
  jobber->put_List(Currency::from_double(cost * 2));
  item->get_PriceCol()->get_Item(Variant(u"LOCAL"))->put_Available(Variant(u"7"));
  return item;
}

std::string item_xml(const char* line_code, const char* number, int quantity) {
  return std::string("<Item><LineCode>") + line_code + "</LineCode><ItemNumber>" + number +
         "</ItemNumber><Prices><Count>1</Count><Collection><Price><Location>JOBBER</Location>"
         "<QuantityToOrder>" +
         std::to_string(quantity) + "</QuantityToOrder></Price></Collection></Prices></Item>";
}

std::vector<Text> keys_of(ICatItemCol& col) {
  std::vector<Text> keys;
  for (int32_t i = 1; i <= col.get_Count(); ++i) {
    Variant position(i);
    keys.push_back(col.get_Item(position)->UniqueKey());
  }
  return keys;
}

TEST_F(ItemColDocument, NewSelectionWritesVersionAndVehicleOnly) {
  auto col = create<ICatItemCol>();
  const Text text = col->get_XML();
  EXPECT_EQ(to_utf8(text), "<Items><XDocVersion>v2.20</XDocVersion><Vehicle></Vehicle></Items>");
  auto copy = counted_selection();
  copy->put_XML(text);
  EXPECT_EQ(copy->get_Count(), 0);
  EXPECT_EQ(copy->get_XDocVersion(), u"v2.20");
  EXPECT_EQ(events_, 0);
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemColDocument, RoundTripKeepsOrderKeysVehicleAndTotals) {
  auto source = create<ICatItemCol>();
  source->Add(part(u"ACD", u"012345", 2, 3.5, u"Spark Plug"), u"ACD012345");
  auto labor = create<ICatItem>();
  labor->put_ItemType(vexCatalogItemType::vcit_Labor);
  labor->put_Description(u"Replace plugs");
  labor->put_LaborOperation(u"R&R");
  labor->put_LaborHRSnormal(Currency::from_double(1.2));
  source->Add(labor, labor->UniqueKey());
  source->Add(part(u"FRA", u"PH8A", 1, 10, u"Oil <Filter>"), u"FRAPH8A");
  source->get_Vehicle()->put_Year(u"2001");
  source->get_Vehicle()->put_Make(u"Ford");
  const Text text = source->get_XML();

  auto copy = counted_selection();
  copy->put_XML(text);
  EXPECT_EQ(events_, 3);
  EXPECT_EQ(keys_of(*copy), (std::vector<Text>{u"ACD012345", u"Replace plugs R&R", u"FRAPH8A"}));
  Variant by_key(u"replace PLUGS r&r");
  ASSERT_TRUE(copy->get_Item(by_key)) << "loaded items are filed under their UniqueKey";
  EXPECT_EQ(copy->get_Item(by_key)->get_LaborHRSnormal(), Currency::from_double(1.2));
  Variant third(int32_t{3});
  EXPECT_EQ(copy->get_Item(third)->get_Description(), u"Oil <Filter>");
  EXPECT_EQ(copy->get_Vehicle()->get_Year(), u"2001");
  EXPECT_EQ(copy->get_Vehicle()->get_Make(), u"Ford");
  EXPECT_EQ(copy->get_ItemsTotalCount(), source->get_ItemsTotalCount());
  EXPECT_EQ(copy->get_ItemsTotalCost(), source->get_ItemsTotalCost());
  EXPECT_EQ(copy->get_ItemsTotalCost(), Currency::from_double(17));
  EXPECT_EQ(copy->get_XDocVersion(), u"v2.20");
  EXPECT_EQ(copy->get_XML(), text) << "a loaded selection writes the same document";

  // A load replaces everything: the host's vehicle is no longer the selection's.
  auto host_vehicle = copy->get_Vehicle();
  copy->put_XML(text);
  EXPECT_NE(copy->get_Vehicle(), host_vehicle);
  EXPECT_EQ(copy->get_Count(), 3);
  EXPECT_EQ(copy->get_ItemsTotalCost(), Currency::from_double(17)) << "totals rebuilt, not added";
  EXPECT_TRUE(logs_.error_lines().empty());
}

// Items and prices pass through the document's text without widening and narrowing at
// each level: what each level writes and reads must be what it does on its own, for
// characters beyond ASCII and for the ones the code page cannot hold ("?").
TEST_F(ItemColDocument, NestedRecordsWriteAndReadAsOnTheirOwn) {
  auto source = create<ICatItemCol>();
  auto item = part(u"B\u00e9", u"\u20ac-9", 3, 2.5, u"Z\u00fcndkerze \u015d & <tip>");
  auto jobber = item->get_PriceCol()->get_Item(Variant(u"JOBBER"));
  jobber->put_DeliveryTime(u"2 \u0434\u043d\u044f \u00bd");
  source->Add(item, item->UniqueKey());
  const Text text = source->get_XML();
  EXPECT_NE(text.find(item->get_XML()), Text::npos) << "the item's own XML, as it stands";
  EXPECT_NE(text.find(jobber->get_XML()), Text::npos);

  auto copy = create<ICatItemCol>();
  copy->put_XML(text);
  ASSERT_EQ(copy->get_Count(), 1);
  Variant first(int32_t{1});
  auto loaded = copy->get_Item(first);
  auto alone = create<ICatItem>();
  alone->put_XML(item->get_XML());
  EXPECT_EQ(loaded->get_Description(), u"Z\u00fcndkerze ? & <tip>");
  EXPECT_EQ(loaded->get_Description(), alone->get_Description());
  EXPECT_EQ(loaded->get_ItemNumber(), u"\u20ac-9");
  auto loaded_jobber = loaded->get_PriceCol()->get_Item(Variant(u"JOBBER"));
  EXPECT_EQ(loaded_jobber->get_DeliveryTime(), u"2 ??? \u00bd");
  EXPECT_EQ(loaded_jobber->get_Cost(), Currency::from_double(2.5));
  EXPECT_EQ(loaded->get_XML(), alone->get_XML());
  // The reloaded selection writes the document again, the unheld characters as "?".
  EXPECT_EQ(copy->get_XML(), from_code_page(to_code_page(text)));
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemColDocument, VersionComesFromTheDocument) {
  auto col = create<ICatItemCol>();
  const std::string body = "<Count>1</Count><Collection>" + item_xml("ACD", "1", 2) +
                           "</Collection><Vehicle><Make>Kia</Make></Vehicle></Items>";
  col->put_XML(from_utf8("<Items>" + body));
  EXPECT_EQ(col->get_Count(), 1);
  EXPECT_EQ(col->get_Vehicle()->get_Make(), u"Kia");
  EXPECT_EQ(col->get_XDocVersion(), u"") << "a version-1 document has none";
  const std::string rewritten = to_utf8(col->get_XML());
  EXPECT_EQ(rewritten.rfind("<Items><Count>1</Count><Collection><Item>", 0), 0u) << rewritten;
  EXPECT_EQ(rewritten.find("XDocVersion"), std::string::npos);

  col->put_XML(from_utf8("<Items><XDocVersion>v1.5</XDocVersion>" + body));
  EXPECT_EQ(col->get_XDocVersion(), u"v1.5");
  EXPECT_NE(to_utf8(col->get_XML()).find("<XDocVersion>v1.5</XDocVersion>"), std::string::npos);

  col->put_XML(Text());
  EXPECT_EQ(col->get_Count(), 0);
  EXPECT_EQ(col->get_XDocVersion(), u"v1.5") << "an empty text keeps the version";
  EXPECT_EQ(col->get_Vehicle()->get_Make(), u"");
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemColDocument, CountDecidesHowManyItemsAndDuplicatesDropQuietly) {
  auto col = counted_selection();
  const std::string three = item_xml("ACD", "1", 2) + item_xml("acd", "1", 5) +
                            item_xml("BBB", "2", 1);
  auto load = [&](const std::string& count) {
    col->put_XML(from_utf8("<Items>" + count + "<Collection>" + three +
                           "</Collection><Vehicle><Year>1999</Year></Vehicle></Items>"));
  };
  load("<Count>3</Count>");
  EXPECT_EQ(col->get_Count(), 2) << "the second ACD1 is dropped";
  EXPECT_EQ(keys_of(*col), (std::vector<Text>{u"ACD1", u"BBB2"}));
  EXPECT_EQ(col->get_ItemsTotalCount(), Currency::from_double(3)) << "the dropped 5 is not counted";
  EXPECT_EQ(events_, 2);
  EXPECT_TRUE(logs_.error_lines().empty()) << "a dropped duplicate is not logged";

  load("<Count>1</Count>");
  EXPECT_EQ(keys_of(*col), std::vector<Text>{u"ACD1"});
  load("<Count>0</Count>");
  EXPECT_EQ(col->get_Count(), 0);
  EXPECT_EQ(col->get_Vehicle()->get_Year(), u"1999") << "the vehicle is read without items";
  load("");
  EXPECT_EQ(col->get_Count(), 1) << "without its own Count the first one in the text counts";
  col->put_XML(u"<Items><Collection><Item><LineCode>A</LineCode></Item></Collection></Items>");
  EXPECT_EQ(col->get_Count(), 0);
  load("<Count>2.5</Count>");
  EXPECT_EQ(keys_of(*col), std::vector<Text>{u"ACD1"}) << "2.5 rounds to the even 2";

  // Two parts without line code and number carry no key: both stay.
  col->put_XML(from_utf8("<Items><Count>2</Count><Collection><Item><Description>a</Description>"
                         "</Item><Item><Description>b</Description></Item></Collection></Items>"));
  EXPECT_EQ(col->get_Count(), 2);
  EXPECT_TRUE(logs_.error_lines().empty());

  // An overflowing count ends the load through the handler.
  try {
    load("<Count>40000</Count>");
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 6);
  }
  ASSERT_EQ(logs_.error_lines().size(), 1u);
  EXPECT_EQ(testing::log_message(logs_.error_lines()[0]).rfind("ICatItemCol | Let XML, Error # 6", 0),
            0u);
}

// Items and their prices are written into the document's own text; one that fails part
// way leaves nothing of itself behind, and each writer on the way up logs its failure.
TEST_F(ItemColDocument, AMemberFailingPartWayFailsTheWholeDocument) {
  auto col = create<ICatItemCol>();
  for (const char16_t* number : {u"1", u"2", u"3"}) {
    auto item = part(u"ACD", number, 2, 1.5, u"Plug");
    col->Add(item, item->UniqueKey());
  }
  const Text before = col->get_XML();
  Variant second(int32_t{2});
  const Ref<ICatItem> broken = col->get_Item(second);
  const Ref<ICatPriceCol> prices = broken->get_PriceCol();
  broken->putref_PriceCol(Ref<ICatPriceCol>());
  try {
    col->get_XML();
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 91);
  }
  const auto lines = logs_.error_lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(testing::log_message(lines[0]).rfind("ICatItem | Get XML, Error # 91 at line: 7", 0),
            0u) << lines[0];
  EXPECT_EQ(testing::log_message(lines[1]).rfind("ICatItemCol | Get XML, Error # 91 at line: 2", 0),
            0u) << lines[1];

  broken->putref_PriceCol(prices);
  EXPECT_EQ(col->get_XML(), before);
}

TEST_F(ItemColDocument, AnyTextLoadsAndAMissingVehicleFailsTheWriter) {
  auto col = create<ICatItemCol>();
  col->put_XML(u"this is not XML at all");
  EXPECT_EQ(col->get_Count(), 0);
  ASSERT_TRUE(col->get_Vehicle());
  EXPECT_EQ(col->get_Vehicle()->get_Make(), u"");
  EXPECT_EQ(col->get_XDocVersion(), u"");
  EXPECT_TRUE(logs_.error_lines().empty());

  col->putref_Vehicle(Ref<ICatVehicle>());
  try {
    col->get_XML();
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 91);
    EXPECT_EQ(to_utf8(e.description()).rfind("ICatItemCol | Get XML, Error # 91 at line: ", 0), 0u);
  }
  auto lines = logs_.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(testing::log_message(lines[0]).rfind("ICatItemCol | Get XML, Error # 91", 0), 0u);

  col->put_XML(u"<Items><Vehicle><Make>Kia</Make></Vehicle></Items>");
  ASSERT_TRUE(col->get_Vehicle()) << "a load brings a vehicle of its own";
  EXPECT_EQ(col->get_Vehicle()->get_Make(), u"Kia");
  EXPECT_EQ(logs_.error_lines().size(), 1u);
}

// A document may claim more members than it holds; past the last one the reads start
// again at the top. Nested, a tiny text would build half a billion records: one load
// builds at most a budget of members its text does not hold, and fails with 7 past it.
TEST_F(ItemColDocument, ClaimedMembersLoadWithinTheBudgetAndFailPastIt) {
  auto col = counted_selection();
  // 32,767 items claimed, one with two prices held: the odd positions read it (its copies
  // are duplicates), the even ones read nothing and add an empty item without key.
  std::string two_prices = item_xml("ACD", "1", 2);
  two_prices.replace(two_prices.find("<Count>1"), 8, "<Count>2");
  two_prices.replace(two_prices.find("</Collection>"), 0,
                     "<Price><Location>LOCAL</Location></Price>");
  col->put_XML(u"<Items><Count>32767</Count><Collection>" + from_utf8(two_prices) +
               u"</Collection></Items>");
  EXPECT_EQ(col->get_Count(), 16384);
  Variant first(int32_t{1});
  EXPECT_EQ(col->get_Item(first)->get_PriceCol()->get_Count(), 3) << "and the MSRP the total asks for";
  EXPECT_TRUE(logs_.error_lines().empty());

  const std::string nested =
      "<Items><Count>32767</Count><Collection><Item><Prices><Count>32767</Count><Collection>"
      "<Price>@</Price></Collection></Prices></Item></Collection></Items>";
  struct Case {
    const char* price;
    size_t most_log_lines;  // a repeated location logs each dropped copy
  };
  for (const Case& c : {Case{"", 3}, Case{"<Location>X</Location>", 40000}}) {
    std::string text = nested;
    text.replace(text.find('@'), 1, c.price);
    try {
      col->put_XML(from_utf8(text));
      ADD_FAILURE() << "no error for " << c.price;
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), 7);
      const std::string description = to_utf8(e.description());
      // Past the budget while building a copy of the item or one of its prices.
      EXPECT_EQ(description.rfind("ICatItemCol | Let XML, Error # 7 at line: ", 0), 0u);
      EXPECT_TRUE(description.ends_with("at line: 6\r\nOut of memory") ||
                  description.ends_with("ICatPriceCol | Let XML, Error # 7 at line: 5\r\n"
                                        "Out of memory"))
          << description;
    }
    const auto lines = logs_.error_lines();
    EXPECT_LE(lines.size(), c.most_log_lines);
    EXPECT_EQ(testing::log_message(lines.back()).rfind("ICatItemCol | Let XML, Error # 7", 0), 0u);
    testing::LogFolder::write_file(logs_.error_log_path(), "");
  }
  // The budget is the load's own: the next load of an honest text works as ever.
  col->put_XML(u"<Items><Count>1</Count><Collection>" + from_utf8(item_xml("B", "2", 1)) +
               u"</Collection></Items>");
  EXPECT_EQ(col->get_Count(), 1);
}

}  // namespace
}  // namespace vexqom
