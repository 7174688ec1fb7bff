#include "platform/process.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <mutex>

#include "platform/clock.h"
#include "platform/named_mutex.h"
#include "platform/platform_error_posix.h"
#include "platform/win32_errors.h"
#include "platform/thread_annotations.h"

extern char** environ;

namespace vantrel::platform {
namespace {

constexpr uint32_t kLongestPollMs = 10;

class PosixChildProcess : public ChildProcess {
 public:
  explicit PosixChildProcess(pid_t pid) : pid_(pid) {}

  bool Wait(uint32_t timeout_ms, int* exit_code) override {
    const uint64_t start = TickCount64();
    uint32_t pause_ms = 1;
    while (!Reap(exit_code)) {
      const uint64_t elapsed = TickCount64() - start;
      if (timeout_ms != kInfiniteWait && elapsed >= timeout_ms) return false;
      const uint64_t left = timeout_ms == kInfiniteWait ? pause_ms : timeout_ms - elapsed;
      SleepMilliseconds(static_cast<uint32_t>(std::min<uint64_t>(pause_ms, left)));
      pause_ms = std::min(pause_ms * 2, kLongestPollMs);
    }
    return true;
  }

  bool Kill() override {
    MutexLock hold(mutex_);
    // Until it is reaped the process id cannot belong to anyone else.
    return !reaped_ && kill(pid_, SIGKILL) == 0;
  }

  uint64_t Id() const override { return static_cast<uint64_t>(pid_); }

 private:
  // True once the child has ended, with its status; never blocks.
  bool Reap(int* exit_code) {
    MutexLock hold(mutex_);
    if (!reaped_) {
      int status = 0;
      pid_t done;
      do {
        done = waitpid(pid_, &status, WNOHANG);
      } while (done < 0 && errno == EINTR);
      if (done == 0) return false;
      reaped_ = true;
      // A child ended by a signal reports 128 + the signal, as shells do.
      if (done < 0) {
        exit_status_ = -1;
      } else if (WIFEXITED(status)) {
        exit_status_ = WEXITSTATUS(status);
      } else {
        exit_status_ = 128 + WTERMSIG(status);
      }
    }
    if (exit_code != nullptr) *exit_code = exit_status_;
    return true;
  }

  const pid_t pid_;
  Mutex mutex_;
  bool reaped_ GUARDED_BY(mutex_) = false;
  int exit_status_ GUARDED_BY(mutex_) = -1;
};

}  // namespace

PlatformResult StartProcess(const std::string& program, const std::vector<std::string>& args,
                            std::unique_ptr<ChildProcess>* child) {
  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(program.c_str()));
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  pid_t pid = 0;
  // posix_spawnp reports a program that cannot be executed as its result.
  const int error = posix_spawnp(&pid, program.c_str(), nullptr, nullptr, argv.data(), environ);
  if (error != 0) return WindowsErrorFromErrno(error);
  *child = std::make_unique<PosixChildProcess>(pid);
  return kErrorSuccess;
}

uint64_t CurrentProcessId() { return static_cast<uint64_t>(getpid()); }

bool KillProcess(uint64_t id) { return kill(static_cast<pid_t>(id), SIGKILL) == 0; }

std::string CurrentExecutablePath() {
  std::string path(256, '\0');
  for (;;) {
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length < 0) return {};
    if (static_cast<size_t>(length) < path.size()) {
      path.resize(static_cast<size_t>(length));
      return path;
    }
    path.resize(path.size() * 2);
  }
}

std::vector<std::string> ProcessArguments() {
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  std::vector<std::string> args;
  for (std::string arg; std::getline(file, arg, '\0');) args.push_back(arg);
  return args;
}

bool IsStandardErrorTerminal() { return isatty(STDERR_FILENO) == 1; }

}  // namespace vantrel::platform
