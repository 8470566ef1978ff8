// The published schemas: the samples validate, misplaced or unknown elements do not, and
// every document written in the test program passes through the validator.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <string>

#include "frame/diagnostics.h"
#include "frame/document_observer.h"
#include "support/log_folder.h"
#include "support/writer_switches.h"
#include "support/schema_validation.h"
#include "vexqom/ICatItemCol.h"
#include "vexqom/ICatList.h"
#include "vexqom/ICatPresetCol.h"

namespace vexqom {
namespace {

using testing::LogFolder;
using testing::schema_problems;
using testing::validated_documents;

std::string sample(const char* name) {
  return LogFolder::read_file(std::string(VEXQOM_EXAMPLES_DIR) + "/" + name);
}

// `text` with the first `from` replaced by `to`; the test fails when `from` is missing.
std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

TEST(Schemas, SamplesValidateAndMisplacedOrUnknownElementsAreRejected) {
  const std::string selection = sample("selection.xml");
  const std::string presets = sample("presets.xml");
  ASSERT_FALSE(selection.empty());
  ASSERT_FALSE(presets.empty());
  EXPECT_EQ(schema_problems("item-document", selection), "");
  EXPECT_EQ(schema_problems("preset-collection", presets), "");

  // Out of order: the version after the count; a price ahead of the item's quantity.
  const std::string swapped = replaced(selection, "<XDocVersion>v2.20</XDocVersion>", "");
  EXPECT_NE(schema_problems("item-document",
                            replaced(swapped, "<Count>5</Count>",
                                     "<Count>5</Count><XDocVersion>v2.20</XDocVersion>")),
            "");
  EXPECT_NE(schema_problems("item",
                            "<Item><Prices/><QuantityPerCar>1</QuantityPerCar></Item>"),
            "");
  EXPECT_EQ(schema_problems("item",
                            "<Item><QuantityPerCar>1</QuantityPerCar><Prices/></Item>"),
            "");
  EXPECT_NE(schema_problems("vehicle", "<Vehicle><Make>A</Make><Year>2004</Year></Vehicle>"),
            "");
  EXPECT_EQ(schema_problems("vehicle", "<Vehicle><Year>2004</Year><Make>A</Make></Vehicle>"),
            "");

  // Unknown elements, at the record level and as a collection member.
  const std::string unknown =
      schema_problems("item-document", replaced(selection, "<ComponentSide>FRONT</ComponentSide>",
                                                "<Side>FRONT</Side>"));
  EXPECT_NE(unknown.find("Side"), std::string::npos) << unknown;
  EXPECT_NE(schema_problems("preset-collection",
                            replaced(presets, "<ICatPreset>", "<ICatList></ICatList><ICatPreset>")),
            "");
  // The reader's "Mileage" is not what the writer writes.
  EXPECT_NE(schema_problems("vehicle", "<Vehicle><Mileage>1</Mileage></Vehicle>"), "");

  // Elements the writers always write, and values that are not what they write.
  EXPECT_NE(schema_problems("preset-collection",
                            presets.substr(0, presets.find("<Vehicle>")) + "</ICatPresetCol>"),
            "");
  EXPECT_NE(schema_problems("price", "<Price><Location>LOCAL</Location></Price>"), "");
  EXPECT_NE(schema_problems("item-document", replaced(selection, "<Cost>2.49</Cost>",
                                                      "<Cost>2,49</Cost>")),
            "");
  EXPECT_NE(schema_problems("item-document", replaced(selection, "<Count>5</Count>",
                                                      "<Count>-5</Count>")),
            "");
  EXPECT_NE(schema_problems("price", "<Price><UrgentFlag>yes</UrgentFlag></Price>"), "");

  // A form's schema admits only that form's root, and text must be well-formed.
  EXPECT_NE(schema_problems("item-document", presets), "");
  EXPECT_NE(schema_problems("vehicle", "<Vehicle><Year>2004</Vehicle>"), "");
  EXPECT_NE(schema_problems("no-such-form", "<Vehicle/>"), "");
}

class WrittenDocuments : public ::testing::Test {
 protected:
  testing::WriterSwitches switches_;
  LogFolder logs_;

