#include "platform/user_folders_posix.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/folders.h"

namespace vantrel::platform {

std::string EnvironmentText(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::string HomeFolder() {
  if (std::string home = EnvironmentText("HOME"); !home.empty()) return home;
  passwd entry{};
  passwd* found = nullptr;
  char buffer[4096];
  if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr) {
    return found->pw_dir;
  }
  return "/tmp";
}

std::string XdgFolder(const char* xdg_variable, const char* fallback_below_home) {
  std::string configured = EnvironmentText(xdg_variable);
  if (configured.empty() || configured.front() != '/') {
    return JoinPath(HomeFolder(), fallback_below_home);
  }
  while (configured.size() > 1 && configured.back() == '/') configured.pop_back();
  return configured;
}

}  // namespace vantrel::platform
