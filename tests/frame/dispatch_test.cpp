// How the dispatch layer hands arguments to a member and back: a caller's value the member
// cannot change is lent, not copied, and is the caller's again however the call ends.
#include <gtest/gtest.h>

#include "frame/class_info.h"
#include "frame/invoke_changes.h"
#include "support/error_number.h"
#include "vexqom/dispatch.h"

namespace vexqom {
namespace {

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

using testing::error_number_of;

TEST(DispatchArguments, LentValuesAreTheCallersAgainHoweverTheCallEnds) {
  auto made = create<Recorder>();  // reference counted: the call holds it too
  Recorder& recorder = *made;
  const Text note(100, u'n');  // beyond any small-string storage
  std::vector<Variant> args{Variant(note), Variant(int32_t{3})};
  invoke(recorder, 1, kInvokeMethod, args);
  EXPECT_EQ(recorder.note_, note);
  EXPECT_EQ(recorder.count_, 3);
  EXPECT_EQ(args[0], Variant(note));
  EXPECT_EQ(args[1], Variant(int32_t{3})) << "a coerced argument keeps the caller's type";

  // The second argument cannot be coerced after the first was lent.
  std::vector<Variant> bad_count{Variant(note), Variant(Text(u"many"))};
  EXPECT_EQ(error_number_of([&] { invoke(recorder, 1, kInvokeMethod, bad_count); }),
            errc::kTypeMismatch);
  EXPECT_EQ(bad_count[0], Variant(note));
  EXPECT_EQ(bad_count[1], Variant(Text(u"many")));

  std::vector<Variant> failing{Variant(note)};
  EXPECT_EQ(error_number_of([&] { invoke(recorder, 2, kInvokeMethod, failing); }),
            errc::kInvalidArgument);
  EXPECT_EQ(failing[0], Variant(note)) << "a member that raises gives the argument back";
}

TEST(DispatchArguments, OnlyAChangedByReferenceArgumentIsReportedAndWrittenBack) {
  auto made = create<Recorder>();  // reference counted: the call holds it too
  Recorder& recorder = *made;
  std::vector<char> changed;
  std::vector<Variant> padded{Variant(Text(u"  K1 "))};
  invoke_reporting_changes(recorder, 3, kInvokeMethod, padded, changed);
  EXPECT_EQ(padded[0], Variant(Text(u"K1")));
  EXPECT_EQ(changed, std::vector<char>{1});

  std::vector<Variant> clean{Variant(Text(u"K1"))};
  invoke_reporting_changes(recorder, 3, kInvokeMethod, clean, changed);
  EXPECT_EQ(changed, std::vector<char>{0});

  std::vector<Variant> number{Variant(int32_t{7})};
  invoke_reporting_changes(recorder, 3, kInvokeMethod, number, changed);
  EXPECT_EQ(number[0], Variant(int32_t{7})) << "coerced to \"7\", unchanged: the Long stays";
  EXPECT_EQ(changed, std::vector<char>{0});

  std::vector<Variant> note_and_count{Variant(Text(u" a ")), Variant(int16_t{1})};
  invoke_reporting_changes(recorder, 1, kInvokeMethod, note_and_count, changed);
  EXPECT_EQ(changed, (std::vector<char>{0, 0})) << "read-only parameters are never reported";
}

}  // namespace
}  // namespace vexqom
