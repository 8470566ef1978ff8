// Variant kinds and the standard conversions between them.
#include "vexqom/variant.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>

#include "frame/rounding.h"
#include "vexqom/error.h"

namespace vexqom {

namespace {

// The powers of ten a double holds exactly, as far as 15-digit numbers need them.
constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

[[noreturn]] void raise(int32_t number) { throw Error(number); }

bool is_digit(char16_t c) { return c >= u'0' && c <= u'9'; }

int digit_value(char16_t c, int base) {
  int d;
  if (c >= u'0' && c <= u'9') d = c - u'0';
  else if (c >= u'a' && c <= u'f') d = c - u'a' + 10;
  else if (c >= u'A' && c <= u'F') d = c - u'A' + 10;
  else return -1;
  return d < base ? d : -1;
}

// The shape of a number found at the start of a text.
struct NumberScan {
  std::size_t length = 0;  // code units taken; 0 when the text does not begin with one
  bool radix = false;      // &H / &O form
  std::size_t sign_end = 0, int_begin = 0, int_end = 0, frac_begin = 0, frac_end = 0;
  std::size_t exp_begin = 0, exp_end = 0;  // exponent sign and digits, after the letter
};

NumberScan scan_number(TextView s) {
  NumberScan n;
  const std::size_t size = s.size();
  if (size >= 2 && s[0] == u'&') {
    const char16_t k = s[1];
    const int base = (k == u'H' || k == u'h') ? 16 : (k == u'O' || k == u'o') ? 8 : 0;
    if (base == 0) return n;
    std::size_t i = 2;
    while (i < size && digit_value(s[i], base) >= 0) ++i;
    if (i == 2) return n;
    n.radix = true;
    n.int_begin = 2;
    n.int_end = i;
    n.length = i;
    return n;
  }
  std::size_t i = 0;
  if (i < size && (s[i] == u'+' || s[i] == u'-')) ++i;
  n.sign_end = i;
  n.int_begin = i;
  while (i < size && is_digit(s[i])) ++i;
  n.int_end = i;
  n.frac_begin = n.frac_end = i;
  if (i < size && s[i] == u'.') {
    std::size_t j = i + 1;
    while (j < size && is_digit(s[j])) ++j;
    n.frac_begin = i + 1;
    n.frac_end = j;
    i = j;
  }
  if (n.int_end == n.int_begin && n.frac_end == n.frac_begin) return NumberScan{};
  n.exp_begin = n.exp_end = i;
  if (i < size && (s[i] == u'E' || s[i] == u'e' || s[i] == u'D' || s[i] == u'd')) {
    std::size_t j = i + 1;
    if (j < size && (s[j] == u'+' || s[j] == u'-')) ++j;
    const std::size_t digits = j;
    while (j < size && is_digit(s[j])) ++j;
    if (j > digits) {  // an exponent letter without digits is not part of the number
      n.exp_begin = i + 1;
      n.exp_end = j;
      i = j;
    }
  }
  n.length = i;
  return n;
}

// Exponent digits as a number, held to a bound far outside any double's range.
long exponent_value(TextView s, const NumberScan& n) {
  long e = 0;
  bool negative = false;
  for (std::size_t i = n.exp_begin; i < n.exp_end; ++i) {
    if (s[i] == u'-') negative = true;
    else if (is_digit(s[i]) && e < 100000000) e = e * 10 + (s[i] - u'0');
  }
  return negative ? -e : e;
}

double radix_value(TextView s, const NumberScan& n) {
  const int base = (s[1] == u'H' || s[1] == u'h') ? 16 : 8;
  const std::size_t digits = n.int_end - n.int_begin;
  double value = 0;  // exact while below 2^53, which covers the 16- and 32-bit forms
  for (std::size_t i = n.int_begin; i < n.int_end; ++i) value = value * base + digit_value(s[i], base);
  // Short forms are Integer / Long bit patterns: &HFFFF is -1, &HFFFFFFFF is -1.
  const std::size_t short_digits = base == 16 ? 4 : 6;
  const std::size_t long_digits = base == 16 ? 8 : 11;
  if (digits <= short_digits && value <= 0xFFFF) {
    if (value >= 0x8000) value -= 0x10000;
  } else if (digits <= long_digits && value <= 4294967295.0) {
    if (value >= 2147483648.0) value -= 4294967296.0;
  }
  return value;
}

// Up to 15 digits without an exponent: the digits as a whole number, exact in a double,
// divided by an exact power of ten. One rounding, the same as the parse's.
bool short_decimal_value(TextView s, const NumberScan& n, double& value) {
  const std::size_t fraction = n.frac_end - n.frac_begin;
  if (n.exp_end != n.exp_begin || (n.int_end - n.int_begin) + fraction > 15) return false;
  std::uint64_t digits = 0;
  for (std::size_t i = n.int_begin; i < n.int_end; ++i) digits = digits * 10 + (s[i] - u'0');
  for (std::size_t i = n.frac_begin; i < n.frac_end; ++i) digits = digits * 10 + (s[i] - u'0');
  value = static_cast<double>(digits) / kPowersOfTen[fraction];
  if (n.sign_end > 0 && s[0] == u'-') value = -value;
  return true;
}

double decimal_value(TextView s, const NumberScan& n) {
  if (double value; short_decimal_value(s, n, value)) return value;
  std::string ascii;
  ascii.reserve(n.length + 1);
  if (n.sign_end > 0 && s[0] == u'-') ascii += '-';
  for (std::size_t i = n.int_begin; i < n.int_end; ++i) ascii += static_cast<char>(s[i]);
  if (n.frac_end > n.frac_begin) {
    ascii += '.';
    for (std::size_t i = n.frac_begin; i < n.frac_end; ++i) ascii += static_cast<char>(s[i]);
  }
  if (ascii.empty() || ascii == "-") ascii += '0';  // "5." or "-.": digits only on one side
  if (n.exp_end > n.exp_begin) {
    ascii += 'e';
    for (std::size_t i = n.exp_begin; i < n.exp_end; ++i) ascii += static_cast<char>(s[i]);
  }
  double value = 0;
  const auto [ptr, ec] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), value,
                                         std::chars_format::general);
  (void)ptr;
  if (ec == std::errc::result_out_of_range) {
    // Too large or too small for a double: find which from the decimal magnitude.
    long magnitude = exponent_value(s, n);
    std::size_t i = n.int_begin;
    while (i < n.int_end && s[i] == u'0') ++i;
    if (i < n.int_end) {
      magnitude += static_cast<long>(n.int_end - i);
    } else {
      std::size_t j = n.frac_begin;
      while (j < n.frac_end && s[j] == u'0') ++j;
      magnitude -= static_cast<long>(j - n.frac_begin);
    }
    const bool negative = n.sign_end > 0 && s[0] == u'-';
    value = magnitude > 0 ? std::numeric_limits<double>::infinity() : 0.0;
    if (negative) value = -value;
  }
  return value;
}

