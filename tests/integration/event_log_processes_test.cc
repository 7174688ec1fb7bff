// Processes appending to one event log file at once.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <string>

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
