#include "platform/cups/spooler_cups_posix.h"

#include <mutex>
#include <set>

#include "platform/cups/cups_backend_posix.h"
#include "platform/cups/cups_mapping_posix.h"
#include "platform/cups/cups_media_posix.h"
#include "platform/cups/cups_notifications_posix.h"
#include "platform/cups/cups_ppd_posix.h"
#include "platform/win32_errors.h"
#include "platform/thread_annotations.h"

namespace vantrel::platform {

namespace {

using cups::Backend;
using cups::IppMessage;
using cups::NewRequest;

// Printer-type bits CUPS uses for remote queues, to honour the enumeration
// flags.
bool Matches(uint32_t flags, const PrinterInfo2& info) {
  if ((flags & kEnumShared) && !(info.attributes & kPrinterAttributeShared)) return false;
  const bool remote = (info.attributes & kPrinterAttributeNetwork) != 0;
  if (flags & (kEnumLocal | kEnumConnections | kEnumNetwork))
    return remote ? (flags & (kEnumConnections | kEnumNetwork)) != 0 : (flags & kEnumLocal) != 0;
  return true;
}

// The document-format of a datatype: "" and "RAW" are raw, a MIME type is
// itself, anything else is left to the scheduler's guess.
std::string DocumentFormatOf(std::string_view datatype) {
  if (datatype.empty() || datatype == "RAW") return CUPS_FORMAT_RAW;
  if (datatype.find('/') != std::string_view::npos) return std::string(datatype);
  return CUPS_FORMAT_AUTO;
}

class CupsPrinter : public SpoolerPrinter {
 public:
  CupsPrinter(Backend& backend, std::string name, uint32_t access)
      : backend_(backend), name_(std::move(name)), access_(access) {}
  ~CupsPrinter() override {
    MutexLock lock(doc_mutex_);
    if (doc_http_ != nullptr) httpClose(doc_http_);  // an unfinished document is dropped
  }

  uint32_t access() const override { return access_; }

  PlatformResult GetInfo2(PrinterInfo2* info) override {
    const long error =
        backend_.GetPrinter(name_, cups::kPrinter2Attributes, cups::kPrinter2AttributeCount, info);
    if (error == kErrorSuccess) backend_.FillStoredFields(info);
    return error;
  }
  PlatformResult GetInfo4(PrinterInfo4* info) override {
    PrinterInfo2 full;
    const long error =
        backend_.GetPrinter(name_, cups::kPrinter4Attributes, cups::kPrinter4AttributeCount, &full);
    if (error == kErrorSuccess) *info = {full.printer_name, full.server_name, full.attributes};
    return error;
  }
  PlatformResult GetInfo5(PrinterInfo5* info) override {
    PrinterInfo2 full;
    const long error =
        backend_.GetPrinter(name_, cups::kPrinter5Attributes, cups::kPrinter5AttributeCount, &full);
    if (error == kErrorSuccess)
      *info = {full.printer_name, full.port_name, full.attributes, 15000, 45000};
    return error;
  }
  PlatformResult GetInfo6(PrinterInfo6* info) override {
    PrinterInfo2 full;
    const long error =
        backend_.GetPrinter(name_, cups::kPrinter6Attributes, cups::kPrinter6AttributeCount, &full);
    if (error == kErrorSuccess) info->status = full.status;
    return error;
  }

  PlatformResult SetInfo2(const PrinterInfo2& info) override {
    if ((access_ & kPrinterAccessAdminister) == 0) return kErrorAccessDenied;
    if (cups::IsInvalidShareName(info.share_name)) return kErrorInvalidShareName;
    PrinterInfo2 now;
    long error = GetInfo2(&now);
    if (error != kErrorSuccess) return error;
    error = ModifyQueue(now, info);
    if (error != kErrorSuccess) return error;
    return backend_.StoreFields(name_, info);
  }

  PlatformResult Control(PrinterControl command) override {
    ipp_op_t operation;
    switch (command) {
      case PrinterControl::kPause:
        operation = IPP_OP_PAUSE_PRINTER;
        break;
      case PrinterControl::kResume:
        operation = IPP_OP_RESUME_PRINTER;
        break;
      case PrinterControl::kPurge:
        operation = IPP_OP_CANCEL_JOBS;
        break;
      default:
        return kErrorInvalidPrinterCommand;
    }
    if (name_.empty()) return kErrorInvalidHandle;
    return backend_.Send(NewRequest(operation, backend_.pool().PrinterUri(name_)), true);
  }

