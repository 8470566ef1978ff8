// Registration, class factories and the unload test of the in-process server.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/log_folder.h"
#include "vexqom.h"
#include "vexqom/identifiers.h"
#include "vexqom/typelib.h"

namespace vexqom {
namespace {

TEST(Server, RegisterWritesOneLinePerClassAndUnregisterRemovesThem) {
  testing::LogFolder home;
  setenv("XDG_DATA_HOME", home.path().c_str(), 1);
  const std::string registry = home.path() + "/vexqom/classes";
  std::filesystem::create_directories(home.path() + "/vexqom");
  testing::LogFolder::write_file(registry, "other.Thing\t{X}\t/lib/other.so\n");

  ASSERT_EQ(DllRegisterServer(), 0);
  ASSERT_EQ(DllRegisterServer(), 0) << "registering twice keeps one line per class";
  std::string all = testing::LogFolder::read_file(registry);
  EXPECT_NE(all.find("other.Thing"), std::string::npos) << "other libraries' lines stay";
  EXPECT_NE(all.find("vexqom_PLUMEK2.ICatVehicle\t" + ids::kClsidICatVehicle.to_string() + "\t"),
            std::string::npos);
  size_t own = 0;
  for (size_t p = 0; (p = all.find("\nvexqom_PLUMEK2.", p)) != std::string::npos; ++p) ++own;
  std::string json = type_library_json();
  size_t classes = 0;
  for (size_t p = 0; (p = json.find("\"creation_name\"", p)) != std::string::npos; ++p) ++classes;
  EXPECT_EQ(own, classes);

  ASSERT_EQ(DllUnregisterServer(), 0);
  all = testing::LogFolder::read_file(registry);
  EXPECT_EQ(all, "other.Thing\t{X}\t/lib/other.so\n");
  EXPECT_NE(all.find("other.Thing"), std::string::npos);
  unsetenv("XDG_DATA_HOME");
}

TEST(Server, ClassFactoryCreatesInstancesAndUnloadFollowsLiveObjects) {
  vq_guid clsid{};
  const Guid& g = ids::kClsidICatVehicle;
  clsid.data1 = g.data1;
  clsid.data2 = g.data2;
  clsid.data3 = g.data3;
  for (int i = 0; i < 8; ++i) clsid.data4[i] = g.data4[i];
  ASSERT_EQ(DllCanUnloadNow(), 0);
  vq_object* factory = nullptr;
  ASSERT_EQ(DllGetClassObject(&clsid, nullptr, &factory), 0);
  EXPECT_EQ(DllCanUnloadNow(), 1);
  vq_value result;
  ASSERT_EQ(vq_invoke(factory, 1, VQ_METHOD, nullptr, 0, &result), 0);
  ASSERT_EQ(result.kind, VQ_OBJECT);
  int32_t dispid = 0;
  EXPECT_EQ(vq_get_dispid(result.obj, "Description", &dispid), 0);
  vq_value_clear(&result);
  vq_release(factory);
  EXPECT_EQ(DllCanUnloadNow(), 0);

  vq_guid unknown{};
  EXPECT_EQ(DllGetClassObject(&unknown, nullptr, &factory), -2147221164);
  EXPECT_EQ(factory, nullptr);
}

TEST(TypeLibrary, ListsMembersInSlotOrderWithDispatchIdentifiers) {
  std::string json = type_library_json();
  EXPECT_NE(json.find("\"creation_name\": \"vexqom_PLUMEK2.ICatVehicle\""), std::string::npos);
  size_t xml_get = json.find("{\"slot\": 0, \"name\": \"XML\", \"accessor\": \"get\", "
                             "\"dispid\": 1745027081");
  size_t xml_let = json.find("{\"slot\": 1, \"name\": \"XML\", \"accessor\": \"let\"");
  size_t clear = json.find("\"slot\": 20, \"name\": \"Clear\", \"accessor\": \"method\", "
                           "\"dispid\": 1610809354");
  EXPECT_NE(xml_get, std::string::npos);
  EXPECT_NE(xml_let, std::string::npos);
  EXPECT_NE(clear, std::string::npos);
  EXPECT_LT(xml_get, clear);
  EXPECT_NE(json.find("\"vcit_Labor\", \"value\": 1"), std::string::npos);
}

}  // namespace
}  // namespace vexqom
