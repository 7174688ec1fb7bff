#include "platform/folders.h"

#include <windows.h>

#include "platform/process.h"
#include "platform/wide_text_win.h"

namespace vantrel::platform {
namespace {

bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Where the first folder that may be missing starts: after "C:\" or after
// "\\server\share\".
size_t FirstCreatableLevel(const std::wstring& path) {
  if (path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1])) {
    size_t separators = 0;
    for (size_t i = 2; i < path.size(); ++i) {
      if (IsSeparator(path[i]) && ++separators == 2) return i + 1;
    }
    return path.size();
  }
  if (path.size() >= 2 && path[1] == L':') return path.size() > 2 && IsSeparator(path[2]) ? 3 : 2;
  return IsSeparator(path[0]) ? 1 : 0;
}

}  // namespace

std::string LogFolder() { return "C:\\Log Files"; }

bool CreateFolders(const std::string& path) {
  if (path.empty()) return false;
  const std::wstring wide = Widen(path);
  for (size_t i = FirstCreatableLevel(wide); i <= wide.size(); ++i) {
    if (i < wide.size() && !IsSeparator(wide[i])) continue;
    const std::wstring level = wide.substr(0, i);
    if (level.empty() || IsSeparator(level.back())) continue;
    if (!CreateDirectoryW(level.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS &&
        !IsFolder(level)) {
      return false;
    }
  }
  return IsFolder(wide);
}

std::string JoinPath(const std::string& folder, const std::string& name) {
  if (folder.empty()) return name;
  const char last = folder.back();
  return last == '\\' || last == '/' ? folder + name : folder + "\\" + name;
}

std::string FileNamePart(const std::string& path) {
  const size_t last = path.find_last_of("\\");
  return last == std::string::npos ? path : path.substr(last + 1);
}

std::string ProcessModuleName() {
  const std::string path = CurrentExecutablePath();
  return path.substr(path.find_last_of("\\/") + 1);
}

}  // namespace vantrel::platform
