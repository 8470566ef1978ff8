// CString: sizes, slices, searches, case, appends and files.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "frame/CString.h"
#include "vexqom/error.h"

namespace vexqom {
namespace {

Ref<CString> make(TextView value) {
  Ref<CString> s = create<CString>();
  s->put_Value(value);
  return s;
}

// Runs f, expecting it to raise error `number` (and `description` when given).
template <class F>
void expect_error(F f, int32_t number, std::u16string_view description = {}) {
  try {
    f();
    ADD_FAILURE() << "no error raised";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), number);
    if (!description.empty()) {
      EXPECT_EQ(e.description(), description);
      EXPECT_EQ(e.source(), u"CString");
    }
  }
}

int32_t naive_instr(std::string_view text, std::string_view pat, int32_t start) {
  if (pat.empty()) return start;
  for (size_t i = static_cast<size_t>(start - 1); i + pat.size() <= text.size(); ++i) {
    if (text.substr(i, pat.size()) == pat) return static_cast<int32_t>(i + 1);
  }
  return 0;
}

TEST(CStringTest, ReportedSizeFitsExactlyWhileStorageGrowsGeometrically) {
  Ref<CString> s = create<CString>();
  EXPECT_EQ(s->buffer_size(), 2048);
  EXPECT_EQ(s->get_Length(), 0);
  s->Append(TextView(Text(3000, u'x')));
  EXPECT_EQ(s->buffer_size(), 3000);
  EXPECT_EQ(s->get_Length(), 3000);

  Ref<CString> p = create<CString>();
  p->AppendBytes(std::string(2040, 'a'));
  p->AppendBytes("12345678");
  EXPECT_EQ(p->buffer_size(), 2048);
  p->AppendBytes("12345678");
  EXPECT_EQ(p->buffer_size(), 2056);
  p->AppendBytes("z");
  EXPECT_EQ(p->buffer_size(), 2057);
  p->put_Length(5000);
  EXPECT_EQ(p->buffer_size(), 5000);

  // Exact-fit storage would move on every append; geometric storage only a few times.
  Ref<CString> g = create<CString>();
  const char* last = g->data();
  int moves = 0;
  for (int i = 0; i < 100000; ++i) {
    g->AppendBytes("abcdefgh");
    if (g->data() != last) ++moves, last = g->data();
  }
  EXPECT_EQ(g->buffer_size(), 800000);
  EXPECT_LT(moves, 40);
}

TEST(CStringTest, SlicesAndTheirErrors) {
  Ref<CString> s = make(u"abcd");
  EXPECT_EQ(s->get_Left(10)->get_Value(), u"abcd");
  EXPECT_EQ(s->get_Right(2)->get_Value(), u"cd");
  EXPECT_EQ(s->get_Mid(3)->get_Value(), u"cd");
  EXPECT_EQ(s->get_Mid(2, 2)->get_Value(), u"bc");
  EXPECT_EQ(s->get_Mid(3, 5)->get_Value(), u"cd");
  EXPECT_EQ(s->get_Mid(9)->get_Value(), u"");

  expect_error([&] { s->get_Left(-1); }, 5, u"Invalid length");
  expect_error([&] { s->get_Mid(1, -1); }, 5, u"Invalid length");
  expect_error([&] { s->get_Mid(0); }, 5, u"Invalid starting position");
  expect_error([&] { s->put_Left(-1, Variant(u"zz")); }, 5, u"Invalid length");
  expect_error([&] { s->put_Mid(0, 1, Variant(u"zz")); }, 5, u"Invalid starting position");
  expect_error([&] { s->put_Length(-1); }, 5, u"Invalid length");
  expect_error([&] { s->Append(Variant::null()); }, errc::kInvalidUseOfNull);
  EXPECT_EQ(s->get_Value(), u"abcd");
  EXPECT_EQ(s->buffer_size(), 2048);
}

