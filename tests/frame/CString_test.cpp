// CString: sizes, slices, searches, case, appends and files.
#include "frame/CString.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <tuple>
#include <string>

#include "support/checks.h"

namespace vexqom {
namespace {

using namespace testing;

Ref<CString> make(TextView value) {
  Ref<CString> s = create<CString>();
  s->put_Value(value);
  return s;
}

TEST(CStringTest, SlicesReadAndWrittenWithTheirErrors) {
  Ref<CString> s = make(u"abcd");
  const std::pair<Ref<CString>, const char16_t*> reads[] = {
      {s->get_Left(10), u"abcd"}, {s->get_Right(2), u"cd"}, {s->get_Mid(3), u"cd"},
      {s->get_Mid(2, 2), u"bc"}, {s->get_Mid(3, 5), u"cd"}, {s->get_Mid(9), u""}};
  for (const auto& [slice, text] : reads) EXPECT_EQ(slice->get_Value(), text);
  const std::pair<std::function<void()>, const char*> refused[] = {
      {[&] { s->get_Left(-1); }, "5 Invalid length"},
      {[&] { s->get_Mid(1, -1); }, "5 Invalid length"},
      {[&] { s->get_Mid(0); }, "5 Invalid starting position"},
      {[&] { s->put_Mid(0, 1, Variant(u"zz")); }, "5 Invalid starting position"},
      {[&] { s->put_Length(-1); }, "5 Invalid length"},
      {[&] { s->Instr(Variant(u"b"), 0); }, "9 Subscript out of range"},
      {[&] { s->InstrBytes("", 0); }, "9 Subscript out of range"},
      {[&] { s->Append(Variant::null()); }, "94 Invalid use of Null"}};
  for (const auto& [call, failure] : refused) EXPECT_EQ(failure_of(call), failure);
  EXPECT_EQ(s->get_Value(), u"abcd");
  EXPECT_EQ(s->buffer_size(), 2048);

  // Writes overwrite in place and never change the length.
  Ref<CString> w = make(u"abcdef");
  Ref<CString> v = make(u"pq");
  const std::pair<std::function<void()>, const char16_t*> writes[] = {
      {[&] { w->put_Left(2, Variant(u"XYZ")); }, u"XYcdef"},
      {[&] { w->put_Right(3, Variant(u"12")); }, u"XYcd12"},  // only the value's own length
      {[&] { w->put_Mid(3, std::nullopt, Variant(u"Q")); }, u"XYQd12"},
      {[&] { w->put_Mid(5, 10, Variant(u"7890")); }, u"XYQd78"},  // cut at the end
      {[&] { w->put_Mid(9, 1, Variant(u"!")); }, u"XYQd78"},
      {[&] { w->put_Left(1, Variant(int32_t{42})); }, u"4YQd78"},  // numbers by their text
      {[&] { w->putref_Right(10, *v); }, u"4YQdpq"}, {[&] { w->putref_Mid(2, 1, *v); }, u"4pQdpq"},
      {[&] { w->putref_Left(3, *w); }, u"4pQdpq"}};  // onto itself: no change
  for (const auto& [write, text] : writes) {
    write();
    EXPECT_EQ(w->get_Value(), text);
  }
}

TEST(CStringTest, LengthFillsWithBlanksAndValueRoundTripsTheCodePage) {
  Ref<CString> s = make(u"abcdef");
  s->put_Length(2);
  s->put_Length(4);  // bytes c, d are gone behind blanks
  EXPECT_EQ(s->get_Value(), u"ab  ");

  Ref<CString> e = make(u"\u20AC");
  EXPECT_EQ(e->get_Length(), 1);
  EXPECT_EQ(e->get_Char(1), 0x80);
  e->Append(TextView(u"\u20AC"));
  EXPECT_STREQ(e->StrPtr(), "\x80\x80");
  Ref<CString> c = e->Copy();
  c->put_Char(1, 'A');
  c->put_Char(3, 'x');  // outside: ignored
  EXPECT_EQ(e->Asc(), 0x80);
  EXPECT_EQ(c->get_Value(), u"A\u20AC");
  EXPECT_EQ(c->get_Char(3), -1);
  EXPECT_EQ(create<CString>()->Asc(), -1);
  EXPECT_EQ(make(u"aBz\u20AC{")->Ucase().get_Value() + make(u"aBz\u20AC{")->LCase().get_Value() +
                make(u"aBz\u20AC{")->ReverseStr().get_Value(),
            u"ABZ\u20AC{abz\u20AC{{\u20ACzBa");

  Ref<CString> a = make(u"ab");
  a->Append(Variant(make(u"cd"))).Append(Variant(int32_t{-5})).Append(Variant(u""));
  a->Append(*a);  // its own bytes
  a->AppendBytes(std::string_view(a->data() + 1, 2));
  EXPECT_EQ(a->get_Value(), u"abcd-5abcd-5bc");
  Ref<CString> big = make(Text(2000, u'q'));
  big->Append(*big);  // its own bytes, across a move of the storage
  EXPECT_EQ(big->get_Value(), Text(4000, u'q'));
  EXPECT_EQ(big->buffer_size(), 4000) << "the reported size fits exactly, unlike the storage";

  Ref<CString> z = create<CString>();
  std::memcpy(z->data(), "abc\0", 4);
  EXPECT_EQ(z->TrimToNull(), 3);
  z->SetBufferSize(4);
  std::memcpy(z->data(), "vwxyz", 5);  // no zero anywhere up to the spare byte
  EXPECT_EQ(z->TrimToNull(), 4);
  EXPECT_EQ(z->get_Value(), u"vwxy");
}

// Instr, InstrBytes and the cached Find agree, over partial matches and repeated bytes.
TEST(CStringTest, SearchesFindTheFirstMatchFromTheStart) {
  Ref<CString> s = make(u"abcb");
  EXPECT_EQ(s->Instr(Variant(u""), 9), 9);
  EXPECT_EQ(s->Instr(*make(u"cb"), 1), 3);
  EXPECT_EQ(make(u"x12")->Instr(Variant(int32_t{12}), 1), 2);
  EXPECT_EQ(s->Find(u"cb", 1), 3);
  EXPECT_EQ(s->Find(u"cb", 1), 3);  // from the cached table
  EXPECT_EQ(s->Find(u"b", -7), 2);
  EXPECT_EQ(s->Find(u""), 0);
  const std::tuple<const char*, const char*, int32_t, int32_t> rows[] = {
      {"aabaabaaab", "aaab", 1, 7}, {"abab", "bab", 3, 0}, {"abcabc", "c", 6, 6},
      {"abc", "abcd", 1, 0}, {"", "a", 1, 0}, {"aaa", "aa", 2, 2}};
  Ref<CString> t = create<CString>();
  for (const auto& [text, pat, start, want] : rows) {
    t->SetFromPointer(text, static_cast<int32_t>(std::strlen(text)));
    EXPECT_EQ(t->Find(from_utf8(pat), start), want) << text << " / " << pat << " @" << start;
    EXPECT_EQ(t->InstrBytes(pat, start), want) << text << " / " << pat << " @" << start;
  }
}

TEST(CStringTest, FileRoundTrip) {
  std::FILE* f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  Ref<CString> out = make(u"h\u20ACllo");
  out->WriteToFile(f, true);
  out->WriteToFile(f);
  EXPECT_EQ(std::ftell(f), 4 + 6 + 6);

  std::rewind(f);
  Ref<CString> in = create<CString>();
  in->ReadFromFile(f, true);
  EXPECT_EQ(in->get_Value(), u"h\u20ACllo");
  in->put_Length(0);
  in->put_Length(5);  // without a prefix the current length decides
  in->ReadFromFile(f);
  EXPECT_EQ(in->get_Value(), u"h\u20ACllo");

  // A length prefix promising more than the file holds.
  const long end = std::ftell(f);
  std::fwrite("\x64\0\0\0abc", 1, 7, f);
  std::fseek(f, end, SEEK_SET);
  in->put_Value(u"kept");
  EXPECT_EQ(testing::error_number_of([&] { in->ReadFromFile(f, true); }), errc::kPathFileAccess);
  EXPECT_EQ(in->get_Value(), u"kept");
  std::fclose(f);
}

}  // namespace
}  // namespace vexqom
