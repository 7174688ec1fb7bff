// TCP connections: connect with a time-out, send, receive with a time-out, the
// peer-closed probe, and a listening socket for local services (the simulated
// printer, tests). Every call returns a Windows Sockets error number
// (kErrorSuccess or one of the kWsa* constants) and never throws; the calls
// block at most for the time-out they are given. A socket is used by one
// thread at a time; the functions themselves may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include "platform/win32_errors.h"

namespace vantrel::platform {

// A socket handle; kInvalidSocket when there is none.
using SocketHandle = intptr_t;
constexpr SocketHandle kInvalidSocket = -1;

// Windows Sockets error numbers; Linux maps its errno values onto them.
constexpr long kWsaInterrupted = 10004;
constexpr long kWsaInvalidArgument = 10022;
constexpr long kWsaWouldBlock = 10035;
constexpr long kWsaAddressInUse = 10048;
constexpr long kWsaNetworkUnreachable = 10051;
constexpr long kWsaConnectionAborted = 10053;
constexpr long kWsaConnectionReset = 10054;
constexpr long kWsaNotConnected = 10057;
constexpr long kWsaTimedOut = 10060;
constexpr long kWsaConnectionRefused = 10061;
constexpr long kWsaHostUnreachable = 10065;
constexpr long kWsaHostNotFound = 11001;
constexpr long kWsaNoData = 11004;

// Resolves `host` (a name or a numeric address) and connects to the first
// address that accepts within `timeout_ms` (each address gets the whole
// time-out). On success `*socket` is the connected socket, which the caller
// closes with CloseSocket. kWsaHostNotFound when the name does not resolve,
// kWsaTimedOut, kWsaConnectionRefused, ... otherwise; `*socket` is then
// kInvalidSocket.
PlatformResult ConnectSocket(std::string_view host, uint16_t port, uint32_t timeout_ms,
                             SocketHandle* socket);

// Sends all of `bytes`, waiting at most `timeout_ms` for each part to be
// taken. kWsaTimedOut when the peer stops taking data; a closed connection
// gives kWsaConnectionReset (never a signal).
PlatformResult SendAll(SocketHandle socket, std::string_view bytes, uint32_t timeout_ms);

// Receives what is there, up to `capacity` bytes, waiting at most
// `timeout_ms` for the first byte. `*received` is 0 when the peer closed the
// connection; kWsaTimedOut when nothing came in time.
PlatformResult ReceiveSome(SocketHandle socket, void* buffer, size_t capacity, uint32_t timeout_ms,
                           size_t* received);

// The liveness probe, without waiting: false when the handle is invalid, the
// socket holds an error, it is in an exceptional state, or it is readable and
// a one-byte peek shows the peer closed it or fails with anything but
// kWsaWouldBlock.
bool IsSocketAlive(SocketHandle socket);

// Closes the socket; kInvalidSocket is ignored.
void CloseSocket(SocketHandle socket);

// A listening socket on `host` (numeric address, "" for every address) and
// `port` (0 picks a free port, reported in `*bound_port`).
PlatformResult ListenSocket(std::string_view host, uint16_t port, SocketHandle* socket,
                            uint16_t* bound_port);

// Waits at most `timeout_ms` for a connection on a listening socket.
// kWsaTimedOut when none came.
PlatformResult AcceptSocket(SocketHandle listener, uint32_t timeout_ms, SocketHandle* connection);

// The error's text for log lines ("Connection refused (10061)").
std::string SocketErrorText(long error);

}  // namespace vantrel::platform
