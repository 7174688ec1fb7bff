// The simulator's control interface: JSON over HTTP, a complete request in
// and the reply out, with the state changed as asked. Pure; the caller holds
// the state's lock.
//
//   GET  /state            the printer state, the query and job answers, counts
//   POST /state            a partial update of the writable fields of GET /state
//   GET  /jobs[?data=1]    the raw jobs: count, sizes, the bytes as base64
//   GET  /actions          the action codes received
//   GET  /queries          the queries started, with their decoded data
//   POST /faults           {"kind": "none|drop|bad_status_line|short_body|
//                           endless_header", "delay_ms": N, "count": N|-1}
//   POST /reset            everything back to the start
//
// A body that is not JSON, an unknown or read-only field or a value of the
// wrong type gets 400 with one line; nothing is changed then.
#pragma once

#include "printer-sim/sim_answer.h"
#include "printer-sim/sim_state.h"
#include "support/http_message.h"

namespace vantrel::sim {

SimReply HandleControl(SimState* state, const HttpMessage& request);

}  // namespace vantrel::sim
