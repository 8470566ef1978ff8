// Presets and their collection: the record's XML under the thread's switches, the keys a
// rebuild gives, duplicates dropped without a trace in the log, and which failures are
// logged.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/error_number.h"
#include "frame/diagnostics.h"
#include "support/log_folder.h"
#include "vexqom/ICatPresetCol.h"
#include "vexqom/dispatch.h"
#include "support/writer_switches.h"

namespace vexqom {
namespace {

using testing::LogFolder;
using testing::log_message;

using testing::error_number_of;

Variant V(const char16_t* text) { return Variant(Text(text)); }

Ref<ICatPreset> preset(const char16_t* category, const char16_t* group,
                       const char16_t* description) {
  auto p = create<ICatPreset>();
  p->put_Category(category);
  p->put_Group(group);
  p->put_Description(description);
  return p;
}

TEST(ICatPresetXml, FollowsTheThreadSwitchesAndReadsAnyRoot) {
  LogFolder logs;
  auto p = preset(u"Engine", u"", u"A&B");
  {
    testing::WriterSwitches off(false);
    EXPECT_EQ(to_utf8(p->get_XML()),
              "<ICatPreset><Category>Engine</Category><Group></Group>"
              "<Description>A&amp;B</Description></ICatPreset>");
  }
  {
    testing::WriterSwitches on(true);
    EXPECT_EQ(to_utf8(p->get_XML()),
              "<ICatPreset><Category>Engine</Category><Description>A&amp;B</Description>"
              "</ICatPreset>");
  }
  auto copy = create<ICatPreset>();
  copy->put_XML(p->get_XML());
  EXPECT_EQ(copy->get_Description(), u"A&B");

  // Any root will do; fields the text lacks are emptied, blanks around values go.
  copy->put_XML(u"<Other><Group>  Spark Plugs </Group></Other>");
  EXPECT_EQ(copy->get_Category(), u"");
  EXPECT_EQ(copy->get_Group(), u"Spark Plugs");
  EXPECT_EQ(copy->get_Description(), u"");
  copy->put_XML(Text());
  EXPECT_EQ(copy->get_Group(), u"");
  EXPECT_TRUE(logs.error_lines().empty());
}

TEST(ICatPresetCol, AddsToleratePresentKeysSilently) {
  LogFolder logs;
  auto col = create<ICatPresetCol>();
  auto first = col->Add(u"Engine", u"Spark Plugs", u"", u"K");
  auto second = col->Add(u"Engine", u"Spark Plugs", u"", u"k");
  ASSERT_TRUE(second);
  EXPECT_NE(first, second) << "the new preset is returned although not held";
  EXPECT_EQ(second->get_Group(), u"Spark Plugs");
  EXPECT_EQ(col->get_Count(), 1);
  EXPECT_EQ(col->get_Item(V(u"K")), first);

  auto other = preset(u"Brakes", u"Pads", u"Front");
  EXPECT_EQ(col->AddObject(other, u"K"), other) << "returned, not added";
  EXPECT_FALSE(col->AddObject(Ref<ICatPreset>(), u"E"));
  EXPECT_EQ(col->get_Count(), 1);
  EXPECT_EQ(col->AddObject(other), other);
  EXPECT_EQ(col->AddObject(other), other) << "without key the same record may join twice";
  EXPECT_EQ(col->get_Count(), 3);
  EXPECT_EQ(col->get_Item(Variant(int32_t{3})), other);

  // The member list's own errors pass through unlogged.
  EXPECT_EQ(error_number_of([&] { col->get_Item(V(u"absent")); }), 5);
  EXPECT_EQ(error_number_of([&] { col->get_Item(Variant(int32_t{0})); }), 9);
  EXPECT_EQ(error_number_of([&] { col->Remove(Variant(int32_t{4})); }), 9);
  col->Remove(V(u"k"));
  EXPECT_EQ(col->get_Count(), 2);
  auto e = col->get_NewEnum();
  std::vector<Ref<Object>> walked;
  Variant v;
  while (e->Next(&v)) walked.push_back(v.object());
  EXPECT_EQ(walked, (std::vector<Ref<Object>>{other, other}));
  EXPECT_TRUE(logs.error_lines().empty());
}

TEST(ICatPresetColXml, RebuildKeysByTheJoinedFieldsAndKeepsTheFirst) {
  LogFolder logs;
  testing::WriterSwitches on(true);
  auto col = create<ICatPresetCol>();
  EXPECT_EQ(to_utf8(col->get_XML()), "<ICatPresetCol><Vehicle></Vehicle></ICatPresetCol>");

  col->Add(u"Engine", u"Spark Plugs", u"");
  col->Add(u"A", u"BC", u"");
  col->Add(u"AB", u"C", u"");  // the same joined key as the one before
  col->Add(u"", u"", u"");
  col->Add(u"", u"", u"");
  col->get_Vehicle()->put_Make(u"Ford");
  const Text text = col->get_XML();
  EXPECT_EQ(to_utf8(text),
            "<ICatPresetCol><Count>5</Count><Collection>"
            "<ICatPreset><Category>Engine</Category><Group>Spark Plugs</Group></ICatPreset>"
            "<ICatPreset><Category>A</Category><Group>BC</Group></ICatPreset>"
            "<ICatPreset><Category>AB</Category><Group>C</Group></ICatPreset>"
            "<ICatPreset></ICatPreset><ICatPreset></ICatPreset></Collection>"
            "<Vehicle><Make>Ford</Make></Vehicle></ICatPresetCol>");

  auto hosts_vehicle = col->get_Vehicle();
  auto copy = create<ICatPresetCol>();
  copy->putref_Vehicle(hosts_vehicle);
  copy->put_XML(text);
  ASSERT_EQ(copy->get_Count(), 4);
  EXPECT_EQ(copy->get_Item(V(u"ENGINESPARK PLUGS"))->get_Group(), u"Spark Plugs");
  EXPECT_EQ(copy->get_Item(V(u"abc"))->get_Category(), u"A");
  EXPECT_EQ(copy->get_Item(Variant(int32_t{3}))->get_Category(), u"");
  EXPECT_EQ(copy->get_Item(Variant(int32_t{4}))->get_Category(), u"") << "no key, no clash";
  EXPECT_EQ(error_number_of([&] { copy->get_Item(V(u"")); }), 5);
  EXPECT_NE(copy->get_Vehicle(), hosts_vehicle) << "a new vehicle, not the host's refilled";
  EXPECT_EQ(copy->get_Vehicle()->get_Make(), u"Ford");
  EXPECT_EQ(hosts_vehicle->get_Make(), u"Ford");

  // "Count" is trusted over the elements present.
  copy->put_XML(u"<ICatPresetCol><Count>1</Count><Collection><ICatPreset><Group>G</Group>"
                u"</ICatPreset><ICatPreset><Group>H</Group></ICatPreset></Collection>"
                u"</ICatPresetCol>");
  ASSERT_EQ(copy->get_Count(), 1);
  EXPECT_EQ(copy->get_Item(V(u"G"))->get_Group(), u"G");
  copy->put_XML(Text());
  EXPECT_EQ(copy->get_Count(), 0);
  EXPECT_EQ(copy->get_Vehicle()->get_Make(), u"");
  EXPECT_TRUE(logs.error_lines().empty()) << "duplicates are dropped without a log line";
}

TEST(ICatPresetColXml, CollectionSettingsAreFixedAndAMissingVehicleIsLogged) {
  LogFolder logs;
  testing::WriterSwitches off(false);  // as after SHOWXML
  auto col = create<ICatPresetCol>();
  EXPECT_EQ(to_utf8(col->get_XML()), "<ICatPresetCol><Vehicle></Vehicle></ICatPresetCol>");
  col->Add(u"Engine", u"", u"");
  EXPECT_EQ(to_utf8(col->get_XML()),
            "<ICatPresetCol><Count>1</Count><Collection><ICatPreset><Category>Engine"
            "</Category><Group></Group><Description></Description></ICatPreset></Collection>"
            "<Vehicle></Vehicle></ICatPresetCol>");

  col->putref_Vehicle(Ref<ICatVehicle>());
  EXPECT_FALSE(col->get_Vehicle());
  try {
    col->get_XML();
    ADD_FAILURE() << "no vehicle, no text";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 91);
    EXPECT_EQ(to_utf8(e.description()).rfind("ICatPresetCol | Get XML, Error # 91 at line: ", 0),
              0u);
  }
  auto lines = logs.error_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(log_message(lines[0]).rfind("ICatPresetCol | Get XML, Error # 91", 0), 0u);

