// Child processes: start a program, wait for it, kill it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>
#include "platform/win32_errors.h"

namespace vantrel::platform {

class ChildProcess {
 public:
  // Does not kill or wait; the child goes on.
  virtual ~ChildProcess() = default;

  // Waits up to `timeout_ms` (kInfiniteWait from named_mutex.h: no limit).
  // True once the child has ended, with its exit status in `exit_code`.
  virtual bool Wait(uint32_t timeout_ms, int* exit_code) = 0;
  // Ends the child at once, as a crash would; its exit status is then 137 on
  // both targets. True when it was signalled.
  virtual bool Kill() = 0;
  virtual uint64_t Id() const = 0;
};

// Starts `program` with `args` (not including the program itself), sharing
// the standard streams. Returns a Windows error number; on success `child`
// is set.
PlatformResult StartProcess(const std::string& program, const std::vector<std::string>& args,
                            std::unique_ptr<ChildProcess>* child);

// This process's id.
uint64_t CurrentProcessId();

// Ends the process `id` at once, as a crash would. True when it was signalled.
bool KillProcess(uint64_t id);

// The full path of the running program; empty if the system cannot tell.
std::string CurrentExecutablePath();

// True when the process's standard error is a terminal (a console on
// Windows), where a progress line may be redrawn in place. Any thread.
bool IsStandardErrorTerminal();

// The running program's command line as UTF-8 arguments, the program first.
// Use it instead of main's argv, which Windows gives in the ANSI code page.
std::vector<std::string> ProcessArguments();

}  // namespace vantrel::platform
