// The state every object of one printer shares: the spooler handle, the
// driver interface chosen for the printer, and typed reads and writes of the
// printer's level-2 record. Contexts are handed out by PrinterContextRegistry,
// one per printer name.
//
// Every operation holds the context's lock for its whole duration, so
// read-modify-write setters never interleave on one printer. Getters never
// fail: a spooler refusal gives "", 0 or false. Any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/spooler.h"
#include "printers/printer_event_targets.h"
#include "support/synchronizer.h"

namespace vantrel::printers {

class DriverInterface;

class PrinterContext {
 public:
  explicit PrinterContext(platform::Spooler& spooler);
  ~PrinterContext();  // closes the spooler handle
  PrinterContext(const PrinterContext&) = delete;
  PrinterContext& operator=(const PrinterContext&) = delete;

  // Opens `name` with full access, falling back to use access, and chooses
  // the driver interface. Throws KestoException "Could not open printer"
  // when both opens fail. Called once, by the registry.
  void Open(const std::string& name);

  // The spooler's name, without the ",N" the spooler appends to a printer
  // pending deletion.
  std::string GetName();
  std::string GetServerName();
  std::string GetShareName();
  std::string GetPortName();
  std::string GetDriverName();
  std::string GetComment();
  std::string GetLocation();
  // Automation booleans: -1 true, 0 false.
  int16_t IsLocal();
  int16_t IsNetwork();
  int16_t IsShared();
  uint32_t GetJobCount();
  uint32_t GetDefaultPriority();
  uint32_t GetStartTime();  // minutes after midnight UTC
  uint32_t GetUntilTime();
  // The level-2 record as a whole; false when the spooler refuses it.
  bool GetRecord(platform::PrinterInfo2* record);

  // Throw KestoException "Invalid port" for a port the spooler does not
  // know, "Invalid printer share name" for a name holding / \ or , (checked
  // before the spooler is asked) or refused by it; OException with the
  // spooler's error number for any other refusal.
  void SetPortName(const std::string& port);
  // A non-empty name shares the printer, an empty one unshares it.
  void SetShareName(const std::string& share_name);
  // Sharing a printer with no share name shares it under its own name. A
  // record that cannot be read changes nothing and is not reported; a
  // refused write is, as for SetShareName.
  void SetShared(bool on);
  // Refusals are not reported.
  void SetComment(const std::string& comment);
  void SetLocation(const std::string& location);
  void SetDefaultPriority(uint32_t priority);
  void SetStartTime(uint32_t minutes);
  void SetUntilTime(uint32_t minutes);

  // True when the printer accepts more than raw data. The answer is cached
  // for 2 s; a failed probe keeps the previous answer.
  bool IsNotRawOnly();

  // Starts the printer's watcher, once per context: later calls do nothing.
  // Today the request is only recorded; printer events bring the watcher
  // itself. Throws what starting throws, and is then not recorded, so the
  // next call tries again. Any thread; no lock of the context is held while
  // the watcher starts.
  void StartWatcher();
  bool watcher_started();
  // The Printer objects with connected sinks, to which the watcher fires
  // printer events (guarded by the list's own lock).
  EventTargetList& printer_targets() { return printer_targets_; }

  // The driver interface (owned by the context) and the spooler handle
  // (owned by the context; valid while the context lives).
  DriverInterface* driver();
  platform::SpoolerPrinter* handle();

 private:
  friend class PrinterContextRegistry;

  template <typename Take>
  auto ReadField(Take take) -> decltype(take(platform::PrinterInfo2{}));
  int16_t HasAttribute(uint32_t bit);
  bool GetRecord5(platform::PrinterInfo5* record);
  template <typename Change>
  void ChangeQuietly(Change change);
  [[noreturn]] static void ThrowSpoolerError(const char* operation, long error);

  platform::Spooler& spooler_;
  int32_t references_ = 0;  // guarded by the registry's lock
  // Taken after the context registry's lock, never before it (declared there).
  OCriticalSection lock_;
  std::unique_ptr<platform::SpoolerPrinter> handle_ GUARDED_BY(lock_);
  std::unique_ptr<DriverInterface> driver_ GUARDED_BY(lock_);

  EventTargetList printer_targets_;
  // Serialises starting the watcher; never nested with lock_ (the start
  // does not read the record).
  Mutex watcher_mutex_;
  bool watcher_started_ GUARDED_BY(watcher_mutex_) = false;

  // Never nested with lock_.
  OCriticalSection probe_lock_;
  bool not_raw_only_ GUARDED_BY(probe_lock_) = false;
  uint64_t probed_at_ GUARDED_BY(probe_lock_) = 0;  // 0: never probed
};

// What StartWatcher runs to start a printer's watcher; tests put a failing
// one in place. Null restores the default, which starts nothing yet.
using WatcherStarter = std::function<void()>;
void SetWatcherStarterForTesting(WatcherStarter starter);

}  // namespace vantrel::printers
