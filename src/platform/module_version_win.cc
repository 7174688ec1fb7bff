#include <windows.h>

#include <vector>

#include "platform/module_version.h"
#include "platform/version_resource_win.h"
#include "platform/wide_text_win.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

using IsWow64ProcessFunction = BOOL(WINAPI*)(HANDLE, PBOOL);

// Asked once: a missing function or a failed call means no.
bool IsWow64() {
  static const bool wow64 = [] {
    HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    const auto is_wow64 = kernel ? reinterpret_cast<IsWow64ProcessFunction>(reinterpret_cast<void*>(
                                       GetProcAddress(kernel, "IsWow64Process")))
                                 : nullptr;
    BOOL answer = FALSE;
    return is_wow64 != nullptr && is_wow64(GetCurrentProcess(), &answer) && answer;
  }();
  return wow64;
}

}  // namespace

PlatformResult ReadModuleVersion(const std::string& path, ModuleVersionInfo* info) {
  *info = ModuleVersionInfo{};
  const std::wstring wide = Widen(path);
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(wide.c_str(), &ignored);
  // No size, whether the file lacks a version resource or is not there at
  // all, means no table; only a block that cannot be read is an error.
  if (size == 0) return kErrorSuccess;
  std::vector<BYTE> block;
  try {
    block.resize(size);
  } catch (const std::bad_alloc&) {
    return kErrorOutOfMemory;
  }
  if (!GetFileVersionInfoW(wide.c_str(), 0, size, block.data())) {
    return static_cast<long>(GetLastError());
  }
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(block.data(), L"\\", reinterpret_cast<LPVOID*>(&fixed), &length) ||
      fixed == nullptr || length < sizeof(VS_FIXEDFILEINFO)) {
    return kErrorSuccess;
  }
  info->has_table = true;
  info->version[0] = HIWORD(fixed->dwFileVersionMS);
  info->version[1] = LOWORD(fixed->dwFileVersionMS);
  info->version[2] = HIWORD(fixed->dwFileVersionLS);
  info->version[3] = LOWORD(fixed->dwFileVersionLS);
  info->product[0] = HIWORD(fixed->dwProductVersionMS);
  info->product[1] = LOWORD(fixed->dwProductVersionMS);
  info->product[2] = HIWORD(fixed->dwProductVersionLS);
  info->product[3] = LOWORD(fixed->dwProductVersionLS);
  info->product_version = VersionResourceText(block, "ProductVersion");
  info->build_date = VersionResourceText(block, "Build Date");
  return kErrorSuccess;
}

bool ModuleNeedsHostProcess(const std::string&) { return IsWow64(); }

}  // namespace vantrel::platform