  PlatformResult EnumJobs(uint32_t first, uint32_t count, std::vector<JobInfo2>* jobs) override {
    std::vector<JobInfo2> all;
    const long error = backend_.GetJobs(name_, &all);
    if (error != kErrorSuccess) return error;
    jobs->clear();
    for (size_t i = first; i < all.size() && jobs->size() < count; ++i) jobs->push_back(all[i]);
    return kErrorSuccess;
  }
  PlatformResult EnumJobIds(std::vector<uint32_t>* ids) override {
    std::vector<JobInfo2> all;
    const long error = backend_.GetJobs(name_, &all);
    if (error != kErrorSuccess) return error;
    ids->clear();
    for (const JobInfo2& job : all) ids->push_back(job.job_id);
    return kErrorSuccess;
  }
  PlatformResult GetJob(uint32_t job_id, JobInfo2* job) override {
    return backend_.GetJob(name_, job_id, job);
  }

  PlatformResult ControlJob(uint32_t job_id, JobControl command) override {
    JobInfo2 job;
    long error = GetJob(job_id, &job);  // a job of another printer is not ours to touch
    if (error != kErrorSuccess) return error;
    ipp_op_t operation;
    bool purge = false;
    switch (command) {
      case JobControl::kPause:
        operation = IPP_OP_HOLD_JOB;
        break;
      case JobControl::kResume:
        operation = IPP_OP_RELEASE_JOB;
        break;
      case JobControl::kRestart:
        operation = IPP_OP_RESTART_JOB;
        break;
      case JobControl::kCancel:
        operation = IPP_OP_CANCEL_JOB;
        break;
      case JobControl::kDelete:
        operation = IPP_OP_CANCEL_JOB, purge = true;
        break;
      default:
        return kErrorNotSupported;
    }
    ipp_t* request = JobRequest(operation, job_id);
    if (purge) ippAddBoolean(request, IPP_TAG_OPERATION, "purge-job", 1);
    return backend_.Send(request, false);
  }

  PlatformResult SetJob2(uint32_t job_id, const JobInfo2& info) override {
    if (info.priority < 1 || info.priority > 99) return kErrorInvalidParameter;
    JobInfo2 now;
    long error = GetJob(job_id, &now);
    if (error != kErrorSuccess) return error;
    ipp_t* request = JobRequest(IPP_OP_SET_JOB_ATTRIBUTES, job_id);
    bool changed = false;
    if (info.priority != now.priority) {
      ippAddInteger(request, IPP_TAG_JOB, IPP_TAG_INTEGER, "job-priority",
                    static_cast<int>(info.priority));
      changed = true;
    }
    if (info.document != now.document) {
      ippAddString(request, IPP_TAG_JOB, IPP_TAG_NAME, "job-name", nullptr, info.document.c_str());
      changed = true;
    }
    if (info.start_time != now.start_time) {
      // A time of day must go as a name; the keyword form takes only words.
      ippAddString(request, IPP_TAG_JOB, IPP_TAG_NAME, "job-hold-until", nullptr,
                   cups::HoldUntilFromMinutes(info.start_time).c_str());
      changed = true;
    }
    if (!changed) {
      ippDelete(request);
      return kErrorSuccess;
    }
    return backend_.Send(request, false);
  }

  PlatformResult GetData(std::string_view value_name, uint32_t* type,
                         std::vector<uint8_t>* data) override {
    return backend_.GetStoredData(name_, "", std::string(value_name), type, data);
  }
  PlatformResult GetDataEx(std::string_view key, std::string_view value_name, uint32_t* type,
                           std::vector<uint8_t>* data) override {
    if (key.empty()) return kErrorInvalidParameter;
    return backend_.GetStoredData(name_, std::string(key), std::string(value_name), type, data);
  }

  PlatformResult GetDefaultPaper(PaperFields* paper) override {
    if (name_.empty()) return kErrorInvalidHandle;
    ipp_t* request = NewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES, backend_.pool().PrinterUri(name_));
    cups::AddRequestedAttributes(request, cups::kPaperAttributes, cups::kPaperAttributeCount);
    long error = kErrorSuccess;
    IppMessage response(backend_.pool().Do(request, "/", true, &error));
    if (!response) return error;
    PaperFields found;
    cups::ForEachGroup(response.get(), IPP_TAG_PRINTER, [&](const cups::AttributeGroup& group) {
      found = cups::DefaultPaperFrom(group);
    });
    *paper = found;
    return kErrorSuccess;
  }

  PlatformResult WatchChanges(const NotifyFields& fields,
                              std::unique_ptr<ChangeWatch>* watch) override {
    *watch = backend_.hub().Watch(name_, fields);
    return kErrorSuccess;
  }

