#include "platform/spooler.h"

#include <windows.h>
#include <winspool.h>

#include <vector>

#include "platform/two_call_read.h"
#include "platform/wide_text_win.h"
#include "platform/win32_errors.h"

// The interface's member names, not the system's narrow/wide macros; the
// wide functions are called by their own names below.
#undef EnumJobs
#undef GetJob
#undef StartDoc

namespace vantrel::platform {

namespace {

std::string Text(const wchar_t* wide) { return wide != nullptr ? Narrow(wide) : std::string(); }

// The two-call read with the system's last error; `minimum` is the size of
// the record read from the buffer (0 for enumerations).
template <typename Call>
PlatformResult ReadSized(std::vector<BYTE>* buffer, size_t minimum, Call call) {
  return ReadTwoCalls<DWORD>(buffer, minimum, call,
                             [] { return static_cast<long>(GetLastError()); });
}

PrinterInfo2 FromInfo2(const PRINTER_INFO_2W& p) {
  PrinterInfo2 info;
  info.server_name = Text(p.pServerName);
  info.printer_name = Text(p.pPrinterName);
  info.share_name = Text(p.pShareName);
  info.port_name = Text(p.pPortName);
  info.driver_name = Text(p.pDriverName);
  info.comment = Text(p.pComment);
  info.location = Text(p.pLocation);
  info.sep_file = Text(p.pSepFile);
  info.print_processor = Text(p.pPrintProcessor);
  info.datatype = Text(p.pDatatype);
  info.parameters = Text(p.pParameters);
  info.attributes = p.Attributes;
  info.priority = p.Priority;
  info.default_priority = p.DefaultPriority;
  info.start_time = p.StartTime;
  info.until_time = p.UntilTime;
  info.status = p.Status;
  info.jobs = p.cJobs;
  info.average_ppm = p.AveragePPM;
  return info;
}

// The paper fields of a device mode; none without one.
PaperFields PaperOf(const DEVMODEW* mode) {
  PaperFields paper;
  if (mode == nullptr) return paper;
  paper.has_width = (mode->dmFields & DM_PAPERWIDTH) != 0;
  paper.paper_width = paper.has_width ? mode->dmPaperWidth : 0;
  paper.has_length = (mode->dmFields & DM_PAPERLENGTH) != 0;
  paper.paper_length = paper.has_length ? mode->dmPaperLength : 0;
  return paper;
}

SpoolerTime FromSystemTime(const SYSTEMTIME& t) {
  return {t.wYear, t.wMonth, t.wDayOfWeek, t.wDay, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds};
}

JobInfo2 FromJob2(const JOB_INFO_2W& j) {
  JobInfo2 job;
  job.job_id = j.JobId;
  job.printer_name = Text(j.pPrinterName);
  job.machine_name = Text(j.pMachineName);
  job.user_name = Text(j.pUserName);
  job.document = Text(j.pDocument);
  job.notify_name = Text(j.pNotifyName);
  job.datatype = Text(j.pDatatype);
  job.print_processor = Text(j.pPrintProcessor);
  job.parameters = Text(j.pParameters);
  job.driver_name = Text(j.pDriverName);
  job.status_text = Text(j.pStatus);
  job.status = j.Status;
  job.priority = j.Priority;
  job.position = j.Position;
  job.start_time = j.StartTime;
  job.until_time = j.UntilTime;
  job.total_pages = j.TotalPages;
  job.size = j.Size;
  job.time = j.Time;
  job.pages_printed = j.PagesPrinted;
  job.submitted = FromSystemTime(j.Submitted);
  return job;
}

bool IsTextField(NotifyType type, uint16_t field) {
  if (type == NotifyType::kPrinter) {
    switch (field) {
      case printer_field::kServerName:
      case printer_field::kPrinterName:
      case printer_field::kShareName:
      case printer_field::kPortName:
      case printer_field::kDriverName:
      case printer_field::kComment:
      case printer_field::kLocation:
      case printer_field::kSepFile:
      case printer_field::kPrintProcessor:
      case printer_field::kDatatype:
        return true;
      default:
        return false;
    }
  }
  switch (field) {
    case job_field::kPrinterName:
    case job_field::kMachineName:
    case job_field::kPortName:
    case job_field::kUserName:
    case job_field::kNotifyName:
    case job_field::kDatatype:
    case job_field::kPrintProcessor:
    case job_field::kStatusString:
    case job_field::kDocument:
      return true;
    default:
      return false;
  }
}

NotifyBatch FromNotifyInfo(DWORD change, const PRINTER_NOTIFY_INFO* info) {
  NotifyBatch batch;
  batch.change = change;
  if (info == nullptr) return batch;
  batch.discarded = (info->Flags & PRINTER_NOTIFY_INFO_DISCARDED) != 0;
  for (DWORD i = 0; i < info->Count; ++i) {
    const PRINTER_NOTIFY_INFO_DATA& data = info->aData[i];
    NotifyItem item;
    item.type = data.Type == JOB_NOTIFY_TYPE ? NotifyType::kJob : NotifyType::kPrinter;
    item.field = data.Field;
    item.id = data.Id;
    const bool is_time = item.type == NotifyType::kJob && data.Field == JOB_NOTIFY_FIELD_SUBMITTED;
    if (is_time) {
      if (data.NotifyData.Data.pBuf != nullptr && data.NotifyData.Data.cbBuf >= sizeof(SYSTEMTIME))
        item.time = FromSystemTime(*static_cast<const SYSTEMTIME*>(data.NotifyData.Data.pBuf));
    } else if (IsTextField(item.type, item.field)) {
      // Text fields carry a buffer; number fields carry adwData instead.
      item.is_text = true;
      item.text = Text(static_cast<const wchar_t*>(data.NotifyData.Data.pBuf));
    } else {
      item.number = data.NotifyData.adwData[0];
    }
    batch.items.push_back(std::move(item));
  }
  return batch;
}

class WinWatch : public ChangeWatch {
 public:
  WinWatch(HANDLE change, NotifyFields fields)
      : change_(change),
        cancel_(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
        fields_(std::move(fields)) {}
  ~WinWatch() override {
    FindClosePrinterChangeNotification(change_);
    CloseHandle(cancel_);
  }

  PlatformResult Wait(uint32_t timeout_ms, NotifyBatch* batch) override {
    HANDLE handles[2] = {change_, cancel_};
    const DWORD which = WaitForMultipleObjects(2, handles, FALSE, timeout_ms);
    if (which == WAIT_OBJECT_0 + 1) return kErrorPrintCancelled;
    if (which == WAIT_TIMEOUT) return kErrorWaitTimeout;
    if (which != WAIT_OBJECT_0) return static_cast<long>(GetLastError());
    return Next(0, batch);
  }
  PlatformResult Refresh(NotifyBatch* batch) override {
    return Next(PRINTER_NOTIFY_OPTIONS_REFRESH, batch);
  }
  void Cancel() override { SetEvent(cancel_); }

 private:
  long Next(DWORD flags, NotifyBatch* batch) {
    PRINTER_NOTIFY_OPTIONS options{2, flags, 0, nullptr};
    DWORD change = 0;
    PRINTER_NOTIFY_INFO* info = nullptr;
    if (!FindNextPrinterChangeNotification(change_, &change, &options,
                                           reinterpret_cast<void**>(&info)))
      return static_cast<long>(GetLastError());
    NotifyBatch out = FromNotifyInfo(change, info);
    if (info != nullptr) FreePrinterNotifyInfo(info);
    *batch = std::move(out);
    return kErrorSuccess;
  }

  HANDLE change_;
  HANDLE cancel_;
  const NotifyFields fields_;
};

class WinPrinter : public SpoolerPrinter {
 public:
  WinPrinter(HANDLE handle, uint32_t access) : handle_(handle), access_(access) {}
  ~WinPrinter() override { ClosePrinter(handle_); }

