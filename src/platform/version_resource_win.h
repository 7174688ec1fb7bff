// Windows only: texts of a version resource block read with
// GetFileVersionInfoW, in the language blocks the library's binaries and
// driver modules use.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/wide_text_win.h"

namespace vantrel::platform {

// The text of `key` in block 000004B0, else 040904B0, else 040904E4; empty
// when none has it.
inline std::string VersionResourceText(std::vector<BYTE>& block, std::string_view key) {
  for (const wchar_t* language : {L"000004B0", L"040904B0", L"040904E4"}) {
    const std::wstring query = std::wstring(L"\\StringFileInfo\\") + language + L"\\" + Widen(key);
    LPVOID text = nullptr;
    UINT length = 0;
    if (VerQueryValueW(block.data(), query.c_str(), &text, &length) && text != nullptr &&
        length != 0) {
      return Narrow(std::wstring(static_cast<const wchar_t*>(text)));  // NUL-terminated
    }
  }
  return {};
}

}  // namespace vantrel::platform
