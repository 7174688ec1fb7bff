#include "fakes/fake_spooler.h"

#include <algorithm>
#include <chrono>

#include "platform/registry_value.h"
#include "platform/win32_errors.h"

namespace vantrel::testing {

using namespace platform;

namespace {

NotifyItem Item(NotifyType type, uint16_t field, uint32_t id = 0) {
  NotifyItem item;
  item.type = type;
  item.field = field;
  item.id = id;
  return item;
}

}  // namespace

class FakeSpooler::Watch : public ChangeWatch {
 public:
  Watch(FakeSpooler* spooler, std::string printer, NotifyFields fields)
      : spooler_(spooler), printer_(std::move(printer)), fields_(std::move(fields)) {
    MutexLock lock(spooler_->mutex_);
    spooler_->watches_.push_back(this);
  }
  ~Watch() override {
    MutexLock lock(spooler_->mutex_);
    auto& all = spooler_->watches_;
    all.erase(std::remove(all.begin(), all.end(), this), all.end());
  }

  PlatformResult Wait(uint32_t timeout_ms, NotifyBatch* batch) override {
    spooler_->Count("Wait");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    MutexLock lock(spooler_->mutex_);
    while (!cancelled_ && !discarded_ && pending_.empty()) {
      if (!lock.WaitUntil(spooler_->changed_, deadline)) break;
    }
    if (cancelled_) return kErrorPrintCancelled;
    if (!discarded_ && pending_.empty()) return kErrorWaitTimeout;
    batch->discarded = discarded_;
    batch->change = change_;
    batch->items = std::move(pending_);
    pending_.clear();
    discarded_ = false;
    change_ = 0;
    return kErrorSuccess;
  }

  PlatformResult Refresh(NotifyBatch* batch) override {
    spooler_->Count("Refresh");
    MutexLock lock(spooler_->mutex_);
    Printer* p = spooler_->FindLocked(printer_);
    if (p == nullptr) return kErrorInvalidHandle;
    NotifyBatch out;
    for (uint16_t field : fields_.printer_fields) out.items.push_back(PrinterItem(*p, field));
    for (const Job& job : p->jobs) {
      NotifyItem status = Item(NotifyType::kJob, job_field::kStatus, job.info.job_id);
      status.number = job.info.status;
      out.items.push_back(status);
    }
    *batch = std::move(out);
    return kErrorSuccess;
  }

  void Cancel() override {
    MutexLock lock(spooler_->mutex_);
    cancelled_ = true;
    spooler_->changed_.notify_all();
  }

  // Called with the spooler's lock held; the analysis cannot tie this
  // watch's spooler to the caller's, hence no check here.
  void Offer(const std::string& printer, const NotifyItem& item) NO_THREAD_SAFETY_ANALYSIS {
    if (printer != printer_ && !printer_.empty()) return;
    const auto& wanted =
        item.type == NotifyType::kPrinter ? fields_.printer_fields : fields_.job_fields;
    const bool added_printer = printer_.empty() && item.field == printer_field::kPrinterName;
    if (!added_printer && std::find(wanted.begin(), wanted.end(), item.field) == wanted.end())
      return;
    if (dropping_) return;
    pending_.push_back(item);
    change_ |= item.type == NotifyType::kJob ? kChangeJob : kChangePrinter;
  }
  // As Offer.
  void Drop(const std::string& printer) NO_THREAD_SAFETY_ANALYSIS {
    if (printer != printer_) return;
    discarded_ = true;
    pending_.clear();
  }

  static NotifyItem PrinterItem(const Printer& p, uint16_t field) {
    NotifyItem item = Item(NotifyType::kPrinter, field);
    const PrinterInfo2& i = p.info;
    auto text = [&](const std::string& value) { item.is_text = true, item.text = value; };
    switch (field) {
      case printer_field::kPrinterName:
        text(i.printer_name);
        break;
      case printer_field::kShareName:
        text(i.share_name);
        break;
      case printer_field::kPortName:
        text(i.port_name);
        break;
      case printer_field::kComment:
        text(i.comment);
        break;
      case printer_field::kLocation:
        text(i.location);
        break;
      case printer_field::kStatus:
        item.number = i.status;
        break;
      case printer_field::kAttributes:
        item.number = i.attributes;
        break;
      case printer_field::kJobCount:
        item.number = static_cast<uint32_t>(p.jobs.size());
        break;
      default:
        break;
    }
    return item;
  }

