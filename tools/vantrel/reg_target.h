// Which registry service a `vantrel reg` command goes through: a printer's
// (PrinterRegistry, with its placeholders and its cross-process mutex) when
// any of --printer, --server, --port or --oem is given, else ORegistry.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <string>

#include "support/registry.h"

namespace vantrel::tool {

struct RegTarget {
  std::string printer;
  std::string server;
  std::string port;
  std::string oem;

  bool names_printer() const {
    return !printer.empty() || !server.empty() || !port.empty() || !oem.empty();
  }
};

// Adds --printer, --server, --port and --oem to `command`, filling `target`.
void AddTargetOptions(CLI::App* command, RegTarget* target);

// The service for `target`, on the process's settings store.
std::unique_ptr<ORegistry> MakeRegistry(const RegTarget& target);

// For work done on the store directly (export, recursive delete): holds the
// printer registry's mutex for the scope when `target` names a printer, so
// that the work is not interleaved with other processes' printer settings
// operations. A mutex that cannot be had leaves the work unserialised, as
// PrinterRegistry itself does. Blocks while another process holds it.
class TargetLock {
 public:
  explicit TargetLock(const RegTarget& target);
  ~TargetLock();
  TargetLock(const TargetLock&) = delete;
  TargetLock& operator=(const TargetLock&) = delete;

 private:
  std::optional<OMutex> mutex_;
  bool held_ = false;
};

}  // namespace vantrel::tool
