#include "platform/spooler.h"

#include <atomic>

namespace vantrel::platform {
namespace {

std::atomic<Spooler*> test_spooler{nullptr};

}  // namespace

Spooler& DefaultSpooler() {
  if (Spooler* spooler = test_spooler.load(std::memory_order_acquire)) return *spooler;
  // Built on first use and kept for the life of the process: watchers and
  // their shared subscription may still run while statics are destroyed.
  static Spooler* const platform_spooler = OpenPlatformSpooler().release();
  return *platform_spooler;
}

void SetSpoolerForTesting(Spooler* spooler) {
  test_spooler.store(spooler, std::memory_order_release);
}

}  // namespace vantrel::platform