 private:
  FakeSpooler* const spooler_;
  const std::string printer_;  // empty: the server (printer list changes)
  const NotifyFields fields_;
  std::vector<NotifyItem> pending_ GUARDED_BY(spooler_->mutex_);
  uint32_t change_ GUARDED_BY(spooler_->mutex_) = 0;
  bool discarded_ GUARDED_BY(spooler_->mutex_) = false;
  bool cancelled_ GUARDED_BY(spooler_->mutex_) = false;
  bool dropping_ GUARDED_BY(spooler_->mutex_) = false;
};

class FakePrinter : public SpoolerPrinter {
 public:
  FakePrinter(FakeSpooler* spooler, std::string name, uint32_t access)
      : spooler_(spooler), name_(std::move(name)), access_(access) {}
  ~FakePrinter() override { spooler_->Count("Close"); }

  uint32_t access() const override { return access_; }

  PlatformResult GetInfo2(PrinterInfo2* info) override {
    return Read("GetInfo2", [&](FakeSpooler::Printer& p) {
      *info = p.info;
      info->jobs = static_cast<uint32_t>(p.jobs.size());
    });
  }
  PlatformResult GetInfo4(PrinterInfo4* info) override {
    return Read("GetInfo4", [&](FakeSpooler::Printer& p) {
      *info = {p.info.printer_name, p.info.server_name, p.info.attributes};
    });
  }
  PlatformResult GetInfo5(PrinterInfo5* info) override {
    return Read("GetInfo5", [&](FakeSpooler::Printer& p) {
      *info = {p.info.printer_name, p.info.port_name, p.info.attributes, 15000, 45000};
    });
  }
  PlatformResult GetInfo6(PrinterInfo6* info) override {
    return Read("GetInfo6", [&](FakeSpooler::Printer& p) { info->status = p.info.status; });
  }

  PlatformResult SetInfo2(const PrinterInfo2& info) override {
    spooler_->Count("SetInfo2");
    MutexLock lock(spooler_->mutex_);
    FakeSpooler::Printer* p = spooler_->FindLocked(name_);
    if (p == nullptr) return kErrorInvalidHandle;
    if ((access_ & kPrinterAccessAdminister) == 0 || p->deny_admin) return kErrorAccessDenied;
    if (!spooler_->ports_.count(info.port_name)) return kErrorUnknownPort;
    if (info.share_name.find_first_of("/\\,") != std::string::npos ||
        spooler_->ShareNameTakenLocked(info.share_name, name_))
      return kErrorInvalidShareName;
    PrinterInfo2 before = p->info;
    PrinterInfo2& now = p->info;
    now.share_name = info.share_name;
    now.port_name = info.port_name;
    now.comment = info.comment;
    now.location = info.location;
    now.attributes = info.attributes;
    now.priority = info.priority;
    now.default_priority = info.default_priority;
    now.start_time = info.start_time;
    now.until_time = info.until_time;
    for (uint16_t field :
         {printer_field::kShareName, printer_field::kPortName, printer_field::kComment,
          printer_field::kLocation, printer_field::kAttributes}) {
      NotifyItem a = FakeSpooler::Watch::PrinterItem(*p, field);
      FakeSpooler::Printer old = *p;
      old.info = before;
      NotifyItem b = FakeSpooler::Watch::PrinterItem(old, field);
      if (a.text != b.text || a.number != b.number) spooler_->NotifyLocked(name_, a);
    }
    return kErrorSuccess;
  }

