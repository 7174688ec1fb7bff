#include <windows.h>

#include "platform/file_date.h"
#include "platform/wide_text_win.h"

namespace vantrel::platform {
namespace {

// FILETIME counts 100 ns from 1601; Unix time counts seconds from 1970.
constexpr int64_t kFileTimeUnitsPerSecond = 10000000;
constexpr int64_t kSecondsFrom1601To1970 = 11644473600;

}  // namespace

PlatformResult ReadFileDate(const std::string& path, int64_t* seconds) {
  HANDLE file = CreateFileW(Widen(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                            nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return static_cast<long>(GetLastError());
  FILETIME created{};
  const BOOL read = GetFileTime(file, &created, nullptr, nullptr);
  const long error = read ? kErrorSuccess : static_cast<long>(GetLastError());
  CloseHandle(file);
  if (error != kErrorSuccess) return error;
  const int64_t units =
      (static_cast<int64_t>(created.dwHighDateTime) << 32) | created.dwLowDateTime;
  *seconds = units / kFileTimeUnitsPerSecond - kSecondsFrom1601To1970;
  return kErrorSuccess;
}

std::string FormatFileDate(int64_t seconds) {
  if (seconds <= 0) return {};
  const int64_t units = (seconds + kSecondsFrom1601To1970) * kFileTimeUnitsPerSecond;
  FILETIME utc{static_cast<DWORD>(units & 0xFFFFFFFF), static_cast<DWORD>(units >> 32)};
  FILETIME local{};
  SYSTEMTIME day{};
  if (!FileTimeToLocalFileTime(&utc, &local) || !FileTimeToSystemTime(&local, &day)) return {};
  wchar_t text[80];
  if (GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &day, nullptr, text, 80) == 0) return {};
  return Narrow(text);
}

}  // namespace vantrel::platform
