// Text in VARIANT conversions: numbers and booleans read from and written to
// BSTRs, always in the C locale.
#pragma once

#include "variant_number.h"

namespace vantrel::runtime {

// Reads a decimal number: blanks around it, an optional sign, digits with an
// optional point and exponent ("  -12", "2.5", ".5e3"). Integers keep their
// exact value. DISP_E_TYPEMISMATCH for anything else (also empty or null
// text), DISP_E_OVERFLOW for a value beyond a double.
HRESULT ParseNumber(BSTR text, Number* out);

// "True" or "False" in any case, or a number (nonzero is true).
// DISP_E_TYPEMISMATCH otherwise.
HRESULT ParseBoolean(BSTR text, VARIANT_BOOL* out);

// A new BSTR with the decimal text of `number`; doubles (and floats when
// `single`) in their shortest form that reads back to the same value, in
// plain notation for exponents from -5 to 14 and as "1.5E+20" beyond.
// DISP_E_TYPEMISMATCH for infinities and NaN, E_OUTOFMEMORY.
HRESULT FormatNumber(const Number& number, bool single, BSTR* out);

// A new BSTR holding ASCII `text`; E_OUTOFMEMORY.
HRESULT AsciiToBstr(const char* text, size_t length, BSTR* out);

}  // namespace vantrel::runtime