  col->put_XML(Text());  // a rebuild brings a vehicle again
  EXPECT_TRUE(col->get_Vehicle());
  EXPECT_EQ(col->get_Count(), 0);
}

TEST(ICatPresetColXml, TracesUnderOneLabelForBothDirections) {
  LogFolder logs;
  logs.create_trace_flag();
  auto col = create<ICatPresetCol>();
  col->putref_Vehicle(Ref<ICatVehicle>());
  EXPECT_EQ(error_number_of([&] { col->get_XML(); }), 91);  // the first logged error starts tracing
  col->put_XML(u"<ICatPresetCol><Count>1</Count><Collection><ICatPreset><Group>G</Group>"
               u"</ICatPreset></Collection></ICatPresetCol>");
  col->Add(u"", u"", u"");
  col->get_Item(Variant(int32_t{1}));
  col->get_XML();
  std::vector<std::string> traced;
  for (const std::string& line : logs.trace_lines()) {
    const size_t at = line.find("ICatPreset");
    if (at != std::string::npos) traced.push_back(line.substr(at));
  }
  EXPECT_EQ(traced, (std::vector<std::string>{
                        "ICatPresetCol | Let XML", "ICatPreset | XML", "ICatPresetCol | AddObject",
                        "ICatPresetCol | Add", "ICatPresetCol | Get XML", "ICatPreset | XML",
                        "ICatPreset | XML"}));
}

TEST(ICatPresetCol, MemberTableThroughDispatch) {
  Ref<Object> o = create_object("vexqom_PLUMEK2.ICatPresetCol");
  ASSERT_TRUE(o);
  EXPECT_EQ(get_ids_of_names(*o, "xml"), 0x68030002);
  EXPECT_EQ(get_ids_of_names(*o, "AddObject"), 0x60030003);
  EXPECT_EQ(get_ids_of_names(*o, "Remove"), 0x60030005);
  std::vector<Variant> add{V(u"Engine"), V(u"Spark Plugs"), V(u"")};  // sKey left out
  Variant added = invoke(*o, 0x60030004, kInvokeMethod, add);
  ASSERT_TRUE(added.is_object());
  EXPECT_EQ(get_ids_of_names(*added.object(), "Category"), 0x68030002);
  EXPECT_EQ(get_ids_of_names(*added.object(), "Clear"), 0x60030004);
  std::vector<Variant> first{Variant(int32_t{1})};
  EXPECT_EQ(invoke(*o, 0, kInvokeMethod | kInvokeGet, first), added);
}

}  // namespace
}  // namespace vexqom
