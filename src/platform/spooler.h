// The print spooler: printers, ports, jobs, printer data, change notifications
// and raw documents. Windows: winspool. Linux: a CUPS scheduler through libcups,
// with the fields CUPS lacks kept in the settings store under the printer's
// key (docs/cups-mapping.md). Tests: tests/fakes/fake_spooler.h.
//
// Records are plain structures holding the spooler's fields with the Windows
// meanings and bit values; strings are UTF-8. Every call returns a Windows
// error number (kErrorSuccess, or win32_errors.h / the constants below) and
// never throws; outputs are written only on success. Every call blocks on the
// spooler (IPP requests on Linux). All objects may be used from any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/win32_errors.h"

namespace vantrel::platform {

// Spooler error numbers beyond win32_errors.h.
constexpr long kErrorInvalidPrinterName = 1801;
constexpr long kErrorUnknownPort = 1796;
constexpr long kErrorInvalidShareName = 1215;
constexpr long kErrorInvalidPrinterCommand = 1803;
constexpr long kErrorPrinterAlreadyExists = 1802;
constexpr long kErrorPrintCancelled = 63;
constexpr long kErrorSpoolerUnavailable = 1722;  // RPC_S_SERVER_UNAVAILABLE

// Access asked for when opening a printer.
constexpr uint32_t kPrinterAllAccess = 0x000F000C;
constexpr uint32_t kPrinterAccessAdminister = 0x00000004;
constexpr uint32_t kPrinterAccessUse = 0x00000008;

// PRINTER_ATTRIBUTE_*.
constexpr uint32_t kPrinterAttributeQueued = 0x1;
constexpr uint32_t kPrinterAttributeDirect = 0x2;
constexpr uint32_t kPrinterAttributeDefault = 0x4;
constexpr uint32_t kPrinterAttributeShared = 0x8;
constexpr uint32_t kPrinterAttributeNetwork = 0x10;
constexpr uint32_t kPrinterAttributeHidden = 0x20;
constexpr uint32_t kPrinterAttributeLocal = 0x40;
constexpr uint32_t kPrinterAttributeKeepPrintedJobs = 0x100;
constexpr uint32_t kPrinterAttributeWorkOffline = 0x400;
constexpr uint32_t kPrinterAttributeRawOnly = 0x1000;

// PRINTER_STATUS_* (the status word of levels 2 and 6).
constexpr uint32_t kPrinterStatusPaused = 0x1;
constexpr uint32_t kPrinterStatusError = 0x2;
constexpr uint32_t kPrinterStatusPendingDeletion = 0x4;
constexpr uint32_t kPrinterStatusPaperJam = 0x8;
constexpr uint32_t kPrinterStatusPaperOut = 0x10;
constexpr uint32_t kPrinterStatusManualFeed = 0x20;
constexpr uint32_t kPrinterStatusPaperProblem = 0x40;
constexpr uint32_t kPrinterStatusOffline = 0x80;
constexpr uint32_t kPrinterStatusIoActive = 0x100;
constexpr uint32_t kPrinterStatusBusy = 0x200;
constexpr uint32_t kPrinterStatusPrinting = 0x400;
constexpr uint32_t kPrinterStatusOutputBinFull = 0x800;
constexpr uint32_t kPrinterStatusNotAvailable = 0x1000;
constexpr uint32_t kPrinterStatusWaiting = 0x2000;
constexpr uint32_t kPrinterStatusProcessing = 0x4000;
constexpr uint32_t kPrinterStatusInitializing = 0x8000;
constexpr uint32_t kPrinterStatusWarmingUp = 0x10000;
constexpr uint32_t kPrinterStatusTonerLow = 0x20000;
constexpr uint32_t kPrinterStatusNoToner = 0x40000;
constexpr uint32_t kPrinterStatusPagePunt = 0x80000;
constexpr uint32_t kPrinterStatusUserIntervention = 0x100000;
constexpr uint32_t kPrinterStatusOutOfMemory = 0x200000;
constexpr uint32_t kPrinterStatusDoorOpen = 0x400000;
constexpr uint32_t kPrinterStatusServerUnknown = 0x800000;
constexpr uint32_t kPrinterStatusPowerSave = 0x1000000;

// JOB_STATUS_*.
constexpr uint32_t kJobStatusPaused = 0x1;
constexpr uint32_t kJobStatusError = 0x2;
constexpr uint32_t kJobStatusDeleting = 0x4;
constexpr uint32_t kJobStatusSpooling = 0x8;
constexpr uint32_t kJobStatusPrinting = 0x10;
constexpr uint32_t kJobStatusOffline = 0x20;
constexpr uint32_t kJobStatusPaperOut = 0x40;
constexpr uint32_t kJobStatusPrinted = 0x80;
constexpr uint32_t kJobStatusDeleted = 0x100;
constexpr uint32_t kJobStatusBlockedDevq = 0x200;
constexpr uint32_t kJobStatusUserIntervention = 0x400;
constexpr uint32_t kJobStatusRestart = 0x800;
constexpr uint32_t kJobStatusComplete = 0x1000;
constexpr uint32_t kJobStatusRetained = 0x2000;

// Level-0 printer commands (PRINTER_CONTROL_*).
enum class PrinterControl : uint32_t { kPause = 1, kResume = 2, kPurge = 3 };
// Job control codes (JOB_CONTROL_*).
enum class JobControl : uint32_t {
  kPause = 1,
  kResume = 2,
  kCancel = 3,
  kRestart = 4,
  kDelete = 5,
  kRetain = 8,
  kRelease = 9
};

// EnumPrinters flags (PRINTER_ENUM_*).
constexpr uint32_t kEnumDefault = 0x1;
constexpr uint32_t kEnumLocal = 0x2;
constexpr uint32_t kEnumConnections = 0x4;
constexpr uint32_t kEnumShared = 0x20;
constexpr uint32_t kEnumNetwork = 0x40;

struct PrinterInfo2 {
  std::string server_name, printer_name, share_name, port_name, driver_name, comment, location,
      sep_file, print_processor, datatype, parameters;
  uint32_t attributes = 0, priority = 0, default_priority = 0, start_time = 0, until_time = 0,
           status = 0, jobs = 0, average_ppm = 0;
};
struct PrinterInfo4 {
  std::string printer_name, server_name;
  uint32_t attributes = 0;
};
struct PrinterInfo5 {
  std::string printer_name, port_name;
  uint32_t attributes = 0, device_not_selected_timeout = 0, transmission_retry_timeout = 0;
};
struct PrinterInfo6 {
  uint32_t status = 0;
};
// The file a printer's driver is: on Windows the driver's main module
// (GetPrinterDriver's pDriverPath), on Linux the queue's PPD on the scheduler.
struct DriverFile {
  // A local module whose version table and creation time the caller reads;
  // empty when the driver file is no module here (a PPD).
  std::string module_path;
  // For a file that is no module: the version it names ("1.2", empty when
  // none) and its modification time (seconds since 1970, UTC; 0 unknown).
  std::string version;
  int64_t time = 0;
};

struct PortInfo2 {
  std::string port_name, monitor_name, description;
  uint32_t port_type = 0;
};

// The paper of a printer's default device mode, in tenths of a millimetre,
// as DEVMODE carries it: each size counts only with its flag (DM_PAPERWIDTH,
// DM_PAPERLENGTH) set.
struct PaperFields {
  bool has_width = false;
  int32_t paper_width = 0;
  bool has_length = false;
  int32_t paper_length = 0;
  friend bool operator==(const PaperFields&, const PaperFields&) = default;
};

// A point in time as the spooler reports it (SYSTEMTIME fields, UTC).
struct SpoolerTime {
  uint16_t year = 0, month = 0, day_of_week = 0, day = 0, hour = 0, minute = 0, second = 0,
           milliseconds = 0;
};

struct JobInfo2 {
  uint32_t job_id = 0;
  std::string printer_name, machine_name, user_name, document, notify_name, datatype,
      print_processor, parameters, driver_name, status_text;
  uint32_t status = 0, priority = 0, position = 0, start_time = 0, until_time = 0, total_pages = 0,
           size = 0, time = 0, pages_printed = 0;
  SpoolerTime submitted;
};

// Change notifications. Field numbers are PRINTER_NOTIFY_FIELD_* and
// JOB_NOTIFY_FIELD_*; a batch carries them as the spooler reports them.
enum class NotifyType : uint16_t { kPrinter = 0, kJob = 1 };
namespace printer_field {
constexpr uint16_t kServerName = 0x00, kPrinterName = 0x01, kShareName = 0x02, kPortName = 0x03,
                   kDriverName = 0x04, kComment = 0x05, kLocation = 0x06, kSepFile = 0x09,
                   kPrintProcessor = 0x0A, kDatatype = 0x0C, kAttributes = 0x0E, kPriority = 0x0F,
                   kDefaultPriority = 0x10, kStartTime = 0x11, kUntilTime = 0x12, kStatus = 0x13,
                   kJobCount = 0x15, kSecurityDescriptor = 0x0D;
}  // namespace printer_field
namespace job_field {
constexpr uint16_t kPrinterName = 0x00, kMachineName = 0x01, kPortName = 0x02, kUserName = 0x03,
                   kNotifyName = 0x04, kDatatype = 0x05, kPrintProcessor = 0x06, kDevMode = 0x09,
                   kStatus = 0x0A, kStatusString = 0x0B, kDocument = 0x0D, kPriority = 0x0E,
                   kPosition = 0x0F, kSubmitted = 0x10, kStartTime = 0x11, kUntilTime = 0x12,
                   kTotalPages = 0x14, kPagesPrinted = 0x15, kTotalBytes = 0x16,
                   kBytesPrinted = 0x17;
}  // namespace job_field

// PRINTER_CHANGE_* filters.
constexpr uint32_t kChangeAddPrinter = 0x1;
constexpr uint32_t kChangePrinter = 0xFF;
constexpr uint32_t kChangeJob = 0xFF00;

struct NotifyFields {
  uint32_t change_filter = kChangeJob;
  std::vector<uint16_t> printer_fields;
  std::vector<uint16_t> job_fields;
};

struct NotifyItem {
  NotifyType type = NotifyType::kPrinter;
  uint16_t field = 0;
  uint32_t id = 0;  // the job id for job fields, 0 for printer fields
  bool is_text = false;
  uint32_t number = 0;
  std::string text;
  SpoolerTime time;  // job_field::kSubmitted
};

struct NotifyBatch {
  uint32_t change = 0;     // the PRINTER_CHANGE_* bits that fired
  bool discarded = false;  // the spooler dropped notifications before this batch
  std::vector<NotifyItem> items;
};

// A registered change notification. Destroying it ends the registration.
class ChangeWatch {
 public:
  virtual ~ChangeWatch() = default;
  // Waits up to `timeout_ms` for changes and takes them: kErrorSuccess with a
  // batch (possibly with `discarded` set and no items); kErrorWaitTimeout
  // when nothing changed; kErrorPrintCancelled after Cancel. Blocks; one
  // waiting thread at a time, Cancel from any thread.
  virtual PlatformResult Wait(uint32_t timeout_ms, NotifyBatch* batch) = 0;
  // The current values of every registered field (the refresh after a
  // discarded batch), and re-arms the watch.
  virtual PlatformResult Refresh(NotifyBatch* batch) = 0;
  // Wakes a waiter, and every later Wait, with kErrorPrintCancelled.
  virtual void Cancel() = 0;
};

// An open printer, or the print server when opened with an empty name.
// Destroying it closes it.
class SpoolerPrinter {
 public:
  virtual ~SpoolerPrinter() = default;

