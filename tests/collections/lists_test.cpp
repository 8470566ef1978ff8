// List entries and their collection: the entry written as a whole document, ID read by
// its leading number, "I#" keys given only by a rebuild, and duplicates dropped silently.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/error_number.h"
#include "frame/diagnostics.h"
#include "support/log_folder.h"
#include "vexqom/ICatListCol.h"
#include "vexqom/dispatch.h"
#include "support/writer_switches.h"

namespace vexqom {
namespace {

using testing::LogFolder;
using testing::log_message;

using testing::error_number_of;

Variant V(const char16_t* text) { return Variant(Text(text)); }

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>";

std::string declared(const std::string& element) { return kDeclaration + element; }

Text list_col(const char16_t* count, std::initializer_list<const char16_t*> ids) {
  Text out = Text(u"<ICatListCol><Count>") + count + u"</Count><Collection>";
  int n = 0;
  for (const char16_t* id : ids) {
    out += Text(u"<?xml version=\"1.0\" encoding=\"UTF-8\" ?><ICatList><ListID>") + id +
           u"</ListID><Heading>H" + integer_text(++n) + u"</Heading></ICatList>";
  }
  return out + u"</Collection></ICatListCol>";
}

TEST(ICatListXml, WholeDocumentWithSwitchesAlwaysOn) {
  LogFolder logs;
  auto copy = create<ICatList>();
  {
    const testing::WriterSwitches off(false);  // the list writer ignores them
    auto entry = create<ICatList>();
    EXPECT_EQ(to_utf8(entry->get_XML()), declared("<ICatList></ICatList>"));
    entry->put_ID(12);
    entry->put_Heading(u"Exhaust");
    EXPECT_EQ(to_utf8(entry->get_XML()),
              declared("<ICatList><ListID>12</ListID><Heading>Exhaust</Heading></ICatList>"));
    entry->put_ID(-3);
    entry->put_Heading(u"<&>");
    copy->put_XML(entry->get_XML());
    EXPECT_EQ(copy->get_ID(), -3);
    EXPECT_EQ(copy->get_Heading(), u"<&>");
  }

  // ListID by its leading number, halves to even; no number reads as 0.
  const std::vector<std::pair<const char16_t*, int32_t>> ids = {
      {u"2.5", 2}, {u"3.5", 4}, {u" 7 boxes", 7}, {u"none", 0}, {u"-1.5", -2}};
  for (const auto& [text, id] : ids) {
    copy->put_XML(Text(u"<ICatList><ListID>") + text + u"</ListID></ICatList>");
    EXPECT_EQ(copy->get_ID(), id) << to_utf8(text);
    EXPECT_EQ(copy->get_Heading(), u"");
  }
  copy->put_XML(Text());
  EXPECT_EQ(copy->get_ID(), 0);
  EXPECT_TRUE(logs.error_lines().empty());

  EXPECT_EQ(error_number_of([&] { copy->put_XML(u"<ListID>3000000000</ListID>"); }), 6);
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(log_message(lines[0]).rfind("ICatList | XML, Error # 6 at line: ", 0), 0u);
  EXPECT_NE(log_message(lines[0]).find("][Overflow"), std::string::npos);
}

TEST(ICatListColXml, RebuildKeysPositiveIdsAndDropsLaterDuplicates) {
  LogFolder logs;
  auto col = create<ICatListCol>();
  EXPECT_EQ(to_utf8(col->get_XML()), "<ICatListCol><Vehicle></Vehicle></ICatListCol>");
  col->Add(u"Exhaust", 12);
  col->Add(u"Brakes", 0);
  const Text text = col->get_XML();
  EXPECT_EQ(to_utf8(text),
            "<ICatListCol><Count>2</Count><Collection>" +
                declared("<ICatList><ListID>12</ListID><Heading>Exhaust</Heading></ICatList>") +
                declared("<ICatList><Heading>Brakes</Heading></ICatList>") +
                "</Collection><Vehicle></Vehicle></ICatListCol>");

  auto hosts_vehicle = create<ICatVehicle>();
  col->putref_Vehicle(hosts_vehicle);
  col->put_XML(text);
  ASSERT_EQ(col->get_Count(), 2);
  EXPECT_EQ(col->get_Item(V(u"i#12"))->get_Heading(), u"Exhaust");
  EXPECT_EQ(col->get_Item(Variant(int32_t{2}))->get_Heading(), u"Brakes");
  EXPECT_EQ(error_number_of([&] { col->get_Item(V(u"I#0")); }), 5);
  EXPECT_NE(col->get_Vehicle(), hosts_vehicle);

  col->put_XML(list_col(u"5", {u"7", u"-7", u"7", u"0", u"-7"}));
  ASSERT_EQ(col->get_Count(), 4) << "only the second ID 7 is dropped";
  EXPECT_EQ(col->get_Item(V(u"I#7"))->get_Heading(), u"H1");
  EXPECT_EQ(col->get_Item(Variant(int32_t{2}))->get_ID(), -7);
  EXPECT_EQ(col->get_Item(Variant(int32_t{3}))->get_ID(), 0);
  EXPECT_EQ(col->get_Item(Variant(int32_t{4}))->get_Heading(), u"H5");
  EXPECT_EQ(error_number_of([&] { col->get_Item(V(u"I#-7")); }), 5);

  col->put_XML(list_col(u"2", {u"4", u"5", u"6"}));  // "Count" is trusted
  EXPECT_EQ(col->get_Count(), 2);
  col->put_XML(Text());
  EXPECT_EQ(col->get_Count(), 0);
  EXPECT_TRUE(logs.error_lines().empty()) << "dropped entries leave no log line";
}

TEST(ICatListCol, AddsNeverDeriveKeysAndToleratePresentOnes) {
  LogFolder logs;
  auto col = create<ICatListCol>();
  auto seven = col->Add(u"Exhaust", 7);
  EXPECT_EQ(seven->get_ID(), 7);
  EXPECT_EQ(error_number_of([&] { col->get_Item(V(u"I#7")); }), 5) << "Add gives no key of its own";
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(int32_t{0})); }), 9);

  col->Add(u"First", 1, u"K");
  auto again = col->Add(u"Second", 2, u"k");
  EXPECT_EQ(again->get_Heading(), u"Second") << "returned although not held";
  EXPECT_EQ(col->get_Item(V(u"K"))->get_Heading(), u"First");
  auto entry = create<ICatList>();
  EXPECT_EQ(col->AddObject(entry, u"K"), entry);
  EXPECT_FALSE(col->AddObject(Ref<ICatList>(), u"X"));
  EXPECT_EQ(col->get_Count(), 2);
  EXPECT_EQ(col->AddObject(entry, u"X"), entry);
  EXPECT_EQ(col->get_Count(), 3);
  col->Remove(Variant(int32_t{1}));
  EXPECT_EQ(error_number_of([&] { col->Remove(V(u"absent")); }), 5);
  EXPECT_EQ(col->get_Item(Variant(int32_t{2})), entry);
  EXPECT_TRUE(logs.error_lines().empty());

  col->putref_Vehicle(Ref<ICatVehicle>());
  EXPECT_EQ(error_number_of([&] { col->get_XML(); }), 91);
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(log_message(lines[0]).rfind("ICatListCol | Get XML, Error # 91", 0), 0u);
}

