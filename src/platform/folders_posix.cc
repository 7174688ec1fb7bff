#include "platform/folders.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/process.h"
#include "platform/user_folders_posix.h"

namespace vantrel::platform {
namespace {

constexpr char kSystemLogFolder[] = "/var/log/vantrel";

std::string Environment(const char* name) { return EnvironmentText(name); }

std::string WithoutTrailingSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

bool IsFolder(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Writable now, or missing with a parent in which it can be made.
bool CanWriteOrCreate(const std::string& folder) {
  if (IsFolder(folder)) return access(folder.c_str(), W_OK | X_OK) == 0;
  const std::string parent = folder.substr(0, folder.find_last_of('/'));
  return access(parent.empty() ? "/" : parent.c_str(), W_OK | X_OK) == 0;
}

// The XDG state folder: $XDG_STATE_HOME when it is absolute, else ~/.local/state.
std::string UserStateFolder() { return XdgFolder("XDG_STATE_HOME", ".local/state"); }

}  // namespace

std::string LogFolder() {
  if (std::string configured = Environment("VANTREL_LOG_DIR"); !configured.empty()) {
    return WithoutTrailingSlash(configured);
  }
  if (CanWriteOrCreate(kSystemLogFolder)) return kSystemLogFolder;
  return JoinPath(UserStateFolder(), "vantrel/log");
}

bool CreateFolders(const std::string& path) {
  if (path.empty()) return false;
  // Make each missing level from the top; one that exists already is fine.
  for (size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
    const std::string level = path.substr(0, end);
    if (mkdir(level.c_str(), 0777) != 0 && errno != EEXIST && !IsFolder(level)) return false;
  }
  if (mkdir(path.c_str(), 0777) != 0 && errno != EEXIST) return false;
  return IsFolder(path);
}

std::string JoinPath(const std::string& folder, const std::string& name) {
  if (folder.empty()) return name;
  return folder.back() == '/' ? folder + name : folder + "/" + name;
}

std::string FileNamePart(const std::string& path) {
  const size_t last = path.find_last_of("/\\");
  return last == std::string::npos ? path : path.substr(last + 1);
}

std::string ProcessModuleName() {
  const std::string path = CurrentExecutablePath();
  return path.substr(path.find_last_of('/') + 1);
}

}  // namespace vantrel::platform
