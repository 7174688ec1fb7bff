// How a Printer with connected sinks is listed with its printer's context,
// whose watcher fires printer events to it.
#include "printers/printer.h"
#include "printers/printer_context.h"

namespace vantrel {

HRESULT Printer::OnAdvised(size_t) {
  return Member("Printer::Advise", [this] { FollowSinks(); });
}

void Printer::OnUnadvised(size_t) {
  // With fewer sinks FollowSinks can only unlist, which does not fail.
  static_cast<void>(Member("Printer::Advise", [this] { FollowSinks(); }));
}

void Printer::FinalRelease() {
  printers::ContextRef dropped;  // after the lock: the last release closes the printer
  MutexLock lock(listening_mutex_);
  dropped = StopListening();
}

// Each call looks at the sinks and the binding as they are now, so hooks that
// run in another order than the connections changed still end right.
void Printer::FollowSinks() {
  printers::ContextRef dropped;  // after the lock: the last release closes the printer
  MutexLock lock(listening_mutex_);
  // A sink connected before Initialize waits for the binding.
  printers::ContextRef bound = events().SinkCount() > 0 ? binding_.Get() : printers::ContextRef();
  if (listening_.get() == bound.get()) return;
  dropped = StopListening();
  if (!bound) return;
  bound->StartWatcher();
  bound->printer_targets().Add(this);
  listening_ = std::move(bound);
}

printers::ContextRef Printer::StopListening() {
  if (listening_) listening_->printer_targets().Remove(this);
  return std::move(listening_);
}

}  // namespace vantrel
