#include "printer-sim/sim_request_reader.h"

#include <algorithm>
#include <cctype>

namespace vantrel::sim {

namespace {

// Where the body starts, or npos: the header ends at an empty line, written
// "\n\n" or "\n\r\n" as the library's reader accepts it.
size_t FindBodyStart(std::string_view data) {
  for (size_t at = data.find('\n'); at != std::string_view::npos; at = data.find('\n', at + 1)) {
    if (at + 1 < data.size() && data[at + 1] == '\n') return at + 2;
    if (at + 2 < data.size() && data[at + 1] == '\r' && data[at + 2] == '\n') return at + 3;
  }
  return std::string_view::npos;
}

bool HasContentLength(std::string_view header) {
  std::string lower(header);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower.find("\ncontent-length:") != std::string::npos;
}

}  // namespace

RequestReader::State RequestReader::Feed(std::string_view bytes) {
  if (state_ == State::kComplete) leftover_.append(bytes);
  if (state_ != State::kNeedMore) return state_;
  if (message_) return state_ = TakeBody(bytes);
  pending_.append(bytes);
  return state_ = TryHeader();
}

RequestReader::State RequestReader::TryHeader() {
  const size_t body_start = FindBodyStart(pending_);
  if (body_start == std::string::npos) {
    return pending_.size() > kHttpMaxHeaderBytes ? State::kFailed : State::kNeedMore;
  }
  if (body_start > kHttpMaxHeaderBytes + 3) return State::kFailed;
  const std::string_view header(pending_.data(), body_start);
  message_ = std::make_unique<HttpMessageReader>();
  HttpMessageReader::State header_state = message_->Feed(header);
  // Without a length the request has no body; the reader would wait for the
  // peer to close, so tell it the body ended.
  if (header_state == HttpMessageReader::State::kNeedMore && !HasContentLength(header)) {
    header_state = message_->Finish();
  }
  std::string rest = pending_.substr(body_start);
  pending_.clear();
  if (header_state == HttpMessageReader::State::kFailed) return State::kFailed;
  if (header_state == HttpMessageReader::State::kComplete) {
    request_ = message_->message();
    leftover_ = std::move(rest);
    return State::kComplete;
  }
  return TakeBody(rest);
}

RequestReader::State RequestReader::TakeBody(std::string_view bytes) {
  body_bytes_.append(bytes);
  const HttpMessageReader::State body_state = message_->Feed(bytes);
  if (body_state == HttpMessageReader::State::kFailed) return State::kFailed;
  if (body_state == HttpMessageReader::State::kNeedMore) return State::kNeedMore;
  request_ = message_->message();
  leftover_ = body_bytes_.substr(std::min(request_.body.size(), body_bytes_.size()));
  return State::kComplete;
}

RequestReader::State RequestReader::Finish() {
  if (state_ == State::kNeedMore) state_ = State::kFailed;
  return state_;
}

RequestReader::State RequestReader::Next() {
  if (state_ != State::kComplete) return state_;
  std::string bytes = std::move(leftover_);
  *this = RequestReader();
  return bytes.empty() ? state_ : Feed(bytes);
}

}  // namespace vantrel::sim
