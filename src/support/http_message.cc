#include "support/http_message.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace vantrel {

namespace {

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) {
    text.remove_suffix(1);
  }
  return text;
}

// The end of the header block and the start of the body, or npos.
std::pair<size_t, size_t> FindHeaderEnd(std::string_view data) {
  for (size_t at = data.find('\n'); at != std::string_view::npos; at = data.find('\n', at + 1)) {
    if (at + 1 < data.size() && data[at + 1] == '\n') return {at, at + 2};
    if (at + 2 < data.size() && data[at + 1] == '\r' && data[at + 2] == '\n') return {at, at + 3};
  }
  return {std::string_view::npos, std::string_view::npos};
}

std::string FormatMessage(std::string start_line, const HttpFields& extra_fields,
                          std::string_view body) {
  std::string text = std::move(start_line) + "\r\n";
  text += "Content-Type: application/octet-stream\r\nCache-Control: no-cache\r\n";
  for (const auto& [name, value] : extra_fields) text += name + ": " + value + "\r\n";
  text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
  text += body;
  return text;
}

}  // namespace

std::string HttpMessage::Field(std::string_view name) const {
  for (const auto& [field, value] : fields) {
    if (EqualsIgnoringCase(field, name)) return value;
  }
  return {};
}

std::string_view HttpReasonPhrase(int status) {
  switch (status) {
    case 100:
      return "Continue";
    case 200:
      return "OK";
    case 201:
      return "Created";
    case 202:
      return "Accepted";
    case 204:
      return "No Content";
    case 301:
      return "Moved Permanently";
    case 302:
      return "Found";
    case 304:
      return "Not Modified";
    case 400:
      return "Bad Request";
    case 401:
      return "Unauthorized";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 408:
      return "Request Timeout";
    case 411:
      return "Length Required";
    case 413:
      return "Payload Too Large";
    case 500:
      return "Internal Server Error";
    case 501:
      return "Not Implemented";
    case 503:
      return "Service Unavailable";
    case 505:
      return "HTTP Version Not Supported";
    default:
      return "Unknown";
  }
}

std::string FormatHttpRequest(std::string_view method, std::string_view target,
                              const HttpFields& extra_fields, std::string_view body) {
  return FormatMessage(std::string(method) + " " + std::string(target) + " HTTP/1.1", extra_fields,
                       body);
}

std::string FormatHttpReply(int status, const HttpFields& extra_fields, std::string_view body) {
  return FormatMessage(
      "HTTP/1.1 " + std::to_string(status) + " " + std::string(HttpReasonPhrase(status)),
      extra_fields, body);
}

std::string PercentEncode(std::string_view bytes) {
  static constexpr std::string_view kKept =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.!~*'()";
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (char c : bytes) {
    if (kKept.find(c) != std::string_view::npos) {
      out += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      out += '%';
      out += kDigits[byte >> 4];
      out += kDigits[byte & 15];
    }
  }
  return out;
}

std::string PercentDecode(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    unsigned value = 0;
    if (text[i] == '%' && i + 2 < text.size() &&
        std::from_chars(text.data() + i + 1, text.data() + i + 3, value, 16).ptr ==
            text.data() + i + 3) {
      out += static_cast<char>(value);
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

HttpMessageReader::State HttpMessageReader::Feed(std::string_view bytes) {
  if (state_ != State::kNeedMore) return state_;
  pending_.append(bytes.data(), bytes.size());
  if (!header_done_) {
    const auto [header_end, body_start] = FindHeaderEnd(pending_);
    if (header_end == std::string::npos) {
      if (pending_.size() > kHttpMaxHeaderBytes) state_ = State::kFailed;
      return state_;
    }
    if (header_end > kHttpMaxHeaderBytes) return state_ = State::kFailed;
    state_ = ParseHeader(header_end, body_start);
    if (state_ != State::kNeedMore) return state_;
  }
  return state_ = TakeBody();
}

HttpMessageReader::State HttpMessageReader::Finish() {
  if (state_ != State::kNeedMore) return state_;
  if (header_done_ && !has_length_) {
    message_.body = std::move(pending_);
    return state_ = State::kComplete;
  }
  return state_ = State::kFailed;
}

HttpMessageReader::State HttpMessageReader::ParseHeader(size_t header_end, size_t body_start) {
  std::string_view header(pending_.data(), header_end);
  size_t line_end = header.find('\n');
  const std::string_view start_line = Trim(header.substr(0, line_end));
  // Three parts: the last one may hold blanks (a reason phrase).
  const size_t first = start_line.find(' ');
  if (first == std::string_view::npos) return State::kFailed;
  const size_t second = start_line.find(' ', first + 1);
  message_.start[0] = start_line.substr(0, first);
  message_.start[1] = start_line.substr(
      first + 1, second == std::string_view::npos ? std::string_view::npos : second - first - 1);
  if (second != std::string_view::npos) message_.start[2] = start_line.substr(second + 1);
  while (line_end != std::string_view::npos && line_end < header.size()) {
    const size_t next = header.find('\n', line_end + 1);
    const std::string_view line = Trim(header.substr(line_end + 1, next - line_end - 1));
    line_end = next;
    if (line.empty()) continue;
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) return State::kFailed;
    message_.fields.emplace_back(Trim(line.substr(0, colon)), Trim(line.substr(colon + 1)));
  }
  for (const auto& [name, value] : message_.fields) {
    if (!EqualsIgnoringCase(name, "Content-Length")) continue;
    size_t length = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), length);
    if (error != std::errc() || end != value.data() + value.size() || value.empty()) {
      return State::kFailed;
    }
    if (length > kHttpMaxBodyBytes || (has_length_ && length != length_)) return State::kFailed;
    has_length_ = true;
    length_ = length;
  }
  header_done_ = true;
  pending_.erase(0, body_start);
  return State::kNeedMore;
}

HttpMessageReader::State HttpMessageReader::TakeBody() {
  if (!has_length_) {
    return pending_.size() > kHttpMaxBodyBytes ? State::kFailed : State::kNeedMore;
  }
  if (pending_.size() < length_) return State::kNeedMore;
  message_.body = pending_.substr(0, length_);
  pending_.clear();
  return State::kComplete;
}

}  // namespace vantrel
