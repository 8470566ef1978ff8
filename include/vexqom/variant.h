// Variant: a tagged value (empty, null, numbers, Currency, Boolean, Text, object).
#pragma once

#include "vexqom/api.h"

#include <cstdint>
#include <variant>

#include "vexqom/currency.h"
#include "vexqom/object.h"
#include "vexqom/text.h"

namespace vexqom {

// Kinds numbered as the C interface numbers them.
enum class VarType : int32_t {
  kEmpty = 0,
  kNull = 1,
  kInteger = 2,
  kLong = 3,
  kDouble = 5,
  kCurrency = 6,
  kText = 8,
  kObject = 9,
  kBoolean = 11,
  kVariant = 12,  // a parameter or result that takes any kind (never a value's kind)
};

struct NullValue {
  friend constexpr bool operator==(NullValue, NullValue) { return true; }
};

class VEXQOM_API Variant {
 public:
  Variant() = default;  // empty
  Variant(NullValue) : v_(NullValue{}) {}
  Variant(int16_t v) : v_(v) {}
  Variant(int32_t v) : v_(v) {}
  Variant(double v) : v_(v) {}
  Variant(Currency v) : v_(v) {}
  Variant(bool v) : v_(v) {}
  Variant(Text v) : v_(std::move(v)) {}
  Variant(const char16_t* v) : v_(Text(v)) {}
  Variant(Ref<Object> v) : v_(std::move(v)) {}
  template <class T, class = std::enable_if_t<std::is_base_of_v<Object, T> &&
                                              !std::is_same_v<T, Object>>>
  Variant(Ref<T> v) : v_(Ref<Object>(std::move(v))) {}

  static Variant null() { return Variant(NullValue{}); }

  VarType type() const;
  bool is_empty() const { return std::holds_alternative<std::monostate>(v_); }
  bool is_null() const { return std::holds_alternative<NullValue>(v_); }
  bool is_text() const { return std::holds_alternative<Text>(v_); }
  bool is_object() const { return std::holds_alternative<Ref<Object>>(v_); }
  bool is_numeric() const;  // Integer, Long, Double, Currency or Boolean

  // Direct access; the caller has checked the kind.
  int16_t integer() const { return std::get<int16_t>(v_); }
  int32_t long_value() const { return std::get<int32_t>(v_); }
  double dbl() const { return std::get<double>(v_); }
  Currency currency() const { return std::get<Currency>(v_); }
  bool boolean() const { return std::get<bool>(v_); }
  const Text& text() const { return std::get<Text>(v_); }
  Text& text() { return std::get<Text>(v_); }
  const Ref<Object>& object() const { return std::get<Ref<Object>>(v_); }

  // Same kind and same value (objects: same identity).
  friend bool operator==(const Variant& a, const Variant& b) { return a.v_ == b.v_; }

 private:
  std::variant<std::monostate, NullValue, int16_t, int32_t, double, Currency, bool, Text,
               Ref<Object>>
      v_;
};

// ---- Standard conversions (one place, used by everyone) ----

// Text form: empty -> "", numbers in their standard text forms, Booleans True/False.
// Null raises 94; an object raises 13.
VEXQOM_API Text to_text(const Variant& v);

// Standard text forms of the scalar kinds.
VEXQOM_API Text integer_text(int64_t v);   // decimal digits, leading "-" for negatives
VEXQOM_API Text double_text(double v);     // at most 15 significant digits: 0.1, 2.5, 1E+20
VEXQOM_API Text boolean_text(bool v);      // True / False

// Leading-number parse: blanks, tabs and line feeds anywhere are ignored; the longest
// leading decimal number ("." only, optional exponent) or an &H / &O integer; 0 when
// the text does not begin with a number.
VEXQOM_API double leading_number(TextView text);

// Halves-to-even rounding to the integer kinds; error 6 outside the range (NaN too).
VEXQOM_API int16_t round_to_integer(double v);
VEXQOM_API int32_t round_to_long(double v);

// The whole text is a number in the standard sense (optional blanks and sign, digits
// with an optional "." and exponent, or &H/&O). Sets *value when given.
VEXQOM_API bool is_numeric_text(TextView text, double* value = nullptr);
// is_numeric_text with the value 0 ("0", " -0.00 ", "&H0", "1E-400"). Plain decimals are
// told from their digits, without converting them.
VEXQOM_API bool is_zero_number_text(TextView text);

// Coercions the way a dispatch client expects them (errors 13, 6, 94).
VEXQOM_API double coerce_to_double(const Variant& v);
VEXQOM_API int16_t coerce_to_integer(const Variant& v);
VEXQOM_API int32_t coerce_to_long(const Variant& v);
VEXQOM_API Currency coerce_to_currency(const Variant& v);
VEXQOM_API bool coerce_to_boolean(const Variant& v);
VEXQOM_API Text coerce_to_text(const Variant& v);

// Numeric value of a Variant through its text form and the leading-number parse
// (the readers' rule for quantities held as text); empty gives 0.
VEXQOM_API double number_via_text(const Variant& v);

}  // namespace vexqom
