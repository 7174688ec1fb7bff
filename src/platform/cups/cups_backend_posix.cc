#include "platform/cups/cups_backend_posix.h"

#include "platform/cups/cups_mapping_posix.h"
#include "platform/cups/cups_notifications_posix.h"
#include "platform/registry_value.h"
#include "platform/win32_errors.h"

namespace vantrel::platform::cups {

namespace {

constexpr char kPrintersKey[] = "SYSTEM\\CurrentControlSet\\Control\\Print\\Printers";
constexpr char kShareNameValue[] = "Share Name";
constexpr char kStartTimeValue[] = "StartTime";
constexpr char kUntilTimeValue[] = "UntilTime";

uint32_t DwordOr(SettingsKey& key, const char* name, uint32_t otherwise) {
  RegistryValue value;
  if (key.QueryValue(name, &value) != kErrorSuccess) return otherwise;
  return ReadDword(value).value_or(otherwise);
}

}  // namespace

std::string PrinterKeyPath(const std::string& printer) {
  return std::string(kPrintersKey) + "\\" + printer;
}

Backend::Backend(const std::string& server, SettingsStore* store)
    : pool_(server), store_(store), hub_(std::make_unique<NotificationHub>(*this)) {}

Backend::~Backend() { hub_.reset(); }

SettingsStore& Backend::store() { return store_ != nullptr ? *store_ : DefaultSettingsStore(); }

PlatformResult Backend::GetPrinter(const std::string& name, const char* const* attributes,
                                   int count, PrinterInfo2* info) {
  if (name.empty()) return kErrorInvalidHandle;  // the server has no printer record
  ipp_t* request = NewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES, pool_.PrinterUri(name));
  AddRequestedAttributes(request, attributes, count);
  long error = kErrorSuccess;
  IppMessage response(pool_.Do(request, "/", true, &error));
  if (!response) return error;
  bool found = false;
  ForEachGroup(response.get(), IPP_TAG_PRINTER, [&](const AttributeGroup& group) {
    *info = PrinterFromGroup(group);
    found = true;
  });
  return found ? kErrorSuccess : kErrorInvalidPrinterName;
}

PlatformResult Backend::GetPrinters(const char* const* attributes, int count,
                                    std::vector<PrinterInfo2>* out) {
  ipp_t* request = ippNewRequest(IPP_OP_CUPS_GET_PRINTERS);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr,
               cupsUser());
  AddRequestedAttributes(request, attributes, count);
  long error = kErrorSuccess;
  IppMessage response(pool_.Do(request, "/", false, &error));
  // A scheduler without queues answers not-found.
  if (!response) return error == kErrorInvalidParameter ? (out->clear(), kErrorSuccess) : error;
  out->clear();
  ForEachGroup(response.get(), IPP_TAG_PRINTER,
               [&](const AttributeGroup& group) { out->push_back(PrinterFromGroup(group)); });
  return kErrorSuccess;
}

PlatformResult Backend::GetJob(const std::string& printer, uint32_t job_id, JobInfo2* job) {
  char uri[HTTP_MAX_URI];
  httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", pool_.port(),
                   "/jobs/%u", job_id);
  ipp_t* request = ippNewRequest(IPP_OP_GET_JOB_ATTRIBUTES);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "job-uri", nullptr, uri);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr,
               cupsUser());
  AddRequestedAttributes(request, kJobAttributes, kJobAttributeCount);
  long error = kErrorSuccess;
  IppMessage response(pool_.Do(request, "/", false, &error));
  if (!response) return error;
  JobInfo2 found;
  ForEachGroup(response.get(), IPP_TAG_JOB,
               [&](const AttributeGroup& group) { found = JobFromGroup(group); });
  // A job id belongs to one printer; another printer's job is unknown here.
  if (found.job_id != job_id || found.printer_name != printer) return kErrorInvalidParameter;
  *job = found;
  return kErrorSuccess;
}