  // The access the open was granted.
  virtual uint32_t access() const = 0;

  virtual PlatformResult GetInfo2(PrinterInfo2* info) = 0;
  virtual PlatformResult GetInfo4(PrinterInfo4* info) = 0;
  virtual PlatformResult GetInfo5(PrinterInfo5* info) = 0;
  virtual PlatformResult GetInfo6(PrinterInfo6* info) = 0;
  // Writes the whole record (only the fields a level-2 write may change:
  // share name, port, comment, location, attributes, priorities, times).
  // kErrorAccessDenied without administer access, kErrorUnknownPort for a
  // port the spooler does not know, kErrorInvalidShareName.
  virtual PlatformResult SetInfo2(const PrinterInfo2& info) = 0;
  virtual PlatformResult Control(PrinterControl command) = 0;

  // Up to `count` jobs from position `first` (0-based), in queue order.
  virtual PlatformResult EnumJobs(uint32_t first, uint32_t count, std::vector<JobInfo2>* jobs) = 0;
  // The job ids only (level 1/3 enumeration).
  virtual PlatformResult EnumJobIds(std::vector<uint32_t>* ids) = 0;
  // kErrorInvalidParameter for a job this printer does not hold.
  virtual PlatformResult GetJob(uint32_t job_id, JobInfo2* job) = 0;
  virtual PlatformResult ControlJob(uint32_t job_id, JobControl command) = 0;
  // Writes priority, position, notify name, document, start and until time.
  virtual PlatformResult SetJob2(uint32_t job_id, const JobInfo2& job) = 0;