double scanned_value(TextView s, const NumberScan& n) {
  return n.radix ? radix_value(s, n) : decimal_value(s, n);
}

TextView trim_blanks_and_tabs(TextView t) {
  std::size_t b = 0, e = t.size();
  while (b < e && (t[b] == u' ' || t[b] == u'\t')) ++b;
  while (e > b && (t[e - 1] == u' ' || t[e - 1] == u'\t')) --e;
  return t.substr(b, e - b);
}

// 1 for "True", 0 for "False" (any letter case, surrounding blanks allowed), else -1.
int boolean_word(TextView t) {
  const TextView w = trim_blanks_and_tabs(t);
  if (equals_caseless(w, u"True")) return 1;
  if (equals_caseless(w, u"False")) return 0;
  return -1;
}

double text_to_double(TextView t) {
  double d;
  if (is_numeric_text(t, &d)) {
    if (!std::isfinite(d)) raise(errc::kOverflow);
    return d;
  }
  const int b = boolean_word(t);
  if (b >= 0) return b ? -1.0 : 0.0;
  raise(errc::kTypeMismatch);
}

// Decimal text straight to the fixed-point raw value, so "0.1" is exactly 1000.
// False when the text is not a plain decimal number.
bool decimal_text_to_currency(TextView text, Currency* out) {
  const TextView s = trim_blanks_and_tabs(text);
  const NumberScan n = scan_number(s);
  if (n.length == 0 || n.length != s.size() || n.radix) return false;

  std::string digits;  // integer and fraction digits, leading zeros dropped
  for (std::size_t i = n.int_begin; i < n.int_end; ++i)
    if (!digits.empty() || s[i] != u'0') digits += static_cast<char>(s[i]);
  for (std::size_t i = n.frac_begin; i < n.frac_end; ++i)
    if (!digits.empty() || s[i] != u'0') digits += static_cast<char>(s[i]);
  const bool negative = n.sign_end > 0 && s[0] == u'-';
  if (digits.empty()) {
    *out = Currency();
    return true;
  }
  // Places between the last digit and the currency's smallest unit (negative: digits
  // below it, to be rounded away).
  const long fraction_digits = static_cast<long>(n.frac_end - n.frac_begin);
  const long shift = exponent_value(s, n) - fraction_digits + 4;
  std::string kept = digits;
  bool round_up = false;
  if (shift < 0) {
    const std::size_t drop = static_cast<std::size_t>(-shift);
    if (drop > digits.size()) {
      kept.clear();  // below half the smallest unit
    } else {
      kept = digits.substr(0, digits.size() - drop);
      const std::string dropped = digits.substr(digits.size() - drop);
      const bool over_half =
          dropped[0] > '5' ||
          (dropped[0] == '5' && dropped.find_first_not_of('0', 1) != std::string::npos);
      const bool half = dropped[0] == '5' && !over_half;
      const int last = kept.empty() ? 0 : kept.back() - '0';
      round_up = over_half || (half && last % 2 != 0);
    }
  } else {
    if (digits.size() + static_cast<std::size_t>(shift) > 19) raise(errc::kOverflow);
    kept.append(static_cast<std::size_t>(shift), '0');
  }
  if (kept.size() > 19) raise(errc::kOverflow);
  uint64_t mag = 0;
  for (char c : kept) mag = mag * 10 + static_cast<uint64_t>(c - '0');  // < 10^19 fits
  if (round_up) ++mag;
  const uint64_t limit = negative ? uint64_t{1} << 63 : (uint64_t{1} << 63) - 1;
  if (mag > limit) raise(errc::kOverflow);
  const int64_t raw = negative ? static_cast<int64_t>(0 - mag) : static_cast<int64_t>(mag);
  *out = Currency::from_raw(raw);
  return true;
}

}  // namespace