  uint32_t access() const override { return access_; }

  PlatformResult GetInfo2(PrinterInfo2* info) override {
    std::vector<BYTE> buffer;
    const long error = Read(2, &buffer);
    if (error == kErrorSuccess)
      *info = FromInfo2(*reinterpret_cast<PRINTER_INFO_2W*>(buffer.data()));
    return error;
  }
  PlatformResult GetInfo4(PrinterInfo4* info) override {
    std::vector<BYTE> buffer;
    const long error = Read(4, &buffer);
    if (error != kErrorSuccess) return error;
    const auto& p = *reinterpret_cast<PRINTER_INFO_4W*>(buffer.data());
    *info = {Text(p.pPrinterName), Text(p.pServerName), p.Attributes};
    return kErrorSuccess;
  }
  PlatformResult GetInfo5(PrinterInfo5* info) override {
    std::vector<BYTE> buffer;
    const long error = Read(5, &buffer);
    if (error != kErrorSuccess) return error;
    const auto& p = *reinterpret_cast<PRINTER_INFO_5W*>(buffer.data());
    *info = {Text(p.pPrinterName), Text(p.pPortName), p.Attributes, p.DeviceNotSelectedTimeout,
             p.TransmissionRetryTimeout};
    return kErrorSuccess;
  }
  PlatformResult GetInfo6(PrinterInfo6* info) override {
    std::vector<BYTE> buffer;
    const long error = Read(6, &buffer);
    if (error == kErrorSuccess)
      info->status = reinterpret_cast<PRINTER_INFO_6*>(buffer.data())->dwStatus;
    return error;
  }

