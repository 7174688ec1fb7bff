#include "platform/environment.h"

#include <stdlib.h>

#include "platform/wide_text_win.h"

namespace vantrel::platform {

std::optional<std::string> EnvironmentValue(const std::string& name) {
  const wchar_t* value = _wgetenv(Widen(name).c_str());
  if (value == nullptr) return std::nullopt;
  return Narrow(value);
}

// _wputenv_s changes the C runtime's copy, which getenv reads, and the
// process's own block, which child processes inherit.
bool SetEnvironmentValue(const std::string& name, const std::string& value) {
  return _wputenv_s(Widen(name).c_str(), Widen(value).c_str()) == 0;
}

bool RemoveEnvironmentValue(const std::string& name) {
  return _wputenv_s(Widen(name).c_str(), L"") == 0;  // an empty value removes the variable
}

}  // namespace vantrel::platform
