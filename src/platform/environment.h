// The process's environment variables.
#pragma once

#include <optional>
#include <string>

namespace vantrel::platform {

// The variable's value; nothing when it is not set. Any thread, but not while
// another thread changes the environment.
std::optional<std::string> EnvironmentValue(const std::string& name);

// Sets or removes a variable for this process and the processes it starts
// afterwards. Not thread-safe against other readers of the environment: call
// it while no other thread runs (tests set up their environment this way).
// False when the platform refuses.
bool SetEnvironmentValue(const std::string& name, const std::string& value);
bool RemoveEnvironmentValue(const std::string& name);

}  // namespace vantrel::platform
