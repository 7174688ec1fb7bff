#include "status_device.h"

#include "printers/status_reply.h"

namespace vantrel::testing {

DeviceState Reporting(uint32_t flags, uint32_t severity, std::string text, std::string monitoring) {
  DeviceState state;
  state.monitoring = std::move(monitoring);
  state.flags = flags;
  state.severity = severity;
  state.text = std::move(text);
  return state;
}

DeviceState Replying(std::string body) {
  DeviceState state;
  state.fixed_reply = std::move(body);
  return state;
}

StatusDevice::StatusDevice(bool drop)
    : drop_(drop),
      service_([this](const HttpMessage& request) { return Answer(request.body); }, drop) {}

void StatusDevice::Set(const DeviceState& state) {
  MutexLock hold(mutex_);
  state_ = state;
}

int StatusDevice::exchanges() const { return static_cast<int>(service_.requests().size()); }

int StatusDevice::exchanges_of(const std::string& request) const {
  int count = 0;
  for (const HttpMessage& message : service_.requests()) count += message.body == request;
  return count;
}

std::string StatusDevice::Answer(const std::string& request) {
  if (drop_) return {};
  MutexLock hold(mutex_);
  if (state_.fixed_reply) return XpmlOk(*state_.fixed_reply);
  const std::string severity = std::to_string(state_.severity);
  if (request == printers::kFlagsStateRequest)
    return XpmlOk(state_.monitoring + ";" + std::to_string(state_.flags) + ";" + severity);
  if (request == printers::kTextStateRequest)
    return XpmlOk(state_.monitoring + ";" + state_.text + ";" + severity);
  if (request == printers::kSeverityStateRequest) return XpmlOk(state_.monitoring + ";" + severity);
  return XpmlOk("<job status=\"printing\" />");
}

}  // namespace vantrel::testing