  static int64_t seen(const char* form) {
    const auto counts = validated_documents();
    const auto found = counts.find(form);
    return found == counts.end() ? 0 : found->second;
  }
};

// Every field filled, with zero values, escaped characters and a value that is itself an
// element (written unescaped), so every optional element and every value kind appears.
Ref<ICatItem> full_item(const char16_t* number) {
  auto item = create<ICatItem>();
  item->put_WorkGroup(-3);
  item->put_GroupNumber(u"0");
  item->put_ItemType(vexCatalogItemType::vcit_Comment);
  item->put_ItemSource(u"a<b & 'c' \"d\"");
  item->put_ItemStatus(Variant(int32_t{12}));
  item->put_ItemGroup(32000);
  item->put_Heading(u"<b>bold</b>");
  item->put_ItemLaborAvailable(u"Y");
  item->put_ManufacturerName(u"Caf\u00e9 \u20ac");
  item->put_LineCode(u"NLN");
  item->put_ItemNumber(number);
  for (auto put : {&ICatItem::put_PartTypeCode, &ICatItem::put_Description,
                   &ICatItem::put_ImageFileName, &ICatItem::put_ImageCallOut,
                   &ICatItem::put_ImageURLc2c, &ICatItem::put_ImageURLalt,
                   &ICatItem::put_MediaTagID, &ICatItem::put_LaborOperation,
                   &ICatItem::put_LaborSkill, &ICatItem::put_LaborType, &ICatItem::put_YearRange,
                   &ICatItem::put_ComponentSide, &ICatItem::put_Comment, &ICatItem::put_Tag,
                   &ICatItem::put_GenericDescription, &ICatItem::put_GenericDescriptionID,
                   &ICatItem::put_SupplierStockingFlag, &ICatItem::put_SupplierMovementFlag,
                   &ICatItem::put_SupplierMovementRank, &ICatItem::put_SupplierExtendedInfo,
                   &ICatItem::put_VendorNumberXRef, &ICatItem::put_MCLsequence}) {
    ((*item).*put)(u" x > y ");
  }
  item->put_QuantityPerCar(Currency::from_double(2.5));
  item->put_LaborRate(Currency::from_double(95.75));
  item->put_LaborHRSnormal(Currency());
  item->put_LaborHRSwarranty(Currency::from_double(0.0001));
  item->put_LaborHRSsevere(Currency::from_double(-1.5));
  auto jobber = item->get_PriceCol()->get_Item(Variant(u"JOBBER"));
  jobber->put_SellerID(u"4410");
  jobber->put_DeliveryTime(u"<when>today</when>");
  jobber->put_UrgentFlag(true);
  for (auto put : {&ICatPrice::put_QtyBuyingInc, &ICatPrice::put_PackingUnits,
                   &ICatPrice::put_PackNumUnits, &ICatPrice::put_WarrantyCode,
                   &ICatPrice::put_Rank, &ICatPrice::put_Tag}) {
    ((*jobber).*put)(u"&amp;");
  }
  jobber->put_Available(Variant(0.5));
  jobber->put_QuantityToOrder(Variant(int32_t{3}));
  jobber->put_CoreCost(Currency::from_double(-12.3456));
  jobber->put_CoreList(Currency());
  jobber->put_Cost(Currency::from_double(123456789.1234));
  jobber->put_List(Currency::from_double(4.15));
  jobber->put_Sell(Currency::from_double(5));
  jobber->put_Margin(Currency::from_double(0.2));
  item->get_PriceCol()->get_Item(Variant(u"MSRP"));  // a price with nothing set
  return item;
}

TEST_F(WrittenDocuments, EveryFormIsCheckedWithTheSwitchesOnAndOff) {
  for (const bool compress : {false, true}) {
    for (const bool zero : {false, true}) {
      SCOPED_TRACE(::testing::Message() << "compress " << compress << ", zero " << zero);
      auto selection = create<ICatItemCol>();  // turns both switches on
      auto empty_selection = create<ICatItemCol>();
      diag::thread_state().XMLCompress = compress;
      diag::thread_state().XMLZeroSuppress = zero;
      selection->Add(full_item(u"41-962"), u"A");
      selection->Add(full_item(u"PF48"), u"B");
      auto vehicle = selection->get_Vehicle();
      vehicle->put_Year(u"00");
      vehicle->put_Make(u"M&M");
      vehicle->put_Plate(u"0");
      vehicle->put_CurrentMileage(u"120000");

      const int64_t documents = seen("item-document");
      const int64_t items = seen("item");
      const int64_t price_lists = seen("price-collection");
      const int64_t prices = seen("price");
      const int64_t vehicles = seen("vehicle");
      const Text written = selection->get_XML();
      empty_selection->get_XML();
      EXPECT_EQ(seen("item-document") - documents, 2);
      EXPECT_EQ(seen("item") - items, 2);
      EXPECT_EQ(seen("price-collection") - price_lists, 2);
      EXPECT_EQ(seen("price") - prices, 4);
      EXPECT_EQ(seen("vehicle") - vehicles, 2);
      // A zero amount is left out exactly when zero suppression is on.
      EXPECT_EQ(written.find(u"<LaborHRSnormal>0</LaborHRSnormal>") != Text::npos,
                !zero);

      // What was written loads and writes again as a valid document.
      auto copy = create<ICatItemCol>();
      diag::thread_state().XMLCompress = compress;
      diag::thread_state().XMLZeroSuppress = zero;
      copy->put_XML(written);
      EXPECT_EQ(copy->get_Count(), 2);
      copy->get_XML();
      EXPECT_EQ(seen("item-document") - documents, 3);

      auto presets = create<ICatPresetCol>();
      const int64_t preset_lists = seen("preset-collection");
      const int64_t single_presets = seen("preset");
      presets->get_XML();  // empty
      presets->Add(u"Ignition", u"0", u"<i>Spark</i> & Plug", u"k1");
      presets->Add(Text(), Text(), Text(), u"k2");
      presets->get_Vehicle()->put_Model(u"'Silverado'");
      presets->get_XML();
      EXPECT_EQ(seen("preset-collection") - preset_lists, 2);
      EXPECT_EQ(seen("preset") - single_presets, 2);

      // A list entry is not observed (a heading such as "<&>" is written unescaped and
      // the entry is then not well-formed), so it is checked here directly.
      auto entry = create<ICatList>();
      EXPECT_EQ(schema_problems("list", to_utf8(entry->get_XML())), "");
      entry->put_ID(-2147483647 - 1);
      entry->put_Heading(u"Filters & <b>Fluids</b>");
      EXPECT_EQ(schema_problems("list", to_utf8(entry->get_XML())), "");
    }
  }
}

// The observer's own failure path: a document that does not match its schema fails the
// test that is running, naming the form and the offending element.
DocumentObserver g_installed = nullptr;

TEST(DocumentObserver, AnInvalidDocumentFailsTheRunningTest) {
  g_installed = set_document_observer(nullptr);
  set_document_observer(g_installed);
  ASSERT_NE(g_installed, nullptr);
  EXPECT_NONFATAL_FAILURE(g_installed("vehicle", u"<Vehicle><Colour>red</Colour></Vehicle>"),
                          "Colour");
  EXPECT_NONFATAL_FAILURE(g_installed("price", u"<Price><UrgentFlag>True</Price>"),
                          "not well-formed");
  EXPECT_NONFATAL_FAILURE(g_installed("vehicle", u"<Items/>"), "written vehicle document");
}

}  // namespace
}  // namespace vexqom
