// Numbers in transit between VARIANT types: read from any numeric source,
// then written to the target type with its range and rounding rules.
#pragma once

#include <cstdint>

#include "automation_runtime.h"

namespace vantrel::runtime {

// Integers are kept exact; only floating sources and texts with a fraction or
// an exponent travel as doubles.
struct Number {
  enum class Kind { kSigned, kUnsigned, kReal };
  Kind kind = Kind::kSigned;
  int64_t whole = 0;     // kSigned
  uint64_t natural = 0;  // kUnsigned
  double real = 0.0;     // kReal

  static Number Signed(int64_t v) { return {Kind::kSigned, v, 0, 0.0}; }
  static Number Unsigned(uint64_t v) { return {Kind::kUnsigned, 0, v, 0.0}; }
  static Number Real(double v) { return {Kind::kReal, 0, 0, v}; }

  bool IsZero() const;
  double AsDouble() const;
};

// Rounds to the nearest integer, halves to the even neighbour (2.5 -> 2,
// 3.5 -> 4, -2.5 -> -2), whatever the floating-point environment says.
double RoundHalfEven(double value);

// The number a non-reference variant of a numeric type, VT_BOOL or VT_EMPTY
// holds. DISP_E_TYPEMISMATCH for any other type (text is read elsewhere).
HRESULT ReadNumber(const VARIANT& value, Number* out);

// Stores `number` as `vt` (an integer type, VT_R4, VT_R8, VT_DATE or VT_BOOL)
// into `out`. DISP_E_OVERFLOW when it does not fit; DISP_E_TYPEMISMATCH for
// other target types. `out` is untouched on failure.
HRESULT WriteNumber(const Number& number, VARTYPE vt, VARIANT* out);

}  // namespace vantrel::runtime
