#include "support/event_log.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "platform/folders.h"
#include "platform/library_folder.h"
#include "platform/local_time.h"
#include "platform/native_thread.h"
#include "platform/win32_errors.h"
#include "support/registry.h"
#include "platform/thread_annotations.h"

namespace vantrel {
namespace {

constexpr std::string_view kTruncatedMarker =
    " **** Message too long. OEventLogBase truncated it ****";
constexpr std::string_view kUnableToOpen =
    "OEventLogBase::WriteEventToFile Unable to open C:\\MarlockLogs\\EventLog.txt\n";
constexpr std::string_view kFileMutexPrefix = "Marlock Software File Log Mutex for ";
constexpr std::string_view kMessageFileName = "Marlock_EventMessages.dll";
constexpr uint32_t kCategoryCount = 0;
constexpr uint32_t kTypesSupported = 7;  // error, warning, information

platform::SystemLogType SystemLogTypeOf(uint32_t level) {
  if (level & kLogErrors) return platform::SystemLogType::kError;
  if (level & kLogWarnings) return platform::SystemLogType::kWarning;
  if (level & kLogInfo) return platform::SystemLogType::kInformation;
  return platform::SystemLogType::kDetail;
}

// Readers of the file (people, tools, the tests) count on one line per
// message, so line ends inside a message become blanks and a trailing line
// end, which many callers add out of habit, is dropped.
std::string OneLine(std::string_view message) {
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r'))
    message.remove_suffix(1);
  std::string line;
  line.reserve(message.size());
  for (size_t i = 0; i < message.size(); ++i) {
    const char c = message[i];
    if (c == '\r' && i + 1 < message.size() && message[i + 1] == '\n') continue;  // CRLF: one blank
    line += (c == '\r' || c == '\n') ? ' ' : c;
  }
  return line;
}

bool AppendToFile(const std::string& path, const std::string& line) {
  // A UTF-8 path, so that names outside the ANSI code page work on Windows.
  std::ofstream file(std::filesystem::path(std::u8string(path.begin(), path.end())), std::ios::app);
  if (!file) return false;
  file << line;
  file.close();
  return !file.fail();
}

// The process-wide log. Never destroyed: threads may still log while the
// process exits.
struct ProcessLogSlot {
  Mutex mutex;
  std::shared_ptr<OEventLog> log GUARDED_BY(mutex);
};

ProcessLogSlot& ProcessLog() {
  static auto* slot = new ProcessLogSlot;
  return *slot;
}

// Keeps the first log installed; a log built by a thread that lost the race
// is dropped.
std::shared_ptr<OEventLog> InstallProcessLog(std::shared_ptr<OEventLog> log) {
  MutexLock lock(ProcessLog().mutex);
  if (!ProcessLog().log) ProcessLog().log = std::move(log);
  return ProcessLog().log;
}

std::string FileNameFor(const std::string& name) {
  std::string file = name;
  for (char& c : file)
    if (c == ' ') c = '_';
  return file + ".txt";
}

}  // namespace

std::string LogLevelName(uint32_t level) {
  switch (level) {
    case kLogErrors:
      return "Errors";
    case kLogWarnings:
      return "Warnings";
    case kLogInfo:
      return "Info";
    case kLogDetailInfo:
      return "DetailInfo";
    default:
      break;
  }
  for (int bit = 0; (kLogDetailInfoA << bit) <= kLogDetailInfoW; ++bit)
    if (level == (kLogDetailInfoA << bit)) return std::string("DetailInfo") + char('A' + bit);
  return "Unknown";
}

std::string CutForSystemLog(std::string_view message) {
  if (message.size() <= platform::kSystemLogMaxMessage) return std::string(message);
  size_t keep = platform::kSystemLogMaxMessage - kTruncatedMarker.size();
  // Step back over UTF-8 continuation bytes so no character is split.
  while (keep > 0 && (static_cast<unsigned char>(message[keep]) & 0xC0) == 0x80) --keep;
  std::string cut(message.substr(0, keep));
  cut += kTruncatedMarker;
  return cut;
}

OEventLogBase::OEventLogBase(std::string name, std::string folder)
    : name_(std::move(name)),
      mask_(kLogDefaultMask),
      folder_(std::move(folder)),
      file_mutex_(std::string(kFileMutexPrefix) + name_) {}

void OEventLogBase::Write(uint32_t level, std::string_view message) {
  if (!IsEnabled(level)) return;
  try {
    SystemLog().Write(SystemLogTypeOf(level), CutForSystemLog(message));
    WriteToFile(level, message);
  } catch (...) {
    // Logging is the last resort for reporting trouble; it must not add any.
  }
}

void OEventLogBase::LoadMask(platform::SettingsStore* store) {
  mask_.store(kLogDefaultMask);
  ORegistry registry(0, store);
  const auto mask = registry.ReadDword("LOCAL:DebugLogMasks/" + EscapeRegistryName(name_));
  if (mask) mask_.store(*mask);
}

long OEventLogBase::RegisterSource(bool system_log, platform::SettingsStore* store) {
  const std::string key = std::string("2:SYSTEM/CurrentControlSet/Services/Eventlog/") +
                          (system_log ? "System/" : "Application/") + EscapeRegistryName(name_) +
                          "/";
  const std::string message_file =
      platform::JoinPath(platform::LibraryFolder(), std::string(kMessageFileName));
  const auto message_file_value = platform::MakeStringValue(message_file, platform::kRegExpandSz);
  ORegistry registry(0, store);
  for (const char* value_name : {"EventMessageFile", "CategoryMessageFile"}) {
    const long error = registry.WriteValue(key + value_name, message_file_value);
    if (error != platform::kErrorSuccess) return error;
  }
  const long error = registry.WriteDword(key + "CategoryCount", kCategoryCount);
  if (error != platform::kErrorSuccess) return error;
  return registry.WriteDword(key + "TypesSupported", kTypesSupported);
}

const std::string& OEventLogBase::Folder() const {
  std::call_once(folder_resolved_, [this] {
    if (folder_.empty()) folder_ = platform::LogFolder();
  });
  return folder_;
}

std::string OEventLogBase::FilePath() const {
  return platform::JoinPath(Folder(), FileNameFor(name_));
}

std::string OEventLogBase::FormatFileLine(uint32_t level, std::string_view message) const {
  const platform::LocalDateTime now = platform::CurrentLocalTime();
  char stamp[64];
  std::snprintf(stamp, sizeof(stamp), "%02d/%02d/%04d %02d:%02d:%02d", now.month, now.day, now.year,
                now.hour, now.minute, now.second);
  char thread[32];
  std::snprintf(thread, sizeof(thread), "Thread:0x%llx",
                static_cast<unsigned long long>(platform::CurrentThreadId()));
  return std::string(stamp) + ", " + name_ + ", " + LogLevelName(level) + ", " + thread + ", " +
         OneLine(message) + "\n";
}

void OEventLogBase::SetSystemLogForTesting(std::unique_ptr<platform::SystemLog> log) {
  std::call_once(system_log_opened_, [&] { system_log_ = std::move(log); });
}

platform::SystemLog& OEventLogBase::SystemLog() {
  std::call_once(system_log_opened_, [this] { system_log_ = platform::OpenSystemLog(name_); });
  return *system_log_;
}

void OEventLogBase::CreateFolderOnce(const std::string& folder) {
  if (folder_created_.load()) return;
  // Two threads may both create it the first time; CreateFolders allows that.
  if (platform::CreateFolders(folder)) folder_created_.store(true);
}

void OEventLogBase::WriteToFile(uint32_t level, std::string_view message) {
  const std::string line = FormatFileLine(level, message);
  CreateFolderOnce(Folder());
  const std::string path = FilePath();
  if (!AppendUnderFileMutex(path, line)) platform::DebugOutput(kUnableToOpen);
}

bool OEventLogBase::AppendUnderFileMutex(const std::string& path, const std::string& line) {
  try {
    file_mutex_.Lock();
  } catch (...) {
    // Without the mutex lines may interleave with another process's, which
    // is still better than losing the message.
    return AppendToFile(path, line);
  }
  const bool written = AppendToFile(path, line);
  file_mutex_.Unlock();
  return written;
}

std::shared_ptr<OEventLog> OEventLog::Process() {
  if (auto log = ProcessIfCreated()) return log;
  // Built and loaded outside any lock of ours: loading reads the store, which
  // may itself want to log.
  auto fresh = std::make_shared<OEventLog>();
  fresh->LoadMask();
  return InstallProcessLog(std::move(fresh));
}

std::shared_ptr<OEventLog> OEventLog::ProcessIfCreated() {
  MutexLock lock(ProcessLog().mutex);
  return ProcessLog().log;
}

}  // namespace vantrel
