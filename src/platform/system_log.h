// The platform event log (syslog on Linux, the Windows event log) and the
// debugger output channel.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace vantrel::platform {

enum class SystemLogType { kError, kWarning, kInformation, kDetail };

// The longest message the platform log takes; longer ones are cut by the
// caller (the event log adds its own marker).
constexpr size_t kSystemLogMaxMessage = 31839;

class SystemLog {
 public:
  virtual ~SystemLog() = default;
  // Never fails visibly: a message the platform refuses is dropped.
  virtual void Write(SystemLogType type, std::string_view message) = 0;
};

// Opens the platform log under a source name. Never returns null.
std::unique_ptr<SystemLog> OpenSystemLog(const std::string& source);

// Debugger output (OutputDebugStringW). On Linux the text goes to standard
// error when VANTREL_DEBUG_OUTPUT is set and is dropped otherwise.
void DebugOutput(std::string_view text);

}  // namespace vantrel::platform
