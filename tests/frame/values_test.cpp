// Value types and the standard conversions.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <random>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "frame/code_page.h"
#include "vexqom/currency.h"
#include "support/error_number.h"
#include "vexqom/error.h"
#include "vexqom/object.h"
#include "vexqom/text.h"
#include "vexqom/variant.h"

using namespace vexqom;

namespace {

using vexqom::testing::error_number_of;


class Plain : public Object {
 public:
  const ClassInfo& class_info() const override { std::abort(); }
};

constexpr int64_t kMaxRaw = std::numeric_limits<int64_t>::max();
constexpr int64_t kMinRaw = std::numeric_limits<int64_t>::min();
constexpr int32_t kOverflow = errc::kOverflow;
const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

}  // namespace

TEST(ValuesText, Utf8RoundTripAndIllFormedInput) {
  const std::string mixed = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";  // a é € 😀 z
  EXPECT_EQ(from_utf8(mixed), Text(u"a\u00E9\u20AC\U0001F600z"));
  EXPECT_EQ(to_utf8(from_utf8(mixed)), mixed);

  EXPECT_EQ(from_utf8("a\xFF" "b"), u"a\uFFFDb");
  EXPECT_EQ(from_utf8("\xE2\x82" "x"), u"\uFFFDx");  // truncated: one replacement, x kept
  EXPECT_EQ(from_utf8("\xC0\xAF"), u"\uFFFD\uFFFD");  // overlong
  EXPECT_EQ(from_utf8("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");  // encoded surrogate
  EXPECT_EQ(to_utf8(u"x\xD800y"), "x\xEF\xBF\xBDy");  // unpaired surrogate
}

// ASCII is converted in runs of eight and sixteen units: a character that breaks a run
// at any position must come out whole, with the ASCII on both sides of it.
TEST(ValuesText, Utf8AroundTheAsciiRunsAtEveryPosition) {
  for (size_t lead = 0; lead <= 40; ++lead) {
    const std::string a(lead, 'a');
    const Text wide_a(lead, u'a');
    SCOPED_TRACE(lead);
    EXPECT_EQ(from_utf8(a + "\xC3\xA9" + a), wide_a + u"\u00E9" + wide_a);
    EXPECT_EQ(to_utf8(wide_a + u"\u00E9" + wide_a), a + "\xC3\xA9" + a);
    EXPECT_EQ(to_utf8(wide_a + u"\U0001F600"), a + "\xF0\x9F\x98\x80");
    EXPECT_EQ(to_utf8(wide_a + Text(1, char16_t{0xDC00}) + wide_a), a + "\xEF\xBF\xBD" + a)
        << "a lone low surrogate";
    EXPECT_EQ(from_utf8(a + "\xFF" + a), wide_a + u"\uFFFD" + wide_a);
    EXPECT_EQ(from_utf8(a + "\xF0\x9F\x98"), wide_a + u"\uFFFD") << "cut short at the end";
    EXPECT_EQ(from_utf8(a + "\x7F\x80"), wide_a + u"\u007F\uFFFD");
  }
}

TEST(ValuesText, CaseMappingCaselessEqualityAndTrim) {
  EXPECT_EQ(upper_case(u"abc-Z9"), u"ABC-Z9");
  EXPECT_EQ(upper_case(u"stra\u00DFe"), u"STRASSE");
  EXPECT_EQ(upper_case(Text(20, u'\u00DF')), Text(40, u'S'));  // result outgrows the first guess
  EXPECT_EQ(lower_case(u"\u00C9A"), u"\u00E9a");
  EXPECT_EQ(fold_case(u"Stra\u00DFe"), u"strasse");

  EXPECT_TRUE(equals_caseless(u"Key", u"kEY"));
  EXPECT_FALSE(equals_caseless(u"Key", u"Keys"));
  EXPECT_FALSE(equals_caseless(u"a[", u"A{"));  // differ by the case bit only
  EXPECT_TRUE(equals_caseless(u"Stra\u00DFe", u"STRASSE"));
  EXPECT_TRUE(equals_caseless(u"\u00C9t\u00E9", u"\u00E9T\u00C9"));
  EXPECT_TRUE(equals_caseless(u"k", u"\u212A"));  // Kelvin sign against plain ASCII
  EXPECT_FALSE(equals_caseless(u"\u00E9", u"e"));

  EXPECT_EQ(trim_blanks(u"  a b  "), u"a b");
  EXPECT_EQ(trim_right_blanks(u" a  "), u" a");
  EXPECT_EQ(trim_blanks(u"\ta\t"), u"\ta\t");
}

TEST(ValuesCodePage, EveryByteRoundTripsAndUnmappableBecomesQuestionMark) {
  std::string all;
  for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
  const Text decoded = from_code_page(all);
  EXPECT_EQ(to_code_page(decoded), all);
  EXPECT_EQ(std::set<char16_t>(decoded.begin(), decoded.end()).size(), 256u);

  EXPECT_EQ(from_code_page("\x80\xE9\x9F"), u"\u20AC\u00E9\u0178");
  EXPECT_EQ(to_code_page(u"\u20AC"), "\x80");
  EXPECT_EQ(to_code_page(u"\u0100\u4E2D"), "??");
  EXPECT_EQ(to_code_page(u"a\U0001F600b"), "a??b");  // one byte per code unit
  std::string out = "x";
  append_code_page(out, u"\u00E9\u20AC");
  EXPECT_EQ(out, "x\xE9\x80");
}

// Long texts go through the bulk ASCII paths; a non-ASCII unit at any offset within or
// at the edge of a bulk step must still be mapped, and the ASCII around it kept.
TEST(ValuesCodePage, LongTextsConvertTheSameAtEveryOffset) {
  for (size_t length : {1u, 7u, 8u, 9u, 15u, 16u, 17u, 33u, 70u}) {
    for (size_t at = 0; at < length; ++at) {
      Text text;
      std::string bytes;
      for (size_t i = 0; i < length; ++i) {
        const bool special = i == at;
        text += special ? u'\u20AC' : static_cast<char16_t>(u'a' + i % 26);
        bytes += special ? '\x80' : static_cast<char>('a' + i % 26);
      }
      EXPECT_EQ(to_code_page(text), bytes) << length << " " << at;
      EXPECT_EQ(from_code_page(bytes), text) << length << " " << at;
      std::string unmappable = to_code_page(text + u"\u4E2D" + text);
      EXPECT_EQ(unmappable, bytes + "?" + bytes);
    }
  }
}

TEST(ValuesCurrency, FromDoubleRoundsHalvesToEven) {
  const std::pair<double, int64_t> cases[] = {
      {0.03125, 312}, {0.09375, 938}, {-0.03125, -312},  // exact halves of a unit
      {0.00005, 0},   {0.00025, 2},   {0.00035, 4},
      {0.00015, 1},  // the double lies below 1.5 units
      {12.34567, 123457}};
  for (auto [in, raw] : cases) EXPECT_EQ(Currency::from_double(in).raw(), raw) << in;
  for (double bad : {1e15, 922337203685477.625, kNaN, kInf})
    EXPECT_EQ(error_number_of([=] { Currency::from_double(bad); }), kOverflow) << bad;
}

TEST(ValuesCurrency, CheckedArithmeticAndText) {
  const Currency max = Currency::from_raw(kMaxRaw), min = Currency::from_raw(kMinRaw);
  const Currency unit = Currency::from_raw(1), half = Currency::from_raw(5000);
  EXPECT_EQ(error_number_of([&] { (void)(max + unit); }), kOverflow);
  EXPECT_EQ(error_number_of([&] { (void)(min - unit); }), kOverflow);
  EXPECT_EQ(error_number_of([&] { (void)-min; }), kOverflow);
  EXPECT_EQ(error_number_of([] { Currency::from_whole(922337203685478); }), kOverflow);
  EXPECT_EQ(Currency::from_whole(922337203685477).raw(), 9223372036854770000);

  EXPECT_EQ((unit * half).raw(), 0);  // 0.5 units
  EXPECT_EQ((Currency::from_raw(3) * half).raw(), 2);
  EXPECT_EQ((Currency::from_raw(-3) * half).raw(), -2);
  EXPECT_EQ((Currency::from_raw(7) * Currency::from_raw(7001)).raw(), 5);  // 4.9007
  const Currency big = Currency::from_whole(30370000);
  EXPECT_EQ((big * big).raw(), 9223369000000000000);
  const Currency bigger = Currency::from_whole(40000000);
  EXPECT_EQ(error_number_of([&] { (void)(bigger * bigger); }), kOverflow);

  const std::pair<int64_t, const char16_t*> texts[] = {
      {70000, u"7"}, {8000, u"0.8"}, {-5000, u"-0.5"}, {123457, u"12.3457"}, {1, u"0.0001"},
      {-10, u"-0.001"}, {0, u"0"}, {kMinRaw, u"-922337203685477.5808"},
      {kMaxRaw, u"922337203685477.5807"}};
  for (auto [raw, text] : texts) EXPECT_EQ(Currency::from_raw(raw).to_text(), text);
}

TEST(ValuesNumbers, StandardTextForms) {
  const std::pair<double, const char16_t*> cases[] = {
      {0.1, u"0.1"}, {0.1 + 0.2, u"0.3"}, {1.0 / 3, u"0.333333333333333"}, {0.0, u"0"},
      {-0.0, u"0"}, {1e20, u"1E+20"}, {1.5e-7, u"1.5E-07"}, {1e15, u"1E+15"},
      {999999999999999.0, u"999999999999999"}, {123456789012345678.0, u"1.23456789012346E+17"},
      {0.00001, u"1E-05"}, {-2.5e100, u"-2.5E+100"}};
  for (auto [in, text] : cases) EXPECT_EQ(double_text(in), text) << in;
  EXPECT_EQ(integer_text(kMinRaw), u"-9223372036854775808");
  EXPECT_EQ(boolean_text(true) + boolean_text(false), u"TrueFalse");
}

TEST(ValuesNumbers, RoundingToIntegerKindsHalvesToEven) {
  const std::pair<double, int> to_integer[] = {
      {2.5, 2}, {3.5, 4}, {-2.5, -2}, {0.5, 0}, {2.5000001, 3}, {32767.4, 32767},
      {-32768.5, -32768}};
  for (auto [in, out] : to_integer) EXPECT_EQ(round_to_integer(in), out) << in;
  for (double bad : {32767.5, -32769.5, kNaN})
    EXPECT_EQ(error_number_of([=] { round_to_integer(bad); }), kOverflow) << bad;

  EXPECT_EQ(round_to_long(2147483646.5), 2147483646);
  EXPECT_EQ(round_to_long(-2147483648.5), std::numeric_limits<int32_t>::min());
  for (double bad : {2147483647.5, kInf, kNaN})
    EXPECT_EQ(error_number_of([=] { round_to_long(bad); }), kOverflow) << bad;
}

TEST(ValuesNumbers, LeadingNumberAndNumericText) {
  const std::pair<const char16_t*, double> leading[] = {
      {u"12.34567", 12.34567}, {u"1,5", 1}, {u"abc", 0}, {u" 4 apples", 4}, {u"1 2", 12},
      {u"\t1\n2.5", 12.5}, {u"- 5", -5}, {u"-.5", -0.5}, {u"5.", 5}, {u"1.2.3", 1.2},
      {u".", 0}, {u"1e3x", 1000}, {u"1e", 1}, {u"2.5D-1", 0.25}, {u"1e400", kInf},
      {u"-1e400", -kInf}, {u"1e-400", 0}, {u"&H1F", 31}, {u"&HFFFF", -1}, {u"&H8000", -32768},
      {u"&H10000", 65536}, {u"&HFFFFFFFF", -1}, {u"&O17", 15}, {u"&o177777", -1},
      {u"&O8", 0}, {u"&H", 0}};
  for (auto [in, out] : leading) EXPECT_EQ(leading_number(in), out) << to_utf8(in);

  for (const char16_t* yes : {u"0", u"00", u"0.00", u"-0", u" 0 ", u"\t+1e3\t", u"&H1F",
                              u".5", u"5.", u"1D2"})
    EXPECT_TRUE(is_numeric_text(yes)) << to_utf8(yes);
  for (const char16_t* no : {u"0A", u"", u" ", u".", u"1e", u"- 5", u"1 2", u"&H", u"+-1",
                             u"1,5", u"&H1G"})
    EXPECT_FALSE(is_numeric_text(no)) << to_utf8(no);
  double v = 99;
  EXPECT_FALSE(is_numeric_text(u"0A", &v));
  EXPECT_EQ(v, 99);
  EXPECT_TRUE(is_numeric_text(u" -1.5E-3 ", &v));
  EXPECT_EQ(v, -0.0015);
}

// The zero test used by zero suppression decides plain decimals from their digits; it
// must answer exactly as converting them would, also for fractions too small for a double.
// Short decimals are read without the general parse; every one must come out as the
// correctly rounded double strtod gives, sign of zero included, at every digit count.
TEST(ValuesNumbers, DecimalTextsReadAsTheCorrectlyRoundedDouble) {
  std::mt19937_64 random(11);
  for (int i = 0; i < 20000; ++i) {
    std::string ascii = random() % 3 == 0 ? "-" : random() % 5 == 0 ? "+" : "";
    const int digits = 1 + static_cast<int>(random() % 18);
    const int point = static_cast<int>(random() % (digits + 2)) - 1;  // -1: none
    for (int d = 0; d < digits; ++d) {
      if (d == point) ascii += '.';
      ascii += static_cast<char>('0' + random() % (d % 4 == 0 ? 3 : 10));
    }
    const double expected = std::strtod(ascii.c_str(), nullptr);
    const double read = leading_number(from_utf8(ascii));
    ASSERT_EQ(std::signbit(read), std::signbit(expected)) << ascii;
    ASSERT_EQ(read, expected) << ascii;
    double numeric = 0;
    ASSERT_TRUE(is_numeric_text(from_utf8(ascii), &numeric)) << ascii;
    ASSERT_EQ(numeric, expected) << ascii;
  }
  EXPECT_EQ(leading_number(u"0.1"), 0.1);
  EXPECT_EQ(leading_number(u"999999999999999"), 999999999999999.0);
  EXPECT_EQ(leading_number(u"9007199254740993"), 9007199254740992.0);  // 16 digits: parsed
}

TEST(ValuesNumbers, ZeroNumberTextAgreesWithTheConvertedValue) {
  auto converted_zero = [](const Text& t) {
    double v = 1;
    return is_numeric_text(t, &v) && v == 0;
  };
  std::vector<Text> texts = {u"0",       u"00",    u"0.00", u"-0",  u" 0 ",  u"\t-.0\t",
                             u"0.",      u"+0",    u"0A",   u"",    u"0.001", u"10",
                             u"&H0",     u"&O0",   u"&H10", u"0E5", u"1E-400", u"-1D-999",
                             u"0e",      u"- 0",   u"00.000100", u"1e400",
                             u"1d-400",  u"9E-999", u"5 each", u"x0"};
  const Text deep = u"0." + Text(299, u'0') + u"1";   // 1E-300: a double
  const Text deeper = u"0." + Text(330, u'0') + u"1";  // below the smallest double: 0
  texts.insert(texts.end(), {deep, deeper, u"-" + deeper, Text(400, u'0') + u".0"});
  std::mt19937 random(7);
  const TextView pieces = u"000000123.-+eEdD &\tx";
  for (int i = 0; i < 4000; ++i) {
    Text t;
    for (int k = static_cast<int>(random() % 7); k >= 0; --k) {
      t += pieces[random() % pieces.size()];
    }
    texts.push_back(t);
  }
  int zeros = 0;
  for (const Text& t : texts) {
    EXPECT_EQ(is_zero_number_text(t), converted_zero(t)) << to_utf8(t);
    zeros += converted_zero(t);
  }
  EXPECT_GT(zeros, 100);  // the random texts reach the zero answers, not only the others
  EXPECT_FALSE(is_zero_number_text(deep));
  EXPECT_TRUE(is_zero_number_text(deeper));
}

// Quantities and amounts are numbers "through their text": written as text, then read with
// the leading-number parse. Whole numbers and four-decimal amounts skip the text; the
// result must be the same bit for bit.
TEST(ValuesNumbers, NumberViaTextEqualsReadingTheWrittenText) {
  auto through_text = [](const Variant& v) { return leading_number(to_text(v)); };
  std::vector<Variant> values = {Variant(), Variant(Text(u" 1 2,5")), Variant(Text(u"&H1F")),
                                 Variant(int16_t{-32768}), Variant(int32_t{2147483647}),
                                 Variant(true), Variant(0.1 + 0.2), Variant(1e300),
                                 Variant(-0.0), Variant(999999999999999.0), Variant(1e15),
                                 Variant(-123456789012345.0), Variant(2.5), Variant(1e16 + 2)};
  const int64_t exact = int64_t{1} << 53;
  for (int64_t raw : {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{32700}, int64_t{-5000},
                      exact, -exact, exact + 1, -exact - 1, std::numeric_limits<int64_t>::max(),
                      std::numeric_limits<int64_t>::min()}) {
    values.emplace_back(Currency::from_raw(raw));
  }
  std::mt19937_64 random(3);
  for (int i = 0; i < 20000; ++i) {
    const int shift = static_cast<int>(random() % 60);  // small and large magnitudes alike
    const auto raw = static_cast<int64_t>(random() >> shift) * (i % 2 ? 1 : -1);
    values.emplace_back(Currency::from_raw(raw));
    values.emplace_back(static_cast<double>(raw >> 10));  // whole doubles, some of 15+ digits
    // Fractions: short ones (3.27, 1.5E-07) read back as themselves, long ones (0.1 + 0.2)
    // do not; both at every magnitude a double reaches.
    const double scale = std::pow(10.0, static_cast<int>(random() % 600) - 300);
    values.emplace_back(static_cast<double>(raw % 100000) / 1000 * scale);
    values.emplace_back(static_cast<double>(raw) / 3 * scale);
  }
  for (const Variant& v : values) {
    const double fast = number_via_text(v);
    const double slow = v.is_empty() ? 0.0 : through_text(v);
    ASSERT_EQ(std::signbit(fast), std::signbit(slow)) << to_utf8(to_text(v));
    ASSERT_EQ(fast, slow) << to_utf8(to_text(v));
  }
}

TEST(ValuesVariant, KindsAndText) {
  const Ref<Object> obj = create<Plain>();
  EXPECT_EQ(Variant(int32_t{1}).type(), VarType::kLong);
  EXPECT_EQ(Variant(true).type(), VarType::kBoolean);
  EXPECT_EQ(Variant(obj).type(), VarType::kObject);
  EXPECT_TRUE(Variant(true).is_numeric());
  EXPECT_FALSE(Variant(u"1").is_numeric());

  EXPECT_EQ(to_text(Variant()), u"");
  EXPECT_EQ(to_text(Variant(int16_t{-7})), u"-7");
  EXPECT_EQ(to_text(Variant(Currency::from_raw(123457))), u"12.3457");
  EXPECT_EQ(to_text(Variant(false)), u"False");
  EXPECT_EQ(error_number_of([] { coerce_to_text(Variant::null()); }), errc::kInvalidUseOfNull);
  EXPECT_EQ(error_number_of([&] { to_text(Variant(obj)); }), errc::kTypeMismatch);
}

TEST(ValuesVariant, NumericCoercions) {
  const Variant obj = Variant(create<Plain>()), null = Variant::null();
  EXPECT_EQ(coerce_to_double(Variant()), 0);
  EXPECT_EQ(coerce_to_double(Variant(true)), -1);
  EXPECT_EQ(coerce_to_double(Variant(u" 2.5 ")), 2.5);
  EXPECT_EQ(coerce_to_double(Variant(u"tRUE")), -1);
  EXPECT_EQ(coerce_to_double(Variant(Currency::from_raw(15))), 0.0015);
  EXPECT_EQ(error_number_of([] { coerce_to_double(Variant(u"abc")); }), errc::kTypeMismatch);
  EXPECT_EQ(error_number_of([] { coerce_to_double(Variant(u"1e400")); }), kOverflow);
  EXPECT_EQ(error_number_of([&] { coerce_to_double(null); }), errc::kInvalidUseOfNull);
  EXPECT_EQ(error_number_of([&] { coerce_to_double(obj); }), errc::kTypeMismatch);

  EXPECT_EQ(coerce_to_integer(Variant(u"2.5")), 2);
  EXPECT_EQ(coerce_to_integer(Variant(3.5)), 4);
  EXPECT_EQ(coerce_to_integer(Variant(Currency::from_raw(25000))), 2);
  EXPECT_EQ(coerce_to_integer(Variant(Currency::from_raw(-35000))), -4);
  EXPECT_EQ(error_number_of([] { coerce_to_integer(Variant(int32_t{40000})); }), kOverflow);
  EXPECT_EQ(error_number_of([] { coerce_to_integer(Variant(Currency::from_raw(327675000))); }),
            kOverflow);
  EXPECT_EQ(error_number_of([&] { coerce_to_integer(obj); }), errc::kTypeMismatch);
  EXPECT_EQ(coerce_to_long(Variant(u"&HFFFFFFFF")), -1);
  EXPECT_EQ(coerce_to_long(Variant(Currency::from_raw(-5000))), 0);
  EXPECT_EQ(error_number_of([] { coerce_to_long(Variant(3e9)); }), kOverflow);
  EXPECT_EQ(error_number_of([&] { coerce_to_long(null); }), errc::kInvalidUseOfNull);

  EXPECT_TRUE(coerce_to_boolean(Variant(u" true ")));
  EXPECT_FALSE(coerce_to_boolean(Variant(u"0.0")));
  EXPECT_TRUE(coerce_to_boolean(Variant(u"0.0001")));
  EXPECT_FALSE(coerce_to_boolean(Variant()));
  EXPECT_EQ(error_number_of([] { coerce_to_boolean(Variant(u"yes")); }), errc::kTypeMismatch);
  EXPECT_EQ(error_number_of([&] { coerce_to_boolean(null); }), errc::kInvalidUseOfNull);

  EXPECT_EQ(number_via_text(Variant()), 0);
  EXPECT_EQ(number_via_text(Variant(u"4 apples")), 4);
  EXPECT_EQ(number_via_text(Variant(Currency::from_raw(-5000))), -0.5);
  EXPECT_EQ(number_via_text(Variant(true)), 0);  // "True" is not a number
}

TEST(ValuesVariant, CurrencyCoercionIsExactFromText) {
  const auto raw = [](const Variant& v) { return coerce_to_currency(v).raw(); };
  const std::pair<const char16_t*, int64_t> texts[] = {
      {u"0.1", 1000}, {u"12.34565", 123456}, {u"12.34575", 123458},  // halves to even
      {u"12.345650001", 123457}, {u"0.00015", 2}, {u"-0.00005", 0}, {u"5e-5", 0},
      {u"1.5E2", 1500000}, {u"000000000000000000000001", 10000}, {u"&H10", 160000},
      {u"True", -10000}, {u"922337203685477.5807", kMaxRaw}, {u"-922337203685477.5808", kMinRaw}};
  for (auto [in, out] : texts) EXPECT_EQ(raw(Variant(in)), out) << to_utf8(in);
  EXPECT_EQ(raw(Variant(u"0.1")) + raw(Variant(u"0.2")), raw(Variant(u"0.3")));
  for (const char16_t* big : {u"922337203685477.5808", u"1e30"})
    EXPECT_EQ(error_number_of([=] { coerce_to_currency(Variant(big)); }), kOverflow);
  EXPECT_EQ(error_number_of([] { coerce_to_currency(Variant(u"abc")); }), errc::kTypeMismatch);

  EXPECT_EQ(raw(Variant(0.03125)), 312);
  EXPECT_EQ(error_number_of([] { coerce_to_currency(Variant(1e300)); }), kOverflow);
  EXPECT_EQ(error_number_of([] { coerce_to_currency(Variant::null()); }), errc::kInvalidUseOfNull);
  EXPECT_EQ(error_number_of([] { coerce_to_currency(Variant(create<Plain>())); }), errc::kTypeMismatch);
}

TEST(ValuesError, DescriptionsSourcesAndMapping) {
  const Error overflow(kOverflow);
  EXPECT_EQ(overflow.source(), u"vexqom_PLUMEK2");
  EXPECT_EQ(kDefaultErrorSource, u"vexqom_PLUMEK2");
  EXPECT_STREQ(overflow.what(), "Overflow");
  EXPECT_EQ(standard_description(errc::kDuplicateKey),
            u"This key is already associated with an element of this collection");
  EXPECT_EQ(standard_description(12345), u"");
  const Error custom(errc::kInvalidProcedureCall, u"caf\u00E9");
  EXPECT_EQ(custom.source(), kDefaultErrorSource);
  EXPECT_STREQ(custom.what(), "caf\xC3\xA9");

  const auto mapped = [](auto thrower) {
    try {
      thrower();
    } catch (...) {
      return current_error();
    }
    return Error(0);
  };
  const Error own = mapped([] { throw Error(9, u"src", u"gone"); });
  EXPECT_EQ(own.number(), 9);
  EXPECT_EQ(own.source() + own.description(), u"srcgone");
  EXPECT_EQ(mapped([] { throw std::bad_alloc(); }).number(), errc::kOutOfMemory);
  const Error std_error = mapped([] { throw std::runtime_error("disk \xC3\xA9"); });
  EXPECT_EQ(std_error.number(), errc::kInvalidProcedureCall);
  EXPECT_EQ(std_error.description(), u"disk \u00E9");
  EXPECT_EQ(mapped([] { throw 42; }).description(), u"Invalid procedure call or argument");
}

TEST(ValuesObject, LiveCountFollowsReferences) {
  const std::size_t before = Object::live_count();
  {
    Ref<Object> a = create<Plain>();
    Ref<Object> b = a;
    EXPECT_EQ(b->ref_count(), 2u);
    a.reset();
    EXPECT_EQ(Object::live_count(), before + 1);
    EXPECT_EQ(b->ref_count(), 1u);
  }
  EXPECT_EQ(Object::live_count(), before);
}
