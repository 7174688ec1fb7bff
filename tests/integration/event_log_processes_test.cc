// Processes appending to one event log file at once, and the log's mutex
// shared with another process by its name.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <map>
#include <regex>
#include <string>

#include "integration/mutex_holder.h"
#include "integration/worker.h"
#include "platform/folders.h"
#include "support/event_log.h"
#include "unit/event_log_lines.h"
#include "unit/scratch.h"

namespace vantrel {
namespace {

using testing::ParsedLine;
using testing::ParseLine;
using testing::ReadLines;
using testing::RecordingSystemLog;
using testing::SystemLogEntry;

// Another process holding the log's mutex, found by its name, holds back
// every line; its end (as a crash) lets the line through.
TEST(EventLogTest, FileLinesWaitForTheProcessHoldingTheLogMutex) {
  testing::ScratchFolder scratch;
  const std::string folder = scratch.path().string();
  OEventLogBase log("Held Log", folder);
  log.SetSystemLogForTesting(
      std::make_unique<RecordingSystemLog>(std::make_shared<std::vector<SystemLogEntry>>()));
  const std::string path = platform::JoinPath(folder, "Held_Log.txt");
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
  testing::ScratchFolder scratch;
  const std::string folder = scratch.path().string();
  auto first = vantrel::testing::StartWorker("event_log_appender", {folder, "one"});
  auto second = vantrel::testing::StartWorker("event_log_appender", {folder, "two"});
  ASSERT_TRUE(first && second);
  EXPECT_EQ(vantrel::testing::WaitForWorker(*first), 0);
  EXPECT_EQ(vantrel::testing::WaitForWorker(*second), 0);

  const auto lines = ReadLines(platform::JoinPath(folder, "Append_Test.txt"));
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
