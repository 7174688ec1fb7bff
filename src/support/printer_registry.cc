#include <algorithm>

#include "platform/computer_name.h"
#include "platform/unicode.h"
#include "platform/thread_annotations.h"
#include "support/registry.h"

namespace vantrel {
namespace {

std::string WithoutUncPrefix(std::string server) {
  const size_t start = server.find_first_not_of('\\');
  return start == std::string::npos ? std::string() : server.substr(start);
}

// The names do not change while the process runs; ask the system once.
const std::vector<std::string>& LocalNames() {
  static const std::vector<std::string> names = platform::LocalComputerNames();
  return names;
}

bool IsLocalComputer(const std::string& server) {
  if (server.empty()) return true;
  const std::vector<std::string>& local_names = LocalNames();
  const std::string folded = platform::AsciiLower(server);
  return std::any_of(local_names.begin(), local_names.end(),
                     [&](const std::string& name) { return platform::AsciiLower(name) == folded; });
}

// Opened once and kept: closing the last handle of a named mutex removes its
// lock file, and making it again for every operation cost more than the
// operation. Never destroyed, as threads may use it while the process exits.
OMutex& ProcessRegistryMutex() {
  static OMutex* const mutex = new OMutex(PrinterRegistry::kMutexName);
  return *mutex;
}

// The print server's name as "[SERVER]" gives it: the one named, or for a
// printer of this computer, this computer's name, so that per-server keys
// ("NETWORK:") of the local server have its name as a remote caller's do.
std::string ServerName(std::string server) {
  std::string name = WithoutUncPrefix(std::move(server));
  if (!name.empty()) return name;
  return LocalNames().empty() ? std::string() : LocalNames().front();
}

}  // namespace

PrinterRegistry::PrinterRegistry(std::string printer, std::string server, std::string port,
                                 std::string oem, uint32_t view_flags,
                                 platform::SettingsStore* store)
    : ORegistry(view_flags, store),
      placeholders_{std::move(printer), ServerName(std::move(server)), std::move(port),
                    std::move(oem)},
      remote_(!IsLocalComputer(placeholders_.server)),
      mutex_(ProcessRegistryMutex()) {}

std::string PrinterRegistry::RewritePath(std::string escaped) const {
  if (!remote_) return escaped;
  return registry_path::RewriteForServer(escaped);
}

std::string PrinterRegistry::FillPlaceholders(std::string escaped) const {
  return registry_path::FillPlaceholders(escaped, placeholders_);
}

// The mutex is taken here and released in EndOperation (or the Batch's
// destructor) when this returns true: a conditional hold across two functions
// that the analysis cannot follow.
bool PrinterRegistry::BeginOperation() NO_THREAD_SAFETY_ANALYSIS {
  try {
    mutex_.Lock();
    return true;
  } catch (...) {
    // A mutex that cannot be created must not stop settings access: the
    // operation then runs unserialised, as it would on a system without it.
    return false;
  }
}

void PrinterRegistry::EndOperation() NO_THREAD_SAFETY_ANALYSIS { mutex_.Unlock(); }

PrinterRegistry::Batch::Batch(PrinterRegistry& registry)
    : registry_(registry), held_(registry.BeginOperation()) {}

PrinterRegistry::Batch::~Batch() {
  if (held_) registry_.EndOperation();
}

}  // namespace vantrel
