#include "printer-sim/sim_answer.h"

#include "printer-sim/sim_xpml.h"

namespace vantrel::sim {

namespace {

// Old queries and actions are forgotten past these counts.
constexpr size_t kMaxQueries = 1024;
constexpr size_t kMaxActions = 1024;

std::string StateValue(const SimState& state, const std::string& name, bool* known) {
  *known = true;
  if (name == "Monitoring Supported") return state.monitoring ? "1" : "0";
  if (name == "Status") return state.status_text;
  if (name == "Status Flags 2") return std::to_string(state.status_flags);
  if (name == "Status Severity") return std::to_string(state.severity);
  *known = false;
  return {};
}

// The values of the named states, in order, separated by ";".
SimReply AnswerStates(const SimState& state, const XpmlRequest& request) {
  std::string body;
  for (const std::string& name : request.state_names) {
    bool known = false;
    const std::string value = StateValue(state, name, &known);
    if (!known) return LineReply(400, "unknown state '" + name + "'");
    if (!body.empty()) body += ';';
    body += value;
  }
  return LineReply(200, body);
}

SimReply AnswerJob(const SimState& state, int32_t job_id) {
  const auto found = state.job_answers.find(job_id);
  const JobAnswer& answer = found == state.job_answers.end() ? state.job_default : found->second;
  return LineReply(200, "<job id=\"" + std::to_string(job_id) + "\" status=\"" + answer.status +
                            "\" warningCount=\"" + std::to_string(answer.warning_count) + "\" />");
}

QueryRecord* FindQuery(SimState* state, const std::string& id) {
  for (auto it = state->queries.rbegin(); it != state->queries.rend(); ++it) {
    if (it->id == id) return &*it;
  }
  return nullptr;
}

SimReply StartQuery(SimState* state, XpmlRequest request) {
  QueryRecord record;
  record.id = std::move(request.name);
  record.response_pattern = std::move(request.response_pattern);
  record.write_only = request.write_only;
  record.data = std::move(request.data);
  record.rule = ChooseQueryRule(*state, record.response_pattern, record.data);
  if (state->queries.size() >= kMaxQueries) state->queries.erase(state->queries.begin());
  state->queries.push_back(std::move(record));
  return LineReply(200, "0");
}

// Pending (0 on the first poll, then 1) for the rule's polls, then its
// status; an unknown query is 5.
SimReply AnswerQueryStatus(SimState* state, const std::string& id) {
  QueryRecord* query = FindQuery(state, id);
  if (query == nullptr) return LineReply(200, "5");
  const int32_t poll = query->polls;
  if (query->polls < query->rule.pending_polls) ++query->polls;
  if (poll < query->rule.pending_polls) return LineReply(200, poll == 0 ? "0" : "1");
  return LineReply(200, std::to_string(query->rule.status));
}

SimReply AnswerQueryResponse(SimState* state, const std::string& id) {
  const QueryRecord* query = FindQuery(state, id);
  const bool answered =
      query != nullptr && query->rule.status == 2 && query->polls >= query->rule.pending_polls;
  return LineReply(200, answered ? query->rule.response : "");
}

SimReply RecordAction(SimState* state, int32_t code, const std::string& printer) {
  if (state->actions.size() >= kMaxActions) state->actions.erase(state->actions.begin());
  state->actions.push_back({code, printer});
  return LineReply(200, "");
}

SimReply AnswerText(SimState* state, const std::string& text, const std::string& printer) {
  std::string decoded;
  const bool packed = LooksLikeContainer(text);
  if (packed && !DecodeContainer(text, &decoded)) return LineReply(400, "bad lz77 container");
  XpmlRequest request = ParseXpml(packed ? decoded : text);
  switch (request.kind) {
    case XpmlKind::kState:
      return AnswerStates(*state, request);
    case XpmlKind::kJob:
      return AnswerJob(*state, request.number);
    case XpmlKind::kPort: {
      const bool on = request.name == "bidirectional" ? state->bidirectional : state->disconnected;
      return LineReply(200, on ? "1" : "0");
    }
    case XpmlKind::kQuery:
      return StartQuery(state, std::move(request));
    case XpmlKind::kQueryStatus:
      return AnswerQueryStatus(state, request.name);
    case XpmlKind::kQueryResponse:
      return AnswerQueryResponse(state, request.name);
    case XpmlKind::kAction:
      return RecordAction(state, request.number, printer);
    case XpmlKind::kUnknown:
      break;
  }
  return LineReply(400, "unrecognised XPML request: " + request.error);
}

}  // namespace

SimReply LineReply(int status, const std::string& line) {
  SimReply reply;
  reply.status = status;
  reply.body = line;
  return reply;
}

std::string TargetPath(const std::string& target) { return target.substr(0, target.find('?')); }

std::string QueryItem(const std::string& target, std::string_view name) {
  const size_t question = target.find('?');
  if (question == std::string::npos) return {};
  std::string_view items = std::string_view(target).substr(question + 1);
  while (!items.empty()) {
    const size_t amp = items.find('&');
    const std::string_view item = items.substr(0, amp);
    items = amp == std::string_view::npos ? "" : items.substr(amp + 1);
    const size_t equals = item.find('=');
    if (PercentDecode(item.substr(0, equals)) != name) continue;
    return equals == std::string_view::npos ? "" : PercentDecode(item.substr(equals + 1));
  }
  return {};
}

SimReply AnswerXpml(SimState* state, const HttpMessage& request) {
  const std::string& target = request.start[1];
  SimReply reply;
  if (TargetPath(target) != "/xpml") {
    reply = LineReply(404, "no such service: " + TargetPath(target));
  } else if (request.start[0] != "POST") {
    reply = LineReply(405, "only POST is served on /xpml");
  } else {
    ++state->xpml_requests;
    reply = AnswerText(state, request.body, QueryItem(target, "printer"));
    reply.fault = TakeFault(state);
  }
  const std::string transaction = QueryItem(target, "transactid");
  if (!transaction.empty()) reply.fields.emplace_back("TID", transaction);
  if (QueryItem(target, "persist") != "1") reply.close = true;
  if (reply.close) reply.fields.emplace_back("Connection", "close");
  return reply;
}

bool ClosesAfter(const SimReply& reply) {
  return reply.close || reply.fault.kind != FaultKind::kNone;
}

std::string RenderReply(const SimReply& reply) {
  switch (reply.fault.kind) {
    case FaultKind::kNone:
      return FormatHttpReply(reply.status, reply.fields, reply.body);
    case FaultKind::kDrop:
      return {};
    case FaultKind::kBadStatusLine:
      return "GARBAGE\r\nContent-Length: " + std::to_string(reply.body.size()) + "\r\n\r\n" +
             reply.body;
    case FaultKind::kShortBody: {
      std::string text = FormatHttpReply(reply.status, reply.fields, reply.body);
      const std::string claimed = "Content-Length: " + std::to_string(reply.body.size() + 16);
      const size_t at = text.find("Content-Length: ");
      const size_t line_end = text.find("\r\n", at);
      return text.replace(at, line_end - at, claimed);
    }
    case FaultKind::kEndlessHeader: {
      std::string text = "HTTP/1.1 200 OK\r\n";
      for (int i = 0; text.size() <= kHttpMaxHeaderBytes + 1024; ++i) {
        text += "X-Filler-" + std::to_string(i) + ": " + std::string(64, 'x') + "\r\n";
      }
      return text;
    }
  }
  return {};
}

}  // namespace vantrel::sim