  PlatformResult SetInfo2(const PrinterInfo2& info) override {
    std::vector<BYTE> buffer;
    long error = Read(2, &buffer);
    if (error != kErrorSuccess) return error;
    // The fetched record keeps what this structure does not carry (device
    // mode, security descriptor, driver...).
    PRINTER_INFO_2W record = *reinterpret_cast<PRINTER_INFO_2W*>(buffer.data());
    std::wstring share = Widen(info.share_name), port = Widen(info.port_name),
                 comment = Widen(info.comment), location = Widen(info.location);
    record.pShareName = share.data();
    record.pPortName = port.data();
    record.pComment = comment.data();
    record.pLocation = location.data();
    record.Attributes = info.attributes;
    record.Priority = info.priority;
    record.DefaultPriority = info.default_priority;
    record.StartTime = info.start_time;
    record.UntilTime = info.until_time;
    if (!SetPrinterW(handle_, 2, reinterpret_cast<BYTE*>(&record), 0))
      return static_cast<long>(GetLastError());
    return kErrorSuccess;
  }

  PlatformResult GetDefaultPaper(PaperFields* paper) override {
    std::vector<BYTE> buffer;
    const long error = Read(2, &buffer);
    if (error != kErrorSuccess) return error;
    *paper = PaperOf(reinterpret_cast<PRINTER_INFO_2W*>(buffer.data())->pDevMode);
    return kErrorSuccess;
  }

  PlatformResult Control(PrinterControl command) override {
    if (!SetPrinterW(handle_, 0, nullptr, static_cast<DWORD>(command)))
      return static_cast<long>(GetLastError());
    return kErrorSuccess;
  }

  PlatformResult EnumJobs(uint32_t first, uint32_t count, std::vector<JobInfo2>* jobs) override {
    std::vector<BYTE> buffer;
    DWORD returned = 0;
    const long error = ReadSized(&buffer, 0, [&](BYTE* data, DWORD size, DWORD* needed) {
      return EnumJobsW(handle_, first, count, 2, data, size, needed, &returned) != FALSE;
    });
    if (error != kErrorSuccess) return error;
    jobs->clear();
    const auto* records = reinterpret_cast<const JOB_INFO_2W*>(buffer.data());
    for (DWORD i = 0; i < returned; ++i) jobs->push_back(FromJob2(records[i]));
    return kErrorSuccess;
  }
  PlatformResult EnumJobIds(std::vector<uint32_t>* ids) override {
    std::vector<BYTE> buffer;
    DWORD returned = 0;
    const long error = ReadSized(&buffer, 0, [&](BYTE* data, DWORD size, DWORD* needed) {
      return EnumJobsW(handle_, 0, 0xFFFFFFFF, 1, data, size, needed, &returned) != FALSE;
    });
    if (error != kErrorSuccess) return error;
    ids->clear();
    const auto* records = reinterpret_cast<const JOB_INFO_1W*>(buffer.data());
    for (DWORD i = 0; i < returned; ++i) ids->push_back(records[i].JobId);
    return kErrorSuccess;
  }
  PlatformResult GetJob(uint32_t job_id, JobInfo2* job) override {
    std::vector<BYTE> buffer;
    const long error = ReadJob(job_id, &buffer);
    if (error == kErrorSuccess) *job = FromJob2(*reinterpret_cast<JOB_INFO_2W*>(buffer.data()));
    return error;
  }
  PlatformResult ControlJob(uint32_t job_id, JobControl command) override {
    if (!SetJobW(handle_, job_id, 0, nullptr, static_cast<DWORD>(command)))
      return static_cast<long>(GetLastError());
    return kErrorSuccess;
  }
  PlatformResult SetJob2(uint32_t job_id, const JobInfo2& info) override {
    std::vector<BYTE> buffer;
    const long error = ReadJob(job_id, &buffer);
    if (error != kErrorSuccess) return error;
    JOB_INFO_2W record = *reinterpret_cast<JOB_INFO_2W*>(buffer.data());
    std::wstring document = Widen(info.document), notify = Widen(info.notify_name);
    record.pDocument = document.data();
    record.pNotifyName = notify.data();
    record.Priority = info.priority;
    record.StartTime = info.start_time;
    record.UntilTime = info.until_time;
    record.Position = JOB_POSITION_UNSPECIFIED;
    if (!SetJobW(handle_, job_id, 2, reinterpret_cast<BYTE*>(&record), 0))
      return static_cast<long>(GetLastError());
    return kErrorSuccess;
  }

