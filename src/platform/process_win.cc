#include "platform/process.h"

#include <windows.h>

#include <shellapi.h>

#include "platform/wide_text_win.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

// The exit status of a killed child, the same as a SIGKILL gives on Linux.
constexpr UINT kKilledExitCode = 137;

class WindowsChildProcess : public ChildProcess {
 public:
  WindowsChildProcess(HANDLE handle, DWORD id) : handle_(handle), id_(id) {}
  ~WindowsChildProcess() override { CloseHandle(handle_); }

  bool Wait(uint32_t timeout_ms, int* exit_code) override {
    if (WaitForSingleObject(handle_, timeout_ms) != WAIT_OBJECT_0) return false;
    DWORD code = 0;
    GetExitCodeProcess(handle_, &code);
    if (exit_code != nullptr) *exit_code = static_cast<int>(code);
    return true;
  }

  bool Kill() override { return TerminateProcess(handle_, kKilledExitCode) != 0; }
  uint64_t Id() const override { return id_; }

 private:
  const HANDLE handle_;
  const DWORD id_;
};

// Quotes one argument so that the child's CommandLineToArgvW gives it back
// unchanged: backslashes are literal except before a quote.
std::wstring QuoteArgument(const std::wstring& arg) {
  if (!arg.empty() && arg.find_first_of(L" \t\n\v\"") == std::wstring::npos) return arg;
  std::wstring quoted = L"\"";
  size_t backslashes = 0;
  for (const wchar_t c : arg) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    // Backslashes before a quote are doubled, and the quote escaped.
    quoted.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
    quoted.push_back(c);
    backslashes = 0;
  }
  // Before the closing quote they are doubled too.
  quoted.append(backslashes * 2, L'\\');
  quoted.push_back(L'"');
  return quoted;
}

std::wstring CommandLine(const std::string& program, const std::vector<std::string>& args) {
  // The program name is parsed without escapes: quoting it is enough.
  std::wstring line = L"\"" + Widen(program) + L"\"";
  for (const std::string& arg : args) line += L" " + QuoteArgument(Widen(arg));
  return line;
}

// An inheritable copy of a standard handle, or null when there is none.
HANDLE InheritableStdHandle(DWORD which) {
  const HANDLE original = GetStdHandle(which);
  HANDLE copy = nullptr;
  if (original == nullptr || original == INVALID_HANDLE_VALUE ||
      !DuplicateHandle(GetCurrentProcess(), original, GetCurrentProcess(), &copy, 0, TRUE,
                       DUPLICATE_SAME_ACCESS)) {
    return nullptr;
  }
  return copy;
}

}  // namespace

PlatformResult StartProcess(const std::string& program, const std::vector<std::string>& args,
                            std::unique_ptr<ChildProcess>* child) {
  std::wstring line = CommandLine(program, args);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  // The child writes to the same streams even when ours are redirected.
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = InheritableStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = InheritableStdHandle(STD_OUTPUT_HANDLE);
  startup.hStdError = InheritableStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION info{};
  const BOOL started = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                      nullptr, &startup, &info);
  const long error = started ? kErrorSuccess : static_cast<long>(GetLastError());
  for (HANDLE copy : {startup.hStdInput, startup.hStdOutput, startup.hStdError}) {
    if (copy != nullptr) CloseHandle(copy);
  }
  if (!started) return error;
  CloseHandle(info.hThread);
  *child = std::make_unique<WindowsChildProcess>(info.hProcess, info.dwProcessId);
  return kErrorSuccess;
}

uint64_t CurrentProcessId() { return GetCurrentProcessId(); }

bool KillProcess(uint64_t id) {
  HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, static_cast<DWORD>(id));
  if (process == nullptr) return false;
  const bool ended = TerminateProcess(process, 137) != 0;
  CloseHandle(process);
  return ended;
}

std::string CurrentExecutablePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) return {};
    if (length < path.size()) {
      path.resize(length);
      return Narrow(path);
    }
    path.resize(path.size() * 2);
  }
}

std::vector<std::string> ProcessArguments() {
  int count = 0;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> args;
  if (wide == nullptr) return args;
  for (int i = 0; i < count; ++i) args.push_back(Narrow(wide[i]));
  LocalFree(wide);
  return args;
}

bool IsStandardErrorTerminal() {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

}  // namespace vantrel::platform
