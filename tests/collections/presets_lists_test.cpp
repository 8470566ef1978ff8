// Presets, list entries and their collections: the records' XML forms, the keys a rebuild
// gives, duplicates dropped without a trace in the log, and which failures are logged.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/checks.h"
#include "support/log_folder.h"
#include "vexqom/ICatListCol.h"
#include "vexqom/ICatPresetCol.h"

namespace vexqom {
namespace {

using namespace testing;

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>";
const std::string kUnset = "Object variable or With block variable not set";

TEST(ICatPreset, RecordFollowsTheThreadSwitchesAndReadsAnyRoot) {
  LogFolder logs;
  auto p = create<ICatPreset>();
  p->put_Category(u"Engine");
  p->put_Description(u"A&B");
  WriterSwitches switches(false);
  EXPECT_EQ(u8(p->get_XML()),
            "<ICatPreset><Category>Engine</Category><Group></Group>"
            "<Description>A&amp;B</Description></ICatPreset>");
  WriterSwitches::set(true);
  const Text on = p->get_XML();
  EXPECT_EQ(
      u8(on),
      "<ICatPreset><Category>Engine</Category><Description>A&amp;B</Description></ICatPreset>");
  auto copy = create<ICatPreset>();
  // Any root will do; fields the text lacks are emptied, blanks around values go.
  copy->put_XML(u"<Other><Group>  Spark Plugs </Group></Other>");
  EXPECT_EQ(copy->get_Category() + u"|" + copy->get_Group() + u"|" + copy->get_Description(),
            u"|Spark Plugs|");
  EXPECT_TRUE(logs.error_lines().empty());
}

TEST(ICatPresetCol, AddsToleratePresentKeysAndRebuildsKeyByTheJoinedFields) {
  LogFolder logs;
  logs.create_trace_flag();
  WriterSwitches switches(false);  // the collection's own settings do not follow them
  auto col = create<ICatPresetCol>();
  EXPECT_EQ(u8(col->get_XML()), "<ICatPresetCol><Vehicle></Vehicle></ICatPresetCol>");
  auto first = col->Add(u"Engine", u"Spark Plugs", u"", u"K");
  auto second = col->Add(u"Engine", u"Spark Plugs", u"", u"k");
  EXPECT_TRUE(second && second != first);  // the new preset is returned although not held
  auto other = create<ICatPreset>();
  EXPECT_EQ(col->AddObject(other, u"K"), other);  // returned, not added
  EXPECT_FALSE(col->AddObject(Ref<ICatPreset>(), u"E"));
  EXPECT_EQ(col->AddObject(other), other);
  EXPECT_EQ(col->AddObject(other), other);  // without key the same record may join twice
  EXPECT_EQ(col->get_Count(), 3);
  // The member list's own errors pass through unlogged.
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(u"absent")); }), 5);
  EXPECT_EQ(error_number_of([&] { col->Remove(Variant(int32_t{4})); }), 9);
  col->Remove(Variant(u"k"));
  EXPECT_EQ(col->get_Item(Variant(int32_t{2})), other);
  EXPECT_TRUE(logs.error_lines().empty());

  col->Add(u"A", u"BC", u"");
  col->Add(u"AB", u"C", u"");  // the same joined key as the one before
  col->get_Vehicle()->put_Make(u"Ford");
  const Text text = col->get_XML();
  const std::string empty =
      "<ICatPreset><Category></Category><Group></Group><Description></Description></ICatPreset>";
  EXPECT_EQ(u8(text), "<ICatPresetCol><Count>4</Count><Collection>" + empty + empty +
                          "<ICatPreset><Category>A</Category><Group>BC</Group><Description>"
                          "</Description></ICatPreset><ICatPreset><Category>AB</Category><Group>C"
                          "</Group><Description></Description></ICatPreset></Collection><Vehicle>"
                          "<Make>Ford</Make></Vehicle></ICatPresetCol>");
  // The trusted Count and the load's own vehicle: the item document's tests (one reader).
  col->put_XML(text);
  ASSERT_EQ(col->get_Count(), 3);  // no key, no clash: both empty ones stay
  EXPECT_EQ(col->get_Item(Variant(u"abc"))->get_Category(), u"A");
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(u"")); }), 5);
  EXPECT_TRUE(logs.error_lines().empty());  // duplicates are dropped without a log line

  col->putref_Vehicle(Ref<ICatVehicle>());
  const std::string failure = "ICatPresetCol | Get XML, Error # 91 at line: 8";
  EXPECT_EQ(failure_of([&] { col->get_XML(); }), "91 " + failure + "\r\n" + kUnset);
  EXPECT_EQ(logs.error_messages(), std::vector<std::string>{failure + "][" + kUnset});
  col->put_XML(Text());  // a rebuild brings a vehicle again; traced under one label each way
  EXPECT_EQ(col->get_Vehicle()->get_Make() + integer_text(col->get_Count()), u"0");
  col->Add(u"", u"", u"");
  col->get_XML();
  EXPECT_EQ(logs.traced("ICatPreset"),
            (std::vector<std::string>{"ICatPresetCol | Let XML", "ICatPresetCol | Add",
                                      "ICatPresetCol | Get XML", "ICatPreset | XML"}));
}

