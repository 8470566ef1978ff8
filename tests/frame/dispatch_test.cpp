// How the dispatch layer hands arguments to a member and back. A caller's value the member
// cannot change is lent, not copied, and is the caller's again however the call ends; only a
// changed by-reference argument comes back. Null is no value for a typed parameter.
#include "vexqom/dispatch.h"

#include <gtest/gtest.h>

#include "frame/class_info.h"
#include "frame/invoke_changes.h"
#include "support/checks.h"

namespace vexqom {
namespace {

using namespace testing;

class Recorder : public Object {
 public:
  static const ClassInfo& static_class_info() {
    using C = Recorder;
    static const ClassInfo info =
        ClassBuilder<C>("Recorder", "_Recorder", Guid{}, Guid{})
            .function("Take", 1, method<&C::Take>({"Note", "Count"}))
            .function("Fail", 2, method<&C::Fail>({"Note"}))
            .function("Trim", 3, method<&C::Trim>({ParamName("Key").by_ref()}))
            .build();
    return info;
  }
  const ClassInfo& class_info() const override { return static_class_info(); }

  void Take(const Text& note, int16_t count) {
    note_ = note;
    count_ = count;
  }
  void Fail(const Text& note) {
    note_ = note;
    throw Error(errc::kInvalidArgument);
  }
  void Trim(Text& key) { key = trim_blanks(key); }

  Text note_;
  int16_t count_ = 0;
};

TEST(DispatchArguments, LentValuesComeBackAndOnlyChangedByReferenceOnesAreReported) {
  auto made = create<Recorder>();  // reference counted: the call holds it too
  const Text note(100, u'n');      // beyond any small-string storage
  struct Row {
    int32_t dispid;
    std::vector<Variant> args, after;
    int32_t error;
    std::vector<char> changed;
  };
  const Row rows[] = {
      {1, {Variant(note), Variant(int32_t{3})}, {Variant(note), Variant(int32_t{3})}, 0, {0, 0}},
      // The second argument cannot be coerced after the first was lent.
      {1, {Variant(note), Variant(u"many")}, {Variant(note), Variant(u"many")}, 13, {}},
      {1, {Variant::null(), Variant(int32_t{3})}, {Variant::null(), Variant(int32_t{3})}, 13, {}},
      {2, {Variant(note)}, {Variant(note)}, errc::kInvalidArgument, {}},
      {3, {Variant(u"  K1 ")}, {Variant(u"K1")}, 0, {1}},
      {3, {Variant(u"K1")}, {Variant(u"K1")}, 0, {0}},
      {3, {Variant(int32_t{7})}, {Variant(int32_t{7})}, 0, {0}}};  // "7" unchanged: Long stays
  for (const Row& row : rows) {
    std::vector<Variant> args = row.args;
    std::vector<char> changed;
    EXPECT_EQ(error_number_of([&] {
                invoke_reporting_changes(*made, row.dispid, kInvokeMethod, args, changed);
              }),
              row.error);
    EXPECT_EQ(args, row.after) << row.dispid;
    if (row.error == 0) {
      EXPECT_EQ(changed, row.changed) << row.dispid;
    }
  }
  std::vector<Variant> args{Variant(note), Variant(int32_t{3})};
  invoke(*made, 1, kInvokeMethod, args);
  EXPECT_EQ(made->note_, note);
  EXPECT_EQ(made->count_, 3);
  EXPECT_EQ(args[0], Variant(note));
}

}  // namespace
}  // namespace vexqom
