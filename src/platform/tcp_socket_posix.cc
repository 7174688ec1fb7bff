#include "platform/tcp_socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/clock.h"

namespace vantrel::platform {

namespace {

long WsaFromErrno(int error) {
  switch (error) {
    case 0:
      return 0;
    case EINTR:
      return kWsaInterrupted;
    case EAGAIN:
      return kWsaWouldBlock;
    case EINPROGRESS:
      return kWsaWouldBlock;
    case EADDRINUSE:
      return kWsaAddressInUse;
    case ENETUNREACH:
      return kWsaNetworkUnreachable;
    case ECONNABORTED:
      return kWsaConnectionAborted;
    case ECONNRESET:
      return kWsaConnectionReset;
    case EPIPE:
      return kWsaConnectionReset;
    case ENOTCONN:
      return kWsaNotConnected;
    case ETIMEDOUT:
      return kWsaTimedOut;
    case ECONNREFUSED:
      return kWsaConnectionRefused;
    case EHOSTUNREACH:
      return kWsaHostUnreachable;
    default:
      return kWsaInvalidArgument;
  }
}

long LastError() { return WsaFromErrno(errno); }

// Waits for `events` on the socket; kWsaTimedOut when they did not come.
long WaitFor(int fd, short events, uint32_t timeout_ms) {
  pollfd entry{fd, events, 0};
  const uint64_t deadline = TickCount64() + timeout_ms;
  for (;;) {
    const uint64_t now = TickCount64();
    const int wait = now >= deadline ? 0 : static_cast<int>(deadline - now);
    const int ready = poll(&entry, 1, wait);
    if (ready > 0) return 0;
    if (ready == 0) return kWsaTimedOut;
    if (errno != EINTR) return LastError();
  }
}

long ConnectOne(const addrinfo& address, uint32_t timeout_ms, int* out) {
  const int fd = socket(address.ai_family, address.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK,
                        address.ai_protocol);
  if (fd < 0) return LastError();
  long error = 0;
  if (connect(fd, address.ai_addr, address.ai_addrlen) != 0) {
    error = errno == EINPROGRESS ? WaitFor(fd, POLLOUT, timeout_ms) : LastError();
    if (error == 0) {
      int pending = 0;
      socklen_t size = sizeof(pending);
      getsockopt(fd, SOL_SOCKET, SO_ERROR, &pending, &size);
      error = WsaFromErrno(pending);
    }
  }
  if (error != 0) {
    close(fd);
    return error;
  }
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
  *out = fd;
  return 0;
}

}  // namespace

PlatformResult ConnectSocket(std::string_view host, uint16_t port, uint32_t timeout_ms,
                             SocketHandle* socket) {
  *socket = kInvalidSocket;
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* addresses = nullptr;
  const std::string service = std::to_string(port);
  if (getaddrinfo(std::string(host).c_str(), service.c_str(), &hints, &addresses) != 0) {
    return kWsaHostNotFound;
  }
  long error = kWsaHostNotFound;
  for (addrinfo* address = addresses; address != nullptr; address = address->ai_next) {
    int fd = -1;
    error = ConnectOne(*address, timeout_ms, &fd);
    if (error == 0) {
      *socket = fd;
      break;
    }
  }
  freeaddrinfo(addresses);
  return error;
}

PlatformResult SendAll(SocketHandle socket, std::string_view bytes, uint32_t timeout_ms) {
  const int fd = static_cast<int>(socket);
  while (!bytes.empty()) {
    const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent > 0) {
      bytes.remove_prefix(static_cast<size_t>(sent));
      continue;
    }
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0 && errno != EAGAIN) return LastError();
    if (const long error = WaitFor(fd, POLLOUT, timeout_ms); error != 0) return error;
  }
  return 0;
}

PlatformResult ReceiveSome(SocketHandle socket, void* buffer, size_t capacity, uint32_t timeout_ms,
                           size_t* received) {
  *received = 0;
  const int fd = static_cast<int>(socket);
  for (;;) {
    const ssize_t got = recv(fd, buffer, capacity, 0);
    if (got >= 0) {
      *received = static_cast<size_t>(got);
      return 0;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return LastError();
    if (const long error = WaitFor(fd, POLLIN, timeout_ms); error != 0) return error;
  }
}

bool IsSocketAlive(SocketHandle socket) {
  if (socket == kInvalidSocket) return false;
  const int fd = static_cast<int>(socket);
  int pending = 0;
  socklen_t size = sizeof(pending);
  if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &pending, &size) != 0 || pending != 0) return false;
  pollfd entry{fd, POLLIN | POLLPRI, 0};
  if (poll(&entry, 1, 0) < 0) return false;
  if (entry.revents & (POLLERR | POLLNVAL)) return false;
  if (entry.revents & (POLLIN | POLLHUP)) {
    char byte = 0;
    const ssize_t got = recv(fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    if (got == 0) return false;
    if (got < 0 && errno != EAGAIN) return false;
  }
  return true;
}

void CloseSocket(SocketHandle socket) {
  if (socket != kInvalidSocket) close(static_cast<int>(socket));
}

PlatformResult ListenSocket(std::string_view host, uint16_t port, SocketHandle* socket,
                            uint16_t* bound_port) {
  *socket = kInvalidSocket;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  if (!host.empty() && inet_pton(AF_INET, std::string(host).c_str(), &address.sin_addr) != 1) {
    return kWsaHostNotFound;
  }
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) return LastError();
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
  socklen_t size = sizeof(address);
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      listen(fd, 64) != 0 || getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    const long error = LastError();
    close(fd);
    return error;
  }
  if (bound_port != nullptr) *bound_port = ntohs(address.sin_port);
  *socket = fd;
  return 0;
}

PlatformResult AcceptSocket(SocketHandle listener, uint32_t timeout_ms, SocketHandle* connection) {
  *connection = kInvalidSocket;
  const int fd = static_cast<int>(listener);
  for (;;) {
    const int accepted = accept4(fd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (accepted >= 0) {
      const int on = 1;
      setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
      *connection = accepted;
      return 0;
    }
    if (errno == EINTR || errno == ECONNABORTED) continue;
    if (errno != EAGAIN) return LastError();
    if (const long error = WaitFor(fd, POLLIN, timeout_ms); error != 0) return error;
  }
}

}  // namespace vantrel::platform
