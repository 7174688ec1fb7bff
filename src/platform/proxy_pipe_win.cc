#include <windows.h>

#include "platform/clock.h"
#include "platform/proxy_pipe.h"
#include "platform/wide_text_win.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

constexpr DWORD kPipeBufferBytes = 256;
constexpr DWORD kStepMs = 50;

// Keeps a thread with windows responsive while it waits on the pipe.
void DispatchQueuedMessages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

// Waits before a write, or before a read until `wanted` bytes are there.
// The wait is in steps, so a pipe handle that is never signalled cannot hold
// it; a pipe that cannot be peeked ends it (the read then reports why).
void WaitForPipe(HANDLE pipe, DWORD wanted) {
  for (;;) {
    const DWORD result = MsgWaitForMultipleObjects(1, &pipe, FALSE, kStepMs, QS_ALLINPUT);
    if (result == WAIT_OBJECT_0 + 1) {
      DispatchQueuedMessages();
      continue;
    }
    if (result != WAIT_OBJECT_0 && result != WAIT_TIMEOUT) return;
    DispatchQueuedMessages();
    if (wanted == 0) return;
    DWORD available = 0;
    if (!PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr)) return;
    if (available >= wanted) return;
    Sleep(kStepMs);
  }
}

class HandleStream : public ProxyPipeServer {
 public:
  explicit HandleStream(HANDLE pipe, bool server) : pipe_(pipe), server_(server) {}
  ~HandleStream() override { CloseHandle(pipe_); }

  // Listens without blocking, so that a host that never starts cannot hold
  // the caller for ever; a host that connected first is no error.
  PlatformResult Connect() override {
    DWORD mode = PIPE_READMODE_MESSAGE | PIPE_NOWAIT;
    if (!SetNamedPipeHandleState(pipe_, &mode, nullptr, nullptr)) {
      ConnectNamedPipe(pipe_, nullptr);
      return kErrorSuccess;
    }
    long result = kErrorTimeout;
    const uint64_t deadline = TickCount64() + kProxyConnectTimeoutMs;
    while (TickCount64() < deadline) {
      if (ConnectNamedPipe(pipe_, nullptr) || GetLastError() == ERROR_PIPE_CONNECTED) {
        result = kErrorSuccess;
        break;
      }
      if (GetLastError() != ERROR_PIPE_LISTENING) {
        result = static_cast<long>(GetLastError());
        break;
      }
      Sleep(kStepMs);
    }
    mode = PIPE_READMODE_MESSAGE | PIPE_WAIT;
    SetNamedPipeHandleState(pipe_, &mode, nullptr, nullptr);
    return result;
  }

  PlatformResult Write(const void* bytes, size_t size, size_t* written) override {
    *written = 0;
    if (server_) WaitForPipe(pipe_, 0);
    DWORD done = 0;
    if (!WriteFile(pipe_, bytes, static_cast<DWORD>(size), &done, nullptr)) {
      *written = done;
      return static_cast<long>(GetLastError());
    }
    *written = done;
    return kErrorSuccess;
  }

  PlatformResult Read(void* bytes, size_t size, size_t* read) override {
    *read = 0;
    if (server_) WaitForPipe(pipe_, static_cast<DWORD>(size));
    char* next = static_cast<char*>(bytes);
    while (*read < size) {
      DWORD done = 0;
      const BOOL ok =
          ReadFile(pipe_, next + *read, static_cast<DWORD>(size - *read), &done, nullptr);
      *read += done;
      // Part of a longer message is still data for a byte-stream reader.
      if (!ok && GetLastError() != ERROR_MORE_DATA) return static_cast<long>(GetLastError());
      if (ok && done == 0) return kErrorBrokenPipe;
    }
    return kErrorSuccess;
  }

 private:
  const HANDLE pipe_;
  const bool server_;
};

}  // namespace

PlatformResult CreateProxyPipe(const std::string& name, std::unique_ptr<ProxyPipeServer>* server) {
  const HANDLE pipe =
      CreateNamedPipeW(Widen(name).c_str(), PIPE_ACCESS_DUPLEX,
                       PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, 255, kPipeBufferBytes,
                       kPipeBufferBytes, kProxyConnectTimeoutMs, nullptr);
  if (pipe == nullptr || pipe == INVALID_HANDLE_VALUE) return static_cast<long>(GetLastError());
  *server = std::make_unique<HandleStream>(pipe, true);
  return kErrorSuccess;
}

PlatformResult OpenProxyPipe(const std::string& name, std::unique_ptr<PipeByteStream>* client) {
  const std::wstring wide = Widen(name);
  const uint64_t deadline = TickCount64() + kProxyConnectTimeoutMs;
  for (;;) {
    const HANDLE pipe = CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (pipe != INVALID_HANDLE_VALUE) {
      *client = std::make_unique<HandleStream>(pipe, false);
      return kErrorSuccess;
    }
    const long error = static_cast<long>(GetLastError());
    if (TickCount64() >= deadline) return error;
    // The library makes the pipe after starting us, or another client has it.
    if (error == ERROR_PIPE_BUSY) {
      WaitNamedPipeW(wide.c_str(), kStepMs);
    } else {
      Sleep(kStepMs);
    }
  }
}

PlatformResult StartModuleHost(const std::string& module_path, const std::string& entry,
                               const std::string& arguments) {
  std::wstring command =
      L"RunDLL32.exe \"" + Widen(module_path) + L"\"," + Widen(entry) + L" " + Widen(arguments);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_HIDE;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &process)) {
    return static_cast<long>(GetLastError());
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return kErrorSuccess;
}

}  // namespace vantrel::platform
