#include "platform/cups/cups_notifications_posix.h"

#include <algorithm>
#include <chrono>

#include "platform/clock.h"
#include "platform/cups/cups_backend_posix.h"
#include "platform/cups/cups_mapping_posix.h"
#include "platform/win32_errors.h"

namespace vantrel::platform::cups {

namespace {

constexpr int kLeaseSeconds = 600;
constexpr uint64_t kRenewEveryMs = 120 * 1000;
constexpr uint32_t kChangeSetPrinter = 0x2;
constexpr uint32_t kChangeAddJob = 0x100;
constexpr uint32_t kChangeSetJob = 0x200;
constexpr uint32_t kChangeDeleteJob = 0x400;

const char* const kEvents[] = {
    "printer-added",          "printer-deleted", "printer-modified", "printer-state-changed",
    "printer-config-changed", "job-created",     "job-completed",    "job-state-changed",
    "job-config-changed",     "job-progress",    "server-restarted"};

NotifyItem Text(NotifyType type, uint16_t field, uint32_t id, const std::string& text) {
  NotifyItem item;
  item.type = type;
  item.field = field;
  item.id = id;
  item.is_text = true;
  item.text = text;
  return item;
}

NotifyItem Number(NotifyType type, uint16_t field, uint32_t id, uint32_t number) {
  NotifyItem item;
  item.type = type;
  item.field = field;
  item.id = id;
  item.number = number;
  return item;
}

bool SameItem(const NotifyItem& a, const NotifyItem& b) {
  const auto& x = a.time;
  const auto& y = b.time;
  return a.text == b.text && a.number == b.number && x.year == y.year && x.month == y.month &&
         x.day == y.day && x.hour == y.hour && x.minute == y.minute && x.second == y.second;
}

NotifyItem PrinterItem(const PrinterInfo2& p, uint16_t field) {
  constexpr auto kP = NotifyType::kPrinter;
  namespace f = printer_field;
  switch (field) {
    case f::kServerName:
      return Text(kP, field, 0, p.server_name);
    case f::kPrinterName:
      return Text(kP, field, 0, p.printer_name);
    case f::kShareName:
      return Text(kP, field, 0, p.share_name);
    case f::kPortName:
      return Text(kP, field, 0, p.port_name);
    case f::kDriverName:
      return Text(kP, field, 0, p.driver_name);
    case f::kComment:
      return Text(kP, field, 0, p.comment);
    case f::kLocation:
      return Text(kP, field, 0, p.location);
    case f::kSepFile:
      return Text(kP, field, 0, p.sep_file);
    case f::kPrintProcessor:
      return Text(kP, field, 0, p.print_processor);
    case f::kDatatype:
      return Text(kP, field, 0, p.datatype);
    case f::kAttributes:
      return Number(kP, field, 0, p.attributes);
    case f::kPriority:
      return Number(kP, field, 0, p.priority);
    case f::kDefaultPriority:
      return Number(kP, field, 0, p.default_priority);
    case f::kStartTime:
      return Number(kP, field, 0, p.start_time);
    case f::kUntilTime:
      return Number(kP, field, 0, p.until_time);
    case f::kStatus:
      return Number(kP, field, 0, p.status);
    case f::kJobCount:
      return Number(kP, field, 0, p.jobs);
    default:
      return Number(kP, field, 0, 0);  // no CUPS counterpart
  }
}

NotifyItem JobItem(const JobInfo2& j, uint16_t field) {
  constexpr auto kJ = NotifyType::kJob;
  namespace f = job_field;
  const uint32_t id = j.job_id;
  switch (field) {
    case f::kPrinterName:
      return Text(kJ, field, id, j.printer_name);
    case f::kMachineName:
      return Text(kJ, field, id, j.machine_name);
    case f::kUserName:
      return Text(kJ, field, id, j.user_name);
    case f::kNotifyName:
      return Text(kJ, field, id, j.notify_name);
    case f::kDatatype:
      return Text(kJ, field, id, j.datatype);
    case f::kPrintProcessor:
      return Text(kJ, field, id, j.print_processor);
    case f::kStatusString:
      return Text(kJ, field, id, j.status_text);
    case f::kDocument:
      return Text(kJ, field, id, j.document);
    case f::kStatus:
      return Number(kJ, field, id, j.status);
    case f::kPriority:
      return Number(kJ, field, id, j.priority);
    case f::kPosition:
      return Number(kJ, field, id, j.position);
    case f::kStartTime:
      return Number(kJ, field, id, j.start_time);
    case f::kUntilTime:
      return Number(kJ, field, id, j.until_time);
    case f::kTotalPages:
      return Number(kJ, field, id, j.total_pages);
    case f::kPagesPrinted:
      return Number(kJ, field, id, j.pages_printed);
    case f::kTotalBytes:
      return Number(kJ, field, id, j.size);
    case f::kSubmitted: {
      NotifyItem item = Number(kJ, field, id, 0);
      item.time = j.submitted;
      return item;
    }
    default:
      return Number(kJ, field, id, 0);  // no CUPS counterpart (devmode...)
  }
}

}  // namespace

// One watch's state, shared by its handle and the hub's poller.
class CupsWatch {
 public:
  CupsWatch(NotificationHub& hub, std::string printer, NotifyFields fields)
      : hub_(hub), printer_(std::move(printer)), fields_(std::move(fields)) {}

