// The error paths of the C interface, walked the way a careless host walks them: unknown
// members, wrong argument kinds, broken XML for every XML let. Once every object is released
// the library must report that it can unload; in the address-sanitizer build the leak
// checker also sees every allocation freed. (Events, enumerators and destroyed sources are
// the C contract host's, which runs under the leak checker too.)
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/log_folder.h"
#include "vexqom.h"

namespace {

vq_value text(const std::string& s) {
  vq_value v{VQ_TEXT, 0, 0, static_cast<char*>(std::malloc(s.size() + 1)), s.size(), nullptr};
  std::memcpy(v.text, s.c_str(), s.size() + 1);
  return v;
}
vq_value number(int32_t kind, int64_t i, double d = 0) { return {kind, i, d, nullptr, 0, nullptr}; }
vq_value object(vq_object* obj) {
  if (obj) vq_addref(obj);
  return {VQ_OBJECT, 0, 0, nullptr, 0, obj};
}

vq_object* make(const char* cls) {
  vq_object* obj = nullptr;
  EXPECT_EQ(vq_create((std::string("vexqom_PLUMEK2.") + cls).c_str(), &obj), 0) << cls;
  return obj;
}

// Invokes and throws the result and the arguments away; returns the error number.
int32_t call(vq_object* obj, int32_t id, int32_t flags, std::vector<vq_value> args = {}) {
  vq_value result{};
  const int32_t rc = vq_invoke(obj, id, flags, args.data(), args.size(), &result);
  vq_value_clear(&result);
  for (auto& a : args) vq_value_clear(&a);
  return rc;
}
int32_t call(vq_object* obj, const char* member, int32_t flags, std::vector<vq_value> args = {}) {
  int32_t id = 0;
  EXPECT_EQ(vq_get_dispid(obj, member, &id), 0) << member;
  return call(obj, id, flags, std::move(args));
}

const std::vector<std::string> kBadXml = {
    "<Items><Count>3</Count><Item><Prices><Count>2</Count>",  // cut short
    "<Items><Count>99999999999</Count></Items>",              // count out of range
    "<Items><Count>-1</Count><Item></Item></Items>", "<a><b><c><d></a>",
    std::string("<Item>") + '\0' + "<LineCode>X</LineCode>\xff\xfe</Item>",
    "<Prices><Count>1</Count><Collection><Price><Location></Location></Price><Price><Location>"
    "</Location></Price></Collection></Prices>", "\xc3\x28 not utf-8 <Items>",
    "<Lists><Count>1</Count><List><Key>&amp;&lt;&bogus;</Key></List></Lists>",
    "<Vehicle><Year>abc</Year><Make><![CDATA[x]]></Make></Vehicle>"};

TEST(ReliabilityLeaks, ErrorPathsOfTheCInterfaceReleaseEverything) {
  vexqom::testing::LogFolder logs;
  ASSERT_EQ(DllCanUnloadNow(), 0) << "objects alive before the walk";
  std::vector<vq_object*> objects;
  for (const char* cls : {"ICatItemCol", "ICatItem", "ICatPriceCol", "ICatPrice", "ICatVehicle",
                          "ICatPresetCol", "ICatPreset", "ICatListCol", "ICatList"})
    objects.push_back(make(cls));
  vq_object* stranger = make("ICatPrice");
  EXPECT_EQ(DllCanUnloadNow(), 1) << "objects are alive";
  for (vq_object* obj : objects) {
    ASSERT_NE(obj, nullptr);
    // Broken XML for every XML let: each load fails or keeps what it could read.
    for (const std::string& bad : kBadXml) call(obj, "XML", VQ_LET, {text(bad)});
    EXPECT_EQ(call(obj, "XML", VQ_LET, {object(stranger)}), 13);
    call(obj, "XML", VQ_GET);
  }

  // Every member of every class, with arguments of every wrong kind.
  for (vq_object* obj : objects) {
    for (int n = -5; n < 130; ++n) {
      const int32_t id = n < 0 ? n + 1 : (n % 2 ? 0x68030000 : 0x60030000) + n / 2;
      int32_t accessors = 0, params = 0;
      if (vq_member_info(obj, id, &accessors, &params) != 0) continue;
      for (int32_t flag : {VQ_METHOD, VQ_GET, VQ_LET, VQ_SET}) {
        if ((accessors & flag) == 0) continue;
        call(obj, id, flag);
        call(obj, id, flag, {object(stranger)});
        call(obj, id, flag, {text("not a number"), object(stranger)});
        call(obj, id, flag, {number(VQ_DOUBLE, 0, 1e300), number(VQ_LONG, -1)});
        call(obj, id, flag, {text(kBadXml[0]), text(kBadXml[4]), number(VQ_NULL, 0)});
      }
    }
  }
  // The error texts belong to the thread and survive the objects.
  EXPECT_NE(vq_error_number(), 0);
  for (vq_object* obj : objects) EXPECT_EQ(vq_release(obj), 0u);
  EXPECT_EQ(vq_release(stranger), 0u);
  EXPECT_NE(vq_error_description(), nullptr);
  EXPECT_EQ(DllCanUnloadNow(), 0) << "an object outlived its last reference";
  EXPECT_FALSE(logs.error_lines().empty()) << "the walk provoked no logged failure";
}

}  // namespace