VarType Variant::type() const {
  switch (v_.index()) {
    case 0: return VarType::kEmpty;
    case 1: return VarType::kNull;
    case 2: return VarType::kInteger;
    case 3: return VarType::kLong;
    case 4: return VarType::kDouble;
    case 5: return VarType::kCurrency;
    case 6: return VarType::kBoolean;
    case 7: return VarType::kText;
    default: return VarType::kObject;
  }
}

bool Variant::is_numeric() const {
  switch (type()) {
    case VarType::kInteger:
    case VarType::kLong:
    case VarType::kDouble:
    case VarType::kCurrency:
    case VarType::kBoolean: return true;
    default: return false;
  }
}

Text integer_text(int64_t v) {
  char buf[24];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  return Text(buf, r.ptr);
}

Text double_text(double v) {
  if (v == 0) return u"0";  // negative zero included
  char buf[64];
  const auto r = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::general, 15);
  Text out;
  out.reserve(static_cast<std::size_t>(r.ptr - buf));
  for (const char* p = buf; p != r.ptr; ++p) {
    const char c = *p;
    out += static_cast<char16_t>(c >= 'a' && c <= 'z' ? c - 32 : c);  // 1E+20, INF, NAN
  }
  return out;
}

Text boolean_text(bool v) { return v ? u"True" : u"False"; }

Text to_text(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty: return Text();
    case VarType::kNull: raise(errc::kInvalidUseOfNull);
    case VarType::kInteger: return integer_text(v.integer());
    case VarType::kLong: return integer_text(v.long_value());
    case VarType::kDouble: return double_text(v.dbl());
    case VarType::kCurrency: return v.currency().to_text();
    case VarType::kBoolean: return boolean_text(v.boolean());
    case VarType::kText: return v.text();
    default: raise(errc::kTypeMismatch);
  }
}

