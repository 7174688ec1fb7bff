#include "platform/library_version.h"

#include <windows.h>

#include <vector>

#include "platform/library_folder.h"
#include "platform/version_resource_win.h"
#include "platform/wide_text_win.h"

namespace vantrel::platform {
std::string LibraryVersionText(std::string_view key) {
  const std::wstring path = Widen(LibraryPath());
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
  if (size == 0) return {};
  std::vector<BYTE> block(size);
  if (!GetFileVersionInfoW(path.c_str(), 0, size, block.data())) return {};
  return VersionResourceText(block, key);
}

}  // namespace vantrel::platform
