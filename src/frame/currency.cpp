// Currency: fixed point with four decimals; every operation is checked.
#include "vexqom/currency.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/rounding.h"
#include "vexqom/error.h"

namespace vexqom {

namespace {

__extension__ typedef __int128 Wide;

[[noreturn]] void overflow() { throw Error(errc::kOverflow); }

}  // namespace

Currency Currency::from_double(double value) {
  if (!std::isfinite(value)) overflow();
  // The product is rounded to a double first, so a decimal half such as 0.00005 lands on
  // exactly 0.5 units and goes to the even 0, although the double 0.00005 lies a hair above.
  const double r = round_half_even(value * static_cast<double>(kScale));
  // -2^63 is exactly representable; 2^63 is the first value out of range.
  constexpr double kLimit = 9223372036854775808.0;
  if (!(r >= -kLimit && r < kLimit)) overflow();
  return Currency(static_cast<int64_t>(r));
}

Currency Currency::from_whole(int64_t whole) {
  int64_t raw;
  if (__builtin_mul_overflow(whole, kScale, &raw)) overflow();
  return Currency(raw);
}

Currency Currency::operator+(Currency other) const {
  int64_t raw;
  if (__builtin_add_overflow(raw_, other.raw_, &raw)) overflow();
  return Currency(raw);
}

Currency Currency::operator-(Currency other) const {
  int64_t raw;
  if (__builtin_sub_overflow(raw_, other.raw_, &raw)) overflow();
  return Currency(raw);
}

Currency Currency::operator*(Currency other) const {
  const Wide q = divide_half_even<Wide>(static_cast<Wide>(raw_) * other.raw_, kScale);
  if (q < std::numeric_limits<int64_t>::min() || q > std::numeric_limits<int64_t>::max())
    overflow();
  return Currency(static_cast<int64_t>(q));
}

Currency Currency::operator-() const {
  if (raw_ == std::numeric_limits<int64_t>::min()) overflow();
  return Currency(-raw_);
}

Text Currency::to_text() const {
  // Unsigned magnitude: the most negative value has no positive counterpart.
  const uint64_t mag = raw_ < 0 ? 0 - static_cast<uint64_t>(raw_) : static_cast<uint64_t>(raw_);
  uint64_t whole = mag / kScale;
  uint64_t frac = mag % kScale;

  char16_t buf[32];
  char16_t* end = buf + 32;
  char16_t* p = end;
  if (frac != 0) {
    int digits = 4;
    while (frac % 10 == 0) {
      frac /= 10;
      --digits;
    }
    for (int i = 0; i < digits; ++i) {
      *--p = static_cast<char16_t>(u'0' + frac % 10);
      frac /= 10;
    }
    *--p = u'.';
  }
  do {
    *--p = static_cast<char16_t>(u'0' + whole % 10);
    whole /= 10;
  } while (whole != 0);
  if (raw_ < 0) *--p = u'-';
  return Text(p, end);
}

}  // namespace vexqom
