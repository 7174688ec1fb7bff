// How the library reaches a printer's driver: through the spooler only
// (BasicDriverInterface) or through the vendor's interface module and its
// XPML service first (AdvancedDriverInterface). A printer's context chooses
// the kind when it opens the printer and hands the interface its spooler
// handle.
//
// No operation raises for a spooler or driver refusal: status falls back to
// the spooler's answers, job operations return false, commands and settings
// answer "not supported". Every operation may be called from any thread and
// is called with no lock of ours held; the interface takes only locks of its
// own, and never holds one while it calls a module or the XPML service,
// except the channel's own lock that serialises calls on one module.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "printers/raw_file_sender.h"

namespace vantrel::platform {
class SpoolerPrinter;
}

namespace vantrel::printers {

// Where status word 2 and the severity of a reading came from.
enum class StatusSource { kSpooler, kDevice };

// One status reading taken at once: the spooler's word, the driver's word 2
// with its severity bits, the severity, the composed text, and the source.
struct StatusReading {
  uint32_t word1 = 0;
  uint32_t word2 = 0;
  uint32_t severity = 1;  // 1 normal, 2 error, 3 warning
  std::string text;
  StatusSource source = StatusSource::kSpooler;
};

// A printer command's options in and answers out.
struct CommandRequest {
  uint64_t owner_window = 0;
  bool is_supported = false;
  bool has_user_interface = false;
  bool requires_bidirectional_port = false;
  bool requires_management_rights = false;
  bool execute = true;
};

// The printer's odometer as the driver keeps it under the printer data key
// "PrintLink".
struct OdometerRecord {
  uint32_t pages = 0;
  double distance = 0;
  uint32_t last_cleaning_pages = 0;
  double last_cleaning_distance = 0;
  bool cleaned = false;
};

class DriverInterface {
 public:
  virtual ~DriverInterface() = default;
  // Keeps the spooler handle, which the context owns and which outlives
  // us, and the name the printer was opened with. Called once, before any
  // other operation.
  virtual void Attach(platform::SpoolerPrinter* printer, const std::string& printer_name) = 0;
  // The only way other code tells the two kinds apart.
  virtual bool IsAdvanced() const = 0;

  // Status (codes: 100..121 spooler bits, 201..211 driver bits).
  virtual std::string GetStatusText() = 0;
  virtual bool GetStatusFlag(int32_t code) = 0;
  virtual uint32_t GetSeverity() = 0;
  virtual uint32_t GetStatusWord() = 0;
  virtual uint32_t GetStatusWord2() = 0;
  // Everything above in one reading: one spooler request and, for the
  // advanced kind, at most two exchanges with the driver's service.
  virtual StatusReading ReadStatus() = 0;
  // Whether the driver's status monitoring is on; false for the basic kind.
  virtual bool IsMonitoringOn() = 0;

  // The driver's answer about one job; empty when it has none.
  virtual std::string QueryJob(uint32_t job_id) = 0;

  virtual std::string GetDriverVersion() = 0;
  virtual std::string GetDriverDate() = 0;

  // Fills the request's four answers and, when asked to, carries the
  // command out.
  virtual void RunCommand(int32_t code, CommandRequest* request) = 0;
  virtual RawFileOutcome SendFile(const std::string& file_name, const std::string& job_name) = 0;

  // The driver's settings moved to or from a file; false when the driver
  // cannot be reached or the printer has none.
  virtual bool ImportSettings(const std::string& path, uint32_t flags) = 0;
  virtual bool ExportSettings(const std::string& path, uint32_t flags) = 0;
  virtual bool ResetSettings(uint32_t flags) = 0;

  // Job control; true when the spooler took the change.
  virtual bool PauseJob(uint32_t job_id) = 0;
  virtual bool ResumeJob(uint32_t job_id) = 0;
  virtual bool DeleteJob(uint32_t job_id) = 0;
  virtual bool RestartJob(uint32_t job_id) = 0;
  // False also when the job cannot be read.
  virtual bool SetJobPriority(uint32_t job_id, uint32_t priority) = 0;
  virtual bool SetJobStartTime(uint32_t job_id, uint32_t minutes) = 0;
  virtual bool SetJobUntilTime(uint32_t job_id, uint32_t minutes) = 0;

  // Fills `record` from the printer data; leaves it unchanged without a
  // spooler handle.
  virtual void GetOdometer(OdometerRecord* record) = 0;
};

// The interface for a printer whose spooler data does (advanced) or does not
// hold the vendor's interface value. Never null.
std::unique_ptr<DriverInterface> MakeDriverInterface(bool advanced);

}  // namespace vantrel::printers