  PlatformResult Wait(uint32_t timeout_ms, NotifyBatch* batch) EXCLUDES(mutex_) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    MutexLock lock(mutex_);
    while (!cancelled_ && !discarded_ && pending_.items.empty()) {
      if (!lock.WaitUntil(ready_, deadline)) break;
    }
    if (cancelled_) return kErrorPrintCancelled;
    if (!discarded_ && pending_.items.empty()) return kErrorWaitTimeout;
    *batch = std::move(pending_);
    batch->discarded = discarded_;
    pending_ = NotifyBatch();
    discarded_ = false;
    return kErrorSuccess;
  }

  PlatformResult Refresh(NotifyBatch* batch) EXCLUDES(mutex_, snapshot_mutex_) {
    NotifyBatch full;
    TakeSnapshot(&full);
    MutexLock lock(mutex_);
    pending_ = NotifyBatch();
    discarded_ = false;
    *batch = std::move(full);
    return kErrorSuccess;
  }

  void Cancel() EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    cancelled_ = true;
    ready_.notify_all();
  }

  // Re-reads everything watched; `full`, when given, gets every field.
  void TakeSnapshot(NotifyBatch* full) EXCLUDES(snapshot_mutex_) {
    if (printer_.empty()) return;
    MutexLock snapshot(snapshot_mutex_);
    Backend& backend = hub_.backend_;
    PrinterInfo2 printer;
    if (ReadPrinter(backend, &printer) == kErrorSuccess) last_printer_ = printer;
    std::vector<JobInfo2> jobs;
    // A failed read keeps the jobs seen last rather than reporting them gone.
    if (backend.GetJobs(printer_, &jobs) != kErrorSuccess) {
      jobs.clear();
      for (const auto& [id, job] : last_jobs_) jobs.push_back(job);
    }
    last_jobs_.clear();
    for (const JobInfo2& job : jobs) last_jobs_[job.job_id] = job;
    if (full == nullptr) return;
    for (uint16_t field : fields_.printer_fields)
      full->items.push_back(PrinterItem(last_printer_, field));
    for (const JobInfo2& job : jobs)
      for (uint16_t field : fields_.job_fields) full->items.push_back(JobItem(job, field));
  }

  const std::string& printer() const { return printer_; }

  void MarkDiscarded() EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    discarded_ = true;
    pending_.items.clear();
    ready_.notify_all();
  }

  // Poller thread: turns what the events touched into items. Sends requests
  // to the scheduler under the snapshot lock, which exists for that.
  void Update(Backend& backend, const std::vector<std::string>& added, bool printer_touched,
              const std::set<uint32_t>& jobs) EXCLUDES(mutex_, snapshot_mutex_) {
    NotifyBatch batch;
    MutexLock snapshot(snapshot_mutex_);
    if (printer_.empty()) {
      for (const std::string& name : added)
        batch.items.push_back(Text(NotifyType::kPrinter, printer_field::kPrinterName, 0, name));
      if (!batch.items.empty()) batch.change |= kChangeAddPrinter;
    } else {
      if (printer_touched && !fields_.printer_fields.empty()) UpdatePrinter(backend, &batch);
      for (uint32_t id : jobs)
        if (!fields_.job_fields.empty()) UpdateJob(backend, id, &batch);
    }
    if (batch.items.empty()) return;
    MutexLock lock(mutex_);
    pending_.change |= batch.change;
    for (NotifyItem& item : batch.items) pending_.items.push_back(std::move(item));
    ready_.notify_all();
  }

 private:
  void UpdatePrinter(Backend& backend, NotifyBatch* batch) REQUIRES(snapshot_mutex_) {
    PrinterInfo2 now;
    const long error = ReadPrinter(backend, &now);
    if (error == kErrorInvalidPrinterName) {
      // Deleted: the spooler reports this as a pending deletion.
      now = last_printer_;
      now.status |= kPrinterStatusPendingDeletion;
    } else if (error != kErrorSuccess) {
      return;
    }
    for (uint16_t field : fields_.printer_fields) {
      NotifyItem item = PrinterItem(now, field);
      if (!SameItem(item, PrinterItem(last_printer_, field))) batch->items.push_back(item);
    }
    if (!batch->items.empty()) batch->change |= kChangeSetPrinter;
    last_printer_ = now;
  }

  void UpdateJob(Backend& backend, uint32_t id, NotifyBatch* batch) REQUIRES(snapshot_mutex_) {
    JobInfo2 now;
    auto known = last_jobs_.find(id);
    if (backend.GetJob(printer_, id, &now) != kErrorSuccess) {
      if (known == last_jobs_.end()) return;
      now = known->second;
      now.status |= kJobStatusDeleted;
    }
    const bool created = known == last_jobs_.end();
    JobInfo2 before;
    before.job_id = id;
    if (!created) before = known->second;
    for (uint16_t field : fields_.job_fields) {
      NotifyItem item = JobItem(now, field);
      if (created || !SameItem(item, JobItem(before, field))) batch->items.push_back(item);
    }
    batch->change |= created                            ? kChangeAddJob
                     : (now.status & kJobStatusDeleted) ? kChangeDeleteJob
                                                        : kChangeSetJob;
    if (now.status & (kJobStatusDeleted | kJobStatusComplete))
      last_jobs_.erase(id);
    else
      last_jobs_[id] = now;
  }

  long ReadPrinter(Backend& backend, PrinterInfo2* info) {
    const long error =
        backend.GetPrinter(printer_, kPrinter2Attributes, kPrinter2AttributeCount, info);
    if (error == kErrorSuccess) backend.FillStoredFields(info);
    return error;
  }

  NotificationHub& hub_;
  const std::string printer_;
  const NotifyFields fields_;
  // The last values seen, read and renewed by the poller thread and by
  // Refresh on the waiting thread. Held while they are read from the
  // scheduler, so that a refresh and an update do not interleave.
  Mutex snapshot_mutex_;
  PrinterInfo2 last_printer_ GUARDED_BY(snapshot_mutex_);
  std::map<uint32_t, JobInfo2> last_jobs_ GUARDED_BY(snapshot_mutex_);

  // The batch waiting for the client; taken after the snapshot lock.
  Mutex mutex_ ACQUIRED_AFTER(snapshot_mutex_);
  std::condition_variable ready_;
  NotifyBatch pending_ GUARDED_BY(mutex_);
  bool discarded_ GUARDED_BY(mutex_) = false;
  bool cancelled_ GUARDED_BY(mutex_) = false;
};