TEST(CStringTest, SliceAssignmentOverwritesInPlace) {
  Ref<CString> s = make(u"abcdef");
  s->put_Left(2, Variant(u"XYZ"));
  EXPECT_EQ(s->get_Value(), u"XYcdef");
  s->put_Right(3, Variant(u"12"));  // a shorter value writes only its own length
  EXPECT_EQ(s->get_Value(), u"XYcd12");
  s->put_Mid(3, std::nullopt, Variant(u"Q"));
  EXPECT_EQ(s->get_Value(), u"XYQd12");
  s->put_Mid(5, 10, Variant(u"7890"));  // cut at the end, length unchanged
  EXPECT_EQ(s->get_Value(), u"XYQd78");
  s->put_Mid(9, 1, Variant(u"!"));
  s->put_Left(1, Variant(int32_t{42}));  // numbers go in by their text form
  EXPECT_EQ(s->get_Value(), u"4YQd78");

  Ref<CString> v = make(u"pq");
  s->putref_Right(10, *v);
  EXPECT_EQ(s->get_Value(), u"4YQdpq");
  s->putref_Mid(2, 1, *v);
  s->putref_Left(3, *s);  // onto itself: no change
  EXPECT_EQ(s->get_Value(), u"4pQdpq");
  EXPECT_EQ(s->get_Length(), 6);
}

TEST(CStringTest, LengthFillsWithBlanksAndValueRoundTripsTheCodePage) {
  Ref<CString> s = make(u"abcdef");
  s->put_Length(2);
  s->put_Length(4);  // bytes c, d are gone behind blanks
  EXPECT_EQ(s->get_Value(), u"ab  ");
  s->put_Length(1);
  s->put_Length(3);
  EXPECT_EQ(s->get_Value(), u"a  ");

  Ref<CString> e = make(u"\u20AC");
  EXPECT_EQ(e->get_Length(), 1);
  EXPECT_EQ(e->get_Char(1), 0x80);
  e->put_Char(1, 0x80);
  e->Append(TextView(u"\u20AC"));
  EXPECT_EQ(e->get_Value(), u"\u20AC\u20AC");
  EXPECT_STREQ(e->StrPtr(), "\x80\x80");

  Ref<CString> c = e->Copy();
  c->put_Char(1, 'A');
  c->put_Char(3, 'x');  // outside: ignored
  EXPECT_EQ(e->Asc(), 0x80);
  EXPECT_EQ(c->get_Value(), u"A\u20AC");
  EXPECT_EQ(c->get_Char(3), -1);
  EXPECT_EQ(create<CString>()->Asc(), -1);
}

TEST(CStringTest, Instr) {
  Ref<CString> s = make(u"abcb");
  EXPECT_EQ(s->Instr(Variant(u"b"), 1), 2);
  EXPECT_EQ(s->Instr(Variant(u"b"), 3), 4);
  EXPECT_EQ(s->Instr(Variant(u"b"), 5), 0);
  EXPECT_EQ(s->Instr(Variant(u""), 3), 3);
  EXPECT_EQ(s->Instr(Variant(u""), 9), 9);
  EXPECT_EQ(s->Instr(*make(u"cb"), 1), 3);
  EXPECT_EQ(make(u"x12")->Instr(Variant(int32_t{12}), 1), 2);
  expect_error([&] { s->Instr(Variant(u"b"), 0); }, errc::kSubscriptOutOfRange);
  expect_error([&] { s->InstrBytes("", 0); }, errc::kSubscriptOutOfRange);
}

