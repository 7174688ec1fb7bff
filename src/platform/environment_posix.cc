#include "platform/environment.h"

#include <stdlib.h>

namespace vantrel::platform {

std::optional<std::string> EnvironmentValue(const std::string& name) {
  const char* value = getenv(name.c_str());
  if (value == nullptr) return std::nullopt;
  return std::string(value);
}

bool SetEnvironmentValue(const std::string& name, const std::string& value) {
  return setenv(name.c_str(), value.c_str(), 1) == 0;
}

bool RemoveEnvironmentValue(const std::string& name) { return unsetenv(name.c_str()) == 0; }

}  // namespace vantrel::platform
