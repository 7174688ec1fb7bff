// The CUPS spooler, for the Linux build and its tests.
#pragma once

#include <memory>
#include <string>

#include "platform/settings_store.h"
#include "platform/spooler.h"

namespace vantrel::platform {

// A spooler on the scheduler at `server` ("HOST:PORT", a socket path, or ""
// for libcups' own choice) keeping the fields CUPS lacks in `store` (null:
// the process's settings store). Connects on first use.
std::unique_ptr<Spooler> OpenCupsSpooler(const std::string& server, SettingsStore* store);

}  // namespace vantrel::platform