// What the client holds: subscribes and attaches the shared state, and
// detaches it when destroyed; the poller may still finish an update of it.
class CupsWatchHandle : public ChangeWatch {
 public:
  CupsWatchHandle(NotificationHub& hub, std::shared_ptr<CupsWatch> watch)
      : hub_(hub), watch_(std::move(watch)) {
    // Subscribed before the first reading: no change falls between the two.
    hub_.Subscribe();
    watch_->TakeSnapshot(nullptr);
    hub_.Attach(watch_);
  }
  ~CupsWatchHandle() override { hub_.Detach(watch_.get()); }

  PlatformResult Wait(uint32_t timeout_ms, NotifyBatch* batch) override {
    return watch_->Wait(timeout_ms, batch);
  }
  PlatformResult Refresh(NotifyBatch* batch) override { return watch_->Refresh(batch); }
  void Cancel() override { watch_->Cancel(); }

 private:
  NotificationHub& hub_;
  const std::shared_ptr<CupsWatch> watch_;
};

NotificationHub::NotificationHub(Backend& backend) : backend_(backend) {}

NotificationHub::~NotificationHub() {
  std::thread poller;
  {
    MutexLock lock(mutex_);
    stopping_ = true;
    wake_.notify_all();
    poller.swap(poller_);
  }
  if (poller.joinable()) poller.join();
}

