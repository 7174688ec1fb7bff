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
#include "unit/event_log_lines.h"

namespace vantrel {
namespace {

using platform::SystemLogType;
using testing::FakeSettingsStore;
using testing::ParsedLine;
using testing::ParseLine;
using testing::ReadLines;
using testing::RecordingSystemLog;
using testing::SystemLogEntry;

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

}  // namespace
}  // namespace vantrel
