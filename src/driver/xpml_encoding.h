// The XML texts ("XPML") that carry queries, immediate commands and state
// requests to a driver's local service, and the three encoders they need.
// All texts are 8-bit strings; numbers are signed decimal without padding and
// attribute values sit between single quotes. Every function here is pure,
// may be called from any thread and fails only by running out of memory
// (std::bad_alloc), except where it says otherwise.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

// The input up to its first zero byte, with '"', '&', '<' and '>' written as
// entities. The apostrophe is kept as it is, although values are quoted with
// it: a response pattern holding one ends its attribute early, which the
// driver's service has always seen. Empty input gives empty output.
std::string XmlEscape(std::string_view text);

// Replaces `buffer` by the "lz77" container: "ZLIB", the uncompressed length
// and the compressed length (little-endian 32-bit each), then a zlib stream
// made at level 6, window bits 15, memory level 8, default strategy. False,
// with `buffer` untouched, when zlib fails or the output would not fit in
// length + 24 + ceil(length / 1000) bytes.
bool Lz77Compress(std::string* buffer);

// Replaces `buffer` by its base64 text (standard alphabet, "=" padding, no
// line breaks). Always true.
bool Base64Encode(std::string* buffer);

// What a query carries. Time-outs are milliseconds; only values above zero
// are written, so 0 or less leaves the driver's own default in force.
struct XpmlQuery {
  std::string query_id;  // the caller's text, written without escaping
  int32_t send_timeout = 0;
  int32_t receive_start_timeout = 0;
  int32_t receive_interval_timeout = 0;
  std::string response_pattern;  // escaped with XmlEscape; empty leaves it out
  bool write_only = false;       // an immediate command that expects no answer
  std::string data;              // the command's raw bytes
};

// The query request: the data compressed, then base64-encoded. When the
// compression fails the data goes out base64-encoded only, under the same
// "base64;lz77" label; the service has always accepted that.
std::string BuildQueryRequest(const XpmlQuery& query);

// Asks the status, and the response, of an earlier query.
std::string BuildStatusRequest(std::string_view query_id);
std::string BuildResponseRequest(std::string_view query_id);

// The printer state requests.
inline constexpr std::string_view kStateRequestStatus =
    "<state name='Monitoring Supported' action='get' />;<state name='Status' action='get' />;"
    "<state name='Status Severity' action='get' />&#00;";
inline constexpr std::string_view kStateRequestStatusFlags2 =
    "<state name='Monitoring Supported' action='get' />;<state name='Status Flags 2' "
    "action='get' />;<state name='Status Severity' action='get' />&#00;";
inline constexpr std::string_view kStateRequestSeverity =
    "<state name='Monitoring Supported' action='get' />;<state name='Status Severity' "
    "action='get' />&#00;";
inline constexpr std::string_view kPortStateRequest = "<port action='get' name='bidirectional' />;";

// The state request of one job.
std::string BuildJobStateRequest(int32_t job_id);

}  // namespace vantrel