double leading_number(TextView text) {
  auto is_skipped = [](char16_t c) { return c == u' ' || c == u'\t' || c == u'\n'; };
  Text packed;
  if (std::any_of(text.begin(), text.end(), is_skipped)) {
    packed.reserve(text.size());
    for (char16_t c : text)
      if (!is_skipped(c)) packed += c;
    text = packed;
  }
  const NumberScan n = scan_number(text);
  return n.length == 0 ? 0.0 : scanned_value(text, n);
}

int16_t round_to_integer(double v) {
  if (std::isnan(v)) raise(errc::kOverflow);
  const double r = round_half_even(v);
  if (r < -32768.0 || r > 32767.0) raise(errc::kOverflow);
  return static_cast<int16_t>(r);
}

int32_t round_to_long(double v) {
  if (std::isnan(v)) raise(errc::kOverflow);
  const double r = round_half_even(v);
  if (r < -2147483648.0 || r > 2147483647.0) raise(errc::kOverflow);
  return static_cast<int32_t>(r);
}

namespace {

// Whether the whole text, blanks and tabs around it aside, is a number: then s holds the
// trimmed text and n its shape.
bool scan_whole_number(TextView text, TextView& s, NumberScan& n) {
  s = trim_blanks_and_tabs(text);
  if (s.empty()) return false;
  // Every number starts with a digit, a sign, a point or "&": words are ruled out at once.
  const char16_t c = s.front();
  if (!(is_digit(c) || c == u'+' || c == u'-' || c == u'.' || c == u'&')) return false;
  n = scan_number(s);
  return n.length != 0 && n.length == s.size();
}

}  // namespace

bool is_numeric_text(TextView text, double* value) {
  TextView s;
  NumberScan n;
  if (!scan_whole_number(text, s, n)) return false;
  if (value) *value = scanned_value(s, n);
  return true;
}

// True when the text is certainly not a number equal to zero, judged by its first
// character: a word, or a number with a leading nonzero digit and no exponent that could
// bring it below the smallest double.
static bool plainly_not_zero(TextView text) {
  if (text.empty()) return true;
  const char16_t c = text.front();
  if (c >= u'1' && c <= u'9') {
    for (const char16_t u : text) {
      if (u == u'E' || u == u'e' || u == u'D' || u == u'd') return false;
    }
    return true;
  }
  return !(c == u'0' || c == u'+' || c == u'-' || c == u'.' || c == u'&' || c == u' ' ||
           c == u'\t');
}

bool is_zero_number_text(TextView text) {
  if (text.size() == 1) return text[0] == u'0';  // the writers' zero, and every other digit
  if (plainly_not_zero(text)) return false;
  TextView s;
  NumberScan n;
  if (!scan_whole_number(text, s, n)) return false;
  if (!n.radix && n.exp_end == n.exp_begin) {
    for (std::size_t i = n.int_begin; i < n.int_end; ++i) {
      if (s[i] != u'0') return false;  // at least 1
    }
    std::size_t i = n.frac_begin;
    while (i < n.frac_end && s[i] == u'0') ++i;
    if (i == n.frac_end) return true;  // every digit 0
    // At least 1E-300, far above the smallest double; more zeros need the conversion.
    if (i - n.frac_begin < 300) return false;
  }
  return scanned_value(s, n) == 0;
}

double coerce_to_double(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty: return 0.0;
    case VarType::kNull: raise(errc::kInvalidUseOfNull);
    case VarType::kInteger: return v.integer();
    case VarType::kLong: return v.long_value();
    case VarType::kDouble: return v.dbl();
    case VarType::kCurrency: return v.currency().to_double();
    case VarType::kBoolean: return v.boolean() ? -1.0 : 0.0;
    case VarType::kText: return text_to_double(v.text());
    default: raise(errc::kTypeMismatch);
  }
}

