#include "platform/tcp_socket.h"

#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>

#include <mutex>

#include "platform/clock.h"
#include "platform/wide_text_win.h"

namespace vantrel::platform {

namespace {

void StartWinsockOnce() {
  static std::once_flag started;
  std::call_once(started, [] {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
  });
}

SOCKET AsSocket(SocketHandle handle) { return static_cast<SOCKET>(handle); }

void SetNonBlocking(SOCKET s) {
  u_long on = 1;
  ioctlsocket(s, FIONBIO, &on);
}

// Waits until the socket is writable (connect, send) or readable.
long WaitFor(SOCKET s, bool for_write, uint32_t timeout_ms) {
  fd_set ready, failed;
  FD_ZERO(&ready);
  FD_ZERO(&failed);
  FD_SET(s, &ready);
  FD_SET(s, &failed);
  timeval wait{static_cast<long>(timeout_ms / 1000), static_cast<long>(timeout_ms % 1000) * 1000};
  const int count = for_write ? select(0, nullptr, &ready, &failed, &wait)
                              : select(0, &ready, nullptr, &failed, &wait);
  if (count == SOCKET_ERROR) return WSAGetLastError();
  if (count == 0) return kWsaTimedOut;
  if (FD_ISSET(s, &failed)) {
    int pending = 0;
    int size = sizeof(pending);
    getsockopt(s, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&pending), &size);
    return pending != 0 ? pending : kWsaConnectionRefused;
  }
  return 0;
}

long ConnectOne(const ADDRINFOW& address, uint32_t timeout_ms, SOCKET* out) {
  SOCKET s = socket(address.ai_family, address.ai_socktype, address.ai_protocol);
  if (s == INVALID_SOCKET) return WSAGetLastError();
  SetNonBlocking(s);
  long error = 0;
  if (connect(s, address.ai_addr, static_cast<int>(address.ai_addrlen)) == SOCKET_ERROR) {
    error = WSAGetLastError();
    if (error == WSAEWOULDBLOCK) error = WaitFor(s, true, timeout_ms);
  }
  if (error != 0) {
    closesocket(s);
    return error;
  }
  BOOL on = TRUE;
  setsockopt(s, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof(on));
  *out = s;
  return 0;
}

}  // namespace

PlatformResult ConnectSocket(std::string_view host, uint16_t port, uint32_t timeout_ms,
                             SocketHandle* socket) {
  *socket = kInvalidSocket;
  StartWinsockOnce();
  ADDRINFOW hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  ADDRINFOW* addresses = nullptr;
  const std::wstring wide_host = Widen(host);
  const std::wstring service = std::to_wstring(port);
  if (GetAddrInfoW(wide_host.c_str(), service.c_str(), &hints, &addresses) != 0) {
    return kWsaHostNotFound;
  }
  long error = kWsaHostNotFound;
  for (ADDRINFOW* address = addresses; address != nullptr; address = address->ai_next) {
    SOCKET s = INVALID_SOCKET;
    error = ConnectOne(*address, timeout_ms, &s);
    if (error == 0) {
      *socket = static_cast<SocketHandle>(s);
      break;
    }
  }
  FreeAddrInfoW(addresses);
  return error;
}

PlatformResult SendAll(SocketHandle socket, std::string_view bytes, uint32_t timeout_ms) {
  const SOCKET s = AsSocket(socket);
  while (!bytes.empty()) {
    const int sent = send(s, bytes.data(), static_cast<int>(bytes.size()), 0);
    if (sent > 0) {
      bytes.remove_prefix(static_cast<size_t>(sent));
      continue;
    }
    const long error = WSAGetLastError();
    if (error != WSAEWOULDBLOCK) return error;
    if (const long waited = WaitFor(s, true, timeout_ms); waited != 0) return waited;
  }
  return 0;
}

PlatformResult ReceiveSome(SocketHandle socket, void* buffer, size_t capacity, uint32_t timeout_ms,
                           size_t* received) {
  *received = 0;
  const SOCKET s = AsSocket(socket);
  const int size = capacity > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(capacity);
  for (;;) {
    const int got = recv(s, static_cast<char*>(buffer), size, 0);
    if (got >= 0) {
      *received = static_cast<size_t>(got);
      return 0;
    }
    const long error = WSAGetLastError();
    if (error != WSAEWOULDBLOCK) return error;
    if (const long waited = WaitFor(s, false, timeout_ms); waited != 0) return waited;
  }
}

bool IsSocketAlive(SocketHandle socket) {
  if (socket == kInvalidSocket) return false;
  const SOCKET s = AsSocket(socket);
  int pending = 0;
  int size = sizeof(pending);
  if (getsockopt(s, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&pending), &size) != 0 ||
      pending != 0) {
    return false;
  }
  fd_set readable, failed;
  FD_ZERO(&readable);
  FD_ZERO(&failed);
  FD_SET(s, &readable);
  FD_SET(s, &failed);
  timeval no_wait{0, 0};
  if (select(0, &readable, nullptr, &failed, &no_wait) == SOCKET_ERROR) return false;
  if (FD_ISSET(s, &failed)) return false;
  if (FD_ISSET(s, &readable)) {
    char byte = 0;
    const int got = recv(s, &byte, 1, MSG_PEEK);
    if (got == 0) return false;
    if (got < 0 && WSAGetLastError() != WSAEWOULDBLOCK) return false;
  }
  return true;
}

void CloseSocket(SocketHandle socket) {
  if (socket != kInvalidSocket) closesocket(AsSocket(socket));
}

PlatformResult ListenSocket(std::string_view host, uint16_t port, SocketHandle* socket,
                            uint16_t* bound_port) {
  *socket = kInvalidSocket;
  StartWinsockOnce();
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  if (!host.empty() && inet_pton(AF_INET, std::string(host).c_str(), &address.sin_addr) != 1) {
    return kWsaHostNotFound;
  }
  SOCKET s = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  if (s == INVALID_SOCKET) return WSAGetLastError();
  int size = sizeof(address);
  if (bind(s, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 || listen(s, 64) != 0 ||
      getsockname(s, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    const long error = WSAGetLastError();
    closesocket(s);
    return error;
  }
  SetNonBlocking(s);
  if (bound_port != nullptr) *bound_port = ntohs(address.sin_port);
  *socket = static_cast<SocketHandle>(s);
  return 0;
}

PlatformResult AcceptSocket(SocketHandle listener, uint32_t timeout_ms, SocketHandle* connection) {
  *connection = kInvalidSocket;
  const SOCKET s = AsSocket(listener);
  if (const long waited = WaitFor(s, false, timeout_ms); waited != 0) return waited;
  SOCKET accepted = accept(s, nullptr, nullptr);
  if (accepted == INVALID_SOCKET) return WSAGetLastError();
  SetNonBlocking(accepted);
  BOOL on = TRUE;
  setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof(on));
  *connection = static_cast<SocketHandle>(accepted);
  return 0;
}

}  // namespace vantrel::platform
