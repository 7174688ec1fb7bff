// Numbers and booleans to and from text for VARIANT conversions.
#include "variant_text.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>

namespace vantrel::runtime {
namespace {

// The longest number text accepted. Any mantissa this short is below the
// largest double, so a range error with a negative exponent is an underflow.
constexpr size_t kMaxNumberText = 300;

bool IsBlank(OLECHAR c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The text without surrounding blanks, narrowed to ASCII; false when it holds
// anything else (or is too long to be a number).
bool TrimmedAscii(BSTR text, std::string* out) {
  size_t begin = 0;
  size_t end = SysStringLen(text);
  while (begin < end && IsBlank(text[begin])) ++begin;
  while (end > begin && IsBlank(text[end - 1])) --end;
  if (end - begin > kMaxNumberText) return false;
  out->clear();
  for (size_t i = begin; i < end; ++i) {
    if (text[i] == 0 || text[i] > 0x7F) return false;
    out->push_back(static_cast<char>(text[i]));
  }
  return true;
}

// Checks the shape sign? digits [. digits] [e sign? digits] with at least one
// mantissa digit; `integral` tells whether there was neither point nor exponent.
bool IsDecimalShape(const std::string& s, bool* integral) {
  size_t i = 0;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
  size_t digits = 0;
  while (i < s.size() && IsDigit(s[i])) ++i, ++digits;
  *integral = true;
  if (i < s.size() && s[i] == '.') {
    *integral = false;
    ++i;
    while (i < s.size() && IsDigit(s[i])) ++i, ++digits;
  }
  if (digits == 0) return false;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    *integral = false;
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    size_t exponent_digits = 0;
    while (i < s.size() && IsDigit(s[i])) ++i, ++exponent_digits;
    if (exponent_digits == 0) return false;
  }
  return i == s.size();
}

// Exact integer reading; false when the value needs more than 64 bits.
bool ParseInteger(const char* first, const char* last, Number* out) {
  if (*first != '-') {
    uint64_t value;
    const auto [end, ec] = std::from_chars(first, last, value);
    if (ec != std::errc() || end != last) return false;
    *out =
        value <= INT64_MAX ? Number::Signed(static_cast<int64_t>(value)) : Number::Unsigned(value);
    return true;
  }
  int64_t value;
  const auto [end, ec] = std::from_chars(first, last, value);
  if (ec != std::errc() || end != last) return false;
  *out = Number::Signed(value);
  return true;
}

HRESULT ParseReal(const char* first, const char* last, Number* out) {
  double value;
  const auto [end, ec] = std::from_chars(first, last, value);
  if (ec == std::errc::result_out_of_range) {
    // With a negative exponent the value is too small to hold: it reads as zero.
    const std::string_view text(first, static_cast<size_t>(last - first));
    if (text.find("e-") != text.npos || text.find("E-") != text.npos) {
      *out = Number::Real(0.0);
      return S_OK;
    }
    return DISP_E_OVERFLOW;
  }
  if (ec != std::errc() || end != last) return DISP_E_TYPEMISMATCH;
  *out = Number::Real(value);
  return S_OK;
}

bool EqualsIgnoringCase(const std::string& text, const char* word) {
  size_t i = 0;
  for (; word[i] != 0; ++i) {
    if (i >= text.size()) return false;
    const char c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] + 32) : text[i];
    if (c != word[i]) return false;
  }
  return i == text.size();
}

// Splits the shortest scientific text "-d.ddde+XX" into sign, digits and exponent.
struct Scientific {
  bool negative = false;
  std::string digits;
  int exponent = 0;
};

Scientific SplitScientific(const char* first, const char* last) {
  Scientific result;
  const char* p = first;
  if (*p == '-') {
    result.negative = true;
    ++p;
  }
  for (; p < last && *p != 'e'; ++p) {
    if (*p != '.') result.digits.push_back(*p);
  }
  if (p < last) std::from_chars(p + (p[1] == '+' ? 2 : 1), last, result.exponent);
  return result;
}

std::string ExponentText(int exponent) {
  std::string text = exponent < 0 ? "E-" : "E+";
  const int magnitude = std::abs(exponent);
  if (magnitude < 10) text.push_back('0');
  return text + std::to_string(magnitude);
}

std::string Layout(const Scientific& s) {
  std::string text = s.negative ? "-" : "";
  const std::string& d = s.digits;
  if (s.exponent < -5 || s.exponent >= 15) {
    text += d.substr(0, 1);
    if (d.size() > 1) text += "." + d.substr(1);
    return text + ExponentText(s.exponent);
  }
  if (s.exponent < 0) return text + "0." + std::string(-s.exponent - 1, '0') + d;
  const size_t whole = static_cast<size_t>(s.exponent) + 1;
  if (d.size() <= whole) return text + d + std::string(whole - d.size(), '0');
  return text + d.substr(0, whole) + "." + d.substr(whole);
}

template <class Real>
HRESULT FormatReal(Real value, BSTR* out) {
  if (!std::isfinite(value)) return DISP_E_TYPEMISMATCH;
  if (value == 0) return AsciiToBstr("0", 1, out);  // also -0
  char buffer[64];
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific);
  const std::string text = Layout(SplitScientific(buffer, result.ptr));
  return AsciiToBstr(text.data(), text.size(), out);
}

template <class Integer>
HRESULT FormatInteger(Integer value, BSTR* out) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return AsciiToBstr(buffer, static_cast<size_t>(result.ptr - buffer), out);
}

}  // namespace

HRESULT ParseNumber(BSTR text, Number* out) {
  std::string s;
  bool integral = false;
  if (!TrimmedAscii(text, &s) || !IsDecimalShape(s, &integral)) return DISP_E_TYPEMISMATCH;
  // from_chars takes no leading '+'.
  const char* first = s.data() + (s[0] == '+' ? 1 : 0);
  const char* last = s.data() + s.size();
  if (integral && ParseInteger(first, last, out)) return S_OK;
  return ParseReal(first, last, out);
}

HRESULT ParseBoolean(BSTR text, VARIANT_BOOL* out) {
  std::string s;
  if (TrimmedAscii(text, &s)) {
    if (EqualsIgnoringCase(s, "true")) {
      *out = VARIANT_TRUE;
      return S_OK;
    }
    if (EqualsIgnoringCase(s, "false")) {
      *out = VARIANT_FALSE;
      return S_OK;
    }
  }
  Number number;
  const HRESULT hr = ParseNumber(text, &number);
  if (FAILED(hr)) return hr;
  *out = number.IsZero() ? VARIANT_FALSE : VARIANT_TRUE;
  return S_OK;
}

HRESULT FormatNumber(const Number& number, bool single, BSTR* out) {
  switch (number.kind) {
    case Number::Kind::kSigned:
      return FormatInteger(number.whole, out);
    case Number::Kind::kUnsigned:
      return FormatInteger(number.natural, out);
    case Number::Kind::kReal:
      return single ? FormatReal(static_cast<float>(number.real), out)
                    : FormatReal(number.real, out);
  }
  return DISP_E_TYPEMISMATCH;
}

HRESULT AsciiToBstr(const char* text, size_t length, BSTR* out) {
  BSTR result = SysAllocStringLen(nullptr, static_cast<UINT>(length));
  if (result == nullptr) return E_OUTOFMEMORY;
  for (size_t i = 0; i < length; ++i) result[i] = static_cast<OLECHAR>(text[i]);
  *out = result;
  return S_OK;
}

}  // namespace vantrel::runtime