  // A value of the printer's data (GetPrinterData) or, with a key, of that
  // key (GetPrinterDataEx). kErrorFileNotFound when it does not exist.
  virtual PlatformResult GetData(std::string_view value_name, uint32_t* type,
                                 std::vector<uint8_t>* data) = 0;
  virtual PlatformResult GetDataEx(std::string_view key, std::string_view value_name,
                                   uint32_t* type, std::vector<uint8_t>* data) = 0;

  // The paper size of the printer's default device mode (Linux: the queue's
  // media-col-default, else its media-default name). A printer with no
  // default paper answers success with both flags false.
  virtual PlatformResult GetDefaultPaper(PaperFields* paper) = 0;

  // Registers for changes of this printer (or, on the server, of the
  // printer list). kErrorAccessDenied when notifications are refused.
  virtual PlatformResult WatchChanges(const NotifyFields& fields,
                                      std::unique_ptr<ChangeWatch>* watch) = 0;

  // A document: StartDoc gives the job id; Write may take fewer bytes than
  // offered (`written`); EndDoc submits it. One document at a time. The
  // datatype "" or "RAW" sends the bytes unchanged; on Linux a MIME type
  // ("application/pdf") is the document's format, which the scheduler may
  // convert for the printer, and any other datatype lets it guess.
  virtual PlatformResult StartDoc(std::string_view document_name, std::string_view datatype,
                                  uint32_t* job_id) = 0;
  virtual PlatformResult StartPage() = 0;
  virtual PlatformResult Write(const void* bytes, uint32_t size, uint32_t* written) = 0;
  virtual PlatformResult EndPage() = 0;
  virtual PlatformResult EndDoc() = 0;

