// UTF-8 <-> UTF-16 conversion. Invalid input is replaced by U+FFFD, so the
// conversions never fail; round trips of valid text are exact.
#pragma once

#include <string>
#include <string_view>

namespace vantrel::platform {

std::u16string Utf8ToUtf16(std::string_view utf8);
std::string Utf16ToUtf8(std::u16string_view utf16);

// ASCII-only lower case, which is how the settings store compares names.
std::string AsciiLower(std::string_view text);

}  // namespace vantrel::platform
