// The published schemas: the samples validate, misplaced or unknown elements do not, and
// every document written in the test program passes through the validator.
#include <gtest/gtest.h>

#include <string>

#include "support/checks.h"
#include "support/log_folder.h"
#include "support/samples.h"
#include "support/schema_validation.h"
#include "vexqom/ICatItemCol.h"
#include "vexqom/ICatList.h"
#include "vexqom/ICatPresetCol.h"

namespace vexqom {
namespace {

using namespace testing;

// `text` with the first `from` replaced by `to`; the test fails when `from` is missing.
std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

TEST(Schemas, SamplesValidateAndMisplacedOrUnknownElementsAreRejected) {
  const std::string selection = LogFolder::read_file(VEXQOM_EXAMPLES_DIR "/selection.xml");
  const std::string presets = LogFolder::read_file(VEXQOM_EXAMPLES_DIR "/presets.xml");
  ASSERT_FALSE(selection.empty() || presets.empty());
  EXPECT_EQ(schema_problems("item-document", selection), "");
  EXPECT_EQ(schema_problems("preset-collection", presets), "");
  EXPECT_EQ(schema_problems("item", "<Item><QuantityPerCar>1</QuantityPerCar><Prices/></Item>"),
            "");
  const std::pair<const char*, std::string> rejected[] = {
      // Out of order: the version after the count, prices ahead of a quantity, make before year.
      {"item-document",
       replaced(replaced(selection, "<XDocVersion>v2.20</XDocVersion>", ""), "<Count>5</Count>",
                "<Count>5</Count><XDocVersion>v2.20</XDocVersion>")},
      {"item", "<Item><Prices/><QuantityPerCar>1</QuantityPerCar></Item>"},
      {"vehicle", "<Vehicle><Make>A</Make><Year>2004</Year></Vehicle>"},
      // Unknown elements, at the record level and as a collection member; the reader's
      // "Mileage" is not what the writer writes.
      {"item-document",
       replaced(selection, "<ComponentSide>FRONT</ComponentSide>", "<Side>FRONT</Side>")},
      {"preset-collection", replaced(presets, "<ICatPreset>", "<ICatList></ICatList><ICatPreset>")},
      {"vehicle", "<Vehicle><Mileage>1</Mileage></Vehicle>"},
      // Elements the writers always write, and values that are not what they write.
      {"preset-collection", presets.substr(0, presets.find("<Vehicle>")) + "</ICatPresetCol>"},
      {"price", "<Price><Location>LOCAL</Location></Price>"},
      {"item-document", replaced(selection, "<Cost>2.49</Cost>", "<Cost>2,49</Cost>")},
      {"price", "<Price><UrgentFlag>yes</UrgentFlag></Price>"},
      // A form's schema admits only that form's root, and text must be well-formed.
      {"item-document", presets}, {"vehicle", "<Vehicle><Year>2004</Vehicle>"}};
  for (const auto& [form, text] : rejected)
    EXPECT_NE(schema_problems(form, text), "") << text.substr(0, 80);
  EXPECT_NE(schema_problems("item-document", std::get<1>(rejected[3])).find("Side"),
            std::string::npos);
}

// Every form is written with the switches on and off, zero values, escaped characters and
// values that are themselves elements included; the observer validates each document.
TEST(Schemas, EveryWrittenFormIsCheckedWithTheSwitchesOnAndOff) {
  testing::WriterSwitches switches;
  LogFolder logs;
  auto before = testing::validated_documents();
  for (const bool compress : {false, true}) {
    for (const bool zero : {false, true}) {
      SCOPED_TRACE(::testing::Message() << "compress " << compress << ", zero " << zero);
      auto selection = create<ICatItemCol>();  // turns both switches on
      testing::WriterSwitches::set(compress, zero);
      auto item = testing::filled_item();
      item->put_Heading(u"<b>bold</b>");
      item->put_Comment(u" x > y ");
      item->put_LaborHRSnormal(Currency());
      auto jobber = item->get_PriceCol()->get_Item(Variant(u"JOBBER"));
      jobber->put_DeliveryTime(u"<when>today</when>");
      jobber->put_Available(Variant(0.5));
      item->get_PriceCol()->get_Item(Variant(u"MSRP"));  // a price with nothing set
      selection->Add(item, u"A");
      selection->get_Vehicle()->put_Make(u"M&M");
      const Text written = selection->get_XML();
      // A zero amount is left out exactly when zero suppression is on.
      EXPECT_EQ(written.find(u"<LaborHRSnormal>0</LaborHRSnormal>") != Text::npos, !zero);
      auto copy = create<ICatItemCol>();  // what was written loads and writes again
      testing::WriterSwitches::set(compress, zero);
      copy->put_XML(written);
      EXPECT_EQ(copy->get_Count(), 1);
      copy->get_XML();

      auto presets = create<ICatPresetCol>();
      presets->Add(u"Ignition", u"0", u"<i>Spark</i> & Plug", u"k1");
      presets->Add(Text(), Text(), Text(), u"k2");
      presets->get_XML();
      // A list entry is not observed (a heading such as "<&>" is written unescaped and the
      // entry is then not well-formed), so it is checked here directly.
      auto entry = create<ICatList>();
      entry->put_ID(-2147483647 - 1);
      entry->put_Heading(u"Filters & <b>Fluids</b>");
      EXPECT_EQ(schema_problems("list", testing::u8(entry->get_XML())), "");
    }
  }
  auto after = testing::validated_documents();
  for (const char* form : {"item-document", "item", "price-collection", "price", "vehicle",
                           "preset-collection", "preset"})
    EXPECT_GE(after[form] - before[form], 4) << form;
}

}  // namespace
}  // namespace vexqom
