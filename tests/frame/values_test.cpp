// Value types and the standard conversions.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "frame/code_page.h"
#include "support/checks.h"
#include "vexqom/currency.h"
#include "vexqom/object.h"
#include "vexqom/variant.h"

namespace vexqom {
namespace {

using namespace testing;

struct Plain : Object {  // an object value, never asked for its members
  const ClassInfo& class_info() const override { std::abort(); }
};

constexpr int64_t kMaxRaw = std::numeric_limits<int64_t>::max();
constexpr int64_t kMinRaw = std::numeric_limits<int64_t>::min();
constexpr int32_t kOverflow = errc::kOverflow, kMismatch = errc::kTypeMismatch,
                  kNull = errc::kInvalidUseOfNull;
const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

// ASCII is converted in runs of eight and sixteen units: every case must come out whole
// with any length of ASCII before and after it.
TEST(ValuesText, Utf8BothWaysAroundTheAsciiRuns) {
  const std::pair<std::string, Text> decoded[] = {
      {"\xC3\xA9", u"\u00E9"}, {"\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u20AC\U0001F600"},
      {"\xFF", u"\uFFFD"},
      {"\xE2\x82x", u"\uFFFDx"},                // truncated: one replacement, x kept
      {"\xC0\xAF", u"\uFFFD\uFFFD"},            // overlong
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},  // an encoded surrogate
      {"\x7F\x80", u"\u007F\uFFFD"}};
  const std::pair<Text, std::string> encoded[] = {
      {u"\u00E9", "\xC3\xA9"}, {u"\U0001F600", "\xF0\x9F\x98\x80"},
      {Text(1, char16_t{0xDC00}), "\xEF\xBF\xBD"}, {Text(1, char16_t{0xD800}), "\xEF\xBF\xBD"}};
  for (size_t lead = 0; lead <= 40; ++lead) {
    const std::string a(lead, 'a');
    const Text wide(lead, u'a');
    for (const auto& [bytes, text] : decoded) {
      EXPECT_EQ(from_utf8(a + bytes + a), wide + text + wide) << lead << " " << bytes;
    }
    for (const auto& [text, bytes] : encoded) {
      EXPECT_EQ(to_utf8(wide + text + wide), a + bytes + a) << lead << " " << bytes;
    }
    EXPECT_EQ(from_utf8(a + "\xF0\x9F\x98"), wide + u"\uFFFD") << "cut short at the end";
  }
}

TEST(ValuesText, CaseMappingCaselessEqualityAndTrim) {
  EXPECT_EQ(upper_case(u"stra\u00DFe-z9") + lower_case(u"\u00C9A") + fold_case(u"Stra\u00DFe"),
            u"STRASSE-Z9\u00E9astrasse");
  EXPECT_EQ(upper_case(Text(20, u'\u00DF')), Text(40, u'S'));  // outgrows the first guess
  const std::tuple<const char16_t*, const char16_t*, bool> pairs[] = {
      {u"Key", u"kEY", true}, {u"Key", u"Keys", false},
      {u"a[", u"A{", false},  // differ by the case bit only
      {u"Stra\u00DFe", u"STRASSE", true}, {u"\u00C9t\u00E9", u"\u00E9T\u00C9", true},
      {u"k", u"\u212A", true},  // the Kelvin sign against plain ASCII
      {u"\u00E9", u"e", false}};
  for (const auto& [a, b, equal] : pairs) EXPECT_EQ(equals_caseless(a, b), equal) << u8(a);
  EXPECT_EQ(Text(trim_blanks(u"  a b  ")) + u"|" + Text(trim_right_blanks(u" a  ")) +
                Text(trim_blanks(u"\ta\t")),
            u"a b| a\ta\t");
}

// Every byte of the code page comes back as itself; what it cannot hold becomes "?", one
// per code unit.
TEST(ValuesCodePage, EveryByteRoundTripsAndUnmappableBecomesQuestionMark) {
  std::string all;
  for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
  EXPECT_EQ(to_code_page(from_code_page(all)), all);
  EXPECT_EQ(from_code_page("\x80\xE9\x9F") + from_code_page(to_code_page(u"a\u0100\U0001F600b")),
            u"\u20AC\u00E9\u0178a???b");
}

TEST(ValuesCurrency, RoundingCheckedArithmeticAndText) {
  const std::pair<double, int64_t> doubles[] = {
      {0.03125, 312}, {0.09375, 938}, {-0.03125, -312}, {0.00005, 0}, {0.00025, 2}, {0.00035, 4},
      {0.00015, 1},  // the double lies below 1.5 units
      {12.34567, 123457}};
  for (auto [in, raw] : doubles) EXPECT_EQ(Currency::from_double(in).raw(), raw) << in;
  for (double bad : {1e15, 922337203685477.625, kNaN, kInf})
    EXPECT_EQ(error_number_of([=] { Currency::from_double(bad); }), kOverflow) << bad;

  const Currency max = Currency::from_raw(kMaxRaw), min = Currency::from_raw(kMinRaw);
  const Currency unit = Currency::from_raw(1), half = Currency::from_raw(5000);
  const Currency bigger = Currency::from_whole(40000000);
  const std::function<void()> overflows[] = {
      [&] { (void)(max + unit); }, [&] { (void)(min - unit); }, [&] { (void)-min; },
      [] { Currency::from_whole(922337203685478); }, [&] { (void)(bigger * bigger); }};
  for (const auto& overflow : overflows)
    EXPECT_EQ(error_number_of(overflow), kOverflow);
  EXPECT_EQ(Currency::from_whole(922337203685477).raw(), 9223372036854770000);
  const std::tuple<int64_t, int64_t, int64_t> products[] = {
      {1, 5000, 0}, {3, 5000, 2}, {-3, 5000, -2}, {7, 7001, 5},  // 4.9007 units
      {303700000000, 303700000000, 9223369000000000000}};
  for (auto [a, b, raw] : products)
    EXPECT_EQ((Currency::from_raw(a) * Currency::from_raw(b)).raw(), raw) << a << " " << b;
  EXPECT_EQ((unit * half).raw(), 0);

  const std::pair<int64_t, const char16_t*> texts[] = {
      {70000, u"7"}, {8000, u"0.8"}, {-5000, u"-0.5"}, {123457, u"12.3457"}, {1, u"0.0001"},
      {-10, u"-0.001"}, {0, u"0"}, {kMinRaw, u"-922337203685477.5808"},
      {kMaxRaw, u"922337203685477.5807"}};
  for (auto [raw, text] : texts) EXPECT_EQ(Currency::from_raw(raw).to_text(), text);
}

TEST(ValuesNumbers, LeadingNumberAndNumericText) {
  const std::pair<const char16_t*, double> leading[] = {
      {u"12.34567", 12.34567}, {u"1,5", 1}, {u"abc", 0}, {u" 4 apples", 4}, {u"1 2", 12},
      {u"\t1\n2.5", 12.5}, {u"- 5", -5}, {u"-.5", -0.5}, {u"5.", 5}, {u"1.2.3", 1.2}, {u".", 0},
      {u"1e3x", 1000}, {u"1e", 1}, {u"2.5D-1", 0.25}, {u"1e400", kInf}, {u"-1e400", -kInf},
      {u"1e-400", 0}, {u"&H1F", 31}, {u"&HFFFF", -1}, {u"&H8000", -32768}, {u"&H10000", 65536},
      {u"&HFFFFFFFF", -1}, {u"&O17", 15}, {u"&o177777", -1}, {u"&O8", 0}, {u"&H", 0},
      {u"9007199254740993", 9007199254740992.0}};
  for (auto [in, out] : leading) EXPECT_EQ(leading_number(in), out) << u8(in);

  for (const char16_t* yes :
       {u"0", u"00", u"0.00", u"-0", u" 0 ", u"\t+1e3\t", u"&H1F", u".5", u"5.", u"1D2"})
    EXPECT_TRUE(is_numeric_text(yes)) << u8(yes);
  for (const char16_t* no :
       {u"0A", u"", u" ", u".", u"1e", u"- 5", u"1 2", u"&H", u"+-1", u"1,5", u"&H1G"})
    EXPECT_FALSE(is_numeric_text(no)) << u8(no);
  double v = 99;
  EXPECT_FALSE(is_numeric_text(u"0A", &v));
  EXPECT_TRUE(v == 99 && is_numeric_text(u" -1.5E-3 ", &v) && v == -0.0015);
}

// The zero test of zero suppression decides plain decimals from their digits; it must
// answer as converting them would, also for fractions too small for a double.
TEST(ValuesNumbers, ZeroNumberTextAgreesWithTheConvertedValue) {
  const Text deep = u"0." + Text(299, u'0') + u"1";    // 1E-300: a double
  const Text deeper = u"0." + Text(330, u'0') + u"1";  // below the smallest double: 0
  for (const Text& t : {Text(u"0"), Text(u"\t-.0\t"), Text(u"0."), Text(u"+0"), Text(u"0A"),
                        Text(u""), Text(u"0.001"), Text(u"&H0"), Text(u"&O0"), Text(u"0E5"),
                        Text(u"1E-400"), Text(u"-1D-999"), Text(u"- 0"), Text(u"00.000100"),
                        Text(u"1e400"), Text(u"5 each"), Text(u"x0"), deep, deeper,
                        u"-" + deeper, Text(400, u'0') + u".0"}) {
    double v = 1;
    EXPECT_EQ(is_zero_number_text(t), is_numeric_text(t, &v) && v == 0) << u8(t);
  }
  EXPECT_FALSE(is_zero_number_text(deep));
  EXPECT_TRUE(is_zero_number_text(deeper));
}

// Quantities and amounts are numbers "through their text": whole numbers and four-decimal
// amounts skip the text, and must give the same result bit for bit.
TEST(ValuesNumbers, NumberViaTextEqualsReadingTheWrittenText) {
  std::vector<Variant> values = {Variant(),
                                 Variant(u" 1 2,5"), Variant(u"&H1F"), Variant(int16_t{-32768}),
                                 Variant(int32_t{2147483647}), Variant(true), Variant(0.1 + 0.2),
                                 Variant(1e300), Variant(-0.0), Variant(999999999999999.0),
                                 Variant(1e15), Variant(-123456789012345.0), Variant(2.5),
                                 Variant(1e16 + 2)};
  const int64_t exact = int64_t{1} << 53;
  for (int64_t raw : {int64_t{0}, int64_t{-1}, int64_t{32700}, int64_t{-5000}, exact, -exact,
                      exact + 1, -exact - 1, kMaxRaw, kMinRaw}) {
    values.emplace_back(Currency::from_raw(raw));
  }
  for (const Variant& v : values) {
    const double fast = number_via_text(v);
    const double slow = v.is_empty() ? 0.0 : leading_number(to_text(v));
    ASSERT_EQ(std::signbit(fast), std::signbit(slow)) << u8(to_text(v));
    ASSERT_EQ(fast, slow) << u8(to_text(v));
  }
}

// One row per coercion: the value, the target kind, the result, or the error it raises.
TEST(ValuesVariant, CoercionsGiveTheValueOrTheError) {
  using To = double (*)(const Variant&);
  const To dbl = [](const Variant& v) { return coerce_to_double(v); };
  const To integer = [](const Variant& v) { return double(coerce_to_integer(v)); };
  const To lng = [](const Variant& v) { return double(coerce_to_long(v)); };
  const To boolean = [](const Variant& v) { return double(coerce_to_boolean(v)); };
  const To currency = [](const Variant& v) { return double(coerce_to_currency(v).raw()); };
  const To via_text = [](const Variant& v) { return number_via_text(v); };
  const To text = [](const Variant& v) { return double(coerce_to_text(v).size()); };
  const Variant obj(create<Plain>()), null = Variant::null();
  struct Row {
    Variant in;
    To to;
    double out;
    int32_t error;
  };
  const Row rows[] = {
      {Variant(), dbl, 0, 0}, {Variant(true), dbl, -1, 0}, {Variant(u" 2.5 "), dbl, 2.5, 0},
      {Variant(Currency::from_raw(15)), dbl, 0.0015, 0},
      {Variant(u"abc"), dbl, 0, kMismatch}, {Variant(u"1e400"), dbl, 0, kOverflow},
      {null, dbl, 0, kNull}, {obj, dbl, 0, kMismatch}, {Variant(u"2.5"), integer, 2, 0},
      {Variant(Currency::from_raw(25000)), integer, 2, 0},
      {Variant(Currency::from_raw(-35000)), integer, -4, 0},
      {Variant(int32_t{40000}), integer, 0, kOverflow},
      {Variant(Currency::from_raw(327675000)), integer, 0, kOverflow}, {obj, integer, 0, kMismatch},
      {Variant(u"&HFFFFFFFF"), lng, -1, 0}, {Variant(Currency::from_raw(-5000)), lng, 0, 0},
      {Variant(3e9), lng, 0, kOverflow}, {null, lng, 0, kNull},
      {Variant(u"2147483647"), lng, 2147483647, 0}, {Variant(-2147483648.5), lng, -2147483648, 0},
      {Variant(u" true "), boolean, 1, 0}, {Variant(u"0.0"), boolean, 0, 0},
      {Variant(u"0.0001"), boolean, 1, 0},
      {Variant(u"yes"), boolean, 0, kMismatch},
      {null, boolean, 0, kNull}, {Variant(), via_text, 0, 0},
      {Variant(u"4 apples"), via_text, 4, 0},
      {Variant(Currency::from_raw(-5000)), via_text, -0.5, 0},
      {Variant(true), via_text, 0, 0},  // "True" is not a number
      {null, text, 0, kNull}, {obj, text, 0, kMismatch},
      // Currency from text is exact, halves to even.
      {Variant(u"0.1"), currency, 1000, 0}, {Variant(u"12.34565"), currency, 123456, 0},
      {Variant(u"12.34575"), currency, 123458, 0}, {Variant(u"12.345650001"), currency, 123457, 0},
      {Variant(u"0.00015"), currency, 2, 0}, {Variant(u"-0.00005"), currency, 0, 0},
      {Variant(u"1.5E2"), currency, 1500000, 0},
      {Variant(u"000000000000000000000001"), currency, 10000, 0},
      {Variant(u"&H10"), currency, 160000, 0}, {Variant(u"True"), currency, -10000, 0},
      {Variant(u"922337203685477.5807"), currency, double(kMaxRaw), 0},
      {Variant(u"-922337203685477.5808"), currency, double(kMinRaw), 0},
      {Variant(u"922337203685477.5808"), currency, 0, kOverflow},
      {Variant(u"1e30"), currency, 0, kOverflow}, {Variant(u"abc"), currency, 0, kMismatch},
      {Variant(0.03125), currency, 312, 0}, {Variant(1e300), currency, 0, kOverflow},
      {null, currency, 0, kNull}, {obj, currency, 0, kMismatch}};
  for (size_t i = 0; i < std::size(rows); ++i) {
    const Row& r = rows[i];
    double out = 0;
    EXPECT_EQ(error_number_of([&] { out = r.to(r.in); }), r.error) << "row " << i;
    if (r.error == 0) {
      EXPECT_EQ(out, r.out) << "row " << i;
    }
  }
  EXPECT_EQ(to_text(Variant(Currency::from_raw(123457))) + to_text(Variant()) +
                to_text(Variant(int16_t{-7})) + to_text(Variant(false)),
            u"12.3457-7False");
  // Fifteen significant digits, an upper-case exponent of at least two digits, no "-0".
  EXPECT_EQ(to_text(Variant(1.0 / 3)) + u"|" + to_text(Variant(-0.0)) + u"|" +
                to_text(Variant(1.5e-7)) + u"|" + to_text(Variant(123456789012345678.0)),
            u"0.333333333333333|0|1.5E-07|1.23456789012346E+17");
  const auto raw = [](const char16_t* t) { return coerce_to_currency(Variant(t)).raw(); };
  EXPECT_EQ(raw(u"0.1") + raw(u"0.2"), raw(u"0.3"));
}

TEST(ValuesError, DescriptionsSourcesAndMapping) {
  const Error overflow(kOverflow);
  EXPECT_EQ(overflow.source(), u"vexqom_PLUMEK2");
  EXPECT_STREQ(overflow.what(), "Overflow");
  EXPECT_EQ(standard_description(errc::kDuplicateKey),
            u"This key is already associated with an element of this collection");
  EXPECT_EQ(standard_description(12345), u"");
  EXPECT_STREQ(Error(errc::kInvalidProcedureCall, u"caf\u00E9").what(), "caf\xC3\xA9");

  const auto mapped = [](auto thrower) {
    try {
      thrower();
    } catch (...) {
      return current_error();
    }
    return Error(0);
  };
  const Error own = mapped([] { throw Error(9, u"src", u"gone"); });
  EXPECT_EQ(integer_text(own.number()) + own.source() + own.description(), u"9srcgone");
  EXPECT_EQ(mapped([] { throw std::bad_alloc(); }).number(), errc::kOutOfMemory);
  const Error std_error = mapped([] { throw std::runtime_error("disk \xC3\xA9"); });
  EXPECT_EQ(std_error.number(), errc::kInvalidProcedureCall);
  EXPECT_EQ(std_error.description(), u"disk \u00E9");
  EXPECT_EQ(mapped([] { throw 42; }).description(), u"Invalid procedure call or argument");
}

}  // namespace
}  // namespace vexqom