  PlatformResult Control(PrinterControl command) override {
    spooler_->Count("Control");
    MutexLock lock(spooler_->mutex_);
    FakeSpooler::Printer* p = spooler_->FindLocked(name_);
    if (p == nullptr) return kErrorInvalidHandle;
    if ((access_ & kPrinterAccessAdminister) == 0 || p->deny_admin) return kErrorAccessDenied;
    switch (command) {
      case PrinterControl::kPause:
        p->info.status |= kPrinterStatusPaused;
        break;
      case PrinterControl::kResume:
        p->info.status &= ~kPrinterStatusPaused;
        break;
      case PrinterControl::kPurge:
        for (const auto& job : p->jobs) JobGone(job.info.job_id);
        p->jobs.clear();
        break;
      default:
        return kErrorInvalidPrinterCommand;
    }
    spooler_->NotifyLocked(name_, FakeSpooler::Watch::PrinterItem(*p, printer_field::kStatus));
    return kErrorSuccess;
  }

  PlatformResult EnumJobs(uint32_t first, uint32_t count, std::vector<JobInfo2>* jobs) override {
    return Read(
        "EnumJobs",
        [&](FakeSpooler::Printer& p) {
          jobs->clear();
          for (size_t i = first; i < p.jobs.size() && jobs->size() < count; ++i)
            jobs->push_back(p.jobs[i].info);
        },
        /*record=*/false);
  }
  PlatformResult EnumJobIds(std::vector<uint32_t>* ids) override {
    return Read(
        "EnumJobIds",
        [&](FakeSpooler::Printer& p) {
          ids->clear();
          for (const auto& job : p.jobs) ids->push_back(job.info.job_id);
        },
        false);
  }
  PlatformResult GetJob(uint32_t job_id, JobInfo2* job) override {
    long result = kErrorInvalidParameter;
    long read = Read(
        "GetJob",
        [&](FakeSpooler::Printer& p) {
          if (const auto* j = Find(p, job_id)) *job = j->info, result = kErrorSuccess;
        },
        false);
    return read != kErrorSuccess ? read : result;
  }

  PlatformResult ControlJob(uint32_t job_id, JobControl command) override {
    spooler_->Count("ControlJob");
    MutexLock lock(spooler_->mutex_);
    FakeSpooler::Printer* p = spooler_->FindLocked(name_);
    FakeSpooler::Job* job = p != nullptr ? Find(*p, job_id) : nullptr;
    if (job == nullptr) return kErrorInvalidParameter;
    uint32_t& status = job->info.status;
    switch (command) {
      case JobControl::kPause:
        status |= kJobStatusPaused;
        break;
      case JobControl::kResume:
        status &= ~kJobStatusPaused;
        break;
      case JobControl::kRestart:
        status |= kJobStatusRestart;
        break;
      case JobControl::kCancel:
      case JobControl::kDelete:
        JobGone(job_id);
        p->jobs.erase(p->jobs.begin() + (job - p->jobs.data()));
        return kErrorSuccess;
      default:
        return kErrorInvalidParameter;
    }
    NotifyJob(job_id, job_field::kStatus, status);
    return kErrorSuccess;
  }

  PlatformResult SetJob2(uint32_t job_id, const JobInfo2& info) override {
    spooler_->Count("SetJob2");
    MutexLock lock(spooler_->mutex_);
    FakeSpooler::Printer* p = spooler_->FindLocked(name_);
    FakeSpooler::Job* job = p != nullptr ? Find(*p, job_id) : nullptr;
    if (job == nullptr) return kErrorInvalidParameter;
    if (info.priority < 1 || info.priority > 99) return kErrorInvalidParameter;
    JobInfo2& now = job->info;
    if (now.priority != info.priority) NotifyJob(job_id, job_field::kPriority, info.priority);
    now.priority = info.priority;
    now.start_time = info.start_time;
    now.until_time = info.until_time;
    now.notify_name = info.notify_name;
    now.document = info.document;
    return kErrorSuccess;
  }

  PlatformResult GetData(std::string_view value_name, uint32_t* type,
                         std::vector<uint8_t>* data) override {
    return GetDataEx("", value_name, type, data);
  }
  PlatformResult GetDataEx(std::string_view key, std::string_view value_name, uint32_t* type,
                           std::vector<uint8_t>* data) override {
    long result = kErrorFileNotFound;
    long read = Read(
        "GetData",
        [&](FakeSpooler::Printer& p) {
          auto it = p.data.find(std::string(key) + "\n" + std::string(value_name));
          if (it == p.data.end()) return;
          const auto kind = p.data_types.find(it->first);
          *type = kind != p.data_types.end() ? kind->second : 3;  // REG_BINARY
          *data = it->second;
          result = kErrorSuccess;
        },
        false);
    return read != kErrorSuccess ? read : result;
  }

