#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <mutex>
#include <random>
#include <regex>
#include <thread>
#include <vector>

#include "fakes/fake_settings_store.h"
#include "platform/environment.h"
#include "platform/folders.h"
#include "platform/native_thread.h"
#include "platform/win32_errors.h"
#include "support/event_log.h"
#include "support/registry.h"
#include "unit/mutex_holder.h"
#include "unit/worker.h"

namespace vantrel {
namespace {

using platform::SystemLogType;
using testing::FakeSettingsStore;

struct SystemLogEntry {
  SystemLogType type;
  std::string message;
};

class RecordingSystemLog : public platform::SystemLog {
 public:
  explicit RecordingSystemLog(std::shared_ptr<std::vector<SystemLogEntry>> entries)
      : entries_(std::move(entries)) {}
  void Write(SystemLogType type, std::string_view message) override {
    entries_->push_back({type, std::string(message)});
  }

 private:
  std::shared_ptr<std::vector<SystemLogEntry>> entries_;
};

class TempFolder {
 public:
  TempFolder()
      : path_(std::filesystem::temp_directory_path() /
              ("vantrel-log-" + std::to_string(std::random_device()()))) {}
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  std::string str() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

std::vector<std::string> ReadLines(const std::string& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

struct ParsedLine {
  int month = 0, day = 0, year = 0, hour = 0, minute = 0, second = 0;
  std::string name, level;
  uint64_t thread = 0;
  std::string message;
};

// Splits a file line into its fields. The message is taken as it stands
// (std::regex would recurse once per character of a long message).
bool ParseLine(const std::string& line, ParsedLine* out) {
  std::vector<std::string> fields;
  size_t start = 0;
  for (int i = 0; i < 4; ++i) {
    const size_t comma = line.find(", ", start);
    if (comma == std::string::npos) return false;
    fields.push_back(line.substr(start, comma - start));
    start = comma + 2;
  }
  static const std::regex stamp(R"((\d\d)/(\d\d)/(\d{4}) (\d\d):(\d\d):(\d\d))");
  static const std::regex thread(R"(Thread:0x([0-9a-f]+))");
  std::smatch time, id;
  if (!std::regex_match(fields[0], time, stamp) || !std::regex_match(fields[3], id, thread))
    return false;
  *out = ParsedLine{std::stoi(time[1]), std::stoi(time[2]), std::stoi(time[3]),
                    std::stoi(time[4]), std::stoi(time[5]), std::stoi(time[6]),
                    fields[1],          fields[2],          std::stoull(id[1], nullptr, 16),
                    line.substr(start)};
  return true;
}

TEST(EventLogTest, LevelNames) {
  const std::map<uint32_t, std::string> names{
      {kLogErrors, "Errors"},
      {kLogWarnings, "Warnings"},
      {kLogInfo, "Info"},
      {kLogDetailInfo, "DetailInfo"},
      {0x00000001, "DetailInfoA"},
      {0x00000002, "DetailInfoB"},
      {0x00200000, "DetailInfoV"},
      {0x00400000, "DetailInfoW"},
      {0x00800000, "Unknown"},
      {0x08000000, "Unknown"},
      {kLogErrors | kLogInfo, "Unknown"},
      {0x00000003, "Unknown"},
      {0, "Unknown"},
  };
  for (const auto& [level, name] : names) EXPECT_EQ(LogLevelName(level), name) << level;
}

TEST(EventLogTest, MaskComesFromDebugLogMasks) {
  FakeSettingsStore store;
  ORegistry registry(0, &store);
  const std::string value = "LOCAL:DebugLogMasks/Marlock Vantrel V3";
  OEventLog log;
  log.set_mask(0);
  log.LoadMask(&store);
  EXPECT_EQ(log.mask(), kLogDefaultMask) << "no value";
  EXPECT_FALSE(log.IsEnabled(kLogDetailInfo));

  ASSERT_EQ(registry.WriteDword(value, kLogErrors | kLogDetailInfo), platform::kErrorSuccess);
  log.LoadMask(&store);
  EXPECT_EQ(log.mask(), kLogErrors | kLogDetailInfo);

  // Only a REG_DWORD of four bytes counts; anything else restores the default.
  for (const auto& other :
       {platform::MakeBinaryValue({0, 0, 0, 0x10}), platform::MakeQwordValue(0x10000000),
        platform::MakeStringValue("268435456")}) {
    ASSERT_EQ(registry.WriteValue(value, other), platform::kErrorSuccess);
    log.LoadMask(&store);
    EXPECT_EQ(log.mask(), kLogDefaultMask) << platform::RegistryTypeName(other.type);
  }
}

TEST(EventLogTest, WritesEnabledLevelsToBothLogs) {
  TempFolder folder;
  auto system = std::make_shared<std::vector<SystemLogEntry>>();
  OEventLog log(OEventLog::kSourceName, folder.str());
  log.SetSystemLogForTesting(std::make_unique<RecordingSystemLog>(system));
  EXPECT_EQ(log.FilePath(), platform::JoinPath(folder.str(), "Marlock_Vantrel_V3.txt"));

  for (uint32_t level : {kLogErrors, kLogWarnings, kLogInfo, kLogDetailInfo, kLogDetailInfoA})
    log.Write(level, LogLevelName(level) + " message");
  log.set_mask(kLogDetailInfo | kLogDetailInfoW);
  log.Write(kLogDetailInfo, "detail");
  log.Write(kLogDetailInfoW, "detail W");
  log.Write(kLogErrors, "hidden");

  ASSERT_EQ(system->size(), 5u);
  const SystemLogType types[] = {SystemLogType::kError, SystemLogType::kWarning,
                                 SystemLogType::kInformation, SystemLogType::kDetail,
                                 SystemLogType::kDetail};
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ((*system)[i].type, types[i]) << i;

  const auto lines = ReadLines(log.FilePath());
  ASSERT_EQ(lines.size(), 5u);
  const char* expected[][2] = {{"Errors", "Errors message"},
                               {"Warnings", "Warnings message"},
                               {"Info", "Info message"},
                               {"DetailInfo", "detail"},
                               {"DetailInfoW", "detail W"}};
  for (size_t i = 0; i < lines.size(); ++i) {
    ParsedLine parsed;
    ASSERT_TRUE(ParseLine(lines[i], &parsed)) << lines[i];
    EXPECT_EQ(parsed.name, "Marlock Vantrel V3");
    EXPECT_EQ(parsed.level, expected[i][0]);
    EXPECT_EQ(parsed.message, expected[i][1]);
    EXPECT_EQ(parsed.thread, platform::CurrentThreadId());
    EXPECT_TRUE(parsed.month >= 1 && parsed.month <= 12 && parsed.day >= 1 && parsed.day <= 31 &&
                parsed.year >= 2024 && parsed.hour < 24 && parsed.minute < 60)
        << lines[i];
  }
}

TEST(EventLogTest, LinesStayWholeAndSystemLogMessagesAreCut) {
  TempFolder folder;
  auto system = std::make_shared<std::vector<SystemLogEntry>>();
  OEventLogBase log("Cut Test", folder.str());
  log.SetSystemLogForTesting(std::make_unique<RecordingSystemLog>(system));

  const std::string marker = " **** Message too long. OEventLogBase truncated it ****";
  const std::string fits(platform::kSystemLogMaxMessage, 'x');
  EXPECT_EQ(CutForSystemLog(fits), fits);
  const std::string cut = CutForSystemLog(fits + "y");
  EXPECT_EQ(cut.size(), platform::kSystemLogMaxMessage);
  EXPECT_EQ(cut, fits.substr(0, fits.size() - marker.size()) + marker);
  // Two-byte characters: the cut never splits one.
  const std::string accents = [] {
    std::string text;
    while (text.size() <= platform::kSystemLogMaxMessage) text += "\xC3\xA9";
    return text;
  }();
  const std::string cut_accents = CutForSystemLog(accents);
  const std::string kept = cut_accents.substr(0, cut_accents.size() - marker.size());
  EXPECT_EQ(kept.size() % 2, 0u);
  EXPECT_EQ(kept, accents.substr(0, kept.size()));

  log.Write(kLogErrors, "first\r\nsecond\nthird\n");
  log.Write(kLogErrors, accents);
  ASSERT_EQ(system->size(), 2u);
  EXPECT_EQ(system->back().message, cut_accents);
  const auto lines = ReadLines(log.FilePath());
  ASSERT_EQ(lines.size(), 2u);
  ParsedLine parsed;
  ASSERT_TRUE(ParseLine(lines[0], &parsed));
  EXPECT_EQ(parsed.message, "first second third");
  ASSERT_TRUE(ParseLine(lines[1], &parsed));
  EXPECT_EQ(parsed.message, accents) << "the file keeps the whole message";
}

TEST(EventLogTest, DefaultFolderIsCreatedOnFirstWrite) {
  TempFolder base;
  const std::string folder = platform::JoinPath(platform::JoinPath(base.str(), "a"), "b");
  const auto previous = platform::EnvironmentValue("VANTREL_LOG_DIR");
  platform::SetEnvironmentValue("VANTREL_LOG_DIR", folder);
  OEventLogBase log("Folder Test");
  log.SetSystemLogForTesting(
      std::make_unique<RecordingSystemLog>(std::make_shared<std::vector<SystemLogEntry>>()));
  const std::string path = log.FilePath();
  log.Write(kLogInfo, "hello");
  if (previous)
    platform::SetEnvironmentValue("VANTREL_LOG_DIR", *previous);
  else
    platform::RemoveEnvironmentValue("VANTREL_LOG_DIR");
  if (std::string(VANTREL_PLATFORM) == "Linux")
    EXPECT_EQ(path, platform::JoinPath(folder, "Folder_Test.txt"));
  else
    EXPECT_EQ(path, platform::JoinPath(platform::LogFolder(), "Folder_Test.txt"));
  EXPECT_EQ(ReadLines(path).size(), 1u);
  if (path.rfind(base.str(), 0) != 0) std::filesystem::remove(path);
}

TEST(EventLogTest, RegistersTheEventSource) {
  FakeSettingsStore store;
  OEventLog log;
  ASSERT_EQ(log.RegisterSource(false, &store), platform::kErrorSuccess);
  ASSERT_EQ(log.RegisterSource(true, &store), platform::kErrorSuccess);
  ORegistry registry(0, &store);
  for (const char* branch : {"Application", "System"}) {
    const std::string key = std::string("2:SYSTEM/CurrentControlSet/Services/Eventlog/") + branch +
                            "/Marlock Vantrel V3/";
    for (const char* file_value : {"EventMessageFile", "CategoryMessageFile"}) {
      platform::RegistryValue value;
      ASSERT_EQ(registry.ReadValue(key + file_value, &value), platform::kErrorSuccess);
      EXPECT_EQ(value.type, platform::kRegExpandSz);
      const std::string file = platform::ReadString(value).value_or("");
      EXPECT_NE(file.find("Marlock_EventMessages.dll"), std::string::npos) << file;
      EXPECT_GT(file.size(), std::string("/Marlock_EventMessages.dll").size()) << "no folder";
    }
    EXPECT_EQ(registry.ReadDword(key + "CategoryCount"), 0u);
    EXPECT_EQ(registry.ReadDword(key + "TypesSupported"), 7u);
  }
  FakeSettingsStore read_only;
  read_only.SetReadOnly(true);
  EXPECT_EQ(log.RegisterSource(false, &read_only), platform::kErrorAccessDenied);
}

TEST(EventLogTest, UnopenableFileIsReportedOnDebugOutput) {
  if (std::string(VANTREL_PLATFORM) != "Linux")
    GTEST_SKIP() << "debugger output can be read back only on Linux (standard error)";
  TempFolder base;
  std::filesystem::create_directories(base.str());
  const std::string not_a_folder = platform::JoinPath(base.str(), "file");
  std::ofstream(not_a_folder) << "x";
  OEventLogBase log("Blocked", not_a_folder);
  log.SetSystemLogForTesting(
      std::make_unique<RecordingSystemLog>(std::make_shared<std::vector<SystemLogEntry>>()));
  platform::SetEnvironmentValue("VANTREL_DEBUG_OUTPUT", "1");
  ::testing::internal::CaptureStderr();
  log.Write(kLogErrors, "lost");
  const std::string output = ::testing::internal::GetCapturedStderr();
  platform::RemoveEnvironmentValue("VANTREL_DEBUG_OUTPUT");
  EXPECT_NE(output.find("OEventLogBase::WriteEventToFile Unable to open "
                        "C:\\MarlockLogs\\EventLog.txt\n"),
            std::string::npos)
      << output;
}

TEST(EventLogTest, ProcessLogIsCreatedOnce) {
  FakeSettingsStore store;
  platform::SetSettingsStoreForTesting(&store);
  std::vector<std::shared_ptr<OEventLog>> seen(8);
  std::vector<std::thread> threads;
  for (auto& slot : seen) threads.emplace_back([&slot] { slot = OEventLog::Process(); });
  for (auto& thread : threads) thread.join();
  platform::SetSettingsStoreForTesting(nullptr);
  ASSERT_NE(seen[0], nullptr);
  for (const auto& log : seen) EXPECT_EQ(log, seen[0]);
  EXPECT_EQ(OEventLog::ProcessIfCreated(), seen[0]);
  EXPECT_EQ(seen[0]->name(), "Marlock Vantrel V3");
}

// Another process holding the log's mutex, found by its name, holds back
// every line; its end (as a crash) lets the line through.
TEST(EventLogTest, FileLinesWaitForTheProcessHoldingTheLogMutex) {
  TempFolder folder;
  OEventLogBase log("Held Log", folder.str());
  log.SetSystemLogForTesting(
      std::make_unique<RecordingSystemLog>(std::make_shared<std::vector<SystemLogEntry>>()));
  const std::string path = platform::JoinPath(folder.str(), "Held_Log.txt");
  vantrel::testing::MutexHolderProcess holder("Marlock Software File Log Mutex for Held Log");
  ASSERT_TRUE(holder.holding());
  auto writing = std::async(std::launch::async, [&] { log.Write(kLogInfo, "after the holder"); });
  EXPECT_EQ(writing.wait_for(std::chrono::milliseconds(500)), std::future_status::timeout);
  EXPECT_TRUE(ReadLines(path).empty()) << "written while another process held the mutex";
  holder.Kill();
  ASSERT_EQ(writing.wait_for(std::chrono::seconds(30)), std::future_status::ready);
  const auto lines = ReadLines(path);
  ASSERT_EQ(lines.size(), 1u);
  ParsedLine parsed;
  ASSERT_TRUE(ParseLine(lines[0], &parsed)) << lines[0];
  EXPECT_EQ(parsed.message, "after the holder");
}

constexpr int kLinesPerWorker = 1000;

// Appends numbered lines to the log named args[1] in folder args[0].
VANTREL_TEST_WORKER(event_log_appender) {
  OEventLogBase log("Append Test", args.at(0));
  log.SetSystemLogForTesting(
      std::make_unique<RecordingSystemLog>(std::make_shared<std::vector<SystemLogEntry>>()));
  const std::string padding(150, '.');
  for (int i = 0; i < kLinesPerWorker; ++i)
    log.Write(kLogInfo, args.at(1) + " " + std::to_string(i) + " " + padding);
  return 0;
}

TEST(EventLogTest, ProcessesAppendWholeLines) {
  TempFolder folder;
  auto first = vantrel::testing::StartWorker("event_log_appender", {folder.str(), "one"});
  auto second = vantrel::testing::StartWorker("event_log_appender", {folder.str(), "two"});
  ASSERT_TRUE(first && second);
  EXPECT_EQ(vantrel::testing::WaitForWorker(*first), 0);
  EXPECT_EQ(vantrel::testing::WaitForWorker(*second), 0);

  const auto lines = ReadLines(platform::JoinPath(folder.str(), "Append_Test.txt"));
  ASSERT_EQ(lines.size(), 2u * kLinesPerWorker);
  std::map<std::string, int> next{{"one", 0}, {"two", 0}};
  const std::regex message(R"(^(one|two) (\d+) \.{150}$)");
  for (const std::string& line : lines) {
    ParsedLine parsed;
    std::smatch match;
    ASSERT_TRUE(ParseLine(line, &parsed) && std::regex_match(parsed.message, match, message))
        << line;
    EXPECT_EQ(std::stoi(match[2]), next[match[1]]++) << "lines of one process out of order";
  }
  EXPECT_EQ(next["one"], kLinesPerWorker);
  EXPECT_EQ(next["two"], kLinesPerWorker);
}

}  // namespace
}  // namespace vantrel