std::unique_ptr<ChangeWatch> NotificationHub::Watch(const std::string& printer,
                                                    const NotifyFields& fields) {
  return std::make_unique<CupsWatchHandle>(*this,
                                           std::make_shared<CupsWatch>(*this, printer, fields));
}

void NotificationHub::Attach(std::shared_ptr<CupsWatch> watch) {
  std::thread finished;
  {
    MutexLock lock(mutex_);
    watches_.push_back(std::move(watch));
    if (running_) return;
    // A previous poller that saw no watches has left the lock for good; it
    // may still be cancelling its subscription (which the new watch's
    // subscriber count now stops), so it is joined outside the lock.
    finished.swap(poller_);
    running_ = true;
    poller_ = std::thread([this] { Run(); });
  }
  if (finished.joinable()) finished.join();
}

void NotificationHub::Detach(const CupsWatch* watch) {
  MutexLock subscription(subscription_mutex_);
  --subscribers_;
  MutexLock lock(mutex_);
  std::erase_if(watches_, [watch](const auto& attached) { return attached.get() == watch; });
  wake_.notify_all();
}

void NotificationHub::Run() {
  for (;;) {
    {
      const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPollMs);
      MutexLock lock(mutex_);
      while (!stopping_ && !watches_.empty()) {
        if (!lock.WaitUntil(wake_, deadline)) break;
      }
      if (stopping_ || watches_.empty()) {
        running_ = false;
        break;
      }
    }
    PollOnce();
  }
  CancelSubscription();
}

void NotificationHub::Subscribe() {
  MutexLock lock(subscription_mutex_);
  ++subscribers_;
  if (!EnsureSubscription()) lost_ = true;
}

bool NotificationHub::EnsureSubscription() {
  const uint64_t now = TickCount64();
  if (subscription_ != 0 && now - renewed_at_ < kRenewEveryMs) return true;
  if (subscription_ != 0) {
    ipp_t* renew = NewRequest(IPP_OP_RENEW_SUBSCRIPTION, backend_.pool().PrinterUri(""));
    ippAddInteger(renew, IPP_TAG_OPERATION, IPP_TAG_INTEGER, "notify-subscription-id",
                  subscription_);
    ippAddInteger(renew, IPP_TAG_SUBSCRIPTION, IPP_TAG_INTEGER, "notify-lease-duration",
                  kLeaseSeconds);
    if (backend_.Send(renew, false) == kErrorSuccess) {
      renewed_at_ = now;
      return true;
    }
    subscription_ = 0;  // lost: make a new one below
  }
  ipp_t* request = NewRequest(IPP_OP_CREATE_PRINTER_SUBSCRIPTIONS, backend_.pool().PrinterUri(""));
  ippAddString(request, IPP_TAG_SUBSCRIPTION, IPP_TAG_KEYWORD, "notify-pull-method", nullptr,
               "ippget");
  ippAddStrings(request, IPP_TAG_SUBSCRIPTION, IPP_TAG_KEYWORD, "notify-events",
                static_cast<int>(sizeof kEvents / sizeof *kEvents), nullptr, kEvents);
  ippAddInteger(request, IPP_TAG_SUBSCRIPTION, IPP_TAG_INTEGER, "notify-lease-duration",
                kLeaseSeconds);
  long error = kErrorSuccess;
  IppMessage response(backend_.pool().Do(request, "/", false, &error));
  ipp_attribute_t* id =
      response ? ippFindAttribute(response.get(), "notify-subscription-id", IPP_TAG_INTEGER)
               : nullptr;
  if (id == nullptr) return false;
  subscription_ = ippGetInteger(id, 0);
  next_sequence_ = 1;
  renewed_at_ = now;
  return true;
}

