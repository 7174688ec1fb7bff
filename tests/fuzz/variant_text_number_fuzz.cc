// Converts arbitrary text (a BSTR, embedded NULs and non-ASCII included) to
// every numeric VARIANT type and to VT_DATE, and checks what the conversions
// promise together:
//   - only S_OK, DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW come back; a failed
//     conversion leaves the destination as it was, a good one has the type
//     asked for;
//   - whether text is a number does not depend on the target: a type mismatch
//     for one numeric target is a type mismatch for all;
//   - every integer target holds the value VT_I8/VT_UI8 read, or overflows
//     exactly when that value is outside its range;
//   - the VT_I8 value is the VT_R8 value rounded (within half a unit);
//   - a VT_R8 or VT_R4 value written back as text reads back to itself;
//   - converting a variant in place gives what converting a copy gives.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include "automation_runtime.h"

namespace {

[[noreturn]] void Fail(const char* what, HRESULT hr = S_OK) {
  std::fprintf(stderr, "%s (hr 0x%08x)\n", what, static_cast<unsigned>(hr));
  std::abort();
}

// The input as text: the first byte picks one byte per character (easy for
// the fuzzer to shape into numbers) or little-endian UTF-16 code units.
std::u16string TextOf(const uint8_t* data, size_t size) {
  std::u16string text;
  if (size == 0) return text;
  const bool wide = data[0] & 1;
  ++data, --size;
  if (!wide) {
    for (size_t i = 0; i < size; ++i) text.push_back(static_cast<char16_t>(data[i]));
  } else {
    for (size_t i = 0; i + 1 < size; i += 2)
      text.push_back(static_cast<char16_t>(data[i] | (data[i + 1] << 8)));
  }
  return text;
}

struct Conversion {
  HRESULT hr;
  VARIANT value;
};

// Converts a fresh BSTR variant holding `text` to `vt`, into a destination
// preset to a sentinel that a failure must leave alone.
Conversion Convert(const std::u16string& text, VARTYPE vt) {
  VARIANT source;
  VariantInit(&source);
  source.vt = VT_BSTR;
  source.bstrVal = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()),
                                     static_cast<UINT>(text.size()));
  if (source.bstrVal == nullptr) Fail("out of memory");
  VARIANT destination;
  VariantInit(&destination);
  destination.vt = VT_I4;
  destination.lVal = 0x5EB71E;
  const HRESULT hr = VariantChangeType(&destination, &source, 0, vt);
  VariantClear(&source);
  if (hr != S_OK && hr != DISP_E_TYPEMISMATCH && hr != DISP_E_OVERFLOW) Fail("unexpected", hr);
  if (FAILED(hr) && (destination.vt != VT_I4 || destination.lVal != 0x5EB71E))
    Fail("a failed conversion changed its destination", hr);
  if (SUCCEEDED(hr) && destination.vt != vt) Fail("converted to another type");
  return {hr, destination};
}

// Same type and same bits (so NaN equals NaN).
bool SameNumber(const VARIANT& a, const VARIANT& b) { return a.vt == b.vt && a.llVal == b.llVal; }

// The conversion made in place, on the source variant itself, must agree.
void CheckInPlace(const std::u16string& text, VARTYPE vt, const Conversion& apart) {
  VARIANT value;
  VariantInit(&value);
  value.vt = VT_BSTR;
  value.bstrVal = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()),
                                    static_cast<UINT>(text.size()));
  if (value.bstrVal == nullptr) Fail("out of memory");
  const HRESULT hr = VariantChangeType(&value, &value, 0, vt);
  if (hr != apart.hr) Fail("in place and apart disagree", hr);
  if (SUCCEEDED(hr) && !SameNumber(value, apart.value)) Fail("in place gives another value");
  VariantClear(&value);
}

// The text FormatNumber writes for a double or float, read back the same way.
void CheckTextRoundTrip(const VARIANT& number) {
  VARIANT text;
  VariantInit(&text);
  if (FAILED(VariantChangeType(&text, &number, 0, VT_BSTR))) {
    const double value = number.vt == VT_R4 ? number.fltVal : number.dblVal;
    if (std::isfinite(value)) Fail("a finite number has no text");
    return;
  }
  VARIANT back;
  VariantInit(&back);
  const HRESULT hr = VariantChangeType(&back, &text, 0, number.vt);
  if (FAILED(hr)) Fail("a number's own text does not read back", hr);
  const bool same =
      number.vt == VT_R4 ? back.fltVal == number.fltVal : back.dblVal == number.dblVal;
  if (!same) Fail("a number's own text reads back to another value");
  VariantClear(&text);
}

