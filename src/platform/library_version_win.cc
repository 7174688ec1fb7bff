#include "platform/library_version.h"

#include <windows.h>

#include <vector>

#include "platform/library_folder.h"
#include "platform/wide_text_win.h"

namespace vantrel::platform {
namespace {

std::string QueryBlock(std::vector<BYTE>& block, const std::wstring& language,
                       std::string_view key) {
  const std::wstring query = L"\\StringFileInfo\\" + language + L"\\" + Widen(key);
  LPVOID text = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(block.data(), query.c_str(), &text, &length) || text == nullptr ||
      length == 0)
    return {};
  return Narrow(std::wstring(static_cast<const wchar_t*>(text)));  // NUL-terminated
}

}  // namespace

std::string LibraryVersionText(std::string_view key) {
  const std::wstring path = Widen(LibraryPath());
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
  if (size == 0) return {};
  std::vector<BYTE> block(size);
  if (!GetFileVersionInfoW(path.c_str(), 0, size, block.data())) return {};
  std::string text = QueryBlock(block, L"000004B0", key);
  if (text.empty()) text = QueryBlock(block, L"040904E4", key);
  return text;
}

}  // namespace vantrel::platform
