// The HTTP/1.1 envelope of the XPML service: requests written, replies (and,
// for local services, requests) read incrementally with bounds, so that a
// peer claiming a huge body or never ending its header costs a failed
// exchange, not memory. Pure functions and a reader owned by one thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel {

// Bounds on what a peer may send.
constexpr size_t kHttpMaxHeaderBytes = 64 * 1024;
constexpr size_t kHttpMaxBodyBytes = 16 * 1024 * 1024;

// Header fields in the order received; names compared without letter case.
using HttpFields = std::vector<std::pair<std::string, std::string>>;

struct HttpMessage {
  // Replies: "HTTP/1.1", the status and its reason. Requests: the method,
  // the target and the version.
  std::string start[3];
  HttpFields fields;
  std::string body;
  // The value of the field `name` (any letter case), or empty.
  std::string Field(std::string_view name) const;
};

// The standard reason phrase of an HTTP/1.1 status ("OK", "Bad Request",
// ...); "Unknown" for a code without one.
std::string_view HttpReasonPhrase(int status);

// "POST /xpml HTTP/1.1" with Content-Type application/octet-stream,
// Cache-Control no-cache, Content-Length and the body.
std::string FormatHttpRequest(std::string_view method, std::string_view target,
                              const HttpFields& extra_fields, std::string_view body);
// "HTTP/1.1 <status> <reason>" with the same fields and the body.
std::string FormatHttpReply(int status, const HttpFields& extra_fields, std::string_view body);

// Bytes percent-encoded for a query string: unreserved characters stay, any
// other byte becomes "%" and two upper-case hexadecimal digits.
std::string PercentEncode(std::string_view bytes);
// The reverse; a malformed escape is kept as it is.
std::string PercentDecode(std::string_view text);

// Reads one message as its bytes arrive. The header block may end with
// "\r\n\r\n", "\n\r\n" or "\r\n\n" (or "\n\n"); the body is "Content-Length"
// bytes, or, without that field, everything until the peer closes.
class HttpMessageReader {
 public:
  enum class State { kNeedMore, kComplete, kFailed };

  // Adds bytes; the state after them. Bytes after a complete message are
  // ignored.
  State Feed(std::string_view bytes);
  // The peer closed: completes a message without a length, fails any other
  // unfinished one.
  State Finish();
  State state() const { return state_; }
  // The message; complete only in kComplete.
  const HttpMessage& message() const { return message_; }

 private:
  State ParseHeader(size_t header_end, size_t body_start);
  State TakeBody();

  State state_ = State::kNeedMore;
  std::string pending_;
  bool header_done_ = false;
  bool has_length_ = false;
  size_t length_ = 0;
  HttpMessage message_;
};

}  // namespace vantrel