TEST(ICatList, WholeDocumentWithSwitchesIgnoredAndIdByItsLeadingNumber) {
  LogFolder logs;
  WriterSwitches off(false);  // the list writer ignores them
  auto entry = create<ICatList>();
  EXPECT_EQ(u8(entry->get_XML()), kDeclaration + "<ICatList></ICatList>");
  entry->put_ID(-3);
  entry->put_Heading(u"<&>");
  EXPECT_EQ(u8(entry->get_XML()),
            kDeclaration + "<ICatList><ListID>-3</ListID><Heading><&></Heading></ICatList>");
  auto copy = create<ICatList>();
  copy->put_XML(entry->get_XML());
  EXPECT_EQ(integer_text(copy->get_ID()) + copy->get_Heading(), u"-3<&>");
  // Halves to even; no number reads as 0.
  const std::pair<const char16_t*, int32_t> ids[] = {
      {u"2.5", 2}, {u"3.5", 4}, {u" 7 boxes", 7}, {u"none", 0}, {u"-1.5", -2}};
  for (const auto& [text, id] : ids) {
    copy->put_XML(Text(u"<ICatList><ListID>") + text + u"</ListID></ICatList>");
    EXPECT_EQ(copy->get_ID(), id) << u8(text);
    EXPECT_EQ(copy->get_Heading(), u"");
  }
  EXPECT_TRUE(logs.error_lines().empty());
  EXPECT_EQ(error_number_of([&] { copy->put_XML(u"<ListID>3000000000</ListID>"); }), 6);
  EXPECT_EQ(logs.error_messages(),
            std::vector<std::string>{"ICatList | XML, Error # 6 at line: 4][Overflow"});
}

Text list_col(const char16_t* count, std::initializer_list<const char16_t*> ids) {
  Text out = Text(u"<ICatListCol><Count>") + count + u"</Count><Collection>";
  int n = 0;
  for (const char16_t* id : ids) {
    out += from_utf8(kDeclaration) + u"<ICatList><ListID>" + id + u"</ListID><Heading>H" +
           integer_text(++n) + u"</Heading></ICatList>";
  }
  return out + u"</Collection></ICatListCol>";
}

TEST(ICatListCol, OnlyARebuildKeysPositiveIdsAndDropsLaterDuplicates) {
  LogFolder logs;
  logs.create_trace_flag();
  auto col = create<ICatListCol>();
  EXPECT_EQ(u8(col->get_XML()), "<ICatListCol><Vehicle></Vehicle></ICatListCol>");
  EXPECT_EQ(col->Add(u"Exhaust", 12)->get_ID(), 12);
  col->Add(u"Brakes", 0);
  // Add gives no key of its own; a present key is tolerated and the entry returned.
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(u"I#12")); }), 5);
  col->Add(u"First", 1, u"K");
  EXPECT_EQ(col->Add(u"Second", 2, u"k")->get_Heading(), u"Second");
  EXPECT_EQ(col->get_Item(Variant(u"K"))->get_Heading(), u"First");
  auto entry = create<ICatList>();
  EXPECT_EQ(col->AddObject(entry, u"K"), entry);
  EXPECT_FALSE(col->AddObject(Ref<ICatList>(), u"X"));
  EXPECT_EQ(col->get_Count(), 3);
  col->Remove(Variant(u"k"));
  EXPECT_EQ(error_number_of([&] { col->Remove(Variant(u"absent")); }), 5);
  EXPECT_EQ(u8(col->get_XML()),
            "<ICatListCol><Count>2</Count><Collection>" + kDeclaration +
                "<ICatList><ListID>12</ListID><Heading>Exhaust</Heading></ICatList>" +
                kDeclaration + "<ICatList><Heading>Brakes</Heading></ICatList>" +
                "</Collection><Vehicle></Vehicle></ICatListCol>");
  col->put_XML(list_col(u"5", {u"7", u"-7", u"7", u"0", u"-7"}));
  // Only the second ID 7 is dropped; negative and zero IDs carry no key.
  ASSERT_EQ(col->get_Count(), 4);
  EXPECT_EQ(col->get_Item(Variant(u"i#7"))->get_Heading(), u"H1");
  EXPECT_EQ(col->get_Item(Variant(int32_t{4}))->get_Heading(), u"H5");
  Variant first;
  EXPECT_TRUE(col->get_NewEnum()->Next(&first) && first.object() == col->get_Item(Variant(u"I#7")));
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(u"I#-7")); }), 5);
  EXPECT_TRUE(logs.error_lines().empty());  // dropped entries leave no log line
  col->putref_Vehicle(Ref<ICatVehicle>());
  EXPECT_EQ(error_number_of([&] { col->get_XML(); }), 91);  // starts tracing
  EXPECT_EQ(logs.error_messages(),
            std::vector<std::string>{"ICatListCol | Get XML, Error # 91 at line: 8][" + kUnset});
  col->Add(u"Exhaust", 12)->put_XML(entry->get_XML());
  EXPECT_EQ(logs.traced("ICatList"),
            (std::vector<std::string>{"ICatListCol | Add", "ICatList | XML", "ICatList | XML"}));
}

}  // namespace
}  // namespace vexqom