int16_t coerce_to_integer(const Variant& v) {
  switch (v.type()) {
    case VarType::kInteger: return v.integer();
    case VarType::kLong: return narrowed<int16_t>(v.long_value());
    case VarType::kCurrency:
      return narrowed<int16_t>(divide_half_even<int64_t>(v.currency().raw(), Currency::kScale));
    default: return round_to_integer(coerce_to_double(v));
  }
}

int32_t coerce_to_long(const Variant& v) {
  switch (v.type()) {
    case VarType::kInteger: return v.integer();
    case VarType::kLong: return v.long_value();
    case VarType::kCurrency:
      return narrowed<int32_t>(divide_half_even<int64_t>(v.currency().raw(), Currency::kScale));
    default: return round_to_long(coerce_to_double(v));
  }
}

Currency coerce_to_currency(const Variant& v) {
  switch (v.type()) {
    case VarType::kInteger: return Currency::from_whole(v.integer());
    case VarType::kLong: return Currency::from_whole(v.long_value());
    case VarType::kCurrency: return v.currency();
    case VarType::kText: {
      Currency c;
      if (decimal_text_to_currency(v.text(), &c)) return c;
      return Currency::from_double(text_to_double(v.text()));
    }
    default: return Currency::from_double(coerce_to_double(v));
  }
}

bool coerce_to_boolean(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty: return false;
    case VarType::kNull: raise(errc::kInvalidUseOfNull);
    case VarType::kInteger: return v.integer() != 0;
    case VarType::kLong: return v.long_value() != 0;
    case VarType::kDouble: return v.dbl() != 0;
    case VarType::kCurrency: return v.currency().raw() != 0;
    case VarType::kBoolean: return v.boolean();
    case VarType::kText: {
      const int b = boolean_word(v.text());
      if (b >= 0) return b == 1;
      double d;
      if (is_numeric_text(v.text(), &d)) return d != 0;
      raise(errc::kTypeMismatch);
    }
    default: raise(errc::kTypeMismatch);
  }
}

Text coerce_to_text(const Variant& v) { return to_text(v); }

namespace {

// Whether a decimal of at most 15 digits reads as d: some m / 10^k with m whole and below
// 1E+15 whose correctly rounded quotient is d (cheap, and enough for amounts and prices).
bool short_decimal(double d) {
  for (const double power : kPowersOfTen) {
    const double m = std::nearbyint(d * power);
    if (std::fabs(m) >= 1e15) return false;
    if (m / power == d) return true;
  }
  return false;
}

// The significant digits of a double's shortest form that reads back as itself.
int shortest_digits(double d) {
  char buf[32];
  const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, d, std::chars_format::scientific);
  if (ec != std::errc()) return 99;
  int digits = 0;
  for (const char* p = buf; p != end && *p != 'e'; ++p) digits += *p >= '0' && *p <= '9';
  return digits;
}

}  // namespace

double number_via_text(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty: return 0.0;
    case VarType::kText: return leading_number(v.text());
    // Whole numbers are written in full and read back as they were.
    case VarType::kInteger: return v.integer();
    case VarType::kLong: return v.long_value();
    case VarType::kCurrency: {
      // Four decimals written in full read back as the double nearest raw / 10000, which
      // the division gives while raw itself is exact as a double.
      const int64_t raw = v.currency().raw();
      constexpr int64_t kExact = int64_t{1} << 53;
      if (raw >= -kExact && raw <= kExact) return v.currency().to_double();
      break;
    }
    case VarType::kDouble: {
      // Whole numbers below 1E+15 are written digit for digit (zero as "0", so -0 reads 0);
      // other doubles are written with 15 digits, and the text decides. A double whose
      // shortest form has at most 15 digits is written as those digits (the 15-digit grid
      // is coarser than the double's own spacing) and reads back as itself.
      const double d = v.dbl();
      if (d == 0) return 0.0;
      if (std::fabs(d) < 1e15 && std::trunc(d) == d) return d;
      if (std::isfinite(d) && (short_decimal(d) || shortest_digits(d) <= 15)) return d;
      break;
    }
    default: break;
  }
  return leading_number(to_text(v));
}

}  // namespace vexqom
