// Reads the XPML texts a driver's service is sent: state, job, port, query,
// query status and response requests and action bodies. Lenient where the
// senders are known to be sloppy (an apostrophe inside a quoted value ends
// it early, trailing "&#00;" and ";"), strict about numbers. Pure.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::sim {

enum class XpmlKind {
  kState,          // state_names
  kJob,            // number = the job id
  kPort,           // name = "bidirectional" or "disconnected"
  kQuery,          // name = the query id, response_pattern, write_only, data
  kQueryStatus,    // name = the query id
  kQueryResponse,  // name = the query id
  kAction,         // number = the action code
  kUnknown,        // error says why
};

struct XpmlRequest {
  XpmlKind kind = XpmlKind::kUnknown;
  std::vector<std::string> state_names;
  int32_t number = 0;
  std::string name;
  std::string response_pattern;
  bool write_only = false;
  std::string data;
  std::string error;
};

// The request in `text`; kUnknown with a one-line `error` when it is none of
// the known forms.
XpmlRequest ParseXpml(std::string_view text);

// Standard base64 with "=" padding; blanks and line breaks are skipped. False
// on any other character or a wrong length.
bool DecodeBase64(std::string_view text, std::string* out);

// The bytes inside an "lz77" container ("ZLIB", the lengths, a zlib stream).
// False when the header or the stream is wrong or the lengths disagree.
bool DecodeContainer(std::string_view container, std::string* out);

// True when `bytes` start like a container.
bool LooksLikeContainer(std::string_view bytes);

}  // namespace vantrel::sim
