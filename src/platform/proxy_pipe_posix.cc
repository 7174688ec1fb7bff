#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/clock.h"
#include "platform/folders.h"
#include "platform/library_folder.h"
#include "platform/platform_error_posix.h"
#include "platform/proxy_pipe.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

constexpr int kPollStepMs = 50;

// The caller's private folder for pipe sockets: under VANTREL_RUNTIME_DIR
// (else /tmp), "vantrel-pipes-UID", mode 0700 and owned by the caller.
long PipeFolder(std::string* folder) {
  const char* configured = std::getenv("VANTREL_RUNTIME_DIR");
  const std::string base = configured != nullptr && *configured ? configured : "/tmp";
  if (!CreateFolders(base)) return kErrorPathNotFound;
  *folder = JoinPath(base, "vantrel-pipes-" + std::to_string(getuid()));
  if (mkdir(folder->c_str(), 0700) != 0 && errno != EEXIST) return WindowsErrorFromErrno(errno);
  struct stat info {};
  if (lstat(folder->c_str(), &info) != 0) return WindowsErrorFromErrno(errno);
  // Someone else's folder, or a link, could hand our calls to another user.
  if (!S_ISDIR(info.st_mode) || info.st_uid != getuid() || (info.st_mode & 077) != 0) {
    return kErrorAccessDenied;
  }
  return kErrorSuccess;
}

// The socket address for a pipe name: its last 16 characters name the file.
long SocketAddress(const std::string& name, sockaddr_un* address) {
  std::string folder;
  if (const long error = PipeFolder(&folder)) return error;
  const std::string path = JoinPath(folder, name.substr(name.size() > 16 ? name.size() - 16 : 0));
  if (path.size() >= sizeof(address->sun_path)) return kErrorBadPathname;
  *address = sockaddr_un{};
  address->sun_family = AF_UNIX;
  std::memcpy(address->sun_path, path.c_str(), path.size() + 1);
  return kErrorSuccess;
}

class SocketStream : public PipeByteStream {
 public:
  explicit SocketStream(int socket = -1) : socket_(socket) {}
  ~SocketStream() override {
    if (socket_ >= 0) close(socket_);
  }

  PlatformResult Write(const void* bytes, size_t size, size_t* written) override {
    *written = 0;
    const char* next = static_cast<const char*>(bytes);
    while (*written < size) {
      const ssize_t sent = send(socket_, next + *written, size - *written, MSG_NOSIGNAL);
      if (sent < 0 && errno == EINTR) continue;
      if (sent < 0) return errno == EPIPE ? kErrorBrokenPipe : WindowsErrorFromErrno(errno);
      *written += static_cast<size_t>(sent);
    }
    return kErrorSuccess;
  }

  PlatformResult Read(void* bytes, size_t size, size_t* read) override {
    *read = 0;
    char* next = static_cast<char*>(bytes);
    while (*read < size) {
      const ssize_t got = recv(socket_, next + *read, size - *read, 0);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) return WindowsErrorFromErrno(errno);
      if (got == 0) return kErrorBrokenPipe;
      *read += static_cast<size_t>(got);
    }
    return kErrorSuccess;
  }

 protected:
  int socket_;
};

class SocketServer : public ProxyPipeServer {
 public:
  SocketServer(int listener, std::string path) : listener_(listener), path_(std::move(path)) {}
  ~SocketServer() override {
    if (listener_ >= 0) close(listener_);
    unlink(path_.c_str());
  }

  PlatformResult Connect() override {
    pollfd waiting{listener_, POLLIN, 0};
    const int ready = poll(&waiting, 1, kProxyConnectTimeoutMs);
    if (ready == 0) return kErrorTimeout;
    if (ready < 0) return WindowsErrorFromErrno(errno);
    const int connection = accept(listener_, nullptr, nullptr);
    if (connection < 0) return WindowsErrorFromErrno(errno);
    // Only the same user's host may serve our calls.
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 ||
        peer.uid != getuid()) {
      close(connection);
      return kErrorAccessDenied;
    }
    // One client per pipe: the name is free again at once.
    close(listener_);
    listener_ = -1;
    unlink(path_.c_str());
    stream_ = std::make_unique<SocketStream>(connection);
    return kErrorSuccess;
  }

  PlatformResult Write(const void* bytes, size_t size, size_t* written) override {
    *written = 0;
    return stream_ ? stream_->Write(bytes, size, written) : PlatformResult(kErrorInvalidHandle);
  }
  PlatformResult Read(void* bytes, size_t size, size_t* read) override {
    *read = 0;
    return stream_ ? stream_->Read(bytes, size, read) : PlatformResult(kErrorInvalidHandle);
  }

 private:
  int listener_;
  const std::string path_;
  std::unique_ptr<SocketStream> stream_;
};

// The host program: beside the library, or in ../bin when the library is in lib/.
std::string ModuleHostProgram() {
  const std::string folder = LibraryFolder();
  const std::string beside = JoinPath(folder, "vantrel-rundll");
  if (access(beside.c_str(), X_OK) == 0) return beside;
  return JoinPath(JoinPath(folder, ".."), "bin/vantrel-rundll");
}

}  // namespace

PlatformResult CreateProxyPipe(const std::string& name, std::unique_ptr<ProxyPipeServer>* server) {
  sockaddr_un address;
  if (const long error = SocketAddress(name, &address)) return error;
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listener < 0) return WindowsErrorFromErrno(errno);
  unlink(address.sun_path);  // left by a process that died
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      listen(listener, 1) != 0) {
    const long error = WindowsErrorFromErrno(errno);
    close(listener);
    return error;
  }
  *server = std::make_unique<SocketServer>(listener, address.sun_path);
  return kErrorSuccess;
}

PlatformResult OpenProxyPipe(const std::string& name, std::unique_ptr<PipeByteStream>* client) {
  sockaddr_un address;
  if (const long error = SocketAddress(name, &address)) return error;
  const uint64_t deadline = TickCount64() + kProxyConnectTimeoutMs;
  for (;;) {
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connection < 0) return WindowsErrorFromErrno(errno);
    if (connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0) {
      *client = std::make_unique<SocketStream>(connection);
      return kErrorSuccess;
    }
    const long error = WindowsErrorFromErrno(errno);
    close(connection);
    if (TickCount64() >= deadline) return error;
    SleepMilliseconds(kPollStepMs);
  }
}

PlatformResult StartModuleHost(const std::string& module_path, const std::string& entry,
                               const std::string& arguments) {
  const std::string program = ModuleHostProgram();
  if (access(program.c_str(), X_OK) != 0) return kErrorFileNotFound;
  const std::string target = module_path + "," + entry;
  // Detached: a first child starts the host and ends at once, so the host is
  // never left as our zombie and the library never waits for it.
  const pid_t first = fork();
  if (first < 0) return WindowsErrorFromErrno(errno);
  if (first == 0) {
    if (fork() == 0) {
      execl(program.c_str(), program.c_str(), target.c_str(), arguments.c_str(),
            static_cast<char*>(nullptr));
      _exit(127);
    }
    _exit(0);
  }
  int status = 0;
  while (waitpid(first, &status, 0) < 0 && errno == EINTR) {
  }
  return kErrorSuccess;
}

}  // namespace vantrel::platform
