// A printer whose driver offers the vendor's interface module: status from
// the driver's XPML service when its monitoring is on, commands and settings
// through the module, everything else as the basic kind.
#pragma once

#include <string>

#include "printers/basic_driver_interface.h"
#include "printers/driver_channel.h"

namespace vantrel::printers {

class AdvancedDriverInterface : public BasicDriverInterface {
 public:
  AdvancedDriverInterface();
  ~AdvancedDriverInterface() override;

  bool IsAdvanced() const override { return true; }

  // Status through the driver's service (advanced_driver_status.cc).
  std::string GetStatusText() override;
  bool GetStatusFlag(int32_t code) override;
  uint32_t GetSeverity() override;
  uint32_t GetStatusWord2() override;
  StatusReading ReadStatus() override;
  bool IsMonitoringOn() override;
  std::string QueryJob(uint32_t job_id) override;

  // The interface module's version and date (advanced_driver_version.cc).
  std::string GetDriverVersion() override;
  std::string GetDriverDate() override;

  // Commands and settings through the interface module
  // (advanced_driver_commands.cc).
  void RunCommand(int32_t code, CommandRequest* request) override;
  bool ImportSettings(const std::string& path, uint32_t flags) override;
  bool ExportSettings(const std::string& path, uint32_t flags) override;
  bool ResetSettings(uint32_t flags) override;

 protected:
  DriverFileFacts ReadDriverFile() override;

 private:
  // The state of the status exchanges.
  class StatusExchanges;  // status_exchanges.h
  static std::shared_ptr<StatusExchanges> MakeStatusExchanges();
  // Reached through DriverInterface when the context opens the printer: also
  // learns the printer's server and kind for the exchanges.
  void Attach(platform::SpoolerPrinter* printer, const std::string& printer_name) override;
  // Never null; has its own lock.
  const std::shared_ptr<StatusExchanges> status_ = MakeStatusExchanges();

  // The state of the interface module's channel.
  // The interface module, opened by the first command or settings call and
  // kept; calls on it are serialised by its own lock (driver_channel.h).
  DriverChannel channel_;
};

}  // namespace vantrel::printers