void NotificationHub::CancelSubscription() {
  MutexLock lock(subscription_mutex_);
  // A watch made meanwhile keeps the subscription for the next poller.
  if (subscription_ == 0 || subscribers_ > 0) return;
  ipp_t* request = NewRequest(IPP_OP_CANCEL_SUBSCRIPTION, backend_.pool().PrinterUri(""));
  ippAddInteger(request, IPP_TAG_OPERATION, IPP_TAG_INTEGER, "notify-subscription-id",
                subscription_);
  // A subscription the scheduler does not cancel now ends with its lease.
  IgnoreResult(backend_.Send(request, false));
  subscription_ = 0;
}

bool NotificationHub::FetchEvents(Touched* touched) {
  MutexLock lock(subscription_mutex_);
  const int before = subscription_;
  if (!EnsureSubscription()) {
    lost_ = true;
    return false;
  }
  // A replaced subscription, or a scheduler that was unreachable, may have
  // missed events: the watchers must re-read.
  if (lost_ || (before != 0 && before != subscription_)) touched->discarded = true;
  lost_ = false;
  ipp_t* request = NewRequest(IPP_OP_GET_NOTIFICATIONS, backend_.pool().PrinterUri(""));
  ippAddInteger(request, IPP_TAG_OPERATION, IPP_TAG_INTEGER, "notify-subscription-ids",
                subscription_);
  ippAddInteger(request, IPP_TAG_OPERATION, IPP_TAG_INTEGER, "notify-sequence-numbers",
                next_sequence_);
  long error = kErrorSuccess;
  IppMessage response(backend_.pool().Do(request, "/", false, &error));
  if (!response) {
    // Not found: the subscription is gone (expired, or the scheduler lost it).
    if (error == kErrorInvalidParameter) subscription_ = 0;
    lost_ = true;
    return false;
  }
  ForEachGroup(
      response.get(), IPP_TAG_EVENT_NOTIFICATION,
      [&](const AttributeGroup& event) REQUIRES(subscription_mutex_) {
        const int sequence = event.Integer("notify-sequence-number");
        if (sequence < next_sequence_) return;
        if (sequence > next_sequence_) touched->discarded = true;  // events were dropped
        next_sequence_ = sequence + 1;
        const std::string kind = event.Text("notify-subscribed-event");
        std::string printer = event.Text("printer-name");
        if (kind == "server-restarted") touched->discarded = true;
        const int job = event.Integer("notify-job-id");
        if (printer.empty()) printer = PrinterNameFromUri(event.Text("notify-printer-uri"));
        if (printer.empty()) return;
        if (kind == "printer-added") touched->added.push_back(printer);
        if (kind.rfind("printer-", 0) == 0 || kind == "job-created" || kind == "job-completed")
          touched->printers.insert(printer);
        if (job > 0) touched->jobs[printer].insert(static_cast<uint32_t>(job));
      });
  return true;
}

std::vector<std::shared_ptr<CupsWatch>> NotificationHub::AttachedWatches() {
  MutexLock lock(mutex_);
  return watches_;
}

void NotificationHub::PollOnce() {
  Touched touched;
  FetchEvents(&touched);
  for (const std::shared_ptr<CupsWatch>& watch : AttachedWatches()) {
    if (touched.discarded) {
      watch->MarkDiscarded();
      continue;
    }
    const std::string& printer = watch->printer();
    auto jobs = touched.jobs.find(printer);
    static const std::set<uint32_t> kNone;
    watch->Update(backend_, touched.added, touched.printers.count(printer) != 0,
                  jobs == touched.jobs.end() ? kNone : jobs->second);
  }
}

}  // namespace vantrel::platform::cups