  PlatformResult GetDefaultPaper(PaperFields* paper) override {
    return Read("GetDefaultPaper", [&](FakeSpooler::Printer& p) { *paper = p.paper; });
  }

  PlatformResult WatchChanges(const NotifyFields& fields,
                              std::unique_ptr<ChangeWatch>* watch) override {
    spooler_->Count("WatchChanges");
    *watch = std::make_unique<FakeSpooler::Watch>(spooler_, name_, fields);
    return kErrorSuccess;
  }

  PlatformResult StartDoc(std::string_view document_name, std::string_view datatype,
                          uint32_t* job_id) override {
    spooler_->Count("StartDoc");
    MutexLock lock(spooler_->mutex_);
    FakeSpooler::Printer* p = spooler_->FindLocked(name_);
    if (p == nullptr || name_.empty()) return kErrorInvalidHandle;
    if (doc_ != 0) return kErrorInvalidParameter;
    FakeSpooler::Job job;
    job.info.job_id = spooler_->next_job_id_++;
    job.info.printer_name = name_;
    job.info.document = std::string(document_name);
    job.info.datatype = std::string(datatype);
    job.info.priority = 1;
    job.info.status = kJobStatusSpooling;
    job.open = true;
    p->jobs.push_back(job);
    doc_ = *job_id = job.info.job_id;
    NotifyJob(doc_, job_field::kStatus, job.info.status);
    NotifyItem document = Item(NotifyType::kJob, job_field::kDocument, doc_);
    document.is_text = true;
    document.text = job.info.document;
    spooler_->NotifyLocked(name_, document);
    return kErrorSuccess;
  }
  PlatformResult StartPage() override { return doc_ != 0 ? kErrorSuccess : kErrorInvalidParameter; }
  PlatformResult EndPage() override { return doc_ != 0 ? kErrorSuccess : kErrorInvalidParameter; }
  PlatformResult Write(const void* bytes, uint32_t size, uint32_t* written) override {
    spooler_->Count("Write");
    MutexLock lock(spooler_->mutex_);
    FakeSpooler::Job* job = OpenDocLocked();
    if (job == nullptr) return kErrorInvalidParameter;
    const uint32_t limit = spooler_->write_limit_;
    *written = limit != 0 && size > limit ? limit : size;
    job->bytes.append(static_cast<const char*>(bytes), *written);
    job->info.size = static_cast<uint32_t>(job->bytes.size());
    return kErrorSuccess;
  }
  PlatformResult EndDoc() override {
    spooler_->Count("EndDoc");
    MutexLock lock(spooler_->mutex_);
    FakeSpooler::Job* job = OpenDocLocked();
    doc_ = 0;
    if (job == nullptr) return kErrorInvalidParameter;
    job->open = false;
    job->info.status &= ~kJobStatusSpooling;
    NotifyJob(job->info.job_id, job_field::kStatus, job->info.status);
    return kErrorSuccess;
  }

  PlatformResult GetDriverFile(DriverFile* file) override {
    long result = kErrorFileNotFound;
    const long read = Read("GetDriverFile", [&](FakeSpooler::Printer& p) {
      if (!p.driver_file) return;
      *file = *p.driver_file;
      result = kErrorSuccess;
    });
    return read != kErrorSuccess ? read : result;
  }

