// A printer's driver service for status tests: a FakeXpmlService that
// answers the state requests of a status reading from a settable device
// state, or with a fixed reply, and counts the exchanges by kind.
#pragma once

#include <optional>
#include <string>

#include "fakes/fake_xpml_service.h"
#include "platform/thread_annotations.h"

namespace vantrel::testing {

struct DeviceState {
  std::string monitoring = "1";
  uint32_t flags = 0;
  uint32_t severity = 1;
  std::string text;
  // When set, every request is answered with exactly this body.
  std::optional<std::string> fixed_reply;
};

// A device reporting these states.
DeviceState Reporting(uint32_t flags, uint32_t severity, std::string text,
                      std::string monitoring = "1");
// A service answering every request with `body`.
DeviceState Replying(std::string body);

class StatusDevice {
 public:
  // `drop`: every connection is closed without a reply.
  explicit StatusDevice(bool drop = false);
  uint16_t port() const { return service_.port(); }
  void Set(const DeviceState& state);
  // Exchanges so far: all of them, and those asking for the given state list.
  int exchanges() const;
  int exchanges_of(const std::string& request) const;

 private:
  std::string Answer(const std::string& request);

  const bool drop_;
  mutable Mutex mutex_;
  DeviceState state_ GUARDED_BY(mutex_);
  FakeXpmlService service_;  // last: it calls Answer until it is gone
};

}  // namespace vantrel::testing