  PlatformResult StartDoc(std::string_view document_name, std::string_view datatype,
                          uint32_t* job_id) override {
    MutexLock lock(doc_mutex_);
    if (name_.empty()) return kErrorInvalidHandle;
    if (doc_http_ != nullptr) return kErrorInvalidParameter;
    http_t* http = backend_.pool().Take();
    if (http == nullptr) return kErrorSpoolerUnavailable;
    const std::string title(document_name);
    const std::string uri = backend_.pool().PrinterUri(name_);
    // The job and its one document, on this connection: the library's own
    // helpers would look the queue up on the default scheduler.
    ipp_t* create = NewRequest(IPP_OP_CREATE_JOB, uri);
    ippAddString(create, IPP_TAG_OPERATION, IPP_TAG_NAME, "job-name", nullptr, title.c_str());
    cups::IppMessage created(cupsDoRequest(http, create, "/"));
    const ipp_status_t status = created ? ippGetStatusCode(created.get()) : cupsLastError();
    ipp_attribute_t* id_attribute =
        created ? ippFindAttribute(created.get(), "job-id", IPP_TAG_INTEGER) : nullptr;
    if (status > IPP_STATUS_OK_EVENTS_COMPLETE || id_attribute == nullptr) {
      const long error = cups::ErrorFromIppStatus(status, true);
      backend_.pool().Put(http);
      return error != kErrorSuccess ? error : kErrorSpoolerUnavailable;
    }
    const int id = ippGetInteger(id_attribute, 0);
    const std::string format = DocumentFormatOf(datatype);
    ipp_t* send = NewRequest(IPP_OP_SEND_DOCUMENT, uri);
    ippAddInteger(send, IPP_TAG_OPERATION, IPP_TAG_INTEGER, "job-id", id);
    ippAddString(send, IPP_TAG_OPERATION, IPP_TAG_NAME, "document-name", nullptr, title.c_str());
    ippAddString(send, IPP_TAG_OPERATION, IPP_TAG_MIMETYPE, "document-format", nullptr,
                 format.c_str());
    ippAddBoolean(send, IPP_TAG_OPERATION, "last-document", 1);
    const http_status_t sent = cupsSendRequest(http, send, "/", CUPS_LENGTH_VARIABLE);
    ippDelete(send);
    if (sent != HTTP_STATUS_CONTINUE) {
      httpClose(http);
      return kErrorSpoolerUnavailable;
    }
    doc_http_ = http;
    *job_id = static_cast<uint32_t>(id);
    return kErrorSuccess;
  }
  PlatformResult StartPage() override {
    return DocumentOpen() ? kErrorSuccess : kErrorInvalidParameter;
  }
  PlatformResult EndPage() override {
    return DocumentOpen() ? kErrorSuccess : kErrorInvalidParameter;
  }
  PlatformResult Write(const void* bytes, uint32_t size, uint32_t* written) override {
    MutexLock lock(doc_mutex_);
    if (doc_http_ == nullptr) return kErrorInvalidParameter;
    if (cupsWriteRequestData(doc_http_, static_cast<const char*>(bytes), size) !=
        HTTP_STATUS_CONTINUE)
      return kErrorCantWrite;
    *written = size;
    return kErrorSuccess;
  }
  PlatformResult EndDoc() override {
    MutexLock lock(doc_mutex_);
    if (doc_http_ == nullptr) return kErrorInvalidParameter;
    cups::IppMessage response(cupsGetResponse(doc_http_, "/"));
    const ipp_status_t status = response ? ippGetStatusCode(response.get()) : cupsLastError();
    if (response)
      backend_.pool().Put(doc_http_);
    else
      httpClose(doc_http_);
    doc_http_ = nullptr;
    return cups::ErrorFromIppStatus(status, true);
  }

  PlatformResult GetDriverFile(DriverFile* file) override {
    if (name_.empty()) return kErrorInvalidHandle;
    return cups::FetchPpdFile(backend_.pool(), name_, file);
  }

 private:
  bool DocumentOpen() {
    MutexLock lock(doc_mutex_);
    return doc_http_ != nullptr;
  }

  ipp_t* JobRequest(ipp_op_t operation, uint32_t job_id) {
    ipp_t* request = NewRequest(operation, backend_.pool().PrinterUri(name_));
    ippAddInteger(request, IPP_TAG_OPERATION, IPP_TAG_INTEGER, "job-id", static_cast<int>(job_id));
    return request;
  }

