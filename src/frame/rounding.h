// Rounding halves to the even neighbour, the one rule every number conversion follows,
// independent of the thread's floating-point rounding mode; and narrowing, which refuses
// what does not fit.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "vexqom/error.h"

namespace vexqom {

inline double round_half_even(double x) {
  const double fl = std::floor(x);
  const double frac = x - fl;  // exact for every finite double
  if (frac > 0.5) return fl + 1;
  if (frac < 0.5) return fl;
  return std::fmod(fl, 2.0) == 0 ? fl : fl + 1;
}

// The quotient n / d rounded halves to even (d > 0).
template <class Int>
Int divide_half_even(Int n, Int d) {
  Int q = n / d;
  const Int r = n % d;  // same sign as n
  const Int twice = (r < 0 ? -r : r) * 2;
  if (twice > d || (twice == d && (q % 2) != 0)) q += n < 0 ? -1 : 1;
  return q;
}

// v as the narrower integer Int; error 6 when it does not fit.
template <class Int>
Int narrowed(int64_t v) {
  if (v < std::numeric_limits<Int>::min() || v > std::numeric_limits<Int>::max())
    throw Error(errc::kOverflow);
  return static_cast<Int>(v);
}

}  // namespace vexqom
