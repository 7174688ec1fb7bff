#include "frame/ole_string.h"

#include <new>

#include "platform/unicode.h"

namespace vantrel::frame {

static_assert(sizeof(OLECHAR) == sizeof(char16_t), "automation strings are UTF-16");

BSTR AllocBstr(std::string_view text) {
  const std::u16string wide = platform::Utf8ToUtf16(text);
  BSTR result = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(wide.data()),
                                  static_cast<UINT>(wide.size()));
  if (result == nullptr) throw std::bad_alloc();
  return result;
}

std::string BstrToUtf8(const BSTR text) {
  if (text == nullptr) return {};
  return platform::Utf16ToUtf8(
      std::u16string_view(reinterpret_cast<const char16_t*>(text), SysStringLen(text)));
}

std::string OleToUtf8(const OLECHAR* text) {
  if (text == nullptr) return {};
  return platform::Utf16ToUtf8(std::u16string_view(reinterpret_cast<const char16_t*>(text)));
}

Bstr& Bstr::operator=(Bstr&& other) noexcept {
  if (this != &other) {
    SysFreeString(value_);
    value_ = other.Detach();
  }
  return *this;
}

BSTR* Bstr::receive() {
  SysFreeString(value_);
  value_ = nullptr;
  return &value_;
}

BSTR Bstr::Detach() {
  BSTR value = value_;
  value_ = nullptr;
  return value;
}

}  // namespace vantrel::frame
