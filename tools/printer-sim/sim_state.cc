#include "printer-sim/sim_state.h"

namespace vantrel::sim {

const QueryRule& ChooseQueryRule(const SimState& state, const std::string& response_pattern,
                                 const std::string& data) {
  for (const QueryRule& rule : state.query_rules) {
    if (rule.pattern.empty()) continue;
    if (rule.pattern == response_pattern || data.find(rule.pattern) != std::string::npos) {
      return rule;
    }
  }
  return state.query_default;
}

Faults TakeFault(SimState* state) {
  Faults& faults = state->faults;
  if (faults.count == 0) return {};
  const Faults taken = faults;
  if (faults.count > 0 && --faults.count == 0) faults = {};
  return taken;
}

}  // namespace vantrel::sim
