// What the simulated printer knows: the answers of its XPML service, the
// queries in flight, the jobs its raw port took, the actions it was sent and
// the faults it is told to show. A plain value: the server keeps one under its
// mutex and hands it to the pure answer functions.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vantrel::sim {

// How the next XPML replies misbehave.
enum class FaultKind {
  kNone,
  kDrop,           // close the connection without answering
  kBadStatusLine,  // a status line that is not HTTP
  kShortBody,      // a Content-Length larger than the body sent, then close
  kEndlessHeader,  // header fields past any sane bound, never the blank line
};

struct Faults {
  FaultKind kind = FaultKind::kNone;
  uint32_t delay_ms = 0;  // before each reply (or before the drop)
  int32_t count = -1;     // replies still affected; -1 for every reply
};

// How one query is answered: `pending_polls` status requests see it pending
// (0 on the first, then 1) before it reports `status`; the response request
// of an answered query returns `response`.
struct QueryRule {
  std::string pattern;  // empty: the default rule
  int32_t status = 2;
  std::string response;
  int32_t pending_polls = 0;
};

// A started query as the service keeps it.
struct QueryRecord {
  std::string id;
  std::string response_pattern;
  bool write_only = false;
  std::string data;  // decoded command bytes
  QueryRule rule;    // the rule chosen when it started
  int32_t polls = 0;
};

// The job verification answer for one job.
struct JobAnswer {
  std::string status = "completed";
  int32_t warning_count = 0;
};

struct RecordedAction {
  int32_t code = 0;
  std::string printer;
};

struct SimState {
  // The printer's own state.
  bool monitoring = true;
  uint32_t status_flags = 0;  // the "Status Flags 2" word
  int32_t severity = 1;       // 1 ready, 2 error, 3 warning
  std::string status_text = "Ready";
  bool bidirectional = true;
  bool disconnected = false;

  std::vector<QueryRule> query_rules;  // first match wins
  QueryRule query_default;
  std::map<int32_t, JobAnswer> job_answers;
  JobAnswer job_default;
  Faults faults;

  // What happened.
  std::vector<QueryRecord> queries;
  std::vector<std::string> jobs;
  std::vector<RecordedAction> actions;
  uint64_t xpml_requests = 0;
};

// The rule for a query: the first whose pattern equals the query's response
// pattern or occurs in its data, else the default.
const QueryRule& ChooseQueryRule(const SimState& state, const std::string& response_pattern,
                                 const std::string& data);

// The fault for the next XPML reply; counts it down. Never fails.
Faults TakeFault(SimState* state);

}  // namespace vantrel::sim
