#include "platform/system_strings.h"

#include <windows.h>

#include "platform/wide_text_win.h"

namespace vantrel::platform {

std::string LoadSystemLibraryString(const char* library, uint32_t id) {
  // Only the system folder is searched, and as data: no code of the library
  // runs in our process.
  HMODULE module = LoadLibraryExW(Widen(library).c_str(), nullptr,
                                  LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (module == nullptr) return {};
  wchar_t buffer[260];
  const int length = LoadStringW(module, id, buffer, 260);
  FreeLibrary(module);
  if (length <= 0) return {};
  return Narrow(std::wstring_view(buffer, static_cast<size_t>(length)));
}

}  // namespace vantrel::platform
