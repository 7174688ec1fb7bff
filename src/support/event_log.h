// The library's log: level masks read from the settings store, the platform
// event log, and a text file shared line by line between processes.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/settings_store.h"
#include "platform/system_log.h"
#include "support/synchronizer.h"

namespace vantrel {

// Message levels: single bits of the mask.
constexpr uint32_t kLogErrors = 0x80000000;
constexpr uint32_t kLogWarnings = 0x40000000;
constexpr uint32_t kLogInfo = 0x20000000;
constexpr uint32_t kLogDetailInfo = 0x10000000;
constexpr uint32_t kLogDetailInfoA = 0x00000001;  // bit n is DetailInfo<'A' + n>
constexpr uint32_t kLogDetailInfoW = 0x00400000;
constexpr uint32_t kLogDefaultMask = kLogErrors | kLogWarnings | kLogInfo;

// "Errors", "Warnings", "Info", "DetailInfo", "DetailInfoA".."DetailInfoW";
// "Unknown" for any other value (no bit, several bits, an unused bit).
std::string LogLevelName(uint32_t level);

// `message` as the platform log takes it: unchanged when it fits, else cut
// (never inside a UTF-8 sequence) so that with the marker " **** Message too
// long. OEventLogBase truncated it ****" it is kSystemLogMaxMessage bytes.
std::string CutForSystemLog(std::string_view message);

class OEventLogBase {
 public:
  // Does no I/O. `folder` is where the file log goes; empty means the
  // platform's log folder (platform::LogFolder), looked up on first use.
  explicit OEventLogBase(std::string name, std::string folder = {});
  virtual ~OEventLogBase() = default;
  OEventLogBase(const OEventLogBase&) = delete;
  OEventLogBase& operator=(const OEventLogBase&) = delete;

  // Writes `message` at `level` when a bit of `level` is in the mask: to the
  // platform log (cut to its limit) and as one line appended to the file log.
  // Blocks while another thread or process appends to the same file. A file
  // that cannot be opened is reported on the debugger output. Any thread;
  // never throws.
  void Write(uint32_t level, std::string_view message);
  bool IsEnabled(uint32_t level) const { return (mask_.load() & level) != 0; }

  // Sets the mask to kLogDefaultMask, then to the REG_DWORD value
  // "LOCAL:DebugLogMasks\<name>" when there is one (a value of another type
  // or size is ignored). A null store means the process's store. Any thread.
  void LoadMask(platform::SettingsStore* store = nullptr);
  uint32_t mask() const { return mask_.load(); }
  void set_mask(uint32_t mask) { mask_.store(mask); }

  // Registers the log as a platform event source: below
  // "2:SYSTEM/CurrentControlSet/Services/Eventlog/Application/<name>" (or
  // ".../System/<name>") writes EventMessageFile and CategoryMessageFile (the
  // message file beside the library), CategoryCount 0 and TypesSupported 7
  // (errors, warnings, information). Returns kErrorSuccess or the first
  // Windows error number met; a store refusing writes gives
  // kErrorAccessDenied. A null store means the process's store. Any thread.
  long RegisterSource(bool system_log = false, platform::SettingsStore* store = nullptr);

  const std::string& name() const { return name_; }
  // The file log's path: the folder, then the name with blanks as "_" and
  // ".txt" ("Marlock_Vantrel_V3.txt").
  std::string FilePath() const;

  // The file line for a message:
  // "MM/DD/YYYY hh:mm:ss, <name>, <level name>, Thread:0x<hex id>, <message>\n"
  // in local time, with the calling thread's id.
  std::string FormatFileLine(uint32_t level, std::string_view message) const;

  // Replaces the platform log (tests only). Takes effect only before the
  // first Write.
  void SetSystemLogForTesting(std::unique_ptr<platform::SystemLog> log);

 private:
  const std::string& Folder() const;
  platform::SystemLog& SystemLog();
  void WriteToFile(uint32_t level, std::string_view message);
  // Appends with the cross-process file mutex held, or without it when it
  // cannot be created; false when the file cannot be written.
  bool AppendUnderFileMutex(const std::string& path, const std::string& line);
  void CreateFolderOnce(const std::string& folder);

  const std::string name_;
  std::atomic<uint32_t> mask_;
  mutable std::once_flag folder_resolved_;
  mutable std::string folder_;  // written once under folder_resolved_
  std::atomic<bool> folder_created_{false};
  OMutex file_mutex_;  // "Marlock Software File Log Mutex for <name>"
  std::once_flag system_log_opened_;
  std::unique_ptr<platform::SystemLog> system_log_;  // set once under system_log_opened_
};

// The library's own log, named "Marlock Vantrel V3".
class OEventLog : public OEventLogBase {
 public:
  static constexpr const char* kSourceName = "Marlock Vantrel V3";
  explicit OEventLog(std::string name = kSourceName, std::string folder = {})
      : OEventLogBase(std::move(name), std::move(folder)) {}

  // The process-wide log: the first call creates it and loads its mask from
  // the process's store; later calls return the same object. Any thread.
  static std::shared_ptr<OEventLog> Process();
  // The process-wide log if it exists, else null. Never creates it; any
  // thread.
  static std::shared_ptr<OEventLog> ProcessIfCreated();
};

}  // namespace vantrel
