#include "printers/printer_context.h"

#include <regex>

#include "frame/error_texts.h"
#include "platform/platform_error.h"
#include "platform/clock.h"
#include "platform/native_thread.h"
#include "platform/win32_errors.h"
#include "printers/driver_interface.h"

namespace vantrel::printers {

using platform::kErrorSuccess;
using platform::PrinterInfo2;

namespace {

constexpr uint64_t kRawOnlyCacheMs = 2000;
constexpr char kInterfaceValueV3[] = "Kesto Interface V3";
constexpr char kInterfaceValue[] = "Kesto Interface";

bool HasInterfaceValue(platform::SpoolerPrinter& printer) {
  uint32_t type = 0;
  std::vector<uint8_t> data;
  return printer.GetData(kInterfaceValueV3, &type, &data) == kErrorSuccess ||
         printer.GetData(kInterfaceValue, &type, &data) == kErrorSuccess;
}

std::string WithoutDeletionSuffix(const PrinterInfo2& record) {
  if ((record.status & platform::kPrinterStatusPendingDeletion) == 0) return record.printer_name;
  static const std::regex suffix(",\\d+$");
  return std::regex_replace(record.printer_name, suffix, "");
}

Mutex& StarterMutex() {
  static Mutex mutex;
  return mutex;
}

WatcherStarter& Starter() {
  static WatcherStarter starter;  // guarded by StarterMutex()
  return starter;
}

}  // namespace

void SetWatcherStarterForTesting(WatcherStarter starter) {
  MutexLock lock(StarterMutex());
  Starter() = std::move(starter);
}

PrinterContext::PrinterContext(platform::Spooler& spooler) : spooler_(spooler) {}

PrinterContext::~PrinterContext() {
  OLock lock(lock_);
  driver_.reset();
  handle_.reset();
}

void PrinterContext::Open(const std::string& name) {
  OLock lock(lock_);
  std::unique_ptr<platform::SpoolerPrinter> printer;
  if (spooler_.Open(name, platform::kPrinterAllAccess, &printer) != kErrorSuccess &&
      spooler_.Open(name, platform::kPrinterAccessUse, &printer) != kErrorSuccess)
    frame::Throw(frame::kCouldNotOpenPrinter);
  driver_ = MakeDriverInterface(HasInterfaceValue(*printer));
  handle_ = std::move(printer);
  driver_->Attach(handle_.get(), name);
}

template <typename Take>
auto PrinterContext::ReadField(Take take) -> decltype(take(PrinterInfo2{})) {
  OLock lock(lock_);
  PrinterInfo2 record;
  if (!handle_ || handle_->GetInfo2(&record) != kErrorSuccess) return {};
  return take(record);
}

bool PrinterContext::GetRecord(PrinterInfo2* record) {
  OLock lock(lock_);
  return handle_ && handle_->GetInfo2(record) == kErrorSuccess;
}

std::string PrinterContext::GetName() { return ReadField(WithoutDeletionSuffix); }
std::string PrinterContext::GetServerName() {
  return ReadField([](const PrinterInfo2& r) { return r.server_name; });
}
std::string PrinterContext::GetShareName() {
  return ReadField([](const PrinterInfo2& r) { return r.share_name; });
}
std::string PrinterContext::GetPortName() {
  return ReadField([](const PrinterInfo2& r) { return r.port_name; });
}
std::string PrinterContext::GetDriverName() {
  return ReadField([](const PrinterInfo2& r) { return r.driver_name; });
}
std::string PrinterContext::GetComment() {
  return ReadField([](const PrinterInfo2& r) { return r.comment; });
}
std::string PrinterContext::GetLocation() {
  return ReadField([](const PrinterInfo2& r) { return r.location; });
}
uint32_t PrinterContext::GetJobCount() {
  return ReadField([](const PrinterInfo2& r) { return r.jobs; });
}
uint32_t PrinterContext::GetDefaultPriority() {
  return ReadField([](const PrinterInfo2& r) { return r.default_priority; });
}
uint32_t PrinterContext::GetStartTime() {
  return ReadField([](const PrinterInfo2& r) { return r.start_time; });
}
uint32_t PrinterContext::GetUntilTime() {
  return ReadField([](const PrinterInfo2& r) { return r.until_time; });
}

int16_t PrinterContext::HasAttribute(uint32_t bit) {
  return ReadField(
      [bit](const PrinterInfo2& r) -> int16_t { return (r.attributes & bit) ? -1 : 0; });
}
int16_t PrinterContext::IsLocal() { return HasAttribute(platform::kPrinterAttributeLocal); }
int16_t PrinterContext::IsNetwork() { return HasAttribute(platform::kPrinterAttributeNetwork); }
int16_t PrinterContext::IsShared() { return HasAttribute(platform::kPrinterAttributeShared); }

void PrinterContext::ThrowSpoolerError(const char* operation, long error) {
  throw OException(operation, error, platform::PlatformErrorMessage(error), VANTREL_ORIGIN);
}

template <typename Change>
void PrinterContext::ChangeQuietly(Change change) {
  OLock lock(lock_);
  PrinterInfo2 record;
  if (!handle_ || handle_->GetInfo2(&record) != kErrorSuccess) return;
  change(record);
  platform::IgnoreResult(handle_->SetInfo2(record));  // a refused change is not reported
}

void PrinterContext::SetComment(const std::string& comment) {
  ChangeQuietly([&](PrinterInfo2& r) { r.comment = comment; });
}
void PrinterContext::SetLocation(const std::string& location) {
  ChangeQuietly([&](PrinterInfo2& r) { r.location = location; });
}
void PrinterContext::SetDefaultPriority(uint32_t priority) {
  ChangeQuietly([&](PrinterInfo2& r) { r.default_priority = priority; });
}
void PrinterContext::SetStartTime(uint32_t minutes) {
  ChangeQuietly([&](PrinterInfo2& r) { r.start_time = minutes; });
}
void PrinterContext::SetUntilTime(uint32_t minutes) {
  ChangeQuietly([&](PrinterInfo2& r) { r.until_time = minutes; });
}

void PrinterContext::SetPortName(const std::string& port) {
  OLock lock(lock_);
  PrinterInfo2 record;
  long error = handle_ ? handle_->GetInfo2(&record)
                       : platform::PlatformResult(platform::kErrorInvalidHandle);
  if (error != kErrorSuccess) ThrowSpoolerError("GetPrinter", error);
  record.port_name = port;
  error = handle_->SetInfo2(record);
  if (error == platform::kErrorUnknownPort) frame::Throw(frame::kInvalidPort);
  if (error != kErrorSuccess) ThrowSpoolerError("SetPrinter", error);
}

void PrinterContext::SetShareName(const std::string& share_name) {
  if (share_name.find_first_of("/\\,") != std::string::npos) frame::Throw(frame::kInvalidShareName);
  OLock lock(lock_);
  PrinterInfo2 record;
  if (!handle_ || handle_->GetInfo2(&record) != kErrorSuccess) return;
  record.share_name = share_name;
  if (share_name.empty())
    record.attributes &= ~platform::kPrinterAttributeShared;
  else
    record.attributes |= platform::kPrinterAttributeShared;
  const long error = handle_->SetInfo2(record);
  if (error == platform::kErrorInvalidShareName) frame::Throw(frame::kInvalidShareName);
  if (error != kErrorSuccess) ThrowSpoolerError("SetPrinter", error);
}

void PrinterContext::SetShared(bool on) {
  OLock lock(lock_);
  PrinterInfo2 record;
  // A record that cannot be read is neither shared nor named, as the getters
  // answer: turning sharing off is then nothing to do, and sharing it under
  // its own empty name ends where SetShareName's read fails. Either way, quietly.
  if (!handle_ || handle_->GetInfo2(&record) != kErrorSuccess) return;
  const bool shared = (record.attributes & platform::kPrinterAttributeShared) != 0;
  if (shared == on) return;
  if (on && record.share_name.empty()) {
    SetShareName(WithoutDeletionSuffix(record));  // shared under its own name
    return;
  }
  if (on)
    record.attributes |= platform::kPrinterAttributeShared;
  else
    record.attributes &= ~platform::kPrinterAttributeShared;  // the share name stays
  const long error = handle_->SetInfo2(record);
  if (error != kErrorSuccess) ThrowSpoolerError("SetPrinter", error);
}

bool PrinterContext::IsNotRawOnly() {
  {
    OLock probe(probe_lock_);
    const uint64_t now = platform::TickCount64();
    if (probed_at_ != 0 && now - probed_at_ < kRawOnlyCacheMs) return not_raw_only_;
  }
  // The spooler is asked under the context lock (it guards the handle) and
  // without the probe lock: the two are never nested. Two threads may both
  // probe; the later answer stays.
  platform::PrinterInfo5 record;
  const bool probed = GetRecord5(&record);
  OLock probe(probe_lock_);
  if (probed) not_raw_only_ = (record.attributes & platform::kPrinterAttributeRawOnly) == 0;
  probed_at_ = platform::TickCount64();
  return not_raw_only_;
}

bool PrinterContext::GetRecord5(platform::PrinterInfo5* record) {
  OLock lock(lock_);
  return handle_ && handle_->GetInfo5(record) == kErrorSuccess;
}

void PrinterContext::StartWatcher() {
  MutexLock lock(watcher_mutex_);
  if (watcher_started_) return;
  WatcherStarter starter;
  {
    MutexLock hold(StarterMutex());
    starter = Starter();
  }
  if (starter) starter();
  watcher_started_ = true;
}

bool PrinterContext::watcher_started() {
  MutexLock lock(watcher_mutex_);
  return watcher_started_;
}

DriverInterface* PrinterContext::driver() {
  OLock lock(lock_);
  return driver_.get();
}

platform::SpoolerPrinter* PrinterContext::handle() {
  OLock lock(lock_);
  return handle_.get();
}

}  // namespace vantrel::printers