  // The printer's driver file. kErrorFileNotFound when the printer has none
  // (a raw queue, which passes bytes unchanged).
  virtual PlatformResult GetDriverFile(DriverFile* file) = 0;
};

class Spooler {
 public:
  virtual ~Spooler() = default;

  // Opens a printer (an empty name opens the print server) with `access`.
  // kErrorInvalidPrinterName when there is no such printer, kErrorAccessDenied
  // when the access is refused.
  virtual PlatformResult Open(std::string_view name, uint32_t access,
                              std::unique_ptr<SpoolerPrinter>* printer) = 0;
  // The printers matching `flags` (kEnumLocal | kEnumConnections is the
  // usual pair), in the spooler's order.
  virtual PlatformResult EnumPrinters2(uint32_t flags, std::vector<PrinterInfo2>* printers) = 0;
  virtual PlatformResult EnumPrinters4(uint32_t flags, std::vector<PrinterInfo4>* printers) = 0;
  virtual PlatformResult EnumPorts2(std::vector<PortInfo2>* ports) = 0;
};

// The process's spooler: the test override when set, else the platform's.
Spooler& DefaultSpooler();
// Replaces the process's spooler until called again with null (tests only).
void SetSpoolerForTesting(Spooler* spooler);
// The platform's spooler on its own (the contract suite uses it beside the fake).
std::unique_ptr<Spooler> OpenPlatformSpooler();

}  // namespace vantrel::platform
