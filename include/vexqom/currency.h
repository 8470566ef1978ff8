// Currency: signed 64-bit fixed point with four decimals, checked arithmetic.
#pragma once

#include "vexqom/api.h"

#include <compare>
#include <cstdint>

#include "vexqom/text.h"

namespace vexqom {

class VEXQOM_API Currency {
 public:
  static constexpr int64_t kScale = 10000;

  constexpr Currency() = default;
  static constexpr Currency from_raw(int64_t raw) { return Currency(raw); }
  // Rounds to four decimals, halves to the even neighbour; error 6 when out of range
  // (NaN included).
  static Currency from_double(double value);
  // Error 6 when whole * 10000 does not fit.
  static Currency from_whole(int64_t whole);

  constexpr int64_t raw() const { return raw_; }
  double to_double() const { return static_cast<double>(raw_) / kScale; }

  // Checked: error 6 on overflow. Multiplication rounds halves to even.
  Currency operator+(Currency other) const;
  Currency operator-(Currency other) const;
  Currency operator*(Currency other) const;
  Currency operator-() const;
  Currency& operator+=(Currency other) { return *this = *this + other; }
  Currency& operator-=(Currency other) { return *this = *this - other; }

  friend constexpr bool operator==(Currency, Currency) = default;
  friend constexpr auto operator<=>(Currency, Currency) = default;

  // Shortest form, up to four decimals, always "." (7, 0.8, -0.5, 12.3457).
  Text to_text() const;

 private:
  constexpr explicit Currency(int64_t raw) : raw_(raw) {}
  int64_t raw_ = 0;
};

}  // namespace vexqom
