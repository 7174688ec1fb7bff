// An in-memory spooler for unit tests: printers, jobs, data, notifications,
// with call counters and injected failures (administration refused, broken
// records, partial writes, dropped notifications). Free-threaded.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/spooler.h"
#include "platform/thread_annotations.h"

namespace vantrel::testing {

class FakeSpooler : public platform::Spooler {
 public:
  FakeSpooler();
  ~FakeSpooler() override;

  // Fixtures. A new printer is local, unshared, idle, on `port`.
  void AddPrinter(const std::string& name, const std::string& port = "file:///dev/null",
                  const std::string& comment = "", const std::string& location = "");
  void RemovePrinter(const std::string& name);
  void AddPort(const std::string& port);
  void SetStatus(const std::string& name, uint32_t status);
  void SetAttributes(const std::string& name, uint32_t attributes);
  // Any other change of the printer's record (server name, driver, ...).
  void EditRecord(const std::string& name,
                  const std::function<void(platform::PrinterInfo2&)>& edit);
  void SetData(const std::string& name, const std::string& value_name,
               std::vector<uint8_t> bytes = {1});
  // A value under a key of the printer's data (GetDataEx).
  void SetDataEx(const std::string& name, const std::string& key, const std::string& value_name,
                 std::vector<uint8_t> bytes);
  // A text value (REG_SZ), as a driver keeps its interface module's path.
  void SetStringData(const std::string& name, const std::string& value_name,
                     const std::string& text);
  // The printer's driver file; a new printer has none (a raw queue).
  void SetDriverFile(const std::string& name, const platform::DriverFile& file);
  // The paper of the printer's default device mode (none until set).
  void SetDefaultPaper(const std::string& name, const platform::PaperFields& paper);
  // Renames as the spooler does with a printer pending deletion ("Labels,3").
  void RenameRecord(const std::string& name, const std::string& record_name);

  // Failures. SetInfo2 refuses a share name holding / \ or , or one that
  // another printer already has, with kErrorInvalidShareName.
  // Opens asking for more than use access are refused; so is SetInfo2.
  void DenyAdministration(const std::string& name);
  // Opens of the printer after the next `opens` fail as for an unknown name.
  void FailOpensAfter(const std::string& name, int opens);
  // Every GetInfo* of the printer fails with kErrorInvalidData.
  void BreakRecords(const std::string& name);
  // Write takes at most `bytes` per call.
  void LimitWrites(uint32_t bytes);
  // The next Wait of every watch of the printer reports a discarded batch
  // and the pending changes are lost.
  void DropNotifications(const std::string& name);

  // Call counts, by operation name ("Open", "GetInfo2", "GetInfo5",
  // "SetInfo2", "Close", ...).
  int Calls(const std::string& operation) const;
  // The bytes written by raw documents, by job id.
  std::string DocumentBytes(uint32_t job_id) const;

  platform::PlatformResult Open(std::string_view name, uint32_t access,
                                std::unique_ptr<platform::SpoolerPrinter>* printer) override;
  platform::PlatformResult EnumPrinters2(uint32_t flags,
                                         std::vector<platform::PrinterInfo2>* printers) override;
  platform::PlatformResult EnumPrinters4(uint32_t flags,
                                         std::vector<platform::PrinterInfo4>* printers) override;
  platform::PlatformResult EnumPorts2(std::vector<platform::PortInfo2>* ports) override;

  struct Job {
    platform::JobInfo2 info;
    std::string bytes;
    bool open = false;
  };
  struct Printer {
    platform::PrinterInfo2 info;
    std::map<std::string, std::vector<uint8_t>> data;  // "key\nvalue" or "\nvalue"
    std::map<std::string, uint32_t> data_types;        // REG_BINARY when absent
    std::vector<Job> jobs;
    std::optional<platform::DriverFile> driver_file;
    int opens_left = -1;  // -1: no limit
    platform::PaperFields paper;
    bool deny_admin = false;
    bool broken = false;
  };
  class Watch;

 private:
  friend class FakePrinter;
  friend class Watch;
  void Count(const std::string& operation);
  Printer* FindLocked(const std::string& name) REQUIRES(mutex_);
  bool ShareNameTakenLocked(const std::string& share_name, const std::string& by) REQUIRES(mutex_);
  void NotifyLocked(const std::string& printer, platform::NotifyItem item) REQUIRES(mutex_);

  mutable Mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, Printer> printers_ GUARDED_BY(mutex_);
  std::vector<std::string> order_ GUARDED_BY(mutex_);  // insertion order of printers_
  std::set<std::string> ports_ GUARDED_BY(mutex_);
  std::map<std::string, int> calls_ GUARDED_BY(mutex_);
  std::vector<Watch*> watches_ GUARDED_BY(mutex_);
  uint32_t write_limit_ GUARDED_BY(mutex_) = 0;
  uint32_t next_job_id_ GUARDED_BY(mutex_) = 1;
};

}  // namespace vantrel::testing