 private:
  template <typename F>
  PlatformResult Read(const char* operation, F take, bool record = true) {
    spooler_->Count(operation);
    MutexLock lock(spooler_->mutex_);
    FakeSpooler::Printer* p = spooler_->FindLocked(name_);
    if (p == nullptr) return kErrorInvalidHandle;
    if (record && p->broken) return kErrorInvalidData;
    take(*p);
    return kErrorSuccess;
  }
  static FakeSpooler::Job* Find(FakeSpooler::Printer& p, uint32_t job_id) {
    for (auto& job : p.jobs)
      if (job.info.job_id == job_id) return &job;
    return nullptr;
  }
  FakeSpooler::Job* OpenDocLocked() REQUIRES(spooler_->mutex_) {
    FakeSpooler::Printer* p = spooler_->FindLocked(name_);
    return p != nullptr && doc_ != 0 ? Find(*p, doc_) : nullptr;
  }
  void NotifyJob(uint32_t job_id, uint16_t field, uint32_t number) REQUIRES(spooler_->mutex_) {
    NotifyItem item = Item(NotifyType::kJob, field, job_id);
    item.number = number;
    spooler_->NotifyLocked(name_, item);
  }
  void JobGone(uint32_t job_id) REQUIRES(spooler_->mutex_) {
    NotifyJob(job_id, job_field::kStatus, kJobStatusDeleted);
  }

  FakeSpooler* const spooler_;
  const std::string name_;
  const uint32_t access_;
  uint32_t doc_ = 0;  // the open raw document's job, 0 when none
};

FakeSpooler::FakeSpooler() { ports_.insert("file:///dev/null"); }
FakeSpooler::~FakeSpooler() = default;

void FakeSpooler::Count(const std::string& operation) {
  MutexLock lock(mutex_);
  ++calls_[operation];
}

int FakeSpooler::Calls(const std::string& operation) const {
  MutexLock lock(mutex_);
  auto it = calls_.find(operation);
  return it == calls_.end() ? 0 : it->second;
}

FakeSpooler::Printer* FakeSpooler::FindLocked(const std::string& name) {
  if (name.empty()) {
    static Printer server;  // the print server itself: no record of its own
    return &server;
  }
  auto it = printers_.find(name);
  return it == printers_.end() ? nullptr : &it->second;
}

void FakeSpooler::NotifyLocked(const std::string& printer, NotifyItem item) {
  for (Watch* watch : watches_) watch->Offer(printer, item);
  changed_.notify_all();
}

void FakeSpooler::AddPrinter(const std::string& name, const std::string& port,
                             const std::string& comment, const std::string& location) {
  MutexLock lock(mutex_);
  Printer p;
  p.info.printer_name = name;
  p.info.comment = comment;
  p.info.location = location;
  p.info.port_name = port;
  p.info.driver_name = "Local Raw Printer";
  p.info.print_processor = "winprint";
  p.info.datatype = "RAW";
  p.info.attributes = kPrinterAttributeLocal | kPrinterAttributeQueued;
  p.info.default_priority = 1;
  p.info.priority = 1;
  ports_.insert(port);
  if (!printers_.count(name)) order_.push_back(name);
  printers_[name] = p;
  NotifyItem added = Item(NotifyType::kPrinter, printer_field::kPrinterName);
  added.is_text = true;
  added.text = name;
  for (Watch* watch : watches_) watch->Offer("", added);
  changed_.notify_all();
}

void FakeSpooler::RemovePrinter(const std::string& name) {
  MutexLock lock(mutex_);
  printers_.erase(name);
  order_.erase(std::remove(order_.begin(), order_.end(), name), order_.end());
}

void FakeSpooler::AddPort(const std::string& port) {
  MutexLock lock(mutex_);
  ports_.insert(port);
}

void FakeSpooler::SetStatus(const std::string& name, uint32_t status) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) {
    p->info.status = status;
    NotifyLocked(name, Watch::PrinterItem(*p, printer_field::kStatus));
  }
}

void FakeSpooler::SetAttributes(const std::string& name, uint32_t attributes) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) p->info.attributes = attributes;
}

void FakeSpooler::EditRecord(const std::string& name,
                             const std::function<void(platform::PrinterInfo2&)>& edit) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) edit(p->info);
}

bool FakeSpooler::ShareNameTakenLocked(const std::string& share_name, const std::string& by) {
  if (share_name.empty()) return false;
  for (const auto& [name, printer] : printers_) {
    if (name != by && printer.info.share_name == share_name) return true;
  }
  return false;
}

void FakeSpooler::SetData(const std::string& name, const std::string& value_name,
                          std::vector<uint8_t> bytes) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) p->data["\n" + value_name] = std::move(bytes);
}

