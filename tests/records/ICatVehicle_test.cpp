// The vehicle record through its C++ surface and through dispatch.
#include <gtest/gtest.h>

#include "support/error_number.h"
#include "support/log_folder.h"
#include "vexqom/ICatVehicle.h"
#include "vexqom/dispatch.h"

namespace vexqom {
namespace {

TEST(ICatVehicle, FieldsDescriptionAndClear) {
  auto v = create<ICatVehicle>();
  EXPECT_EQ(v->get_Description(), u"   ") << "three blanks when all parts are empty";
  v->put_Year(u"2001");
  v->put_Make(u"Ford");
  v->put_Engine(u"3.0L V6");
  EXPECT_EQ(v->get_Description(), u"2001 Ford  3.0L V6") << "an empty model keeps its blanks";
  v->put_Model(u"Taurus");
  EXPECT_EQ(v->get_Description(), u"2001 Ford Taurus 3.0L V6");
  v->put_Description(u"Shop car");
  EXPECT_EQ(v->get_Description(), u"Shop car");

  v->put_AAIA(u"  12345 ");
  v->put_VIN(u"1FAFP53U51A123456");
  v->put_Plate(u"ABC 123");
  v->put_CurrentMileage(u"120500");
  EXPECT_EQ(v->get_AAIA(), u"  12345 ") << "fields store exactly what they are given";
  EXPECT_EQ(v->get_VIN(), u"1FAFP53U51A123456");
  EXPECT_EQ(v->get_Plate(), u"ABC 123");
  EXPECT_EQ(v->get_CurrentMileage(), u"120500");

  v->Clear();
  for (const Text& field : {v->get_AAIA(), v->get_Year(), v->get_Make(), v->get_Model(),
                            v->get_Engine(), v->get_VIN(), v->get_Plate(),
                            v->get_CurrentMileage()}) {
    EXPECT_TRUE(field.empty());
  }
  EXPECT_EQ(v->get_Description(), u"   ");
}

TEST(ICatVehicle, CreatedByNameAndReachedByDispatch) {
  testing::LogFolder logs;
  Ref<Object> o = create_object("vexqom_PLUMEK2.ICatVehicle");
  ASSERT_TRUE(o);
  EXPECT_TRUE(create_object("VEXQOM_PLUMEK2.icatvehicle")) << "creation names are caseless";
  EXPECT_TRUE(query_interface(*o, ids::kIid_ICatVehicle));
  EXPECT_TRUE(query_interface(*o, ids::kIidDispatch));
  EXPECT_FALSE(query_interface(*o, ids::kIid_ICatItem));

  EXPECT_EQ(get_ids_of_names(*o, "year"), 0x68030007);
  EXPECT_EQ(get_ids_of_names(*o, "CLEAR"), 0x60030000 + 10);
  std::vector<Variant> args{Variant(int32_t{2001})};
  invoke(*o, 0x68030007, kInvokeLet, args);  // a number coerced to Text
  std::vector<Variant> none;
  EXPECT_EQ(invoke(*o, 0x68030007, kInvokeGet, none), Variant(Text(u"2001")));
  std::vector<Variant> vin{Variant(Text(u"VIN1"))};
  invoke(*o, 0x68030003, kInvokeLet, vin);
  EXPECT_EQ(vin[0], Variant(Text(u"VIN1"))) << "the by-reference setter leaves the caller's text";
  EXPECT_EQ(invoke(*o, 0x68030001, kInvokeGet | kInvokeMethod, none),
            Variant(Text(u"2001   ")));
  invoke(*o, 0x60030000 + 10, kInvokeMethod, none);
  EXPECT_EQ(invoke(*o, 0x68030007, kInvokeGet, none), Variant(Text()));
  EXPECT_TRUE(logs.error_lines().empty());
}

TEST(Dispatch, BadCallsRaiseTheDefinedNumbers) {
  Ref<Object> o = create_object("vexqom_PLUMEK2.ICatVehicle");
  std::vector<Variant> none;
  using testing::error_number_of;
  EXPECT_EQ(error_number_of([&] { create_object("vexqom_PLUMEK2.NoSuchClass"); }), -2147221164);
  EXPECT_EQ(error_number_of([&] { get_ids_of_names(*o, "Mileage"); }), -2147352573);
  EXPECT_EQ(error_number_of([&] { invoke(*o, 0x68031234, kInvokeGet, none); }), -2147352573);
  EXPECT_EQ(error_number_of([&] { invoke(*o, 0x60030000 + 10, kInvokeLet, none); }), -2147352573)
      << "Clear has no let";
  std::vector<Variant> object_arg{Variant(Ref<Object>(o))};
  EXPECT_EQ(error_number_of([&] { invoke(*o, 0x68030007, kInvokeLet, object_arg); }), 13);
  std::vector<Variant> null_arg{Variant::null()};
  EXPECT_EQ(error_number_of([&] { invoke(*o, 0x68030007, kInvokeLet, null_arg); }), 13);
  std::vector<Variant> two{Variant(Text(u"a")), Variant(Text(u"b"))};
  EXPECT_EQ(error_number_of([&] { invoke(*o, 0x68030007, kInvokeLet, two); }), -2147352562);
  EXPECT_EQ(error_number_of([&] { invoke(*o, 0x68030007, kInvokeLet, none); }), -2147352561);
}

}  // namespace
}  // namespace vexqom

