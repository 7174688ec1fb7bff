// Numeric conversions between VARIANT types.
#include "variant_number.h"

#include <cfloat>
#include <cmath>
#include <limits>

namespace vantrel::runtime {
namespace {

// The range of DATE: 1 January 100 to 31 December 9999.
constexpr double kMinDate = -657434.0;
constexpr double kMaxDateExclusive = 2958466.0;

constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kTwoTo64 = 18446744073709551616.0;

struct IntegerRange {
  VARTYPE vt;
  int64_t min;
  uint64_t max;
};

constexpr IntegerRange kIntegerRanges[] = {
    {VT_I1, INT8_MIN, INT8_MAX}, {VT_UI1, 0, UINT8_MAX},        {VT_I2, INT16_MIN, INT16_MAX},
    {VT_UI2, 0, UINT16_MAX},     {VT_I4, INT32_MIN, INT32_MAX}, {VT_INT, INT32_MIN, INT32_MAX},
    {VT_UI4, 0, UINT32_MAX},     {VT_UINT, 0, UINT32_MAX},      {VT_I8, INT64_MIN, INT64_MAX},
    {VT_UI8, 0, UINT64_MAX},
};

// The range of an integer type; null for other types.
const IntegerRange* IntegerRangeOf(VARTYPE vt) {
  for (const IntegerRange& range : kIntegerRanges) {
    if (range.vt == vt) return &range;
  }
  return nullptr;
}

// An integer value as sign and magnitude, so that the whole unsigned 64-bit
// range and the whole signed range compare without overflow.
struct Magnitude {
  bool negative;
  uint64_t value;
};

bool ToMagnitude(const Number& n, Magnitude* out) {
  switch (n.kind) {
    case Number::Kind::kSigned:
      *out = {n.whole < 0,
              n.whole < 0 ? 0 - static_cast<uint64_t>(n.whole) : static_cast<uint64_t>(n.whole)};
      return true;
    case Number::Kind::kUnsigned:
      *out = {false, n.natural};
      return true;
    case Number::Kind::kReal: {
      // Beyond these bounds no target fits; inside them the casts are exact.
      const double r = RoundHalfEven(n.real);
      if (std::isnan(r) || r < -kTwoTo63 || r >= kTwoTo64) return false;
      *out = r < 0 ? Magnitude{true, static_cast<uint64_t>(-r)}
                   : Magnitude{false, static_cast<uint64_t>(r)};
      return true;
    }
  }
  return false;
}

bool Fits(const Magnitude& m, const IntegerRange& range) {
  if (!m.negative) return m.value <= range.max;
  return m.value <= 0 - static_cast<uint64_t>(range.min);
}

void StoreInteger(const Magnitude& m, VARTYPE vt, VARIANT* out) {
  const uint64_t bits = m.negative ? 0 - m.value : m.value;  // two's complement
  VARIANT v{};
  v.vt = vt;
  switch (vt) {
    case VT_I1:
      v.cVal = static_cast<CHAR>(bits);
      break;
    case VT_UI1:
      v.bVal = static_cast<BYTE>(bits);
      break;
    case VT_I2:
      v.iVal = static_cast<SHORT>(bits);
      break;
    case VT_UI2:
      v.uiVal = static_cast<USHORT>(bits);
      break;
    case VT_I4:
      v.lVal = static_cast<LONG>(bits);
      break;
    case VT_INT:
      v.intVal = static_cast<INT>(bits);
      break;
    case VT_UI4:
      v.ulVal = static_cast<ULONG>(bits);
      break;
    case VT_UINT:
      v.uintVal = static_cast<UINT>(bits);
      break;
    case VT_I8:
      v.llVal = static_cast<LONGLONG>(bits);
      break;
    case VT_UI8:
      v.ullVal = bits;
      break;
    default:
      break;
  }
  *out = v;
}

HRESULT WriteInteger(const Number& number, const IntegerRange& range, VARIANT* out) {
  Magnitude m;
  if (!ToMagnitude(number, &m) || !Fits(m, range)) return DISP_E_OVERFLOW;
  StoreInteger(m, range.vt, out);
  return S_OK;
}

HRESULT WriteReal(double value, VARTYPE vt, VARIANT* out) {
  VARIANT v{};
  v.vt = vt;
  switch (vt) {
    case VT_R4:
      if (std::fabs(value) > FLT_MAX) return DISP_E_OVERFLOW;
      v.fltVal = static_cast<float>(value);
      break;
    case VT_R8:
      v.dblVal = value;
      break;
    case VT_DATE:
      if (!(value >= kMinDate && value < kMaxDateExclusive)) return DISP_E_OVERFLOW;
      v.date = value;
      break;
    default:
      return DISP_E_TYPEMISMATCH;
  }
  *out = v;
  return S_OK;
}

}  // namespace

bool Number::IsZero() const {
  switch (kind) {
    case Kind::kSigned:
      return whole == 0;
    case Kind::kUnsigned:
      return natural == 0;
    case Kind::kReal:
      return real == 0.0;
  }
  return false;
}

double Number::AsDouble() const {
  switch (kind) {
    case Kind::kSigned:
      return static_cast<double>(whole);
    case Kind::kUnsigned:
      return static_cast<double>(natural);
    case Kind::kReal:
      return real;
  }
  return 0.0;
}

double RoundHalfEven(double value) {
  if (!std::isfinite(value)) return value;
  const double below = std::floor(value);
  const double fraction = value - below;
  if (fraction < 0.5) return below;
  if (fraction > 0.5) return below + 1.0;
  return std::fmod(below, 2.0) == 0.0 ? below : below + 1.0;
}

HRESULT ReadNumber(const VARIANT& value, Number* out) {
  switch (value.vt) {
    case VT_EMPTY:
      *out = Number::Signed(0);
      return S_OK;
    case VT_I1:
      *out = Number::Signed(value.cVal);
      return S_OK;
    case VT_I2:
      *out = Number::Signed(value.iVal);
      return S_OK;
    case VT_I4:
      *out = Number::Signed(value.lVal);
      return S_OK;
    case VT_INT:
      *out = Number::Signed(value.intVal);
      return S_OK;
    case VT_I8:
      *out = Number::Signed(value.llVal);
      return S_OK;
    case VT_BOOL:
      *out = Number::Signed(value.boolVal);
      return S_OK;
    case VT_UI1:
      *out = Number::Unsigned(value.bVal);
      return S_OK;
    case VT_UI2:
      *out = Number::Unsigned(value.uiVal);
      return S_OK;
    case VT_UI4:
      *out = Number::Unsigned(value.ulVal);
      return S_OK;
    case VT_UINT:
      *out = Number::Unsigned(value.uintVal);
      return S_OK;
    case VT_UI8:
      *out = Number::Unsigned(value.ullVal);
      return S_OK;
    case VT_R4:
      *out = Number::Real(value.fltVal);
      return S_OK;
    case VT_R8:
      *out = Number::Real(value.dblVal);
      return S_OK;
    case VT_DATE:
      *out = Number::Real(value.date);
      return S_OK;
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

HRESULT WriteNumber(const Number& number, VARTYPE vt, VARIANT* out) {
  if (vt == VT_BOOL) {
    VARIANT v{};
    v.vt = VT_BOOL;
    v.boolVal = number.IsZero() ? VARIANT_FALSE : VARIANT_TRUE;
    *out = v;
    return S_OK;
  }
  if (const IntegerRange* range = IntegerRangeOf(vt)) return WriteInteger(number, *range, out);
  return WriteReal(number.AsDouble(), vt, out);
}

}  // namespace vantrel::runtime