struct IntegerTarget {
  VARTYPE vt;
  long double low, high;
};

long double IntegerValue(const VARIANT& v) {
  switch (v.vt) {
    case VT_I1:
      return v.cVal;
    case VT_I2:
      return v.iVal;
    case VT_I4:
      return v.lVal;
    case VT_INT:
      return v.intVal;
    case VT_I8:
      return static_cast<long double>(v.llVal);
    case VT_UI1:
      return v.bVal;
    case VT_UI2:
      return v.uiVal;
    case VT_UI4:
      return v.ulVal;
    case VT_UINT:
      return v.uintVal;
    case VT_UI8:
      return static_cast<long double>(v.ullVal);
    default:
      Fail("not an integer type");
  }
}

// The exact integer the text holds, from VT_I8 or (above its range) VT_UI8;
// false when the text is out of every 64-bit range.
bool WideInteger(const Conversion& i8, const Conversion& ui8, long double* out) {
  if (SUCCEEDED(i8.hr)) {
    *out = IntegerValue(i8.value);
    return true;
  }
  if (SUCCEEDED(ui8.hr)) {
    *out = IntegerValue(ui8.value);
    return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 1024) return 0;
  const std::u16string text = TextOf(data, size);

  const Conversion r8 = Convert(text, VT_R8);
  const Conversion r4 = Convert(text, VT_R4);
  const Conversion i8 = Convert(text, VT_I8);
  const Conversion ui8 = Convert(text, VT_UI8);
  const Conversion date = Convert(text, VT_DATE);
  CheckInPlace(text, VT_R8, r8);
  CheckInPlace(text, VT_I8, i8);
  VariantClear(const_cast<VARIANT*>(&date.value));

  const bool is_number = r8.hr != DISP_E_TYPEMISMATCH;
  const IntegerTarget targets[] = {
      {VT_I1, -128.0L, 127.0L},
      {VT_I2, -32768.0L, 32767.0L},
      {VT_I4, -2147483648.0L, 2147483647.0L},
      {VT_INT, -2147483648.0L, 2147483647.0L},
      {VT_UI1, 0.0L, 255.0L},
      {VT_UI2, 0.0L, 65535.0L},
      {VT_UI4, 0.0L, 4294967295.0L},
      {VT_UINT, 0.0L, 4294967295.0L},
  };
  if ((r4.hr == DISP_E_TYPEMISMATCH) == is_number) Fail("VT_R4 and VT_R8 disagree on the text");
  if ((i8.hr == DISP_E_TYPEMISMATCH) == is_number) Fail("VT_I8 and VT_R8 disagree on the text");
  if ((ui8.hr == DISP_E_TYPEMISMATCH) == is_number) Fail("VT_UI8 and VT_R8 disagree on the text");

  long double wide = 0;
  const bool has_wide = WideInteger(i8, ui8, &wide);
  for (const IntegerTarget& target : targets) {
    const Conversion narrow = Convert(text, target.vt);
    if ((narrow.hr == DISP_E_TYPEMISMATCH) == is_number) Fail("integer targets disagree");
    if (!is_number) continue;
    const bool fits = has_wide && wide >= target.low && wide <= target.high;
    if (SUCCEEDED(narrow.hr) != fits) Fail("an integer target overflows out of step", narrow.hr);
    if (fits && IntegerValue(narrow.value) != wide) Fail("an integer target holds another value");
  }

  if (SUCCEEDED(r8.hr) && SUCCEEDED(i8.hr)) {
    const long double real = r8.value.dblVal;
    const long double slack = 0.5L + std::fabs(real) * std::numeric_limits<double>::epsilon();
    if (std::fabs(IntegerValue(i8.value) - real) > slack) Fail("VT_I8 is not VT_R8 rounded");
  }
  if (SUCCEEDED(r8.hr)) CheckTextRoundTrip(r8.value);
  if (SUCCEEDED(r4.hr)) CheckTextRoundTrip(r4.value);
  return 0;
}
