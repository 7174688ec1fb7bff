#include "reg_target.h"

namespace vantrel::tool {

void AddTargetOptions(CLI::App* command, RegTarget* target) {
  command->add_option("--printer", target->printer, "Printer name for [PRINTER]");
  command->add_option("--server", target->server, "Print server name for [SERVER]");
  command->add_option("--port", target->port, "Port name for [PORT]");
  command->add_option("--oem", target->oem, "OEM name for [OEM]");
}

std::unique_ptr<ORegistry> MakeRegistry(const RegTarget& target) {
  if (!target.names_printer()) return std::make_unique<ORegistry>();
  return std::make_unique<PrinterRegistry>(target.printer, target.server, target.port, target.oem);
}

TargetLock::TargetLock(const RegTarget& target) {
  if (!target.names_printer()) return;
  mutex_.emplace(PrinterRegistry::kMutexName);
  try {
    mutex_->Lock();
    held_ = true;
  } catch (...) {
    // Could not create the mutex: go on without it (see the header).
  }
}

TargetLock::~TargetLock() {
  if (held_) mutex_->Unlock();
}

}  // namespace vantrel::tool
