// What the sample driver does with actions: carries them to the printer's
// XPML service and answers action flags from its settings.
#pragma once

#include <cstdint>
#include <string>

namespace vantrel::sample {

// Holds the calling thread for a minute after writing this process's id to
// "SETTINGS:Host Process": lets a test end the module host in mid-call.
inline constexpr uint32_t kHoldAction = 9000;

// Succeeds at once without the printer: lets a test see which entry ran.
inline constexpr uint32_t kEchoAction = 9001;

// Sends "<action code='N' />" to the service on 127.0.0.1 at the port named
// by the printer data value "XPML Server Port"; true when it answered 200.
bool CarryAction(const std::string& printer, uint32_t action);

// "SETTINGS:Action Flags/<action>" when set, else the built-in answer: the
// maintenance actions 3 to 30 are supported (1), others not (0).
uint64_t ActionFlags(const std::string& printer, uint32_t action);

}  // namespace vantrel::sample
