#include "platform/library_folder.h"

#include <windows.h>

#include <vector>

#include "platform/wide_text_win.h"

namespace vantrel::platform {

std::string LibraryPath() {
  HMODULE module = nullptr;
  const DWORD flags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (!GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&LibraryPath), &module)) return {};
  std::vector<wchar_t> buffer(MAX_PATH);
  for (;;) {
    const DWORD length =
        GetModuleFileNameW(module, buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0) return {};
    if (length < buffer.size()) return Narrow(std::wstring(buffer.data(), length));
    buffer.resize(buffer.size() * 2);  // the path was cut: try a larger buffer
  }
}

std::string LibraryFolder() {
  const std::string path = LibraryPath();
  const size_t slash = path.find_last_of("\\/");
  if (slash == std::string::npos) return {};
  return path.substr(0, slash);
}

}  // namespace vantrel::platform