PlatformResult Backend::GetJobs(const std::string& printer, std::vector<JobInfo2>* jobs) {
  ipp_t* request = NewRequest(IPP_OP_GET_JOBS, pool_.PrinterUri(printer));
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "which-jobs", nullptr, "not-completed");
  AddRequestedAttributes(request, kJobAttributes, kJobAttributeCount);
  long error = kErrorSuccess;
  IppMessage response(pool_.Do(request, "/", true, &error));
  if (!response) return error;
  jobs->clear();
  ForEachGroup(response.get(), IPP_TAG_JOB, [&](const AttributeGroup& group) {
    jobs->push_back(JobFromGroup(group));
    jobs->back().position = static_cast<uint32_t>(jobs->size());
  });
  return kErrorSuccess;
}

PlatformResult Backend::Send(ipp_t* request, bool about_printer) {
  long error = kErrorSuccess;
  IppMessage response(pool_.Do(request, "/admin/", about_printer, &error));
  return error;
}

static std::string Lower(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

std::set<std::string> Backend::StoredPrinters() {
  std::set<std::string> names;
  std::unique_ptr<SettingsKey> key;
  if (store().OpenKey(RegistryRoot::kLocalMachine, kPrintersKey, kKeyRead, &key) != kErrorSuccess)
    return names;
  std::string name;
  for (uint32_t i = 0; key->EnumSubKey(i, &name) == kErrorSuccess; ++i) names.insert(Lower(name));
  return names;
}

void Backend::FillStoredFields(PrinterInfo2* info, const std::set<std::string>* keyed) {
  std::unique_ptr<SettingsKey> key;
  if ((keyed == nullptr || keyed->count(Lower(info->printer_name)) != 0) &&
      store().OpenKey(RegistryRoot::kLocalMachine, PrinterKeyPath(info->printer_name), kKeyRead,
                      &key) == kErrorSuccess) {
    RegistryValue share;
    if (key->QueryValue(kShareNameValue, &share) == kErrorSuccess)
      info->share_name = ReadString(share).value_or("");
    info->start_time = DwordOr(*key, kStartTimeValue, 0);
    info->until_time = DwordOr(*key, kUntilTimeValue, 0);
  }
  // A queue shared before anyone named its share goes by its own name.
  if ((info->attributes & kPrinterAttributeShared) && info->share_name.empty())
    info->share_name = info->printer_name;
}

PlatformResult Backend::StoreFields(const std::string& printer, const PrinterInfo2& info) {
  std::unique_ptr<SettingsKey> key;
  long error =
      store().CreateKey(RegistryRoot::kLocalMachine, PrinterKeyPath(printer), kKeyReadWrite, &key);
  if (error != kErrorSuccess) return error;
  if ((error = key->SetValue(kShareNameValue, MakeStringValue(info.share_name))) != 0 ||
      (error = key->SetValue(kStartTimeValue, MakeDwordValue(info.start_time))) != 0 ||
      (error = key->SetValue(kUntilTimeValue, MakeDwordValue(info.until_time))) != 0)
    return error;
  return kErrorSuccess;
}

PlatformResult Backend::GetStoredData(const std::string& printer, const std::string& key_name,
                                      const std::string& value_name, uint32_t* type,
                                      std::vector<uint8_t>* data) {
  const std::string path =
      PrinterKeyPath(printer) + "\\" + (key_name.empty() ? "PrinterDriverData" : key_name);
  std::unique_ptr<SettingsKey> key;
  long error = store().OpenKey(RegistryRoot::kLocalMachine, path, kKeyRead, &key);
  if (error != kErrorSuccess) return error;
  RegistryValue value;
  if ((error = key->QueryValue(value_name, &value)) != kErrorSuccess) return error;
  *type = value.type;
  *data = std::move(value.data);
  return kErrorSuccess;
}

}  // namespace vantrel::platform::cups