  // CUPS-Add-Modify-Printer with the CUPS-kept fields that changed.
  long ModifyQueue(const PrinterInfo2& now, const PrinterInfo2& wanted) {
    ipp_t* request = NewRequest(IPP_OP_CUPS_ADD_MODIFY_PRINTER, backend_.pool().PrinterUri(name_));
    int changes = 0;
    auto text = [&](const char* name, ipp_tag_t tag, const std::string& before,
                    const std::string& after) {
      if (before == after) return;
      ippAddString(request, IPP_TAG_PRINTER, tag, name, nullptr, after.c_str());
      ++changes;
    };
    text("printer-info", IPP_TAG_TEXT, now.comment, wanted.comment);
    text("printer-location", IPP_TAG_TEXT, now.location, wanted.location);
    text("device-uri", IPP_TAG_URI, now.port_name, wanted.port_name);
    const bool shared = (wanted.attributes & kPrinterAttributeShared) != 0;
    if (shared != ((now.attributes & kPrinterAttributeShared) != 0)) {
      ippAddBoolean(request, IPP_TAG_PRINTER, "printer-is-shared", shared);
      ++changes;
    }
    if (wanted.default_priority != now.default_priority) {
      ippAddInteger(request, IPP_TAG_PRINTER, IPP_TAG_INTEGER, "job-priority-default",
                    static_cast<int>(wanted.default_priority));
      ++changes;
    }
    if (changes == 0) {
      ippDelete(request);
      return kErrorSuccess;
    }
    long error = kErrorSuccess;
    IppMessage response(backend_.pool().Do(request, "/admin/", true, &error));
    // The scheduler refuses a device URI whose scheme has no backend.
    if (error == kErrorInvalidParameter && wanted.port_name != now.port_name)
      return kErrorUnknownPort;
    return error;
  }

  Backend& backend_;
  const std::string name_;  // "" for the print server
  const uint32_t access_;
  Mutex doc_mutex_;
  http_t* doc_http_ GUARDED_BY(doc_mutex_) = nullptr;  // the open document's connection
};

class CupsSpooler : public Spooler {
 public:
  CupsSpooler(const std::string& server, SettingsStore* store) : backend_(server, store) {}

  PlatformResult Open(std::string_view name, uint32_t access,
                      std::unique_ptr<SpoolerPrinter>* printer) override {
    const std::string queue(name);
    if (!queue.empty()) {
      // Proves the queue exists; CUPS decides on rights per request.
      PrinterInfo2 probe;
      const long error = backend_.GetPrinter(queue, cups::kPrinter6Attributes, 1, &probe);
      if (error != kErrorSuccess) return error;
    }
    *printer = std::make_unique<CupsPrinter>(backend_, queue, access);
    return kErrorSuccess;
  }

  PlatformResult EnumPrinters2(uint32_t flags, std::vector<PrinterInfo2>* printers) override {
    std::vector<PrinterInfo2> all;
    const long error =
        backend_.GetPrinters(cups::kPrinter2Attributes, cups::kPrinter2AttributeCount, &all);
    if (error != kErrorSuccess) return error;
    printers->clear();
    // One look at the store's printer keys instead of one per queue.
    const std::set<std::string> keyed = backend_.StoredPrinters();
    for (PrinterInfo2& info : all) {
      if (!Matches(flags, info)) continue;
      backend_.FillStoredFields(&info, &keyed);
      printers->push_back(std::move(info));
    }
    return kErrorSuccess;
  }

  PlatformResult EnumPrinters4(uint32_t flags, std::vector<PrinterInfo4>* printers) override {
    std::vector<PrinterInfo2> all;
    const long error =
        backend_.GetPrinters(cups::kPrinter4Attributes, cups::kPrinter4AttributeCount, &all);
    if (error != kErrorSuccess) return error;
    printers->clear();
    for (const PrinterInfo2& info : all)
      if (Matches(flags, info)) printers->push_back({info.printer_name, "", info.attributes});
    return kErrorSuccess;
  }

  PlatformResult EnumPorts2(std::vector<PortInfo2>* ports) override {
    static const char* const kUri[] = {"device-uri"};
    std::vector<PrinterInfo2> all;
    const long error = backend_.GetPrinters(kUri, 1, &all);
    if (error != kErrorSuccess) return error;
    ports->clear();
    for (const PrinterInfo2& info : all) {
      bool seen = false;
      for (const PortInfo2& port : *ports) seen = seen || port.port_name == info.port_name;
      if (seen || info.port_name.empty()) continue;
      const std::string scheme = info.port_name.substr(0, info.port_name.find(':'));
      ports->push_back({info.port_name, scheme, "CUPS device " + scheme, 1 /*write*/});
    }
    return kErrorSuccess;
  }

 private:
  Backend backend_;
};

}  // namespace

std::unique_ptr<Spooler> OpenCupsSpooler(const std::string& server, SettingsStore* store) {
  return std::make_unique<CupsSpooler>(server, store);
}

std::unique_ptr<Spooler> OpenPlatformSpooler() { return OpenCupsSpooler("", nullptr); }

}  // namespace vantrel::platform
