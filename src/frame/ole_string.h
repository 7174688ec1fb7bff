// Automation strings (BSTR) to and from the library's UTF-8 text.
#pragma once

#include <string>
#include <string_view>

#include "automation_runtime.h"

namespace vantrel::frame {

// A new BSTR holding `text` (UTF-8). Throws std::bad_alloc when the string
// cannot be allocated. The caller owns the result.
BSTR AllocBstr(std::string_view text);

// The UTF-8 text of a BSTR; a null BSTR is the empty string.
std::string BstrToUtf8(const BSTR text);

// The UTF-8 text of a NUL-terminated OLE string; null is the empty string.
std::string OleToUtf8(const OLECHAR* text);

// A BSTR owned by this object: freed when it goes.
class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(std::string_view text) : value_(AllocBstr(text)) {}
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  Bstr(Bstr&& other) noexcept : value_(other.Detach()) {}
  Bstr& operator=(Bstr&& other) noexcept;
  ~Bstr() { SysFreeString(value_); }

  BSTR get() const { return value_; }
  BSTR* receive();  // frees the held string and hands out its slot
  BSTR Detach();    // the caller takes ownership

 private:
  BSTR value_ = nullptr;
};

}  // namespace vantrel::frame
