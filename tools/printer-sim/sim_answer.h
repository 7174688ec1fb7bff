// The answers of the simulated printer's XPML service: a complete request in,
// the reply (and the fault to show with it) out. Pure: the caller holds the
// state's lock while answering and writes the rendered bytes after letting
// it go.
#pragma once

#include <string>

#include "printer-sim/sim_state.h"
#include "support/http_message.h"

namespace vantrel::sim {

struct SimReply {
  int status = 200;
  std::string body;
  HttpFields fields;   // besides the standard ones
  bool close = false;  // end the connection after this reply
  Faults fault;        // only delay_ms and kind matter here
};

// Answers one request to the XPML service and records what it changes
// (queries started and polled, actions). A request that is not a POST to
// "/xpml" or whose text is none of the known forms gets 400, 404 or 405 with
// a one-line body. The reply carries "TID" when the request named a
// "transactid", and asks to close when "persist" is not "1".
SimReply AnswerXpml(SimState* state, const HttpMessage& request);

// The bytes to send: the formatted reply, or its malformed form under a
// fault; empty for a dropped connection.
std::string RenderReply(const SimReply& reply);

// True when the connection ends after the reply: asked for, or a fault that
// leaves it unusable.
bool ClosesAfter(const SimReply& reply);

// The query-string items of a request target ("/xpml?a=1&b=x%20y"), decoded;
// the value of `name`, or empty.
std::string QueryItem(const std::string& target, std::string_view name);

// The target without its query string.
std::string TargetPath(const std::string& target);

// A reply with a one-line text body.
SimReply LineReply(int status, const std::string& line);

}  // namespace vantrel::sim
