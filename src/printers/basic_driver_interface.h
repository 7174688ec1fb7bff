// A printer driven through the spooler only: status from the spooler's word,
// no driver commands or settings, jobs controlled through the spooler.
#pragma once

#include <string>

#include "printers/driver_file.h"
#include "printers/driver_interface.h"

namespace vantrel::printers {

class BasicDriverInterface : public DriverInterface {
 public:
  void Attach(platform::SpoolerPrinter* printer, const std::string& printer_name) override;
  bool IsAdvanced() const override { return false; }

  std::string GetStatusText() override;
  bool GetStatusFlag(int32_t code) override;
  uint32_t GetSeverity() override;
  uint32_t GetStatusWord() override;
  uint32_t GetStatusWord2() override;
  StatusReading ReadStatus() override;
  bool IsMonitoringOn() override { return false; }

  std::string QueryJob(uint32_t) override { return {}; }

  std::string GetDriverVersion() override;
  std::string GetDriverDate() override;

  void RunCommand(int32_t code, CommandRequest* request) override;
  RawFileOutcome SendFile(const std::string& file_name, const std::string& job_name) override;

  bool ImportSettings(const std::string&, uint32_t) override { return false; }
  bool ExportSettings(const std::string&, uint32_t) override { return false; }
  bool ResetSettings(uint32_t) override { return false; }

  bool PauseJob(uint32_t job_id) override;
  bool ResumeJob(uint32_t job_id) override;
  bool DeleteJob(uint32_t job_id) override;
  bool RestartJob(uint32_t job_id) override;
  bool SetJobPriority(uint32_t job_id, uint32_t priority) override;
  bool SetJobStartTime(uint32_t job_id, uint32_t minutes) override;
  bool SetJobUntilTime(uint32_t job_id, uint32_t minutes) override;

  void GetOdometer(OdometerRecord* record) override;

 protected:
  platform::SpoolerPrinter* printer() const { return printer_; }
  const std::string& printer_name() const { return printer_name_; }
  // The file the driver's version and date are read from.
  virtual DriverFileFacts ReadDriverFile();

 private:
  // Set once by Attach, before any other call; then only read.
  platform::SpoolerPrinter* printer_ = nullptr;  // owned by the context
  std::string printer_name_;
};

}  // namespace vantrel::printers
