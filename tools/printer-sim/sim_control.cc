#include "printer-sim/sim_control.h"

#include <nlohmann/json.hpp>

#include <stdexcept>

namespace vantrel::sim {

namespace {

using nlohmann::json;

// Thrown for a request the control interface refuses; becomes a 400.
struct Refused : std::runtime_error {
  using std::runtime_error::runtime_error;
};

constexpr std::pair<FaultKind, const char*> kFaultNames[] = {
    {FaultKind::kNone, "none"},
    {FaultKind::kDrop, "drop"},
    {FaultKind::kBadStatusLine, "bad_status_line"},
    {FaultKind::kShortBody, "short_body"},
    {FaultKind::kEndlessHeader, "endless_header"},
};

const char* FaultName(FaultKind kind) {
  for (const auto& [known, name] : kFaultNames) {
    if (known == kind) return name;
  }
  return "none";
}

FaultKind FaultFromName(const std::string& text) {
  for (const auto& [kind, name] : kFaultNames) {
    if (text == name) return kind;
  }
  throw Refused("unknown fault kind '" + text + "'");
}

std::string Base64(std::string bytes) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  size_t i = 0;
  auto at = [&](size_t k) { return static_cast<uint32_t>(static_cast<unsigned char>(bytes[k])); };
  for (; i + 3 <= bytes.size(); i += 3) {
    const uint32_t group = (at(i) << 16) | (at(i + 1) << 8) | at(i + 2);
    for (int shift = 18; shift >= 0; shift -= 6) out += kAlphabet[(group >> shift) & 63];
  }
  if (i < bytes.size()) {
    const bool two = i + 1 < bytes.size();
    const uint32_t group = (at(i) << 16) | (two ? at(i + 1) << 8 : 0);
    out += kAlphabet[group >> 18];
    out += kAlphabet[(group >> 12) & 63];
    out += two ? kAlphabet[(group >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

json RuleJson(const QueryRule& rule) {
  return {{"pattern", rule.pattern},
          {"status", rule.status},
          {"response", rule.response},
          {"pending_polls", rule.pending_polls}};
}

QueryRule RuleFromJson(const json& value, QueryRule rule) {
  if (!value.is_object()) throw Refused("a query rule is an object");
  for (const auto& [key, field] : value.items()) {
    if (key == "pattern") {
      rule.pattern = field.get<std::string>();
    } else if (key == "status") {
      rule.status = field.get<int32_t>();
    } else if (key == "response") {
      rule.response = field.get<std::string>();
    } else if (key == "pending_polls") {
      rule.pending_polls = field.get<int32_t>();
    } else {
      throw Refused("unknown query rule field '" + key + "'");
    }
  }
  return rule;
}

json JobJson(const JobAnswer& answer) {
  return {{"status", answer.status}, {"warningCount", answer.warning_count}};
}

JobAnswer JobFromJson(const json& value, JobAnswer answer) {
  if (!value.is_object()) throw Refused("a job answer is an object");
  for (const auto& [key, field] : value.items()) {
    if (key == "status") {
      answer.status = field.get<std::string>();
    } else if (key == "warningCount") {
      answer.warning_count = field.get<int32_t>();
    } else {
      throw Refused("unknown job answer field '" + key + "'");
    }
  }
  return answer;
}

json FaultsJson(const Faults& faults) {
  return {{"kind", FaultName(faults.kind)}, {"delay_ms", faults.delay_ms}, {"count", faults.count}};
}

json StateJson(const SimState& state) {
  json rules = json::array();
  for (const QueryRule& rule : state.query_rules) rules.push_back(RuleJson(rule));
  json jobs = json::object();
  for (const auto& [id, answer] : state.job_answers) jobs[std::to_string(id)] = JobJson(answer);
  return {{"monitoring", state.monitoring},
          {"status_flags", state.status_flags},
          {"severity", state.severity},
          {"status_text", state.status_text},
          {"bidirectional", state.bidirectional},
          {"disconnected", state.disconnected},
          {"query_rules", rules},
          {"query_default", RuleJson(state.query_default)},
          {"job_answers", jobs},
          {"job_default", JobJson(state.job_default)},
          {"faults", FaultsJson(state.faults)},
          {"xpml_requests", state.xpml_requests},
          {"jobs", state.jobs.size()},
          {"actions", state.actions.size()},
          {"queries", state.queries.size()}};
}

int32_t JobId(const std::string& key) {
  size_t used = 0;
  int32_t id = 0;
  try {
    id = std::stoi(key, &used);
  } catch (const std::exception&) {
    used = 0;
  }
  if (used == 0 || used != key.size()) throw Refused("job answer key '" + key + "' is no job id");
  return id;
}

void UpdateQueryRules(const json& value, SimState* next) {
  if (!value.is_array()) throw Refused("query_rules is an array");
  next->query_rules.clear();
  for (const json& rule : value) next->query_rules.push_back(RuleFromJson(rule, {}));
}

// Merges per job id; null removes an answer, a new one starts from the default.
void UpdateJobAnswers(const json& value, SimState* next) {
  if (!value.is_object()) throw Refused("job_answers is an object");
  for (const auto& [id_text, answer] : value.items()) {
    const int32_t id = JobId(id_text);
    if (answer.is_null()) {
      next->job_answers.erase(id);
      continue;
    }
    const auto found = next->job_answers.find(id);
    const JobAnswer& base = found == next->job_answers.end() ? next->job_default : found->second;
    next->job_answers[id] = JobFromJson(answer, base);
  }
}

// Applies `update` to a copy, so a refused update changes nothing.
SimState UpdatedState(const SimState& state, const json& update) {
  if (!update.is_object()) throw Refused("the update is a JSON object");
  SimState next = state;
  for (const auto& [key, value] : update.items()) {
    if (key == "monitoring") {
      next.monitoring = value.get<bool>();
    } else if (key == "status_flags") {
      next.status_flags = value.get<uint32_t>();
    } else if (key == "severity") {
      next.severity = value.get<int32_t>();
    } else if (key == "status_text") {
      next.status_text = value.get<std::string>();
    } else if (key == "bidirectional") {
      next.bidirectional = value.get<bool>();
    } else if (key == "disconnected") {
      next.disconnected = value.get<bool>();
    } else if (key == "query_default") {
      next.query_default = RuleFromJson(value, next.query_default);
    } else if (key == "job_default") {
      next.job_default = JobFromJson(value, next.job_default);
    } else if (key == "query_rules") {
      UpdateQueryRules(value, &next);
    } else if (key == "job_answers") {
      UpdateJobAnswers(value, &next);
    } else {
      throw Refused("unknown or read-only field '" + key + "'");
    }
  }
  return next;
}

Faults FaultsFromJson(const json& value) {
  if (!value.is_object()) throw Refused("the faults are a JSON object");
  Faults faults;
  for (const auto& [key, field] : value.items()) {
    if (key == "kind") {
      faults.kind = FaultFromName(field.get<std::string>());
    } else if (key == "delay_ms") {
      faults.delay_ms = field.get<uint32_t>();
    } else if (key == "count") {
      faults.count = field.get<int32_t>();
    } else {
      throw Refused("unknown fault field '" + key + "'");
    }
  }
  return faults;
}

json JobsJson(const SimState& state, bool with_data) {
  json jobs = json::array();
  for (size_t i = 0; i < state.jobs.size(); ++i) {
    json job = {{"index", i}, {"size", state.jobs[i].size()}};
    if (with_data) job["data"] = Base64(state.jobs[i]);
    jobs.push_back(job);
  }
  return {{"count", state.jobs.size()}, {"jobs", jobs}};
}

json ActionsJson(const SimState& state) {
  json actions = json::array();
  for (const RecordedAction& action : state.actions) {
    actions.push_back({{"code", action.code}, {"printer", action.printer}});
  }
  return {{"count", state.actions.size()}, {"actions", actions}};
}

json QueriesJson(const SimState& state) {
  json queries = json::array();
  for (const QueryRecord& query : state.queries) {
    queries.push_back({{"id", query.id},
                       {"response_pattern", query.response_pattern},
                       {"write_only", query.write_only},
                       {"data", Base64(query.data)},
                       {"polls", query.polls},
                       {"rule", RuleJson(query.rule)}});
  }
  return {{"count", state.queries.size()}, {"queries", queries}};
}

json ParseBody(const std::string& body) {
  json value = json::parse(body.empty() ? std::string("{}") : body, nullptr, false);
  if (value.is_discarded()) throw Refused("the body is not JSON");
  return value;
}

json Route(SimState* state, const std::string& method, const std::string& path,
           const HttpMessage& request, int* status) {
  const bool get = method == "GET";
  const bool post = method == "POST";
  if (path == "/state" && get) return StateJson(*state);
  if (path == "/state" && post) {
    *state = UpdatedState(*state, ParseBody(request.body));
    return StateJson(*state);
  }
  if (path == "/jobs" && get) return JobsJson(*state, QueryItem(request.start[1], "data") == "1");
  if (path == "/actions" && get) return ActionsJson(*state);
  if (path == "/queries" && get) return QueriesJson(*state);
  if (path == "/faults" && post) {
    state->faults = FaultsFromJson(ParseBody(request.body));
    return FaultsJson(state->faults);
  }
  if (path == "/reset" && post) {
    *state = SimState();
    return StateJson(*state);
  }
  *status = 404;
  return {{"error", "no such control request: " + method + " " + path}};
}

}  // namespace

SimReply HandleControl(SimState* state, const HttpMessage& request) {
  int status = 200;
  json body;
  try {
    body = Route(state, request.start[0], TargetPath(request.start[1]), request, &status);
  } catch (const Refused& e) {
    status = 400;
    body = {{"error", e.what()}};
  } catch (const json::exception& e) {
    status = 400;
    body = {{"error", std::string("wrong value type: ") + e.what()}};
  }
  SimReply reply = LineReply(status, body.dump(-1, ' ', false, json::error_handler_t::replace));
  reply.fields.emplace_back("Connection", "close");
  reply.close = true;
  return reply;
}

}  // namespace vantrel::sim
