// The item document: writing a selection and loading it back.
#include <gtest/gtest.h>

#include <string>

#include "frame/code_page.h"
#include "support/checks.h"
#include "support/log_folder.h"
#include "support/samples.h"
#include "vexqom/ICatItemCol.h"

namespace vexqom {
namespace {

using namespace testing;

class ItemColDocument : public ::testing::Test {
 protected:
  Ref<ICatItemCol> counted_selection() {
    auto col = create<ICatItemCol>();
    col->events().advise([this](Object&, int32_t) { ++events_; });
    return col;
  }
  static Ref<ICatItem> at(ICatItemCol& col, Variant key) { return col.get_Item(key); }
  static std::vector<Text> keys_of(ICatItemCol& col) {
    std::vector<Text> keys;
    for (int32_t i = 1; i <= col.get_Count(); ++i) keys.push_back(at(col, i)->UniqueKey());
    return keys;
  }
  // Each logged failure up to its line number: "ICatItemCol | Get XML, Error # 91".
  std::vector<std::string> failed() const {
    auto out = logs_.error_messages();
    for (auto& m : out) m = m.substr(0, m.find(" at line"));
    return out;
  }

  testing::WriterSwitches switches_;
  testing::LogFolder logs_;
  int events_ = 0;
};

std::string item_xml(const char* line_code, const char* number, int quantity) {
  return std::string("<Item><LineCode>") + line_code + "</LineCode><ItemNumber>" + number +
         "</ItemNumber><Prices><Count>1</Count><Collection><Price><Location>JOBBER</Location>"
         "<QuantityToOrder>" +
         std::to_string(quantity) +
         "</QuantityToOrder></Price></Collection>"
         "</Prices></Item>";
}

TEST_F(ItemColDocument, RoundTripKeepsOrderKeysVehicleTotalsAndCharacters) {
  auto source = create<ICatItemCol>();
  EXPECT_EQ(u8(source->get_XML()),
            "<Items><XDocVersion>v2.20</XDocVersion><Vehicle></Vehicle></Items>");
  source->Add(part(u"ACD", u"012345", 2, 3.5, Variant(u"ORDER"), u"Spark Plug"), u"ACD012345");
  // Characters beyond ASCII, and ones the code page cannot hold ("?").
  auto odd =
      part(u"B\u00e9", u"\u20ac-9", 1, 10, Variant(u"ORDER"), u"Z\u00fcndkerze \u015d & <tip>");
  odd->get_PriceCol()
      ->get_Item(Variant(u"JOBBER"))
      ->put_DeliveryTime(u"2 \u0434\u043d\u044f \u00bd");
  source->Add(odd, odd->UniqueKey());
  source->get_Vehicle()->put_Make(u"Ford");
  const Text text = source->get_XML();
  // Items and prices are written into the document as they write themselves.
  EXPECT_NE(text.find(from_code_page(to_code_page(odd->get_XML()))), Text::npos);

  auto copy = counted_selection();
  copy->put_XML(text);
  EXPECT_EQ(events_, 2);
  // Loaded items are filed under their UniqueKey.
  EXPECT_EQ(keys_of(*copy), (std::vector<Text>{u"ACD012345", u"B\u00e9\u20ac-9"}));
  // Every field and the vehicle read back; "?" for what the code page cannot hold.
  EXPECT_EQ(copy->get_XML(), text);
  for (const char16_t* held : {u">Z\u00fcndkerze ? &amp; &lt;tip&gt;<", u">2 ??? \u00bd<"})
    EXPECT_NE(text.find(held), Text::npos) << u8(held);

  // A load replaces everything: the host's vehicle is no longer the selection's.
  auto host_vehicle = copy->get_Vehicle();
  copy->put_XML(text);
  EXPECT_NE(copy->get_Vehicle(), host_vehicle);
  EXPECT_EQ(std::pair(copy->get_Count(), copy->get_ItemsTotalCost()),
            std::pair(2, Currency::from_double(17)));  // rebuilt, not added
  EXPECT_TRUE(logs_.error_lines().empty());
}

TEST_F(ItemColDocument, VersionCountDuplicatesAndAnyText) {
  auto col = counted_selection();
  const std::string items =
      item_xml("ACD", "1", 2) + item_xml("acd", "1", 5) + item_xml("BBB", "2", 1);
  auto load = [&](const std::string& head) {
    col->put_XML(from_utf8("<Items>" + head + "<Collection>" + items +
                           "</Collection><Vehicle><Year>1999</Year></Vehicle></Items>"));
  };
  load("<Count>3</Count>");  // the second ACD1 is dropped quietly, its 5 not counted
  EXPECT_EQ(keys_of(*col), (std::vector<Text>{u"ACD1", u"BBB2"}));
  EXPECT_EQ(col->get_ItemsTotalCount(), Currency::from_double(3));
  EXPECT_EQ(events_, 2);
  EXPECT_EQ(col->get_XDocVersion(), u"");  // a version-1 document has none, and writes none
  EXPECT_TRUE(u8(col->get_XML()).starts_with("<Items><Count>2</Count><Collection><Item>"));
  load("<XDocVersion>v1.5</XDocVersion><Count>1</Count>");
  EXPECT_EQ(keys_of(*col), std::vector<Text>{u"ACD1"});
  EXPECT_NE(u8(col->get_XML()).find("<XDocVersion>v1.5</XDocVersion>"), std::string::npos);
  col->put_XML(Text());
  EXPECT_EQ(col->get_XDocVersion(), u"v1.5");  // an empty text keeps the version
  load("<Count>0</Count>");
  EXPECT_EQ(col->get_Count(), 0);
  EXPECT_EQ(col->get_Vehicle()->get_Year(), u"1999");  // the vehicle is read without items
  load("");  // without its own Count the first one in the text counts
  EXPECT_EQ(col->get_Count(), 1);
  load("<Count>2.5</Count>");  // rounds to the even 2
  EXPECT_EQ(keys_of(*col), std::vector<Text>{u"ACD1"});
  col->put_XML(u"<Items><Collection><Item><LineCode>A</LineCode></Item></Collection></Items>");
  EXPECT_EQ(col->get_Count(), 0);
  col->put_XML(u"this is not XML at all");
  EXPECT_EQ(
      col->get_Count() + col->get_Vehicle()->get_Make().size() + col->get_XDocVersion().size(), 0u);
  EXPECT_TRUE(logs_.error_lines().empty());

  // An overflowing count ends the load through the handler; a missing vehicle fails the writer.
  EXPECT_TRUE(failure_of([&] {
                load("<Count>40000</Count>");
              }).starts_with("6 ICatItemCol | Let XML, Error # 6"));
  col->putref_Vehicle(Ref<ICatVehicle>());
  EXPECT_TRUE(failure_of([&] {
                col->get_XML();
              }).starts_with("91 ICatItemCol | Get XML, Error # 91 at line: "));
  EXPECT_EQ(failed(), (std::vector<std::string>{"ICatItemCol | Let XML, Error # 6",
                                                 "ICatItemCol | Get XML, Error # 91"}));
  col->put_XML(u"<Items><Vehicle><Make>Kia</Make></Vehicle></Items>");
  EXPECT_EQ(col->get_Vehicle()->get_Make(), u"Kia");  // a load brings a vehicle of its own
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
  EXPECT_EQ(at(*col, int32_t{1})->get_PriceCol()->get_Count(), 3);  // and the MSRP of the total
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
    const std::string failure = failure_of([&] { col->put_XML(from_utf8(text)); });
    // Past the budget while building a copy of the item or one of its prices.
    EXPECT_TRUE(failure.starts_with("7 ICatItemCol | Let XML, Error # 7 at line: ")) << failure;
    EXPECT_TRUE(failure.ends_with("at line: 6\r\nOut of memory") ||
                failure.ends_with("ICatPriceCol | Let XML, Error # 7 at line: 5\r\nOut of memory"))
        << failure;
    const auto messages = logs_.error_messages();
    EXPECT_LE(messages.size(), c.most_log_lines);
    EXPECT_TRUE(messages.back().starts_with("ICatItemCol | Let XML, Error # 7"));
    testing::LogFolder::write_file(logs_.error_log_path(), "");
  }
  // The budget is the load's own: the next load of an honest text works as ever.
  col->put_XML(u"<Items><Count>1</Count><Collection>" + from_utf8(item_xml("B", "2", 1)) +
               u"</Collection></Items>");
  EXPECT_EQ(col->get_Count(), 1);
}

}  // namespace
}  // namespace vexqom