  PlatformResult GetData(std::string_view value_name, uint32_t* type,
                         std::vector<uint8_t>* data) override {
    const std::wstring name = Widen(value_name);
    return ReadData(type, data, [&](DWORD* kind, BYTE* bytes, DWORD size, DWORD* needed) {
      return GetPrinterDataW(handle_, const_cast<wchar_t*>(name.c_str()), kind, bytes, size,
                             needed);
    });
  }
  PlatformResult GetDataEx(std::string_view key, std::string_view value_name, uint32_t* type,
                           std::vector<uint8_t>* data) override {
    const std::wstring key_name = Widen(key), name = Widen(value_name);
    return ReadData(type, data, [&](DWORD* kind, BYTE* bytes, DWORD size, DWORD* needed) {
      return GetPrinterDataExW(handle_, key_name.c_str(), name.c_str(), kind, bytes, size, needed);
    });
  }

  PlatformResult WatchChanges(const NotifyFields& fields,
                              std::unique_ptr<ChangeWatch>* watch) override {
    std::vector<WORD> printer(fields.printer_fields.begin(), fields.printer_fields.end());
    std::vector<WORD> job(fields.job_fields.begin(), fields.job_fields.end());
    PRINTER_NOTIFY_OPTIONS_TYPE types[2] = {};
    DWORD count = 0;
    if (!printer.empty())
      types[count++] = {PRINTER_NOTIFY_TYPE, 0, 0, 0, static_cast<DWORD>(printer.size()),
                        printer.data()};
    if (!job.empty())
      types[count++] = {JOB_NOTIFY_TYPE, 0, 0, 0, static_cast<DWORD>(job.size()), job.data()};
    PRINTER_NOTIFY_OPTIONS options{2, 0, count, types};
    HANDLE change = FindFirstPrinterChangeNotification(handle_, fields.change_filter, 0,
                                                       count != 0 ? &options : nullptr);
    if (change == INVALID_HANDLE_VALUE) return static_cast<long>(GetLastError());
    *watch = std::make_unique<WinWatch>(change, fields);
    return kErrorSuccess;
  }

  PlatformResult StartDoc(std::string_view document_name, std::string_view datatype,
                          uint32_t* job_id) override {
    std::wstring name = Widen(document_name), type = Widen(datatype.empty() ? "RAW" : datatype);
    DOC_INFO_1W doc{name.data(), nullptr, type.data()};
    const DWORD id = StartDocPrinterW(handle_, 1, reinterpret_cast<BYTE*>(&doc));
    if (id == 0) return static_cast<long>(GetLastError());
    *job_id = id;
    return kErrorSuccess;
  }
  PlatformResult StartPage() override { return Result(StartPagePrinter(handle_)); }
  PlatformResult EndPage() override { return Result(EndPagePrinter(handle_)); }
  PlatformResult Write(const void* bytes, uint32_t size, uint32_t* written) override {
    DWORD done = 0;
    if (!WritePrinter(handle_, const_cast<void*>(bytes), size, &done))
      return static_cast<long>(GetLastError());
    *written = done;
    return kErrorSuccess;
  }
  PlatformResult EndDoc() override { return Result(EndDocPrinter(handle_)); }

  // The driver's main module; the caller reads its version and time.
  PlatformResult GetDriverFile(DriverFile* file) override {
    std::vector<BYTE> buffer;
    const long error =
        ReadSized(&buffer, sizeof(DRIVER_INFO_2W), [&](BYTE* data, DWORD size, DWORD* needed) {
          return GetPrinterDriverW(handle_, nullptr, 2, data, size, needed) != FALSE;
        });
    if (error != kErrorSuccess) return error;
    const auto* driver = reinterpret_cast<const DRIVER_INFO_2W*>(buffer.data());
    *file = DriverFile{};
    file->module_path = Text(driver->pDriverPath);
    return file->module_path.empty() ? kErrorFileNotFound : kErrorSuccess;
  }

 private:
  static long Result(BOOL ok) { return ok ? kErrorSuccess : static_cast<long>(GetLastError()); }

