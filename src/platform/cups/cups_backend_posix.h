// The reads and writes the CUPS spooler's handles and its notification hub
// share: one connection pool, the settings-store side of each printer.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/cups/cups_connection_posix.h"
#include "platform/settings_store.h"
#include "platform/spooler.h"
#include "platform/win32_errors.h"

namespace vantrel::platform::cups {

class NotificationHub;

class Backend {
 public:
  Backend(const std::string& server, SettingsStore* store);
  ~Backend();

  ConnectionPool& pool() { return pool_; }
  NotificationHub& hub() { return *hub_; }

  // Each returns a Windows error number; any thread.
  PlatformResult GetPrinter(const std::string& name, const char* const* attributes, int count,
                            PrinterInfo2* info);
  PlatformResult GetPrinters(const char* const* attributes, int count,
                             std::vector<PrinterInfo2>* out);
  PlatformResult GetJob(const std::string& printer, uint32_t job_id, JobInfo2* job);
  PlatformResult GetJobs(const std::string& printer, std::vector<JobInfo2>* jobs);
  // Runs a request that answers nothing but its status.
  PlatformResult Send(ipp_t* request, bool about_printer);

  // Fields kept in the settings store under the printer's key. With
  // `keyed`, the lower-case names of the printers that have a key (see
  // StoredPrinters), a printer without one is not looked up.
  void FillStoredFields(PrinterInfo2* info, const std::set<std::string>* keyed = nullptr);
  std::set<std::string> StoredPrinters();
  PlatformResult StoreFields(const std::string& printer, const PrinterInfo2& info);
  PlatformResult GetStoredData(const std::string& printer, const std::string& key,
                               const std::string& value_name, uint32_t* type,
                               std::vector<uint8_t>* data);

 private:
  SettingsStore& store();

  ConnectionPool pool_;
  SettingsStore* const store_;  // null: the process's store
  std::unique_ptr<NotificationHub> hub_;
};

// The settings-store key of a printer ("SYSTEM\...\Printers\NAME").
std::string PrinterKeyPath(const std::string& printer);

}  // namespace vantrel::platform::cups
