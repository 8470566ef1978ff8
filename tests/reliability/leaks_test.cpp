// The error paths of the C interface, walked the way a careless host walks them: bad names,
// unknown members, NULL objects, wrong argument kinds, destroyed collections, broken XML for
// every XML let, abandoned enumerators and event connections. Once every object is released
// the library must report that it can unload; in the address-sanitizer build the leak
// checker also sees every allocation freed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/log_folder.h"
#include "vexqom.h"

namespace {

constexpr int32_t kMemberNotFound = -2147352573;

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
  vq_object* none = reinterpret_cast<vq_object*>(0x1);  // failed creation leaves nothing
  EXPECT_NE(vq_create("", &none), 0);
  vq_guid unknown{0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
  EXPECT_NE(DllGetClassObject(&unknown, nullptr, &none), 0);
  EXPECT_EQ(DllCanUnloadNow(), 0);

  std::vector<vq_object*> objects;
  for (const char* cls : {"ICatItemCol", "ICatItem", "ICatPriceCol", "ICatPrice", "ICatVehicle",
                          "ICatPresetCol", "ICatPreset", "ICatListCol", "ICatList"})
    objects.push_back(make(cls));
  vq_object* stranger = make("ICatPrice");
  EXPECT_EQ(DllCanUnloadNow(), 1) << "objects are alive";
  for (vq_object* obj : objects) {
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(call(obj, 0x7777, VQ_METHOD, {text("x")}), kMemberNotFound);
    // Broken XML for every XML let: each load fails or keeps what it could read.
    for (const std::string& bad : kBadXml) call(obj, "XML", VQ_LET, {text(bad)});
    EXPECT_EQ(call(obj, "XML", VQ_LET, {object(stranger)}), 13);
    call(obj, "XML", VQ_GET);
  }

  // An item collection with members, an event connection and a half-walked enumerator,
  // then destroyed under the host's hands.
  vq_object* col = objects[0];
  uint32_t cookie = 0;
  static int events = 0;
  ASSERT_EQ(vq_advise(
                col, [](void*, vq_object*, int32_t) { ++events; }, nullptr, &cookie),
            0);
  for (const std::string key : {"K0", "K1", "K2"}) {  // each added twice, kept once
    vq_object* item = make("ICatItem");
    EXPECT_EQ(call(item, "LineCode", VQ_LET, {text("L" + key)}), 0);
    for (int twice = 0; twice < 2; ++twice)
      EXPECT_EQ(call(col, "Add", VQ_METHOD, {object(item), text(key)}), 0);
    vq_release(item);
  }
  EXPECT_EQ(events, 3);
  vq_value enumerator{}, member{};
  ASSERT_EQ(vq_invoke(col, -4, VQ_GET, nullptr, 0, &enumerator), 0);
  EXPECT_EQ(vq_enum_next(enumerator.obj, &member), 1);
  vq_value_clear(&member);
  EXPECT_EQ(call(col, "Clear", VQ_METHOD, {number(VQ_BOOLEAN, -1)}), 0);
  vq_object* late = make("ICatItem");
  EXPECT_EQ(call(col, "Add", VQ_METHOD, {object(late), text("K")}), 91);  // no member list
  EXPECT_EQ(vq_release(late), 0u);
  while (vq_enum_next(enumerator.obj, &member) == 1) vq_value_clear(&member);
  vq_value_clear(&enumerator);
  EXPECT_NE(vq_unadvise(col, cookie + 1000), 0);  // an unknown cookie; the real one stays

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