TEST(CStringTest, FindAgreesWithAPlainScan) {
  Ref<CString> s = make(u"abcb");
  EXPECT_EQ(s->Find(u"cb", 1), 3);
  EXPECT_EQ(s->Find(u"cb", 1), 3);  // from the cached table
  EXPECT_EQ(s->Find(u"bc"), 2);
  EXPECT_EQ(s->Find(u"b", 3), 4);
  EXPECT_EQ(s->Find(u"b", -7), 2);
  EXPECT_EQ(s->Find(u""), 0);

  // Small alphabets give many partial matches and repeated bytes in the pattern.
  std::mt19937 rng(7);
  auto word = [&](size_t n) {
    std::string w;
    for (size_t i = 0; i < n; ++i) w += static_cast<char>('a' + rng() % 3);
    return w;
  };
  Ref<CString> t = create<CString>();
  for (int round = 0; round < 2000; ++round) {
    const std::string text = word(rng() % 40);
    const std::string pat = word(1 + rng() % 5);
    const int32_t start = 1 + static_cast<int32_t>(rng() % 45);
    t->SetFromPointer(text.data(), static_cast<int32_t>(text.size()));
    const int32_t want = naive_instr(text, pat, start);
    ASSERT_EQ(t->Find(from_utf8(pat), start), want) << text << " / " << pat << " @" << start;
    ASSERT_EQ(t->InstrBytes(pat, start), want) << text << " / " << pat << " @" << start;
  }
}

TEST(CStringTest, CaseReverseAndAppend) {
  Ref<CString> s = make(u"aBz\u20AC{");
  EXPECT_EQ(s->Ucase().get_Value(), u"ABZ\u20AC{");
  EXPECT_EQ(s->LCase().get_Value(), u"abz\u20AC{");
  EXPECT_EQ(s->ReverseStr().get_Value(), u"{\u20ACzba");

  Ref<CString> a = make(u"ab");
  a->Append(Variant(make(u"cd"))).Append(Variant(int32_t{-5})).Append(Variant(u""));
  EXPECT_EQ(a->get_Value(), u"abcd-5");
  a->Append(*a);  // its own bytes
  a->AppendBytes(std::string_view(a->data() + 1, 2));
  EXPECT_EQ(a->get_Value(), u"abcd-5abcd-5bc");
  Ref<CString> big = make(Text(2000, u'q'));
  big->Append(*big);  // its own bytes, across a move of the storage
  EXPECT_EQ(big->get_Value(), Text(4000, u'q'));
}

TEST(CStringTest, TrimToNull) {
  Ref<CString> s = create<CString>();
  std::memcpy(s->data(), "abc\0", 4);
  EXPECT_EQ(s->TrimToNull(), 3);
  EXPECT_EQ(s->get_Value(), u"abc");
  s->SetBufferSize(4);
  std::memcpy(s->data(), "vwxyz", 5);  // no zero anywhere up to the spare byte
  EXPECT_EQ(s->TrimToNull(), 4);
  EXPECT_EQ(s->get_Value(), u"vwxy");
}

TEST(CStringTest, FileRoundTrip) {
  std::FILE* f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  Ref<CString> out = make(u"h\u20ACllo");
  out->StrPtr();
  out->WriteToFile(f, true);
  out->WriteToFile(f);
  Ref<CString> big = make(Text(3000, u'z'));
  big->WriteToFile(f, true);
  EXPECT_EQ(std::ftell(f), 4 + 6 + 6 + 4 + 3001);

  std::rewind(f);
  Ref<CString> in = create<CString>();
  in->ReadFromFile(f, true);
  EXPECT_EQ(in->get_Value(), u"h\u20ACllo");
  in->put_Length(0);
  in->put_Length(5);  // without a prefix the current length decides
  in->ReadFromFile(f);
  EXPECT_EQ(in->get_Value(), u"h\u20ACllo");
  in->ReadFromFile(f, true);
  EXPECT_EQ(in->buffer_size(), 3000);
  EXPECT_EQ(in->get_Value(), Text(3000, u'z'));

  // A length prefix promising more than the file holds.
  const long end = std::ftell(f);
  std::fseek(f, end, SEEK_SET);
  std::fwrite("\x64\0\0\0abc", 1, 7, f);
  std::fseek(f, end, SEEK_SET);
  in->put_Value(u"kept");
  expect_error([&] { in->ReadFromFile(f, true); }, errc::kPathFileAccess);
  EXPECT_EQ(in->get_Value(), u"kept");
  std::fclose(f);
}

}  // namespace
}  // namespace vexqom
