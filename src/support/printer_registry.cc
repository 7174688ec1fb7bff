#include <algorithm>

#include "platform/computer_name.h"
#include "platform/unicode.h"
#include "support/registry.h"

namespace vantrel {
namespace {

std::string WithoutUncPrefix(std::string server) {
  const size_t start = server.find_first_not_of('\\');
  return start == std::string::npos ? std::string() : server.substr(start);
}

bool IsLocalComputer(const std::string& server) {
  if (server.empty()) return true;
  // The names do not change while the process runs; ask the system once.
  static const std::vector<std::string> local_names = platform::LocalComputerNames();
  const std::string folded = platform::AsciiLower(server);
  return std::any_of(local_names.begin(), local_names.end(),
                     [&](const std::string& name) { return platform::AsciiLower(name) == folded; });
}

}  // namespace

PrinterRegistry::PrinterRegistry(std::string printer, std::string server, std::string port,
                                 std::string oem, uint32_t view_flags,
                                 platform::SettingsStore* store)
    : ORegistry(view_flags, store),
      placeholders_{std::move(printer), WithoutUncPrefix(std::move(server)), std::move(port),
                    std::move(oem)},
      remote_(!IsLocalComputer(placeholders_.server)),
      mutex_(kMutexName) {}

std::string PrinterRegistry::RewritePath(std::string escaped) const {
  if (!remote_) return escaped;
  return registry_path::RewriteForServer(escaped);
}

std::string PrinterRegistry::FillPlaceholders(std::string escaped) const {
  return registry_path::FillPlaceholders(escaped, placeholders_);
}

bool PrinterRegistry::BeginOperation() {
  try {
    mutex_.Lock();
    return true;
  } catch (...) {
    // A mutex that cannot be created must not stop settings access: the
    // operation then runs unserialised, as it would on a system without it.
    return false;
  }
}

void PrinterRegistry::EndOperation() { mutex_.Unlock(); }

}  // namespace vantrel
