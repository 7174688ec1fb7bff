// Reads the HTTP requests that arrive on one connection of the simulator's
// services, one after the other. A request without "Content-Length" has no
// body (unlike a reply, it does not run until the peer closes). Bounded as the
// library's reply reader is: a header past 64 KiB or a body past 16 MiB fails
// the request. Owned by one thread; pure.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "support/http_message.h"

namespace vantrel::sim {

class RequestReader {
 public:
  enum class State { kNeedMore, kComplete, kFailed };

  // Adds bytes; the state after them. Bytes past a complete request wait for
  // Next().
  State Feed(std::string_view bytes);
  // The peer closed: fails an unfinished request.
  State Finish();
  State state() const { return state_; }
  // The request; complete only in kComplete.
  const HttpMessage& request() const { return request_; }
  // Forgets the complete request and starts reading the next one from the
  // bytes that came after it. The state after them.
  State Next();

 private:
  State TryHeader();
  State TakeBody(std::string_view bytes);

  State state_ = State::kNeedMore;
  std::string pending_;                         // bytes before the header ended
  std::unique_ptr<HttpMessageReader> message_;  // once the header ended
  std::string body_bytes_;                      // what was fed to message_ after the header
  std::string leftover_;                        // bytes after the complete request
  HttpMessage request_;
};

}  // namespace vantrel::sim