  static size_t RecordSize(DWORD level) {
    switch (level) {
      case 2:
        return sizeof(PRINTER_INFO_2W);
      case 4:
        return sizeof(PRINTER_INFO_4W);
      case 5:
        return sizeof(PRINTER_INFO_5W);
      default:
        return sizeof(PRINTER_INFO_6);
    }
  }
  PlatformResult Read(DWORD level, std::vector<BYTE>* buffer) {
    return ReadSized(buffer, RecordSize(level), [&](BYTE* data, DWORD size, DWORD* needed) {
      return GetPrinterW(handle_, level, data, size, needed) != FALSE;
    });
  }
  long ReadJob(uint32_t job_id, std::vector<BYTE>* buffer) {
    return ReadSized(buffer, sizeof(JOB_INFO_2W), [&](BYTE* data, DWORD size, DWORD* needed) {
      return GetJobW(handle_, job_id, 2, data, size, needed) != FALSE;
    });
  }
  // Printer data answers its error instead of setting the last error.
  template <typename Call>
  static long ReadData(uint32_t* type, std::vector<uint8_t>* data, Call call) {
    DWORD kind = 0, needed = 0;
    DWORD error = call(&kind, nullptr, 0, &needed);
    std::vector<uint8_t> bytes;
    if (error == ERROR_MORE_DATA || (error == ERROR_SUCCESS && needed > 0)) {
      bytes.resize(needed);
      error = call(&kind, bytes.data(), needed, &needed);
    }
    if (error != ERROR_SUCCESS) return static_cast<long>(error);
    bytes.resize(needed);
    *type = kind;
    *data = std::move(bytes);
    return kErrorSuccess;
  }

  const HANDLE handle_;
  const uint32_t access_;
};

class WinSpooler : public Spooler {
 public:
  PlatformResult Open(std::string_view name, uint32_t access,
                      std::unique_ptr<SpoolerPrinter>* printer) override {
    std::wstring wide = Widen(name);
    PRINTER_DEFAULTSW defaults{nullptr, nullptr, access};
    HANDLE handle = nullptr;
    if (!OpenPrinterW(name.empty() ? nullptr : wide.data(), &handle, &defaults))
      return static_cast<long>(GetLastError());
    *printer = std::make_unique<WinPrinter>(handle, access);
    return kErrorSuccess;
  }

  PlatformResult EnumPrinters2(uint32_t flags, std::vector<PrinterInfo2>* printers) override {
    std::vector<BYTE> buffer;
    DWORD returned = 0;
    const long error = Enum(flags, 2, &buffer, &returned);
    if (error != kErrorSuccess) return error;
    printers->clear();
    const auto* records = reinterpret_cast<const PRINTER_INFO_2W*>(buffer.data());
    for (DWORD i = 0; i < returned; ++i) printers->push_back(FromInfo2(records[i]));
    return kErrorSuccess;
  }
  PlatformResult EnumPrinters4(uint32_t flags, std::vector<PrinterInfo4>* printers) override {
    std::vector<BYTE> buffer;
    DWORD returned = 0;
    const long error = Enum(flags, 4, &buffer, &returned);
    if (error != kErrorSuccess) return error;
    printers->clear();
    const auto* records = reinterpret_cast<const PRINTER_INFO_4W*>(buffer.data());
    for (DWORD i = 0; i < returned; ++i)
      printers->push_back(
          {Text(records[i].pPrinterName), Text(records[i].pServerName), records[i].Attributes});
    return kErrorSuccess;
  }
  PlatformResult EnumPorts2(std::vector<PortInfo2>* ports) override {
    std::vector<BYTE> buffer;
    DWORD returned = 0;
    const long error = ReadSized(&buffer, 0, [&](BYTE* data, DWORD size, DWORD* needed) {
      return EnumPortsW(nullptr, 2, data, size, needed, &returned) != FALSE;
    });
    if (error != kErrorSuccess) return error;
    ports->clear();
    const auto* records = reinterpret_cast<const PORT_INFO_2W*>(buffer.data());
    for (DWORD i = 0; i < returned; ++i)
      ports->push_back({Text(records[i].pPortName), Text(records[i].pMonitorName),
                        Text(records[i].pDescription), records[i].fPortType});
    return kErrorSuccess;
  }

 private:
  static long Enum(uint32_t flags, DWORD level, std::vector<BYTE>* buffer, DWORD* returned) {
    return ReadSized(buffer, 0, [&](BYTE* data, DWORD size, DWORD* needed) {
      return EnumPrintersW(flags, nullptr, level, data, size, needed, returned) != FALSE;
    });
  }
};

}  // namespace

std::unique_ptr<Spooler> OpenPlatformSpooler() { return std::make_unique<WinSpooler>(); }

}  // namespace vantrel::platform