void FakeSpooler::SetDataEx(const std::string& name, const std::string& key,
                            const std::string& value_name, std::vector<uint8_t> bytes) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) p->data[key + "\n" + value_name] = std::move(bytes);
}

void FakeSpooler::SetStringData(const std::string& name, const std::string& value_name,
                                const std::string& text) {
  const platform::RegistryValue value = platform::MakeStringValue(text);
  MutexLock lock(mutex_);
  Printer* p = FindLocked(name);
  if (p == nullptr) return;
  p->data["\n" + value_name] = value.data;
  p->data_types["\n" + value_name] = value.type;
}

void FakeSpooler::SetDriverFile(const std::string& name, const DriverFile& file) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) p->driver_file = file;
}

void FakeSpooler::SetDefaultPaper(const std::string& name, const platform::PaperFields& paper) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) p->paper = paper;
}

void FakeSpooler::RenameRecord(const std::string& name, const std::string& record_name) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) p->info.printer_name = record_name;
}

void FakeSpooler::DenyAdministration(const std::string& name) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) p->deny_admin = true;
}

void FakeSpooler::BreakRecords(const std::string& name) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) p->broken = true;
}

void FakeSpooler::FailOpensAfter(const std::string& name, int opens) {
  MutexLock lock(mutex_);
  if (Printer* p = FindLocked(name)) p->opens_left = opens;
}

void FakeSpooler::LimitWrites(uint32_t bytes) {
  MutexLock lock(mutex_);
  write_limit_ = bytes;
}

void FakeSpooler::DropNotifications(const std::string& name) {
  MutexLock lock(mutex_);
  for (Watch* watch : watches_) watch->Drop(name);
  changed_.notify_all();
}

std::string FakeSpooler::DocumentBytes(uint32_t job_id) const {
  MutexLock lock(mutex_);
  for (const auto& [name, p] : printers_)
    for (const auto& job : p.jobs)
      if (job.info.job_id == job_id) return job.bytes;
  return {};
}

platform::PlatformResult FakeSpooler::Open(std::string_view name, uint32_t access,
                                           std::unique_ptr<SpoolerPrinter>* printer) {
  Count("Open");
  MutexLock lock(mutex_);
  Printer* p = FindLocked(std::string(name));
  if (p == nullptr || p->opens_left == 0) return kErrorInvalidPrinterName;
  if (p->opens_left > 0) --p->opens_left;
  if ((access & ~kPrinterAccessUse & 0xFFFF) != 0 && p->deny_admin) return kErrorAccessDenied;
  *printer = std::make_unique<FakePrinter>(this, std::string(name), access);
  return kErrorSuccess;
}

platform::PlatformResult FakeSpooler::EnumPrinters2(uint32_t flags,
                                                    std::vector<PrinterInfo2>* printers) {
  Count("EnumPrinters2");
  MutexLock lock(mutex_);
  printers->clear();
  for (const auto& name : order_) {
    const bool shared = printers_[name].info.attributes & kPrinterAttributeShared;
    if ((flags & kEnumShared) && !shared) continue;
    PrinterInfo2 info = printers_[name].info;
    info.jobs = static_cast<uint32_t>(printers_[name].jobs.size());
    printers->push_back(info);
  }
  return kErrorSuccess;
}

platform::PlatformResult FakeSpooler::EnumPrinters4(uint32_t, std::vector<PrinterInfo4>* printers) {
  Count("EnumPrinters4");
  MutexLock lock(mutex_);
  printers->clear();
  for (const auto& name : order_) {
    const PrinterInfo2& i = printers_[name].info;
    printers->push_back({i.printer_name, i.server_name, i.attributes});
  }
  return kErrorSuccess;
}

platform::PlatformResult FakeSpooler::EnumPorts2(std::vector<PortInfo2>* ports) {
  Count("EnumPorts2");
  MutexLock lock(mutex_);
  ports->clear();
  for (const auto& port : ports_) ports->push_back({port, "Local Port", port, 0});
  return kErrorSuccess;
}

}  // namespace vantrel::testing
