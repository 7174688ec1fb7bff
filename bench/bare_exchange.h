// The baseline of the device-channel benchmarks: one HTTP exchange over a
// socket kept open, with nothing of the library's client around it.
#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/tcp_socket.h"
#include "support/http_message.h"

namespace vantrel::bench {

// A connection to the loopback service on `port`; aborts when it is refused.
inline platform::SocketHandle ConnectOrAbort(uint16_t port) {
  platform::SocketHandle socket = platform::kInvalidSocket;
  if (platform::ConnectSocket("127.0.0.1", port, 1000, &socket) != 0) std::abort();
  return socket;
}

// Sends `request` and reads the whole reply, giving its body; aborts on a
// socket failure.
inline std::string BareExchange(platform::SocketHandle socket, const std::string& request) {
  char buffer[16384];
  if (platform::SendAll(socket, request, 1000) != 0) std::abort();
  HttpMessageReader reader;
  while (reader.state() == HttpMessageReader::State::kNeedMore) {
    size_t received = 0;
    if (platform::ReceiveSome(socket, buffer, sizeof(buffer), 1000, &received) != 0) std::abort();
    reader.Feed(std::string_view(buffer, received));
  }
  return reader.message().body;
}

}  // namespace vantrel::bench