namespace vexqom {
namespace {

Ref<ICatVehicle> filled_vehicle() {
  auto v = create<ICatVehicle>();
  v->put_AAIA(u"5678");
  v->put_Year(u"2001");
  v->put_Make(u"Ford & Sons <Motors>");
  v->put_Model(u"Taurus");
  v->put_Engine(u"3.0L V6");
  v->put_VIN(u"1FAFP53U51A123456");
  v->put_Plate(u"ABC 123");
  v->put_Description(u"Shop car");
  v->put_CurrentMileage(u"120500");
  return v;
}

TEST(ICatVehicleXml, WriterLeavesOutEmptyAndZeroFieldsAndEscapes) {
  auto v = create<ICatVehicle>();
  EXPECT_EQ(v->get_XML(), u"<Vehicle></Vehicle>");
  v->put_Year(u"2001");
  v->put_Plate(u"00");
  v->put_CurrentMileage(u"0");
  v->put_Make(u"A&B");
  EXPECT_EQ(to_utf8(v->get_XML()), "<Vehicle><Year>2001</Year><Make>A&amp;B</Make></Vehicle>")
      << "never the composed description, never a zero";
  EXPECT_EQ(to_utf8(filled_vehicle()->get_XML()),
            "<Vehicle><AAIA>5678</AAIA><Year>2001</Year>"
            "<Make>Ford &amp; Sons &lt;Motors&gt;</Make><Model>Taurus</Model>"
            "<Engine>3.0L V6</Engine><VIN>1FAFP53U51A123456</VIN><Plate>ABC 123</Plate>"
            "<Description>Shop car</Description><CurrentMileage>120500</CurrentMileage>"
            "</Vehicle>");
}

TEST(ICatVehicleXml, ReaderRestoresEightFieldsAndReadsMileage) {
  auto source = filled_vehicle();
  auto copy = create<ICatVehicle>();
  copy->put_CurrentMileage(u"stale");
  copy->put_XML(source->get_XML());
  EXPECT_EQ(copy->get_AAIA(), u"5678");
  EXPECT_EQ(copy->get_Make(), u"Ford & Sons <Motors>");
  EXPECT_EQ(copy->get_VIN(), u"1FAFP53U51A123456");
  EXPECT_EQ(copy->get_Description(), u"Shop car");
  EXPECT_EQ(copy->get_CurrentMileage(), u"") << "the reader takes Mileage, not CurrentMileage";

  copy->put_XML(u"<Car><Mileage> 99 </Mileage><Make>  Kia </Make><Year>2010</Year></Car>");
  EXPECT_EQ(copy->get_CurrentMileage(), u"99");
  EXPECT_EQ(copy->get_Make(), u"Kia") << "values come back trimmed";
  EXPECT_EQ(copy->get_Year(), u"2010");
  EXPECT_EQ(copy->get_VIN(), u"");

  copy->put_XML(Text());
  EXPECT_EQ(copy->get_Year(), u"");
  EXPECT_EQ(copy->get_Description(), u"   ");
}

}  // namespace
}  // namespace vexqom