TEST(ICatListCol, MemberTableAndTraceThroughDispatch) {
  LogFolder logs;
  logs.create_trace_flag();
  Ref<Object> o = create_object("vexqom_PLUMEK2.ICatListCol");
  ASSERT_TRUE(o);
  EXPECT_TRUE(query_interface(*o, ids::kIid_ICatListCol));
  EXPECT_EQ(get_ids_of_names(*o, "AddObject"), 0x60030003);
  EXPECT_EQ(get_ids_of_names(*o, "NewEnum"), -4);
  std::vector<Variant> none;
  std::vector<Variant> no_vehicle{Variant(Ref<Object>())};
  invoke(*o, 0x68030001, kInvokeSet, no_vehicle);
  EXPECT_EQ(error_number_of([&] { invoke(*o, 0x68030002, kInvokeGet, none); }), 91);  // starts tracing

  std::vector<Variant> add{V(u"Exhaust"), V(u"12")};  // ID coerced from text, sKey left out
  Variant added = invoke(*o, 0x60030004, kInvokeMethod, add);
  ASSERT_TRUE(added.is_object());
  // Heading is the entry's default member.
  EXPECT_EQ(invoke(*added.object(), 0, kInvokeGet, none), V(u"Exhaust"));
  EXPECT_EQ(invoke(*added.object(), 0x68030000, kInvokeGet, none), Variant(int32_t{12}));
  std::vector<Variant> xml{invoke(*added.object(), 0x68030001, kInvokeGet, none)};
  invoke(*added.object(), 0x68030001, kInvokeLet, xml);
  invoke(*added.object(), 0x60030002, kInvokeMethod, none);
  EXPECT_EQ(invoke(*added.object(), 0, kInvokeGet, none), V(u""));

  std::vector<std::string> traced;
  for (const std::string& line : logs.trace_lines()) {
    const size_t at = line.find("ICatList");
    if (at != std::string::npos) traced.push_back(line.substr(at));
  }
  EXPECT_EQ(traced, (std::vector<std::string>{"ICatListCol | Add", "ICatList | XML",
                                              "ICatList | XML"}));
}

}  // namespace
}  // namespace vexqom
